#include "model/DocumentFiles.h"
#include "model/ImageDecoding.h"
#include "model/JpegDecoding.h"
#include "model/PlanetModel.h"
#include "render/PngWriter.h"
#include "render/SourcePixels.h"
#include "support/TestSupport.h"

#include <QBuffer>
#include <QClipboard>
#include <QColorSpace>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>
#include <QMimeData>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// jpeglib.h needs size_t and FILE declared first.
#include <jpeglib.h>

using namespace velmora;

namespace {

using test::jpegOf;

class IntakeTest : public ::testing::Test {
protected:
    IntakeTest() {
        resources.addPng(QStringLiteral("Layers/Stickers/block.png"), {400, 200},
                         QColor(255, 0, 0));
        model = std::make_unique<PlanetModel>(test::renderer(resources.path()), resources.path());
        picture = files.file(QStringLiteral("beach.jpg"));
        test::testPanorama(800, 400).save(picture, "JPG");
    }

    QByteArray pngOf(const QImage& image) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        return bytes;
    }

    test::SampleResources resources;
    test::TempTree files;
    std::unique_ptr<PlanetModel> model;
    QString picture;
};

} // namespace

TEST_F(IntakeTest, LoadingAFileNamesTheDocumentAfterItAndStartsAfresh) {
    EXPECT_EQ(defaultExportFileName(*model), QStringLiteral("Planet-velmora.png"));
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    EXPECT_EQ(model->sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(defaultExportFileName(*model), QStringLiteral("beach-velmora.png"));

    model->recordHistory();
    model->setSetting(Setting::twist, 1.5);
    model->addLayer(QStringLiteral("Glows/orb.png"), {0.4, 0.4});
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    EXPECT_EQ(model->setting(Setting::twist), 1.5);
    EXPECT_TRUE(model->layers().isEmpty());
    EXPECT_TRUE(model->selectedLayerID().isNull());
    EXPECT_FALSE(model->canUndo());
    EXPECT_FALSE(model->canRedo());
}

TEST_F(IntakeTest, AFileThatDoesNotDecodeChangesNothing) {
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    model->addLayer(QStringLiteral("Glows/orb.png"), {0.4, 0.4});
    const auto state = model->snapshot();
    const QImage preview = model->previewImage();
    const int renders = model->previewRefreshCount();

    const QString bad[] = {
        files.addFile(QStringLiteral("torn.jpg"), QByteArray("\xff\xd8\xff\xe0 truncated", 14)),
        files.addFile(QStringLiteral("empty.png"), QByteArray()),
        files.addFile(QStringLiteral("notes.png"), "just some text, not a picture\n"),
        files.addFile(QStringLiteral("huge.png"), test::pngHeaderOnly(100000, 100000)),
        files.file(QStringLiteral("missing.png")),
        files.addDir(QStringLiteral("folder.png")),
    };
    for (const QString& path : bad) {
        const Status loaded = loadImageFile(*model, path);
        EXPECT_FALSE(loaded.ok()) << path;
        // every message names its file
        EXPECT_TRUE(loaded.message().contains(path)) << loaded.message();
    }
    EXPECT_EQ(model->snapshot(), state);
    EXPECT_EQ(model->sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(model->previewImage(), preview);
    EXPECT_EQ(model->previewRefreshCount(), renders);
    EXPECT_TRUE(model->canUndo());
}

// A phone held upright writes its picture sideways with an EXIF orientation; it
// opens standing as it was shot.
TEST_F(IntakeTest, PicturesStandAsTheirOrientationSays) {
    QImage wide(60, 20, QImage::Format_RGB32);
    wide.fill(Qt::white);
    QByteArray jpeg = jpegOf(wide);
    ASSERT_FALSE(jpeg.isEmpty());
    // An EXIF segment right after the start of image: one IFD entry, Orientation
    // (0x0112) = 6, "turn 90 degrees clockwise to view".
    static const char exif[] = "\xff\xe1\x00\x22"
                               "Exif\0\0"
                               "MM\x00\x2a\x00\x00\x00\x08"
                               "\x00\x01"
                               "\x01\x12\x00\x03\x00\x00\x00\x01\x00\x06\x00\x00"
                               "\x00\x00\x00\x00";
    jpeg.insert(2, QByteArray(exif, sizeof exif - 1));
    const QString path = files.addFile(QStringLiteral("upright.jpg"), jpeg);
    const Result<render::Image> decoded = decodeImageFile(path);
    ASSERT_TRUE(decoded.ok()) << decoded.message();
    EXPECT_EQ(decoded->extent(), QRectF(0, 0, 20, 60));
}

// What a header claims is weighed before anything is allocated: a kilobyte that
// says 20000 x 20000 is a bomb, and a picture past the limit in a format that is only
// read whole is refused with the memory it would need, in words.
TEST_F(IntakeTest, OversizedAndImpossibleSizesAreRefusedInWords) {
    QImage small(64, 64, QImage::Format_RGB32);
    small.fill(Qt::gray);
    QByteArray jpeg = jpegOf(small);
    ASSERT_FALSE(jpeg.isEmpty());
    // Start of frame: FF C0, length, precision, then height and width.
    const qsizetype sof = jpeg.indexOf(QByteArray("\xff\xc0", 2));
    ASSERT_GT(sof, 0);
    for (const int at : {5, 7}) {
        jpeg[sof + at] = static_cast<char>(20000 >> 8);
        jpeg[sof + at + 1] = static_cast<char>(20000 & 0xff);
    }
    const QString bomb = files.addFile(QStringLiteral("bomb.jpg"), jpeg);
    const Result<render::Image> bombed = decodeImageFile(bomb);
    EXPECT_FALSE(bombed.ok());
    EXPECT_TRUE(bombed.message().startsWith(bomb + QStringLiteral(": ")));
    EXPECT_TRUE(bombed.message().contains(QStringLiteral("20000 \u00d7 20000")))
        << bombed.message();

    const QString hollow =
        files.addFile(QStringLiteral("hollow.png"), test::pngClaiming(14000, 14000));
    EXPECT_TRUE(decodeImageFile(hollow).message().contains(QStringLiteral("far too few")))
        << decodeImageFile(hollow).message();

    // A PNG that size would open reduced, were its data there; a PPM is read whole.
    const QString huge = files.addFile(QStringLiteral("huge.png"), test::pngClaiming(30000, 20000));
    EXPECT_TRUE(decodeImageFile(huge).message().contains(QStringLiteral("far too few")));
    const QString refused =
        decodeImageFile(files.addFile(QStringLiteral("huge.ppm"), "P6\n30000 20000\n255\n"))
            .message();
    EXPECT_TRUE(refused.contains(QStringLiteral("200-megapixel limit"))) << refused;
    EXPECT_TRUE(refused.contains(QStringLiteral("2289 MiB"))) << refused;

    // Above Qt's own 128 MiB default, within ours: it opens.
    QImage big(8200, 4200, QImage::Format_ARGB32);
    big.fill(QColor(10, 200, 30, 128));
    const QString flat = files.file(QStringLiteral("flat.png"));
    ASSERT_TRUE(big.save(flat));
    const Result<render::Image> opened = decodeImageFile(flat);
    ASSERT_TRUE(opened.ok()) << opened.message();
    EXPECT_EQ(opened->extent(), QRectF(0, 0, 8200, 4200));
}

// A JPEG cut short decodes to grey without complaint from the decoder; it is a
// failure that says so. Data after a complete picture is no such thing.
// An icon's directory says 16 x 16 whatever the PNG inside it holds, so the limit is
// held against the picture that came out, not only against what a header claimed.
TEST_F(IntakeTest, APictureLargerThanItsHeaderSaidIsStillHeldToTheLimit) {
    QImage inner(200, 100, QImage::Format_ARGB32);
    inner.fill(QColor(30, 60, 90, 255));
    QByteArray png;
    QBuffer buffer(&png);
    ASSERT_TRUE(buffer.open(QIODevice::WriteOnly) && inner.save(&buffer, "PNG"));
    QByteArray icon("\0\0\x01\0\x01\0", 6);
    // One entry: 16 x 16, no palette, 1 plane, 32 bits, then the PNG's size and offset.
    icon += QByteArray("\x10\x10\0\0\x01\0\x20\0", 8);
    for (const quint32 field : {quint32(png.size()), quint32(22)})
        for (int shift = 0; shift < 32; shift += 8)
            icon += char((field >> shift) & 0xff);
    icon += png;
    const QString path = files.addFile(QStringLiteral("icon.ico"), icon);

    const Result<render::Image> fits = decodeImageFile(path, nullptr, 200 * 100);
    ASSERT_TRUE(fits.ok()) << fits.message();
    EXPECT_EQ(fits->extent(), QRectF(0, 0, 200, 100));
    for (const Result<render::Image>& refused :
         {decodeImageFile(path, nullptr, 200 * 100 - 1),
          decodeImageData(icon, {}, nullptr, 200 * 100 - 1)}) {
        ASSERT_FALSE(refused.ok());
        EXPECT_TRUE(
            refused.message().contains(QStringLiteral("200 \u00d7 100 pixels is more than")))
            << refused.message();
    }
    EXPECT_TRUE(decodeImageFile(path, nullptr, 200 * 100 - 1).message().startsWith(path + ": "));
}

TEST_F(IntakeTest, AJpegCutShortIsRefused) {
    const QByteArray whole = jpegOf(test::testPanorama(512, 256), 90);
    ASSERT_TRUE(decodeImageFile(files.addFile(QStringLiteral("whole.jpg"), whole)).ok());
    ASSERT_TRUE(decodeImageFile(files.addFile(QStringLiteral("trailer.jpg"),
                                              whole + QByteArray("maker's trailer\0\xff", 17)))
                    .ok());
    ASSERT_TRUE(decodeImageFile(files.addFile(QStringLiteral("two.jpg"), whole + whole)).ok());
    for (const double kept : {0.1, 0.5, 0.99}) {
        const QString cut = files.addFile(QStringLiteral("cut.jpg"),
                                          whole.left(static_cast<qsizetype>(whole.size() * kept)));
        const Result<render::Image> decoded = decodeImageFile(cut);
        EXPECT_FALSE(decoded.ok()) << kept;
        EXPECT_EQ(decoded.message(),
                  cut + QStringLiteral(": the picture's data ends early (the file is cut short)"));
    }
}

// Damage the decoder gets past opens the picture with one warning naming the file; a
// whole picture gets none. Pasted bytes go through the same decoder.
TEST_F(IntakeTest, RecoverableJpegDamageIsAWarningNamingTheFile) {
    const QImage panorama = test::testPanorama(512, 256);
    QStringList warnings;
    const QByteArray whole = jpegOf(panorama, 90);
    ASSERT_TRUE(decodeImageFile(files.addFile(QStringLiteral("whole.jpg"), whole), &warnings).ok());
    EXPECT_TRUE(warnings.isEmpty()) << warnings.join(QLatin1Char('\n')).toStdString();

    const QByteArray damaged = test::damagedJpegOf(panorama);
    const QString path = files.addFile(QStringLiteral("damaged.jpg"), damaged);
    const Result<render::Image> opened = decodeImageFile(path, &warnings);
    ASSERT_TRUE(opened.ok()) << opened.message();
    EXPECT_EQ(opened->extent(), QRectF(0, 0, 512, 256));
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings[0].startsWith(path + QStringLiteral(": the picture's data is damaged")))
        << warnings[0];

    QStringList pasted;
    ASSERT_TRUE(decodeImageData(damaged, {}, &pasted).ok());
    EXPECT_EQ(pasted.size(), 1);
    const Result<render::Image> cut = decodeImageData(whole.left(whole.size() / 2));
    EXPECT_FALSE(cut.ok());
    EXPECT_TRUE(cut.message().contains(QStringLiteral("ends early"))) << cut.message();
}

// Grey JPEGs come out as grey RGB pixels, not as a channel read three times wrong.
TEST_F(IntakeTest, GreyJpegsOpenAsGrey) {
    QImage grey(64, 32, QImage::Format_Grayscale8);
    grey.fill(QColor(120, 120, 120));
    const Result<render::Image> decoded = decodeImageData(jpegOf(grey, 95));
    ASSERT_TRUE(decoded.ok()) << decoded.message();
    ASSERT_NE(decoded->sourcePixels(), nullptr);
    const QImage& pixels = decoded->sourcePixels()->image();
    EXPECT_LE(test::channelDistance(pixels.pixelColor(10, 10), QColor(120, 120, 120)), 2);
}

// A pipe named like a picture is refused at once, with a message that says why.
TEST_F(IntakeTest, APipeIsNotAPicture) {
    const QString fifo = files.file(QStringLiteral("stream.png"));
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    const Result<render::Image> decoded = decodeImageFile(fifo);
    EXPECT_FALSE(decoded.ok());
    EXPECT_EQ(decoded.message(), fifo + QStringLiteral(": is not a regular file"));
}

TEST_F(IntakeTest, SixteenBitFilesStaySixteenBit) {
    QImage deep(64, 32, QImage::Format_RGBA64);
    deep.fill(QColor::fromRgba64(30000, 40000, 50000, 65535));
    for (const char* format : {"png", "tiff"}) {
        const QString path = files.file(QStringLiteral("deep.") + QString::fromLatin1(format));
        ASSERT_TRUE(deep.save(path, format));
        const Result<render::Image> decoded = decodeImageFile(path);
        ASSERT_TRUE(decoded.ok()) << decoded.message();
        ASSERT_NE(decoded->sourcePixels(), nullptr);
        EXPECT_TRUE(decoded->sourcePixels()->isSixteenBit()) << format;
    }
    const QStringList suffixes = readableImageSuffixes();
    for (const char* s : {"jpg", "jpeg", "png", "tif", "tiff", "webp", "bmp"})
        EXPECT_TRUE(suffixes.contains(QString::fromLatin1(s))) << s;
}

TEST_F(IntakeTest, PastePrefersPngThenTiffThenAnImageObject) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QImage wide = test::testPanorama(300, 100); // distinct sizes tell them apart
    const QImage square = test::testPanorama(120, 120);
    QByteArray tiff;
    {
        QBuffer buffer(&tiff);
        buffer.open(QIODevice::WriteOnly);
        ASSERT_TRUE(QImageWriter(&buffer, "tiff").write(square));
    }

    auto* both = new QMimeData;
    both->setData(QStringLiteral("image/png"), pngOf(wide));
    both->setData(QStringLiteral("image/tiff"), tiff);
    clipboard->setMimeData(both);
    ASSERT_TRUE(pasteFromClipboard(*model));
    EXPECT_EQ(model->sourceImage().extent().size(), QSizeF(300, 100));
    EXPECT_EQ(model->sourceName(), QStringLiteral("Pasted"));
    EXPECT_EQ(defaultExportFileName(*model), QStringLiteral("Pasted-velmora.png"));

    auto* tiffOnly = new QMimeData;
    tiffOnly->setData(QStringLiteral("image/tiff"), tiff);
    clipboard->setMimeData(tiffOnly);
    ASSERT_TRUE(pasteFromClipboard(*model));
    EXPECT_EQ(model->sourceImage().extent().size(), QSizeF(120, 120));

    auto* brokenPngAndObject = new QMimeData;
    brokenPngAndObject->setData(QStringLiteral("image/png"), "not png at all");
    brokenPngAndObject->setImageData(test::testPanorama(64, 32));
    clipboard->setMimeData(brokenPngAndObject);
    ASSERT_TRUE(pasteFromClipboard(*model));
    EXPECT_EQ(model->sourceImage().extent().size(), QSizeF(64, 32));

    auto* text = new QMimeData;
    text->setText(QStringLiteral("no picture here"));
    clipboard->setMimeData(text);
    EXPECT_FALSE(pasteFromClipboard(*model).ok());
    EXPECT_EQ(model->sourceImage().extent().size(), QSizeF(64, 32));
}

