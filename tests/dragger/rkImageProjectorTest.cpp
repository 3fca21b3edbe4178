#include "rkImageDragger.h"

#include <QWidget>
#include <gtest/gtest.h>

#include <limits>

namespace {

osgManipulator::PointerInfo pointerAt(const osg::Vec3d& nearPoint)
{
    osgManipulator::PointerInfo pointer;
    pointer.setNearFarPoints(nearPoint, nearPoint + osg::Vec3d(0.0, 0.0, -1.0));
    return pointer;
}

osg::Vec3d projected(RkImageProjector& projector, const osg::Vec3d& nearPoint)
{
    osg::Vec3d point(-7.0, -7.0, -7.0);
    EXPECT_TRUE(projector.project(pointerAt(nearPoint), point));
    return point;
}

void expectNear(const osg::Vec3d& actual, const osg::Vec3d& expected)
{
    EXPECT_NEAR(actual.x(), expected.x(), 1e-9);
    EXPECT_NEAR(actual.y(), expected.y(), 1e-9);
    EXPECT_NEAR(actual.z(), expected.z(), 1e-6);
}

} // namespace

TEST(ImageProjector, ScalesNearPointByTheWidgetSizeAtEachProjectionAndDisplaySize)
{
    QWidget small;
    small.resize(400, 200);
    osg::ref_ptr<RkImageProjector> offset = new RkImageProjector(&small, 2.0, 3.0, 50.0);
    expectNear(projected(*offset, osg::Vec3d(44.0, 10.0, 5.0)), osg::Vec3d(8.0, 192.0, 9608.0));

    QWidget view;
    view.resize(800, 600);
    osg::ref_ptr<RkImageProjector> plain = new RkImageProjector(&view, 0.0, 0.0, 100.0);
    expectNear(projected(*plain, osg::Vec3d(4.0, 3.0, 0.0)), osg::Vec3d(0.0, 599.0, 59900.0));
    view.resize(400, 300);
    expectNear(projected(*plain, osg::Vec3d(4.0, 3.0, 0.0)), osg::Vec3d(1.0, 298.0, 29801.0));
}

TEST(ImageProjector, PerspectiveLocalToWorldIsInvertedInFullWithDivide)
{
    QWidget view;
    view.resize(800, 600);
    osg::ref_ptr<RkImageProjector> projector = new RkImageProjector(&view, 0.0, 0.0, 100.0);
    // World-to-local with w = 1 + x / 4: the near point (4, 3, 0) has w = 2
    // and lands at local (2, 1.5) instead of (4, 3).
    osg::Matrixd worldToLocal;
    worldToLocal(0, 3) = 0.25;
    projector->setLocalToWorld(osg::Matrixd::inverse(worldToLocal));
    expectNear(projected(*projector, osg::Vec3d(4.0, 3.0, 0.0)), osg::Vec3d(-0.5, 599.5, 59949.5));
}

TEST(ImageProjector, ProjectsPointsOffTheImageAndOddDisplaySizes)
{
    QWidget view;
    view.resize(800, 600);
    struct Case
    {
        const char* name;
        double displaySize;
        osg::Vec3d nearPoint;
        osg::Vec3d expected;
    };
    const Case cases[] = {
        {"left of the image", 100.0, osg::Vec3d(-4.0, 3.0, 0.0), osg::Vec3d(-2.0, 599.0, 59898.0)},
        {"negative size", -100.0, osg::Vec3d(4.0, 3.0, 0.0), osg::Vec3d(-2.0, 601.0, -60102.0)},
        {"fractional size", 0.5, osg::Vec3d(800.0, 600.0, 0.0), osg::Vec3d(0.0, 599.0, 299.5)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        osg::ref_ptr<RkImageProjector> projector =
            new RkImageProjector(&view, 0.0, 0.0, c.displaySize);
        expectNear(projected(*projector, c.nearPoint), c.expected);
    }
}

TEST(ImageProjector, DegenerateInputGivesNoPointAndLeavesItUntouched)
{
    QWidget view;
    view.resize(800, 600);
    QWidget empty;
    empty.resize(0, 0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    osg::Matrixd flattening = osg::Matrixd::scale(1.0, 0.0, 1.0);
    osg::Matrixd zeroW;
    zeroW(0, 3) = -1.0; // w = 1 - x vanishes at x = 1
    struct Case
    {
        const char* name;
        QWidget* widget;
        double displaySize;
        osg::Matrixd localToWorld;
        osg::Vec3d nearPoint;
    };
    const Case cases[] = {
        {"zero size", &view, 0.0, osg::Matrixd(), osg::Vec3d(4.0, 3.0, 0.0)},
        {"2D at the bound", &view, 0.5e-12, osg::Matrixd(), osg::Vec3d(4.0, 3.0, 0.0)},
        {"NaN size", &view, nan, osg::Matrixd(), osg::Vec3d(4.0, 3.0, 0.0)},
        {"no widget", nullptr, 100.0, osg::Matrixd(), osg::Vec3d(4.0, 3.0, 0.0)},
        {"widget without area", &empty, 100.0, osg::Matrixd(), osg::Vec3d(4.0, 3.0, 0.0)},
        {"singular matrix", &view, 100.0, flattening, osg::Vec3d(4.0, 3.0, 0.0)},
        {"w is zero", &view, 100.0, osg::Matrixd::inverse(zeroW), osg::Vec3d(1.0, 3.0, 0.0)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        osg::ref_ptr<RkImageProjector> projector =
            new RkImageProjector(c.widget, 0.0, 0.0, c.displaySize);
        projector->setLocalToWorld(c.localToWorld);
        osg::Vec3d point(-7.0, -7.0, -7.0);
        EXPECT_FALSE(projector->project(pointerAt(c.nearPoint), point));
        EXPECT_EQ(point, osg::Vec3d(-7.0, -7.0, -7.0));
    }

    // Just above the bound the division is made.
    osg::ref_ptr<RkImageProjector> tiny = new RkImageProjector(&view, 0.0, 0.0, 1e-12);
    osg::Vec3d point;
    EXPECT_TRUE(tiny->project(pointerAt(osg::Vec3d(4.0, 3.0, 0.0)), point));
}
