#include "SliderDriving.h"

#include "model/Resources.h"
#include "style/Palette.h"
#include "support/TestSupport.h"
#include "ui/AnimationDialog.h"
#include "ui/Checkerboard.h"
#include "ui/PillToggle.h"
#include "ui/PresetButton.h"
#include "ui/SettingSlider.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <memory>

using namespace velmora;

namespace {

class ControlsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setResourcesRoot(test::buildResources()); }
    static void TearDownTestSuite() { setResourcesRoot({}); }
};

/// A bound double that records every commit and write in order.
struct Binding {
    explicit Binding(double initial)
        : value(initial) {}

    double value;
    int commits = 0;
    QStringList log;

    ui::SettingSliderConfig config(double lower, double upper, double defaultValue, double step,
                                   QColor tint = style::Palette::accent, QString symbol = {}) {
        ui::SettingSliderConfig c;
        c.title = QStringLiteral("Zoom");
        c.lower = lower;
        c.upper = upper;
        c.defaultValue = defaultValue;
        c.step = step;
        c.symbol = std::move(symbol);
        c.tint = tint;
        c.readout = [](double v) { return QString::asprintf("%.2f", v); };
        c.value = [this] { return value; };
        c.setValue = [this](double v) {
            value = v;
            log.append(QStringLiteral("write"));
        };
        c.onCommit = [this] {
            ++commits;
            log.append(QStringLiteral("commit"));
        };
        return c;
    }
    qsizetype writes() const { return log.count(QStringLiteral("write")); }
};

ui::TintedSlider& tinted(const ui::SettingSlider& slider) {
    return *dynamic_cast<ui::TintedSlider*>(slider.slider());
}

/// Shows the control so wide that its track has one pixel per slider position, so a
/// pointer can reach any exact value.
void showPixelExact(ui::SettingSlider& control) {
    control.resize(12000, control.sizeHint().height());
    control.show();
    const int extra = control.slider()->width() - (ui::TintedSlider::resolution + 14);
    control.resize(control.width() - extra, control.height());
    ASSERT_EQ(control.slider()->width(), ui::TintedSlider::resolution + 14);
}

int positionOf(double value, double lower, double upper) {
    return ui::TintedSlider::positionFor(value, lower, upper);
}

} // namespace

// The detent is 2 % of the range wide on each side of the default, and applies to
// values that come from the slider.
TEST_F(ControlsTest, DraggedValuesSnapToTheDefaultWithinTwoPercentOfTheRange) {
    Binding bound{0.5};
    ui::SettingSlider control(bound.config(0, 2, 1, 0));
    showPixelExact(control);
    ui::TintedSlider& slider = tinted(control);

    const QPoint knob(test::xAt(slider, positionOf(0.5, 0, 2)), slider.height() / 2);
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, knob);
    QTest::mouseMove(&slider, QPoint(test::xAt(slider, positionOf(0.97, 0, 2)), knob.y()));
    EXPECT_EQ(bound.value, 1.0);
    QTest::mouseMove(&slider, QPoint(test::xAt(slider, positionOf(0.95, 0, 2)), knob.y()));
    EXPECT_DOUBLE_EQ(bound.value, 0.95);
    QTest::mouseMove(&slider, QPoint(test::xAt(slider, positionOf(1.03, 0, 2)), knob.y()));
    EXPECT_EQ(bound.value, 1.0);
    // Snapping shows: the knob sits at the default, not under the pointer.
    EXPECT_EQ(slider.value(), positionOf(1.0, 0, 2));
    QTest::mouseMove(&slider, QPoint(test::xAt(slider, positionOf(1.5, 0, 2)), knob.y()));
    EXPECT_DOUBLE_EQ(bound.value, 1.5);
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, knob);
    EXPECT_EQ(control.readoutText(), QStringLiteral("1.50"));
}

