// The frame dragger's optional handles: one drag step of the XY plane handle
// (beside BM_DragStep_FrameLive, an X arrow's step) and a press + release on
// each new handle (beside BM_PressRelease_StockTranslateArrow), and an X arrow
// press on the same frame.
#include "rkBenchScenes.h"

namespace {

using namespace RkBench;

const osg::Vec3d kXYSquarePoint(Rk::ExtraHandlesDragger::PLANE_OFFSET,
                                Rk::ExtraHandlesDragger::PLANE_OFFSET, 0.0);
const osg::Vec2d kPlaneDragPixels(30.0, -20.0);

/// A frame dragger with every optional handle, in `harness`'s scene.
osg::ref_ptr<Rk::FrameDragger> makeFullFrame(RkTest::ViewerHarness& harness, PoseStore& store)
{
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    dragger->setHandleSet(Rk::FrameDragger::PLANE_HANDLES | Rk::FrameDragger::SCREEN_HANDLE |
                          Rk::FrameDragger::VIEW_RING);
    dragger->rebuildExtraHandles();
    harness.root()->addChild(dragger.get());
    return dragger;
}

/// A point of the view ring as the bench's camera sees it.
osg::Vec3d viewRingPoint()
{
    osg::Vec3d side = kEye ^ osg::Z_AXIS;
    side.normalize();
    return side * (Rk::RotateDragger::DEFAULT_RING_RADIUS *
                   Rk::ExtraHandlesDragger::VIEW_RING_RADIUS_FACTOR);
}

void BM_DragStep_FramePlaneXY(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFullFrame(harness, store);
    if (!checkHandleUnder(state, harness, kXYSquarePoint,
                          dragger->extraHandles()->planeHandle(Rk::Composite3DDragger::Z_AXIS)))
        return;
    const osg::Vec2d from = harness.project(kXYSquarePoint);
    harness.press(from);
    bool forth = true;
    for (auto _ : state) {
        if (!harness.drag(forth ? from + kPlaneDragPixels : from)) {
            state.SkipWithError("the drag was not handled");
            break;
        }
        forth = !forth;
    }
    harness.release(from);
}
BENCHMARK(BM_DragStep_FramePlaneXY);

void pressAndRelease(benchmark::State& state, const osg::Vec3d& world,
                     osg::Node* (*handleOf)(Rk::FrameDragger&))
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFullFrame(harness, store);
    if (!checkHandleUnder(state, harness, world, handleOf(*dragger)))
        return;
    const osg::Vec2d window = harness.project(world);
    for (auto _ : state) {
        if (!harness.press(window) || !harness.release(window)) {
            state.SkipWithError("the press was not handled");
            return;
        }
    }
}

void BM_PressRelease_FramePlaneXY(benchmark::State& state)
{
    pressAndRelease(state, kXYSquarePoint, [](Rk::FrameDragger& frame) -> osg::Node* {
        return frame.extraHandles()->planeHandle(Rk::Composite3DDragger::Z_AXIS);
    });
}
BENCHMARK(BM_PressRelease_FramePlaneXY);

void BM_PressRelease_FrameScreenHandle(benchmark::State& state)
{
    pressAndRelease(state, osg::Vec3d(), [](Rk::FrameDragger& frame) -> osg::Node* {
        return frame.extraHandles()->screenHandle();
    });
}
BENCHMARK(BM_PressRelease_FrameScreenHandle);

void BM_PressRelease_FrameViewRing(benchmark::State& state)
{
    pressAndRelease(state, viewRingPoint(), [](Rk::FrameDragger& frame) -> osg::Node* {
        return frame.extraHandles()->viewRing();
    });
}
BENCHMARK(BM_PressRelease_FrameViewRing);

// The X arrow of a frame with every optional handle (beside
// BM_PressRelease_FrameXArrow, the same press without them): what the third
// child costs a press that does not take it.
void BM_PressRelease_FullFrameXArrow(benchmark::State& state)
{
    pressAndRelease(state, kXArrowPoint, [](Rk::FrameDragger& frame) -> osg::Node* {
        return frame.translateDragger()->xDragger();
    });
}
BENCHMARK(BM_PressRelease_FullFrameXArrow);

} // namespace
