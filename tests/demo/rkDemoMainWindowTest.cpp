#include "rkDemoMainWindow.h"
#include "rkDraggerDlg.h"
#include "rkExtraHandlesDragger.h"
#include "rkFrameDragger.h"
#include "rkImageDragger.h"
#include "rkJogPanel.h"
#include "rkJogPanelLayout.h"
#include "rkOsgViewWidget.h"

#include <QAction>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QImage>
#include <QProcess>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

// Enough repaints for the viewer to take queued events and follow the host.
const int kSettleMs = 150;
// Longest wait for the viewer to take a pointer move (slow builds included).
const int kHoverWaitMs = 5000;
const double kGrabAlongArrow = 0.7; // of the arrow's length, on its shaft
const double kArrowLength = 0.3;    // shaft length 1 at the default scale 0.3
const double kDragDistance = 0.15;  // metres along X
const int kJogHoldMs = 400;
const double kMinimumJogSteps = 3.0;
const int kPlusZButton = 4;

bool haveDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") &&
           qEnvironmentVariable("QT_QPA_PLATFORM") == "xcb";
}

// The real main window on the X server, shown and drawn, driven with QTest.
class DemoMainWindow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!haveDisplay())
            GTEST_SKIP() << "needs an X display and the xcb platform";
        window = std::make_unique<RkDemoMainWindow>(RKDEMO_JOG_PANEL_IMAGE);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        QTest::qWait(kSettleMs);
    }

    QPoint onScreen(const osg::Vec3d& world) const { return onScreen(window->view(), world); }
    static QPoint onScreen(const RkOsgViewWidget* view, const osg::Vec3d& world)
    {
        return view->project(world).toPoint();
    }
    osg::Vec3d hostPosition() { return window->plugin().endEffectorPose().getTrans(); }
    QDoubleSpinBox* box(const char* name) const
    {
        return window->dialog()->findChild<QDoubleSpinBox*>(name);
    }

    std::unique_ptr<RkDemoMainWindow> window;
};

TEST_F(DemoMainWindow, DraggingTheXArrowInEitherViewMovesTheEndEffectorAndTheDialogShowsIt)
{
    for (RkOsgViewWidget* view : {window->view(), window->topView()}) {
        SCOPED_TRACE(view->objectName().toStdString());
        const osg::Vec3d start = hostPosition();
        const osg::Vec3d grab = start + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0);
        QTest::mouseMove(view, onScreen(view, grab));
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                return window->frameDragger()->hoveredHandle() ==
                       window->frameDragger()->translateDragger()->xDragger();
            },
            kHoverWaitMs));
        // The README's picture: the highlighted arrow, the extra handles, both views.
        const QString picture = qEnvironmentVariable("RKDRAGGER_DEMO_PICTURE");
        if (view == window->view() && !picture.isEmpty())
            EXPECT_TRUE(window->grab().save(picture, "PNG"));
        QTest::mousePress(view, Qt::LeftButton, {}, onScreen(view, grab));
        QTest::qWait(kSettleMs);
        for (int step = 1; step <= 4; ++step) {
            const osg::Vec3d at = grab + osg::Vec3d(kDragDistance * step / 4.0, 0, 0);
            QTest::mouseMove(view, onScreen(view, at));
            QTest::qWait(30);
        }
        const osg::Vec3d end = grab + osg::Vec3d(kDragDistance, 0, 0);
        QTest::mouseRelease(view, Qt::LeftButton, {}, onScreen(view, end));
        QTest::qWait(kSettleMs);

        const osg::Vec3d moved = hostPosition() - start;
        EXPECT_NEAR(moved.x(), kDragDistance, 0.05 * kDragDistance);
        EXPECT_NEAR(moved.y(), 0.0, 1e-9);
        EXPECT_NEAR(moved.z(), 0.0, 1e-9);
        EXPECT_NEAR(box("spinBoxX")->value(), hostPosition().x(), 0.0005);
    }
}

