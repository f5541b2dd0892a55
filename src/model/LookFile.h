#pragma once

#include "model/Look.h"
#include "render/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace velmora {

class LayerLibrary;

/// The file suffix of a saved look, without the dot.
inline constexpr const char* lookFileSuffix = "velmora-look";
/// The version this build writes; files of a later version are read for the keys
/// this one knows.
inline constexpr int lookFileVersion = 1;

/// A look read from a file, and what could not be kept of it (each a sentence
/// naming the file).
struct LoadedLook {
    Look look;
    QStringList notes;
};

/// The look as a small, human-readable JSON document:
///   { "format": "velmora-look", "version": 1, "preset": "classic" or null,
///     "settings": { "zoom": 1, ... every setting by its name },
///     "layers": [ { "asset": "Glows/orb.png", "center": [0.5, 0.3], "scale": 0.25,
///                   "rotation": 0, "opacity": 1, "flipped": false,
///                   "blend": "screen" }, ... bottom first ] }
/// Artwork is named by asset id; layer ids are not written (a loaded layer gets a
/// fresh one).
QByteArray lookToJson(const Look& look);

/// Reads a look written by lookToJson() of this or a later version. Settings that
/// are missing keep their defaults and are held to the range the command line
/// accepts; opacity is held to 0 to 1; unknown keys and an unknown preset are
/// ignored. With a `library`, layers naming artwork it does not have are left out
/// and noted. Anything that is not such a document (not JSON, another format, a
/// value of the wrong type) fails with a message naming `what` and nothing else.
Result<LoadedLook> lookFromJson(const QByteArray& json, const LayerLibrary* library,
                                const QString& what);

/// Writes the look to `path` atomically; failures name the file.
Status saveLookFile(const Look& look, const QString& path);
/// Reads a look file (a regular file of at most a few megabytes); failures name it.
Result<LoadedLook> loadLookFile(const QString& path, const LayerLibrary* library);

} // namespace velmora
