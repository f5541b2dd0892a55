#include "layers/Angles.h"
#include "model/PlanetModel.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace velmora;

namespace {

const QString orb = QStringLiteral("Glows/orb.png");
const QString moon = QStringLiteral("Stickers/moon.png");

class LayerOpsTest : public ::testing::Test {
protected:
    PlacedLayer selected() const { return model.selectedLayer().value(); }
    void setSelectedRotation(double degrees) {
        model.updateLayer(model.selectedLayerID(),
                          [degrees](PlacedLayer& l) { l.rotation = degrees; });
    }

    test::SampleResources resources;
    PlanetModel model{test::renderer(resources.path()), resources.path()};
};

} // namespace

TEST_F(LayerOpsTest, AddingTwiceGivesTwoDistinctLayersSecondOnTopAndSelected) {
    model.addLayer(orb, {0.5, 0.5});
    model.addLayer(orb, {0.5, 0.5});
    ASSERT_EQ(model.layers().size(), 2);
    EXPECT_NE(model.layers()[0].id, model.layers()[1].id);
    EXPECT_NE(model.layers()[0], model.layers()[1]);
    EXPECT_EQ(model.selectedLayerID(), model.layers()[1].id);
    EXPECT_EQ(model.undoDepth(), 2);
}

TEST_F(LayerOpsTest, NewLayerDefaultsAndClampedPoint) {
    model.addLayer(orb, {1.4, -0.2});
    const PlacedLayer layer = selected();
    EXPECT_EQ(layer.center, (NormalizedPoint{1.0, 0.0}));
    EXPECT_EQ(layer.assetID, orb);
    EXPECT_EQ(layer.scale, 0.25);
    EXPECT_EQ(layer.rotation, 0.0);
    EXPECT_EQ(layer.opacity, 1.0);
    EXPECT_FALSE(layer.flipped);
    EXPECT_EQ(layer.blendMode, LayerBlendMode::screen);

    model.addLayer(moon, {std::nan(""), 0.25});
    EXPECT_EQ(selected().blendMode, LayerBlendMode::normal);
    EXPECT_EQ(selected().center, (NormalizedPoint{0.0, 0.25}));
}

TEST_F(LayerOpsTest, UnknownAssetChangesNothing) {
    model.addLayer(QStringLiteral("Glows/nothing.png"), {0.5, 0.5});
    model.addLayer(QString(), {0.5, 0.5});
    model.addLayer(QStringLiteral("glows/orb.png"), {0.5, 0.5});
    EXPECT_TRUE(model.layers().isEmpty());
    EXPECT_FALSE(model.canUndo());
}

TEST_F(LayerOpsTest, EveryOperationIsANoOpWithoutASelection) {
    model.addLayer(orb, {0.5, 0.5});
    model.setSelectedLayerID(QUuid());
    const auto before = model.snapshot();
    const int depth = model.undoDepth();

    for (int pass = 0; pass < 2; ++pass) {
        model.deleteSelectedLayer();
        model.setSelectedBlendMode(LayerBlendMode::multiply);
        model.bringSelectedForward();
        model.sendSelectedBackward();
        model.resetSelectedRotation();
        model.rotateSelected(15);
        model.orientSelectedToPlanet();
        EXPECT_EQ(model.snapshot(), before);
        EXPECT_EQ(model.undoDepth(), depth);
        model.setSelectedLayerID(QUuid::createUuid()); // a stale id behaves the same
    }
}

TEST_F(LayerOpsTest, StackOrderAtTheEndsRecordsNothing) {
    model.addLayer(orb, {0.2, 0.2});
    const QUuid bottom = model.selectedLayerID();
    model.addLayer(moon, {0.8, 0.8});
    const QUuid top = model.selectedLayerID();
    const int depth = model.undoDepth();

    model.bringSelectedForward();
    EXPECT_EQ(model.undoDepth(), depth);
    model.setSelectedLayerID(bottom);
    model.sendSelectedBackward();
    EXPECT_EQ(model.undoDepth(), depth);

    model.bringSelectedForward();
    EXPECT_EQ(model.layers()[1].id, bottom);
    EXPECT_EQ(model.layers()[0].id, top);
    EXPECT_EQ(model.selectedLayerID(), bottom); // selection follows the layer
    EXPECT_EQ(model.undoDepth(), depth + 1);

    model.sendSelectedBackward();
    EXPECT_EQ(model.layers()[0].id, bottom);
    EXPECT_EQ(model.undoDepth(), depth + 2);
}

