#pragma once

#include <QImage>
#include <QString>

#include <functional>
#include <vector>

namespace layerart {

/// One shipped artwork: written to Layers/<category>/<category>_<name>.png, so the
/// library shows it as `name`. Names are chosen to read well in code-point order.
struct Asset {
    QString category;
    QString name;
    std::function<QImage()> make;

    QString fileName() const { return category + QLatin1Char('_') + name + QStringLiteral(".png"); }
};

std::vector<Asset> glowAssets();
std::vector<Asset> flareAssets();
std::vector<Asset> overlayAssets();
std::vector<Asset> stickerAssets();

/// Every asset, category after category.
std::vector<Asset> catalogue();

} // namespace layerart
