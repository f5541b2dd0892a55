#include "ui/Sidebar.h"

#include "model/PlanetModel.h"
#include "ui/HeaderButton.h"
#include "ui/Palette.h"
#include "ui/PillToggle.h"
#include "ui/PresetButton.h"
#include "ui/SectionLabel.h"
#include "ui/SettingSlider.h"
#include "ui/Typography.h"

#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

#include <cmath>

namespace velmora::ui {

namespace {

using Getter = double (PlanetModel::*)() const;
using Setter = void (PlanetModel::*)(double);
using Signal = void (PlanetModel::*)();

struct SliderRow {
    const char* title;
    Getter get;
    Setter set;
    Signal changed;
    double lower, upper, defaultValue, step;
    QString (*readout)(double);
};

/// A slider working in base-2 logarithm units over a setting: -1..1 covers 0.5..2.
SettingSliderConfig logarithmic(PlanetModel& model, const char* title, const char* symbol,
                                Getter get, Setter set) {
    SettingSliderConfig c;
    c.title = QString::fromUtf8(title);
    c.lower = -1.0;
    c.upper = 1.0;
    c.defaultValue = 0.0;
    c.step = 0.0;
    c.symbol = QString::fromLatin1(symbol);
    c.tint = Palette::warm;
    c.readout = &Sidebar::readoutPowerOfTwo;
    c.value = [&model, get] { return std::log2(std::max((model.*get)(), 0.001)); };
    c.setValue = [&model, set](double x) { (model.*set)(std::exp2(x)); };
    c.onCommit = [&model] { model.recordHistory(); };
    return c;
}

} // namespace

QString Sidebar::readoutDecimal(double value) {
    return QString::asprintf("%.2f", value);
}

QString Sidebar::readoutDegrees(double value) {
    return QString::asprintf("%.0f\u00b0", value);
}

QString Sidebar::readoutPercentOrOff(double value) {
    return value < 0.005 ? QStringLiteral("Off") : QString::asprintf("%.0f%%", value * 100.0);
}

QString Sidebar::readoutWholeNumber(double value) {
    return QString::asprintf("%.0f", value);
}

QString Sidebar::readoutPowerOfTwo(double value) {
    return QString::asprintf("%.2f", std::exp2(value));
}

QString Sidebar::readoutSaturation(double value) {
    return value < 0.005 ? QStringLiteral("B&W") : QString::asprintf("%.2f", value);
}

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
    pal.setColor(QPalette::Window, Palette::panel);
    pal.setColor(QPalette::Base, Palette::panel);
    setPalette(pal);

    auto* content = new QWidget;
    content->setAutoFillBackground(true);
    content->setPalette(pal);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(18);

