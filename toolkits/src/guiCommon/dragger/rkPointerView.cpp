#include "rkPointerView.h"

#include "rkFinite.h"

#include <osg/Camera>
#include <osg/Vec4d>

namespace Rk {

namespace {

// Clip-space w below this counts as "at the eye": the perspective divide
// would blow the window position up.
const double kMinClipW = 1e-9;
const double kNearDepth = 0.0;
const double kFarDepth = 1.0;

// osgManipulator keeps the camera's matrices protected; a member pointer
// taken through a derived class reads them without copying the pointer.
struct PointerMatrices : osgManipulator::PointerInfo
{
    static const osg::Matrixd& toWindow(const osgManipulator::PointerInfo& pointer)
    {
        return pointer.*(&PointerMatrices::_MVPW);
    }
    static const osg::Matrixd& fromWindow(const osgManipulator::PointerInfo& pointer)
    {
        return pointer.*(&PointerMatrices::_inverseMVPW);
    }
    static void set(osgManipulator::PointerInfo& pointer, const osg::Matrixd& toWindow,
                    const osg::Matrixd& fromWindow, const osg::Vec3d& eyeDirection)
    {
        pointer.*(&PointerMatrices::_MVPW) = toWindow;
        pointer.*(&PointerMatrices::_inverseMVPW) = fromWindow;
        pointer.*(&PointerMatrices::_eyeDir) = eyeDirection;
    }
};

/// The camera state a pointer's matrices come from, and those matrices.
struct CameraMatrices
{
    osg::Matrixd view;
    osg::Matrixd projection;
    bool hasViewport = false;
    double viewport[4] = {0.0, 0.0, 0.0, 0.0};
    osg::Matrixd toWindow;
    osg::Matrixd fromWindow;
    osg::Vec3d eyeDirection;
    bool valid = false;

    bool describes(const osg::Camera& camera) const
    {
        const osg::Viewport* port = camera.getViewport();
        return valid && sameBits(view, camera.getViewMatrix()) &&
               sameBits(projection, camera.getProjectionMatrix()) &&
               hasViewport == (port != nullptr) &&
               (!port || (port->x() == viewport[0] && port->y() == viewport[1] &&
                          port->width() == viewport[2] && port->height() == viewport[3]));
    }
};

} // namespace

PointerView::PointerView(const osgManipulator::PointerInfo& pointer, const osg::Vec3d& world)
    : m_valid(false)
{
    const osg::Matrixd& toWindow = PointerMatrices::toWindow(pointer);
    const osg::Vec4d clip = osg::Vec4d(world, 1.0) * toWindow;
    if (!(clip.w() > kMinClipW))
        return;
    m_window.set(clip.x() / clip.w(), clip.y() / clip.w());
    const osg::Matrixd& fromWindow = PointerMatrices::fromWindow(pointer);
    const osg::Vec3d nearPoint = osg::Vec3d(m_window, kNearDepth) * fromWindow;
    const osg::Vec3d farPoint = osg::Vec3d(m_window, kFarDepth) * fromWindow;
    m_towardsCamera = nearPoint - farPoint;
    const double length = m_towardsCamera.normalize();
    m_valid = length > 0.0 && isFinite(m_towardsCamera) && std::isfinite(m_window.x()) &&
              std::isfinite(m_window.y());
}

osg::Vec2d PointerView::pointerWindow(const osgManipulator::PointerInfo& pointer)
{
    osg::Vec3d nearPoint;
    osg::Vec3d farPoint;
    pointer.getNearFarPoints(nearPoint, farPoint);
    const osg::Vec3d window = nearPoint * PointerMatrices::toWindow(pointer);
    return osg::Vec2d(window.x(), window.y());
}

void PointerView::setCamera(osgManipulator::PointerInfo& pointer, osg::Camera* camera)
{
    thread_local CameraMatrices last;
    if (camera && last.describes(*camera)) {
        PointerMatrices::set(pointer, last.toWindow, last.fromWindow, last.eyeDirection);
        return;
    }
    pointer.setCamera(camera);
    if (!camera)
        return;
    last.view = camera->getViewMatrix();
    last.projection = camera->getProjectionMatrix();
    const osg::Viewport* port = camera->getViewport();
    last.hasViewport = port != nullptr;
    if (port) {
        last.viewport[0] = port->x();
        last.viewport[1] = port->y();
        last.viewport[2] = port->width();
        last.viewport[3] = port->height();
    }
    last.toWindow = PointerMatrices::toWindow(pointer);
    last.fromWindow = PointerMatrices::fromWindow(pointer);
    last.eyeDirection = pointer.getEyeDir();
    last.valid = true;
}

} // namespace Rk
