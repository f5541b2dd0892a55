#ifdef VELMORA_WITH_GUI
#include <QApplication>
using Application = QApplication;
#else
#include <QGuiApplication>
using Application = QGuiApplication;
#endif

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>

#include <memory>

// Benchmarks run offscreen, with widgets when the build has them (the canvas).
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    Application app(argc, argv);
    // VELMORA_THREADS=1 measures one core alone: steady even on a busy machine, and
    // the two-core figure follows from it.
    std::unique_ptr<tbb::global_control> threads;
    if (const int n = qEnvironmentVariableIntValue("VELMORA_THREADS"); n > 0)
        threads =
            std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism, n);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
