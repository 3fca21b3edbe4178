#include "rkImageDragger.h"
#include "rkImageTestSupport.h"
#include "rkViewerHarness.h"

#include <QElapsedTimer>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

#include <cmath>

using namespace RkImageTest;

namespace {

const int INTERVAL = RkImageDragger::REPEAT_INTERVAL_MS;
const int PATIENCE_MS = 3000; // generous: the machine may be busy

/// A 10 x 10 image on a 10 x 10 display grid in a real viewer, seen straight
/// down the Z axis through an orthographic camera. With a 2 x 2 widget the
/// projector's scale 2D / W equals D, so the offsets x0 = -1 and y0 = 2 - D
/// make the projected point (column, row) of the cell under the pointer.
class ImageDraggerInViewer : public ::testing::Test
{
protected:
    static constexpr double SIZE = 10.0;
    static constexpr double X0 = -1.0;
    static constexpr double Y0 = 2.0 - SIZE;

    void SetUp() override
    {
        harness.lookAt(osg::Vec3d(0.0, 0.0, 10.0), osg::Vec3d(), osg::Vec3d(0.0, 1.0, 0.0));
        harness.viewer().getCamera()->setProjectionMatrixAsOrtho(-4.0, 12.0, -9.0, 3.0, 1.0, 100.0);
        view.resize(2, 2);
    }

    void place(const std::string& fileName)
    {
        dragger = new RkImageDragger(&view, fileName, X0, Y0, SIZE);
        placed = dragger->getTransformedNode();
        harness.root()->addChild(placed.get());
        dragger->setHandleEvents(true);
    }

    /// The window point over the cell, near its top left corner: the index
    /// adds py * D before it is truncated, so py's fraction must stay small,
    /// yet clear of the row above by more than a window pixel (0.02 here).
    osg::Vec2d cell(int row, int column) const
    {
        const double px = column + 0.2, py = row + 0.04;
        return harness.project(osg::Vec3d(X0 - 1.0 + px, Y0 + SIZE - py, -1.0));
    }

    bool waitForCalls(std::size_t count)
    {
        return QTest::qWaitFor([&] { return log.calls.size() >= count; }, PATIENCE_MS);
    }

    ImageFiles files;
    RkTest::ViewerHarness harness;
    QWidget view;
    CallLog log;
    PrintCapture print;
    osg::ref_ptr<RkImageDragger> dragger;
    osg::ref_ptr<osg::MatrixTransform> placed;
};

TEST_F(ImageDraggerInViewer, WithoutImageEveryPressPrintsAndMisses)
{
    place(files.truncatedPng("broken.png"));
    dragger->addRegion({0}, log.recorder('A'));
    EXPECT_FALSE(harness.press(cell(0, 0)));
    harness.release(cell(0, 0));
    EXPECT_NE(print.text.str().find("Found point "), std::string::npos);
    QTest::qWait(2 * INTERVAL);
    EXPECT_EQ(log.calls, "");
}

} // namespace

TEST_F(ImageDraggerInViewer, HeldPressRepeatsTheRegionFromOneIntervalOnUntilRelease)
{
    place(files.png("panel.png", 10, 10));
    dragger->addRegion({34}, log.recorder('A'));
    // A release before the first tick calls nothing.
    EXPECT_TRUE(harness.press(cell(3, 4)));
    EXPECT_TRUE(harness.release(cell(3, 4)));
    QTest::qWait(2 * INTERVAL);
    EXPECT_EQ(log.calls, "");

    QElapsedTimer sincePress;
    sincePress.start();
    EXPECT_TRUE(harness.press(cell(3, 4)));
    EXPECT_EQ(log.calls, "");
    ASSERT_TRUE(waitForCalls(1));
    EXPECT_GE(sincePress.elapsed(), INTERVAL / 2);
    ASSERT_TRUE(waitForCalls(3));

    EXPECT_TRUE(harness.release(cell(3, 4)));
    const std::string callsAtRelease = log.calls;
    QTest::qWait(4 * INTERVAL);
    EXPECT_EQ(log.calls, callsAtRelease);
    EXPECT_FALSE(dragger->isRepeating());
}

