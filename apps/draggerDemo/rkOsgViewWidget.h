#ifndef RK_OSG_VIEW_WIDGET_H
#define RK_OSG_VIEW_WIDGET_H

#include <QOpenGLWidget>
#include <QTimer>
#include <osg/ref_ptr>
#include <osgViewer/Viewer>

/// A Qt OpenGL widget that drives an osgViewer::Viewer through an embedded
/// graphics window: Qt's mouse, wheel and key events go into the window's
/// own event queue (pixels, y down from the top edge) and every repaint runs
/// one viewer frame into the widget's framebuffer.
///
/// A double click is handed on as a second press, so that a quick second
/// grab of a handle takes it as the first did.
///
/// When the pointer leaves the widget the queue gets a pointer move outside
/// the window, which takes any hover highlight away.
///
/// The camera manipulator ignores presses, drags and releases that the scene
/// already handled, so grabbing a dragger never also turns the camera.
///
/// The projection is a perspective one with a vertical field of view of
/// `kFieldOfViewDegrees`, or, for a plan view, an orthographic one that shows
/// at the manipulator's centre what the perspective one would: the wheel
/// zooms either.
class RkOsgViewWidget : public QOpenGLWidget
{
    Q_OBJECT

public:
    explicit RkOsgViewWidget(QWidget* parent = nullptr);
    ~RkOsgViewWidget() override;

    /// Vertical field of view of the perspective projection, degrees.
    static constexpr double kFieldOfViewDegrees = 30.0;

    osgViewer::Viewer* viewer() const { return m_viewer.get(); }
    /// Every line of sight parallel (true) or through the eye (false, the
    /// default); takes effect at the next frame.
    void setOrthographic(bool orthographic) { m_orthographic = orthographic; }
    bool orthographic() const { return m_orthographic; }
    /// The window point (y down, widget pixels) where `world` is seen.
    QPointF project(const osg::Vec3d& world) const;
    /// The world point seen at window point `at` (y down, widget pixels), as
    /// deep in the view as `depthOf` is.
    osg::Vec3d unproject(const QPointF& at, const osg::Vec3d& depthOf) const;

signals:
    /// The view's new size in device pixels.
    void resized(int width, int height);

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;

    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    /// The pointer left the view: a move outside the window, so that no
    /// handle stays highlighted for a pointer that is no longer over it.
    void leaveEvent(QEvent* event) override;

private:
    osgGA::EventQueue* queue() const { return m_window->getEventQueue(); }
    double pixelRatio() const { return devicePixelRatioF(); }
    /// World to window coordinates (device pixels, y up) through the camera.
    osg::Matrixd worldToWindow() const;
    /// Sets the camera's projection for its viewport and, when orthographic,
    /// for the manipulator's distance to its centre.
    void updateProjection();

    osg::ref_ptr<osgViewer::Viewer> m_viewer;
    osg::ref_ptr<osgViewer::GraphicsWindowEmbedded> m_window;
    QTimer m_frameTimer;
    bool m_orthographic = false;
};

#endif
