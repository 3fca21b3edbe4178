#include "rkTranslateDragger.h"
#include "rkGizmoTestHelpers.h"
#include "rkViewerHarness.h"

#include <gtest/gtest.h>
#include <osg/LineWidth>
#include <osg/ShapeDrawable>

using Rk::Composite3DDragger;
using Rk::TranslateDragger;
using namespace RkTest;

namespace {

const osg::Vec3d kEye(2.5, -5.0, 3.0);

class TranslateDraggerTest : public ::testing::Test
{
protected:
    TranslateDraggerTest() : harness(kEye)
    {
        dragger = new TranslateDragger(store.makeReceiver());
        dragger->setupDefaultGeometry();
        dragger->showDraggers(true);
        harness.root()->addChild(dragger.get());
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

osg::Vec3d mapped(const osgManipulator::Dragger* handle, const osg::Vec3d& point)
{
    return point * handle->getMatrix();
}

} // namespace

TEST(TranslateDragger, DefaultGeometrySharesShaftAndHeadAmongColouredArrows)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
    dragger->setupDefaultGeometry();
    for (int axis = 0; axis < 3; ++axis) {
        const osgManipulator::Dragger* handle = dragger->getDragger(axis);
        ASSERT_EQ(handle->getNumChildren(), 2u);
        EXPECT_EQ(handle->getChild(0), dragger->xDragger()->getChild(0));
        EXPECT_EQ(handle->getChild(1), dragger->xDragger()->getChild(1));
        EXPECT_TRUE(closeTo(mapped(handle, osg::Z_AXIS), kAxes[axis], 1e-12));
        EXPECT_EQ(shownColour(handle), kAxisColours[axis]);
    }
    // The cone is drawn; the thin cylinder along the shaft is only picked.
    const osg::Geode* heads = dragger->xDragger()->getChild(1)->asGeode();
    ASSERT_EQ(heads->getNumDrawables(), 2u);
    EXPECT_FALSE(heads->getDrawable(0)->getCullCallback());
    EXPECT_TRUE(heads->getDrawable(1)->getCullCallback());
}

TEST(TranslateDragger, GeometryPropertiesTakeEffectAtTheNextSetup)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
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
}

TEST(TranslateDragger, ScaleKeepsEveryArrowOnItsAxis)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
    dragger->setupDefaultGeometry();
    osg::Vec3d xTipWhenSignalled;
    QObject::connect(dragger.get(), &Composite3DDragger::signalScaleChanged,
                     [&] { xTipWhenSignalled = mapped(dragger->xDragger(), osg::Z_AXIS); });
    dragger->setScale(0.5);
    EXPECT_TRUE(closeTo(xTipWhenSignalled, osg::X_AXIS * 0.5, 1e-12));
    EXPECT_TRUE(closeTo(mapped(dragger->yDragger(), osg::Z_AXIS), osg::Y_AXIS * 0.5, 1e-12));
    EXPECT_TRUE(closeTo(mapped(dragger->zDragger(), osg::Z_AXIS), osg::Z_AXIS * 0.5, 1e-12));
}

TEST_F(TranslateDraggerTest, DraggingAnArrowMovesAlongItsAxisAndWritesAtRelease)
{
    for (int axis = 0; axis < 3; ++axis) {
        SCOPED_TRACE(axis);
        const osg::Vec3d start = dragger->getMatrix().getTrans();
        const size_t writesBefore = store.writes.size();
        const osg::Vec2d to = onArrow(axis, 0.9);
        harness.press(onArrow(axis, 0.5));
        harness.drag(to);
        EXPECT_EQ(store.writes.size(), writesBefore) << "no write before the release";
        EXPECT_NEAR(dragger->commandValue(), 0.4, 1e-3);
        harness.release(to);

        EXPECT_TRUE(closeTo(dragger->getMatrix().getTrans(), start + kAxes[axis] * 0.4, 1e-3));
        ASSERT_EQ(store.writes.size(), writesBefore + 1);
        EXPECT_EQ(store.pose.getTrans(), dragger->getMatrix().getTrans());
        EXPECT_EQ(dragger->activeAxis(), axis);
        EXPECT_EQ(dragger->dragMode(), TranslateDragger::TRANSLATION_DRAG_MODE);
    }
}

