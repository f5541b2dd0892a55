// velmora_layerart: writes the overlay artwork catalogue, deterministically.
//
//   velmora_layerart [--resources DIR] [--only TEXT] [--skip-art]
//                    [--preview DIR] [--contact-sheet FILE]

#include "ArtKit.h"
#include "Catalogue.h"
#include "Preview.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSet>
#include <QTextStream>

#include <cstdio>

namespace {

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

/// Removes PNGs in our category folders that the catalogue no longer makes, so a
/// renamed asset does not leave its old file behind.
void removeStale(const QString& layers, const std::vector<layerart::Asset>& assets) {
    QSet<QString> wanted;
    QSet<QString> categories;
    for (const auto& asset : assets) {
        wanted.insert(asset.category + QLatin1Char('/') + asset.fileName());
        categories.insert(asset.category);
    }
    for (const QString& category : categories) {
        const QDir folder(layers + QLatin1Char('/') + category);
        for (const QString& file : folder.entryList({QStringLiteral("*.png")}, QDir::Files)) {
            if (!wanted.contains(category + QLatin1Char('/') + file)) {
                out() << "removing stale " << category << '/' << file << Qt::endl;
                QFile::remove(folder.filePath(file));
            }
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    // Text on the contact sheet needs a GUI application, never a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora_layerart"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Writes Velmora's overlay artwork into <resources>/Layers."));
    parser.addHelpOption();
    const QCommandLineOption resourcesOption(
        QStringLiteral("resources"), QStringLiteral("Resources folder to write into."),
        QStringLiteral("dir"), QStringLiteral(LAYERART_SOURCE_DIR "/resources"));
    const QCommandLineOption onlyOption(
        QStringLiteral("only"), QStringLiteral("Only assets whose Category/name contains text."),
        QStringLiteral("text"));
    const QCommandLineOption skipOption(QStringLiteral("skip-art"),
                                        QStringLiteral("Write no artwork, only sheets."));
    const QCommandLineOption previewOption(
        QStringLiteral("preview"), QStringLiteral("Write a review sheet per asset into dir."),
        QStringLiteral("dir"));
    const QCommandLineOption sheetOption(QStringLiteral("contact-sheet"),
                                         QStringLiteral("Write a contact sheet of the library."),
                                         QStringLiteral("file"));
    parser.addOptions({resourcesOption, onlyOption, skipOption, previewOption, sheetOption});
    parser.process(app);

    const QString resources = parser.value(resourcesOption);
    const QString layers = resources + QStringLiteral("/Layers");
    const QString only = parser.value(onlyOption);
    std::vector<layerart::Asset> chosen;
    for (const auto& asset : layerart::catalogue()) {
        if (only.isEmpty() ||
            (asset.category + QLatin1Char('/') + asset.name).contains(only, Qt::CaseInsensitive))
            chosen.push_back(asset);
    }

    int failures = 0;
    if (!parser.isSet(skipOption)) {
        if (only.isEmpty())
            removeStale(layers, chosen);
        for (const auto& asset : chosen) {
            const QString folder = layers + QLatin1Char('/') + asset.category;
            QDir().mkpath(folder);
            const QString path = folder + QLatin1Char('/') + asset.fileName();
            const QImage image = asset.make();
            if (image.isNull() || !layerart::savePng(image, path)) {
                out() << "FAILED " << path << Qt::endl;
                ++failures;
                continue;
            }
            out() << asset.category << '/' << asset.name << "  " << image.width() << 'x'
                  << image.height() << "  " << QFileInfo(path).size() / 1024 << " KB" << Qt::endl;
        }
    }
    if (parser.isSet(previewOption)) {
        const QString dir = parser.value(previewOption);
        QDir().mkpath(dir);
        for (const auto& asset : chosen) {
            const QString path =
                layers + QLatin1Char('/') + asset.category + QLatin1Char('/') + asset.fileName();
            const QString target = dir + QLatin1Char('/') + asset.category + QLatin1Char('_') +
                                   QString(asset.name).replace(QLatin1Char(' '), QLatin1Char('-')) +
                                   QStringLiteral(".png");
            if (!layerart::writePreview(path, asset.category, target)) {
                out() << "FAILED preview " << target << Qt::endl;
                ++failures;
            }
        }
    }
    if (parser.isSet(sheetOption)) {
        if (!layerart::writeContactSheet(resources, parser.value(sheetOption))) {
            out() << "FAILED contact sheet" << Qt::endl;
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
