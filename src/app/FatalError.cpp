#include "app/FatalError.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace velmora {

namespace {

FatalErrorHandler& handler() {
    static FatalErrorHandler h;
    return h;
}

} // namespace

void fatalError(const QString& message) {
    if (handler())
        handler()(message);
    std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
    std::fflush(stderr);
    std::exit(EXIT_FAILURE);
}

void setFatalErrorHandler(FatalErrorHandler h) {
    handler() = std::move(h);
}

} // namespace velmora
