// Picks that skip the handles a ray passes beside: the same hits as a full
// traversal, and a full traversal wherever a bound cannot vouch for what a
// handle holds. (How few handles a pick enters is measured in bench/.)
#include "rkAxialShellBound.h"
#include "rkDraggerUtility.h"
#include "rkFrameDragger.h"
#include "rkFrontIntersector.h"
#include "rkGizmoTestHelpers.h"
#include "rkRotateDragger.h"
#include "rkTorusIndex.h"
#include "rkTriangleIndex.h"

#include <gtest/gtest.h>
#include <osg/Camera>
#include <osg/KdTree>
#include <osg/ShapeDrawable>
#include <osg/io_utils>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include <cmath>
#include <random>
#include <tuple>

using Rk::Composite3DDragger;
using Rk::FrameDragger;

namespace {

const int kGridStep = 5;
const double kRingRadius = RkTest::kRingRadius;

/// A line-segment intersector of another type: draggers give it the full
/// traversal, as they do to any intersector they do not know. Its clones are
/// plain line-segment intersectors, so it finds hits exactly as they do.
class FullTraversalIntersector : public osgUtil::LineSegmentIntersector
{
public:
    using LineSegmentIntersector::LineSegmentIntersector;
};

/// Everything a hit holds: ratio, node path, drawable, primitive index,
/// local point and normal, corner indices and their weights.
using Hit = std::tuple<double, osg::NodePath, const osg::Drawable*, unsigned int, osg::Vec3d,
                       osg::Vec3, std::vector<unsigned int>, std::vector<double>>;

std::vector<Hit> hitsOf(osgUtil::LineSegmentIntersector& intersector)
{
    std::vector<Hit> hits;
    for (const auto& hit : intersector.getIntersections())
        hits.emplace_back(hit.ratio, hit.nodePath, hit.drawable.get(), hit.primitiveIndex,
                          hit.localIntersectionPoint, hit.localIntersectionNormal, hit.indexList,
                          hit.ratioList);
    return hits;
}

std::vector<Hit> pick(osg::Node* scene, osgUtil::LineSegmentIntersector* intersector)
{
    osgUtil::IntersectionVisitor visitor(intersector);
    visitor.setTraversalMask(Composite3DDragger::DRAGGER_MASK);
    scene->accept(visitor);
    return hitsOf(*intersector);
}

/// Picks at window point (x, y up) once as the viewer picks, once as the
/// library's shared pick does (triangles through their index) and once with
/// the full traversal and the plain triangle test; every hit must be the
/// same, bit for bit. A pick that skips what lies behind its nearest hit
/// must find the same front hit.
std::vector<Hit> expectSameHitsAt(osg::Camera* camera, double x, double y)
{
    osg::ref_ptr<osgUtil::LineSegmentIntersector> viewerPick =
        new osgUtil::LineSegmentIntersector(osgUtil::Intersector::WINDOW, x, y);
    osg::ref_ptr<Rk::IndexedIntersector> indexedPick =
        new Rk::IndexedIntersector(osgUtil::Intersector::WINDOW, x, y);
    osg::ref_ptr<FullTraversalIntersector> fullPick =
        new FullTraversalIntersector(osgUtil::Intersector::WINDOW, x, y);
    osg::ref_ptr<Rk::FrontIntersector> frontPick =
        new Rk::FrontIntersector(osgUtil::Intersector::WINDOW, x, y);
    const std::vector<Hit> hits = pick(camera, viewerPick.get());
    EXPECT_TRUE(hits == pick(camera, fullPick.get())) << "at " << x << ", " << y;
    EXPECT_TRUE(hits == pick(camera, indexedPick.get())) << "indexed, at " << x << ", " << y;
    const std::vector<Hit> front = pick(camera, frontPick.get());
    EXPECT_TRUE(front.empty() == hits.empty() && (hits.empty() || front[0] == hits[0]))
        << "front hit at " << x << ", " << y;
    return hits;
}

/// The same hits at every `kGridStep`-th window point; returns the number
/// of points that hit anything.
int expectSameHitsOverTheWindow(osg::Camera* camera)
{
    int pointsWithHits = 0;
    for (int x = 0; x < RkTest::ViewerHarness::WIDTH; x += kGridStep)
        for (int y = 0; y < RkTest::ViewerHarness::HEIGHT; y += kGridStep)
            pointsWithHits += expectSameHitsAt(camera, x, y).empty() ? 0 : 1;
    return pointsWithHits;
}

osg::ref_ptr<FrameDragger> shownFrameDragger(bool autoScaleToScreen, int handleSet = 0)
{
    osg::ref_ptr<FrameDragger> dragger =
        new FrameDragger(static_cast<Rk::DraggerReceiver*>(nullptr), autoScaleToScreen);
    dragger->setHandleSet(handleSet);
    dragger->setupDefaultGeometry();
    dragger->setScale(1.0);
    static_cast<Composite3DDragger*>(dragger.get())->showDraggers(true);
    return dragger;
}

} // namespace

