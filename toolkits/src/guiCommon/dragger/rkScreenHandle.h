#ifndef RK_SCREEN_HANDLE_H
#define RK_SCREEN_HANDLE_H

#include "rkPlaneHandle.h"

namespace Rk {

/// The handle at a gizmo's centre that moves its parent dragger "to where I
/// point": at each press the drag plane becomes the plane through the
/// centre (the handle's origin) facing the camera (normal along the line of
/// sight through the centre), and every drag step puts the centre under the
/// pointer in that plane, wherever on the handle the press was. No axis.
///
/// Bad input: with the centre at or behind the eye (camera inside the
/// gizmo) or a collapsed frame (zero scale) the press is refused and the
/// pose stays; a drag step whose ray misses the plane moves nothing.
class ScreenHandle : public PlaneHandle
{
public:
    ScreenHandle();

    /// As `PlaneHandle::handle`; an accepted press measures the motion from
    /// the centre, so that the centre follows the pointer.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;

protected:
    ~ScreenHandle() override;
    bool aimPlane(const osgManipulator::PointerInfo& pointer,
                  const osg::Matrixd& localToWorld) override;
};

} // namespace Rk

#endif
