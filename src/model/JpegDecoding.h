#pragma once

#include "render/Result.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <optional>

namespace velmora {

/// A JPEG as libjpeg-turbo decoded it: the pixels (Format_RGB32, not yet turned
/// upright), the size the file holds, and what the decoder got past.
struct JpegPicture {
    QImage image;
    QSize storedSize;
    /// 1 for full resolution, else 2, 4 or 8: the picture was decoded at 1 / scale.
    int scale = 1;
    /// Damage the decoder recovered from, in its own words ("Corrupt JPEG data: ...").
    QStringList damage;
    /// The embedded ICC profile, or empty.
    QByteArray icc;
};

/// Whether `data` starts like a JPEG (FF D8 FF).
bool looksLikeJpeg(const QByteArray& data);

/// Decodes a JPEG from `file` (read from where it stands) or, when `file` is null,
/// from `data`. Memory is bounded: a picture above `maxPixels` is decoded at the
/// largest of 1/2, 1/4 and 1/8 that fits (the DCT scales, nearly free), and one that
/// fits at none, or whose header claims more pixels than its `dataBytes` can hold, is
/// refused before anything is allocated. Data that ends before the picture does is a
/// failure, not a grey lower half. CMYK pictures are not handled here (`nullopt`
/// inside a success means "let another decoder try"). Failures name `what`.
///
/// Large baseline pictures decode in horizontal bands on several threads (`bands`
/// of them; 0 chooses by the picture's size and the cores), with the same pixels.
/// `file` is read with pread() from where it stands and is left there.
Result<std::optional<JpegPicture>> decodeJpeg(std::FILE* file, const QByteArray& data,
                                              qint64 dataBytes, qint64 maxPixels,
                                              const QString& what, int bands = 0);

} // namespace velmora
