#include "rkFrameDragger.h"
#include "rkFacingTransform.h"
#include "rkFinite.h"
#include "rkGizmoTestHelpers.h"
#include "rkPlugin.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <osg/ShapeDrawable>
#include <osgUtil/CullVisitor>

using Rk::Composite3DDragger;
using Rk::FrameDragger;
using namespace RkTest;

namespace {

const double kThirtyDegrees = osg::DegreesToRadians(30.0);
const double kAngleTolerance = 0.01;
Rk::DraggerReceiver* const kNoReceiver = nullptr;
const osg::Node::NodeMask kShownMask = Composite3DDragger::DRAGGER_MASK;

class FrameDraggerTest : public ::testing::Test, public FrameScene
{
};

} // namespace

TEST(FrameDragger, SetupBuildsTheCylinderGeometryTheScaleAndTheHandleSetAndShowingSwitchesThem)
{
    osg::ref_ptr<FrameDragger> dragger = new FrameDragger(kNoReceiver, false);
    dragger->setCylinderGeometry(0.5f, 0.15f, 3.0f);
    QSignalSpy scaleChanged(dragger.get(), &Composite3DDragger::signalScaleChanged);
    dragger->setupDefaultGeometry();
    EXPECT_EQ(scaleChanged.count(), 1);
    EXPECT_EQ(dragger->translateDragger()->getMatrix(), osg::Matrixd::scale(0.3, 0.3, 0.3));
    EXPECT_EQ(dragger->rotateDragger()->getMatrix(), osg::Matrixd::scale(0.3, 0.3, 0.3));

    const osg::Geode* heads = dragger->translateDragger()->xDragger()->getChild(1)->asGeode();
    const auto* cone = static_cast<const osg::Cone*>(heads->getDrawable(0)->getShape());
    EXPECT_FLOAT_EQ(cone->getRadius(), 0.5f);
    EXPECT_FLOAT_EQ(cone->getHeight(), 0.15f);
    const osg::Geode* torus = dragger->rotateDragger()->xDragger()->getChild(0)->asGeode();
    EXPECT_NEAR(firstVertex(torus->getDrawable(1)).x(), 0.5f, 1e-6f) << "ring radius";
    EXPECT_NEAR(firstVertex(torus->getDrawable(0)).x(), 3.5f, 1e-6f) << "plus pick tube radius";

    // Showing switches the children and their handles, but not the frame itself.
    dragger->setNodeMask(0x1);
    dragger->showDraggers(true);
    EXPECT_EQ(dragger->getNodeMask(), 0x1u);
    EXPECT_EQ(dragger->rotateDragger()->zDragger()->getNodeMask(), kShownMask);
    EXPECT_EQ(dragger->translateDragger()->dragMode(), 3);
    EXPECT_EQ(dragger->rotateDragger()->dragMode(), 3);

    dragger->showDraggers(false);
    EXPECT_EQ(dragger->getNodeMask(), 0x1u);
    EXPECT_EQ(dragger->translateDragger()->xDragger()->getNodeMask(), 0u);
    EXPECT_EQ(dragger->rotateDragger()->getNodeMask(), 0u);

    // The handle set adds a third child only when not empty.
    dragger = new FrameDragger(kNoReceiver, false);
    dragger->setHandleSet(0x40);
    EXPECT_EQ(dragger->handleSet(), 0) << "unknown bits are ignored";
    dragger->setupDefaultGeometry();
    EXPECT_EQ(dragger->getNumChildren(), 2u);
    EXPECT_EQ(dragger->getNumDraggers(), 2u);
    EXPECT_EQ(dragger->extraHandles(), nullptr);

    dragger->setHandleSet(FrameDragger::PLANE_HANDLES | FrameDragger::VIEW_RING);
    EXPECT_EQ(dragger->getNumChildren(), 2u) << "only at the next build";
    dragger->showDraggers(true);
    // Rings sized through the rotate child alone: the view ring still
    // encloses them.
    dragger->rotateDragger()->setGeometryProperties(0.02f, 0.8f);
    dragger->rebuildExtraHandles();
    ASSERT_NE(dragger->extraHandles(), nullptr);
    EXPECT_EQ(dragger->getNumChildren(), 3u);
    EXPECT_EQ(dragger->extraHandles()->getNumDraggers(), 4u) << "three planes and the ring";
    EXPECT_EQ(dragger->extraHandles()->screenHandle(), nullptr);
    EXPECT_EQ(dragger->extraHandles()->getNodeMask(), kShownMask);
    EXPECT_EQ(dragger->extraHandles()->viewRing()->getParentDragger(), dragger.get());
    const osg::Geode* viewRing =
        dragger->extraHandles()->viewRing()->getChild(0)->asGroup()->getChild(0)->asGeode();
    EXPECT_NEAR(firstVertex(viewRing->getDrawable(1)).x(),
                0.8f * Rk::ExtraHandlesDragger::VIEW_RING_RADIUS_FACTOR, 1e-6f);
    const osg::Vec4 xyColour =
        shownColour(dragger->extraHandles()->planeHandle(Composite3DDragger::Z_AXIS));
    EXPECT_EQ(xyColour, osg::Vec4(0, 0, 1, Rk::ExtraHandlesDragger::PLANE_ALPHA));

    dragger->setHandleSet(0);
    dragger->rebuildExtraHandles();
    EXPECT_EQ(dragger->getNumChildren(), 2u);
    EXPECT_EQ(dragger->getNumDraggers(), 2u);
}

