#include "rkRotateDragger.h"

#include "rkDraggerUtility.h"
#include "rkFinite.h"
#include "rkViewAwareAutoTransform.h"

#include <osgManipulator/AntiSquish>

namespace Rk {

Rotate1DDragger::Rotate1DDragger(bool keepPickColor) : OneAxisHandle(keepPickColor) {}

Rotate1DDragger::~Rotate1DDragger() = default;

void Rotate1DDragger::setProjectionRadius(float radius)
{
    osg::Cylinder* cylinder = new osg::Cylinder(*_projector->getCylinder());
    cylinder->setRadius(radius);
    _projector->setCylinder(cylinder);
}

bool Rotate1DDragger::handle(const osgManipulator::PointerInfo& pointer,
                             const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (!pickingEnabled() || !pointer.contains(this))
        return false;
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        pressRing(pointer);
        break;
    case osgGA::GUIEventAdapter::DRAG:
        dragRing(pointer);
        break;
    case osgGA::GUIEventAdapter::RELEASE:
        releaseRing();
        break;
    default:
        return false;
    }
    action.requestRedraw();
    trackDrag(event);
    return true;
}

void Rotate1DDragger::pressRing(const osgManipulator::PointerInfo& pointer)
{
    storeWithInverse(pickedLocalToWorld(pointer), _startLocalToWorld, _startWorldToLocal);
    m_turn.press(pointer, _startLocalToWorld, _projector->getCylinder()->getRadius(),
                 pointer.getLocalIntersectPoint());
    dispatchTurn(osgManipulator::MotionCommand::START, osg::Quat());
    osgManipulator::setMaterialColor(getPickColor(), *this);
}

void Rotate1DDragger::dragRing(const osgManipulator::PointerInfo& pointer)
{
    if (const std::optional<double> turn = m_turn.turnRadians(pointer))
        dispatchTurn(osgManipulator::MotionCommand::MOVE, osg::Quat(*turn, osg::Z_AXIS));
}

void Rotate1DDragger::releaseRing()
{
    dispatchTurn(osgManipulator::MotionCommand::FINISH, osg::Quat());
    osgManipulator::setMaterialColor(getColor(), *this);
}

osg::Matrixd Rotate1DDragger::pickedLocalToWorld(const osgManipulator::PointerInfo& pointer) const
{
    // The picked path down to this ring, with the scale that any auto-scaling
    // transform above it had for the pick.
    const osg::NodePath& picked = pointer._hitIter->first;
    for (auto node = picked.begin(); node != picked.end(); ++node)
        if (*node == this)
            return osg::computeLocalToWorld(osg::NodePath(picked.begin(), node + 1));
    return osg::computeLocalToWorld(picked);
}

void Rotate1DDragger::dispatchTurn(osgManipulator::MotionCommand::Stage stage,
                                   const osg::Quat& rotation)
{
    osg::ref_ptr<osgManipulator::Rotate3DCommand> command = new osgManipulator::Rotate3DCommand;
    command->setStage(stage);
    command->setLocalToWorldAndWorldToLocal(_startLocalToWorld, _startWorldToLocal);
    command->setRotation(rotation);
    dispatch(*command);
}

RotateDragger::RotateDragger(Rk::DraggerReceiver* receiver, bool autoScaleToScreen)
    : ThreeAxisDragger(receiver, ROTATION_DRAG_MODE), m_ringRadius(DEFAULT_RING_RADIUS),
      m_pickTubeRadius(DEFAULT_PICK_TUBE_RADIUS)
{
    osg::Group* handleParent = autoScaleToScreen ? addScreenScaleChain(this) : this;
    for (int axis = X_AXIS; axis <= Z_AXIS; ++axis)
        addHandle(AxisEnum(axis), new Rotate1DDragger(false), handleParent);
    // Makes this dragger the parent of the rings, so their motion turns it.
    setParentDragger(getParentDragger());
}

RotateDragger::~RotateDragger() = default;

osg::Group* RotateDragger::addScreenScaleChain(osg::Group* parent)
{
    osg::MatrixTransform* scaler =
        new osg::MatrixTransform(osg::Matrixd::scale(SCREEN_SCALE, SCREEN_SCALE, SCREEN_SCALE));
    // Picks with the scale of the view it is picked in when several views show it.
    osg::AutoTransform* autoTransform = new ViewAwareAutoTransform;
    autoTransform->setAutoScaleToScreen(true);
    autoTransform->addChild(scaler);
    // Keeps the rings round under a non-uniform scale above the dragger.
    osgManipulator::AntiSquish* antiSquish = new osgManipulator::AntiSquish;
    antiSquish->addChild(autoTransform);
    parent->addChild(antiSquish);
    return scaler;
}

void RotateDragger::setGeometryProperties(float pickTubeRadius, float ringRadius)
{
    m_pickTubeRadius = pickTubeRadius;
    m_ringRadius = ringRadius;
}

void RotateDragger::setupDefaultGeometry()
{
    addToEveryHandle(RkDraggerUtility::sharedRotateDraggerTorusGeode(m_ringRadius, m_pickTubeRadius,
                                                                     RING_LINE_WIDTH)
                         .get());
    for (Rotate1DDragger* handle : {xDragger(), yDragger(), zDragger()})
        handle->setProjectionRadius(m_ringRadius);
    orientAndColourHandles();
}

bool RotateDragger::handle(const osgManipulator::PointerInfo& pointer,
                           const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (!Composite3DDragger::handle(pointer, event, action))
        return false;
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        setCommandValue(0.0);
        m_startRotation = getMatrix().getRotate();
        setFromChildDraggerActive();
        break;
    case osgGA::GUIEventAdapter::DRAG:
        setCommandValue(commandAngle(m_startRotation, getMatrix().getRotate(), activeAxis()));
        break;
    case osgGA::GUIEventAdapter::RELEASE:
        setReceiverMatrix();
        break;
    default:
        break;
    }
    return true;
}

} // namespace Rk
