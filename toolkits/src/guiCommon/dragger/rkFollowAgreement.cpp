#include "rkFollowAgreement.h"

#include "rkFinite.h"

namespace Rk {

// The decision is only known for exactly the same bits: sameBits, not ==
// (NaN never compares equal, which would merely cost a full comparison).

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
