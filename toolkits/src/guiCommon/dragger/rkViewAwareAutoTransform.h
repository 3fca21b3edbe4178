#ifndef RK_VIEW_AWARE_AUTO_TRANSFORM_H
#define RK_VIEW_AWARE_AUTO_TRANSFORM_H

#include <osg/AutoTransform>

namespace osg {
class Camera;
}

namespace Rk {

/// An `osg::AutoTransform` that keeps its size on screen in every view that
/// shows it, also when it is picked.
///
/// `osg::AutoTransform` computes its scale in the cull traversal and keeps
/// the scale of the last cull for every other traversal. With one camera
/// that is the scale of the view being picked, and this class changes
/// nothing: it behaves bit for bit like its base. Once cameras of two or more
/// views have drawn it, a pick (an `osgUtil::IntersectionVisitor` that
/// carries window, projection and view matrices, as a view's
/// `computeIntersections` does) first computes the scale for that pick's
/// view, in the same way the cull does, and keeps it: a press handled right
/// after the pick (which reads the transform without a view) then sees the
/// picked view's scale too. A pick without those matrices, with a singular
/// or empty viewport, or whose computed scale is not finite and positive,
/// keeps the last scale.
///
/// The class declares no object meta-data of its own: `className()` and
/// `libraryName()` stay those of `osg::AutoTransform`.
class ViewAwareAutoTransform : public osg::AutoTransform
{
public:
    ViewAwareAutoTransform() = default;

    bool computeLocalToWorldMatrix(osg::Matrix& matrix, osg::NodeVisitor* visitor) const override;
    bool computeWorldToLocalMatrix(osg::Matrix& matrix, osg::NodeVisitor* visitor) const override;

    /// True once cameras of two or more views have culled this transform.
    bool seenByManyCameras() const { return m_seenByManyCameras; }

protected:
    ~ViewAwareAutoTransform() override = default;

private:
    void observe(osg::NodeVisitor* visitor) const;
    void adoptScaleOfPickedView(const osg::NodeVisitor& visitor) const;

    mutable const osg::Camera* m_lastCullCamera = nullptr;
    mutable bool m_seenByManyCameras = false;
};

} // namespace Rk

#endif
