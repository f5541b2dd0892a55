#include "SliderDriving.h"

#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "style/Palette.h"
#include "support/TestSupport.h"
#include "ui/LayerInspector.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>

using namespace velmora;

namespace {

const QString orb = QStringLiteral("Glows/orb.png");      // starts in screen mode
const QString moon = QStringLiteral("Stickers/moon.png"); // starts in normal mode

class InspectorTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setResourcesRoot(test::buildResources()); }
    static void TearDownTestSuite() { setResourcesRoot({}); }

    InspectorTest() {
        model.addLayer(moon, {0.5, 0.2});
        inspector.show();
    }

    PlacedLayer layer(int index = -1) const {
        return index < 0 ? model.selectedLayer().value() : model.layers()[index];
    }
    QAbstractButton* button(const char* name) const {
        return inspector.findChild<QAbstractButton*>(QLatin1String(name));
    }
    ui::TintedSlider& opacity() const {
        return *dynamic_cast<ui::TintedSlider*>(inspector.opacitySlider());
    }
    void click(const char* name) const { QTest::mouseClick(button(name), Qt::LeftButton); }
    QMenu* openBlendMenu() const {
        click("blendMode");
        return inspector.findChild<QMenu*>(QStringLiteral("blendMenu"));
    }

    test::SampleResources resources;
    PlanetModel model{test::renderer(resources.path()), resources.path()};
    ui::LayerInspector inspector{model};
};

/// Counts the pixels of the glyph inside a button's rounded square that are bright
/// and neutral (white) or bright and red.
struct Ink {
    int white = 0;
    int red = 0;
};
Ink inkOf(QWidget* button) {
    const QImage image = button->grab().toImage();
    Ink ink;
    for (int y = 4; y < image.height() - 4; ++y) {
        for (int x = 4; x < image.width() - 4; ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > 150 && c.green() > 150 && c.blue() > 150 &&
                std::abs(c.red() - c.blue()) < 20)
                ++ink.white;
            if (c.red() > 150 && c.red() - c.green() > 60 && std::abs(c.green() - c.blue()) < 20)
                ++ink.red;
        }
    }
    return ink;
}

} // namespace

TEST_F(InspectorTest, ControlsReadLeftToRightWithTheirHelpTexts) {
    QList<QAbstractButton*> buttons = inspector.findChildren<QAbstractButton*>();
    std::sort(buttons.begin(), buttons.end(),
              [](const QWidget* a, const QWidget* b) { return a->x() < b->x(); });
    QStringList help;
    for (const QAbstractButton* b : buttons)
        help.append(b->toolTip());
    EXPECT_EQ(help, (QStringList{"Blend mode", "Flip", QString::fromUtf8("Rotate −15°"),
                                 "Reset rotation", QString::fromUtf8("Rotate +15°"),
                                 "Orient to planet", "Centre on planet", "Bring forward",
                                 "Send backward", "Delete layer (Delete or Backspace)"}));
    EXPECT_EQ(help[2].at(7), QChar(0x2212));

    const auto* caption = inspector.findChild<QLabel*>(QStringLiteral("caption"));
    EXPECT_EQ(caption->text(), QStringLiteral("Layer"));
    EXPECT_LT(caption->x(), inspector.opacitySlider()->x());
    EXPECT_LT(inspector.opacitySlider()->x(), buttons.first()->x());
    EXPECT_EQ(inspector.opacitySlider()->width(), 110);
    EXPECT_EQ(button("flip")->size(), QSize(26, 26));
}

// One snapshot as the drag begins; the writes go straight into the layer.
TEST_F(InspectorTest, AnOpacityDragIsOneUndoStep) {
    const int depth = model.undoDepth();
    ui::TintedSlider& slider = opacity();
    EXPECT_EQ(slider.value(), ui::TintedSlider::resolution);
    const int target = test::nearestX(slider, ui::TintedSlider::positionFor(0.3, 0, 1));
    const int start = static_cast<int>(std::lround(slider.xForPosition(slider.value())));
    test::dragKnob(slider, {start - 10, start - 40, start - 60, target});
    EXPECT_NEAR(layer().opacity, 0.3, 0.011);
    EXPECT_EQ(model.undoDepth(), depth + 1);

    model.undo();
    EXPECT_EQ(layer().opacity, 1.0);
    EXPECT_EQ(slider.value(), ui::TintedSlider::resolution);
}

TEST_F(InspectorTest, FlippingTwiceIsTwoUndoStepsAndEndsWhereItStarted) {
    const int depth = model.undoDepth();
    click("flip");
    EXPECT_TRUE(layer().flipped);
    click("flip");
    EXPECT_FALSE(layer().flipped);
    EXPECT_EQ(model.undoDepth(), depth + 2);
    model.undo();
    EXPECT_TRUE(layer().flipped);
    model.undo();
    EXPECT_FALSE(layer().flipped);
}

TEST_F(InspectorTest, RotationShowsWholeDegreesAndItsButtonResetsIt) {
    const auto text = [&] { return button("rotation")->text(); };
    EXPECT_EQ(text(), QString::fromUtf8("0°"));
    model.updateLayer(layer().id, [](PlacedLayer& l) { l.rotation = -37.6; });
    EXPECT_EQ(text(), QString::fromUtf8("-38°"));

    click("rotation");
    EXPECT_EQ(layer().rotation, 0.0);
    EXPECT_EQ(text(), QString::fromUtf8("0°"));
    click("rotateLeft");
    EXPECT_EQ(text(), QString::fromUtf8("-15°"));
    click("rotateRight");
    click("rotateRight");
    EXPECT_EQ(layer().rotation, 15.0);
    EXPECT_EQ(text(), QString::fromUtf8("15°"));
}

