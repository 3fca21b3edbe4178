#include "rkFrameDragger.h"

#include "rkFinite.h"
#include "rkPickSegment.h"

namespace Rk {

FrameDragger::FrameDragger(Rk::PluginGUI* gui, bool autoScaleToScreen) : Composite3DDragger(gui)
{
    createChildren(nullptr, autoScaleToScreen);
}

FrameDragger::FrameDragger(Rk::DraggerReceiver* receiver, bool autoScaleToScreen)
    : Composite3DDragger(receiver)
{
    createChildren(receiver, autoScaleToScreen);
}

FrameDragger::~FrameDragger()
{
    m_extraHandles = nullptr;
    m_rotateDragger = nullptr;
    m_translateDragger = nullptr;
}

void FrameDragger::createChildren(Rk::DraggerReceiver* childReceiver, bool autoScaleToScreen)
{
    m_translateDragger = new TranslateDragger(childReceiver);
    addChild(m_translateDragger.get());
    addDragger(m_translateDragger.get());
    m_rotateDragger = new RotateDragger(childReceiver, autoScaleToScreen);
    addChild(m_rotateDragger.get());
    addDragger(m_rotateDragger.get());
    m_extraOptions.autoScaleToScreen = autoScaleToScreen;
    // Makes this dragger the parent of the children and of all six handles,
    // so that any handle moves the frame's own matrix.
    setParentDragger(getParentDragger());
}

void FrameDragger::setupDefaultGeometry()
{
    m_translateDragger->setupDefaultGeometry();
    m_rotateDragger->setupDefaultGeometry();
    rebuildExtraHandles();
    setScale(scale());
}

void FrameDragger::setHandleSet(int flags)
{
    m_extraOptions.handleSet = flags & ExtraHandlesDragger::ALL_HANDLES;
}

void FrameDragger::rebuildExtraHandles()
{
    // The handle being dragged must outlive its drag.
    if (getDraggerActive())
        return;
    // The old handles live until the new ones exist, so that nothing that
    // remembers a handle can take a new one for the old.
    const osg::ref_ptr<ExtraHandlesDragger> previous = m_extraHandles;
    if (m_extraHandles && m_extraHandles->containsNode(hoveredHandle()))
        clearHoverHighlight();
    if (m_extraHandles) {
        removeDragger(m_extraHandles.get());
        removeChild(m_extraHandles.get());
        m_extraHandles = nullptr;
    }
    if (m_extraOptions.handleSet == 0)
        return;
    // The view ring keeps its ratio to the axis rings however these were sized.
    ExtraHandlesDragger::Options options = m_extraOptions;
    options.ringRadius = m_rotateDragger->ringRadius();
    options.pickTubeRadius = m_rotateDragger->pickTubeRadius();
    m_extraHandles = new ExtraHandlesDragger(options);
    m_extraHandles->setupDefaultGeometry();
    m_extraHandles->setMatrix(osg::Matrixd::scale(scale(), scale(), scale()));
    m_extraHandles->Composite3DDragger::showDraggers(m_translateDragger->getNodeMask() != 0);
    addChild(m_extraHandles.get());
    addDragger(m_extraHandles.get());
    setParentDragger(getParentDragger());
}

void FrameDragger::setCylinderGeometry(float radius, float height, float width)
{
    m_rotateDragger->setGeometryProperties(width, radius);
    m_translateDragger->setGeometryProperties(width, radius, height);
}

void FrameDragger::showDraggers(bool show)
{
    m_translateDragger->setDragMode(SHOWN_CHILD_DRAG_MODE);
    m_rotateDragger->setDragMode(SHOWN_CHILD_DRAG_MODE);
    m_translateDragger->Composite3DDragger::showDraggers(show);
    m_rotateDragger->Composite3DDragger::showDraggers(show);
    if (!show)
        clearHoverHighlight();
    if (m_extraHandles)
        m_extraHandles->Composite3DDragger::showDraggers(show);
}

void FrameDragger::setFromChildDraggerActive()
{
    m_translateDragger->setFromChildDraggerActive();
    m_rotateDragger->setFromChildDraggerActive();
    // Plain stores: the frame has no handles of its own to recolour.
    Composite3DDragger::setActiveAxis(m_translateDragger->activeAxis());
    setDragMode(m_translateDragger->dragMode());
    if (activeAxis() != NO_AXIS)
        return;
    Composite3DDragger::setActiveAxis(m_rotateDragger->activeAxis());
    if (activeAxis() != NO_AXIS) {
        setDragMode(RotateDragger::ROTATION_DRAG_MODE);
        return;
    }
    if (!m_extraHandles)
        return;
    m_extraHandles->setFromChildDraggerActive();
    if (ExtraHandlesDragger::ownsDragMode(m_extraHandles->dragMode())) {
        Composite3DDragger::setActiveAxis(m_extraHandles->activeAxis());
        setDragMode(m_extraHandles->dragMode());
    }
}

void FrameDragger::traverse(osg::NodeVisitor& visitor)
{
    const auto isFlat = [this](const osg::Node* child) { return isFlatChild(child); };
    if (!PickSegment::traverseFlattening(*this, visitor, isFlat))
        Composite3DDragger::traverse(visitor);
}

bool FrameDragger::isFlatChild(const osg::Node* child) const
{
    const Composite3DDragger* composite = nullptr;
    if (child == m_translateDragger.get())
        composite = m_translateDragger.get();
    else if (child == m_rotateDragger.get())
        composite = m_rotateDragger.get();
    else if (child == m_extraHandles.get())
        composite = m_extraHandles.get();
    return composite && PickSegment::isIdentity(*composite);
}

bool FrameDragger::handle(const osgManipulator::PointerInfo& pointer,
                          const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (!draggingEnabled())
        return false;
    const bool handled = Composite3DDragger::handle(pointer, event, action);
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        pressed();
        break;
    case osgGA::GUIEventAdapter::DRAG:
        dragged();
        break;
    case osgGA::GUIEventAdapter::RELEASE:
        released();
        break;
    default:
        break;
    }
    return handled;
}

