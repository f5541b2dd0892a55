#include "model/PlanetModel.h"
#include "support/TestSupport.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace velmora;
using Preset = PlanetModel::Preset;

namespace {

struct ProjectionValues {
    double zoom, rotation, convexity, horizon, twist, shiftX, flipX, flipY;
    bool invert;
    double blendWidth, repeats;
};

ProjectionValues expectedFor(Preset preset) {
    ProjectionValues v{1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, false, 0.12, 1.0};
    switch (preset) {
    case Preset::classic:
        break;
    case Preset::sky:
        v.invert = true;
        v.rotation = 180.0;
        break;
    case Preset::horizontal:
        v.flipY = -0.6;
        break;
    case Preset::spiral:
        v.twist = 2.0;
        v.zoom = 0.8;
        break;
    case Preset::double_:
        v.repeats = 2.0;
        break;
    }
    return v;
}

void expectProjection(const PlanetModel& m, const ProjectionValues& v) {
    EXPECT_EQ(m.setting(Setting::zoom), v.zoom);
    EXPECT_EQ(m.setting(Setting::rotationDegrees), v.rotation);
    EXPECT_EQ(m.setting(Setting::convexity), v.convexity);
    EXPECT_EQ(m.setting(Setting::horizon), v.horizon);
    EXPECT_EQ(m.setting(Setting::twist), v.twist);
    EXPECT_EQ(m.setting(Setting::shiftX), v.shiftX);
    EXPECT_EQ(m.setting(Setting::flipX), v.flipX);
    EXPECT_EQ(m.setting(Setting::flipY), v.flipY);
    EXPECT_EQ(m.setting(Setting::invert), v.invert);
    EXPECT_EQ(m.setting(Setting::blendWidth), v.blendWidth);
    EXPECT_EQ(m.setting(Setting::repeats), v.repeats);
}

class PresetTest : public ::testing::Test {
protected:
    test::SampleResources resources;
    PlanetModel model{test::renderer(resources.path()), resources.path()};
};

} // namespace

TEST_F(PresetTest, NewModelStartsClassicWithDefaultsAndNoPicture) {
    EXPECT_EQ(model.selectedPreset(), Preset::classic);
    expectProjection(model, expectedFor(Preset::classic));
    EXPECT_EQ(model.setting(Setting::gamma), 1.0);
    EXPECT_EQ(model.setting(Setting::contrast), 1.0);
    EXPECT_EQ(model.setting(Setting::saturation), 1.0);
    EXPECT_EQ(model.setting(Setting::vignette), 0.0);
    EXPECT_EQ(model.outputSize(), 2048);
    EXPECT_TRUE(model.layers().isEmpty());
    EXPECT_TRUE(model.selectedLayerID().isNull());
    EXPECT_FALSE(model.canUndo());
    EXPECT_FALSE(model.canRedo());
    EXPECT_TRUE(model.sourceName().isEmpty());

    model.refreshPreview();
    EXPECT_TRUE(model.previewImage().isNull());
}

// Every preset starts from the projection defaults, so the path to it never matters.
TEST_F(PresetTest, EveryPresetReachedFromEveryOtherGivesItsOwnValues) {
    for (Preset from : allPresets) {
        for (Preset to : allPresets) {
            model.setSetting(Setting::convexity, 0.3);
            model.setSetting(Setting::shiftX, -0.4);
            model.applyPreset(from);
            model.applyPreset(to);
            SCOPED_TRACE(presetTitle(from) + QStringLiteral(" -> ") + presetTitle(to));
            expectProjection(model, expectedFor(to));
            EXPECT_EQ(model.selectedPreset(), to);
        }
    }
}

TEST_F(PresetTest, PresetLeavesColoursLayersAndOutputAlone) {
    model.setSetting(Setting::gamma, 1.4);
    model.setSetting(Setting::vignette, 0.5);
    model.setOutputSize(8192);
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.3, 0.3});
    const QList<PlacedLayer> layers = model.layers();
    const QUuid selected = model.selectedLayerID();

    model.applyPreset(Preset::spiral);

    EXPECT_EQ(model.setting(Setting::gamma), 1.4);
    EXPECT_EQ(model.setting(Setting::vignette), 0.5);
    EXPECT_EQ(model.outputSize(), 8192);
    EXPECT_EQ(model.layers(), layers);
    EXPECT_EQ(model.selectedLayerID(), selected);
}

TEST_F(PresetTest, PresetIsOneBatchWithOneRender) {
    const int before = model.previewRefreshCount();
    model.applyPreset(Preset::sky);
    EXPECT_EQ(model.previewRefreshCount(), before + 1);
    EXPECT_EQ(model.selectedPreset(), Preset::sky);
    EXPECT_FALSE(model.isApplyingPreset());
}

