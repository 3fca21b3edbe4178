#include "rkTriangleIndex.h"

#include "rkFinite.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/KdTree>
#include <osg/TemplatePrimitiveFunctor>
#include <osgUtil/IntersectionVisitor>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Rk {

namespace {

// Triangles per leaf box: below this, testing them costs less than the boxes.
const unsigned int kLeafSize = 4;
// Boxes below this depth become leaves whatever they hold, which bounds the
// stack of a search (a tree this deep is far from any handle's).
const unsigned int kMaxDepth = 48;
// Boxes grow by this much per unit of the geometry's size and coordinates:
// many orders of magnitude above the rounding of the triangle test, so that
// no triangle the test could meet is ever passed over.
const double kMarginPerUnit = 1e-6;
// The segment parameter is allowed this far beyond its ends, for the same reason.
const double kParameterSlack = 1e-9;

// Collects the triangles of a geometry exactly as OpenSceneGraph's
// primitive functor hands them to the line-segment intersector.
struct TriangleRecorder
{
    const osg::Vec3* base = nullptr;
    std::vector<TriangleIndex::Triangle>* triangles = nullptr;
    unsigned int primitive = 0;
    bool unsupported = false;

    unsigned int indexOf(const osg::Vec3& vertex) const { return unsigned(&vertex - base); }
    void add(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c)
    {
        triangles->push_back({{indexOf(a), indexOf(b), indexOf(c)}, primitive});
    }

    void operator()(const osg::Vec3&, bool) { unsupported = true; }
    void operator()(const osg::Vec3&, const osg::Vec3&, bool) { unsupported = true; }
    void operator()(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c, bool temporary)
    {
        unsupported = unsupported || temporary;
        add(a, b, c);
        ++primitive;
    }
    void operator()(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c, const osg::Vec3& d,
                    bool temporary)
    {
        unsupported = unsupported || temporary;
        add(a, b, d);
        add(b, c, d);
        ++primitive;
    }
};

// The scratch of picks through an index on one thread: a geometry that
// shares the indexed vertices and holds only the triangles a segment may
// meet, handed to OpenSceneGraph's own test in place of the drawable.
struct Scratch
{
    osg::ref_ptr<osg::Geometry> proxy;
    osg::ref_ptr<osg::DrawElementsUInt> triangles;
    std::vector<unsigned int> candidates;
    std::vector<unsigned int> primitiveOf;

    Scratch() : proxy(new osg::Geometry), triangles(new osg::DrawElementsUInt(GL_TRIANGLES))
    {
        // Never drawn: no buffer objects may be attached to the shared vertices.
        proxy->setUseVertexBufferObjects(false);
        proxy->setUseDisplayList(false);
        proxy->addPrimitiveSet(triangles.get());
    }
};

Scratch& scratch()
{
    thread_local Scratch threadScratch;
    return threadScratch;
}

double surfaceArea(const osg::BoundingBoxd& box)
{
    const osg::Vec3d size = box._max - box._min;
    return size.x() * size.y() + size.y() * size.z() + size.z() * size.x();
}

bool segmentMeets(const osg::Vec3d& low, const osg::Vec3d& high, const osg::Vec3d& start,
                  const osg::Vec3d& direction, const osg::Vec3d& inverse)
{
    double near = -kParameterSlack;
    double far = 1.0 + kParameterSlack;
    for (int axis = 0; axis < 3; ++axis) {
        if (direction[axis] == 0.0) {
            if (start[axis] < low[axis] || start[axis] > high[axis])
                return false;
            continue;
        }
        double enter = (low[axis] - start[axis]) * inverse[axis];
        double leave = (high[axis] - start[axis]) * inverse[axis];
        if (enter > leave)
            std::swap(enter, leave);
        near = std::max(near, enter);
        far = std::min(far, leave);
        if (near > far)
            return false;
    }
    return true;
}

} // namespace

TriangleIndex::Signature TriangleIndex::Signature::of(const osg::Geometry& geometry)
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

bool TriangleIndex::Signature::describes(const osg::Geometry& geometry) const
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

