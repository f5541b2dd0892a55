#pragma once

#include <QImage>
#include <QString>

namespace layerart {

/// A photograph stand-in: sky fading into a textured green field, so art can be
/// judged on something that looks like a picture.
QImage photoBackground(int width, int height);

/// Composites `art` (any format) stretched over `target` of `canvas` (opaque) with
/// the program's render engine, as an export would: screen or normal.
void compose(QImage& canvas, const QImage& art, const QRect& target, bool screen);

/// The library panel's backdrop: dark checkerboard of greys 0.07 and 0.105.
QImage checkerboard(int width, int height, int cell);

/// One review sheet for an asset: on black, white (normal blending), the photo in
/// its own mode and in normal mode, a 1:1 crop of its centre, and library-size
/// thumbnails. Returns false when the file cannot be read or written.
bool writePreview(const QString& assetPath, const QString& category, const QString& outPath);

/// Every asset of the library at `resourcesRoot` on a thumbnail tile with its
/// category and name. Needs a QGuiApplication for text.
bool writeContactSheet(const QString& resourcesRoot, const QString& outPath);

} // namespace layerart
