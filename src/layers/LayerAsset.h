#pragma once

#include <QString>
#include <QUrl>

namespace velmora {

/// One artwork file offered by the layer library.
struct LayerAsset {
    /// Category + "/" + file name with extension, e.g. "Glows/Glows_sun.png"; the
    /// user's own artwork has "user/" before that ("user/My Artwork/logo.png").
    QString id;
    /// File name without extension, category prefix ("Glows_") removed.
    QString name;
    QString category;
    /// Location of the PNG file.
    QUrl url;
    /// From the user's library (which the user may remove from), not shipped.
    bool isUser = false;

    QString filePath() const { return url.toLocalFile(); }

    bool operator==(const LayerAsset&) const = default;
};

} // namespace velmora
