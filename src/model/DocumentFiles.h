#pragma once

#include "render/Result.h"

#include <QString>

namespace velmora {

class PlanetModel;

// How pictures come into the document and planets leave it. Every failure names
// the file it is about and leaves the document as it was.

/// Decodes a file and loads it under its base name ("beach.jpg" gives "beach").
Status loadImageFile(PlanetModel& model, const QString& path);
/// Loads the clipboard's picture as "Pasted".
Status pasteFromClipboard(PlanetModel& model);
/// The source's base name (or "Planet") followed by "-velmora.png".
QString defaultExportFileName(const PlanetModel& model);
/// Renders at the output size and writes an 8-bit RGBA PNG tagged sRGB, atomically:
/// a failure leaves no partial file and any existing file intact.
Status exportPNG(PlanetModel& model, const QString& path);
/// Renders at the output size and puts the picture on the clipboard as PNG and TIFF.
Status copyToClipboard(PlanetModel& model);

} // namespace velmora
