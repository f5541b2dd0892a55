#include "ui/SymbolView.h"

#include "style/Symbols.h"
#include "style/Typography.h"

#include <QPainter>

namespace velmora::ui {

SymbolView::SymbolView(QString symbol, double fontSize, QColor color, QWidget* parent)
    : QWidget(parent)
    , m_symbol(std::move(symbol))
    , m_color(color) {
    const int side = style::symbolBoxSide(fontSize);
    setFixedSize(side, side);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SymbolView::setSymbol(const QString& symbol) {
    m_symbol = symbol;
    update();
}

void SymbolView::setColor(const QColor& color) {
    if (color == m_color)
        return;
    m_color = color;
    update();
}

void SymbolView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style::paintSymbol(painter, QRectF(rect()), m_symbol, m_color);
}

} // namespace velmora::ui
