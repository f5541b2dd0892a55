#pragma once

#include <QString>
#include <QUrl>

namespace velmora {

/// One artwork file offered by the layer library.
struct LayerAsset {
    /// Category + "/" + file name with extension, e.g. "Glows/Glows_sun.png".
    QString id;
    /// File name without extension, category prefix ("Glows_") removed.
    QString name;
    QString category;
    /// Location of the PNG file.
    QUrl url;

    QString filePath() const { return url.toLocalFile(); }

    bool operator==(const LayerAsset&) const = default;
};

} // namespace velmora
