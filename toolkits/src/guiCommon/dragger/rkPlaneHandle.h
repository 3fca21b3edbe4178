#ifndef RK_PLANE_HANDLE_H
#define RK_PLANE_HANDLE_H

#include "rkComposite3DDragger.h"
#include "rkOneAxisHandle.h"

#include <osgManipulator/Translate2DDragger>

namespace Rk {

/// A handle that moves its parent dragger within a plane: an
/// `osgManipulator::Translate2DDragger` (the grabbed point of the plane stays
/// under the pointer, measured from the press, never accumulated) plus the
/// picking switch and the active flag of `OneAxisHandle`.
///
/// The plane is given in the handle's own coordinates. The pointer ray is
/// intersected with it at every event; a ray parallel to the plane (within
/// `MIN_RAY_PLANE_COSINE`), an intersection behind the camera's near plane or
/// a non-finite one gives no projection: a press is then refused (the handle
/// does not become active) and a drag step moves nothing, so the pose stays
/// where the last good step left it.
class PlaneHandle : public OneAxisHandle<osgManipulator::Translate2DDragger>
{
public:
    /// Smallest |cos| of the angle between the pointer ray and the plane's
    /// normal that still projects; below it the plane is seen edge-on.
    static constexpr double MIN_RAY_PLANE_COSINE = 1e-6;

    /// A handle moving in the plane through the origin with normal `axis`,
    /// spanned by `firstInPlane` and `secondInPlane` (XY, YZ or ZX).
    explicit PlaneHandle(Composite3DDragger::AxisEnum axis);

    /// The plane's normal axis (the active axis while it is dragged).
    Composite3DDragger::AxisEnum normalAxis() const { return m_axis; }
    /// The first and second axes of the plane, in the order XY, YZ, ZX.
    Composite3DDragger::AxisEnum firstInPlane() const;
    Composite3DDragger::AxisEnum secondInPlane() const;

    /// Refuses a press whose ray does not project on the plane; otherwise
    /// takes it as the base does (in the frame `RootPath` finds) and lets
    /// the base handle the drag and the release.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;

protected:
    /// A handle moving in `plane` (own coordinates); no normal axis.
    explicit PlaneHandle(const osg::Plane& plane);
    ~PlaneHandle() override;

    /// Called at a press before anything is projected: a subclass may turn
    /// the plane (own coordinates, `localToWorld` given). False refuses the press.
    virtual bool aimPlane(const osgManipulator::PointerInfo& pointer,
                          const osg::Matrixd& localToWorld);
    osgManipulator::PlaneProjector& projector() { return *_projector; }

private:
    bool pressProjects(const osgManipulator::PointerInfo& pointer);
    void startMotion(osgGA::GUIActionAdapter& action);

    Composite3DDragger::AxisEnum m_axis;
};

} // namespace Rk

#endif