TEST_F(IntakeTest, ExportWritesAnSrgbRgbaPngWithItsLayers) {
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    model->addLayer(QStringLiteral("Stickers/block.png"), {0.5, 0.5});
    model->setOutputSize(4096);
    const QString out = files.file(QStringLiteral("planet.png"));
    ASSERT_TRUE(exportPNG(*model, out).ok());

    QFile file(out);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    // IHDR: 4096 x 4096, 8 bits, colour type 6 (RGBA); an sRGB chunk follows.
    EXPECT_EQ(bytes.mid(12, 4), QByteArray("IHDR"));
    EXPECT_EQ(static_cast<uchar>(bytes[24]), 8);
    EXPECT_EQ(static_cast<uchar>(bytes[25]), 6);
    EXPECT_TRUE(bytes.contains("sRGB"));

    QImageReader reader(out);
    const QImage image = reader.read();
    ASSERT_EQ(image.size(), QSize(4096, 4096));
    EXPECT_TRUE(image.hasAlphaChannel());
    EXPECT_EQ(image.colorSpace(), QColorSpace(QColorSpace::SRgb));
    EXPECT_LE(test::channelDistance(image.pixelColor(2048, 2048), QColor(255, 0, 0)), 1);
    EXPECT_LE(test::channelDistance(image.pixelColor(2048 + 500, 2048), QColor(255, 0, 0)), 1);
    EXPECT_GT(test::channelDistance(image.pixelColor(2048 + 530, 2048), QColor(255, 0, 0)), 20);
}

