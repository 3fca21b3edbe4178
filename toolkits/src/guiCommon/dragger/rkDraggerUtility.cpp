#include "rkDraggerUtility.h"

#include "rkAxialShellBound.h"
#include "rkSharedHandleGeometry.h"
#include "rkTorusIndex.h"

#include <osg/Geometry>
#include <osg/Image>
#include <osg/KdTree>
#include <osg/LineWidth>
#include <osg/PolygonMode>
#include <osg/ShapeDrawable>
#include <osg/Texture2D>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace RkDraggerUtility {

namespace {

/// Rejects its drawable in every cull traversal, so that it is never
/// rendered; intersection visitors ignore cull callbacks and still hit it.
class ForceCullCallback : public osg::DrawableCullCallback
{
public:
    bool cull(osg::NodeVisitor*, osg::Drawable*, osg::State*) const override { return true; }
};

// A full circle in 100 steps; the step is kept in single precision so that
// every builder lands on the same angles.
const int kCircleSteps = 100;
const float kAngleStep = 0.0628318563f;

const int kDirectionCones = 8;
// The cones are sized by the ring's line width, so thicker rings get bigger arrows.
const float kConeRadiusPerLineWidth = 0.01f;
const float kConeHeightPerLineWidth = 0.02f;

// Arrow texture: 16x16 luminance-alpha pixels, a solid triangle on column 4
// pointing towards increasing s, rows 1 to 13.
const int kArrowImageSize = 16;
const int kBytesPerPixel = 2;
const int kArrowBaseColumn = 4;
const int kArrowFirstRow = 1;
const int kArrowLastRow = 13;
const unsigned char kOpaqueBlack[kBytesPerPixel] = {0, 255};
const unsigned char kTransparentWhite[kBytesPerPixel] = {255, 0};
const float kTextureStepPerSegment = 0.1f;
const float kTextureRepeats = 10.0f;

osg::Vec3d torusPoint(float ringRadius, float tubeRadius, double ringAngle, double tubeAngle)
{
    const double distance = ringRadius + tubeRadius * std::cos(tubeAngle);
    return osg::Vec3d(distance * std::cos(ringAngle), distance * std::sin(ringAngle),
                      tubeRadius * std::sin(tubeAngle));
}

// Every press intersects the pick torus once per ring that shares it; with a
// KdTree, built once, a ray tests a handful of its 20,000 triangles instead of
// all of them. The tree is not built from the strip itself: OpenSceneGraph
// 3.6 collects a quad strip's quads with their corners out of order for its
// KdTrees, which then report other hits than the brute-force test. It is
// built from the very triangles into which the brute-force test splits each
// quad of the strip, (a, b, c) and (b, d, c) for corners a, b, c, d in strip
// order, so that both find the same hits.
osg::ref_ptr<osg::KdTree> createPickTree(osg::Vec3Array* stripVertices)
{
    osg::DrawElementsUInt* triangles = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (unsigned int a = 0; a + 3 < stripVertices->size(); a += 2) {
        const unsigned int b = a + 1;
        const unsigned int c = a + 2;
        const unsigned int d = a + 3;
        for (unsigned int corner : {a, b, c, b, d, c})
            triangles->push_back(corner);
    }
    osg::ref_ptr<osg::Geometry> triangulated = new osg::Geometry;
    triangulated->setVertexArray(stripVertices);
    triangulated->addPrimitiveSet(triangles);
    osg::ref_ptr<osg::KdTreeBuilder> builder = new osg::KdTreeBuilder;
    triangulated->accept(*builder);
    return dynamic_cast<osg::KdTree*>(triangulated->getShape());
}

osg::Geometry* createPickTorus(float ringRadius, float tubeRadius)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    for (int i = 0; i < kCircleSteps; ++i) {
        for (int j = 0; j <= kCircleSteps; ++j) {
            const double tubeAngle = j * double(kAngleStep);
            vertices->push_back(
                torusPoint(ringRadius, tubeRadius, i * double(kAngleStep), tubeAngle));
            vertices->push_back(
                torusPoint(ringRadius, tubeRadius, (i + 1) * double(kAngleStep), tubeAngle));
        }
    }
    osg::Geometry* torus = new osg::Geometry;
    torus->setVertexArray(vertices);
    // One strip for all segments: the quads between segments lie on the
    // outer equator and are never seen anyway.
    torus->addPrimitiveSet(new osg::DrawArrays(GL_QUAD_STRIP, 0, vertices->size()));
    torus->setCullCallback(new ForceCullCallback);
    torus->setShape(createPickTree(vertices).get());
    // Picks find the few triangles a ray meets from where it passes round
    // the ring and the tube; the tree stays as the reference of their order.
    Rk::TorusIndex::attachTo(*torus,
                             {ringRadius, tubeRadius, kCircleSteps, kCircleSteps, kAngleStep});
    return torus;
}

