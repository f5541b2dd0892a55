#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>

class QAbstractButton;
class QScrollArea;

namespace velmora {
class PlanetModel;
}

namespace velmora::ui {

/// The side panel from which overlay artwork is picked: category chips over a grid of
/// thumbnails. A click on a thumbnail adds the asset at the centre of the planet;
/// dragging one carries dragPayload(id) as plain text to the canvas.
///
/// Its own state is the chosen category, which starts at "All" whenever the panel is
/// shown again.
class LayerLibraryPanel : public QWidget {
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

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    class Chip;
    class Cell;
    class Grid;

    void updateChips();

    PlanetModel& m_model;
    QString m_category;
    QList<Chip*> m_chips;
    QScrollArea* m_gridScroller = nullptr;
    Grid* m_grid = nullptr;
};

} // namespace velmora::ui
