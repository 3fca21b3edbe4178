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
#include <QLineF>
#include <QMouseEvent>
#include <QProcess>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>
#include <QWheelEvent>
#include <gtest/gtest.h>
#include <osgGA/OrbitManipulator>

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

    osg::Vec3d hostPosition() { return window->plugin().endEffectorPose().getTrans(); }
    QDoubleSpinBox* box(const char* name) const
    {
        return window->dialog()->findChild<QDoubleSpinBox*>(name);
    }
    /// Presses at the first point, moves through the others and releases at
    /// the last (unless `release` is false), pausing as a hand would.
    void dragThrough(RkOsgViewWidget* view, const std::vector<osg::Vec3d>& points,
                     bool release = true)
    {
        QTest::mousePress(view, Qt::LeftButton, {}, view->project(points.front()).toPoint());
        QTest::qWait(kSettleMs);
        for (std::size_t index = 1; index < points.size(); ++index) {
            QTest::mouseMove(view, view->project(points[index]).toPoint());
            QTest::qWait(30);
        }
        if (release)
            QTest::mouseRelease(view, Qt::LeftButton, {}, view->project(points.back()).toPoint());
        QTest::qWait(kSettleMs);
    }
    /// `from`, then four equal steps to `from + by`.
    static std::vector<osg::Vec3d> steps(const osg::Vec3d& from, const osg::Vec3d& by)
    {
        std::vector<osg::Vec3d> points;
        for (int step = 0; step <= 4; ++step)
            points.push_back(from + by * (step / 4.0));
        return points;
    }
    /// The grab point on the X arrow's shaft of the tool at `position`.
    static osg::Vec3d onXArrow(const osg::Vec3d& position)
    {
        return position + osg::Vec3d(kArrowLength * kGrabAlongArrow, 0, 0);
    }
    void typeInto(const char* name, const char* text)
    {
        QDoubleSpinBox* target = box(name);
        target->setFocus();
        target->selectAll();
        QTest::keyClicks(target, text);
        QTest::keyClick(target, Qt::Key_Return);
        QTest::qWait(kSettleMs);
    }
    osgManipulator::Dragger* zRing() const
    {
        return window->frameDragger()->rotateDragger()->zDragger();
    }
    /// The Z ring's placement through its screen-scaling chain, which holds
    /// the scale of the view that drew last.
    osg::Matrixd zRingToWorld() const
    {
        return osg::computeLocalToWorld(zRing()->getParentalNodePaths()[0]);
    }
    /// The window point of the Z ring's line at `degrees` round the tool.
    QPoint onZRing(RkOsgViewWidget* view, const osg::Matrixd& ringToWorld, double degrees) const
    {
        const double radius = RkDemoMainWindow::GIZMO_RING_RADIUS * window->devicePixelRatioF();
        const double radians = osg::DegreesToRadians(degrees);
        const osg::Vec3d local(radius * std::cos(radians), radius * std::sin(radians), 0);
        return view->project(local * ringToWorld).toPoint();
    }
    QPoint plusZButton() const
    {
        return window->jogPanel()->buttonCentre(kPlusZButton, window->view()->height()).toPoint();
    }
    /// Moves the tool, at its depth in the main view, to where the main view
    /// shows the window point `at`.
    void moveToolUnder(const QPoint& at)
    {
        osg::Matrixd pose = window->plugin().endEffectorPose();
        pose.setTrans(window->view()->unproject(at, hostPosition()));
        window->plugin().setEndEffectorPose(pose);
        QTest::qWait(kSettleMs);
    }

    std::unique_ptr<RkDemoMainWindow> window;
};

