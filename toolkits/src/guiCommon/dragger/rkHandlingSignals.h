#ifndef RK_HANDLING_SIGNALS_H
#define RK_HANDLING_SIGNALS_H

#include <QObject>

namespace Rk {

/// The Qt signals and slots of the optional handling features of
/// `Rk::Composite3DDragger` (cancelling a drag, hover highlight).
///
/// They live in this base of the composite rather than in the composite's
/// own meta-object, so that the composite's own method table (six signals,
/// then the slots `setPose` and `setValueOnRelease`, counted from its method
/// offset) stays the same for hosts that look its methods up by index.
/// Connect to them through the composite as to any of its signals:
/// `&Rk::Composite3DDragger::signalDragCancelled`.
class HandlingSignals : public QObject
{
    Q_OBJECT

signals:
    /// A drag was cancelled: the pose is back at the pose of the press.
    void signalDragCancelled();
    /// The handle under the pointer (the one a press would take) changed.
    void signalHoverChanged();

public slots:
    /// During a drag: puts the pose back to the pose of the press and ends
    /// the drag. Outside a drag: nothing.
    virtual void cancelDrag() = 0;

protected:
    HandlingSignals() = default;
    ~HandlingSignals() override = default;
};

} // namespace Rk

#endif
