#ifndef RK_HANDLING_CONTROLS_H
#define RK_HANDLING_CONTROLS_H

#include <QObject>
#include <QPointer>
#include <QVector>

class QAction;
class QMainWindow;
class RkOsgViewWidget;
namespace Rk {
class FrameDragger;
}

/// The demo's handling: a "Snap" tool-bar toggle (10 mm and 15 degree
/// steps), Shift for ten times finer motion, Esc or a right-click during a
/// drag to cancel it, and the running distance or angle in the status bar
/// ("X +12.0 mm", "Z +15.0°").
///
/// Watches the views' Qt events: it hands the held Shift and Ctrl to the
/// viewer with every event (as a window system does), sends Ctrl and Esc as
/// osgGA's own key symbols, and turns a right-click during a drag into a cancel.
class RkHandlingControls : public QObject
{
    Q_OBJECT

public:
    /// Snap steps of the toggle.
    static constexpr double SNAP_METRES = 0.010;
    static constexpr double SNAP_DEGREES = 15.0;
    /// Motion counted while Shift is held.
    static constexpr double PRECISION_FACTOR = 0.1;

    /// Adds the tool bar to `window` and watches `views`; `dragger` and the
    /// views must outlive this object (the window owns all of them).
    RkHandlingControls(QMainWindow* window, Rk::FrameDragger* dragger,
                       const QVector<RkOsgViewWidget*>& views);

    QAction* snapAction() const { return m_snapAction; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setSnapping(bool on);
    void reportDrag();
    bool cancelOnRightClick(QEvent* event);

    QMainWindow* m_window;
    Rk::FrameDragger* m_dragger;
    QAction* m_snapAction = nullptr;
};

#endif
