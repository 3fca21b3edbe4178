// The frame-time follow: one frame event through the viewer's event traversal
// with N draggers in the scene, each comparing its pose with its receiver's.
// The draggers are built without geometry: the follow never looks at it, and
// 10,000 pick tori would only fill memory.
#include "rkBenchScenes.h"

#include <map>
#include <memory>
#include <vector>

namespace {

using namespace RkBench;

/// N shown draggers of one kind in one viewer, each with its own receiver
/// onto one shared host pose.
struct FollowScene
{
    RkTest::ViewerHarness harness{kEye};
    PoseStore store;
    std::vector<osg::ref_ptr<osgManipulator::Dragger>> draggers;
};

/// The two host poses that the changing receiver alternates between: far
/// enough apart that every dragger moves at every frame.
const osg::Matrixd kPoseA = osg::Matrixd::translate(0.1, 0.2, 0.3);
const osg::Matrixd kPoseB =
    osg::Matrixd::rotate(0.1, osg::Z_AXIS) * osg::Matrixd::translate(0.2, 0.2, 0.3);

FollowScene& frameDraggerScene(int count)
{
    // Built once per size: Google Benchmark calls each benchmark several times.
    static std::map<int, std::unique_ptr<FollowScene>> scenes;
    std::unique_ptr<FollowScene>& scene = scenes[count];
    if (!scene) {
        scene = std::make_unique<FollowScene>();
        for (int i = 0; i < count; ++i) {
            osg::ref_ptr<Rk::FrameDragger> dragger =
                new Rk::FrameDragger(scene->store.makeReceiver(), false);
            static_cast<Rk::Composite3DDragger*>(dragger.get())->showDraggers(true);
            scene->harness.root()->addChild(dragger.get());
            scene->draggers.push_back(dragger.get());
        }
    }
    return *scene;
}

FollowScene& stockDraggerScene(int count)
{
    static std::map<int, std::unique_ptr<FollowScene>> scenes;
    std::unique_ptr<FollowScene>& scene = scenes[count];
    if (!scene) {
        scene = std::make_unique<FollowScene>();
        for (int i = 0; i < count; ++i) {
            osg::ref_ptr<osgManipulator::TranslateAxisDragger> dragger =
                new osgManipulator::TranslateAxisDragger;
            dragger->setHandleEvents(true);
            scene->harness.root()->addChild(dragger.get());
            scene->draggers.push_back(dragger.get());
        }
    }
    return *scene;
}

void countPerDragger(benchmark::State& state)
{
    state.counters["per_dragger"] =
        benchmark::Counter(double(state.range(0)), benchmark::Counter::kIsIterationInvariantRate |
                                                       benchmark::Counter::kInvert);
}

// The host left every receiver alone: each dragger compares and stays.
void BM_Follow_FrameUnchanged(benchmark::State& state)
{
    FollowScene& scene = frameDraggerScene(int(state.range(0)));
    scene.store.pose = kPoseA;
    scene.harness.frame();
    for (auto _ : state)
        scene.harness.frame();
    countPerDragger(state);
}

// The host moved the pose before every frame: each dragger compares, moves
// to the receiver's pose and emits signalPoseChanged.
void BM_Follow_FrameChanged(benchmark::State& state)
{
    FollowScene& scene = frameDraggerScene(int(state.range(0)));
    bool toB = true;
    for (auto _ : state) {
        scene.store.pose = toB ? kPoseB : kPoseA;
        scene.harness.frame();
        toB = !toB;
    }
    countPerDragger(state);
}

// Reference: the same frame event for stock draggers, which do not follow
// anything; the cost of the event traversal itself.
void BM_Follow_StockTranslateFrameEvent(benchmark::State& state)
{
    FollowScene& scene = stockDraggerScene(int(state.range(0)));
    for (auto _ : state)
        scene.harness.frame();
    countPerDragger(state);
}

BENCHMARK(BM_Follow_FrameUnchanged)->Arg(1)->Arg(100)->Arg(10000);
BENCHMARK(BM_Follow_FrameChanged)->Arg(1)->Arg(100)->Arg(10000);
BENCHMARK(BM_Follow_StockTranslateFrameEvent)->Arg(1)->Arg(100)->Arg(10000);

} // namespace
