#include "model/ImageDecoding.h"

#include "render/DecodeBudget.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <filesystem>

namespace velmora {

namespace {

// Qt refuses images over 128 MiB by default, which rejects ordinary 360 degree
// panoramas: a 12000 x 6000 photo needs 288 MiB. We accept up to 200 megapixels at
// 16 bits per channel (1.6 GB), which covers the largest stitched panoramas people
// shoot, while a file whose header claims something absurd still fails cleanly.
constexpr int allocationLimitMiB = 1600;

Result<render::Image> decode(QImageReader& reader, const QString& what, qint64 dataBytes) {
    raiseImageAllocationLimit();
    // Before a byte is allocated: too large, or a bomb whose header lies.
    if (const Status budget =
            render::checkClaimedSize(reader, dataBytes, render::maxPicturePixels, what);
        !budget)
        return budget.failure();
    // Upright as it was shot: a phone held on its side writes the turn into EXIF
    // rather than the pixels. No colour conversion.
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull()) {
        const QString reason = reader.errorString();
        return Failure{QStringLiteral("%1: cannot decode the picture (%2)").arg(what, reason)};
    }
    return render::Image::fromQImage(std::move(image));
}

} // namespace

void raiseImageAllocationLimit() {
    if (QImageReader::allocationLimit() < allocationLimitMiB)
        QImageReader::setAllocationLimit(allocationLimitMiB);
}

Result<render::Image> decodeImageFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists())
        return Failure{QStringLiteral("%1: no such file").arg(path)};
    if (info.isDir())
        return Failure{QStringLiteral("%1: is a folder, not a picture").arg(path)};
    // A pipe or a device would be read for ever or not at all; only files are pictures.
    std::error_code error;
    if (!std::filesystem::is_regular_file(std::filesystem::path(path.toStdString()), error))
        return Failure{QStringLiteral("%1: is not a regular file").arg(path)};
    if (!info.isReadable())
        return Failure{QStringLiteral("%1: cannot be read (permission denied)").arg(path)};
    if (info.size() == 0)
        return Failure{QStringLiteral("%1: the file is empty").arg(path)};
    QImageReader reader(path);
    // Decide by content, not by name: a text file called .png must fail as such.
    reader.setDecideFormatFromContent(true);
    if (reader.format() == "jpeg") {
        // The JPEG decoder fills a missing end with grey and calls it success.
        QFile file(path);
        if (file.open(QIODevice::ReadOnly) && jpegEndsEarly(file))
            return Failure{QStringLiteral("%1: the picture's data ends early (the file is cut "
                                          "short)")
                               .arg(path)};
    }
    return decode(reader, path, info.size());
}

bool jpegEndsEarly(QIODevice& device) {
    // Entropy-coded data never holds FF D9 (a coded FF is followed by 00 or a
    // restart marker), so a whole picture has its end-of-image marker after the start
    // of its last scan (FF DA). Data appended after the end (a second picture, a
    // maker's trailer) ends with its own marker, or holds no scan at all.
    const QByteArray data = device.readAll();
    const qsizetype lastScan = data.lastIndexOf(QByteArray("\xff\xda", 2));
    if (lastScan < 0)
        return false; // not a picture we can judge; the decoder will say
    return data.indexOf(QByteArray("\xff\xd9", 2), lastScan + 2) < 0;
}

Result<render::Image> decodeImageData(const QByteArray& data, const QByteArray& format) {
    if (data.isEmpty())
        return Failure{QStringLiteral("no picture data")};
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setDecideFormatFromContent(format.isEmpty());
    return decode(reader, QStringLiteral("picture data"), data.size());
}

QStringList readableImageSuffixes() {
    QStringList suffixes;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        suffixes.append(QString::fromLatin1(format).toLower());
    suffixes.removeDuplicates();
    return suffixes;
}

} // namespace velmora
