#include "rkRingTurn.h"

#include "rkFinite.h"

#include <osg/Math>

#include <cmath>

namespace Rk {

namespace {

/// The angle in (-pi, pi] that differs from `radians` by whole turns.
double wrapped(double radians)
{
    const double turns = std::round(radians / (2.0 * osg::PI));
    const double inRange = radians - turns * 2.0 * osg::PI;
    return inRange <= -osg::PI ? inRange + 2.0 * osg::PI : inRange;
}

} // namespace

void RingTurn::press(const osgManipulator::PointerInfo& pointer, const osg::Matrixd& localToWorld,
                     double ringRadius, const osg::Vec3d& grabbedLocal)
{
    m_mode = Mode::NONE;
    m_pressAngle.reset();
    if (!isFinite(localToWorld) || !m_worldToLocal.invert(localToWorld) ||
        !isFinite(m_worldToLocal) || !isFinite(grabbedLocal) || !(ringRadius > 0.0) ||
        !std::isfinite(ringRadius))
        return;
    const std::optional<Ray> ray = localRay(pointer);
    if (!ray)
        return;
    m_radius = ringRadius;
    osg::Vec3d direction = ray->to - ray->from;
    direction.normalize();
    if (std::abs(direction.z()) >= std::sin(osg::DegreesToRadians(EDGE_ON_DEGREES)))
        pressRoundCentre(*ray, direction);
    else
        pressAlongTangent(*ray, direction, grabbedLocal);
}

std::optional<double> RingTurn::turnRadians(const osgManipulator::PointerInfo& pointer)
{
    if (m_mode == Mode::NONE)
        return std::nullopt;
    const std::optional<Ray> ray = localRay(pointer);
    if (!ray)
        return std::nullopt;
    return m_mode == Mode::ROUND_CENTRE ? turnRoundCentre(*ray) : turnAlongTangent(*ray);
}

std::optional<RingTurn::Ray> RingTurn::localRay(const osgManipulator::PointerInfo& pointer) const
{
    osg::Vec3d nearPoint;
    osg::Vec3d farPoint;
    pointer.getNearFarPoints(nearPoint, farPoint);
    const Ray ray{nearPoint * m_worldToLocal, farPoint * m_worldToLocal};
    if (!isFinite(ray.from) || !isFinite(ray.to) || ray.from == ray.to)
        return std::nullopt;
    return ray;
}

void RingTurn::pressRoundCentre(const Ray& ray, const osg::Vec3d& direction)
{
    m_mode = Mode::ROUND_CENTRE;
    // Every ray from the camera to a point of the plane in view runs the same
    // way along Z; this one does, as it found the ring.
    m_viewSide = direction.z() < 0.0 ? -1.0 : 1.0;
    m_pressAngle = angleRoundCentre(ray);
}

void RingTurn::pressAlongTangent(const Ray& ray, const osg::Vec3d& direction,
                                 const osg::Vec3d& grabbedLocal)
{
    m_mode = Mode::ALONG_TANGENT;
    m_tangentPlanePoint = grabbedLocal;
    m_tangentPlaneNormal = direction;
    m_pressOnTangentPlane = onTangentPlane(ray).value_or(grabbedLocal);
    // Seen edge-on the ring's image runs across the ray within the plane;
    // the grabbed point moves along it by its tangent's component.
    osg::Vec3d acrossRay = osg::Z_AXIS ^ direction;
    acrossRay.normalize();
    const osg::Vec3d tangent(-grabbedLocal.y(), grabbedLocal.x(), 0.0);
    const double speed = tangent * acrossRay;
    const double slowest = MIN_TANGENT_SPEED * m_radius;
    const double assumedSpeed = std::abs(speed) >= slowest ? speed : std::copysign(slowest, speed);
    m_turnPerLength = acrossRay / assumedSpeed;
}

std::optional<double> RingTurn::angleRoundCentre(const Ray& ray) const
{
    // The ray meets the plane at (x, y) / w in homogeneous coordinates; the
    // screen line from the centre towards the pointer is the image of the
    // line from the centre through that point, on the side the camera looks
    // from, whether the meeting point lies in front of the camera or not.
    const double x = ray.to.z() * ray.from.x() - ray.from.z() * ray.to.x();
    const double y = ray.to.z() * ray.from.y() - ray.from.z() * ray.to.y();
    const double w = ray.to.z() - ray.from.z();
    if (!(std::hypot(x, y) > CENTRE_HOLD * m_radius * std::abs(w)))
        return std::nullopt;
    const double angle = std::atan2(m_viewSide * y, m_viewSide * x);
    return std::isfinite(angle) ? std::optional<double>(angle) : std::nullopt;
}

std::optional<double> RingTurn::turnRoundCentre(const Ray& ray)
{
    const std::optional<double> angle = angleRoundCentre(ray);
    if (!angle)
        return std::nullopt;
    // After a press at the centre the first defined angle stands in for the press's.
    if (!m_pressAngle)
        m_pressAngle = angle;
    return wrapped(*angle - *m_pressAngle);
}

std::optional<osg::Vec3d> RingTurn::onTangentPlane(const Ray& ray) const
{
    const osg::Vec3d along = ray.to - ray.from;
    const double approach = along * m_tangentPlaneNormal;
    if (!(std::abs(approach) > 1e-12 * along.length()))
        return std::nullopt;
    const double fraction = ((m_tangentPlanePoint - ray.from) * m_tangentPlaneNormal) / approach;
    const osg::Vec3d point = ray.from + along * fraction;
    return isFinite(point) ? std::optional<osg::Vec3d>(point) : std::nullopt;
}

std::optional<double> RingTurn::turnAlongTangent(const Ray& ray) const
{
    const std::optional<osg::Vec3d> point = onTangentPlane(ray);
    if (!point)
        return std::nullopt;
    const double turn = (*point - m_pressOnTangentPlane) * m_turnPerLength;
    return std::isfinite(turn) ? std::optional<double>(wrapped(turn)) : std::nullopt;
}

} // namespace Rk