// An export renders strip by strip into the file; the bytes are those of rendering
// the whole picture first and writing it, at sizes that are not a whole number of
// strips and with every encoding.
TEST_F(IntakeTest, StripRenderedExportsAreByteForByteTheWholePicture) {
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    model->addLayer(QStringLiteral("Stickers/block.png"), {0.3, 0.6});
    model->setSetting(Setting::vignette, 0.6);
    model->setSetting(Setting::gamma, 1.3);
    const PlanetRenderer& renderer = model->renderer();
    for (const int side : {700, 129, 64}) {
        for (const render::PngEncoding& encoding :
             {render::PngEncoding{}, render::PngEncoding{render::PngEncoding::Filter::paeth, 1, 7},
              render::PngEncoding{render::PngEncoding::Filter::adaptive, 3, 1}}) {
            const QImage whole =
                renderer.render(model->look(), model->sourceImage(), model->library(), side)
                    .value();
            const render::Image recipe =
                renderer.planet(model->look(), model->sourceImage(), model->library(), side)
                    .value();
            QByteArray strips;
            QBuffer device(&strips);
            device.open(QIODevice::WriteOnly);
            render::RenderProgress progress;
            ASSERT_TRUE(
                render::writePng(recipe, QRect(0, 0, side, side), device, &progress, encoding)
                    .ok());
            const QByteArray expected = render::encodePng(whole, encoding);
            EXPECT_EQ(strips, expected) << side;
            if (strips != expected) {
                // Which pixels differ, if any, says whether rendering or encoding did.
                const QImage a = QImage::fromData(strips).convertToFormat(QImage::Format_RGBA8888);
                const QImage b = whole.convertToFormat(QImage::Format_RGBA8888);
                for (int y = 0; y < side && a.size() == b.size(); ++y)
                    if (std::memcmp(a.constScanLine(y), b.constScanLine(y),
                                    static_cast<size_t>(4 * side)) != 0) {
                        ADD_FAILURE() << "first differing row " << y << " of " << side;
                        break;
                    }
            }
            EXPECT_EQ(progress.fraction(), 1.0);
        }
    }
}

