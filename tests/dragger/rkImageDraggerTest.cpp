// The image dragger, its projector and its callback: the quad and its state,
// regions and their cells, presses through a real viewer with the held-press
// repeat, the projection of the pointer onto the image, the callback's slot.
#include "rkImageDragger.h"
#include "rkPrint.h"
#include "rkViewerHarness.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMetaMethod>
#include <QMetaObject>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <boost/function.hpp>
#include <gtest/gtest.h>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/Image>
#include <osg/Texture2D>
#include <osgDB/WriteFile>

#include <cmath>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>

namespace {

// Image files written at test time, a capture of the print facility, and a
// log of region calls.
class ImageFiles
{
public:
    std::string png(const char* name, int width, int height)
    {
        osg::ref_ptr<osg::Image> image = new osg::Image;
        image->allocateImage(width, height, 1, GL_RGBA, GL_UNSIGNED_BYTE);
        std::fill(image->data(), image->data() + image->getTotalSizeInBytes(), 0x80);
        const std::string path = pathOf(name);
        EXPECT_TRUE(osgDB::writeImageFile(*image, path)) << path;
        return path;
    }
    std::string truncatedPng(const char* name)
    {
        const std::string path = png(name, 64, 64);
        QFile file(QString::fromStdString(path));
        EXPECT_TRUE(file.resize(file.size() / 2));
        return path;
    }
    std::string file(const char* name, const QByteArray& content)
    {
        const std::string path = pathOf(name);
        QFile out(QString::fromStdString(path));
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
        return path;
    }
    std::string pathOf(const char* name) const { return m_dir.filePath(name).toStdString(); }

private:
    QTemporaryDir m_dir;
};

/// Sends the print facility's lines into a string for the test's lifetime.
struct PrintCapture
{
    std::ostringstream text;
    PrintCapture() { Rk::Print::instance().setStream(&text); }
    ~PrintCapture() { Rk::Print::instance().setStream(&std::cout); }
};

/// Records which region's function ran, in order.
struct CallLog
{
    std::string calls;
    boost::function<void()> recorder(char region)
    {
        return [this, region] { calls += region; };
    }
};

osgManipulator::PointerInfo pointerAt(const osg::Vec3d& nearPoint)
{
    osgManipulator::PointerInfo pointer;
    pointer.setNearFarPoints(nearPoint, nearPoint + osg::Vec3d(0.0, 0.0, -1.0));
    return pointer;
}

const osg::Vec3d kUntouched(-7.0, -7.0, -7.0);

const osg::Geode* quadOf(const RkImageDragger& dragger)
{
    return dragger.getNumChildren() == 1 ? dragger.getChild(0)->asGeode() : nullptr;
}

} // namespace

TEST(ImageDragger, QuadCarriesMaskImageStateSitsOnTheDraggerTransformedNodeScalesThenMoves)
{
    ImageFiles files;
    osg::ref_ptr<RkImageDragger> dragger =
        new RkImageDragger(nullptr, files.png("panel.png", 50, 40), 0.0, 0.0, 100.0);
    ASSERT_NE(dragger->getImage(), nullptr);
    EXPECT_EQ(dragger->getNumChildren(), 0u);
    dragger->setupDefaultGeometry();
    dragger->setupDefaultGeometry();
    const osg::Geode* geode = quadOf(*dragger);
    ASSERT_NE(geode, nullptr);
    EXPECT_EQ(geode->getNodeMask(), 0x480u);
    const osg::Geometry* quad = geode->getDrawable(0)->asGeometry();
    EXPECT_EQ(quad->getTexCoordArray(0), quad->getVertexArray());
    EXPECT_EQ(quad->getPrimitiveSet(0)->getMode(), GLenum(osg::PrimitiveSet::QUADS));

    const osg::StateSet* state = dragger->getStateSet();
    ASSERT_NE(state, nullptr);
    EXPECT_EQ(state->getMode(GL_BLEND), osg::StateAttribute::ON);
    const osg::Texture2D* texture = dynamic_cast<const osg::Texture2D*>(
        state->getTextureAttribute(0, osg::StateAttribute::TEXTURE));
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(texture->getImage(), dragger->getImage());
    EXPECT_FALSE(texture->getResizeNonPowerOfTwoHint());
    EXPECT_EQ(texture->getWrap(osg::Texture::WRAP_S), osg::Texture::CLAMP_TO_BORDER);

    // The transformed node scales the unit quad by the display size, then moves it.
    dragger = new RkImageDragger(nullptr, "", 10.0, 20.0, 100.0);
    osg::ref_ptr<osg::MatrixTransform> placed = dragger->getTransformedNode();
    EXPECT_EQ(dragger->getNumChildren(), 1u);
    ASSERT_EQ(placed->getNumChildren(), 1u);
    EXPECT_EQ(placed->getChild(0), dragger.get());
    const osg::Matrixd& placement = placed->getMatrix();
    EXPECT_EQ(osg::Vec3d(0.0, 0.0, 0.0) * placement, osg::Vec3d(9.0, 20.0, -1.0));
    EXPECT_EQ(osg::Vec3d(1.0, 1.0, 0.0) * placement, osg::Vec3d(109.0, 120.0, -1.0));

    osg::ref_ptr<osg::MatrixTransform> again = dragger->getTransformedNode();
    EXPECT_NE(again, placed);
    EXPECT_EQ(dragger->getNumParents(), 2u);
    EXPECT_EQ(dragger->getNumChildren(), 1u);
}

