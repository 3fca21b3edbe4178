// A host application in miniature, built against the installed librkDragger.
//
// It keeps an end-effector pose of its own and lends it to a dragger through
// two functions. A real osgViewer::Viewer in an embedded window delivers the
// events, as a host's GUI toolkit would; the program scripts what a user and
// the host do, prints the pose after each step and exits non-zero if the
// library did not behave as a host relies on.
#include "rkComposite3DDragger.h"
#include "rkDraggerReceiver.h"

#include <QApplication>
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
// Poses that agree to this distance (metres) count as equal.
const double kPoseTolerance = 1e-6;

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
        m_viewer->setSceneData(m_root.get());
        m_viewer->getCamera()->setProjectionMatrixAsPerspective(
            kFieldOfViewDegrees, double(kWindowWidth) / kWindowHeight, kNearPlane, kFarPlane);
        m_viewer->getCamera()->setViewMatrixAsLookAt(osg::Vec3d(2.0, -4.0, 1.5), osg::Vec3d(),
                                                     osg::Vec3d(0.0, 0.0, 1.0));
        m_viewer->realize();
    }

    osg::Group* root() { return m_root.get(); }

    // One pass of the viewer's event traversal with its frame event.
    void frame()
    {
        m_viewer->advance();
        m_viewer->eventTraversal();
    }

private:
    osg::ref_ptr<osgViewer::Viewer> m_viewer;
    osg::ref_ptr<osgViewer::GraphicsWindow> m_window;
    osg::ref_ptr<osg::Group> m_root;
};

void printPose(const char* label, const osg::Matrixd& pose)
{
    const osg::Vec3d position = pose.getTrans();
    std::printf("%-28s x %.4f  y %.4f  z %.4f\n", label, position.x(), position.y(), position.z());
}

bool samePosition(const osg::Matrixd& a, const osg::Matrixd& b)
{
    return (a.getTrans() - b.getTrans()).length() < kPoseTolerance;
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
    osg::ref_ptr<Rk::Composite3DDragger> dragger = new Rk::Composite3DDragger(receiver.get());
    dragger->showDraggers(true);

    EmbeddedView view;
    view.root()->addChild(dragger.get());
    view.frame();

    // The host moves its end effector elsewhere; the next frame event brings
    // the dragger along.
    endEffector.pose = osg::Matrixd::translate(0.25, -0.5, 1.0);
    view.frame();
    printPose("host pose", endEffector.pose);
    printPose("dragger pose after a frame", dragger->getMatrix());

    const bool followed = samePosition(dragger->getMatrix(), endEffector.pose);
    std::printf("dragger follows the host: %s\n", followed ? "yes" : "NO");
    return followed ? 0 : 1;
}
