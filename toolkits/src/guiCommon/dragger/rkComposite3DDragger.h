#ifndef RK_COMPOSITE_3D_DRAGGER_H
#define RK_COMPOSITE_3D_DRAGGER_H

#include "rkActionView.h"
#include "rkCoordinateSystemTransformation.h"
#include "rkDragCancel.h"
#include "rkDragRefinement.h"
#include "rkDraggerReceiver.h"
#include "rkFollowAgreement.h"
#include "rkHandlingAids.h"
#include "rkHandlingSignals.h"

#include <QObject>
#include <osg/Quat>
#include <osg/ref_ptr>
#include <osgGA/GUIEventAdapter>
#include <osgManipulator/Dragger>

namespace osgViewer {
class View;
}

namespace Rk {

class DraggerDlg;
class PluginGUI;

/// Base of every multi-axis dragger: a Qt object that announces pose, scale
/// and command changes, and an osgManipulator composite whose matrix is the
/// pose being edited (world frame of the dragger's parent, row-vector
/// convention, metres and radians).
///
/// The pose is read from and written to a receiver. The receiver's
/// orientation is the dragger's orientation times the alignment rotation; the
/// translations agree. A new dragger is hidden (node mask 0): call
/// `setupDefaultGeometry()` on a subclass, then `showDraggers(true)`.
/// Intersection mask and shown node mask are `DRAGGER_MASK` (1024).
class Composite3DDragger : public HandlingSignals, public osgManipulator::CompositeDragger
{
    Q_OBJECT

public:
    /// Which handle was last pressed; also the handle's index in the dragger
    /// list and the vector component of its axis.
    enum AxisEnum
    {
        NO_AXIS = -1,
        X_AXIS = 0,
        Y_AXIS = 1,
        Z_AXIS = 2
    };

    /// Node mask of a shown dragger and traversal mask of the pick.
    static constexpr osg::Node::NodeMask DRAGGER_MASK = 0x400;
    /// Largest pose difference (host metric) that the frame-time follow ignores.
    static constexpr double FOLLOW_TOLERANCE = 0.0001;
    /// Scale given to the components of a new dragger.
    static constexpr double DEFAULT_SCALE = 0.3;

    /// A dragger for the end-effector pose (parameter 261) of `gui`, through a
    /// new `EEDraggerReceiver`. `gui` must outlive the dragger.
    explicit Composite3DDragger(Rk::PluginGUI* gui);
    /// A dragger for `receiver`, shared; null gives a dragger that writes
    /// nothing and never follows.
    explicit Composite3DDragger(Rk::DraggerReceiver* receiver);

