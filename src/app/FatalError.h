#pragma once

#include <QString>

#include <functional>

namespace velmora {

/// Stops the program with `message`: the handler runs (the window shows the message),
/// then the message goes to standard error and the process exits with status 1.
[[noreturn]] void fatalError(const QString& message);

/// Lets the application show fatal messages its own way before the exit.
using FatalErrorHandler = std::function<void(const QString&)>;
void setFatalErrorHandler(FatalErrorHandler handler);

} // namespace velmora
