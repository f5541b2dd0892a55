#pragma once

#include "app/CommandLine.h"

namespace velmora {

/// Runs the desktop application: one window, its document, the Help menu.
int runWindow(int& argc, char** argv, const cli::Invocation& invocation);

} // namespace velmora