    /// Offers the pointer event to the components in list order; false
    /// without a look at them while dragging is disabled.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;
    /// The viewer's event loop: picks at a press, passes the press, drags and
    /// release to the pointer handler, and follows the receiver at every
    /// frame event outside a drag. True for a press that picked this dragger
    /// and for every press, drag or release while it is active. The follow
    /// ignores a receiver pose with a NaN or infinite element: the dragger
    /// keeps its last good pose and emits nothing. A dragger whose own matrix
    /// is not finite is moved to the receiver's pose at the next frame event.
    /// Any mouse button grabs, unless the host set an activation mouse button
    /// mask (`setActivationMouseButtonMask`, 0 by default): then a press of
    /// another button is not taken (false) and goes on to the camera, and a
    /// drag belongs to its button: another button's press or release during
    /// it is taken (true) and changes nothing; the drag ends at the release
    /// of its own button (or at a release that names no button).
    bool handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) override;
    /// Gives every direct component the matrix scale(s, s, s), replacing it,
    /// and emits `signalScaleChanged()` (always, also with no components).
    /// Zero or negative values are stored and applied as given (zero shrinks
    /// every handle to a point, so nothing can be picked). NaN and infinite
    /// values are ignored: nothing is stored and nothing is emitted.
    virtual void setScale(double scale);
    /// During a drag: the pose goes back to the pose of the press, which is
    /// written to the receiver if this drag has written it (a deferred drag
    /// writes nothing), the drag ends (its further drags and the release of
    /// its button do nothing, wherever the pointer is, but are still marked
    /// handled so that no camera manipulator takes them up), and
    /// `signalPoseChanged()`, `signalCommandValueDone()` (command value 0)
    /// and `signalDragCancelled()` are emitted. Outside a drag, or a second
    /// time in one drag: nothing.
    void cancelDrag() override;
    /// Stores the active axis (subclasses also recolour their handles).
    virtual void setActiveAxis(AxisEnum axis);
    /// Makes the axis of the pressed component active (nothing here).
    virtual void setFromChildDraggerActive();
    /// Enables or disables all event handling; emits
    /// `signalDraggingEnableChanged()` only on a change.
    virtual void setDraggingEnabled(bool enabled);
    /// Whether the dragger handles events at all (true for a new dragger).
    virtual bool draggingEnabled() const;
    /// Whether the activation modifier mask and key let a press with the
    /// modifiers of `event` start a drag now: always when neither is set;
    /// the key counts as held from its last handled `KEYDOWN` to its `KEYUP`.
    /// The activation mouse button mask plays no part here (see `handle`).
    bool activationPermittedFor(const osgGA::GUIEventAdapter& event) const
    {
        // Asked by every dragger at every pointer move; most set no activation.
        return (_activationModKeyMask == 0 && _activationKeyEvent == 0) ||
               modifiersActivate(event) || _activationPermittedByKeyEvent;
    }
    /// False only for a press of a button outside a non-zero activation
    /// mouse button mask (see `handle`).
    bool buttonActivates(const osgGA::GUIEventAdapter& event) const
    {
        return event.getEventType() != osgGA::GUIEventAdapter::PUSH ||
               _activationMouseButtonMask == 0 ||
               (static_cast<unsigned int>(event.getButton()) & _activationMouseButtonMask) != 0;
    }
    /// Stores the frame shown while aligned; takes effect at the next
    /// `setIsAlignedWithReferenceFrame(true)` and at the next frame event.
    virtual void setReferenceFrame(const osg::Quat& frame);
    /// Switches the alignment; when switched on with a receiver, the
    /// alignment rotation becomes inverse(frame) * receiver rotation; when
    /// that is not finite (NaN receiver pose, zero frame) the alignment
    /// rotation stays as it was. Off resets it to the identity. Leaves the
    /// dragger's matrix alone.
    virtual void setIsAlignedWithReferenceFrame(bool aligned);
    /// Writes translation and rotation (times the alignment rotation) of the
    /// dragger's matrix to the receiver; nothing without a receiver or while
    /// the receiver-update flag is clear. Scale and shear are dropped. A pose
    /// with a NaN or infinite element is never written.
    virtual void setReceiverMatrix();

    /// Attaches `receiver` (null detaches) and, if there is one, re-applies
    /// the scale and takes the receiver's matrix as the dragger's, unaligned;
    /// a receiver matrix that is not finite leaves the dragger's matrix as is.
    void setReceiver(Rk::DraggerReceiver* receiver);
    /// The attached receiver, or null.
    Rk::DraggerReceiver* receiver() const { return m_receiver.get(); }
    /// Node mask 1024 (shown) or 0 (hidden) on this dragger and, recursively,
    /// on every component. Emits nothing; does not end a drag.
    void showDraggers(bool show);
    /// Writes the dragger's current pose to the receiver, then moves the
    /// dragger to `pose` (times the alignment rotation, single precision) and
    /// emits `signalPoseChanged()`. A `pose` that is not finite leaves the
    /// dragger where it was; the write and the signal still happen.
    void syncReceiverToPose(const osg::Matrixd& pose);

    AxisEnum activeAxis() const { return m_activeAxis; }
    /// 0 none, 1 translation, 2 rotation, 3 set by a frame dragger on its parts.
    int dragMode() const { return m_dragMode; }
    void setDragMode(int mode) { m_dragMode = mode; }
    /// Distance (metres) or signed angle (radians) of the current drag.
    double commandValue() const { return m_commandValue; }
    void setCommandValue(double value) { m_commandValue = value; }
    const osg::Matrixd& dragStartMatrix() const { return m_dragStartMatrix; }
    void setDragStartMatrix(const osg::Matrixd& matrix) { m_dragStartMatrix = matrix; }
    double scale() const { return m_scale; }
    bool valueOnRelease() const { return m_valueOnRelease; }
    const osg::Quat& alignmentRotation() const { return m_alignmentRotation; }
    const osg::Quat& referenceFrame() const { return m_referenceFrame; }
    bool isAlignedWithReferenceFrame() const { return m_alignedWithReferenceFrame; }
    /// When clear, `setReceiverMatrix` writes nothing (the dialog uses it).
    bool receiverUpdate() const { return m_receiverUpdate; }
    void setReceiverUpdate(bool update) { m_receiverUpdate = update; }
    /// When clear, the frame-time follow is skipped. The library never
    /// changes it; the host may.
    bool receiverFollow() const { return m_receiverFollow; }
    void setReceiverFollow(bool follow) { m_receiverFollow = follow; }

