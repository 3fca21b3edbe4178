#ifndef RK_DRAGGER_UTILITY_H
#define RK_DRAGGER_UTILITY_H

#include <osg/Geode>
#include <osg/ref_ptr>

/// Builders of rotation-handle geometry. Every `create...` builder returns a
/// new geode with reference count 0 (add it to a parent or hold it in an
/// `osg::ref_ptr`) and keeps no state between calls; the `shared...` one
/// hands out the geode built for the same sizes while anyone holds it. Coordinates are the
/// handle's own: the ring or cylinder lies about the origin with Z as the
/// axis of rotation. No argument is checked: zero or negative radii, a tube
/// wider than the ring or a wall thicker than the radius give degenerate or
/// self-intersecting geometry, never an error.
namespace RkDraggerUtility {

/// The handle of one rotation axis, with ten drawables in this order:
/// 0. the pick torus (ring radius `ringRadius`, tube radius `tubeRadius`),
///    one quad strip of 20,200 vertices, never drawn but hit by picking; it
///    carries an `osg::KdTree` as its shape, so that intersection visitors
///    (which use KdTrees by default) test only the triangles near a ray, and
///    an `Rk::TorusIndex` (its user data), through which the library's own
///    picks find those triangles faster;
/// 1. the visible ring, a line loop of 100 vertices at `ringRadius` in the XY
///    plane, `lineWidth` pixels wide, unlit;
/// 2.-9. eight cones on the ring, 45 degrees apart starting on +X, pointing
///    counter-clockwise seen from +Z; radius 0.01 and height 0.02 times
///    `lineWidth` (model units), so `lineWidth` also scales them.
/// The geode's bound is an `Rk::AxialShellBound`: its bounding sphere is the
/// one about the centre of its drawables' box that just holds every vertex
/// (about the ring's outer radius), not the sphere through the box's
/// corners, and it knows the shell about Z that holds every face, so that
/// pick rays that pass beside the ring or through its hole do not enter the
/// ring's handle. Its bounding box is the drawables' box, as usual.
osg::Geode* createRotateDraggerTorusGeode(float ringRadius, float tubeRadius, float lineWidth);

/// The geode that `createRotateDraggerTorusGeode` builds for these sizes,
/// shared by every caller with the same sizes (`Rk::SharedHandleGeometry`):
/// built, with its pick tree, once while anyone holds it. The geode, its
/// drawables, their states and the pick tree are shared and must not be
/// changed; give per-dragger states, colours and masks to the handles above
/// it instead.
osg::ref_ptr<osg::Geode> sharedRotateDraggerTorusGeode(float ringRadius, float tubeRadius,
                                                       float lineWidth);

/// A hollow cylinder about Z: outer wall of radius `outerRadius`, inner wall
/// of radius `outerRadius - wallThickness`, both of height `height` centred
/// on z = 0, and two flat rings closing them at z = +height/2 and -height/2
/// (both facing -Z). A 16x16 luminance-alpha arrow texture repeats ten times
/// around the walls, the arrows pointing counter-clockwise seen from +Z.
osg::Geode* createRotateDraggerCylinderShellGeode(float outerRadius, float height,
                                                  float wallThickness);

} // namespace RkDraggerUtility

#endif
