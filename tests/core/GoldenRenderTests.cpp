// The sample panorama rendered at 512 in a handful of looks, compared with pictures
// recorded before the render path was reorganised: moving code must not move pixels.
//
// VELMORA_UPDATE_GOLDENS=1 rewrites the pictures in tests/golden/ instead of comparing.

#include "model/DocumentFiles.h"
#include "model/PlanetModel.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QImage>

#include <gtest/gtest.h>

#include <functional>

using namespace velmora;

namespace {

constexpr int side = 512;

struct GoldenCase {
    const char* name;
    std::function<void(PlanetModel&)> setUp;
};

void placeLayer(PlanetModel& model, const QString& assetID, NormalizedPoint at,
                const std::function<void(PlacedLayer&)>& edit) {
    model.addLayer(assetID, at);
    model.updateLayer(model.selectedLayerID(), edit);
}

const std::vector<GoldenCase>& goldenCases() {
    using Preset = PlanetModel::Preset;
    static const std::vector<GoldenCase> cases{
        {"defaults", [](PlanetModel&) {}},
        {"sky", [](PlanetModel& m) { m.applyPreset(Preset::sky); }},
        {"horizontal", [](PlanetModel& m) { m.applyPreset(Preset::horizontal); }},
        {"spiral", [](PlanetModel& m) { m.applyPreset(Preset::spiral); }},
        {"double", [](PlanetModel& m) { m.applyPreset(Preset::double_); }},
        {"graded",
         [](PlanetModel& m) {
             m.setSetting(Setting::gamma, 1.3);
             m.setSetting(Setting::contrast, 1.25);
             m.setSetting(Setting::saturation, 0.6);
             m.setSetting(Setting::vignette, 0.55);
             m.setSetting(Setting::convexity, 0.3);
             m.setSetting(Setting::rotationDegrees, 25);
         }},
        {"layers",
         [](PlanetModel& m) {
             placeLayer(m, QStringLiteral("Glows/Glows_Golden sun.png"), {0.3, 0.25},
                        [](PlacedLayer& l) { l.scale = 0.4; });
             placeLayer(m, QStringLiteral("Stickers/Stickers_Hot-air balloon.png"), {0.7, 0.3},
                        [](PlacedLayer& l) {
                            l.scale = 0.15;
                            l.rotation = 15;
                            l.flipped = true;
                        });
             placeLayer(m, QStringLiteral("Overlays/Overlays_Light leak amber.png"), {0.5, 0.6},
                        [](PlacedLayer& l) {
                            l.opacity = 0.6;
                            l.blendMode = LayerBlendMode::multiply;
                        });
         }},
    };
    return cases;
}

QString goldenPath(const char* name) {
    return QStringLiteral(VELMORA_SOURCE_DIR "/tests/golden/%1.png").arg(QLatin1String(name));
}

QImage renderCase(const GoldenCase& c) {
    const QString root = test::buildResources();
    PlanetModel model(test::renderer(root), root);
    model.setPreviewRendering(false);
    EXPECT_TRUE(loadImageFile(model, root + QStringLiteral("/samples/panorama.jpg")));
    c.setUp(model);
    return model.renderer()
        .render(model.look(), model.sourceImage(), model.library(), side)
        .value();
}

} // namespace

TEST(GoldenRenderTest, LooksRenderAsRecorded) {
    const bool update = qEnvironmentVariableIntValue("VELMORA_UPDATE_GOLDENS") == 1;
    for (const GoldenCase& c : goldenCases()) {
        SCOPED_TRACE(c.name);
        const QImage actual = renderCase(c);
        ASSERT_EQ(actual.size(), QSize(side, side));
        if (update) {
            QDir().mkpath(QStringLiteral(VELMORA_SOURCE_DIR "/tests/golden"));
            ASSERT_TRUE(actual.save(goldenPath(c.name)));
            continue;
        }
        const QImage expected = QImage(goldenPath(c.name)).convertToFormat(QImage::Format_RGBA8888);
        ASSERT_EQ(expected.size(), actual.size()) << goldenPath(c.name).toStdString();
        int worst = 0;
        for (int y = 0; y < side; ++y) {
            const uchar* a = actual.constScanLine(y);
            const uchar* e = expected.constScanLine(y);
            for (int x = 0; x < side * 4; ++x)
                worst = std::max(worst, std::abs(int(a[x]) - int(e[x])));
        }
        // Two levels of slack: rounding may move with the engine's arithmetic (the
        // dither turns a hair's difference into a whole step); a fault moves far more.
        EXPECT_LE(worst, 2);
    }
}
