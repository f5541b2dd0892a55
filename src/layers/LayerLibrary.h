#pragma once

#include "layers/LayerAsset.h"
#include "render/Image.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace velmora {

/// The catalogue of overlay artwork: what ships in the resources folder's "Layers"
/// sub-folder, then the user's own artwork from a folder with the same rules (one
/// sub-folder per category). A user category named like a shipped one joins it.
/// Built by synchronous scans; afterwards only the image caches change, and the
/// user's part when it is scanned again. Main thread only: the caches have no locks.
class LayerLibrary {
public:
    /// Ids of the user's artwork start with this; a shipped id has a single slash, so
    /// the two never meet.
    static constexpr QStringView userPrefix = u"user/";

    /// Scans `resourcesRoot`/Layers (or, without it, loose PNGs in `resourcesRoot`),
    /// then `userFolder` when given. An empty root means there is no resources
    /// folder at all; a user folder that is missing or unreadable adds nothing.
    explicit LayerLibrary(const QString& resourcesRoot, const QString& userFolder = {});

    LayerLibrary(const LayerLibrary&) = delete;
    LayerLibrary& operator=(const LayerLibrary&) = delete;

    /// Category names in scan order; not de-duplicated.
    const QStringList& categories() const { return m_categories; }
    /// All assets, category after category, each category in file order.
    const QList<LayerAsset>& assets() const { return m_assets; }
    /// Every asset whose category equals `category`, in library order.
    QList<LayerAsset> assets(const QString& category) const;
    /// The first asset with this id, or null. The pointer stays valid until the user
    /// folder is scanned again.
    const LayerAsset* asset(const QString& id) const;

    const QString& userFolder() const { return m_userFolder; }
    /// Scans the user folder again (after artwork was added or removed); the shipped
    /// artwork and its caches stay as they are.
    void rescanUserFolder();
    /// Offers an image file by its path, as the command line's --layer does: an asset
    /// whose id is the file's absolute path, in no category. Null when the path is not
    /// a regular file.
    const LayerAsset* addFile(const QString& path);

    /// The decoded artwork for on-screen use (premultiplied ARGB32, ready to paint),
    /// decoded at most once; a null image when the id is unknown or the file does
    /// not decode. Failures are not remembered, so a later call tries again.
    QImage displayImage(const QString& id);

    /// The display image reduced by halves to the smallest version still at least
    /// `minWidth` pixels wide (the full image when it is narrower), so drawing it
    /// small does not alias. Each reduction is made once and kept.
    QImage displayImage(const QString& id, int minWidth);

    /// The decoded artwork for the renderer (kept at 16 bits when the file has them),
    /// by the same rule: decoded once, failures not remembered.
    std::optional<render::Image> renderImage(const QString& id);

    /// The order in which the library lists files and categories: Unicode scalar
    /// values after canonical composition, case-sensitive, not locale- or
    /// number-aware ("B.png" < "a.png", "10.png" < "2.png").
    static bool fileOrderLess(const QString& a, const QString& b);

private:
    void scanLayersFolder(const QString& folder, bool user);
    void scanLoosePNGs(const QString& root);
    void addCategory(const QString& name, const QStringList& files, bool user);
    void forget(const QString& id);

    QStringList m_categories;
    QList<LayerAsset> m_assets;
    QString m_userFolder;
    qsizetype m_shippedAssets = 0;
    qsizetype m_shippedCategories = 0;
    QHash<QString, QImage> m_displayCache;
    QHash<QString, QList<QImage>> m_displayLevels; ///< halvings of each display image
    QHash<QString, render::Image> m_renderCache;
};

} // namespace velmora
