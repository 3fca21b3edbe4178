#ifndef RK_HANDLING_CONTROLS_H
#define RK_HANDLING_CONTROLS_H

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

class QAction;
class QDoubleSpinBox;
class QMainWindow;
class QToolBar;
class RkOsgViewWidget;
namespace Rk {
class FrameDragger;
}

/// The demo's handling: a "Snap" tool-bar toggle with its two steps
/// (editable, 10 mm and 15 degrees to start with), a "Hover highlight"
/// toggle, Shift for ten times finer motion, Esc or a right-click during a
/// drag to cancel it, the running distance or angle in the status bar
/// ("X +12.0 mm", "Z +15.0°") and what the keys do beside it, and a hand
/// for a pointer: open over the highlighted handle, closed while dragging.
///
/// Watches the views' Qt events: it hands the held Shift and Ctrl to the
/// viewer with every event (as a window system does), sends Ctrl and Esc as
/// osgGA's own key symbols, turns a right-click during a drag into a cancel,
/// and keeps the wheel from zooming during a drag.
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
    QAction* hoverAction() const { return m_hoverAction; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void addSnapControls(QToolBar* tools);
    void addHoverToggle(QToolBar* tools);
    void setSnapping(bool on);
    void reportDrag();
    void showGrabCursor();
    QString dragText() const;
    bool cancelOnRightClick(QEvent* event);

    QMainWindow* m_window;
    Rk::FrameDragger* m_dragger;
    QVector<RkOsgViewWidget*> m_views;
    QAction* m_snapAction = nullptr;
    QAction* m_hoverAction = nullptr;
    QDoubleSpinBox* m_snapMillimetres = nullptr;
    QDoubleSpinBox* m_snapDegrees = nullptr;
};

#endif