TEST(ImageDragger, MissingOrDamagedFilesGiveAPlainQuadThatIgnoresRegions)
{
    ImageFiles files;
    const std::string paths[] = {
        files.pathOf("missing.png"),
        files.file("empty.png", QByteArray()),
        files.file("text.png", QByteArray("not an image at all")),
        files.truncatedPng("truncated.png"),
    };
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        osg::ref_ptr<RkImageDragger> dragger = new RkImageDragger(nullptr, path, 0.0, 0.0, 10.0);
        EXPECT_EQ(dragger->getImage(), nullptr);
        EXPECT_EQ(dragger->getProjector()->getImageWidth(), 0);
        dragger->setupDefaultGeometry();
        ASSERT_NE(quadOf(*dragger), nullptr);
        EXPECT_EQ(quadOf(*dragger)->getNodeMask(), 0x480u);
        EXPECT_EQ(dragger->getStateSet(), nullptr);
        dragger->addRegion({0, 1, 2}, [] {});
        EXPECT_TRUE(dragger->getRegions().empty());
    }
}

// Each row adds one region to a fresh dragger on an image of the given size
// and display size, and lists the cell keys the region claims.
TEST(ImageDragger, PixelsClaimTheCellsTheyFallInAndOddDisplaySizesNeverCrash)
{
    ImageFiles files;
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::set<unsigned int> odd = {0, 11, 99, 100, 5000, 4294967295u};
    struct Case
    {
        const char* name;
        int width, height;
        double displaySize;
        std::set<unsigned int> pixels, keys;
    };
    const Case cases[] = {
        {"finer grid: pixel 51 is cell (1, 1)", 50, 50, 100.0, {0, 51}, {0, 202}},
        {"coarser grid: five pixels to a cell", 50, 50, 10.0, {0, 1, 2, 3, 4, 5, 50}, {0, 1}},
        {"wider grid leaves every odd column free", 100, 10, 200.0, {0, 1, 2, 99}, {0, 2, 4, 198}},
        {"no pixels", 50, 50, 100.0, {}, {}},
        {"zero", 10, 10, 0.0, odd, {0}},
        // 0.25 cells a pixel, rows of 2: pixel 99 is cell (2, 2), pixel 100
        // (past the image's end) cell (2, 0).
        {"fractional", 10, 10, 2.5, odd, {0, 4, 6, 250, 214748365}},
        // Negative cells wrap modulo 2^32, and so does the negative row length.
        {"negative", 10, 10, -10.0, odd, {0, 9, 81, 100, 5000, 4294967285u}},
        {"infinite", 10, 10, inf, odd, {}},
        {"NaN", 10, 10, nan, odd, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string name = std::to_string(c.width) + "x" + std::to_string(c.height) + ".png";
        const std::string image = files.png(name.c_str(), c.width, c.height);
        osg::ref_ptr<RkImageDragger> dragger =
            new RkImageDragger(nullptr, image, 0.0, 0.0, c.displaySize);
        dragger->addRegion(c.pixels, [] {});
        std::set<unsigned int> keys;
        for (const auto& cell : dragger->getRegions())
            keys.insert(cell.first);
        EXPECT_EQ(keys, c.keys);
    }

    // The first claim of a cell wins.
    osg::ref_ptr<RkImageDragger> claimed =
        new RkImageDragger(nullptr, files.png("square.png", 50, 50), 0.0, 0.0, 100.0);
    CallLog log;
    claimed->addRegion({51}, log.recorder('A'));
    claimed->addRegion({51, 52}, log.recorder('B'));
    ASSERT_EQ(claimed->getRegions().size(), 2u);
    claimed->getRegions().at(202)();
    claimed->getRegions().at(204)();
    EXPECT_EQ(log.calls, "AB");
}

TEST(ImageDragger, HandlesPressReleaseAndDragWithoutAViewer)
{
    using Event = osgGA::GUIEventAdapter;
    ImageFiles files;
    const std::string image = files.png("square.png", 50, 50);
    QWidget view;
    view.resize(400, 200);
    // With this widget and these offsets the near point (44, 390, 0) is
    // column 8 of row 2, which pixel 2 * 50 + 8 claims in a 50 x 50 grid.
    osg::ref_ptr<RkImageDragger> dragger = new RkImageDragger(&view, image, 2.0, 3.0, 50.0);
    dragger->addRegion({108}, [] {});
    const osgManipulator::PointerInfo pointer = pointerAt(osg::Vec3d(44.0, 390.0, 0.0));
    RkTest::StubActions actions;
    PrintCapture print;
    auto send = [&](Event::EventType type) {
        osg::ref_ptr<Event> event = new Event;
        event->setEventType(type);
        return dragger->handle(pointer, *event, actions);
    };

    EXPECT_FALSE(send(Event::DRAG));
    EXPECT_TRUE(send(Event::RELEASE));
    EXPECT_TRUE(print.text.str().empty());

    EXPECT_TRUE(send(Event::PUSH));
    EXPECT_EQ(actions.redraws, 1);
    EXPECT_TRUE(dragger->isRepeating());
    EXPECT_NE(print.text.str().find("Found point 8 2 108\n"), std::string::npos);
    EXPECT_FALSE(send(Event::DRAG));
    EXPECT_FALSE(send(Event::DOUBLECLICK));
    EXPECT_TRUE(dragger->isRepeating());
    EXPECT_TRUE(send(Event::RELEASE));
    EXPECT_FALSE(dragger->isRepeating());
}

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

TEST_F(ImageDraggerInViewer, HeldPressRepeatsFromOneIntervalOnUntilReleaseAndFollowsEveryPress)
{
    place(files.png("panel.png", 10, 10));
    dragger->addRegion({34}, log.recorder('C'));
    dragger->addRegion({11}, log.recorder('A'));
    dragger->addRegion({88}, log.recorder('B'));
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

    // A press on another region retargets the calls, dragging off keeps them
    // going, destruction stops them.
    log.calls.clear();
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

    EXPECT_EQ(log.calls.find_first_not_of('A'), switched) << log.calls;
    EXPECT_EQ(log.calls.find_first_not_of('B', switched), std::string::npos);
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

TEST(ImageDraggerCallback, SlotCallsTheAimedFunctionAndNothingWhenAimedAtNothing)
{
    int first = 0, second = 0;
    const boost::function<void()> countFirst = [&first] { ++first; };
    const boost::function<void()> countSecond = [&second] { ++second; };
    const boost::function<void()> empty;
    RkImageDraggerCallback callback;
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    callback.setFunction(&countFirst);
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    callback.setFunction(&countSecond);
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
    callback.setFunction(&empty);
    EXPECT_NO_THROW(callback.callback());

    // Its meta-object, on QObject's, offers that one slot (reached by name above) only.
    const QMetaObject* meta = callback.metaObject();
    EXPECT_EQ(meta->superClass(), &QObject::staticMetaObject);
    ASSERT_EQ(meta->methodCount() - meta->methodOffset(), 1);
    EXPECT_EQ(meta->method(meta->methodOffset()).methodType(), QMetaMethod::Slot);
}

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
        EXPECT_LT((point - c.expected).length(), 1e-6);
    }

    // The widget's size is read at each projection.
    QWidget widget;
    widget.resize(800, 600);
    osg::ref_ptr<RkImageProjector> projector = new RkImageProjector(&widget, 0.0, 0.0, 100.0);
    osg::Vec3d point;
    ASSERT_TRUE(projector->project(pointerAt(osg::Vec3d(4.0, 3.0, 0.0)), point));
    widget.resize(400, 300);
    ASSERT_TRUE(projector->project(pointerAt(osg::Vec3d(4.0, 3.0, 0.0)), point));
    EXPECT_LT((point - osg::Vec3d(1.0, 298.0, 29801.0)).length(), 1e-6);
}
