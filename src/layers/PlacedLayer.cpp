#include "layers/PlacedLayer.h"

#include "layers/LayerAsset.h"

#include <array>

namespace velmora {

bool isScreenCategory(const QString& category) {
    static const std::array<QString, 6> screenCategories{
        QStringLiteral("overlays"),   QStringLiteral("overlay"), QStringLiteral("lens flares"),
        QStringLiteral("lensflares"), QStringLiteral("flares"),  QStringLiteral("glows")};
    const QString lowered = category.toLower();
    for (const QString& word : screenCategories) {
        if (lowered == word)
            return true;
    }
    return false;
}

PlacedLayer placeAsset(const LayerAsset& asset, NormalizedPoint at) {
    PlacedLayer layer;
    layer.id = QUuid::createUuid();
    layer.assetID = asset.id;
    // std::clamp would pass NaN through; a NaN point lands on the origin instead.
    layer.center = {at.x > 0.0 ? (at.x < 1.0 ? at.x : 1.0) : 0.0,
                    at.y > 0.0 ? (at.y < 1.0 ? at.y : 1.0) : 0.0};
    layer.blendMode =
        isScreenCategory(asset.category) ? LayerBlendMode::screen : LayerBlendMode::normal;
    return layer;
}

} // namespace velmora
