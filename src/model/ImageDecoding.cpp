#include "model/ImageDecoding.h"

#include "model/ColorProfile.h"
#include "model/HeifDecoding.h"
#include "model/JpegDecoding.h"
#include "model/PngDecoding.h"
#include "model/SourceMetadata.h"
#include "model/TiffDecoding.h"
#include "render/DecodeBudget.h"

#include <QBuffer>
#include <QColorSpace>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QTransform>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

namespace velmora {

namespace {

// Qt refuses images over 128 MiB by default, which rejects ordinary 360 degree
// panoramas: a 12000 x 6000 photo needs 288 MiB. We accept up to 200 megapixels at
// 16 bits per channel (1.6 GB), which covers the largest stitched panoramas people
// shoot, while a file whose header claims something absurd still fails cleanly.
constexpr int allocationLimitMiB = 1600;

/// Into sRGB as the file's profile says; a profile that cannot be used leaves the
/// colours as they are, with a warning naming the file.
void toWorkingSpace(QImage& image, const QByteArray& icc, const QString& what,
                    QStringList* warnings) {
    if (const Status converted = convertToSrgb(image, icc); !converted && warnings)
        warnings->append(
            QCoreApplication::translate("ImageDecoding", "%1: %2; its colours are shown as sRGB")
                .arg(what, converted.message()));
}

Result<render::Image> decode(QImageReader& reader, const QString& what, qint64 dataBytes,
                             qint64 maxPixels, QStringList* warnings) {
    raiseImageAllocationLimit();
    // Before a byte is allocated: too large, or a bomb whose header lies.
    if (const Status budget = render::checkClaimedSize(reader, dataBytes, maxPixels, what); !budget)
        return budget.failure();
    // Upright as it was shot: a phone held on its side writes the turn into EXIF
    // rather than the pixels. No colour conversion.
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull()) {
        const QString reason = reader.errorString();
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot decode the picture (%2)")
                .arg(what, reason)};
    }
    if (const Status made = render::checkDecodedSize(image, maxPixels, what); !made)
        return made.failure();
    // Qt keeps the profile it read (PNG's iCCP, TIFF's tag) with the picture.
    if (image.colorSpace().isValid())
        toWorkingSpace(image, image.colorSpace().iccProfile(), what, warnings);
    return render::Image::fromQImage(std::move(image));
}

// HEIF and AVIF go to libheif; the whole (compressed) file is read first.
Result<render::Image> decodeHeifPicture(const QByteArray& data, const QString& what,
                                        qint64 maxPixels, QStringList* warnings) {
    Result<HeifPicture> decoded = decodeHeif(data, maxPixels, what);
    if (!decoded)
        return decoded.failure();
    toWorkingSpace(decoded->image, decoded->icc, what, warnings);
    return render::Image::fromQImage(std::move(decoded->image));
}

// The same turn Qt's reader applies for `setAutoTransform`: mirror or flip, then a
// quarter turn clockwise.
QImage upright(QImage image, QImageIOHandler::Transformations turn) {
    if (turn == QImageIOHandler::TransformationNone)
        return image;
    if (turn == QImageIOHandler::TransformationRotate270)
        return image.transformed(QTransform().rotate(270));
    image = std::move(image).mirrored(turn & QImageIOHandler::TransformationMirror,
                                      turn & QImageIOHandler::TransformationFlip);
    if (turn & QImageIOHandler::TransformationRotate90)
        image = image.transformed(QTransform().rotate(90));
    return image;
}

QString scaleWord(int scale) {
    switch (scale) {
    case 2:
        return QCoreApplication::translate("ImageDecoding", "half");
    case 3:
        return QCoreApplication::translate("ImageDecoding", "a third");
    case 4:
        return QCoreApplication::translate("ImageDecoding", "a quarter");
    case 5:
        return QCoreApplication::translate("ImageDecoding", "a fifth");
    case 6:
        return QCoreApplication::translate("ImageDecoding", "a sixth");
    case 7:
        return QCoreApplication::translate("ImageDecoding", "a seventh");
    case 8:
        return QCoreApplication::translate("ImageDecoding", "an eighth");
    default:
        return QCoreApplication::translate("ImageDecoding", "1/%1").arg(scale);
    }
}

