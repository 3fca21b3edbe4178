#include "rkPickSegment.h"

#include "rkAxialShellBound.h"
#include "rkFacingTransform.h"
#include "rkFinite.h"
#include "rkFrontIntersector.h"
#include "rkSlab.h"

#include <osg/Geode>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <algorithm>
#include <typeinfo>

namespace Rk {

namespace {

// The segment taken into a handle's frame here and the one OpenSceneGraph
// computes for that handle come from different products of the same
// matrices and differ by rounding; every
// bound is widened by this much per unit of the coordinates involved, far
// more than that rounding and far less than any handle.
const double kMarginPerUnit = 1e-7;

/// Clips the segment from `start` to `end` to `box` grown by `margin` on
/// every side; false when nothing is left.
bool clipToBox(osg::Vec3d& start, osg::Vec3d& end, const osg::BoundingBox& box, double margin)
{
    double enter = 0.0;
    double leave = 1.0;
    const osg::Vec3d direction = end - start;
    for (int axis = 0; axis < 3; ++axis)
        if (!clipToSlab(start[axis], direction[axis], 1.0 / direction[axis],
                        box._min[axis] - margin, box._max[axis] + margin, enter, leave))
            return false;
    end = start + direction * leave;
    start = start + direction * enter;
    return true;
}

/// Whether the segment from `start` to `end` meets `sphere` grown by `margin`
/// (an invalid sphere is met, as OpenSceneGraph treats it).
bool meetsSphere(const osg::Vec3d& start, const osg::Vec3d& end, const osg::BoundingSphere& sphere,
                 double margin)
{
    if (!sphere.valid())
        return true;
    const osg::Vec3d direction = end - start;
    const double length2 = direction.length2();
    const osg::Vec3d fromCentre = start - osg::Vec3d(sphere.center());
    // The point of the segment nearest to the centre.
    const double t =
        length2 > 0.0 ? std::clamp(-(fromCentre * direction) / length2, 0.0, 1.0) : 0.0;
    const double radius = sphere.radius() + margin;
    return (fromCentre + direction * t).length2() <= radius * radius;
}

/// False when the segment (geode coordinates) certainly hits nothing in
/// `geode`: it misses the drawables' box, or the axial shell the geode
/// carries. True whenever the geode holds something a bound cannot vouch for.
bool mayHitGeode(const osg::Geode& geode, osg::Vec3d start, osg::Vec3d end, double margin)
{
    // A drawable without culling is tested whatever its box (the geode
    // counts such children); a billboard turns its drawables to the eye, and
    // so may any other kind of geode. The exact type is asked, not a cast:
    // a failed cast across shared libraries compares type names.
    if (!geode.isCullingActive() || typeid(geode) != typeid(osg::Geode))
        return true;
    const auto* shell =
        dynamic_cast<const AxialShellBound*>(geode.getComputeBoundingSphereCallback());
    // Another bound callback need not keep the geode's box up to date.
    if (geode.getComputeBoundingSphereCallback() && !shell)
        return true;
    if (!clipToBox(start, end, geode.getBoundingBox(), margin))
        return false;
    return !shell || shell->mayBeMetBy(geode, start, end, margin);
}

/// What an intersection visitor keeps to itself: the enter and leave steps
/// of its innermost intersector, which it takes for a group, and that
/// intersector, the clone whose segment lies in the frame of the node being
/// traversed.
class VisitorInside : public osgUtil::IntersectionVisitor
{
public:
    static constexpr bool (osgUtil::IntersectionVisitor::*enterStep)(const osg::Node&) =
        &VisitorInside::enter;
    static constexpr void (osgUtil::IntersectionVisitor::*leaveStep)() = &VisitorInside::leave;

