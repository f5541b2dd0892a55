#include "Catalogue.h"

namespace layerart {

std::vector<Asset> catalogue() {
    std::vector<Asset> all;
    for (auto part : {glowAssets, flareAssets, overlayAssets, stickerAssets}) {
        std::vector<Asset> assets = part();
        all.insert(all.end(), assets.begin(), assets.end());
    }
    return all;
}

} // namespace layerart
