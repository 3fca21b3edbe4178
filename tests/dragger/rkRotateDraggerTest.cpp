#include "rkRotateDragger.h"
#include "rkFinite.h"
#include "rkGizmoTestHelpers.h"

#include <gtest/gtest.h>
#include <osg/AutoTransform>
#include <osgManipulator/AntiSquish>

using Rk::Composite3DDragger;
using Rk::RotateDragger;
using namespace RkTest;

namespace {

// A pick tube of a few pixels, so that a press at a ring point of a small
// ring surely finds it; the turn is the matter here.
const float kThickPickTube = 0.04f;

/// A rotate dragger on its own, at `scale`, its rings kept at a constant
/// size on screen or not, seen from `distance` away.
struct RingScene
{
    RingScene(ViewerHarness& harness, double scale, bool autoScaled, double distance,
              float pickTube = kThickPickTube)
        : harness(harness), dragger(new RotateDragger(store.makeReceiver(), autoScaled))
    {
        dragger->setGeometryProperties(pickTube, kRingRadius);
        dragger->setupDefaultGeometry();
        dragger->setScale(scale);
        dragger->showDraggers(true);
        if (autoScaled) {
            // What the cull would make of the chain: a ring radius of 25
            // pixels at the dragger's distance (30 degree field of view).
            const double pixelSize =
                2.0 * distance * std::tan(osg::DegreesToRadians(15.0)) / ViewerHarness::HEIGHT;
            auto* antiSquish = static_cast<osg::Group*>(dragger->getChild(0));
            static_cast<osg::AutoTransform*>(antiSquish->getChild(0))->setScale(pixelSize / scale);
        }
        harness.root()->addChild(dragger.get());
    }
    ~RingScene() { harness.root()->removeChild(dragger.get()); }

    /// The ring of `axis` turned to `localDegrees` about its own axis, in world.
    osg::Vec3d ringPoint(int axis, double localDegrees) const
    {
        return worldOf(dragger->getDragger(axis), RkTest::ringPoint(localDegrees));
    }
    /// The direction `inRing`, given in the frame of the ring of `axis`, in world.
    osg::Vec3d worldDirection(int axis, const osg::Vec3d& inRing) const
    {
        osg::Vec3d direction = osg::Matrixd::transform3x3(
            inRing,
            osg::computeLocalToWorld(dragger->getDragger(axis)->getParentalNodePaths().front()));
        direction.normalize();
        return direction;
    }
    /// Looks at the dragger from `elevationDegrees` above the plane of the
    /// ring of `axis`, from `azimuthDegrees` round its axis.
    void lookAtRing(int axis, double elevationDegrees, double azimuthDegrees, double distance)
    {
        const double elevation = osg::DegreesToRadians(elevationDegrees);
        const double azimuth = osg::DegreesToRadians(azimuthDegrees);
        const osg::Vec3d eyeInRing(std::cos(elevation) * std::cos(azimuth),
                                   std::cos(elevation) * std::sin(azimuth), std::sin(elevation));
        const osg::Vec3d up = std::abs(eyeInRing.z()) > 0.99 ? osg::Y_AXIS : osg::Z_AXIS;
        harness.lookAt(worldDirection(axis, eyeInRing) * distance, osg::Vec3d(),
                       worldDirection(axis, up));
    }
    /// Traces the ring's image from `from` to `to` degrees in `events` drag
    /// events, without releasing, and keeps the command value after each.
    std::vector<double> trace(int axis, double from, double to, int events)
    {
        std::vector<double> turns;
        turnAlong(
            harness, [&](double degrees) { return harness.project(ringPoint(axis, degrees)); },
            from, to, false, events, [&] { turns.push_back(dragger->commandValue()); });
        return turns;
    }

    ViewerHarness& harness;
    PoseStore store;
    osg::ref_ptr<RotateDragger> dragger;
};

const double kViewDistance = 5.0;
const double kMostPerSlowEvent = 3.0;

} // namespace

