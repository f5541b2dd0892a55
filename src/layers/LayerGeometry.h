#pragma once

#include "layers/PlacedLayer.h"

#include <QSizeF>
#include <QTransform>

namespace velmora {

/// Where a layer's artwork lands in a square of `side` pixels (or points): maps
/// artwork coordinates (origin at its top-left, y down, w x h) to square coordinates
/// (origin at the square's top-left, y down). In order: mirror about the artwork's
/// own vertical axis if flipped, scale to `scale` x side wide, centre on the origin,
/// turn `rotation` degrees clockwise, move to the layer's centre. The export and the
/// canvas both draw with it, so they agree.
QTransform layerTransform(const PlacedLayer& layer, QSizeF artworkSize, double side);

/// Height over width of the artwork, or 1 when its width is not positive.
double artworkAspect(QSizeF artworkSize);

} // namespace velmora
