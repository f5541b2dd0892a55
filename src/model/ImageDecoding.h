#pragma once

#include "render/DecodeBudget.h"
#include "render/Image.h"
#include "render/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace velmora {

/// Raises Qt's image allocation limit for the whole process (see the .cpp for why).
/// Idempotent; call before the first decode.
void raiseImageAllocationLimit();

/// Decodes a picture file (failures name the file), turned upright as its EXIF
/// orientation says, in sRGB: an embedded colour profile (JPEG, PNG, TIFF, HEIF) is
/// converted from with Little CMS, a picture without one is taken as sRGB. HEIC,
/// HEIF and AVIF go through libheif. No resizing below the pixel limit; 16-bit and
/// 10-bit files stay 16-bit.
/// Only regular files are read: a pipe or device is refused, not waited on. A JPEG,
/// PNG or TIFF beyond the pixel limit `maxPixels` opens reduced to fit it (JPEG at a
/// DCT scale, PNG and TIFF read in strips and averaged); that, and damage the decoder
/// got past, are added to `warnings` (each naming the file) when it is given. Other
/// formats beyond the limit are refused in words. Tests pass a small limit.
Result<render::Image> decodeImageFile(const QString& path, QStringList* warnings = nullptr,
                                      qint64 maxPixels = render::maxPicturePixels);

/// Decodes picture data (JPEG, PNG, TIFF, ...). `format` is a hint such as "png";
/// empty lets the decoder sniff.
Result<render::Image> decodeImageData(const QByteArray& data, const QByteArray& format = {},
                                      QStringList* warnings = nullptr,
                                      qint64 maxPixels = render::maxPicturePixels);

/// File suffixes Qt can read here, lower case, for open dialogs ("jpg", "png", ...).
QStringList readableImageSuffixes();

} // namespace velmora
