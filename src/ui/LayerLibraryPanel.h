#pragma once

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QScrollArea;

namespace velmora {
class PlanetModel;
struct LayerAsset;
} // namespace velmora

namespace velmora::ui {

/// The side panel from which overlay artwork is picked: category chips over a grid of
/// thumbnails. A click on a thumbnail adds the asset at the centre of the planet;
/// dragging one carries dragPayload(id) as plain text to the canvas.
///
/// Its own state is the chosen category, which starts at "All" whenever the panel is
/// shown again. "Add Artwork…" (or image files dropped on the panel) copies files into
/// the user's library, into the chosen category or "My Artwork"; the user's own
/// thumbnails have a menu to remove them again.
class LayerLibraryPanel : public QWidget {
    Q_DECLARE_TR_FUNCTIONS(LayerLibraryPanel)

public:
    static constexpr int panelWidth = 262;

    explicit LayerLibraryPanel(PlanetModel& model, QWidget* parent = nullptr);
    ~LayerLibraryPanel() override;

    /// The category filter; empty means all categories.
    QString category() const { return m_category; }
    void setCategory(const QString& category);
    /// Ids of the assets the grid shows, in order.
    QStringList visibleAssetIDs() const;
    /// Ids whose thumbnails have been decoded so far: only cells that were on screen.
    QStringList loadedThumbnailIDs() const;

    /// The drag text for an asset: "velmora-layer:" followed by its id.
    static QString dragPayload(const QString& assetID);

    /// Copies image files into the user's library and shows them.
    void addArtwork(const QStringList& files);
    /// Moves a user asset's file to the trash (or, with no trash and a yes from
    /// confirmDelete, deletes it); shipped artwork is left alone.
    void removeFromLibrary(const QString& assetID);

    /// How files are chosen and a deletion without trash confirmed; replaced by tests.
    std::function<QStringList()> chooseArtworkFiles;
    std::function<bool(const LayerAsset&)> confirmDelete;
    /// What the panel has to say (artwork added, or refused and why).
    std::function<void(bool failed, const QString& text)> onNotice;

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    class Chip;
    class Cell;
    class Grid;

    void updateChips();
    void rebuild();
    void showCellMenu(const LayerAsset& asset, QPoint globalPos);
    void notify(bool failed, const QString& text);
    QStringList defaultArtworkFiles();
    bool defaultConfirmDelete(const LayerAsset& asset);

    PlanetModel& m_model;
    QString m_category;
    QWidget* m_body = nullptr;
    QList<Chip*> m_chips;
    QScrollArea* m_gridScroller = nullptr;
    Grid* m_grid = nullptr;
};

} // namespace velmora::ui
