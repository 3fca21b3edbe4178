// Snapping, precise motion and cancelling, driven through a frame dragger in
// a real viewer.
#include "rkGizmoTestHelpers.h"
#include "rkThreeAxisDragger.h"

#include <gtest/gtest.h>

using Rk::Composite3DDragger;
using namespace RkTest;
using Event = osgGA::GUIEventAdapter;

namespace {

const double kDistanceTolerance = 1e-6;
const double kPointerTolerance = 2e-3;
const osg::Vec2d kOutsideTheWindow(-500.0, -400.0);

class DragRefinementTest : public ::testing::Test, public FrameScene
{
protected:
    /// Presses or lets go of a modifier key the way a window system reports it.
    void modifier(int key, int heldMask, bool down)
    {
        harness.holdModifiers(heldMask);
        down ? harness.keyDown(key) : harness.keyUp(key);
    }
};

TEST_F(DragRefinementTest, MotionSinceThePressSnapsToTheStep)
{
    struct Case
    {
        const char* name;
        double translationStep, rotationStep;
        double badStep; // given after the good ones: must be ignored
        int heldAtPress;
        bool ring, deferred;
        double to; // arrow distance or ring degrees from the press
        double expected;
    };
    const auto degrees = [](double value) { return osg::DegreesToRadians(value); };
    const Case cases[] = {
        {"0.37 with a 0.1 step lands on 0.4", 0.1, 0, -1, 0, false, false, 0.37, 0.4},
        {"deferred: the command value is snapped", 0.1, 0, kNaN, 0, false, true, 0.37, 0.4},
        {"a step larger than the drag keeps the press pose", 0.5, 0, kInfinity, 0, false, false,
         0.2, 0.0},
        {"Ctrl held before the press: no snapping", 0.1, 0, -kInfinity, Event::MODKEY_LEFT_CTRL,
         false, false, 0.37, 0.37},
        {"defaults: Ctrl and Shift change nothing", 0, 0, -0.1,
         Event::MODKEY_CTRL | Event::MODKEY_SHIFT, false, false, 0.37, 0.37},
        {"37 degrees with a 15 degree step lands on 30", 0, degrees(15), kNaN, 0, true, false, 37,
         degrees(30)},
        {"backwards, deferred: -37 lands on -30", 0, degrees(15), -1, 0, true, true, -37,
         degrees(-30)},
        {"a rotation step leaves arrows alone", 0, degrees(15), -1, 0, false, false, 0.37, 0.37},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        rebuild();
        dragger->setTranslationSnap(row.translationStep);
        dragger->setRotationSnap(row.rotationStep);
        dragger->setTranslationSnap(row.badStep);
        dragger->setRotationSnap(row.badStep);
        EXPECT_EQ(dragger->translationSnap(), row.translationStep);
        EXPECT_EQ(dragger->rotationSnap(), row.rotationStep);
        dragger->setValueOnRelease(row.deferred);
        harness.holdModifiers(row.heldAtPress);
        SignalLog log(dragger.get());

        if (row.ring) {
            lookDownZ();
            turnZRing(40, 40 + row.to);
        } else {
            harness.dragFromTo(onArrow(0, 0.7), onArrow(0, 0.7 + row.to));
        }
        auto moved = [&](const osg::Matrixd& pose) {
            // Signed about Z, or along X.
            return row.ring
                       ? Rk::commandAngle(osg::Quat(), pose.getRotate(), Composite3DDragger::Z_AXIS)
                       : pose.getTrans().x();
        };
        const double step = row.ring ? row.rotationStep : row.translationStep;
        if (row.expected == row.to) {
            EXPECT_NEAR(moved(store.pose), row.expected, row.ring ? 0.01 : kPointerTolerance);
        } else {
            EXPECT_NEAR(moved(store.pose), row.expected, kDistanceTolerance);
            for (const osg::Matrixd& write : store.writes)
                EXPECT_NEAR(std::remainder(moved(write), step), 0.0, kDistanceTolerance)
                    << "every write shows a snapped value";
        }
        if (row.deferred) {
            ASSERT_FALSE(log.values.empty());
            EXPECT_NEAR(log.values.back(), row.expected, kDistanceTolerance);
        }
        harness.holdModifiers(0);
    }
}

TEST_F(DragRefinementTest, CtrlSuspendsSnappingAtOnceAndReleasingItSnapsAgain)
{
    dragger->setTranslationSnap(0.1);
    const osg::Vec2d from = onArrow(0, 0.7);
    const osg::Vec2d to = onArrow(0, 1.07);
    harness.press(from);
    harness.drag(to);
    EXPECT_NEAR(store.pose.getTrans().x(), 0.4, kDistanceTolerance);

    modifier(Event::KEY_Control_L, Event::MODKEY_LEFT_CTRL, true);
    EXPECT_NEAR(store.pose.getTrans().x(), 0.37, kPointerTolerance) << "no pointer motion needed";
    EXPECT_EQ(store.pose, dragger->getMatrix());
    modifier(Event::KEY_Control_L, 0, false);
    EXPECT_NEAR(store.pose.getTrans().x(), 0.4, kDistanceTolerance);
    harness.release(to);
    EXPECT_NEAR(store.pose.getTrans().x(), 0.4, kDistanceTolerance);
}

TEST_F(DragRefinementTest, ShiftInMidDragReAnchorsSoThePoseNeverJumps)
{
    dragger->setPrecisionFactor(0.1);
    for (const double bad : {0.0, -0.1, kNaN, kInfinity, 1000.0})
        dragger->setPrecisionFactor(bad);
    EXPECT_EQ(dragger->precisionFactor(), 0.1);
    // Seen side on, the X arrow's distance is linear in window pixels.
    harness.lookAt(osg::Vec3d(0, -5, 0), osg::Vec3d(), osg::Z_AXIS);
    const osg::Vec2d from = onArrow(0, 0.7);
    const osg::Vec2d middle = onArrow(0, 0.9);
    const osg::Vec2d far = onArrow(0, 1.9);
    const osg::Vec2d farther = onArrow(0, 2.4);
    harness.press(from);
    harness.drag(middle);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), 0.2, kPointerTolerance);

    modifier(Event::KEY_Shift_L, Event::MODKEY_LEFT_SHIFT, true);
    harness.drag(middle);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), 0.2, kPointerTolerance) << "no jump";
    harness.drag(far);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), 0.3, kPointerTolerance) << "a tenth";
    const double precise = dragger->getMatrix().getTrans().x();

    modifier(Event::KEY_Shift_L, 0, false);
    harness.drag(far);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), precise, kDistanceTolerance) << "no jump";
    harness.drag(farther);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), precise + 0.5, kPointerTolerance)
        << "full motion again";
    harness.release(farther);
}

