#pragma once

#include "app/CommandLine.h"

namespace velmora {

/// Runs the desktop application: one window, its document, the Help menu.
int runWindow(int& argc, char** argv, const cli::Invocation& invocation);

/// Everything the window needs from the application before it is built: the dark
/// look, the bundled fonts, the icon, and a dialog for the one fatal error.
void prepareApplication();

} // namespace velmora
