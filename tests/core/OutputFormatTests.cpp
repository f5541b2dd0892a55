#include "render/OutputFile.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QImageReader>

#include <gtest/gtest.h>

#include <algorithm>

using namespace velmora;
using render::OutputFormat;

namespace {

// Smooth colour with an alpha ramp in one corner: lossy coders stay close, lossless
// ones must be exact, and 16-bit ones must keep more than 8 bits.
render::Image gradient(int width, int height) {
    QImage image(width, height, QImage::Format_RGBA64);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<QRgba64*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            row[x] = QRgba64::fromRgba64(static_cast<quint16>(x * 65535 / width),
                                         static_cast<quint16>(y * 65535 / height),
                                         static_cast<quint16>(20000 + 97 * x), 65535);
    }
    return render::Image::fromQImage(image);
}

// Pixels only: a file read back carries its colour space, which == would compare.
bool samePixels(const QImage& a, const QImage& b) {
    if (a.size() != b.size() || a.format() != b.format())
        return false;
    for (int y = 0; y < a.height(); ++y)
        if (!std::equal(a.constScanLine(y), a.constScanLine(y) + a.width() * a.depth() / 8,
                        b.constScanLine(y)))
            return false;
    return true;
}

QImage readBack(const QString& path, QByteArray* format = nullptr) {
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    if (format)
        *format = reader.format();
    return reader.read();
}

} // namespace

// Each format reads back through a standard decoder as what was rendered: lossless
// ones exactly (the 16-bit ones at 16 bits), lossy ones closely. JPEG is written in
// strips, so a height that is no multiple of the strip is part of the test.
TEST(OutputFormats, EachFormatReadsBackAsRendered) {
    const render::Image picture = gradient(240, 150);
    const QRect area(0, 0, 240, 150);
    const render::RenderContext context;
    const QImage eight =
        context.render(picture, area, render::RenderContext::Layout::straightRgba8);
    const QImage sixteen =
        context.render(picture, area, render::RenderContext::Layout::straightRgba16);
    test::TempTree files;

    const struct {
        OutputFormat format;
        const char* name;
        const char* reads;
        double tolerance; // mean difference in 8-bit levels; 0 is exact
        bool deep;
    } cases[] = {
        {OutputFormat::png, "a.png", "png", 0, false},
        {OutputFormat::png16, "b.png", "png", 0, true},
        {OutputFormat::tiff16, "c.tif", "tiff", 0, true},
        {OutputFormat::webpLossless, "d.webp", "webp", 0, false},
        {OutputFormat::webp, "e.webp", "webp", 3, false},
        {OutputFormat::jpeg, "f.jpg", "jpeg", 3, false},
    };
    for (const auto& c : cases) {
        const QString path = files.file(QLatin1String(c.name));
        const Status written = render::writeOutputFile(picture, area, path, {c.format, 92});
        ASSERT_TRUE(written.ok()) << written.message().toStdString();
        QByteArray format;
        const QImage read = readBack(path, &format);
        ASSERT_EQ(read.size(), area.size()) << c.name;
        EXPECT_EQ(format, QByteArray(c.reads)) << c.name;
        if (c.deep) {
            EXPECT_TRUE(samePixels(read.convertToFormat(QImage::Format_RGBA64), sixteen)) << c.name;
        } else if (c.tolerance == 0) {
            EXPECT_TRUE(samePixels(read.convertToFormat(QImage::Format_RGBA8888), eight)) << c.name;
        } else {
            EXPECT_LE(test::meanAbsoluteDifference(read, eight), c.tolerance) << c.name;
        }
    }
    QFile jpeg(files.file(QStringLiteral("f.jpg")));
    QFile webp(files.file(QStringLiteral("e.webp")));
    const qint64 high = jpeg.size();
    ASSERT_TRUE(
        render::writeOutputFile(picture, area, jpeg.fileName(), {OutputFormat::jpeg, 20}).ok());
    EXPECT_LT(jpeg.size(), high) << "quality is passed on";
    EXPECT_GT(webp.size(), 0);
}

// The suffix chooses: case does not matter, TIFF is always deep, unknown is nothing.
TEST(OutputFormats, SuffixesNameTheirFormats) {
    EXPECT_EQ(render::outputFormatForSuffix(QStringLiteral("JPG")), OutputFormat::jpeg);
    EXPECT_EQ(render::outputFormatForSuffix(QStringLiteral("jpeg")), OutputFormat::jpeg);
    EXPECT_EQ(render::outputFormatForSuffix(QStringLiteral("tiff")), OutputFormat::tiff16);
    EXPECT_EQ(render::outputFormatForSuffix(QStringLiteral("WebP")), OutputFormat::webp);
    EXPECT_EQ(render::outputFormatForSuffix(QStringLiteral("gif")), std::nullopt);
    for (const OutputFormat format :
         {OutputFormat::png, OutputFormat::png16, OutputFormat::jpeg, OutputFormat::webp,
          OutputFormat::webpLossless, OutputFormat::tiff16}) {
        const auto back = render::outputFormatForSuffix(render::suffixOf(format));
        ASSERT_TRUE(back.has_value());
        EXPECT_EQ(render::suffixOf(*back), render::suffixOf(format));
    }
}

// Every format is written whole or not at all: a refusal or a folder that is not
// one leaves an existing file as it was and nothing new behind.
TEST(OutputFormats, FailuresLeaveExistingFilesAlone) {
    test::TempTree files;
    const render::Image picture = gradient(64, 64);
    const QString kept = files.addFile(QStringLiteral("kept.webp"), "earlier");
    const Status tooWide =
        render::writeOutputFile(picture, QRect(0, 0, 16384, 8), kept, {OutputFormat::webp, 92});
    EXPECT_FALSE(tooWide.ok());
    EXPECT_TRUE(tooWide.message().startsWith(kept + QStringLiteral(": WebP holds at most 16383")))
        << tooWide.message().toStdString();
    QFile file(kept);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("earlier"));

    const QString notAFolder = files.addFile(QStringLiteral("notes"), "text");
    for (const OutputFormat format :
         {OutputFormat::jpeg, OutputFormat::webp, OutputFormat::tiff16, OutputFormat::png16}) {
        const QString path = notAFolder + QStringLiteral("/x.") + render::suffixOf(format);
        const Status failed = render::writeOutputFile(picture, QRect(0, 0, 64, 64), path, {format});
        EXPECT_FALSE(failed.ok());
        EXPECT_TRUE(failed.message().startsWith(path)) << failed.message().toStdString();
    }
    EXPECT_EQ(QDir(files.path()).entryList(QDir::Files).size(), 2);
}
