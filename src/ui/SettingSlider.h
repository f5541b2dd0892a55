#pragma once

#include <QColor>
#include <QCoreApplication>
#include <QString>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QLabel;
class QSlider;
class QTimer;

namespace velmora::ui {

class StepButton;
class TintedSlider;

/// What a SettingSlider edits and how it looks. The owner decides the range, the
/// detent, the look and binds the value.
struct SettingSliderConfig {
    QString title;
    double lower = 0.0;
    double upper = 1.0;
    /// The detent: slider values within 2 % of the range of it are written as it.
    double defaultValue = 0.0;
    /// Increment of the step buttons; 0 or less means 1 % of the range.
    double step = 0.0;
    /// Symbol before the title; empty for none.
    QString symbol;
    QColor tint;
    std::function<QString(double)> readout;
    std::function<double()> value;
    std::function<void(double)> setValue;
    /// Called once before each change begins: at the start of a drag, before each
    /// step, before any other change made through the slider.
    std::function<void()> onCommit;
    /// Called with true as a run of changes begins (a drag of the knob, or steps and
    /// keys in quick succession) and false once it is over, so the owner can show
    /// cheap drafts in between.
    std::function<void(bool running)> onDraft;
};

/// A labelled value slider with step buttons and a readout:
///
///     [symbol] TITLE                 readout
///     [-] ========O============ [+]
class SettingSlider : public QWidget {
    Q_DECLARE_TR_FUNCTIONS(SettingSlider)

public:
    /// Steps this close together are one run of changes.
    static constexpr int runPauseMs = 150;

    explicit SettingSlider(SettingSliderConfig config, QWidget* parent = nullptr);

    /// Re-reads value(): knob, readout and which step buttons are enabled.
    void refresh();

    QSlider* slider() const;
    QAbstractButton* minusButton() const;
    QAbstractButton* plusButton() const;
    QString readoutText() const;
    const SettingSliderConfig& config() const { return m_config; }

    /// The value a slider position stands for after the detent is applied.
    double snapped(double value) const;

private:
    double currentValue() const;
    void write(double value);
    void sliderChanged(int position);
    void stepValue(int direction);
    void setDrafting(bool on);
    bool eventFilter(QObject* watched, QEvent* event) override;

    SettingSliderConfig m_config;
    TintedSlider* m_slider = nullptr;
    StepButton* m_minus = nullptr;
    StepButton* m_plus = nullptr;
    QLabel* m_readout = nullptr;
    QTimer* m_runEnd = nullptr;
    bool m_drafting = false;
};

} // namespace velmora::ui