TEST_F(PresetTest, ProjectionSettingClearsPresetEvenWhenUnchanged) {
    model.applyPreset(Preset::spiral);
    QSignalSpy changes(&model, &PlanetModel::settingChanged);
    const int before = model.previewRefreshCount();

    model.setSetting(Setting::zoom, model.setting(Setting::zoom));

    EXPECT_EQ(model.selectedPreset(), std::nullopt);
    EXPECT_EQ(model.previewRefreshCount(), before + 1);
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes[0][0].value<Setting>(), Setting::zoom);
}

// What a change of each setting triggers follows its kind in the table: every one
// announces itself and renders once; projection settings drop the preset.
TEST_F(PresetTest, EverySettingObservesItsKind) {
    for (const SettingInfo& info : settingsTable()) {
        SCOPED_TRACE(info.name);
        model.applyPreset(Preset::double_);
        QSignalSpy changes(&model, &PlanetModel::settingChanged);
        const int renders = model.previewRefreshCount();
        model.setSetting(info.setting, info.upper);
        EXPECT_EQ(model.setting(info.setting), info.upper);
        ASSERT_EQ(changes.count(), 1);
        EXPECT_EQ(changes[0][0].value<Setting>(), info.setting);
        EXPECT_EQ(model.previewRefreshCount(), renders + 1);
        EXPECT_EQ(model.selectedPreset(), info.kind == SettingKind::projection
                                              ? std::nullopt
                                              : std::optional(Preset::double_));
    }
}

TEST_F(PresetTest, ColourSettingKeepsPresetAndRenders) {
    model.applyPreset(Preset::spiral);
    const int before = model.previewRefreshCount();
    model.setSetting(Setting::contrast, 1.2);
    EXPECT_EQ(model.selectedPreset(), Preset::spiral);
    EXPECT_EQ(model.previewRefreshCount(), before + 1);
}

TEST_F(PresetTest, LayersSelectionAndOutputSizeNeverRender) {
    const int before = model.previewRefreshCount();
    model.setOutputSize(4096);
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.5});
    model.setSelectedLayerID(QUuid());
    model.setLayers({});
    EXPECT_EQ(model.previewRefreshCount(), before);
}

TEST_F(PresetTest, SamePresetTwiceRecordsTwoEntriesAndThirdNothing) {
    model.setSetting(Setting::zoom, 2.0);
    model.applyPreset(Preset::classic);
    EXPECT_EQ(model.undoDepth(), 1);
    model.applyPreset(Preset::classic);
    EXPECT_EQ(model.undoDepth(), 2);
    model.applyPreset(Preset::classic);
    EXPECT_EQ(model.undoDepth(), 2);

    model.undo();
    EXPECT_EQ(model.setting(Setting::zoom), 1.0);
    EXPECT_EQ(model.selectedPreset(), Preset::classic);
    model.undo();
    EXPECT_EQ(model.setting(Setting::zoom), 2.0);
    EXPECT_EQ(model.selectedPreset(), std::nullopt);
}

TEST_F(PresetTest, ResetKeepsLayersAndSelectionAndUndoesInOneStep) {
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.2, 0.2});
    model.addLayer(QStringLiteral("Stickers/moon.png"), {0.7, 0.7});
    const QUuid selected = model.selectedLayerID();
    model.applyPreset(Preset::double_);
    model.setSetting(Setting::gamma, 0.7);
    model.setSetting(Setting::vignette, 0.8);
    const Look before = model.snapshot();
    const int renders = model.previewRefreshCount();

    model.resetAll();

    EXPECT_EQ(model.layers().size(), 2);
    EXPECT_EQ(model.selectedLayerID(), selected);
    EXPECT_EQ(model.selectedPreset(), Preset::classic);
    expectProjection(model, expectedFor(Preset::classic));
    EXPECT_EQ(model.setting(Setting::gamma), 1.0);
    EXPECT_EQ(model.setting(Setting::vignette), 0.0);
    EXPECT_EQ(model.previewRefreshCount(), renders + 2);

    model.undo();
    EXPECT_EQ(model.snapshot(), before);
}

TEST(PresetNames, TitlesSymbolsAndParsing) {
    EXPECT_EQ(presetTitle(Preset::classic), QStringLiteral("Classic Planet"));
    EXPECT_EQ(presetTitle(Preset::double_), QStringLiteral("Double Vision"));
    EXPECT_EQ(presetSymbol(Preset::spiral), QStringLiteral("hurricane"));
    for (Preset preset : allPresets)
        EXPECT_EQ(presetFromTitle(presetTitle(preset)), preset);
    EXPECT_EQ(presetFromTitle(u"classic planet"), std::nullopt);
    EXPECT_EQ(presetFromTitle(u"Sky World "), std::nullopt);
    EXPECT_EQ(presetFromTitle(u"sky"), std::nullopt);
}
