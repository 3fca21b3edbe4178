#include "rkDragRefinement.h"

#include "rkFinite.h"

#include <cmath>

namespace Rk {

namespace {

using Event = osgGA::GUIEventAdapter;

bool isStep(double value)
{
    return std::isfinite(value) && value >= 0.0;
}

bool held(const Event& event, int modifiers)
{
    return (event.getModKeyMask() & modifiers) != 0;
}

bool isControlKey(int key)
{
    return key == Event::KEY_Control_L || key == Event::KEY_Control_R;
}

double roundToStep(double value, double step)
{
    return step > 0.0 ? std::round(value / step) * step : value;
}

// The angle in (-pi, pi] turned about `axis` by `turn`: the twist part of its
// quaternion, so a turn about the exact axis gives its angle with its sign.
double twistAbout(const osg::Quat& turn, int axis)
{
    double angle = 2.0 * std::atan2(turn[axis], turn.w());
    if (angle > osg::PI)
        angle -= 2.0 * osg::PI;
    else if (angle <= -osg::PI)
        angle += 2.0 * osg::PI;
    return angle;
}

osg::Vec3d unitVector(int axis)
{
    osg::Vec3d unit;
    unit[axis] = 1.0;
    return unit;
}

} // namespace

void DragRefinement::setTranslationSnap(double metres)
{
    if (isStep(metres))
        m_translationStep = metres;
}

void DragRefinement::setRotationSnap(double radians)
{
    if (isStep(radians))
        m_rotationStep = radians;
}

void DragRefinement::setPrecisionFactor(double factor)
{
    if (std::isfinite(factor) && factor > 0.0 && factor <= MAX_PRECISION_FACTOR)
        m_precisionFactor = factor;
}

void DragRefinement::pressed(const osg::Matrixd& pressPose, const osgGA::GUIEventAdapter& event,
                             const osg::Vec2d& window)
{
    m_pressPose = pressPose;
    m_ctrl = held(event, Event::MODKEY_CTRL);
    m_shift = held(event, Event::MODKEY_SHIFT);
    m_dragFactor = m_precisionFactor;
    m_anchored = m_shift && m_dragFactor != 1.0;
    m_anchorRaw = m_anchorRefined = m_lastRaw = m_lastRefined = window;
    m_replay = nullptr;
}

osg::Vec2d DragRefinement::refinedPoint(const osgGA::GUIEventAdapter& event,
                                        const osg::Vec2d& window)
{
    m_ctrl = held(event, Event::MODKEY_CTRL);
    const bool shift = held(event, Event::MODKEY_SHIFT);
    if (shift != m_shift) {
        // From here on the motion counts with the other factor, starting
        // where the pointer was last handed over: no jump.
        m_shift = shift;
        m_anchorRaw = m_lastRaw;
        m_anchorRefined = m_lastRefined;
        m_anchored = m_anchored || m_dragFactor != 1.0;
    }
    // Without a Shift change of a real factor the raw point goes through
    // untouched, so the default behaviour stays bit-identical.
    const double factor = m_shift ? m_dragFactor : 1.0;
    const osg::Vec2d refined =
        m_anchored ? m_anchorRefined + (window - m_anchorRaw) * factor : window;
    m_lastRaw = window;
    m_lastRefined = refined;
    return refined;
}

void DragRefinement::rememberPointerEvent(const osgGA::GUIEventAdapter& event)
{
    // Only snapping needs it, and only when Ctrl switches it mid-drag.
    if (m_translationStep <= 0.0 && m_rotationStep <= 0.0)
        return;
    m_replay = new Event(event);
    m_replay->setEventType(Event::DRAG);
}

bool DragRefinement::snappingSwitchedBy(const osgGA::GUIEventAdapter& event, int dragMode)
{
    if (!isControlKey(event.getKey()))
        return false;
    const bool wasSnapping = snapping(dragMode);
    if (event.getEventType() == Event::KEYDOWN)
        m_ctrl = true;
    else if (event.getEventType() == Event::KEYUP)
        m_ctrl = false;
    return snapping(dragMode) != wasSnapping;
}

bool DragRefinement::snapping(int dragMode) const
{
    if (m_ctrl)
        return false;
    if (dragMode == TRANSLATION_MODE || dragMode == PLANE_MODE)
        return m_translationStep > 0.0;
    if (dragMode == ROTATION_MODE)
        return m_rotationStep > 0.0;
    return false;
}

osg::Matrixd DragRefinement::snapped(const osg::Matrixd& moved, int axis, int dragMode) const
{
    if (!snapping(dragMode) || axis < 0 || axis > 2)
        return moved;
    const unsigned axisBit = 1u << axis;
    osg::Matrixd result = moved;
    if (dragMode == TRANSLATION_MODE)
        result = snappedTranslation(moved, axisBit);
    else if (dragMode == PLANE_MODE)
        result = snappedTranslation(moved, ALL_AXES & ~axisBit);
    else
        result = snappedRotation(moved, axis);
    // A step so small that the count of steps overflows gives up snapping
    // rather than a NaN pose.
    return isFinite(result) ? result : moved;
}

osg::Matrixd DragRefinement::snappedTranslation(const osg::Matrixd& moved, unsigned axes) const
{
    const osg::Quat pressRotation = m_pressPose.getRotate();
    const osg::Vec3d movedInPressFrame =
        pressRotation.inverse() * (moved.getTrans() - m_pressPose.getTrans());
    osg::Matrixd result(moved);
    result.setTrans(m_pressPose.getTrans() +
                    pressRotation * snapTranslation(movedInPressFrame, axes));
    return result;
}

osg::Matrixd DragRefinement::snappedRotation(const osg::Matrixd& moved, int axis) const
{
    // A ring turns the dragger about its own axis: moved = turn * press, with
    // the turn in the press frame.
    const osg::Quat turn = (moved * osg::Matrixd::inverse(m_pressPose)).getRotate();
    const double angle = snapAngle(twistAbout(turn, axis));
    return osg::Matrixd::rotate(angle, unitVector(axis)) * m_pressPose;
}

osg::Vec3d DragRefinement::snapTranslation(const osg::Vec3d& moved, unsigned axes) const
{
    osg::Vec3d result(moved);
    for (int axis = 0; axis < 3; ++axis)
        if (axes & (1u << axis))
            result[axis] = roundToStep(moved[axis], m_translationStep);
    return result;
}

double DragRefinement::snapAngle(double radians) const
{
    return roundToStep(radians, m_rotationStep);
}

} // namespace Rk