bool TriangleIndex::attachTo(osg::Geometry& geometry)
{
    const auto* vertices = dynamic_cast<const osg::Vec3Array*>(geometry.getVertexArray());
    if (!vertices || vertices->empty() || geometry.getUserData() ||
        dynamic_cast<const osg::KdTree*>(geometry.getShape()))
        return false;
    std::vector<Triangle> triangles;
    osg::TemplatePrimitiveFunctor<TriangleRecorder> recorder;
    recorder.base = &vertices->front();
    recorder.triangles = &triangles;
    geometry.accept(recorder);
    if (recorder.unsupported || triangles.empty())
        return false;
    geometry.setUserData(new TriangleIndex(geometry, std::move(triangles)));
    return true;
}

void TriangleIndex::attachBelow(osg::Node& node)
{
    if (osg::Geode* geode = node.asGeode()) {
        for (unsigned int index = 0; index < geode->getNumDrawables(); ++index)
            if (osg::Geometry* geometry = geode->getDrawable(index)->asGeometry())
                attachTo(*geometry);
    } else if (osg::Group* group = node.asGroup()) {
        for (unsigned int index = 0; index < group->getNumChildren(); ++index)
            attachBelow(*group->getChild(index));
    }
}

const TriangleIndex* TriangleIndex::of(const osg::Drawable& drawable)
{
    const auto* index = dynamic_cast<const TriangleIndex*>(drawable.getUserData());
    const osg::Geometry* geometry = drawable.asGeometry();
    return index && geometry && index->m_signature.describes(*geometry) ? index : nullptr;
}

TriangleIndex::TriangleIndex(const osg::Geometry& geometry, std::vector<Triangle> triangles)
    : m_signature(Signature::of(geometry)),
      m_vertexArray(const_cast<osg::Array*>(geometry.getVertexArray())),
      m_triangles(std::move(triangles))
{
    const auto& vertices = static_cast<const osg::Vec3Array&>(*m_vertexArray);
    osg::BoundingBoxd all;
    for (const osg::Vec3& vertex : vertices)
        all.expandBy(osg::Vec3d(vertex));
    m_margin =
        kMarginPerUnit * (1.0 + all.radius() + std::max(all._min.length(), all._max.length()));
    std::vector<osg::Vec3d> centres;
    centres.reserve(m_triangles.size());
    for (const Triangle& triangle : m_triangles)
        centres.push_back((osg::Vec3d(vertices[triangle.corner[0]]) +
                           osg::Vec3d(vertices[triangle.corner[1]]) +
                           osg::Vec3d(vertices[triangle.corner[2]])) /
                          3.0);
    m_order.resize(m_triangles.size());
    for (unsigned int index = 0; index < m_order.size(); ++index)
        m_order[index] = index;
    m_boxes.reserve(2 * m_triangles.size() / kLeafSize + 1);
    build(0, unsigned(m_order.size()), centres, 0);
}

unsigned int TriangleIndex::build(unsigned int first, unsigned int count,
                                  const std::vector<osg::Vec3d>& centres, unsigned int depth)
{
    const unsigned int boxIndex = unsigned(m_boxes.size());
    m_boxes.emplace_back();
    const osg::BoundingBoxd bounds = boundsOf(first, count);
    const osg::Vec3d margin(m_margin, m_margin, m_margin);
    m_boxes[boxIndex].low = bounds._min - margin;
    m_boxes[boxIndex].high = bounds._max + margin;
    if (count <= kLeafSize || depth + 1 >= kMaxDepth) {
        m_boxes[boxIndex].first = first;
        m_boxes[boxIndex].count = count;
        return boxIndex;
    }
    const unsigned int split = splitCheapest(first, count, centres);
    build(first, split, centres, depth + 1);
    const unsigned int second = build(first + split, count - split, centres, depth + 1);
    m_boxes[boxIndex].first = second;
    return boxIndex;
}

osg::BoundingBoxd TriangleIndex::boundsOf(unsigned int first, unsigned int count) const
{
    const auto& vertices = static_cast<const osg::Vec3Array&>(*m_vertexArray);
    osg::BoundingBoxd bounds;
    for (unsigned int index = first; index < first + count; ++index)
        for (unsigned int corner : m_triangles[m_order[index]].corner)
            bounds.expandBy(osg::Vec3d(vertices[corner]));
    return bounds;
}

