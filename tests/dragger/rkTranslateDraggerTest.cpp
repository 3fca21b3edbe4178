#include "rkTranslateDragger.h"
#include "rkGizmoTestHelpers.h"
#include "rkViewerHarness.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <osg/Geometry>
#include <osg/LineWidth>
#include <osg/ShapeDrawable>

using Rk::Composite3DDragger;
using Rk::TranslateDragger;
using namespace RkTest;

namespace {

const osg::Vec3d kEye(2.5, -5.0, 3.0);
const osg::Vec3d kAxes[3] = {osg::X_AXIS, osg::Y_AXIS, osg::Z_AXIS};

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

TEST(TranslateDragger, ConstructionBuildsHandlesWithoutGeometry)
{
    PoseStore store;
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(store.makeReceiver());
    ASSERT_EQ(dragger->getNumChildren(), 3u);
    ASSERT_EQ(dragger->getNumDraggers(), 3u);
    Rk::Translate1DDragger* handles[] = {dragger->xDragger(), dragger->yDragger(),
                                         dragger->zDragger()};
    for (unsigned int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(dragger->getChild(axis), handles[axis]);
        EXPECT_EQ(dragger->getDragger(axis), handles[axis]);
        EXPECT_EQ(handles[axis]->getNumChildren(), 0u);
        EXPECT_TRUE(handles[axis]->getMatrix().isIdentity());
        EXPECT_EQ(handles[axis]->getParentDragger(), dragger.get());
    }
    EXPECT_STREQ(dragger->xDragger()->className(), "Translate1DDragger");
    EXPECT_STREQ(dragger->xDragger()->libraryName(), "osgManipulator");
}

TEST(TranslateDragger, DefaultGeometrySharesShaftAndHeadAmongArrows)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
    dragger->setupDefaultGeometry();
    osg::Node* shaft = dragger->xDragger()->getChild(0);
    osg::Node* head = dragger->xDragger()->getChild(1);
    for (Rk::Translate1DDragger* handle :
         {dragger->xDragger(), dragger->yDragger(), dragger->zDragger()}) {
        ASSERT_EQ(handle->getNumChildren(), 2u);
        EXPECT_EQ(handle->getChild(0), shaft);
        EXPECT_EQ(handle->getChild(1), head);
    }

    const osg::Geometry* line = shaft->asGeode()->getDrawable(0)->asGeometry();
    const auto* vertices = static_cast<const osg::Vec3Array*>(line->getVertexArray());
    ASSERT_EQ(vertices->size(), 2u);
    EXPECT_EQ((*vertices)[0], osg::Vec3(0, 0, 0));
    EXPECT_EQ((*vertices)[1], osg::Vec3(0, 0, 1));
    EXPECT_EQ(line->getPrimitiveSet(0)->getMode(), GLenum(GL_LINES));
    const auto* width = static_cast<const osg::LineWidth*>(
        shaft->getStateSet()->getAttribute(osg::StateAttribute::LINEWIDTH));
    EXPECT_FLOAT_EQ(width->getWidth(), 3.0f);
    EXPECT_EQ(shaft->getStateSet()->getMode(GL_LIGHTING), osg::StateAttribute::OFF);

    const osg::Geode* heads = head->asGeode();
    ASSERT_EQ(heads->getNumDrawables(), 2u);
    const auto* cone = dynamic_cast<const osg::Cone*>(heads->getDrawable(0)->getShape());
    ASSERT_TRUE(cone);
    EXPECT_EQ(cone->getCenter(), osg::Vec3(0, 0, 1));
    EXPECT_FLOAT_EQ(cone->getRadius(), 0.06f);
    EXPECT_FLOAT_EQ(cone->getHeight(), 0.15f);
    EXPECT_FALSE(heads->getDrawable(0)->getCullCallback());
    const auto* pick = dynamic_cast<const osg::Cylinder*>(heads->getDrawable(1)->getShape());
    ASSERT_TRUE(pick);
    EXPECT_EQ(pick->getCenter(), osg::Vec3(0, 0, 0.5f));
    EXPECT_FLOAT_EQ(pick->getRadius(), 0.03f);
    EXPECT_FLOAT_EQ(pick->getHeight(), 1.0f);
    EXPECT_TRUE(heads->getDrawable(1)->getCullCallback());

    EXPECT_TRUE(closeTo(mapped(dragger->xDragger(), osg::Z_AXIS), osg::X_AXIS, 1e-12));
    EXPECT_TRUE(closeTo(mapped(dragger->yDragger(), osg::Z_AXIS), osg::Y_AXIS, 1e-12));
    EXPECT_TRUE(dragger->zDragger()->getMatrix().isIdentity());
    EXPECT_EQ(shownColour(dragger->xDragger()), kRed);
    EXPECT_EQ(shownColour(dragger->yDragger()), kGreen);
    EXPECT_EQ(shownColour(dragger->zDragger()), kBlue);
}

