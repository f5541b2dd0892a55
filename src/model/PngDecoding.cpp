#include "model/PngDecoding.h"

#include "render/DecodeBudget.h"

#include <QColorSpace>
#include <QCoreApplication>
#include <QIODevice>

#include <csetjmp>
#include <memory>
#include <vector>

#include <png.h>

namespace velmora {

namespace {

// libpng reports fatal errors by jumping back to a point set with setjmp. A jump
// must not cross C++ frames with live destructors, so everything that outlives one
// lives in this heap object, and the functions that call libpng hold nothing that
// needs destroying.
struct Decoder {
    png_structp png = nullptr;
    png_infop info = nullptr;
    QIODevice* device = nullptr;
    QString fatal;
    bool endedEarly = false;

    QSize stored;
    bool interlaced = false;
    SampleLayout layout;
    QByteArray icc;
    double gamma = 0.0;
    std::vector<unsigned char> row;
    std::unique_ptr<RowReducer> reducer;

    static Decoder& of(png_const_structrp png) {
        return *static_cast<Decoder*>(png_get_error_ptr(png));
    }

    static void error(png_structp png, png_const_charp message) {
        of(png).fatal = QString::fromUtf8(message);
        png_longjmp(png, 1);
    }

    // Warnings are about ancillary chunks libpng skipped; the picture is whole.
    static void warning(png_structp, png_const_charp) {}

    static void read(png_structp png, png_bytep out, size_t length) {
        Decoder& d = *static_cast<Decoder*>(png_get_io_ptr(png));
        const qint64 got = d.device->read(reinterpret_cast<char*>(out), qint64(length));
        if (got != qint64(length)) {
            d.endedEarly = got >= 0;
            png_error(png, "the data cannot be read");
        }
    }

    Decoder() {
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, &error, &warning);
        if (png)
            info = png_create_info_struct(png);
    }
    ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

// The header, and the transforms that bring every kind of PNG to 1 to 4 channels of
// 8 or 16 bits: palettes and tRNS become alpha, grey below 8 bits widens.
bool readHeader(Decoder& d) {
    if (setjmp(png_jmpbuf(d.png)))
        return false;
    png_set_read_fn(d.png, &d, &Decoder::read);
    png_read_info(d.png, d.info);
    d.stored = QSize(static_cast<int>(png_get_image_width(d.png, d.info)),
                     static_cast<int>(png_get_image_height(d.png, d.info)));
    d.interlaced = png_get_interlace_type(d.png, d.info) != PNG_INTERLACE_NONE;
    const int colourType = png_get_color_type(d.png, d.info);
    const int bitDepth = png_get_bit_depth(d.png, d.info);

    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 profileLength = 0;
    // A grey picture's profile is for grey, which the conversion to sRGB does not
    // take (Qt's reader ignores it too); grey stays neutral as it is.
    if ((colourType & PNG_COLOR_MASK_COLOR) &&
        png_get_iCCP(d.png, d.info, &name, &compression, &profile, &profileLength))
        d.icc = QByteArray(reinterpret_cast<const char*>(profile),
                           static_cast<qsizetype>(profileLength));
    if (d.icc.isEmpty() && !png_get_valid(d.png, d.info, PNG_INFO_sRGB))
        png_get_gAMA(d.png, d.info, &d.gamma);

    if (colourType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(d.png);
    if (colourType == PNG_COLOR_TYPE_GRAY && bitDepth < 8)
        png_set_expand_gray_1_2_4_to_8(d.png);
    if (png_get_valid(d.png, d.info, PNG_INFO_tRNS))
        png_set_tRNS_to_alpha(d.png);
    if (bitDepth == 16)
        png_set_swap(d.png); // PNG is big-endian; the reducer reads this machine's order
    png_read_update_info(d.png, d.info);
    d.layout.channels = png_get_channels(d.png, d.info);
    d.layout.bits = png_get_bit_depth(d.png, d.info);
    return true;
}

bool readRows(Decoder& d) {
    if (setjmp(png_jmpbuf(d.png)))
        return false;
    for (int y = 0; y < d.stored.height(); ++y) {
        png_read_row(d.png, d.row.data(), nullptr);
        d.reducer->addRow(d.row.data());
    }
    // The chunks after the last row (text, the end marker) are not needed.
    return true;
}

} // namespace

Result<StripPicture> decodePngStrips(QIODevice& device, qint64 dataBytes, qint64 maxPixels,
                                     const QString& what) {
    const auto decoder = std::make_unique<Decoder>();
    Decoder& d = *decoder;
    d.device = &device;
    const auto failure = [&d, &what] {
        if (d.endedEarly)
            return Failure{
                QCoreApplication::translate(
                    "ImageDecoding", "%1: the picture's data ends early (the file is cut short)")
                    .arg(what)};
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot decode the picture (%2)")
                .arg(what, d.fatal)};
    };
    if (!d.info)
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot decode the picture (%2)")
                .arg(what, QStringLiteral("libpng cannot start"))};
    if (!readHeader(d))
        return failure();

    if (const Status held = render::checkDataHolds(d.stored, dataBytes, what); !held)
        return held.failure();
    if (d.interlaced)
        return Failure{
            QCoreApplication::translate(
                "ImageDecoding",
                "%1: %2 × %3 pixels is more than the %4-megapixel limit, and an interlaced PNG "
                "cannot be read in strips to open it reduced; save it without interlacing")
                .arg(what)
                .arg(d.stored.width())
                .arg(d.stored.height())
                .arg(maxPixels / 1'000'000)};

    const int factor = reductionFactor(d.stored, maxPixels);
    d.reducer = std::make_unique<RowReducer>(d.stored, d.layout, factor);
    if (d.reducer->isNull())
        return Failure{QCoreApplication::translate("ImageDecoding",
                                                   "%1: not enough memory for a %2 × %3 picture")
                           .arg(what)
                           .arg(d.reducer->outputSize().width())
                           .arg(d.reducer->outputSize().height())};
    d.row.resize(png_get_rowbytes(d.png, d.info));
    if (!readRows(d))
        return failure();

    StripPicture picture;
    picture.image = d.reducer->finish();
    picture.storedSize = d.stored;
    picture.scale = factor;
    picture.icc = d.icc;
    // What Qt's reader makes of a gAMA chunk alone: sRGB's primaries with that curve.
    if (picture.icc.isEmpty() && d.gamma > 0.0)
        picture.icc =
            QColorSpace(QColorSpace::Primaries::SRgb, QColorSpace::TransferFunction::Gamma,
                        static_cast<float>(1.0 / d.gamma))
                .iccProfile();
    return picture;
}

} // namespace velmora
