#include "rkTranslateDragger.h"
#include "rkFinite.h"
#include "rkGizmoTestHelpers.h"
#include "rkRootPath.h"

#include <gtest/gtest.h>
#include <osg/LineWidth>
#include <osg/ShapeDrawable>

#include <tuple>
#include <vector>

using Rk::Composite3DDragger;
using Rk::TranslateDragger;
using namespace RkTest;

namespace {

class TranslateDraggerTest : public ::testing::Test
{
protected:
    TranslateDraggerTest() : harness(kSceneEye)
    {
        dragger = new TranslateDragger(store.makeReceiver());
        showIn(harness.root(), dragger.get());
    }

    /// Window point of the point `distance` along the arrow of `axis`.
    osg::Vec2d onArrow(int axis, double distance) const
    {
        return harness.project(kAxes[axis] * distance * dragger->getMatrix());
    }

    PoseStore store;
    ViewerHarness harness;
    osg::ref_ptr<TranslateDragger> dragger;
};

/// Where the handle puts the tip (0, 0, 1) of its own line.
osg::Vec3d tipOf(const osgManipulator::Dragger* handle)
{
    return osg::Z_AXIS * handle->getMatrix();
}

} // namespace

TEST(TranslateDragger, SharedColouredArrowsScaleOnTheirAxesAndTakeTheirSizesAtTheNextSetup)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
    dragger->setupDefaultGeometry();
    const osgManipulator::Dragger* x = dragger->xDragger();
    for (int axis = 0; axis < 3; ++axis) {
        const osgManipulator::Dragger* handle = dragger->getDragger(axis);
        ASSERT_EQ(handle->getNumChildren(), 2u);
        EXPECT_EQ(handle->getChild(0), x->getChild(0));
        EXPECT_EQ(handle->getChild(1), x->getChild(1));
        EXPECT_TRUE(closeTo(tipOf(handle), kAxes[axis], 1e-12));
        EXPECT_EQ(shownColour(handle), kAxisColours[axis]);
    }
    // The cone is drawn; the thin cylinder along the shaft is only picked.
    const osg::Geode* heads = x->getChild(1)->asGeode();
    ASSERT_EQ(heads->getNumDrawables(), 2u);
    EXPECT_FALSE(heads->getDrawable(0)->getCullCallback());
    EXPECT_TRUE(heads->getDrawable(1)->getCullCallback());

    // A scale keeps every arrow on its axis, already when it is announced.
    osg::Vec3d xTipWhenSignalled;
    QObject::connect(dragger.get(), &Composite3DDragger::signalScaleChanged,
                     [&] { xTipWhenSignalled = tipOf(x); });
    dragger->setScale(0.5);
    EXPECT_TRUE(closeTo(xTipWhenSignalled, osg::X_AXIS * 0.5, 1e-12));
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_TRUE(closeTo(tipOf(dragger->getDragger(axis)), kAxes[axis] * 0.5, 1e-12)) << axis;

    // Geometry properties take effect at the next setup.
    dragger = new TranslateDragger(nullptr);
    dragger->setGeometryProperties(2.0f, 0.1f, 0.2f);
    dragger->setupDefaultGeometry();
    const osg::Node* shaft = dragger->xDragger()->getChild(0);
    const auto* width = static_cast<const osg::LineWidth*>(
        shaft->getStateSet()->getAttribute(osg::StateAttribute::LINEWIDTH));
    const auto* cone = static_cast<const osg::Cone*>(
        dragger->xDragger()->getChild(1)->asGeode()->getDrawable(0)->getShape());
    EXPECT_FLOAT_EQ(width->getWidth(), 2.0f);
    EXPECT_FLOAT_EQ(cone->getRadius(), 0.1f);
    EXPECT_FLOAT_EQ(cone->getHeight(), 0.2f);
    dragger->setGeometryProperties(5.0f, 0.5f, 0.5f);
    EXPECT_FLOAT_EQ(cone->getRadius(), 0.1f);
    dragger->setupDefaultGeometry();
    EXPECT_EQ(dragger->zDragger()->getNumChildren(), 4u) << "a second setup adds, removes nothing";
}

