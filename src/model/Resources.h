#pragma once

#include <QString>

namespace velmora {

/// Where the program's resources folder (artwork, kernel module, fonts, icons) is.
///
/// Looked up in this order: a folder set with setResourcesRoot() (the command line's
/// --resources, tests); the VELMORA_RESOURCES environment variable; "resources"
/// beside the executable (a build tree); "../share/velmora" above the executable's
/// folder (an installed program). Empty when none of them exists.
QString resourcesRoot();

/// Overrides the lookup; an empty path restores it.
void setResourcesRoot(const QString& path);

/// The folder of the codec modules: "codecs" in the resources folder.
QString codecFolder();

/// The folder of the user's own artwork: $XDG_DATA_HOME/velmora/Layers (by default
/// ~/.local/share/velmora/Layers), one sub-folder per category. It need not exist.
QString userArtworkFolder();
/// Overrides it (tests); an empty path restores it.
void setUserArtworkFolder(const QString& path);

} // namespace velmora
