#include "rkPoseHistory.h"
#include "rkDraggerDlg.h"
#include "rkFinite.h"
#include "rkGizmoTestHelpers.h"
#include "rkRotateDragger.h"
#include "rkTranslateDragger.h"

#include <QDoubleSpinBox>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>
#include <gtest/gtest.h>

#include <memory>

using Rk::Composite3DDragger;
using Rk::FrameDragger;
using Rk::PoseHistory;
using namespace RkTest;

namespace {

// Whole window pixels put the pointer a little off the handle's own line.
const double kMillimetreTolerance = 3.0;
const double kDegreeTolerance = 1.0;

/// A dragger on a host pose, its history on a real stack, in a real viewer.
struct Scene
{
    explicit Scene(std::function<Composite3DDragger*(Rk::DraggerReceiver*)> make =
                       [](Rk::DraggerReceiver* receiver) {
                           return new FrameDragger(receiver, false);
                       })
        : harness(kSceneEye), stack(std::make_unique<QUndoStack>())
    {
        store.pose = start;
        dragger = make(store.makeReceiver());
        showIn(harness.root(), dragger.get());
        history = std::make_unique<PoseHistory>(dragger.get(), stack.get());
    }

    /// The arrow (`ring` false) or ring of `axis`, of a frame dragger or a lone one.
    osgManipulator::Dragger* handle(bool ring, int axis) const
    {
        auto* frame = dynamic_cast<FrameDragger*>(dragger.get());
        if (!frame)
            return dragger->getDragger(axis);
        return ring ? frame->rotateDragger()->getDragger(axis)
                    : frame->translateDragger()->getDragger(axis);
    }
    osg::Vec2d onArrow(int axis, double distance) const
    {
        return harness.project(worldOf(handle(false, axis), osg::Z_AXIS * distance));
    }
    osg::Vec2d onRing(int axis, double degrees) const
    {
        return harness.project(worldOf(handle(true, axis), ringPoint(degrees)));
    }
    void dragArrow(int axis, double from, double to)
    {
        harness.dragFromTo(onArrow(axis, from), onArrow(axis, to));
        harness.frame();
    }
    void turnZRing(double fromDegrees, double toDegrees)
    {
        const osg::Vec3d origin = dragger->getMatrix().getTrans();
        harness.lookAt(origin + osg::Vec3d(0.4, -0.6, 5), origin, osg::Y_AXIS);
        turnAlong(
            harness, [&](double degrees) { return onRing(2, degrees); }, fromDegrees, toDegrees);
        harness.frame();
    }
    void undo()
    {
        stack->undo();
        harness.frame();
    }
    void redo()
    {
        stack->redo();
        harness.frame();
    }

    osg::Matrixd start = osg::Matrixd::translate(0.1, 0.2, 0.3);
    PoseStore store;
    ViewerHarness harness;
    osg::ref_ptr<Composite3DDragger> dragger;
    std::unique_ptr<QUndoStack> stack;
    std::unique_ptr<PoseHistory> history;
};

/// The amount in a step's text, signed or not ("Move along X +12.3 mm" gives 12.3).
double amountIn(const QString& text)
{
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("([+-]?\\d+\\.\\d)")).match(text);
    return match.hasMatch() ? match.captured(1).toDouble() : kNaN;
}

bool samePose(const osg::Matrixd& a, const osg::Matrixd& b)
{
    return closeTo(a.getTrans(), b.getTrans(), 1e-9) &&
           sameRotation(a.getRotate(), b.getRotate(), 1e-9);
}

} // namespace

