// FFmpeg's MP4 and GIF writers: a module of their own, loaded only when a video is
// written (see CodecModule.h).

#include "render/AnimationWriter.h"
#include "render/PendingFile.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace velmora::render {

namespace {

QString ffmpegError(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromLocal8Bit(text);
}

/// FFmpeg and its encoders print progress and banners; our own messages say what
/// matters, naming the file.
void quietenFfmpeg() {
    static const bool once = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    (void)once;
}

struct CodecContextFree {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFree {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFree {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct GraphFree {
    void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
};
struct SwsFree {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};

/// One video stream through libavcodec into a container written by libavformat. MP4
/// converts each frame to yuv420p (BT.709, limited range, as players expect); GIF
/// passes it through a filter graph that makes each frame's palette and dithers to it.
class FfmpegWriter final : public AnimationWriter {
public:
    FfmpegWriter(const QString& path, const AnimationEncoding& encoding)
        : m_file(path)
        , m_encoding(encoding) {}

    ~FfmpegWriter() override {
        if (m_format) {
            if (m_format->pb)
                avio_closep(&m_format->pb);
            avformat_free_context(m_format);
        }
    }

    Status open() {
        quietenFfmpeg();
        if (const Status made = m_file.create(); !made)
            return made;
        const bool gif = m_encoding.format == AnimationFormat::gif;
        const QByteArray temp = QFile::encodeName(m_file.path());
        if (const int e = avformat_alloc_output_context2(&m_format, nullptr, gif ? "gif" : "mp4",
                                                         temp.constData());
            e < 0 || !m_format)
            return fail(QStringLiteral("cannot start the container (%1)").arg(ffmpegError(e)));

        const AVCodec* codec =
            gif ? avcodec_find_encoder(AV_CODEC_ID_GIF) : avcodec_find_encoder_by_name("libx264");
        if (!codec && !gif)
            codec = avcodec_find_encoder(AV_CODEC_ID_H264);
        if (!codec)
            return fail(gif ? QStringLiteral("this FFmpeg has no GIF encoder")
                            : QStringLiteral("this FFmpeg has no H.264 encoder"));
        m_codec.reset(avcodec_alloc_context3(codec));
        m_stream = avformat_new_stream(m_format, nullptr);
        m_packet.reset(av_packet_alloc());
        if (!m_codec || !m_stream || !m_packet)
            return fail(QStringLiteral("not enough memory for the encoder"));

        AVCodecContext* c = m_codec.get();
        c->width = m_encoding.side;
        c->height = m_encoding.side;
        c->time_base = AVRational{1, m_encoding.fps};
        c->framerate = AVRational{m_encoding.fps, 1};
        c->sample_aspect_ratio = AVRational{1, 1};
        AVDictionary* options = nullptr;
        if (gif) {
            c->pix_fmt = AV_PIX_FMT_PAL8;
            if (const Status graph = openPaletteGraph(); !graph)
                return graph;
        } else {
            c->pix_fmt = AV_PIX_FMT_YUV420P;
            c->color_range = AVCOL_RANGE_MPEG;
            c->colorspace = AVCOL_SPC_BT709;
            c->color_primaries = AVCOL_PRI_BT709;
            c->color_trc = AVCOL_TRC_BT709;
            // A keyframe every two seconds: seeking stays quick, the loop point clean.
            c->gop_size = 2 * m_encoding.fps;
            av_dict_set(&options, "preset", "veryfast", 0);
            av_dict_set(&options, "crf", QByteArray::number(rateFactor()).constData(), 0);
            if (const Status scaler = openScaler(); !scaler)
                return scaler;
        }
        if (m_format->oformat->flags & AVFMT_GLOBALHEADER)
            c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        const int opened = avcodec_open2(c, codec, &options);
        av_dict_free(&options);
        if (opened < 0)
            return fail(QStringLiteral("cannot open the encoder (%1)").arg(ffmpegError(opened)));
        if (const int e = avcodec_parameters_from_context(m_stream->codecpar, c); e < 0)
            return fail(ffmpegError(e));
        m_stream->time_base = c->time_base;
        m_stream->avg_frame_rate = c->framerate;

        if (const int e = avio_open(&m_format->pb, temp.constData(), AVIO_FLAG_WRITE); e < 0)
            return fail(ffmpegError(e));
        AVDictionary* muxing = nullptr;
        // The index first, so a browser plays the video before it has all of it.
        if (!gif)
            av_dict_set(&muxing, "movflags", "+faststart", 0);
        const int header = avformat_write_header(m_format, &muxing);
        av_dict_free(&muxing);
        if (header < 0)
            return fail(QStringLiteral("cannot write the header (%1)").arg(ffmpegError(header)));
        return {};
    }

