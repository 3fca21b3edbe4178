#include "rkPlaneHandle.h"

#include "rkFinite.h"
#include "rkRootPath.h"

#include <osgManipulator/Command>

#include <cmath>

namespace Rk {

namespace {

/// osgManipulator's plane projection, refusing rays that graze the plane or
/// meet it behind the near plane, so that a drag never jumps to infinity or
/// to the far side of the camera.
class GuardedPlaneProjector : public osgManipulator::PlaneProjector
{
public:
    explicit GuardedPlaneProjector(const osg::Plane& plane) : PlaneProjector(plane) {}

    bool project(const osgManipulator::PointerInfo& pointer,
                 osg::Vec3d& projectedPoint) const override
    {
        osg::Vec3d nearPoint;
        osg::Vec3d farPoint;
        pointer.getNearFarPoints(nearPoint, farPoint);
        const osg::Vec3d nearLocal = nearPoint * getWorldToLocal();
        const osg::Vec3d rayLocal = farPoint * getWorldToLocal() - nearLocal;
        const osg::Vec3d normal = _plane.getNormal();
        const double along = rayLocal * normal;
        if (std::abs(along) <=
            PlaneHandle::MIN_RAY_PLANE_COSINE * rayLocal.length() * normal.length())
            return false;
        const double t = -_plane.distance(nearLocal) / along;
        const osg::Vec3d point = nearLocal + rayLocal * t;
        if (!(t >= 0.0) || !isFinite(point))
            return false;
        projectedPoint = point;
        return true;
    }

protected:
    ~GuardedPlaneProjector() override = default;
};

const bool kNoKeptPickColour = false;

// A handle whose frame has collapsed (zero scale) maps no window point back
// into its own coordinates.
bool hasVolume(const osg::Matrixd& localToWorld)
{
    const osg::Vec3d x(localToWorld(0, 0), localToWorld(0, 1), localToWorld(0, 2));
    const osg::Vec3d y(localToWorld(1, 0), localToWorld(1, 1), localToWorld(1, 2));
    const osg::Vec3d z(localToWorld(2, 0), localToWorld(2, 1), localToWorld(2, 2));
    const double volume = (x ^ y) * z;
    return std::isfinite(volume) && volume != 0.0;
}

} // namespace

PlaneHandle::PlaneHandle(Composite3DDragger::AxisEnum axis)
    : PlaneHandle(osg::Plane(osg::Vec3d(axis == 0, axis == 1, axis == 2), 0.0))
{
    m_axis = axis;
}

PlaneHandle::PlaneHandle(const osg::Plane& plane)
    : OneAxisHandle(kNoKeptPickColour), m_axis(Composite3DDragger::NO_AXIS)
{
    _projector = new GuardedPlaneProjector(plane);
}

PlaneHandle::~PlaneHandle() = default;

Composite3DDragger::AxisEnum PlaneHandle::firstInPlane() const
{
    return Composite3DDragger::AxisEnum((m_axis + 1) % 3);
}

Composite3DDragger::AxisEnum PlaneHandle::secondInPlane() const
{
    return Composite3DDragger::AxisEnum((m_axis + 2) % 3);
}

bool PlaneHandle::handle(const osgManipulator::PointerInfo& pointer,
                         const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (event.getEventType() != osgGA::GUIEventAdapter::PUSH || !pickingEnabled())
        return OneAxisHandle::handle(pointer, event, action);
    if (!pointer.contains(this) || !pressProjects(pointer))
        return false;
    startMotion(action);
    trackDrag(event);
    return true;
}

bool PlaneHandle::aimPlane(const osgManipulator::PointerInfo&, const osg::Matrixd&)
{
    return true;
}

bool PlaneHandle::pressProjects(const osgManipulator::PointerInfo& pointer)
{
    // The frame the base takes at a press, found along the first parents.
    const osg::Matrixd localToWorld = RootPath::localToWorld(*this);
    if (!hasVolume(localToWorld) || !aimPlane(pointer, localToWorld))
        return false;
    // The projector keeps the inverse of an unchanged frame (the press is
    // handled twice), as the arrow's does.
    if (!sameBits(localToWorld, _projector->getLocalToWorld()))
        _projector->setLocalToWorld(localToWorld);
    return _projector->project(pointer, _startProjectedPoint);
}

void PlaneHandle::startMotion(osgGA::GUIActionAdapter& action)
{
    // The base's press once the grabbed point is known: a start command to
    // the parent dragger, then the pick colour drawn over the plane.
    osg::ref_ptr<osgManipulator::TranslateInPlaneCommand> command =
        new osgManipulator::TranslateInPlaneCommand(_projector->getPlane());
    command->setStage(osgManipulator::MotionCommand::START);
    command->setReferencePoint(_startProjectedPoint);
    command->setLocalToWorldAndWorldToLocal(_projector->getLocalToWorld(),
                                            _projector->getWorldToLocal());
    dispatch(*command);
    osgManipulator::setMaterialColor(_pickColor, *this);
    getOrCreateStateSet()->setAttributeAndModes(_polygonOffset.get(), osg::StateAttribute::ON);
    action.requestRedraw();
}

} // namespace Rk