TEST(PickSegment, PicksFindTheSameHitsAsAFullTraversalForEveryPoseAndScale)
{
    RkTest::ViewerHarness harness(RkTest::kSceneEye);
    const auto turned = [](int handleSet) {
        osg::ref_ptr<FrameDragger> dragger = shownFrameDragger(false, handleSet);
        dragger->setMatrix(osg::Matrixd::rotate(0.7, osg::Vec3d(1, 2, 3)) *
                           osg::Matrixd::translate(0.2, -0.1, 0.3));
        dragger->setScale(0.6);
        return dragger;
    };
    // Gizmos one behind another along the view, under transforms of their own.
    osg::ref_ptr<osg::Group> row = new osg::Group;
    for (int index = 0; index < 4; ++index) {
        osg::ref_ptr<osg::MatrixTransform> place =
            new osg::MatrixTransform(osg::Matrixd::translate(osg::Vec3d(-0.5, 1.0, -0.6) * index));
        place->addChild(turned(index % 2 ? RkTest::kAllExtraHandles : 0));
        row->addChild(place.get());
    }
    // And one drawn over the scene by a HUD camera, in window pixels.
    osg::ref_ptr<osg::Camera> hud = new osg::Camera;
    hud->setReferenceFrame(osg::Transform::ABSOLUTE_RF);
    hud->setProjectionMatrixAsOrtho(0, RkTest::ViewerHarness::WIDTH, 0,
                                    RkTest::ViewerHarness::HEIGHT, -1000, 1000);
    osg::ref_ptr<osg::MatrixTransform> inPixels = new osg::MatrixTransform(
        osg::Matrixd::scale(osg::Vec3d(150, 150, 150)) * osg::Matrixd::translate(500, 250, 0));
    inPixels->addChild(turned(0));
    hud->addChild(inPixels.get());
    row->addChild(hud.get());
    osg::ref_ptr<Rk::RotateDragger> rotate = new Rk::RotateDragger(nullptr, false);
    rotate->setupDefaultGeometry();
    rotate->setScale(1.7);
    rotate->showDraggers(true);
    const std::pair<const char*, osg::ref_ptr<osg::Node>> rows[] = {
        {"frame dragger at the origin", shownFrameDragger(false)},
        {"frame dragger turned, moved and scaled", turned(0)},
        // The optional handles: squares, the ball and the camera-facing view ring.
        {"every optional handle", shownFrameDragger(false, RkTest::kAllExtraHandles)},
        {"every optional handle, turned, moved and scaled", turned(RkTest::kAllExtraHandles)},
        {"rings under the screen-scaling chain", shownFrameDragger(true)},
        {"gizmos one behind another, and one on a HUD", row},
        {"standalone rotate dragger, scaled", rotate}};
    for (const auto& [name, dragger] : rows) {
        SCOPED_TRACE(name);
        harness.root()->addChild(dragger.get());
        EXPECT_GT(expectSameHitsOverTheWindow(harness.viewer().getCamera()), 100)
            << "the grid covers the gizmo";
        harness.root()->removeChild(dragger.get());
    }
    // Through an orthographic camera, far off its axis: the view ring faces
    // back along the line of sight, not towards the eye point.
    harness.viewer().getCamera()->setProjectionMatrixAsOrtho(-4, 4, -3, 3, 0.1, 100);
    osg::ref_ptr<FrameDragger> offAxis = shownFrameDragger(false, RkTest::kAllExtraHandles);
    offAxis->setMatrix(osg::Matrixd::translate(2.24, 1.12, 0));
    harness.root()->addChild(offAxis.get());
    EXPECT_GT(expectSameHitsOverTheWindow(harness.viewer().getCamera()), 100);
}

