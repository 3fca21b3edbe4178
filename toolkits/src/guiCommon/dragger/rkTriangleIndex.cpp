#include "rkTriangleIndex.h"

#include "rkFinite.h"
#include "rkSlab.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/KdTree>
#include <osg/TemplatePrimitiveFunctor>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Rk {

namespace {

// Triangles per leaf box: below this, testing them costs less than the boxes.
const unsigned int kLeafSize = 2;
// Boxes below this depth become leaves whatever they hold, which bounds the
// stack of a search (a tree this deep is far from any handle's).
const unsigned int kMaxDepth = 48;
// Candidate split planes per axis and box, evenly spaced over the triangles' centres.
const unsigned int kSplitBins = 16;
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

    // Points and lines are counted as primitives, as the intersector counts
    // them, but never hit.
    void operator()(const osg::Vec3&, bool temporary)
    {
        unsupported = unsupported || temporary;
        ++primitive;
    }
    void operator()(const osg::Vec3&, const osg::Vec3&, bool temporary)
    {
        unsupported = unsupported || temporary;
        ++primitive;
    }
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
// meet, handed to OpenSceneGraph's own test in place of the drawable. It
// keeps the vertices of its last pick until a pick through another index
// (or the thread's end), so that picks through one drawable set them once.
struct Scratch
{
    osg::ref_ptr<osg::Geometry> proxy;
    osg::ref_ptr<osg::DrawElementsUInt> triangles;
    std::vector<unsigned int> candidates;
    std::vector<unsigned int> primitiveOf;

    Scratch() : proxy(PickIndex::newProxy()), triangles(new osg::DrawElementsUInt(GL_TRIANGLES))
    {
        proxy->addPrimitiveSet(triangles.get());
    }
};

Scratch& scratch()
{
    thread_local Scratch threadScratch;
    return threadScratch;
}

// A box grown without branches (empty: inverted), for the many boxes the
// build of a tree weighs.
struct Span
{
    double low[3] = {kEmpty, kEmpty, kEmpty};
    double high[3] = {-kEmpty, -kEmpty, -kEmpty};

    static constexpr double kEmpty = std::numeric_limits<double>::max();

    void add(const osg::BoundingBoxd& box)
    {
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], box._min[axis]);
            high[axis] = std::max(high[axis], box._max[axis]);
        }
    }
    void add(const Span& span)
    {
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], span.low[axis]);
            high[axis] = std::max(high[axis], span.high[axis]);
        }
    }
    /// Half the surface area; only for a span that holds something.
    double area() const
    {
        const double x = high[0] - low[0];
        const double y = high[1] - low[1];
        const double z = high[2] - low[2];
        return x * y + y * z + z * x;
    }
};

bool segmentMeets(const osg::Vec3d& low, const osg::Vec3d& high, const osg::Vec3d& start,
                  const osg::Vec3d& direction, const osg::Vec3d& inverse)
{
    double enter = -kParameterSlack;
    double leave = 1.0 + kParameterSlack;
    for (int axis = 0; axis < 3; ++axis)
        if (!clipToSlab(start[axis], direction[axis], inverse[axis], low[axis], high[axis], enter,
                        leave))
            return false;
    return true;
}

} // namespace

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
    if (recorder.unsupported || recorder.primitive == 0)
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
    return dynamic_cast<const TriangleIndex*>(PickIndex::of(drawable));
}

TriangleIndex::TriangleIndex(const osg::Geometry& geometry, std::vector<Triangle> triangles)
    : PickIndex(geometry), m_vertexArray(const_cast<osg::Array*>(geometry.getVertexArray())),
      m_triangles(std::move(triangles))
{
}

void TriangleIndex::prepare()
{
    const auto& vertices = static_cast<const osg::Vec3Array&>(*m_vertexArray);
    osg::BoundingBoxd all;
    for (const osg::Vec3& vertex : vertices)
        all.expandBy(osg::Vec3d(vertex));
    m_margin =
        kMarginPerUnit * (1.0 + all.radius() + std::max(all._min.length(), all._max.length()));
    std::vector<Extent> extents(m_triangles.size());
    for (std::size_t number = 0; number < m_triangles.size(); ++number) {
        Extent& extent = extents[number];
        for (unsigned int corner : m_triangles[number].corner) {
            extent.box.expandBy(osg::Vec3d(vertices[corner]));
            extent.centre += osg::Vec3d(vertices[corner]) / 3.0;
        }
    }
    m_order.resize(m_triangles.size());
    for (unsigned int index = 0; index < m_order.size(); ++index)
        m_order[index] = index;
    m_boxes.reserve(2 * m_triangles.size() / kLeafSize + 1);
    build(0, unsigned(m_order.size()), extents, 0);
}

