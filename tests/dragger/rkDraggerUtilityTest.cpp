#include "rkDraggerUtility.h"

#include <gtest/gtest.h>
#include <osg/Geometry>
#include <osg/KdTree>
#include <osg/LineWidth>
#include <osg/PolygonMode>
#include <osg/ShapeDrawable>
#include <osg/Texture2D>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <cmath>

namespace {

const float kRingRadius = 0.5f;
const float kTubeRadius = 0.01f;
const float kLineWidth = 3.0f;

const osg::Vec3Array* verticesOf(const osg::Drawable* drawable)
{
    return static_cast<const osg::Vec3Array*>(drawable->asGeometry()->getVertexArray());
}

void expectSinglePrimitive(const osg::Geometry* geometry, GLenum mode)
{
    ASSERT_EQ(geometry->getNumPrimitiveSets(), 1u);
    const auto* arrays = dynamic_cast<const osg::DrawArrays*>(geometry->getPrimitiveSet(0));
    ASSERT_TRUE(arrays);
    EXPECT_EQ(arrays->getMode(), mode);
    EXPECT_EQ(arrays->getFirst(), 0);
    EXPECT_EQ(unsigned(arrays->getCount()), geometry->getVertexArray()->getNumElements());
}

class TorusGeode : public ::testing::Test
{
protected:
    osg::ref_ptr<osg::Geode> geode =
        RkDraggerUtility::createRotateDraggerTorusGeode(kRingRadius, kTubeRadius, kLineWidth);
};

} // namespace

TEST_F(TorusGeode, HoldsPickTorusRingAndEightCones)
{
    ASSERT_EQ(geode->getNumDrawables(), 10u);
    const osg::Geometry* torus = geode->getDrawable(0)->asGeometry();
    ASSERT_TRUE(torus);
    EXPECT_EQ(verticesOf(torus)->size(), 20200u);
    expectSinglePrimitive(torus, GL_QUAD_STRIP);
    EXPECT_TRUE(torus->getCullCallback());
    EXPECT_FALSE(torus->getNormalArray());

    const osg::Geometry* ring = geode->getDrawable(1)->asGeometry();
    ASSERT_TRUE(ring);
    EXPECT_EQ(verticesOf(ring)->size(), 100u);
    EXPECT_EQ(ring->getNormalArray()->getNumElements(), 100u);
    EXPECT_EQ(ring->getNormalArray()->getBinding(), osg::Array::BIND_PER_VERTEX);
    expectSinglePrimitive(ring, GL_LINE_LOOP);
    EXPECT_FALSE(ring->getCullCallback());
    for (unsigned int k = 2; k < 10; ++k)
        EXPECT_TRUE(dynamic_cast<const osg::Cone*>(geode->getDrawable(k)->getShape())) << k;
}

TEST_F(TorusGeode, PickTorusStartsOnTheOuterEquatorAndClosesEachSegment)
{
    const osg::Vec3Array& vertices = *verticesOf(geode->getDrawable(0));
    EXPECT_TRUE((vertices[0] - osg::Vec3(kRingRadius + kTubeRadius, 0, 0)).length() < 1e-7f);
    const unsigned int pairsPerSegment = 101;
    for (unsigned int segment = 0; segment < 100; ++segment) {
        const unsigned int first = segment * pairsPerSegment * 2;
        const unsigned int last = first + (pairsPerSegment - 1) * 2;
        EXPECT_LT((vertices[first] - vertices[last]).length(), 1e-6f) << segment;
        EXPECT_LT((vertices[first + 1] - vertices[last + 1]).length(), 1e-6f) << segment;
        EXPECT_NEAR(vertices[first].length(), kRingRadius + kTubeRadius, 1e-6f);
    }
}

