#ifndef RK_VIEW_RING_H
#define RK_VIEW_RING_H

#include <osg/Vec2d>
#include <osg/Vec4>
#include <osgManipulator/Dragger>

namespace Rk {

/// A handle that turns its parent dragger about the line of sight through
/// its own origin (the gizmo's centre). Its geometry is added by its owner,
/// usually below an `Rk::FacingTransform` so that it faces the camera.
///
/// At the press it notes where the centre lies in the window and the line
/// of sight through it (world frame). Each drag step turns the parent, from
/// its pose at the press, about that line by the angle the pointer has gone
/// round the centre in the window since the press: positive
/// counter-clockwise as the viewer sees it (right-handed about the
/// direction towards the camera). The angle is followed continuously from
/// step to step, so a drag may go round more than once; it is never built
/// up from step rotations.
///
/// Bad input: a press with the centre at or behind the eye (camera inside
/// the gizmo) is refused; a pointer within `MIN_POINTER_RADIUS` pixels of
/// the centre has no direction, so that step turns nothing further.
class ViewRing : public osgManipulator::Dragger
{
public:
    /// Pointer distance from the centre (window pixels) below which a drag
    /// step has no angle.
    static constexpr double MIN_POINTER_RADIUS = 1.0;

    ViewRing();

    /// Press, drag and release as described above; false for events whose
    /// pick path does not contain this handle and for a refused press.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override;

    /// Signed angle (radians) turned since the last press.
    double turnedRadians() const { return m_turnedRadians; }

    void setColor(const osg::Vec4& colour);
    const osg::Vec4& getColor() const { return m_colour; }
    void setPickColor(const osg::Vec4& colour) { m_pickColour = colour; }
    const osg::Vec4& getPickColor() const { return m_pickColour; }

protected:
    ~ViewRing() override;

private:
    bool pressed(const osgManipulator::PointerInfo& pointer);
    void dragged(const osgManipulator::PointerInfo& pointer);
    void released();
    bool pointerAngle(const osgManipulator::PointerInfo& pointer, double& angleRadians) const;
    void sendTurn(osgManipulator::MotionCommand::Stage stage);

    osg::Vec4 m_colour;
    osg::Vec4 m_pickColour;
    osg::Vec2d m_centreWindow;
    osg::Vec3d m_centreWorld;
    osg::Vec3d m_towardsCamera;
    double m_lastAngle;
    double m_turnedRadians;
};

} // namespace Rk

#endif
