#include "rkViewerHarness.h"

namespace RkTest {

ViewerHarness::ViewerHarness(const osg::Vec3d& eye)
    : m_viewer(new osgViewer::Viewer), m_root(new osg::Group)
{
    m_window = m_viewer->setUpViewerAsEmbeddedInWindow(0, 0, WIDTH, HEIGHT);
    m_window->getEventQueue()->windowResize(0, 0, WIDTH, HEIGHT);
    m_viewer->setSceneData(m_root.get());
    m_viewer->getCamera()->setProjectionMatrixAsPerspective(30.0, double(WIDTH) / double(HEIGHT),
                                                            0.1, 1000.0);
    m_viewer->getCamera()->setProjectionResizePolicy(osg::Camera::FIXED);
    lookAt(eye, osg::Vec3d(), osg::Vec3d(0.0, 0.0, 1.0));
    m_viewer->realize();
    frame();
}

void ViewerHarness::lookAt(const osg::Vec3d& eye, const osg::Vec3d& center, const osg::Vec3d& up)
{
    m_viewer->getCamera()->setViewMatrixAsLookAt(eye, center, up);
}

osg::Vec2d ViewerHarness::project(const osg::Vec3d& world) const
{
    const osg::Camera* camera = m_viewer->getCamera();
    const osg::Matrixd toWindow = camera->getViewMatrix() * camera->getProjectionMatrix() *
                                  camera->getViewport()->computeWindowMatrix();
    const osg::Vec3d window = world * toWindow;
    // The viewer's event traversal takes a y-down window row r to the y-up row HEIGHT - 1 - r.
    return osg::Vec2d(window.x(), HEIGHT - 1 - window.y());
}

bool ViewerHarness::traverse(osgGA::GUIEventAdapter* event)
{
    osg::ref_ptr<osgGA::GUIEventAdapter> keep(event);
    m_viewer->advance();
    m_viewer->eventTraversal();
    return event->getHandled();
}

namespace {

// osgGA's event queue numbers buttons 1 (left), 2 (middle), 3 (right).
unsigned int queueButton(int buttonMask)
{
    switch (buttonMask) {
    case osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON:
        return 1;
    case osgGA::GUIEventAdapter::MIDDLE_MOUSE_BUTTON:
        return 2;
    case osgGA::GUIEventAdapter::RIGHT_MOUSE_BUTTON:
        return 3;
    default:
        return 0;
    }
}

} // namespace

bool ViewerHarness::press(const osg::Vec2d& at, int button)
{
    return traverse(
        m_window->getEventQueue()->mouseButtonPress(at.x(), at.y(), queueButton(button)));
}

bool ViewerHarness::drag(const osg::Vec2d& at)
{
    return traverse(m_window->getEventQueue()->mouseMotion(at.x(), at.y()));
}

bool ViewerHarness::release(const osg::Vec2d& at, int button)
{
    return traverse(
        m_window->getEventQueue()->mouseButtonRelease(at.x(), at.y(), queueButton(button)));
}

bool ViewerHarness::move(const osg::Vec2d& at)
{
    return drag(at); // the queue tells a move from a drag by the buttons held
}

bool ViewerHarness::keyDown(int key)
{
    return traverse(m_window->getEventQueue()->keyPress(key));
}

bool ViewerHarness::keyUp(int key)
{
    return traverse(m_window->getEventQueue()->keyRelease(key));
}

void ViewerHarness::holdModifiers(int modKeyMask)
{
    m_window->getEventQueue()->getCurrentEventState()->setModKeyMask(modKeyMask);
}

bool ViewerHarness::scroll(osgGA::GUIEventAdapter::ScrollingMotion motion)
{
    return traverse(m_window->getEventQueue()->mouseScroll(motion));
}

void ViewerHarness::frame()
{
    m_viewer->advance();
    m_viewer->eventTraversal();
}

void ViewerHarness::dragFromTo(const osg::Vec2d& from, const osg::Vec2d& to, int steps)
{
    press(from);
    for (int i = 1; i <= steps; ++i)
        drag(from + (to - from) * (double(i) / steps));
    release(to);
}

} // namespace RkTest
