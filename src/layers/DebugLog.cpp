#include "layers/DebugLog.h"

#include <cstdio>
#include <utility>

namespace velmora {

namespace {

DebugLogSink& currentSink() {
    static DebugLogSink sink;
    return sink;
}

} // namespace

void debugLog(const QString& line) {
    if (const DebugLogSink& sink = currentSink()) {
        sink(line);
        return;
    }
#ifdef VELMORA_DEBUG_LOG
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
#else
    (void)line;
#endif
}

DebugLogSink setDebugLogSink(DebugLogSink sink) {
    return std::exchange(currentSink(), std::move(sink));
}

} // namespace velmora
