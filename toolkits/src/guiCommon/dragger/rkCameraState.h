#ifndef RK_CAMERA_STATE_H
#define RK_CAMERA_STATE_H

#include <osg/Matrixd>

namespace osg {
class Camera;
}

namespace Rk {

/// What window coordinates through a camera depend on: its view and
/// projection matrices and its viewport (or that it has none). Kept by the
/// memories that reuse what they derived from a camera for as long as the
/// camera is in the same state. Matrices are compared bit for bit (see
/// `sameBits`), viewports by value. A default-constructed state describes
/// no camera.
class CameraState
{
public:
    CameraState() = default;
    explicit CameraState(const osg::Camera& camera);

    /// Whether `camera` is in this state now.
    bool describes(const osg::Camera& camera) const;

private:
    bool m_valid = false;
    osg::Matrixd m_view;
    osg::Matrixd m_projection;
    bool m_hasViewport = false;
    /// x, y, width, height.
    double m_viewport[4] = {0.0, 0.0, 0.0, 0.0};
};

} // namespace Rk

#endif
