#include "app/Application.h"

#include "app/MainWindow.h"
#include "filter/FatalError.h"
#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "ui/ContentView.h"
#include "ui/Palette.h"

#include <QApplication>
#include <QDir>
#include <QFontDatabase>
#include <QMessageBox>
#include <QStyleFactory>

namespace velmora {

namespace {

/// The dark look everywhere, dialogs included.
void applyDarkLook(QApplication& app) {
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette pal;
    pal.setColor(QPalette::Window, ui::Palette::background);
    pal.setColor(QPalette::WindowText, Qt::white);
    pal.setColor(QPalette::Base, ui::Palette::panel);
    pal.setColor(QPalette::AlternateBase, ui::Palette::control);
    pal.setColor(QPalette::Text, Qt::white);
    pal.setColor(QPalette::Button, ui::Palette::control);
    pal.setColor(QPalette::ButtonText, Qt::white);
    pal.setColor(QPalette::Highlight, ui::Palette::accent);
    pal.setColor(QPalette::HighlightedText, Qt::black);
    pal.setColor(QPalette::ToolTipBase, ui::Palette::controlRaised);
    pal.setColor(QPalette::ToolTipText, Qt::white);
    pal.setColor(QPalette::PlaceholderText, ui::Palette::tertiaryText);
    pal.setColor(QPalette::Link, ui::Palette::accent);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        pal.setColor(QPalette::Disabled, role, ui::Palette::tertiaryText);
    app.setPalette(pal);
}

/// The fonts that ship with the program (the title's ultra-light face).
void loadBundledFonts() {
    const QDir fonts(resourcesRoot() + QStringLiteral("/fonts"));
    for (const QString& file :
         fonts.entryList({QStringLiteral("*.ttf"), QStringLiteral("*.otf")}, QDir::Files))
        QFontDatabase::addApplicationFont(fonts.filePath(file));
}

} // namespace

void prepareApplication() {
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    QApplication::setApplicationDisplayName(QStringLiteral("Velmora"));
    QApplication::setDesktopFileName(QStringLiteral("velmora"));
    // The one fatal condition is worth a dialog: the window is the user's only console.
    setFatalErrorHandler([](const QString& message) {
        QMessageBox::critical(nullptr, QStringLiteral("Velmora"), message);
    });
    if (app)
        applyDarkLook(*app);
    loadBundledFonts();
    QApplication::setWindowIcon(QIcon(resourcesRoot() + QStringLiteral("/icons/velmora.svg")));
}

int runWindow(int& argc, char** argv, const cli::Invocation& invocation) {
    QApplication app(argc, argv);
    if (!invocation.resources.isEmpty())
        setResourcesRoot(invocation.resources);
    prepareApplication();

    MainWindow window;
    if (!invocation.image.isEmpty())
        window.content()->model().loadImageFile(invocation.image);
    window.resize(1400, 900);
    window.show();
    return app.exec();
}

} // namespace velmora
