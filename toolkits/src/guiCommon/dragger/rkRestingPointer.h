#ifndef RK_RESTING_POINTER_H
#define RK_RESTING_POINTER_H

#include "rkCameraState.h"

#include <osg/Matrixd>

namespace osg {
class Camera;
}
namespace osgGA {
class GUIEventAdapter;
}
namespace osgViewer {
class View;
}

namespace Rk {

/// Where the pointer rested when a dragger's hover highlight was last judged,
/// and what lay under it then.
///
/// A highlight judged at a pointer move goes stale when the camera moves
/// (a wheel zoom, the host's camera animation) or the dragger moves (the
/// host's pose, a transform above it, its scale) while the pointer rests.
/// Every frame event of a viewer carries the pointer position, button mask
/// and range of that viewer's last pointer event: a frame event that finds
/// the pointer resting where it was judged judges again when the dragger was
/// near the pointer and the scene under it moved since, and always when the
/// dragger was not near (a test of its image that costs less than
/// remembering the scene of every dragger at every pointer move).
///
/// Views are only compared, never dereferenced: a remembered view that was
/// destroyed can only fail to match.
class RestingPointer
{
public:
    /// What a hover pick sees under a resting pointer: the camera it picks
    /// through (in its current state) and the dragger's placement.
    struct Scene
    {
        const osg::Camera* camera = nullptr;
        osg::Matrixd parentToWorld;
        osg::Matrixd matrix;
        double scale = 0.0;
    };

    /// The highlight is being judged for the pointer of `event` in `view`;
    /// the dragger counts as not near the pointer until `near`.
    void judged(const osgGA::GUIEventAdapter& event, const osgViewer::View& view);
    /// The dragger is near the pointer just judged, over `scene`.
    void near(const Scene& scene);
    /// Nothing to judge again until the next `judged` (the highlight was
    /// cleared for a reason a frame cannot undo).
    void forget() { m_view = nullptr; }

    /// Whether the frame event `frame` of `view` finds the pointer resting
    /// where it was judged: the same view, position and range, no button
    /// held, and a later traversal of the view's viewer than the judged
    /// event's (the frame event of that very traversal finds nothing new).
    bool restsAt(const osgGA::GUIEventAdapter& frame, const osgViewer::View& view) const;
    /// Whether the dragger was near the judged pointer.
    bool wasNear() const { return m_near; }
    /// Whether `scene` differs from the one remembered by `near`: another
    /// camera or one in another state, another placement or scale.
    bool sceneMoved(const Scene& scene) const;

private:
    const osgViewer::View* m_view = nullptr;
    unsigned int m_frameNumber = 0;
    float m_x = 0.0f;
    float m_y = 0.0f;
    float m_xMax = 0.0f;
    float m_yMax = 0.0f;
    bool m_near = false;
    const osg::Camera* m_camera = nullptr;
    CameraState m_cameraState;
    osg::Matrixd m_parentToWorld;
    osg::Matrixd m_matrix;
    double m_scale = 0.0;
};

} // namespace Rk

#endif
