#ifndef RK_IMAGE_TEST_SUPPORT_H
#define RK_IMAGE_TEST_SUPPORT_H

// Helpers shared by the image dragger's tests: image files written at test
// time, a capture of the print facility, and a log of region calls.

#include "rkPrint.h"

#include <QFile>
#include <QTemporaryDir>
#include <boost/function.hpp>
#include <gtest/gtest.h>
#include <osg/Image>
#include <osgDB/WriteFile>

#include <iostream>
#include <sstream>
#include <string>

namespace RkImageTest {

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

} // namespace RkImageTest

#endif
