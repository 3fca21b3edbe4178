#ifndef RK_VIEWER_HARNESS_H
#define RK_VIEWER_HARNESS_H

#include <osg/Group>
#include <osg/ref_ptr>
#include <osgGA/GUIEventAdapter>
#include <osgViewer/Viewer>

namespace RkTest {

/// A real osgViewer::Viewer in an embedded (context-less) window, driven
/// through its own event traversal the way a windowing layer would drive it.
///
/// Window coordinates given to and returned by the harness are pixels with y
/// counted downwards from the top edge, as a window system reports them.
/// Every event call pushes the event into the window's queue, advances the
/// viewer and runs one event traversal; the result says whether the scene
/// marked the event handled.
class ViewerHarness
{
public:
    static constexpr int WIDTH = 800;
    static constexpr int HEIGHT = 600;

    /// A viewer looking from `eye` at the origin, Z up, 30 degree field of view.
    explicit ViewerHarness(const osg::Vec3d& eye = osg::Vec3d(0.0, -5.0, 0.0));

    osgViewer::Viewer& viewer() { return *m_viewer; }
    osg::Group* root() { return m_root.get(); }
    osgViewer::GraphicsWindow* window() { return m_window.get(); }

    void lookAt(const osg::Vec3d& eye, const osg::Vec3d& center, const osg::Vec3d& up);
    /// The window point (y down) where the world point `world` is seen.
    osg::Vec2d project(const osg::Vec3d& world) const;

    /// `button` is a bit of osgGA's button mask (`LEFT_MOUSE_BUTTON` ...).
    bool press(const osg::Vec2d& at, int button = osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    bool drag(const osg::Vec2d& at);
    bool release(const osg::Vec2d& at, int button = osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    bool move(const osg::Vec2d& at);
    bool keyDown(int key);
    bool keyUp(int key);
    /// The modifier keys (`osgGA::GUIEventAdapter::ModKeyMask`) that every
    /// later event reports as held, as a window system does; the queue does
    /// not track them from key events itself.
    void holdModifiers(int modKeyMask);
    bool scroll(osgGA::GUIEventAdapter::ScrollingMotion motion);
    /// One event traversal with the viewer's frame event and nothing else.
    void frame();
    /// Press at `from`, drag in `steps` equal steps to `to`, release there.
    void dragFromTo(const osg::Vec2d& from, const osg::Vec2d& to, int steps = 4);

private:
    bool traverse(osgGA::GUIEventAdapter* event);

    osg::ref_ptr<osgViewer::Viewer> m_viewer;
    osg::ref_ptr<osgViewer::GraphicsWindow> m_window;
    osg::ref_ptr<osg::Group> m_root;
};

/// An action adapter that is no `osgViewer::View`; counts redraw requests.
struct StubActions : osgGA::GUIActionAdapter
{
    int redraws = 0;
    void requestRedraw() override { ++redraws; }
    void requestContinuousUpdate(bool) override {}
    void requestWarpPointer(float, float) override {}
};

} // namespace RkTest

#endif
