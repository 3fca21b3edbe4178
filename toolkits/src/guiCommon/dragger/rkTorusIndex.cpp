#include "rkTorusIndex.h"

#include "rkFinite.h"
#include "rkSlab.h"

#include <osg/Geometry>
#include <osg/KdTree>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Rk {

namespace {

// Lengths grow by this much per unit of the torus's size, angles by
// kAngleMargin: far above the rounding of single-precision vertices, so
// that no triangle the test could meet is ever passed over.
const double kMarginPerUnit = 1e-6;
const double kAngleMargin = 1e-4;
// The segment parameter is allowed this far beyond its ends.
const double kParameterSlack = 1e-9;
const unsigned int kNowhere = std::numeric_limits<unsigned int>::max();
// Entries per triangle in a KdTree's vertex indices: its number, its corner
// count, its corners.
const unsigned int kEntrySize = 5;

/// A range of the segment parameter.
struct Piece
{
    double enter;
    double leave;
};

/// Where a t^2 + 2 b t + c <= radius^2, the squared distance from a centre
/// of the points start + t * direction: [low, high], or false for nowhere.
bool withinRadius(double a, double b, double c, double radius, double& low, double& high)
{
    const double offset = c - radius * radius;
    if (!(a > 0.0)) {
        low = -std::numeric_limits<double>::infinity();
        high = std::numeric_limits<double>::infinity();
        return offset <= 0.0;
    }
    const double discriminant = b * b - a * offset;
    if (discriminant < 0.0)
        return false;
    // The two roots without cancellation.
    const double q = -(b + std::copysign(std::sqrt(discriminant), b));
    low = q / a;
    high = q != 0.0 ? offset / q : low;
    if (low > high)
        std::swap(low, high);
    return true;
}

/// The pieces of [`enter`, `leave`] where the distance from a centre, whose
/// square is a t^2 + 2 b t + c, lies between `inner` and `outer`; returns
/// how many (up to two).
int pieceOfBand(double a, double b, double c, double inner, double outer, double enter,
                double leave, Piece pieces[2])
{
    double low = 0.0;
    double high = 0.0;
    if (!withinRadius(a, b, c, outer, low, high))
        return 0;
    enter = std::max(enter, low);
    leave = std::min(leave, high);
    if (enter > leave)
        return 0;
    double holeLow = 0.0;
    double holeHigh = 0.0;
    if (inner <= 0.0 || !withinRadius(a, b, c, inner, holeLow, holeHigh) || holeHigh <= enter ||
        holeLow >= leave) {
        pieces[0] = {enter, leave};
        return 1;
    }
    int count = 0;
    if (enter < holeLow)
        pieces[count++] = {enter, holeLow};
    if (holeHigh < leave)
        pieces[count++] = {holeHigh, leave};
    return count;
}

/// Calls `visit` with every step k (0 to `steps` - 1, round the circle) whose
/// angles [k * `step`, (k + 1) * `step`] the points from (`x0`, `y0`) to
/// (`x1`, `y1`) pass, seen from the origin. The angle along a straight line
/// that misses the origin goes one way by less than half a turn.
template <class Visit>
void forEachStepPassed(double x0, double y0, double x1, double y1, double step, int steps,
                       Visit visit)
{
    const double from = std::atan2(y0, x0);
    const double sweep = std::atan2(x0 * y1 - y0 * x1, x0 * x1 + y0 * y1);
    const double low = std::min(from, from + sweep) - kAngleMargin;
    const double high = std::max(from, from + sweep) + kAngleMargin;
    const int first = int(std::floor(low / step));
    const int last = std::min(int(std::floor(high / step)), first + steps - 1);
    for (int k = first; k <= last; ++k)
        visit(((k % steps) + steps) % steps);
}

/// Narrows [`enter`, `leave`] to where `value` + t * `rate` >= 0.
bool clipToHalf(double value, double rate, double& enter, double& leave)
{
    if (rate == 0.0)
        return value >= 0.0;
    const double t = -value / rate;
    if (rate > 0.0)
        enter = std::max(enter, t);
    else
        leave = std::min(leave, t);
    return enter <= leave;
}

// The scratch of picks through a torus index on one thread: a geometry that
// shares the torus's vertices, with a KdTree of one leaf that holds only the
// triangles a segment may meet, handed to OpenSceneGraph's own test in place
// of the torus.
struct Scratch
{
    osg::ref_ptr<osg::Geometry> proxy;
    osg::ref_ptr<osg::KdTree> tree;
    std::vector<unsigned int> candidates;

    Scratch() : proxy(PickIndex::newProxy()), tree(new osg::KdTree)
    {
        proxy->setShape(tree.get());
        tree->addNode(osg::KdTree::KdNode(-1, 0));
    }
};

Scratch& scratch()
{
    thread_local Scratch threadScratch;
    return threadScratch;
}

} // namespace

