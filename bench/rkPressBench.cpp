// Press + release on one handle: the pick, the press handling and the release,
// each through one event traversal of the viewer.
#include "rkBenchScenes.h"
#include "rkPickCache.h"

#include <deque>

namespace {

using namespace RkBench;

/// Presses and releases the handle seen at `world` once per iteration.
void pressAndRelease(benchmark::State& state, RkTest::ViewerHarness& harness,
                     const osg::Vec3d& world, osg::Node* handle)
{
    if (!checkHandleUnder(state, harness, world, handle))
        return;
    const osg::Vec2d at = harness.project(world);
    const unsigned long long picksBefore = Rk::PickCache::computedPicks();
    for (auto _ : state) {
        if (!harness.press(at) || !harness.release(at)) {
            state.SkipWithError("the press was not handled");
            return;
        }
    }
    // Scene picks the library's draggers computed per press (none for stock).
    state.counters["picks"] =
        double(Rk::PickCache::computedPicks() - picksBefore) / double(state.iterations());
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

// Press + release on the X arrow of the frame dragger that the scene lists
// last, with argument 0 frame draggers in all (the others small and
// elsewhere) and argument 1 other triangles (no KdTrees).
void BM_PressCrowd_FrameXArrow(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    if (state.range(1) > 0)
        harness.root()->addChild(makeSceneGeometry(int(state.range(1)), false).get());
    std::deque<PoseStore> stores(std::size_t(state.range(0)));
    osg::ref_ptr<Rk::FrameDragger> dragger;
    for (std::size_t index = 0; index < stores.size(); ++index) {
        const bool other = index + 1 < stores.size();
        // The host pose places the dragger: the frame-time follow keeps it there.
        if (other)
            stores[index].pose = osg::Matrixd::translate(otherDraggerPlace(int(index)));
        dragger = makeFrameDragger(stores[index].makeReceiver());
        if (other)
            dragger->setScale(kOtherDraggerScale);
        harness.root()->addChild(dragger.get());
    }
    pressAndRelease(state, harness, kXArrowPoint, dragger->translateDragger()->xDragger());
}

// The same scenes with osgManipulator's stock translate draggers.
void BM_PressCrowd_StockTranslateArrow(benchmark::State& state)
{
    RkTest::ViewerHarness harness(kEye);
    if (state.range(1) > 0)
        harness.root()->addChild(makeSceneGeometry(int(state.range(1)), false).get());
    osg::ref_ptr<osgManipulator::TranslateAxisDragger> dragger;
    for (int index = 0; index < state.range(0); ++index) {
        dragger = makeStockTranslateDragger();
        if (index + 1 < state.range(0))
            dragger->setMatrix(osg::Matrixd::scale(osg::Vec3d(1, 1, 1) * kOtherDraggerScale) *
                               osg::Matrixd::translate(otherDraggerPlace(index)));
        harness.root()->addChild(dragger.get());
    }
    pressAndRelease(state, harness, kXArrowPoint, dragger->getDragger(0));
}

void crowdSizes(benchmark::internal::Benchmark* benchmark)
{
    for (int triangles : {0, 100000})
        for (int draggers : {1, 10, 100})
            benchmark->Args({draggers, triangles});
    benchmark->ArgNames({"draggers", "triangles"});
}
BENCHMARK(BM_PressCrowd_FrameXArrow)->Apply(crowdSizes);
BENCHMARK(BM_PressCrowd_StockTranslateArrow)->Apply(crowdSizes);

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
