#ifndef RK_TRIANGLE_INDEX_H
#define RK_TRIANGLE_INDEX_H

#include "rkPickIndex.h"

#include <osg/BoundingBox>
#include <osg/ref_ptr>

#include <limits>
#include <vector>

namespace osg {
class Array;
class Node;
} // namespace osg

namespace Rk {

/// The triangles of one drawable, with a hierarchy of boxes over them, so
/// that a pick tests only the few triangles a segment can meet instead of
/// every triangle of the drawable.
///
/// The triangles are kept in the order in which OpenSceneGraph's
/// line-segment intersector tests them (its primitive functor's order; a quad
/// is tested as two triangles, (v0, v1, v3) then (v1, v2, v3), both carrying
/// the quad's primitive index). A pick through the index hands the triangles
/// the segment may meet, still in that order, to OpenSceneGraph's own
/// triangle test, and gives each hit the drawable and primitive index the
/// plain test would have given: the hits are the plain test's, bit for bit
/// and in the same order, as long as the boxes are conservative. They are:
/// each box is grown by a margin far above the rounding of the test.
///
/// An index describes its drawable's geometry as it was when it was built
/// (see `PickIndex`: changed geometry is picked the plain way). Points and lines
/// count as primitives, as they do in the plain test, which never hits them:
/// a drawable of lines alone (a ring's line) is passed over at once.
/// Geometry without primitives, with vertices that are not an
/// `osg::Vec3Array`, with a KdTree or with user data of its own gets no index.
///
/// The triangles are recorded when the index is attached; the boxes are
/// built, once and under a lock, by the first pick that reaches the drawable
/// (a fraction of a millisecond for a handle's few hundred triangles), so
/// that building a dragger costs little more than before. Read-only after;
/// picks through it may run on any thread.
class TriangleIndex : public PickIndex
{
public:
    /// Builds an index for `geometry` and keeps it as the geometry's user
    /// data. Returns false, and leaves the geometry as it is, for geometry
    /// that cannot have one (see above).
    static bool attachTo(osg::Geometry& geometry);
    /// `attachTo` for every geometry of every geode at or below `node`.
    static void attachBelow(osg::Node& node);

    /// The triangle index of `drawable` when it still describes the
    /// drawable's geometry, else null.
    static const TriangleIndex* of(const osg::Drawable& drawable);

    bool intersect(osgUtil::LineSegmentIntersector& intersector,
                   osgUtil::IntersectionVisitor& visitor, osg::Drawable& drawable,
                   const osg::Vec3d& start, const osg::Vec3d& end) const override;

    /// Number of triangles indexed, and of those a segment may meet (for tests).
    std::size_t triangleCount() const { return m_triangles.size(); }
    void candidates(const osg::Vec3d& start, const osg::Vec3d& end,
                    std::vector<unsigned int>& found) const;

    struct Triangle
    {
        unsigned int corner[3];
        unsigned int primitive;
    };

private:
    struct Box
    {
        osg::Vec3d low;
        osg::Vec3d high;
        /// A leaf holds `count` triangles from `first` in the build order;
        /// an inner box has its first child right after it and its second
        /// at `first`.
        unsigned int first = 0;
        unsigned int count = 0;
    };

    TriangleIndex(const osg::Geometry& geometry, std::vector<Triangle> triangles);
    /// Builds the boxes.
    void prepare() override;
    /// A triangle's box and centre, while the boxes are built.
    struct Extent
    {
        osg::BoundingBoxd box;
        osg::Vec3d centre;
    };

    unsigned int build(unsigned int first, unsigned int count, const std::vector<Extent>& extents,
                       unsigned int depth);
    osg::BoundingBoxd boundsOf(unsigned int first, unsigned int count,
                               const std::vector<Extent>& extents) const;
    /// Orders the triangles from `first` and returns how many go into the first half.
    unsigned int splitCheapest(unsigned int first, unsigned int count,
                               const std::vector<Extent>& extents);
    /// The cheapest split plane weighed so far.
    struct SplitPlane
    {
        int axis = -1;
        double plane = 0.0;
        double cost = std::numeric_limits<double>::infinity();
    };
    /// Weighs the bin boundaries along `axis` of the triangles from `first`
    /// as split planes and keeps the cheapest in `best`.
    void weighSplitsAlong(int axis, unsigned int first, unsigned int count,
                          const osg::BoundingBoxd& centreBounds, const std::vector<Extent>& extents,
                          SplitPlane& best) const;
    osg::ref_ptr<osg::Array> m_vertexArray;
    std::vector<Triangle> m_triangles;
    // The boxes, built at the first search.
    /// Triangle numbers (in test order), grouped by leaf.
    std::vector<unsigned int> m_order;
    std::vector<Box> m_boxes;
    double m_margin = 0.0;
};

} // namespace Rk

#endif
