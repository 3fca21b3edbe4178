#ifndef RK_DRAGGER_DLG_H
#define RK_DRAGGER_DLG_H

#include "rkCoordinateSystemTransformation.h"

#include <QWidget>

class QCloseEvent;
class Ui_DraggerDlg;

namespace Rk {

class Composite3DDragger;

/// A small widget that shows and edits the pose of one dragger as numbers.
///
/// Shows the dragger's position (X, Y, Z, in the units of its matrix) and its
/// 3-2-1 Euler angles (Yaw, Pitch, Roll, as the host's `RkOrientation`
/// returns them: radians), its scale and the running command value of a
/// deferred drag. Typed poses go back to the dragger through
/// `syncReceiverToPose`, typed scales through `setScale`. The checkable
/// "Dragger Pose" group shows or hides the dragger; "Update on release" sets
/// the dragger's value-on-release flag; the optional "Alignment" panel lines
/// the handles up with the system frame or with a custom frame.
///
/// The dragger is held by a plain pointer, never owned, never disconnected.
/// It may be null: every slot then leaves the dragger alone, while the
/// dialog's own signals are still emitted with the dialog's values. The host
/// keeps a bound dragger alive as long as the dialog may use it, or binds a
/// null dragger first.
///
/// The widgets are those of the form `Ui_DraggerDlg` (ui_rkDraggerDlg.h) and
/// can be found by their object names (`spinBoxX`, `groupBoxDragger`, ...).
class DraggerDlg : public QWidget
{
    Q_OBJECT

public:
    /// Builds the form, hides the alignment panel and binds `dragger` (may be
    /// null). The "Dragger Pose" group starts unchecked: the dragger is not
    /// shown by the dialog until the user (or `showDragger`) checks it.
    explicit DraggerDlg(Rk::Composite3DDragger* dragger, QWidget* parent = nullptr);
    ~DraggerDlg() override;

    /// Binds `dragger` (null unbinds) and refreshes the display from it. The
    /// previous dragger stays connected; binding the same dragger twice
    /// connects its signals twice, so each slot then runs twice per signal.
    void setDragger(Rk::Composite3DDragger* dragger);

    /// The last pose shown or typed.
    RkCoordinateSystemTransformation pose() const { return m_pose; }
    /// The last scale shown or typed (may hold more digits than the box shows).
    double scale() const { return m_scale; }
    /// Whether the "Dragger Pose" group is checked.
    bool draggerShown() const;
    /// Makes the alignment panel visible; it is hidden after construction.
    void enableSystemAlignment();
    /// Pushes the dialog's pose to the dragger with `syncReceiverToPose`,
    /// with the dialog's own signals blocked meanwhile (unblocked afterwards
    /// in any case). Nothing reaches a null dragger.
    void updateDraggerPose();

signals:
    /// The dialog is being closed.
    void signalClose();
    /// The dragger reported the release of a deferred drag.
    void signalCommandValueDone();
    /// The pose shown changed, from the dragger or from a finished edit.
    void signalPoseChanged(const RkCoordinateSystemTransformation&);
    /// The scale was changed in the scale box (or a dragger scale rounded).
    void signalScaleChanged(double);
    /// The dragger was shown (true) or hidden (false) through the dialog.
    void signalShowDragger(bool);

public slots:
    /// Reads all six pose boxes (as shown: rounded to 3 decimals, clamped),
    /// pushes that pose to the dragger and emits `signalPoseChanged` once.
    void poseChanged();
    /// Refreshes scale and pose boxes from the dragger (from the dialog's own
    /// values without one) and emits `signalPoseChanged`.
    void poseChangedFromDragger();
    /// Stores `value` as the scale, gives it to the dragger without letting
    /// the dragger's `signalScaleChanged` come back, emits `signalScaleChanged`.
    void scaleChanged(double value);
    /// Shows `value` (a distance or an angle in radians) in the command label.
    void commandValueChanged(double);
    /// Clears the command label and emits `signalCommandValueDone`.
    void commandValueDone();
    /// Shows or hides the dragger, checks the "Dragger Pose" group to match
    /// and enables the pose boxes and "Update on release" only while shown
    /// and dragging is enabled. Emits `signalShowDragger(show)`, also without
    /// a dragger (then no widget is touched). Called from code with a state
    /// the group does not have yet, the group's own toggle runs this slot
    /// once more, so the signal comes twice.
    void showDragger(bool);
    /// Re-applies the group's visibility after the dragger's dragging-enabled
    /// state changed.
    void updateDraggingEnabled();
    /// Switches the dragger's alignment with its reference frame; when
    /// switched on, "Connect" is enabled only while "Custom" is selected.
    void alignDragger(bool);
    /// Makes the dragger's current orientation its reference frame, aligns
    /// with it and lets the dragger write its receiver again.
    void connectDragger();
    /// "Custom" selected (true): the dragger stops writing its receiver (its
    /// receiver-update flag is cleared), so that the user can turn it into
    /// the wanted frame without moving the host's pose. "System" selected
    /// (false): aligns with the identity frame and sets the flag again.
    /// The dialog never touches the dragger's receiver-follow flag: in a
    /// running viewer the frame-time follow puts a turned dragger back on
    /// the host's pose, so a host that offers "Custom" clears that flag
    /// while "Custom" is selected and sets it again on "Connect" (the demo
    /// does so).
    void setupCustomFrame(bool);

protected:
    /// Emits `signalClose()`, then does what `QWidget` does.
    void closeEvent(QCloseEvent* event) override;

private:
    void connectDraggerSignals();
    void showPose();
    void setPoseBoxesEnabled(bool enabled);
    void resumeReceiver();

    Ui_DraggerDlg* m_ui;
    Rk::Composite3DDragger* m_dragger;
    double m_scale;
    RkCoordinateSystemTransformation m_pose;
};

} // namespace Rk

#endif