TEST_F(IntakeTest, AFailedExportLeavesAnExistingFileIntact) {
    const QString out = files.addFile(QStringLiteral("keep.png"), "previous export");
    EXPECT_FALSE(exportPNG(*model, out).ok()); // nothing loaded yet
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    model->setOutputSize(200000); // far beyond any output: refused before rendering
    const Status tooLarge = exportPNG(*model, out);
    EXPECT_FALSE(tooLarge.ok());
    EXPECT_TRUE(tooLarge.message().startsWith(out)) << tooLarge.message();
    model->setOutputSize(256);
    const QString nowhere = files.file(QStringLiteral("no/such/folder/x.png"));
    const Status missingFolder = exportPNG(*model, nowhere);
    EXPECT_FALSE(missingFolder.ok());
    EXPECT_TRUE(missingFolder.message().startsWith(nowhere)) << missingFolder.message();
    QFile file(out);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("previous export"));
    EXPECT_EQ(files.file(QStringLiteral("keep.png")), out);
}

TEST_F(IntakeTest, CopyPutsPngAndTiffOnTheClipboard) {
    ASSERT_TRUE(loadImageFile(*model, picture).ok());
    model->setOutputSize(256);
    ASSERT_TRUE(copyToClipboard(*model).ok());
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(mime, nullptr);
    const QImage png = QImage::fromData(mime->data(QStringLiteral("image/png")), "PNG");
    EXPECT_EQ(png.size(), QSize(256, 256));
    EXPECT_EQ(QImage::fromData(mime->data(QStringLiteral("image/tiff")), "TIFF").size(),
              QSize(256, 256));
}

