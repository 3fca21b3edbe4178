#ifndef RK_GIZMO_TEST_HELPERS_H
#define RK_GIZMO_TEST_HELPERS_H

#include "rkDraggerReceiver.h"
#include "rkViewerHarness.h"

#include <osg/Geometry>
#include <osg/Material>
#include <osg/Node>
#include <osg/ref_ptr>

#include <functional>
#include <vector>

namespace RkTest {

/// A host pose behind a receiver, with a log of every write.
struct PoseStore
{
    osg::Matrixd pose;
    std::vector<osg::Matrixd> writes;

    Rk::DraggerReceiver* makeReceiver()
    {
        return new Rk::DraggerReceiver([this] { return pose; },
                                       [this](const osg::Matrixd& matrix) {
                                           pose = matrix;
                                           writes.push_back(matrix);
                                       });
    }
};

/// The diffuse colour that osgManipulator's material colouring gave `node`.
inline osg::Vec4 shownColour(const osg::Node* node)
{
    const osg::StateSet* stateSet = node->getStateSet();
    const osg::Material* material = stateSet
                                        ? dynamic_cast<const osg::Material*>(
                                              stateSet->getAttribute(osg::StateAttribute::MATERIAL))
                                        : nullptr;
    return material ? material->getDiffuse(osg::Material::FRONT) : osg::Vec4();
}

/// The first vertex of a geometry drawable.
inline osg::Vec3 firstVertex(const osg::Drawable* drawable)
{
    return (*static_cast<const osg::Vec3Array*>(drawable->asGeometry()->getVertexArray()))[0];
}

inline bool closeTo(const osg::Vec3d& a, const osg::Vec3d& b, double tolerance)
{
    return (a - b).length() <= tolerance;
}

const osg::Vec4 kRed(1.0f, 0.0f, 0.0f, 1.0f);
const osg::Vec4 kGreen(0.0f, 1.0f, 0.0f, 1.0f);
const osg::Vec4 kBlue(0.0f, 0.0f, 1.0f, 1.0f);
const osg::Vec4 kAxisColours[3] = {kRed, kGreen, kBlue};
const osg::Vec3d kAxes[3] = {osg::X_AXIS, osg::Y_AXIS, osg::Z_AXIS};
/// osgManipulator's default pick colour of its one-axis draggers.
const osg::Vec4 kPickYellow(1.0f, 1.0f, 0.0f, 1.0f);

/// Turns a ring from `from` to `to` degrees in `events` equal drag events:
/// the window points are all taken from `at` before the press (the ring
/// moves with the pose), then pressed, dragged through and released unless
/// `release` is false. `afterEach`, if given, runs after every drag event.
template <typename At>
void turnAlong(ViewerHarness& harness, At at, double from, double to, bool release = true,
               int events = 3, const std::function<void()>& afterEach = {})
{
    std::vector<osg::Vec2d> points;
    for (int i = 0; i <= events; ++i)
        points.push_back(at(from + (to - from) * i / events));
    harness.press(points.front());
    for (int i = 1; i <= events; ++i) {
        harness.drag(points[i]);
        if (afterEach)
            afterEach();
    }
    if (release)
        harness.release(points.back());
}

} // namespace RkTest

#endif
