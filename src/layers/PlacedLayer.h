#pragma once

#include "layers/LayerBlendMode.h"

#include <QString>
#include <QUuid>

namespace velmora {

/// A point in normalised square coordinates: (0, 0) is the top-left corner of the
/// square planet image, (1, 1) the bottom-right, y grows downward. Compared exactly
/// (QPointF compares fuzzily, which undo snapshots must not).
struct NormalizedPoint {
    double x = 0.0;
    double y = 0.0;

    bool operator==(const NormalizedPoint&) const = default;
};

/// One artwork placed on the planet. Value type: copies are independent.
struct PlacedLayer {
    QUuid id;
    QString assetID;
    /// Centre of the layer, normalised; may lie outside [0, 1] after a drag.
    NormalizedPoint center;
    /// Drawn width as a fraction of the square's side; height follows the aspect.
    double scale = 0.25;
    /// Degrees about the centre, positive clockwise on screen, not normalised.
    double rotation = 0.0;
    /// Multiplies the artwork's alpha, 0 to 1.
    double opacity = 1.0;
    /// Mirrored left-to-right about its own vertical axis before scale and rotation.
    bool flipped = false;
    LayerBlendMode blendMode = LayerBlendMode::normal;

    bool operator==(const PlacedLayer&) const = default;
};

/// True when a new layer from this category starts in screen mode. The category is
/// lower-cased but not trimmed, so "glows " does not count.
bool isScreenCategory(const QString& category);

struct LayerAsset;

/// A new layer of `asset` as clicking or dropping it makes one: a fresh id, centred
/// at `at` clamped into the square, and the blend mode its category starts in.
PlacedLayer placeAsset(const LayerAsset& asset, NormalizedPoint at);

} // namespace velmora
