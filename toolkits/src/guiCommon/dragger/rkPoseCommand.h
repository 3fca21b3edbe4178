#ifndef RK_POSE_COMMAND_H
#define RK_POSE_COMMAND_H

#include "rkComposite3DDragger.h"
#include "rkDraggerReceiver.h"

#include <QPointer>
#include <QUndoCommand>
#include <osg/Matrixd>
#include <osg/observer_ptr>
#include <osg/ref_ptr>

namespace Rk {

class PoseHistory;

/// One step of a pose history on a `QUndoStack`: a change of a receiver's
/// pose from `before` to `after`, both in the receiver's terms (the pose the
/// host sees, alignment included; row-vector convention, metres).
///
/// The change has already happened when the command is pushed: the first
/// `redo()`, which `QUndoStack::push` calls at once, writes nothing. Later,
/// `undo()` writes `before` and `redo()` writes `after` to the receiver; a
/// dragger shows the pose at its next frame event, as any change of the host.
///
/// A step applied while the dragger is in the middle of a drag cancels that
/// drag first (`cancelDrag()`), and the history records no step for it: the
/// drag's next write would otherwise overwrite the step.
///
/// The receiver is held by `osg::ref_ptr`, so a step can still be undone
/// after the dragger is gone; whatever the receiver writes to (a plug-in)
/// must outlive it. The dragger is only observed, the history watched by
/// `QPointer`: either may be deleted first. A null receiver writes nothing;
/// a pose with a NaN or infinite element is never written.
class PoseCommand : public QUndoCommand
{
public:
    PoseCommand(Rk::DraggerReceiver* receiver, Rk::Composite3DDragger* dragger,
                PoseHistory* history, const osg::Matrixd& before, const osg::Matrixd& after,
                const QString& text);

    /// Writes the pose before the step.
    void undo() override;
    /// Writes the pose after the step; nothing at the push.
    void redo() override;

    const osg::Matrixd& before() const { return m_before; }
    const osg::Matrixd& after() const { return m_after; }

private:
    void apply(const osg::Matrixd& pose);
    void cancelDragUnderWay();

    osg::ref_ptr<Rk::DraggerReceiver> m_receiver;
    osg::observer_ptr<Rk::Composite3DDragger> m_dragger;
    QPointer<PoseHistory> m_history;
    osg::Matrixd m_before;
    osg::Matrixd m_after;
    bool m_happened = true;
};

} // namespace Rk

#endif
