#include "Preview.h"

#include "ArtKit.h"

#include "layers/LayerLibrary.h"
#include "layers/PlacedLayer.h"
#include "render/Image.h"
#include "render/RenderContext.h"
#include "ui/Checkerboard.h"

#include <QFileInfo>
#include <QFont>
#include <QPainter>

namespace layerart {

QImage photoBackground(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    const float horizon = 0.6f * float(height);
    const float scale = 600.0f / float(std::max(width, height));
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const float fx = float(x) * scale;
            const float fy = float(y) * scale;
            Rgb c;
            const float treeline = horizon - (8.0f + 10.0f * fbm(fx / 25.0f, 0.5f, 7u, 4)) / scale;
            if (float(y) < treeline) {
                const float t = float(y) / horizon;
                c = mix(hex(0x2F62B8), hex(0xB9D3EC), std::pow(t, 1.3f));
                const float cloud = smoothstep(0.05f, 0.55f, fbm(fx / 140.0f, fy / 45.0f, 3u, 5));
                c = mix(c, hex(0xF2F4F7), 0.55f * cloud);
            } else if (float(y) < horizon) {
                c = hex(0x1F3620) * (0.85f + 0.3f * noise(fx / 3.0f, fy / 3.0f, 9u));
            } else {
                const float t = (float(y) - horizon) / (float(height) - horizon);
                c = mix(hex(0x6F9440), hex(0x2F5220), t);
                c = c * (0.82f + 0.25f * fbm(fx / 30.0f, fy / 12.0f, 5u, 4) +
                         0.12f * noise(fx / 1.5f, fy / 3.5f, 6u));
            }
            line[x] = qRgb(int(clamp01(c.r) * 255.0f + 0.5f), int(clamp01(c.g) * 255.0f + 0.5f),
                           int(clamp01(c.b) * 255.0f + 0.5f));
        }
    }
    return image;
}

void compose(QImage& canvas, const QImage& art, const QRect& target, bool screen) {
    namespace render = velmora::render;
    if (art.isNull() || target.isEmpty())
        return;
    // The program's own engine, so the sheets show the blend an export makes.
    const QTransform place = QTransform::fromScale(double(target.width()) / art.width(),
                                                   double(target.height()) / art.height()) *
                             QTransform::fromTranslate(target.left(), target.top());
    const render::Image placed = render::Image::fromQImage(art).transformed(place);
    const render::Image under = render::Image::fromQImage(canvas);
    const render::Image both =
        screen ? placed.blended(render::BlendOp::screen, under) : placed.composited(under);
    const QImage out = render::RenderContext().render(
        both, canvas.rect(), render::RenderContext::Layout::premultipliedArgb32);
    canvas = out.convertToFormat(canvas.format());
}

QImage checkerboard(int width, int height, int cell) {
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    velmora::ui::paintCheckerboard(painter, QRectF(image.rect()), cell);
    return image;
}

namespace {

QRect fitted(const QSize& art, const QRect& box) {
    const QSize size = art.scaled(box.size(), Qt::KeepAspectRatio);
    return {box.left() + (box.width() - size.width()) / 2,
            box.top() + (box.height() - size.height()) / 2, size.width(), size.height()};
}

/// The library panel's thumbnail: art fitted with 5 px padding on the checkerboard.
QImage thumbnail(const QImage& art, int side) {
    QImage tile = checkerboard(side, side, 8);
    compose(tile, art, fitted(art.size(), QRect(5, 5, side - 10, side - 10)), false);
    return tile;
}

QImage solid(QSize size, QRgb colour) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

} // namespace