    Status add(const QImage& frame) override {
        if (!isAnimationFrame(frame, m_encoding.side))
            return fail(QStringLiteral("a frame is not %1 x %1 RGBA").arg(m_encoding.side));
        std::unique_ptr<AVFrame, FrameFree> input(av_frame_alloc());
        if (!input)
            return fail(QStringLiteral("not enough memory for a frame"));
        input->width = m_encoding.side;
        input->height = m_encoding.side;
        input->sample_aspect_ratio = AVRational{1, 1};
        input->pts = m_frames++;
        if (m_encoding.format == AnimationFormat::gif) {
            // The graph reads the picture where it is; the QImage outlives the call.
            input->format = AV_PIX_FMT_RGBA;
            input->data[0] = const_cast<uint8_t*>(frame.constBits());
            input->linesize[0] = static_cast<int>(frame.bytesPerLine());
            if (const int e =
                    av_buffersrc_write_frame(m_source, input.get()); // copies: frame not owned
                e < 0)
                return fail(ffmpegError(e));
            return drainGraph();
        }
        input->format = AV_PIX_FMT_YUV420P;
        input->color_range = AVCOL_RANGE_MPEG;
        input->colorspace = AVCOL_SPC_BT709;
        input->color_primaries = AVCOL_PRI_BT709;
        input->color_trc = AVCOL_TRC_BT709;
        if (const int e = av_frame_get_buffer(input.get(), 0); e < 0)
            return fail(ffmpegError(e));
        const uint8_t* rows[] = {frame.constBits()};
        const int strides[] = {static_cast<int>(frame.bytesPerLine())};
        sws_scale(m_scaler.get(), rows, strides, 0, m_encoding.side, input->data, input->linesize);
        return encode(input.get());
    }

    Status finish() override {
        if (m_encoding.format == AnimationFormat::gif) {
            if (const int e = av_buffersrc_close(m_source, m_frames, 0); e < 0)
                return fail(ffmpegError(e));
            if (const Status drained = drainGraph(); !drained)
                return drained;
        }
        if (const Status flushed = encode(nullptr); !flushed)
            return flushed;
        if (const int e = av_write_trailer(m_format); e < 0)
            return fail(QStringLiteral("cannot finish the file (%1)").arg(ffmpegError(e)));
        if (const int e = avio_closep(&m_format->pb); e < 0)
            return fail(ffmpegError(e));
        return m_file.commit();
    }

private:
    Failure fail(const QString& why) const {
        return Failure{QStringLiteral("%1: %2").arg(m_file.target(), why)};
    }

    /// Quality 1..100 to x264's constant rate factor: 100 is 12 (visually lossless),
    /// 80 is 21, and 1 the coarsest x264 allows.
    int rateFactor() const {
        return std::clamp(static_cast<int>(std::lround(12.0 + (100 - m_encoding.quality) * 0.45)),
                          0, 51);
    }

    Status openScaler() {
        m_scaler.reset(sws_getContext(m_encoding.side, m_encoding.side, AV_PIX_FMT_RGBA,
                                      m_encoding.side, m_encoding.side, AV_PIX_FMT_YUV420P,
                                      SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                                      nullptr, nullptr));
        if (!m_scaler)
            return fail(QStringLiteral("cannot convert frames to yuv420p"));
        // Full-range RGB in, BT.709 limited-range YUV out.
        const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
        sws_setColorspaceDetails(m_scaler.get(), bt709, 1, bt709, 0, 0, 1 << 16, 1 << 16);
        return {};
    }

