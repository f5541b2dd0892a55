#include "model/DocumentFiles.h"
#include "model/PlanetModel.h"
#include "model/SourceMetadata.h"
#include "render/OutputFile.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <exiv2/exiv2.hpp>

#include <gtest/gtest.h>

using namespace velmora;

namespace {

Exiv2::ExifData exifOf(const QString& path) {
    if (path.endsWith(QLatin1String(".png"))) {
        // Read the eXIf chunk ourselves: it is what photo libraries read.
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QByteArray png = file.readAll();
        const qsizetype at = png.indexOf("eXIf");
        Exiv2::ExifData data;
        if (at < 4)
            return data;
        const auto length = qFromBigEndian<quint32>(png.constData() + at - 4);
        Exiv2::ExifParser::decode(
            data, reinterpret_cast<const Exiv2::byte*>(png.constData() + at + 4), length);
        return data;
    }
    const auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
    image->readMetadata();
    return image->exifData();
}

// A JPEG of the test panorama that says when and with what it was taken, and where.
QString sourceWithMetadata(const test::TempTree& files) {
    const QString source = files.file(QStringLiteral("trip.jpg"));
    test::testPanorama(200, 100).save(source);
    const auto image = Exiv2::ImageFactory::open(QFile::encodeName(source).toStdString());
    image->readMetadata();
    Exiv2::ExifData& data = image->exifData();
    data["Exif.Photo.DateTimeOriginal"] = "2026:07:14 18:30:00";
    data["Exif.Image.Make"] = "Acme";
    data["Exif.Image.Model"] = "Sphere 2";
    data["Exif.GPSInfo.GPSLatitudeRef"] = "N";
    image->writeMetadata();
    return source;
}

QString value(const Exiv2::ExifData& data, const char* key) {
    const auto found = data.findKey(Exiv2::ExifKey(key));
    return found == data.end() ? QString() : QString::fromStdString(found->toString());
}

} // namespace

// A planet carries its source's capture date and camera into PNG, JPEG and WebP, so
// photo libraries sort it with its source; where it was taken stays behind.
TEST(SourceMetadata, CaptureDateAndCameraTravelButNotThePlace) {
    test::TempTree files;
    const QString source = sourceWithMetadata(files);
    const QByteArray exif = carriedExif(source);
    ASSERT_FALSE(exif.isEmpty());

    const render::Image planet = render::Image::fromQImage(test::testPanorama(64, 64));
    for (const char* name : {"p.png", "p.jpg", "p.webp"}) {
        const QString path = files.file(QLatin1String(name));
        const render::OutputFormat format =
            *render::outputFormatForSuffix(QFileInfo(path).suffix());
        ASSERT_TRUE(
            render::writeOutputFile(planet, QRect(0, 0, 64, 64), path, {format, 92, exif}).ok());
        const Exiv2::ExifData read = exifOf(path);
        EXPECT_EQ(value(read, "Exif.Photo.DateTimeOriginal"), QStringLiteral("2026:07:14 18:30:00"))
            << name;
        EXPECT_EQ(value(read, "Exif.Image.Make"), QStringLiteral("Acme")) << name;
        EXPECT_EQ(value(read, "Exif.Image.Model"), QStringLiteral("Sphere 2")) << name;
        EXPECT_EQ(value(read, "Exif.Image.Software"), QStringLiteral("Velmora")) << name;
        EXPECT_TRUE(value(read, "Exif.GPSInfo.GPSLatitudeRef").isEmpty()) << name;
    }

    // Nothing to carry, or nothing readable: no metadata, and no failure.
    const QString plain = files.file(QStringLiteral("plain.png"));
    ASSERT_TRUE(test::testPanorama(20, 10).save(plain));
    EXPECT_TRUE(carriedExif(plain).isEmpty());
    EXPECT_TRUE(carriedExif(files.addFile(QStringLiteral("notes.jpg"), "text")).isEmpty());
    EXPECT_TRUE(carriedExif(files.file(QStringLiteral("missing.jpg"))).isEmpty());
}

// The window's export carries what the opened file had; a pasted picture has none.
TEST(SourceMetadata, TheWindowsExportCarriesTheOpenedFilesMetadata) {
    test::TempTree files;
    test::SampleResources resources;
    PlanetModel model(test::renderer(resources.path()), resources.path());
    ASSERT_TRUE(loadImageFile(model, sourceWithMetadata(files)).ok());
    model.setOutputSize(256);
    const QString out = files.file(QStringLiteral("planet.png"));
    ASSERT_TRUE(exportPNG(model, out).ok());
    EXPECT_EQ(value(exifOf(out), "Exif.Image.Model"), QStringLiteral("Sphere 2"));

    model.loadImage(render::Image::fromQImage(test::testPanorama(200, 100)),
                    QStringLiteral("Pasted"));
    EXPECT_TRUE(model.sourceExif().isEmpty());
}
