#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QRectF>
#include <QString>

class QPainter;

namespace velmora::style {

/// The interface names its pictograms by symbol names ("globe", "xmark", ...). Each
/// maps to one icon of the bundled Phosphor set (MIT licence, resources/icons).

/// The icon file for a symbol, or empty for an unknown symbol.
QString symbolFile(const QString& symbol);

/// Draws the symbol as vectors, fitted into `rect` and tinted, crisp at any scale.
void paintSymbol(QPainter& painter, const QRectF& rect, const QString& symbol, const QColor& color);

/// The symbol as an icon for buttons and menus, drawn at whatever size they ask for
/// (greyed when disabled).
QIcon symbolIcon(const QString& symbol, const QColor& color);

/// Every symbol name the interface uses, for checks that all of them resolve.
QStringList knownSymbols();

} // namespace velmora::style
