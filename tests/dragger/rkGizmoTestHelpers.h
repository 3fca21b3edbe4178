#ifndef RK_GIZMO_TEST_HELPERS_H
#define RK_GIZMO_TEST_HELPERS_H

#include "rkCoordinateSystemTransformation.h"
#include "rkDraggerReceiver.h"
#include "rkFrameDragger.h"
#include "rkViewerHarness.h"

#include <QObject>
#include <osg/Geometry>
#include <osg/Material>
#include <osg/Node>
#include <osg/ref_ptr>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
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

/// The same turn within `tolerance` of the quaternions (q and -q are one turn).
inline bool sameRotation(const osg::Quat& a, const osg::Quat& b, double tolerance)
{
    const double sign = a.asVec4() * b.asVec4() < 0.0 ? -1.0 : 1.0;
    return (a.asVec4() - b.asVec4() * sign).length() <= tolerance;
}

const osg::Vec4 kAxisColours[3] = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}};
const osg::Vec4 kRed = kAxisColours[0];
const osg::Vec3d kAxes[3] = {osg::X_AXIS, osg::Y_AXIS, osg::Z_AXIS};
/// osgManipulator's default pick colour of its one-axis draggers.
const osg::Vec4 kPickYellow(1.0f, 1.0f, 0.0f, 1.0f);

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();
/// Radius of the rings in their own frame, before the dragger's scale.
const double kRingRadius = 0.5;
/// The eye of most scenes: the gizmo seen from the front, right and above.
const osg::Vec3d kSceneEye(2.5, -5.0, 3.0);
/// Every optional handle of a frame dragger.
const int kAllExtraHandles =
    Rk::FrameDragger::PLANE_HANDLES | Rk::FrameDragger::SCREEN_HANDLE | Rk::FrameDragger::VIEW_RING;
const double kViewRingRadius = kRingRadius * Rk::ExtraHandlesDragger::VIEW_RING_RADIUS_FACTOR;

/// Builds the handles of `dragger` at `scale`, shows them and adds the
/// dragger below `parent`.
inline void showIn(osg::Group* parent, Rk::Composite3DDragger* dragger, double scale = 1.0)
{
    dragger->setupDefaultGeometry();
    dragger->setScale(scale);
    dragger->showDraggers(true);
    parent->addChild(dragger);
}

/// A host pose at (x, y, z) turned by the Z-Y-X Euler angles given.
inline RkCoordinateSystemTransformation makePose(double x, double y, double z, double yaw,
                                                 double pitch, double roll)
{
    RkOrientation orientation;
    orientation.setFrom321Euler(yaw, pitch, roll);
    return RkCoordinateSystemTransformation(RkVector(x, y, z), orientation);
}

/// The world point of `local`, given in the coordinates of `node`.
inline osg::Vec3d worldOf(const osg::Node* node, const osg::Vec3d& local)
{
    return local * osg::computeLocalToWorld(node->getParentalNodePaths().front());
}

/// The point of a ring at `degrees` round its own Z, in the ring's frame.
inline osg::Vec3d ringPoint(double degrees, double radius = kRingRadius)
{
    const double radians = osg::DegreesToRadians(degrees);
    return osg::Vec3d(radius * std::cos(radians), radius * std::sin(radians), 0);
}

/// Records a dragger's signals by name in the order they come.
struct SignalLog
{
    explicit SignalLog(Rk::Composite3DDragger* dragger)
    {
        using C = Rk::Composite3DDragger;
        QObject::connect(dragger, &C::signalPoseClicked, &context, [this] { add("clicked"); });
        QObject::connect(dragger, &C::signalPoseChanged, &context, [this] { add("changed"); });
        QObject::connect(dragger, &C::signalCommandValueChanged, &context, [this](double value) {
            add("value");
            values.push_back(value);
        });
        QObject::connect(dragger, &C::signalCommandValueDone, &context, [this] { add("done"); });
        QObject::connect(dragger, &C::signalDragCancelled, &context, [this] { add("cancelled"); });
    }
    void add(const char* name) { names.push_back(name); }
    int count(const std::string& name) const
    {
        return int(std::count(names.begin(), names.end(), name));
    }

    QObject context; // ends the connections with the log
    std::vector<std::string> names;
    std::vector<double> values;
};

/// The unit direction from `centre` to the eye of `harness`'s camera.
inline osg::Vec3d towardsEyeFrom(ViewerHarness& harness, const osg::Vec3d& centre)
{
    const osg::Camera* camera = harness.viewer().getCamera();
    const osg::Matrixd eyeToWorld = camera->getInverseViewMatrix();
    // Every line of sight of an orthographic camera is parallel.
    const bool orthographic = camera->getProjectionMatrix()(3, 3) == 1.0;
    osg::Vec3d direction = orthographic
                               ? osg::Matrixd::transform3x3(osg::Vec3d(osg::Z_AXIS), eyeToWorld)
                               : eyeToWorld.getTrans() - centre;
    direction.normalize();
    return direction;
}

