#pragma once

#include "canvas/CanvasGeometry.h"
#include "canvas/LayerChrome.h"
#include "layers/PlacedLayer.h"

#include <QHash>
#include <QPixmap>
#include <QStringView>
#include <QUuid>
#include <QWidget>

class QTimer;

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

    /// The square, fitted inside the contents margins. The chrome is drawn and
    /// answers over the whole widget, margins included, so handles that stick out of
    /// the square stay usable up to the widget's edge.
    CanvasFrame frame() const { return CanvasFrame::fit(QRectF(contentsRect())); }
    /// Where a layer's artwork lies on the canvas now.
    LayerBox boxOf(const PlacedLayer& layer) const;
    /// Where its controls go: in view, anywhere on the canvas.
    ChromeLayout chromeLayoutOf(const LayerBox& box) const;
    /// The topmost layer whose chrome is under `point`, with the part hit.
    std::pair<QUuid, ChromePart> hitAt(QPointF point) const;

    /// The cache key of the preview the last paint showed.
    qint64 shownPreviewKey() const { return m_previewKey; }

    /// Nudges made with less than this pause between them are one undo step.
    static constexpr int nudgePauseMs = 700;
    /// Moves the selected layer by whole canvas pixels, as the arrow keys do.
    void nudgeSelected(QPoint pixels);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
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
        QPointF layerCenter;    ///< canvas centre of the layer when pressed
        bool knobBelow = false; ///< the rotation handle was below the layer
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
    QTimer* m_nudgeRun = nullptr; ///< running while nudges still join one undo step
    QUuid m_nudgeLayer;
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