TEST_F(DemoMainWindow, TheXArrowLightsUpUntilThePointerLeavesAndDraggingItInEitherViewMovesTheTool)
{
    for (RkOsgViewWidget* view : {window->view(), window->topView()}) {
        SCOPED_TRACE(view->objectName().toStdString());
        const osg::Vec3d start = hostPosition();
        const osg::Vec3d grab = onXArrow(start);
        QTest::mouseMove(view, view->project(grab).toPoint());
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                return window->frameDragger()->hoveredHandle() ==
                       window->frameDragger()->translateDragger()->xDragger();
            },
            kHoverWaitMs));
        // The README's picture: the highlighted arrow, the extra handles, both views.
        const QString picture = qEnvironmentVariable("RKDRAGGER_DEMO_PICTURE");
        if (view == window->view() && !picture.isEmpty()) {
            EXPECT_TRUE(window->grab().save(picture, "PNG"));
        }
        EXPECT_TRUE(QTest::qWaitFor([&] { return view->cursor().shape() == Qt::OpenHandCursor; }));
        // The host moves the tool away from the resting pointer and back:
        // the highlight follows without a pointer move.
        const osg::Matrixd pose = window->plugin().endEffectorPose();
        moveToolUnder(QPoint(20, 20));
        EXPECT_TRUE(QTest::qWaitFor([&] { return !window->frameDragger()->hoveredHandle(); },
                                    kHoverWaitMs));
        window->plugin().setEndEffectorPose(pose);
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                return window->frameDragger()->hoveredHandle() ==
                       window->frameDragger()->translateDragger()->xDragger();
            },
            kHoverWaitMs));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(view, &leave);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !window->frameDragger()->hoveredHandle(); },
                                    kHoverWaitMs));
        EXPECT_TRUE(QTest::qWaitFor([&] { return view->cursor().shape() == Qt::ArrowCursor; }));
        dragThrough(view, steps(grab, osg::Vec3d(kDragDistance, 0, 0)));

        const osg::Vec3d moved = hostPosition() - start;
        EXPECT_NEAR(moved.x(), kDragDistance, 0.05 * kDragDistance);
        EXPECT_NEAR(moved.y(), 0.0, 1e-9);
        EXPECT_NEAR(moved.z(), 0.0, 1e-9);
        EXPECT_NEAR(box("spinBoxX")->value(), hostPosition().x(), 0.0005);

        // A second grab soon after the first reaches the view as a double
        // click: it takes the arrow too, and the camera stays.
        const osg::Vec3d before = hostPosition();
        const osg::Matrixd camera = view->viewer()->getCamera()->getViewMatrix();
        const std::vector<osg::Vec3d> again =
            steps(onXArrow(before), osg::Vec3d(-kDragDistance, 0, 0));
        const QPoint at = view->project(again.front()).toPoint();
        QMouseEvent secondPress(QEvent::MouseButtonDblClick, at, view->mapToGlobal(at),
                                Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view, &secondPress);
        QTest::qWait(kSettleMs);
        for (std::size_t index = 1; index < again.size(); ++index) {
            QTest::mouseMove(view, view->project(again[index]).toPoint());
            QTest::qWait(30);
        }
        // Released as it was pressed, past QTest: Qt 5's QTest drops the
        // release of a button that it did not press itself.
        const QPoint end = view->project(again.back()).toPoint();
        QMouseEvent release(QEvent::MouseButtonRelease, end, view->mapToGlobal(end), Qt::LeftButton,
                            Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view, &release);
        QTest::qWait(kSettleMs);
        EXPECT_NEAR(hostPosition().x() - before.x(), -kDragDistance, 0.05 * kDragDistance);
        EXPECT_EQ(view->viewer()->getCamera()->getViewMatrix(), camera);
    }
}