// A dialog tracked twice is tracked once; the host applies typed poses, as
// the README shows.
TEST(PoseHistory, ADragATypedPoseAndAHostChangeUndoBackToTheStartAndRedoForward)
{
    Scene scene;
    Rk::DraggerDlg dialog(scene.dragger.get());
    dialog.showDragger(true);
    QObject::connect(&dialog, &Rk::DraggerDlg::signalPoseChanged,
                     [&] { scene.dragger->setReceiverMatrix(); });
    scene.history->trackDialog(&dialog);
    scene.history->trackDialog(&dialog);

    scene.dragArrow(0, 0.7, 1.1);
    ASSERT_EQ(scene.stack->count(), 1) << "echoes of the dragger's own moves are no typed poses";
    const osg::Matrixd afterMove = scene.store.pose;
    auto* x = dialog.findChild<QDoubleSpinBox*>("spinBoxX");
    x->selectAll();
    QTest::keyClicks(x, "0.6");
    QTest::keyClick(x, Qt::Key_Return);
    QCoreApplication::processEvents();
    ASSERT_EQ(scene.stack->count(), 2);
    EXPECT_EQ(scene.stack->undoText(), "Typed pose");
    const osg::Matrixd typed = scene.store.pose;
    EXPECT_NEAR(typed.getTrans().x(), 0.6, 1e-6);

    const osg::Matrixd jogged = typed * osg::Matrixd::translate(0, 0, 0.05);
    scene.store.pose = jogged;
    const size_t writes = scene.store.writes.size();
    scene.history->recordHostChange(typed, jogged, "Jog +Z");
    ASSERT_EQ(scene.stack->count(), 3);
    EXPECT_EQ(scene.stack->undoText(), "Jog +Z");
    EXPECT_EQ(scene.store.writes.size(), writes) << "the push applies nothing again";

    for (const osg::Matrixd& expected : {typed, afterMove, scene.start}) {
        scene.undo();
        EXPECT_TRUE(samePose(scene.store.pose, expected));
        EXPECT_TRUE(samePose(scene.dragger->getMatrix(), expected)) << "the dragger follows";
        EXPECT_NEAR(x->value(), expected.getTrans().x(), 0.0005) << "the dialog shows it";
    }
    EXPECT_FALSE(scene.stack->canUndo());
    for (const osg::Matrixd& expected : {afterMove, typed, jogged}) {
        scene.redo();
        EXPECT_TRUE(samePose(scene.store.pose, expected));
    }
    EXPECT_TRUE(samePose(scene.dragger->getMatrix(), jogged));
}