/// Pixels from the image of `centre` to that of a point `radius` from it
/// across the line of sight, level with the XY plane.
inline double imagePixelsAt(ViewerHarness& harness, const osg::Vec3d& centre, double radius)
{
    osg::Vec3d side = towardsEyeFrom(harness, centre) ^ osg::Z_AXIS;
    side.normalize();
    return (harness.project(centre + side * radius) - harness.project(centre)).length();
}

/// The window point (y down) `pixels` from the image of `centre`, `degrees`
/// counter-clockwise from the right as the viewer sees it.
inline osg::Vec2d aroundImageOf(const ViewerHarness& harness, const osg::Vec3d& centre,
                                double degrees, double pixels)
{
    const double radians = osg::DegreesToRadians(degrees);
    return harness.project(centre) + osg::Vec2d(std::cos(radians), -std::sin(radians)) * pixels;
}

/// A frame dragger of scale 1 (with the handle set given) on a host pose,
/// shown in a real viewer that looks from `eye` at the origin.
class FrameScene
{
public:
    explicit FrameScene(const osg::Vec3d& eye = kSceneEye, int handleSet = 0)
        : harness(eye), m_eye(eye), m_handleSet(handleSet)
    {
        rebuild();
    }

    /// A new dragger at the identity pose, seen from the scene's eye.
    void rebuild()
    {
        store.pose = osg::Matrixd();
        store.writes.clear();
        harness.root()->removeChildren(0, harness.root()->getNumChildren());
        harness.lookAt(m_eye, osg::Vec3d(), osg::Z_AXIS);
        dragger = new Rk::FrameDragger(store.makeReceiver(), false);
        dragger->setHandleSet(m_handleSet);
        showIn(harness.root(), dragger.get());
    }

    osgManipulator::Dragger* arrow(int axis) const
    {
        return dragger->translateDragger()->getDragger(axis);
    }
    osgManipulator::Dragger* ring(int axis) const
    {
        return dragger->rotateDragger()->getDragger(axis);
    }
    /// The window point `distance` along the arrow of `axis`.
    osg::Vec2d onArrow(int axis, double distance) const
    {
        return harness.project(worldOf(arrow(axis), osg::Z_AXIS * distance));
    }
    osg::Vec2d onRing(int axis, double degrees) const
    {
        return harness.project(worldOf(ring(axis), ringPoint(degrees)));
    }
    osg::Vec3d centre() const { return dragger->getMatrix().getTrans(); }
    /// Builds every optional handle (`show`) or none, at once.
    void showExtraHandles(bool show)
    {
        dragger->setHandleSet(show ? kAllExtraHandles : 0);
        dragger->rebuildExtraHandles();
    }
    Rk::PlaneHandle* planeHandle(int normal) const
    {
        return dragger->extraHandles()->planeHandle(Rk::Composite3DDragger::AxisEnum(normal));
    }
    /// The world centre of the square of the plane handle with normal `normal`.
    osg::Vec3d squareCentre(int normal) const
    {
        Rk::PlaneHandle* plane = planeHandle(normal);
        osg::Vec3d local;
        local[plane->firstInPlane()] = local[plane->secondInPlane()] =
            Rk::ExtraHandlesDragger::PLANE_OFFSET;
        return worldOf(plane, local);
    }
    /// The unit direction from the centre to the camera's eye.
    osg::Vec3d towardsEye() { return towardsEyeFrom(harness, centre()); }
    /// Pixels from the centre's image to that of a point `radius` from the
    /// centre across the line of sight, level with the XY plane.
    double imagePixels(double radius) { return imagePixelsAt(harness, centre(), radius); }
    /// Pixels from the centre to the view ring as drawn.
    double viewRingPixels() { return imagePixels(kViewRingRadius); }
    /// The window point (y down) at `pixels` from the centre's, `degrees`
    /// counter-clockwise from the right as the viewer sees it.
    osg::Vec2d aroundCentre(double degrees, double pixels) const
    {
        return aroundImageOf(harness, centre(), degrees, pixels);
    }
    /// Looks down the dragger's Z axis, a little off it, so the Z ring follows the pointer.
    void lookDownZ()
    {
        const osg::Vec3d origin = dragger->getMatrix().getTrans();
        harness.lookAt(origin + osg::Vec3d(0.4, -0.6, 5), origin, osg::Y_AXIS);
    }
    /// Press at `from`, four drag steps to `to`, release there (distances
    /// along the arrow, all points taken before the press).
    void dragArrow(int axis, double from, double to)
    {
        harness.dragFromTo(onArrow(axis, from), onArrow(axis, to));
    }
    void turnZRing(double fromDegrees, double toDegrees, bool release = true);

    PoseStore store;
    ViewerHarness harness;
    osg::ref_ptr<Rk::FrameDragger> dragger;

private:
    osg::Vec3d m_eye;
    int m_handleSet;
};

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

inline void FrameScene::turnZRing(double fromDegrees, double toDegrees, bool release)
{
    turnAlong(
        harness, [&](double degrees) { return onRing(2, degrees); }, fromDegrees, toDegrees,
        release);
}

} // namespace RkTest

#endif
