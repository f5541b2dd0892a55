#include "BenchSupport.h"

#include "model/DocumentFiles.h"
#include "model/ImageDecoding.h"
#include "render/PngWriter.h"
#include "render/RenderContext.h"
#include "render/SourcePixels.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImageWriter>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>

using namespace velmora;

// The whole export as the Export button runs it: render at the side, encode, write
// atomically to disk. Reports the file's size.
static void exportPng(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    model->setOutputSize(static_cast<int>(state.range(0)));
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("planet.png"));
    // The source's pyramid is built at the first render; build it before counting.
    benchmark::DoNotOptimize(exportPNG(*model, dir.filePath(QStringLiteral("warm.png"))).ok());
    long overheadKiB = 0;
    for (auto _ : state) {
        bench::resetPeakResident();
        const long before = bench::currentResidentKiB();
        const Status exported = exportPNG(*model, path);
        if (!exported)
            state.SkipWithError(exported.message().toStdString().c_str());
        overheadKiB = std::max(overheadKiB, bench::peakResidentKiB() - before);
    }
    state.counters["file_MB"] = static_cast<double>(QFile(path).size()) / 1e6;
    // What the export needs beyond the source and its pyramid: it is rendered strip by
    // strip into the file, so this does not grow with the side.
    state.counters["peak_MiB"] = static_cast<double>(overheadKiB) / 1024.0;
}
BENCHMARK(exportPng)
    ->Arg(2048)
    ->Arg(8192)
    ->Arg(16384)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

// An 8192 export of the sample from the command line, stage by stage: 0 reads and
// decodes the file, 1 builds the pyramid and the seam table, 2 renders, encodes and
// writes (the strips overlap these three), 3 is the whole `velmora render` process,
// start-up and kernel loading included.
static void exportStages(benchmark::State& state) {
    const QString sample = bench::resources() + QStringLiteral("/samples/panorama.jpg");
    const QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("planet.png"));
    const auto stage = state.range(0);
    static constexpr const char* names[] = {"decode", "pyramid", "render and encode", "process"};
    state.SetLabel(names[stage]);
    const Result<render::Image> decoded = decodeImageFile(sample);
    if (!decoded) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    const std::unique_ptr<PlanetModel> model = stage == 2 ? bench::modelWithSample() : nullptr;
    if (model) {
        model->setOutputSize(8192);
        benchmark::DoNotOptimize(exportPNG(*model, out).ok()); // builds the pyramid
    }
    const QString velmora = QCoreApplication::applicationDirPath() + QStringLiteral("/velmora");
    for (auto _ : state) {
        switch (stage) {
        case 0:
            benchmark::DoNotOptimize(decodeImageFile(sample).ok());
            break;
        case 1: {
            const auto pixels = render::SourcePixels::create(decoded->sourcePixels()->image());
            pixels->ensurePyramid();
            break;
        }
        case 2:
            benchmark::DoNotOptimize(exportPNG(*model, out).ok());
            break;
        default:
            if (QProcess::execute(velmora,
                                  {QStringLiteral("render"), sample, QStringLiteral("-o"), out,
                                   QStringLiteral("--size"), QStringLiteral("8192")}) != 0)
                state.SkipWithError("velmora render failed");
            break;
        }
    }
}
BENCHMARK(exportStages)
    ->DenseRange(0, 3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

namespace {

/// One rendered planet, shared by the encoder comparisons.
const QImage& planetPixels(int side) {
    static QImage pixels;
    if (pixels.width() != side) {
        const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
        if (model) {
            pixels = model->renderer()
                         .render(model->look(), model->sourceImage(), model->library(), side)
                         .value();
        }
    }
    return pixels;
}

} // namespace

// Our encoder with each row filter and deflate level, on a 4096 planet: size against time.
static void encodeOurs(benchmark::State& state) {
    const QImage& pixels = planetPixels(4096);
    if (pixels.isNull()) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    render::PngEncoding encoding;
    encoding.filter = static_cast<render::PngEncoding::Filter>(state.range(0));
    encoding.level = static_cast<int>(state.range(1));
    static const char* names[] = {"none", "sub", "up", "average", "paeth", "adaptive"};
    state.SetLabel(names[state.range(0)]);
    qsizetype size = 0;
    for (auto _ : state)
        size = render::encodePng(pixels, encoding).size();
    state.counters["file_MB"] = static_cast<double>(size) / 1e6;
}
BENCHMARK(encodeOurs)
    ->ArgsProduct({{1, 2, 4, 5}, {1, 2, 3}})
    ->ArgNames({"filter", "level"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(2);

// The baseline: Qt's writer, which is libpng with zlib's default level and libpng's
// adaptive filters.
static void encodeZlibDefault(benchmark::State& state) {
    const QImage& pixels = planetPixels(4096);
    if (pixels.isNull()) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    qsizetype size = 0;
    for (auto _ : state) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter(&buffer, "png").write(pixels);
        size = bytes.size();
    }
    state.counters["file_MB"] = static_cast<double>(size) / 1e6;
}
BENCHMARK(encodeZlibDefault)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
