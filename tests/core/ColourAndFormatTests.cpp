#include "model/ColorProfile.h"
#include "model/ImageDecoding.h"
#include "model/Resources.h"
#include "render/AnimationWriter.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QColorSpace>
#include <QDir>
#include <QFile>
#include <QSet>

#include <gtest/gtest.h>

#include <libheif/heif.h>

#include <cstring>
#include <memory>

using namespace velmora;

namespace {

/// Saturated and quiet colours side by side, all inside sRGB (so Display P3 holds
/// them exactly and nothing clips either way).
QImage swatches() {
    QImage image(96, 64, QImage::Format_RGB32);
    const QColor colours[] = {QColor(220, 40, 30),  QColor(40, 190, 60),   QColor(30, 60, 210),
                              QColor(240, 200, 40), QColor(128, 128, 128), QColor(90, 160, 230)};
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixelColor(x, y, colours[(x / 32) + 3 * (y / 32)]);
    return image;
}

QImage pixelsOf(const render::Image& image) {
    return render::RenderContext().render(image, image.extent().toAlignedRect(),
                                          render::RenderContext::Layout::straightRgba8);
}

/// Over the swatches' insides: JPEG's halved chroma blurs their borders.
int largestDifference(const QImage& a, const QImage& b) {
    int largest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (x % 32 >= 4 && x % 32 < 28 && y % 32 >= 4 && y % 32 < 28)
                largest = std::max(largest,
                                   test::channelDistance(a.pixelColor(x, y), b.pixelColor(x, y)));
    return largest;
}

struct HeifContextFree {
    void operator()(heif_context* c) const { heif_context_free(c); }
};

/// Writes `image` (8-bit) as HEIC or AVIF with libheif's own encoders, nearly
/// lossless; `icc` rides along as the file's profile.
bool writeHeif(const QImage& source, const QString& path, heif_compression_format format,
               const QByteArray& icc = {}) {
    const QImage rgb = source.convertToFormat(QImage::Format_RGB888);
    std::unique_ptr<heif_context, HeifContextFree> context(heif_context_alloc());
    heif_encoder* encoder = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), format, &encoder).code != heif_error_Ok)
        return false;
    heif_encoder_set_lossy_quality(encoder, 98);
    heif_image* image = nullptr;
    heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB,
                      &image);
    heif_image_add_plane(image, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < rgb.height(); ++y)
        std::memcpy(plane + y * stride, rgb.constScanLine(y), static_cast<size_t>(rgb.width()) * 3);
    if (!icc.isEmpty())
        heif_image_set_raw_color_profile(image, "prof", icc.constData(),
                                         static_cast<size_t>(icc.size()));
    heif_encoding_options* options = heif_encoding_options_alloc();
    const bool encoded =
        heif_context_encode_image(context.get(), image, encoder, options, nullptr).code ==
        heif_error_Ok;
    heif_encoding_options_free(options);
    heif_image_release(image);
    heif_encoder_release(encoder);
    return encoded &&
           heif_context_write_to_file(context.get(), QFile::encodeName(path).constData()).code ==
               heif_error_Ok;
}

} // namespace

// The same colours saved plainly (sRGB) and converted into Display P3 with its
// profile embedded come back as the same sRGB values, whichever format carries the
// profile. The conversion into P3 is Qt's own, so the two sides are independent.
TEST(ColourProfiles, ADisplayP3PictureOpensAsTheSameSrgbColours) {
    const test::TempTree tree;
    const QImage srgb = swatches();
    QImage p3 = srgb.convertToFormat(QImage::Format_ARGB32);
    p3.setColorSpace(QColorSpace(QColorSpace::SRgb));
    p3.convertToColorSpace(QColorSpace(QColorSpace::DisplayP3));
    ASSERT_GT(largestDifference(srgb, p3), 10) << "P3 values differ from sRGB ones";

    const QString plain = tree.file(QStringLiteral("plain.png"));
    ASSERT_TRUE(srgb.save(plain));
    const QImage reference = pixelsOf(decodeImageFile(plain).value());
    for (const char* format : {"png", "jpg"}) {
        const QString tagged = tree.file(QStringLiteral("p3.") + QLatin1String(format));
        ASSERT_TRUE(p3.save(tagged, nullptr, 100));
        QStringList warnings;
        const Result<render::Image> opened = decodeImageFile(tagged, &warnings);
        ASSERT_TRUE(opened) << opened.message();
        EXPECT_TRUE(warnings.isEmpty()) << warnings;
        // JPEG's own loss at quality 100 is a level or two on top.
        EXPECT_LE(largestDifference(pixelsOf(*opened), reference), format[0] == 'p' ? 2 : 4)
            << format;
    }
}

