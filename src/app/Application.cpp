#include "app/Application.h"

#include "app/FatalError.h"
#include "app/MainWindow.h"
#include "model/DocumentFiles.h"
#include "model/PlanetModel.h"
#include "model/PlanetRenderer.h"
#include "model/Resources.h"
#include "style/Palette.h"
#include "ui/ContentView.h"

#include <QApplication>
#include <QDir>
#include <QFontDatabase>
#include <QLibraryInfo>
#include <QMessageBox>
#include <QStyleFactory>
#include <QTranslator>

#include <cstdio>

namespace velmora {

namespace {

/// The dark look everywhere, dialogs included.
void applyDarkLook(QApplication& app) {
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette pal;
    pal.setColor(QPalette::Window, style::Palette::background);
    pal.setColor(QPalette::WindowText, Qt::white);
    pal.setColor(QPalette::Base, style::Palette::panel);
    pal.setColor(QPalette::AlternateBase, style::Palette::control);
    pal.setColor(QPalette::Text, Qt::white);
    pal.setColor(QPalette::Button, style::Palette::control);
    pal.setColor(QPalette::ButtonText, Qt::white);
    pal.setColor(QPalette::Highlight, style::Palette::accent);
    pal.setColor(QPalette::HighlightedText, Qt::black);
    pal.setColor(QPalette::ToolTipBase, style::Palette::controlRaised);
    pal.setColor(QPalette::ToolTipText, Qt::white);
    pal.setColor(QPalette::PlaceholderText, style::Palette::tertiaryText);
    pal.setColor(QPalette::Link, style::Palette::accent);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        pal.setColor(QPalette::Disabled, role, style::Palette::tertiaryText);
    app.setPalette(pal);
}

/// The fonts that ship with the program (the title's ultra-light face).
void loadBundledFonts() {
    const QDir fonts(resourcesRoot() + QStringLiteral("/fonts"));
    for (const QString& file :
         fonts.entryList({QStringLiteral("*.ttf"), QStringLiteral("*.otf")}, QDir::Files))
        QFontDatabase::addApplicationFont(fonts.filePath(file));
}

/// The translators in use, owned by the application; replaced as a whole.
QList<QTranslator*>& installedTranslators() {
    static QList<QTranslator*> translators;
    return translators;
}

} // namespace

QLocale uiLocale() {
    const QString chosen = qEnvironmentVariable("VELMORA_LANGUAGE");
    return chosen.isEmpty() ? QLocale::system() : QLocale(chosen);
}

bool installTranslations(const QLocale& locale) {
    for (QTranslator* old : std::as_const(installedTranslators())) {
        QCoreApplication::removeTranslator(old);
        delete old;
    }
    installedTranslators().clear();
    const auto install = [](const QString& file, const QString& folder) {
        auto* translator = new QTranslator(QCoreApplication::instance());
        // "velmora_de_AT" falls back to "velmora_de".
        if (!translator->load(file, folder)) {
            delete translator;
            return false;
        }
        QCoreApplication::installTranslator(translator);
        installedTranslators().append(translator);
        return true;
    };
    // The user's languages in order of preference; English, the source, ends the
    // search, so "en:de" stays English where QTranslator would pick German.
    for (const QString& language : locale.uiLanguages()) {
        if (QLocale(language).language() == QLocale::English)
            return false;
        const QString suffix = QLatin1Char('_') + QString(language).replace(u'-', u'_');
        if (!install(QStringLiteral("velmora") + suffix,
                     resourcesRoot() + QStringLiteral("/translations")))
            continue;
        // Qt's own words (a file dialog's buttons) in the same language, where the
        // system has them.
        install(QStringLiteral("qtbase") + suffix,
                QLibraryInfo::path(QLibraryInfo::TranslationsPath));
        return true;
    }
    return false;
}

void prepareApplication() {
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    QApplication::setApplicationDisplayName(QStringLiteral("Velmora"));
    // The installed desktop entry (packaging/), by which docks match the window to it.
    QApplication::setDesktopFileName(QStringLiteral("com.velmora.Velmora"));
    // The one fatal condition is worth a dialog: the window is the user's only console.
    setFatalErrorHandler([](const QString& message) {
        QMessageBox::critical(nullptr, QStringLiteral("Velmora"), message);
    });
    if (app)
        applyDarkLook(*app);
    loadBundledFonts();
    const QLocale locale = uiLocale();
    // Numbers in dialogs follow the language chosen, also when it is not the system's.
    if (installTranslations(locale) && qEnvironmentVariableIsSet("VELMORA_LANGUAGE"))
        QLocale::setDefault(locale);
    QApplication::setWindowIcon(QIcon(resourcesRoot() + QStringLiteral("/icons/velmora.svg")));
}

int runWindow(int& argc, char** argv, const cli::Invocation& invocation) {
    QApplication app(argc, argv);
    if (!invocation.resources.isEmpty())
        setResourcesRoot(invocation.resources);
    prepareApplication();

    // Without its kernel there is no planet to show: the one fatal condition.
    const Result<PlanetRenderer> renderer = PlanetRenderer::load(resourcesRoot());
    if (!renderer)
        fatalError(renderer.message());

    MainWindow window(*renderer);
    if (!invocation.image.isEmpty()) {
        // A picture named on the command line that does not open is said on the
        // terminal it was named on; the window starts empty.
        QStringList warnings;
        if (const Status loaded =
                loadImageFile(window.content()->model(), invocation.image, &warnings);
            !loaded)
            std::fprintf(stderr, "velmora: %s\n", qPrintable(loaded.message()));
        for (const QString& warning : warnings)
            std::fprintf(stderr, "velmora: warning: %s\n", qPrintable(warning));
    }
    window.resize(1400, 900);
    window.show();
    return app.exec();
}

} // namespace velmora
