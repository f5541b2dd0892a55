// PNG and TIFF beyond the pixel limit, read in strips and reduced as they are read.
// The limit is a parameter, so small generated files stand in for huge ones.

#include "model/ImageDecoding.h"
#include "model/PngDecoding.h"
#include "model/StripReduction.h"
#include "model/TiffDecoding.h"
#include "render/SourcePixels.h"
#include "support/TestSupport.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QImageWriter>

#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

using namespace velmora;

namespace {

QByteArray written(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, format).write(image);
    return bytes;
}

const QString what = QStringLiteral("pano.png");

Result<StripPicture> pngStrips(const QByteArray& png, qint64 maxPixels) {
    QBuffer buffer;
    buffer.setData(png);
    buffer.open(QIODevice::ReadOnly);
    return decodePngStrips(buffer, png.size(), maxPixels, what);
}

// The PNG kinds Qt's writer does not make: grey with alpha, interlaced, gAMA alone.
QByteArray pngWithLibpng(const QImage& image, int colourType, bool interlaced, double gamma = 0.0) {
    const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888);
    const int channels = colourType == PNG_COLOR_TYPE_GRAY         ? 1
                         : colourType == PNG_COLOR_TYPE_GRAY_ALPHA ? 2
                         : colourType == PNG_COLOR_TYPE_RGB        ? 3
                                                                   : 4;
    std::vector<std::vector<png_byte>> rows(static_cast<size_t>(rgba.height()));
    for (int y = 0; y < rgba.height(); ++y) {
        const uchar* in = rgba.constScanLine(y);
        for (int x = 0; x < rgba.width(); ++x, in += 4) {
            const uchar kept[4][4] = {
                {in[0]}, {in[0], in[3]}, {in[0], in[1], in[2]}, {in[0], in[1], in[2], in[3]}};
            rows[size_t(y)].insert(rows[size_t(y)].end(), kept[channels - 1],
                                   kept[channels - 1] + channels);
        }
    }
    std::vector<png_bytep> pointers;
    for (auto& row : rows)
        pointers.push_back(row.data());
    QByteArray bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp p, png_bytep data, size_t length) {
            static_cast<QByteArray*>(png_get_io_ptr(p))
                ->append(reinterpret_cast<const char*>(data), qsizetype(length));
        },
        nullptr);
    png_set_IHDR(png, info, png_uint_32(rgba.width()), png_uint_32(rgba.height()), 8, colourType,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (gamma > 0.0)
        png_set_gAMA(png, info, gamma);
    png_write_info(png, info);
    png_write_image(png, pointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

struct TiffLayout {
    int tile = 0; // 0: strips of 7 rows
    bool separatePlanes = false;
    bool associatedAlpha = false;
    uint16_t orientation = ORIENTATION_TOPLEFT;
};

// `image` as Format_RGB888, RGBA8888, RGBA64 or Grayscale16, whose rows are TIFF's
// samples as they lie.
QString tiffWithLibtiff(const QString& path, const QImage& image, const TiffLayout& layout) {
    const int bits = image.depth() == 64 || image.depth() == 16 ? 16 : 8;
    const int channels = image.depth() / bits;
    TIFF* tiff = TIFFOpen(path.toLocal8Bit().constData(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, uint32_t(image.width()));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, uint32_t(image.height()));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, uint16_t(bits));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, uint16_t(channels));
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, layout.orientation);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                 layout.separatePlanes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (channels == 4) {
        const uint16_t kind =
            layout.associatedAlpha ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    const int pixelBytes = channels * bits / 8;
    if (layout.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, uint32_t(layout.tile));
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, uint32_t(layout.tile));
        std::vector<uchar> tile(size_t(layout.tile * layout.tile * pixelBytes));
        for (int y = 0; y < image.height(); y += layout.tile) {
            for (int x = 0; x < image.width(); x += layout.tile) {
                std::fill(tile.begin(), tile.end(), 0);
                for (int r = 0; r < layout.tile && y + r < image.height(); ++r)
                    std::memcpy(tile.data() + r * layout.tile * pixelBytes,
                                image.constScanLine(y + r) + x * pixelBytes,
                                size_t(std::min(layout.tile, image.width() - x) * pixelBytes));
                TIFFWriteTile(tiff, tile.data(), uint32_t(x), uint32_t(y), 0, 0);
            }
        }
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 7u);
        std::vector<uchar> plane(size_t(image.width()));
        // Separate planes are written a whole plane after another, 8-bit only.
        for (int c = 0; c < (layout.separatePlanes ? channels : 1); ++c) {
            for (int y = 0; y < image.height(); ++y) {
                const uchar* row = image.constScanLine(y);
                for (int x = 0; layout.separatePlanes && x < image.width(); ++x)
                    plane[size_t(x)] = row[x * channels + c];
                TIFFWriteScanline(tiff,
                                  layout.separatePlanes ? plane.data() : const_cast<uchar*>(row),
                                  uint32_t(y), uint16_t(c));
            }
        }
    }
    TIFFClose(tiff);
    return path;
}