namespace {

/// A geometry with a triangle primitive set of every kind OpenSceneGraph
/// tests, drawn from and indexed into one small cloud of vertices.
osg::ref_ptr<osg::Geometry> everyKindOfTriangle()
{
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 6; ++column)
            vertices->push_back(osg::Vec3(column * 0.2f, row * 0.3f, 0.05f * ((row * column) % 3)));
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(vertices.get());
    for (GLenum mode :
         {GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN, GL_QUADS, GL_QUAD_STRIP, GL_POLYGON}) {
        geometry->addPrimitiveSet(new osg::DrawArrays(mode, 0, 12));
        const GLushort corners[] = {12, 18, 13, 19, 14, 20, 15, 21, 16, 22, 17, 23};
        geometry->addPrimitiveSet(new osg::DrawElementsUShort(mode, 12, corners));
    }
    return geometry;
}

/// `geometry` with points and lines drawn first: they count as primitives,
/// so the triangles' primitive indices start after them.
osg::ref_ptr<osg::Geometry> withPointsAndLines(osg::ref_ptr<osg::Geometry> geometry)
{
    geometry->insertPrimitiveSet(0, new osg::DrawArrays(GL_POINTS, 0, 5));
    geometry->insertPrimitiveSet(1, new osg::DrawArrays(GL_LINE_LOOP, 2, 7));
    geometry->insertPrimitiveSet(2, new osg::DrawArrays(GL_LINES, 4, 6));
    return geometry;
}

osg::ref_ptr<osg::Geometry> linesAlone()
{
    osg::ref_ptr<osg::Geometry> geometry = everyKindOfTriangle();
    geometry->removePrimitiveSet(0, geometry->getNumPrimitiveSets());
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_LINE_STRIP, 0, 12));
    return geometry;
}

/// Segments across `box`: through random points of it in random
/// directions, and through every third corner or edge middle of the
/// geometry, some along the axes (direction components exactly zero) and
/// some meeting corners shared by many triangles.
std::vector<std::pair<osg::Vec3d, osg::Vec3d>> segmentsAcross(const osg::Vec3Array& vertices,
                                                              const osg::BoundingBox& box)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const double reach = 2.0 * box.radius();
    std::vector<std::pair<osg::Vec3d, osg::Vec3d>> segments;
    const auto across = [&](const osg::Vec3d& through, osg::Vec3d along) {
        along.normalize();
        segments.emplace_back(through - along * reach, through + along * reach);
    };
    for (int index = 0; index < 200; ++index) {
        const osg::Vec3d through(box.xMin() + unit(random) * (box.xMax() - box.xMin()),
                                 box.yMin() + unit(random) * (box.yMax() - box.yMin()),
                                 box.zMin() + unit(random) * (box.zMax() - box.zMin()));
        across(through, osg::Vec3d(unit(random) - 0.5, unit(random) - 0.5, unit(random) - 0.5));
    }
    const osg::Vec3d directions[] = {osg::X_AXIS, osg::Y_AXIS, osg::Z_AXIS,
                                     osg::Vec3d(0.3, -0.5, 0.8), osg::Vec3d(-1.0, 1.0, 0.0)};
    for (std::size_t index = 0; index < vertices.size(); index += 3) {
        const osg::Vec3d corner(vertices[index]);
        const bool middle = index % 2 == 0 && index + 1 < vertices.size();
        across(middle ? (corner + osg::Vec3d(vertices[index + 1])) * 0.5 : corner,
               directions[index % 5]);
    }
    return segments;
}