TEST_F(LayerOpsTest, BlendModeAndRotationResetSkipNoOps) {
    model.addLayer(orb, {0.5, 0.5});
    const int depth = model.undoDepth();
    model.setSelectedBlendMode(LayerBlendMode::screen);
    model.resetSelectedRotation();
    EXPECT_EQ(model.undoDepth(), depth);

    model.setSelectedBlendMode(LayerBlendMode::multiply);
    EXPECT_EQ(selected().blendMode, LayerBlendMode::multiply);
    EXPECT_EQ(model.layers()[0].id, model.selectedLayerID());
    EXPECT_EQ(model.undoDepth(), depth + 1);

    setSelectedRotation(30);
    model.resetSelectedRotation();
    EXPECT_EQ(selected().rotation, 0.0);
    EXPECT_EQ(model.undoDepth(), depth + 2);
}

TEST_F(LayerOpsTest, RotationStepsFoldIntoTheHalfOpenRange) {
    model.addLayer(orb, {0.5, 0.5});
    const struct {
        double from, step, expected;
    } cases[] = {{170, 15, -175},  {-170, -15, 175}, {165, 15, 180},
                 {-165, -15, 180}, {0, -15, -15},    {720, 15, 15}};
    for (const auto& c : cases) {
        setSelectedRotation(c.from);
        model.rotateSelected(c.step);
        EXPECT_DOUBLE_EQ(selected().rotation, c.expected) << c.from << " + " << c.step;
    }
}

TEST(Angles, NormalisationKeepsOneEightyAndNeverGivesMinusOneEighty) {
    EXPECT_EQ(normalizedDegrees(180), 180);
    EXPECT_EQ(normalizedDegrees(-180), 180);
    EXPECT_EQ(normalizedDegrees(540), 180);
    EXPECT_EQ(normalizedDegrees(-540), 180);
    EXPECT_EQ(normalizedDegrees(370), 10);
    EXPECT_EQ(normalizedDegrees(-190), 170);
    EXPECT_EQ(normalizedDegrees(0), 0);
    for (double a = -1000; a <= 1000; a += 7.5) {
        const double r = normalizedDegrees(a);
        EXPECT_GT(r, -180);
        EXPECT_LE(r, 180);
    }
}

TEST_F(LayerOpsTest, OrientPointsTheTopAwayFromThePlanetCentre) {
    model.addLayer(orb, {0.5, 0.5});
    const auto orientAt = [&](double x, double y) {
        model.updateLayer(model.selectedLayerID(), [&](PlacedLayer& l) { l.center = {x, y}; });
        model.orientSelectedToPlanet();
        return selected().rotation;
    };
    EXPECT_DOUBLE_EQ(orientAt(0.5, 0.2), 0);
    EXPECT_DOUBLE_EQ(orientAt(0.8, 0.5), 90);
    EXPECT_DOUBLE_EQ(orientAt(0.5, 0.8), 180);
    EXPECT_DOUBLE_EQ(orientAt(0.2, 0.5), -90);
    EXPECT_DOUBLE_EQ(orientAt(0.5, 0.5), 0);

    model.setSetting(Setting::horizon, 0.4); // planet centre moves up to (0.5, 0.3)
    EXPECT_DOUBLE_EQ(orientAt(0.5, 0.3), 0);
    EXPECT_DOUBLE_EQ(orientAt(0.5, 0.6), 180);
    model.setSetting(Setting::shiftX, -0.4); // and left to (0.3, 0.3)
    EXPECT_DOUBLE_EQ(orientAt(0.6, 0.3), 90);
}

TEST_F(LayerOpsTest, DeleteClearsSelectionAndIsOneUndoStep) {
    model.addLayer(orb, {0.5, 0.5});
    model.addLayer(moon, {0.4, 0.4});
    const QList<PlacedLayer> before = model.layers();
    model.deleteSelectedLayer();
    EXPECT_EQ(model.layers().size(), 1);
    EXPECT_TRUE(model.selectedLayerID().isNull());
    model.undo();
    EXPECT_EQ(model.layers(), before);
}

TEST(ScreenCategories, MatchAfterLowerCasingWithoutTrimming) {
    for (const char* name :
         {"Glows", "glows", "Lens Flares", "LensFlares", "flares", "Overlay", "OVERLAYS"})
        EXPECT_TRUE(isScreenCategory(QString::fromLatin1(name))) << name;
    for (const char* name : {"Glow", "Lens-Flares", "Stickers", "glows ", " glows", "", "Layers"})
        EXPECT_FALSE(isScreenCategory(QString::fromLatin1(name))) << name;
}

TEST(BlendModes, RawValuesAndTitles) {
    EXPECT_EQ(rawValue(LayerBlendMode::screen), QStringLiteral("screen"));
    EXPECT_EQ(title(LayerBlendMode::multiply), QStringLiteral("Multiply"));
    for (LayerBlendMode mode : allLayerBlendModes)
        EXPECT_EQ(layerBlendModeFromRaw(rawValue(mode)), mode);
    EXPECT_EQ(layerBlendModeFromRaw(u"Screen"), std::nullopt);
    EXPECT_EQ(layerBlendModeFromRaw(u""), std::nullopt);
}
