#include "ui/Checkerboard.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace velmora::ui {

namespace {
const QColor baseColour = QColor::fromRgbF(0.07f, 0.07f, 0.07f);
const QColor lightColour = QColor::fromRgbF(0.105f, 0.105f, 0.105f);
// Far beyond any frame on screen; guards the loops against a tiny square.
constexpr double maxCells = 1.0e6;
} // namespace

QList<QRectF> checkerboardLightCells(QSizeF size, double square) {
    QList<QRectF> cells;
    if (!(square > 0) || !std::isfinite(square) || !std::isfinite(size.width()) ||
        !std::isfinite(size.height()))
        return cells;
    const double columns = std::max(std::ceil(size.width() / square), 1.0);
    const double rows = std::max(std::ceil(size.height() / square), 1.0);
    if (columns * rows > maxCells)
        return cells;
    const int cols = static_cast<int>(columns);
    const int rowCount = static_cast<int>(rows);
    cells.reserve((cols * rowCount + 1) / 2);
    for (int r = 0; r < rowCount; ++r) {
        for (int c = r % 2; c < cols; c += 2)
            cells.append(QRectF(c * square, r * square, square, square));
    }
    return cells;
}

void paintCheckerboard(QPainter& painter, const QRectF& rect, double square) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.fillRect(rect, baseColour);
    painter.setClipRect(rect, Qt::IntersectClip);
    painter.translate(rect.topLeft());
    painter.setBrush(lightColour);
    for (const QRectF& cell : checkerboardLightCells(rect.size(), square))
        painter.drawRect(cell);
    painter.restore();
}

Checkerboard::Checkerboard(double square, QWidget* parent)
    : QWidget(parent)
    , m_square(square) {}

void Checkerboard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintCheckerboard(painter, QRectF(rect()), m_square);
}

} // namespace velmora::ui