/// A ring's pick torus as the rotate draggers build it, with its index.
osg::ref_ptr<osg::Geometry> pickTorus()
{
    osg::ref_ptr<osg::Geode> ring =
        RkDraggerUtility::createRotateDraggerTorusGeode(float(kRingRadius), 0.02f, 2.0f);
    return ring->getDrawable(0)->asGeometry();
}

} // namespace

TEST(PickIndex, PicksThroughAnIndexFindTheHitsOfThePlainTest)
{
    const std::pair<const char*, osg::ref_ptr<osg::Geometry>> rows[] = {
        {"ring pick torus (through its KdTree)", pickTorus()},
        {"arrow pick cylinder",
         new osg::ShapeDrawable(new osg::Cylinder(osg::Vec3(0.0f, 0.0f, 0.5f), 0.03f, 1.0f))},
        {"arrow head cone",
         new osg::ShapeDrawable(new osg::Cone(osg::Vec3(0.0f, 0.0f, 1.0f), 0.06f, 0.15f))},
        {"every kind of triangle primitive", everyKindOfTriangle()},
        {"points and lines before the triangles", withPointsAndLines(everyKindOfTriangle())},
        {"lines alone (a ring's line)", linesAlone()}};
    for (const auto& [name, geometry] : rows) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(Rk::PickIndex::of(*geometry) || Rk::TriangleIndex::attachTo(*geometry));
        osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->addDrawable(geometry.get());
        const auto& vertices = static_cast<const osg::Vec3Array&>(*geometry->getVertexArray());
        int segmentsWithHits = 0;
        for (const auto& [start, end] : segmentsAcross(vertices, geometry->getBoundingBox())) {
            osg::ref_ptr<osgUtil::LineSegmentIntersector> plain =
                new osgUtil::LineSegmentIntersector(start, end);
            osg::ref_ptr<Rk::IndexedIntersector> indexed = new Rk::IndexedIntersector(start, end);
            const std::vector<Hit> hits = pick(geode.get(), plain.get());
            EXPECT_TRUE(hits == pick(geode.get(), indexed.get())) << start << " to " << end;
            segmentsWithHits += hits.empty() ? 0 : 1;
        }
        const Rk::TriangleIndex* triangles = Rk::TriangleIndex::of(*geometry);
        if (!triangles || triangles->triangleCount() > 0)
            EXPECT_GT(segmentsWithHits, 100) << "the segments meet the geometry";
        else
            EXPECT_EQ(segmentsWithHits, 0) << "lines are never hit";
    }
}

