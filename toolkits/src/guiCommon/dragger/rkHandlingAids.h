#ifndef RK_HANDLING_AIDS_H
#define RK_HANDLING_AIDS_H

#include "rkHandleFader.h"
#include "rkHandleHover.h"
#include "rkHandleShapes.h"
#include "rkRestingPointer.h"

#include <osg/NodeVisitor>

#include <array>

namespace osgGA {
class GUIEventAdapter;
}
namespace osgViewer {
class View;
}

namespace Rk {

class Composite3DDragger;

/// The optional handling aids of one composite dragger: the pick tolerance,
/// the hover highlight and the view angle limit, all off for a new dragger
/// (then none of them changes anything). The composite asks this class at a
/// few points of its event loop; see the composite's header for the user's
/// view of each option.
class HandlingAids
{
public:
    /// A press beside a handle, taken as if the handle had been hit.
    struct Grab
    {
        osg::NodePath path;
        osg::Vec3d localPoint;
        osg::Camera* camera = nullptr;
    };

    explicit HandlingAids(Composite3DDragger& owner);

    /// Window pixels; NaN, infinite or negative values are ignored.
    void setPickTolerance(double pixels);
    double pickTolerance() const { return m_pickTolerance; }
    /// Switching off clears the highlight.
    void setHoverHighlight(bool highlight);
    bool hoverHighlight() const { return m_hoverHighlight; }
    osgManipulator::Dragger* hoveredHandle() const { return m_hover.hovered(); }
    /// Degrees; NaN, infinite or negative values are ignored; 0 unfades at once.
    void setViewAngleLimit(double degrees);
    double viewAngleLimit() const { return m_viewAngleLimit; }
    HandleShapes& shapes() { return m_shapes; }

    /// Before the composite looks at an event from `view` (null: the event
    /// does not come from an `osgViewer::View`): hover at a pointer move,
    /// fading at a frame event, no highlight at a press taken elsewhere.
    /// Returns at once while every aid is off.
    void beforeEvent(const osgGA::GUIEventAdapter& event, osgViewer::View* view)
    {
        if (m_hoverHighlight || m_viewAngleLimit != 0.0)
            beforeEventAided(event, view);
    }
    /// After the composite handled an event: the grabbed handle stays
    /// highlighted from its press to its release, the release looks again,
    /// and so does a frame event when the camera or the owner moved under a
    /// resting pointer.
    void afterEvent(const osgGA::GUIEventAdapter& event, osgViewer::View& view)
    {
        if (m_hoverHighlight)
            afterEventAided(event, view);
    }
    /// For a press that the scene pick did not give to the owner: the shown
    /// handle within the tolerance of the pointer, unless the pick found
    /// another dragger or anything nearer than that handle under the pointer.
    bool nearbyGrab(const osgGA::GUIEventAdapter& event, osgViewer::View& view, Grab& grab);
    /// Removes the highlight (hidden or disabled owner) until the next
    /// pointer move.
    void clearHover();

private:
    void beforeEventAided(const osgGA::GUIEventAdapter& event, osgViewer::View* view);
    /// Whether the owner missed whole event traversals of `view`'s viewer
    /// since the last event it saw from that viewer (hidden by the host's
    /// node mask or switch, or out of the scene): its highlight no longer
    /// knows where the pointer is. Each of the last `kViewersRemembered`
    /// viewers (told apart by their frame stamps) is judged on its own.
    bool missedTraversals(const osgViewer::View& view);
    void afterEventAided(const osgGA::GUIEventAdapter& event, osgViewer::View& view);
    /// Whether a press with the modifiers of `event` could start a drag of
    /// the owner: enabled, the event not taken yet, activation permitted.
    bool pressMayStart(const osgGA::GUIEventAdapter& event) const;
    void fadeFor(osgViewer::View& view);
    HandleShapes::Nearest nearbyHandle(const osgGA::GUIEventAdapter& event, osgViewer::View& view,
                                       const WindowProjection& projection);
    /// The handle a press at `event` would take; tells the resting pointer
    /// when the owner is near the pointer, and over what scene.
    osgManipulator::Dragger* pressTarget(const osgGA::GUIEventAdapter& event,
                                         osgViewer::View& view);
    osgManipulator::Dragger* activeHandle() const;
    osg::Camera* cameraOf(osgViewer::View& view) const;
    static osg::Camera* pickCamera(const osg::Camera* above, osgViewer::View& view);
    void showHover(osgManipulator::Dragger* target);
    /// Judges the highlight for the pointer of `event` and remembers where.
    void hoverAt(const osgGA::GUIEventAdapter& event, osgViewer::View& view);
    /// The camera the owner's pick looks through in `view`; `parentToWorld`
    /// receives the placement of the owner's parent.
    const osg::Camera* placementIn(osgViewer::View& view, osg::Matrixd& parentToWorld) const;
    RestingPointer::Scene sceneUnderPointer(osgViewer::View& view) const;
    RestingPointer::Scene sceneOf(const osg::Camera* camera,
                                  const osg::Matrixd& parentToWorld) const;

    // The options first: every event reads them.
    Composite3DDragger& m_owner;
    double m_pickTolerance = 0.0;
    double m_viewAngleLimit = 0.0;
    bool m_hoverHighlight = false;
    bool m_wasActive = false;
    static constexpr std::size_t kViewersRemembered = 4;
    struct SeenFrame
    {
        const osg::FrameStamp* stamp = nullptr;
        unsigned int frame = 0;
    };
    std::array<SeenFrame, kViewersRemembered> m_seenFrames;
    std::size_t m_nextSeenFrame = 0;
    HandleShapes m_shapes;
    HandleHover m_hover;
    RestingPointer m_resting;
    HandleFader m_fader;
};

} // namespace Rk

#endif