TEST_F(ControlsTest, ADragCommitsOnceAtItsStartAndNothingAtItsEnd) {
    Binding bound{0.25};
    ui::SettingSlider control(bound.config(0, 1, 0.5, 0));
    control.resize(300, control.sizeHint().height());
    control.show();
    ui::TintedSlider& slider = tinted(control);

    const int y = slider.height() / 2;
    const QPoint knob(static_cast<int>(std::lround(slider.xForPosition(slider.value()))), y);
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, knob);
    EXPECT_EQ(bound.commits, 1);
    for (int i = 1; i <= 20; ++i)
        QTest::mouseMove(&slider, knob + QPoint(-i, 0));
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, knob + QPoint(-20, 0));
    EXPECT_EQ(bound.commits, 1);
    EXPECT_EQ(bound.writes(), 20);
    EXPECT_EQ(bound.log.first(), QStringLiteral("commit"));
    EXPECT_LT(bound.value, 0.25);
}

// A press on the track away from the knob moves the knob there, but the snapshot
// must still come before the value changes.
TEST_F(ControlsTest, APressOnTheTrackCommitsBeforeItWrites) {
    Binding bound{0.0};
    ui::SettingSlider control(bound.config(0, 1, 0.5, 0));
    control.resize(300, control.sizeHint().height());
    control.show();
    ui::TintedSlider& slider = tinted(control);

    QTest::mouseClick(&slider, Qt::LeftButton, Qt::NoModifier,
                      QPoint(test::nearestX(slider, positionOf(0.8, 0, 1)), slider.height() / 2));
    EXPECT_EQ(bound.log, (QStringList{"commit", "write"}));
    EXPECT_NEAR(bound.value, 0.8, 0.01);
}

TEST_F(ControlsTest, StepButtonsCommitFirstThenStepAndClampWithoutSnapping) {
    // One percent of the range when the step is 0, clamped into the range.
    Binding bound{0.995};
    ui::SettingSlider control(bound.config(0, 1, 0.5, 0));
    control.show();
    QTest::mouseClick(control.plusButton(), Qt::LeftButton);
    EXPECT_EQ(bound.value, 1.0);
    EXPECT_FALSE(control.plusButton()->isEnabled());
    EXPECT_TRUE(control.minusButton()->isEnabled());
    QTest::mouseClick(control.plusButton(), Qt::LeftButton);
    EXPECT_EQ(bound.commits, 1);

    bound.log.clear();
    for (int i = 0; i < 3; ++i)
        QTest::mouseClick(control.minusButton(), Qt::LeftButton);
    EXPECT_EQ(bound.log, (QStringList{"commit", "write", "commit", "write", "commit", "write"}));
    EXPECT_NEAR(bound.value, 0.97, 1e-12);

    // An explicit step lands next to the default and stays there.
    Binding fine{0.55};
    ui::SettingSlider stepped(fine.config(0, 1, 0.5, 0.1));
    stepped.show();
    QTest::mouseClick(stepped.minusButton(), Qt::LeftButton);
    EXPECT_NEAR(fine.value, 0.45, 1e-12);
    EXPECT_NE(fine.value, 0.5);

    // Reaching the lower bound disables "minus" only.
    fine.value = 0.02;
    stepped.refresh();
    QTest::mouseClick(stepped.minusButton(), Qt::LeftButton);
    EXPECT_EQ(fine.value, 0.0);
    EXPECT_FALSE(stepped.minusButton()->isEnabled());
    EXPECT_TRUE(stepped.plusButton()->isEnabled());
}

TEST_F(ControlsTest, ValuesOutsideTheRangeAreShownButNotCorrected) {
    Binding bound{1.5};
    ui::SettingSlider control(bound.config(0, 1, 0.5, 0));
    control.show();
    EXPECT_EQ(control.readoutText(), QStringLiteral("1.50"));
    EXPECT_EQ(control.slider()->value(), ui::TintedSlider::resolution);
    EXPECT_FALSE(control.plusButton()->isEnabled());
    EXPECT_TRUE(bound.log.isEmpty());

    // A value changed elsewhere shows after refresh(), again without a write.
    bound.value = -0.25;
    control.refresh();
    EXPECT_EQ(control.readoutText(), QStringLiteral("-0.25"));
    EXPECT_EQ(control.slider()->value(), 0);
    EXPECT_FALSE(control.minusButton()->isEnabled());
    EXPECT_TRUE(control.plusButton()->isEnabled());
    EXPECT_TRUE(bound.log.isEmpty());
}