TEST_F(DemoMainWindow, SnapMovesInTenMillimetreStepsAndEscOrARightClickCancelsTheDrag)
{
    auto* snap = window->findChild<QAction*>("snapAction");
    ASSERT_NE(snap, nullptr);
    snap->trigger();
    RkOsgViewWidget* view = window->view();
    auto dragAlongX = [&](const osg::Vec3d& grab, double distance) {
        QTest::mousePress(view, Qt::LeftButton, {}, onScreen(grab));
        QTest::qWait(kSettleMs);
        for (int step = 1; step <= 4; ++step) {
            QTest::mouseMove(view, onScreen(grab + osg::Vec3d(distance * step / 4.0, 0, 0)));
            QTest::qWait(30);
        }
        QTest::qWait(kSettleMs);
    };

    const osg::Vec3d start = hostPosition();
    const osg::Vec3d grab = start + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0);
    dragAlongX(grab, 0.037);
    EXPECT_EQ(window->statusBar()->currentMessage(), QString("X +40.0 mm"));
    QTest::mouseRelease(view, Qt::LeftButton, {}, onScreen(grab + osg::Vec3d(0.037, 0, 0)));
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x() - start.x(), 0.04, 1e-5);

    const osg::Vec3d snapped = hostPosition();
    dragAlongX(snapped + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0), 0.05);
    EXPECT_GT(hostPosition().x(), snapped.x() + 0.04);
    QTest::keyClick(view, Qt::Key_Escape);
    QTest::qWait(kSettleMs);
    EXPECT_TRUE(window->isVisible()) << "Escape cancels, it does not quit";
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6);
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(-50, -50));
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6);
    EXPECT_NEAR(box("spinBoxX")->value(), snapped.x(), 0.0005);

    dragAlongX(snapped + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0), 0.05);
    QTest::mousePress(view, Qt::RightButton, {}, QPoint(10, 10));
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6) << "a right-click cancels too";
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(10, 10));
}

TEST_F(DemoMainWindow, DraggingARingTurnsTheEndEffector)
{
    // The Z ring's window points round the tool, taken before the press (the
    // ring turns with the pose), through the ring's real scaling chain: with
    // the top view hidden, that chain holds the main view's scale.
    window->topView()->hide();
    osgManipulator::Dragger* ring = window->frameDragger()->rotateDragger()->zDragger();
    osg::Matrixd ringToWorld;
    const double radius = RkDemoMainWindow::GIZMO_RING_RADIUS * window->devicePixelRatioF();
    const auto onRing = [&](double degrees) {
        const double radians = osg::DegreesToRadians(degrees);
        return onScreen(osg::Vec3d(radius * std::cos(radians), radius * std::sin(radians), 0) *
                        ringToWorld);
    };
    const osg::Quat start = window->plugin().endEffectorPose().getRotate();
    const osg::Vec3d startPosition = hostPosition();
    RkOsgViewWidget* view = window->view();
    // Taken again until the main view has drawn since the top view went.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            ringToWorld = osg::computeLocalToWorld(ring->getParentalNodePaths()[0]);
            QTest::mouseMove(view, onRing(200));
            QTest::qWait(30);
            return window->frameDragger()->hoveredHandle() == ring;
        },
        kHoverWaitMs));
    QTest::mousePress(view, Qt::LeftButton, {}, onRing(200));
    QTest::qWait(kSettleMs);
    for (int degrees = 215; degrees <= 260; degrees += 15) {
        QTest::mouseMove(view, onRing(degrees));
        QTest::qWait(30);
    }
    QTest::mouseRelease(view, Qt::LeftButton, {}, onRing(260));
    QTest::qWait(kSettleMs);

    double turned = 0.0;
    osg::Vec3d axis;
    (start.inverse() * window->plugin().endEffectorPose().getRotate()).getRotate(turned, axis);
    // Seen at a slant, the ring turns less than the pointer travels round it.
    EXPECT_GT(turned, osg::DegreesToRadians(10.0));
    EXPECT_NEAR((hostPosition() - startPosition).length(), 0.0, 1e-6);
}

TEST_F(DemoMainWindow, TypedYSticksInThePlugin)
{
    QDoubleSpinBox* y = box("spinBoxY");
    y->setFocus();
    y->selectAll();
    QTest::keyClicks(y, "0.25");
    QTest::keyClick(y, Qt::Key_Return);
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().y(), 0.25, 1e-6);
    EXPECT_NEAR(window->frameDragger()->getMatrix().getTrans().y(), 0.25, 1e-6);
    EXPECT_NEAR(y->value(), 0.25, 1e-9);
}

