#include "rkFacingTransform.h"

#include "rkFinite.h"
#include "rkWindowProjection.h"

#include <osg/CullStack>
#include <osg/NodeVisitor>
#include <osgUtil/IntersectionVisitor>

namespace Rk {

FacingTransform::FacingTransform() = default;

FacingTransform::~FacingTransform() = default;

namespace {

// The model-view and projection matrices of a cull or a pick at the node
// whose matrix it is asking for.
bool matricesOf(const osg::NodeVisitor& visitor, osg::Matrixd& parentToEye,
                const osg::RefMatrix*& projection)
{
    if (const osg::CullStack* cull = visitor.asCullStack()) {
        projection = cull->getProjectionMatrix();
        if (!projection || !cull->getModelViewMatrix())
            return false;
        parentToEye = *cull->getModelViewMatrix();
        return true;
    }
    if (const osgUtil::IntersectionVisitor* pick = visitor.asIntersectionVisitor()) {
        projection = pick->getProjectionMatrix();
        if (!projection)
            return false;
        if (pick->getModelMatrix())
            parentToEye = *pick->getModelMatrix();
        if (pick->getViewMatrix())
            parentToEye.postMult(*pick->getViewMatrix());
        return true;
    }
    return false;
}

} // namespace

bool FacingTransform::viewerOf(const osg::NodeVisitor& visitor, osg::Vec4d& viewer)
{
    osg::Matrixd parentToEye;
    const osg::RefMatrix* projection = nullptr;
    osg::Matrixd eyeToParent;
    if (!matricesOf(visitor, parentToEye, projection) || !eyeToParent.invert(parentToEye))
        return false;
    viewer = WindowProjection::viewerInEye(*projection) * eyeToParent;
    return true;
}

void FacingTransform::faceEyeOf(osg::NodeVisitor* visitor) const
{
    if (!visitor)
        return;
    // The cull and the pick give the viewer in the coordinates of this
    // transform's parent while they ask for its matrix.
    osg::Vec4d viewer;
    if (!viewerOf(*visitor, viewer))
        viewer = osg::Vec4d(visitor->getEyePoint(), 1.0);
    facingFor(viewer, m_facing);
}

bool FacingTransform::facingFor(const osg::Vec4d& viewer, osg::Quat& facing)
{
    // A point and a direction at infinity turn +Z the same way: towards x, y, z.
    const osg::Vec3d eye(viewer.x(), viewer.y(), viewer.z());
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