/// Says that a picture beyond the limit opened at 1 / `scale` of its `stored` size.
QString reducedWarning(const QString& what, QSize stored, int scale, QSize opened,
                       qint64 maxPixels) {
    return QCoreApplication::translate("ImageDecoding",
                                       "%1: %2 × %3 pixels is more than the "
                                       "%4-megapixel limit; opened at %5 the size, "
                                       "%6 × %7")
        .arg(what)
        .arg(stored.width())
        .arg(stored.height())
        .arg(maxPixels / 1'000'000)
        .arg(scaleWord(scale))
        .arg(opened.width())
        .arg(opened.height());
}

/// The end of every reducing decoder's path: the warning when it was reduced, then
/// into sRGB and upright.
render::Image finishedPicture(QImage image, const QByteArray& icc, QSize stored, int scale,
                              QImageIOHandler::Transformations turn, const QString& what,
                              qint64 maxPixels, QStringList* warnings) {
    if (warnings && scale > 1)
        warnings->append(reducedWarning(what, stored, scale, image.size(), maxPixels));
    toWorkingSpace(image, icc, what, warnings);
    return render::Image::fromQImage(upright(std::move(image), turn));
}

// JPEG goes to libjpeg-turbo directly: it says when data is damaged or cut short
// (Qt's reader fills the gap with grey and calls it success) and it decodes a huge
// picture at a reduced scale instead of refusing it. `reader` is only asked for the
// EXIF turn.
Result<std::optional<render::Image>> decodeJpegPicture(std::FILE* file, const QByteArray& data,
                                                       qint64 dataBytes, QImageReader& reader,
                                                       const QString& what, qint64 maxPixels,
                                                       QStringList* warnings) {
    Result<std::optional<JpegPicture>> decoded = decodeJpeg(file, data, dataBytes, maxPixels, what);
    if (!decoded)
        return decoded.failure();
    if (!decoded->has_value())
        return std::optional<render::Image>{};
    JpegPicture& picture = **decoded;
    if (warnings && !picture.damage.isEmpty())
        warnings->append(QCoreApplication::translate(
                             "ImageDecoding", "%1: the picture's data is damaged, parts of it may "
                                              "show faults (%2)")
                             .arg(what, picture.damage.join(QStringLiteral("; "))));
    return std::optional<render::Image>(
        finishedPicture(std::move(picture.image), picture.icc, picture.storedSize, picture.scale,
                        reader.transformation(), what, maxPixels, warnings));
}

enum class StripFormat { png, tiff };

/// PNG and TIFF beyond the limit are read in strips and reduced as they are read;
/// within it Qt's reader opens them as before.
std::optional<StripFormat> stripFormat(QImageReader& reader, qint64 maxPixels) {
    const QByteArray format = reader.format();
    if (format != "png" && format != "tiff")
        return std::nullopt;
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() <= maxPixels)
        return std::nullopt;
    return format == "png" ? StripFormat::png : StripFormat::tiff;
}

// `reader` is only asked for the EXIF turn; `device` is read from its start.
Result<render::Image> decodeStripPicture(StripFormat format, QIODevice& device, qint64 dataBytes,
                                         QImageReader& reader, const QString& what,
                                         qint64 maxPixels, QStringList* warnings) {
    const QImageIOHandler::Transformations turn = reader.transformation();
    Result<StripPicture> decoded = format == StripFormat::png
                                       ? decodePngStrips(device, dataBytes, maxPixels, what)
                                       : decodeTiffStrips(device, dataBytes, maxPixels, what);
    if (!decoded)
        return decoded.failure();
    StripPicture& picture = *decoded;
    return finishedPicture(std::move(picture.image), picture.icc, picture.storedSize, picture.scale,
                           turn, what, maxPixels, warnings);
}

} // namespace

void raiseImageAllocationLimit() {
    if (QImageReader::allocationLimit() < allocationLimitMiB)
        QImageReader::setAllocationLimit(allocationLimitMiB);
}

namespace {

Result<render::Image> decodeFile(const QString& path, qint64 maxPixels, QStringList* warnings);

} // namespace

