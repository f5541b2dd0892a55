#include "model/TiffDecoding.h"

#include "render/DecodeBudget.h"

#include <QCoreApplication>
#include <QIODevice>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include <tiffio.h>

namespace velmora {

namespace {

// libtiff asks for no single allocation above this: a strip that claims more is an
// error in words rather than an allocation that brings the machine down.
constexpr tmsize_t maxLibraryAllocation = tmsize_t{512} << 20;

/// What libtiff reads through, and what it said.
struct Source {
    QIODevice* device = nullptr;
    bool endedEarly = false;
    QString error;
};

Source& sourceOf(thandle_t handle) {
    return *static_cast<Source*>(handle);
}

tmsize_t readData(thandle_t handle, void* buffer, tmsize_t size) {
    Source& source = sourceOf(handle);
    const qint64 got = source.device->read(static_cast<char*>(buffer), size);
    if (got >= 0 && got < size)
        source.endedEarly = true;
    return got;
}

tmsize_t writeData(thandle_t, void*, tmsize_t) {
    return -1;
}

toff_t seekData(thandle_t handle, toff_t offset, int whence) {
    QIODevice& device = *sourceOf(handle).device;
    const auto signedOffset = static_cast<qint64>(offset);
    qint64 target = signedOffset;
    if (whence == SEEK_CUR)
        target = device.pos() + signedOffset;
    else if (whence == SEEK_END)
        target = device.size() + signedOffset;
    // Qt warns on standard error about seeks outside a buffer; a bad offset is
    // libtiff's error to report.
    if (target < 0 || target > device.size() || !device.seek(target))
        return static_cast<toff_t>(-1);
    return static_cast<toff_t>(target);
}

int closeData(thandle_t) {
    return 0;
}

toff_t dataSize(thandle_t handle) {
    return static_cast<toff_t>(sourceOf(handle).device->size());
}

// No mapping: a mapped file's pages would count as resident memory as they are read.
int mapData(thandle_t, void**, toff_t*) {
    return 0;
}

void unmapData(thandle_t, void*, toff_t) {}

// libtiff's default handlers print to standard error. These keep the first error as
// the failure's reason; warnings (unknown tags and the like) are not worth a word.
__attribute__((format(printf, 4, 0))) int onError(TIFF*, void* user, const char*,
                                                  const char* format, va_list args) {
    Source& source = *static_cast<Source*>(user);
    if (source.error.isEmpty()) {
        char text[512];
        std::vsnprintf(text, sizeof text, format, args);
        source.error = QString::fromUtf8(text);
    }
    return 1;
}

int onWarning(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct TiffClose {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, TiffClose>;

struct Buffer {
    std::unique_ptr<unsigned char[]> bytes;
    explicit Buffer(uint64_t size)
        : bytes(new (std::nothrow) unsigned char[size]) {}
    unsigned char* data() const { return bytes.get(); }
    explicit operator bool() const { return bytes != nullptr; }
};

/// Why the picture's layout cannot be read here, or empty when it can; fills
/// `layout` for those that can.
QString unreadableLayout(TIFF* tiff, SampleLayout& layout) {
    uint16_t bits = 1, samples = 1, planar = PLANARCONFIG_CONTIG, format = SAMPLEFORMAT_UINT;
    uint16_t photometric = 0, compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric))
        photometric = samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;

    if (bits != 8 && bits != 16)
        return QCoreApplication::translate("ImageDecoding", "%1 bits per sample").arg(bits);
    if (format != SAMPLEFORMAT_UINT)
        return QCoreApplication::translate("ImageDecoding", "floating-point or signed samples");
    if (planar != PLANARCONFIG_CONTIG && samples > 1)
        return QCoreApplication::translate("ImageDecoding", "its channels in separate planes");
    // libjpeg turns JPEG-compressed YCbCr into RGB as it decodes.
    if (photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG &&
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB))
        photometric = PHOTOMETRIC_RGB;
    const bool grey = photometric == PHOTOMETRIC_MINISBLACK && samples <= 2;
    const bool rgb = photometric == PHOTOMETRIC_RGB && (samples == 3 || samples == 4);
    if (!grey && !rgb)
        return QCoreApplication::translate("ImageDecoding",
                                           "channels other than grey or RGB, with or without "
                                           "alpha");

    layout.channels = samples;
    layout.bits = bits;
    uint16_t extraCount = 0;
    uint16_t* extraKinds = nullptr;
    layout.premultiplied =
        layout.hasAlpha() &&
        TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extraKinds) &&
        extraCount > 0 && extraKinds[0] == EXTRASAMPLE_ASSOCALPHA;
    return {};
}

/// Notes `reason` as the failure's, unless libtiff said something first.
bool fail(Source& source, const char* reason) {
    if (source.error.isEmpty())
        source.error = QString::fromLatin1(reason);
    return false;
}

bool readStrips(TIFF* tiff, QSize stored, int bytesPerPixel, RowReducer& reducer, Source& source) {
    if (TIFFScanlineSize64(tiff) != uint64_t(stored.width()) * bytesPerPixel)
        return fail(source, "rows of an unexpected size");
    const Buffer row(TIFFScanlineSize64(tiff));
    if (!row)
        return fail(source, "not enough memory for a row");
    for (int y = 0; y < stored.height(); ++y) {
        if (TIFFReadScanline(tiff, row.data(), static_cast<uint32_t>(y), 0) < 0)
            return false;
        reducer.addRow(row.data());
    }
    return true;
}

