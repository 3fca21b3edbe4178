// The shared pick: every pointer move and press over a grid of window points
// gives the same outcome with one pick per event as with a fresh pick per
// dragger, in scenes of several draggers, and one event costs one pick per
// view and mask.
#include "rkPickCache.h"
#include "rkFrameDragger.h"
#include "rkGizmoTestHelpers.h"

#include <gtest/gtest.h>
#include <osg/Callback>
#include <osgGA/EventVisitor>
#include <osgViewer/CompositeViewer>
#include <osgViewer/GraphicsWindow>

#include <algorithm>
#include <deque>
#include <functional>
#include <vector>

namespace {

const int kWidth = 800;
const int kHeight = 600;
const osg::Vec3d kEyes[] = {osg::Vec3d(2.5, -5.0, 3.0), osg::Vec3d(-4.0, -3.0, 2.0)};
const osg::Vec2d kDragOffset(12.0, -8.0);
const double kTolerance = 8.0;

// Does something at every other press, before the draggers after it in the
// scene see the press: marks it handled, as a handler in front of the
// draggers would, or hides a dragger, so that the draggers before it have
// picked with the dragger shown and those after it must pick without it.
class AtEveryOtherPress : public osg::Callback
{
public:
    explicit AtEveryOtherPress(std::function<void(osgGA::GUIEventAdapter&)> action)
        : m_action(std::move(action))
    {
    }
    bool run(osg::Object* object, osg::Object* data) override
    {
        auto* visitor = dynamic_cast<osgGA::EventVisitor*>(data);
        for (const osg::ref_ptr<osgGA::Event>& event : visitor->getEvents()) {
            osgGA::GUIEventAdapter* pointer = event->asGUIEventAdapter();
            if (pointer && pointer->getEventType() == osgGA::GUIEventAdapter::PUSH &&
                m_presses++ % 2 == 0)
                m_action(*pointer);
        }
        return traverse(object, data);
    }

private:
    std::function<void(osgGA::GUIEventAdapter&)> m_action;
    int m_presses = 0;
};

// One or two views of one scene of frame draggers in a composite viewer,
// headless: each view has its own embedded window and event queue.
struct Scene
{
    osg::ref_ptr<osgViewer::CompositeViewer> viewer = new osgViewer::CompositeViewer;
    osg::ref_ptr<osg::Group> root = new osg::Group;
    std::vector<osg::ref_ptr<osgViewer::View>> views;
    std::vector<osg::ref_ptr<osgViewer::GraphicsWindow>> windows;
    std::vector<osg::ref_ptr<Rk::FrameDragger>> draggers;
    std::deque<RkTest::PoseStore> hosts;

    Scene(int viewCount, int draggerCount)
    {
        viewer->setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
        for (int index = 0; index < viewCount; ++index)
            addView(kEyes[index]);
        for (int index = 0; index < draggerCount; ++index)
            addDragger(index);
        viewer->realize();
    }

    void addView(const osg::Vec3d& eye)
    {
        osg::ref_ptr<osgViewer::View> view = new osgViewer::View;
        osg::ref_ptr<osgViewer::GraphicsWindow> window =
            new osgViewer::GraphicsWindowEmbedded(0, 0, kWidth, kHeight);
        window->getEventQueue()->windowResize(0, 0, kWidth, kHeight);
        view->setSceneData(root.get());
        osg::Camera* camera = view->getCamera();
        camera->setGraphicsContext(window.get());
        camera->setViewport(new osg::Viewport(0, 0, kWidth, kHeight));
        camera->setProjectionMatrixAsPerspective(30.0, double(kWidth) / kHeight, 0.1, 1000.0);
        camera->setProjectionResizePolicy(osg::Camera::FIXED);
        camera->setViewMatrixAsLookAt(eye, osg::Vec3d(), osg::Vec3d(0.0, 0.0, 1.0));
        viewer->addView(view.get());
        views.push_back(view);
        windows.push_back(window);
    }

