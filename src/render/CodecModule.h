#pragma once

#include "render/Result.h"

#include <QString>

namespace velmora::render {

/// Codecs whose libraries are large live in modules of their own, loaded on first
/// use: FFmpeg's libraries alone bring some 130 shared libraries, and loading them
/// took 46 ms of every start, window or command, that never writes a video.
///
/// Loads "<folder>/<name>.so" (once; later calls find it loaded) and returns what
/// its entry function `entry` gives, or why it cannot, naming the module's file.
Result<const void*> loadCodecModule(const QString& folder, const QString& name, const char* entry);

/// loadCodecModule() for a module whose entry gives a `Module` whose first member is
/// `int abiVersion`: one built for another version of the program is refused.
template <typename Module>
Result<const Module*> codecModule(const QString& folder, const QString& name, const char* entry) {
    const Result<const void*> loaded = loadCodecModule(folder, name, entry);
    if (!loaded)
        return loaded.failure();
    const auto* module = static_cast<const Module*>(*loaded);
    if (module->abiVersion != Module::currentAbiVersion)
        return Failure{
            QStringLiteral("%1/%2.so: built for another version of the program").arg(folder, name)};
    return module;
}

} // namespace velmora::render
