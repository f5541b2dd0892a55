#include "layers/LayerGeometry.h"

namespace velmora {

QTransform layerTransform(const PlacedLayer& layer, QSizeF artworkSize, double side) {
    const double w = artworkSize.width();
    const double h = artworkSize.height();
    const double k = layer.scale * side / w;
    // QTransform composes left to right: each factor applies after the previous one.
    QTransform t;
    if (layer.flipped)
        t = QTransform(-1, 0, 0, 1, w, 0);
    t *= QTransform::fromScale(k, k);
    t *= QTransform::fromTranslate(-w * k / 2.0, -h * k / 2.0);
    QTransform turn;
    turn.rotate(layer.rotation); // y down: a positive angle turns clockwise on screen
    t *= turn;
    t *= QTransform::fromTranslate(layer.center.x * side, layer.center.y * side);
    return t;
}

double artworkAspect(QSizeF artworkSize) {
    return artworkSize.width() > 0.0 ? artworkSize.height() / artworkSize.width() : 1.0;
}

} // namespace velmora
