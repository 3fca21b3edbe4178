#ifndef RK_HANDLE_FADER_H
#define RK_HANDLE_FADER_H

#include <osg/Vec4>
#include <osg/observer_ptr>
#include <osgManipulator/Dragger>

#include <vector>

namespace osg {
class Camera;
}

namespace Rk {

class HandleShapes;

/// Fades the handles that are seen too nearly along their motion: an arrow
/// (a translation handle) whose axis lies within the limit of the line of
/// sight through the owner's centre, and a ring (a rotation handle) whose
/// plane lies within the limit of that line. A faded handle is drawn in its
/// colour with alpha `FADED_ALPHA` (blended, in the transparent bin) and is
/// excluded from picks (`PickExclusion`); other handle kinds never fade.
///
/// The line of sight runs from the camera's eye to the owner's origin (for
/// an orthographic camera: the camera's viewing direction). Angles are in
/// degrees. A limit of 0 fades nothing; a limit of 90 or more fades every
/// arrow and ring whatever the view.
class HandleFader
{
public:
    static constexpr float FADED_ALPHA = 0.2f;

    explicit HandleFader(HandleShapes& shapes) : m_shapes(shapes) {}

    /// Decides again, for the view of `camera`, which handles of `owner` are
    /// faded, and paints them; handles no longer faded get back the colour
    /// and pickability they had. An eye at the owner's centre, or a view
    /// that gives no finite line of sight, changes nothing.
    void update(const osg::Camera& camera, const osg::Node& owner, double limitDegrees);
    /// Gives every faded handle back its colour and pickability.
    void clear();
    /// Whether `handle` is faded now.
    bool faded(const osgManipulator::Dragger* handle) const;

private:
    struct State
    {
        osg::observer_ptr<osgManipulator::Dragger> handle;
        bool faded;
        osg::Vec4 ownColour;
    };

    bool shouldFade(osgManipulator::Dragger& handle, const osg::Vec3d& sight,
                    double limitDegrees) const;
    void setFaded(State& state, bool faded);
    void matchHandles();

    HandleShapes& m_shapes;
    std::vector<State> m_states;
};

} // namespace Rk

#endif
