#pragma once

#include "model/PlanetRenderer.h"
#include "render/Image.h"
#include "render/OutputFile.h"
#include "render/RenderContext.h"
#include "render/Result.h"

#include <QImage>
#include <QString>

namespace velmora {

class PlanetModel;

// How pictures come into the document and planets leave it. Every failure names
// the file it is about and leaves the document as it was.

/// Decodes a file and loads it under its base name ("beach.jpg" gives "beach"). What
/// the decoder got past (damage, a reduced scale) is added to `warnings` if given.
Status loadImageFile(PlanetModel& model, const QString& path, QStringList* warnings = nullptr);
/// Loads the clipboard's picture as "Pasted".
Status pasteFromClipboard(PlanetModel& model);
/// The source's base name (or "Planet") followed by "-velmora.png".
QString defaultExportFileName(const PlanetModel& model);
/// The planet an export or a copy makes, taken from the document as it is now: the
/// look's recipe at the output size, holding its source and artwork. Rendering it
/// needs nothing else, so it may run on another thread while the document goes on
/// changing.
struct OutputSnapshot {
    PlanetRenderer renderer;
    render::Image planet;
    int side = 0;
    /// The source's capture date and camera, carried by formats that can.
    QByteArray exif;

    /// The pixels, straight 8-bit RGBA; any thread.
    Result<QImage> render(render::RenderProgress* progress = nullptr) const;
    /// Renders and writes the file in the encoding's format (by default an 8-bit RGBA
    /// PNG tagged sRGB), atomically: a failure leaves no partial file and any
    /// existing file intact. Any thread.
    Status write(const QString& path, const render::OutputEncoding& encoding = {},
                 render::RenderProgress* progress = nullptr) const;
};
/// Main thread; fails when there is no picture or the look cannot be rendered.
Result<OutputSnapshot> snapshotOutput(PlanetModel& model);

/// Renders at the output size and writes the PNG (snapshotOutput, then write).
Status exportPNG(PlanetModel& model, const QString& path);
/// Renders at the output size and puts the picture on the clipboard as PNG and TIFF.
Status copyToClipboard(PlanetModel& model);

} // namespace velmora
