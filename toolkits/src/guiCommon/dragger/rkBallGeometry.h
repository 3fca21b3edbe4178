#ifndef RK_BALL_GEOMETRY_H
#define RK_BALL_GEOMETRY_H

#include <osg/Geometry>

namespace Rk {

/// A sphere drawn and picked as plain triangles, with a `TriangleIndex` (its
/// user data) so that a pick through the library's intersector tests a
/// handful of them instead of all. Unlike a bare mesh, it still tells
/// `HandleShapes` what it is: a ball of `radius()` about `centre()` (own
/// coordinates).
///
/// Bad input: a zero, negative or non-finite radius gives a degenerate mesh
/// (all vertices at the centre, or non-finite), which no pick hits.
class BallGeometry : public osg::Geometry
{
public:
    /// Rings of latitude and steps of longitude of the mesh: round at the
    /// size of a handle, with a few hundred triangles.
    static constexpr unsigned int ROWS = 12;
    static constexpr unsigned int SEGMENTS = 24;

    BallGeometry(const osg::Vec3& centre, float radius);

    const osg::Vec3& centre() const { return m_centre; }
    float radius() const { return m_radius; }

protected:
    ~BallGeometry() override;

private:
    osg::Vec3 m_centre;
    float m_radius;
};

} // namespace Rk

#endif