TEST_F(TorusGeode, RingIsAnUnlitLineLoopOfTheGivenWidth)
{
    const osg::Geometry* ring = geode->getDrawable(1)->asGeometry();
    for (const osg::Vec3& vertex : *verticesOf(ring)) {
        EXPECT_NEAR(vertex.length(), kRingRadius, 1e-6f);
        EXPECT_EQ(vertex.z(), 0.0f);
    }
    const osg::StateSet* stateSet = ring->getStateSet();
    ASSERT_TRUE(stateSet);
    const auto* polygonMode = static_cast<const osg::PolygonMode*>(
        stateSet->getAttribute(osg::StateAttribute::POLYGONMODE));
    ASSERT_TRUE(polygonMode);
    EXPECT_EQ(polygonMode->getMode(osg::PolygonMode::FRONT), osg::PolygonMode::LINE);
    EXPECT_EQ(polygonMode->getMode(osg::PolygonMode::BACK), osg::PolygonMode::LINE);
    EXPECT_TRUE(stateSet->getAttributePair(osg::StateAttribute::POLYGONMODE)->second &
                osg::StateAttribute::OVERRIDE);
    const auto* width =
        static_cast<const osg::LineWidth*>(stateSet->getAttribute(osg::StateAttribute::LINEWIDTH));
    ASSERT_TRUE(width);
    EXPECT_FLOAT_EQ(width->getWidth(), kLineWidth);
    EXPECT_EQ(stateSet->getMode(GL_LIGHTING), osg::StateAttribute::OFF);
}

TEST_F(TorusGeode, ConesSitOnTheRingAndPointCounterClockwise)
{
    for (unsigned int k = 0; k < 8; ++k) {
        SCOPED_TRACE(k);
        const auto* cone = static_cast<const osg::Cone*>(geode->getDrawable(2 + k)->getShape());
        EXPECT_FLOAT_EQ(cone->getRadius(), 0.01f * kLineWidth);
        EXPECT_FLOAT_EQ(cone->getHeight(), 0.02f * kLineWidth);
        const double angle = k * osg::PI_4;
        const osg::Vec3d place(kRingRadius * std::cos(angle), kRingRadius * std::sin(angle), 0);
        EXPECT_LT((osg::Vec3d(cone->getCenter()) - place).length(), 1e-6);
        const osg::Vec3d tip = cone->getRotation() * osg::Vec3d(0, 0, 1);
        EXPECT_LT((tip - osg::Vec3d(-std::sin(angle), std::cos(angle), 0)).length(), 1e-6);
        EXPECT_FALSE(geode->getDrawable(2 + k)->getStateSet());
    }
}

TEST_F(TorusGeode, PickTorusIsCulledAlwaysButStillHit)
{
    osg::Drawable* torus = geode->getDrawable(0);
    const osg::DrawableCullCallback* callback = torus->getCullCallback()->asDrawableCullCallback();
    ASSERT_TRUE(callback);
    EXPECT_TRUE(callback->cull(nullptr, nullptr, static_cast<osg::State*>(nullptr)));
    EXPECT_TRUE(callback->cull(nullptr, torus, static_cast<osg::RenderInfo*>(nullptr)));

    // A ray down through the tube, between the line ring and the outer edge
    // and halfway between two cones: only the pick torus can report it.
    const double angle = osg::PI / 8;
    const double distance = kRingRadius + 0.5f * kTubeRadius;
    const osg::Vec3d above(distance * std::cos(angle), distance * std::sin(angle), 1.0);
    osg::ref_ptr<osgUtil::LineSegmentIntersector> ray =
        new osgUtil::LineSegmentIntersector(above, above - osg::Vec3d(0, 0, 2));
    osgUtil::IntersectionVisitor visitor(ray.get());
    geode->accept(visitor);
    ASSERT_TRUE(ray->containsIntersections());
    EXPECT_EQ(ray->getFirstIntersection().drawable.get(), torus);
}

TEST_F(TorusGeode, BoundHoldsEveryVertexAndHugsTheRing)
{
    const osg::BoundingSphere& bound = geode->getBound();
    osg::BoundingBox box;
    for (unsigned int index = 0; index < geode->getNumDrawables(); ++index) {
        const osg::Drawable* drawable = geode->getDrawable(index);
        box.expandBy(drawable->getBoundingBox());
        for (const osg::Vec3& vertex : *verticesOf(drawable))
            EXPECT_LE((osg::Vec3d(vertex) - bound.center()).length(), bound.radius() + 1e-6);
    }
    // Tighter than the sphere through the corners of the drawables' box,
    // which lie far outside the ring; the geode's box is still kept.
    EXPECT_LT(bound.radius(), 0.8f * box.radius());
    EXPECT_EQ(geode->getBoundingBox().corner(0), box.corner(0));
    EXPECT_EQ(geode->getBoundingBox().corner(7), box.corner(7));
}

