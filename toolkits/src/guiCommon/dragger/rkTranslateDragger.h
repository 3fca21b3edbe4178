#ifndef RK_TRANSLATE_DRAGGER_H
#define RK_TRANSLATE_DRAGGER_H

#include "rkOneAxisHandle.h"
#include "rkThreeAxisDragger.h"

#include <osgManipulator/Translate1DDragger>

namespace Rk {

/// One arrow of a translate dragger: an `osgManipulator::Translate1DDragger`
/// that moves its parent dragger along the line through its start and end
/// points (its own coordinates), plus the picking switch, the kept pick
/// colour and the active flag of `OneAxisHandle`. Its pick colour stays
/// osgManipulator's default; its geometry comes from `TranslateDragger`.
class Translate1DDragger : public OneAxisHandle<osgManipulator::Translate1DDragger>
{
public:
    /// A handle on osgManipulator's default line.
    explicit Translate1DDragger(bool keepPickColor);
    /// A handle on the line from `start` to `end` (its own coordinates). Equal
    /// points give a degenerate line on which no press projects: the handle
    /// then accepts events but never moves its parent.
    Translate1DDragger(const osg::Vec3d& start, const osg::Vec3d& end, bool keepPickColor);

    /// As `OneAxisHandle`; a press is taken exactly as the base takes it,
    /// with the handle's frame found by `RootPath`.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;

protected:
    ~Translate1DDragger() override;

private:
    void press(const osgManipulator::PointerInfo& pointer, osgGA::GUIActionAdapter& action);
};

/// The three-axis move manipulator: arrows along X (red), Y (green) and Z
/// (blue) from the dragger's origin to 1 in its own coordinates, each with a
/// cone at the tip and an invisible, pickable cylinder about its shaft.
///
/// Dragging an arrow moves the dragger's matrix (the pose) along that arrow.
/// During the drag the command value is the distance moved along the active
/// axis since the press, in the coordinates of the dragger's parent, and the
/// drag mode is 1. The receiver is written once, at the release.
///
/// Use: construct, optionally `setGeometryProperties`, `setupDefaultGeometry`
/// once, then `setScale` (which keeps each arrow on its axis, see
/// `ThreeAxisDragger`) and `showDraggers(true)`.
class TranslateDragger : public ThreeAxisDragger<Translate1DDragger>
{
public:
    /// Drag mode set at a press on an arrow.
    static constexpr int TRANSLATION_DRAG_MODE = 1;
    static constexpr float DEFAULT_LINE_WIDTH = 3.0f;
    static constexpr float DEFAULT_CONE_RADIUS = 0.06f;
    static constexpr float DEFAULT_CONE_HEIGHT = 0.15f;

    /// The dragger and its three handles, without geometry; `receiver` may be null.
    explicit TranslateDragger(Rk::DraggerReceiver* receiver);

    /// Stores the shaft width in pixels and the cone's radius and height (the
    /// dragger's units); they take effect at the next `setupDefaultGeometry`.
    /// Zero or negative sizes build degenerate shapes.
    void setGeometryProperties(float lineWidth, float coneRadius, float coneHeight);
    /// Adds one shared shaft geode and one shared head geode to every handle,
    /// turns the X and Y handles onto their axes and colours the handles.
    /// A second call adds a second pair; nothing is removed. Both geodes are
    /// shared with every translate dragger of the same line width (shaft) and
    /// cone sizes (head), built once (`SharedHandleGeometry`): they and their
    /// drawables and states must not be changed. Per dragger a host may still
    /// change everything above them: the handles' matrices, node masks,
    /// colours and states. New sizes followed by this call add the geodes of
    /// the new sizes and leave every other dragger's arrows as they are.
    void setupDefaultGeometry() override;

    /// Passes the event to the arrows; for an accepted press it resets the
    /// command value, records the start translation and finds the active
    /// arrow, for a drag it updates the command value, and at the release it
    /// writes the pose to the receiver. False when no arrow accepts the event.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;
    using Composite3DDragger::handle;

protected:
    ~TranslateDragger() override;

private:
    osg::Node* createShaftGeode() const;
    osg::Node* createHeadGeode() const;

    float m_lineWidth;
    float m_coneRadius;
    float m_coneHeight;
};

} // namespace Rk

#endif
