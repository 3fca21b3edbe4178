#include "rkImageDragger.h"

#include <QWidget>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

osgManipulator::PointerInfo pointerAt(const osg::Vec3d& nearPoint)
{
    osgManipulator::PointerInfo pointer;
    pointer.setNearFarPoints(nearPoint, nearPoint + osg::Vec3d(0.0, 0.0, -1.0));
    return pointer;
}

void expectNear(const osg::Vec3d& actual, const osg::Vec3d& expected)
{
    EXPECT_NEAR(actual.x(), expected.x(), 1e-9);
    EXPECT_NEAR(actual.y(), expected.y(), 1e-9);
    EXPECT_NEAR(actual.z(), expected.z(), 1e-6);
}

const osg::Vec3d kUntouched(-7.0, -7.0, -7.0);

} // namespace

// Each row projects one near point through a projector on a widget of the
// given size (an invalid size: no widget); rows without an expected point
// must give none and leave the point untouched.
TEST(ImageProjector, ProjectsTheNearPointAndDegenerateInputGivesNoPoint)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // World-to-local with w = 1 + x / 4: the near point (4, 3, 0) has w = 2
    // and lands at local (2, 1.5) instead of (4, 3).
    osg::Matrixd perspective;
    perspective(0, 3) = 0.25;
    osg::Matrixd zeroW;
    zeroW(0, 3) = -1.0; // w = 1 - x vanishes at x = 1
    const osg::Matrixd I, P = osg::Matrixd::inverse(perspective);
    const QSize view(800, 600);
    struct Case
    {
        const char* name;
        QSize widget;
        double x0, y0, displaySize;
        osg::Matrixd localToWorld;
        osg::Vec3d nearPoint;
        osg::Vec3d expected; // kUntouched: no point
    };
    const Case cases[] = {
        {"offsets", QSize(400, 200), 2, 3, 50, I, {44, 10, 5}, {8, 192, 9608}},
        {"plain", view, 0, 0, 100, I, {4, 3, 0}, {0, 599, 59900}},
        {"perspective, with divide", view, 0, 0, 100, P, {4, 3, 0}, {-0.5, 599.5, 59949.5}},
        {"left of the image", view, 0, 0, 100, I, {-4, 3, 0}, {-2, 599, 59898}},
        {"negative size", view, 0, 0, -100, I, {4, 3, 0}, {-2, 601, -60102}},
        {"fractional size", view, 0, 0, 0.5, I, {800, 600, 0}, {0, 599, 299.5}},
        {"just above the bound", view, 0, 0, 1e-12, I, {0, 0, 0}, {-1, 600, -1}},
        {"zero size", view, 0, 0, 0, I, {4, 3, 0}, kUntouched},
        {"2D at the bound", view, 0, 0, 0.5e-12, I, {4, 3, 0}, kUntouched},
        {"NaN size", view, 0, 0, nan, I, {4, 3, 0}, kUntouched},
        {"no widget", QSize(), 0, 0, 100, I, {4, 3, 0}, kUntouched},
        {"widget without area", QSize(0, 0), 0, 0, 100, I, {4, 3, 0}, kUntouched},
        {"singular matrix", view, 0, 0, 100, osg::Matrixd::scale(1, 0, 1), {4, 3, 0}, kUntouched},
        {"w is zero", view, 0, 0, 100, osg::Matrixd::inverse(zeroW), {1, 3, 0}, kUntouched},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::unique_ptr<QWidget> widget(c.widget.isValid() ? new QWidget : nullptr);
        if (widget)
            widget->resize(c.widget);
        osg::ref_ptr<RkImageProjector> projector =
            new RkImageProjector(widget.get(), c.x0, c.y0, c.displaySize);
        projector->setLocalToWorld(c.localToWorld);
        osg::Vec3d point = kUntouched;
        EXPECT_EQ(projector->project(pointerAt(c.nearPoint), point), c.expected != kUntouched);
        expectNear(point, c.expected);
    }
}

TEST(ImageProjector, ReadsTheWidgetSizeAtEachProjection)
{
    QWidget view;
    view.resize(800, 600);
    osg::ref_ptr<RkImageProjector> projector = new RkImageProjector(&view, 0.0, 0.0, 100.0);
    osg::Vec3d point;
    ASSERT_TRUE(projector->project(pointerAt(osg::Vec3d(4.0, 3.0, 0.0)), point));
    view.resize(400, 300);
    ASSERT_TRUE(projector->project(pointerAt(osg::Vec3d(4.0, 3.0, 0.0)), point));
    expectNear(point, osg::Vec3d(1.0, 298.0, 29801.0));
}