/// Angle in radians by which `matrix` turns about `axis`, signed.
double turnAbout(const osg::Matrixd& matrix, const osg::Vec3d& axis)
{
    double angle = 0.0;
    osg::Vec3d turnAxis;
    matrix.getRotate().getRotate(angle, turnAxis);
    return turnAxis * axis > 0 ? angle : -angle;
}

const double kThirtyDegrees = osg::DegreesToRadians(30.0);
// The pointer lands on whole window points a little off the ring's plane.
const double kAngleTolerance = 0.01;

TEST(RotateDragger, DefaultGeometrySharesOneTorusGeodeAmongTheColouredRingsOfTheSizesGiven)
{
    osg::ref_ptr<RotateDragger> dragger = new RotateDragger(nullptr, false);
    dragger->setupDefaultGeometry();
    for (int axis = 0; axis < 3; ++axis) {
        const osgManipulator::Dragger* handle = dragger->getDragger(axis);
        ASSERT_EQ(handle->getNumChildren(), 1u);
        EXPECT_EQ(handle->getChild(0), dragger->xDragger()->getChild(0));
        EXPECT_TRUE(closeTo(osg::Z_AXIS * handle->getMatrix(), kAxes[axis], 1e-12));
        EXPECT_EQ(shownColour(handle), kAxisColours[axis]);
    }

    // Geometry properties take the tube radius first.
    dragger = new RotateDragger(nullptr, false);
    dragger->setGeometryProperties(0.02f, 0.8f);
    dragger->setupDefaultGeometry();
    const osg::Geode* geode = dragger->zDragger()->getChild(0)->asGeode();
    EXPECT_NEAR(firstVertex(geode->getDrawable(0)).x(), 0.82f, 1e-6f) << "pick torus";
    EXPECT_NEAR(firstVertex(geode->getDrawable(1)).x(), 0.8f, 1e-6f) << "ring";

    // Screen-sized rings hang below an anti-squish, an auto-transform and a scale of 50.
    dragger = new RotateDragger(nullptr, true);
    dragger->setupDefaultGeometry();
    auto* antiSquish = dynamic_cast<osgManipulator::AntiSquish*>(dragger->getChild(0));
    ASSERT_NE(antiSquish, nullptr);
    auto* autoTransform = dynamic_cast<osg::AutoTransform*>(antiSquish->getChild(0));
    ASSERT_NE(autoTransform, nullptr);
    EXPECT_TRUE(autoTransform->getAutoScaleToScreen());
    auto* scale50 = dynamic_cast<osg::MatrixTransform*>(autoTransform->getChild(0));
    ASSERT_NE(scale50, nullptr);
    EXPECT_EQ(scale50->getMatrix(), osg::Matrixd::scale(50, 50, 50));
    EXPECT_EQ(scale50->getNumChildren(), 3u);
    EXPECT_EQ(scale50->getChild(0), dragger->getDragger(0));
}

// Each press measures from the pose at that press, starting from zero. (The
// turn of each ring and its write at the release: RingTurn, below.)
TEST(RotateDragger, EachPressTurnsOnFromThePoseAtThatPress)
{
    ViewerHarness harness;
    RingScene scene(harness, 1.0, false, kViewDistance);
    scene.lookAtRing(2, 80.0, -45.0, kViewDistance);
    const auto release = [&](double degrees) {
        harness.release(harness.project(scene.ringPoint(2, degrees)));
    };
    scene.trace(2, 40, 70, 3);
    release(70);
    const osg::Quat afterFirst = scene.dragger->getMatrix().getRotate();
    scene.trace(2, 45, 65, 3);
    EXPECT_TRUE(scene.dragger->startRotation() == afterFirst);
    EXPECT_NEAR(scene.dragger->commandValue(), osg::DegreesToRadians(20.0), kAngleTolerance);
    release(45);
    harness.press(harness.project(scene.ringPoint(2, 45)));
    EXPECT_EQ(scene.dragger->commandValue(), 0.0) << "a new press starts from zero";
    release(45);
    EXPECT_NEAR(turnAbout(scene.store.pose, osg::Z_AXIS), osg::DegreesToRadians(50.0),
                2 * kAngleTolerance);
}

