#pragma once

#include "render/Result.h"

#include <QByteArray>
#include <QImage>
#include <QString>

namespace velmora {

/// A HEIF or AVIF picture as libheif decoded it: upright (its rotation and mirror
/// applied), 8-bit as Format_RGBA8888 or deeper as Format_RGBA64, with the colours
/// its file names (an ICC profile, or one made for its primaries), not yet converted.
struct HeifPicture {
    QImage image;
    QByteArray icc;
};

/// Whether `head` (the file's first bytes, 12 at least) starts like a HEIF or AVIF
/// file that libheif can read.
bool looksLikeHeif(const QByteArray& head);

/// Decodes the primary picture of `data`. Its size is weighed against `maxPixels`
/// and the data's length before anything is decoded. Failures name `what`.
Result<HeifPicture> decodeHeif(const QByteArray& data, qint64 maxPixels, const QString& what);

} // namespace velmora
