#pragma once

#include "layers/LayerAsset.h"
#include "render/Image.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace velmora {

/// The catalogue of overlay artwork shipped in the resources folder's "Layers"
/// sub-folder. Built once by a synchronous scan; afterwards only its image caches
/// change. Main thread only: the caches have no locks.
class LayerLibrary {
public:
    /// Scans `resourcesRoot`/Layers (or, without it, loose PNGs in `resourcesRoot`).
    /// An empty root means there is no resources folder at all.
    explicit LayerLibrary(const QString& resourcesRoot);

    LayerLibrary(const LayerLibrary&) = delete;
    LayerLibrary& operator=(const LayerLibrary&) = delete;

    /// Category names in scan order; not de-duplicated.
    const QStringList& categories() const { return m_categories; }
    /// All assets, category after category, each category in file order.
    const QList<LayerAsset>& assets() const { return m_assets; }
    /// Every asset whose category equals `category`, in library order.
    QList<LayerAsset> assets(const QString& category) const;
    /// The first asset with this id, or null. The pointer stays valid for the
    /// library's life: the catalogue never changes after the scan.
    const LayerAsset* asset(const QString& id) const;

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
    void scanLayersFolder(const QString& folder);
    void scanLoosePNGs(const QString& root);
    void addCategory(const QString& name, const QStringList& files);

    QStringList m_categories;
    QList<LayerAsset> m_assets;
    QHash<QString, QImage> m_displayCache;
    QHash<QString, QList<QImage>> m_displayLevels; ///< halvings of each display image
    QHash<QString, render::Image> m_renderCache;
};

} // namespace velmora
