#include "rkDraggerUtility.h"
#include "rkFrameDragger.h"

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
#include <utility>
#include <vector>

namespace {

const float kRingRadius = 0.5f;
const float kTubeRadius = 0.01f;
const float kLineWidth = 3.0f;

const osg::Vec3Array& verticesOf(const osg::Drawable* drawable)
{
    return *static_cast<const osg::Vec3Array*>(drawable->asGeometry()->getVertexArray());
}

/// One DrawArrays of `mode` over all `count` vertices of the geometry.
void expectSinglePrimitive(const osg::Drawable* drawable, GLenum mode, unsigned int count)
{
    const osg::Geometry* geometry = drawable->asGeometry();
    ASSERT_EQ(geometry->getNumPrimitiveSets(), 1u);
    const auto* arrays = dynamic_cast<const osg::DrawArrays*>(geometry->getPrimitiveSet(0));
    ASSERT_TRUE(arrays);
    EXPECT_EQ(arrays->getMode(), mode);
    EXPECT_EQ(arrays->getFirst(), 0);
    EXPECT_EQ(unsigned(arrays->getCount()), count);
    EXPECT_EQ(geometry->getVertexArray()->getNumElements(), count);
}

class TorusGeode : public ::testing::Test
{
protected:
    osg::ref_ptr<osg::Geode> geode =
        RkDraggerUtility::createRotateDraggerTorusGeode(kRingRadius, kTubeRadius, kLineWidth);
};

} // namespace

TEST_F(TorusGeode, HoldsAClosedPickTorusAnUnlitRingAndEightConesInATightBound)
{
    ASSERT_EQ(geode->getNumDrawables(), 10u);
    expectSinglePrimitive(geode->getDrawable(0), GL_QUAD_STRIP, 20200);
    const osg::Vec3Array& torus = verticesOf(geode->getDrawable(0));
    EXPECT_LT((torus[0] - osg::Vec3(kRingRadius + kTubeRadius, 0, 0)).length(), 1e-7f);
    const unsigned int verticesPerSegment = 202;
    for (unsigned int first = 0; first < torus.size(); first += verticesPerSegment)
        EXPECT_LT((torus[first] - torus[first + verticesPerSegment - 2]).length(), 1e-6f);

    const osg::Drawable* ring = geode->getDrawable(1);
    expectSinglePrimitive(ring, GL_LINE_LOOP, 100);
    EXPECT_EQ(ring->asGeometry()->getNormalArray()->getBinding(), osg::Array::BIND_PER_VERTEX);
    for (const osg::Vec3& vertex : verticesOf(ring))
        EXPECT_NEAR(vertex.length(), kRingRadius, 1e-6f);
    const osg::StateSet* stateSet = ring->getStateSet();
    const auto* polygonMode = static_cast<const osg::PolygonMode*>(
        stateSet->getAttribute(osg::StateAttribute::POLYGONMODE));
    EXPECT_EQ(polygonMode->getMode(osg::PolygonMode::FRONT), osg::PolygonMode::LINE);
    EXPECT_EQ(polygonMode->getMode(osg::PolygonMode::BACK), osg::PolygonMode::LINE);
    EXPECT_TRUE(stateSet->getAttributePair(osg::StateAttribute::POLYGONMODE)->second &
                osg::StateAttribute::OVERRIDE);
    EXPECT_FLOAT_EQ(
        static_cast<const osg::LineWidth*>(stateSet->getAttribute(osg::StateAttribute::LINEWIDTH))
            ->getWidth(),
        kLineWidth);
    EXPECT_EQ(stateSet->getMode(GL_LIGHTING), osg::StateAttribute::OFF);

    // Eight cones sit on the ring and point counter-clockwise.
    for (unsigned int k = 0; k < 8; ++k) {
        SCOPED_TRACE(k);
        const auto* cone = dynamic_cast<const osg::Cone*>(geode->getDrawable(2 + k)->getShape());
        ASSERT_TRUE(cone);
        EXPECT_FLOAT_EQ(cone->getRadius(), 0.01f * kLineWidth);
        EXPECT_FLOAT_EQ(cone->getHeight(), 0.02f * kLineWidth);
        const double angle = k * osg::PI_4;
        const osg::Vec3d place(kRingRadius * std::cos(angle), kRingRadius * std::sin(angle), 0);
        EXPECT_LT((osg::Vec3d(cone->getCenter()) - place).length(), 1e-6);
        const osg::Vec3d tip = cone->getRotation() * osg::Vec3d(0, 0, 1);
        EXPECT_LT((tip - osg::Vec3d(-std::sin(angle), std::cos(angle), 0)).length(), 1e-6);
    }

    // The bound holds every vertex and hugs the ring.
    const osg::BoundingSphere& bound = geode->getBound();
    osg::BoundingBox box;
    for (unsigned int index = 0; index < geode->getNumDrawables(); ++index) {
        box.expandBy(geode->getDrawable(index)->getBoundingBox());
        for (const osg::Vec3& vertex : verticesOf(geode->getDrawable(index)))
            EXPECT_LE((osg::Vec3d(vertex) - bound.center()).length(), bound.radius() + 1e-6);
    }
    // Tighter than the sphere through the corners of the drawables' box.
    EXPECT_LT(bound.radius(), 0.8f * box.radius());
}

