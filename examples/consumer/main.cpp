// A host application in miniature, built against the installed librkDragger.
//
// It keeps an end-effector pose of its own and lends it to a frame dragger
// through two functions, and shows the pose in the library's dialog. A real
// osgViewer::Viewer in an embedded window delivers the events, as a host's
// GUI toolkit would; the program scripts what the host and a user do (the
// host moves its pose, the user drags the X arrow), prints the pose after each
// step and exits non-zero if the library did not behave as a host relies on.
#include "rkDraggerDlg.h"
#include "rkDraggerReceiver.h"
#include "rkFrameDragger.h"

#include <QApplication>
#include <QDoubleSpinBox>
#include <boost/bind/bind.hpp>
#include <osg/Group>
#include <osgViewer/Viewer>

#include <cmath>
#include <cstdio>

namespace {

const int kWindowWidth = 800;
const int kWindowHeight = 600;
const double kFieldOfViewDegrees = 30.0;
const double kNearPlane = 0.1;
const double kFarPlane = 100.0;
// Where the host puts its end effector before the user drags.
const osg::Vec3d kHostPosition(0.25, -0.5, 1.0);
// The X arrow is grabbed this far from the dragger's origin (beyond the
// rings, which have radius 0.15 at the default scale 0.3) and moved this far.
const double kArrowGrab = 0.24;
const double kArrowMove = 0.2;
const int kDragSteps = 4;
// A drag lands within this distance (metres) of where it was aimed: the
// pointer ray meets the arrow's line only up to the pick's precision.
const double kDragTolerance = 0.01;
// The dialog shows positions with three decimals.
const double kDialogTolerance = 0.0005;

// The host's own state: the end-effector pose and how often it was written.
struct EndEffector
{
    osg::Matrixd pose;
    int writes = 0;

    osg::Matrixd read() const { return pose; }
    void write(const osg::Matrixd& matrix)
    {
        pose = matrix;
        ++writes;
    }
};

// A viewer in a window the host embeds: no OpenGL context is needed to run
// the event traversal, which is all the draggers use.
class EmbeddedView
{
public:
    EmbeddedView() : m_viewer(new osgViewer::Viewer), m_root(new osg::Group)
    {
        m_window = m_viewer->setUpViewerAsEmbeddedInWindow(0, 0, kWindowWidth, kWindowHeight);
        // Mouse positions are read against the window size the queue knows.
        m_window->getEventQueue()->windowResize(0, 0, kWindowWidth, kWindowHeight);
        m_viewer->setSceneData(m_root.get());
        m_viewer->getCamera()->setProjectionMatrixAsPerspective(
            kFieldOfViewDegrees, double(kWindowWidth) / kWindowHeight, kNearPlane, kFarPlane);
        m_viewer->getCamera()->setViewMatrixAsLookAt(osg::Vec3d(2.0, -4.0, 1.5), osg::Vec3d(),
                                                     osg::Vec3d(0.0, 0.0, 1.0));
        m_viewer->realize();
    }

    osg::Group* root() { return m_root.get(); }

    // The window point (y down from the top, as a window system counts) at
    // which the world point is seen.
    osg::Vec2d project(const osg::Vec3d& world) const
    {
        const osg::Camera* camera = m_viewer->getCamera();
        const osg::Matrixd toWindow = camera->getViewMatrix() * camera->getProjectionMatrix() *
                                      camera->getViewport()->computeWindowMatrix();
        const osg::Vec3d window = world * toWindow;
        return osg::Vec2d(window.x(), kWindowHeight - window.y());
    }

    // One pass of the viewer's event traversal with its frame event.
    void frame() { traverse(); }

