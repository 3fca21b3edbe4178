// Picks that skip the handles a ray passes beside: the same hits as a full
// traversal, and a full traversal wherever a bound cannot vouch for what a
// handle holds. (How few handles a pick enters is measured in bench/.)
#include "rkAxialShellBound.h"
#include "rkDraggerUtility.h"
#include "rkFrameDragger.h"
#include "rkFrontIntersector.h"
#include "rkGizmoTestHelpers.h"
#include "rkRotateDragger.h"

#include <gtest/gtest.h>
#include <osg/Camera>
#include <osg/ShapeDrawable>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <tuple>

using Rk::Composite3DDragger;
using Rk::FrameDragger;

namespace {

const int kGridStep = 5;
const double kRingRadius = RkTest::kRingRadius;

/// A line-segment intersector of another type: draggers give it the full
/// traversal, as they do to any intersector they do not know. Its clones are
/// plain line-segment intersectors, so it finds hits exactly as they do.
class FullTraversalIntersector : public osgUtil::LineSegmentIntersector
{
public:
    using LineSegmentIntersector::LineSegmentIntersector;
};

/// Ratio, node path, drawable, primitive index and local point of a hit.
using Hit = std::tuple<double, osg::NodePath, const osg::Drawable*, unsigned int, osg::Vec3d>;

std::vector<Hit> pick(osg::Camera* camera, osgUtil::LineSegmentIntersector* intersector)
{
    osgUtil::IntersectionVisitor visitor(intersector);
    visitor.setTraversalMask(Composite3DDragger::DRAGGER_MASK);
    camera->accept(visitor);
    std::vector<Hit> hits;
    for (const auto& hit : intersector->getIntersections())
        hits.emplace_back(hit.ratio, hit.nodePath, hit.drawable.get(), hit.primitiveIndex,
                          hit.localIntersectionPoint);
    return hits;
}

/// Picks at window point (x, y up) once as the viewer picks and once with
/// the full traversal; every hit must be the same, bit for bit. A pick that
/// skips what lies behind its nearest hit must find the same front hit.
std::vector<Hit> expectSameHitsAt(osg::Camera* camera, double x, double y)
{
    osg::ref_ptr<osgUtil::LineSegmentIntersector> viewerPick =
        new osgUtil::LineSegmentIntersector(osgUtil::Intersector::WINDOW, x, y);
    osg::ref_ptr<FullTraversalIntersector> fullPick =
        new FullTraversalIntersector(osgUtil::Intersector::WINDOW, x, y);
    osg::ref_ptr<Rk::FrontIntersector> frontPick =
        new Rk::FrontIntersector(osgUtil::Intersector::WINDOW, x, y);
    const std::vector<Hit> hits = pick(camera, viewerPick.get());
    EXPECT_TRUE(hits == pick(camera, fullPick.get())) << "at " << x << ", " << y;
    const std::vector<Hit> front = pick(camera, frontPick.get());
    EXPECT_TRUE(front.empty() == hits.empty() && (hits.empty() || front[0] == hits[0]))
        << "front hit at " << x << ", " << y;
    return hits;
}

/// The same hits at every `kGridStep`-th window point; returns the number
/// of points that hit anything.
int expectSameHitsOverTheWindow(osg::Camera* camera)
{
    int pointsWithHits = 0;
    for (int x = 0; x < RkTest::ViewerHarness::WIDTH; x += kGridStep)
        for (int y = 0; y < RkTest::ViewerHarness::HEIGHT; y += kGridStep)
            pointsWithHits += expectSameHitsAt(camera, x, y).empty() ? 0 : 1;
    return pointsWithHits;
}

osg::ref_ptr<FrameDragger> shownFrameDragger(bool autoScaleToScreen, int handleSet = 0)
{
    osg::ref_ptr<FrameDragger> dragger =
        new FrameDragger(static_cast<Rk::DraggerReceiver*>(nullptr), autoScaleToScreen);
    dragger->setHandleSet(handleSet);
    dragger->setupDefaultGeometry();
    dragger->setScale(1.0);
    static_cast<Composite3DDragger*>(dragger.get())->showDraggers(true);
    return dragger;
}

} // namespace

