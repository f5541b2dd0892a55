#pragma once

#include <QWidget>

namespace velmora::ui {

/// Whether a control should draw its focus ring: only once the user moves focus with
/// the keyboard, so a window that merely gave its first button focus shows none.
inline bool showsFocusRing(const QWidget& widget) {
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

} // namespace velmora::ui
