#include "render/AnimationWriter.h"

#include "render/CodecModule.h"
#include "render/PendingFile.h"

#include <QFile>

#include <webp/encode.h>
#include <webp/mux.h>

#include <cmath>

namespace velmora::render {

namespace {

// ---- libwebp: animated WebP -----------------------------------------------------

struct AnimEncoderFree {
    void operator()(WebPAnimEncoder* e) const { WebPAnimEncoderDelete(e); }
};

/// libwebp's animation encoder keeps only what it needs to find each frame's changed
/// rectangle; the assembled file is held until finish() writes it.
class WebpWriter final : public AnimationWriter {
public:
    WebpWriter(const QString& path, const AnimationEncoding& encoding)
        : m_file(path)
        , m_encoding(encoding) {}

    Status open() {
        if (m_encoding.side > WEBP_MAX_DIMENSION)
            return fail(QStringLiteral("WebP cannot hold a side of %1").arg(m_encoding.side));
        if (!WebPConfigInit(&m_config))
            return fail(QStringLiteral("this libwebp does not match its headers"));
        m_config.quality = static_cast<float>(m_encoding.quality);
        // Method 2 of 0..6: within a few percent of the default's size at a third of
        // its time, which a 180-frame loop needs.
        m_config.method = 2;
        m_config.thread_level = 1;
        WebPAnimEncoderOptions options;
        if (!WebPAnimEncoderOptionsInit(&options))
            return fail(QStringLiteral("this libwebp does not match its headers"));
        options.anim_params.loop_count = 0; // for ever
        options.allow_mixed = 0;
        m_encoder.reset(WebPAnimEncoderNew(m_encoding.side, m_encoding.side, &options));
        if (!m_encoder)
            return fail(QStringLiteral("not enough memory for the WebP encoder"));
        return m_file.create();
    }

    Status add(const QImage& frame) override {
        if (!isAnimationFrame(frame, m_encoding.side))
            return fail(QStringLiteral("a frame is not %1 x %1 RGBA").arg(m_encoding.side));
        WebPPicture picture;
        if (!WebPPictureInit(&picture))
            return fail(QStringLiteral("this libwebp does not match its headers"));
        picture.use_argb = 1;
        picture.width = m_encoding.side;
        picture.height = m_encoding.side;
        const bool imported = WebPPictureImportRGBA(&picture, frame.constBits(),
                                                    static_cast<int>(frame.bytesPerLine())) != 0;
        const bool added = imported && WebPAnimEncoderAdd(m_encoder.get(), &picture,
                                                          timestamp(m_frames), &m_config) != 0;
        WebPPictureFree(&picture);
        if (!added)
            return fail(QStringLiteral("cannot encode a frame (%1)")
                            .arg(QString::fromUtf8(WebPAnimEncoderGetError(m_encoder.get()))));
        ++m_frames;
        return {};
    }

    Status finish() override {
        WebPData data;
        WebPDataInit(&data);
        if (!WebPAnimEncoderAdd(m_encoder.get(), nullptr, timestamp(m_frames), nullptr) ||
            !WebPAnimEncoderAssemble(m_encoder.get(), &data))
            return fail(QStringLiteral("cannot finish the animation (%1)")
                            .arg(QString::fromUtf8(WebPAnimEncoderGetError(m_encoder.get()))));
        QFile out(m_file.path());
        const bool written =
            out.open(QIODevice::WriteOnly) &&
            out.write(reinterpret_cast<const char*>(data.bytes), static_cast<qint64>(data.size)) ==
                static_cast<qint64>(data.size) &&
            out.flush();
        const QString why = out.errorString();
        out.close();
        WebPDataClear(&data);
        if (!written)
            return fail(why);
        return m_file.commit();
    }

private:
    Failure fail(const QString& why) const {
        return Failure{QStringLiteral("%1: %2").arg(m_file.target(), why)};
    }
    /// Milliseconds from the start, rounded per frame so the durations add up.
    int timestamp(int frame) const {
        return static_cast<int>(std::lround(frame * 1000.0 / m_encoding.fps));
    }

    PendingFile m_file;
    AnimationEncoding m_encoding;
    WebPConfig m_config{};
    std::unique_ptr<WebPAnimEncoder, AnimEncoderFree> m_encoder;
    int m_frames = 0;
};

} // namespace

std::optional<AnimationFormat> animationFormatForSuffix(const QString& suffix) {
    const QString s = suffix.toLower();
    if (s == QLatin1String("mp4"))
        return AnimationFormat::mp4;
    if (s == QLatin1String("webp"))
        return AnimationFormat::webp;
    if (s == QLatin1String("gif"))
        return AnimationFormat::gif;
    return std::nullopt;
}

QString suffixOf(AnimationFormat format) {
    switch (format) {
    case AnimationFormat::mp4:
        return QStringLiteral("mp4");
    case AnimationFormat::webp:
        return QStringLiteral("webp");
    case AnimationFormat::gif:
        return QStringLiteral("gif");
    }
    return QStringLiteral("mp4");
}

Result<std::unique_ptr<AnimationWriter>> AnimationWriter::open(const QString& path,
                                                               const AnimationEncoding& encoding,
                                                               const QString& codecFolder) {
    if (encoding.side < 2 || encoding.fps < 1 || encoding.fps > 120)
        return Failure{QStringLiteral("%1: cannot write %2 x %2 frames at %3 a second")
                           .arg(path)
                           .arg(encoding.side)
                           .arg(encoding.fps)};
    if (encoding.format == AnimationFormat::mp4 && encoding.side % 2 != 0)
        return Failure{QStringLiteral("%1: an MP4 video needs an even side, not %2")
                           .arg(path)
                           .arg(encoding.side)};
    if (encoding.format == AnimationFormat::webp) {
        auto writer = std::make_unique<WebpWriter>(path, encoding);
        if (const Status opened = writer->open(); !opened)
            return opened.failure();
        return std::unique_ptr<AnimationWriter>(std::move(writer));
    }
    const Result<const VideoModule*> video =
        codecModule<VideoModule>(codecFolder, QStringLiteral("video"), "velmoraVideoModule");
    if (!video)
        return Failure{
            QStringLiteral("%1: cannot write MP4 or GIF (%2)").arg(path, video.message())};
    return (*video)->open(path, encoding);
}

} // namespace velmora::render
