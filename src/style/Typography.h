#pragma once

#include <QApplication>
#include <QFont>

#include <cmath>

namespace velmora::style {

/// The interface font at a size in logical pixels, so text keeps its size whatever
/// the screen's dots per inch.
inline QFont uiFont(int pixelSize, QFont::Weight weight = QFont::Normal,
                    double letterSpacing = 0.0) {
    QFont font = QApplication::font();
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    if (letterSpacing != 0.0)
        font.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
    return font;
}

/// Side of the box a symbol is drawn in to match text of `fontSize`: the bundled
/// icons leave a margin inside their frame, so the box is a little larger.
inline int symbolBoxSide(double fontSize) {
    return static_cast<int>(std::lround(fontSize * 1.25));
}

} // namespace velmora::style