    /// Snaps the distance along the active axis since the press, in the
    /// press frame, to multiples of `metres`; 0 (the default) is off. The
    /// pose, every receiver write and the command value show the snapped
    /// value; a step larger than the drag keeps the press pose. Holding Ctrl
    /// suspends snapping at once (also when held before the press); releasing
    /// it snaps again at once. A negative, NaN or infinite step is ignored.
    void setTranslationSnap(double metres) { m_refinement.setTranslationSnap(metres); }
    double translationSnap() const { return m_refinement.translationSnap(); }
    /// The same for the angle about the active axis (radians, taken in
    /// (-pi, pi]); 0 (the default) is off.
    void setRotationSnap(double radians) { m_refinement.setRotationSnap(radians); }
    double rotationSnap() const { return m_refinement.rotationSnap(); }
    /// While Shift is held, pointer motion counts `factor` times (0.1: ten
    /// times finer); pressing or releasing Shift mid-drag re-anchors, so the
    /// pose never jumps. Default 1. Zero, negative, NaN, infinite or above
    /// `DragRefinement::MAX_PRECISION_FACTOR` is ignored; a new factor takes
    /// effect at the next press.
    void setPrecisionFactor(double factor) { m_refinement.setPrecisionFactor(factor); }
    double precisionFactor() const { return m_refinement.precisionFactor(); }
    /// A press of `key` during a drag calls `cancelDrag()` and is marked
    /// handled; 0 (the default) is none. The same key as the activation key
    /// still permits the next press. osgViewer quits on Escape by default: a
    /// host that cancels with Escape calls `setKeyEventSetsDone(0)` on its
    /// viewer.
    void setCancelKey(int key) { m_cancel.setKey(key); }
    int cancelKey() const { return m_cancel.key(); }
    /// Pick tolerance in window pixels (the pointer event's own units); 0,
    /// the default, keeps the scene pick alone. With N > 0 a press that the
    /// scene pick does not give to this dragger, but that lies within N
    /// pixels of the drawn image of one of its shown handles (an arrow's
    /// shaft or head, a ring's line and cones), takes the nearest such handle
    /// exactly as a hit on it would, its nearest point as the grabbed point.
    /// Nothing is taken when the pick finds another dragger, or any object in
    /// the intersection mask nearer than that handle, under the pointer; nor
    /// for a pointer outside the event's window range, nor through a camera
    /// without a viewport. NaN, infinite and negative values are ignored:
    /// the last value is kept.
    void setPickTolerance(double pixels) { m_handlingAids.setPickTolerance(pixels); }
    double pickTolerance() const { return m_handlingAids.pickTolerance(); }
    /// Off by default. While on, each pointer move without a button held
    /// (through an `osgViewer::View`; other action adapters are ignored)
    /// paints the handle that a press there would take in yellow (1, 1, 0, 1)
    /// and gives the handle painted before its colour back; the grabbed
    /// handle stays yellow until its release. A move outside the window, off
    /// every handle, over another dragger or while this one is disabled
    /// removes the highlight; so do hiding (`showDraggers(false)`, also a
    /// frame dragger's), disabling, switching the option off and a press
    /// this dragger does not take (taken before it, or of a button outside
    /// the activation mouse button mask), until the next move. Hidden by
    /// the host's own node mask or a switch above it, the dragger sees no
    /// events: its highlight goes at the first event after it is shown
    /// again. A move while another dragger is dragged changes nothing (it is
    /// a drag, no move).
    /// Hovering never moves the pose, writes the receiver or handles the
    /// event. `signalHoverChanged()` is emitted when the highlighted handle
    /// changes, and only then. A host that learns of the pointer leaving its
    /// view sends a move outside the window (see docs/handling.md).
    void setHoverHighlight(bool highlight) { m_handlingAids.setHoverHighlight(highlight); }
    bool hoverHighlight() const { return m_handlingAids.hoverHighlight(); }
    /// The highlighted handle, or null.
    osgManipulator::Dragger* hoveredHandle() const { return m_handlingAids.hoveredHandle(); }
    /// View angle limit in degrees; 0, the default, is off. An arrow whose
    /// axis lies within the limit of the line of sight through the dragger's
    /// origin, and a ring whose plane lies within the limit of that line, are
    /// drawn faded (alpha 0.2) and cannot be picked nor grabbed through the
    /// tolerance. Decided at each frame event outside a drag (see
    /// `HandleFader`). A limit of 90 or more fades every arrow and ring; 0
    /// gives every faded handle back at once. NaN, infinite and negative
    /// values are ignored: the last value is kept.
    void setViewAngleLimit(double degrees) { m_handlingAids.setViewAngleLimit(degrees); }
    double viewAngleLimit() const { return m_handlingAids.viewAngleLimit(); }
    /// The drawn shapes behind the tolerance and the hover; handles of other
    /// kinds may add their shapes there.
    HandleShapes& handleShapes() { return m_handlingAids.shapes(); }

signals:
    /// A handle of a frame dragger was pressed (twice per press).
    void signalPoseClicked();
    /// The pose changed: by `setPose`, `syncReceiverToPose`, the frame-time
    /// follow of the receiver, or a frame dragger's drag step or release.
    void signalPoseChanged();
    /// `setScale` was called; `scale()` holds the new value.
    void signalScaleChanged();
    /// A frame dragger's drag step with the value-on-release flag set: the
    /// command value (metres or radians) since the press.
    void signalCommandValueChanged(double);
    /// A frame dragger's drag ended at the release.
    void signalCommandValueDone();
    /// `setDraggingEnabled` changed the enabled state.
    void signalDraggingEnableChanged();

public slots:
    /// Sets the dragger's matrix to alignment rotation * rk2osg(coord), in
    /// single precision, and emits `signalPoseChanged()`; writes no receiver.
    /// A pose that is not finite (NaN, infinity, beyond single precision)
    /// leaves the matrix as it was; the signal is still emitted.
    void setPose(const RkCoordinateSystemTransformation& coord);
    /// When set, a frame dragger reports the command value during a drag and
    /// writes the receiver only at the release.
    void setValueOnRelease(bool value) { m_valueOnRelease = value; }

protected:
    ~Composite3DDragger() override;

