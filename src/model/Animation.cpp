#include "model/Animation.h"

#include "model/Resources.h"

#include <QFileInfo>

#include <tbb/parallel_pipeline.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>

namespace velmora {

namespace {

/// Slow in, slow out: the unrolling starts and settles gently.
double easeInOutCubic(double t) {
    return t < 0.5 ? 4.0 * t * t * t : 1.0 - std::pow(-2.0 * t + 2.0, 3.0) / 2.0;
}

/// Frames the pipeline keeps in flight: enough for rendering to overlap encoding on
/// both cores, few enough that memory stays a handful of frames.
constexpr size_t framesInFlight = 3;

} // namespace

std::optional<Motion> motionByName(QStringView name) {
    if (name.compare(QLatin1String("spin"), Qt::CaseInsensitive) == 0)
        return Motion::spin;
    if (name.compare(QLatin1String("intro"), Qt::CaseInsensitive) == 0)
        return Motion::intro;
    return std::nullopt;
}

QString motionName(Motion motion) {
    return motion == Motion::spin ? QStringLiteral("spin") : QStringLiteral("intro");
}

int AnimationSettings::frameCount() const {
    return std::max(1, static_cast<int>(std::lround(durationSeconds * fps)));
}

Look motionFrame(const Look& end, Motion motion, int frame, int frames) {
    Look look = end;
    frames = std::max(frames, 1);
    if (motion == Motion::spin) {
        // A loop: frame `frames` is frame 0 again. The whole turn is divided exactly,
        // so frame 0 is the look itself; past half a turn the angle goes the other way
        // round, as the slider shows it.
        const double turn = 360.0 * (((frame % frames) + frames) % frames) / frames;
        if (turn > 0.0) {
            double rotation = end.value(Setting::rotationDegrees) + turn;
            if (rotation > 180.0)
                rotation -= 360.0;
            look.setValue(Setting::rotationDegrees, rotation);
        }
        return look;
    }
    frame = std::clamp(frame, 0, frames - 1);
    const int unrollFrames = std::max(1, static_cast<int>(std::lround(introShare * (frames - 1))));
    if (frame >= unrollFrames)
        return look;
    const double t = easeInOutCubic(static_cast<double>(frame) / unrollFrames);
    const SettingInfo& zoomInfo = settingInfo(Setting::zoom);
    const double endZoom = end.value(Setting::zoom);
    const double startZoom = std::min(endZoom * introZoomFactor, zoomInfo.maximum);
    const double endConvexity = end.value(Setting::convexity);
    const double startConvexity = std::min(introConvexity, endConvexity);
    // Zoom is a scale: even steps in its logarithm look like even motion.
    look.setValue(Setting::zoom, startZoom * std::pow(endZoom / startZoom, t));
    look.setValue(Setting::convexity, startConvexity + (endConvexity - startConvexity) * t);
    look.selectedPreset.reset();
    return look;
}

AnimationJob makeAnimationJob(const PlanetRenderer& renderer, const render::Image& source,
                              const Look& look, LayerLibrary& library,
                              const AnimationSettings& settings) {
    return {renderer, source, look,
            PlanetRenderer::placedLayers(look.layers, library, settings.side), settings};
}

Status writeAnimation(const AnimationJob& job, const QString& path,
                      render::RenderProgress* progress) {
    const AnimationSettings& s = job.settings;
    const std::optional<render::AnimationFormat> format =
        render::animationFormatForSuffix(QFileInfo(path).suffix());
    if (!format)
        return Failure{
            QStringLiteral("%1: an animation is written as .mp4, .webp or .gif").arg(path)};
    Result<std::unique_ptr<render::AnimationWriter>> writer =
        render::AnimationWriter::open(path, {*format, s.side, s.fps, s.quality}, codecFolder());
    if (!writer)
        return writer.failure();

    const int frames = s.frameCount();
    if (progress) {
        progress->done = 0;
        progress->total = frames;
    }
    // A frame in flight: its number, then its pixels or why there are none.
    struct Frame {
        int index = 0;
        Result<QImage> pixels = Failure{};
    };
    // Written by the last stage only; the first stage learns of a failure by `stop`.
    Status failed;
    std::atomic<bool> stop{false};
    int next = 0;
    const auto cancelled = [progress] {
        return progress && progress->cancelled.load(std::memory_order_relaxed);
    };
    tbb::parallel_pipeline(
        framesInFlight,
        tbb::make_filter<void, std::shared_ptr<Frame>>(
            tbb::filter_mode::serial_in_order,
            [&](tbb::flow_control& control) -> std::shared_ptr<Frame> {
                if (next >= frames || stop.load() || cancelled()) {
                    control.stop();
                    return nullptr;
                }
                auto frame = std::make_shared<Frame>();
                frame->index = next++;
                return frame;
            }) &
            tbb::make_filter<std::shared_ptr<Frame>, std::shared_ptr<Frame>>(
                tbb::filter_mode::parallel,
                [&](std::shared_ptr<Frame> frame) {
                    if (cancelled())
                        return frame;
                    const Look look = motionFrame(job.look, s.motion, frame->index, frames);
                    const Result<render::Image> planet =
                        job.renderer.planet(look, job.source, job.layers, s.side);
                    frame->pixels = planet ? job.renderer.renderPixels(*planet, s.side)
                                           : Result<QImage>(planet.failure());
                    return frame;
                }) &
            tbb::make_filter<std::shared_ptr<Frame>, void>(
                tbb::filter_mode::serial_in_order, [&](const std::shared_ptr<Frame>& frame) {
                    if (!failed || cancelled())
                        return;
                    if (!frame->pixels) {
                        failed = Failure{QStringLiteral("%1: frame %2: %3")
                                             .arg(path)
                                             .arg(frame->index + 1)
                                             .arg(frame->pixels.message())};
                        stop = true;
                        return;
                    }
                    failed = (*writer)->add(*frame->pixels);
                    if (!failed)
                        stop = true;
                    if (progress)
                        progress->done.fetch_add(1, std::memory_order_relaxed);
                }));
    if (!failed)
        return failed;
    if (cancelled())
        return Failure{QStringLiteral("%1: cancelled").arg(path)};
    return (*writer)->finish();
}

} // namespace velmora
