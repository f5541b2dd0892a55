#include "model/PlanetModel.h"
#include "support/TestSupport.h"

#include <QRandomGenerator>

#include <cmath>

#include <gtest/gtest.h>

using namespace velmora;
using Preset = PlanetModel::Preset;

namespace {

class HistoryTest : public ::testing::Test {
protected:
    void expectFlagsMatchStacks() const {
        EXPECT_EQ(model.canUndo(), model.undoDepth() > 0);
        EXPECT_EQ(model.canRedo(), model.redoDepth() > 0);
        EXPECT_LE(model.undoDepth() + model.redoDepth(), PlanetModel::maxHistory);
    }

    test::SampleResources resources;
    PlanetModel model{test::renderer(resources.path()), resources.path()};
};

} // namespace

TEST_F(HistoryTest, FreshDocumentHasNothingToUndoOrRedo) {
    const int renders = model.previewRefreshCount();
    model.undo();
    model.redo();
    EXPECT_FALSE(model.canUndo());
    EXPECT_FALSE(model.canRedo());
    EXPECT_EQ(model.previewRefreshCount(), renders);
}

TEST_F(HistoryTest, OneDragIsOneStepAndEachRestoreRendersOnce) {
    model.recordHistory(); // drag start
    for (double z = 1.05; z <= 1.5; z += 0.05)
        model.setSetting(Setting::zoom, z);
    model.setSetting(Setting::zoom, 1.5);
    ASSERT_EQ(model.undoDepth(), 1);

    int renders = model.previewRefreshCount();
    model.undo();
    EXPECT_EQ(model.setting(Setting::zoom), 1.0);
    EXPECT_EQ(model.previewRefreshCount(), renders + 1);
    EXPECT_FALSE(model.canUndo());
    EXPECT_TRUE(model.canRedo());

    renders = model.previewRefreshCount();
    model.redo();
    EXPECT_EQ(model.setting(Setting::zoom), 1.5);
    EXPECT_EQ(model.previewRefreshCount(), renders + 1);
    EXPECT_TRUE(model.canUndo());
    EXPECT_FALSE(model.canRedo());
}

TEST_F(HistoryTest, UndoingAManualChangeBringsBackThePresetHighlight) {
    model.applyPreset(Preset::spiral);
    model.recordHistory();
    model.setSetting(Setting::twist, 3.0);
    EXPECT_EQ(model.selectedPreset(), std::nullopt);
    model.undo();
    EXPECT_EQ(model.selectedPreset(), Preset::spiral);
    EXPECT_EQ(model.setting(Setting::twist), 2.0);
}

TEST_F(HistoryTest, NewRecordAfterUndoEmptiesRedo) {
    model.recordHistory();
    model.setSetting(Setting::zoom, 2.0);
    model.undo();
    ASSERT_TRUE(model.canRedo());
    model.recordHistory();
    EXPECT_FALSE(model.canRedo());
    EXPECT_EQ(model.redoDepth(), 0);
}

TEST_F(HistoryTest, RecordEqualToNewestEntryIsSkippedAndKeepsRedo) {
    // Colour settings keep the preset, so gamma alone tells the states apart.
    model.recordHistory(); // gamma 1
    model.setSetting(Setting::gamma, 2.0);
    model.recordHistory(); // gamma 2
    model.setSetting(Setting::gamma, 3.0);
    model.undo(); // back at gamma 2; undo holds [gamma 1], redo holds [gamma 3]
    model.setSetting(Setting::gamma, 1.0);

    model.recordHistory();

    EXPECT_EQ(model.undoDepth(), 1);
    EXPECT_EQ(model.redoDepth(), 1);
    EXPECT_TRUE(model.canRedo());
}

TEST_F(HistoryTest, HistoryIsCappedAtOneHundredDroppingTheOldest) {
    for (int i = 1; i <= 101; ++i) {
        model.recordHistory();
        model.setSetting(Setting::zoom, 1.0 + i * 0.01);
    }
    EXPECT_EQ(model.undoDepth(), 100);
    while (model.canUndo())
        model.undo();
    // The very first state (zoom 1.0) fell off; the oldest reachable is after step 1.
    EXPECT_DOUBLE_EQ(model.setting(Setting::zoom), 1.01);
    EXPECT_EQ(model.redoDepth(), 100);
}

TEST_F(HistoryTest, UndoKeepsSelectionOnlyIfItsLayerSurvives) {
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.3, 0.3});
    const QUuid first = model.selectedLayerID();
    model.addLayer(QStringLiteral("Stickers/moon.png"), {0.6, 0.6});
    const QUuid second = model.selectedLayerID();

    // Undoing a deletion while another layer is selected keeps that selection.
    model.deleteSelectedLayer();
    model.setSelectedLayerID(first);
    model.undo();
    EXPECT_EQ(model.layers().size(), 2);
    EXPECT_EQ(model.selectedLayerID(), first);

    // Undoing the addition of the selected layer clears the selection.
    model.setSelectedLayerID(second);
    model.undo();
    EXPECT_EQ(model.layers().size(), 1);
    EXPECT_TRUE(model.selectedLayerID().isNull());
}

TEST_F(HistoryTest, DeletedLayerComesBackUnselected) {
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.3, 0.3});
    model.deleteSelectedLayer();
    EXPECT_TRUE(model.selectedLayerID().isNull());
    model.undo();
    EXPECT_EQ(model.layers().size(), 1);
    EXPECT_TRUE(model.selectedLayerID().isNull());
}

TEST_F(HistoryTest, StateEqualityIsExactAndFieldByField) {
    const Look a = model.snapshot();
    Look b = a;
    EXPECT_EQ(a, b);
    // Every setting of the table takes part, compared exactly.
    for (const SettingInfo& info : settingsTable()) {
        b = a;
        b.setValue(info.setting, std::nextafter(a.value(info.setting), 1e9));
        EXPECT_NE(a, b) << info.name;
    }
    b = a;
    b.selectedPreset = std::nullopt;
    EXPECT_NE(a, b);

    model.addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.5});
    const Look withLayer = model.snapshot();
    Look moved = withLayer;
    moved.layers[0].center.x += 1e-12;
    EXPECT_NE(withLayer, moved);
}

// Random edits, undos and redos: the flags always mirror the stacks, the stacks
// never exceed the cap, and undo followed by redo returns to the same state.
TEST_F(HistoryTest, RandomSessionsKeepTheInvariants) {
    QRandomGenerator rng(1234);
    for (int step = 0; step < 600; ++step) {
        switch (rng.bounded(6)) {
        case 0:
        case 1:
            model.recordHistory();
            model.setSetting(Setting::zoom, 0.2 + rng.bounded(38) * 0.1);
            break;
        case 2:
            model.applyPreset(allPresets[rng.bounded(5)]);
            break;
        case 3: {
            const Look before = model.snapshot();
            if (model.canUndo()) {
                model.undo();
                model.redo();
                EXPECT_EQ(model.snapshot(), before);
            }
            break;
        }
        case 4:
            model.undo();
            break;
        default:
            model.redo();
            break;
        }
        expectFlagsMatchStacks();
        ASSERT_LE(model.undoDepth(), PlanetModel::maxHistory);
    }
}