unsigned int TriangleIndex::build(unsigned int first, unsigned int count,
                                  const std::vector<Extent>& extents, unsigned int depth)
{
    const unsigned int boxIndex = unsigned(m_boxes.size());
    m_boxes.emplace_back();
    const osg::BoundingBoxd bounds = boundsOf(first, count, extents);
    const osg::Vec3d margin(m_margin, m_margin, m_margin);
    m_boxes[boxIndex].low = bounds._min - margin;
    m_boxes[boxIndex].high = bounds._max + margin;
    if (count <= kLeafSize || depth + 1 >= kMaxDepth) {
        m_boxes[boxIndex].first = first;
        m_boxes[boxIndex].count = count;
        return boxIndex;
    }
    const unsigned int split = splitCheapest(first, count, extents);
    build(first, split, extents, depth + 1);
    const unsigned int second = build(first + split, count - split, extents, depth + 1);
    m_boxes[boxIndex].first = second;
    return boxIndex;
}

osg::BoundingBoxd TriangleIndex::boundsOf(unsigned int first, unsigned int count,
                                          const std::vector<Extent>& extents) const
{
    osg::BoundingBoxd bounds;
    for (unsigned int index = first; index < first + count; ++index)
        bounds.expandBy(extents[m_order[index]].box);
    return bounds;
}

unsigned int TriangleIndex::splitCheapest(unsigned int first, unsigned int count,
                                          const std::vector<Extent>& extents)
{
    // The triangles binned by their centres along each axis in turn; the
    // split is the bin boundary where the two boxes' areas, each weighted by
    // the triangles it holds, add up to the least (what a segment through
    // the parent box expects to test below it).
    const auto begin = m_order.begin() + first;
    osg::BoundingBoxd centreBounds;
    for (auto number = begin; number != begin + count; ++number)
        centreBounds.expandBy(extents[*number].centre);
    SplitPlane best;
    for (int axis = 0; axis < 3; ++axis)
        weighSplitsAlong(axis, first, count, centreBounds, extents, best);
    if (best.axis < 0)
        return count / 2; // no balanced plane: the triangles stay in their order
    const auto middle = std::partition(begin, begin + count, [&](unsigned int number) {
        return extents[number].centre[best.axis] < best.plane;
    });
    const auto split = unsigned(middle - begin);
    return split > 0 && split < count ? split : count / 2;
}

void TriangleIndex::weighSplitsAlong(int axis, unsigned int first, unsigned int count,
                                     const osg::BoundingBoxd& centreBounds,
                                     const std::vector<Extent>& extents, SplitPlane& best) const
{
    const double low = centreBounds._min[axis];
    const double width = centreBounds._max[axis] - low;
    if (!(width > 0.0))
        return;
    Span binSpans[kSplitBins];
    unsigned int binCounts[kSplitBins] = {};
    const double binsPerUnit = kSplitBins / width;
    const auto begin = m_order.begin() + first;
    for (auto number = begin; number != begin + count; ++number) {
        const Extent& extent = extents[*number];
        const unsigned int bin =
            std::min(kSplitBins - 1, unsigned((extent.centre[axis] - low) * binsPerUnit));
        ++binCounts[bin];
        binSpans[bin].add(extent.box);
    }
    // Sweeps from below, then from above, each boundary weighed once.
    double costBefore[kSplitBins];
    Span before;
    unsigned int countBefore = 0;
    for (unsigned int bin = 0; bin + 1 < kSplitBins; ++bin) {
        before.add(binSpans[bin]);
        countBefore += binCounts[bin];
        costBefore[bin] = countBefore > 0 ? before.area() * countBefore : 0.0;
    }
    // Neither half may hold less than a quarter: the tree stays shallow,
    // and so does the work of building it.
    const unsigned int least = std::max(1u, count / 4);
    Span after;
    unsigned int countAfter = 0;
    for (unsigned int bin = kSplitBins - 1; bin > 0; --bin) {
        after.add(binSpans[bin]);
        countAfter += binCounts[bin];
        if (countAfter < least || count - countAfter < least)
            continue;
        const double cost = costBefore[bin - 1] + after.area() * countAfter;
        if (cost < best.cost)
            best = {axis, low + width * bin / kSplitBins, cost};
    }
}

void TriangleIndex::candidates(const osg::Vec3d& start, const osg::Vec3d& end,
                               std::vector<unsigned int>& found) const
{
    found.clear();
    if (m_triangles.empty())
        return;
    prepareOnce();
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
    testInstead(intersector, visitor, *work.proxy, drawable, start, end, &work.primitiveOf);
    return true;
}

} // namespace Rk
