#include "rkComposite3DDragger.h"

#include "rkDraggerSelfUpdate.h"
#include "rkFinite.h"
#include "rkPickCache.h"
#include "rkPointerView.h"
#include "rkRenderTypes.h"

#include <osg/Camera>
#include <osgViewer/View>

namespace Rk {

namespace {

const osg::Quat kIdentityRotation(0.0, 0.0, 0.0, 1.0);

// The rotation of `matrix` with any axis scale divided out first: OSG 3.6's
// getRotate() assumes unit rows, and a scaled dragger must still hand the
// receiver its true orientation.
osg::Quat rotationOf(const osg::Matrixd& matrix)
{
    osg::Matrixd rotation(matrix);
    for (int row = 0; row < 3; ++row) {
        const double length = osg::Vec3d(matrix(row, 0), matrix(row, 1), matrix(row, 2)).length();
        if (length > 0.0)
            for (int column = 0; column < 3; ++column)
                rotation(row, column) = matrix(row, column) / length;
    }
    return rotation.getRotate();
}

} // namespace

Composite3DDragger::Composite3DDragger(Rk::PluginGUI* gui)
{
    initialise(new EEDraggerReceiver(gui));
}

Composite3DDragger::Composite3DDragger(Rk::DraggerReceiver* receiver)
{
    initialise(receiver);
}

void Composite3DDragger::initialise(Rk::DraggerReceiver* receiver)
{
    m_dragMode = 0;
    m_activeAxis = NO_AXIS;
    m_commandValue = 0.0;
    m_valueOnRelease = false;
    m_dragStartMatrix.makeIdentity();
    m_scale = DEFAULT_SCALE;
    m_alignmentRotation = kIdentityRotation;
    m_draggingEnabled = true;
    m_alignedWithReferenceFrame = false;
    m_referenceFrame = kIdentityRotation;
    m_receiverUpdate = true;
    m_receiverFollow = true;
    _selfUpdater = new DraggerSelfUpdate(this);
    setNodeMask(0);
    setReceiver(receiver);
    setIntersectionMask(DRAGGER_MASK);
    setHandleEvents(true);
}

Composite3DDragger::~Composite3DDragger()
{
    m_receiver = nullptr;
    _draggerList.clear();
    removeChildren(0, getNumChildren());
}

void Composite3DDragger::setReceiver(Rk::DraggerReceiver* receiver)
{
    if (receiver != m_receiver.get())
        m_receiver = receiver;
    if (!m_receiver)
        return;
    setScale(m_scale);
    const osg::Matrixd receiverMatrix = m_receiver->getMatrix();
    if (isFinite(receiverMatrix))
        setMatrix(receiverMatrix);
}

void Composite3DDragger::setScale(double scale)
{
    // A NaN or infinite scale would put NaN into every handle's bounds.
    if (!std::isfinite(scale))
        return;
    m_scale = scale;
    const osg::Matrixd scaleMatrix = osg::Matrixd::scale(scale, scale, scale);
    for (const osg::ref_ptr<osgManipulator::Dragger>& component : _draggerList)
        component->setMatrix(scaleMatrix);
    emit signalScaleChanged();
}

void Composite3DDragger::showDraggers(bool show)
{
    const osg::Node::NodeMask mask = show ? DRAGGER_MASK : 0;
    setNodeMask(mask);
    if (!show)
        m_handlingAids.clearHover();
    for (const osg::ref_ptr<osgManipulator::Dragger>& component : _draggerList) {
        if (auto* composite = dynamic_cast<Composite3DDragger*>(component.get()))
            composite->Composite3DDragger::showDraggers(show);
        else
            component->setNodeMask(mask);
    }
}

void Composite3DDragger::setPose(const RkCoordinateSystemTransformation& coord)
{
    setAlignedMatrix(RkRenderTypes::rk2osg(coord));
    emit signalPoseChanged();
}

void Composite3DDragger::syncReceiverToPose(const osg::Matrixd& pose)
{
    setReceiverMatrix();
    setAlignedMatrix(pose);
    emit signalPoseChanged();
}

void Composite3DDragger::setAlignedMatrix(const osg::Matrixd& pose)
{
    // Single precision on purpose: the host's poses come from float widgets
    // and scene data, and this keeps the dragger bit-identical to them.
    const osg::Matrixd product(osg::Matrixf::rotate(m_alignmentRotation) * osg::Matrixf(pose));
    // A non-finite pose (also one that overflows single precision) would
    // make the dragger unpickable and reach the host at the next write.
    if (isFinite(product))
        setMatrix(product);
}

void Composite3DDragger::setDraggingEnabled(bool enabled)
{
    if (enabled == m_draggingEnabled)
        return;
    m_draggingEnabled = enabled;
    if (!enabled)
        m_handlingAids.clearHover();
    emit signalDraggingEnableChanged();
}

bool Composite3DDragger::draggingEnabled() const
{
    return m_draggingEnabled;
}

void Composite3DDragger::setReferenceFrame(const osg::Quat& frame)
{
    m_referenceFrame = frame;
}

void Composite3DDragger::setIsAlignedWithReferenceFrame(bool aligned)
{
    m_alignedWithReferenceFrame = aligned;
    if (!aligned)
        m_alignmentRotation = kIdentityRotation;
    else if (m_receiver)
        alignWith(m_receiver->getMatrix());
}

void Composite3DDragger::alignWith(const osg::Matrixd& receiverMatrix)
{
    // A receiver pose or reference frame without a finite rotation keeps the
    // alignment rotation that was there, as without a receiver.
    const osg::Quat alignment = m_referenceFrame.inverse() * receiverMatrix.getRotate();
    if (isFinite(alignment))
        m_alignmentRotation = alignment;
}

osg::Matrixd Composite3DDragger::receiverPoseOfDragger() const
{
    const osg::Matrixd& draggerMatrix = getMatrix();
    osg::Matrixd pose;
    pose.makeRotate(rotationOf(draggerMatrix) * m_alignmentRotation);
    pose.setTrans(draggerMatrix.getTrans());
    return pose;
}

void Composite3DDragger::setReceiverMatrix()
{
    if (!m_receiver || !m_receiverUpdate)
        return;
    // A dragger driven to a non-finite matrix (a degenerate handle, a host
    // that set one directly) writes nothing rather than NaN to the host.
    const osg::Matrixd pose = receiverPoseOfDragger();
    if (!isFinite(pose))
        return;
    m_receiver->setMatrix(pose);
    m_cancel.noteWrite();
}

void Composite3DDragger::setActiveAxis(AxisEnum axis)
{
    m_activeAxis = axis;
}

void Composite3DDragger::setFromChildDraggerActive() {}

void Composite3DDragger::cancelDrag()
{
    if (!getDraggerActive())
        return;
    m_cancel.cancel(*this, m_refinement.pressPose());
    _pointer.reset();
    emit signalPoseChanged();
    emit signalCommandValueDone();
    emit signalDragCancelled();
}

bool Composite3DDragger::handle(const osgManipulator::PointerInfo& pointer,
                                const osgGA::GUIEventAdapter& event,
                                osgGA::GUIActionAdapter& action)
{
    if (!m_draggingEnabled)
        return false;
    const bool handled = osgManipulator::CompositeDragger::handle(pointer, event, action);
    snapMotion(event);
    return handled;
}

bool Composite3DDragger::handle(const osgGA::GUIEventAdapter& event,
                                osgGA::GUIActionAdapter& action)
{
    osgViewer::View* view = m_actionView.of(action);
    m_handlingAids.beforeEvent(event, view);
    if (!m_draggingEnabled || event.getHandled() || !view)
        return false;
    // A press of a button outside the host's activation button mask is left
    // to the camera; the mask, modifier and key gate new drags only.
    if (!(activationPermitted(event) && buttonActivates(event)) && !getDraggerActive())
        return false;
    if (otherButtonDuringDrag(event))
        return true;

    bool result = false;
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        result =
            dragStep(event, action, pick(event, *view, action) || grabNearby(event, *view, action));
        break;
    case osgGA::GUIEventAdapter::DRAG:
    case osgGA::GUIEventAdapter::RELEASE:
        result = dragStep(event, action, false) || m_cancel.swallowed(event, m_dragButton);
        break;
    case osgGA::GUIEventAdapter::FRAME:
        followReceiver();
        break;
    case osgGA::GUIEventAdapter::KEYDOWN:
    case osgGA::GUIEventAdapter::KEYUP:
        result = keyDuringDrag(event, action);
        break;
    default:
        break;
    }

