#pragma once

#include <QPainter>
#include <QWidget>

namespace velmora::style {

/// Whether a control should draw its focus ring: only once the user moves focus with
/// the keyboard, so a window that merely gave its first button focus shows none.
inline bool showsFocusRing(const QWidget& widget) {
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

/// Draws the focus ring, a 1.5-pixel rounded outline along `bounds`, when `widget`
/// shows one (see showsFocusRing). Leaves the painter's opacity as it is.
inline void paintFocusRing(QPainter& painter, const QWidget& widget, const QRectF& bounds,
                           double radius, const QColor& colour) {
    if (!showsFocusRing(widget))
        return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colour, 1.5));
    painter.drawRoundedRect(bounds, radius, radius);
}

/// The focus ring along the widget's own outline, the pen just inside its rect.
inline void paintFocusRing(QPainter& painter, const QWidget& widget, double radius,
                           const QColor& colour) {
    paintFocusRing(painter, widget, QRectF(widget.rect()).adjusted(0.75, 0.75, -0.75, -0.75),
                   radius, colour);
}

} // namespace velmora::style
