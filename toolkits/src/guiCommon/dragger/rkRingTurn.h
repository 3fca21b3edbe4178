#ifndef RK_RING_TURN_H
#define RK_RING_TURN_H

#include <osg/Matrixd>
#include <osg/Vec3d>
#include <osgManipulator/Dragger>

#include <optional>

namespace Rk {

/// The turn of a ring handle since the press, as a function of the press and
/// the current pointer alone: nothing is accumulated from one drag event to
/// the next, so the spacing of the events cannot change the turn.
///
/// Frame: the ring's own (local) frame at the press, in which the ring is a
/// circle in the XY plane about the Z axis through the origin; `press` is
/// given that frame's local-to-world matrix (with whatever scaling lies above
/// the ring, such as a keep-the-size-on-screen chain) and works out every
/// pointer ray in it. Turning the ring about its own axis leaves that circle
/// where it is, so the frame at the press serves the whole drag. Angles are in
/// radians, positive counter-clockwise seen from the tip of +Z.
///
/// How the pointer turns the ring, chosen once at the press:
/// - Round the centre (the ring seen at least `EDGE_ON_DEGREES` above its
///   plane): the turn is the pointer's angle round the ring's centre on
///   screen, taken as the angle of the ring point seen in that direction from
///   the centre, less the same angle at the press. On the ring's image that
///   ring point is the point under the pointer, so the grabbed point stays
///   under the pointer exactly; off the image the ring follows the pointer
///   round the centre. The angle comes from the pointer's ray in the ring's
///   frame (the ring plane's projective map onto the screen), so it holds for
///   any perspective or orthographic camera.
/// - Along the tangent (the ring seen nearly edge-on, where the angle round the
///   centre swings wildly): the turn is the pointer's motion along the screen
///   image of the ring's tangent at the grabbed point, divided by how fast the
///   grabbed point moves on screen per radian, so that the grabbed point
///   follows the pointer at the press (to first order: a ring seen exactly
///   edge-on and traced through 30 degrees round its nearest point turns
///   about 28 to 30 degrees). Near the ends of an edge-on ring, where
///   that speed falls to nothing, it is taken as at least
///   `MIN_TANGENT_SPEED` ring radii per radian.
///
/// Bad input:
/// - a singular or non-finite local-to-world (a zero scale), a ring radius
///   that is not positive and finite, a non-finite grabbed point: no turn at
///   all (`turnRadians` gives nothing for the whole drag);
/// - a pointer ray that is not finite or has no length, or one that is
///   parallel to the tangent plane of an edge-on ring: nothing for that event,
///   the ring stays where the last good event left it;
/// - a pointer within `CENTRE_HOLD` ring radii of the centre (measured in the
///   ring's plane), a press at the centre included: nothing, as the angle
///   round the centre is undefined there; after a press at the centre the
///   angle of the first pointer outside that zone counts as the press's;
/// - the camera inside the ring (parts of it behind the camera): the angle
///   round the centre stays defined and continuous for every ray, and the
///   ring points in view stay under the pointer;
/// - a grabbed point on the axis of an edge-on ring (it has no tangent):
///   the slowest speed along the ring's image is assumed.
/// Every answer is finite and lies in (-pi, pi]; a pointer passing through
/// the centre turns the ring by the half turn its angle round the centre
/// makes, never more.
class RingTurn
{
public:
    /// Elevation of the pressing ray above the ring's plane, in degrees,
    /// below which the ring counts as seen edge-on.
    static constexpr double EDGE_ON_DEGREES = 3.0;
    /// Radius, in ring radii within the ring's plane, round the centre where
    /// the angle round the centre is taken as undefined.
    static constexpr double CENTRE_HOLD = 0.05;
    /// Slowest screen speed of the grabbed point assumed along the tangent,
    /// in ring radii per radian (half the fastest, that of a face-on ring).
    static constexpr double MIN_TANGENT_SPEED = 0.5;

    enum class Mode
    {
        NONE,
        ROUND_CENTRE,
        ALONG_TANGENT
    };

    /// Starts a turn. `localToWorld` is the ring's frame at the press,
    /// `ringRadius` the ring's radius and `grabbedLocal` the picked point of
    /// the ring in that frame, `pointer` the press (its near and far points,
    /// in world coordinates).
    void press(const osgManipulator::PointerInfo& pointer, const osg::Matrixd& localToWorld,
               double ringRadius, const osg::Vec3d& grabbedLocal);

    /// The signed turn about the ring's Z axis since the press, in radians in
    /// (-pi, pi], for the pointer now; nothing when it is undefined (see the
    /// class comment), in which case the ring should stay where it is.
    std::optional<double> turnRadians(const osgManipulator::PointerInfo& pointer);

    /// How the pointer turns the ring in this drag (`NONE` before a press).
    Mode mode() const { return m_mode; }

private:
    struct Ray
    {
        osg::Vec3d from;
        osg::Vec3d to;
    };

    std::optional<Ray> localRay(const osgManipulator::PointerInfo& pointer) const;
    void pressRoundCentre(const Ray& ray, const osg::Vec3d& direction);
    void pressAlongTangent(const Ray& ray, const osg::Vec3d& direction,
                           const osg::Vec3d& grabbedLocal);
    std::optional<double> angleRoundCentre(const Ray& ray) const;
    std::optional<double> turnRoundCentre(const Ray& ray);
    std::optional<osg::Vec3d> onTangentPlane(const Ray& ray) const;
    std::optional<double> turnAlongTangent(const Ray& ray) const;

    Mode m_mode = Mode::NONE;
    osg::Matrixd m_worldToLocal;
    double m_radius = 0.0;
    /// The sign of Z along the rays that meet the ring's plane in view.
    double m_viewSide = 1.0;
    std::optional<double> m_pressAngle;
    /// Point and normal of the plane across the pressing ray at the grabbed point.
    osg::Vec3d m_tangentPlanePoint;
    osg::Vec3d m_tangentPlaneNormal;
    osg::Vec3d m_pressOnTangentPlane;
    /// Turn per unit of motion in the tangent plane: the tangent's screen
    /// direction divided by the grabbed point's speed along it.
    osg::Vec3d m_turnPerLength;
};

} // namespace Rk

#endif
