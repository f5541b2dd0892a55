#pragma once

#include "render/OutputFile.h"

#include <QString>
#include <QStringList>

class QTextStream;

namespace velmora {

class LayerLibrary;
class PlanetRenderer;
struct Look;

namespace cli {

/// One batch: every picture of `inputs` (files, or folders whose pictures are taken
/// in name order) rendered with `look` at `side` into `outputDir` as NAME.png (or
/// the suffix of the encoding's format).
struct Batch {
    QStringList inputs;
    QString outputDir;
    int side = 2048;
    /// Without it, an existing output is left alone and said to be skipped.
    bool overwrite = false;
    render::OutputEncoding encoding;
};

/// Renders the batch, two pictures at a time so decoding one overlaps rendering
/// the other; the engine's tiles share the cores between them. A picture that fails
/// is reported by name and the rest go on. On a terminal (`terminal`) a progress
/// line shows the pictures done, the current one and the time left. Ends with a
/// one-line summary; the status is 1 if any picture failed (or the folder cannot be
/// made), else 0.
int runBatch(const Batch& batch, const PlanetRenderer& renderer, LayerLibrary& library,
             const Look& look, QTextStream& err, bool terminal);

} // namespace cli
} // namespace velmora