    // Dragger `index` overlaps the ones before it, shifted and turned a little.
    void addDragger(int index)
    {
        hosts.emplace_back().pose =
            osg::Matrixd::rotate(0.4 * index, osg::Z_AXIS) *
            osg::Matrixd::translate(0.35 * index, -0.2 * index, 0.1 * index);
        osg::ref_ptr<Rk::FrameDragger> dragger =
            new Rk::FrameDragger(hosts.back().makeReceiver(), false);
        RkTest::showIn(root.get(), dragger.get());
        draggers.push_back(dragger);
    }

    // Traverses one event, pushed into the queue of a view's window.
    bool traverse(osgGA::GUIEventAdapter* event)
    {
        osg::ref_ptr<osgGA::GUIEventAdapter> keep(event);
        viewer->advance();
        viewer->eventTraversal();
        return event->getHandled();
    }
    osgGA::EventQueue& queue(int view) { return *windows[view]->getEventQueue(); }
    /// A handler before the draggers from `index` on, acting at every other press.
    void atEveryOtherPress(unsigned int index, std::function<void(osgGA::GUIEventAdapter&)> act)
    {
        osg::ref_ptr<osg::Group> handler = new osg::Group;
        handler->setEventCallback(new AtEveryOtherPress(std::move(act)));
        root->insertChild(index, handler.get());
    }
};

void nothing(Scene&) {}

struct Arrangement
{
    const char* name;
    int views, draggers;
    // Picks one press may compute with sharing (one per view and mask).
    unsigned picksPerPress;
    std::function<void(Scene&)> arrange = nothing;
    std::function<void(Scene&, int point)> betweenPresses = {};
    std::function<void(Scene&, bool dragging)> duringDrag = {};
};

const Arrangement kArrangements[] = {
    {"one dragger", 1, 1, 1},
    {"overlapping", 1, 3, 1},
    {"nested: one dragger below another's transform", 1, 2, 1,
     [](Scene& scene) {
         scene.root->removeChild(scene.draggers[1].get());
         scene.draggers[0]->addChild(scene.draggers[1].get());
     }},
    {"hidden", 1, 3, 1,
     [](Scene& scene) {
         static_cast<Rk::Composite3DDragger*>(scene.draggers[1].get())->showDraggers(false);
     }},
    {"disabled", 1, 3, 1, [](Scene& scene) { scene.draggers[1]->setDraggingEnabled(false); }},
    {"another intersection mask", 1, 3, 2,
     [](Scene& scene) { scene.draggers[2]->setIntersectionMask(0xffffffff); }},
    {"press handled before the draggers", 1, 3, 1,
     [](Scene& scene) {
         scene.atEveryOtherPress(0, [](osgGA::GUIEventAdapter& press) { press.setHandled(true); });
     }},
    {"hidden by another handler during the press", 1, 3, 2,
     [](Scene& scene) {
         scene.atEveryOtherPress(1, [hidden = scene.draggers[2].get()](osgGA::GUIEventAdapter&) {
             hidden->showDraggers(false);
         });
     },
     [](Scene& scene, int) {
         static_cast<Rk::Composite3DDragger*>(scene.draggers[2].get())->showDraggers(true);
     }},
    {"removed, re-added and destroyed between presses", 1, 3, 1, nothing,
     [](Scene& scene, int point) {
         if (point % 3 == 1)
             scene.root->removeChild(scene.draggers[1].get());
         if (point % 3 == 2)
             scene.root->addChild(scene.draggers[1].get());
         if (point == 40) {
             scene.root->removeChild(scene.draggers[2].get());
             scene.draggers[2] = nullptr;
         }
     }},
    {"hidden and disabled during a drag",
     1,
     3,
     1,
     nothing,
     {},
     [](Scene& scene, bool dragging) {
         static_cast<Rk::Composite3DDragger*>(scene.draggers[0].get())->showDraggers(!dragging);
         scene.draggers[1]->setDraggingEnabled(!dragging);
     }},
    {"two views, presses in both", 2, 3, 1},
    {"hover and tolerance on, overlapping", 1, 3, 1,
     [](Scene& scene) {
         for (const osg::ref_ptr<Rk::FrameDragger>& dragger : scene.draggers) {
             dragger->setHoverHighlight(true);
             dragger->setPickTolerance(kTolerance);
         }
     }},
};

// Which handle of `dragger` is highlighted: 0 for none, else 1 to 6.
double hoveredHandleOf(const Rk::FrameDragger& dragger)
{
    const osgManipulator::Dragger* handles[] = {nullptr,
                                                dragger.translateDragger()->xDragger(),
                                                dragger.translateDragger()->yDragger(),
                                                dragger.translateDragger()->zDragger(),
                                                dragger.rotateDragger()->xDragger(),
                                                dragger.rotateDragger()->yDragger(),
                                                dragger.rotateDragger()->zDragger()};
    return double(std::find(std::begin(handles), std::end(handles), dragger.hoveredHandle()) -
                  std::begin(handles));
}

struct PressRun
{
    std::vector<double> record;
    unsigned mostPicksPerPress = 0;
    int handledPresses = 0;
};

// Moves, presses, drags and releases at every grid point in every view and
// records what each step did: each dragger's highlighted handle after the
// move, handled or not, each dragger's active axis and drag mode after the
// press, each host pose after the release.
PressRun outcomes(const Arrangement& arrangement, bool sharing)
{
    Scene scene(arrangement.views, arrangement.draggers);
    arrangement.arrange(scene);
    Rk::PickCache::setSharingDisabled(!sharing);
    PressRun run;
    std::vector<double>& record = run.record;
    int point = 0;
    for (double y = 150.0; y <= 450.0; y += 25.0) {
        for (double x = 250.0; x <= 550.0; x += 25.0, ++point) {
            if (arrangement.betweenPresses)
                arrangement.betweenPresses(scene, point);
            for (int view = 0; view < arrangement.views; ++view) {
                scene.traverse(scene.queue(view).mouseMotion(x, y));
                for (const osg::ref_ptr<Rk::FrameDragger>& dragger : scene.draggers)
                    if (dragger)
                        record.push_back(hoveredHandleOf(*dragger));
                const unsigned long long before = Rk::PickCache::computedPicks();
                const bool handled = scene.traverse(scene.queue(view).mouseButtonPress(x, y, 1));
                record.push_back(handled);
                run.handledPresses += handled;
                run.mostPicksPerPress = std::max(run.mostPicksPerPress,
                                                 unsigned(Rk::PickCache::computedPicks() - before));
                for (const osg::ref_ptr<Rk::FrameDragger>& dragger : scene.draggers)
                    if (dragger)
                        record.insert(record.end(),
                                      {double(dragger->activeAxis()), double(dragger->dragMode())});
                if (arrangement.duringDrag)
                    arrangement.duringDrag(scene, true);
                const osg::Vec2d to = osg::Vec2d(x, y) + kDragOffset;
                record.push_back(scene.traverse(scene.queue(view).mouseMotion(to.x(), to.y())));
                record.push_back(
                    scene.traverse(scene.queue(view).mouseButtonRelease(to.x(), to.y(), 1)));
                if (arrangement.duringDrag)
                    arrangement.duringDrag(scene, false);
                for (const RkTest::PoseStore& host : scene.hosts)
                    record.insert(record.end(), host.pose.ptr(), host.pose.ptr() + 16);
            }
        }
    }
    Rk::PickCache::setSharingDisabled(false);
    return run;
}

TEST(PickCache, everyPressGivesTheSameOutcomeWithSharedAndFreshPicks)
{
    for (const Arrangement& arrangement : kArrangements) {
        SCOPED_TRACE(arrangement.name);
        const PressRun fresh = outcomes(arrangement, false);
        const PressRun shared = outcomes(arrangement, true);
        ASSERT_EQ(fresh.record.size(), shared.record.size());
        for (std::size_t index = 0; index < fresh.record.size(); ++index)
            ASSERT_EQ(fresh.record[index], shared.record[index]) << "at record " << index;
        // The grid must reach the handles, else the comparison proves nothing.
        EXPECT_GT(fresh.handledPresses, 10);
        EXPECT_LE(shared.mostPicksPerPress, arrangement.picksPerPress);
        EXPECT_GE(fresh.mostPicksPerPress, shared.mostPicksPerPress);
    }
}

} // namespace