TEST_F(DragRefinementTest, CancelPutsThePressPoseBackAndEndsTheDrag)
{
    struct Case
    {
        const char* name;
        bool deferred, byKey;
        int activationKey;
    };
    const Case cases[] = {
        {"Esc in a live drag", false, true, 0},
        {"Esc in a deferred drag writes nothing", true, true, 0},
        {"the slot in a live drag", false, false, 0},
        {"a cancel key that is also the activation key", false, true, Event::KEY_Escape},
    };
    const osg::Matrixd pressPose = osg::Matrixd::translate(0.1, 0.2, 0.0);
    // The viewer would quit on Escape and then see no further event.
    harness.viewer().setKeyEventSetsDone(0);
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        store.pose = pressPose;
        store.writes.clear();
        harness.frame();
        dragger->setCancelKey(Event::KEY_Escape);
        dragger->setActivationKeyEvent(row.activationKey);
        dragger->setValueOnRelease(row.deferred);
        SignalLog log(dragger.get());

        EXPECT_FALSE(harness.keyDown(Event::KEY_Escape)) << "outside a drag: nothing";
        harness.keyUp(Event::KEY_Escape);
        EXPECT_TRUE(log.names.empty());
        if (row.activationKey)
            harness.keyDown(row.activationKey);
        harness.press(onArrow(0, 0.7));
        harness.drag(onArrow(0, 0.9));
        const size_t writesBefore = store.writes.size();
        if (row.byKey)
            EXPECT_TRUE(harness.keyDown(Event::KEY_Escape));
        else
            dragger->cancelDrag();

        EXPECT_EQ(dragger->getMatrix(), pressPose);
        EXPECT_EQ(store.pose, pressPose);
        EXPECT_EQ(store.writes.size(), row.deferred ? 0u : writesBefore + 1);
        EXPECT_EQ(dragger->commandValue(), 0.0);
        const size_t tail = log.names.size();
        ASSERT_GE(tail, 3u);
        EXPECT_EQ(std::vector<std::string>(log.names.end() - 3, log.names.end()),
                  (std::vector<std::string>{"changed", "done", "cancelled"}));
        EXPECT_EQ(shownColour(dragger->translateDragger()->xDragger()), kRed);

        // A second cancel, another button's click (as a host's cancelling
        // right-click leaves it), the rest of the drag and a release outside
        // the window: nothing.
        dragger->cancelDrag();
        harness.keyDown(Event::KEY_Escape);
        EXPECT_TRUE(harness.release(onArrow(0, 1.1), Event::RIGHT_MOUSE_BUTTON));
        EXPECT_TRUE(harness.drag(onArrow(0, 1.2))) << "taken, so no camera turns with it";
        EXPECT_TRUE(harness.release(kOutsideTheWindow));
        EXPECT_FALSE(harness.drag(onArrow(0, 1.2))) << "until the release";
        EXPECT_EQ(log.names.size(), tail);
        EXPECT_EQ(dragger->getMatrix(), pressPose);

        // The next press takes the handle pressed, not the cancelled one.
        harness.press(onArrow(1, 0.7));
        EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::Y_AXIS);
        harness.release(onArrow(1, 0.7));
        if (row.activationKey)
            harness.keyUp(row.activationKey);
    }
}

} // namespace
