#include "rkFollowAgreement.h"

#include "rkFinite.h"
#include "rkRenderTypes.h"

#include <cmath>

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

bool FollowAgreement::knownApart(const osg::Matrixd& dragger, const osg::Matrixd& receiver,
                                 double tolerance)
{
    const osg::Vec3d draggerTrans = dragger.getTrans();
    const osg::Vec3d receiverTrans = receiver.getTrans();
    for (int axis = 0; axis < 3; ++axis)
        if (std::fabs(draggerTrans[axis] - receiverTrans[axis]) > tolerance)
            return true;
    return false;
}

bool FollowAgreement::posesAgree(const osg::Matrixd& draggerPose, const osg::Matrixd& receiver,
                                 double tolerance)
{
    RkCoordinateSystemTransformation dragger;
    RkCoordinateSystemTransformation host;
    RkRenderTypes::osg2rk(draggerPose, dragger);
    RkRenderTypes::osg2rk(receiver, host);
    return dragger.approxEq(host, tolerance);
}

} // namespace Rk
