#pragma once

#include "canvas/CanvasGeometry.h"

#include <QPointF>
#include <QUuid>

#include <optional>

class QPainter;

namespace velmora {

class PlanetModel;

/// The interaction layer over one placed layer: it draws the selection outline,
/// handles and delete badge, and runs the gestures that move, resize and turn the
/// layer. Each gesture records history once, at its first change, and then writes
/// the layer's field straight into the model, found by id at every change. The
/// canvas keeps one chrome per layer id, so gesture state lives as long as the layer.
class LayerChrome {
public:
    explicit LayerChrome(QUuid layerID)
        : m_id(layerID) {}

    QUuid layerID() const { return m_id; }

    /// Move drag: `translation` is the pointer's total movement since the drag began.
    void moveChanged(PlanetModel& model, QPointF translation, double side);
    void moveEnded() { m_dragStartCenter.reset(); }

    /// Resize handle: the scale follows the pointer's distance from `center`.
    void resizeChanged(PlanetModel& model, QPointF center, QPointF pointer);
    void resizeEnded() { m_resizeStart.reset(); }

    /// Rotation handle: the layer's top (its bottom, for a handle below it) turns to
    /// face the pointer.
    void rotateChanged(PlanetModel& model, QPointF center, QPointF pointer, bool knobBelow = false);
    void rotateEnded() { m_rotateStarted = false; }

    /// Two-finger rotation: `degrees` turned since the gesture began, clockwise.
    void trackpadChanged(PlanetModel& model, double degrees);
    void trackpadEnded() { m_trackpadRotateStart.reset(); }

    bool isGestureActive() const {
        return m_dragStartCenter || m_resizeStart || m_rotateStarted || m_trackpadRotateStart;
    }

    /// Draws the chrome of a layer with `box`, its controls placed by `layout`; only a
    /// selected layer shows any.
    static void paint(QPainter& painter, const LayerBox& box, bool selected,
                      const ChromeLayout& layout = {});

    /// Canvas area the chrome (and its artwork) may paint, for partial repaints.
    static QRectF paintBounds(const LayerBox& box);

private:
    QUuid m_id;
    std::optional<NormalizedPoint> m_dragStartCenter;
    struct ResizeStart {
        double scale;
        double distance;
    };
    std::optional<ResizeStart> m_resizeStart;
    bool m_rotateStarted = false;
    std::optional<double> m_trackpadRotateStart;
};

} // namespace velmora
