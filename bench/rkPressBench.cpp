// Press + release on one handle: the pick, the press handling and the release,
// each through one event traversal of the viewer.
#include "rkBenchScenes.h"

namespace {

using namespace RkBench;

/// Presses and releases the handle seen at `world` once per iteration.
void pressAndRelease(benchmark::State& state, RkTest::ViewerHarness& harness,
                     const osg::Vec3d& world, osg::Node* handle)
{
    if (!checkHandleUnder(state, harness, world, handle))
        return;
    const osg::Vec2d at = harness.project(world);
    for (auto _ : state) {
        if (!harness.press(at) || !harness.release(at)) {
            state.SkipWithError("the press was not handled");
            return;
        }
    }
}

void BM_PressRelease_FrameXArrow(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    harness.root()->addChild(dragger.get());
    pressAndRelease(state, harness, kXArrowPoint, dragger->translateDragger()->xDragger());
}
BENCHMARK(BM_PressRelease_FrameXArrow);

void BM_PressRelease_FrameZRing(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    harness.root()->addChild(dragger.get());
    pressAndRelease(state, harness, frameZRingPoint(), dragger->rotateDragger()->zDragger());
}
BENCHMARK(BM_PressRelease_FrameZRing);

void BM_PressRelease_StockTranslateArrow(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    osg::ref_ptr<osgManipulator::TranslateAxisDragger> dragger = makeStockTranslateDragger();
    harness.root()->addChild(dragger.get());
    pressAndRelease(state, harness, kXArrowPoint, dragger->getDragger(0));
}
BENCHMARK(BM_PressRelease_StockTranslateArrow);

void BM_PressRelease_StockTrackballRing(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    osg::ref_ptr<osgManipulator::TrackballDragger> dragger = makeStockTrackballDragger();
    harness.root()->addChild(dragger.get());
    pressAndRelease(state, harness, stockZRingPoint(), dragger->getDragger(2));
}
BENCHMARK(BM_PressRelease_StockTrackballRing);

// Press + release on the X arrow with unrelated geometry behind the dragger:
// argument 0 the number of triangles, argument 1 whether the geometry carries
// KdTrees.
void BM_PressScene_FrameXArrow(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    harness.root()->addChild(makeSceneGeometry(int(state.range(0)), state.range(1) != 0).get());
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> dragger = makeFrameDragger(store.makeReceiver());
    harness.root()->addChild(dragger.get());
    pressAndRelease(state, harness, kXArrowPoint, dragger->translateDragger()->xDragger());
}

void BM_PressScene_StockTranslateArrow(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    harness.root()->addChild(makeSceneGeometry(int(state.range(0)), state.range(1) != 0).get());
    osg::ref_ptr<osgManipulator::TranslateAxisDragger> dragger = makeStockTranslateDragger();
    harness.root()->addChild(dragger.get());
    pressAndRelease(state, harness, kXArrowPoint, dragger->getDragger(0));
}

void sceneSizes(benchmark::internal::Benchmark* benchmark)
{
    for (int withKdTrees : {0, 1})
        for (int triangles : {10000, 100000, 1000000})
            benchmark->Args({triangles, withKdTrees});
    benchmark->ArgNames({"triangles", "kdtree"});
}
BENCHMARK(BM_PressScene_FrameXArrow)->Apply(sceneSizes);
BENCHMARK(BM_PressScene_StockTranslateArrow)->Apply(sceneSizes);

} // namespace
