#include "ui/StepButton.h"

#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Symbols.h"
#include "style/Typography.h"

#include <QPainter>

namespace velmora::ui {

StepButton::StepButton(QString symbol, QWidget* parent)
    : QAbstractButton(parent)
    , m_symbol(std::move(symbol)) {
    setFixedSize(side, side);
    setFocusPolicy(Qt::TabFocus);
}

QSize StepButton::sizeHint() const {
    return {side, side};
}

void StepButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Plain buttons show state only by dimming their label.
    if (!isEnabled())
        painter.setOpacity(0.4);
    else if (isDown())
        painter.setOpacity(0.7);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Palette::controlRaised);
    painter.drawRoundedRect(QRectF(rect()), 5, 5);
    const double glyph = style::symbolBoxSide(9);
    const QRectF box((width() - glyph) / 2, (height() - glyph) / 2, glyph, glyph);
    style::paintSymbol(painter, box, m_symbol, style::Palette::withAlpha(Qt::white, 0.85));
    painter.setOpacity(1.0);
    style::paintFocusRing(painter, *this, 5,
                          style::Palette::withAlpha(style::Palette::accent, 0.8));
}

} // namespace velmora::ui