    if (getDraggerActive() && event.getEventType() == osgGA::GUIEventAdapter::RELEASE) {
        setDraggerActive(false);
        _pointer.reset();
    }
    m_handlingAids.afterEvent(event, *view);
    return result;
}

bool Composite3DDragger::activationPermitted(const osgGA::GUIEventAdapter& event)
{
    if (_activationModKeyMask == 0 && _activationKeyEvent == 0)
        return true;
    _activationPermittedByModKeyMask = modifiersActivate(event);
    if (_activationKeyEvent != 0 && event.getKey() == _activationKeyEvent) {
        if (event.getEventType() == osgGA::GUIEventAdapter::KEYDOWN)
            _activationPermittedByKeyEvent = true;
        else if (event.getEventType() == osgGA::GUIEventAdapter::KEYUP)
            _activationPermittedByKeyEvent = false;
    }
    return _activationPermittedByModKeyMask || _activationPermittedByKeyEvent;
}

bool Composite3DDragger::pick(const osgGA::GUIEventAdapter& event, osgViewer::View& view,
                              osgGA::GUIActionAdapter& action)
{
    _pointer.reset();
    // Only a dragger on the first hit's path takes the hits.
    const PickCache::Hits* hits = PickCache::hitsTakenBy(this, view, event, _intersectionMask);
    if (!hits)
        return false;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : *hits)
        _pointer.addIntersection(hit.nodePath, hit.getLocalIntersectPoint());

    bool picked = false;
    const osg::NodePath& path = _pointer._hitList.front().first;
    for (osg::Node* node : path) {
        if (node != static_cast<osg::Node*>(this))
            continue;
        takePress(event, action, PointerView::cameraAbove(path, view));
        picked = true;
    }
    return picked;
}

