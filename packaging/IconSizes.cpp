// Draws the application icon at the sizes desktops look for, as PNGs.
// Usage: velmora_icons ICON.svg OUT_DIR SIZE...  writes OUT_DIR/SIZE/velmora.png

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: velmora_icons ICON.svg OUT_DIR SIZE...\n");
        return 2;
    }
    const QString svg = QFile::decodeName(argv[1]);
    QSvgRenderer renderer(svg);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "velmora_icons: %s: not a readable SVG\n", argv[1]);
        return 1;
    }
    const QString name = QFileInfo(svg).completeBaseName() + QStringLiteral(".png");
    for (int i = 3; i < argc; ++i) {
        const int side = QString::fromLatin1(argv[i]).toInt();
        if (side <= 0) {
            std::fprintf(stderr, "velmora_icons: '%s' is not a size\n", argv[i]);
            return 2;
        }
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, side, side));
        painter.end();
        const QString folder = QFile::decodeName(argv[2]) + QStringLiteral("/%1").arg(side);
        if (!QDir().mkpath(folder) || !image.save(folder + QLatin1Char('/') + name, "PNG")) {
            std::fprintf(stderr, "velmora_icons: cannot write %s/%s\n", qPrintable(folder),
                         qPrintable(name));
            return 1;
        }
    }
    return 0;
}
