#include "rkPointerView.h"

#include "rkCameraState.h"
#include "rkFinite.h"
#include "rkWindowProjection.h"

#include <osg/Camera>
#include <osg/Vec4d>
#include <osgViewer/View>

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
    CameraState state;
    osg::Matrixd toWindow;
    osg::Matrixd fromWindow;
    osg::Vec3d eyeDirection;
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
    if (camera && last.state.describes(*camera)) {
        PointerMatrices::set(pointer, last.toWindow, last.fromWindow, last.eyeDirection);
        return;
    }
    pointer.setCamera(camera);
    if (!camera)
        return;
    last.state = CameraState(*camera);
    last.toWindow = PointerMatrices::toWindow(pointer);
    last.fromWindow = PointerMatrices::fromWindow(pointer);
    last.eyeDirection = pointer.getEyeDir();
}

osg::Camera* PointerView::cameraAbove(const osg::NodePath& path, osgViewer::View& view)
{
    for (auto node = path.rbegin(); node != path.rend(); ++node)
        if (WindowProjection::ownCamera(**node))
            return (*node)->asCamera();
    return view.getCamera();
}

} // namespace Rk
