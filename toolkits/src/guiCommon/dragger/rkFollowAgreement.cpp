#include "rkFollowAgreement.h"

#include <cstring>

namespace Rk {

namespace {

// Bitwise, not ==: the decision is only known for exactly the same bits
// (0.0 and -0.0 compare equal but are different inputs; NaN never compares
// equal, which would merely cost a full comparison).
bool sameBits(const osg::Matrixd& a, const osg::Matrixd& b)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are the point
    return std::memcmp(a.ptr(), b.ptr(), sizeof(osg::Matrixd::value_type) * 16) == 0;
}

bool sameBits(const osg::Quat& a, const osg::Quat& b)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are the point
    return std::memcmp(a._v, b._v, sizeof(a._v)) == 0;
}

} // namespace

bool FollowAgreement::knownToAgree(const osg::Matrixd& dragger, const osg::Quat& alignment,
                                   const osg::Matrixd& receiver) const
{
    return m_recorded && sameBits(receiver, m_receiver) && sameBits(dragger, m_dragger) &&
           sameBits(alignment, m_alignment);
}

void FollowAgreement::record(const osg::Matrixd& dragger, const osg::Quat& alignment,
                             const osg::Matrixd& receiver)
{
    m_dragger = dragger;
    m_alignment = alignment;
    m_receiver = receiver;
    m_recorded = true;
}

} // namespace Rk