    static const osgUtil::Intersector* innermost(const osgUtil::IntersectionVisitor& visitor)
    {
        const IntersectorStack& stack = visitor.*(&VisitorInside::_intersectorStack);
        return stack.empty() ? nullptr : stack.back().get();
    }
};

} // namespace

bool PickSegment::knows(const osgUtil::IntersectionVisitor& visitor)
{
    const osgUtil::Intersector* intersector = visitor.getIntersector();
    return intersector && (typeid(*intersector) == typeid(osgUtil::LineSegmentIntersector) ||
                           typeid(*intersector) == typeid(IndexedIntersector) ||
                           typeid(*intersector) == typeid(FrontIntersector));
}

bool PickSegment::isIdentity(const osg::MatrixTransform& transform)
{
    return transform.getReferenceFrame() == osg::Transform::RELATIVE_RF &&
           transform.getMatrix().isIdentity();
}

void PickSegment::enterAsGroup(osg::Node& child, osgUtil::IntersectionVisitor& visitor)
{
    // The child's accept and the visitor's apply for a group, in one.
    if (!visitor.validNodeMask(child))
        return;
    visitor.pushOntoNodePath(&child);
    if ((visitor.*VisitorInside::enterStep)(child)) {
        visitor.traverse(child);
        (visitor.*VisitorInside::leaveStep)();
    }
    visitor.popFromNodePath();
}

PickSegment::PickSegment(osgUtil::IntersectionVisitor& visitor)
{
    if (!knows(visitor))
        return;
    // The segment with which the visitor tests what lies below this node:
    // its innermost intersector's, a line-segment intersector like the
    // first one (the clones of both known kinds are of their own kind).
    const auto* segment =
        static_cast<const osgUtil::LineSegmentIntersector*>(VisitorInside::innermost(visitor));
    m_start = segment->getStart();
    m_end = segment->getEnd();
    m_visitor = &visitor;
    m_valid = isFinite(m_start) && isFinite(m_end);
}

bool PickSegment::mayHit(const osg::MatrixTransform& handle) const
{
    if (!m_valid)
        return true;
    const double margin = kMarginPerUnit * (1.0 + std::max(m_start.length(), m_end.length()));
    // What OpenSceneGraph decides anyway, at the cost of one sphere test.
    if (handle.isCullingActive() && !meetsSphere(m_start, m_end, handle.getBound(), margin))
        return false;
    if (handle.getReferenceFrame() != osg::Transform::RELATIVE_RF)
        return true;
    // A collapsed (singular) handle, or a non-finite segment, is left to
    // OpenSceneGraph.
    osg::Matrixd toHandle;
    if (!toHandle.invert(handle.getMatrix()))
        return true;
    const osg::Vec3d start = m_start * toHandle;
    const osg::Vec3d end = m_end * toHandle;
    if (!isFinite(start) || !isFinite(end))
        return true;
    const double handleMargin = kMarginPerUnit * (1.0 + std::max(start.length(), end.length()));
    for (unsigned int index = 0; index < handle.getNumChildren(); ++index)
        if (mayHitChild(*handle.getChild(index), start, end, toHandle, handleMargin))
            return true;
    return false;
}

bool PickSegment::mayHitChild(const osg::Node& child, const osg::Vec3d& start,
                              const osg::Vec3d& end, const osg::Matrixd& toHandle,
                              double margin) const
{
    if (const osg::Geode* geode = child.asGeode())
        return mayHitGeode(*geode, start, end, margin);
    // Only a facing transform itself is seen through (see above for why
    // its exact type is asked).
    if (typeid(child) != typeid(FacingTransform))
        return true;
    const auto* facing = static_cast<const FacingTransform*>(&child);
    if (facing->getReferenceFrame() != osg::Transform::RELATIVE_RF)
        return true;
    // The viewer as the facing transform will see it below the handle.
    osg::Vec4d viewer;
    if (!FacingTransform::viewerOf(*m_visitor, viewer))
        return true;
    viewer = viewer * toHandle;
    osg::Quat turn;
    if (!FacingTransform::facingFor(viewer, turn))
        return true;
    // The segment in the frame of the facing transform's children.
    const osg::Quat back = turn.inverse();
    const osg::Vec3d facingStart = back * start;
    const osg::Vec3d facingEnd = back * end;
    for (unsigned int index = 0; index < facing->getNumChildren(); ++index) {
        const osg::Geode* geode = facing->getChild(index)->asGeode();
        if (!geode || mayHitGeode(*geode, facingStart, facingEnd, margin))
            return true;
    }
    return false;
}

} // namespace Rk
