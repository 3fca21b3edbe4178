#include "rkFacingTransform.h"

#include "rkFinite.h"
#include "rkWindowProjection.h"

#include <osg/CullStack>
#include <osg/NodeVisitor>
#include <osgUtil/IntersectionVisitor>

namespace Rk {

FacingTransform::FacingTransform() = default;

FacingTransform::~FacingTransform() = default;

bool FacingTransform::orthographicSight(const osg::NodeVisitor& visitor, osg::Vec3d& back)
{
    osg::Matrixd parentToEye;
    if (const osg::CullStack* cull = visitor.asCullStack()) {
        const osg::RefMatrix* projection = cull->getProjectionMatrix();
        if (!projection || !WindowProjection::isOrthographic(*projection) ||
            !cull->getModelViewMatrix())
            return false;
        parentToEye = *cull->getModelViewMatrix();
    } else if (const osgUtil::IntersectionVisitor* pick = visitor.asIntersectionVisitor()) {
        const osg::RefMatrix* projection = pick->getProjectionMatrix();
        if (!projection || !WindowProjection::isOrthographic(*projection))
            return false;
        if (pick->getModelMatrix())
            parentToEye = *pick->getModelMatrix();
        if (pick->getViewMatrix())
            parentToEye.postMult(*pick->getViewMatrix());
    } else {
        return false;
    }
    back = backAlongSight(osg::Matrixd::inverse(parentToEye));
    return true;
}

void FacingTransform::faceEyeOf(osg::NodeVisitor* visitor) const
{
    if (!visitor)
        return;
    // Both the cull and the pick give the eye in the coordinates of this
    // transform's parent while they ask for its matrix.
    osg::Vec3d viewer;
    if (!orthographicSight(*visitor, viewer))
        viewer = visitor->getEyePoint();
    facingFor(viewer, m_facing);
}

osg::Vec3d FacingTransform::backAlongSight(const osg::Matrixd& eyeToParent)
{
    return osg::Matrixd::transform3x3(osg::Vec3d(0.0, 0.0, 1.0), eyeToParent);
}

bool FacingTransform::facingFor(const osg::Vec3d& eye, osg::Quat& facing)
{
    // A press asks for the turn of one eye several times (the pick's bound
    // test, its traversal, the press handled twice): the last is kept per
    // thread, looked up by the eye's bits.
    struct LastTurn
    {
        osg::Vec3d eye;
        osg::Quat turn;
        bool valid = false;
    };
    thread_local LastTurn last;
    if (last.valid && sameBits(eye, last.eye)) {
        facing = last.turn;
        return true;
    }
    if (!isFinite(eye) || eye.length2() == 0.0)
        return false;
    osg::Quat turn;
    turn.makeRotate(osg::Vec3d(osg::Z_AXIS), eye);
    if (!isFinite(turn))
        return false;
    last = {eye, turn, true};
    facing = turn;
    return true;
}

bool FacingTransform::computeLocalToWorldMatrix(osg::Matrix& matrix,
                                                osg::NodeVisitor* visitor) const
{
    faceEyeOf(visitor);
    if (_referenceFrame == RELATIVE_RF)
        matrix.preMultRotate(m_facing);
    else
        matrix.makeRotate(m_facing);
    return true;
}

bool FacingTransform::computeWorldToLocalMatrix(osg::Matrix& matrix,
                                                osg::NodeVisitor* visitor) const
{
    faceEyeOf(visitor);
    const osg::Matrix inverse = osg::Matrix::rotate(m_facing.inverse());
    if (_referenceFrame == RELATIVE_RF)
        matrix.postMult(inverse);
    else
        matrix = inverse;
    return true;
}

} // namespace Rk