Result<StripPicture> tiffStrips(const QString& path, qint64 maxPixels) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure{path + QStringLiteral(": cannot be opened")};
    return decodeTiffStrips(file, file.size(), maxPixels, path);
}

// Left half one colour, right half another: every block of an even factor is flat,
// so the reduced picture's colours are known exactly.
QImage twoColours(QSize size, QColor left, QColor right, QImage::Format format) {
    QImage image(size, QImage::Format_RGBA64);
    image.fill(left);
    for (int y = 0; y < size.height(); ++y)
        for (int x = size.width() / 2; x < size.width(); ++x)
            image.setPixelColor(x, y, right);
    return image.convertToFormat(format);
}

} // namespace

TEST(StripReduction, FactorIsTheSmallestIntegerThatFits) {
    EXPECT_EQ(reductionFactor({1000, 1000}, 1'000'000), 1);
    EXPECT_EQ(reductionFactor({30000, 15000}, 200'000'000), 2);
    EXPECT_EQ(reductionFactor({44000, 22000}, 200'000'000), 3); // 22000 x 11000 is 242 MP
    // Blocks cut off at the edges count whole: 3 x 3 at 2 is 2 x 2.
    EXPECT_EQ(reductionFactor({3, 3}, 4), 2);
    EXPECT_EQ(reductionFactor({3, 3}, 3), 3);
}

// Blocks are averaged in linear light with colour weighted by alpha: a fine checker
// is the grey that looks as bright (188, not 128), a transparent pixel lends no
// colour, and blocks cut off at the right edge average only what they hold.
TEST(StripReduction, AveragesInLinearLightWeightedByAlpha) {
    const uchar checker[2][5 * 3] = {{0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255, 9, 9, 9},
                                     {255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0, 9, 9, 9}};
    RowReducer grey({5, 2}, {3, 8, false}, 2);
    grey.addRow(checker[0]);
    grey.addRow(checker[1]);
    const QImage reduced = grey.finish();
    ASSERT_EQ(reduced.size(), QSize(3, 1));
    EXPECT_EQ(reduced.format(), QImage::Format_RGB32);
    EXPECT_EQ(reduced.pixel(0, 0), qRgb(188, 188, 188));
    EXPECT_EQ(reduced.pixel(2, 0), qRgb(9, 9, 9));

    const uint16_t deep[4] = {0, 65535, 65535, 65535}; // grey, alpha: black, white
    const uint16_t deepRow[4] = {65535, 65535, 0, 65535};
    RowReducer sixteen({2, 2}, {2, 16, false}, 2);
    sixteen.addRow(reinterpret_cast<const uchar*>(deep));
    sixteen.addRow(reinterpret_cast<const uchar*>(deepRow));
    const QImage wide = sixteen.finish();
    EXPECT_EQ(wide.format(), QImage::Format_RGBA64);
    EXPECT_NEAR(wide.pixelColor(0, 0).redF(), 0.7354, 0.0001);

    // Transparent red beside opaque blue; premultiplied, the red is stored as zeros.
    for (const bool premultiplied : {false, true}) {
        const uchar row[8] = {uchar(premultiplied ? 0 : 255), 0, 0, 0, 0, 0, 255, 255};
        RowReducer alpha({2, 1}, {4, 8, premultiplied}, 2);
        alpha.addRow(row);
        EXPECT_EQ(alpha.finish().pixel(0, 0), qRgba(0, 0, 255, 128)) << premultiplied;
    }
    const uchar halfRed[4] = {128, 0, 0, 128}; // premultiplied (255, 0, 0) at half
    RowReducer unpremultiplied({1, 1}, {4, 8, true}, 1);
    unpremultiplied.addRow(halfRed);
    EXPECT_EQ(unpremultiplied.finish().pixel(0, 0), qRgba(255, 0, 0, 128));
}

