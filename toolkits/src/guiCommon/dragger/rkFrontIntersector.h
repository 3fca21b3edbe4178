#ifndef RK_FRONT_INTERSECTOR_H
#define RK_FRONT_INTERSECTOR_H

#include "rkIndexedIntersector.h"

namespace Rk {

/// A line-segment intersector for callers that only need the front hit: it
/// does not enter a node whose bounding sphere lies wholly behind the
/// nearest hit found so far along the segment.
///
/// Its front hit is the one the plain `osgUtil::LineSegmentIntersector`
/// finds, bit for bit (ratio, node path, drawable, primitive, points; its
/// drawables are tested as `IndexedIntersector` tests them):
/// everything it does not enter could only have added hits farther along
/// the segment, the nodes it does enter are visited in the same order, and
/// each of its clones carries the same local segment as the plain one's.
/// The hits behind the front one are a subset of the plain intersector's
/// (which ones depends on the order of the scene), so use it only where
/// nothing but the front hit is read.
///
/// The test is conservative: a node is skipped only when the whole of its
/// sphere, grown by a rounding margin, projects onto the segment beyond the
/// front hit's ratio. Nodes without culling, invalid spheres and
/// non-finite segments are always entered, as the plain intersector enters
/// them, and so are cameras, projection nodes and transforms with an
/// absolute reference frame: what lies below them is picked through
/// matrices of their own, so their bound says nothing about where along
/// the segment their hits can lie. The intersection limit and precision hint are passed on to the
/// clones as the plain intersector does.
class FrontIntersector : public IndexedIntersector
{
public:
    /// Through window point (`x`, `y`) in `frame`, as the plain
    /// intersector's constructor of the same arguments.
    FrontIntersector(CoordinateFrame frame, double x, double y);

    osgUtil::Intersector* clone(osgUtil::IntersectionVisitor& visitor) override;
    bool enter(const osg::Node& node) override;

private:
    FrontIntersector(const osg::Vec3d& start, const osg::Vec3d& end, FrontIntersector& root);

    bool whollyBehindFront(const osg::BoundingSphere& sphere);
};

} // namespace Rk

#endif
