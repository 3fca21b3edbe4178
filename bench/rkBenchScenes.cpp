#include "rkBenchScenes.h"

#include "rkRotateDragger.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/KdTree>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace RkBench {

namespace {

// Where the stock trackball's rings lie.
const double kStockRingRadius = 1.0;
// Ring points are taken at -22.5 degrees about Z: in front of the origin, away
// from the X and Y rings, from every arrow and halfway between two of the
// frame dragger's direction cones (every 45 degrees from +X).
const double kRingPointAngle = -osg::PI_4 / 2.0;

// Layers of unrelated geometry: grids of 100 x 50 quads (10,000 triangles)
// in planes y = const behind the draggers, large enough to fill the view.
const int kLayerColumns = 100;
const int kLayerRows = 50;
const int kTrianglesPerLayer = 2 * kLayerColumns * kLayerRows;
const double kLayerHalfWidth = 6.0;
const double kLayerHalfHeight = 4.0;
const double kFirstLayerDepth = 2.0;
const double kLayerSpacing = 0.01;

osg::Vec3d ringPoint(double radius)
{
    return osg::Vec3d(radius * std::cos(kRingPointAngle), radius * std::sin(kRingPointAngle), 0.0);
}

osg::ref_ptr<Rk::FrameDragger> readyFrameDragger(Rk::FrameDragger* dragger)
{
    dragger->setupDefaultGeometry();
    dragger->setScale(1.0);
    static_cast<Rk::Composite3DDragger*>(dragger)->showDraggers(true);
    return dragger;
}

osg::Geometry* makeLayer(double depth)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    for (int row = 0; row <= kLayerRows; ++row)
        for (int column = 0; column <= kLayerColumns; ++column)
            vertices->push_back(
                osg::Vec3(-kLayerHalfWidth + 2.0 * kLayerHalfWidth * column / kLayerColumns, depth,
                          -kLayerHalfHeight + 2.0 * kLayerHalfHeight * row / kLayerRows));
    osg::DrawElementsUInt* triangles = new osg::DrawElementsUInt(GL_TRIANGLES);
    const int stride = kLayerColumns + 1;
    for (int row = 0; row < kLayerRows; ++row) {
        for (int column = 0; column < kLayerColumns; ++column) {
            const unsigned int corner = row * stride + column;
            for (unsigned int index : {corner, corner + 1, corner + stride + 1, corner,
                                       corner + stride + 1, corner + stride})
                triangles->push_back(index);
        }
    }
    osg::Geometry* layer = new osg::Geometry;
    layer->setVertexArray(vertices);
    layer->addPrimitiveSet(triangles);
    return layer;
}

} // namespace

Rk::DraggerReceiver* PoseStore::makeReceiver()
{
    return new Rk::DraggerReceiver([this] { return pose; },
                                   [this](const osg::Matrixd& matrix) { pose = matrix; });
}

osg::ref_ptr<Rk::FrameDragger> makeFrameDragger(Rk::DraggerReceiver* receiver)
{
    return readyFrameDragger(new Rk::FrameDragger(receiver, false));
}

osg::ref_ptr<Rk::FrameDragger> makeFrameDragger(Rk::PluginGUI* gui)
{
    return readyFrameDragger(new Rk::FrameDragger(gui, false));
}

osg::ref_ptr<osgManipulator::TranslateAxisDragger> makeStockTranslateDragger()
{
    osg::ref_ptr<osgManipulator::TranslateAxisDragger> dragger =
        new osgManipulator::TranslateAxisDragger;
    dragger->setupDefaultGeometry();
    dragger->setHandleEvents(true);
    return dragger;
}

osg::ref_ptr<osgManipulator::TrackballDragger> makeStockTrackballDragger()
{
    osg::ref_ptr<osgManipulator::TrackballDragger> dragger = new osgManipulator::TrackballDragger;
    dragger->setupDefaultGeometry();
    dragger->setHandleEvents(true);
    return dragger;
}

osg::Vec3d frameZRingPoint()
{
    return ringPoint(Rk::RotateDragger::DEFAULT_RING_RADIUS);
}

osg::Vec3d stockZRingPoint()
{
    return ringPoint(kStockRingRadius);
}

bool firstHitIsBelow(RkTest::ViewerHarness& harness, const osg::Vec2d& window, osg::Node* node)
{
    // A ray through the viewer's camera at the window point (y counted
    // upwards in the viewport).
    osg::ref_ptr<osgUtil::LineSegmentIntersector> ray = new osgUtil::LineSegmentIntersector(
        osgUtil::Intersector::WINDOW, window.x(), RkTest::ViewerHarness::HEIGHT - window.y());
    osgUtil::IntersectionVisitor visitor(ray.get());
    harness.viewer().getCamera()->accept(visitor);
    if (!ray->containsIntersections())
        return false;
    const osg::NodePath& path = ray->getFirstIntersection().nodePath;
    return std::find(path.begin(), path.end(), node) != path.end();
}

bool checkHandleUnder(benchmark::State& state, RkTest::ViewerHarness& harness,
                      const osg::Vec3d& world, osg::Node* handle)
{
    if (firstHitIsBelow(harness, harness.project(world), handle))
        return true;
    state.SkipWithError("the benchmark's window point does not hit the intended handle");
    return false;
}

osg::ref_ptr<osg::Group> makeSceneGeometry(int triangles, bool withKdTrees)
{
    // Built once per size: Google Benchmark calls a benchmark several times,
    // and a million triangles with KdTrees take a while to build.
    static std::map<std::pair<int, bool>, osg::ref_ptr<osg::Group>> built;
    osg::ref_ptr<osg::Group>& group = built[std::make_pair(triangles, withKdTrees)];
    if (group)
        return group;
    group = new osg::Group;
    const int layers = std::max(1, triangles / kTrianglesPerLayer);
    for (int layer = 0; layer < layers; ++layer) {
        osg::Geode* geode = new osg::Geode;
        geode->addDrawable(makeLayer(kFirstLayerDepth + layer * kLayerSpacing));
        group->addChild(geode);
    }
    if (withKdTrees) {
        osg::ref_ptr<osg::KdTreeBuilder> builder = new osg::KdTreeBuilder;
        group->accept(*builder);
    }
    return group;
}

osg::Vec3d otherDraggerPlace(int index)
{
    return osg::Vec3d(-2.0 + 0.04 * index, 0.0, 1.6 + 0.002 * index);
}

} // namespace RkBench
