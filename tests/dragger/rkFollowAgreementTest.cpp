#include "rkFollowAgreement.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using Rk::FollowAgreement;

namespace {

const osg::Matrixd kDragger = osg::Matrixd::translate(1.0, 2.0, 3.0);
const osg::Quat kAlignment(0.25, osg::Z_AXIS);
const osg::Matrixd kReceiver = osg::Matrixd::rotate(0.5, osg::X_AXIS);

} // namespace

TEST(FollowAgreement, AgreesOnlyWithTheLastRecordedInputs)
{
    FollowAgreement agreement;
    EXPECT_FALSE(agreement.knownToAgree(osg::Matrixd(), osg::Quat(), osg::Matrixd()));
    agreement.record(kDragger, kAlignment, kReceiver);
    EXPECT_TRUE(agreement.knownToAgree(kDragger, kAlignment, kReceiver));
    // The smallest possible change of one element of each input in turn.
    osg::Matrixd nudgedDragger = kDragger;
    nudgedDragger(3, 0) = std::nextafter(nudgedDragger(3, 0), 2.0);
    osg::Quat nudgedAlignment = kAlignment;
    nudgedAlignment.w() = std::nextafter(nudgedAlignment.w(), 2.0);
    osg::Matrixd nudgedReceiver = kReceiver;
    nudgedReceiver(1, 2) = std::nextafter(nudgedReceiver(1, 2), 2.0);
    EXPECT_FALSE(agreement.knownToAgree(nudgedDragger, kAlignment, kReceiver));
    EXPECT_FALSE(agreement.knownToAgree(kDragger, nudgedAlignment, kReceiver));
    EXPECT_FALSE(agreement.knownToAgree(kDragger, kAlignment, nudgedReceiver));
    // A later record replaces the earlier one.
    agreement.record(kDragger, kAlignment, nudgedReceiver);
    EXPECT_FALSE(agreement.knownToAgree(kDragger, kAlignment, kReceiver));
}

TEST(FollowAgreement, ComparesBitsNotValues)
{
    FollowAgreement agreement;
    osg::Matrixd withZero = kReceiver;
    withZero(3, 0) = 0.0;
    osg::Matrixd withNegativeZero = kReceiver;
    withNegativeZero(3, 0) = -0.0;
    agreement.record(kDragger, kAlignment, withZero);
    EXPECT_FALSE(agreement.knownToAgree(kDragger, kAlignment, withNegativeZero));

    // The same NaN bits are the same input.
    osg::Matrixd withNaN = kReceiver;
    withNaN(3, 1) = std::numeric_limits<double>::quiet_NaN();
    agreement.record(kDragger, kAlignment, withNaN);
    EXPECT_TRUE(agreement.knownToAgree(kDragger, kAlignment, withNaN));
}
