#include "rkThreeAxisDragger.h"

namespace Rk {

namespace {

const osg::Vec3d kHandleAxis(0.0, 0.0, 1.0);

bool isAxis(Composite3DDragger::AxisEnum axis)
{
    return axis >= Composite3DDragger::X_AXIS && axis <= Composite3DDragger::Z_AXIS;
}

osg::Vec3d unitVector(Composite3DDragger::AxisEnum axis)
{
    osg::Vec3d unit;
    unit[axis] = 1.0;
    return unit;
}

} // namespace

osg::Vec4 axisColour(Composite3DDragger::AxisEnum axis)
{
    if (!isAxis(axis))
        return osg::Vec4(1.0f, 1.0f, 1.0f, 1.0f);
    const osg::Vec3d unit = unitVector(axis);
    return osg::Vec4(unit.x(), unit.y(), unit.z(), 1.0f);
}

osg::Quat axisOrientation(Composite3DDragger::AxisEnum axis)
{
    osg::Quat orientation;
    if (isAxis(axis))
        orientation.makeRotate(kHandleAxis, unitVector(axis));
    return orientation;
}

double commandDistance(const osg::Matrixd& start, const osg::Matrixd& now,
                       Composite3DDragger::AxisEnum axis)
{
    if (!isAxis(axis))
        return 0.0;
    const osg::Vec3d moved = now.getTrans() - start.getTrans();
    const osg::Vec3d movedInStartFrame = start.getRotate().inverse() * moved;
    return movedInStartFrame[axis];
}

double commandAngle(const osg::Quat& start, const osg::Quat& now, Composite3DDragger::AxisEnum axis)
{
    if (!isAxis(axis))
        return 0.0;
    const osg::Quat startInverse = start.inverse();
    double angleRadians = 0.0;
    osg::Vec3f turnAxis(0.0f, 0.0f, 0.0f);
    (startInverse * now).getRotate(angleRadians, turnAxis);
    // The turn's own axis, expressed in the frame at the press, tells which
    // way round the grabbed axis it went. Single precision is enough for a sign.
    const osg::Vec3f turnAxisInStartFrame = startInverse * turnAxis;
    if (turnAxisInStartFrame[axis] < 0.0f)
        angleRadians = -angleRadians;
    return angleRadians;
}

} // namespace Rk
