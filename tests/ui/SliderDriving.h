#pragma once

#include "ui/TintedSlider.h"

#include <QTest>

#include <gtest/gtest.h>

#include <initializer_list>

namespace velmora::test {

/// The x coordinate in `slider` whose knob position is exactly `position`, or -1.
/// A slider whose track spans at least `resolution` pixels reaches every position.
inline int xAt(const ui::TintedSlider& slider, int position) {
    for (int x = 0; x < slider.width(); ++x) {
        if (slider.positionAt(x) == position)
            return x;
    }
    return -1;
}

/// The x coordinate whose position is nearest to `position`.
inline int nearestX(const ui::TintedSlider& slider, int position) {
    int best = 0;
    for (int x = 1; x < slider.width(); ++x) {
        if (std::abs(slider.positionAt(x) - position) <
            std::abs(slider.positionAt(best) - position))
            best = x;
    }
    return best;
}

/// Presses the knob where it is, moves the pointer to each x in turn and releases.
inline void dragKnob(ui::TintedSlider& slider, std::initializer_list<int> xs) {
    const QPoint knob(static_cast<int>(std::lround(slider.xForPosition(slider.sliderPosition()))),
                      slider.height() / 2);
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, knob);
    QPoint last = knob;
    for (const int x : xs) {
        last = QPoint(x, slider.height() / 2);
        QTest::mouseMove(&slider, last);
    }
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, last);
}

} // namespace velmora::test