TEST_F(TorusGeode, PickTorusCarriesAKdTreeThatFindsTheSameHitsAsBruteForce)
{
    osg::Drawable* torus = geode->getDrawable(0);
    ASSERT_TRUE(dynamic_cast<osg::KdTree*>(torus->getShape()));
    // Only the pick torus: the visible parts keep no shape of their own.
    for (unsigned int index = 1; index < geode->getNumDrawables(); ++index)
        EXPECT_FALSE(dynamic_cast<osg::KdTree*>(geode->getDrawable(index)->getShape()));

    // Slanted rays across the tube all round the ring, through it, grazing
    // it and missing it: the KdTree and the brute-force test agree.
    const double radialOffsets[] = {-1.5, -0.99, -0.5, 0.0, 0.5, 0.99, 1.5};
    const osg::Vec3d slant(0.3, -0.2, 1.0);
    int hits = 0;
    for (double angle = 0.0; angle < 2.0 * osg::PI; angle += 0.05) {
        for (double offset : radialOffsets) {
            const double distance = kRingRadius + offset * kTubeRadius;
            const osg::Vec3d centre(distance * std::cos(angle), distance * std::sin(angle), 0.0);
            osg::ref_ptr<osgUtil::LineSegmentIntersector> rays[2];
            for (int useKdTree = 0; useKdTree < 2; ++useKdTree) {
                rays[useKdTree] =
                    new osgUtil::LineSegmentIntersector(centre + slant, centre - slant);
                osgUtil::IntersectionVisitor visitor(rays[useKdTree].get());
                visitor.setUseKdTreeWhenAvailable(useKdTree != 0);
                geode->accept(visitor);
            }
            const auto& bruteForce = rays[0]->getIntersections();
            const auto& withKdTree = rays[1]->getIntersections();
            ASSERT_EQ(withKdTree.size(), bruteForce.size());
            hits += int(bruteForce.size());
            auto fast = withKdTree.begin();
            for (auto slow = bruteForce.begin(); slow != bruteForce.end(); ++slow, ++fast) {
                EXPECT_EQ(fast->drawable, slow->drawable);
                EXPECT_NEAR(fast->ratio, slow->ratio, 1e-9);
            }
        }
    }
    EXPECT_GT(hits, 0);
}

namespace {

const float kOuterRadius = 1.0f;
const float kHeight = 0.4f;
const float kWall = 0.1f;

class CylinderShellGeode : public ::testing::Test
{
protected:
    osg::ref_ptr<osg::Geode> geode =
        RkDraggerUtility::createRotateDraggerCylinderShellGeode(kOuterRadius, kHeight, kWall);

    const osg::Image* arrowImage() const
    {
        const auto* texture = static_cast<const osg::Texture2D*>(
            geode->getStateSet()->getTextureAttribute(0, osg::StateAttribute::TEXTURE));
        return texture ? texture->getImage() : nullptr;
    }
    bool opaqueBlack(int row, int column) const
    {
        const unsigned char* pixel = arrowImage()->data(column, row);
        return pixel[0] == 0 && pixel[1] == 255;
    }
    bool transparentWhite(int row, int column) const
    {
        const unsigned char* pixel = arrowImage()->data(column, row);
        return pixel[0] == 255 && pixel[1] == 0;
    }
};

} // namespace

