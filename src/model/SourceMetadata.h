#pragma once

#include <QByteArray>
#include <QString>

namespace velmora {

/// What of a source picture's metadata its planet carries, so photo libraries sort
/// the planet with its source: the capture date and the camera (make, model, lens),
/// with Velmora named as the software. Encoded as EXIF (a TIFF structure, as PNG's
/// eXIf chunk, JPEG's APP1 after its "Exif" header and WebP's EXIF chunk hold it).
/// Empty when the file has none of these or cannot be read: metadata never stops a
/// render.
QByteArray carriedExif(const QString& sourcePath);

} // namespace velmora
