#include "rkOsgViewWidget.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <osgGA/TrackballManipulator>

#include <cmath>

namespace {

// About 60 repaints a second: the frame events also drive the draggers'
// follow of poses that the host changed elsewhere.
const int kFrameIntervalMs = 16;
// Near and far planes of the perspective projection, metres from the eye.
const double kNear = 0.05;
const double kFar = 100.0;
// An orthographic projection shows everything this far in front of and
// behind the eye: a manipulator that zooms moves its eye into the scene.
const double kOrthographicDepth = 100.0;

// A pointer position left of and above every window: where a pointer that
// left the view is said to be.
const float kOutsideTheWindow = -1.0f;

// Orbit and zoom that leave alone every event the scene has already taken,
// such as a press that picked a dragger and the drags that follow it.
class SceneFirstManipulator : public osgGA::TrackballManipulator
{
public:
    bool handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) override
    {
        if (event.getHandled())
            return false;
        return osgGA::TrackballManipulator::handle(event, action);
    }
};

// The button as osgGA's event queue numbers them: 1 left, 2 middle, 3
// right (not the bits of its button mask, where right is 4); 0 for others.
unsigned int osgButton(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return 1;
    case Qt::MiddleButton:
        return 2;
    case Qt::RightButton:
        return 3;
    default:
        return 0;
    }
}

// The pointer in widget coordinates (logical pixels, y down): Qt 6 calls it
// position(), Qt 5.15 localPos().
QPointF pointerPosition(const QMouseEvent* event)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return event->position();
#else
    return event->localPos();
#endif
}

int osgKey(const QKeyEvent* event)
{
    const QString text = event->text();
    if (text.size() == 1 && text.at(0).unicode() < 128)
        return text.at(0).toLatin1();
    switch (event->key()) {
    case Qt::Key_Escape:
        return osgGA::GUIEventAdapter::KEY_Escape;
    case Qt::Key_Space:
        return osgGA::GUIEventAdapter::KEY_Space;
    default:
        return event->key();
    }
}

} // namespace

RkOsgViewWidget::RkOsgViewWidget(QWidget* parent)
    : QOpenGLWidget(parent), m_viewer(new osgViewer::Viewer)
{
    m_window = m_viewer->setUpViewerAsEmbeddedInWindow(0, 0, width(), height());
    m_viewer->setThreadingModel(osgViewer::Viewer::SingleThreaded);
    m_viewer->setKeyEventSetsDone(0);
    m_viewer->setCameraManipulator(new SceneFirstManipulator, false);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    connect(&m_frameTimer, &QTimer::timeout, this, QOverload<>::of(&QWidget::update));
    m_frameTimer.start(kFrameIntervalMs);
}

RkOsgViewWidget::~RkOsgViewWidget()
{
    makeCurrent();
    m_viewer = nullptr;
    doneCurrent();
}

QPointF RkOsgViewWidget::project(const osg::Vec3d& world) const
{
    const osg::Vec3d window = world * worldToWindow();
    return QPointF(window.x() / pixelRatio(), height() - window.y() / pixelRatio());
}

osg::Vec3d RkOsgViewWidget::unproject(const QPointF& at, const osg::Vec3d& depthOf) const
{
    const osg::Matrixd toWindow = worldToWindow();
    const osg::Vec3d window(at.x() * pixelRatio(), (height() - at.y()) * pixelRatio(),
                            (depthOf * toWindow).z());
    return window * osg::Matrixd::inverse(toWindow);
}

osg::Matrixd RkOsgViewWidget::worldToWindow() const
{
    const osg::Camera* camera = m_viewer->getCamera();
    return camera->getViewMatrix() * camera->getProjectionMatrix() *
           camera->getViewport()->computeWindowMatrix();
}

void RkOsgViewWidget::initializeGL()
{
    m_viewer->realize();
}

