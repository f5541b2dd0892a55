#include "model/Animation.h"
#include "support/TestSupport.h"

#include "layers/LayerLibrary.h"
#include "model/Resources.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <webp/demux.h>

#include <cmath>
#include <memory>
#include <thread>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

using namespace velmora;
using render::AnimationFormat;

namespace {

/// What a decoder makes of an animation file: its frames, their size, and the first
/// frame as RGBA.
struct Decoded {
    int frames = 0;
    QSize size;
    QImage first;
};

/// MP4 and GIF through FFmpeg's own demuxers and decoders.
Decoded decodeWithFfmpeg(const QString& path) {
    Decoded decoded;
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return decoded;
    avformat_find_stream_info(format, nullptr);
    const AVCodec* codec = nullptr;
    const int stream = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    avcodec_parameters_to_context(context, format->streams[stream]->codecpar);
    avcodec_open2(context, codec, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    const auto take = [&] {
        while (avcodec_receive_frame(context, frame) == 0) {
            if (decoded.frames++ == 0) {
                decoded.size = QSize(frame->width, frame->height);
                decoded.first = QImage(decoded.size, QImage::Format_RGBA8888);
                SwsContext* sws = sws_getContext(frame->width, frame->height,
                                                 static_cast<AVPixelFormat>(frame->format),
                                                 frame->width, frame->height, AV_PIX_FMT_RGBA,
                                                 SWS_BICUBIC, nullptr, nullptr, nullptr);
                // As a player reads it: by the matrix and range the stream declares.
                if (frame->colorspace != AVCOL_SPC_UNSPECIFIED) {
                    const int* matrix = sws_getCoefficients(frame->colorspace);
                    sws_setColorspaceDetails(sws, matrix,
                                             frame->color_range == AVCOL_RANGE_JPEG ? 1 : 0, matrix,
                                             1, 0, 1 << 16, 1 << 16);
                }
                uint8_t* rows[] = {decoded.first.bits()};
                const int strides[] = {static_cast<int>(decoded.first.bytesPerLine())};
                sws_scale(sws, frame->data, frame->linesize, 0, frame->height, rows, strides);
                sws_freeContext(sws);
            }
        }
    };
    while (av_read_frame(format, packet) >= 0) {
        if (packet->stream_index == stream)
            avcodec_send_packet(context, packet);
        av_packet_unref(packet);
        take();
    }
    avcodec_send_packet(context, nullptr);
    take();
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    avformat_close_input(&format);
    return decoded;
}

/// Animated WebP through libwebp's demuxer.
Decoded decodeWebp(const QString& path) {
    Decoded decoded;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return decoded;
    const QByteArray bytes = file.readAll();
    WebPData data{reinterpret_cast<const uint8_t*>(bytes.constData()),
                  static_cast<size_t>(bytes.size())};
    WebPAnimDecoderOptions options;
    WebPAnimDecoderOptionsInit(&options);
    options.color_mode = MODE_RGBA;
    WebPAnimDecoder* decoder = WebPAnimDecoderNew(&data, &options);
    if (!decoder)
        return decoded;
    WebPAnimInfo info;
    WebPAnimDecoderGetInfo(decoder, &info);
    decoded.size = QSize(static_cast<int>(info.canvas_width), static_cast<int>(info.canvas_height));
    while (WebPAnimDecoderHasMoreFrames(decoder)) {
        uint8_t* pixels = nullptr;
        int timestamp = 0;
        if (!WebPAnimDecoderGetNext(decoder, &pixels, &timestamp))
            break;
        if (decoded.frames++ == 0)
            decoded.first =
                QImage(pixels, decoded.size.width(), decoded.size.height(), QImage::Format_RGBA8888)
                    .copy();
    }
    WebPAnimDecoderDelete(decoder);
    return decoded;
}

Decoded decodeAnimation(const QString& path) {
    return path.endsWith(QLatin1String(".webp")) ? decodeWebp(path) : decodeWithFfmpeg(path);
}

/// The mean colour of the middle half of an image.
QColor middleColour(const QImage& image) {
    double sum[3] = {};
    int count = 0;
    for (int y = image.height() / 4; y < image.height() * 3 / 4; ++y)
        for (int x = image.width() / 4; x < image.width() * 3 / 4; ++x) {
            const QColor c = image.pixelColor(x, y);
            sum[0] += c.red();
            sum[1] += c.green();
            sum[2] += c.blue();
            ++count;
        }
    return QColor(qRound(sum[0] / count), qRound(sum[1] / count), qRound(sum[2] / count));
}

double rotationOf(const Look& look) {
    return look.value(Setting::rotationDegrees);
}

/// The turn from one angle to the next, in (-180, 180].
double turnBetween(double from, double to) {
    double d = std::fmod(to - from, 360.0);
    if (d <= -180.0)
        d += 360.0;
    if (d > 180.0)
        d -= 360.0;
    return d;
}

} // namespace

// A spin starts at the look, turns by the same step every frame, and the step from
// the last frame comes back to the first: the loop has no seam. Whatever the start
// angle, every frame stays within what the rotation accepts.
TEST(Motions, ASpinIsASeamlessLoopStartingAtTheLook) {
    for (const double start : {0.0, 170.0, -180.0, 3500.0}) {
        Look end;
        end.setValue(Setting::rotationDegrees, start);
        end.setValue(Setting::zoom, 1.7);
        const int frames = 48;
        EXPECT_EQ(motionFrame(end, Motion::spin, 0, frames), end);
        EXPECT_EQ(motionFrame(end, Motion::spin, frames, frames), end);
        const SettingInfo& info = settingInfo(Setting::rotationDegrees);
        for (int i = 0; i < frames; ++i) {
            const Look a = motionFrame(end, Motion::spin, i, frames);
            const Look b = motionFrame(end, Motion::spin, i + 1, frames);
            EXPECT_NEAR(turnBetween(rotationOf(a), rotationOf(b)), 360.0 / frames, 1e-9)
                << "start " << start << " frame " << i;
            EXPECT_GE(rotationOf(a), info.minimum);
            EXPECT_LE(rotationOf(a), info.maximum);
            EXPECT_EQ(a.value(Setting::zoom), 1.7); // nothing else moves
        }
    }
}

// An intro starts close and flat, eases out of it (small steps first), zooms out
// steadily, and lands on the look exactly, which it then holds.
TEST(Motions, AnIntroUnrollsIntoTheLookAndHolds) {
    Look end = Look().withPreset(Preset::spiral);
    end.setValue(Setting::convexity, 0.3);
    const int frames = 60;
    const Look first = motionFrame(end, Motion::intro, 0, frames);
    EXPECT_DOUBLE_EQ(first.value(Setting::zoom), end.value(Setting::zoom) * introZoomFactor);
    EXPECT_DOUBLE_EQ(first.value(Setting::convexity), introConvexity);
    EXPECT_EQ(motionFrame(end, Motion::intro, frames - 1, frames), end);
    const int unrolled = static_cast<int>(std::lround(introShare * (frames - 1)));
    for (int i = unrolled; i < frames; ++i)
        EXPECT_EQ(motionFrame(end, Motion::intro, i, frames), end) << i;
    double previous = first.value(Setting::zoom);
    for (int i = 1; i < unrolled; ++i) {
        const double zoom = motionFrame(end, Motion::intro, i, frames).value(Setting::zoom);
        EXPECT_LT(zoom, previous) << i;
        previous = zoom;
    }
    const auto zoomAt = [&](int i) {
        return std::log(motionFrame(end, Motion::intro, i, frames).value(Setting::zoom));
    };
    EXPECT_LT(zoomAt(0) - zoomAt(1), (zoomAt(unrolled / 2 - 1) - zoomAt(unrolled / 2 + 1)) / 2);
    // A zoom near the top of its range starts at the range's end, never beyond.
    end.setValue(Setting::zoom, 60.0);
    EXPECT_EQ(motionFrame(end, Motion::intro, 0, frames).value(Setting::zoom),
              settingInfo(Setting::zoom).maximum);
}

// Each container reads back with a standard decoder: every frame, the size, and the
// colour of the first frame within what the format's coding loses.
TEST(AnimationFiles, EachFormatDecodesBackFrameForFrame) {
    const test::TempTree tree;
    const int side = 96;
    const int frames = 12;
    for (const AnimationFormat format :
         {AnimationFormat::mp4, AnimationFormat::webp, AnimationFormat::gif}) {
        const QString path = tree.file(QStringLiteral("loop.") + render::suffixOf(format));
        Result<std::unique_ptr<render::AnimationWriter>> writer =
            render::AnimationWriter::open(path, {format, side, 24, 90}, codecFolder());
        ASSERT_TRUE(writer) << writer.message();
        for (int i = 0; i < frames; ++i) {
            QImage frame(side, side, QImage::Format_RGBA8888);
            frame.fill(QColor(200, 120 + 4 * i, 40));
            ASSERT_TRUE((*writer)->add(frame));
        }
        // Nothing is at the destination until the writer finishes.
        EXPECT_FALSE(QFile::exists(path));
        ASSERT_TRUE((*writer)->finish());
        const Decoded decoded = decodeAnimation(path);
        EXPECT_EQ(decoded.frames, frames) << path;
        EXPECT_EQ(decoded.size, QSize(side, side)) << path;
        EXPECT_LE(test::channelDistance(middleColour(decoded.first), QColor(200, 120, 40)), 6)
            << path << " " << middleColour(decoded.first).name();
        EXPECT_EQ(QDir(tree.path()).entryList(QDir::Files | QDir::Hidden).size(),
                  QDir(tree.path()).entryList(QDir::Files).size())
            << "a temporary file stayed behind";
    }
}

// What cannot be written fails before any frame, naming the file, and leaves nothing.
TEST(AnimationFiles, ImpossibleEncodingsFailNamingTheFile) {
    const test::TempTree tree;
    const QString odd = tree.file(QStringLiteral("odd.mp4"));
    const auto oddWriter =
        render::AnimationWriter::open(odd, {AnimationFormat::mp4, 97, 30, 80}, codecFolder());
    ASSERT_FALSE(oddWriter);
    EXPECT_TRUE(oddWriter.message().contains(odd));
    const QString nowhere = tree.file(QStringLiteral("missing/folder/a.webp"));
    const auto lost =
        render::AnimationWriter::open(nowhere, {AnimationFormat::webp, 64, 30, 80}, codecFolder());
    ASSERT_FALSE(lost);
    EXPECT_TRUE(lost.message().contains(nowhere));
    EXPECT_TRUE(QDir(tree.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

class AnimationExport : public ::testing::Test {
protected:
    AnimationJob job(Motion motion, int side, double seconds, int fps) {
        AnimationSettings settings;
        settings.motion = motion;
        settings.side = side;
        settings.durationSeconds = seconds;
        settings.fps = fps;
        return makeAnimationJob(renderer, source, Look(), library, settings);
    }

    PlanetRenderer renderer = test::renderer();
    render::Image source = render::Image::fromQImage(test::testPanorama(512, 256));
    LayerLibrary library{test::buildResources()};
    test::TempTree tree;
};

// The engine's frames go to the file in order: the first frame of the file is the
// planet of the look as a still render makes it.
TEST_F(AnimationExport, TheFirstFrameIsTheLookRenderedStill) {
    const AnimationJob spin = job(Motion::spin, 128, 0.5, 16);
    const QString path = tree.file(QStringLiteral("spin.webp"));
    render::RenderProgress progress;
    ASSERT_TRUE(writeAnimation(spin, path, &progress));
    EXPECT_EQ(progress.done.load(), 8);
    EXPECT_EQ(progress.total.load(), 8);
    const Decoded decoded = decodeWebp(path);
    EXPECT_EQ(decoded.frames, 8);
    const QImage still = renderer.render(Look(), source, library, 128).value();
    EXPECT_LT(test::meanAbsoluteDifference(decoded.first, still), 3.0);
}

// A cancel stops between frames and leaves no file; one already there survives it,
// as it survives a failure.
TEST_F(AnimationExport, ACancelLeavesNothingBehind) {
    const AnimationJob spin = job(Motion::spin, 64, 2.0, 30);
    const QString fresh = tree.file(QStringLiteral("fresh.mp4"));
    render::RenderProgress progress;
    progress.cancelled = true;
    EXPECT_FALSE(writeAnimation(spin, fresh, &progress));
    EXPECT_LT(progress.done.load(), progress.total.load());
    EXPECT_FALSE(QFile::exists(fresh));

    const QString kept = tree.addFile(QStringLiteral("kept.gif"), "an earlier loop");
    render::RenderProgress halfway;
    // Cancelled from another thread as the frames come in.
    std::thread canceller([&] {
        while (halfway.done.load() < 5)
            std::this_thread::yield();
        halfway.cancelled = true;
    });
    const Status cancelled = writeAnimation(spin, kept, &halfway);
    canceller.join();
    EXPECT_FALSE(cancelled);
    QFile file(kept);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("an earlier loop"));
    EXPECT_EQ(QDir(tree.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("kept.gif")});

    EXPECT_FALSE(writeAnimation(spin, tree.file(QStringLiteral("loop.mov")), nullptr));
}
