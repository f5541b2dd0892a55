#include "ui/LogoMark.h"

#include "style/Palette.h"

#include <QPainter>

namespace velmora::ui {

LogoMark::LogoMark(QWidget* parent)
    : QWidget(parent) {
    setFixedSize(30, 30);
    setAttribute(Qt::WA_TransparentForMouseEvents); // part of the title bar's drag area
}

void LogoMark::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPen ring(style::Palette::accent, 2.5);
    ring.setDashPattern({3.5 / 2.5, 3.5 / 2.5}); // Qt counts dashes in pen widths
    p.setPen(ring);
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QRectF(1.25, 1.25, 27.5, 27.5));
    p.setPen(Qt::NoPen);
    p.setBrush(style::Palette::accent);
    p.drawEllipse(QRectF(11, 11, 8, 8));
}

} // namespace velmora::ui