TEST_F(DemoMainWindow, HoldingPlusZJogsUpAndTheGizmoAndDialogFollow)
{
    const osg::Vec3d start = hostPosition();
    RkOsgViewWidget* view = window->view();
    const QPoint button = window->jogPanel()->buttonCentre(kPlusZButton, view->height()).toPoint();
    auto stepsTaken = [&] { return (hostPosition().z() - start.z()) / RkJogPanel::STEP; };
    QElapsedTimer held;
    held.start();
    QTest::mousePress(view, Qt::LeftButton, {}, button);
    // Held for at least a few hundred milliseconds, longer on a slow machine.
    QTest::qWait(kJogHoldMs);
    EXPECT_TRUE(QTest::qWaitFor([&] { return stepsTaken() >= kMinimumJogSteps; }, 10000));
    QTest::mouseRelease(view, Qt::LeftButton, {}, button);
    const double heldIntervals = held.elapsed() / double(RkImageDragger::REPEAT_INTERVAL_MS);
    QTest::qWait(kSettleMs);

    // One step per timer repeat at the most, none before the first repeat.
    EXPECT_LE(stepsTaken(), heldIntervals + 1.5);
    EXPECT_NEAR(hostPosition().x(), start.x(), 1e-9);
    EXPECT_NEAR(window->frameDragger()->getMatrix().getTrans().z(), hostPosition().z(), 1e-4);
    EXPECT_NEAR(box("spinBoxZ")->value(), hostPosition().z(), 0.0005);

    // No more steps after the release.
    const double released = hostPosition().z();
    QTest::qWait(kSettleMs);
    EXPECT_EQ(hostPosition().z(), released);
}

TEST_F(DemoMainWindow, HomeBringsPluginGizmoAndDialogBack)
{
    window->plugin().jog(osg::Vec3d(0.1, -0.2, 0.05));
    QTest::qWait(kSettleMs);
    window->homeAction()->trigger();
    QTest::qWait(kSettleMs);
    const osg::Vec3d home = RkDemoPlugin::homePose().getTrans();
    EXPECT_EQ(hostPosition(), home);
    EXPECT_NEAR((window->frameDragger()->getMatrix().getTrans() - home).length(), 0.0, 1e-4);
    EXPECT_NEAR(box("spinBoxX")->value(), home.x(), 0.0005);
    EXPECT_NEAR(box("spinBoxY")->value(), home.y(), 0.0005);
    EXPECT_NEAR(box("spinBoxZ")->value(), home.z(), 0.0005);
}

TEST_F(DemoMainWindow, EditUndoStepsBackThroughDragTypedPoseAndJogAndRedoForward)
{
    QAction* undo = window->findChild<QAction*>("undoAction");
    QAction* redo = window->findChild<QAction*>("redoAction");
    ASSERT_TRUE(undo && redo);
    EXPECT_EQ(undo->shortcut(), QKeySequence(QKeySequence::Undo));
    EXPECT_EQ(redo->shortcut(), QKeySequence(QKeySequence::Redo));
    EXPECT_FALSE(undo->isEnabled());
    RkOsgViewWidget* view = window->view();
    std::vector<osg::Matrixd> poses{window->plugin().endEffectorPose()};

    const osg::Vec3d grab = hostPosition() + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0);
    QTest::mousePress(view, Qt::LeftButton, {}, onScreen(grab));
    QTest::qWait(kSettleMs);
    QTest::mouseMove(view, onScreen(grab + osg::Vec3d(kDragDistance / 2, 0, 0)));
    QTest::qWait(30);
    QTest::mouseRelease(view, Qt::LeftButton, {}, onScreen(grab + osg::Vec3d(kDragDistance, 0, 0)));
    QTest::qWait(kSettleMs);
    poses.push_back(window->plugin().endEffectorPose());

    QDoubleSpinBox* y = box("spinBoxY");
    y->setFocus();
    y->selectAll();
    QTest::keyClicks(y, "0.25");
    QTest::keyClick(y, Qt::Key_Return);
    QTest::qWait(kSettleMs);
    poses.push_back(window->plugin().endEffectorPose());

    const QPoint button = window->jogPanel()->buttonCentre(kPlusZButton, view->height()).toPoint();
    QTest::mousePress(view, Qt::LeftButton, {}, button);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return window->plugin().endEffectorPose().getTrans().z() > poses.back()(3, 2); },
        10000));
    QTest::mouseRelease(view, Qt::LeftButton, {}, button);
    QTest::qWait(kSettleMs);
    poses.push_back(window->plugin().endEffectorPose());

    ASSERT_EQ(window->undoStack()->count(), 3);
    EXPECT_TRUE(window->undoStack()->text(0).startsWith("Move along X +"));
    EXPECT_EQ(window->undoStack()->text(1), "Typed pose");
    EXPECT_TRUE(undo->text().endsWith("Jog +Z")) << undo->text().toStdString();
    for (int step = 3; step > 0; --step) {
        undo->trigger();
        QTest::qWait(kSettleMs);
        EXPECT_EQ(window->plugin().endEffectorPose(), poses[step - 1]);
    }
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_NEAR((window->frameDragger()->getMatrix().getTrans() - poses[0].getTrans()).length(),
                0.0, 1e-4);
    EXPECT_NEAR(box("spinBoxY")->value(), poses[0].getTrans().y(), 0.0005);
    for (int step = 1; step <= 3; ++step) {
        redo->trigger();
        QTest::qWait(kSettleMs);
        EXPECT_EQ(window->plugin().endEffectorPose(), poses[step]);
    }
    EXPECT_FALSE(redo->isEnabled());
}

