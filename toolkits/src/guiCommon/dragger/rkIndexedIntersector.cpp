#include "rkIndexedIntersector.h"

#include "rkPickIndex.h"

#include <osgUtil/IntersectionVisitor>

namespace Rk {

IndexedIntersector::IndexedIntersector(CoordinateFrame frame, double x, double y)
    : LineSegmentIntersector(frame, x, y)
{
}

IndexedIntersector::IndexedIntersector(const osg::Vec3d& start, const osg::Vec3d& end)
    : LineSegmentIntersector(start, end)
{
}

IndexedIntersector::IndexedIntersector(const osg::Vec3d& start, const osg::Vec3d& end,
                                       IndexedIntersector& root)
    : LineSegmentIntersector(start, end)
{
    _parent = &root;
    setIntersectionLimit(root.getIntersectionLimit());
    setPrecisionHint(root.getPrecisionHint());
}

void IndexedIntersector::cloneSegment(osgUtil::IntersectionVisitor& visitor, osg::Vec3d& start,
                                      osg::Vec3d& end) const
{
    // The segment taken into the frame of the node being entered, exactly as
    // the plain intersector's clone takes it.
    start = getStart();
    end = getEnd();
    if (getCoordinateFrame() == MODEL && visitor.getModelMatrix() == nullptr)
        return;
    const osg::Matrixd toLocal = getTransformation(visitor, getCoordinateFrame());
    start = start * toLocal;
    end = end * toLocal;
}

osgUtil::Intersector* IndexedIntersector::clone(osgUtil::IntersectionVisitor& visitor)
{
    osg::Vec3d start;
    osg::Vec3d end;
    cloneSegment(visitor, start, end);
    return new IndexedIntersector(start, end, *this);
}

void IndexedIntersector::intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable,
                                   const osg::Vec3d& start, const osg::Vec3d& end)
{
    const PickIndex* index =
        drawable && getIntersectionLimit() == NO_LIMIT ? PickIndex::of(*drawable) : nullptr;
    if (!index || !index->intersect(*this, visitor, *drawable, start, end))
        LineSegmentIntersector::intersect(visitor, drawable, start, end);
}

} // namespace Rk
