// Building the default geometry: once per dragger, when the host sets it up.
#include "rkBenchScenes.h"

namespace {

using namespace RkBench;

// The first frame dragger of its sizes: it builds the shared handle geometry
// (the dragger of the previous iteration, its last holder, is gone).
void BM_SetupDefaultGeometry_Frame(benchmark::State& state)
{
    PoseStore store;
    for (auto _ : state) {
        state.PauseTiming();
        osg::ref_ptr<Rk::FrameDragger> dragger = new Rk::FrameDragger(store.makeReceiver(), false);
        state.ResumeTiming();
        dragger->setupDefaultGeometry();
        state.PauseTiming();
        dragger = nullptr;
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SetupDefaultGeometry_Frame);

// A second and later frame dragger with the same sizes: another dragger
// already holds the shared handle geometry.
void BM_SetupDefaultGeometry_FrameLater(benchmark::State& state)
{
    PoseStore store;
    osg::ref_ptr<Rk::FrameDragger> first = new Rk::FrameDragger(store.makeReceiver(), false);
    first->setupDefaultGeometry();
    for (auto _ : state) {
        state.PauseTiming();
        osg::ref_ptr<Rk::FrameDragger> dragger = new Rk::FrameDragger(store.makeReceiver(), false);
        state.ResumeTiming();
        dragger->setupDefaultGeometry();
        state.PauseTiming();
        dragger = nullptr;
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SetupDefaultGeometry_FrameLater);

// Reference: the two stock draggers that together offer what a frame dragger
// offers, arrows and rings.
void BM_SetupDefaultGeometry_StockTranslateAndTrackball(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        osg::ref_ptr<osgManipulator::TranslateAxisDragger> translate =
            new osgManipulator::TranslateAxisDragger;
        osg::ref_ptr<osgManipulator::TrackballDragger> trackball =
            new osgManipulator::TrackballDragger;
        state.ResumeTiming();
        translate->setupDefaultGeometry();
        trackball->setupDefaultGeometry();
        state.PauseTiming();
        translate = nullptr;
        trackball = nullptr;
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SetupDefaultGeometry_StockTranslateAndTrackball);

} // namespace