// Keys are changes too: each takes its own snapshot. The arrows step like the
// buttons, so they can leave the detent; page keys move the slider and snap.
TEST_F(ControlsTest, KeysChangeTheValueWithAnUndoSnapshotAndTheWheelIsLeftAlone) {
    Binding bound{1.0};
    ui::SettingSlider control(bound.config(0, 2, 1, 0));
    control.show();
    control.slider()->setFocus();

    QTest::keyClick(control.slider(), Qt::Key_Right);
    EXPECT_NEAR(bound.value, 1.02, 1e-12);
    EXPECT_EQ(bound.log, (QStringList{"commit", "write"}));

    bound.value = 0.81;
    control.refresh();
    bound.log.clear();
    QTest::keyClick(control.slider(), Qt::Key_PageUp);
    EXPECT_EQ(bound.value, 1.0);
    EXPECT_EQ(bound.log, (QStringList{"commit", "write"}));

    bound.log.clear();
    QWheelEvent wheel(QPointF(10, 5), control.slider()->mapToGlobal(QPointF(10, 5)), QPoint(),
                      QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(control.slider(), &wheel);
    EXPECT_TRUE(bound.log.isEmpty());
}

TEST_F(ControlsTest, ReadoutIsNeutralOnAccentSlidersAndTintedOtherwise) {
    Binding bound{0.5};
    ui::SettingSlider projection(bound.config(0, 1, 0.5, 0, style::Palette::accent));
    ui::SettingSlider grading(bound.config(0, 1, 0.5, 0, style::Palette::warm));
    const auto readoutColour = [](const ui::SettingSlider& s) {
        return s.findChild<QLabel*>(QStringLiteral("readout"))
            ->palette()
            .color(QPalette::WindowText);
    };
    EXPECT_EQ(readoutColour(projection), style::Palette::withAlpha(Qt::white, 0.85));
    EXPECT_EQ(readoutColour(grading), style::Palette::warm);
}

TEST_F(ControlsTest, TheTitleIsUpperCasedAndStartsAtTheEdgeWithoutASymbol) {
    Binding bound{0.5};
    ui::SettingSlider plain(bound.config(0, 1, 0.5, 0));
    ui::SettingSlider withSymbol(
        bound.config(0, 1, 0.5, 0, style::Palette::warm, QStringLiteral("dial.medium")));
    plain.show();
    withSymbol.show();
    const auto* plainTitle = plain.findChild<QLabel*>(QStringLiteral("title"));
    EXPECT_EQ(plainTitle->text(), QStringLiteral("ZOOM"));
    EXPECT_EQ(plainTitle->x(), 0);
    EXPECT_EQ(plain.findChild<QWidget*>(QStringLiteral("symbol")), nullptr);

    const auto* symbol = withSymbol.findChild<QWidget*>(QStringLiteral("symbol"));
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(withSymbol.findChild<QLabel*>(QStringLiteral("title"))->x(),
              symbol->geometry().right() + 1 + 6);
}

TEST_F(ControlsTest, PillToggleWritesThroughItsSetterAndShowsTheBoundValue) {
    bool on = false;
    int writes = 0;
    bool refuse = false;
    ui::PillToggle toggle(
        QStringLiteral("Invert"), [&] { return on; },
        [&](bool value) {
            ++writes;
            if (!refuse)
                on = value;
        });
    toggle.show();
    QTest::mouseClick(toggle.toggle(), Qt::LeftButton);
    EXPECT_TRUE(on);
    EXPECT_TRUE(toggle.toggle()->isChecked());
    EXPECT_EQ(writes, 1);

    // A setter that keeps the old value wins over the switch.
    refuse = true;
    QTest::mouseClick(toggle.toggle(), Qt::LeftButton);
    EXPECT_EQ(writes, 2);
    EXPECT_TRUE(toggle.toggle()->isChecked());

    on = false;
    toggle.refresh();
    EXPECT_FALSE(toggle.toggle()->isChecked());
    EXPECT_EQ(writes, 2);
}

TEST_F(ControlsTest, PresetButtonShowsItsTitleAndSelectionAndClicks) {
    ui::PresetButton button(Preset::sky);
    button.resize(250, button.sizeHint().height());
    button.show();
    EXPECT_EQ(button.text(), presetTitle(Preset::sky));
    QSignalSpy clicks(&button, &QAbstractButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 1);

    // Sample the fill at the trailing end, clear of the label.
    const auto fill = [&] {
        return button.grab().toImage().pixelColor(button.width() - 6, button.height() / 2);
    };
    EXPECT_LE(test::channelDistance(fill(), style::Palette::control), 1);
    button.setSelected(true);
    EXPECT_TRUE(button.isSelected());
    EXPECT_LE(test::channelDistance(fill(), style::Palette::accent), 1);
}

TEST(Checkerboard, LightCellsStartAtTheTopLeftAndMayOverhang) {
    const QList<QRectF> cells = ui::checkerboardLightCells(QSizeF(20, 10), 8);
    EXPECT_EQ(cells, (QList<QRectF>{{0, 0, 8, 8}, {16, 0, 8, 8}, {8, 8, 8, 8}}));

    // Even an empty frame gets its one light cell.
    EXPECT_EQ(ui::checkerboardLightCells(QSizeF(0, 0), 8), (QList<QRectF>{{0, 0, 8, 8}}));
    // Nonsense draws the base colour only.
    EXPECT_TRUE(ui::checkerboardLightCells(QSizeF(20, 10), 0).isEmpty());
    EXPECT_TRUE(ui::checkerboardLightCells(QSizeF(20, 10), -8).isEmpty());
    EXPECT_TRUE(ui::checkerboardLightCells(QSizeF(qInf(), 10), 8).isEmpty());
    EXPECT_TRUE(ui::checkerboardLightCells(QSizeF(20, qQNaN()), 8).isEmpty());
    EXPECT_TRUE(ui::checkerboardLightCells(QSizeF(1e6, 1e6), 0.01).isEmpty());
}

TEST(Checkerboard, PaintsTheTwoGreysInThePattern) {
    ui::Checkerboard board(8);
    board.resize(20, 10);
    const QImage image = board.grab().toImage();
    const QColor light = QColor::fromRgbF(0.105f, 0.105f, 0.105f);
    const QColor dark = QColor::fromRgbF(0.07f, 0.07f, 0.07f);
    EXPECT_LE(test::channelDistance(image.pixelColor(4, 4), light), 1);
    EXPECT_LE(test::channelDistance(image.pixelColor(12, 4), dark), 1);
    EXPECT_LE(test::channelDistance(image.pixelColor(19, 4), light), 1);
    EXPECT_LE(test::channelDistance(image.pixelColor(4, 9), dark), 1);
    EXPECT_LE(test::channelDistance(image.pixelColor(12, 9), light), 1);
}

// The dialog shows the last choice, gives back what was chosen, greys the quality GIF
// has no use for, and Return exports as the default button says.
TEST(AnimationDialogTest, ShowsTheLastChoiceAndReturnExports) {
    ui::AnimationChoice last;
    last.format = render::AnimationFormat::webp;
    last.settings.motion = Motion::intro;
    last.settings.side = 1440;
    last.settings.durationSeconds = 4.5;
    last.settings.fps = 24;
    last.settings.quality = 55;
    ui::AnimationDialog dialog(last);
    const ui::AnimationChoice shown = dialog.choice();
    EXPECT_EQ(shown.format, last.format);
    EXPECT_EQ(shown.settings.motion, Motion::intro);
    EXPECT_EQ(shown.settings.side, 1440);
    EXPECT_EQ(shown.settings.durationSeconds, 4.5);
    EXPECT_EQ(shown.settings.fps, 24);
    EXPECT_EQ(shown.settings.quality, 55);
    EXPECT_TRUE(dialog.qualityBox()->isEnabled());
    dialog.formatBox()->setCurrentIndex(2);
    EXPECT_EQ(dialog.choice().format, render::AnimationFormat::gif);
    EXPECT_FALSE(dialog.qualityBox()->isEnabled());
    for (const int side : ui::AnimationDialog::sides)
        EXPECT_EQ(side % 2, 0) << "every size suits MP4";

    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &dialog,
                    Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}
