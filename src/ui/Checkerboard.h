#pragma once

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QWidget>

class QPainter;

namespace velmora::ui {

/// The light cells of a transparency pattern over `size`, `square` a side: the
/// top-left cell is light, and cells at the right and bottom edges may reach past
/// the frame. Empty when there is no sensible pattern (a square of 0 or less, a
/// non-finite size or an absurd number of cells): the base colour alone is drawn.
QList<QRectF> checkerboardLightCells(QSizeF size, double square);

/// Fills `rect` with the pattern: the dark base, then the light cells.
void paintCheckerboard(QPainter& painter, const QRectF& rect, double square);

/// A transparency pattern filling the widget, behind artwork with alpha.
class Checkerboard : public QWidget {
public:
    explicit Checkerboard(double square, QWidget* parent = nullptr);

    double square() const { return m_square; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double m_square;
};

} // namespace velmora::ui