TEST_F(FrameDraggerTest, LiveDragWritesTheReceiverAtEveryStepAndAnUnpickableHandleMovesNothing)
{
    SignalLog log(dragger.get());
    const osg::Vec2d from = onArrow(0, 0.7);
    const osg::Vec2d to = onArrow(0, 1.1);

    EXPECT_TRUE(harness.press(from));
    EXPECT_EQ(log.names, (std::vector<std::string>{"clicked", "clicked"}));
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::X_AXIS);
    EXPECT_EQ(dragger->dragMode(), 1);
    for (int step = 1; step <= 4; ++step) {
        harness.drag(from + (to - from) * (step / 4.0));
        EXPECT_EQ(store.writes.size(), size_t(step));
        EXPECT_EQ(store.pose.getTrans(), dragger->getMatrix().getTrans());
    }
    EXPECT_EQ(shownColour(arrow(0)), kPickYellow);

    harness.release(to);
    ASSERT_EQ(store.writes.size(), 6u);
    EXPECT_TRUE(store.writes[4].isIdentity()) << "the arrows' own dragger writes its own matrix";
    EXPECT_TRUE(closeTo(store.pose.getTrans(), osg::Vec3d(0.4, 0, 0), 1e-3));
    EXPECT_EQ(log.names, (std::vector<std::string>{"clicked", "clicked", "changed", "changed",
                                                   "changed", "changed", "changed", "done"}));
    EXPECT_EQ(shownColour(arrow(0)), kRed);
    EXPECT_EQ(store.pose, dragger->getMatrix()) << "the frame's own write comes last";

    // A press on a handle that ignores picking clicks but moves nothing.
    dragger->translateDragger()->xDragger()->enablePicking(false);
    const osg::Matrixd before = store.pose;
    log.names.clear();
    store.writes.clear();
    dragArrow(0, 0.7, 0.9);
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::NO_AXIS);
    EXPECT_EQ(log.names, (std::vector<std::string>{"clicked", "clicked", "changed", "done"}));
    EXPECT_EQ(store.writes.size(), 1u) << "only the frame's write at the release";
    EXPECT_EQ(store.pose, before);
}

// A deferred drag of the turned frame's Y arrow: values in the frame's own
// terms, no pose signal until the release. (No write before it either:
// DraggerDlgSceneTest and ExtraHandlesTest watch the host.)
TEST_F(FrameDraggerTest, DeferredDragReportsTheDistanceInItsOwnFrameAndWritesOnlyAtRelease)
{
    store.pose = osg::Matrixd::rotate(osg::PI_2, osg::Z_AXIS);
    harness.frame();
    dragger->setValueOnRelease(true);
    SignalLog log(dragger.get());
    dragArrow(Composite3DDragger::Y_AXIS, 0.7, 1.0);
    ASSERT_EQ(log.values.size(), 4u);
    EXPECT_NEAR(log.values[3], 0.3, 1e-3);
    EXPECT_TRUE(closeTo(store.pose.getTrans(), osg::Vec3d(-0.3, 0, 0), 1e-3))
        << "the frame's Y is the world's -X";
    EXPECT_EQ(log.names, (std::vector<std::string>{"clicked", "clicked", "value", "value", "value",
                                                   "value", "changed", "done"}));
}