TEST(PngStrips, AReducedPictureLooksLikeACopyShrunkBeforehand) {
    const QImage panorama = test::testPanorama(600, 300);
    const Result<StripPicture> decoded = pngStrips(written(panorama, "png"), 600 * 300 / 3);
    ASSERT_TRUE(decoded.ok()) << decoded.message();
    EXPECT_EQ(decoded->scale, 2);
    EXPECT_EQ(decoded->storedSize, QSize(600, 300));
    const QImage shrunk =
        panorama.scaled(300, 150, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_LE(test::meanAbsoluteDifference(decoded->image, shrunk), 1.0);
}

// Every colour type and depth libpng hands over becomes the right colours in the
// right layout: 16 bits stay 16 (and in this machine's byte order), alpha stays.
TEST(PngStrips, EveryColourTypeAndDepth) {
    struct Case {
        const char* name;
        QByteArray png;
        QImage::Format expected;
        QColor left, right;
    };
    const QSize size(40, 20);
    // Written by Qt: the expected colours are those of the picture written.
    const auto qtCase = [&](const char* name, const QImage& image, QImage::Format expected) {
        return Case{name, written(image, "png"), expected, image.pixelColor(0, 0),
                    image.pixelColor(size.width() - 1, 0)};
    };
    const QColor deep = QColor::fromRgba64(0x1234, 0x8765, 0xfedc);
    const QColor right(200, 100, 30, 120);
    const QColor grey(90, 90, 90);
    QImage palette(size, QImage::Format_Indexed8);
    palette.setColorTable({qRgb(10, 20, 30), right.rgba()});
    palette.fill(0);
    for (int y = 0; y < size.height(); ++y)
        std::memset(palette.scanLine(y) + size.width() / 2, 1, size_t(size.width() / 2));
    const Case cases[] = {
        qtCase("rgb16", twoColours(size, deep, Qt::red, QImage::Format_RGBX64),
               QImage::Format_RGBX64),
        qtCase("rgba16", twoColours(size, deep, right, QImage::Format_RGBA64),
               QImage::Format_RGBA64),
        qtCase("rgba8", twoColours(size, Qt::blue, right, QImage::Format_ARGB32),
               QImage::Format_ARGB32),
        qtCase("grey16", twoColours(size, deep, Qt::white, QImage::Format_Grayscale16),
               QImage::Format_RGBX64),
        qtCase("palette and tRNS", palette, QImage::Format_ARGB32),
        {"grey and alpha (libpng)",
         pngWithLibpng(twoColours(size, grey, QColor(200, 0, 0, 64), QImage::Format_ARGB32),
                       PNG_COLOR_TYPE_GRAY_ALPHA, false),
         QImage::Format_ARGB32, grey, QColor(200, 200, 200, 64)},
        {"grey8 (libpng)",
         pngWithLibpng(twoColours(size, grey, Qt::white, QImage::Format_RGB32), PNG_COLOR_TYPE_GRAY,
                       false),
         QImage::Format_RGB32, grey, Qt::white},
    };
    const auto distance = [](QColor a, QColor b) { // in 16-bit steps
        const QRgba64 p = a.rgba64(), q = b.rgba64();
        return std::max({std::abs(p.red() - q.red()), std::abs(p.green() - q.green()),
                         std::abs(p.blue() - q.blue()), std::abs(p.alpha() - q.alpha())});
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Result<StripPicture> decoded = pngStrips(c.png, 200);
        ASSERT_TRUE(decoded.ok()) << decoded.message();
        ASSERT_EQ(decoded->image.size(), QSize(20, 10));
        EXPECT_EQ(decoded->image.format(), c.expected);
        EXPECT_LE(distance(decoded->image.pixelColor(4, 5), c.left), 3);
        EXPECT_LE(distance(decoded->image.pixelColor(15, 5), c.right), 3);
    }
}

TEST(PngStrips, InterlacedCutAndHollowFilesFailInWordsNamingTheFile) {
    const QImage panorama = test::testPanorama(64, 32);
    const QByteArray interlaced = pngWithLibpng(panorama, PNG_COLOR_TYPE_RGB, true);
    const Result<StripPicture> refused = pngStrips(interlaced, 500);
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.message(),
              QStringLiteral("pano.png: 64 × 32 pixels is more than the 0-megapixel limit, and "
                             "an interlaced PNG cannot be read in strips to open it reduced; "
                             "save it without interlacing"));
    // Within the limit Qt's reader opens it as before.
    EXPECT_TRUE(decodeImageData(interlaced).ok());

    const QByteArray whole = written(panorama, "png");
    const Result<StripPicture> cut = pngStrips(whole.left(whole.size() * 2 / 3), 500);
    EXPECT_EQ(cut.message(),
              QStringLiteral("pano.png: the picture's data ends early (the file is cut short)"));
    QByteArray damaged = whole;
    damaged[damaged.indexOf("IDAT") + 40] = '\x55';
    EXPECT_TRUE(pngStrips(damaged, 500)
                    .message()
                    .startsWith(QStringLiteral("pano.png: cannot decode the picture (")));

    const Result<StripPicture> hollow = pngStrips(test::pngClaiming(30000, 20000), 500);
    EXPECT_TRUE(hollow.message().contains(QStringLiteral("far too few"))) << hollow.message();
}

