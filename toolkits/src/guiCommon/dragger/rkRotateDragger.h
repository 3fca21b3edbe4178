#ifndef RK_ROTATE_DRAGGER_H
#define RK_ROTATE_DRAGGER_H

#include "rkOneAxisHandle.h"
#include "rkRingTurn.h"
#include "rkThreeAxisDragger.h"

#include <osgManipulator/Command>
#include <osgManipulator/RotateCylinderDragger>

namespace Rk {

/// One ring of a rotate dragger: an `osgManipulator::RotateCylinderDragger`
/// that turns its parent dragger about its own Z axis, plus the picking
/// switch, the kept pick colour and the active flag of `OneAxisHandle`. Its
/// pick colour stays osgManipulator's default; its geometry comes from
/// `RotateDragger`.
///
/// The turn follows the pointer exactly: from the press on, the angle turned
/// is worked out by `RingTurn` from the press and the current pointer alone,
/// in the ring's frame at the press (`localToWorld` of the picked node path,
/// so a keep-the-size-on-screen chain above the ring counts as the pick saw
/// it). The grabbed point stays under the pointer while the pointer is on the
/// ring's image, and the turn is the same however many drag events carry the
/// pointer there. The base's cylinder projector is not used for the turn,
/// because it accumulates a turn from one event to the next on a cylinder or
/// plane whose answer depends on the step, and can even turn the wrong way.
/// The motion commands stay osgManipulator's: a `Rotate3DCommand` at the
/// press (start), at each drag event with a defined turn (move, the rotation
/// about Z since the press) and at the release (finish), in the frame at the
/// press. A drag event without a defined turn (see `RingTurn`) sends
/// nothing, so the pose stays where the last one left it.
class Rotate1DDragger : public OneAxisHandle<osgManipulator::RotateCylinderDragger>
{
public:
    explicit Rotate1DDragger(bool keepPickColor);

    /// Sets the ring's radius in the handle's own frame (osgManipulator's
    /// default is 1), kept as the radius of the base's cylinder projector:
    /// the turn takes the size of its hold zone round the centre and its
    /// slowest edge-on speed from it.
    void setProjectionRadius(float radius);

    /// False while picking is disabled or when the pointer's node path does
    /// not hold this ring; otherwise turns the parent dragger as described
    /// above, tracks the active flag and shows the pick colour from the
    /// press to the release.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;

protected:
    ~Rotate1DDragger() override;

private:
    void pressRing(const osgManipulator::PointerInfo& pointer);
    void dragRing(const osgManipulator::PointerInfo& pointer);
    void releaseRing();
    osg::Matrixd pickedLocalToWorld(const osgManipulator::PointerInfo& pointer) const;
    void dispatchTurn(osgManipulator::MotionCommand::Stage stage, const osg::Quat& rotation);

    RingTurn m_turn;
};

/// The three-axis rotation manipulator: rings about X (red), Y (green) and Z
/// (blue) through the dragger's origin, each a line circle with direction
/// cones and an invisible pick torus (`RkDraggerUtility::createRotateDraggerTorusGeode`),
/// one geode shared by the three handles.
///
/// Dragging a ring turns the dragger's matrix (the pose) about that ring's
/// axis in the dragger's own frame. During the drag the command value is the
/// signed angle in radians turned about the active axis since the press,
/// positive counter-clockwise seen from the axis's tip in the frame at the
/// press, and the drag mode is 2. The receiver is written once, at the release.
///
/// With `autoScaleToScreen` the handles sit below an AntiSquish, an
/// auto-scale-to-screen AutoTransform and a scale of 50, so the rings keep
/// their size on screen (a ring of radius 0.5 is then about 25 pixels). The
/// AutoTransform takes its scale from the cull traversal: before a frame has
/// been drawn the rings are 50 times their model size.
///
/// Use: construct, optionally `setGeometryProperties`, `setupDefaultGeometry`
/// once, then `setScale` (which keeps each ring about its axis, see
/// `ThreeAxisDragger`) and `showDraggers(true)`.
class RotateDragger : public ThreeAxisDragger<Rotate1DDragger>
{
public:
    /// Drag mode set at a press on a ring.
    static constexpr int ROTATION_DRAG_MODE = 2;
    static constexpr float DEFAULT_RING_RADIUS = 0.5f;
    static constexpr float DEFAULT_PICK_TUBE_RADIUS = 0.01f;
    /// Line width of the rings in pixels, also the scale of their cones.
    static constexpr float RING_LINE_WIDTH = 3.0f;
    /// Model size of the rings below the auto-scaling transform.
    static constexpr double SCREEN_SCALE = 50.0;

    /// The dragger and its three handles, without geometry; `receiver` may be null.
    RotateDragger(Rk::DraggerReceiver* receiver, bool autoScaleToScreen);

    /// Stores the pick torus's tube radius and the ring radius (note the
    /// order); they take effect at the next `setupDefaultGeometry`.
    void setGeometryProperties(float pickTubeRadius, float ringRadius);
    /// The sizes stored by `setGeometryProperties` (the defaults before it),
    /// which the next `setupDefaultGeometry` builds.
    float ringRadius() const { return m_ringRadius; }
    float pickTubeRadius() const { return m_pickTubeRadius; }
    /// Adds one shared torus geode to every handle, turns the X and Y
    /// handles onto their axes and colours the handles. A second call adds a
    /// second geode; nothing is removed. The geode is the one every rotate
    /// dragger with the same ring radius and tube radius shares
    /// (`RkDraggerUtility::sharedRotateDraggerTorusGeode`), built once: it
    /// and its drawables must not be changed. Per dragger a host may still
    /// change everything above it: the handles' matrices, node masks,
    /// colours and states. New sizes followed by this call add the geode of
    /// the new sizes and leave every other dragger's rings as they are.
    void setupDefaultGeometry() override;

    /// Passes the event to the rings; for an accepted press it resets the
    /// command value, records the start rotation and finds the active ring,
    /// for a drag it updates the signed angle, and at the release it writes
    /// the pose to the receiver. False when no ring accepts the event.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;
    using Composite3DDragger::handle;

    /// Adds to `parent` the chain that keeps handles at a constant size on
    /// screen (an AntiSquish, a `ViewAwareAutoTransform` scaled to the screen,
    /// a scale of `SCREEN_SCALE`) and returns its last group, where the
    /// handles go. The rings use it, and so does a frame dragger's view ring.
    static osg::Group* addScreenScaleChain(osg::Group* parent);

    /// The pose's rotation at the last accepted press (identity before any).
    const osg::Quat& startRotation() const { return m_startRotation; }

protected:
    ~RotateDragger() override;

private:
    osg::Quat m_startRotation;
    float m_ringRadius;
    float m_pickTubeRadius;
};

} // namespace Rk

#endif