// Every filter and level, strip boundaries included, decodes to the same pixels.
TEST(PngWriter, RoundTripsExactlyWithEveryFilterAndLevel) {
    QRandomGenerator rng(7);
    for (const QSize size : {QSize(1, 1), QSize(3, 70), QSize(129, 65), QSize(300, 1)}) {
        QImage image(size, QImage::Format_RGBA8888);
        for (int y = 0; y < size.height(); ++y) {
            uchar* line = image.scanLine(y);
            for (int i = 0; i < size.width() * 4; ++i) // smooth with noise, like photos
                line[i] = static_cast<uchar>((y * 3 + i / 4 * 2 + rng.bounded(9)) & 0xff);
        }
        using F = render::PngEncoding::Filter;
        for (const F filter : {F::none, F::sub, F::up, F::average, F::paeth, F::adaptive}) {
            for (int level = 0; level <= 3; ++level) {
                render::PngEncoding encoding;
                encoding.filter = filter;
                encoding.level = level;
                encoding.rowsPerStrip = 16;
                const QByteArray png = render::encodePng(image, encoding);
                const QImage back =
                    QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGBA8888);
                ASSERT_EQ(back.size(), image.size());
                for (int y = 0; y < size.height(); ++y) {
                    ASSERT_EQ(std::memcmp(back.constScanLine(y), image.constScanLine(y),
                                          static_cast<size_t>(size.width()) * 4),
                              0)
                        << size.width() << "x" << size.height() << " filter "
                        << static_cast<int>(filter) << " level " << level << " row " << y;
                }
            }
        }
    }
}

