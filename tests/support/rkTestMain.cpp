#include <QApplication>
#include <gtest/gtest.h>

// Every test binary runs inside one QApplication, so that widgets, timers and
// signals behave as in a host application. Without a platform chosen by the
// caller it is the offscreen one: no display is needed for plain widgets.
int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
