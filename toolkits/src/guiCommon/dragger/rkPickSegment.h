#ifndef RK_PICK_SEGMENT_H
#define RK_PICK_SEGMENT_H

#include <osg/MatrixTransform>
#include <osg/Vec3d>

namespace osgUtil {
class IntersectionVisitor;
}

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
/// The test is conservative: it answers "may hit" whenever it cannot be sure
/// (another kind of intersector, a handle with other children than geodes of
/// drawables, a drawable without culling, an absolute reference frame), so
/// skipping the handles it rules out never changes a pick's results.
class PickSegment
{
public:
    /// The segment of `visitor`'s intersector in the local coordinates of the
    /// node being traversed (the transforms above it included). Valid only
    /// when the visitor's intersector is exactly an
    /// `osgUtil::LineSegmentIntersector`, as `osgViewer::View::computeIntersections`
    /// uses, and the segment is finite.
    explicit PickSegment(osgUtil::IntersectionVisitor& visitor);
    /// An invalid segment.
    PickSegment() = default;

    bool valid() const { return m_valid; }

    /// False when the segment certainly misses every drawable below
    /// `handle`, a child of the traversed node; true otherwise, and always
    /// for an invalid segment.
    bool mayHit(const osg::MatrixTransform& handle) const;

private:
    bool m_valid = false;
    osg::Vec3d m_start;
    osg::Vec3d m_end;
};

} // namespace Rk

#endif