// Each row presses an arrow at `from`, drags through `via` to `to` (distances
// along the arrow) and releases there; the dragger starts where the last row
// left it.
TEST_F(TranslateDraggerTest, DraggingAnArrowMovesAlongItsAxisAndWritesAtRelease)
{
    struct Case
    {
        const char* name;
        int axis;
        double from, via, to;
    };
    const Case cases[] = {{"X ahead", 0, 0.5, 0.7, 0.9},
                          {"Y ahead", 1, 0.5, 0.7, 0.9},
                          {"Z ahead", 2, 0.5, 0.7, 0.9},
                          {"Y back past the press: negative", 1, 0.6, 1.1, 0.4}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const osgManipulator::Dragger* handle = dragger->getDragger(c.axis);
        // Another handle left in the pick colour is put back at the press.
        osgManipulator::setMaterialColor(kPickYellow, *dragger->getDragger((c.axis + 1) % 3));
        const osg::Vec3d start = dragger->getMatrix().getTrans();
        const std::size_t writesBefore = store.writes.size();
        const osg::Vec2d to = onArrow(c.axis, c.to), via = onArrow(c.axis, c.via);
        EXPECT_TRUE(harness.press(onArrow(c.axis, c.from)));
        EXPECT_EQ(dragger->activeAxis(), c.axis);
        EXPECT_EQ(dragger->dragMode(), TranslateDragger::TRANSLATION_DRAG_MODE);
        EXPECT_EQ(dragger->commandValue(), 0.0);
        for (int axis = 0; axis < 3; ++axis)
            EXPECT_EQ(shownColour(dragger->getDragger(axis)),
                      axis == c.axis ? kPickYellow : kAxisColours[axis]);
        harness.drag(via);
        harness.drag(to);
        EXPECT_NEAR(dragger->commandValue(), c.to - c.from, 1e-3);
        EXPECT_TRUE(closeTo(dragger->getMatrix().getTrans(),
                            start + kAxes[c.axis] * (c.to - c.from), 1e-3));
        EXPECT_EQ(store.writes.size(), writesBefore) << "no write before the release";

        harness.release(to);
        ASSERT_EQ(store.writes.size(), writesBefore + 1);
        EXPECT_EQ(store.pose.getTrans(), dragger->getMatrix().getTrans());
        EXPECT_EQ(dragger->activeAxis(), c.axis);
        EXPECT_FALSE(handle->getDraggerActive());
        EXPECT_EQ(shownColour(handle), kAxisColours[c.axis]);
    }
}

TEST_F(TranslateDraggerTest, ActiveAxisRecoloursOnlyOnAChangeAndTheChildSearchPrefersXThenY)
{
    dragger->setActiveAxis(Composite3DDragger::Z_AXIS);
    for (int axis = 0; axis < 3; ++axis)
        osgManipulator::setMaterialColor(kPickYellow, *dragger->getDragger(axis));

    dragger->setActiveAxis(Composite3DDragger::Z_AXIS);
    EXPECT_EQ(shownColour(dragger->xDragger()), kPickYellow);

    dragger->setActiveAxis(Composite3DDragger::NO_AXIS);
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_EQ(shownColour(dragger->getDragger(axis)), kAxisColours[axis]);

    // The search of the active child prefers X, then Y, and keeps the mode
    // when none is active.
    dragger->setDragMode(7);
    dragger->setActiveAxis(Composite3DDragger::Y_AXIS);
    dragger->setFromChildDraggerActive();
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::NO_AXIS);
    EXPECT_EQ(dragger->dragMode(), 7);

    dragger->yDragger()->setDraggerActive(true);
    dragger->zDragger()->setDraggerActive(true);
    dragger->setFromChildDraggerActive();
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::Y_AXIS);
    EXPECT_EQ(dragger->dragMode(), 1);

    dragger->xDragger()->setDraggerActive(true);
    dragger->setFromChildDraggerActive();
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::X_AXIS);
}