TEST(PickSegment, PicksFindTheSameHitsAsAFullTraversalForEveryPoseAndScale)
{
    RkTest::ViewerHarness harness(RkTest::kSceneEye);
    const auto turned = [](int handleSet) {
        osg::ref_ptr<FrameDragger> dragger = shownFrameDragger(false, handleSet);
        dragger->setMatrix(osg::Matrixd::rotate(0.7, osg::Vec3d(1, 2, 3)) *
                           osg::Matrixd::translate(0.2, -0.1, 0.3));
        dragger->setScale(0.6);
        return dragger;
    };
    // Gizmos one behind another along the view, under transforms of their own.
    osg::ref_ptr<osg::Group> row = new osg::Group;
    for (int index = 0; index < 4; ++index) {
        osg::ref_ptr<osg::MatrixTransform> place =
            new osg::MatrixTransform(osg::Matrixd::translate(osg::Vec3d(-0.5, 1.0, -0.6) * index));
        place->addChild(turned(index % 2 ? RkTest::kAllExtraHandles : 0));
        row->addChild(place.get());
    }
    // And one drawn over the scene by a HUD camera, in window pixels.
    osg::ref_ptr<osg::Camera> hud = new osg::Camera;
    hud->setReferenceFrame(osg::Transform::ABSOLUTE_RF);
    hud->setProjectionMatrixAsOrtho(0, RkTest::ViewerHarness::WIDTH, 0,
                                    RkTest::ViewerHarness::HEIGHT, -1000, 1000);
    osg::ref_ptr<osg::MatrixTransform> inPixels = new osg::MatrixTransform(
        osg::Matrixd::scale(osg::Vec3d(150, 150, 150)) * osg::Matrixd::translate(500, 250, 0));
    inPixels->addChild(turned(0));
    hud->addChild(inPixels.get());
    row->addChild(hud.get());
    osg::ref_ptr<Rk::RotateDragger> rotate = new Rk::RotateDragger(nullptr, false);
    rotate->setupDefaultGeometry();
    rotate->setScale(1.7);
    rotate->showDraggers(true);
    const std::pair<const char*, osg::ref_ptr<osg::Node>> rows[] = {
        {"frame dragger at the origin", shownFrameDragger(false)},
        {"frame dragger turned, moved and scaled", turned(0)},
        // The optional handles: squares, the ball and the camera-facing view ring.
        {"every optional handle", shownFrameDragger(false, RkTest::kAllExtraHandles)},
        {"every optional handle, turned, moved and scaled", turned(RkTest::kAllExtraHandles)},
        {"rings under the screen-scaling chain", shownFrameDragger(true)},
        {"gizmos one behind another, and one on a HUD", row},
        {"standalone rotate dragger, scaled", rotate}};
    for (const auto& [name, dragger] : rows) {
        SCOPED_TRACE(name);
        harness.root()->addChild(dragger.get());
        EXPECT_GT(expectSameHitsOverTheWindow(harness.viewer().getCamera()), 100)
            << "the grid covers the gizmo";
        harness.root()->removeChild(dragger.get());
    }
}