void FrameDragger::pressed()
{
    setCommandValue(0.0);
    setDragStartMatrix(getMatrix());
    setFromChildDraggerActive();
    emit signalPoseClicked();
}

void FrameDragger::dragged()
{
    if (!dragsAHandle())
        return;
    if (!valueOnRelease()) {
        setReceiverMatrix();
        emit signalPoseChanged();
        return;
    }
    setCommandValue(commandValueOfDrag());
    emit signalCommandValueChanged(commandValue());
}

double FrameDragger::commandValueOfDrag() const
{
    switch (dragMode()) {
    case TranslateDragger::TRANSLATION_DRAG_MODE:
        return commandDistance(dragStartMatrix(), getMatrix(), activeAxis());
    case RotateDragger::ROTATION_DRAG_MODE:
        return commandAngle(dragStartMatrix().getRotate(), getMatrix().getRotate(), activeAxis());
    case ExtraHandlesDragger::PLANE_DRAG_MODE:
    case ExtraHandlesDragger::SCREEN_DRAG_MODE:
        return (getMatrix().getTrans() - dragStartMatrix().getTrans()).length();
    case ExtraHandlesDragger::VIEW_RING_DRAG_MODE:
        return m_extraHandles->viewRing()->turnedRadians();
    default:
        return commandValue();
    }
}

bool FrameDragger::dragsAHandle() const
{
    // The screen handle and the view ring have no axis but their own mode.
    return activeAxis() != NO_AXIS || ExtraHandlesDragger::ownsDragMode(dragMode());
}

void FrameDragger::released()
{
    setReceiverMatrix();
    if (isAlignedWithReferenceFrame() && receiver() && receiverUpdate())
        reseatOnReferenceFrame();
    emit signalPoseChanged();
    emit signalCommandValueDone();
}

void FrameDragger::reseatOnReferenceFrame()
{
    // The user may have turned the dragger: the new alignment rotation keeps
    // the receiver's orientation while the handles show the reference frame
    // again. Recomputing the alignment is exactly what switching it on does.
    setIsAlignedWithReferenceFrame(true);
    const osg::Matrixd receiverMatrix = receiver()->getMatrix();
    // A host that answers with a non-finite pose keeps the dragger where the
    // drag left it instead of making it unpickable.
    if (!isFinite(receiverMatrix))
        return;
    osg::Matrixd seated;
    seated.setTrans(receiverMatrix.getTrans());
    seated.setRotate(referenceFrame());
    setMatrix(seated);
}

} // namespace Rk
