#include "rkCoordinateSystemTransformation.h"
#include "rkPlugin.h"
#include "rkRenderTypes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct EulerCase
{
    const char* name;
    double yaw, pitch, roll;
};

class EulerRoundTrip : public ::testing::TestWithParam<EulerCase>
{
};

TEST_P(EulerRoundTrip, GivesTheSameAnglesBack)
{
    const EulerCase& c = GetParam();
    RkOrientation orientation;
    orientation.setFrom321Euler(c.yaw, c.pitch, c.roll);
    double yaw = 0, pitch = 0, roll = 0;
    orientation.get321Euler(yaw, pitch, roll);
    EXPECT_NEAR(yaw, c.yaw, 1e-12);
    EXPECT_NEAR(pitch, c.pitch, 1e-12);
    EXPECT_NEAR(roll, c.roll, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(
    Host, EulerRoundTrip,
    ::testing::Values(EulerCase{"identity", 0, 0, 0}, EulerCase{"yawOnly", 0.7, 0, 0},
                      EulerCase{"pitchOnly", 0, -1.2, 0}, EulerCase{"rollOnly", 0, 0, 2.9},
                      EulerCase{"mixed", -2.5, 0.4, -1.1}, EulerCase{"yawAtPi", M_PI, 0.3, 0.2},
                      EulerCase{"nearLock", 1.0, M_PI_2 - 1e-4, 0.5}),
    [](const ::testing::TestParamInfo<EulerCase>& info) { return info.param.name; });

TEST(Host, EulerAnglesFollowTheZThenYThenXSequence)
{
    RkOrientation orientation;
    orientation.setFrom321Euler(M_PI_2, 0.0, M_PI_2);
    // Yaw 90 turns X to Y; then roll 90 about the new X (world Y) turns the
    // body Z axis onto world -X... body Y onto world Z.
    const osg::Vec3d bodyY = orientation.quat() * osg::Vec3d(0, 1, 0);
    EXPECT_NEAR((bodyY - osg::Vec3d(0, 0, 1)).length(), 0.0, 1e-12);
    const osg::Vec3d bodyX = orientation.quat() * osg::Vec3d(1, 0, 0);
    EXPECT_NEAR((bodyX - osg::Vec3d(0, 1, 0)).length(), 0.0, 1e-12);
}

TEST(Host, GimbalLockPutsTheWholeTurnIntoYaw)
{
    for (double pitch : {M_PI_2, -M_PI_2}) {
        RkOrientation orientation;
        orientation.setFrom321Euler(0.3, pitch, 0.5);
        double yaw = 0, gotPitch = 0, roll = 1;
        orientation.get321Euler(yaw, gotPitch, roll);
        EXPECT_NEAR(gotPitch, pitch, 1e-6);
        EXPECT_EQ(roll, 0.0);
        RkOrientation back;
        back.setFrom321Euler(yaw, gotPitch, roll);
        const RkVector origin;
        EXPECT_TRUE(RkCoordinateSystemTransformation(origin, back)
                        .approxEq(RkCoordinateSystemTransformation(origin, orientation), 1e-9));
    }
}

TEST(Host, MatrixConversionsRoundTripAndPlaceTheTranslationInTheFourthRow)
{
    RkOrientation orientation;
    orientation.setFrom321Euler(0.4, -0.2, 1.3);
    const RkCoordinateSystemTransformation pose(RkVector(1, -2, 3), orientation);
    const osg::Matrixd m = RkRenderTypes::rk2osg(pose);
    EXPECT_DOUBLE_EQ(m(3, 0), 1.0);
    EXPECT_DOUBLE_EQ(m(3, 1), -2.0);
    EXPECT_DOUBLE_EQ(m(3, 2), 3.0);
    const osg::Vec3d turned = osg::Vec3d(1, 0, 0) * m - m.getTrans();
    EXPECT_NEAR((turned - orientation.quat() * osg::Vec3d(1, 0, 0)).length(), 0.0, 1e-12);

    RkCoordinateSystemTransformation back;
    RkRenderTypes::osg2rk(m, back);
    EXPECT_TRUE(back.approxEq(pose, 1e-12));
}

TEST(Host, ApproxEqHoldsAtTheToleranceAndFailsBeyondIt)
{
    const RkCoordinateSystemTransformation a(RkVector(1, 1, 1), RkOrientation());
    EXPECT_TRUE(a.approxEq(
        RkCoordinateSystemTransformation(RkVector(1, 1, 1.0000999), RkOrientation()), 1e-4));
    EXPECT_FALSE(a.approxEq(
        RkCoordinateSystemTransformation(RkVector(1, 1, 1.0002), RkOrientation()), 1e-4));
    RkOrientation turned;
    turned.setFrom321Euler(0.0, 0.0, 0.001); // ~0.001 in two matrix elements
    EXPECT_FALSE(a.approxEq(RkCoordinateSystemTransformation(RkVector(1, 1, 1), turned), 1e-4));
    EXPECT_TRUE(a.approxEq(RkCoordinateSystemTransformation(RkVector(1, 1, 1), turned), 2e-3));
    const RkCoordinateSystemTransformation nan(RkVector(NAN, 1, 1), RkOrientation());
    EXPECT_FALSE(a.approxEq(nan, 1e9));
}

TEST(Host, PluginStoresParametersAndLeavesUnsetReadsUntouched)
{
    Rk::PluginGUI plugin;
    EXPECT_TRUE((plugin.param<261u, osg::Matrixd>().isIdentity()));
    osg::Matrixd untouched = osg::Matrixd::translate(9, 9, 9);
    EXPECT_FALSE((plugin.getParam<14u, osg::Matrixd>(1, 2, untouched)));
    EXPECT_EQ(untouched, osg::Matrixd::translate(9, 9, 9));
    EXPECT_TRUE((plugin.setParam<14u, osg::Matrixd>(1, 2, osg::Matrixd::scale(2, 2, 2))));
    EXPECT_TRUE((plugin.getParam<14u, osg::Matrixd>(1, 2, untouched)));
    EXPECT_EQ(untouched, osg::Matrixd::scale(2, 2, 2));
}

} // namespace
