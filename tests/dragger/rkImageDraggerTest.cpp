#include "rkImageDragger.h"
#include "rkImageTestSupport.h"
#include "rkViewerHarness.h"

#include <QWidget>
#include <gtest/gtest.h>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/Texture2D>

#include <limits>

using namespace RkImageTest;

namespace {

const osg::Geode* quadOf(const RkImageDragger& dragger)
{
    return dragger.getNumChildren() == 1 ? dragger.getChild(0)->asGeode() : nullptr;
}

} // namespace

TEST(ImageDragger, QuadCarriesMaskAndTheImageStateSitsOnTheDragger)
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

TEST(ImageDragger, TransformedNodeScalesThenMovesTheQuadAndAddsAParentEachCall)
{
    osg::ref_ptr<RkImageDragger> dragger = new RkImageDragger(nullptr, "", 10.0, 20.0, 100.0);
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

// Each row adds one region to a fresh dragger on an image of the given size
// and display size, and lists the cell keys the region claims.
TEST(ImageDragger, PixelsClaimTheCellsTheyFallInAndOddDisplaySizesNeverCrash)
{
    ImageFiles files;
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::set<unsigned int> odd = {0, 11, 99, 100, 5000, 4294967295u};
    std::set<unsigned int> firstRow, evenCells;
    for (unsigned int column = 0; column < 100; ++column) {
        firstRow.insert(column);
        evenCells.insert(2 * column);
    }
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
        {"wider grid leaves every odd column free", 100, 10, 200.0, firstRow, evenCells},
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
}

TEST(ImageDragger, FirstClaimOfACellWins)
{
    ImageFiles files;
    osg::ref_ptr<RkImageDragger> dragger =
        new RkImageDragger(nullptr, files.png("square.png", 50, 50), 0.0, 0.0, 100.0);
    CallLog log;
    dragger->addRegion({51}, log.recorder('A'));
    dragger->addRegion({51, 52}, log.recorder('B'));
    ASSERT_EQ(dragger->getRegions().size(), 2u);
    dragger->getRegions().at(202)();
    dragger->getRegions().at(204)();
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
    osgManipulator::PointerInfo pointer;
    pointer.setNearFarPoints(osg::Vec3d(44.0, 390.0, 0.0), osg::Vec3d(44.0, 390.0, -1.0));
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
