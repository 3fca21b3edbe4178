#include "rkPoseCommand.h"

#include "rkFinite.h"
#include "rkPoseHistory.h"

namespace Rk {

PoseCommand::PoseCommand(Rk::DraggerReceiver* receiver, Rk::Composite3DDragger* dragger,
                         PoseHistory* history, const osg::Matrixd& before,
                         const osg::Matrixd& after, const QString& text)
    : QUndoCommand(text), m_receiver(receiver), m_dragger(dragger), m_history(history),
      m_before(before), m_after(after)
{
}

void PoseCommand::undo()
{
    apply(m_before);
}

void PoseCommand::redo()
{
    // The push calls redo() for a change the user or the host already made.
    if (m_happened) {
        m_happened = false;
        return;
    }
    apply(m_after);
}

void PoseCommand::apply(const osg::Matrixd& pose)
{
    cancelDragUnderWay();
    if (m_receiver && isFinite(pose))
        m_receiver->setMatrix(pose);
}

void PoseCommand::cancelDragUnderWay()
{
    if (m_history)
        m_history->forgetDrag();
    osg::ref_ptr<Rk::Composite3DDragger> dragger;
    if (m_dragger.lock(dragger) && dragger->getDraggerActive())
        dragger->cancelDrag();
}

} // namespace Rk
