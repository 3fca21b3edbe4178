#ifndef RK_EXTRA_HANDLE_GEOMETRY_H
#define RK_EXTRA_HANDLE_GEOMETRY_H

#include <osg/Geode>

/// Builders of the plane and screen handles' geometry. Like the rotation
/// handle builders in `RkDraggerUtility`, each returns a new geode with
/// reference count 0 and keeps no state; coordinates are the handle's own;
/// nothing is checked (a zero or negative size gives a degenerate shape).
namespace RkExtraHandleGeometry {

/// A flat square, drawn from both sides, unlit and blended (its colour,
/// alpha included, comes from the handle's material): centre `centre`,
/// sides along the unit vectors `first` and `second`, half a side
/// `halfSize`. One quad, which the pick hits like any face.
osg::Geode* createPlaneSquareGeode(const osg::Vec3& centre, const osg::Vec3& first,
                                   const osg::Vec3& second, float halfSize);

/// A sphere of `radius` about the origin, lit, in the handle's colour: an
/// `Rk::BallGeometry`, picked through its triangle index.
osg::Geode* createScreenHandleGeode(float radius);

} // namespace RkExtraHandleGeometry

#endif