void RkOsgViewWidget::resizeGL(int width, int height)
{
    const int w = int(width * pixelRatio());
    const int h = int(height * pixelRatio());
    queue()->windowResize(0, 0, w, h);
    m_window->resized(0, 0, w, h);
    m_viewer->getCamera()->setViewport(0, 0, w, h);
    updateProjection();
    emit resized(w, h);
}

void RkOsgViewWidget::updateProjection()
{
    osg::Camera* camera = m_viewer->getCamera();
    const osg::Viewport* viewport = camera->getViewport();
    // A collapsed view (a splitter closed on it) keeps the last projection.
    if (!viewport || viewport->width() <= 0.0 || viewport->height() <= 0.0)
        return;
    const double aspect = viewport->width() / viewport->height();
    const auto* orbit =
        dynamic_cast<const osgGA::OrbitManipulator*>(m_viewer->getCameraManipulator());
    if (!m_orthographic || !orbit) {
        camera->setProjectionMatrixAsPerspective(kFieldOfViewDegrees, aspect, kNear, kFar);
        return;
    }
    const double halfHeight =
        orbit->getDistance() * std::tan(osg::DegreesToRadians(kFieldOfViewDegrees / 2.0));
    // A manipulator at its centre (or lost) keeps the last projection.
    if (!std::isfinite(halfHeight) || halfHeight <= 0.0)
        return;
    camera->setProjectionMatrixAsOrtho(-halfHeight * aspect, halfHeight * aspect, -halfHeight,
                                       halfHeight, -kOrthographicDepth, kOrthographicDepth);
}

void RkOsgViewWidget::paintGL()
{
    // Qt renders this widget into its own framebuffer object, not into 0.
    m_window->setDefaultFboId(defaultFramebufferObject());
    // Picks of this frame's events and its drawing see the same projection.
    updateProjection();
    m_viewer->frame();
}

void RkOsgViewWidget::mousePressEvent(QMouseEvent* event)
{
    const QPointF at = pointerPosition(event) * pixelRatio();
    queue()->mouseButtonPress(at.x(), at.y(), osgButton(event->button()));
}

void RkOsgViewWidget::mouseReleaseEvent(QMouseEvent* event)
{
    const QPointF at = pointerPosition(event) * pixelRatio();
    queue()->mouseButtonRelease(at.x(), at.y(), osgButton(event->button()));
}

void RkOsgViewWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    // Qt sends a second press soon after a click as a double click. This
    // view gives double clicks no meaning of their own, so it hands one on
    // as the press it is: as osgGA's double click no dragger would take it,
    // and the drag after it would turn the camera instead.
    mousePressEvent(event);
}

void RkOsgViewWidget::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF at = pointerPosition(event) * pixelRatio();
    queue()->mouseMotion(at.x(), at.y());
}

void RkOsgViewWidget::wheelEvent(QWheelEvent* event)
{
    const int delta = event->angleDelta().y();
    if (delta != 0)
        queue()->mouseScroll(delta > 0 ? osgGA::GUIEventAdapter::SCROLL_UP
                                       : osgGA::GUIEventAdapter::SCROLL_DOWN);
}

void RkOsgViewWidget::keyPressEvent(QKeyEvent* event)
{
    queue()->keyPress(osgKey(event));
}

void RkOsgViewWidget::keyReleaseEvent(QKeyEvent* event)
{
    queue()->keyRelease(osgKey(event));
}

void RkOsgViewWidget::leaveEvent(QEvent* event)
{
    // Taken at once, not at this view's next frame: a dragger shown in both
    // views must see the pointer leave this one before it enters the other.
    // Stamped with the time of the frame drawn last, the viewer takes it now.
    // With a button held the move would be a drag to outside the window:
    // none is sent then (a drag keeps its pointer until the release).
    if (isValid() && queue()->getCurrentEventState()->getButtonMask() == 0) {
        queue()->mouseMotion(kOutsideTheWindow, kOutsideTheWindow,
                             m_viewer->getFrameStamp()->getReferenceTime());
        m_viewer->eventTraversal();
    }
    QOpenGLWidget::leaveEvent(event);
}
