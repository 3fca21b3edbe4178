#ifndef RK_FOLLOW_AGREEMENT_H
#define RK_FOLLOW_AGREEMENT_H

#include <osg/Matrixd>
#include <osg/Quat>

namespace Rk {

/// What the frame-time follow can tell without converting both poses: the
/// last inputs for which the dragger's pose and its receiver's pose were
/// found to agree within the tolerance, and translations too far apart to agree.
///
/// The follow's decision is a pure function of three inputs: the dragger's
/// matrix, its alignment rotation and the receiver's matrix. When all three
/// are bit for bit those of a recorded agreement, the answer is again
/// "agree", and the follow can skip both pose conversions and the comparison.
/// Any difference in any bit (a moved dragger, a new alignment, a host write,
/// a NaN with other bits) sends the follow through the full comparison again.
class FollowAgreement
{
public:
    /// True when the inputs equal, bit for bit, those of the last recorded
    /// agreement; false when nothing is recorded.
    bool knownToAgree(const osg::Matrixd& dragger, const osg::Quat& alignment,
                      const osg::Matrixd& receiver) const;
    /// Records that the follow found these inputs in agreement.
    void record(const osg::Matrixd& dragger, const osg::Quat& alignment,
                const osg::Matrixd& receiver);

    /// True when a translation component of `dragger` and `receiver` differs
    /// by more than `tolerance`. Both poses that the follow compares carry
    /// these translations unchanged, and the comparison takes them first
    /// with the same test, so it could only find the poses apart. False for
    /// a NaN component: only the full comparison decides then.
    static bool knownApart(const osg::Matrixd& dragger, const osg::Matrixd& receiver,
                           double tolerance);

    /// The host's own comparison (`RkCoordinateSystemTransformation::approxEq`
    /// after `RkRenderTypes::osg2rk`) of the pose the dragger would write and
    /// the receiver's matrix.
    static bool posesAgree(const osg::Matrixd& draggerPose, const osg::Matrixd& receiver,
                           double tolerance);

private:
    bool m_recorded = false;
    osg::Matrixd m_dragger;
    osg::Quat m_alignment;
    osg::Matrixd m_receiver;
};

} // namespace Rk

#endif
