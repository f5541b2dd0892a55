#pragma once

#include "render/SpherePlacement.h"

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

/// Where the picture lies on the sphere, from its Photo Sphere (GPano) XMP: the
/// cropped area's top and height as fractions of the full panorama's height, and the
/// camera's pitch and roll. Nothing for a file without it, with a projection other
/// than equirectangular, or with values that do not fit together.
render::SpherePlacement spherePlacement(const QString& sourcePath);

} // namespace velmora
