#ifndef RK_DRAG_REFINEMENT_H
#define RK_DRAG_REFINEMENT_H

#include <osg/Matrixd>
#include <osg/Vec2d>
#include <osg/ref_ptr>
#include <osgGA/GUIEventAdapter>

namespace Rk {

/// Snapping and precise motion of a drag: the one place every handle's
/// motion passes through.
///
/// Precision works on the pointer: while Shift is held, the window point
/// handed to the handles is anchor + factor * (point - anchor). The anchor is
/// the press point, and it moves whenever Shift goes down or up, to the last
/// raw point and the last point handed out, so the pose never jumps.
///
/// Snapping works on the result: after the handles have moved the dragger's
/// matrix, the motion since the press, measured from the press pose in the
/// press frame, is rounded to the nearest multiple of the step and the matrix
/// is rebuilt from it. It is suspended while Ctrl is held (also when Ctrl was
/// held before the press). A new kind of handle adds its drag mode to
/// `snapped`, built from `snapTranslation` (a plane handle passes the two
/// axes of its plane) or `snapAngle`.
///
/// Units: window pixels, metres in the dragger's parent frame, radians. With
/// every option at its default (steps 0, factor 1) every point and matrix
/// passes through unchanged, bit for bit.
class DragRefinement
{
public:
    /// Drag modes this class knows (those of `Composite3DDragger`).
    static constexpr int TRANSLATION_MODE = 1;
    static constexpr int ROTATION_MODE = 2;
    /// A frame dragger's plane handle: motion in the plane whose normal is
    /// the active axis, snapped along both axes of the plane. The screen
    /// handle and the view ring have no axis and are never snapped.
    static constexpr int PLANE_MODE = 4;
    /// Largest precision factor accepted: more would fling the pointer far
    /// outside any window in one pixel of motion.
    static constexpr double MAX_PRECISION_FACTOR = 100.0;
    /// Every axis of a translation, for `snapTranslation`.
    static constexpr unsigned ALL_AXES = 0x7;

    /// Step of the distance along the active axis (metres); 0 is off. A
    /// negative, NaN or infinite step is ignored: the last value stays.
    void setTranslationSnap(double metres);
    double translationSnap() const { return m_translationStep; }
    /// Step of the angle about the active axis (radians); 0 is off. A
    /// negative, NaN or infinite step is ignored: the last value stays.
    void setRotationSnap(double radians);
    double rotationSnap() const { return m_rotationStep; }
    /// How much pointer motion counts while Shift is held (0.1: ten times
    /// finer). Zero, negative, NaN, infinite or above `MAX_PRECISION_FACTOR`
    /// is ignored: the last value stays. Takes effect at the next press.
    void setPrecisionFactor(double factor);
    double precisionFactor() const { return m_precisionFactor; }

    /// A press at `window` (pixels, y up) with the dragger at `pressPose`:
    /// starts a drag. Idempotent, as the press is handed over twice.
    void pressed(const osg::Matrixd& pressPose, const osgGA::GUIEventAdapter& event,
                 const osg::Vec2d& window);
    /// The window point to hand to the handles for the raw point `window` of
    /// a drag or release `event`; re-anchors when Shift changed.
    osg::Vec2d refinedPoint(const osgGA::GUIEventAdapter& event, const osg::Vec2d& window);
    /// Keeps a copy of the last pointer event of the drag, for `replayEvent`.
    void rememberPointerEvent(const osgGA::GUIEventAdapter& event);
    /// A drag event at the last pointer position, to re-apply the motion at
    /// once when snapping is switched by Ctrl; null before any press.
    const osgGA::GUIEventAdapter* replayEvent() const { return m_replay.get(); }
    /// Tracks Ctrl from a key event during a drag of `dragMode`; true when
    /// it switched snapping on or off (the motion must then be re-applied).
    bool snappingSwitchedBy(const osgGA::GUIEventAdapter& event, int dragMode);

    /// The pose when the drag was pressed.
    const osg::Matrixd& pressPose() const { return m_pressPose; }
    /// Whether snapping changes anything now: a step for `dragMode` and no Ctrl.
    bool snapping(int dragMode) const;
    /// `moved` with the motion since the press snapped along or about `axis`
    /// (0 X, 1 Y, 2 Z of the press frame) for `dragMode` (translation or
    /// rotation; for a plane, along the two axes other than `axis`); any
    /// other axis or mode, or a result that would not be
    /// finite, gives `moved` back unchanged. A step larger than the motion
    /// gives the press pose. Angles are taken in (-pi, pi]: a turn past half
    /// a revolution counts as the shorter turn the other way.
    osg::Matrixd snapped(const osg::Matrixd& moved, int axis, int dragMode) const;

    /// `moved` (metres, press frame) with each component in `axes` (bit 0 X,
    /// bit 1 Y, bit 2 Z) rounded to the translation step: a plane handle
    /// passes its two axes. Unchanged without a step.
    osg::Vec3d snapTranslation(const osg::Vec3d& moved, unsigned axes) const;
    /// `radians` rounded to the rotation step; unchanged without a step.
    double snapAngle(double radians) const;

private:
    osg::Matrixd snappedTranslation(const osg::Matrixd& moved, unsigned axes) const;
    osg::Matrixd snappedRotation(const osg::Matrixd& moved, int axis) const;

    double m_translationStep = 0.0;
    double m_rotationStep = 0.0;
    double m_precisionFactor = 1.0;
    double m_dragFactor = 1.0;
    osg::Matrixd m_pressPose;
    bool m_ctrl = false;
    bool m_shift = false;
    bool m_anchored = false;
    osg::Vec2d m_anchorRaw;
    osg::Vec2d m_anchorRefined;
    osg::Vec2d m_lastRaw;
    osg::Vec2d m_lastRefined;
    osg::ref_ptr<osgGA::GUIEventAdapter> m_replay;
};

} // namespace Rk

#endif
