#include "ui/SettingSlider.h"

#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/StepButton.h"
#include "ui/SymbolView.h"
#include "ui/TintedSlider.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QSignalBlocker>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>

namespace velmora::ui {

namespace {

void setTextColour(QLabel* label, const QColor& colour) {
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
}

} // namespace

SettingSlider::SettingSlider(SettingSliderConfig config, QWidget* parent)
    : QWidget(parent)
    , m_config(std::move(config)) {
    auto* stack = new QVBoxLayout(this);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(7);

    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    if (!m_config.symbol.isEmpty()) {
        auto* symbol = new SymbolView(m_config.symbol, 10, m_config.tint, this);
        symbol->setObjectName(QStringLiteral("symbol"));
        header->addWidget(symbol, 0, Qt::AlignVCenter);
    }
    auto* title = new QLabel(m_config.title.toUpper(), this);
    title->setObjectName(QStringLiteral("title"));
    title->setTextFormat(Qt::PlainText);
    title->setFont(style::uiFont(11, QFont::DemiBold, 0.5));
    setTextColour(title, style::Palette::secondaryText);
    header->addWidget(title, 0, Qt::AlignVCenter);
    header->addStretch(1);
    m_readout = new QLabel(this);
    m_readout->setObjectName(QStringLiteral("readout"));
    m_readout->setTextFormat(Qt::PlainText);
    m_readout->setFont(style::uiFont(12, QFont::Medium));
    // The accent is for interaction; on the projection sliders the number stays
    // neutral and only the track carries the colour.
    setTextColour(m_readout, m_config.tint == style::Palette::accent
                                 ? style::Palette::withAlpha(Qt::white, 0.85)
                                 : m_config.tint);
    header->addWidget(m_readout, 0, Qt::AlignVCenter);
    stack->addLayout(header);

    auto* controls = new QHBoxLayout;
    controls->setSpacing(8);
    m_minus = new StepButton(QStringLiteral("minus"), this);
    m_minus->setObjectName(QStringLiteral("minus"));
    m_minus->setAccessibleName(tr("%1 down").arg(m_config.title));
    m_slider = new TintedSlider(m_config.tint, this);
    m_slider->setAccessibleName(m_config.title);
    m_plus = new StepButton(QStringLiteral("plus"), this);
    m_plus->setObjectName(QStringLiteral("plus"));
    m_plus->setAccessibleName(tr("%1 up").arg(m_config.title));
    controls->addWidget(m_minus, 0, Qt::AlignVCenter);
    controls->addWidget(m_slider, 1, Qt::AlignVCenter);
    controls->addWidget(m_plus, 0, Qt::AlignVCenter);
    stack->addLayout(controls);

    // A drag is one change: the snapshot is taken as it begins, never as it ends.
    connect(m_slider, &QSlider::sliderPressed, this, [this] {
        if (m_config.onCommit)
            m_config.onCommit();
        setDrafting(true);
    });
    connect(m_slider, &QSlider::sliderReleased, this, [this] { setDrafting(false); });
    m_runEnd = new QTimer(this);
    m_runEnd->setSingleShot(true);
    m_runEnd->setInterval(runPauseMs);
    connect(m_runEnd, &QTimer::timeout, this, [this] {
        if (!m_slider->isSliderDown())
            setDrafting(false);
    });
    connect(m_slider, &QSlider::valueChanged, this, &SettingSlider::sliderChanged);
    connect(m_minus, &QAbstractButton::clicked, this, [this] { stepValue(-1); });
    connect(m_plus, &QAbstractButton::clicked, this, [this] { stepValue(+1); });
    m_slider->installEventFilter(this);

    refresh();
}

QSlider* SettingSlider::slider() const {
    return m_slider;
}

QAbstractButton* SettingSlider::minusButton() const {
    return m_minus;
}

QAbstractButton* SettingSlider::plusButton() const {
    return m_plus;
}

QString SettingSlider::readoutText() const {
    return m_readout->text();
}

double SettingSlider::currentValue() const {
    return m_config.value ? m_config.value() : m_config.defaultValue;
}

double SettingSlider::snapped(double value) const {
    const double detent = (m_config.upper - m_config.lower) * 0.02;
    return std::abs(value - m_config.defaultValue) <= detent ? m_config.defaultValue : value;
}

void SettingSlider::refresh() {
    const double value = currentValue();
    {
        // Showing the model's value is not a change made through the slider.
        const QSignalBlocker blocker(m_slider);
        m_slider->setValue(TintedSlider::positionFor(value, m_config.lower, m_config.upper));
        m_slider->update();
    }
    m_readout->setText(m_config.readout ? m_config.readout(value) : QString::number(value, 'f', 2));
    m_minus->setEnabled(!(value <= m_config.lower));
    m_plus->setEnabled(!(value >= m_config.upper));
}

void SettingSlider::setDrafting(bool on) {
    m_runEnd->stop();
    if (on == m_drafting)
        return;
    m_drafting = on;
    if (m_config.onDraft)
        m_config.onDraft(on);
}

void SettingSlider::write(double value) {
    // A step or a key outside a drag starts or extends a run that ends at a pause.
    if (!m_slider->isSliderDown()) {
        setDrafting(true);
        m_runEnd->start();
    }
    if (m_config.setValue)
        m_config.setValue(value);
    refresh();
}

void SettingSlider::sliderChanged(int position) {
    // Clicks on the track arrive inside a drag; page keys and the like do not, and
    // take their own snapshot so that no change escapes undo.
    if (!m_slider->isSliderDown() && m_config.onCommit)
        m_config.onCommit();
    write(snapped(TintedSlider::valueAt(position, m_config.lower, m_config.upper)));
}

void SettingSlider::stepValue(int direction) {
    if (m_config.onCommit)
        m_config.onCommit();
    const double range = m_config.upper - m_config.lower;
    const double increment = (m_config.step > 0 ? m_config.step : range * 0.01) * direction;
    double value = currentValue() + increment;
    if (value <= m_config.lower)
        value = m_config.lower;
    else if (value > m_config.upper)
        value = m_config.upper;
    write(value);
}

bool SettingSlider::eventFilter(QObject* watched, QEvent* event) {
    // The arrow keys act as the step buttons: moving by slider steps would never
    // leave the detent round the default.
    if (watched == m_slider && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        int direction = 0;
        switch (key->key()) {
        case Qt::Key_Left:
        case Qt::Key_Down:
            direction = -1;
            break;
        case Qt::Key_Right:
        case Qt::Key_Up:
            direction = +1;
            break;
        default:
            break;
        }
        if (direction != 0 && (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier) {
            const bool enabled = direction < 0 ? m_minus->isEnabled() : m_plus->isEnabled();
            if (enabled)
                stepValue(direction);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace velmora::ui