osg::Geometry* createRing(float ringRadius, float lineWidth)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    osg::Vec3Array* normals = new osg::Vec3Array;
    float angle = 0.0f;
    for (int k = 0; k < kCircleSteps; ++k, angle += kAngleStep) {
        const osg::Vec3 radial(std::cos(angle), std::sin(angle), 0.0f);
        vertices->push_back(radial * ringRadius);
        normals->push_back(radial);
    }
    osg::Geometry* ring = new osg::Geometry;
    ring->setVertexArray(vertices);
    ring->setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
    ring->addPrimitiveSet(new osg::DrawArrays(GL_LINE_LOOP, 0, vertices->size()));

    osg::StateSet* stateSet = ring->getOrCreateStateSet();
    stateSet->setAttributeAndModes(
        new osg::PolygonMode(osg::PolygonMode::FRONT_AND_BACK, osg::PolygonMode::LINE),
        osg::StateAttribute::ON | osg::StateAttribute::OVERRIDE);
    stateSet->setAttributeAndModes(new osg::LineWidth(lineWidth), osg::StateAttribute::ON);
    stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    return ring;
}

osg::ShapeDrawable* createDirectionCone(float ringRadius, float lineWidth, int index)
{
    const double angle = index * 2.0 * osg::PI / kDirectionCones;
    osg::Cone* cone =
        new osg::Cone(osg::Vec3(ringRadius * std::cos(angle), ringRadius * std::sin(angle), 0.0f),
                      kConeRadiusPerLineWidth * lineWidth, kConeHeightPerLineWidth * lineWidth);
    // Tip onto +Y first, then round Z to the cone's place: the tangent
    // counter-clockwise.
    cone->setRotation(osg::Quat(-osg::PI_2, osg::X_AXIS) * osg::Quat(angle, osg::Z_AXIS));
    return new osg::ShapeDrawable(cone);
}

osg::Image* createArrowImage()
{
    const std::size_t pixelCount = std::size_t(kArrowImageSize) * kArrowImageSize;
    unsigned char* pixels = new unsigned char[pixelCount * kBytesPerPixel];
    for (std::size_t pixel = 0; pixel < pixelCount; ++pixel)
        std::copy(kTransparentWhite, kTransparentWhite + kBytesPerPixel,
                  pixels + pixel * kBytesPerPixel);
    for (int row = kArrowFirstRow; row <= kArrowLastRow; ++row) {
        const int length = std::min(row, kArrowLastRow + 1 - row);
        for (int column = kArrowBaseColumn; column < kArrowBaseColumn + length; ++column)
            std::copy(kOpaqueBlack, kOpaqueBlack + kBytesPerPixel,
                      pixels + std::size_t(row * kArrowImageSize + column) * kBytesPerPixel);
    }
    osg::Image* image = new osg::Image;
    image->setImage(kArrowImageSize, kArrowImageSize, 1, GL_LUMINANCE8_ALPHA8, GL_LUMINANCE_ALPHA,
                    GL_UNSIGNED_BYTE, pixels, osg::Image::USE_NEW_DELETE, 1);
    return image;
}

osg::Geometry* createStripGeometry(osg::Vec3Array* vertices, osg::Vec3Array* normals)
{
    osg::Geometry* geometry = new osg::Geometry;
    geometry->setVertexArray(vertices);
    geometry->setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, vertices->size()));
    return geometry;
}