    /// The pose that `setReceiverMatrix` writes: translation and rotation of
    /// the dragger's matrix, the rotation times the alignment rotation.
    osg::Matrixd receiverPoseOfDragger() const;
    /// Sets the dragger's matrix to the alignment rotation followed by `pose`,
    /// multiplied in single precision.
    void setAlignedMatrix(const osg::Matrixd& pose);
    /// Removes the hover highlight (for subclasses that hide their handles).
    void clearHoverHighlight() { m_handlingAids.clearHover(); }

private:
    friend class DraggerDlg;

    void initialise(Rk::DraggerReceiver* receiver);
    bool activationPermitted(const osgGA::GUIEventAdapter& event);
    /// With a non-zero activation mouse button mask a drag belongs to the
    /// button that pressed it: true for another button's press or release
    /// during the drag. A release without a button ends any drag, as before.
    bool otherButtonDuringDrag(const osgGA::GUIEventAdapter& event) const
    {
        const osgGA::GUIEventAdapter::EventType type = event.getEventType();
        return _activationMouseButtonMask != 0 && getDraggerActive() &&
               ((type == osgGA::GUIEventAdapter::PUSH && event.getButton() != m_dragButton) ||
                (type == osgGA::GUIEventAdapter::RELEASE &&
                 !DragCancel::releasesDragButton(event, m_dragButton)));
    }
    bool modifiersActivate(const osgGA::GUIEventAdapter& event) const
    {
        return _activationModKeyMask != 0 && (event.getModKeyMask() & _activationModKeyMask) != 0;
    }
    bool pick(const osgGA::GUIEventAdapter& event, osgViewer::View& view,
              osgGA::GUIActionAdapter& action);
    bool grabNearby(const osgGA::GUIEventAdapter& event, osgViewer::View& view,
                    osgGA::GUIActionAdapter& action);
    void takePress(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action,
                   osg::Camera* camera);
    bool dragStep(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action,
                  bool result);
    void followReceiver();
    void alignWith(const osg::Matrixd& receiverMatrix);
    void projectPointer(const osgGA::GUIEventAdapter& event);
    void snapMotion(const osgGA::GUIEventAdapter& event);
    bool keyDuringDrag(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action);

    // What every event reads of every dragger comes first, together: with
    // many draggers in a scene each event's cost is mostly memory reads.
    ActionView m_actionView;
    bool m_draggingEnabled;
    bool m_receiverFollow;
    osg::ref_ptr<Rk::DraggerReceiver> m_receiver;
    HandlingAids m_handlingAids{*this};
    FollowAgreement m_followAgreement;
    int m_dragMode;
    AxisEnum m_activeAxis;
    double m_commandValue;
    bool m_valueOnRelease;
    osg::Matrixd m_dragStartMatrix;
    double m_scale;
    osg::Quat m_alignmentRotation;
    bool m_alignedWithReferenceFrame;
    osg::Quat m_referenceFrame;
    bool m_receiverUpdate;
    DragRefinement m_refinement;
    DragCancel m_cancel;
    int m_dragButton = 0;
};

} // namespace Rk

#endif
