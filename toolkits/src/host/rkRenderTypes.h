#ifndef RK_RENDER_TYPES_H
#define RK_RENDER_TYPES_H

#include "rkCoordinateSystemTransformation.h"

#include <osg/Matrixd>

/// Conversions between the host's pose and OpenSceneGraph matrices.
namespace RkRenderTypes {

/// The pose as a matrix in OpenSceneGraph's row-vector convention:
/// `osg::Vec3d(v) * M` turns `v` by the orientation, then adds the
/// translation, which stands in the fourth row.
osg::Matrixd rk2osg(const RkCoordinateSystemTransformation& pose);

/// The inverse of rk2osg for rigid matrices. For a matrix with scale or shear
/// it keeps the translation and the rotation of `getRotate()`.
void osg2rk(const osg::Matrixd& matrix, RkCoordinateSystemTransformation& pose);

} // namespace RkRenderTypes

#endif
