// Takes the screenshots in docs/ of the real window, scripted: the empty window, the
// sample planet with the library open and a turned layer selected (also at the
// smallest window size), a badge of the user's own as a nadir patch, and the note a
// failed export leaves at the top of the canvas. Run it under
// a display (Xvfb works): velmora_screenshots OUTDIR [RESOURCES]
// With VELMORA_LANGUAGE set (VELMORA_LANGUAGE=de) it takes only the translated window
// at its smallest, as window-narrow.png shows it in English: window-german.png.

#include "app/Application.h"
#include "app/MainWindow.h"
#include "model/DocumentFiles.h"
#include "model/PlanetModel.h"
#include "model/PlanetRenderer.h"
#include "model/Resources.h"
#include "ui/ContentView.h"
#include "ui/LayerLibraryPanel.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <QTimer>

using namespace velmora;

namespace {

void settle(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: velmora_screenshots OUTDIR [RESOURCES]\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    if (argc > 2)
        setResourcesRoot(QString::fromLocal8Bit(argv[2]));
    prepareApplication();
    // The docs' English pictures stay English on a machine set to another language.
    const bool translated = qEnvironmentVariableIsSet("VELMORA_LANGUAGE");
    if (!translated)
        installTranslations(QLocale(QLocale::English));

    const Result<PlanetRenderer> renderer = PlanetRenderer::load(resourcesRoot());
    if (!renderer) {
        std::fprintf(stderr, "%s\n", qPrintable(renderer.message()));
        return 1;
    }
    // The user's own artwork goes to a scratch library, never the real one.
    const QTemporaryDir userData;
    setUserArtworkFolder(userData.filePath(QStringLiteral("Layers")));
    MainWindow window(*renderer);
    window.resize(1400, 900);
    window.show();
    settle(800);
    if (!translated)
        window.grab().save(out.filePath(QStringLiteral("window-empty.png")));

    PlanetModel& model = window.content()->model();
    if (!loadImageFile(model, resourcesRoot() + QStringLiteral("/samples/panorama.jpg")))
        return 1;
    window.content()->toggleLibrary();
    model.addLayer(QStringLiteral("Glows/Glows_Golden sun.png"), {0.24, 0.2});
    model.addLayer(QStringLiteral("Lens Flares/Lens Flares_Anamorphic gold.png"), {0.24, 0.2});
    model.updateLayer(model.selectedLayerID(), [](PlacedLayer& l) { l.scale = 0.55; });
    model.addLayer(QStringLiteral("Stickers/Stickers_Hot-air balloon.png"), {0.72, 0.3});
    model.updateLayer(model.selectedLayerID(), [](PlacedLayer& l) {
        l.rotation = 18;
        l.scale = 0.16;
    });
    settle(1200);
    if (!translated)
        window.grab().save(out.filePath(QStringLiteral("window-planet.png")));

    // The smallest window, library open: the inspector closes up, the chips wrap.
    window.resize(window.minimumSize());
    settle(800);
    if (translated) {
        const QString language = QLocale::languageToString(uiLocale().language()).toLower();
        window.grab().save(out.filePath(QStringLiteral("window-%1.png").arg(language)));
        return 0;
    }
    window.grab().save(out.filePath(QStringLiteral("window-narrow.png")));
    window.resize(1400, 900);
    settle(400);

    // A round badge of the user's own, imported as SVG and centred on the planet as a
    // nadir patch over the tripod.
    const QString badge = userData.filePath(QStringLiteral("Nadir badge.svg"));
    if (QFile file(badge); file.open(QIODevice::WriteOnly)) {
        file.write("<svg xmlns='http://www.w3.org/2000/svg' width='512' height='512'>"
                   "<circle cx='256' cy='256' r='250' fill='#0b0d12'/>"
                   "<circle cx='256' cy='256' r='222' fill='none' stroke='#73c9f5' "
                   "stroke-width='12' stroke-dasharray='30 22'/>"
                   "<circle cx='256' cy='200' r='44' fill='#73c9f5'/>"
                   "<text x='256' y='340' font-family='sans-serif' font-size='52' "
                   "fill='white' text-anchor='middle' letter-spacing='6'>VELMORA</text></svg>");
    }
    window.content()->libraryPanel()->addArtwork({badge});
    model.addLayer(QStringLiteral("user/My Artwork/Nadir badge.png"), {0.5, 0.5});
    model.setSetting(Setting::horizon, 0.1);
    model.centreSelectedOnPlanet();
    model.updateLayer(model.selectedLayerID(), [](PlacedLayer& l) { l.scale = 0.2; });
    settle(1200);
    window.grab().save(out.filePath(QStringLiteral("window-nadir.png")));
    model.undo();
    model.deleteSelectedLayer();

    // An export into a folder that is not there: the top of the canvas with the note.
    window.content()->chooseExportFile = [](const QString& name) {
        return QStringLiteral("/media/card/Trip 2026/") + name;
    };
    window.content()->exportImage();
    settle(600);
    const QImage whole = window.grab().toImage();
    const int scale = static_cast<int>(whole.devicePixelRatio());
    whole.copy(0, 0, whole.width(), 190 * scale)
        .save(out.filePath(QStringLiteral("window-failure.png")));
    return 0;
}
