#ifndef RK_POSE_HISTORY_H
#define RK_POSE_HISTORY_H

#include "rkComposite3DDragger.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUndoStack>
#include <osg/Matrixd>
#include <osg/Quat>
#include <osg/observer_ptr>
#include <osg/ref_ptr>

#include <optional>

namespace Rk {

class DraggerDlg;

/// Puts the pose changes a user makes with one dragger on a `QUndoStack`, one
/// `Rk::PoseCommand` per completed change, so that a Qt application's Undo and
/// Redo step through them.
///
/// Steps, all in the receiver's terms (the pose the host sees, alignment
/// included):
/// - a drag of any handle of the dragger (frame, translate or rotate dragger),
///   from the receiver's pose at the press to its pose at the release, live
///   or deferred writes alike; "Move along X +12.0 mm" (millimetres along the
///   grabbed axis of the dragger's frame at the press) or "Turn about Z
///   +15.0°" (degrees, -180 to 180); for a frame dragger's optional handles
///   "Move in XY plane 12.0 mm" and "Move in view plane 12.0 mm" (the
///   distance moved) and "Turn about line of sight +15.0°" (counter-clockwise
///   as the viewer saw it, as the view ring's command value). A drag that
///   leaves the pose as it was (a press without motion) and a cancelled drag
///   record nothing;
/// - a pose typed into a dialog given to `trackDialog`: "Typed pose";
/// - a change the host made itself, given to `recordHostChange`.
///
/// A drag is seen by the dragger's drag state around each event traversal:
/// the history adds an event callback to the dragger (chained with any other)
/// and removes it again when it is deleted; the dragger's classes and
/// signals are untouched. A dragger's `signalDragCancelled()` drops the drag.
///
/// Undo and redo write the receiver only; the dragger follows at its next
/// frame event and the dialog shows the pose as for any change of the host.
/// Undo or redo in the middle of a drag cancels the drag first (see
/// `Rk::PoseCommand`).
///
/// Bad input: a null dragger or stack records nothing. A dragger without a
/// receiver, or a receiver that answers a pose with a NaN or infinite
/// element at the start or the end of a change, records nothing for that
/// change. The stack is watched by `QPointer` (deleted first: nothing more is
/// recorded), the dragger by `osg::observer_ptr` (destroyed first: nothing
/// more is recorded, and the commands on the stack still write the
/// receiver). Deleting the history leaves the dragger and the stack as they
/// are, commands included.
class PoseHistory : public QObject
{
    Q_OBJECT

public:
    /// Two poses closer than this (every matrix element; metres for the
    /// translation) are the same pose: far below anything a user can drag or
    /// type, far above the rounding of a pose written back unchanged.
    static constexpr double SAME_POSE_TOLERANCE = 1e-9;

    /// Records the changes made with `dragger` on `stack`. Neither is owned.
    PoseHistory(Rk::Composite3DDragger* dragger, QUndoStack* stack, QObject* parent = nullptr);
    ~PoseHistory() override;

    /// Records each pose typed into `dialog` as one step, "Typed pose": from
    /// the receiver's pose before the typed pose reached the dragger to the
    /// receiver's pose once the host has handled the dialog's
    /// `signalPoseChanged` (read when control is back in the event loop). A
    /// host that does not apply the typed pose records nothing. The dialog
    /// must be bound to this history's dragger; null, or a dialog already
    /// tracked, does nothing. A deleted dialog is forgotten.
    void trackDialog(Rk::DraggerDlg* dialog);
    /// Records a change of the receiver's pose that the host made itself
    /// (a jog, a "Home" button) as one step with the given text. `before`
    /// and `after` are in the receiver's terms; the change must already have
    /// happened. A pose with a NaN or infinite element, or no change at all,
    /// records nothing.
    void recordHostChange(const osg::Matrixd& before, const osg::Matrixd& after,
                          const QString& text);
    /// Forgets the drag under way, if any, so that it records no step (its
    /// cancel, or a step undone in its middle). Nothing outside a drag.
    void forgetDrag();
    /// True from the press of a drag that is being recorded to its end.
    bool dragUnderWay() const { return m_drag.has_value(); }

    Rk::Composite3DDragger* dragger() const { return m_dragger.get(); }
    QUndoStack* stack() const { return m_stack.data(); }

private:
    class DragWatch;
    /// What the history keeps of a drag from its press.
    struct Press
    {
        osg::Matrixd receiverPose;
        osg::Quat alignment;
    };

    void beforePress();
    void afterEvents(bool wasActive);
    void endDrag();
    void draggerPoseChanged();
    void dialogPoseChanged();
    void finishTypedPose(const osg::Matrixd& before);
    bool typingIntoTrackedDialog() const;
    std::optional<osg::Matrixd> receiverPose() const;
    QString dragText(const Press& press, const osg::Matrixd& after) const;
    void push(const osg::Matrixd& before, const osg::Matrixd& after, const QString& text);

    osg::observer_ptr<Rk::Composite3DDragger> m_dragger;
    QPointer<QUndoStack> m_stack;
    osg::ref_ptr<DragWatch> m_watch;
    QList<QPointer<Rk::DraggerDlg>> m_dialogs;
    std::optional<Press> m_press;
    std::optional<Press> m_drag;
    std::optional<osg::Matrixd> m_typedBefore;
};

} // namespace Rk

#endif
