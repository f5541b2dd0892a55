#pragma once

#include "render/Image.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace velmora {

/// A decoded picture, or why there is none. Errors are plain data: the window stays
/// quiet about them, the command line prints them.
struct DecodedImage {
    render::Image image;
    QString error; ///< empty on success

    bool ok() const { return error.isEmpty(); }
};

/// Raises Qt's image allocation limit for the whole process (see the .cpp for why).
/// Idempotent; call before the first decode.
void raiseImageAllocationLimit();

/// Decodes a picture file as it is: no orientation correction, no colour conversion,
/// no resizing; 16-bit files stay 16-bit.
DecodedImage decodeImageFile(const QString& path);

/// Decodes picture data (PNG, TIFF, ... as Qt reads them). `format` is a hint such as
/// "png"; empty lets the decoder sniff.
DecodedImage decodeImageData(const QByteArray& data, const QByteArray& format = {});

/// File suffixes Qt can read here, lower case, for open dialogs ("jpg", "png", ...).
QStringList readableImageSuffixes();

} // namespace velmora