TEST_F(FrameDraggerTest, AlignedReleaseReseatsOnTheReferenceFrameUnlessTheHostAnswersNaN)
{
    const osg::Quat referenceFrame(osg::PI_2, osg::Z_AXIS);
    const osg::Quat hostRotation(osg::DegreesToRadians(20.0), osg::X_AXIS);
    store.pose = osg::Matrixd::rotate(hostRotation) * osg::Matrixd::translate(0.2, 0, 0);
    dragger->setReferenceFrame(referenceFrame);
    dragger->setIsAlignedWithReferenceFrame(true);
    harness.frame();
    ASSERT_TRUE(dragger->getMatrix().getRotate() == referenceFrame);

    lookDownZ();
    turnZRing(40, 70);

    EXPECT_NEAR(dragger->commandValue(), 0.0, 1e-12) << "live drags report no value";
    const osg::Quat receiverRotation = store.pose.getRotate();
    // The turn comes before the alignment rotation: the host frame turns
    // about its own Z, which the aligned dragger shows as its Z ring.
    const osg::Quat turn = receiverRotation * hostRotation.inverse();
    EXPECT_TRUE(sameRotation(turn, osg::Quat(kThirtyDegrees, osg::Z_AXIS), kAngleTolerance / 2));
    EXPECT_TRUE(closeTo(turn * osg::Z_AXIS, osg::Z_AXIS, 1e-6));

    EXPECT_TRUE(dragger->getMatrix().getRotate() == referenceFrame);
    EXPECT_EQ(dragger->getMatrix().getTrans(), store.pose.getTrans());
    const osg::Quat expectedAlignment = referenceFrame.inverse() * receiverRotation;
    EXPECT_LT((dragger->alignmentRotation().asVec4() - expectedAlignment.asVec4()).length(), 1e-12);
    harness.frame();
    EXPECT_TRUE(dragger->getMatrix().getRotate() == referenceFrame) << "and it stays seated";

    // A host that answers NaN at the release: no re-seat, the dragger stays
    // where the drag left it, pickable.
    const osg::Vec3d before = centre();
    const osg::Vec2d from = onArrow(0, 0.7), to = onArrow(0, 0.9);
    harness.press(from);
    harness.drag(to);
    osg::ref_ptr<Rk::DraggerReceiver> broken = new Rk::DraggerReceiver(
        [] { return osg::Matrixd::translate(kNaN, 0, 0); }, [](const osg::Matrixd&) {});
    dragger->setReceiver(broken.get());
    harness.release(to);
    EXPECT_TRUE(Rk::isFinite(dragger->getMatrix()));
    EXPECT_NEAR((centre() - before).length(), 0.2, 1e-3);
    harness.frame();
    EXPECT_TRUE(harness.press(to)) << "still pickable where the drag left it";
}

TEST(FrameDragger, WithoutReceiverOrPluginADragMovesTheFrameAndSignalsOnly)
{
    ViewerHarness harness(kSceneEye);
    osg::ref_ptr<FrameDragger> detached = new FrameDragger(kNoReceiver, false);
    osg::ref_ptr<FrameDragger> noPlugin =
        new FrameDragger(static_cast<Rk::PluginGUI*>(nullptr), false);
    for (FrameDragger* dragger : {detached.get(), noPlugin.get()}) {
        harness.root()->removeChildren(0, harness.root()->getNumChildren());
        showIn(harness.root(), dragger);
        SignalLog log(dragger);
        const osg::Vec3d arrowX = worldOf(dragger->translateDragger()->xDragger(), osg::Z_AXIS);
        harness.dragFromTo(harness.project(arrowX * 0.7), harness.project(arrowX * 0.9));
        EXPECT_EQ(log.count("clicked"), 2);
        EXPECT_EQ(log.count("done"), 1);
    }
    // Without a receiver nothing is followed; the null plug-in's receiver
    // ignores the writes and reads the identity, which the next frame follows.
    harness.frame();
    EXPECT_TRUE(closeTo(detached->getMatrix().getTrans(), osg::Vec3d(0.2, 0, 0), 1e-3));
    EXPECT_TRUE(noPlugin->getMatrix().isIdentity());
}

