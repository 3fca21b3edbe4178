#include "rkRotateDragger.h"

#include "rkDraggerUtility.h"
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

RotateDragger::RotateDragger(Rk::DraggerReceiver* receiver, bool autoScaleToScreen)
    : ThreeAxisDragger(receiver, ROTATION_DRAG_MODE), m_ringRadius(DEFAULT_RING_RADIUS),
      m_pickTubeRadius(DEFAULT_PICK_TUBE_RADIUS)
{
    osg::Group* handleParent = autoScaleToScreen ? createScreenScaleChain() : this;
    for (int axis = X_AXIS; axis <= Z_AXIS; ++axis)
        addHandle(AxisEnum(axis), new Rotate1DDragger(false), handleParent);
    // Makes this dragger the parent of the rings, so their motion turns it.
    setParentDragger(getParentDragger());
}

RotateDragger::~RotateDragger() = default;

osg::Group* RotateDragger::createScreenScaleChain()
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
    addChild(antiSquish);
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