Result<render::Image> decodeImageFile(const QString& path, QStringList* warnings,
                                      qint64 maxPixels) {
    Result<render::Image> decoded = decodeFile(path, maxPixels, warnings);
    if (!decoded)
        return decoded;
    // A panorama's place on the sphere, as its Photo Sphere metadata says.
    const render::SpherePlacement placement = spherePlacement(path);
    if (placement == render::SpherePlacement())
        return decoded;
    return decoded->withSpherePlacement(placement);
}

namespace {

Result<render::Image> decodeFile(const QString& path, qint64 maxPixels, QStringList* warnings) {
    const QFileInfo info(path);
    if (!info.exists())
        return Failure{QCoreApplication::translate("ImageDecoding", "%1: no such file").arg(path)};
    if (info.isDir())
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: is a folder, not a picture")
                .arg(path)};
    // A pipe or a device would be read for ever or not at all; only files are pictures.
    std::error_code error;
    if (!std::filesystem::is_regular_file(std::filesystem::path(path.toStdString()), error))
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: is not a regular file").arg(path)};
    if (!info.isReadable())
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot be read (permission denied)")
                .arg(path)};
    if (info.size() == 0)
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: the file is empty").arg(path)};
    {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly) && looksLikeHeif(file.peek(64))) {
            const QByteArray data = file.readAll();
            if (data.size() != info.size())
                return Failure{
                    QCoreApplication::translate("ImageDecoding", "%1: cannot be read").arg(path)};
            return decodeHeifPicture(data, path, maxPixels, warnings);
        }
    }
    QImageReader reader(path);
    // Decide by content, not by name: a text file called .png must fail as such.
    reader.setDecideFormatFromContent(true);
    if (reader.format() == "jpeg") {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
            std::fopen(QFile::encodeName(path).constData(), "rb"), &std::fclose);
        if (!file)
            return Failure{
                QCoreApplication::translate("ImageDecoding", "%1: cannot be read").arg(path)};
        Result<std::optional<render::Image>> jpeg =
            decodeJpegPicture(file.get(), {}, info.size(), reader, path, maxPixels, warnings);
        if (!jpeg)
            return jpeg.failure();
        if (jpeg->has_value())
            return std::move(**jpeg);
    }
    if (const std::optional<StripFormat> strips = stripFormat(reader, maxPixels)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return Failure{
                QCoreApplication::translate("ImageDecoding", "%1: cannot be read").arg(path)};
        return decodeStripPicture(*strips, file, info.size(), reader, path, maxPixels, warnings);
    }
    return decode(reader, path, info.size(), maxPixels, warnings);
}

} // namespace

Result<render::Image> decodeImageData(const QByteArray& data, const QByteArray& format,
                                      QStringList* warnings, qint64 maxPixels) {
    if (data.isEmpty())
        return Failure{QStringLiteral("no picture data")};
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setDecideFormatFromContent(format.isEmpty());
    const QString what = QStringLiteral("picture data");
    if (looksLikeHeif(data.left(64)))
        return decodeHeifPicture(data, what, maxPixels, warnings);
    if (looksLikeJpeg(data)) {
        Result<std::optional<render::Image>> jpeg =
            decodeJpegPicture(nullptr, data, data.size(), reader, what, maxPixels, warnings);
        if (!jpeg)
            return jpeg.failure();
        if (jpeg->has_value())
            return std::move(**jpeg);
        buffer.seek(0);
    }
    if (const std::optional<StripFormat> strips = stripFormat(reader, maxPixels)) {
        QBuffer stripped;
        stripped.setData(data);
        stripped.open(QIODevice::ReadOnly);
        return decodeStripPicture(*strips, stripped, data.size(), reader, what, maxPixels,
                                  warnings);
    }
    return decode(reader, what, data.size(), maxPixels, warnings);
}

QStringList readableImageSuffixes() {
    QStringList suffixes;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        suffixes.append(QString::fromLatin1(format).toLower());
    // libheif's, whether or not Qt has a plugin for them.
    suffixes << QStringLiteral("heic") << QStringLiteral("heif") << QStringLiteral("hif")
             << QStringLiteral("avif");
    suffixes.removeDuplicates();
    return suffixes;
}

} // namespace velmora
