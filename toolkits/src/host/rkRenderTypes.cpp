#include "rkRenderTypes.h"

namespace RkRenderTypes {

osg::Matrixd rk2osg(const RkCoordinateSystemTransformation& pose)
{
    const RkVector& t = pose.translation();
    return osg::Matrixd::rotate(pose.orientation().quat()) *
           osg::Matrixd::translate(t.x(), t.y(), t.z());
}

void osg2rk(const osg::Matrixd& matrix, RkCoordinateSystemTransformation& pose)
{
    const osg::Vec3d t = matrix.getTrans();
    RkOrientation orientation;
    orientation.setQuat(matrix.getRotate());
    pose.setTranslation(RkVector(t.x(), t.y(), t.z()));
    pose.setOrientation(orientation);
}

} // namespace RkRenderTypes