bool writePreview(const QString& assetPath, const QString& category, const QString& outPath) {
    const QImage art(assetPath);
    if (art.isNull())
        return false;
    const bool screen = velmora::isScreenCategory(category);
    const QSize box = art.size().scaled(600, 600, Qt::KeepAspectRatio);
    const QSize panel = box + QSize(60, 60);
    const int header = 120;
    QImage sheet(panel.width() * 2, header + panel.height() * 4, QImage::Format_RGB32);
    sheet.fill(qRgb(40, 40, 40));

    const QImage photo = photoBackground(panel.width(), panel.height());
    const QRect inner(30, 30, box.width(), box.height());
    struct Panel {
        QImage background;
        bool screen;
    };
    std::vector<Panel> panels{{solid(panel, qRgb(0, 0, 0)), screen},
                              {solid(panel, qRgb(255, 255, 255)), false},
                              {photo, screen},
                              {photo, false}};
    for (std::size_t i = 0; i < panels.size(); ++i) {
        QImage p = panels[i].background;
        compose(p, art, inner, panels[i].screen);
        QPainter(&sheet).drawImage(int(i % 2) * panel.width(), header + int(i / 2) * panel.height(),
                                   p);
    }
    // The default placement: a quarter of the planet's side, here three at once.
    {
        QImage p = photo;
        const int w = panel.width() / 4;
        const int h = std::max(1, w * art.height() / art.width());
        for (const QPoint centre : {QPoint(panel.width() / 4, panel.height() / 3),
                                    QPoint(panel.width() * 2 / 3, panel.height() / 4),
                                    QPoint(panel.width() / 2, panel.height() * 3 / 4)}) {
            compose(p, art, QRect(centre.x() - w / 2, centre.y() - h / 2, w, h), screen);
        }
        QPainter(&sheet).drawImage(0, header + 2 * panel.height(), p);
    }
    // Pixels at 1:1 from the centre, where banding and facets show.
    {
        QImage p = solid(panel, screen ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
        const QRect crop(QPoint((art.width() - box.width()) / 2, (art.height() - box.height()) / 2),
                         box);
        compose(p, art.copy(crop), inner, screen);
        QPainter(&sheet).drawImage(panel.width(), header + 2 * panel.height(), p);
    }
    // Faint tails lifted eightfold: hard edges and boxes in them show up here.
    {
        QImage p = solid(panel, qRgb(0, 0, 0));
        compose(p, art, inner, true);
        for (int y = 0; y < p.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(p.scanLine(y));
            for (int x = 0; x < p.width(); ++x) {
                const QRgb v = line[x];
                line[x] = qRgb(std::min(255, qRed(v) * 8), std::min(255, qGreen(v) * 8),
                               std::min(255, qBlue(v) * 8));
            }
        }
        QPainter(&sheet).drawImage(0, header + 3 * panel.height(), p);
    }
    // The art's own alpha, as a grey image.
    {
        QImage p = solid(panel, qRgb(0, 0, 0));
        QImage mask = art.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < mask.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(mask.scanLine(y));
            for (int x = 0; x < mask.width(); ++x) {
                const int a = qAlpha(line[x]);
                line[x] = qRgb(a, a, a);
            }
        }
        compose(p, mask, inner, false);
        QPainter(&sheet).drawImage(panel.width(), header + 3 * panel.height(), p);
    }
    QPainter painter(&sheet);
    painter.drawImage(10, 10, thumbnail(art, 80));
    painter.drawImage(100, 28, thumbnail(art, 62));
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setPixelSize(22);
    painter.setFont(font);
    painter.drawText(190, 50,
                     QStringLiteral("%1 / %2   %3x%4   %5")
                         .arg(category, QFileInfo(assetPath).completeBaseName())
                         .arg(art.width())
                         .arg(art.height())
                         .arg(screen ? QStringLiteral("screen") : QStringLiteral("normal")));
    painter.end();
    return sheet.save(outPath);
}

bool writeContactSheet(const QString& resourcesRoot, const QString& outPath) {
    velmora::LayerLibrary library(resourcesRoot);
    constexpr int columns = 8;
    constexpr int tile = 160;
    constexpr int label = 46;
    constexpr int gap = 14;
    constexpr int heading = 44;
    constexpr int title = 70;
    int rows = 0;
    for (const QString& category : library.categories())
        rows += int((library.assets(category).size() + columns - 1) / columns);
    const int width = gap + columns * (tile + gap);
    const int height =
        title + int(library.categories().size()) * heading + rows * (tile + label + gap) + gap;
    QImage sheet(width, height, QImage::Format_RGB32);
    sheet.fill(qRgb(30, 30, 32));

    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QFont big = painter.font();
    big.setPixelSize(26);
    big.setBold(true);
    QFont medium = big;
    medium.setPixelSize(19);
    QFont small = big;
    small.setPixelSize(13);
    QFont tiny = small;
    tiny.setBold(false);
    tiny.setPixelSize(11);

    painter.setFont(big);
    painter.setPen(QColor(235, 235, 235));
    painter.drawText(QRect(gap, 0, width - 2 * gap, title), Qt::AlignVCenter | Qt::AlignLeft,
                     QStringLiteral("Velmora overlay artwork: %1 layers in %2 categories")
                         .arg(library.assets().size())
                         .arg(library.categories().size()));
    int y = title;
    for (const QString& category : library.categories()) {
        const QList<velmora::LayerAsset> assets = library.assets(category);
        painter.setFont(medium);
        painter.setPen(QColor(235, 235, 235));
        painter.drawText(QRect(gap, y, width - 2 * gap, heading), Qt::AlignVCenter | Qt::AlignLeft,
                         QStringLiteral("%1  ·  %2 blending")
                             .arg(category, velmora::isScreenCategory(category)
                                                ? QStringLiteral("screen")
                                                : QStringLiteral("normal")));
        y += heading;
        for (qsizetype i = 0; i < assets.size(); ++i) {
            const int x = gap + int(i % columns) * (tile + gap);
            const int top = y + int(i / columns) * (tile + label + gap);
            const QImage art(assets[i].filePath());
            QImage cell = checkerboard(tile, tile, 8);
            if (!art.isNull())
                compose(cell, art, fitted(art.size(), QRect(8, 8, tile - 16, tile - 16)), false);
            painter.drawImage(x, top, cell);
            painter.setFont(small);
            painter.setPen(QColor(240, 240, 240));
            painter.drawText(QRect(x, top + tile + 4, tile, 18), Qt::AlignLeft | Qt::AlignVCenter,
                             assets[i].name);
            painter.setFont(tiny);
            painter.setPen(QColor(150, 150, 155));
            painter.drawText(QRect(x, top + tile + 22, tile, 16), Qt::AlignLeft | Qt::AlignVCenter,
                             category);
        }
        y += int((assets.size() + columns - 1) / columns) * (tile + label + gap);
    }
    painter.end();
    return savePng(sheet, outPath);
}

} // namespace layerart
