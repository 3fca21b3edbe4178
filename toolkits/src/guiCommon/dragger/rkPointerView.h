#ifndef RK_POINTER_VIEW_H
#define RK_POINTER_VIEW_H

#include <osg/Matrixd>
#include <osg/Vec2d>
#include <osg/Vec3d>
#include <osgManipulator/Dragger>

namespace osgViewer {
class View;
}

namespace Rk {

/// How the camera of a pointer event sees one point: where it lies in the
/// window and along which line the camera looks at it. Built from the
/// matrices that osgManipulator's `PointerInfo` holds for its camera (view,
/// projection and viewport; window pixels with y counted upwards).
///
/// A point at or behind the eye (the camera inside the gizmo, its centre
/// behind the eye) is not `valid()`: it has no window position and no line of
/// sight, and callers leave the pose alone.
class PointerView
{
public:
    /// How the camera of `pointer` sees `world` (world coordinates).
    PointerView(const osgManipulator::PointerInfo& pointer, const osg::Vec3d& world);

    /// False when the point is at or behind the eye, or any result is not finite.
    bool valid() const { return m_valid; }
    /// Window position of the point (pixels, y up).
    const osg::Vec2d& window() const { return m_window; }
    /// Unit world direction from the point towards the camera along the ray
    /// through its pixel: the normal of the plane through the point that
    /// faces the camera, and the axis of a turn seen counter-clockwise.
    const osg::Vec3d& towardsCamera() const { return m_towardsCamera; }

    /// Window position (pixels, y up) of the pointer of `pointer`.
    static osg::Vec2d pointerWindow(const osgManipulator::PointerInfo& pointer);

    /// `pointer.setCamera(camera)`, with the same matrices bit for bit; what
    /// it derives from a camera's view and projection matrices and viewport
    /// (two matrix inversions) is remembered per thread for the last ones.
    static void setCamera(osgManipulator::PointerInfo& pointer, osg::Camera* camera);

    /// The camera whose matrices map a pointer into the scene of a hit with
    /// node path `path`: the innermost absolute (or parentless) camera on
    /// the path, else the view's own camera.
    static osg::Camera* cameraAbove(const osg::NodePath& path, osgViewer::View& view);

private:
    bool m_valid;
    osg::Vec2d m_window;
    osg::Vec3d m_towardsCamera;
};

} // namespace Rk

#endif