bool Composite3DDragger::grabNearby(const osgGA::GUIEventAdapter& event, osgViewer::View& view,
                                    osgGA::GUIActionAdapter& action)
{
    // Taken as the pick takes a hit: the same pointer handling, with the
    // handle's nearest point as the hit.
    HandlingAids::Grab grab;
    if (!m_handlingAids.nearbyGrab(event, view, grab))
        return false;
    _pointer.reset();
    _pointer.addIntersection(grab.path, grab.localPoint);
    takePress(event, action, grab.camera);
    return true;
}

void Composite3DDragger::takePress(const osgGA::GUIEventAdapter& event,
                                   osgGA::GUIActionAdapter& action, osg::Camera* camera)
{
    PointerView::setCamera(_pointer, camera);
    m_dragButton = event.getButton();
    projectPointer(event);
    handle(_pointer, event, action);
    setDraggerActive(true);
}

bool Composite3DDragger::dragStep(const osgGA::GUIEventAdapter& event,
                                  osgGA::GUIActionAdapter& action, bool result)
{
    if (!getDraggerActive())
        return result;
    _pointer._hitIter = _pointer._hitList.begin();
    projectPointer(event);
    handle(_pointer, event, action);
    return true;
}

void Composite3DDragger::projectPointer(const osgGA::GUIEventAdapter& event)
{
    // The window point under the mouse, with y counted upwards from the
    // bottom of the event's range, so that the pick and every drag step see
    // the same point whichever way the event counts y.
    const bool yDownwards =
        event.getMouseYOrientation() == osgGA::GUIEventAdapter::Y_INCREASING_DOWNWARDS;
    const float windowY = yDownwards ? event.getYmax() - event.getY() : event.getY();
    const osg::Vec2d window(event.getX(), windowY);
    if (event.getEventType() == osgGA::GUIEventAdapter::PUSH) {
        m_refinement.pressed(getMatrix(), event, window);
        m_cancel.pressed();
    }
    m_refinement.rememberPointerEvent(event);
    const osg::Vec2d point = m_refinement.refinedPoint(event, window);
    _pointer.setMousePosition(point.x(), point.y());
}

void Composite3DDragger::snapMotion(const osgGA::GUIEventAdapter& event)
{
    // Only the dragger whose matrix the handles move snaps it, after they
    // moved it and before its handler writes or reports it.
    if (getParentDragger() == this && event.getEventType() == osgGA::GUIEventAdapter::DRAG &&
        m_refinement.snapping(m_dragMode))
        setMatrix(m_refinement.snapped(getMatrix(), m_activeAxis, m_dragMode));
}

bool Composite3DDragger::keyDuringDrag(const osgGA::GUIEventAdapter& event,
                                       osgGA::GUIActionAdapter& action)
{
    if (!getDraggerActive())
        return false;
    if (m_cancel.isCancelKey(event)) {
        cancelDrag();
        return true;
    }
    // Ctrl switches snapping at once: the last drag step is applied again.
    const osgGA::GUIEventAdapter* replay = m_refinement.replayEvent();
    if (m_refinement.snappingSwitchedBy(event, m_dragMode) && replay) {
        _pointer._hitIter = _pointer._hitList.begin();
        handle(_pointer, *replay, action);
    }
    return false;
}

void Composite3DDragger::followReceiver()
{
    if (getDraggerActive() || !m_receiver || !m_receiverFollow)
        return;
    // Most frames change nothing: the same inputs as at the last agreement
    // give the same answer without the two pose conversions.
    const osg::Matrixd hostMatrix = m_receiver->getMatrix();
    if (m_followAgreement.knownToAgree(getMatrix(), m_alignmentRotation, hostMatrix))
        return;
    // A non-finite host pose is ignored: the dragger keeps its last good pose
    // and stays pickable until the host gives a finite one again.
    if (!isFinite(hostMatrix))
        return;
    // A host that moved the pose by more than the tolerance is followed
    // without the pose conversions, which could only find the poses apart.
    if (!FollowAgreement::knownApart(getMatrix(), hostMatrix, FOLLOW_TOLERANCE) &&
        FollowAgreement::posesAgree(receiverPoseOfDragger(), hostMatrix, FOLLOW_TOLERANCE)) {
        m_followAgreement.record(getMatrix(), m_alignmentRotation, hostMatrix);
        return;
    }

    const osg::Matrixd receiverMatrix = m_receiver->getMatrix();
    osg::Matrixd target = receiverMatrix;
    if (m_alignedWithReferenceFrame) {
        target.makeRotate(m_referenceFrame);
        target.setTrans(receiverMatrix.getTrans());
    }
    if (!isFinite(target))
        return;
    setMatrix(target);
    emit signalPoseChanged();
}

} // namespace Rk
