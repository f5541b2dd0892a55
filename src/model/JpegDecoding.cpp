#include "model/JpegDecoding.h"

#include "render/DecodeBudget.h"

#include <QCoreApplication>

#include <csetjmp>
#include <cstdlib>
#include <memory>

// jpeglib.h needs size_t and FILE declared first.
#include <jerror.h>
#include <jpeglib.h>

namespace velmora {

namespace {

constexpr int maxDamageNotes = 4;

// libjpeg reports fatal errors through error_exit, which must not return. A C++
// exception cannot cross the library's C frames, so it jumps back with longjmp; the
// state that outlives the jump lives in this heap object, never in locals.
struct Decoder {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
    QString fatal;
    bool endedEarly = false;
    QStringList damage;
    QImage image;
    QByteArray icc;

    static Decoder& of(j_common_ptr info) { return *static_cast<Decoder*>(info->client_data); }

    static QString message(j_common_ptr info) {
        char text[JMSG_LENGTH_MAX] = {};
        info->err->format_message(info, text);
        return QString::fromLocal8Bit(text);
    }

    static void errorExit(j_common_ptr info) {
        Decoder& decoder = of(info);
        decoder.fatal = message(info);
        std::longjmp(decoder.failed, 1);
    }

    // Level -1 is a warning: damage the decoder got past. Everything else is trace
    // chatter. The library's default prints to standard error, which a window never
    // shows and a command line should say in its own words.
    static void emitMessage(j_common_ptr info, int level) {
        if (level >= 0)
            return;
        Decoder& decoder = of(info);
        ++info->err->num_warnings;
        if (info->err->msg_code == JWRN_JPEG_EOF) {
            decoder.endedEarly = true;
            return;
        }
        // "damaged" says it already.
        const QString text = message(info).remove(QStringLiteral("Corrupt JPEG data: "));
        if (decoder.damage.size() < maxDamageNotes && !decoder.damage.contains(text))
            decoder.damage.append(text);
    }

    Decoder() {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = &errorExit;
        errors.emit_message = &emitMessage;
        info.client_data = this;
    }
    ~Decoder() { jpeg_destroy_decompress(&info); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

// The largest DCT scale whose picture fits the budget, or 0 when none does.
int fittingScale(QSize stored, qint64 maxPixels) {
    for (const int scale : {1, 2, 4, 8}) {
        // The library rounds scaled sizes up.
        const qint64 width = (stored.width() + scale - 1) / scale;
        const qint64 height = (stored.height() + scale - 1) / scale;
        if (width * height <= maxPixels)
            return scale;
    }
    return 0;
}

} // namespace

bool looksLikeJpeg(const QByteArray& data) {
    return data.startsWith(QByteArray("\xff\xd8\xff", 3));
}

Result<std::optional<JpegPicture>> decodeJpeg(std::FILE* file, const QByteArray& data,
                                              qint64 dataBytes, qint64 maxPixels,
                                              const QString& what) {
    const auto decoder = std::make_unique<Decoder>();
    Decoder* const d = decoder.get();
    const auto failure = [d, &what] {
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot decode the picture (%2)")
                .arg(what, d->fatal)};
    };
    if (setjmp(d->failed))
        return failure();

    jpeg_create_decompress(&d->info);
    if (file)
        jpeg_stdio_src(&d->info, file);
    else
        jpeg_mem_src(&d->info, reinterpret_cast<const unsigned char*>(data.constData()),
                     static_cast<unsigned long>(data.size()));
    // The colour profile rides in APP2 markers, split into pieces when it is large.
    jpeg_save_markers(&d->info, JPEG_APP0 + 2, 0xFFFF);
    jpeg_read_header(&d->info, TRUE);
    if (d->info.jpeg_color_space == JCS_CMYK || d->info.jpeg_color_space == JCS_YCCK)
        return std::optional<JpegPicture>{};

    const QSize stored(static_cast<int>(d->info.image_width),
                       static_cast<int>(d->info.image_height));
    if (const Status held = render::checkDataHolds(stored, dataBytes, what); !held)
        return held.failure();
    const int scale = fittingScale(stored, maxPixels);
    if (scale == 0) {
        const Status refused = render::checkPixelLimit(
            QSize((stored.width() + 7) / 8, (stored.height() + 7) / 8), 4, maxPixels, what);
        return Failure{refused.message() + QStringLiteral(" even at an eighth of its %1 \u00d7 %2")
                                               .arg(stored.width())
                                               .arg(stored.height())};
    }

    JOCTET* icc = nullptr;
    unsigned int iccSize = 0;
    if (jpeg_read_icc_profile(&d->info, &icc, &iccSize) && icc) {
        d->icc = QByteArray(reinterpret_cast<const char*>(icc), static_cast<qsizetype>(iccSize));
        std::free(icc);
    }

    d->info.scale_num = 1;
    d->info.scale_denom = static_cast<unsigned int>(scale);
    // Straight into Qt's 0xffRRGGBB words, alpha written as opaque.
    d->info.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&d->info);
    d->image = QImage(static_cast<int>(d->info.output_width),
                      static_cast<int>(d->info.output_height), QImage::Format_RGB32);
    if (d->image.isNull()) {
        jpeg_abort_decompress(&d->info);
        return Failure{QCoreApplication::translate("ImageDecoding",
                                                   "%1: not enough memory for a %2 × %3 picture")
                           .arg(what)
                           .arg(d->info.output_width)
                           .arg(d->info.output_height)};
    }
    while (d->info.output_scanline < d->info.output_height && !d->endedEarly) {
        JSAMPROW row = d->image.scanLine(static_cast<int>(d->info.output_scanline));
        jpeg_read_scanlines(&d->info, &row, 1);
    }
    // Reading on to the end marker finds data cut after the last row.
    if (!d->endedEarly)
        jpeg_finish_decompress(&d->info);
    if (d->endedEarly)
        return Failure{
            QCoreApplication::translate("ImageDecoding",
                                        "%1: the picture's data ends early (the file is cut short)")
                .arg(what)};

    JpegPicture picture;
    picture.image = std::move(d->image);
    picture.storedSize = stored;
    picture.scale = scale;
    picture.damage = d->damage;
    picture.icc = d->icc;
    return std::optional<JpegPicture>(std::move(picture));
}

} // namespace velmora
