#pragma once

#include <QColor>
#include <QSlider>

namespace velmora::ui {

/// A small horizontal slider with a tinted track and a round knob, working in
/// `resolution` integer steps that its owner maps onto its own range.
///
/// A press anywhere on the track begins a drag: sliderPressed() comes first, then
/// the knob jumps to the pointer, so an owner can take an undo snapshot before the
/// first value is written. The wheel is left to the enclosing scroll view.
class TintedSlider : public QSlider {
public:
    static constexpr int resolution = 10000;
    static constexpr int knobDiameter = 14;

    explicit TintedSlider(QColor tint, QWidget* parent = nullptr);

    QColor tint() const { return m_tint; }

    /// Centre of the knob along x, in widget coordinates, for a slider position.
    double xForPosition(int position) const;
    /// The slider position under x.
    int positionAt(double x) const;

    /// Position for `value` in lower...upper, clamped to the track; and the reverse.
    static int positionFor(double value, double lower, double upper);
    static double valueAt(int position, double lower, double upper);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QColor m_tint;
    double m_grabOffset = 0.0;
};

} // namespace velmora::ui