// The pick torus is never drawn but hit through its KdTree. Built from the
// quad strip itself, OpenSceneGraph's KdTree would take the quads' corners in
// another order and report extra and missing hits.
TEST_F(TorusGeode, PickTorusIsCulledAlwaysAndItsKdTreeFindsTheSameHitsAsBruteForce)
{
    osg::Drawable* torus = geode->getDrawable(0);
    const osg::DrawableCullCallback* callback = torus->getCullCallback()->asDrawableCullCallback();
    ASSERT_TRUE(callback);
    EXPECT_TRUE(callback->cull(nullptr, torus, static_cast<osg::RenderInfo*>(nullptr)));
    EXPECT_FALSE(geode->getDrawable(1)->getCullCallback());
    EXPECT_TRUE(dynamic_cast<osg::KdTree*>(torus->getShape()));

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

    int rays = 0, raysWithHits = 0;
    const osg::Vec3d slant(0.3, -0.4, 1.0);
    for (double degrees = 0.0; degrees < 360.0; degrees += 7.5)
        for (double offset : {-0.012, -0.005, 0.0, 0.005, 0.012}) {
            const double angle = osg::DegreesToRadians(degrees);
            const osg::Vec3d at =
                osg::Vec3d(std::cos(angle), std::sin(angle), 0) * (kRingRadius + offset);
            std::vector<std::pair<const osg::Drawable*, osg::Vec3d>> hits[2];
            for (bool useKdTree : {true, false}) {
                osg::ref_ptr<osgUtil::LineSegmentIntersector> ray =
                    new osgUtil::LineSegmentIntersector(at + slant, at - slant);
                osgUtil::IntersectionVisitor visitor(ray.get());
                visitor.setUseKdTreeWhenAvailable(useKdTree);
                geode->accept(visitor);
                for (const auto& hit : ray->getIntersections())
                    hits[useKdTree].emplace_back(hit.drawable.get(), hit.getWorldIntersectPoint());
            }
            ++rays;
            raysWithHits += hits[0].empty() ? 0 : 1;
            ASSERT_EQ(hits[0].size(), hits[1].size()) << degrees << " degrees, offset " << offset;
            for (std::size_t index = 0; index < hits[0].size(); ++index) {
                EXPECT_EQ(hits[0][index].first, hits[1][index].first);
                EXPECT_LT((hits[0][index].second - hits[1][index].second).length(), 1e-6);
            }
        }
    EXPECT_GT(raysWithHits, rays / 2) << "the rays really probe the tube";
}

TEST(CylinderShellGeode, HoldsTwoTexturedWallsAndTwoCapsWithAnArrowTexture)
{
    const float outer = 1.0f, height = 0.4f, wall = 0.1f;
    osg::ref_ptr<osg::Geode> geode =
        RkDraggerUtility::createRotateDraggerCylinderShellGeode(outer, height, wall);
    ASSERT_EQ(geode->getNumDrawables(), 4u);
    const float radii[] = {outer, outer - wall};
    for (unsigned int part = 0; part < 4; ++part) {
        SCOPED_TRACE(part);
        const osg::Geometry* geometry = geode->getDrawable(part)->asGeometry();
        expectSinglePrimitive(geometry, GL_TRIANGLE_STRIP, 202);
        const osg::Vec3Array& vertices = verticesOf(geometry);
        const auto& normals = *static_cast<const osg::Vec3Array*>(geometry->getNormalArray());
        if (part < 2) {
            EXPECT_EQ(vertices[0], osg::Vec3(radii[part], 0, 0.5f * height));
            EXPECT_EQ(vertices[201], osg::Vec3(radii[part], 0, -0.5f * height));
            EXPECT_GT(normals[50] * vertices[50], 0.0f) << "normals point away from the axis";
            const auto& texCoords =
                *static_cast<const osg::Vec2Array*>(geometry->getTexCoordArray(0));
            EXPECT_EQ(texCoords[201], osg::Vec2(10, 0));
        } else {
            EXPECT_EQ(vertices[0], osg::Vec3(outer, 0, (part == 2 ? 0.5f : -0.5f) * height));
            EXPECT_NEAR(vertices[1].x(), outer - wall, 1e-6f);
            EXPECT_EQ(normals[0], osg::Vec3(0, 0, -1));
            EXPECT_FALSE(geometry->getTexCoordArray(0));
        }
    }

    const auto* texture = static_cast<const osg::Texture2D*>(
        geode->getStateSet()->getTextureAttribute(0, osg::StateAttribute::TEXTURE));
    ASSERT_TRUE(texture && texture->getImage());
    EXPECT_EQ(texture->getWrap(osg::Texture::WRAP_S), osg::Texture::REPEAT);
    const osg::Image& arrow = *texture->getImage();
    ASSERT_EQ(arrow.getTotalSizeInBytes(), 512u) << "16x16 luminance-alpha";
    auto opaqueBlack = [&](int row, int column) {
        return arrow.data(column, row)[0] == 0 && arrow.data(column, row)[1] == 255;
    };
    int opaque = 0;
    for (int row = 0; row < 16; ++row)
        for (int column = 0; column < 16; ++column)
            opaque += opaqueBlack(row, column) ? 1 : 0;
    EXPECT_EQ(opaque, 49);
    EXPECT_TRUE(opaqueBlack(7, 10) && opaqueBlack(1, 4) && opaqueBlack(13, 4)) << "the triangle";
    EXPECT_FALSE(opaqueBlack(8, 10) || opaqueBlack(7, 3) || opaqueBlack(14, 4));
}