TEST(PngWriter, ReportsADeviceThatRefusesData) {
    class Refusing : public QIODevice {
    protected:
        qint64 readData(char*, qint64) override { return -1; }
        qint64 writeData(const char*, qint64 length) override {
            m_written += length;
            if (m_written <= 1000)
                return length;
            errno = ENOSPC; // as a full disk says it, with the device's own word unknown
            return -1;
        }

    private:
        qint64 m_written = 0;
    } device;
    device.open(QIODevice::WriteOnly);
    const Status written = render::writePng(test::testPanorama(200, 100), device);
    EXPECT_FALSE(written.ok());
    EXPECT_EQ(written.message(), QStringLiteral("No space left on device"));
}

namespace {

/// A JPEG of `image` with luma sampled `h` x `v` times as densely as chroma.
QByteArray jpegSampled(const QImage& image, int h, int v) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &out, &size);
    info.image_width = static_cast<JDIMENSION>(rgb.width());
    info.image_height = static_cast<JDIMENSION>(rgb.height());
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 90, TRUE);
    info.comp_info[0].h_samp_factor = h;
    info.comp_info[0].v_samp_factor = v;
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        auto* row = const_cast<JSAMPROW>(rgb.constScanLine(static_cast<int>(info.next_scanline)));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    QByteArray bytes(reinterpret_cast<const char*>(out), static_cast<qsizetype>(size));
    std::free(out);
    return bytes;
}

} // namespace

