#include "rkCameraState.h"

#include "rkFinite.h"

#include <osg/Camera>

namespace Rk {

CameraState::CameraState(const osg::Camera& camera)
    : m_valid(true), m_view(camera.getViewMatrix()), m_projection(camera.getProjectionMatrix())
{
    if (const osg::Viewport* viewport = camera.getViewport()) {
        m_hasViewport = true;
        m_viewport[0] = viewport->x();
        m_viewport[1] = viewport->y();
        m_viewport[2] = viewport->width();
        m_viewport[3] = viewport->height();
    }
}

bool CameraState::describes(const osg::Camera& camera) const
{
    const osg::Viewport* viewport = camera.getViewport();
    return m_valid && sameBits(m_view, camera.getViewMatrix()) &&
           sameBits(m_projection, camera.getProjectionMatrix()) &&
           m_hasViewport == (viewport != nullptr) &&
           (!viewport ||
            (viewport->x() == m_viewport[0] && viewport->y() == m_viewport[1] &&
             viewport->width() == m_viewport[2] && viewport->height() == m_viewport[3]));
}

} // namespace Rk
