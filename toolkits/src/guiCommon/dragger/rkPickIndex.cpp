#include "rkPickIndex.h"

#include <osg/Geometry>
#include <osgUtil/LineSegmentIntersector>

namespace Rk {

PickIndex::Signature PickIndex::Signature::of(const osg::Geometry& geometry)
{
    Signature signature;
    signature.drawable = &geometry;
    signature.vertices = geometry.getVertexArray();
    if (signature.vertices) {
        signature.vertexCount = signature.vertices->getNumElements();
        signature.vertexModified = signature.vertices->getModifiedCount();
    }
    signature.shape = geometry.getShape();
    for (const osg::ref_ptr<osg::PrimitiveSet>& set : geometry.getPrimitiveSetList())
        signature.primitives.emplace_back(set.get(), set ? set->getModifiedCount() : 0u);
    return signature;
}

bool PickIndex::Signature::describes(const osg::Geometry& geometry) const
{
    const osg::Array* array = geometry.getVertexArray();
    const osg::Geometry::PrimitiveSetList& sets = geometry.getPrimitiveSetList();
    if (&geometry != drawable || array != vertices || geometry.getShape() != shape ||
        array->getNumElements() != vertexCount || array->getModifiedCount() != vertexModified ||
        sets.size() != primitives.size())
        return false;
    for (std::size_t index = 0; index < sets.size(); ++index)
        if (sets[index].get() != primitives[index].first ||
            sets[index]->getModifiedCount() != primitives[index].second)
            return false;
    return true;
}

PickIndex::PickIndex(const osg::Geometry& geometry) : m_signature(Signature::of(geometry)) {}

const PickIndex* PickIndex::of(const osg::Drawable& drawable)
{
    const auto* index = dynamic_cast<const PickIndex*>(drawable.getUserData());
    const osg::Geometry* geometry = drawable.asGeometry();
    return index && geometry && index->m_signature.describes(*geometry) ? index : nullptr;
}

void PickIndex::prepareLocked() const
{
    std::lock_guard<std::mutex> lock(m_preparing);
    if (m_prepared.load(std::memory_order_relaxed))
        return;
    const_cast<PickIndex*>(this)->prepare();
    m_prepared.store(true, std::memory_order_release);
}

osg::ref_ptr<osg::Geometry> PickIndex::newProxy()
{
    osg::ref_ptr<osg::Geometry> proxy = new osg::Geometry;
    proxy->setUseVertexBufferObjects(false);
    proxy->setUseDisplayList(false);
    return proxy;
}

void PickIndex::testInstead(osgUtil::LineSegmentIntersector& intersector,
                            osgUtil::IntersectionVisitor& visitor, osg::Geometry& proxy,
                            osg::Drawable& drawable, const osg::Vec3d& start, const osg::Vec3d& end,
                            const std::vector<unsigned int>* primitiveOf)
{
    const std::size_t before = intersector.getIntersections().size();
    intersector.osgUtil::LineSegmentIntersector::intersect(visitor, &proxy, start, end);
    if (intersector.getIntersections().size() == before)
        return;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit :
         intersector.getIntersections()) {
        if (hit.drawable.get() != &proxy)
            continue;
        auto& fixed = const_cast<osgUtil::LineSegmentIntersector::Intersection&>(hit);
        fixed.drawable = &drawable;
        if (primitiveOf)
            fixed.primitiveIndex = (*primitiveOf)[hit.primitiveIndex];
    }
}

} // namespace Rk