// A band of tile rows at a time: each band is put together across the picture from
// its tiles, then fed row by row.
bool readTiles(TIFF* tiff, QSize stored, int bytesPerPixel, RowReducer& reducer, Source& source) {
    uint32_t tileWidth = 0, tileHeight = 0;
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
    if (tileWidth == 0 || tileHeight == 0 ||
        TIFFTileRowSize64(tiff) != uint64_t(tileWidth) * bytesPerPixel)
        return fail(source, "tiles of an unexpected size");
    const uint64_t rowBytes = uint64_t(stored.width()) * bytesPerPixel;
    const Buffer tile(TIFFTileSize64(tiff));
    const Buffer band(rowBytes * tileHeight);
    if (!tile || !band)
        return fail(source, "not enough memory for a band of tiles");
    const auto width = static_cast<uint32_t>(stored.width());
    const auto height = static_cast<uint32_t>(stored.height());
    for (uint32_t y = 0; y < height; y += tileHeight) {
        const uint32_t rows = std::min(tileHeight, height - y);
        for (uint32_t x = 0; x < width; x += tileWidth) {
            if (TIFFReadTile(tiff, tile.data(), x, y, 0, 0) < 0)
                return false;
            const uint64_t columnBytes = uint64_t(std::min(tileWidth, width - x)) * bytesPerPixel;
            for (uint32_t r = 0; r < rows; ++r)
                std::memcpy(band.data() + r * rowBytes + uint64_t(x) * bytesPerPixel,
                            tile.data() + uint64_t(r) * tileWidth * bytesPerPixel, columnBytes);
        }
        for (uint32_t r = 0; r < rows; ++r)
            reducer.addRow(band.data() + r * rowBytes);
    }
    return true;
}

} // namespace

Result<StripPicture> decodeTiffStrips(QIODevice& device, qint64 dataBytes, qint64 maxPixels,
                                      const QString& what) {
    Source source;
    source.device = &device;
    const auto cannotDecode = [&what](const QString& reason) {
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot decode the picture (%2)")
                .arg(what, reason)};
    };
    const auto failure = [&] {
        if (source.endedEarly)
            return Failure{
                QCoreApplication::translate(
                    "ImageDecoding", "%1: the picture's data ends early (the file is cut short)")
                    .arg(what)};
        return cannotDecode(source.error.isEmpty() ? QStringLiteral("libtiff gives no reason")
                                                   : source.error);
    };

    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, &onError, &source);
    TIFFOpenOptionsSetWarningHandlerExtR(options, &onWarning, &source);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, maxLibraryAllocation);
    // "m": read, never map.
    const Tiff tiff(TIFFClientOpenExt(what.toUtf8().constData(), "rm", &source, &readData,
                                      &writeData, &seekData, &closeData, &dataSize, &mapData,
                                      &unmapData, options));
    TIFFOpenOptionsFree(options);
    if (!tiff)
        return failure();

    uint32_t width = 0, height = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    // libpng's limit on a side, for the same reason: a row must fit in memory.
    constexpr uint32_t maxSide = 1'000'000;
    if (width == 0 || height == 0)
        return cannotDecode(QStringLiteral("it holds no pixels"));
    if (width > maxSide || height > maxSide)
        return cannotDecode(QStringLiteral("a side of %1 pixels, longer than a million")
                                .arg(std::max(width, height)));
    const QSize stored(static_cast<int>(width), static_cast<int>(height));
    if (const Status held = render::checkDataHolds(stored, dataBytes, what); !held)
        return held.failure();

    SampleLayout layout;
    if (const QString unreadable = unreadableLayout(tiff.get(), layout); !unreadable.isEmpty())
        return Failure{
            QCoreApplication::translate(
                "ImageDecoding",
                "%1: %2 × %3 pixels is more than the %4-megapixel limit, and a TIFF with %5 "
                "cannot be read in strips to open it reduced; save it as 8- or 16-bit grey or "
                "RGB with the channels interleaved")
                .arg(what)
                .arg(stored.width())
                .arg(stored.height())
                .arg(maxPixels / 1'000'000)
                .arg(unreadable)};

    StripPicture picture;
    uint32_t iccLength = 0;
    void* icc = nullptr;
    // A grey picture's profile is for grey, which the conversion to sRGB does not take.
    if (layout.channels >= 3 && TIFFGetField(tiff.get(), TIFFTAG_ICCPROFILE, &iccLength, &icc) &&
        icc)
        picture.icc = QByteArray(static_cast<const char*>(icc), static_cast<qsizetype>(iccLength));

    const int factor = reductionFactor(stored, maxPixels);
    RowReducer reducer(stored, layout, factor);
    if (reducer.isNull())
        return Failure{QCoreApplication::translate("ImageDecoding",
                                                   "%1: not enough memory for a %2 × %3 picture")
                           .arg(what)
                           .arg(reducer.outputSize().width())
                           .arg(reducer.outputSize().height())};
    const bool read = TIFFIsTiled(tiff.get())
                          ? readTiles(tiff.get(), stored, layout.bytesPerPixel(), reducer, source)
                          : readStrips(tiff.get(), stored, layout.bytesPerPixel(), reducer, source);
    if (!read)
        return failure();
    picture.image = reducer.finish();
    picture.storedSize = stored;
    picture.scale = factor;
    return picture;
}

} // namespace velmora
