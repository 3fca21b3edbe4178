#ifndef RK_AXIAL_SHELL_BOUND_H
#define RK_AXIAL_SHELL_BOUND_H

#include <osg/BoundingBox>
#include <osg/Node>
#include <osg/Vec3d>

#include <vector>

namespace Rk {

/// Bound of a geode whose geometry lies about its own Z axis, as a rotation
/// handle's ring does. Set as the geode's bounding-sphere callback, it gives:
///
/// - as the geode's bounding sphere, the sphere about the centre of the
///   drawables' box that just holds every vertex. The sphere that
///   OpenSceneGraph derives from the box reaches the box's corners, far
///   outside a ring; the tighter one still holds every vertex, hence every
///   primitive, so culling and picking find exactly what they found before.
///   The geode's bounding box stays the drawables' box, as usual.
/// - an axial shell: the box and the range of distance from the Z axis that
///   hold every face (triangle or quad) of the drawables, and the same for
///   each drawable's faces. A pick ray through the hole of a ring meets the
///   ring's box but not its shell; one that passes just inside the ring
///   among its direction cones meets the shell of all, but neither the
///   tube's own shell nor any cone's box.
///
/// Both are computed whenever OpenSceneGraph recomputes the geode's bound,
/// so a geometry change followed by `dirtyBound()`, as OpenSceneGraph
/// requires for culling anyway, updates them. Coordinates are the geode's.
/// Lines and points are left out of the shell: a line-segment pick never
/// hits them. A drawable whose faces cannot be enumerated leaves the shell
/// unknown, and `mayBeMetBy` then answers true.
class AxialShellBound : public osg::Node::ComputeBoundingSphereCallback
{
public:
    osg::BoundingSphere computeBound(const osg::Node& node) const override;

    /// False only when the segment from `start` to `end` (geode coordinates)
    /// stays farther than `margin` from the shell of `geode`, which carries
    /// this callback; the geode's bound is brought up to date first.
    bool mayBeMetBy(const osg::Geode& geode, const osg::Vec3d& start, const osg::Vec3d& end,
                    double margin) const;

private:
    /// Faces within the box, at distances from the axis in [minRadius, maxRadius].
    struct Shell
    {
        bool known = false;
        double minRadius = 0.0;
        double maxRadius = 0.0;
        osg::BoundingBoxd box;
    };
    /// Sets the shell of all faces of `geode` and, when every drawable's
    /// faces could be read, the shell of each drawable that has faces.
    void collectShells(const osg::Geode& geode) const;
    static bool meets(const Shell& shell, const osg::Vec3d& start, const osg::Vec3d& end,
                      double margin);

    mutable Shell m_shell;
    mutable std::vector<Shell> m_parts;
};

} // namespace Rk

#endif
