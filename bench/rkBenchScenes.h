#ifndef RK_BENCH_SCENES_H
#define RK_BENCH_SCENES_H

#include "rkDraggerReceiver.h"
#include "rkFrameDragger.h"
#include "rkViewerHarness.h"

#include <benchmark/benchmark.h>
#include <osg/ref_ptr>
#include <osgManipulator/TrackballDragger>
#include <osgManipulator/TranslateAxisDragger>

/// Scenes shared by the benchmarks. Every benchmark drives its dragger through
/// a real osgViewer::Viewer (the test harness: embedded window, events pushed
/// into the window's own queue, advance() + eventTraversal(), no GL context),
/// with the same camera and the same window points for the library's draggers
/// and osgManipulator's stock draggers.
namespace RkBench {

/// Eye of every scene, looking at the origin with Z up: all three axes and
/// rings are seen at an angle.
const osg::Vec3d kEye(2.5, -5.0, 3.0);

/// A point on the X arrow (library and stock arrows both run from 0 to 1 on X).
const osg::Vec3d kXArrowPoint(0.7, 0.0, 0.0);
/// Second point of a drag along the X arrow.
const osg::Vec3d kXArrowDragPoint(0.8, 0.0, 0.0);

/// A host pose behind a receiver: the writes land in `pose`, nothing else.
struct PoseStore
{
    osg::Matrixd pose;
    Rk::DraggerReceiver* makeReceiver();
};

/// A frame dragger on `receiver` as a host sets it up: geometry, scale 1,
/// shown; rings of fixed size (no screen scaling), like the stock draggers.
osg::ref_ptr<Rk::FrameDragger> makeFrameDragger(Rk::DraggerReceiver* receiver);
/// The same for the plug-in form, whose receiver writes parameter 261.
osg::ref_ptr<Rk::FrameDragger> makeFrameDragger(Rk::PluginGUI* gui);
/// osgManipulator's stock draggers with their default geometry and event
/// handling on, as an application would add them.
osg::ref_ptr<osgManipulator::TranslateAxisDragger> makeStockTranslateDragger();
osg::ref_ptr<osgManipulator::TrackballDragger> makeStockTrackballDragger();

/// Where the other draggers of a crowded scene sit: in a row above the
/// measured one, where no pick ray at its handles passes; they are small
/// (scale `kOtherDraggerScale`).
const double kOtherDraggerScale = 0.1;
osg::Vec3d otherDraggerPlace(int index);

/// A point on the Z ring of a frame dragger, away from the other handles.
osg::Vec3d frameZRingPoint();
/// A point on the Z ring of the stock trackball dragger.
osg::Vec3d stockZRingPoint();

/// True when the first hit of a pick at `window` lies below `node`: the
/// benchmark then presses the handle it claims to press.
bool firstHitIsBelow(RkTest::ViewerHarness& harness, const osg::Vec2d& window, osg::Node* node);
/// Stops `state` with an error unless a press at `world` picks `handle`.
bool checkHandleUnder(benchmark::State& state, RkTest::ViewerHarness& harness,
                      const osg::Vec3d& world, osg::Node* handle);

/// Unrelated scene geometry: `triangles` triangles in layers of 10,000, each
/// layer a flat grid filling the view behind the draggers, so that every
/// pick ray crosses the bounding box of every layer. Default node masks.
osg::ref_ptr<osg::Group> makeSceneGeometry(int triangles, bool withKdTrees);

} // namespace RkBench

#endif