TEST(CommandAngle, IsSignedByTheAxisInTheFrameAtThePress)
{
    const osg::Quat turnedAboutZ(kThirtyDegrees, osg::Z_AXIS);
    EXPECT_NEAR(Rk::commandAngle(osg::Quat(), turnedAboutZ, Composite3DDragger::Z_AXIS),
                kThirtyDegrees, 1e-9);
    EXPECT_NEAR(Rk::commandAngle(osg::Quat(), turnedAboutZ.inverse(), Composite3DDragger::Z_AXIS),
                -kThirtyDegrees, 1e-9);
    EXPECT_EQ(Rk::commandAngle(osg::Quat(), turnedAboutZ, Composite3DDragger::NO_AXIS), 0.0);
    EXPECT_EQ(Rk::commandAngle(osg::Quat(), osg::Quat(), Composite3DDragger::X_AXIS), 0.0);

    // Start turned 90 degrees about X: the start frame's Z is world -Y. A
    // further turn about that Z (applied in the start frame) counts positive.
    const osg::Quat start(osg::PI_2, osg::X_AXIS);
    const osg::Quat now = osg::Quat(kThirtyDegrees, osg::Z_AXIS) * start;
    EXPECT_NEAR(Rk::commandAngle(start, now, Composite3DDragger::Z_AXIS), kThirtyDegrees, 1e-6);
}

TEST(RingTurn, TracingThirtyDegreesOfTheImageTurnsThirtyDegreesAtAnyViewSpacingAndSize)
{
    struct Size
    {
        const char* name;
        double scale;
        bool autoScaled;
    };
    const Size sizes[] = {{"scale 1", 1.0, false},
                          {"scale 0.3", 0.3, false},
                          {"kept on screen, scale 0.3", 0.3, true}};
    const double elevations[] = {5.0, 10.0, 33.0, 60.0, 90.0};
    const int eventCounts[] = {1, 6, 30};
    const double azimuth = -45.0;
    ViewerHarness harness;
    for (const Size& size : sizes) {
        for (int axis = 0; axis < 3; ++axis) {
            for (double elevation : elevations) {
                for (int events : eventCounts) {
                    SCOPED_TRACE(testing::Message()
                                 << size.name << ", axis " << axis << ", " << elevation
                                 << " degrees above, " << events << " events");
                    RingScene scene(harness, size.scale, size.autoScaled, kViewDistance);
                    scene.lookAtRing(axis, elevation, azimuth, kViewDistance);
                    // The near half of the ring, where no other ring crosses it.
                    const std::vector<double> turns =
                        scene.trace(axis, azimuth - 15.0, azimuth + 15.0, events);
                    const RotateDragger& dragger = *scene.dragger;
                    EXPECT_EQ(dragger.activeAxis(), axis);
                    EXPECT_EQ(dragger.dragMode(), RotateDragger::ROTATION_DRAG_MODE);
                    EXPECT_NEAR(osg::RadiansToDegrees(turns.back()), 30.0, 1.0);
                    EXPECT_NEAR(turnAbout(dragger.getMatrix(), kAxes[axis]), turns.back(), 1e-9);
                    // A slow drag (one degree of the ring per event) never jumps.
                    double before = 0.0;
                    for (size_t i = 0; events == 30 && i < turns.size(); ++i) {
                        EXPECT_LE(std::abs(osg::RadiansToDegrees(turns[i] - before)),
                                  kMostPerSlowEvent);
                        before = turns[i];
                    }
                    // Written once, at the release: turned about the ring's axis only.
                    EXPECT_TRUE(scene.store.writes.empty());
                    harness.release(harness.project(scene.ringPoint(axis, azimuth + 15.0)));
                    ASSERT_EQ(scene.store.writes.size(), 1u);
                    const osg::Matrixd& pose = scene.store.pose;
                    EXPECT_NEAR(turnAbout(pose, kAxes[axis]), dragger.commandValue(), 1e-6);
                    EXPECT_TRUE(
                        closeTo(osg::Matrixd::transform3x3(kAxes[axis], pose), kAxes[axis], 1e-6));
                    EXPECT_EQ(dragger.activeAxis(), axis);
                }
            }
        }
    }
}

