#include "BenchSupport.h"

#include "model/Animation.h"
#include "model/Resources.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <vector>

using namespace velmora;

namespace {

AnimationSettings spinAt1080() {
    AnimationSettings settings;
    settings.side = 1080;
    settings.durationSeconds = 6.0;
    settings.fps = 30;
    return settings;
}

} // namespace

// The whole animation as `velmora animate` and Export Animation run it: 180 frames of a
// spin rendered and encoded side by side, written to disk. Reports frames a second.
static void animateSpin(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    static const char* const suffixes[] = {"mp4", "webp", "gif"};
    const QString suffix = QLatin1String(suffixes[state.range(0)]);
    state.SetLabel(suffix.toStdString());
    AnimationSettings settings = spinAt1080();
    const AnimationJob job = makeAnimationJob(model->renderer(), model->sourceImage(),
                                              model->look(), model->library(), settings);
    // Builds the source's pyramid before counting.
    benchmark::DoNotOptimize(
        model->renderer().render(model->look(), model->sourceImage(), model->library(), 256));
    const QTemporaryDir dir;
    for (auto _ : state) {
        const Status written =
            writeAnimation(job, dir.filePath(QStringLiteral("spin.") + suffix), nullptr);
        if (!written)
            state.SkipWithError(written.message().toStdString().c_str());
    }
    state.counters["fps"] =
        benchmark::Counter(settings.frameCount(), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(animateSpin)
    ->DenseRange(0, 2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

// The frames alone, rendered one after another with nothing encoding: what the engine
// gives the encoder at most.
static void animationFramesOnly(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    const AnimationSettings settings = spinAt1080();
    const AnimationJob job = makeAnimationJob(model->renderer(), model->sourceImage(),
                                              model->look(), model->library(), settings);
    const int frames = settings.frameCount();
    int frame = 0;
    for (auto _ : state) {
        const Look look = motionFrame(job.look, settings.motion, frame++ % frames, frames);
        const Result<render::Image> planet =
            job.renderer.planet(look, job.source, job.layers, settings.side);
        benchmark::DoNotOptimize(job.renderer.renderPixels(*planet, settings.side));
    }
    state.counters["fps"] = benchmark::Counter(1.0, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(animationFramesOnly)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

// The encoders alone, fed frames rendered beforehand (30 of a spin, round and round):
// what each format costs beside the engine.
static void animationEncodeOnly(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    static const char* const suffixes[] = {"mp4", "webp", "gif"};
    const QString suffix = QLatin1String(suffixes[state.range(0)]);
    state.SetLabel(suffix.toStdString());
    const AnimationSettings settings = spinAt1080();
    const int frames = settings.frameCount();
    std::vector<QImage> rendered;
    for (int i = 0; i < 30; ++i) {
        const Look look = motionFrame(model->look(), Motion::spin, i, frames);
        rendered.push_back(model->renderer()
                               .render(look, model->sourceImage(), model->library(), settings.side)
                               .value());
    }
    const QTemporaryDir dir;
    const auto format = render::animationFormatForSuffix(suffix);
    for (auto _ : state) {
        auto writer = render::AnimationWriter::open(
            dir.filePath(QStringLiteral("e.") + suffix),
            {*format, settings.side, settings.fps, settings.quality}, codecFolder());
        for (int i = 0; i < frames; ++i)
            benchmark::DoNotOptimize((*writer)->add(rendered[static_cast<size_t>(i % 30)]).ok());
        benchmark::DoNotOptimize((*writer)->finish().ok());
    }
    state.counters["fps"] =
        benchmark::Counter(frames, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(animationEncodeOnly)
    ->DenseRange(0, 2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
