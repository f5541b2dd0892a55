#pragma once

#include "model/Look.h"
#include "model/PlanetRenderer.h"
#include "render/AnimationWriter.h"
#include "render/Image.h"
#include "render/RenderContext.h"
#include "render/Result.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace velmora {

/// How the look moves over an animation. The look being edited is the end point.
enum class Motion {
    /// The planet turns once clockwise: the rotation goes 360 degrees over the
    /// duration, and the frame after the last would be the first, so it loops.
    spin,
    /// The planet unrolls from a close, flattened view of its centre: zoom and
    /// convexity ease in over the first introShare of the duration, then it holds.
    intro,
};

std::optional<Motion> motionByName(QStringView name);
QString motionName(Motion motion);

/// An animation's timing and frames; the format comes from the file's suffix.
struct AnimationSettings {
    static constexpr double minDuration = 0.5;
    static constexpr double maxDuration = 60.0;
    static constexpr int maxFps = 60;

    Motion motion = Motion::spin;
    int side = 1080;
    double durationSeconds = 6.0;
    int fps = 30;
    /// MP4's rate factor and WebP's quality, 1 to 100.
    int quality = 80;

    /// Frames in all: the duration at the rate, at least one.
    int frameCount() const;
};

/// The share of an intro spent unrolling; the rest holds the finished planet.
inline constexpr double introShare = 0.7;
/// How much closer than the end look an intro starts, and how flat.
inline constexpr double introZoomFactor = 6.0;
inline constexpr double introConvexity = -0.5;

/// The look of `frame` (0 to frames - 1) of a motion that ends at `end`. Frame 0 of a
/// spin is `end` itself and its frame numbers wrap round; an intro's are clamped and
/// its last frame is `end` exactly. Layers stay as they are placed.
Look motionFrame(const Look& end, Motion motion, int frame, int frames);

/// Everything an animation reads, taken on the thread that owns the layer library:
/// the frames are then rendered on any thread.
struct AnimationJob {
    PlanetRenderer renderer;
    render::Image source;
    Look look;
    PlanetRenderer::LayerStack layers;
    AnimationSettings settings;
};

AnimationJob makeAnimationJob(const PlanetRenderer& renderer, const render::Image& source,
                              const Look& look, LayerLibrary& library,
                              const AnimationSettings& settings);

/// Renders every frame and writes the animation to `path` in the format its suffix
/// names (mp4, webp, gif). Frames render in parallel (a few in flight) while the
/// encoder takes them in order. `progress` counts frames; setting its `cancelled`
/// stops between frames. Written atomically: a failure or a cancel leaves no file and
/// any existing one intact. Messages name the file.
Status writeAnimation(const AnimationJob& job, const QString& path,
                      render::RenderProgress* progress = nullptr);

} // namespace velmora
