#include "BenchSupport.h"

#include "model/ImageDecoding.h"
#include "render/RenderContext.h"

#include <QFile>
#include <QImageReader>

#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
#include <string>

namespace velmora::bench {

QString resources() {
    // Another kernel build can be measured against this one by pointing here.
    const QString chosen = qEnvironmentVariable("VELMORA_RESOURCES");
    return chosen.isEmpty() ? QStringLiteral(VELMORA_BENCH_RESOURCES) : chosen;
}

QImage samplePicture() {
    QImageReader reader(resources() + QStringLiteral("/samples/panorama.jpg"));
    QImageReader::setAllocationLimit(0);
    return reader.read();
}

std::unique_ptr<PlanetModel> modelWithSample() {
    const QImage picture = samplePicture();
    if (picture.isNull())
        return nullptr;
    Result<PlanetRenderer> renderer = PlanetRenderer::load(resources());
    if (!renderer)
        return nullptr;
    auto model = std::make_unique<PlanetModel>(std::move(renderer).value(), resources());
    model->loadImage(render::Image::fromQImage(picture), QStringLiteral("panorama"));
    return model;
}

void addLayers(PlanetModel& model, int count) {
    const QList<LayerAsset>& assets = model.library().assets();
    for (int i = 0; i < count && !assets.isEmpty(); ++i) {
        const double angle = i * 2.399963; // golden angle: spread without overlap
        const double r = 0.12 + 0.3 * std::sqrt((i + 0.5) / count);
        model.addLayer(assets[i % assets.size()].id,
                       {0.5 + r * std::cos(angle), 0.5 + r * std::sin(angle)});
        model.setSelectedBlendMode(allLayerBlendModes[static_cast<size_t>(i % 3)]);
        model.rotateSelected(i * 23.0);
    }
}

namespace {

long statusKiB(const char* key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key, 0) == 0)
            return std::stol(line.substr(std::string(key).size()));
    }
    return -1;
}

} // namespace

long peakResidentKiB() {
    return statusKiB("VmHWM:");
}

long currentResidentKiB() {
    return statusKiB("VmRSS:");
}

void resetPeakResident() {
    // Writing 5 resets the peak to the current size (Linux 4.0 and later).
    std::ofstream("/proc/self/clear_refs") << "5";
}

} // namespace velmora::bench

using namespace velmora;

namespace {

/// The sample at the preset the benchmark's first argument names (-1: the defaults),
/// labelled; null, with the benchmark skipped, without a sample.
std::unique_ptr<PlanetModel> sampleAtPreset(benchmark::State& state) {
    std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return nullptr;
    }
    const auto preset = state.range(0);
    if (preset >= 0)
        model->applyPreset(allPresets[static_cast<size_t>(preset)]);
    state.SetLabel(preset >= 0 ? presetTitle(allPresets[static_cast<size_t>(preset)]).toStdString()
                               : "defaults");
    return model;
}

} // namespace

// The preview the sliders wait for: 1100 x 1100 from the 8000 x 4000 sample, at the
// defaults (-1) and at each preset, a projection setting changing each time as a
// projection slider would.
static void previewRender(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = sampleAtPreset(state);
    if (!model)
        return;
    bool up = false;
    const double rotation = model->setting(Setting::rotationDegrees);
    for (auto _ : state)
        model->setSetting(Setting::rotationDegrees, rotation + ((up = !up) ? 1.0 : 0.0));
}
BENCHMARK(previewRender)
    ->DenseRange(-1, 4)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(2.0);

// A change of the grade alone (the Gamma slider) at the defaults and each preset: the
// preview keeps its projection, so only the grade and the 8-bit store run. Set
// against previewRender, which projects every time.
static void previewGradeStep(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = sampleAtPreset(state);
    if (!model)
        return;
    bool up = false;
    for (auto _ : state)
        model->setSetting(Setting::gamma, (up = !up) ? 1.2 : 1.0);
}
BENCHMARK(previewGradeStep)
    ->DenseRange(-1, 4)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(2.0);

// The output render of export and copy, into 8-bit straight RGBA, with and without
// ten layers. Reports the memory it needs beyond the picture and the output.
static void outputRender(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    const int side = static_cast<int>(state.range(0));
    bench::addLayers(*model, static_cast<int>(state.range(1)));
    const PlanetRenderer& renderer = model->renderer();
    // The window has decoded placed artwork long before an export: do that here too,
    // so the memory counted is the render's own.
    benchmark::DoNotOptimize(
        renderer.render(model->look(), model->sourceImage(), model->library(), 256).ok());
    long overheadKiB = 0;
    for (auto _ : state) {
        bench::resetPeakResident();
        const long before = bench::currentResidentKiB();
        QImage out =
            renderer.render(model->look(), model->sourceImage(), model->library(), side).value();
        benchmark::DoNotOptimize(out.constBits());
        const long outputKiB = static_cast<long>(out.sizeInBytes() / 1024);
        overheadKiB = std::max(overheadKiB, bench::peakResidentKiB() - before - outputKiB);
    }
    state.counters["overhead_MiB"] = static_cast<double>(overheadKiB) / 1024.0;
}
BENCHMARK(outputRender)
    ->ArgsProduct({{2048, 8192}, {0, 10}})
    ->ArgNames({"side", "layers"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

// Opening the sample: Qt's own JPEG reader beside ours (libjpeg-turbo directly, which
// also reports damage and decodes huge pictures scaled).
static void decodeSample(benchmark::State& state) {
    const QString path = bench::resources() + QStringLiteral("/samples/panorama.jpg");
    const bool ours = state.range(0) == 1;
    for (auto _ : state) {
        if (ours) {
            const Result<render::Image> decoded = decodeImageFile(path);
            benchmark::DoNotOptimize(decoded.ok());
        } else {
            const render::Image decoded = render::Image::fromQImage(bench::samplePicture());
            benchmark::DoNotOptimize(decoded.isEmpty());
        }
    }
}
BENCHMARK(decodeSample)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("ours")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
