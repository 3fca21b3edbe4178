#include "rkTranslateDragger.h"

#include "rkFinite.h"
#include "rkRootPath.h"
#include "rkSharedHandleGeometry.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/LineWidth>
#include <osg/ShapeDrawable>
#include <osgManipulator/Command>

namespace Rk {

namespace {

// Every arrow is built along its handle's own Z, from the origin to 1; the
// handle's matrix turns it onto its axis.
const osg::Vec3d kShaftStart(0.0, 0.0, 0.0);
const osg::Vec3d kShaftEnd(0.0, 0.0, 1.0);
const osg::Vec3 kShaftMiddle(0.0f, 0.0f, 0.5f);
const float kShaftLength = 1.0f;
// Wide enough around the thin shaft to be easy to hit, never drawn.
const float kPickCylinderRadius = 0.03f;
const float kInitialLineWidth = 1.0f;

} // namespace

Translate1DDragger::Translate1DDragger(bool keepPickColor) : OneAxisHandle(keepPickColor) {}

Translate1DDragger::Translate1DDragger(const osg::Vec3d& start, const osg::Vec3d& end,
                                       bool keepPickColor)
    : OneAxisHandle(keepPickColor, start, end)
{
}

Translate1DDragger::~Translate1DDragger() = default;

bool Translate1DDragger::handle(const osgManipulator::PointerInfo& pointer,
                                const osgGA::GUIEventAdapter& event,
                                osgGA::GUIActionAdapter& action)
{
    if (event.getEventType() != osgGA::GUIEventAdapter::PUSH || !pickingEnabled())
        return OneAxisHandle::handle(pointer, event, action);
    if (_checkForNodeInNodePath && !pointer.contains(this))
        return false;
    press(pointer, action);
    trackDrag(event);
    return true;
}

void Translate1DDragger::press(const osgManipulator::PointerInfo& pointer,
                               osgGA::GUIActionAdapter& action)
{
    // The base's press, step by step: the line in the handle's frame, the
    // grabbed point on it, and a start command to the parent dragger. A
    // pointer whose ray does not meet the line is still accepted and moves
    // nothing. The projector keeps the inverse of an unchanged frame.
    const osg::Matrixd localToWorld = RootPath::localToWorld(*this);
    if (!sameBits(localToWorld, _projector->getLocalToWorld()))
        _projector->setLocalToWorld(localToWorld);
    if (!_projector->project(pointer, _startProjectedPoint))
        return;
    osg::ref_ptr<osgManipulator::TranslateInLineCommand> command =
        new osgManipulator::TranslateInLineCommand(_projector->getLineStart(),
                                                   _projector->getLineEnd());
    command->setStage(osgManipulator::MotionCommand::START);
    command->setLocalToWorldAndWorldToLocal(_projector->getLocalToWorld(),
                                            _projector->getWorldToLocal());
    dispatch(*command);
    osgManipulator::setMaterialColor(_pickColor, *this);
    action.requestRedraw();
}

TranslateDragger::TranslateDragger(Rk::DraggerReceiver* receiver)
    : ThreeAxisDragger(receiver, TRANSLATION_DRAG_MODE), m_lineWidth(DEFAULT_LINE_WIDTH),
      m_coneRadius(DEFAULT_CONE_RADIUS), m_coneHeight(DEFAULT_CONE_HEIGHT)
{
    for (int axis = X_AXIS; axis <= Z_AXIS; ++axis)
        addHandle(AxisEnum(axis), new Translate1DDragger(kShaftStart, kShaftEnd, false), this);
    // Makes this dragger the parent of the arrows, so their motion moves it.
    setParentDragger(getParentDragger());
}

TranslateDragger::~TranslateDragger() = default;

void TranslateDragger::setGeometryProperties(float lineWidth, float coneRadius, float coneHeight)
{
    m_lineWidth = lineWidth;
    m_coneRadius = coneRadius;
    m_coneHeight = coneHeight;
}

void TranslateDragger::setupDefaultGeometry()
{
    addToEveryHandle(SharedHandleGeometry::get("arrow shaft", {m_lineWidth}, [this] {
                         return createShaftGeode();
                     }).get());
    addToEveryHandle(SharedHandleGeometry::get("arrow head", {m_coneRadius, m_coneHeight}, [this] {
                         return createHeadGeode();
                     }).get());
    orientAndColourHandles();
}

osg::Node* TranslateDragger::createShaftGeode() const
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    vertices->push_back(kShaftStart);
    vertices->push_back(kShaftEnd);
    osg::Geometry* shaft = new osg::Geometry;
    shaft->setVertexArray(vertices);
    shaft->addPrimitiveSet(new osg::DrawArrays(GL_LINES, 0, vertices->size()));

    osg::Geode* geode = new osg::Geode;
    geode->addDrawable(shaft);
    osg::LineWidth* lineWidth = new osg::LineWidth(kInitialLineWidth);
    lineWidth->setWidth(m_lineWidth);
    osg::StateSet* stateSet = geode->getOrCreateStateSet();
    stateSet->setAttributeAndModes(lineWidth, osg::StateAttribute::ON);
    stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    return geode;
}

osg::Node* TranslateDragger::createHeadGeode() const
{
    osg::Geode* geode = new osg::Geode;
    geode->addDrawable(
        new osg::ShapeDrawable(new osg::Cone(osg::Vec3(kShaftEnd), m_coneRadius, m_coneHeight)));
    osg::ShapeDrawable* pickCylinder =
        new osg::ShapeDrawable(new osg::Cylinder(kShaftMiddle, kPickCylinderRadius, kShaftLength));
    osgManipulator::setDrawableToAlwaysCull(*pickCylinder);
    geode->addDrawable(pickCylinder);
    return geode;
}

bool TranslateDragger::handle(const osgManipulator::PointerInfo& pointer,
                              const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (!Composite3DDragger::handle(pointer, event, action))
        return false;
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        setCommandValue(0.0);
        // Translation only: the distance is then measured in the parent's frame.
        setDragStartMatrix(osg::Matrixd::translate(getMatrix().getTrans()));
        setFromChildDraggerActive();
        break;
    case osgGA::GUIEventAdapter::DRAG:
        setCommandValue(commandDistance(dragStartMatrix(), getMatrix(), activeAxis()));
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
