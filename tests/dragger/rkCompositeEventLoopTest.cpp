#include "rkComposite3DDragger.h"
#include "rkGizmoTestHelpers.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <osg/Geode>
#include <osg/ShapeDrawable>
#include <osgManipulator/Translate1DDragger>

namespace {

using Rk::Composite3DDragger;
using namespace RkTest;

// A composite with one pickable handle that slides along world Z, recording
// every event its pointer handler sees and writing the receiver at the
// release, as the library's translate dragger does.
class SliderDragger : public Composite3DDragger
{
public:
    explicit SliderDragger(Rk::DraggerReceiver* receiver) : Composite3DDragger(receiver)
    {
        osg::ref_ptr<osgManipulator::Translate1DDragger> handle =
            new osgManipulator::Translate1DDragger(osg::Vec3d(), osg::Vec3d(0, 0, 1));
        osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->addDrawable(new osg::ShapeDrawable(new osg::Box(osg::Vec3(), 1.0f)));
        handle->addChild(geode.get());
        addChild(handle.get());
        addDragger(handle.get());
        setParentDragger(getParentDragger()); // handle motion moves this composite
        setScale(scale());
    }

    using Composite3DDragger::handle;
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override
    {
        events.push_back(event.getEventType());
        osg::Vec3d nearPoint, farPoint;
        pointer.getNearFarPoints(nearPoint, farPoint);
        nearPoints.push_back(nearPoint);
        const bool handled = Composite3DDragger::handle(pointer, event, action);
        if (event.getEventType() == osgGA::GUIEventAdapter::RELEASE)
            setReceiverMatrix();
        return handled;
    }

    std::vector<int> events;
    std::vector<osg::Vec3d> nearPoints;
};

class CompositeEventLoop : public ::testing::Test
{
protected:
    void SetUp() override { rebuild(); }
    /// A new slider at the origin on a host pose at the origin.
    void rebuild()
    {
        view.root()->removeChildren(0, view.root()->getNumChildren());
        host.pose = osg::Matrixd();
        dragger = new SliderDragger(host.makeReceiver());
        dragger->showDraggers(true);
        view.root()->addChild(dragger.get());
    }

    osg::Vec2d handleCentre() const { return view.project(dragger->getMatrix().getTrans()); }

    PoseStore host;
    ViewerHarness view;
    osg::ref_ptr<SliderDragger> dragger;
    const osg::Vec2d emptySpace{20.0, 20.0};
};

using Event = osgGA::GUIEventAdapter;

TEST_F(CompositeEventLoop, MissesHiddenDraggersAndOtherEventsAreNotHandled)
{
    EXPECT_FALSE(view.press(emptySpace));
    EXPECT_FALSE(view.drag(emptySpace + osg::Vec2d(5, 5)));
    EXPECT_FALSE(view.release(emptySpace));
    EXPECT_FALSE(view.move(handleCentre()));
    EXPECT_FALSE(view.scroll(osgGA::GUIEventAdapter::SCROLL_UP));
    EXPECT_FALSE(view.keyDown('x'));
    // A press already handled, or through an adapter that is no view.
    osg::ref_ptr<osgGA::GUIEventAdapter> press = new osgGA::GUIEventAdapter;
    press->setEventType(osgGA::GUIEventAdapter::PUSH);
    press->setHandled(true);
    EXPECT_FALSE(dragger->handle(*press, view.viewer()));

    RkTest::StubActions notAView;
    press->setHandled(false);
    EXPECT_FALSE(dragger->handle(*press, notAView));
    dragger->showDraggers(false);
    EXPECT_FALSE(view.press(handleCentre()));
    EXPECT_FALSE(dragger->getDraggerActive());
    EXPECT_TRUE(dragger->events.empty());
}

TEST_F(CompositeEventLoop, DragMovesThePoseByThePointersDistanceAlongTheHandle)
{
    // Upwards on screen is +Z: a mirrored projection would move the pose down.
    const osg::Vec2d from = handleCentre();
    const osg::Vec2d to = view.project(osg::Vec3d(0, 0, 0.4));
    ASSERT_LT(to.y(), from.y());
    EXPECT_TRUE(view.press(from));
    EXPECT_TRUE(dragger->getDraggerActive());
    EXPECT_EQ(dragger->events, (std::vector<int>{Event::PUSH, Event::PUSH}))
        << "a press reaches it twice";
    EXPECT_TRUE(view.drag((from + to) * 0.5));
    EXPECT_TRUE(view.drag(to));
    EXPECT_NEAR(dragger->getMatrix().getTrans().z(), 0.4, 1e-3);
    EXPECT_TRUE(view.release(to));
    EXPECT_EQ(dragger->events, (std::vector<int>{Event::PUSH, Event::PUSH, Event::DRAG, Event::DRAG,
                                                 Event::RELEASE}));
    EXPECT_NEAR(dragger->getMatrix().getTrans().z(), 0.4, 1e-3);
    EXPECT_NEAR(host.pose.getTrans().z(), 0.4, 1e-3);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), 0.0, 1e-9);
    EXPECT_FALSE(dragger->getDraggerActive());
    EXPECT_FALSE(view.drag(from));
    EXPECT_FALSE(view.release(from));
}

