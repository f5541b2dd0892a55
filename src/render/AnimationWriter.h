#pragma once

#include "render/Result.h"

#include <QImage>
#include <QString>

#include <memory>
#include <optional>

namespace velmora::render {

/// The containers an animation is written in.
enum class AnimationFormat {
    mp4,  ///< H.264, yuv420p, BT.709, through FFmpeg's libraries
    webp, ///< animated WebP, lossy, through libwebp
    gif,  ///< GIF with a palette per frame (FFmpeg's palettegen and paletteuse)
};

/// The format a file name's suffix asks for (mp4, webp, gif; any case).
std::optional<AnimationFormat> animationFormatForSuffix(const QString& suffix);
QString suffixOf(AnimationFormat format);

/// How frames are encoded: square frames of `side` pixels at `fps` frames a second.
/// `quality` (1 to 100) sets the rate factor of MP4 and the quality of WebP; GIF has
/// its palette and ignores it.
struct AnimationEncoding {
    AnimationFormat format = AnimationFormat::mp4;
    int side = 1080;
    int fps = 30;
    int quality = 80;
};

/// Takes frames one after another and writes them to a file, atomically: the file is
/// written beside its destination and renamed over it only by finish(), so a failed or
/// abandoned writer leaves no partial file and an existing one intact. One thread.
class AnimationWriter {
public:
    /// Opens the encoder for `path`; fails, naming the file, when the encoding is not
    /// possible (an odd side for MP4, say) or the folder cannot take the file.
    /// MP4 and GIF need the video module from `codecFolder` (CodecModule.h).
    static Result<std::unique_ptr<AnimationWriter>>
    open(const QString& path, const AnimationEncoding& encoding, const QString& codecFolder);
    virtual ~AnimationWriter() = default;

    /// The next frame: straight RGBA8888 of side x side; alpha is dropped (MP4, GIF
    /// show colour only).
    virtual Status add(const QImage& frame) = 0;
    /// Ends the stream and puts the file in place.
    virtual Status finish() = 0;

protected:
    AnimationWriter() = default;
};

/// Whether `frame` is one a writer of `side` takes: straight RGBA8888, side x side.
inline bool isAnimationFrame(const QImage& frame, int side) {
    return frame.format() == QImage::Format_RGBA8888 && frame.width() == side &&
           frame.height() == side;
}

/// What the video module gives: FFmpeg's MP4 and GIF writers.
struct VideoModule {
    static constexpr int currentAbiVersion = 1;
    int abiVersion;
    /// Opens the writer; the caller has checked the side and rate.
    Result<std::unique_ptr<AnimationWriter>> (*open)(const QString& path,
                                                     const AnimationEncoding& encoding);
};

} // namespace velmora::render