TEST(PickSegment, WhatABoundCannotVouchForIsAlwaysEntered)
{
    RkTest::ViewerHarness harness(RkTest::kSceneEye);
    osg::ref_ptr<FrameDragger> frame = shownFrameDragger(false);
    harness.root()->addChild(frame.get());
    osgManipulator::Dragger* xArrow = frame->translateDragger()->getDragger(0);
    osgManipulator::Dragger* yArrow = frame->translateDragger()->getDragger(1);

    // Beside the X arrow, a box below a transform of its own; beside the Y
    // arrow, a box whose drawable has culling switched off and a bound that
    // claims it is a speck at the origin. (Each arrow's own Z runs along
    // its axis.)
    const osg::Vec3 beside(0.5f, 0.0f, 0.5f);
    osg::ref_ptr<osg::Geode> offsetBox = new osg::Geode;
    offsetBox->addDrawable(new osg::ShapeDrawable(new osg::Box(osg::Vec3(), 0.2f)));
    osg::ref_ptr<osg::MatrixTransform> offset =
        new osg::MatrixTransform(osg::Matrixd::translate(beside));
    offset->addChild(offsetBox.get());
    xArrow->addChild(offset.get());

    const osg::Vec3 elsewhere(0.5f, 0.6f, 0.5f);
    osg::ref_ptr<osg::ShapeDrawable> unculled =
        new osg::ShapeDrawable(new osg::Box(elsewhere, 0.2f));
    unculled->setCullingActive(false);
    unculled->setInitialBound(osg::BoundingBox(0, 0, 0, 0.01f, 0.01f, 0.01f));
    unculled->setComputeBoundingBoxCallback(new osg::Drawable::ComputeBoundingBoxCallback);
    osg::ref_ptr<osg::Geode> unculledBox = new osg::Geode;
    unculledBox->addDrawable(unculled.get());
    yArrow->addChild(unculledBox.get());

    const std::pair<osg::Geode*, osg::Vec3d> targets[] = {{offsetBox.get(), osg::Vec3d()},
                                                          {unculledBox.get(), elsewhere}};
    for (const auto& [geode, centre] : targets) {
        const osg::Vec2d at = harness.project(RkTest::worldOf(geode, centre));
        const std::vector<Hit> hits = expectSameHitsAt(harness.viewer().getCamera(), at.x(),
                                                       RkTest::ViewerHarness::HEIGHT - at.y());
        ASSERT_FALSE(hits.empty());
        EXPECT_EQ(std::get<1>(hits.front()).back(), geode);
    }
}

TEST(AxialShellBound, ARingsShellLetsRaysThroughItsHoleAndFollowsItsGeometry)
{
    osg::ref_ptr<osg::Geode> ring =
        RkDraggerUtility::createRotateDraggerTorusGeode(kRingRadius, 0.01f, 3.0f);
    const auto* shell =
        dynamic_cast<const Rk::AxialShellBound*>(ring->getComputeBoundingSphereCallback());
    ASSERT_TRUE(shell);
    const auto down = [](double x, double y) {
        return std::make_pair(osg::Vec3d(x, y, 1.0), osg::Vec3d(x, y, -1.0));
    };
    const auto meets = [&](const std::pair<osg::Vec3d, osg::Vec3d>& segment) {
        return shell->mayBeMetBy(*ring, segment.first, segment.second, 1e-7);
    };
    EXPECT_TRUE(meets(down(kRingRadius, 0.0))) << "through the tube";
    EXPECT_TRUE(meets(down(0.0, -kRingRadius))) << "through the tube elsewhere";
    EXPECT_FALSE(meets(down(0.3, 0.1))) << "through the hole";
    EXPECT_FALSE(meets(down(0.7, 0.0))) << "outside";
    EXPECT_FALSE(meets({osg::Vec3d(-1, 0, 0.2), osg::Vec3d(1, 0, 0.2)})) << "above, level";
    EXPECT_TRUE(meets({osg::Vec3d(-1, 0, 0), osg::Vec3d(1, 0, 0)})) << "across, in the plane";

    // Grown to twice its size, with dirtyBound as geometry changes require:
    // the old hole is now covered.
    for (unsigned int index = 0; index < ring->getNumDrawables(); ++index) {
        osg::Geometry* geometry = ring->getDrawable(index)->asGeometry();
        auto* vertices = static_cast<osg::Vec3Array*>(geometry->getVertexArray());
        for (osg::Vec3& vertex : *vertices)
            vertex = osg::Vec3(vertex.x() * 2, vertex.y() * 2, vertex.z());
        geometry->dirtyBound();
    }
    EXPECT_TRUE(meets(down(2 * kRingRadius, 0.0)));
    EXPECT_FALSE(meets(down(kRingRadius, 0.0)));
}
