#pragma once

#include "app/CommandLine.h"

#include <QLocale>

namespace velmora {

/// Runs the desktop application: one window, its document, the Help menu.
int runWindow(int& argc, char** argv, const cli::Invocation& invocation);

/// Everything the window needs from the application before it is built: the dark
/// look, the bundled fonts, the icon, the translation for uiLocale(), and a dialog
/// for the one fatal error.
void prepareApplication();

/// The language the window speaks: VELMORA_LANGUAGE ("de", "en_GB") when set, else
/// the system's (on Linux from LANGUAGE, LC_ALL, LC_MESSAGES or LANG).
QLocale uiLocale();

/// Installs Velmora's translation for `locale` from the resources folder, and Qt's
/// own for its standard dialogs, replacing any installed before. Returns whether
/// Velmora has one for that language; English, the source, needs none.
bool installTranslations(const QLocale& locale);

} // namespace velmora
