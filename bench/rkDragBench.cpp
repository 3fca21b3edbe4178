// One drag step: one drag event through the viewer's event traversal while a
// drag of the X arrow (or the Z ring) is under way, back and forth between two
// points on it.
#include "rkBenchScenes.h"

#include "rkDraggerDlg.h"
#include "rkPlugin.h"

#include <QApplication>

namespace {

using namespace RkBench;

// How far the ring benchmark turns the Z ring each step (10 degrees).
const double kRingDragRadians = osg::DegreesToRadians(10.0);

/// What else runs after each drag event (the dialog benchmark lets Qt paint).
using AfterStep = void (*)();
void nothing() {}
void processQtEvents()
{
    QApplication::processEvents();
}

/// Presses the X arrow, then times one drag event per iteration; releases
/// after the loop.
void dragSteps(benchmark::State& state, RkTest::ViewerHarness& harness, osg::Node* handle,
               AfterStep afterStep = nothing)
{
    if (!checkHandleUnder(state, harness, kXArrowPoint, handle))
        return;
    const osg::Vec2d from = harness.project(kXArrowPoint);
    const osg::Vec2d to = harness.project(kXArrowDragPoint);
    harness.press(from);
    bool forth = true;
    for (auto _ : state) {
        if (!harness.drag(forth ? to : from)) {
            state.SkipWithError("the drag was not handled");
            break;
        }
        afterStep();
        forth = !forth;
    }
    harness.release(from);
}

/// A frame dragger whose pose lands in a plain store, live or deferred.
void frameDragStep(benchmark::State& state, bool valueOnRelease)
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    dragger->setValueOnRelease(valueOnRelease);
    harness.root()->addChild(dragger.get());
    dragSteps(state, harness, dragger->translateDragger()->xDragger());
}

/// Presses the Z ring, then times one drag event per iteration, back and
/// forth along the ring's image; releases after the loop.
void ringDragSteps(benchmark::State& state, RkTest::ViewerHarness& harness, osg::Node* ring)
{
    const osg::Vec3d grabbed = frameZRingPoint();
    if (!checkHandleUnder(state, harness, grabbed, ring))
        return;
    const osg::Vec2d from = harness.project(grabbed);
    const osg::Vec2d to = harness.project(osg::Quat(kRingDragRadians, osg::Z_AXIS) * grabbed);
    harness.press(from);
    bool forth = true;
    for (auto _ : state) {
        if (!harness.drag(forth ? to : from)) {
            state.SkipWithError("the drag was not handled");
            break;
        }
        forth = !forth;
    }
    harness.release(from);
}

// Live: every drag event writes the receiver and emits signalPoseChanged.
void BM_DragStep_FrameLive(benchmark::State& state)
{
    frameDragStep(state, false);
}
BENCHMARK(BM_DragStep_FrameLive);

// Deferred: every drag event reports the command value only.
void BM_DragStep_FrameDeferred(benchmark::State& state)
{
    frameDragStep(state, true);
}
BENCHMARK(BM_DragStep_FrameDeferred);

// The same live drag on the Z ring: the turn worked out from the press and
// the pointer, to compare with the arrow's step above.
void BM_DragStep_FrameLiveRing(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    harness.root()->addChild(dragger.get());
    ringDragSteps(state, harness, dragger->rotateDragger()->zDragger());
}
BENCHMARK(BM_DragStep_FrameLiveRing);

void BM_DragStep_StockTranslate(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    osg::ref_ptr<osgManipulator::TranslateAxisDragger> dragger = makeStockTranslateDragger();
    harness.root()->addChild(dragger.get());
    dragSteps(state, harness, dragger->getDragger(0));
}
BENCHMARK(BM_DragStep_StockTranslate);

// The whole loop of one drag event in a host: the handle moves the frame
// dragger, its receiver writes parameter 261 of the GUI plug-in, and the shown
// pose dialog refreshes its spin boxes and repaints (offscreen Qt).
void BM_DragStep_FramePluginDialog(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    Rk::PluginGUI plugin;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(&plugin);
    harness.root()->addChild(dragger.get());
    Rk::DraggerDlg dialog(dragger.get());
    dialog.show();
    QApplication::processEvents();
    dragSteps(state, harness, dragger->translateDragger()->xDragger(), processQtEvents);
}
BENCHMARK(BM_DragStep_FramePluginDialog);

} // namespace
