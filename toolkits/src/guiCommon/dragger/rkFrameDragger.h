#ifndef RK_FRAME_DRAGGER_H
#define RK_FRAME_DRAGGER_H

#include "rkComposite3DDragger.h"
#include "rkExtraHandlesDragger.h"
#include "rkRotateDragger.h"
#include "rkTranslateDragger.h"

namespace Rk {

/// The six-handle gizmo that moves and turns a whole frame: a translate
/// dragger (three arrows) and a rotate dragger (three rings) as children, in
/// this order. Any handle moves this dragger's own matrix, which is the pose
/// (parent frame, row-vector convention).
///
/// Without the value-on-release flag the receiver follows every drag step
/// (`signalPoseChanged` each time). With it, every drag step emits
/// `signalCommandValueChanged` with the distance moved along, or the signed
/// angle in radians turned about, the grabbed axis, measured in the frame the
/// dragger had at the press, and the receiver is written at the release only.
/// Every press on a handle emits `signalPoseClicked` (twice per click: the
/// event loop hands the press over twice); every release emits
/// `signalPoseChanged`, then `signalCommandValueDone`.
///
/// In the receiver form both children share the receiver; their own release
/// writes (of their own matrices) come before the frame's, which is last.
///
/// Optional handles (`setHandleSet`, none by default): plane handles (drag
/// mode 4, active axis the plane's normal), a screen handle (drag mode 5)
/// and a view ring (drag mode 6), both without an active axis; see
/// `ExtraHandlesDragger`, which holds them as a third child that exists only
/// while the handle set is not empty. They move this dragger's matrix like
/// the arrows and rings, with the same writes, signals and alignment; the
/// third child writes nothing itself. Their command value is the distance
/// moved since the press (plane and screen handles; never negative, units
/// of the parent frame) or the signed angle in radians turned about the
/// line of sight (view ring; positive counter-clockwise as the viewer sees
/// it).
class FrameDragger : public Composite3DDragger
{
public:
    /// Bits of `setHandleSet`.
    static constexpr int PLANE_HANDLES = ExtraHandlesDragger::PLANE_HANDLES;
    static constexpr int SCREEN_HANDLE = ExtraHandlesDragger::SCREEN_HANDLE;
    static constexpr int VIEW_RING = ExtraHandlesDragger::VIEW_RING;

    /// A gizmo for the end-effector pose of `gui`; the children get no receiver.
    FrameDragger(Rk::PluginGUI* gui, bool autoScaleToScreen);
    /// A gizmo for `receiver` (may be null), shared with both children.
    /// `autoScaleToScreen` goes to the rotate child (see `RotateDragger`).
    FrameDragger(Rk::DraggerReceiver* receiver, bool autoScaleToScreen);

    /// Builds both children's handles and the optional handles of the
    /// handle set (`rebuildExtraHandles`), then re-applies the scale
    /// (emitting `signalScaleChanged`). Call once; a second call adds arrows
    /// and rings again.
    void setupDefaultGeometry() override;
    /// Stores which optional handles to build: any of `PLANE_HANDLES`,
    /// `SCREEN_HANDLE`, `VIEW_RING` (other bits are ignored); 0, the
    /// default, builds none. Takes effect at the next `setupDefaultGeometry`
    /// or `rebuildExtraHandles`; the handles shown until then stay.
    void setHandleSet(int flags);
    int handleSet() const { return m_extraOptions.handleSet; }
    /// Replaces the optional handles with those of the handle set (removing
    /// the third child for an empty set), shown or hidden like the arrows;
    /// the arrows and rings stay as they are. During a drag it does nothing
    /// (the handle set waits for the next call). The new handles get the
    /// current scale, and the view ring the sizes stored in the rotate child
    /// (`setCylinderGeometry`, or its own `setGeometryProperties`). A hover
    /// highlight on a removed handle goes with it (`signalHoverChanged`).
    void rebuildExtraHandles();
    /// Stores sizes in both children, for the next `setupDefaultGeometry`:
    /// `radius` is the ring radius and the arrow cone radius, `height` the
    /// arrow cone height, `width` the arrow line width in pixels and the
    /// ring's pick tube radius (the view ring's too). Nothing is checked or
    /// rebuilt.
    void setCylinderGeometry(float radius, float height, float width);
    /// Shows (node mask 1024) or hides (0) both children and their handles,
    /// and sets the children's drag mode to 3. This dragger's own node mask
    /// is left alone; `Composite3DDragger::showDraggers` sets it.
    virtual void showDraggers(bool show);
    /// Asks the children for their active handle; a translation handle wins.
    /// Takes the translate child's axis and drag mode, or else the rotate
    /// child's axis with drag mode 2, or else the optional handles' axis and
    /// drag mode (4 to 6). With none, the axis is `NO_AXIS`.
    void setFromChildDraggerActive() override;

    /// Passes the event to the children, then (whatever they answered) a
    /// press records the start pose and the active axis and emits
    /// `signalPoseClicked`; a drag on an active axis writes the receiver or
    /// reports the command value; a release writes the receiver, re-seats
    /// the dragger on an aligned reference frame (not when the receiver then
    /// reads a non-finite pose) and emits `signalPoseChanged` and
    /// `signalCommandValueDone`. While dragging is
    /// disabled: false, and nothing happens. Returns the children's answer.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;
    using Composite3DDragger::handle;

    /// Every visitor but a pick goes the base's way. A pick enters the
    /// children as plain groups while their matrix (the scale) is the
    /// identity (`PickSegment::traverseFlattening`): the same hits, with one
    /// transform fewer to take the pick through.
    void traverse(osg::NodeVisitor& visitor) override;

    /// The child with the three arrows (never null).
    TranslateDragger* translateDragger() const { return m_translateDragger.get(); }
    /// The child with the three rings (never null).
    RotateDragger* rotateDragger() const { return m_rotateDragger.get(); }
    /// The third child with the optional handles, or null when none are built.
    ExtraHandlesDragger* extraHandles() const { return m_extraHandles.get(); }
    /// What the drag under way (after its release: the last drag) amounts
    /// to, as a deferred drag reports it in its command value: the distance
    /// along the grabbed axis (arrows, metres), the angle about it (rings,
    /// radians), the distance moved (plane and screen handles, metres) or
    /// the angle turned, counter-clockwise as the viewer sees it (view ring,
    /// radians). For any other drag mode, the command value.
    double commandValueOfDrag() const;

protected:
    ~FrameDragger() override;

private:
    /// Drag mode that `showDraggers` gives both children.
    static constexpr int SHOWN_CHILD_DRAG_MODE = 3;

    void createChildren(Rk::DraggerReceiver* childReceiver, bool autoScaleToScreen);
    void pressed();
    void dragged();
    void released();
    void reseatOnReferenceFrame();
    bool dragsAHandle() const;
    bool isFlatChild(const osg::Node* child) const;

    osg::ref_ptr<TranslateDragger> m_translateDragger;
    osg::ref_ptr<RotateDragger> m_rotateDragger;
    /// The handle set and the screen scaling; the sizes are the rotate
    /// child's, read at each rebuild.
    ExtraHandlesDragger::Options m_extraOptions;
    osg::ref_ptr<ExtraHandlesDragger> m_extraHandles;
};

} // namespace Rk

#endif