TEST(PickIndex, ChangedOrUnsuitableGeometryIsPickedThePlainWay)
{
    osg::ref_ptr<osg::Geometry> geometry = everyKindOfTriangle();
    ASSERT_TRUE(Rk::TriangleIndex::attachTo(*geometry));
    EXPECT_NE(Rk::TriangleIndex::of(*geometry), nullptr);
    EXPECT_FALSE(Rk::TriangleIndex::attachTo(*geometry)) << "it has one already";
    geometry->getPrimitiveSet(3)->dirty();
    EXPECT_EQ(Rk::TriangleIndex::of(*geometry), nullptr) << "a primitive set changed";

    osg::ref_ptr<osg::Geometry> moved = everyKindOfTriangle();
    ASSERT_TRUE(Rk::TriangleIndex::attachTo(*moved));
    moved->getVertexArray()->dirty();
    EXPECT_EQ(Rk::TriangleIndex::of(*moved), nullptr) << "the vertices changed";

    // A segment that is not finite is tested the plain way.
    osg::ref_ptr<osg::Geometry> fresh = everyKindOfTriangle();
    ASSERT_TRUE(Rk::TriangleIndex::attachTo(*fresh));
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(fresh.get());
    const osg::Vec3d nowhere(std::nan(""), 0.0, 0.0);
    osg::ref_ptr<osgUtil::LineSegmentIntersector> plain =
        new osgUtil::LineSegmentIntersector(nowhere, osg::Vec3d(0.5, 0.5, 1.0));
    osg::ref_ptr<Rk::IndexedIntersector> indexed =
        new Rk::IndexedIntersector(nowhere, osg::Vec3d(0.5, 0.5, 1.0));
    EXPECT_TRUE(pick(geode.get(), plain.get()) == pick(geode.get(), indexed.get()));
    osgUtil::IntersectionVisitor visitor(indexed.get());
    EXPECT_FALSE(Rk::TriangleIndex::of(*fresh)->intersect(*indexed, visitor, *fresh, nowhere,
                                                          osg::Vec3d(0.5, 0.5, 1.0)))
        << "left to the plain test";

    osg::ref_ptr<osg::Geometry> nothingDrawn = new osg::Geometry;
    nothingDrawn->setVertexArray(fresh->getVertexArray());
    EXPECT_FALSE(Rk::TriangleIndex::attachTo(*nothingDrawn)) << "no primitives";

    // A torus index needs the torus's KdTree and the layout it was built with.
    osg::ref_ptr<osg::Geometry> torus = pickTorus();
    const Rk::TorusIndex::Layout layout{float(kRingRadius), 0.02f, 100, 100, 0.0628318563f};
    osg::ref_ptr<osg::Geometry> copy = new osg::Geometry;
    copy->setVertexArray(torus->getVertexArray());
    EXPECT_FALSE(Rk::TorusIndex::attachTo(*copy, layout)) << "no KdTree";
    copy->setShape(torus->getShape());
    EXPECT_FALSE(Rk::TorusIndex::attachTo(*copy, {float(kRingRadius), 0.02f, 99, 101, 0.06f}))
        << "another layout";
    EXPECT_TRUE(Rk::TorusIndex::attachTo(*copy, layout));
    EXPECT_NE(Rk::PickIndex::of(*torus), nullptr);
    // A tree built from the strip itself holds other triangles: the picks
    // go through that tree.
    osg::ref_ptr<osg::Geometry> ownTree = new osg::Geometry;
    ownTree->setVertexArray(torus->getVertexArray());
    ownTree->addPrimitiveSet(torus->getPrimitiveSet(0));
    osg::ref_ptr<osg::KdTreeBuilder> builder = new osg::KdTreeBuilder;
    ownTree->accept(*builder);
    ASSERT_TRUE(Rk::TorusIndex::attachTo(*ownTree, layout));
    const osg::Vec3d above(kRingRadius, 0.0, 1.0);
    const osg::Vec3d below(kRingRadius, 0.0, -1.0);
    std::vector<unsigned int> found;
    static_cast<const Rk::TorusIndex*>(Rk::PickIndex::of(*ownTree))
        ->candidates(above, below, found);
    EXPECT_TRUE(found.empty());
    osg::ref_ptr<osg::Geode> ownTreeGeode = new osg::Geode;
    ownTreeGeode->addDrawable(ownTree.get());
    osg::ref_ptr<osgUtil::LineSegmentIntersector> plainThroughTree =
        new osgUtil::LineSegmentIntersector(above, below);
    osg::ref_ptr<Rk::IndexedIntersector> indexedThroughTree =
        new Rk::IndexedIntersector(above, below);
    const std::vector<Hit> treeHits = pick(ownTreeGeode.get(), plainThroughTree.get());
    EXPECT_FALSE(treeHits.empty());
    EXPECT_TRUE(treeHits == pick(ownTreeGeode.get(), indexedThroughTree.get()));
    torus->getVertexArray()->dirty();
    EXPECT_EQ(Rk::PickIndex::of(*torus), nullptr) << "the vertices changed";
}