TEST_F(ImageDraggerInViewer, EveryPressOnTheQuadPrintsItsPointAndFreeCellsMiss)
{
    place(files.png("panel.png", 10, 10));
    dragger->addRegion({0}, log.recorder('A'));

    EXPECT_FALSE(harness.press(cell(7, 2)));
    harness.release(cell(7, 2));
    EXPECT_FALSE(dragger->isRepeating());
    const std::string prefix = "[INFO] virtual bool RkImageDragger::handle(const "
                               "osgManipulator::PointerInfo&, const osgGA::GUIEventAdapter&, "
                               "osgGA::GUIActionAdapter&): Found point ";
    const std::string line = print.text.str();
    ASSERT_EQ(line.compare(0, prefix.size(), prefix), 0) << line;
    ASSERT_EQ(line.back(), '\n');
    std::istringstream numbers(line.substr(prefix.size()));
    double px = 0.0, py = 0.0, index = 0.0;
    ASSERT_TRUE(numbers >> px >> py >> index);
    // Within a window pixel (0.02 display units) of the pressed point.
    EXPECT_NEAR(px, 2.2, 0.03);
    EXPECT_NEAR(py, 7.04, 0.03);
    EXPECT_NEAR(index, px + py * SIZE, 1e-9);
    EXPECT_EQ(std::floor(index), 72.0);

    // A press beside the quad is not picked: the dragger never sees it.
    print.text.str("");
    EXPECT_FALSE(harness.press(harness.project(osg::Vec3d(10.0, 0.0, -1.0))));
    EXPECT_EQ(print.text.str(), "");
}

TEST_F(ImageDraggerInViewer, PressOnAnotherRegionRetargetsDraggingOffKeepsCallingDestructionStops)
{
    place(files.png("panel.png", 10, 10));
    dragger->addRegion({11}, log.recorder('A'));
    dragger->addRegion({88}, log.recorder('B'));

    EXPECT_TRUE(harness.press(cell(1, 1)));
    ASSERT_TRUE(waitForCalls(1));
    EXPECT_FALSE(harness.drag(cell(5, 5)));
    EXPECT_FALSE(harness.press(cell(5, 5)));
    const std::size_t before = log.calls.size();
    ASSERT_TRUE(waitForCalls(before + 1));
    EXPECT_TRUE(dragger->isRepeating());

    EXPECT_TRUE(harness.press(cell(8, 8)));
    const std::size_t switched = log.calls.size();
    ASSERT_TRUE(waitForCalls(switched + 2));

    // Destroyed while repeating, the dragger calls nothing more.
    harness.root()->removeChild(placed.get());
    placed = nullptr;
    dragger = nullptr;
    const std::string callsAtDestruction = log.calls;
    QTest::qWait(4 * INTERVAL);
    EXPECT_EQ(log.calls, callsAtDestruction);

    EXPECT_EQ(log.calls.find('B'), switched) << log.calls;
    EXPECT_EQ(log.calls.find_first_not_of('A'), switched);
    EXPECT_EQ(log.calls.find_first_not_of('B', switched), std::string::npos);
}

TEST_F(ImageDraggerInViewer, RegionWithAnEmptyFunctionClaimsItsCellAndCallsNothing)
{
    place(files.png("panel.png", 10, 10));
    dragger->addRegion({0}, boost::function<void()>());
    dragger->addRegion({0, 1}, log.recorder('B'));
    EXPECT_TRUE(harness.press(cell(0, 0))) << "the empty region keeps its cell";
    QTest::qWait(3 * INTERVAL);
    EXPECT_TRUE(dragger->isRepeating());
    EXPECT_TRUE(harness.release(cell(0, 0)));
    EXPECT_EQ(log.calls, "");
}
