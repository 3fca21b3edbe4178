#include "rkViewRing.h"

#include "rkPointerView.h"
#include "rkWindowProjection.h"

#include <osgManipulator/Command>

#include <cmath>

namespace Rk {

namespace {

const osg::Vec4 kDefaultColour(1.0f, 1.0f, 1.0f, 1.0f);
// osgManipulator's pick colour of its one-axis draggers, as the rings show.
const osg::Vec4 kDefaultPickColour(1.0f, 1.0f, 0.0f, 1.0f);

/// `angle` brought into (-pi, pi].
double wrapped(double angle)
{
    return std::remainder(angle, 2.0 * osg::PI);
}

} // namespace

ViewRing::ViewRing()
    : m_colour(kDefaultColour), m_pickColour(kDefaultPickColour), m_lastAngle(0.0),
      m_turnedRadians(0.0)
{
}

ViewRing::~ViewRing() = default;

void ViewRing::setColor(const osg::Vec4& colour)
{
    m_colour = colour;
    osgManipulator::setMaterialColor(m_colour, *this);
}

bool ViewRing::handle(const osgManipulator::PointerInfo& pointer,
                      const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action)
{
    if (!pointer.contains(this))
        return false;
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        if (!pressed(pointer))
            return false;
        break;
    case osgGA::GUIEventAdapter::DRAG:
        if (getDraggerActive())
            dragged(pointer);
        break;
    case osgGA::GUIEventAdapter::RELEASE:
        if (getDraggerActive())
            released();
        break;
    default:
        return false;
    }
    action.requestRedraw();
    return true;
}

bool ViewRing::pressed(const osgManipulator::PointerInfo& pointer)
{
    m_centreWorld = WindowProjection::localToWorld(*this).getTrans();
    const PointerView view(pointer, m_centreWorld);
    if (!view.valid())
        return false;
    m_centreWindow = view.window();
    m_towardsCamera = view.towardsCamera();
    m_turnedRadians = 0.0;
    m_lastAngle = 0.0;
    pointerAngle(pointer, m_lastAngle);
    sendTurn(osgManipulator::MotionCommand::START);
    osgManipulator::setMaterialColor(m_pickColour, *this);
    setDraggerActive(true);
    return true;
}

void ViewRing::dragged(const osgManipulator::PointerInfo& pointer)
{
    double angle = 0.0;
    if (!pointerAngle(pointer, angle))
        return;
    // The shortest way from the last step's angle: continuous across +-pi.
    m_turnedRadians += wrapped(angle - m_lastAngle);
    m_lastAngle = angle;
    sendTurn(osgManipulator::MotionCommand::MOVE);
}

void ViewRing::released()
{
    sendTurn(osgManipulator::MotionCommand::FINISH);
    osgManipulator::setMaterialColor(m_colour, *this);
    setDraggerActive(false);
}

bool ViewRing::pointerAngle(const osgManipulator::PointerInfo& pointer, double& angleRadians) const
{
    const osg::Vec2d fromCentre = PointerView::pointerWindow(pointer) - m_centreWindow;
    if (!(fromCentre.length() >= MIN_POINTER_RADIUS))
        return false;
    angleRadians = std::atan2(fromCentre.y(), fromCentre.x());
    return true;
}

void ViewRing::sendTurn(osgManipulator::MotionCommand::Stage stage)
{
    // The command's own frame sits at the centre, unturned: its rotation
    // about its origin is the turn about the line of sight in world axes.
    osg::ref_ptr<osgManipulator::Rotate3DCommand> command = new osgManipulator::Rotate3DCommand;
    command->setStage(stage);
    command->setRotation(osg::Quat(m_turnedRadians, m_towardsCamera));
    command->setLocalToWorldAndWorldToLocal(osg::Matrixd::translate(m_centreWorld),
                                            osg::Matrixd::translate(-m_centreWorld));
    dispatch(*command);
}

} // namespace Rk
