#pragma once

#include <QColor>

namespace velmora::style {

/// The fixed colours every view uses (sRGB, opaque unless stated).
namespace Palette {
inline const QColor background = QColor::fromRgbF(0.04f, 0.045f, 0.06f);
inline const QColor panel = QColor::fromRgbF(0.055f, 0.06f, 0.08f);
inline const QColor control = QColor::fromRgbF(0.11f, 0.12f, 0.145f);
inline const QColor controlRaised = QColor::fromRgbF(0.17f, 0.18f, 0.215f);
inline const QColor accent = QColor::fromRgbF(0.45f, 0.79f, 0.96f);
inline const QColor warm = QColor::fromRgbF(0.98f, 0.72f, 0.38f);
inline const QColor hairline = QColor::fromRgbF(1.f, 1.f, 1.f, 0.1f);
/// Text and symbols of actions that lose something (delete, replace).
inline const QColor destructive = QColor::fromRgbF(1.0f, 0.45f, 0.45f);

/// Text colours of the dark look, as the platform's label hierarchy has them.
inline const QColor primaryText = QColor::fromRgbF(1.f, 1.f, 1.f, 0.85f);
inline const QColor secondaryText = QColor::fromRgbF(0.92f, 0.92f, 0.96f, 0.55f);
inline const QColor tertiaryText = QColor::fromRgbF(0.92f, 0.92f, 0.96f, 0.3f);
/// Colour a colour at an opacity.
inline QColor withAlpha(QColor c, double alpha) {
    c.setAlphaF(static_cast<float>(alpha));
    return c;
}
} // namespace Palette

} // namespace velmora::style
