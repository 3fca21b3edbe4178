#include "rkScreenHandle.h"

#include "rkPointerView.h"

namespace Rk {

namespace {

const osg::Vec3d kCentre(0.0, 0.0, 0.0);

} // namespace

ScreenHandle::ScreenHandle() : PlaneHandle(osg::Plane(osg::Z_AXIS, 0.0)) {}

ScreenHandle::~ScreenHandle() = default;

bool ScreenHandle::aimPlane(const osgManipulator::PointerInfo& pointer,
                            const osg::Matrixd& localToWorld)
{
    const osg::Vec3d centreWorld = kCentre * localToWorld;
    const PointerView view(pointer, centreWorld);
    if (!view.valid())
        return false;
    osg::Plane plane(view.towardsCamera(), centreWorld);
    // A plane maps into local coordinates by the transpose of localToWorld
    // (the inverse-transpose of worldToLocal).
    plane.transformProvidingInverse(localToWorld);
    projector().setPlane(plane);
    return plane.valid();
}

bool ScreenHandle::handle(const osgManipulator::PointerInfo& pointer,
                          const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (!PlaneHandle::handle(pointer, event, action))
        return false;
    if (event.getEventType() == osgGA::GUIEventAdapter::PUSH)
        _startProjectedPoint = kCentre;
    return true;
}

} // namespace Rk