// What cannot be used is said, and the colours stay as they were; sRGB and nothing
// at all leave the pixels alone.
TEST(ColourProfiles, UnusableProfilesWarnAndChangeNothing) {
    QImage image = swatches();
    const QImage before = image.copy();
    EXPECT_TRUE(convertToSrgb(image, {}));
    EXPECT_TRUE(convertToSrgb(image, QColorSpace(QColorSpace::SRgb).iccProfile()));
    EXPECT_EQ(image, before);
    const Status garbage = convertToSrgb(image, QByteArray("not a profile at all", 20));
    EXPECT_FALSE(garbage);
    EXPECT_EQ(image, before);
}

// HEIC (HEVC) and AVIF (AV1) written by libheif's encoders open as the picture, at
// its size, in its colours; a P3 profile inside one is honoured.
TEST(HeifPictures, HeicAndAvifOpenInTheirColours) {
    const test::TempTree tree;
    const QImage picture = swatches();
    const struct {
        heif_compression_format format;
        const char* name;
    } kinds[] = {{heif_compression_HEVC, "picture.heic"}, {heif_compression_AV1, "picture.avif"}};
    for (const auto& kind : kinds) {
        const QString path = tree.file(QLatin1String(kind.name));
        ASSERT_TRUE(writeHeif(picture, path, kind.format)) << kind.name;
        const Result<render::Image> opened = decodeImageFile(path);
        ASSERT_TRUE(opened) << opened.message();
        const QImage pixels = pixelsOf(*opened);
        EXPECT_EQ(pixels.size(), picture.size());
        // Away from the swatches' edges, where chroma subsampling blurs.
        for (const QPoint at : {QPoint(16, 16), QPoint(48, 16), QPoint(80, 48)})
            EXPECT_LE(test::channelDistance(pixels.pixelColor(at), picture.pixelColor(at)), 6)
                << kind.name << " at " << at.x() << "," << at.y();
    }

    QImage p3 = picture.convertToFormat(QImage::Format_ARGB32);
    p3.setColorSpace(QColorSpace(QColorSpace::SRgb));
    p3.convertToColorSpace(QColorSpace(QColorSpace::DisplayP3));
    const QString tagged = tree.file(QStringLiteral("p3.heic"));
    ASSERT_TRUE(writeHeif(p3, tagged, heif_compression_HEVC,
                          QColorSpace(QColorSpace::DisplayP3).iccProfile()));
    const QImage opened = pixelsOf(decodeImageFile(tagged).value());
    for (const QPoint at : {QPoint(16, 16), QPoint(48, 48)})
        EXPECT_LE(test::channelDistance(opened.pixelColor(at), picture.pixelColor(at)), 6);

    // The same bytes pasted (no file name to go by) open too.
    QFile file(tree.file(QStringLiteral("picture.heic")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(decodeImageData(file.readAll()));
    EXPECT_TRUE(readableImageSuffixes().contains(QStringLiteral("heic")));
    EXPECT_TRUE(readableImageSuffixes().contains(QStringLiteral("avif")));
}

// A damaged HEIF fails naming the file; one whose header claims more pixels than
// its bytes could hold is refused before decoding.
TEST(HeifPictures, DamagedFilesFailNamingTheFile) {
    const test::TempTree tree;
    const QString whole = tree.file(QStringLiteral("whole.heic"));
    ASSERT_TRUE(writeHeif(swatches(), whole, heif_compression_HEVC));
    QFile file(whole);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    const QString cut = tree.addFile(QStringLiteral("cut.heic"), bytes.left(bytes.size() / 2));
    const Result<render::Image> opened = decodeImageFile(cut);
    ASSERT_FALSE(opened);
    EXPECT_TRUE(opened.message().startsWith(cut)) << opened.message();
}

// A 10-bit HEIC keeps its precision: a ramp of 1024 steps opens at 16 bits with
// far more than the 256 levels 8 bits would leave.
TEST(HeifPictures, TenBitPicturesKeepTheirPrecision) {
    const test::TempTree tree;
    const int width = 1024;
    const int height = 16;
    std::unique_ptr<heif_context, HeifContextFree> context(heif_context_alloc());
    heif_encoder* encoder = nullptr;
    ASSERT_EQ(
        heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &encoder).code,
        heif_error_Ok);
    heif_encoder_set_lossy_quality(encoder, 100);
    heif_image* image = nullptr;
    heif_image_create(width, height, heif_colorspace_RGB, heif_chroma_interleaved_RRGGBB_LE,
                      &image);
    heif_image_add_plane(image, heif_channel_interleaved, width, height, 10);
    // YCbCr, as cameras write it.
    heif_color_profile_nclx* nclx = heif_nclx_color_profile_alloc();
    nclx->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
    nclx->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
    nclx->full_range_flag = 1;
    heif_image_set_nclx_color_profile(image, nclx);
    heif_nclx_color_profile_free(nclx);
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<uint16_t*>(plane + y * stride);
        for (int x = 0; x < width; ++x)
            row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = static_cast<uint16_t>(x);
    }
    ASSERT_EQ(heif_context_encode_image(context.get(), image, encoder, nullptr, nullptr).code,
              heif_error_Ok);
    heif_image_release(image);
    heif_encoder_release(encoder);
    const QString path = tree.file(QStringLiteral("ramp.heic"));
    ASSERT_EQ(heif_context_write_to_file(context.get(), QFile::encodeName(path).constData()).code,
              heif_error_Ok);

    const Result<render::Image> opened = decodeImageFile(path);
    ASSERT_TRUE(opened) << opened.message();
    const QImage deep = render::RenderContext().render(
        *opened, QRect(0, 0, width, height), render::RenderContext::Layout::straightRgba16);
    QSet<quint16> levels;
    const auto* row = reinterpret_cast<const QRgba64*>(deep.constScanLine(height / 2));
    for (int x = 0; x < width; ++x)
        levels.insert(row[x].green());
    EXPECT_GT(levels.size(), 600);
    EXPECT_GE(row[width - 1].green(), 65000); // white stays white
}

