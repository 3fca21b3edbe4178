#ifndef RK_WINDOW_PROJECTION_H
#define RK_WINDOW_PROJECTION_H

#include <osg/Matrixd>
#include <osg/Vec2d>
#include <osg/Vec3d>
#include <osg/Vec4d>

#include <cmath>
#include <cstdint>

namespace osg {
class Camera;
class Node;
} // namespace osg

namespace osgGA {
class GUIEventAdapter;
}

namespace Rk {

/// Where the scene appears in the window of one pointer event: world
/// coordinates to the event's window pixels through a camera, and the pointer
/// there.
///
/// Pixels are the event's own (`getXmin()` to `getXmax()`), y counted upwards
/// from the bottom of the event's range whatever the event's mouse-y
/// orientation: the window point the scene pick and the handles' pointer
/// projection use.
struct WindowProjection
{
    osg::Matrixd worldToWindow;
    osg::Matrixd worldToEye;
    osg::Matrixd eyeToWindow;
    osg::Vec2d pointer;
    /// Names the window transform: equal ids, equal transforms (0: none).
    std::uint64_t transformId = 0;
    /// False without a camera or viewport, with a singular transform or a
    /// pointer that is not finite.
    bool valid = false;

    /// The projection of `event` through `camera` (null gives an invalid
    /// one). The reference stays valid until the next call on the same
    /// thread. Every dragger asks at every pointer move, all through the same
    /// camera: the window transform is made again only when the camera's view
    /// or projection matrix or its viewport changed.
    static const WindowProjection& of(const osg::Camera* camera,
                                      const osgGA::GUIEventAdapter& event);

    /// Whether `projection` (a camera's projection matrix, or that times a
    /// window matrix) is orthographic: every line of sight parallel.
    static bool isOrthographic(const osg::Matrixd& projection)
    {
        return projection(3, 3) == 1.0 && projection(2, 3) == 0.0;
    }
    /// The viewer of a camera with `projection`, in eye coordinates and
    /// homogeneous: the eye point (0, 0, 0, 1) under a perspective
    /// projection, the point at infinity back along the line of sight
    /// (0, 0, 1, 0) under an orthographic one. Times an eye-to-world matrix
    /// it is the viewer in the world: x, y, z are the eye, or the direction
    /// towards the viewer.
    static osg::Vec4d viewerInEye(const osg::Matrixd& projection)
    {
        return isOrthographic(projection) ? osg::Vec4d(0.0, 0.0, 1.0, 0.0)
                                          : osg::Vec4d(0.0, 0.0, 0.0, 1.0);
    }

    /// `node` as a camera that maps what lies below it into the window with
    /// matrices of its own, as the scene pick takes it: an absolute camera,
    /// or one without parents. Null for any other node, and for a camera
    /// relative to the one above it (one that draws a gizmo over the scene,
    /// say), which the pick sees through: its view matrix is one more
    /// transform.
    static const osg::Camera* ownCamera(const osg::Node& node);

    /// The node's local-to-world (its own transform included), up to (not
    /// including) the first `ownCamera`, along the first parent of each node,
    /// with each transform's own `computeLocalToWorldMatrix` (an auto-scaling
    /// transform gives the scale of its last cull, as the scene pick sees
    /// it). `cameraAbove`, when given, receives that camera (null when the
    /// walk reached a node without parents). Scenes deeper than 64 levels are
    /// taken from the node 64 levels up.
    static osg::Matrixd localToWorld(const osg::Node& node,
                                     const osg::Camera** cameraAbove = nullptr);
    /// The same without the node's own transform.
    static osg::Matrixd parentToWorld(const osg::Node& node,
                                      const osg::Camera** cameraAbove = nullptr);
};

/// A point's image through a local-to-window transform: its window position
/// and its clip w. A point at or behind the eye plane is not `inFront()` and
/// has no position.
struct WindowPoint
{
    /// Points this close to the eye plane (clip w) are behind or at the eye.
    static constexpr double MIN_CLIP_W = 1e-9;

    osg::Vec2d at;
    double w = 0.0;

    static WindowPoint of(const osg::Vec3d& point, const osg::Matrixd& localToWindow);
    bool inFront() const;
};

/// Where the image of a sphere can lie in the window: any point of the sphere
/// appears within `spread` pixels (per axis) of `centre`. `anywhere` when the
/// sphere reaches the eye plane, or lies behind it, and nothing can be ruled
/// out.
struct SphereImage
{
    /// Pixels added to a reach, for rounding.
    static constexpr double REACH_SLACK = 1e-6;

    osg::Vec2d centre;
    osg::Vec2d spread;
    bool anywhere = true;

    /// The image of the sphere at `centre` with `radius` (local coordinates)
    /// through `localToWindow`.
    static SphereImage of(const osg::Vec3d& centre, double radius,
                          const osg::Matrixd& localToWindow);
    /// False when no point of the image lies within `reach` pixels of
    /// `pointer`; true when one may.
    bool reaches(const osg::Vec2d& pointer, double reach) const;
};

// Inline: the shape search calls these for every point and piece.

inline WindowPoint WindowPoint::of(const osg::Vec3d& point, const osg::Matrixd& localToWindow)
{
    const osg::Matrixd& matrix = localToWindow;
    const double x = point.x() * matrix(0, 0) + point.y() * matrix(1, 0) +
                     point.z() * matrix(2, 0) + matrix(3, 0);
    const double y = point.x() * matrix(0, 1) + point.y() * matrix(1, 1) +
                     point.z() * matrix(2, 1) + matrix(3, 1);
    const double w = point.x() * matrix(0, 3) + point.y() * matrix(1, 3) +
                     point.z() * matrix(2, 3) + matrix(3, 3);
    if (!(w > MIN_CLIP_W))
        return {osg::Vec2d(), w};
    return {osg::Vec2d(x / w, y / w), w};
}

inline bool WindowPoint::inFront() const
{
    return w > MIN_CLIP_W;
}

inline SphereImage SphereImage::of(const osg::Vec3d& centre, double radius,
                                   const osg::Matrixd& localToWindow)
{
    // A point c + d projects to ((X + a.d) / (W + w.d), ...), so its window
    // offset from the centre's image is at most
    // radius |a W - w X| / (W (W - radius |w|)).
    SphereImage image;
    const osg::Matrixd& m = localToWindow;
    const osg::Vec3d toW(m(0, 3), m(1, 3), m(2, 3));
    const double w = centre * toW + m(3, 3);
    const double nearest = w - radius * toW.length();
    if (!(w > WindowPoint::MIN_CLIP_W) || !(nearest > WindowPoint::MIN_CLIP_W))
        return image;
    for (int axis = 0; axis < 2; ++axis) {
        const osg::Vec3d toAxis(m(0, axis), m(1, axis), m(2, axis));
        const double value = centre * toAxis + m(3, axis);
        image.centre[axis] = value / w;
        image.spread[axis] = radius * (toAxis * w - toW * value).length() / (w * nearest);
    }
    image.anywhere = false;
    return image;
}

inline bool SphereImage::reaches(const osg::Vec2d& pointer, double reach) const
{
    if (anywhere)
        return true;
    for (int axis = 0; axis < 2; ++axis)
        if (!(std::fabs(pointer[axis] - centre[axis]) <= spread[axis] + reach + REACH_SLACK))
            return false;
    return true;
}

} // namespace Rk

#endif
