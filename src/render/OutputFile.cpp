#include "render/OutputFile.h"

#include "render/PngWriter.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QImageWriter>
#include <QSaveFile>

#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>

// jpeglib.h needs size_t and FILE declared first.
#include <jpeglib.h>

namespace velmora::render {

namespace {

constexpr int jpegStripRows = 64;

QString notEnoughMemory(const QString& path) {
    return QCoreApplication::translate("OutputFile", "%1: not enough memory to render the picture")
        .arg(path);
}

Status saveBytes(const QString& path, const char* data, qint64 size) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    if (file.write(data, size) != size || !file.commit())
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    return {};
}

// libjpeg's fatal errors jump back here (see the decoder for why not an exception).
struct JpegEncoder {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
    QString fatal;
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    // The strip being encoded lives here, not in a local the jump would skip.
    QImage strip;
    QByteArray marker;

    static void errorExit(j_common_ptr common) {
        auto* encoder = static_cast<JpegEncoder*>(common->client_data);
        char text[JMSG_LENGTH_MAX] = {};
        common->err->format_message(common, text);
        encoder->fatal = QString::fromLocal8Bit(text);
        std::longjmp(encoder->failed, 1);
    }

    JpegEncoder() {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = &errorExit;
        info.client_data = this;
    }
    ~JpegEncoder() {
        jpeg_destroy_compress(&info);
        std::free(buffer);
    }
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;
};

// Strips of rows are rendered and handed to the encoder in turn: memory beyond the
// recipe is one strip and the compressed file.
Status writeJpeg(const Image& image, const QRect& area, const QString& path, int quality,
                 const QByteArray& exif, RenderProgress* progress) {
    const auto encoder = std::make_unique<JpegEncoder>();
    JpegEncoder* const e = encoder.get();
    if (setjmp(e->failed))
        return Failure{QCoreApplication::translate("OutputFile", "%1: cannot encode the JPEG (%2)")
                           .arg(path, e->fatal)};
    jpeg_create_compress(&e->info);
    jpeg_mem_dest(&e->info, &e->buffer, &e->size);
    e->info.image_width = static_cast<JDIMENSION>(area.width());
    e->info.image_height = static_cast<JDIMENSION>(area.height());
    e->info.input_components = 4;
    // The planet is opaque: the alpha byte is passed over.
    e->info.in_color_space = JCS_EXT_RGBX;
    jpeg_set_defaults(&e->info);
    jpeg_set_quality(&e->info, std::clamp(quality, 1, 100), TRUE);
    e->info.optimize_coding = TRUE;
    jpeg_start_compress(&e->info, TRUE);
    // APP1 holds "Exif\0\0" and the TIFF structure, in one marker of at most 64 KiB.
    if (!exif.isEmpty() && exif.size() + 6 <= 65533) {
        e->marker = QByteArray("Exif\0\0", 6) + exif;
        jpeg_write_marker(&e->info, JPEG_APP0 + 1,
                          reinterpret_cast<const JOCTET*>(e->marker.constData()),
                          static_cast<unsigned int>(e->marker.size()));
    }

    const int strips = (area.height() + jpegStripRows - 1) / jpegStripRows;
    if (progress)
        progress->total.store(strips);
    const RenderContext context;
    for (int strip = 0; strip < strips; ++strip) {
        const int top = area.top() + strip * jpegStripRows;
        const QRect rows(area.left(), top, area.width(),
                         std::min(jpegStripRows, area.bottom() + 1 - top));
        e->strip = context.render(image, rows, RenderContext::Layout::straightRgba8);
        if (e->strip.isNull()) {
            jpeg_abort_compress(&e->info);
            return Failure{notEnoughMemory(path)};
        }
        for (int y = 0; y < e->strip.height(); ++y) {
            JSAMPROW row = e->strip.scanLine(y);
            jpeg_write_scanlines(&e->info, &row, 1);
        }
        if (progress)
            progress->done.fetch_add(1);
    }
    jpeg_finish_compress(&e->info);
    return saveBytes(path, reinterpret_cast<const char*>(e->buffer), static_cast<qint64>(e->size));
}

Status writeWebp(const Image& image, const QRect& area, const QString& path, bool lossless,
                 int quality, const QByteArray& exif, RenderProgress* progress) {
    if (area.width() > maxWebpSide || area.height() > maxWebpSide)
        return Failure{QCoreApplication::translate("OutputFile",
                                                   "%1: WebP holds at most %2 pixels a side, "
                                                   "not %3")
                           .arg(path)
                           .arg(maxWebpSide)
                           .arg(std::max(area.width(), area.height()))};
    const QImage pixels =
        RenderContext().render(image, area, RenderContext::Layout::straightRgba8, progress);
    if (pixels.isNull())
        return Failure{notEnoughMemory(path)};
    uint8_t* output = nullptr;
    const size_t size =
        lossless ? WebPEncodeLosslessRGBA(pixels.constBits(), pixels.width(), pixels.height(),
                                          static_cast<int>(pixels.bytesPerLine()), &output)
                 : WebPEncodeRGBA(pixels.constBits(), pixels.width(), pixels.height(),
                                  static_cast<int>(pixels.bytesPerLine()),
                                  static_cast<float>(std::clamp(quality, 1, 100)), &output);
    const std::unique_ptr<uint8_t, void (*)(void*)> owned(output, &WebPFree);
    if (size == 0)
        return Failure{
            QCoreApplication::translate("OutputFile", "%1: cannot encode the WebP picture")
                .arg(path)};
    if (exif.isEmpty())
        return saveBytes(path, reinterpret_cast<const char*>(output), static_cast<qint64>(size));
    // The metadata goes in an EXIF chunk beside the picture.
    const std::unique_ptr<WebPMux, void (*)(WebPMux*)> mux(WebPMuxNew(), &WebPMuxDelete);
    const WebPData picture{output, size};
    const WebPData chunk{reinterpret_cast<const uint8_t*>(exif.constData()),
                         static_cast<size_t>(exif.size())};
    WebPData assembled{};
    if (!mux || WebPMuxSetImage(mux.get(), &picture, 1) != WEBP_MUX_OK ||
        WebPMuxSetChunk(mux.get(), "EXIF", &chunk, 1) != WEBP_MUX_OK ||
        WebPMuxAssemble(mux.get(), &assembled) != WEBP_MUX_OK)
        return Failure{QCoreApplication::translate(
                           "OutputFile", "%1: cannot add the metadata to the WebP picture")
                           .arg(path)};
    const Status saved = saveBytes(path, reinterpret_cast<const char*>(assembled.bytes),
                                   static_cast<qint64>(assembled.size));
    WebPDataClear(&assembled);
    return saved;
}

// The 16-bit formats go through Qt's writers (libpng, libtiff): files for further
// editing, where size and time matter less than the bits.
Status writeDeep(const Image& image, const QRect& area, const QString& path, const char* format,
                 RenderProgress* progress) {
    const QImage pixels =
        RenderContext().render(image, area, RenderContext::Layout::straightRgba16, progress);
    if (pixels.isNull())
        return Failure{notEnoughMemory(path)};
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    QImageWriter writer(&file, format);
    if (qstrcmp(format, "tiff") == 0)
        writer.setCompression(1); // LZW
    if (!writer.write(pixels))
        return Failure{QStringLiteral("%1: %2").arg(path, writer.errorString())};
    if (!file.commit())
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    return {};
}

} // namespace