TEST(PoseHistory, EveryDraggerAndHandleRecordsOneStepPerDragInTheUsersWords)
{
    using Make = std::function<Composite3DDragger*(Rk::DraggerReceiver*)>;
    const Make frame = [](Rk::DraggerReceiver* r) { return new FrameDragger(r, false); };
    const Make translate = [](Rk::DraggerReceiver* r) { return new Rk::TranslateDragger(r); };
    const Make rotate = [](Rk::DraggerReceiver* r) { return new Rk::RotateDragger(r, false); };
    const Make withExtras = [](Rk::DraggerReceiver* r) {
        auto* dragger = new FrameDragger(r, false);
        dragger->setHandleSet(kAllExtraHandles);
        return dragger;
    };
    // From the image of `grab` to that of `grab + by`, then a frame.
    auto dragBy = [](Scene& s, const osg::Vec3d& grab, const osg::Vec3d& by) {
        s.harness.dragFromTo(s.harness.project(grab), s.harness.project(grab + by));
        s.harness.frame();
    };
    auto turnViewRing = [](Scene& s, double toDegrees) {
        const osg::Vec3d centre = s.dragger->getMatrix().getTrans();
        const double pixels = imagePixelsAt(s.harness, centre, kViewRingRadius);
        turnAlong(
            s.harness,
            [&](double degrees) { return aroundImageOf(s.harness, centre, degrees, pixels); }, 0.0,
            toDegrees);
        s.harness.frame();
    };
    struct Row
    {
        const char* name;
        Make make;
        bool deferred;
        std::function<void(Scene&)> drag;
        const char* words;
        double amount, tolerance;
    };
    const Row rows[] = {
        {"frame X arrow, live", frame, false, [](Scene& s) { s.dragArrow(0, 0.7, 1.1); },
         "Move along X", 400.0, kMillimetreTolerance},
        {"frame Y arrow backwards, deferred", frame, true,
         [](Scene& s) { s.dragArrow(1, 0.7, 0.5); }, "Move along Y", -200.0, kMillimetreTolerance},
        {"frame Z ring", frame, false, [](Scene& s) { s.turnZRing(40, 70); }, "Turn about Z", 30.0,
         kDegreeTolerance},
        {"frame on the system frame, receiver turned a quarter about Z", frame, false,
         [](Scene& s) {
             s.start = osg::Matrixd::rotate(osg::PI_2, osg::Z_AXIS) * s.start;
             s.store.pose = s.start;
             s.dragger->setIsAlignedWithReferenceFrame(true);
             s.harness.frame();
             s.dragArrow(0, 0.7, 1.1);
         },
         "Move along X", 400.0, kMillimetreTolerance},
        {"translate dragger alone, Z arrow", translate, false,
         [](Scene& s) { s.dragArrow(2, 0.7, 1.0); }, "Move along Z", 300.0, kMillimetreTolerance},
        {"rotate dragger alone, Z ring backwards", rotate, false,
         [](Scene& s) { s.turnZRing(70, 40); }, "Turn about Z", -30.0, kDegreeTolerance},
        {"XY plane square", withExtras, false,
         [&](Scene& s) {
             const double offset = Rk::ExtraHandlesDragger::PLANE_OFFSET;
             dragBy(s, s.start.getTrans() + osg::Vec3d(offset, offset, 0), {0.2, -0.1, 0});
         },
         "Move in XY plane", 223.6, kMillimetreTolerance},
        {"screen handle, deferred", withExtras, true,
         [&](Scene& s) {
             const osg::Vec3d centre = s.start.getTrans();
             osg::Vec3d side = towardsEyeFrom(s.harness, centre) ^ osg::Z_AXIS;
             side.normalize();
             dragBy(s, centre, side * 0.2);
         },
         "Move in view plane", 200.0, kMillimetreTolerance},
        {"view ring backwards", withExtras, false, [&](Scene& s) { turnViewRing(s, -40); },
         "Turn about line of sight", -40.0, kDegreeTolerance},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Scene scene(row.make);
        scene.dragger->setValueOnRelease(row.deferred);
        row.drag(scene);
        ASSERT_EQ(scene.stack->count(), 1);
        const QString text = scene.stack->undoText();
        EXPECT_TRUE(text.startsWith(row.words)) << text.toStdString();
        EXPECT_NEAR(amountIn(text), row.amount, row.tolerance) << text.toStdString();
        const osg::Matrixd dragged = scene.store.pose;
        scene.undo();
        EXPECT_TRUE(samePose(scene.store.pose, scene.start));
        scene.redo();
        EXPECT_TRUE(samePose(scene.store.pose, dragged));
    }
}