TEST_F(CompositeEventLoop, ProjectionMeasuresDownwardYFromTheTopOfTheRange)
{
    // Start a drag through the viewer, then hand the dragger a downward-y
    // event directly: range 600, y = 100 projects at window point (x, 500).
    view.press(handleCentre());
    osg::ref_ptr<osgGA::GUIEventAdapter> drag = new osgGA::GUIEventAdapter;
    drag->setEventType(osgGA::GUIEventAdapter::DRAG);
    drag->setInputRange(0, 0, ViewerHarness::WIDTH, 600);
    drag->setMouseYOrientation(osgGA::GUIEventAdapter::Y_INCREASING_DOWNWARDS);
    drag->setX(300);
    drag->setY(100);
    EXPECT_TRUE(dragger->handle(*drag, view.viewer()));
    // The harness takes window rows downwards: window point (300, 500 up) is
    // row HEIGHT - 1 - 500 down.
    const osg::Vec2d seenAt = view.project(dragger->nearPoints.back());
    EXPECT_LT((seenAt - osg::Vec2d(300, ViewerHarness::HEIGHT - 1 - 500)).length(), 1e-3);
}

TEST_F(CompositeEventLoop, ActivationKeyAndDisablingGateNewDragsButNotOneUnderWay)
{
    dragger->setActivationKeyEvent('a');
    const osg::Vec2d at = handleCentre();
    EXPECT_FALSE(view.press(at));
    view.release(at);
    view.keyDown('a');
    EXPECT_TRUE(view.press(at));
    view.keyUp('a');
    EXPECT_TRUE(view.drag(at + osg::Vec2d(0, -10)));
    EXPECT_TRUE(view.release(at + osg::Vec2d(0, -10)));
    EXPECT_FALSE(view.press(at));
    dragger->setActivationKeyEvent(0);

    // An activation button mask leaves other buttons' presses to the camera.
    using Event = osgGA::GUIEventAdapter;
    dragger->setActivationMouseButtonMask(Event::LEFT_MOUSE_BUTTON);
    for (int button : {Event::RIGHT_MOUSE_BUTTON, Event::MIDDLE_MOUSE_BUTTON}) {
        EXPECT_FALSE(view.press(at, button));
        EXPECT_FALSE(view.release(at, button));
    }
    EXPECT_TRUE(view.press(at));
    EXPECT_TRUE(view.release(at));
    // ... and a drag belongs to its button: the others' presses and releases
    // during it are taken and change nothing.
    const osg::Vec2d below = at + osg::Vec2d(0, 10);
    dragger->events.clear();
    const double heightBefore = dragger->getMatrix().getTrans().z();
    EXPECT_TRUE(view.press(at));
    for (int button : {Event::RIGHT_MOUSE_BUTTON, Event::MIDDLE_MOUSE_BUTTON}) {
        EXPECT_TRUE(view.press(below, button));
        EXPECT_TRUE(view.release(below, button));
    }
    EXPECT_TRUE(dragger->getDraggerActive());
    EXPECT_TRUE(view.drag(below));
    EXPECT_TRUE(view.release(below));
    EXPECT_FALSE(dragger->getDraggerActive());
    EXPECT_EQ(dragger->events,
              (std::vector<int>{Event::PUSH, Event::PUSH, Event::DRAG, Event::RELEASE}));
    EXPECT_LT(host.pose.getTrans().z(), heightBefore - 0.01) << "moved by the left drag alone";
    dragger->setActivationMouseButtonMask(0);
    EXPECT_TRUE(view.press(at, Event::RIGHT_MOUSE_BUTTON));
    EXPECT_TRUE(view.release(at, Event::RIGHT_MOUSE_BUTTON));

    // Disabling during a drag keeps it active until a release after re-enabling.
    EXPECT_TRUE(view.press(at));
    dragger->setDraggingEnabled(false);
    EXPECT_FALSE(view.release(at));
    EXPECT_TRUE(dragger->getDraggerActive());
    dragger->setDraggingEnabled(true);
    EXPECT_TRUE(view.release(at));
    EXPECT_FALSE(dragger->getDraggerActive());
}

