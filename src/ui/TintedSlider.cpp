#include "ui/TintedSlider.h"

#include "style/FocusRing.h"
#include "style/Palette.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace velmora::ui {

namespace {
constexpr double radius = TintedSlider::knobDiameter / 2.0;
constexpr double trackHeight = 4.0;
} // namespace

TintedSlider::TintedSlider(QColor tint, QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
    , m_tint(tint) {
    setRange(0, resolution);
    setSingleStep(resolution / 100);
    setPageStep(resolution / 10);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

double TintedSlider::xForPosition(int position) const {
    const double span = std::max(0.0, width() - 2 * radius);
    const double fraction =
        static_cast<double>(position - minimum()) / std::max(1, maximum() - minimum());
    return radius + span * fraction;
}

int TintedSlider::positionAt(double x) const {
    const double span = width() - 2 * radius;
    if (span <= 0)
        return minimum();
    const double fraction = std::clamp((x - radius) / span, 0.0, 1.0);
    return minimum() + static_cast<int>(std::lround(fraction * (maximum() - minimum())));
}

int TintedSlider::positionFor(double value, double lower, double upper) {
    if (!(upper > lower) || std::isnan(value))
        return 0;
    const double fraction = std::clamp((value - lower) / (upper - lower), 0.0, 1.0);
    return static_cast<int>(std::lround(fraction * resolution));
}

double TintedSlider::valueAt(int position, double lower, double upper) {
    // The ends give the bounds exactly, free of rounding.
    if (position <= 0)
        return lower;
    if (position >= resolution)
        return upper;
    return lower + (upper - lower) * position / resolution;
}

QSize TintedSlider::sizeHint() const {
    return {120, knobDiameter + 2};
}

QSize TintedSlider::minimumSizeHint() const {
    return {knobDiameter * 3, knobDiameter + 2};
}

void TintedSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(0.4);

    const double cy = height() / 2.0;
    const double knobX = xForPosition(sliderPosition());
    const QRectF track(radius - trackHeight / 2, cy - trackHeight / 2,
                       std::max(0.0, width() - 2 * radius) + trackHeight, trackHeight);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Palette::withAlpha(Qt::white, 0.16));
    painter.drawRoundedRect(track, trackHeight / 2, trackHeight / 2);
    QRectF filled = track;
    filled.setRight(knobX);
    painter.setBrush(m_tint);
    painter.drawRoundedRect(filled, trackHeight / 2, trackHeight / 2);

    const QRectF knob(knobX - radius + 0.5, cy - radius + 0.5, knobDiameter - 1.0,
                      knobDiameter - 1.0);
    painter.setBrush(style::Palette::withAlpha(Qt::black, 0.25));
    painter.drawEllipse(knob.translated(0, 0.75));
    painter.setBrush(isSliderDown() ? QColor(222, 222, 226) : QColor(248, 248, 250));
    painter.drawEllipse(knob);
    if (style::showsFocusRing(*this)) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(style::Palette::withAlpha(style::Palette::accent, 0.8), 1.5));
        painter.drawEllipse(knob.adjusted(-1, -1, 1, 1));
    }
}

void TintedSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || maximum() == minimum()) {
        event->ignore();
        return;
    }
    event->accept();
    const double x = event->position().x();
    const double knobX = xForPosition(sliderPosition());
    // Grabbing the knob keeps it under the same spot of the pointer; a press on the
    // track brings the knob's centre to the pointer.
    m_grabOffset = std::abs(x - knobX) <= radius ? x - knobX : 0.0;
    setSliderDown(true);
    setSliderPosition(positionAt(x - m_grabOffset));
    update();
}

void TintedSlider::mouseMoveEvent(QMouseEvent* event) {
    if (!isSliderDown()) {
        event->ignore();
        return;
    }
    event->accept();
    setSliderPosition(positionAt(event->position().x() - m_grabOffset));
}

void TintedSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (!isSliderDown() || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    setSliderDown(false);
    update();
}

void TintedSlider::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

} // namespace velmora::ui
