#include "rkAxialShellBound.h"

#include "rkSlab.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/TemplatePrimitiveFunctor>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Rk {

namespace {

/// Distance from the origin to the segment from `a` to `b` (2D, in the
/// XY plane of the vectors given).
double distanceToSegment(const osg::Vec2d& a, const osg::Vec2d& b)
{
    const osg::Vec2d edge = b - a;
    const double length2 = edge.length2();
    const double t = length2 > 0.0 ? std::clamp(-(a * edge) / length2, 0.0, 1.0) : 0.0;
    return (a + edge * t).length();
}

/// Distance from the origin to the triangle `a`, `b`, `c` (2D): zero when the
/// origin lies inside, else the distance to the nearest edge.
double distanceToTriangle(const osg::Vec2d& a, const osg::Vec2d& b, const osg::Vec2d& c)
{
    const auto side = [](const osg::Vec2d& p, const osg::Vec2d& q) {
        return p.x() * q.y() - p.y() * q.x();
    };
    const double ab = side(a, b);
    const double bc = side(b, c);
    const double ca = side(c, a);
    const bool inside =
        (ab >= 0.0 && bc >= 0.0 && ca >= 0.0) || (ab <= 0.0 && bc <= 0.0 && ca <= 0.0);
    if (inside && (ab != 0.0 || bc != 0.0 || ca != 0.0))
        return 0.0;
    return std::min({distanceToSegment(a, b), distanceToSegment(b, c), distanceToSegment(c, a)});
}

osg::Vec2d onPlane(const osg::Vec3& v)
{
    return osg::Vec2d(v.x(), v.y());
}

/// Gathers the shell of the faces it is given. A quad is bounded by its
/// four corners' hull, which holds the two triangles of either diagonal,
/// whichever a pick splits it into.
struct ShellCollector
{
    double minRadius = std::numeric_limits<double>::max();
    double maxRadius = 0.0;
    osg::BoundingBoxd box;
    bool any = false;

    void corner(const osg::Vec3& v)
    {
        maxRadius = std::max(maxRadius, onPlane(v).length());
        box.expandBy(osg::Vec3d(v));
        any = true;
    }
    void operator()(const osg::Vec3&, bool) {}
    void operator()(const osg::Vec3&, const osg::Vec3&, bool) {}
    void operator()(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c, bool)
    {
        for (const osg::Vec3* v : {&a, &b, &c})
            corner(*v);
        minRadius = std::min(minRadius, distanceToTriangle(onPlane(a), onPlane(b), onPlane(c)));
    }
    void operator()(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c, const osg::Vec3& d,
                    bool)
    {
        (*this)(a, b, c, false);
        (*this)(a, b, d, false);
        (*this)(a, c, d, false);
        (*this)(b, c, d, false);
    }
};

/// Range of `a t^2 + b t + c` over t in [t0, t1].
void quadraticRange(double a, double b, double c, double t0, double t1, double& low, double& high)
{
    const auto at = [&](double t) { return (a * t + b) * t + c; };
    low = std::min(at(t0), at(t1));
    high = std::max(at(t0), at(t1));
    if (a > 0.0) {
        const double vertex = -b / (2.0 * a);
        if (vertex > t0 && vertex < t1)
            low = std::min(low, at(vertex));
    }
}

} // namespace

osg::BoundingSphere AxialShellBound::computeBound(const osg::Node& node) const
{
    const osg::Geode* geode = node.asGeode();
    // The geode's own computation also keeps its bounding box up to date.
    const osg::BoundingSphere boxSphere = geode ? geode->computeBound() : node.computeBound();
    if (geode)
        collectShells(*geode);
    else
        m_shell = Shell();
    if (!geode || !boxSphere.valid())
        return boxSphere;
    double radius2 = 0.0;
    for (unsigned int index = 0; index < geode->getNumDrawables(); ++index) {
        const osg::Drawable* drawable = geode->getDrawable(index);
        const osg::Geometry* geometry = drawable ? drawable->asGeometry() : nullptr;
        const osg::Vec3Array* vertices =
            geometry ? dynamic_cast<const osg::Vec3Array*>(geometry->getVertexArray()) : nullptr;
        if (!vertices)
            return boxSphere;
        for (const osg::Vec3& vertex : *vertices)
            radius2 = std::max(radius2, (osg::Vec3d(vertex) - boxSphere.center()).length2());
    }
    return osg::BoundingSphere(boxSphere.center(),
                               std::min(std::sqrt(radius2), double(boxSphere.radius())));
}

void AxialShellBound::collectShells(const osg::Geode& geode) const
{
    m_shell = Shell();
    m_parts.clear();
    Shell all;
    all.known = true;
    bool anyFace = false;
    for (unsigned int index = 0; index < geode.getNumDrawables(); ++index) {
        osg::TemplatePrimitiveFunctor<ShellCollector> collector;
        const osg::Drawable* drawable = geode.getDrawable(index);
        if (!drawable || !drawable->supports(collector)) {
            m_parts.clear();
            return;
        }
        drawable->accept(collector);
        if (!collector.any)
            continue;
        Shell part;
        part.known = true;
        part.minRadius = collector.minRadius;
        part.maxRadius = collector.maxRadius;
        part.box = collector.box;
        m_parts.push_back(part);
        all.minRadius = anyFace ? std::min(all.minRadius, part.minRadius) : part.minRadius;
        all.maxRadius = anyFace ? std::max(all.maxRadius, part.maxRadius) : part.maxRadius;
        all.box.expandBy(part.box);
        anyFace = true;
    }
    if (!anyFace)
        all.maxRadius = -1.0; // No faces: nothing to hit, an empty shell.
    m_shell = all;
}

bool AxialShellBound::meets(const Shell& shell, const osg::Vec3d& start, const osg::Vec3d& end,
                            double margin)
{
    // The part of the segment within the box grown by the margin...
    const osg::Vec3d direction = end - start;
    double t0 = 0.0;
    double t1 = 1.0;
    for (int axis = 0; axis < 3; ++axis)
        if (!clipToSlab(start[axis], direction[axis], 1.0 / direction[axis],
                        shell.box._min[axis] - margin, shell.box._max[axis] + margin, t0, t1))
            return false;
    // ... meets the shell when its squared distance from the axis, a
    // quadratic in t, reaches into [minRadius^2, maxRadius^2].
    const double a = direction.x() * direction.x() + direction.y() * direction.y();
    const double b = 2.0 * (start.x() * direction.x() + start.y() * direction.y());
    const double c = start.x() * start.x() + start.y() * start.y();
    double nearest2 = 0.0;
    double farthest2 = 0.0;
    quadraticRange(a, b, c, t0, t1, nearest2, farthest2);
    const double inner = std::max(0.0, shell.minRadius - margin);
    const double outer = shell.maxRadius + margin;
    return farthest2 >= inner * inner && nearest2 <= outer * outer;
}

bool AxialShellBound::mayBeMetBy(const osg::Geode& geode, const osg::Vec3d& start,
                                 const osg::Vec3d& end, double margin) const
{
    geode.getBound();
    if (!m_shell.known)
        return true;
    if (m_shell.maxRadius < m_shell.minRadius || !meets(m_shell, start, end, margin))
        return false;
    // Through the shell of all: met when the segment meets one drawable's
    // own shell within that drawable's box (a ring's direction cones sit at
    // a few places round the ring, each in a small box).
    if (m_parts.size() < 2)
        return true;
    return std::any_of(m_parts.begin(), m_parts.end(),
                       [&](const Shell& part) { return meets(part, start, end, margin); });
}

} // namespace Rk