// Decoded in bands on several threads, each skipping to its first row, a JPEG comes
// out pixel for pixel as from one decoder: for every chroma sampling, a height no
// band divides, at a DCT scale, from a file as from memory; and data cut short or
// damaged fails or is noted just the same.
TEST(JpegDecoding, BandsDecodeTheSamePixelsAsOneDecoder) {
    QImage noise(333, 1001, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < noise.height(); ++y)
        random.fillRange(reinterpret_cast<quint32*>(noise.scanLine(y)), noise.width());
    const QString what = QStringLiteral("noise.jpg");
    const qint64 all = qint64(noise.width()) * noise.height();
    for (const QSize sampling : {QSize(2, 2), QSize(2, 1), QSize(1, 2), QSize(1, 1)}) {
        const QByteArray jpeg = jpegSampled(noise, sampling.width(), sampling.height());
        for (const qint64 maxPixels : {all, all / 3}) {
            const auto whole = decodeJpeg(nullptr, jpeg, jpeg.size(), maxPixels, what, 1);
            ASSERT_TRUE(whole.ok() && whole->has_value()) << whole.message();
            for (const int bands : {2, 3, 4}) {
                const auto banded = decodeJpeg(nullptr, jpeg, jpeg.size(), maxPixels, what, bands);
                ASSERT_TRUE(banded.ok() && banded->has_value()) << banded.message();
                EXPECT_EQ((*banded)->image, (*whole)->image)
                    << sampling.width() << "x" << sampling.height() << " sampling, " << bands
                    << " bands, 1/" << (*whole)->scale;
            }
        }
    }

    const QByteArray jpeg = jpegSampled(noise, 2, 2);
    const auto whole = decodeJpeg(nullptr, jpeg, jpeg.size(), all, what, 1);
    const test::TempTree tree;
    const QString path = tree.addFile(QStringLiteral("noise.jpg"), jpeg);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(QFile::encodeName(path).constData(), "rb"), &std::fclose);
    ASSERT_TRUE(file);
    const auto fromFile = decodeJpeg(file.get(), {}, jpeg.size(), all, what, 3);
    ASSERT_TRUE(fromFile.ok() && fromFile->has_value()) << fromFile.message();
    EXPECT_EQ((*fromFile)->image, (*whole)->image);

    const QByteArray cut = jpeg.left(jpeg.size() * 2 / 3);
    for (const int bands : {1, 3}) {
        const auto shortened = decodeJpeg(nullptr, cut, cut.size(), all, what, bands);
        ASSERT_FALSE(shortened.ok()) << bands;
        EXPECT_TRUE(shortened.message().contains(QStringLiteral("ends early")))
            << shortened.message();
    }
    const QByteArray damaged = test::damagedJpegOf(noise);
    const auto once = decodeJpeg(nullptr, damaged, damaged.size(), all, what, 1);
    const auto inBands = decodeJpeg(nullptr, damaged, damaged.size(), all, what, 4);
    ASSERT_TRUE(once.ok() && inBands.ok());
    EXPECT_FALSE((*once)->damage.isEmpty());
    EXPECT_EQ((*inBands)->damage, (*once)->damage);
}

// Past the pixel budget a JPEG decodes at the largest DCT scale that fits and looks
// like a copy shrunk beforehand; one too large even at an eighth is refused in words.
TEST(JpegDecoding, HugePicturesDecodeScaledWithinTheBudget) {
    // Smooth content: the comparison is of scaling, not of edge ringing.
    QImage picture(1024, 512, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb(x / 4, y / 2, 128 + (x + y) / 12));
    const QByteArray jpeg = jpegOf(picture, 95);
    const auto decode = [&](qint64 maxPixels) {
        return decodeJpeg(nullptr, jpeg, jpeg.size(), maxPixels, QStringLiteral("pano.jpg"));
    };

    const auto full = decode(1024 * 512);
    ASSERT_TRUE(full.ok() && full->has_value()) << full.message();
    EXPECT_EQ((*full)->scale, 1);
    EXPECT_EQ((*full)->image.size(), QSize(1024, 512));

    const auto quarter = decode(1024 * 512 / 10);
    ASSERT_TRUE(quarter.ok() && quarter->has_value()) << quarter.message();
    EXPECT_EQ((*quarter)->scale, 4);
    EXPECT_EQ((*quarter)->storedSize, QSize(1024, 512));
    const QImage shrunk = picture.scaled(256, 128, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_LE(test::meanAbsoluteDifference((*quarter)->image, shrunk), 2.0);

    const auto refused = decode(100);
    ASSERT_FALSE(refused.ok());
    EXPECT_TRUE(refused.message().startsWith(QStringLiteral("pano.jpg: "))) << refused.message();
    EXPECT_TRUE(refused.message().contains(QStringLiteral("an eighth"))) << refused.message();
}