// The HEIF and video codecs are modules loaded when first needed. Without them a
// HEIF picture or an MP4 fails in words naming the file and the missing module, and
// a JPEG opens as ever: it never asks for one.
TEST(CodecModules, MissingModulesFailInWordsAndJpegNeedsNone) {
    const test::TempTree tree;
    const QString heic = tree.file(QStringLiteral("p.heic"));
    ASSERT_TRUE(writeHeif(swatches(), heic, heif_compression_HEVC));
    const QString jpeg = tree.file(QStringLiteral("p.jpg"));
    ASSERT_TRUE(swatches().save(jpeg, "JPEG"));
    const QString video = tree.file(QStringLiteral("loop.mp4"));

    setResourcesRoot(tree.path()); // a resources folder without codecs
    const Result<render::Image> heif = decodeImageFile(heic);
    const Result<render::Image> plain = decodeImageFile(jpeg);
    const auto mp4 = render::AnimationWriter::open(
        video, {render::AnimationFormat::mp4, 64, 30, 80}, codecFolder());
    setResourcesRoot({});

    ASSERT_FALSE(heif);
    EXPECT_TRUE(heif.message().startsWith(heic)) << heif.message();
    EXPECT_TRUE(heif.message().contains(QStringLiteral("codecs/heif.so"))) << heif.message();
    EXPECT_TRUE(plain) << plain.message();
    ASSERT_FALSE(mp4);
    EXPECT_TRUE(mp4.message().startsWith(video)) << mp4.message();
    EXPECT_TRUE(mp4.message().contains(QStringLiteral("codecs/video.so"))) << mp4.message();
    EXPECT_FALSE(QFile::exists(video));
    EXPECT_EQ(QDir(tree.path()).entryList(QDir::Files | QDir::Hidden).size(), 2); // the pictures
}
