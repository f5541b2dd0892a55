#include "ui/Sidebar.h"

#include "model/PlanetModel.h"
#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/ChoiceRow.h"
#include "ui/HeaderButton.h"
#include "ui/PillToggle.h"
#include "ui/PresetButton.h"
#include "ui/SectionLabel.h"
#include "ui/SettingSlider.h"

#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

#include <cmath>

namespace velmora::ui {

namespace {

/// The slider for a row of the settings table, bound to the model. Sliders in powers
/// of two work in base-2 logarithm units: -1..1 covers half to twice the default.
SettingSliderConfig sliderConfig(PlanetModel& model, const SettingInfo& info) {
    const Setting setting = info.setting;
    SettingSliderConfig c;
    c.title = settingLabel(info);
    c.symbol = QString::fromLatin1(info.symbol);
    c.tint = info.kind == SettingKind::colour ? style::Palette::warm : style::Palette::accent;
    c.step = info.step;
    c.onCommit = [&model] { model.recordHistory(); };
    // Drafts while the knob moves or steps repeat, so the planet keeps up.
    c.onDraft = [&model](bool running) { model.setDrafting(running); };
    const SettingReadout readout = info.readout;
    if (info.control == SettingControl::powerOfTwoSlider) {
        const double centre = std::log2(info.defaultValue);
        c.lower = std::log2(info.lower);
        c.upper = std::log2(info.upper);
        c.defaultValue = centre;
        c.readout = [readout](double x) { return formatReadout(readout, std::exp2(x)); };
        c.value = [&model, setting] { return std::log2(std::max(model.setting(setting), 0.001)); };
        c.setValue = [&model, setting](double x) { model.setSetting(setting, std::exp2(x)); };
    } else {
        c.lower = info.lower;
        c.upper = info.upper;
        c.defaultValue = info.defaultValue;
        c.readout = [readout](double v) { return formatReadout(readout, v); };
        c.value = [&model, setting] { return model.setting(setting); };
        c.setValue = [&model, setting](double v) { model.setSetting(setting, v); };
    }
    return c;
}

} // namespace

Sidebar::Sidebar(PlanetModel& model, QWidget* parent)
    : QScrollArea(parent)
    , m_model(model) {
    setObjectName(QStringLiteral("sidebar"));
    setFixedWidth(290);
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // A slim track-less scroller: the column is the content, not the bar.
    verticalScrollBar()->setStyleSheet(QStringLiteral(
        "QScrollBar:vertical { background: transparent; width: 8px; margin: 4px 2px 4px 0; }"
        "QScrollBar::handle:vertical { background: rgba(255, 255, 255, 40); border-radius: 3px;"
        " min-height: 32px; }"
        "QScrollBar::handle:vertical:hover { background: rgba(255, 255, 255, 70); }"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: none; }"));
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, style::Palette::panel);
    pal.setColor(QPalette::Base, style::Palette::panel);
    setPalette(pal);

    auto* content = new QWidget;
    content->setAutoFillBackground(true);
    content->setPalette(pal);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(18);

    column->addWidget(new SectionLabel(tr("Presets")));
    auto* presets = new QVBoxLayout;
    presets->setSpacing(8);
    presets->setContentsMargins(0, 4, 0, 0);
    for (const Preset preset : allPresets) {
        auto* button = new PresetButton(preset);
        connect(button, &QAbstractButton::clicked, this,
                [this, preset] { m_model.applyPreset(preset); });
        presets->addWidget(button);
        m_presets.append(button);
    }
    column->addLayout(presets);
    const auto showPreset = [this] {
        for (PresetButton* button : std::as_const(m_presets))
            button->setSelected(m_model.selectedPreset() == button->preset());
    };
    connect(&m_model, &PlanetModel::selectedPresetChanged, this, showPreset);
    showPreset();

    column->addWidget(new SectionLabel(tr("Settings")));
    auto* settings = new QVBoxLayout;
    settings->setSpacing(16);
    // One row per setting of the table: the projection first, then under "Adjust"
    // the grade.
    bool adjustShown = false;
    for (const SettingInfo& info : settingsTable()) {
        if (info.kind == SettingKind::colour && !adjustShown) {
            auto* adjust = new SectionLabel(tr("Adjust"));
            adjust->setContentsMargins(0, 4, 0, 0);
            settings->addWidget(adjust);
            adjustShown = true;
        }
        const Setting setting = info.setting;
        if (info.control == SettingControl::choice) {
            QStringList labels;
            for (const SettingChoice& choice : settingChoices(info))
                labels.append(choice.label);
            // A choice has no drag either: one pick is one undo step.
            auto* row = new ChoiceRow(
                settingLabel(info), labels,
                [this, setting] { return static_cast<int>(std::lround(m_model.setting(setting))); },
                [this, setting](int index) {
                    m_model.recordHistory();
                    m_model.setSetting(setting, index);
                });
            row->setObjectName(QStringLiteral("choice:") + QString::fromUtf8(info.label));
            connect(&m_model, &PlanetModel::settingChanged, row, [row, setting](Setting s) {
                if (s == setting)
                    row->refresh();
            });
            settings->addWidget(row);
            continue;
        }
        if (info.control == SettingControl::toggle) {
            // A switch has no drag to commit at, so it records history itself.
            auto* toggle = new PillToggle(
                settingLabel(info), [this, setting] { return m_model.setting(setting) != 0.0; },
                [this, setting](bool on) {
                    m_model.recordHistory();
                    m_model.setSetting(setting, on ? 1.0 : 0.0);
                });
            toggle->setObjectName(QStringLiteral("toggle:") + QString::fromUtf8(info.label));
            connect(&m_model, &PlanetModel::settingChanged, toggle, [toggle, setting](Setting s) {
                if (s == setting)
                    toggle->refresh();
            });
            settings->addWidget(toggle);
            m_toggles.append(toggle);
            continue;
        }
        auto* slider = new SettingSlider(sliderConfig(m_model, info));
        slider->setObjectName(QStringLiteral("slider:") + QString::fromUtf8(info.label));
        connect(&m_model, &PlanetModel::settingChanged, slider, [slider, setting](Setting s) {
            if (s == setting)
                slider->refresh();
        });
        settings->addWidget(slider);
        m_sliders.append(slider);
    }
    column->addLayout(settings);

    auto* reset = new HeaderButton(QStringLiteral("arrow.counterclockwise"), tr("Reset"));
    reset->setObjectName(QStringLiteral("reset"));
    reset->setLook({Qt::white, style::Palette::control, Qt::transparent, 11});
    reset->setPadding(16, 11);
    reset->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(reset, &QAbstractButton::clicked, this, [this] { m_model.resetAll(); });
    auto* resetRow = new QVBoxLayout;
    resetRow->setContentsMargins(0, 2, 0, 0);
    resetRow->addWidget(reset);
    column->addLayout(resetRow);

    auto* tip = new QLabel(
        tr("Tip: wide landscape photos and 360° panoramas create the best tiny planets."));
    tip->setWordWrap(true);
    tip->setFont(style::uiFont(11));
    QPalette tipPalette = tip->palette();
    tipPalette.setColor(QPalette::WindowText, style::Palette::tertiaryText);
    tip->setPalette(tipPalette);
    tip->setContentsMargins(0, 6, 0, 0);
    column->addWidget(tip);
    column->addStretch(1);

    setWidget(content);
}

namespace {

/// The control named `prefix` + `title` among `controls`, or null.
template <typename Control>
Control* named(const QList<Control*>& controls, const QString& prefix, const QString& title) {
    for (Control* c : controls) {
        if (c->objectName() == prefix + title)
            return c;
    }
    return nullptr;
}

} // namespace

PillToggle* Sidebar::toggle(const QString& title) const {
    return named(m_toggles, QStringLiteral("toggle:"), title);
}

SettingSlider* Sidebar::slider(const QString& title) const {
    return named(m_sliders, QStringLiteral("slider:"), title);
}

} // namespace velmora::ui
