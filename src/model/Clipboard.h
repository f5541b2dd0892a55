#pragma once

#include "render/Image.h"
#include "render/Result.h"

#include <QImage>

namespace velmora {

/// The picture on the clipboard: PNG data first, then TIFF data, then an image
/// object. Fails when there is none or no clipboard at all (without a GUI
/// application, as on the command line).
Result<render::Image> imageFromClipboard();

/// Puts `pixels` (straight RGBA) on the clipboard as PNG and, where it can be made,
/// TIFF.
Status copyImageToClipboard(const QImage& pixels);

} // namespace velmora
