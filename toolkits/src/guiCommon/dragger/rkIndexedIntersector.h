#ifndef RK_INDEXED_INTERSECTOR_H
#define RK_INDEXED_INTERSECTOR_H

#include <osgUtil/LineSegmentIntersector>

namespace Rk {

/// The line-segment intersector of the library's scene picks: the plain
/// `osgUtil::LineSegmentIntersector`'s hits, bit for bit and in the same
/// order, found faster where a drawable carries a `PickIndex` (the handles'
/// shape drawables and the rings' pick torus do): there only the triangles
/// the segment may meet go through OpenSceneGraph's triangle test. Every other drawable, and
/// every drawable while an intersection limit is set, is tested the plain way.
///
/// Its clones carry the same local segment as the plain intersector's and
/// are of the same kind, so that the whole pick goes this way.
class IndexedIntersector : public osgUtil::LineSegmentIntersector
{
public:
    /// Through window point (`x`, `y`) in `frame`, as the plain
    /// intersector's constructor of the same arguments.
    IndexedIntersector(CoordinateFrame frame, double x, double y);
    /// From `start` to `end` in model coordinates.
    IndexedIntersector(const osg::Vec3d& start, const osg::Vec3d& end);

    osgUtil::Intersector* clone(osgUtil::IntersectionVisitor& visitor) override;
    void intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable,
                   const osg::Vec3d& start, const osg::Vec3d& end) override;
    using osgUtil::LineSegmentIntersector::intersect;

protected:
    /// A clone below `root`, from `start` to `end` in the entered node's frame.
    IndexedIntersector(const osg::Vec3d& start, const osg::Vec3d& end, IndexedIntersector& root);
    /// The segment of a clone entering the visitor's current node.
    void cloneSegment(osgUtil::IntersectionVisitor& visitor, osg::Vec3d& start,
                      osg::Vec3d& end) const;
};

} // namespace Rk

#endif