    column->addWidget(new SectionLabel(QStringLiteral("Presets")));
    auto* presets = new QVBoxLayout;
    presets->setSpacing(8);
    presets->setContentsMargins(0, 4, 0, 0);
    for (const PlanetModel::Preset preset : PlanetModel::allPresets) {
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

    column->addWidget(new SectionLabel(QStringLiteral("Settings")));
    auto* settings = new QVBoxLayout;
    settings->setSpacing(16);

    const SliderRow projection[] = {
        {"Zoom", &PlanetModel::zoom, &PlanetModel::setZoom, &PlanetModel::zoomChanged, 0.2, 4.0,
         1.0, 0, &readoutDecimal},
        {"Rotate", &PlanetModel::rotationDegrees, &PlanetModel::setRotationDegrees,
         &PlanetModel::rotationDegreesChanged, -180, 180, 0, 1, &readoutDegrees},
        {"Flip X", &PlanetModel::flipX, &PlanetModel::setFlipX, &PlanetModel::flipXChanged, -1, 1,
         0, 0, &readoutDecimal},
        {"Flip Y", &PlanetModel::flipY, &PlanetModel::setFlipY, &PlanetModel::flipYChanged, -1, 1,
         0, 0, &readoutDecimal},
        {"Shift Y", &PlanetModel::horizon, &PlanetModel::setHorizon, &PlanetModel::horizonChanged,
         -1, 1, 0, 0, &readoutDecimal},
        {"Shift X", &PlanetModel::shiftX, &PlanetModel::setShiftX, &PlanetModel::shiftXChanged, -1,
         1, 0, 0, &readoutDecimal},
        {"Twist", &PlanetModel::twist, &PlanetModel::setTwist, &PlanetModel::twistChanged, -5, 5, 0,
         0, &readoutDecimal},
        {"Convexity", &PlanetModel::convexity, &PlanetModel::setConvexity,
         &PlanetModel::convexityChanged, -0.5, 1.0, 0, 0, &readoutDecimal},
        {"Repeats", &PlanetModel::repeats, &PlanetModel::setRepeats, &PlanetModel::repeatsChanged,
         1, 10, 1.0, 0, &readoutWholeNumber},
        {"Seam Blend", &PlanetModel::blendWidth, &PlanetModel::setBlendWidth,
         &PlanetModel::blendWidthChanged, 0, 0.4, 0.12, 0, &readoutPercentOrOff},
    };
    const auto configFor = [this](const SliderRow& row, const char* symbol, QColor tint) {
        SettingSliderConfig c;
        c.title = QString::fromUtf8(row.title);
        c.lower = row.lower;
        c.upper = row.upper;
        c.defaultValue = row.defaultValue;
        c.step = row.step;
        c.symbol = QString::fromLatin1(symbol);
        c.tint = tint;
        c.readout = row.readout;
        c.value = [this, get = row.get] { return (m_model.*get)(); };
        c.setValue = [this, set = row.set](double v) { (m_model.*set)(v); };
        c.onCommit = [this] { m_model.recordHistory(); };
        return c;
    };
    const auto addSlider = [this](QVBoxLayout* to, SettingSliderConfig config, Signal changed) {
        const QString name = QStringLiteral("slider:") + config.title;
        auto* slider = new SettingSlider(std::move(config));
        slider->setObjectName(name);
        connect(&m_model, changed, slider, &SettingSlider::refresh);
        to->addWidget(slider);
        m_sliders.append(slider);
    };
    for (const SliderRow& row : projection)
        addSlider(settings, configFor(row, "", Palette::accent), row.changed);

    // Invert has no drag to commit at, so its binding records history itself.
    m_invert = new PillToggle(
        QStringLiteral("Invert"), [this] { return m_model.invert(); },
        [this](bool on) {
            m_model.recordHistory();
            m_model.setInvert(on);
        });
    connect(&m_model, &PlanetModel::invertChanged, m_invert, &PillToggle::refresh);
    settings->addWidget(m_invert);

    auto* adjust = new SectionLabel(QStringLiteral("Adjust"));
    adjust->setContentsMargins(0, 4, 0, 0);
    settings->addWidget(adjust);
    addSlider(
        settings,
        logarithmic(m_model, "Gamma", "dial.medium", &PlanetModel::gamma, &PlanetModel::setGamma),
        &PlanetModel::gammaChanged);
    addSlider(settings,
              logarithmic(m_model, "Contrast", "circle.lefthalf.filled", &PlanetModel::contrast,
                          &PlanetModel::setContrast),
              &PlanetModel::contrastChanged);
    const SliderRow grading[] = {
        {"Saturation", &PlanetModel::saturation, &PlanetModel::setSaturation,
         &PlanetModel::saturationChanged, 0, 2, 1.0, 0, &readoutSaturation},
        {"Vignette", &PlanetModel::vignette, &PlanetModel::setVignette,
         &PlanetModel::vignetteChanged, 0, 1, 0, 0, &readoutPercentOrOff},
    };
    const char* symbols[] = {"drop.fill", "camera.aperture"};
    for (int i = 0; i < 2; ++i)
        addSlider(settings, configFor(grading[i], symbols[i], Palette::warm), grading[i].changed);
    column->addLayout(settings);

    auto* reset =
        new HeaderButton(QStringLiteral("arrow.counterclockwise"), QStringLiteral("Reset"));
    reset->setObjectName(QStringLiteral("reset"));
    reset->setLook({Qt::white, Palette::control, Qt::transparent, 11});
    reset->setPadding(16, 11);
    reset->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(reset, &QAbstractButton::clicked, this, [this] { m_model.resetAll(); });
    auto* resetRow = new QVBoxLayout;
    resetRow->setContentsMargins(0, 2, 0, 0);
    resetRow->addWidget(reset);
    column->addLayout(resetRow);

    auto* tip = new QLabel(QStringLiteral(
        "Tip: wide landscape photos and 360\u00b0 panoramas create the best tiny planets."));
    tip->setWordWrap(true);
    tip->setFont(uiFont(11));
    QPalette tipPalette = tip->palette();
    tipPalette.setColor(QPalette::WindowText, Palette::tertiaryText);
    tip->setPalette(tipPalette);
    tip->setContentsMargins(0, 6, 0, 0);
    column->addWidget(tip);
    column->addStretch(1);

    setWidget(content);
}

SettingSlider* Sidebar::slider(const QString& title) const {
    for (SettingSlider* s : m_sliders) {
        if (s->objectName() == QStringLiteral("slider:") + title)
            return s;
    }
    return nullptr;
}

} // namespace velmora::ui
