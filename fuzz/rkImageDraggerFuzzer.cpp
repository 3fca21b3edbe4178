// Builds an image dragger from arbitrary input: an image of arbitrary size
// made in memory and written as PNG (or a damaged, empty or missing file),
// arbitrary display sizes D (zero, negative, fractional, huge, NaN),
// offsets, widget sizes and pixel sets, then presses, drags and releases at
// arbitrary window points of a real viewer that looks at the quad.
//
// Checked for every input by the sanitizers: no crash, no undefined
// behaviour (float-to-integer overflow included), no leak. Also checked
// here: a release always stops the repeating calls.
#include "rkImageDragger.h"
#include "rkPrint.h"
#include "rkViewerHarness.h"

#include <QApplication>
#include <QWidget>
#include <fuzzer/FuzzedDataProvider.h>
#include <osg/Notify>
#include <osgDB/WriteFile>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <set>
#include <string>

namespace {

/// Largest image side made: big enough for odd sizes, small enough to stay fast.
constexpr int MAX_SIDE = 97;
constexpr int MAX_PIXELS_PER_REGION = 64;
constexpr int MAX_REGIONS = 6;
constexpr int MAX_EVENTS = 40;

void fail(const char* what)
{
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
}

std::string scratchPath()
{
    return "/tmp/rkImageDraggerFuzzer-" + std::to_string(getpid()) + ".png";
}

double anyDouble(FuzzedDataProvider& data, double low, double high)
{
    switch (data.ConsumeIntegralInRange(0, 6)) {
    case 0:
        return 0.0;
    case 1:
        return std::numeric_limits<double>::quiet_NaN();
    case 2:
        return (data.ConsumeBool() ? 1.0 : -1.0) * std::numeric_limits<double>::infinity();
    case 3:
        return data.ConsumeFloatingPoint<double>();
    default:
        return data.ConsumeFloatingPointInRange(low, high);
    }
}

/// Writes the image file the dragger will read, or a damaged one.
void writeImageFile(FuzzedDataProvider& data, const std::string& path)
{
    std::remove(path.c_str());
    const int kind = data.ConsumeIntegralInRange(0, 5);
    if (kind == 0)
        return; // missing file
    if (kind == 1) {
        std::ofstream(path, std::ios::binary); // empty file
        return;
    }
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(data.ConsumeIntegralInRange(1, MAX_SIDE),
                         data.ConsumeIntegralInRange(1, MAX_SIDE), 1, GL_RGBA, GL_UNSIGNED_BYTE);
    const unsigned char fill = data.ConsumeIntegral<unsigned char>();
    std::fill(image->data(), image->data() + image->getTotalSizeInBytes(), fill);
    osgDB::writeImageFile(*image, path);
    if (kind == 2) {
        // Truncated somewhere in the file.
        std::ifstream in(path, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        bytes.resize(data.ConsumeIntegralInRange<size_t>(0, bytes.size()));
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    }
}

std::set<unsigned int> pixels(FuzzedDataProvider& data)
{
    std::set<unsigned int> set;
    const int count = data.ConsumeIntegralInRange(0, MAX_PIXELS_PER_REGION);
    for (int i = 0; i < count; ++i)
        set.insert(data.ConsumeBool() ? data.ConsumeIntegralInRange(0u, 10000u)
                                      : data.ConsumeIntegral<unsigned int>());
    return set;
}

osg::Vec2d windowPoint(FuzzedDataProvider& data)
{
    if (data.ConsumeIntegralInRange(0, 4) == 0)
        return osg::Vec2d(data.ConsumeFloatingPointInRange(-1e6, 1e6),
                          data.ConsumeFloatingPointInRange(-1e6, 1e6));
    return osg::Vec2d(data.ConsumeFloatingPointInRange(0.0, 800.0),
                      data.ConsumeFloatingPointInRange(0.0, 600.0));
}

/// The middle of the quad in its parent's coordinates, or the origin when
/// the placement is not finite.
osg::Vec3d quadCentre(double x0, double y0, double size)
{
    const osg::Vec3d centre(x0 - 1.0 + size / 2, y0 + size / 2, -1.0);
    return std::isfinite(centre.length2()) ? centre : osg::Vec3d(0.0, 0.0, -1.0);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication* application = new QApplication(*argc, *argv);
    (void)application;
    // OSG reports every unreadable file and every context-less viewer; the
    // run's log should show the fuzzer's own findings.
    osg::setNotifyLevel(osg::FATAL);
    Rk::Print::instance().setStream(nullptr); // one line per press: keep the log readable
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    const std::string path = scratchPath();
    writeImageFile(data, path);

    QWidget widget;
    widget.resize(data.ConsumeIntegralInRange(0, 2000), data.ConsumeIntegralInRange(0, 2000));
    const double x0 = anyDouble(data, -50.0, 50.0);
    const double y0 = anyDouble(data, -50.0, 50.0);
    const double displaySize = anyDouble(data, -5.0, 300.0);

    RkTest::ViewerHarness view;
    osg::ref_ptr<RkImageDragger> dragger =
        new RkImageDragger(data.ConsumeBool() ? &widget : nullptr, path, x0, y0, displaySize);
    view.root()->addChild(dragger->getTransformedNode().get());
    dragger->setHandleEvents(true);
    const osg::Vec3d centre = quadCentre(x0, y0, displaySize);
    const double distance = std::isfinite(displaySize) && std::fabs(displaySize) > 1e-3
                                ? std::min(std::fabs(displaySize) * 2.0, 1e5)
                                : 5.0;
    view.lookAt(centre + osg::Vec3d(0.0, 0.0, distance), centre, osg::Vec3d(0.0, 1.0, 0.0));

    const int regions = data.ConsumeIntegralInRange(0, MAX_REGIONS);
    for (int i = 0; i < regions; ++i)
        dragger->addRegion(pixels(data), [] {});

    for (int i = 0; i < MAX_EVENTS && data.remaining_bytes() > 0; ++i) {
        switch (data.ConsumeIntegralInRange(0, 3)) {
        case 0:
            view.press(windowPoint(data));
            break;
        case 1:
            view.drag(windowPoint(data));
            break;
        case 2:
            view.release(windowPoint(data));
            if (dragger->isRepeating())
                fail("the repeating calls outlived the release");
            break;
        default:
            view.frame();
            break;
        }
    }
    view.root()->removeChildren(0, view.root()->getNumChildren());
    std::remove(path.c_str());
    return 0;
}
