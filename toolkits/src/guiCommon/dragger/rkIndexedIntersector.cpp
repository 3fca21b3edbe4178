#include "rkIndexedIntersector.h"

#include "rkFinite.h"
#include "rkPickIndex.h"

#include <osgUtil/IntersectionVisitor>

#include <array>
#include <cstdint>
#include <cstring>

namespace Rk {

namespace {

// Remembered inverses per thread: enough for the transforms of a few gizmos.
const std::size_t kRememberedInverses = 32;

/// The inverse of the chain of matrices that takes a clone's segment into
/// the node it enters (`osgUtil::LineSegmentIntersector::getTransformation`),
/// remembered per thread for the chains met lately. Between two pointer
/// events neither the camera nor the transforms of the scene usually move,
/// so every clone of the next pick meets a chain of the last one. The
/// inverse is a function of the matrices alone, looked up by their bits:
/// the segment is the plain intersector's, bit for bit.
class ChainInverses
{
public:
    const osg::Matrixd& of(osgUtil::IntersectionVisitor& visitor,
                           osgUtil::Intersector::CoordinateFrame frame)
    {
        const osg::Matrixd* chain[kLinks] = {visitor.getWindowMatrix(),
                                             visitor.getProjectionMatrix(), visitor.getViewMatrix(),
                                             visitor.getModelMatrix()};
        Entry& entry = m_entries[slotOf(chain[kLinks - 1])];
        if (entry.matches(frame, chain))
            return entry.inverse;
        entry.frame = frame;
        for (std::size_t link = 0; link < kLinks; ++link) {
            entry.present[link] = chain[link] != nullptr;
            if (chain[link])
                entry.links[link] = *chain[link];
        }
        entry.inverse = osgUtil::LineSegmentIntersector::getTransformation(visitor, frame);
        return entry.inverse;
    }

private:
    static const std::size_t kLinks = 4;

    struct Entry
    {
        int frame = -1;
        bool present[kLinks] = {};
        osg::Matrixd links[kLinks];
        osg::Matrixd inverse;

        bool matches(int otherFrame, const osg::Matrixd* const chain[kLinks]) const
        {
            if (otherFrame != frame)
                return false;
            for (std::size_t link = 0; link < kLinks; ++link)
                if ((chain[link] != nullptr) != present[link] ||
                    (chain[link] && !sameBits(*chain[link], links[link])))
                    return false;
            return true;
        }
    };

    /// Picked by all of the model matrix: the handles of a gizmo share
    /// their origin and differ in their turn.
    static std::size_t slotOf(const osg::Matrixd* model)
    {
        if (!model)
            return 0;
        std::uint64_t words[16];
        std::memcpy(words, model->ptr(), sizeof words);
        std::uint64_t mixed = 0;
        for (std::size_t index = 0; index < 16; ++index)
            mixed += words[index] * (2 * index + 1);
        mixed ^= mixed >> 29;
        return std::size_t((mixed * 0x9E3779B97F4A7C15ull) >> 58) % kRememberedInverses;
    }

    std::array<Entry, kRememberedInverses> m_entries;
};

ChainInverses& chainInverses()
{
    thread_local ChainInverses inverses;
    return inverses;
}

} // namespace

IndexedIntersector::IndexedIntersector(CoordinateFrame frame, double x, double y)
    : LineSegmentIntersector(frame, x, y)
{
}

IndexedIntersector::IndexedIntersector(const osg::Vec3d& start, const osg::Vec3d& end)
    : LineSegmentIntersector(start, end)
{
}

IndexedIntersector::IndexedIntersector(const osg::Vec3d& start, const osg::Vec3d& end,
                                       IndexedIntersector& root)
    : LineSegmentIntersector(start, end)
{
    _parent = &root;
    setIntersectionLimit(root.getIntersectionLimit());
    setPrecisionHint(root.getPrecisionHint());
}

void IndexedIntersector::cloneSegment(osgUtil::IntersectionVisitor& visitor, osg::Vec3d& start,
                                      osg::Vec3d& end) const
{
    // The segment taken into the frame of the node being entered, exactly as
    // the plain intersector's clone takes it.
    start = getStart();
    end = getEnd();
    if (getCoordinateFrame() == MODEL && visitor.getModelMatrix() == nullptr)
        return;
    const osg::Matrixd& toLocal = chainInverses().of(visitor, getCoordinateFrame());
    start = start * toLocal;
    end = end * toLocal;
}

osgUtil::Intersector* IndexedIntersector::clone(osgUtil::IntersectionVisitor& visitor)
{
    osg::Vec3d start;
    osg::Vec3d end;
    cloneSegment(visitor, start, end);
    return new IndexedIntersector(start, end, *this);
}

void IndexedIntersector::intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable,
                                   const osg::Vec3d& start, const osg::Vec3d& end)
{
    const PickIndex* index =
        drawable && getIntersectionLimit() == NO_LIMIT ? PickIndex::of(*drawable) : nullptr;
    if (!index || !index->intersect(*this, visitor, *drawable, start, end))
        LineSegmentIntersector::intersect(visitor, drawable, start, end);
}

} // namespace Rk