TEST_F(CylinderShellGeode, HoldsTwoWallsAndTwoCaps)
{
    ASSERT_EQ(geode->getNumDrawables(), 4u);
    const float wallRadii[] = {kOuterRadius, kOuterRadius - kWall};
    for (unsigned int wall = 0; wall < 2; ++wall) {
        SCOPED_TRACE(wall);
        const osg::Geometry* geometry = geode->getDrawable(wall)->asGeometry();
        const osg::Vec3Array& vertices = *verticesOf(geometry);
        ASSERT_EQ(vertices.size(), 202u);
        expectSinglePrimitive(geometry, GL_TRIANGLE_STRIP);
        EXPECT_EQ(geometry->getNormalArray()->getBinding(), osg::Array::BIND_PER_VERTEX);
        EXPECT_EQ(vertices[0], osg::Vec3(wallRadii[wall], 0, 0.5f * kHeight));
        EXPECT_EQ(vertices[201], osg::Vec3(wallRadii[wall], 0, -0.5f * kHeight));
        const auto& normals = *static_cast<const osg::Vec3Array*>(geometry->getNormalArray());
        EXPECT_GT(normals[50] * vertices[50], 0.0f) << "normals point away from the axis";
        const auto& texCoords = *static_cast<const osg::Vec2Array*>(geometry->getTexCoordArray(0));
        EXPECT_EQ(texCoords[0], osg::Vec2(0, 1));
        EXPECT_EQ(texCoords[1], osg::Vec2(0, 0));
        EXPECT_EQ(texCoords[200], osg::Vec2(10, 1));
        EXPECT_EQ(texCoords[201], osg::Vec2(10, 0));
    }
    const float capHeights[] = {0.5f * kHeight, -0.5f * kHeight};
    for (unsigned int cap = 0; cap < 2; ++cap) {
        SCOPED_TRACE(cap);
        const osg::Geometry* geometry = geode->getDrawable(2 + cap)->asGeometry();
        const osg::Vec3Array& vertices = *verticesOf(geometry);
        ASSERT_EQ(vertices.size(), 202u);
        expectSinglePrimitive(geometry, GL_TRIANGLE_STRIP);
        EXPECT_EQ(vertices[0], osg::Vec3(kOuterRadius, 0, capHeights[cap]));
        EXPECT_NEAR(vertices[1].x(), kOuterRadius - kWall, 1e-6f);
        EXPECT_NEAR((vertices[200] - vertices[0]).length(), 0.0f, 1e-6f) << "the ring closes";
        const auto& normals = *static_cast<const osg::Vec3Array*>(geometry->getNormalArray());
        EXPECT_EQ(normals[0], osg::Vec3(0, 0, -1));
        EXPECT_FALSE(geometry->getTexCoordArray(0));
    }
}

TEST_F(CylinderShellGeode, ArrowTextureIsATriangleRepeatingAroundTheWalls)
{
    const auto* texture = static_cast<const osg::Texture2D*>(
        geode->getStateSet()->getTextureAttribute(0, osg::StateAttribute::TEXTURE));
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->getWrap(osg::Texture::WRAP_S), osg::Texture::REPEAT);
    EXPECT_EQ(texture->getWrap(osg::Texture::WRAP_T), osg::Texture::CLAMP_TO_EDGE);
    EXPECT_EQ(geode->getStateSet()->getTextureMode(0, GL_TEXTURE_2D), osg::StateAttribute::ON);

    ASSERT_TRUE(arrowImage());
    ASSERT_EQ(arrowImage()->getTotalSizeInBytes(), 512u) << "16x16 luminance-alpha";

    int opaque = 0;
    for (int row = 0; row < 16; ++row)
        for (int column = 0; column < 16; ++column) {
            opaque += opaqueBlack(row, column) ? 1 : 0;
            EXPECT_TRUE(opaqueBlack(row, column) || transparentWhite(row, column));
        }
    EXPECT_EQ(opaque, 49);
    EXPECT_TRUE(opaqueBlack(7, 10)) << "apex";
    EXPECT_TRUE(opaqueBlack(1, 4)) << "base";
    EXPECT_TRUE(opaqueBlack(13, 4)) << "base";
    EXPECT_TRUE(transparentWhite(0, 0));
    EXPECT_TRUE(transparentWhite(8, 10));
    EXPECT_TRUE(transparentWhite(7, 3));
    EXPECT_TRUE(transparentWhite(14, 4));
}

TEST(DraggerUtility, BadSizesBuildDegenerateGeometryWithoutFailing)
{
    osg::ref_ptr<osg::Geode> torus = RkDraggerUtility::createRotateDraggerTorusGeode(0, -1, 0);
    EXPECT_EQ(torus->getNumDrawables(), 10u);
    osg::ref_ptr<osg::Geode> shell =
        RkDraggerUtility::createRotateDraggerCylinderShellGeode(0.1f, 0.0f, 1.0f);
    EXPECT_EQ(shell->getNumDrawables(), 4u);
}