bool TorusIndex::attachTo(osg::Geometry& torus, const Layout& layout)
{
    const auto* tree = dynamic_cast<const osg::KdTree*>(torus.getShape());
    const auto* vertices = dynamic_cast<const osg::Vec3Array*>(torus.getVertexArray());
    const unsigned int pairs = unsigned(layout.ringSteps) * unsigned(layout.tubeSteps + 1);
    if (torus.getUserData() || !tree || tree->getNodes().empty() || !vertices ||
        layout.ringSteps < 1 || layout.tubeSteps < 1 || vertices->getNumElements() != 2 * pairs ||
        !(layout.angleStep > 0.0f) || !(layout.tubeRadius > 0.0f) ||
        !(layout.ringRadius > layout.tubeRadius))
        return false;
    torus.setUserData(new TorusIndex(torus, layout, *tree));
    return true;
}

TorusIndex::TorusIndex(const osg::Geometry& torus, const Layout& layout, const osg::KdTree& tree)
    : PickIndex(torus), m_layout(layout), m_tree(&tree),
      m_vertexArray(const_cast<osg::Array*>(torus.getVertexArray()))
{
    const double ring = layout.ringRadius;
    const double tube = layout.tubeRadius;
    m_margin = kMarginPerUnit * (ring + tube);
    m_halfStepCos = std::cos(0.5 * double(layout.angleStep));
    // A triangle's points lie in the hull of its corners: no nearer the axis
    // (or the tube's centre line) than the chord between two neighbouring
    // corners.
    m_zReach = tube + m_margin;
    m_axisOuter = ring + tube + m_margin;
    m_axisInner = (ring - tube) * m_halfStepCos - m_margin;
    m_tubeOuter = tube + m_margin;
    m_tubeInner = tube * m_halfStepCos - m_margin;
}

bool TorusIndex::ready() const
{
    prepareOnce();
    return m_usable;
}

void TorusIndex::prepare()
{
    tabulateSteps();
    m_usable = readTree();
}

void TorusIndex::tabulateSteps()
{
    const double step = m_layout.angleStep;
    for (int edge = 0; edge <= m_layout.ringSteps; ++edge)
        m_stepEdges.emplace_back(std::cos(edge * step), std::sin(edge * step));
    for (int middle = 0; middle < m_layout.ringSteps; ++middle) {
        const double angle = (middle + 0.5) * step;
        m_stepRadials.emplace_back(std::cos(angle) / m_halfStepCos,
                                   std::sin(angle) / m_halfStepCos);
    }
}

bool TorusIndex::readTree()
{
    // The triangles in the order the tree's own search hands them over:
    // depth first, the first child before the second, a leaf's in its order.
    const unsigned int quads = unsigned(m_vertexArray->getNumElements()) / 2 - 1;
    const osg::KdTree::Indices& primitives = m_tree->getPrimitiveIndices();
    const osg::KdTree::Indices& entries = m_tree->getVertexIndices();
    m_placeOf.assign(std::size_t(quads) * 2, kNowhere);
    std::vector<int> stack{0};
    while (!stack.empty()) {
        const osg::KdTree::KdNode& node = m_tree->getNode(stack.back());
        stack.pop_back();
        if (node.first >= 0) {
            if (node.second > 0)
                stack.push_back(node.second);
            if (node.first > 0)
                stack.push_back(node.first);
            continue;
        }
        for (int place = -node.first - 1; place < -node.first - 1 + node.second; ++place) {
            const unsigned int entry = primitives[place];
            const unsigned int triangle = entries[entry];
            // Triangle 2k + 0 is (a, b, c) of quad k, 2k + 1 is (b, d, c),
            // with corners a = 2k, b, c, d = 2k + 3.
            const unsigned int a = triangle & ~1u;
            const bool first = (triangle & 1u) == 0;
            if (triangle >= m_placeOf.size() || entries[entry + 1] != 3 ||
                entries[entry + 2] != (first ? a : a + 1) ||
                entries[entry + 3] != (first ? a + 1 : a + 3) || entries[entry + 4] != a + 2 ||
                m_placeOf[triangle] != kNowhere)
                return false;
            m_placeOf[triangle] = unsigned(m_entryAt.size());
            m_entryAt.push_back(entry);
        }
    }
    return true;
}

