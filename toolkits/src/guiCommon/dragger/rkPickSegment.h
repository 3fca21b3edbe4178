#ifndef RK_PICK_SEGMENT_H
#define RK_PICK_SEGMENT_H

#include <osg/MatrixTransform>
#include <osg/Vec3d>

#include <osg/NodeVisitor>

namespace Rk {

/// The line segment of a pick, seen from the group that an intersection
/// visitor is traversing, and a test that tells which of the group's handles
/// the segment cannot hit.
///
/// OpenSceneGraph decides whether to enter a node by its bounding sphere. A
/// one-axis handle is long and thin (an arrow) or flat (a ring), so its
/// sphere lets through many rays that pass beside it, and each entered
/// transform costs a matrix inversion, allocations and the tests of all its
/// drawables. The box of each of the handle's geodes, in the handle's own
/// frame, hugs it much more closely, and a ring's axial shell
/// (`AxialShellBound`) even leaves out its hole: a segment that misses them
/// cannot hit any drawable, because OpenSceneGraph's line-segment
/// intersector only reports points on triangles inside a drawable's box.
///
/// A `FacingTransform` child of a handle (a view ring's) is seen through:
/// its geodes are tested turned towards the pick's eye, as the pick itself
/// turns them.
///
/// The test is conservative: it answers "may hit" whenever it cannot be sure
/// (another kind of intersector, a handle with other children than geodes of
/// drawables or facing transforms of geodes, a drawable without culling, an absolute reference
/// frame), so skipping the handles it rules out never changes a pick's results.
class PickSegment
{
public:
    /// The segment of `visitor`'s intersector in the local coordinates of the
    /// node being traversed (the transforms above it included). Valid only
    /// when the visitor's intersector is exactly an
    /// `osgUtil::LineSegmentIntersector`, as `osgViewer::View::computeIntersections`
    /// uses, or an `IndexedIntersector` or `FrontIntersector` (which find the
    /// hits it finds), and the segment is finite.
    explicit PickSegment(osgUtil::IntersectionVisitor& visitor);
    /// An invalid segment.
    PickSegment() = default;

    bool valid() const { return m_valid; }

    /// False when the segment certainly misses every drawable below
    /// `handle`, a child of the traversed node; true otherwise, and always
    /// for an invalid segment.
    bool mayHit(const osg::MatrixTransform& handle) const;

    /// For a pick: visits the children of `group` in order, as a group does,
    /// but skips each child that `asHandle(child)` maps to a handle (an
    /// `osg::MatrixTransform*`; null for any other child, which is always
    /// visited) that the pick's segment certainly misses, and enters a
    /// handle whose matrix is the identity, relative to its parent, as a
    /// plain group (see `traverseFlattening`; `asHandle` may therefore only
    /// map to transforms whose local-to-world matrix is their matrix). The
    /// same hits, without entering the handles that a ray at another handle
    /// merely passes near. False, having visited nothing, for any other
    /// visitor and for a pick whose segment is not valid.
    template <class AsHandle>
    static bool traverseSkippingMissed(osg::Group& group, osg::NodeVisitor& visitor,
                                       AsHandle asHandle)
    {
        osgUtil::IntersectionVisitor* picker = visitor.asIntersectionVisitor();
        const PickSegment segment = picker ? PickSegment(*picker) : PickSegment();
        if (!segment.valid())
            return false;
        for (unsigned int index = 0; index < group.getNumChildren(); ++index) {
            osg::Node* child = group.getChild(index);
            if (!child)
                continue;
            const osg::MatrixTransform* handle = asHandle(child);
            if (handle && !segment.mayHit(*handle))
                continue;
            if (handle && isIdentity(*handle))
                enterAsGroup(*child, *picker);
            else
                child->accept(visitor);
        }
        return true;
    }

    /// For a pick by an intersector that `PickSegment` knows: visits the
    /// children of `group` in order, as a group does, but enters each child
    /// for which `isFlat(child)` holds as a plain group, without taking the
    /// segment and the model matrix into the child's frame. `isFlat` may
    /// only hold for a transform of the relative reference frame whose
    /// matrix is the identity and whose local-to-world matrix is that
    /// matrix (an `osg::MatrixTransform`'s, a child composite's at scale 1,
    /// say): the pick then enters, finds and reports what it would have,
    /// and the hits below carry the group's model matrix, of the same
    /// values. Saves a clone of the intersector, a matrix inversion and
    /// their allocations per such child. False, having visited nothing, for
    /// any other visitor.
    template <class IsFlat>
    static bool traverseFlattening(osg::Group& group, osg::NodeVisitor& visitor, IsFlat isFlat)
    {
        osgUtil::IntersectionVisitor* picker = visitor.asIntersectionVisitor();
        if (!picker || !knows(*picker))
            return false;
        for (unsigned int index = 0; index < group.getNumChildren(); ++index) {
            osg::Node* child = group.getChild(index);
            if (isFlat(child))
                enterAsGroup(*child, *picker);
            else
                child->accept(visitor);
        }
        return true;
    }

    /// Whether `transform` leaves its children's frame as it is: relative to
    /// its parent, with the identity matrix (what `traverseFlattening`'s
    /// `isFlat` may hold for).
    static bool isIdentity(const osg::MatrixTransform& transform);

private:
    /// Whether the visitor's intersector is one whose picks this class reads.
    static bool knows(const osgUtil::IntersectionVisitor& visitor);
    static void enterAsGroup(osg::Node& child, osgUtil::IntersectionVisitor& visitor);

    bool mayHitChild(const osg::Node& child, const osg::Vec3d& start, const osg::Vec3d& end,
                     const osg::Matrixd& toHandle, double margin) const;

    bool m_valid = false;
    osg::Vec3d m_start;
    osg::Vec3d m_end;
    /// The pick, asked for its eye point (an inversion) only when a facing
    /// transform needs it: the segment lives no longer than the traversal step.
    osgUtil::IntersectionVisitor* m_visitor = nullptr;
};

} // namespace Rk

#endif