TEST_F(DemoMainWindow,
       ARightDragZoomsAndSnapMovesInTenMillimetreStepsWithAClosedHandEscOrARightClickCancels)
{
    // Only the left button grabs: a right drag on an arrow zooms the camera,
    // the orthographic top view's too.
    const osg::Vec3d start = hostPosition();
    for (RkOsgViewWidget* zoomed : {window->view(), window->topView()}) {
        SCOPED_TRACE(zoomed->objectName().toStdString());
        // A tenth of a metre in the scene: the gizmo keeps its size on screen.
        const auto tenthSeen = [&] {
            return QLineF(zoomed->project(start), zoomed->project(start + osg::Vec3d(0.1, 0, 0)))
                .length();
        };
        const double before = tenthSeen();
        const QPoint onArrow = zoomed->project(onXArrow(start)).toPoint();
        QTest::mousePress(zoomed, Qt::RightButton, {}, onArrow);
        for (int step = 1; step <= 4; ++step) {
            QTest::mouseMove(zoomed, onArrow + QPoint(0, 10 * step));
            QTest::qWait(30);
        }
        QTest::mouseRelease(zoomed, Qt::RightButton, {}, onArrow + QPoint(0, 40));
        QTest::qWait(kSettleMs);
        EXPECT_EQ(hostPosition(), start);
        EXPECT_GT(std::abs(tenthSeen() - before), 1.0) << "zoomed";
        zoomed->viewer()->home();
        QTest::qWait(kSettleMs);
    }
    // Zoomed into its centre, the orthographic view keeps its last extent
    // (its near and far planes follow the scene's depth, as every view's do).
    osgViewer::Viewer* top = window->topView()->viewer();
    auto* orbit = dynamic_cast<osgGA::OrbitManipulator*>(top->getCameraManipulator());
    ASSERT_NE(orbit, nullptr);
    const osg::Matrixd homeProjection = top->getCamera()->getProjectionMatrix();
    orbit->setDistance(0.0);
    QTest::qWait(kSettleMs);
    const osg::Matrixd& projection = top->getCamera()->getProjectionMatrix();
    EXPECT_TRUE(projection.valid());
    EXPECT_EQ(projection(0, 0), homeProjection(0, 0));
    EXPECT_EQ(projection(1, 1), homeProjection(1, 1));
    top->home();
    RkOsgViewWidget* view = window->view();

    auto* snap = window->findChild<QAction*>("snapAction");
    ASSERT_NE(snap, nullptr);
    snap->trigger();
    // Held at the end, not yet released.
    auto dragAlongX = [&](const osg::Vec3d& grab, double distance) {
        dragThrough(view, steps(grab, osg::Vec3d(distance, 0, 0)), false);
    };

    const osg::Vec3d grab = onXArrow(start);
    dragAlongX(grab, 0.037);
    EXPECT_EQ(window->statusBar()->currentMessage(), QString("X +40.0 mm"));
    EXPECT_EQ(view->cursor().shape(), Qt::ClosedHandCursor);
    const osg::Vec3d dragged = hostPosition();
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(view, &leave);
    QTest::qWait(kSettleMs);
    EXPECT_EQ(hostPosition(), dragged) << "leaving the view during a drag moves nothing";
    // The drag keeps the camera of its press: a zoom now would pull the
    // tool from under the pointer, so the wheel waits for the release.
    const osg::Matrixd cameraInDrag = view->viewer()->getCamera()->getViewMatrix();
    const QPointF pointer = view->project(grab + osg::Vec3d(0.037, 0, 0));
    QWheelEvent wheel(pointer, QPointF(view->mapToGlobal(pointer.toPoint())), QPoint(),
                      QPoint(0, 120), Qt::LeftButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(view, &wheel);
    QTest::qWait(kSettleMs);
    EXPECT_EQ(view->viewer()->getCamera()->getViewMatrix(), cameraInDrag);
    QTest::mouseRelease(view, Qt::LeftButton, {},
                        view->project(grab + osg::Vec3d(0.037, 0, 0)).toPoint());
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x() - start.x(), 0.04, 1e-5);

    const osg::Vec3d snapped = hostPosition();
    dragAlongX(onXArrow(snapped), 0.05);
    EXPECT_GT(hostPosition().x(), snapped.x() + 0.04);
    QTest::keyClick(view, Qt::Key_Escape);
    QTest::qWait(kSettleMs);
    EXPECT_TRUE(window->isVisible()) << "Escape cancels, it does not quit";
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6);
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(-50, -50));
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6);
    EXPECT_NEAR(box("spinBoxX")->value(), snapped.x(), 0.0005);

    dragAlongX(onXArrow(snapped), 0.05);
    const osg::Matrixd cameraAtCancel = view->viewer()->getCamera()->getViewMatrix();
    QTest::mousePress(view, Qt::RightButton, {}, QPoint(10, 10));
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6) << "a right-click cancels too";
    QTest::mouseRelease(view, Qt::RightButton, {}, QPoint(10, 10));
    for (int step = 1; step <= 3; ++step) {
        QTest::mouseMove(view, QPoint(10 + 30 * step, 10 + 20 * step));
        QTest::qWait(30);
    }
    QTest::qWait(kSettleMs);
    EXPECT_EQ(view->viewer()->getCamera()->getViewMatrix(), cameraAtCancel)
        << "the left button's drag after the cancel turns no camera";
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(100, 70));

    dragAlongX(onXArrow(snapped), 0.05);
    const QPoint corner(10, 10);
    QMouseEvent rightAgain(QEvent::MouseButtonDblClick, corner, view->mapToGlobal(corner),
                           Qt::RightButton, Qt::LeftButton | Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &rightAgain);
    QTest::qWait(kSettleMs);
    EXPECT_NEAR(hostPosition().x(), snapped.x(), 1e-6) << "and a right double click";
    QTest::mouseRelease(view, Qt::LeftButton, {}, corner);
}

