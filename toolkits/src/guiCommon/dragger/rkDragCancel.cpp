#include "rkDragCancel.h"

#include "rkComposite3DDragger.h"

namespace Rk {

bool DragCancel::isCancelKey(const osgGA::GUIEventAdapter& event) const
{
    return m_key != 0 && event.getEventType() == osgGA::GUIEventAdapter::KEYDOWN &&
           event.getKey() == m_key;
}

void DragCancel::cancel(Composite3DDragger& dragger, const osg::Matrixd& pressPose)
{
    m_afterCancel = true;
    dragger.setDraggerActive(false);
    releaseHandles(dragger);
    dragger.setActiveAxis(Composite3DDragger::NO_AXIS);
    dragger.setMatrix(pressPose);
    // A deferred drag has written nothing, and a cancel must not either.
    if (m_wrote)
        dragger.setReceiverMatrix();
    dragger.setCommandValue(0.0);
}

bool DragCancel::swallowed(const osgGA::GUIEventAdapter& event, int dragButton)
{
    if (!m_afterCancel)
        return false;
    if (releasesDragButton(event, dragButton))
        m_afterCancel = false;
    return true;
}

void DragCancel::releaseHandles(osgManipulator::CompositeDragger& dragger)
{
    // The handles never see the release that would clear them; a handle left
    // active would be taken for the pressed one at the next press.
    for (unsigned int index = 0; index < dragger.getNumDraggers(); ++index) {
        osgManipulator::Dragger* component = dragger.getDragger(index);
        component->setDraggerActive(false);
        if (auto* composite = dynamic_cast<Composite3DDragger*>(component)) {
            releaseHandles(*composite);
            composite->setActiveAxis(Composite3DDragger::NO_AXIS);
        }
    }
}

} // namespace Rk
