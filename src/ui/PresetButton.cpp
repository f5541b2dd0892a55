#include "ui/PresetButton.h"

#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Symbols.h"
#include "style/Typography.h"

#include <QFontMetrics>
#include <QPainter>

namespace velmora::ui {

namespace {
constexpr int paddingX = 14;
constexpr int paddingY = 11;
constexpr int symbolFrame = 18;
constexpr int spacing = 11;
constexpr double radius = 11;
} // namespace

PresetButton::PresetButton(Preset preset, QWidget* parent)
    : QAbstractButton(parent)
    , m_preset(preset) {
    setText(presetDisplayTitle(preset));
    setFont(style::uiFont(14, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::TabFocus);
}

void PresetButton::setSelected(bool selected) {
    if (selected == m_selected)
        return;
    m_selected = selected;
    update();
}

QSize PresetButton::sizeHint() const {
    const QFontMetrics metrics(font());
    const int content = std::max(metrics.height(), style::symbolBoxSide(14));
    return {paddingX + symbolFrame + spacing + metrics.horizontalAdvance(text()) + paddingX,
            paddingY + content + paddingY};
}

QSize PresetButton::minimumSizeHint() const {
    return {paddingX + symbolFrame + paddingX, sizeHint().height()};
}

void PresetButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(0.4);
    else if (isDown())
        painter.setOpacity(0.75);

    const QColor fill = m_selected ? style::Palette::accent : style::Palette::control;
    const QColor content =
        m_selected ? QColor(Qt::black) : style::Palette::withAlpha(Qt::white, 0.9);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()), radius, radius);

    const double glyph = style::symbolBoxSide(14);
    const QRectF symbolRect(paddingX + (symbolFrame - glyph) / 2, (height() - glyph) / 2, glyph,
                            glyph);
    style::paintSymbol(painter, symbolRect, presetSymbol(m_preset), content);

    const int textLeft = paddingX + symbolFrame + spacing;
    const QRect textRect(textLeft, 0, std::max(0, width() - textLeft - paddingX), height());
    painter.setPen(content);
    painter.setFont(font());
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(text(), Qt::ElideRight, textRect.width()));

    painter.setOpacity(1.0);
    style::paintFocusRing(painter, *this, radius,
                          m_selected ? QColor(Qt::white) : style::Palette::accent);
}

} // namespace velmora::ui
