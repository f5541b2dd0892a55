#pragma once

#include "render/Image.h"
#include "render/Result.h"

#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QStringList>

namespace velmora {

/// Raises Qt's image allocation limit for the whole process (see the .cpp for why).
/// Idempotent; call before the first decode.
void raiseImageAllocationLimit();

/// Decodes a picture file (failures name the file), turned upright as its EXIF
/// orientation says; no colour conversion, no resizing; 16-bit files stay 16-bit.
/// Only regular files are read: a pipe or device is refused, not waited on.
Result<render::Image> decodeImageFile(const QString& path);

/// Decodes picture data (PNG, TIFF, ... as Qt reads them). `format` is a hint such as
/// "png"; empty lets the decoder sniff.
Result<render::Image> decodeImageData(const QByteArray& data, const QByteArray& format = {});

/// Whether the JPEG data in `device` stops before its last scan is complete (a file
/// cut short in a download or a copy); reads the device to its end.
bool jpegEndsEarly(QIODevice& device);

/// File suffixes Qt can read here, lower case, for open dialogs ("jpg", "png", ...).
QStringList readableImageSuffixes();

} // namespace velmora