void TorusIndex::candidates(const osg::Vec3d& start, const osg::Vec3d& end,
                            std::vector<unsigned int>& found) const
{
    found.clear();
    if (!ready())
        return;
    const osg::Vec3d direction = end - start;
    double enter = -kParameterSlack;
    double leave = 1.0 + kParameterSlack;
    if (!clipToSlab(start.z(), direction.z(), 1.0 / direction.z(), -m_zReach, m_zReach, enter,
                    leave))
        return;
    // Round the axis: where the segment is between the ring's inner and outer reach.
    const double a = direction.x() * direction.x() + direction.y() * direction.y();
    const double b = start.x() * direction.x() + start.y() * direction.y();
    const double c = start.x() * start.x() + start.y() * start.y();
    Piece pieces[2];
    const int count = pieceOfBand(a, b, c, m_axisInner, m_axisOuter, enter, leave, pieces);
    for (int index = 0; index < count; ++index) {
        const Piece& piece = pieces[index];
        const osg::Vec3d from = start + direction * piece.enter;
        const osg::Vec3d to = start + direction * piece.leave;
        forEachStepPassed(
            from.x(), from.y(), to.x(), to.y(), m_layout.angleStep, m_layout.ringSteps,
            [&](int step) { addCellsOf(step, start, direction, piece.enter, piece.leave, found); });
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    if (!found.empty() && found.back() == kNowhere)
        found.pop_back();
}

void TorusIndex::addCellsOf(int step, const osg::Vec3d& start, const osg::Vec3d& direction,
                            double enter, double leave, std::vector<unsigned int>& found) const
{
    if (!clipToWedge(step, start, direction, enter, leave))
        return;
    // Seen along the ring's tangent in the middle of the step, the two ends
    // of every quad of the step fall together, onto a circle round the
    // tube's centre once the radial coordinate is divided by the cosine of
    // half a step: the segment there is a straight line, and the quads it
    // meets lie where it passes the band of that circle.
    const double radialX = m_stepRadials[step].x();
    const double radialY = m_stepRadials[step].y();
    const double u0 = radialX * start.x() + radialY * start.y() - m_layout.ringRadius;
    const double du = radialX * direction.x() + radialY * direction.y();
    Piece pieces[2];
    const int count = pieceOfBand(
        du * du + direction.z() * direction.z(), u0 * du + start.z() * direction.z(),
        u0 * u0 + start.z() * start.z(), m_tubeInner, m_tubeOuter, enter, leave, pieces);
    for (int index = 0; index < count; ++index) {
        const Piece& piece = pieces[index];
        forEachStepPassed(u0 + du * piece.enter, start.z() + direction.z() * piece.enter,
                          u0 + du * piece.leave, start.z() + direction.z() * piece.leave,
                          m_layout.angleStep, m_layout.tubeSteps,
                          [&](int cell) { addQuadsOfCell(step, cell, found); });
    }
}

bool TorusIndex::clipToWedge(int step, const osg::Vec3d& start, const osg::Vec3d& direction,
                             double& enter, double& leave) const
{
    // The wedge between the half-planes through the axis at the step's two
    // ring angles, where all its vertices lie.
    const osg::Vec2d& low = m_stepEdges[step];
    const osg::Vec2d& high = m_stepEdges[step + 1];
    return clipToHalf(low.x() * start.y() - low.y() * start.x() + m_margin,
                      low.x() * direction.y() - low.y() * direction.x(), enter, leave) &&
           clipToHalf(high.y() * start.x() - high.x() * start.y() + m_margin,
                      high.y() * direction.x() - high.x() * direction.y(), enter, leave);
}

void TorusIndex::addQuadsOfCell(int step, int cell, std::vector<unsigned int>& found) const
{
    const int pairsPerBlock = m_layout.tubeSteps + 1;
    addQuad(step * pairsPerBlock + cell, found);
    // Next to the outer equator: the quads that join this step's block to
    // its neighbours lie there too.
    if (cell == 0 || cell + 1 == m_layout.tubeSteps) {
        if (step > 0)
            addQuad(step * pairsPerBlock - 1, found);
        if (step + 1 < m_layout.ringSteps)
            addQuad((step + 1) * pairsPerBlock - 1, found);
    }
}

void TorusIndex::addQuad(int quad, std::vector<unsigned int>& found) const
{
    const std::size_t first = std::size_t(quad) * 2;
    found.push_back(m_placeOf[first]);
    found.push_back(m_placeOf[first + 1]);
}

bool TorusIndex::intersect(osgUtil::LineSegmentIntersector& intersector,
                           osgUtil::IntersectionVisitor& visitor, osg::Drawable& drawable,
                           const osg::Vec3d& start, const osg::Vec3d& end) const
{
    if (!isFinite(start) || !isFinite(end) || !visitor.getUseKdTreeWhenAvailable() || !ready())
        return false;
    Scratch& work = scratch();
    candidates(start, end, work.candidates);
    if (work.candidates.empty())
        return true;
    osg::KdTree& tree = *work.tree;
    osg::KdTree::Indices& primitives = tree.getPrimitiveIndices();
    osg::KdTree::Indices& entries = tree.getVertexIndices();
    primitives.clear();
    entries.clear();
    const osg::KdTree::Indices& ownEntries = m_tree->getVertexIndices();
    for (unsigned int place : work.candidates) {
        primitives.push_back(unsigned(entries.size()));
        const auto own = ownEntries.begin() + m_entryAt[place];
        entries.insert(entries.end(), own, own + kEntrySize);
    }
    tree.getNode(0) = osg::KdTree::KdNode(-1, int(primitives.size()));
    if (work.proxy->getVertexArray() != m_vertexArray.get()) {
        work.proxy->setVertexArray(m_vertexArray.get());
        tree.setVertices(static_cast<osg::Vec3Array*>(m_vertexArray.get()));
    }
    testInstead(intersector, visitor, *work.proxy, drawable, start, end);
    return true;
}

} // namespace Rk