TEST_F(FrameDraggerTest, ZeroScaleLeavesNothingToPickAndWritesNothing)
{
    showExtraHandles(true);
    dragger->setScale(0.0);
    for (const osg::Vec2d& at : {onArrow(0, 0.0), onArrow(1, 0.0), onRing(2, 0.0)}) {
        EXPECT_FALSE(harness.press(at));
        harness.drag(at + osg::Vec2d(30, 30));
        harness.release(at + osg::Vec2d(30, 30));
    }
    EXPECT_TRUE(store.writes.empty());
}

namespace {

using Rk::ExtraHandlesDragger;

const double kPixelRowOffset = 1.0 + 1e-6;
// The cull's own eye point is single precision.
const double kFacingTolerance = 1e-6;

/// A frame dragger with every optional handle.
class ExtraHandlesTest : public ::testing::Test, public FrameScene
{
protected:
    ExtraHandlesTest() : FrameScene(kSceneEye, kAllExtraHandles) {}

    void turnViewRing(double toDegrees, int steps)
    {
        const double pixels = viewRingPixels();
        harness.press(aroundCentre(0, pixels));
        for (int step = 1; step <= steps; ++step)
            harness.drag(aroundCentre(toDegrees * step / steps, pixels));
    }
};

} // namespace

TEST_F(ExtraHandlesTest, PlaneHandlesMoveInTheirPlaneKeepingTheGrabbedPointUnderThePointer)
{
    struct Row
    {
        const char* name;
        int normal;
        osg::Vec2d pixels;
    };
    const Row rows[] = {{"YZ", 0, {-30, -40}}, {"ZX", 1, {45, 20}}, {"XY", 2, {35, -25}}};
    SignalLog log(dragger.get());
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        store.pose = osg::Matrixd::translate(0.1, -0.2, 0.05);
        harness.frame();
        store.writes.clear();
        log.names.clear();
        const osg::Vec3d startTrans = centre();
        const osg::Vec3d grabbed = squareCentre(row.normal);
        const osg::Vec2d from = harness.project(grabbed);
        ASSERT_TRUE(harness.press(from));
        EXPECT_EQ(dragger->dragMode(), ExtraHandlesDragger::PLANE_DRAG_MODE);
        EXPECT_EQ(dragger->activeAxis(), row.normal);
        for (int step = 1; step <= 4; ++step) {
            const osg::Vec2d at = from + row.pixels * (step / 4.0);
            harness.drag(at);
            const osg::Vec3d moved = centre() - startTrans;
            EXPECT_NEAR(moved[row.normal], 0.0, 1e-6);
            EXPECT_LT((harness.project(grabbed + moved) - at).length(), 2.0);
            EXPECT_EQ(store.pose.getTrans(), centre());
        }
        EXPECT_GT((centre() - startTrans).length(), 0.05);
        harness.release(from + row.pixels);
        EXPECT_EQ(log.names, (std::vector<std::string>{"clicked", "clicked", "changed", "changed",
                                                       "changed", "changed", "changed", "done"}));
        EXPECT_EQ(store.writes.size(), 5u) << "the third child writes nothing of its own";
    }

    // With a translation step the motion snaps along both axes of the plane.
    const double step = 0.05;
    dragger->setTranslationSnap(step);
    const osg::Vec3d startTrans = centre();
    const osg::Vec2d from = harness.project(squareCentre(Composite3DDragger::Z_AXIS));
    harness.dragFromTo(from, from + osg::Vec2d(60, -45), 1);
    const osg::Vec3d moved = centre() - startTrans;
    EXPECT_GT(moved.length(), step);
    for (int axis : {0, 1})
        EXPECT_NEAR(std::remainder(moved[axis], step), 0.0, 1e-9) << axis;
    EXPECT_NEAR(moved.z(), 0.0, 1e-9);

    // Aligned with a reference frame: the host moves in the plane and keeps
    // its orientation; the dragger is reseated on the frame.
    dragger->setTranslationSnap(0.0);
    store.pose = osg::Matrixd();
    const osg::Quat referenceFrame(osg::PI_2, osg::Z_AXIS);
    dragger->setReferenceFrame(referenceFrame);
    dragger->setIsAlignedWithReferenceFrame(true);
    harness.frame();
    const osg::Vec2d alignedFrom = harness.project(squareCentre(2));
    harness.dragFromTo(alignedFrom, alignedFrom + osg::Vec2d(30, 10), 2);
    EXPECT_NEAR(store.pose.getTrans().z(), 0.0, 1e-6);
    EXPECT_GT(store.pose.getTrans().length(), 0.02);
    EXPECT_TRUE(store.pose.getRotate() == osg::Quat()) << "the host keeps its orientation";
    EXPECT_TRUE(dragger->getMatrix().getRotate() == referenceFrame);
}