TEST_F(DemoMainWindow, MoreHandlesToggleRemovesAndRestoresTheOptionalHandles)
{
    auto* toggle = window->findChild<QAction*>("moreHandlesAction");
    ASSERT_NE(toggle, nullptr);
    ASSERT_NE(window->frameDragger()->extraHandles(), nullptr) << "on at start";
    toggle->trigger();
    EXPECT_EQ(window->frameDragger()->extraHandles(), nullptr);
    EXPECT_EQ(window->frameDragger()->getNumChildren(), 2u);
    toggle->trigger();
    ASSERT_NE(window->frameDragger()->extraHandles(), nullptr);
    EXPECT_EQ(window->frameDragger()->extraHandles()->getMatrix(),
              window->frameDragger()->translateDragger()->getMatrix())
        << "rebuilt at the gizmo's scale";
    QTest::qWait(kSettleMs);

    // The XY square moves the tool in its plane: z stays.
    const double offset =
        Rk::ExtraHandlesDragger::PLANE_OFFSET * Rk::Composite3DDragger::DEFAULT_SCALE;
    const osg::Vec3d start = hostPosition();
    const osg::Vec3d grab = start + osg::Vec3d(offset, offset, 0);
    const osg::Vec3d moveBy(0.05, 0.03, 0);
    RkOsgViewWidget* view = window->view();
    QTest::mousePress(view, Qt::LeftButton, {}, onScreen(grab));
    QTest::qWait(kSettleMs);
    QTest::mouseMove(view, onScreen(grab + moveBy * 0.5));
    QTest::qWait(30);
    QTest::mouseMove(view, onScreen(grab + moveBy));
    QTest::qWait(30);
    QTest::mouseRelease(view, Qt::LeftButton, {}, onScreen(grab + moveBy));
    QTest::qWait(kSettleMs);
    const osg::Vec3d moved = hostPosition() - start;
    EXPECT_NEAR(moved.x(), moveBy.x(), 0.005);
    EXPECT_NEAR(moved.y(), moveBy.y(), 0.005);
    EXPECT_NEAR(moved.z(), 0.0, 1e-9);
}

int countPixels(const QImage& image, bool (*match)(QRgb))
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += match(image.pixel(x, y)) ? 1 : 0;
    return count;
}

TEST(DemoCommandLine, ScreenshotIsAPictureWithTheThreeHandleColours)
{
    if (!haveDisplay())
        GTEST_SKIP() << "needs an X display and the xcb platform";
    QTemporaryDir directory;
    const QString file = directory.filePath("demo.png");
    QProcess demo;
    demo.start(RKDEMO_EXECUTABLE, {"--screenshot", file});
    ASSERT_TRUE(demo.waitForFinished(60000));
    EXPECT_EQ(demo.exitCode(), 0);
    const QImage picture(file);
    ASSERT_FALSE(picture.isNull());
    EXPECT_GT(countPixels(picture,
                          [](QRgb c) { return qRed(c) > 200 && qGreen(c) < 60 && qBlue(c) < 60; }),
              20);
    EXPECT_GT(countPixels(picture,
                          [](QRgb c) { return qGreen(c) > 200 && qRed(c) < 60 && qBlue(c) < 60; }),
              20);
    EXPECT_GT(countPixels(picture,
                          [](QRgb c) { return qBlue(c) > 200 && qRed(c) < 60 && qGreen(c) < 60; }),
              20);
}

TEST(DemoCommandLine, HelpAndUnknownArguments)
{
    QProcess demo;
    demo.start(RKDEMO_EXECUTABLE, {"--help"});
    ASSERT_TRUE(demo.waitForFinished(30000));
    EXPECT_EQ(demo.exitCode(), 0);
    EXPECT_TRUE(demo.readAllStandardOutput().contains("--screenshot"));

    demo.start(RKDEMO_EXECUTABLE, {"--frobnicate"});
    ASSERT_TRUE(demo.waitForFinished(30000));
    EXPECT_EQ(demo.exitCode(), 2);
    EXPECT_TRUE(demo.readAllStandardError().contains("--frobnicate"));
}

} // namespace
