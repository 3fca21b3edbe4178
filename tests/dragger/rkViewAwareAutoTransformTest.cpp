#include "rkGizmoTestHelpers.h"
#include "rkRotateDragger.h"

#include <gtest/gtest.h>
#include <osgViewer/Viewer>
#include <osgViewer/config/SingleWindow>

#include <cstdlib>

namespace {

const int kWidth = 320;
const int kHeight = 240;

/// A viewer drawing `scene` into a real window on DISPLAY, looking from
/// `eye` at the origin; null without a display.
osg::ref_ptr<osgViewer::Viewer> openView(osg::Node* scene, const osg::Vec3d& eye)
{
    if (!std::getenv("DISPLAY"))
        return nullptr;
    osg::ref_ptr<osgViewer::Viewer> viewer = new osgViewer::Viewer;
    viewer->apply(new osgViewer::SingleWindow(0, 0, kWidth, kHeight));
    osg::Camera* camera = viewer->getCamera();
    auto* window = dynamic_cast<osgViewer::GraphicsWindow*>(camera->getGraphicsContext());
    if (!window || !window->valid())
        return nullptr;
    viewer->setThreadingModel(osgViewer::Viewer::SingleThreaded);
    viewer->setSceneData(scene);
    viewer->setKeyEventSetsDone(0);
    camera->setProjectionMatrixAsPerspective(30.0, double(kWidth) / kHeight, 0.1, 100.0);
    camera->setViewMatrixAsLookAt(eye, osg::Vec3d(), osg::Z_AXIS);
    viewer->realize();
    window->getEventQueue()->windowResize(0, 0, kWidth, kHeight);
    return viewer;
}

/// The window point (y down) where `viewer` shows the Z ring's point at
/// 30 degrees, with the transforms as they are now.
osg::Vec2d ringPointIn(osgViewer::Viewer& viewer, Rk::RotateDragger& dragger)
{
    const osg::Vec3d world = RkTest::worldOf(dragger.zDragger(), RkTest::ringPoint(30.0));
    const osg::Camera* camera = viewer.getCamera();
    const osg::Vec3d window = world * camera->getViewMatrix() * camera->getProjectionMatrix() *
                              camera->getViewport()->computeWindowMatrix();
    return osg::Vec2d(window.x(), kHeight - window.y());
}

bool pressAndRelease(osgViewer::Viewer& viewer, const osg::Vec2d& at)
{
    auto* window =
        static_cast<osgViewer::GraphicsWindow*>(viewer.getCamera()->getGraphicsContext());
    osg::ref_ptr<osgGA::GUIEventAdapter> press =
        window->getEventQueue()->mouseButtonPress(at.x(), at.y(), 1);
    viewer.advance();
    viewer.eventTraversal();
    window->getEventQueue()->mouseButtonRelease(at.x(), at.y(), 1);
    viewer.advance();
    viewer.eventTraversal();
    return press->getHandled();
}

} // namespace

// Two views of one scene, one near and one far: the rings keep 25 pixels in
// both, so their world size differs by the ratio of the distances. A press in
// the near view must find its ring whichever view drew last.
TEST(ViewAwareAutoTransform, APressFindsTheRingOfItsOwnViewWhicheverViewDrewLast)
{
    osg::ref_ptr<Rk::RotateDragger> dragger = new Rk::RotateDragger(nullptr, true);
    dragger->setupDefaultGeometry();
    dragger->showDraggers(true);
    osg::ref_ptr<osgViewer::Viewer> nearView = openView(dragger.get(), osg::Vec3d(0, -1.5, 3));
    osg::ref_ptr<osgViewer::Viewer> farView = openView(dragger.get(), osg::Vec3d(0, -6, 12));
    if (!nearView || !farView)
        GTEST_SKIP() << "no X display to draw on";

    farView->frame();
    nearView->frame();
    const osg::Vec2d onNearRing = ringPointIn(*nearView, *dragger);
    EXPECT_TRUE(pressAndRelease(*nearView, onNearRing)) << "the near view drew last";

    farView->frame();
    EXPECT_TRUE(pressAndRelease(*nearView, onNearRing)) << "the far view drew last";
}
