#pragma once

#include "layers/PlacedLayer.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace velmora {

/// Where the planet's square lies inside the canvas view. Canvas coordinates are
/// logical pixels with the origin at the view's top-left and y down.
struct CanvasFrame {
    double side = 0.0;
    QPointF origin;

    /// The largest square that fits `view`, centred on the axis with room to spare;
    /// no rounding.
    static CanvasFrame fit(QSizeF view);
    /// The same square for an area that starts at `area`'s top-left.
    static CanvasFrame fit(const QRectF& area);

    QRectF square() const { return {origin, QSizeF(side, side)}; }
    /// A normalised square point (0..1, y down) in canvas coordinates.
    QPointF toCanvas(NormalizedPoint p) const;
    /// A canvas point as a normalised square point; not clamped.
    NormalizedPoint toNormalized(QPointF canvasPoint) const;

    bool operator==(const CanvasFrame&) const = default;
};

/// A layer's artwork frame on the canvas: centre, size and turn (degrees clockwise).
struct LayerBox {
    QPointF center;
    double width = 0.0;
    double height = 0.0;
    double rotation = 0.0;

    /// A canvas point in the layer's own frame: origin at its centre, axes turned
    /// with it, so the unrotated box is (-w/2, -h/2, w, h).
    QPointF toLocal(QPointF canvasPoint) const;
    QPointF toCanvas(QPointF localPoint) const;
    /// The axis-aligned bounds of `localRect` turned into canvas coordinates.
    QRectF canvasBounds(const QRectF& localRect) const;
};

/// The box of `layer` drawn on `frame`: scale x side wide, `aspect` (height over
/// width) times that tall.
LayerBox layerBox(const PlacedLayer& layer, double aspect, const CanvasFrame& frame);

/// The parts of a layer's chrome a pointer can land on.
enum class ChromePart { none, body, resizeHandle, rotationHandle, deleteBadge };

/// A corner of a layer's box, in its own (turned) frame.
enum class Corner { topRight, topLeft, bottomRight, bottomLeft };

/// Where a selected layer's controls sit. By default the badge is on the top-right
/// corner, the resize handle on the bottom-right and the rotation handle above the
/// top edge; a control that would fall outside the view moves to a corner (or, for
/// the rotation handle, the edge) that is in view, so a layer pushed past the edge
/// of the canvas can still be turned, resized and deleted.
struct ChromeLayout {
    Corner badge = Corner::topRight;
    Corner resize = Corner::bottomRight;
    bool knobBelow = false;

    bool operator==(const ChromeLayout&) const = default;
};

/// Chrome measurements, in the layer's own frame, in logical pixels.
namespace chrome {
inline constexpr double padSide = 12.0;
inline constexpr double padTopBottom = 34.0;
inline constexpr double handleDiameter = 12.0;
inline constexpr double handleSlop = 8.0; ///< handles answer this far outside their frame
inline constexpr double badgeDiameter = 16.0;
inline constexpr double badgeSlop = 6.0;
inline constexpr double stemLength = 14.0;
inline constexpr double outlineWidth = 1.5;

/// The whole grabbable area: the box padded 12 left and right, 34 above and below.
QRectF hitArea(double w, double h);
/// Where the resize handle is drawn (centred on its corner) and answers.
QRectF resizeHandle(double w, double h, Corner corner = Corner::bottomRight);
QRectF resizeHandleHit(double w, double h, Corner corner = Corner::bottomRight);
/// The rotation handle: a circle 20 beyond the top edge (or the bottom edge) on a
/// stem back to that edge.
QRectF rotationKnob(double w, double h, bool below = false);
QRectF rotationStem(double w, double h, bool below = false);
QRectF rotationHandleHit(double w, double h, bool below = false);
/// The delete badge, centred on its corner.
QRectF deleteBadge(double w, double h, Corner corner = Corner::topRight);
QRectF deleteBadgeHit(double w, double h, Corner corner = Corner::topRight);
} // namespace chrome

/// Where the controls of a layer with `box` go so that each lies inside `view`
/// (canvas coordinates) if any place for it does; the default places otherwise.
ChromeLayout chromeLayout(const LayerBox& box, const QRectF& view);

/// What a canvas point hits on one layer. Handles and the badge exist only when the
/// layer is selected, and take precedence over the body inside their areas.
ChromePart hitTest(const LayerBox& box, QPointF canvasPoint, bool selected,
                   const ChromeLayout& layout = {});

// The gestures' arithmetic.

/// A move drag: the start centre plus the drag's translation in square units.
NormalizedPoint movedCenter(NormalizedPoint start, QPointF translation, double side);
/// A resize: the start scale times the pointer's distance over the start distance
/// (itself at least 1), kept within [0.02, 2.0].
double resizedScale(double startScale, double startDistance, double distance);
/// The rotation handle: the layer's top faces the pointer. Straight above gives 0,
/// right 90, below 180, left -90. A handle below the layer turns its bottom to the
/// pointer instead.
double handleRotation(QPointF center, QPointF pointer, bool knobBelow = false);

} // namespace velmora
