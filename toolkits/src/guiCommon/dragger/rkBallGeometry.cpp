#include "rkBallGeometry.h"

#include "rkTriangleIndex.h"

#include <cmath>

namespace Rk {

namespace {

osg::Vec3 unitOnSphere(unsigned int row, unsigned int segment)
{
    const double latitude = osg::PI * row / BallGeometry::ROWS;
    const double longitude = 2.0 * osg::PI * segment / BallGeometry::SEGMENTS;
    return osg::Vec3(std::sin(latitude) * std::cos(longitude),
                     std::sin(latitude) * std::sin(longitude), std::cos(latitude));
}

unsigned short vertexIndex(unsigned int row, unsigned int segment)
{
    return static_cast<unsigned short>(row * (BallGeometry::SEGMENTS + 1) + segment);
}

} // namespace

BallGeometry::BallGeometry(const osg::Vec3& centre, float radius)
    : m_centre(centre), m_radius(radius)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    osg::Vec3Array* normals = new osg::Vec3Array;
    for (unsigned int row = 0; row <= ROWS; ++row) {
        for (unsigned int segment = 0; segment <= SEGMENTS; ++segment) {
            const osg::Vec3 unit = unitOnSphere(row, segment);
            vertices->push_back(centre + unit * radius);
            normals->push_back(unit);
        }
    }
    osg::DrawElementsUShort* triangles = new osg::DrawElementsUShort(GL_TRIANGLES);
    for (unsigned int row = 0; row < ROWS; ++row) {
        for (unsigned int segment = 0; segment < SEGMENTS; ++segment) {
            const unsigned short a = vertexIndex(row, segment);
            const unsigned short b = vertexIndex(row + 1, segment);
            const unsigned short c = vertexIndex(row + 1, segment + 1);
            const unsigned short d = vertexIndex(row, segment + 1);
            // The rows at the poles have one corner in one place: one triangle each.
            if (row != 0)
                for (unsigned short corner : {a, b, d})
                    triangles->push_back(corner);
            if (row + 1 != ROWS)
                for (unsigned short corner : {d, b, c})
                    triangles->push_back(corner);
        }
    }
    setVertexArray(vertices);
    setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
    addPrimitiveSet(triangles);
    TriangleIndex::attachTo(*this);
}

BallGeometry::~BallGeometry() = default;

} // namespace Rk