TEST_F(ExtraHandlesTest, ScreenHandleKeepsTheCentreUnderThePointerInThePlaneFacingTheCamera)
{
    // Again after a zoom that changes the projection alone.
    for (const double fieldOfView : {30.0, 20.0}) {
        SCOPED_TRACE(fieldOfView);
        harness.viewer().getCamera()->setProjectionMatrixAsPerspective(
            fieldOfView, double(RkTest::ViewerHarness::WIDTH) / RkTest::ViewerHarness::HEIGHT, 0.1,
            1000.0);
        const osg::Vec3d start = centre();
        const osg::Vec3d lineOfSight = towardsEye();
        // Pressed off the exact centre: the centre still comes under the pointer.
        const osg::Vec2d from = harness.project(centre()) + osg::Vec2d(3, -2);
        ASSERT_TRUE(harness.press(from));
        EXPECT_EQ(dragger->dragMode(), ExtraHandlesDragger::SCREEN_DRAG_MODE);
        EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::NO_AXIS);
        for (const osg::Vec2d& to : {osg::Vec2d(420, 250), osg::Vec2d(300, 380)}) {
            harness.drag(to);
            // The harness counts window rows from HEIGHT, the event range from
            // HEIGHT - 1: the pointer lies one pixel below what `project` says.
            EXPECT_LE((harness.project(centre()) - to).length(), kPixelRowOffset);
            EXPECT_NEAR((centre() - start) * lineOfSight, 0.0, 1e-6)
                << "in the plane through the start centre";
            EXPECT_EQ(store.pose.getTrans(), centre());
        }
        harness.release(osg::Vec2d(300, 380));
        EXPECT_TRUE(closeTo(store.pose.getTrans(), centre(), 1e-9));
    }
}

TEST_F(ExtraHandlesTest, ViewRingTurnsAboutTheLineOfSightByTheAngleRoundTheCentre)
{
    struct Row
    {
        const char* name;
        double degrees;
        int steps;
        osg::Vec3d at;
        bool orthographic;
    };
    const osg::Vec3d nearTheMiddle(0.2, 0.1, 0);
    // Far to the right: the eye point lies 20 degrees off the line of sight there.
    const osg::Vec3d farRight(2.24, 1.12, 0);
    const Row rows[] = {{"counter-clockwise", 40, 3, nearTheMiddle, false},
                        {"clockwise", -30, 2, nearTheMiddle, false},
                        {"past half a turn", 270, 9, nearTheMiddle, false},
                        {"orthographic, far off the view's axis", 50, 3, farRight, true}};
    osg::Camera* camera = harness.viewer().getCamera();
    const osg::Matrixd perspective = camera->getProjectionMatrix();
    auto* facing =
        static_cast<Rk::FacingTransform*>(dragger->extraHandles()->viewRing()->getChild(0));
    const auto parentToWorld = [&] {
        osg::NodePath path = facing->getParentalNodePaths()[0];
        path.pop_back();
        return osg::computeLocalToWorld(path);
    };
    // The way the ring faces in world axes, as the last cull or pick turned it.
    const auto faces = [&](const osg::Matrixd& toWorld) {
        osg::Vec3d normal =
            osg::Matrixd::transform3x3(facing->facing() * osg::Vec3d(osg::Z_AXIS), toWorld);
        normal.normalize();
        return normal;
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.orthographic)
            camera->setProjectionMatrixAsOrtho(-4, 4, -3, 3, -100, 100);
        store.pose = osg::Matrixd::translate(row.at);
        harness.frame();
        const osg::Vec3d axis = towardsEye();
        // Drawn facing the viewer: this view's cull turns the ring so, and so
        // does the press's pick.
        const osg::Matrixd toWorld = parentToWorld();
        osg::ref_ptr<osgUtil::CullVisitor> cull = new osgUtil::CullVisitor;
        cull->pushViewport(camera->getViewport());
        cull->pushProjectionMatrix(new osg::RefMatrix(camera->getProjectionMatrix()));
        cull->pushModelViewMatrix(new osg::RefMatrix(toWorld * camera->getViewMatrix()),
                                  osg::Transform::ABSOLUTE_RF);
        osg::Matrix unused;
        facing->computeLocalToWorldMatrix(unused, cull.get());
        EXPECT_TRUE(closeTo(faces(toWorld), axis, kFacingTolerance)) << "drawn";
        facing->computeLocalToWorldMatrix(unused, nullptr);
        harness.press(aroundCentre(0, viewRingPixels()));
        EXPECT_TRUE(closeTo(faces(toWorld), axis, kFacingTolerance)) << "picked";
        harness.release(aroundCentre(0, viewRingPixels()));
        turnViewRing(row.degrees, row.steps);
        EXPECT_EQ(dragger->dragMode(), ExtraHandlesDragger::VIEW_RING_DRAG_MODE);
        EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::NO_AXIS);
        harness.release(aroundCentre(row.degrees, viewRingPixels()));
        const osg::Quat expected(osg::DegreesToRadians(row.degrees), axis);
        EXPECT_TRUE(sameRotation(store.pose.getRotate(), expected, kAngleTolerance / 2));
        EXPECT_TRUE(closeTo(store.pose.getTrans(), row.at, 1e-6));
        camera->setProjectionMatrix(perspective);
    }
}