TEST_F(InspectorTest, TheBlendMenuMarksTheCurrentModeAndAnyOtherModeStandsOut) {
    const auto labelColour = [&] {
        return button("blendMode")->palette().color(QPalette::ButtonText);
    };
    EXPECT_EQ(button("blendMode")->text(), QStringLiteral("Normal"));
    EXPECT_EQ(labelColour(), style::Palette::withAlpha(Qt::white, 0.9));

    QMenu* menu = openBlendMenu();
    ASSERT_NE(menu, nullptr);
    ASSERT_TRUE(menu->isVisible());
    const QList<QAction*> items = menu->actions();
    ASSERT_EQ(items.size(), 3);
    EXPECT_EQ(items[0]->text(), QStringLiteral("Normal"));
    EXPECT_EQ(items[1]->text(), QStringLiteral("Screen"));
    EXPECT_EQ(items[2]->text(), QStringLiteral("Multiply"));
    EXPECT_FALSE(items[0]->icon().isNull());
    EXPECT_TRUE(items[1]->icon().isNull());
    EXPECT_TRUE(items[2]->icon().isNull());

    const int depth = model.undoDepth();
    QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier,
                      menu->actionGeometry(items[1]).center());
    EXPECT_EQ(layer().blendMode, LayerBlendMode::screen);
    EXPECT_EQ(model.undoDepth(), depth + 1);
    EXPECT_EQ(button("blendMode")->text(), QStringLiteral("Screen"));
    EXPECT_EQ(labelColour(), style::Palette::accent);
    QApplication::processEvents();

    QMenu* again = openBlendMenu();
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(again->actions()[0]->icon().isNull());
    EXPECT_FALSE(again->actions()[1]->icon().isNull());
    again->close();
}

TEST_F(InspectorTest, OnlyTheDeleteIconIsRed) {
    const Ink trash = inkOf(button("delete"));
    EXPECT_GT(trash.red, 10);
    EXPECT_EQ(trash.white, 0);
    for (const char* name :
         {"flip", "rotateLeft", "rotateRight", "orient", "bringForward", "sendBackward"}) {
        const Ink ink = inkOf(button(name));
        EXPECT_GT(ink.white, 10) << name;
        EXPECT_EQ(ink.red, 0) << name;
    }
    EXPECT_EQ(button("delete")->palette().color(QPalette::ButtonText),
              QColor::fromRgbF(1.0f, 0.45f, 0.45f));

    click("delete");
    EXPECT_TRUE(model.layers().isEmpty());
    EXPECT_TRUE(model.selectedLayerID().isNull());
}

// After the layer moves up the stack the inspector still edits that layer, not
// whichever one now sits where it was.
TEST_F(InspectorTest, EditsFollowTheLayerByIdThroughStackChanges) {
    model.addLayer(orb, {0.5, 0.5});
    const QUuid top = layer().id;
    model.setSelectedLayerID(model.layers()[0].id);
    const QUuid moonID = model.selectedLayerID();
    EXPECT_EQ(inspector.layerID(), moonID);
    EXPECT_EQ(button("blendMode")->text(), QStringLiteral("Normal"));

    click("bringForward");
    ASSERT_EQ(model.layers()[1].id, moonID);
    click("flip");
    test::dragKnob(opacity(), {40, 20});
    EXPECT_TRUE(model.layers()[1].flipped);
    EXPECT_LT(model.layers()[1].opacity, 1.0);
    EXPECT_EQ(model.layers()[0].id, top);
    EXPECT_FALSE(model.layers()[0].flipped);
    EXPECT_EQ(model.layers()[0].opacity, 1.0);

    click("sendBackward");
    EXPECT_EQ(model.layers()[0].id, moonID);

    // Selecting the other layer shows its values.
    model.setSelectedLayerID(top);
    EXPECT_EQ(button("blendMode")->text(), QStringLiteral("Screen"));
    EXPECT_EQ(opacity().value(), ui::TintedSlider::resolution);
}

TEST_F(InspectorTest, EveryControlToleratesItsLayerDisappearing) {
    const QUuid gone = layer().id;
    model.updateLayer(gone, [](PlacedLayer& l) {
        l.opacity = 0.4;
        l.rotation = 30;
    });
    // The layer goes, the selection stays behind for a moment.
    model.setLayers({});
    ASSERT_EQ(model.selectedLayerID(), gone);
    EXPECT_EQ(opacity().value(), ui::TintedSlider::resolution);
    EXPECT_EQ(button("rotation")->text(), QString::fromUtf8("0°"));

    test::dragKnob(opacity(), {30, 10});
    for (const char* name : {"flip", "rotateLeft", "rotation", "rotateRight", "orient",
                             "bringForward", "sendBackward", "delete"})
        click(name);
    QMenu* menu = openBlendMenu();
    ASSERT_NE(menu, nullptr);
    menu->actions()[2]->trigger();
    menu->close();
    EXPECT_TRUE(model.layers().isEmpty());
    EXPECT_EQ(opacity().value(), ui::TintedSlider::resolution);
}