TEST(TranslateDragger, GeometryPropertiesTakeEffectAtTheNextSetup)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
    dragger->setGeometryProperties(2.0f, 0.1f, 0.2f);
    dragger->setupDefaultGeometry();
    const osg::Node* shaft = dragger->xDragger()->getChild(0);
    const auto* cone = static_cast<const osg::Cone*>(
        dragger->xDragger()->getChild(1)->asGeode()->getDrawable(0)->getShape());
    EXPECT_FLOAT_EQ(static_cast<const osg::LineWidth*>(
                        shaft->getStateSet()->getAttribute(osg::StateAttribute::LINEWIDTH))
                        ->getWidth(),
                    2.0f);
    EXPECT_FLOAT_EQ(cone->getRadius(), 0.1f);
    EXPECT_FLOAT_EQ(cone->getHeight(), 0.2f);

    dragger->setGeometryProperties(5.0f, 0.5f, 0.5f);
    EXPECT_FLOAT_EQ(cone->getRadius(), 0.1f);
    dragger->setupDefaultGeometry();
    EXPECT_EQ(dragger->xDragger()->getNumChildren(), 4u);
}

TEST(TranslateDragger, ScaleKeepsEveryArrowOnItsAxis)
{
    osg::ref_ptr<TranslateDragger> dragger = new TranslateDragger(nullptr);
    dragger->setupDefaultGeometry();
    QSignalSpy scaleChanged(dragger.get(), &Composite3DDragger::signalScaleChanged);
    osg::Vec3d xTipWhenSignalled;
    QObject::connect(dragger.get(), &Composite3DDragger::signalScaleChanged,
                     [&] { xTipWhenSignalled = mapped(dragger->xDragger(), osg::Z_AXIS); });

    dragger->setScale(0.5);

    EXPECT_EQ(scaleChanged.count(), 1);
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
    osgManipulator::setMaterialColor(kPickYellow, *dragger->zDragger());
    const osg::Vec2d at = onArrow(Composite3DDragger::Y_AXIS, 0.5);

    EXPECT_TRUE(harness.press(at));
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::Y_AXIS);
    EXPECT_EQ(dragger->dragMode(), 1);
    EXPECT_EQ(dragger->commandValue(), 0.0);
    EXPECT_TRUE(dragger->yDragger()->getDraggerActive());
    EXPECT_EQ(shownColour(dragger->xDragger()), kRed);
    EXPECT_EQ(shownColour(dragger->yDragger()), kPickYellow);
    EXPECT_EQ(shownColour(dragger->zDragger()), kBlue);

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

TEST_F(TranslateDraggerTest, TurnedPoseMovesAlongTheTurnedArrow)
{
    store.pose = osg::Matrixd::rotate(osg::PI_2, osg::Z_AXIS);
    harness.frame();
    const osg::Vec2d to = onArrow(Composite3DDragger::X_AXIS, 0.8);
    harness.dragFromTo(onArrow(Composite3DDragger::X_AXIS, 0.5), to);
    EXPECT_TRUE(closeTo(store.pose.getTrans(), osg::Vec3d(0, 0.3, 0), 1e-3));
    EXPECT_TRUE(closeTo(osg::Matrixd::transform3x3(osg::X_AXIS, store.pose), osg::Y_AXIS, 1e-9))
        << "the turn is kept";
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

TEST_F(TranslateDraggerTest, DisabledPickingIgnoresPressesOnThatArrow)
{
    dragger->yDragger()->enablePicking(false);
    const osg::Vec2d from = onArrow(Composite3DDragger::Y_AXIS, 0.5);
    harness.press(from);
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::NO_AXIS);
    harness.drag(onArrow(Composite3DDragger::Y_AXIS, 0.9));
    harness.release(onArrow(Composite3DDragger::Y_AXIS, 0.9));
    EXPECT_TRUE(dragger->getMatrix().getTrans() == osg::Vec3d());
    EXPECT_TRUE(store.writes.empty());

    harness.dragFromTo(onArrow(Composite3DDragger::X_AXIS, 0.5),
                       onArrow(Composite3DDragger::X_AXIS, 0.7));
    EXPECT_TRUE(closeTo(store.pose.getTrans(), osg::Vec3d(0.2, 0, 0), 1e-3));
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
        osg::ref_ptr<TranslateDragger> geometrySource = new TranslateDragger(nullptr);
        geometrySource->setupDefaultGeometry();
        arrow->addChild(geometrySource->zDragger()->getChild(1));
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