unsigned int TriangleIndex::splitCheapest(unsigned int first, unsigned int count,
                                          const std::vector<osg::Vec3d>& centres)
{
    // The triangles sorted by their centres along each axis in turn; the
    // split is where the two boxes' areas, each weighted by the triangles
    // it holds, add up to the least (what a segment through the parent box
    // expects to test below it).
    const auto& vertices = static_cast<const osg::Vec3Array&>(*m_vertexArray);
    const auto begin = m_order.begin() + first;
    const auto sortAlong = [&](int axis) {
        std::sort(begin, begin + count, [&](unsigned int a, unsigned int b) {
            return centres[a][axis] < centres[b][axis];
        });
    };
    std::vector<double> costBefore(count);
    int bestAxis = 0;
    unsigned int bestSplit = count / 2;
    double bestCost = std::numeric_limits<double>::infinity();
    for (int axis = 0; axis < 3; ++axis) {
        sortAlong(axis);
        osg::BoundingBoxd before;
        for (unsigned int index = 0; index < count; ++index) {
            for (unsigned int corner : m_triangles[m_order[first + index]].corner)
                before.expandBy(osg::Vec3d(vertices[corner]));
            costBefore[index] = surfaceArea(before) * (index + 1);
        }
        osg::BoundingBoxd after;
        for (unsigned int index = count - 1; index > 0; --index) {
            for (unsigned int corner : m_triangles[m_order[first + index]].corner)
                after.expandBy(osg::Vec3d(vertices[corner]));
            const double cost = costBefore[index - 1] + surfaceArea(after) * (count - index);
            if (cost < bestCost) {
                bestCost = cost;
                bestAxis = axis;
                bestSplit = index;
            }
        }
    }
    if (bestAxis != 2)
        sortAlong(bestAxis);
    return bestSplit;
}

void TriangleIndex::candidates(const osg::Vec3d& start, const osg::Vec3d& end,
                               std::vector<unsigned int>& found) const
{
    found.clear();
    const osg::Vec3d direction = end - start;
    const osg::Vec3d inverse(1.0 / direction.x(), 1.0 / direction.y(), 1.0 / direction.z());
    // Depth-first through the boxes; the stack holds at most one box per
    // level of the tree (whose depth the build keeps below its size).
    unsigned int stack[kMaxDepth + 1];
    unsigned int depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
        const unsigned int boxIndex = stack[--depth];
        const Box& box = m_boxes[boxIndex];
        if (!segmentMeets(box.low, box.high, start, direction, inverse))
            continue;
        if (box.count > 0) {
            found.insert(found.end(), m_order.begin() + box.first,
                         m_order.begin() + box.first + box.count);
            continue;
        }
        stack[depth++] = box.first;
        stack[depth++] = boxIndex + 1;
    }
    // Back into the order of the plain test.
    std::sort(found.begin(), found.end());
}

bool TriangleIndex::intersect(osgUtil::LineSegmentIntersector& intersector,
                              osgUtil::IntersectionVisitor& visitor, osg::Drawable& drawable,
                              const osg::Vec3d& start, const osg::Vec3d& end) const
{
    if (!isFinite(start) || !isFinite(end))
        return false;
    Scratch& work = scratch();
    candidates(start, end, work.candidates);
    if (work.candidates.empty())
        return true;
    work.triangles->clear();
    work.primitiveOf.clear();
    for (unsigned int number : work.candidates) {
        const Triangle& triangle = m_triangles[number];
        work.triangles->insert(work.triangles->end(), triangle.corner, triangle.corner + 3);
        work.primitiveOf.push_back(triangle.primitive);
    }
    if (work.proxy->getVertexArray() != m_vertexArray.get())
        work.proxy->setVertexArray(m_vertexArray.get());
    const std::size_t before = intersector.getIntersections().size();
    intersector.osgUtil::LineSegmentIntersector::intersect(visitor, work.proxy.get(), start, end);
    if (intersector.getIntersections().size() != before)
        fixHits(intersector, *work.proxy, drawable, work.primitiveOf);
    return true;
}

void TriangleIndex::fixHits(osgUtil::LineSegmentIntersector& intersector,
                            const osg::Drawable& proxy, osg::Drawable& drawable,
                            const std::vector<unsigned int>& primitiveOf) const
{
    // Neither member takes part in the hits' order (their ratio), so they
    // are set in place.
    for (const osgUtil::LineSegmentIntersector::Intersection& hit :
         intersector.getIntersections()) {
        if (hit.drawable.get() != &proxy)
            continue;
        auto& fixed = const_cast<osgUtil::LineSegmentIntersector::Intersection&>(hit);
        fixed.drawable = &drawable;
        fixed.primitiveIndex = primitiveOf[hit.primitiveIndex];
    }
}

} // namespace Rk