TEST_F(DemoMainWindow, DraggingARingTurnsTheEndEffector)
{
    // The Z ring's window points round the tool, taken before the press (the
    // ring turns with the pose), through the ring's real scaling chain: with
    // the top view hidden, that chain holds the main view's scale.
    window->topView()->hide();
    RkOsgViewWidget* view = window->view();
    osg::Matrixd ringToWorld;
    const auto onRing = [&](double degrees) { return onZRing(view, ringToWorld, degrees); };
    const osg::Quat start = window->plugin().endEffectorPose().getRotate();
    const osg::Vec3d startPosition = hostPosition();
    // Taken again until the main view has drawn since the top view went.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            ringToWorld = zRingToWorld();
            QTest::mouseMove(view, onRing(200));
            QTest::qWait(30);
            return window->frameDragger()->hoveredHandle() == zRing();
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

TEST_F(DemoMainWindow, TheGizmoIsDrawnOverTheArmAndGrabbedThere)
{
    // Seen from above, the forearm runs over the Z ring's point towards the base.
    window->view()->hide();
    RkOsgViewWidget* view = window->topView();
    QPoint underTheArm;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            underTheArm = onZRing(view, zRingToWorld(), 180);
            QTest::mouseMove(view, underTheArm);
            QTest::qWait(30);
            return window->frameDragger()->hoveredHandle() == zRing();
        },
        kHoverWaitMs));
    QTest::qWait(kSettleMs);
    const QRgb lit = view->grabFramebuffer().pixel(underTheArm * view->devicePixelRatioF());
    EXPECT_GT(qRed(lit), 200);
    EXPECT_GT(qGreen(lit), 200) << "the highlight's yellow, not the arm's orange";
    EXPECT_LT(qBlue(lit), 80);
}

TEST_F(DemoMainWindow, HoldingPlusZOverTheGizmoJogsUpAndTheGizmoAndDialogFollow)
{
    // The gizmo's centre right behind the button: the panel, drawn over
    // it, takes the pointer.
    RkOsgViewWidget* view = window->view();
    const QPoint button = plusZButton();
    moveToolUnder(button);
    QTest::mouseMove(view, button);
    QTest::qWait(kSettleMs);
    EXPECT_EQ(window->frameDragger()->hoveredHandle(), nullptr);
    const osg::Vec3d start = hostPosition();
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
    EXPECT_NEAR(hostPosition().y(), start.y(), 1e-9);
    EXPECT_NEAR(window->frameDragger()->getMatrix().getTrans().z(), hostPosition().z(), 1e-4);
    EXPECT_NEAR(box("spinBoxZ")->value(), hostPosition().z(), 0.0005);

    // No more steps after the release.
    const double released = hostPosition().z();
    QTest::qWait(kSettleMs);
    EXPECT_EQ(hostPosition().z(), released);

    // Only the left button presses a jog button, as it alone grabs the gizmo.
    for (Qt::MouseButton other : {Qt::RightButton, Qt::MiddleButton}) {
        QTest::mousePress(view, other, {}, button);
        QTest::qWait(kJogHoldMs);
        QTest::mouseRelease(view, other, {}, button);
    }
    QTest::qWait(kSettleMs);
    EXPECT_EQ(hostPosition().z(), released);
}

