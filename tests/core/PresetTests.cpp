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
    EXPECT_EQ(m.zoom(), v.zoom);
    EXPECT_EQ(m.rotationDegrees(), v.rotation);
    EXPECT_EQ(m.convexity(), v.convexity);
    EXPECT_EQ(m.horizon(), v.horizon);
    EXPECT_EQ(m.twist(), v.twist);
    EXPECT_EQ(m.shiftX(), v.shiftX);
    EXPECT_EQ(m.flipX(), v.flipX);
    EXPECT_EQ(m.flipY(), v.flipY);
    EXPECT_EQ(m.invert(), v.invert);
    EXPECT_EQ(m.blendWidth(), v.blendWidth);
    EXPECT_EQ(m.repeats(), v.repeats);
}

class PresetTest : public ::testing::Test {
protected:
    test::SampleResources resources;
    PlanetModel model{resources.path()};
};

} // namespace

TEST_F(PresetTest, NewModelStartsClassicWithDefaultsAndNoPicture) {
    EXPECT_EQ(model.selectedPreset(), Preset::classic);
    expectProjection(model, expectedFor(Preset::classic));
    EXPECT_EQ(model.gamma(), 1.0);
    EXPECT_EQ(model.contrast(), 1.0);
    EXPECT_EQ(model.saturation(), 1.0);
    EXPECT_EQ(model.vignette(), 0.0);
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
    for (Preset from : PlanetModel::allPresets) {
        for (Preset to : PlanetModel::allPresets) {
            model.setConvexity(0.3);
            model.setShiftX(-0.4);
            model.applyPreset(from);
            model.applyPreset(to);
            SCOPED_TRACE(PlanetModel::title(from) + QStringLiteral(" -> ") +
                         PlanetModel::title(to));
            expectProjection(model, expectedFor(to));
            EXPECT_EQ(model.selectedPreset(), to);
        }
    }
}

TEST_F(PresetTest, PresetLeavesColoursLayersAndOutputAlone) {
    model.setGamma(1.4);
    model.setVignette(0.5);
    model.setOutputSize(8192);
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.3, 0.3});
    const QList<PlacedLayer> layers = model.layers();
    const QUuid selected = model.selectedLayerID();

    model.applyPreset(Preset::spiral);

    EXPECT_EQ(model.gamma(), 1.4);
    EXPECT_EQ(model.vignette(), 0.5);
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
    QSignalSpy zoomSpy(&model, &PlanetModel::zoomChanged);
    const int before = model.previewRefreshCount();

    model.setZoom(model.zoom());

    EXPECT_EQ(model.selectedPreset(), std::nullopt);
    EXPECT_EQ(model.previewRefreshCount(), before + 1);
    EXPECT_EQ(zoomSpy.count(), 1);
}

TEST_F(PresetTest, ColourSettingKeepsPresetAndRenders) {
    model.applyPreset(Preset::spiral);
    const int before = model.previewRefreshCount();
    model.setContrast(1.2);
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
    model.setZoom(2.0);
    model.applyPreset(Preset::classic);
    EXPECT_EQ(model.undoDepth(), 1);
    model.applyPreset(Preset::classic);
    EXPECT_EQ(model.undoDepth(), 2);
    model.applyPreset(Preset::classic);
    EXPECT_EQ(model.undoDepth(), 2);

    model.undo();
    EXPECT_EQ(model.zoom(), 1.0);
    EXPECT_EQ(model.selectedPreset(), Preset::classic);
    model.undo();
    EXPECT_EQ(model.zoom(), 2.0);
    EXPECT_EQ(model.selectedPreset(), std::nullopt);
}

TEST_F(PresetTest, ResetKeepsLayersAndSelectionAndUndoesInOneStep) {
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.2, 0.2});
    model.addLayer(QStringLiteral("Stickers/moon.png"), {0.7, 0.7});
    const QUuid selected = model.selectedLayerID();
    model.applyPreset(Preset::double_);
    model.setGamma(0.7);
    model.setVignette(0.8);
    const PlanetModel::PlanetState before = model.snapshot();
    const int renders = model.previewRefreshCount();

    model.resetAll();

    EXPECT_EQ(model.layers().size(), 2);
    EXPECT_EQ(model.selectedLayerID(), selected);
    EXPECT_EQ(model.selectedPreset(), Preset::classic);
    expectProjection(model, expectedFor(Preset::classic));
    EXPECT_EQ(model.gamma(), 1.0);
    EXPECT_EQ(model.vignette(), 0.0);
    EXPECT_EQ(model.previewRefreshCount(), renders + 2);

    model.undo();
    EXPECT_EQ(model.snapshot(), before);
}

TEST(PresetNames, TitlesSymbolsAndParsing) {
    EXPECT_EQ(PlanetModel::title(Preset::classic), QStringLiteral("Classic Planet"));
    EXPECT_EQ(PlanetModel::title(Preset::double_), QStringLiteral("Double Vision"));
    EXPECT_EQ(PlanetModel::symbol(Preset::spiral), QStringLiteral("hurricane"));
    for (Preset preset : PlanetModel::allPresets)
        EXPECT_EQ(PlanetModel::presetFromTitle(PlanetModel::title(preset)), preset);
    EXPECT_EQ(PlanetModel::presetFromTitle(u"classic planet"), std::nullopt);
    EXPECT_EQ(PlanetModel::presetFromTitle(u"Sky World "), std::nullopt);
    EXPECT_EQ(PlanetModel::presetFromTitle(u"sky"), std::nullopt);
}