std::optional<OutputFormat> outputFormatForSuffix(const QString& suffix) {
    const QString s = suffix.toLower();
    if (s == QLatin1String("png"))
        return OutputFormat::png;
    if (s == QLatin1String("jpg") || s == QLatin1String("jpeg"))
        return OutputFormat::jpeg;
    if (s == QLatin1String("webp"))
        return OutputFormat::webp;
    if (s == QLatin1String("tif") || s == QLatin1String("tiff"))
        return OutputFormat::tiff16;
    return std::nullopt;
}

QString suffixOf(OutputFormat format) {
    switch (format) {
    case OutputFormat::png:
    case OutputFormat::png16:
        return QStringLiteral("png");
    case OutputFormat::jpeg:
        return QStringLiteral("jpg");
    case OutputFormat::webp:
    case OutputFormat::webpLossless:
        return QStringLiteral("webp");
    case OutputFormat::tiff16:
        return QStringLiteral("tif");
    }
    return QStringLiteral("png");
}

Status writeOutputFile(const Image& image, const QRect& area, const QString& path,
                       const OutputEncoding& encoding, RenderProgress* progress) {
    if (area.isEmpty())
        return Failure{QCoreApplication::translate("OutputFile", "%1: nothing to write").arg(path)};
    switch (encoding.format) {
    case OutputFormat::png: {
        PngEncoding png;
        png.exif = encoding.exif;
        return writePngFile(image, area, path, progress, png);
    }
    case OutputFormat::png16:
        return writeDeep(image, area, path, "png", progress);
    case OutputFormat::jpeg:
        return writeJpeg(image, area, path, encoding.quality, encoding.exif, progress);
    case OutputFormat::webp:
    case OutputFormat::webpLossless:
        return writeWebp(image, area, path, encoding.format == OutputFormat::webpLossless,
                         encoding.quality, encoding.exif, progress);
    case OutputFormat::tiff16:
        return writeDeep(image, area, path, "tiff", progress);
    }
    return Failure{QCoreApplication::translate("OutputFile", "%1: unknown format").arg(path)};
}

} // namespace velmora::render
