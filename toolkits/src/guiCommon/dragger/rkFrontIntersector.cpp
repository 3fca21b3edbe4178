#include "rkFrontIntersector.h"

#include "rkFinite.h"

#include <osg/Camera>
#include <osg/Projection>
#include <osgUtil/IntersectionVisitor>

#include <cmath>

namespace Rk {

namespace {

// Relative slack, per unit of the segment's coordinates, for the rounding of
// single-precision bounds and of the hits' ratios.
const double kMarginPerUnit = 1e-6;

// Whether `node`'s bound lies in the frame of its parent, the frame of the
// segment that decides whether to enter it. A camera or a projection node
// maps what is below it through matrices of its own, and a transform with an
// absolute reference frame ignores the frames above it.
bool boundInParentFrame(const osg::Node& node)
{
    if (node.asCamera() || dynamic_cast<const osg::Projection*>(&node))
        return false;
    const osg::Transform* transform = node.asTransform();
    return !transform || transform->getReferenceFrame() == osg::Transform::RELATIVE_RF;
}

} // namespace

FrontIntersector::FrontIntersector(CoordinateFrame frame, double x, double y)
    : IndexedIntersector(frame, x, y)
{
}

FrontIntersector::FrontIntersector(const osg::Vec3d& start, const osg::Vec3d& end,
                                   FrontIntersector& root)
    : IndexedIntersector(start, end, root)
{
}

osgUtil::Intersector* FrontIntersector::clone(osgUtil::IntersectionVisitor& visitor)
{
    osg::Vec3d start;
    osg::Vec3d end;
    cloneSegment(visitor, start, end);
    return new FrontIntersector(start, end, *this);
}

bool FrontIntersector::enter(const osg::Node& node)
{
    if (!IndexedIntersector::enter(node))
        return false;
    return !node.isCullingActive() || !boundInParentFrame(node) ||
           !whollyBehindFront(node.getBound());
}

bool FrontIntersector::whollyBehindFront(const osg::BoundingSphere& sphere)
{
    const Intersections& found = getIntersections();
    if (found.empty() || !sphere.valid())
        return false;
    const osg::Vec3d direction = getEnd() - getStart();
    const double length = direction.length();
    const osg::Vec3d toCentre = osg::Vec3d(sphere.center()) - getStart();
    if (!(length > 0.0) || !isFinite(direction) || !isFinite(toCentre))
        return false;
    // Every point of the sphere projects onto the segment's line within
    // `radius` of the centre's projection: its ratio is at least `nearest`.
    const double margin = kMarginPerUnit * (1.0 + getStart().length() + getEnd().length());
    const double nearest =
        (toCentre * direction) / (length * length) - (sphere.radius() + margin) / length;
    return nearest > found.begin()->ratio;
}

} // namespace Rk