// Either part may also go first: the stack, the dragger or the history.
TEST(PoseHistory, ChangesThatAreNoStepAndFaultsRecordNothingAndWriteNoNaN)
{
    struct Row
    {
        const char* name;
        int steps;
        std::function<void(Scene&)> act;
    };
    const Row rows[] = {
        {"press without motion", 0,
         [](Scene& s) {
             s.harness.press(s.onArrow(0, 0.8));
             s.harness.release(s.onArrow(0, 0.8));
         }},
        {"cancelled drag", 0,
         [](Scene& s) {
             QSignalSpy cancelled(s.dragger.get(), &Composite3DDragger::signalDragCancelled);
             s.harness.press(s.onArrow(0, 0.7));
             s.harness.drag(s.onArrow(0, 0.9));
             s.dragger->cancelDrag();
             EXPECT_EQ(cancelled.count(), 1);
             s.harness.release(s.onArrow(0, 0.9));
         }},
        {"undo in the middle of a drag cancels the drag", 1,
         [](Scene& s) {
             s.dragArrow(0, 0.7, 0.9);
             s.harness.press(s.onArrow(0, 0.7));
             s.harness.drag(s.onArrow(0, 1.0));
             s.stack->undo();
             EXPECT_FALSE(s.history->dragUnderWay());
             s.harness.release(s.onArrow(0, 1.0));
             EXPECT_EQ(s.stack->index(), 0);
             EXPECT_EQ(s.store.pose, s.start) << "back before the first drag";
         }},
        {"receiver answers NaN at the release", 0,
         [](Scene& s) {
             s.harness.press(s.onArrow(0, 0.7));
             s.harness.drag(s.onArrow(0, 0.9));
             osg::Matrixd broken = s.start;
             broken(0, 0) = kNaN;
             s.dragger->setReceiver(new Rk::DraggerReceiver(
                 [broken] { return broken; },
                 [&s](const osg::Matrixd& pose) { s.store.writes.push_back(pose); }));
             s.harness.release(s.onArrow(0, 0.9));
         }},
        {"receiver answers NaN at the press", 0,
         [](Scene& s) {
             s.store.pose(3, 1) = kNaN;
             s.harness.press(s.onArrow(0, 0.7));
             s.store.pose = s.start;
             s.harness.drag(s.onArrow(0, 0.9));
             s.harness.release(s.onArrow(0, 0.9));
         }},
        {"host change with a NaN pose or no change", 0,
         [](Scene& s) {
             osg::Matrixd broken = s.start;
             broken(3, 2) = kNaN;
             s.history->recordHostChange(s.start, broken, "Jog +X");
             s.history->recordHostChange(broken, s.start, "Jog +X");
             s.history->recordHostChange(s.start, s.start, "Jog +X");
         }},
        {"dragger without a receiver", 0,
         [](Scene& s) {
             s.dragger->setReceiver(nullptr);
             s.dragArrow(0, 0.7, 0.9);
             s.history->recordHostChange(s.start, osg::Matrixd(), "Home");
         }},
        {"stack cleared, then a drag", 1,
         [](Scene& s) {
             s.dragArrow(0, 0.7, 0.9);
             s.stack->clear();
             s.dragArrow(0, 0.7, 0.9);
         }},
        {"stack deleted first", 0,
         [](Scene& s) {
             s.stack.reset();
             s.dragArrow(0, 0.7, 0.9);
             s.history->recordHostChange(s.start, osg::Matrixd(), "Home");
             EXPECT_EQ(s.history->stack(), nullptr);
         }},
        {"dragger destroyed while the stack holds its steps", 1,
         [](Scene& s) {
             s.dragArrow(0, 0.7, 0.9);
             s.harness.root()->removeChild(s.dragger.get());
             s.dragger = nullptr;
             EXPECT_EQ(s.history->dragger(), nullptr);
             s.undo();
             EXPECT_TRUE(samePose(s.store.pose, s.start)) << "the receiver still takes it";
             s.history->recordHostChange(s.start, osg::Matrixd(), "Home");
         }},
        {"history deleted before the dragger", 1,
         [](Scene& s) {
             s.dragArrow(0, 0.7, 0.9);
             s.history.reset();
             EXPECT_EQ(s.dragger->getEventCallback(), nullptr);
             s.dragArrow(0, 0.7, 0.9);
             const osg::Matrixd moved = s.store.pose;
             s.undo();
             EXPECT_FALSE(samePose(s.store.pose, moved)) << "its steps still undo";
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Scene scene;
        row.act(scene);
        EXPECT_EQ(scene.stack ? scene.stack->count() : 0, row.steps);
        for (const osg::Matrixd& write : scene.store.writes)
            EXPECT_TRUE(Rk::isFinite(write));
    }
}
