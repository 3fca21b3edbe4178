// One drag step: one drag event through the viewer's event traversal while a
// drag of the X arrow is under way, back and forth between two points on it.
#include "rkBenchScenes.h"

#include "rkDraggerDlg.h"
#include "rkPlugin.h"

#include <QApplication>

namespace {

using namespace RkBench;

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
