// Picks that skip the handles a ray passes beside: the same hits as a full
// traversal, fewer handles entered, and a full traversal wherever a bound
// cannot vouch for what a handle holds.
#include "rkAxialShellBound.h"
#include "rkDraggerUtility.h"
#include "rkFrameDragger.h"
#include "rkRotateDragger.h"
#include "rkViewerHarness.h"

#include <gtest/gtest.h>
#include <osg/ShapeDrawable>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

using Rk::Composite3DDragger;
using Rk::FrameDragger;

namespace {

const osg::Vec3d kEye(2.5, -5.0, 3.0);
const int kGridStep = 5;
const float kRingRadius = 0.5f;
const float kTubeRadius = 0.01f;
const float kLineWidth = 3.0f;

/// A line-segment intersector of another type: draggers give it the full
/// traversal, as they do to any intersector they do not know. Its clones are
/// plain line-segment intersectors, so it finds hits exactly as they do.
class FullTraversalIntersector : public osgUtil::LineSegmentIntersector
{
public:
    using LineSegmentIntersector::LineSegmentIntersector;
};

struct Hit
{
    double ratio;
    osg::NodePath path;
    const osg::Drawable* drawable;
    unsigned int primitive;
    osg::Vec3d point;
    bool operator==(const Hit& other) const
    {
        return ratio == other.ratio && path == other.path && drawable == other.drawable &&
               primitive == other.primitive && point == other.point;
    }
};

std::vector<Hit> pick(osg::Camera* camera, osgUtil::LineSegmentIntersector* intersector)
{
    osgUtil::IntersectionVisitor visitor(intersector);
    visitor.setTraversalMask(Composite3DDragger::DRAGGER_MASK);
    camera->accept(visitor);
    std::vector<Hit> hits;
    for (const auto& hit : intersector->getIntersections())
        hits.push_back({hit.ratio, hit.nodePath, hit.drawable.get(), hit.primitiveIndex,
                        hit.localIntersectionPoint});
    return hits;
}

/// Picks at every `kGridStep`-th window point, once as the viewer picks and
/// once with the full traversal; every hit must be the same, bit for bit.
/// Returns the number of window points that hit anything.
int expectSameHitsOverTheWindow(osg::Camera* camera)
{
    int pointsWithHits = 0;
    for (int x = 0; x < RkTest::ViewerHarness::WIDTH; x += kGridStep) {
        for (int y = 0; y < RkTest::ViewerHarness::HEIGHT; y += kGridStep) {
            osg::ref_ptr<osgUtil::LineSegmentIntersector> viewerPick =
                new osgUtil::LineSegmentIntersector(osgUtil::Intersector::WINDOW, x, y);
            osg::ref_ptr<FullTraversalIntersector> fullPick =
                new FullTraversalIntersector(osgUtil::Intersector::WINDOW, x, y);
            const std::vector<Hit> hits = pick(camera, viewerPick.get());
            EXPECT_TRUE(hits == pick(camera, fullPick.get())) << "at " << x << ", " << y;
            pointsWithHits += hits.empty() ? 0 : 1;
        }
    }
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

/// Counts the handles (one-axis draggers) that a traversal enters.
class HandleCounter : public osgUtil::IntersectionVisitor
{
public:
    using IntersectionVisitor::IntersectionVisitor;
    std::set<const osg::Node*> entered;
    void apply(osg::Transform& transform) override
    {
        if (enter(transform))
            entered.insert(&transform);
        leave();
        IntersectionVisitor::apply(transform);
    }
};

} // namespace

TEST(PickSegment, PicksFindTheSameHitsAsAFullTraversalForEveryPoseAndScale)
{
    RkTest::ViewerHarness harness(kEye);
    osg::Camera* camera = harness.viewer().getCamera();

    osg::ref_ptr<FrameDragger> frame = shownFrameDragger(false);
    harness.root()->addChild(frame.get());
    EXPECT_GT(expectSameHitsOverTheWindow(camera), 300) << "the grid covers the gizmo";

    const osg::Matrixd turnedPose =
        osg::Matrixd::rotate(0.7, osg::Vec3d(1, 2, 3)) * osg::Matrixd::translate(0.2, -0.1, 0.3);
    frame->setMatrix(turnedPose);
    frame->setScale(0.6);
    expectSameHitsOverTheWindow(camera);
    harness.root()->removeChild(frame.get());

    // The optional handles: squares, the ball and the camera-facing view ring.
    osg::ref_ptr<FrameDragger> full = shownFrameDragger(
        false, FrameDragger::PLANE_HANDLES | FrameDragger::SCREEN_HANDLE | FrameDragger::VIEW_RING);
    harness.root()->addChild(full.get());
    EXPECT_GT(expectSameHitsOverTheWindow(camera), 300);
    full->setMatrix(turnedPose);
    full->setScale(0.6);
    expectSameHitsOverTheWindow(camera);
    harness.root()->removeChild(full.get());

    // Rings under the screen-scaling chain; a standalone, scaled rotate dragger.
    osg::ref_ptr<FrameDragger> autoScaled = shownFrameDragger(true);
    harness.root()->addChild(autoScaled.get());
    expectSameHitsOverTheWindow(camera);
    harness.root()->removeChild(autoScaled.get());

    osg::ref_ptr<Rk::RotateDragger> rotate = new Rk::RotateDragger(nullptr, false);
    rotate->setupDefaultGeometry();
    rotate->setScale(1.7);
    rotate->showDraggers(true);
    harness.root()->addChild(rotate.get());
    EXPECT_GT(expectSameHitsOverTheWindow(camera), 100);
}

TEST(PickSegment, ARayAtTheZRingEntersNeitherTheArrowsNorTheRingsItPassesBeside)
{
    RkTest::ViewerHarness harness(kEye);
    osg::ref_ptr<FrameDragger> frame = shownFrameDragger(false);
    harness.root()->addChild(frame.get());
    // On the Z ring in front of the origin: the ray passes through the
    // spheres of the X and Y arrows and of the X and Y rings, and through
    // the box of the Y ring (inside its hole).
    const double angle = -osg::PI / 8;
    const osg::Vec2d at = harness.project(
        osg::Vec3d(kRingRadius * std::cos(angle), kRingRadius * std::sin(angle), 0));

    osg::ref_ptr<osgUtil::LineSegmentIntersector> ray = new osgUtil::LineSegmentIntersector(
        osgUtil::Intersector::WINDOW, at.x(), RkTest::ViewerHarness::HEIGHT - at.y());
    HandleCounter visitor(ray.get());
    visitor.setTraversalMask(Composite3DDragger::DRAGGER_MASK);
    harness.viewer().getCamera()->accept(visitor);

    ASSERT_TRUE(ray->containsIntersections());
    const osg::NodePath& path = ray->getFirstIntersection().nodePath;
    EXPECT_NE(std::find(path.begin(), path.end(), frame->rotateDragger()->zDragger()), path.end());
    const std::set<const osg::Node*> expected = {frame.get(), frame->translateDragger(),
                                                 frame->rotateDragger(),
                                                 frame->rotateDragger()->zDragger()};
    EXPECT_EQ(visitor.entered, expected);
}

TEST(PickSegment, WhatABoundCannotVouchForIsAlwaysEntered)
{
    RkTest::ViewerHarness harness(kEye);
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
        const osg::Vec2d at = harness.project(
            centre * osg::computeLocalToWorld(geode->getParentalNodePaths().front()));
        const double x = at.x();
        const double y = RkTest::ViewerHarness::HEIGHT - at.y();
        osg::ref_ptr<osgUtil::LineSegmentIntersector> viewerPick =
            new osgUtil::LineSegmentIntersector(osgUtil::Intersector::WINDOW, x, y);
        osg::ref_ptr<FullTraversalIntersector> fullPick =
            new FullTraversalIntersector(osgUtil::Intersector::WINDOW, x, y);
        const std::vector<Hit> hits = pick(harness.viewer().getCamera(), viewerPick.get());
        EXPECT_TRUE(hits == pick(harness.viewer().getCamera(), fullPick.get()));
        ASSERT_FALSE(hits.empty());
        EXPECT_EQ(hits.front().path.back(), geode);
    }
}

TEST(AxialShellBound, ARingsShellLetsRaysThroughItsHoleAndFollowsItsGeometry)
{
    osg::ref_ptr<osg::Geode> ring =
        RkDraggerUtility::createRotateDraggerTorusGeode(kRingRadius, kTubeRadius, kLineWidth);
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
