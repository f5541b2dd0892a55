#pragma once

#include "canvas/CanvasGeometry.h"
#include "canvas/LayerChrome.h"
#include "layers/PlacedLayer.h"

#include <QHash>
#include <QPixmap>
#include <QStringView>
#include <QUuid>
#include <QWidget>

#include <optional>

namespace velmora {

class PlanetModel;

/// The editing surface: the preview fitted as a square, every layer's artwork drawn
/// live over it in list order (clipped to the square, with its mirror, opacity,
/// turn and blend mode), and every layer's chrome above that (not clipped). Layers
/// follow the pointer without rendering the planet again: only the canvas repaints,
/// and only where a layer was or now is.
class PlanetCanvas : public QWidget {
    Q_OBJECT

public:
    /// Plain text "velmora-layer:" + asset id, carried by drags from the library.
    static constexpr QStringView payloadPrefix = u"velmora-layer:";
    /// The asset id in a drop's text, when it starts with the prefix (case-sensitive);
    /// the rest is taken as it is, even when empty.
    static std::optional<QString> assetFromPayload(const QString& text);

    explicit PlanetCanvas(PlanetModel& model, QWidget* parent = nullptr);

    /// The square for the canvas's current size.
    CanvasFrame frame() const { return CanvasFrame::fit(QSizeF(size())); }
    /// Where a layer's artwork lies on the canvas now.
    LayerBox boxOf(const PlacedLayer& layer) const;
    /// The topmost layer whose chrome is under `point`, with the part hit.
    std::pair<QUuid, ChromePart> hitAt(QPointF point) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    /// A press waiting to become a tap or a drag (after one point of movement).
    struct Press {
        QUuid layer;
        ChromePart part = ChromePart::none;
        QPointF at;
        QPointF layerCenter; ///< canvas centre of the layer when pressed
        bool inSquare = false;
        bool dragging = false;
    };

    void paintArtwork(QPainter& painter, const PlacedLayer& layer, const CanvasFrame& frame);
    void onLayersChanged();
    void onSelectionChanged();
    LayerChrome& chromeFor(const QUuid& id);
    double aspectOf(const QString& assetID) const;
    void updateCursor(QPointF point);
    const QPixmap& scaledPreview(const CanvasFrame& frame);

    PlanetModel& m_model;
    QHash<QUuid, LayerChrome> m_chromes;
    std::optional<Press> m_press;
    QUuid m_trackpadLayer;
    double m_trackpadDegrees = 0.0;

    // What was last painted, to repaint only what a change touches.
    QHash<QUuid, QRectF> m_paintedBounds;
    QUuid m_paintedSelection;

    QPixmap m_preview;
    qint64 m_previewKey = 0;
    QSize m_previewSize;
};

} // namespace velmora