TEST_F(TranslateDraggerTest, PressOnYArrowActivatesItAndRecoloursTheOthers)
{
    osgManipulator::setMaterialColor(kPickYellow, *dragger->xDragger());
    const osg::Vec2d at = onArrow(Composite3DDragger::Y_AXIS, 0.5);
    EXPECT_TRUE(harness.press(at));
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::Y_AXIS);
    EXPECT_EQ(dragger->commandValue(), 0.0);
    EXPECT_EQ(shownColour(dragger->xDragger()), kRed);
    EXPECT_EQ(shownColour(dragger->yDragger()), kPickYellow);

    harness.release(at);
    EXPECT_FALSE(dragger->yDragger()->getDraggerActive());
    EXPECT_EQ(shownColour(dragger->yDragger()), kGreen);
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::Y_AXIS);
}

TEST_F(TranslateDraggerTest, DraggingBackPastThePressGivesANegativeValue)
{
    const osg::Vec2d from = onArrow(Composite3DDragger::Y_AXIS, 0.6);
    const osg::Vec2d ahead = onArrow(Composite3DDragger::Y_AXIS, 1.1);
    const osg::Vec2d behind = onArrow(Composite3DDragger::Y_AXIS, 0.4);
    harness.press(from);
    harness.drag(ahead);
    EXPECT_NEAR(dragger->commandValue(), 0.5, 1e-3);
    EXPECT_TRUE(closeTo(dragger->getMatrix().getTrans(), osg::Vec3d(0, 0.5, 0), 1e-3));
    harness.drag(behind);
    EXPECT_NEAR(dragger->commandValue(), -0.2, 1e-3);
    EXPECT_TRUE(closeTo(dragger->getMatrix().getTrans(), osg::Vec3d(0, -0.2, 0), 1e-3));
    harness.release(behind);
}

TEST_F(TranslateDraggerTest, ActiveAxisRecoloursOnlyOnAChange)
{
    dragger->setActiveAxis(Composite3DDragger::Z_AXIS);
    for (Rk::Translate1DDragger* handle :
         {dragger->xDragger(), dragger->yDragger(), dragger->zDragger()})
        osgManipulator::setMaterialColor(kPickYellow, *handle);

    dragger->setActiveAxis(Composite3DDragger::Z_AXIS);
    EXPECT_EQ(shownColour(dragger->xDragger()), kPickYellow);

    dragger->setActiveAxis(Composite3DDragger::NO_AXIS);
    EXPECT_EQ(shownColour(dragger->xDragger()), kRed);
    EXPECT_EQ(shownColour(dragger->yDragger()), kGreen);
    EXPECT_EQ(shownColour(dragger->zDragger()), kBlue);
}

TEST_F(TranslateDraggerTest, ChildSearchPrefersXThenYAndKeepsTheModeWhenNoneIsActive)
{
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

/// A composite with one arrow along X that keeps its pick colour.
class KeepColourDragger : public Composite3DDragger
{
public:
    explicit KeepColourDragger(Rk::DraggerReceiver* receiver)
        : Composite3DDragger(receiver),
          arrow(new Rk::Translate1DDragger(osg::Vec3d(), osg::Z_AXIS, true))
    {
        addChild(arrow.get());
        addDragger(arrow.get());
        setParentDragger(getParentDragger());
        osg::ref_ptr<TranslateDragger> shapes = new TranslateDragger(nullptr);
        shapes->setupDefaultGeometry();
        arrow->addChild(shapes->zDragger()->getChild(1));
        arrow->setMatrix(osg::Matrixd::rotate(osg::Z_AXIS, osg::X_AXIS));
        arrow->setColor(kRed);
    }
    osg::ref_ptr<Rk::Translate1DDragger> arrow;
};

} // namespace

TEST(Translate1DDragger, KeptPickColourStaysAfterTheRelease)
{
    ViewerHarness harness(kEye);
    // Without a receiver the dragger stays where the drag left it.
    osg::ref_ptr<KeepColourDragger> dragger = new KeepColourDragger(nullptr);
    dragger->showDraggers(true);
    harness.root()->addChild(dragger.get());

    const osg::Vec2d at = harness.project(osg::Vec3d(0.5, 0, 0));
    harness.dragFromTo(at, harness.project(osg::Vec3d(0.7, 0, 0)));
    EXPECT_TRUE(closeTo(dragger->getMatrix().getTrans(), osg::Vec3d(0.2, 0, 0), 1e-3));
    EXPECT_EQ(shownColour(dragger->arrow.get()), kPickYellow);
    EXPECT_FALSE(dragger->arrow->getDraggerActive());
}
