#include "rkViewAwareAutoTransform.h"

#include <osg/CullingSet>
#include <osgUtil/CullVisitor>
#include <osgUtil/IntersectionVisitor>

#include <cmath>

namespace Rk {

namespace {

// The radius, in pixels, for which osg::AutoTransform sizes its children:
// one model unit then covers about this many pixels' diameter.
const float kAutoScalePixelRadius = 0.48f;

// The viewport that a window matrix was made from (Viewport::computeWindowMatrix).
osg::ref_ptr<osg::Viewport> viewportOfWindowMatrix(const osg::Matrixd& window)
{
    const double width = 2.0 * window(0, 0);
    const double height = 2.0 * window(1, 1);
    return new osg::Viewport(window(3, 0) - 0.5 * width, window(3, 1) - 0.5 * height, width,
                             height);
}

} // namespace

bool ViewAwareAutoTransform::computeLocalToWorldMatrix(osg::Matrix& matrix,
                                                       osg::NodeVisitor* visitor) const
{
    observe(visitor);
    return osg::AutoTransform::computeLocalToWorldMatrix(matrix, visitor);
}

bool ViewAwareAutoTransform::computeWorldToLocalMatrix(osg::Matrix& matrix,
                                                       osg::NodeVisitor* visitor) const
{
    observe(visitor);
    return osg::AutoTransform::computeWorldToLocalMatrix(matrix, visitor);
}

void ViewAwareAutoTransform::observe(osg::NodeVisitor* visitor) const
{
    if (!visitor)
        return;
    if (auto* cull = dynamic_cast<osgUtil::CullVisitor*>(visitor)) {
        const osg::Camera* camera = cull->getCurrentCamera();
        if (m_lastCullCamera && camera != m_lastCullCamera)
            m_seenByManyCameras = true;
        m_lastCullCamera = camera;
        return;
    }
    if (m_seenByManyCameras && getAutoScaleToScreen())
        adoptScaleOfPickedView(*visitor);
}

void ViewAwareAutoTransform::adoptScaleOfPickedView(const osg::NodeVisitor& visitor) const
{
    const auto* pick = dynamic_cast<const osgUtil::IntersectionVisitor*>(&visitor);
    if (!pick || !pick->getWindowMatrix() || !pick->getProjectionMatrix() || !pick->getViewMatrix())
        return;
    const osg::ref_ptr<osg::Viewport> viewport = viewportOfWindowMatrix(*pick->getWindowMatrix());
    if (!(viewport->width() > 0.0) || !(viewport->height() > 0.0))
        return;
    osg::Matrixd modelView = *pick->getViewMatrix();
    if (pick->getModelMatrix())
        modelView.preMult(*pick->getModelMatrix());
    // The cull's own measure: the pixel size of a sphere at the position.
    const osg::Vec4 pixelSizeVector =
        osg::CullingSet::computePixelSizeVector(*viewport, *pick->getProjectionMatrix(), modelView);
    const osg::Vec3 position(getPosition());
    const double size = (position * pixelSizeVector) / kAutoScalePixelRadius;
    if (std::isfinite(size) && size > 0.0)
        _scale.set(size, size, size);
}

} // namespace Rk
