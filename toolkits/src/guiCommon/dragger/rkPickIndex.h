#ifndef RK_PICK_INDEX_H
#define RK_PICK_INDEX_H

#include <osg/Referenced>
#include <osg/Vec3d>
#include <osg/ref_ptr>

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace osg {
class Array;
class Drawable;
class Geometry;
class PrimitiveSet;
class Shape;
} // namespace osg

namespace osgUtil {
class IntersectionVisitor;
class LineSegmentIntersector;
} // namespace osgUtil

namespace Rk {

/// What lets a pick test only the few triangles of a drawable that a segment
/// can meet, kept as the drawable's user data: the same hits as
/// OpenSceneGraph's own test of the whole drawable, bit for bit and in the
/// same order, for less work. `TriangleIndex` serves any geometry,
/// `TorusIndex` the rings' pick torus.
///
/// An index describes its drawable's geometry as it was when it was made:
/// the same vertex array (same object, size and modified count), the same
/// primitive sets (same objects and modified counts) and the same shape. A
/// drawable changed in any of these through OpenSceneGraph's setters or
/// `dirty()` calls is picked the plain way from then on. Read-only once
/// attached; picks through it may run on any thread.
class PickIndex : public osg::Referenced
{
public:
    /// The index of `drawable` when it still describes the drawable's
    /// geometry, else null.
    static const PickIndex* of(const osg::Drawable& drawable);

    /// What `intersector`'s plain test of `drawable` against the segment from
    /// `start` to `end` (in the drawable's coordinates) adds to its hits.
    /// Returns false, having added nothing, for a segment the index cannot
    /// take (not finite); the caller then tests the plain way.
    virtual bool intersect(osgUtil::LineSegmentIntersector& intersector,
                           osgUtil::IntersectionVisitor& visitor, osg::Drawable& drawable,
                           const osg::Vec3d& start, const osg::Vec3d& end) const = 0;

    /// A scratch geometry to stand in for an indexed drawable in
    /// OpenSceneGraph's test: never drawn, so no buffer objects or display
    /// lists may be made for the vertices it shares.
    static osg::ref_ptr<osg::Geometry> newProxy();

protected:
    explicit PickIndex(const osg::Geometry& geometry);

    /// Runs `prepare()` at the first call, once, under a lock: a pick on
    /// another thread meanwhile waits for it. Later calls return at once,
    /// so an index costs nothing until its drawable is first picked.
    void prepareOnce() const
    {
        if (!m_prepared.load(std::memory_order_acquire))
            prepareLocked();
    }
    /// What an index makes from its drawable before its first search.
    virtual void prepare() = 0;

    /// OpenSceneGraph's own test of `proxy` (standing in for `drawable`,
    /// holding the triangles the segment from `start` to `end` may meet)
    /// with `intersector`; the hits it adds then get the drawable, and,
    /// with `primitiveOf`, the primitive index of the drawable's own test in
    /// place of the proxy's. Neither takes part in the hits' order (their
    /// ratio), so they are set in place.
    static void testInstead(osgUtil::LineSegmentIntersector& intersector,
                            osgUtil::IntersectionVisitor& visitor, osg::Geometry& proxy,
                            osg::Drawable& drawable, const osg::Vec3d& start, const osg::Vec3d& end,
                            const std::vector<unsigned int>* primitiveOf = nullptr);

private:
    struct Signature
    {
        const osg::Drawable* drawable = nullptr;
        const osg::Array* vertices = nullptr;
        unsigned int vertexCount = 0;
        unsigned int vertexModified = 0;
        const osg::Shape* shape = nullptr;
        std::vector<std::pair<const osg::PrimitiveSet*, unsigned int>> primitives;

        static Signature of(const osg::Geometry& geometry);
        bool describes(const osg::Geometry& geometry) const;
    };

    void prepareLocked() const;

    Signature m_signature;
    mutable std::atomic<bool> m_prepared{false};
    mutable std::mutex m_preparing;
};

} // namespace Rk

#endif
