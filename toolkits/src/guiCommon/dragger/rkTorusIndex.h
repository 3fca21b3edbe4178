#ifndef RK_TORUS_INDEX_H
#define RK_TORUS_INDEX_H

#include "rkPickIndex.h"

#include <osg/Vec2d>
#include <osg/ref_ptr>

#include <vector>

namespace osg {
class Array;
class KdTree;
} // namespace osg

namespace Rk {

/// Finds the few triangles of a ring's pick torus that a segment can meet
/// from where the segment passes round the ring and round the tube, instead
/// of through the torus's KdTree, whose boxes fit its long thin triangles
/// badly.
///
/// The torus lies in its geometry's XY plane about the Z axis, as the
/// rings' builder makes it (`Layout`): for each of `ringSteps` steps of the
/// ring angle a block of `tubeSteps` + 1 vertex pairs, pair j of block i
/// being the points at tube angle j * `angleStep` and ring angles
/// i * `angleStep` and (i + 1) * `angleStep` (angles in radians, tube angle 0
/// on the outer equator); one quad strip runs through all blocks, and a
/// KdTree (the geometry's shape) holds the strip's quads split as the plain
/// test splits them. A pick through the index hands the triangles the
/// segment may meet to OpenSceneGraph's own KdTree test, in the order in
/// which the geometry's KdTree would hand them: the hits are that tree's,
/// bit for bit and in the same order. Every bound it uses is grown by a
/// margin far above the rounding of the vertices and of the test.
///
/// Besides what changes every index's geometry (see `PickIndex`), a geometry
/// that does not have the layout it is attached with is a fault of the
/// caller; `attachTo` checks the counts, and the first pick the tree's
/// triangles (a tree of other triangles leaves every pick to the tree
/// itself), not the vertices' places. The tree is read, once and under a
/// lock, at the first pick that reaches the torus, so that building a ring
/// costs what it did.
class TorusIndex : public PickIndex
{
public:
    struct Layout
    {
        float ringRadius = 0.0f;
        float tubeRadius = 0.0f;
        int ringSteps = 0;
        int tubeSteps = 0;
        float angleStep = 0.0f;
    };

    /// Keeps an index for `torus` as its user data. Returns false, and
    /// leaves the geometry as it is, for geometry that already has user data,
    /// has no KdTree, or whose counts do not match `layout`.
    static bool attachTo(osg::Geometry& torus, const Layout& layout);

    bool intersect(osgUtil::LineSegmentIntersector& intersector,
                   osgUtil::IntersectionVisitor& visitor, osg::Drawable& drawable,
                   const osg::Vec3d& start, const osg::Vec3d& end) const override;

    /// Where the triangles a segment from `start` to `end` may meet stand in
    /// the KdTree's order (for tests: every triangle the segment meets is
    /// among them), sorted; none when the tree has other triangles.
    void candidates(const osg::Vec3d& start, const osg::Vec3d& end,
                    std::vector<unsigned int>& found) const;

private:
    TorusIndex(const osg::Geometry& torus, const Layout& layout, const osg::KdTree& tree);
    /// Reads the tree and the ring's angles at the first call; false when
    /// the tree holds other triangles than the layout's.
    bool ready() const;
    void prepare() override;
    void tabulateSteps();
    bool readTree();

    /// The part of the segment from `start` along `direction`, between
    /// parameters `enter` and `leave`, that lies in ring step `step`'s wedge:
    /// the tube cells it passes.
    void addCellsOf(int step, const osg::Vec3d& start, const osg::Vec3d& direction, double enter,
                    double leave, std::vector<unsigned int>& found) const;
    /// Clips the segment's parameters to the wedge of ring step `step`;
    /// false when nothing of it is left.
    bool clipToWedge(int step, const osg::Vec3d& start, const osg::Vec3d& direction, double& enter,
                     double& leave) const;
    /// The quads of tube cell `cell` of ring step `step`, with the joining
    /// quads beside the outer equator.
    void addQuadsOfCell(int step, int cell, std::vector<unsigned int>& found) const;
    void addQuad(int quad, std::vector<unsigned int>& found) const;

    /// Whether the tree holds the layout's triangles (known once prepared).
    bool m_usable = false;
    Layout m_layout;
    osg::ref_ptr<const osg::KdTree> m_tree;
    osg::ref_ptr<osg::Array> m_vertexArray;
    /// Where each triangle stands in the tree's order (none: never tested),
    /// and where the tree keeps the triangle at each place.
    std::vector<unsigned int> m_placeOf;
    std::vector<unsigned int> m_entryAt;
    /// Bounds of the strip, grown by the margin.
    double m_margin = 0.0;
    double m_zReach = 0.0;
    double m_axisInner = 0.0;
    double m_axisOuter = 0.0;
    double m_tubeInner = 0.0;
    double m_tubeOuter = 0.0;
    double m_halfStepCos = 1.0;
    /// Cosine and sine of the ring angle at each step's start (and the
    /// last one's end), and of each step's middle divided by the cosine of
    /// half a step.
    std::vector<osg::Vec2d> m_stepEdges;
    std::vector<osg::Vec2d> m_stepRadials;
};

} // namespace Rk

#endif