// Each row starts from a fresh slider and host at the origin; at the end the
// dragger sits on the host pose exactly when it followed.
TEST_F(CompositeEventLoop, FrameEventsFollowTheHostOnceWhenItMovedBeyondTheTolerance)
{
    const osg::Matrixd moved =
        osg::Matrixd::rotate(0.2, osg::X_AXIS) * osg::Matrixd::translate(0.1, 0, 0);
    const double step = 0.6 * Composite3DDragger::FOLLOW_TOLERANCE;
    struct Row
    {
        const char* name;
        std::function<void()> act;
        int poseSignals;
        bool followed;
    };
    const Row rows[] = {
        {"host moved: followed once, then quiet, and not within the tolerance",
         [&] {
             view.frame();
             host.pose = moved;
             view.frame();
             view.frame();
             view.frame();
             host.pose = moved * osg::Matrixd::translate(0, 0, 0.00005);
             view.frame();
             EXPECT_EQ(dragger->getMatrix(), moved);
         },
         1, false},
        {"steps within the tolerance add up",
         [&] {
             view.frame();
             host.pose = osg::Matrixd::translate(step, 0.0, 0.0);
             view.frame();
             view.frame();
             host.pose = osg::Matrixd::translate(2.0 * step, 0.0, 0.0);
             view.frame();
         },
         1, true},
        {"moved by exactly the tolerance along every axis: within it",
         [&] {
             const double tolerance = Composite3DDragger::FOLLOW_TOLERANCE;
             host.pose = osg::Matrixd::translate(tolerance, -tolerance, tolerance);
             view.frame();
         },
         0, false},
        {"dragger moved after a quiet frame is put back",
         [&] {
             view.frame();
             dragger->setMatrix(osg::Matrixd::translate(0.3, 0.0, 0.0));
             view.frame();
         },
         1, true},
        {"aligned: the host's translation and the frame's orientation",
         [&] {
             dragger->setReferenceFrame(osg::Quat(0.5, osg::Z_AXIS));
             dragger->setIsAlignedWithReferenceFrame(true);
             host.pose = osg::Matrixd::rotate(0.3, osg::Y_AXIS) * osg::Matrixd::translate(1, 2, 3);
             view.frame();
             EXPECT_EQ(dragger->getMatrix(), osg::Matrixd::rotate(osg::Quat(0.5, osg::Z_AXIS)) *
                                                 osg::Matrixd::translate(1, 2, 3));
         },
         1, false},
        {"dragger not finite: put back on the host, still pickable",
         [&] {
             host.pose = osg::Matrixd::translate(0, 0, 0.3);
             dragger->setMatrix(osg::Matrixd::translate(RkTest::kNaN, 0, 0));
             view.frame();
             EXPECT_TRUE(view.press(handleCentre()));
         },
         1, true},
        {"no follow during a drag",
         [&] {
             view.press(handleCentre());
             view.drag(view.project(osg::Vec3d(0, 0, 0.2)));
             const osg::Matrixd dragged = dragger->getMatrix();
             host.pose = osg::Matrixd::translate(5, 5, 5);
             view.frame();
             EXPECT_EQ(dragger->getMatrix(), dragged);
         },
         0, false},
        {"dragging disabled: no press, no follow",
         [&] {
             dragger->setDraggingEnabled(false);
             EXPECT_FALSE(view.press(handleCentre()));
             host.pose = osg::Matrixd::translate(0, 0, 1);
             view.frame();
             EXPECT_TRUE(dragger->events.empty());
         },
         0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        rebuild();
        QSignalSpy spy(dragger.get(), &Composite3DDragger::signalPoseChanged);
        row.act();
        EXPECT_EQ(spy.count(), row.poseSignals);
        EXPECT_EQ(dragger->getMatrix() == host.pose, row.followed);
    }
}

TEST_F(CompositeEventLoop, NonFiniteHostPoseIsIgnoredAndTheDraggerStaysPickable)
{
    host.pose = osg::Matrixd::translate(0.1, 0, 0);
    view.frame();
    const osg::Matrixd lastGood = dragger->getMatrix();
    QSignalSpy spy(dragger.get(), &Composite3DDragger::signalPoseChanged);
    for (double bad : {RkTest::kNaN, RkTest::kInfinity}) {
        host.pose = osg::Matrixd::translate(bad, 0, 0);
        view.frame();
        host.pose = osg::Matrixd::identity();
        host.pose(2, 2) = bad;
        view.frame();
    }
    EXPECT_EQ(spy.count(), 0);
    EXPECT_EQ(dragger->getMatrix(), lastGood);

    // The release writes the dragger's finite pose over the broken one.
    EXPECT_TRUE(view.press(handleCentre()));
    view.drag(view.project(osg::Vec3d(0.1, 0, 0.2)));
    view.release(view.project(osg::Vec3d(0.1, 0, 0.2)));
    EXPECT_NEAR(host.pose(3, 2), 0.2, 1e-3);
    EXPECT_EQ(host.pose(2, 2), 1.0);
}

} // namespace