    Status openPaletteGraph() {
        m_graph.reset(avfilter_graph_alloc());
        if (!m_graph)
            return fail(QStringLiteral("not enough memory for the palette filter"));
        // One thread: the engine already keeps the cores busy rendering frames.
        m_graph->nb_threads = 1;
        const QByteArray arguments =
            QStringLiteral("video_size=%1x%1:pix_fmt=%2:time_base=1/%3:pixel_aspect=1/1")
                .arg(m_encoding.side)
                .arg(static_cast<int>(AV_PIX_FMT_RGBA))
                .arg(m_encoding.fps)
                .toLatin1();
        if (const int e =
                avfilter_graph_create_filter(&m_source, avfilter_get_by_name("buffer"), "in",
                                             arguments.constData(), nullptr, m_graph.get());
            e < 0)
            return fail(ffmpegError(e));
        if (const int e = avfilter_graph_create_filter(&m_sink, avfilter_get_by_name("buffersink"),
                                                       "out", nullptr, nullptr, m_graph.get());
            e < 0)
            return fail(ffmpegError(e));
        AVFilterInOut* outputs = avfilter_inout_alloc();
        AVFilterInOut* inputs = avfilter_inout_alloc();
        outputs->name = av_strdup("in");
        outputs->filter_ctx = m_source;
        inputs->name = av_strdup("out");
        inputs->filter_ctx = m_sink;
        // A palette per frame, so a spin that brings new colours round keeps them;
        // ordered dither compresses better than error diffusion between frames.
        const int parsed = avfilter_graph_parse_ptr(
            m_graph.get(),
            "split[a][b];[a]palettegen=stats_mode=single:reserve_transparent=0[p];"
            "[b][p]paletteuse=new=1:dither=bayer:bayer_scale=3,format=pal8",
            &inputs, &outputs, nullptr);
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        if (parsed < 0)
            return fail(
                QStringLiteral("cannot make the palette filter (%1)").arg(ffmpegError(parsed)));
        if (const int e = avfilter_graph_config(m_graph.get(), nullptr); e < 0)
            return fail(QStringLiteral("cannot make the palette filter (%1)").arg(ffmpegError(e)));
        return {};
    }

    Status drainGraph() {
        std::unique_ptr<AVFrame, FrameFree> paletted(av_frame_alloc());
        if (!paletted)
            return fail(QStringLiteral("not enough memory for a frame"));
        for (;;) {
            const int e = av_buffersink_get_frame(m_sink, paletted.get());
            if (e == AVERROR(EAGAIN) || e == AVERROR_EOF)
                return {};
            if (e < 0)
                return fail(ffmpegError(e));
            const Status encoded = encode(paletted.get());
            av_frame_unref(paletted.get());
            if (!encoded)
                return encoded;
        }
    }

    /// Sends a frame (nothing: the end) and writes every packet that comes back.
    Status encode(AVFrame* frame) {
        if (const int e = avcodec_send_frame(m_codec.get(), frame); e < 0)
            return fail(QStringLiteral("cannot encode a frame (%1)").arg(ffmpegError(e)));
        for (;;) {
            const int e = avcodec_receive_packet(m_codec.get(), m_packet.get());
            if (e == AVERROR(EAGAIN) || e == AVERROR_EOF)
                return {};
            if (e < 0)
                return fail(QStringLiteral("cannot encode a frame (%1)").arg(ffmpegError(e)));
            av_packet_rescale_ts(m_packet.get(), m_codec->time_base, m_stream->time_base);
            m_packet->stream_index = m_stream->index;
            const int written = av_interleaved_write_frame(m_format, m_packet.get());
            av_packet_unref(m_packet.get());
            if (written < 0)
                return fail(ffmpegError(written));
        }
    }

    PendingFile m_file;
    AnimationEncoding m_encoding;
    AVFormatContext* m_format = nullptr;
    AVStream* m_stream = nullptr;
    std::unique_ptr<AVCodecContext, CodecContextFree> m_codec;
    std::unique_ptr<AVPacket, PacketFree> m_packet;
    std::unique_ptr<SwsContext, SwsFree> m_scaler;
    std::unique_ptr<AVFilterGraph, GraphFree> m_graph;
    AVFilterContext* m_source = nullptr; // owned by the graph
    AVFilterContext* m_sink = nullptr;
    int64_t m_frames = 0;
};

Result<std::unique_ptr<AnimationWriter>> openVideo(const QString& path,
                                                   const AnimationEncoding& encoding) {
    auto writer = std::make_unique<FfmpegWriter>(path, encoding);
    if (const Status opened = writer->open(); !opened)
        return opened.failure();
    return std::unique_ptr<AnimationWriter>(std::move(writer));
}

const VideoModule module{VideoModule::currentAbiVersion, &openVideo};

} // namespace

} // namespace velmora::render

extern "C" __attribute__((visibility("default"))) const void* velmoraVideoModule() {
    return &velmora::render::module;
}