    // What a user does with the left mouse button, event by event.
    void drag(const osg::Vec2d& from, const osg::Vec2d& to, int steps)
    {
        osgGA::EventQueue* queue = m_window->getEventQueue();
        queue->mouseButtonPress(from.x(), from.y(), kLeftButton);
        traverse();
        for (int step = 1; step <= steps; ++step) {
            const osg::Vec2d at = from + (to - from) * (double(step) / steps);
            queue->mouseMotion(at.x(), at.y());
            traverse();
        }
        queue->mouseButtonRelease(to.x(), to.y(), kLeftButton);
        traverse();
    }

private:
    static const int kLeftButton = osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON;

    void traverse()
    {
        m_viewer->advance();
        m_viewer->eventTraversal();
    }

    osg::ref_ptr<osgViewer::Viewer> m_viewer;
    osg::ref_ptr<osgViewer::GraphicsWindow> m_window;
    osg::ref_ptr<osg::Group> m_root;
};

void printPose(const char* label, const osg::Matrixd& pose)
{
    const osg::Vec3d position = pose.getTrans();
    std::printf("%-28s x %.4f  y %.4f  z %.4f\n", label, position.x(), position.y(), position.z());
}

// The position the dialog shows in its X, Y and Z boxes.
osg::Vec3d dialogPosition(const Rk::DraggerDlg& dialog)
{
    auto value = [&dialog](const char* name) {
        return dialog.findChild<QDoubleSpinBox*>(name)->value();
    };
    return osg::Vec3d(value("spinBoxX"), value("spinBoxY"), value("spinBoxZ"));
}

bool check(bool condition, const char* what)
{
    std::printf("%-44s %s\n", what, condition ? "yes" : "NO");
    return condition;
}

bool near(const osg::Vec3d& a, const osg::Vec3d& b, double tolerance)
{
    return (a - b).length() <= tolerance;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);

    EndEffector endEffector;
    osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::DraggerReceiver(
        boost::bind(&EndEffector::read, &endEffector),
        boost::bind(&EndEffector::write, &endEffector, boost::placeholders::_1));
    osg::ref_ptr<Rk::FrameDragger> dragger = new Rk::FrameDragger(receiver.get(), false);
    dragger->setupDefaultGeometry();
    Rk::DraggerDlg dialog(dragger.get());
    dialog.showDragger(true);

    EmbeddedView view;
    view.root()->addChild(dragger.get());

    // The host moves its end effector elsewhere; the next frame event brings
    // the dragger and the dialog along.
    endEffector.pose = osg::Matrixd::translate(kHostPosition);
    view.frame();
    printPose("host pose", endEffector.pose);
    printPose("dragger pose after a frame", dragger->getMatrix());
    bool ok = check(near(dragger->getMatrix().getTrans(), kHostPosition, kDialogTolerance),
                    "dragger follows the host:");
    ok &= check(near(dialogPosition(dialog), kHostPosition, kDialogTolerance),
                "dialog shows the host pose:");

    // The user drags the X arrow; every step writes the host's pose.
    const int writesBefore = endEffector.writes;
    const osg::Vec3d grab = kHostPosition + osg::Vec3d(kArrowGrab, 0.0, 0.0);
    view.drag(view.project(grab), view.project(grab + osg::Vec3d(kArrowMove, 0.0, 0.0)),
              kDragSteps);
    const osg::Vec3d expected = kHostPosition + osg::Vec3d(kArrowMove, 0.0, 0.0);
    printPose("host pose after the drag", endEffector.pose);
    std::printf("%-28s x %.4f  y %.4f  z %.4f\n", "dialog shows", dialogPosition(dialog).x(),
                dialogPosition(dialog).y(), dialogPosition(dialog).z());
    std::printf("%-28s %d\n", "host writes during the drag", endEffector.writes - writesBefore);
    ok &= check(near(endEffector.pose.getTrans(), expected, kDragTolerance),
                "the drag moved the host pose along X:");
    ok &= check(near(dialogPosition(dialog), endEffector.pose.getTrans(), kDialogTolerance),
                "dialog shows the dragged pose:");
    return ok ? 0 : 1;
}
