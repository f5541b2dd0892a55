#include "ui/HeaderButton.h"

#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Symbols.h"
#include "style/Typography.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

namespace velmora::ui {

HeaderButton::HeaderButton(QString symbol, QString text, QWidget* parent)
    : QAbstractButton(parent)
    , m_symbol(std::move(symbol)) {
    setText(text);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void HeaderButton::setLook(const Look& look) {
    m_look = look;
    update();
}

void HeaderButton::setCheckedLook(const Look& look) {
    m_checkedLook = look;
    m_hasCheckedLook = true;
    update();
}

void HeaderButton::setPadding(int horizontal, int vertical) {
    m_padH = horizontal;
    m_padV = vertical;
    updateGeometry();
}

void HeaderButton::setSquare(int side) {
    m_square = side;
    updateGeometry();
}

void HeaderButton::setSymbol(const QString& symbol) {
    m_symbol = symbol;
    update();
}

QSize HeaderButton::sizeHint() const {
    if (m_square > 0)
        return {m_square, m_square};
    const QFontMetricsF metrics(style::uiFont(m_fontSize, QFont::DemiBold));
    const double symbol = m_symbol.isEmpty() ? 0 : style::symbolBoxSide(m_fontSize);
    const double gap = (!m_symbol.isEmpty() && !text().isEmpty()) ? 6 : 0;
    const double width = symbol + gap + metrics.horizontalAdvance(text()) + 2 * m_padH;
    const double height = std::max<double>(metrics.height(), symbol) + 2 * m_padV;
    return {static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height))};
}

void HeaderButton::paintEvent(QPaintEvent*) {
    const Look& look = (isChecked() && m_hasCheckedLook) ? m_checkedLook : m_look;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        p.setOpacity(m_disabledOpacity);
    else if (isDown())
        p.setOpacity(0.8);

    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath shape;
    shape.addRoundedRect(frame, look.radius, look.radius);
    p.fillPath(shape, look.fill);
    if (look.outline.alpha() > 0) {
        p.setPen(QPen(look.outline, 1.0));
        p.drawPath(shape);
    }

    const QFont font = style::uiFont(m_fontSize, QFont::DemiBold);
    const QFontMetricsF metrics(font);
    const double symbol = m_symbol.isEmpty() ? 0 : style::symbolBoxSide(m_fontSize);
    const double gap = (!m_symbol.isEmpty() && !text().isEmpty()) ? 6 : 0;
    const double contentWidth = symbol + gap + metrics.horizontalAdvance(text());
    double x = (width() - contentWidth) / 2.0;
    if (!m_symbol.isEmpty()) {
        style::paintSymbol(p, QRectF(x, (height() - symbol) / 2.0, symbol, symbol), m_symbol,
                           look.foreground);
        x += symbol + gap;
    }
    if (!text().isEmpty()) {
        p.setFont(font);
        p.setPen(look.foreground);
        p.drawText(QRectF(x, 0, width() - x, height()), Qt::AlignVCenter | Qt::AlignLeft, text());
    }
    p.setOpacity(1.0);
    style::paintFocusRing(p, *this, look.radius, style::Palette::accent);
}

} // namespace velmora::ui