// Strips of 7 rows, tiles whose last row and column hang over the picture, 16-bit
// RGBA and grey, associated alpha: each reduces like the PNG of the same pixels.
TEST(TiffStrips, StripsAndTilesReduceAlike) {
    const test::TempTree files;
    const QImage panorama = test::testPanorama(100, 50).convertToFormat(QImage::Format_RGB888);
    const QImage expected = pngStrips(written(panorama, "png"), 1300)->image;
    for (const int tile : {0, 32}) {
        const Result<StripPicture> decoded = tiffStrips(
            tiffWithLibtiff(files.file(QStringLiteral("p.tif")), panorama, {tile}), 1300);
        ASSERT_TRUE(decoded.ok()) << decoded.message();
        EXPECT_EQ(decoded->scale, 2);
        EXPECT_EQ(decoded->image, expected) << tile;
    }

    const QColor left = QColor::fromRgba64(0x1234, 0x8765, 0xfedc, 0x8000);
    const QImage deep = twoColours({40, 20}, left, Qt::white, QImage::Format_RGBA64);
    for (const bool associated : {false, true}) {
        // Associated alpha: the colour is stored multiplied by it.
        QImage stored = deep;
        for (int y = 0; associated && y < stored.height(); ++y) {
            auto* p = reinterpret_cast<uint16_t*>(stored.scanLine(y));
            for (int i = 0; i < 4 * stored.width(); ++i)
                if (i % 4 != 3)
                    p[i] = uint16_t((p[i] * uint32_t(p[i / 4 * 4 + 3]) + 32767) / 65535);
        }
        TiffLayout layout{16};
        layout.associatedAlpha = associated;
        const Result<StripPicture> decoded = tiffStrips(
            tiffWithLibtiff(files.file(QStringLiteral("deep.tif")), stored, layout), 200);
        ASSERT_TRUE(decoded.ok()) << decoded.message();
        EXPECT_EQ(decoded->image.format(), QImage::Format_RGBA64);
        const QRgba64 got = decoded->image.pixelColor(3, 3).rgba64();
        EXPECT_NEAR(got.green(), 0x8765, 4) << associated;
        EXPECT_NEAR(got.alpha(), 0x8000, 1) << associated;
    }
    const Result<StripPicture> grey =
        tiffStrips(tiffWithLibtiff(files.file(QStringLiteral("grey.tif")),
                                   deep.convertToFormat(QImage::Format_Grayscale16), {}),
                   200);
    ASSERT_TRUE(grey.ok()) << grey.message();
    EXPECT_EQ(grey->image.format(), QImage::Format_RGBX64);
}

