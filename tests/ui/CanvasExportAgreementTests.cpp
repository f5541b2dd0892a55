#include "canvas/PlanetCanvas.h"
#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QPainter>
#include <QRadialGradient>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace velmora;

namespace {

QImage softGlow() {
    QImage art(256, 256, QImage::Format_ARGB32);
    art.fill(Qt::transparent);
    QPainter p(&art);
    QRadialGradient g(128, 128, 128);
    g.setColorAt(0, QColor(255, 230, 150, 255));
    g.setColorAt(0.4, QColor(255, 140, 40, 140));
    g.setColorAt(1, QColor(255, 80, 0, 0));
    p.fillRect(art.rect(), g);
    return art;
}

/// Deliberately lopsided, so a mirror or a wrong turn shows.
QImage flag() {
    QImage art(300, 150, QImage::Format_ARGB32);
    art.fill(Qt::transparent);
    QPainter p(&art);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(30, 90, 200));
    p.drawRect(0, 0, 100, 150);
    p.setBrush(QColor(240, 240, 240));
    p.drawEllipse(QRectF(120, 20, 110, 110));
    p.setBrush(QColor(220, 40, 40, 200));
    p.drawPolygon(QPolygonF({QPointF(240, 10), QPointF(295, 75), QPointF(240, 140)}));
    return art;
}

QImage shade() {
    QImage art(200, 200, QImage::Format_ARGB32);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 200; ++x)
            art.setPixelColor(x, y, QColor(40 + x / 2, 60, 160 - y / 3, 90 + (x + y) / 4));
    return art;
}

} // namespace

// What the canvas shows is what the export contains: the same layers drawn both
// ways at the same side agree closely (they differ only in how edges resample).
TEST(CanvasAgreesWithExport, EveryBlendModeFlipTurnOpacityAndClip) {
    test::SampleResources resources;
    softGlow().save(resources.file(QStringLiteral("Layers/Glows/glow.png")));
    resources.addDir(QStringLiteral("Layers/Stickers"));
    flag().save(resources.file(QStringLiteral("Layers/Stickers/flag.png")));
    resources.addDir(QStringLiteral("Layers/Shades"));
    shade().save(resources.file(QStringLiteral("Layers/Shades/shade.png")));
    setResourcesRoot(test::buildResources());

    PlanetModel model(test::renderer(resources.path()), resources.path());
    model.loadImage(render::Image::fromQImage(test::testPanorama(1600, 800)), QStringLiteral("t"));
    model.addLayer(QStringLiteral("Glows/glow.png"), {0.3, 0.3}); // screen
    model.updateLayer(model.selectedLayerID(), [](PlacedLayer& l) { l.scale = 0.35; });
    model.addLayer(QStringLiteral("Stickers/flag.png"), {0.62, 0.55});
    model.updateLayer(model.selectedLayerID(), [](PlacedLayer& l) {
        l.flipped = true;
        l.rotation = 30;
        l.scale = 0.3;
    });
    model.addLayer(QStringLiteral("Shades/shade.png"), {0.45, 0.78});
    model.setSelectedBlendMode(LayerBlendMode::multiply);
    model.updateLayer(model.selectedLayerID(), [](PlacedLayer& l) { l.opacity = 0.7; });
    model.addLayer(QStringLiteral("Stickers/flag.png"), {0.97, 0.2}); // half outside
    model.setSelectedLayerID(QUuid());                                // no chrome in the picture

    PlanetCanvas canvas(model);
    canvas.resize(1100, 1100);
    const QImage shown = canvas.grab().toImage().convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(shown.size(), QSize(1100, 1100));

    const QImage exported = model.renderer()
                                .render(model.look(), model.sourceImage(), model.library(), 1100)
                                .value()
                                .convertToFormat(QImage::Format_RGB32);

    std::vector<int> differences;
    differences.reserve(1100 * 1100);
    long total = 0;
    for (int y = 0; y < 1100; ++y) {
        const auto* a = reinterpret_cast<const QRgb*>(shown.constScanLine(y));
        const auto* b = reinterpret_cast<const QRgb*>(exported.constScanLine(y));
        for (int x = 0; x < 1100; ++x) {
            const int d =
                std::max({std::abs(qRed(a[x]) - qRed(b[x])), std::abs(qGreen(a[x]) - qGreen(b[x])),
                          std::abs(qBlue(a[x]) - qBlue(b[x]))});
            differences.push_back(d);
            total += d;
        }
    }
    std::sort(differences.begin(), differences.end());
    const double mean = static_cast<double>(total) / static_cast<double>(differences.size());
    const int p99 = differences[differences.size() * 99 / 100];
    const int p999 = differences[differences.size() * 999 / 1000];
    std::printf("canvas vs export: mean %.3f, 99%% %d, 99.9%% %d, max %d\n", mean, p99, p999,
                differences.back());
    EXPECT_LT(mean, 0.6);
    EXPECT_LE(p99, 4);
    EXPECT_LE(p999, 24);
    setResourcesRoot({});
}