TEST(DraggerUtility, BadSizesBuildDegenerateGeometryWithoutFailing)
{
    osg::ref_ptr<osg::Geode> torus = RkDraggerUtility::createRotateDraggerTorusGeode(0, -1, 0);
    EXPECT_EQ(torus->getNumDrawables(), 10u);
    osg::ref_ptr<osg::Geode> shell =
        RkDraggerUtility::createRotateDraggerCylinderShellGeode(0.1f, 0.0f, 1.0f);
    EXPECT_EQ(shell->getNumDrawables(), 4u);
}

namespace {

// The geodes below each handle of `dragger`, X, Y, Z of the arrows then of
// the rings, in child order.
std::vector<const osg::Node*> handleGeodes(const Rk::FrameDragger& dragger)
{
    std::vector<const osg::Node*> geodes;
    for (const Rk::Composite3DDragger* part :
         {static_cast<const Rk::Composite3DDragger*>(dragger.translateDragger()),
          static_cast<const Rk::Composite3DDragger*>(dragger.rotateDragger())})
        for (unsigned int axis = 0; axis < 3; ++axis)
            for (unsigned int index = 0; index < part->getDragger(axis)->getNumChildren(); ++index)
                geodes.push_back(part->getDragger(axis)->getChild(index));
    return geodes;
}

} // namespace

TEST(SharedHandleGeometry, IsBuiltOncePerSizesAndNeverChangedByARebuild)
{
    Rk::DraggerReceiver* const noReceiver = nullptr;
    osg::ref_ptr<Rk::FrameDragger> first = new Rk::FrameDragger(noReceiver, false);
    osg::ref_ptr<Rk::FrameDragger> second = new Rk::FrameDragger(noReceiver, false);
    first->setupDefaultGeometry();
    second->setupDefaultGeometry();
    const std::vector<const osg::Node*> firstGeodes = handleGeodes(*first);
    // Shaft and head per arrow, one torus geode per ring: the same nodes.
    ASSERT_EQ(firstGeodes.size(), 9u);
    EXPECT_EQ(handleGeodes(*second), firstGeodes);
    const float firstRingRadius = firstGeodes[6]->getBound().radius();

    // The second dragger's rings rebuilt with other sizes: a geode of their
    // own is added; the first dragger keeps its handles untouched.
    second->rotateDragger()->setGeometryProperties(0.02f, 0.8f);
    second->rotateDragger()->setupDefaultGeometry();
    EXPECT_EQ(handleGeodes(*first), firstGeodes);
    EXPECT_FLOAT_EQ(firstGeodes[6]->getBound().radius(), firstRingRadius);
    const std::vector<const osg::Node*> rebuilt = handleGeodes(*second);
    ASSERT_EQ(rebuilt.size(), 12u);
    EXPECT_NE(rebuilt[7], firstGeodes[6]);
    EXPECT_GT(rebuilt[7]->getBound().radius(), firstRingRadius);

    // Nothing keeps the geometry once no dragger holds it.
    const osg::observer_ptr<const osg::Node> ring(firstGeodes[6]);
    first = nullptr;
    second = nullptr;
    EXPECT_FALSE(ring.valid());
}