TEST_F(DemoMainWindow, EditUndoStepsBackThroughDragTypedPoseAndJogRedoForwardAndHomeGoesHome)
{
    QAction* undo = window->findChild<QAction*>("undoAction");
    QAction* redo = window->findChild<QAction*>("redoAction");
    ASSERT_TRUE(undo && redo);
    EXPECT_EQ(undo->shortcut(), QKeySequence(QKeySequence::Undo));
    EXPECT_EQ(redo->shortcut(), QKeySequence(QKeySequence::Redo));
    EXPECT_FALSE(undo->isEnabled());
    RkOsgViewWidget* view = window->view();
    std::vector<osg::Matrixd> poses{window->plugin().endEffectorPose()};

    const osg::Vec3d grab = onXArrow(hostPosition());
    dragThrough(view, {grab, grab + osg::Vec3d(kDragDistance / 2, 0, 0),
                       grab + osg::Vec3d(kDragDistance, 0, 0)});
    poses.push_back(window->plugin().endEffectorPose());

    // A typed Y sticks in the plug-in, the gizmo and the box.
    typeInto("spinBoxY", "0.25");
    EXPECT_NEAR(hostPosition().y(), 0.25, 1e-6);
    EXPECT_NEAR(window->frameDragger()->getMatrix().getTrans().y(), 0.25, 1e-6);
    EXPECT_NEAR(box("spinBoxY")->value(), 0.25, 1e-9);
    poses.push_back(window->plugin().endEffectorPose());

    const QPoint button = plusZButton();
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

    // Home brings the plug-in, the gizmo and the dialog back.
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
    QTest::qWait(kSettleMs);

    // The XY square moves the tool in its plane: z stays.
    const double offset =
        Rk::ExtraHandlesDragger::PLANE_OFFSET * Rk::Composite3DDragger::DEFAULT_SCALE;
    const osg::Vec3d start = hostPosition();
    const osg::Vec3d grab = start + osg::Vec3d(offset, offset, 0);
    const osg::Vec3d moveBy(0.05, 0.03, 0);
    dragThrough(window->view(), {grab, grab + moveBy * 0.5, grab + moveBy});
    const osg::Vec3d moved = hostPosition() - start;
    EXPECT_NEAR(moved.x(), moveBy.x(), 0.005);
    EXPECT_NEAR(moved.y(), moveBy.y(), 0.005);
    EXPECT_NEAR(moved.z(), 0.0, 1e-9);
    auto* undo = window->findChild<QAction*>("undoAction");
    ASSERT_NE(undo, nullptr);
    EXPECT_TRUE(undo->text().contains("Move in XY plane")) << undo->text().toStdString();

    // The view ring, grabbed on its lower left where no other handle lies
    // and turned clockwise: the status bar counts the turn negative.
    RkOsgViewWidget* view = window->view();
    const QPointF centre = view->project(hostPosition());
    // The rings' screen units are 50 logical pixels each.
    const double radius = RkDemoMainWindow::GIZMO_RING_RADIUS * 50.0 *
                          Rk::ExtraHandlesDragger::VIEW_RING_RADIUS_FACTOR;
    auto around = [&](double degrees) {
        const double radians = osg::DegreesToRadians(degrees);
        return (centre + QPointF(std::cos(radians), -std::sin(radians)) * radius).toPoint();
    };
    QTest::mousePress(view, Qt::LeftButton, {}, around(225));
    for (int step = 1; step <= 3; ++step) {
        QTest::mouseMove(view, around(225 - 10 * step));
        QTest::qWait(30);
    }
    QTest::qWait(kSettleMs);
    EXPECT_EQ(window->frameDragger()->dragMode(), Rk::ExtraHandlesDragger::VIEW_RING_DRAG_MODE);
    const QString turning = window->statusBar()->currentMessage();
    EXPECT_TRUE(turning.startsWith("View ring -")) << turning.toStdString();
    QTest::mouseRelease(view, Qt::LeftButton, {}, around(195));
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
    // Strongly red, green and blue pixels: the three axes' handles.
    for (int channel = 0; channel < 3; ++channel) {
        int count = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x) {
                const QRgb c = picture.pixel(x, y);
                const int rgb[] = {qRed(c), qGreen(c), qBlue(c)};
                count += rgb[channel] > 200 && rgb[(channel + 1) % 3] < 60 &&
                         rgb[(channel + 2) % 3] < 60;
            }
        EXPECT_GT(count, 20) << "channel " << channel;
    }
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
