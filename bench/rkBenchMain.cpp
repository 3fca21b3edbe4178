#include <QApplication>
#include <benchmark/benchmark.h>

// The benchmarks run inside one QApplication, as the library does in a host:
// the dialog benchmark needs widgets, and signals are delivered as there.
// Without a platform chosen by the caller it is the offscreen one.
int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