void appendWallPair(osg::Vec3Array* vertices, osg::Vec3Array* normals, osg::Vec2Array* texCoords,
                    const osg::Vec3& radial, float radius, float s, float height)
{
    const float top = 0.5f * height;
    const float bottom = -height * 0.5f;
    normals->push_back(radial);
    texCoords->push_back(osg::Vec2(s, 1.0f));
    vertices->push_back(osg::Vec3(radial.x() * radius, radial.y() * radius, top));
    normals->push_back(radial);
    texCoords->push_back(osg::Vec2(s, 0.0f));
    vertices->push_back(osg::Vec3(radial.x() * radius, radial.y() * radius, bottom));
}

/// A cylinder wall of radius `radius` and height `height` about Z, centred
/// on z = 0, as one triangle strip whose front faces point away from the axis.
osg::Geometry* createCylinderWallGeometry(float radius, float height)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    osg::Vec3Array* normals = new osg::Vec3Array;
    osg::Vec2Array* texCoords = new osg::Vec2Array;
    float angle = 0.0f;
    float s = 0.0f;
    for (int k = 0; k < kCircleSteps; ++k, angle += kAngleStep, s += kTextureStepPerSegment)
        appendWallPair(vertices, normals, texCoords,
                       osg::Vec3(std::cos(angle), std::sin(angle), 0.0f), radius, s, height);
    // Closed at exactly angle 0, so the seam has no gap however the steps add up.
    appendWallPair(vertices, normals, texCoords, osg::Vec3(1.0f, 0.0f, 0.0f), radius,
                   kTextureRepeats, height);
    osg::Geometry* wall = createStripGeometry(vertices, normals);
    wall->setTexCoordArray(0, texCoords);
    return wall;
}

/// A flat ring at height `z` between `outerRadius` and `outerRadius -
/// thickness`, as one triangle strip facing -Z.
osg::Geometry* createAnnulusGeometry(float outerRadius, float thickness, float z)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    osg::Vec3Array* normals = new osg::Vec3Array;
    const float innerRadius = outerRadius - thickness;
    const osg::Vec3 down(0.0f, 0.0f, -1.0f);
    for (int k = 0; k <= kCircleSteps; ++k) {
        const double angle = k * double(kAngleStep);
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        vertices->push_back(osg::Vec3(outerRadius * c, outerRadius * s, z));
        normals->push_back(down);
        vertices->push_back(osg::Vec3(innerRadius * c, innerRadius * s, z));
        normals->push_back(down);
    }
    return createStripGeometry(vertices, normals);
}

} // namespace

osg::Geode* createRotateDraggerTorusGeode(float ringRadius, float tubeRadius, float lineWidth)
{
    osg::Geode* geode = new osg::Geode;
    geode->setComputeBoundingSphereCallback(new Rk::AxialShellBound);
    geode->addDrawable(createPickTorus(ringRadius, tubeRadius));
    geode->addDrawable(createRing(ringRadius, lineWidth));
    for (int k = 0; k < kDirectionCones; ++k)
        geode->addDrawable(createDirectionCone(ringRadius, lineWidth, k));
    return geode;
}

osg::ref_ptr<osg::Geode> sharedRotateDraggerTorusGeode(float ringRadius, float tubeRadius,
                                                       float lineWidth)
{
    const osg::ref_ptr<osg::Node> node = Rk::SharedHandleGeometry::get(
        "rotate dragger torus", {ringRadius, tubeRadius, lineWidth},
        [=] { return createRotateDraggerTorusGeode(ringRadius, tubeRadius, lineWidth); });
    return node->asGeode();
}

osg::Geode* createRotateDraggerCylinderShellGeode(float outerRadius, float height,
                                                  float wallThickness)
{
    osg::Texture2D* texture = new osg::Texture2D(createArrowImage());
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::REPEAT);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);

    osg::Geode* geode = new osg::Geode;
    geode->getOrCreateStateSet()->setTextureAttributeAndModes(0, texture, osg::StateAttribute::ON);
    geode->addDrawable(createCylinderWallGeometry(outerRadius, height));
    geode->addDrawable(createCylinderWallGeometry(outerRadius - wallThickness, height));
    geode->addDrawable(createAnnulusGeometry(outerRadius, wallThickness, 0.5f * height));
    geode->addDrawable(createAnnulusGeometry(outerRadius, wallThickness, -height * 0.5f));
    return geode;
}

} // namespace RkDraggerUtility