namespace {

/// A composite without receiver (it stays where the drag leaves it) with one
/// arrow `handle` along X, with the translate dragger's arrow shapes.
osg::ref_ptr<Composite3DDragger> oneArrowDragger(osgManipulator::Translate1DDragger* handle)
{
    osg::ref_ptr<Composite3DDragger> dragger =
        new Composite3DDragger(static_cast<Rk::DraggerReceiver*>(nullptr));
    dragger->addChild(handle);
    dragger->addDragger(handle);
    dragger->setParentDragger(dragger.get());
    osg::ref_ptr<TranslateDragger> shapes = new TranslateDragger(nullptr);
    shapes->setupDefaultGeometry();
    handle->addChild(shapes->zDragger()->getChild(1));
    handle->setMatrix(osg::Matrixd::rotate(osg::Z_AXIS, osg::X_AXIS));
    handle->setColor(kRed);
    dragger->showDraggers(true);
    return dragger;
}

} // namespace

TEST(Translate1DDragger, PressesAndDragsBitForBitAsOsgManipulatorsArrowWhereverItStands)
{
    const osg::Matrixd placed =
        osg::Matrixd::rotate(0.4, osg::Vec3d(1, 1, 0)) * osg::Matrixd::translate(-0.3, 0.2, 0.1);
    // Where the dragger stands: its place, and a second parent (the press
    // frame then follows the first one, as osgManipulator's does).
    const std::vector<std::tuple<const char*, osg::Matrixd, bool>> rows = {
        {"directly below the root", osg::Matrixd(), false},
        {"below a transform", placed, false},
        {"below a transform and a second parent", placed, true},
    };
    for (const auto& [name, place, secondParent] : rows) {
        osg::Matrixd moved[2];
        for (bool library : {true, false}) {
            ViewerHarness harness(kSceneEye);
            osg::ref_ptr<osgManipulator::Translate1DDragger> arrow =
                library ? new Rk::Translate1DDragger(osg::Vec3d(), osg::Z_AXIS, false)
                        : new osgManipulator::Translate1DDragger(osg::Vec3d(), osg::Z_AXIS);
            osg::ref_ptr<Composite3DDragger> dragger = oneArrowDragger(arrow.get());
            osg::ref_ptr<osg::MatrixTransform> transform = new osg::MatrixTransform(place);
            transform->addChild(dragger.get());
            harness.root()->addChild(transform.get());
            osg::ref_ptr<osg::Group> secondPlace = new osg::Group;
            if (secondParent) {
                secondPlace->addChild(dragger.get());
                harness.root()->addChild(secondPlace.get());
            }

            osg::NodePath pathToRoot;
            osgManipulator::computeNodePathToRoot(*arrow, pathToRoot);
            EXPECT_TRUE(Rk::sameBits(Rk::RootPath::localToWorld(*arrow),
                                     osg::computeLocalToWorld(pathToRoot)))
                << name;
            harness.dragFromTo(harness.project(osg::Vec3d(0.5, 0, 0) * place),
                               harness.project(osg::Vec3d(0.7, 0.1, 0) * place));
            moved[library] = dragger->getMatrix();
        }
        EXPECT_FALSE(moved[true].isIdentity()) << name;
        EXPECT_TRUE(Rk::sameBits(moved[true], moved[false])) << name;
    }
}

TEST(Translate1DDragger, KeptPickColourStaysAfterTheRelease)
{
    ViewerHarness harness(kSceneEye);
    osg::ref_ptr<Rk::Translate1DDragger> arrow =
        new Rk::Translate1DDragger(osg::Vec3d(), osg::Z_AXIS, true);
    osg::ref_ptr<Composite3DDragger> dragger = oneArrowDragger(arrow.get());
    harness.root()->addChild(dragger.get());

    harness.dragFromTo(harness.project(osg::Vec3d(0.5, 0, 0)), harness.project({0.7, 0, 0}));
    EXPECT_TRUE(closeTo(dragger->getMatrix().getTrans(), osg::Vec3d(0.2, 0, 0), 1e-3));
    EXPECT_EQ(shownColour(arrow.get()), kPickYellow);
    EXPECT_FALSE(arrow->getDraggerActive());
}
