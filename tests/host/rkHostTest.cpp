#include "rkCoordinateSystemTransformation.h"
#include "rkPlugin.h"
#include "rkRenderTypes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

RkOrientation orientationOf(double yaw, double pitch, double roll)
{
    RkOrientation orientation;
    orientation.setFrom321Euler(yaw, pitch, roll);
    return orientation;
}

bool samePose(const RkOrientation& a, const RkOrientation& b, double tolerance)
{
    return RkCoordinateSystemTransformation(RkVector(), a)
        .approxEq(RkCoordinateSystemTransformation(RkVector(), b), tolerance);
}

TEST(Host, EulerAnglesFollowZThenYThenXRoundTripAndGimbalLockPutsTheTurnIntoYaw)
{
    struct Case
    {
        const char* name;
        double yaw, pitch, roll;          // set
        double gotYaw, gotPitch, gotRoll; // read back
    };
    const double lock = M_PI_2, nearLock = M_PI_2 - 1e-4;
    const Case cases[] = {{"identity", 0, 0, 0, 0, 0, 0},
                          {"yaw only", 0.7, 0, 0, 0.7, 0, 0},
                          {"pitch only", 0, -1.2, 0, 0, -1.2, 0},
                          {"roll only", 0, 0, 2.9, 0, 0, 2.9},
                          {"mixed", -2.5, 0.4, -1.1, -2.5, 0.4, -1.1},
                          {"yaw at pi stays pi, not -pi", M_PI, 0.3, 0.2, M_PI, 0.3, 0.2},
                          {"near lock", 1.0, nearLock, 0.5, 1.0, nearLock, 0.5},
                          {"locked up: roll 0, yaw minus roll", 0.3, lock, 0.5, -0.2, lock, 0},
                          {"locked down: roll 0, yaw plus roll", 0.3, -lock, 0.5, 0.8, -lock, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const RkOrientation set = orientationOf(c.yaw, c.pitch, c.roll);
        double yaw = 0, pitch = 0, roll = 1;
        set.get321Euler(yaw, pitch, roll);
        EXPECT_NEAR(yaw, c.gotYaw, 1e-12);
        EXPECT_NEAR(pitch, c.gotPitch, 1e-12);
        EXPECT_NEAR(roll, c.gotRoll, 1e-12);
        EXPECT_TRUE(samePose(orientationOf(yaw, pitch, roll), set, 1e-9));
    }

    // The sequence is Z, then Y, then X: yaw 90 turns X onto Y; roll 90 about
    // that new X (world Y) then turns body Y onto world Z.
    const osg::Quat q = orientationOf(M_PI_2, 0.0, M_PI_2).quat();
    EXPECT_NEAR((q * osg::Vec3d(0, 1, 0) - osg::Vec3d(0, 0, 1)).length(), 0.0, 1e-12);
    EXPECT_NEAR((q * osg::Vec3d(1, 0, 0) - osg::Vec3d(0, 1, 0)).length(), 0.0, 1e-12);
}

TEST(Host, MatrixConversionsRoundTripAndPlaceTheTranslationInTheFourthRow)
{
    const RkOrientation orientation = orientationOf(0.4, -0.2, 1.3);
    const RkCoordinateSystemTransformation pose(RkVector(1, -2, 3), orientation);
    const osg::Matrixd m = RkRenderTypes::rk2osg(pose);
    EXPECT_EQ(m.getTrans(), osg::Vec3d(1, -2, 3));
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
    // A roll of 0.001 changes two rotation elements by about 0.001.
    const RkOrientation rolled = orientationOf(0.0, 0.0, 0.001);
    EXPECT_FALSE(samePose(RkOrientation(), rolled, 1e-4));
    EXPECT_TRUE(samePose(RkOrientation(), rolled, 2e-3));
    EXPECT_FALSE(
        a.approxEq(RkCoordinateSystemTransformation(RkVector(NAN, 1, 1), RkOrientation()), 1e9));
}

TEST(Host, PluginStoresParametersAndLeavesUnsetReadsUntouched)
{
    Rk::PluginGUI plugin;
    EXPECT_TRUE((plugin.param<261u, osg::Matrixd>().isIdentity()));
    osg::Matrixd read = osg::Matrixd::translate(9, 9, 9);
    EXPECT_FALSE((plugin.getParam<14u, osg::Matrixd>(1, 2, read)));
    EXPECT_EQ(read, osg::Matrixd::translate(9, 9, 9));
    EXPECT_TRUE((plugin.setParam<14u, osg::Matrixd>(1, 2, osg::Matrixd::scale(2, 2, 2))));
    EXPECT_TRUE((plugin.getParam<14u, osg::Matrixd>(1, 2, read)));
    EXPECT_EQ(read, osg::Matrixd::scale(2, 2, 2));
}

} // namespace