TEST_F(ExtraHandlesTest, DeferredDragsReportDistanceOrAngleAndWriteOnlyAtRelease)
{
    dragger->setValueOnRelease(true);
    SignalLog log(dragger.get());
    const osg::Vec2d from = harness.project(squareCentre(2));
    harness.dragFromTo(from, from + osg::Vec2d(40, 0), 2);
    ASSERT_EQ(log.values.size(), 2u);
    EXPECT_NEAR(log.values[1], store.pose.getTrans().length(), 1e-9) << "plane: distance";
    EXPECT_EQ(store.writes.size(), 1u);
    EXPECT_EQ(log.count("changed"), 1);

    log.values.clear();
    const osg::Vec3d start = centre();
    harness.dragFromTo(harness.project(start), harness.project(start) + osg::Vec2d(0, 30), 2);
    ASSERT_EQ(log.values.size(), 2u);
    EXPECT_NEAR(log.values[1], (centre() - start).length(), 1e-9) << "screen: distance";
    EXPECT_EQ(store.writes.size(), 2u);

    log.values.clear();
    turnViewRing(-50, 2);
    ASSERT_EQ(log.values.size(), 2u);
    EXPECT_NEAR(log.values[1], osg::DegreesToRadians(-50.0), kAngleTolerance) << "ring: angle";
    EXPECT_EQ(store.writes.size(), 2u);
    harness.release(aroundCentre(-50, viewRingPixels()));
    EXPECT_EQ(store.writes.size(), 3u);
    EXPECT_EQ(log.names.back(), "done");
}

TEST_F(ExtraHandlesTest, BadViewsOfAPlaneLeaveAFinitePoseInThePlane)
{
    struct Row
    {
        const char* name;
        osg::Vec3d eye, lookingAt;
        osg::Vec2d dragBy;
        bool planeTaken, moves;
    };
    const Row rows[] = {
        {"XY plane edge-on", {0, -5, 0}, {}, {0, -100}, false, false},
        {"ray parallel to the XY plane", {0.5, -5, 3}, {}, {0, -2500}, true, false},
        {"camera inside the gizmo", {0.25, 0.1, 0.3}, {0.3, 0.3, 0}, {120, 60}, true, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        store.pose = osg::Matrixd();
        harness.frame();
        harness.lookAt(row.eye, row.lookingAt, osg::Z_AXIS);
        const osg::Vec2d from = harness.project(squareCentre(2));
        harness.press(from);
        EXPECT_EQ(dragger->dragMode() == ExtraHandlesDragger::PLANE_DRAG_MODE, row.planeTaken);
        harness.drag(from + row.dragBy);
        harness.release(from + row.dragBy);
        EXPECT_TRUE(Rk::isFinite(dragger->getMatrix()));
        if (row.planeTaken) {
            EXPECT_NEAR(store.pose.getTrans().z(), 0.0, 1e-9);
            EXPECT_EQ(store.pose.getTrans().length() > 0.01, row.moves);
        }
    }
}