TEST(RingTurn, BadInputNeverGivesANonFinitePoseNorAJumpBeyondTheTracedAngle)
{
    const osg::Vec2d nowhere(kNaN, kInfinity);
    struct Case
    {
        const char* name;
        double scale, elevation;
        float pickTube;
        /// The window points of the press and the drags.
        std::function<std::vector<osg::Vec2d>(RingScene&)> path;
        double finalDegrees, finalTolerance, mostPerEvent;
    };
    // `points` and then the ring's points from `from` to `to` degrees in `events` steps.
    auto arc = [](RingScene& scene, double from, double to, int events,
                  std::vector<osg::Vec2d> points = {}) {
        for (int i = 0; i <= events; ++i)
            points.push_back(
                scene.harness.project(scene.ringPoint(2, from + (to - from) * i / events)));
        return points;
    };
    const Case cases[] = {
        {"press at the centre of a face-on ring, then round it", 1.0, 90.0, 0.6f,
         [&](RingScene& scene) {
             // Only the Z ring's torus, thick enough to cover its centre.
             scene.dragger->xDragger()->setNodeMask(0);
             scene.dragger->yDragger()->setNodeMask(0);
             return arc(scene, 0.0, 30.0, 6, {scene.harness.project(osg::Vec3d())});
         },
         30.0, 1.0, 6.0},
        {"pointer straight through the centre", 1.0, 90.0, kThickPickTube,
         [&](RingScene& scene) {
             std::vector<osg::Vec2d> points;
             const osg::Vec2d from = scene.harness.project(scene.ringPoint(2, -45.0));
             const osg::Vec2d to = scene.harness.project(scene.ringPoint(2, 135.0));
             for (int i = 0; i <= 9; ++i)
                 points.push_back(from + (to - from) * (i / 9.0));
             return points;
         },
         180.0, 1.0, 181.0},
        {"ring exactly edge-on", 1.0, 0.0, kThickPickTube,
         [&](RingScene& scene) { return arc(scene, -60.0, -30.0, 6); }, 30.0, 3.0, 10.0},
        {"camera inside the ring", 20.0, 30.0, kThickPickTube,
         [&](RingScene& scene) {
             osg::Vec3d eye, centre, up;
             scene.harness.viewer().getCamera()->getViewMatrixAsLookAt(eye, centre, up);
             scene.harness.lookAt(eye, scene.ringPoint(2, 135.0), osg::Z_AXIS);
             return arc(scene, 120.0, 150.0, 6);
         },
         30.0, 1.0, 10.0},
        {"non-finite pointer positions", 1.0, 33.0, kThickPickTube,
         [&](RingScene& scene) {
             std::vector<osg::Vec2d> points = arc(scene, -60.0, -45.0, 3);
             points.insert(points.end(), {nowhere, nowhere});
             return arc(scene, -45.0, -30.0, 3, points);
         },
         30.0, 1.0, 10.0},
    };
    ViewerHarness harness;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        RingScene scene(harness, row.scale, false, kViewDistance, row.pickTube);
        scene.lookAtRing(2, row.elevation, -45.0, kViewDistance);
        const std::vector<osg::Vec2d> points = row.path(scene);
        EXPECT_TRUE(harness.press(points.front()));
        double before = 0.0;
        for (size_t i = 1; i < points.size(); ++i) {
            harness.drag(points[i]);
            const double turn = osg::RadiansToDegrees(scene.dragger->commandValue());
            ASSERT_TRUE(Rk::isFinite(scene.dragger->getMatrix())) << "event " << i;
            EXPECT_LE(std::abs(turn - before), row.mostPerEvent) << "event " << i;
            before = turn;
        }
        EXPECT_NEAR(std::abs(before), row.finalDegrees, row.finalTolerance);
        harness.release(points.back());
    }
}
