#pragma once

#include "layers/LayerAsset.h"
#include "render/Result.h"

#include <QString>
#include <QStringList>

namespace velmora {

// The user's own artwork: files copied into the user library folder (one sub-folder
// per category), where the layer library finds them beside the shipped art.

/// The category imported artwork goes to unless another is chosen.
inline constexpr QStringView defaultArtworkCategory = u"My Artwork";
/// Longer side, in pixels, an SVG is drawn at when imported: sharp at half the width
/// of an 8192 planet.
inline constexpr int svgImportSide = 4096;

/// File name suffixes Add Artwork offers (lower case, without the dot).
QStringList artworkImportSuffixes();

struct ArtworkImport {
    QStringList added;   ///< files written into the library
    QStringList refused; ///< one message per file that was not added, naming it
};

/// Copies each of `files` into `category` of `userFolder`: a PNG as it is, anything
/// else (SVG, WebP, JPEG, TIFF) decoded and written as PNG, an SVG drawn at
/// svgImportSide first. A name already taken gets " 2", " 3", ... Every file is
/// written whole or not at all; one that does not decode is refused and the rest
/// still come in.
ArtworkImport importArtwork(const QStringList& files, const QString& category,
                            const QString& userFolder);

/// How a removal from the library went.
enum class ArtworkRemoval { trashed, noTrash, failed };

/// Moves the file of a user asset to the desktop trash (the freedesktop.org trash
/// layout, as Qt implements it). noTrash when there is no trash to move it to: the
/// caller may ask, then deleteArtwork(). Shipped artwork is never touched.
ArtworkRemoval trashArtwork(const LayerAsset& asset);
/// Deletes the file of a user asset for good.
Status deleteArtwork(const LayerAsset& asset);

} // namespace velmora
