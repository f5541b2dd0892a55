#pragma once

#include "render/Result.h"

#include <QSize>
#include <QString>

class QImage;
class QImageReader;

namespace velmora::render {

/// The largest picture a decode may make: 200 megapixels, which at 16 bits per
/// channel is 1.6 GB, as large as the stitched panoramas people shoot.
inline constexpr qint64 maxPicturePixels = 200'000'000;
/// Artwork is drawn at most the width of an 8192 export: 64 megapixels is plenty.
inline constexpr qint64 maxArtworkPixels = 64 * 1024 * 1024;

/// Checks what the header of `reader` claims before anything is allocated: a size
/// beyond `maxPixels`, or more pixels than `dataBytes` of file could possibly hold
/// (a decompression bomb: a kilobyte claiming 20000 x 20000), is refused with a
/// message in words that names `what`. A header that cannot be read passes: the
/// decoder will say what is wrong with it.
Status checkClaimedSize(QImageReader& reader, qint64 dataBytes, qint64 maxPixels,
                        const QString& what);

/// The bomb half of the check above, for a size read by other means.
Status checkDataHolds(QSize size, qint64 dataBytes, const QString& what);
/// The limit half: `size` at `bytesPerPixel` (4 or 8) within `maxPixels`.
Status checkPixelLimit(QSize size, int bytesPerPixel, qint64 maxPixels, const QString& what);
/// The limit again, on what a reader actually made: a container's header does not
/// bind the picture inside it (an icon may hold a PNG of any size), so only Qt's
/// allocation limit stood between such a file and memory.
Status checkDecodedSize(const QImage& image, qint64 maxPixels, const QString& what);

} // namespace velmora::render
