#include "render/DecodeBudget.h"

#include "render/SourcePixels.h"

#include <QImage>
#include <QImageReader>

namespace velmora::render {

namespace {

// No image format packs more pixels into a byte than this: deflate stops near
// 1000:1 and a JPEG needs a few bits for every 16 x 16 block. Small files get a
// megapixel of slack so tiny flat pictures are never refused.
constexpr qint64 maxPixelsPerByte = 10'000;
constexpr qint64 slackPixels = 1'000'000;

} // namespace

Status checkClaimedSize(QImageReader& reader, qint64 dataBytes, qint64 maxPixels,
                        const QString& what) {
    const QSize size = reader.size();
    if (!size.isValid() || size.isEmpty())
        return {};
    if (const Status limit =
            checkPixelLimit(size, isDeepFormat(reader.imageFormat()) ? 8 : 4, maxPixels, what);
        !limit)
        return limit;
    return checkDataHolds(size, dataBytes, what);
}

Status checkDataHolds(QSize size, qint64 dataBytes, const QString& what) {
    const qint64 pixels = qint64(size.width()) * size.height();
    if (dataBytes >= 0 && pixels > dataBytes * maxPixelsPerByte + slackPixels)
        return Failure{QStringLiteral("%1: the file claims %2 \u00d7 %3 pixels but holds only %4 "
                                      "bytes, far too few for a picture that size")
                           .arg(what)
                           .arg(size.width())
                           .arg(size.height())
                           .arg(dataBytes)};
    return {};
}

Status checkPixelLimit(QSize size, int bytesPerPixel, qint64 maxPixels, const QString& what) {
    const qint64 pixels = qint64(size.width()) * size.height();
    const qint64 mib = (pixels * bytesPerPixel + (1 << 20) - 1) >> 20;
    if (pixels > maxPixels)
        return Failure{
            QStringLiteral(
                "%1: %2 \u00d7 %3 pixels is more than the %4-megapixel limit (at %5 bits "
                "it would need %6 MiB)")
                .arg(what)
                .arg(size.width())
                .arg(size.height())
                .arg(maxPixels / 1'000'000)
                .arg(bytesPerPixel * 2)
                .arg(mib)};
    return {};
}

Status checkDecodedSize(const QImage& image, qint64 maxPixels, const QString& what) {
    return checkPixelLimit(image.size(), image.depth() > 32 ? 8 : 4, maxPixels, what);
}

} // namespace velmora::render
