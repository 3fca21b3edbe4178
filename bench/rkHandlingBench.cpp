// The handling aids: a pointer move with the hover highlight on (one gizmo,
// and one among a hundred), and a press taken through the pick tolerance.
#include "rkBenchScenes.h"

#include <vector>

namespace {

using namespace RkBench;

/// The demo's settings.
const double kTolerance = 8.0;
/// Window pixels beside the X arrow's line: outside its pick cylinder,
/// inside the tolerance.
const double kBeside = 8.0;
/// Spacing of the other gizmos, in front of and beside the measured one.
const double kSpacing = 2.5;

osg::ref_ptr<Rk::FrameDragger> makeAidedDragger(PoseStore& store)
{
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    dragger->setPickTolerance(kTolerance);
    dragger->setHoverHighlight(true);
    return dragger;
}

/// The window point `pixels` below the image of the X arrow at `kXArrowPoint`.
osg::Vec2d besideXArrow(RkTest::ViewerHarness& harness, double pixels)
{
    const osg::Vec2d at = harness.project(kXArrowPoint);
    osg::Vec2d along = harness.project(kXArrowDragPoint) - at;
    along.normalize();
    return at + osg::Vec2d(-along.y(), along.x()) * pixels;
}

/// `count` gizmos with the demo's aids in `harness`, their hover on or off:
/// the first at the origin, the others around it, in front of it and beside
/// it (the pick ray passes several of them), or else small and elsewhere, as
/// in the crowded press benchmark.
std::vector<osg::ref_ptr<Rk::FrameDragger>> placeGizmos(RkTest::ViewerHarness& harness,
                                                        std::vector<PoseStore>& stores, bool hover,
                                                        bool elsewhere)
{
    std::vector<osg::ref_ptr<Rk::FrameDragger>> draggers;
    for (std::size_t i = 0; i < stores.size(); ++i) {
        draggers.push_back(makeAidedDragger(stores[i]));
        draggers.back()->setHoverHighlight(hover);
        const double row = double(i / 10);
        const double column = double(i % 10);
        if (i > 0 && elsewhere) {
            stores[i].pose.makeTranslate(otherDraggerPlace(int(i)));
            draggers.back()->setScale(kOtherDraggerScale);
        } else {
            stores[i].pose.makeTranslate(-kSpacing * column, kSpacing * row, -kSpacing * row);
        }
        draggers.back()->setMatrix(stores[i].pose);
        harness.root()->addChild(draggers.back().get());
    }
    return draggers;
}

// Argument 0: the number of gizmos in the scene; argument 1: whether their
// hover is on; argument 2: where the others sit: 0 around the first one, 1
// small and elsewhere (see placeGizmos). The pointer moves back and forth
// along the first one's X arrow.
void BM_HoverMove_FrameXArrow(benchmark::State& state)
{
    const bool hover = state.range(1) != 0;
    RkTest::ViewerHarness harness(kEye);
    std::vector<PoseStore> stores(std::size_t(state.range(0)));
    const std::vector<osg::ref_ptr<Rk::FrameDragger>> draggers =
        placeGizmos(harness, stores, hover, state.range(2) != 0);
    const osg::Vec2d points[] = {harness.project(kXArrowPoint), harness.project(kXArrowDragPoint)};
    harness.move(points[0]);
    if (hover && draggers[0]->hoveredHandle() != draggers[0]->translateDragger()->xDragger()) {
        state.SkipWithError("the X arrow is not highlighted");
        return;
    }
    int next = 1;
    for (auto _ : state) {
        harness.move(points[next]);
        next = 1 - next;
    }
}
BENCHMARK(BM_HoverMove_FrameXArrow)
    ->Args({1, 1, 0})
    ->Args({100, 1, 0})
    ->Args({100, 1, 1})
    ->Args({1, 0, 0})
    ->Args({100, 0, 0})
    ->ArgNames({"draggers", "hover", "elsewhere"});

// A frame while the pointer rests on the first gizmo's X arrow, every gizmo
// with hover on (placed as in BM_HoverMove_FrameXArrow, elsewhere). Argument
// 0: the number of gizmos; argument 1: whether the camera moves at every
// frame (a zoom, say), so that every gizmo looks again under the pointer.
void BM_HoverRestingFrame_FrameXArrow(benchmark::State& state)
{
    const bool cameraMoves = state.range(1) != 0;
    RkTest::ViewerHarness harness(kEye);
    std::vector<PoseStore> stores(std::size_t(state.range(0)));
    const std::vector<osg::ref_ptr<Rk::FrameDragger>> draggers =
        placeGizmos(harness, stores, true, true);
    harness.move(harness.project(kXArrowPoint));
    const osg::Vec3d eyes[] = {kEye, kEye * 1.001};
    int next = 1;
    for (auto _ : state) {
        if (cameraMoves) {
            harness.lookAt(eyes[next], osg::Vec3d(), osg::Z_AXIS);
            next = 1 - next;
        }
        harness.frame();
    }
    if (draggers[0]->hoveredHandle() != draggers[0]->translateDragger()->xDragger())
        state.SkipWithError("the X arrow is not highlighted");
}
BENCHMARK(BM_HoverRestingFrame_FrameXArrow)
    ->Args({1, 0})
    ->Args({100, 0})
    ->Args({1, 1})
    ->Args({100, 1})
    ->ArgNames({"draggers", "cameraMoves"});

void BM_PressRelease_FrameXArrowBeside(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeAidedDragger(store);
    dragger->setHoverHighlight(false);
    harness.root()->addChild(dragger.get());
    const osg::Vec2d at = besideXArrow(harness, kBeside);
    if (firstHitIsBelow(harness, at, dragger.get())) {
        state.SkipWithError("the press hits the dragger itself");
        return;
    }
    for (auto _ : state) {
        if (!harness.press(at) || !harness.release(at)) {
            state.SkipWithError("the press was not taken");
            return;
        }
    }
}
BENCHMARK(BM_PressRelease_FrameXArrowBeside);

} // namespace
