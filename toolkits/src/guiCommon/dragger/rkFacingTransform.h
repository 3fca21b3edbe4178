#ifndef RK_FACING_TRANSFORM_H
#define RK_FACING_TRANSFORM_H

#include <osg/Matrixd>
#include <osg/Quat>
#include <osg/Transform>
#include <osg/Vec4d>

namespace Rk {

/// A transform that turns its children's +Z towards the viewer of whichever
/// traversal asks for its matrix: the cull of each view as it draws, and
/// each pick (`osgUtil::IntersectionVisitor`) as it tests, so that a flat
/// ring below it faces the camera in the very view that picks it, before
/// any frame has been drawn too. Both take the viewer from their camera's
/// matrices, so that a ring is picked exactly as it is drawn: the camera's
/// eye point under a perspective projection; under an orthographic one,
/// where every line of sight is parallel, the direction back along the line
/// of sight (an eye infinitely far away), so that the ring is seen face on
/// wherever it lies in the view. The rotation about +Z is the shortest one
/// from +Z and carries no meaning.
///
/// Any other visitor gives its own `getEyePoint`. Without a visitor (bounds,
/// paths computed outside a traversal) it uses the rotation of the last
/// visitor. A viewer at the transform's origin (the camera inside the gizmo)
/// or a non-finite one keeps the last rotation (identity at first).
class FacingTransform : public osg::Transform
{
public:
    FacingTransform();

    bool computeLocalToWorldMatrix(osg::Matrix& matrix, osg::NodeVisitor* visitor) const override;
    bool computeWorldToLocalMatrix(osg::Matrix& matrix, osg::NodeVisitor* visitor) const override;

    /// The rotation last used (own +Z onto the direction of the eye).
    const osg::Quat& facing() const { return m_facing; }
    /// The rotation that turns +Z towards `viewer`, given in the parent's
    /// homogeneous coordinates: towards the point (w = 1), or along the
    /// direction of a viewer at infinity (w = 0), as a traversal with that
    /// viewer uses it. False, and `facing` untouched, for a viewer at the
    /// origin or a non-finite one.
    static bool facingFor(const osg::Vec4d& viewer, osg::Quat& facing);
    /// The viewer (`WindowProjection::viewerInEye`) of a cull or a pick under
    /// way, in the homogeneous coordinates of the node whose matrix it is
    /// asking for. False (and
    /// `viewer` untouched) for a visitor that is neither, or one whose
    /// model-view matrix cannot be inverted.
    static bool viewerOf(const osg::NodeVisitor& visitor, osg::Vec4d& viewer);

protected:
    ~FacingTransform() override;

private:
    void faceEyeOf(osg::NodeVisitor* visitor) const;

    mutable osg::Quat m_facing;
};

} // namespace Rk

#endif
