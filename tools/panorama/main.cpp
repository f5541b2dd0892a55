// velmora_panorama: renders the sample panorama that ships in resources/samples.
#include "Render.h"
#include "Scene.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImageReader>
#include <QImageWriter>

#include <cstdio>

namespace {

bool save(const QImage& image, const QString& path, int quality) {
    QImageWriter writer(path);
    if (path.endsWith(QLatin1String(".jpg"), Qt::CaseInsensitive)) {
        writer.setQuality(quality);
        writer.setOptimizedWrite(true);
    }
    if (!writer.write(image)) {
        std::fprintf(stderr, "cannot write %s: %s\n", qPrintable(path),
                     qPrintable(writer.errorString()));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora_panorama"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Renders Velmora's sample 360-degree equirectangular panorama."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("output"),
                                 QStringLiteral("Panorama to write (.jpg or .png)."));
    const QCommandLineOption width(QStringLiteral("width"),
                                   QStringLiteral("Width in pixels; the height is half (8000)."),
                                   QStringLiteral("pixels"), QStringLiteral("8000"));
    const QCommandLineOption quality(QStringLiteral("quality"),
                                     QStringLiteral("JPEG quality (90)."), QStringLiteral("0-100"),
                                     QStringLiteral("90"));
    const QCommandLineOption from(QStringLiteral("from"),
                                  QStringLiteral("Skip rendering; make previews of this panorama."),
                                  QStringLiteral("file"));
    const QCommandLineOption preview(QStringLiteral("preview"),
                                     QStringLiteral("Also write a 2000-pixel-wide copy here."),
                                     QStringLiteral("file"));
    const QCommandLineOption crop(
        QStringLiteral("crop"),
        QStringLiteral("Also write a crop: X,Y,W,H,FILE[,ZOOM] (repeatable)."),
        QStringLiteral("x,y,w,h,file"));
    parser.addOptions({width, quality, from, preview, crop});
    parser.process(app);

    QImage image;
    if (parser.isSet(from)) {
        QImageReader::setAllocationLimit(1024);
        image = QImage(parser.value(from));
        if (image.isNull()) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(parser.value(from)));
            return 1;
        }
    } else {
        if (parser.positionalArguments().size() != 1)
            parser.showHelp(1);
        const int w = parser.value(width).toInt();
        if (w < 16 || w % 2) {
            std::fprintf(stderr, "width must be an even number of at least 16\n");
            return 1;
        }
        QElapsedTimer timer;
        timer.start();
        const pano::Scene scene;
        image = pano::renderPanorama(scene, w);
        std::printf("rendered %d x %d in %.1f s\n", image.width(), image.height(),
                    double(timer.elapsed()) / 1000.0);
        if (!save(image, parser.positionalArguments().constFirst(), parser.value(quality).toInt()))
            return 1;
    }
    if (parser.isSet(preview) &&
        !save(image.scaledToWidth(2000, Qt::SmoothTransformation), parser.value(preview), 90))
        return 1;
    for (const QString& request : parser.values(crop)) {
        const QStringList parts = request.split(QLatin1Char(','));
        if (parts.size() < 5 || parts.size() > 6) {
            std::fprintf(stderr, "--crop wants X,Y,W,H,FILE[,ZOOM]\n");
            return 1;
        }
        const QRect area(parts[0].toInt(), parts[1].toInt(), parts[2].toInt(), parts[3].toInt());
        QImage part = image.copy(area);
        if (parts.size() == 6) // enlarged pixel for pixel, to inspect fine detail
            part = part.scaled(part.size() * parts[5].toInt(), Qt::IgnoreAspectRatio,
                               Qt::FastTransformation);
        if (!save(part, parts[4], 90))
            return 1;
    }
    return 0;
}
