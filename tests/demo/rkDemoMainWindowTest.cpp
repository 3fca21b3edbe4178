#include "rkDemoMainWindow.h"
#include "rkDraggerDlg.h"
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
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace {

// Enough repaints for the viewer to take queued events and follow the host.
const int kSettleMs = 150;
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

    QPoint onScreen(const osg::Vec3d& world) const
    {
        return window->view()->project(world).toPoint();
    }
    osg::Vec3d hostPosition() { return window->plugin().endEffectorPose().getTrans(); }
    QDoubleSpinBox* box(const char* name) const
    {
        return window->dialog()->findChild<QDoubleSpinBox*>(name);
    }

    std::unique_ptr<RkDemoMainWindow> window;
};

TEST_F(DemoMainWindow, DraggingTheXArrowMovesTheEndEffectorAndTheDialogShowsIt)
{
    const osg::Vec3d start = hostPosition();
    const osg::Vec3d grab = start + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0);
    RkOsgViewWidget* view = window->view();
    QTest::mousePress(view, Qt::LeftButton, {}, onScreen(grab));
    QTest::qWait(kSettleMs);
    for (int step = 1; step <= 4; ++step) {
        const osg::Vec3d at = grab + osg::Vec3d(kDragDistance * step / 4.0, 0, 0);
        QTest::mouseMove(view, onScreen(at));
        QTest::qWait(30);
    }
    const osg::Vec3d end = grab + osg::Vec3d(kDragDistance, 0, 0);
    QTest::mouseRelease(view, Qt::LeftButton, {}, onScreen(end));
    QTest::qWait(kSettleMs);

    const osg::Vec3d moved = hostPosition() - start;
    EXPECT_NEAR(moved.x(), kDragDistance, 0.05 * kDragDistance);
    EXPECT_NEAR(moved.y(), 0.0, 1e-9);
    EXPECT_NEAR(moved.z(), 0.0, 1e-9);
    EXPECT_NEAR(box("spinBoxX")->value(), hostPosition().x(), 0.0005);
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