TEST(PickSegment, WhatABoundCannotVouchForIsAlwaysEntered)
{
    RkTest::ViewerHarness harness(RkTest::kSceneEye);
    osg::ref_ptr<FrameDragger> frame = shownFrameDragger(false);
    harness.root()->addChild(frame.get());
    osgManipulator::Dragger* xArrow = frame->translateDragger()->getDragger(0);
    osgManipulator::Dragger* yArrow = frame->translateDragger()->getDragger(1);

    // Beside the X arrow, a box below a transform of its own; beside the Y
    // arrow, a box whose drawable has culling switched off and a bound that
    // claims it is a speck at the origin. (Each arrow's own Z runs along
    // its axis.)
    const osg::Vec3 beside(0.5f, 0.0f, 0.5f);
    osg::ref_ptr<osg::Geode> offsetBox = new osg::Geode;
    offsetBox->addDrawable(new osg::ShapeDrawable(new osg::Box(osg::Vec3(), 0.2f)));
    osg::ref_ptr<osg::MatrixTransform> offset =
        new osg::MatrixTransform(osg::Matrixd::translate(beside));
    offset->addChild(offsetBox.get());
    xArrow->addChild(offset.get());

    const osg::Vec3 elsewhere(0.5f, 0.6f, 0.5f);
    osg::ref_ptr<osg::ShapeDrawable> unculled =
        new osg::ShapeDrawable(new osg::Box(elsewhere, 0.2f));
    unculled->setCullingActive(false);
    unculled->setInitialBound(osg::BoundingBox(0, 0, 0, 0.01f, 0.01f, 0.01f));
    unculled->setComputeBoundingBoxCallback(new osg::Drawable::ComputeBoundingBoxCallback);
    osg::ref_ptr<osg::Geode> unculledBox = new osg::Geode;
    unculledBox->addDrawable(unculled.get());
    yArrow->addChild(unculledBox.get());

    const std::pair<osg::Geode*, osg::Vec3d> targets[] = {{offsetBox.get(), osg::Vec3d()},
                                                          {unculledBox.get(), elsewhere}};
    for (const auto& [geode, centre] : targets) {
        const osg::Vec2d at = harness.project(RkTest::worldOf(geode, centre));
        const std::vector<Hit> hits = expectSameHitsAt(harness.viewer().getCamera(), at.x(),
                                                       RkTest::ViewerHarness::HEIGHT - at.y());
        ASSERT_FALSE(hits.empty());
        EXPECT_EQ(std::get<1>(hits.front()).back(), geode);
    }
}

TEST(AxialShellBound, ARingsShellLetsRaysThroughItsHoleAndFollowsItsGeometry)
{
    osg::ref_ptr<osg::Geode> ring =
        RkDraggerUtility::createRotateDraggerTorusGeode(kRingRadius, 0.01f, 3.0f);
    const auto* shell =
        dynamic_cast<const Rk::AxialShellBound*>(ring->getComputeBoundingSphereCallback());
    ASSERT_TRUE(shell);
    const auto down = [](double x, double y) {
        return std::make_pair(osg::Vec3d(x, y, 1.0), osg::Vec3d(x, y, -1.0));
    };
    const auto meets = [&](const std::pair<osg::Vec3d, osg::Vec3d>& segment) {
        return shell->mayBeMetBy(*ring, segment.first, segment.second, 1e-7);
    };
    EXPECT_TRUE(meets(down(kRingRadius, 0.0))) << "through the tube";
    EXPECT_TRUE(meets(down(0.0, -kRingRadius))) << "through the tube elsewhere";
    EXPECT_FALSE(meets(down(0.3, 0.1))) << "through the hole";
    EXPECT_FALSE(meets(down(0.7, 0.0))) << "outside";
    EXPECT_FALSE(meets({osg::Vec3d(-1, 0, 0.2), osg::Vec3d(1, 0, 0.2)})) << "above, level";
    EXPECT_TRUE(meets({osg::Vec3d(-1, 0, 0), osg::Vec3d(1, 0, 0)})) << "across, in the plane";

    // Grown to twice its size, with dirtyBound as geometry changes require:
    // the old hole is now covered.
    for (unsigned int index = 0; index < ring->getNumDrawables(); ++index) {
        osg::Geometry* geometry = ring->getDrawable(index)->asGeometry();
        auto* vertices = static_cast<osg::Vec3Array*>(geometry->getVertexArray());
        for (osg::Vec3& vertex : *vertices)
            vertex = osg::Vec3(vertex.x() * 2, vertex.y() * 2, vertex.z());
        geometry->dirtyBound();
    }
    EXPECT_TRUE(meets(down(2 * kRingRadius, 0.0)));
    EXPECT_FALSE(meets(down(kRingRadius, 0.0)));
}
