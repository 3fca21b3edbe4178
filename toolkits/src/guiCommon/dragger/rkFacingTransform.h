#ifndef RK_FACING_TRANSFORM_H
#define RK_FACING_TRANSFORM_H

#include <osg/Matrixd>
#include <osg/Quat>
#include <osg/Transform>

namespace Rk {

/// A transform that turns its children's +Z towards the eye of whichever
/// traversal asks for its matrix: the cull of each view as it draws, and
/// each pick (`osgUtil::IntersectionVisitor`) as it tests, so that a flat
/// ring below it faces the camera in the very view that picks it, before
/// any frame has been drawn too. Under an orthographic projection, where
/// every line of sight is parallel, +Z turns back along the line of sight
/// instead (towards an eye infinitely far away), so that the ring is seen
/// face on wherever it lies in the view. The rotation about +Z is the
/// shortest one from +Z and carries no meaning.
///
/// Without a visitor (bounds, paths computed outside a traversal) it uses
/// the rotation of the last visitor. An eye at the transform's origin (the
/// camera inside the gizmo) or a non-finite one keeps the last rotation
/// (identity at first).
class FacingTransform : public osg::Transform
{
public:
    FacingTransform();

    bool computeLocalToWorldMatrix(osg::Matrix& matrix, osg::NodeVisitor* visitor) const override;
    bool computeWorldToLocalMatrix(osg::Matrix& matrix, osg::NodeVisitor* visitor) const override;

    /// The rotation last used (own +Z onto the direction of the eye).
    const osg::Quat& facing() const { return m_facing; }
    /// The rotation that turns +Z towards `eye` (given in the parent's
    /// coordinates), as a traversal with that eye point uses it. False, and
    /// `facing` untouched, for an eye at the origin or a non-finite one.
    static bool facingFor(const osg::Vec3d& eye, osg::Quat& facing);
    /// What +Z turns towards under an orthographic projection, for
    /// `facingFor`: the direction back along the line of sight, in the
    /// coordinates of the transform's parent; `eyeToParent` is the inverse
    /// of the parent's model-view matrix.
    static osg::Vec3d backAlongSight(const osg::Matrixd& eyeToParent);
    /// The same for a cull or a pick under way, in the coordinates of the
    /// node whose matrix it is asking for. False (and `back` untouched) for a
    /// perspective projection, or a visitor that is neither.
    static bool orthographicSight(const osg::NodeVisitor& visitor, osg::Vec3d& back);

protected:
    ~FacingTransform() override;

private:
    void faceEyeOf(osg::NodeVisitor* visitor) const;

    mutable osg::Quat m_facing;
};

} // namespace Rk

#endif
