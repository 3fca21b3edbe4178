// The librkDragger demo: a robot arm's end effector moved with a frame
// dragger, a pose dialog and a jog panel.

#include "rkDemoMainWindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QStringList>
#include <QTextStream>

#include <osg/Notify>

#include <cstdio>

namespace {

const int kExitUsage = 2;
// Enough time for the window to map and the viewer to draw several frames.
const int kScreenshotSettleMs = 1500;

const char* const kUsage =
    "Usage: rkDraggerDemo [--help] [--screenshot FILE]\n"
    "\n"
    "  --help             show this help and exit\n"
    "  --screenshot FILE  open the window, render a few frames, save a PNG of\n"
    "                     the whole window to FILE and exit\n"
    "\n"
    "In either view (the perspective view or the orthographic top view beside\n"
    "it): drag an arrow with the left button to move the tool along an axis, a\n"
    "ring to turn it; orbit with the left button on empty space, zoom with the\n"
    "wheel or the right button, pan with the middle button. Hold a jog button\n"
    "(lower left) to step the tool; type a pose in the dock; Home returns the\n"
    "tool to its start.\n";

struct Options
{
    bool help = false;
    QString screenshot;
    QString error;
};

Options parse(const QStringList& arguments)
{
    Options options;
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--screenshot") {
            if (i + 1 >= arguments.size()) {
                options.error = "--screenshot needs a file name";
                return options;
            }
            options.screenshot = arguments.at(++i);
        } else {
            options.error = QString("unknown argument '%1'").arg(argument);
            return options;
        }
    }
    return options;
}

QString jogPanelImage()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath("rkJogPanel.png");
}

int saveScreenshot(RkDemoMainWindow& window, const QString& file)
{
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < kScreenshotSettleMs)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    if (!window.grab().save(file, "PNG")) {
        std::fprintf(stderr, "rkDraggerDemo: cannot write %s\n", qPrintable(file));
        return 1;
    }
    std::printf("Screenshot written to %s\n", qPrintable(QFileInfo(file).absoluteFilePath()));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const Options options = parse(arguments);
    if (options.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (!options.error.isEmpty()) {
        std::fprintf(stderr, "rkDraggerDemo: %s\n\n%s", qPrintable(options.error), kUsage);
        return kExitUsage;
    }

    // With two views every node has two paths to a root, and osgManipulator
    // notes at each press that it takes the first; both paths carry the
    // same transforms, so the note is only noise here.
    osg::setNotifyLevel(osg::WARN);
    QApplication application(argc, argv);
    RkDemoMainWindow window(jogPanelImage());
    window.show();
    if (!options.screenshot.isEmpty())
        return saveScreenshot(window, options.screenshot);
    return application.exec();
}