TEST(TiffStrips, UnreadableLayoutsAndDamagedFilesFailInWords) {
    const test::TempTree files;
    const QImage panorama = test::testPanorama(60, 30).convertToFormat(QImage::Format_RGB888);
    TiffLayout planes;
    planes.separatePlanes = true;
    const QString planar =
        tiffWithLibtiff(files.file(QStringLiteral("planes.tif")), panorama, planes);
    EXPECT_EQ(tiffStrips(planar, 500).message(),
              planar + QStringLiteral(": 60 × 30 pixels is more than the 0-megapixel limit, and "
                                      "a TIFF with its channels in separate planes cannot be "
                                      "read in strips to open it reduced; save it as 8- or "
                                      "16-bit grey or RGB with the channels interleaved"));

    QFile whole(tiffWithLibtiff(files.file(QStringLiteral("whole.tif")), panorama, {}));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    // libtiff writes the directory last: keep it, lose the middle of the pixel data.
    const QString cut =
        files.addFile(QStringLiteral("cut.tif"), bytes.left(bytes.size() / 3) +
                                                     QByteArray(bytes.size() / 3, '\0') +
                                                     bytes.mid(bytes.size() * 2 / 3));
    const Result<StripPicture> broken = tiffStrips(cut, 500);
    EXPECT_FALSE(broken.ok());
    EXPECT_TRUE(broken.message().startsWith(cut + QStringLiteral(": cannot decode the picture (")))
        << broken.message();
}

// The whole path: beyond the limit a PNG or TIFF opens reduced, says so in one
// warning naming the file, stands as its orientation says and is brought into sRGB
// from its profile as Qt's reader would have.
TEST(HugeSources, OpenReducedWithAWarningUprightAndInSrgb) {
    const test::TempTree files;
    const QString png = files.file(QStringLiteral("wide.png"));
    ASSERT_TRUE(test::testPanorama(1600, 800).save(png));
    QStringList warnings;
    const Result<render::Image> opened = decodeImageFile(png, &warnings, 1'000'000);
    ASSERT_TRUE(opened.ok()) << opened.message();
    EXPECT_EQ(opened->extent(), QRectF(0, 0, 800, 400));
    EXPECT_EQ(warnings, QStringList{png + QStringLiteral(": 1600 × 800 pixels is more than the "
                                                         "1-megapixel limit; opened at half the "
                                                         "size, 800 × 400")});

    TiffLayout turned;
    turned.orientation = ORIENTATION_RIGHTTOP;
    const QString tiff = tiffWithLibtiff(
        files.file(QStringLiteral("turned.tif")),
        test::testPanorama(600, 300).convertToFormat(QImage::Format_RGB888), turned);
    const Result<render::Image> upright = decodeImageFile(tiff, nullptr, 1800);
    ASSERT_TRUE(upright.ok()) << upright.message();
    EXPECT_EQ(upright->extent(), QRectF(0, 0, 30, 60)); // a tenth, turned a quarter

    // Adobe RGB from its profile, and a gamma of 1.8 with nothing else: the same
    // colours whether read in strips or by Qt.
    QImage flat(64, 32, QImage::Format_RGB32);
    flat.fill(QColor(40, 160, 90));
    QImage adobe = flat;
    adobe.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    for (const QByteArray& data :
         {written(adobe, "png"), pngWithLibpng(flat, PNG_COLOR_TYPE_RGB, false, 1 / 1.8)}) {
        const auto colour = [&](qint64 maxPixels) {
            const Result<render::Image> decoded = decodeImageData(data, {}, nullptr, maxPixels);
            return decoded ? decoded->sourcePixels()->image().pixelColor(5, 5) : QColor();
        };
        EXPECT_LE(test::channelDistance(colour(500), colour(10'000)), 1);
        EXPECT_GT(test::channelDistance(colour(500), QColor(40, 160, 90)), 5);
    }
}
