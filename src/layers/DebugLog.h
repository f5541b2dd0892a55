#pragma once

#include <QString>

#include <functional>

namespace velmora {

/// Diagnostic sink for the layer library's scan report. Debug builds write each line
/// to standard error; release builds write nothing.
void debugLog(const QString& line);

/// Replaces where debugLog lines go (tests capture them); an empty function restores
/// the build's default. Returns the previous sink.
using DebugLogSink = std::function<void(const QString&)>;
DebugLogSink setDebugLogSink(DebugLogSink sink);

} // namespace velmora
