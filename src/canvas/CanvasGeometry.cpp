#include "canvas/CanvasGeometry.h"

#include "layers/Angles.h"

#include <QTransform>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velmora {

CanvasFrame CanvasFrame::fit(QSizeF view) {
    const double w = view.width();
    const double h = view.height();
    const double side = h < w ? h : w;
    return {side, QPointF((w - side) * 0.5, (h - side) * 0.5)};
}

CanvasFrame CanvasFrame::fit(const QRectF& area) {
    CanvasFrame f = fit(area.size());
    f.origin += area.topLeft();
    return f;
}

QPointF CanvasFrame::toCanvas(NormalizedPoint p) const {
    return {origin.x() + p.x * side, origin.y() + p.y * side};
}

NormalizedPoint CanvasFrame::toNormalized(QPointF canvasPoint) const {
    return {(canvasPoint.x() - origin.x()) / side, (canvasPoint.y() - origin.y()) / side};
}

QPointF LayerBox::toLocal(QPointF canvasPoint) const {
    const double a = rotation * std::numbers::pi / 180.0;
    const QPointF d = canvasPoint - center;
    // Undo a clockwise turn (y down) of `rotation` degrees.
    return {d.x() * std::cos(a) + d.y() * std::sin(a), -d.x() * std::sin(a) + d.y() * std::cos(a)};
}

QPointF LayerBox::toCanvas(QPointF local) const {
    const double a = rotation * std::numbers::pi / 180.0;
    return center + QPointF(local.x() * std::cos(a) - local.y() * std::sin(a),
                            local.x() * std::sin(a) + local.y() * std::cos(a));
}

QRectF LayerBox::canvasBounds(const QRectF& localRect) const {
    QTransform t;
    t.translate(center.x(), center.y());
    t.rotate(rotation);
    return t.mapRect(localRect);
}

LayerBox layerBox(const PlacedLayer& layer, double aspect, const CanvasFrame& frame) {
    const double w = layer.scale * frame.side;
    return {frame.toCanvas(layer.center), w, aspect * w, layer.rotation};
}

namespace chrome {

QRectF hitArea(double w, double h) {
    return {-w / 2 - padSide, -h / 2 - padTopBottom, w + 2 * padSide, h + 2 * padTopBottom};
}

namespace {

/// A corner's position in the layer's frame.
QPointF cornerPoint(double w, double h, Corner corner) {
    const bool right = corner == Corner::topRight || corner == Corner::bottomRight;
    const bool top = corner == Corner::topRight || corner == Corner::topLeft;
    return {right ? w / 2 : -w / 2, top ? -h / 2 : h / 2};
}

QRectF centredOn(QPointF p, double diameter) {
    return {p.x() - diameter / 2, p.y() - diameter / 2, diameter, diameter};
}

} // namespace

QRectF resizeHandle(double w, double h, Corner corner) {
    return centredOn(cornerPoint(w, h, corner), handleDiameter);
}

QRectF resizeHandleHit(double w, double h, Corner corner) {
    return resizeHandle(w, h, corner).adjusted(-handleSlop, -handleSlop, handleSlop, handleSlop);
}

QRectF rotationKnob(double w, double h, bool below) {
    (void)w;
    // The knob's centre lies 20 beyond the edge.
    return centredOn({0.0, below ? h / 2 + 20.0 : -h / 2 - 20.0}, handleDiameter);
}

QRectF rotationStem(double w, double h, bool below) {
    (void)w;
    return {-0.75, below ? h / 2 : -h / 2 - stemLength, 1.5, stemLength};
}

QRectF rotationHandleHit(double w, double h, bool below) {
    (void)w;
    // The 12 x 26 stack from the edge out to 26 beyond it, grown by 8.
    return QRectF(-handleDiameter / 2, below ? h / 2 : -h / 2 - 26.0, handleDiameter, 26.0)
        .adjusted(-handleSlop, -handleSlop, handleSlop, handleSlop);
}

QRectF deleteBadge(double w, double h, Corner corner) {
    return centredOn(cornerPoint(w, h, corner), badgeDiameter);
}

QRectF deleteBadgeHit(double w, double h, Corner corner) {
    return deleteBadge(w, h, corner).adjusted(-badgeSlop, -badgeSlop, badgeSlop, badgeSlop);
}

} // namespace chrome

ChromeLayout chromeLayout(const LayerBox& box, const QRectF& view) {
    const double w = box.width;
    const double h = box.height;
    const auto inView = [&](const QRectF& local) { return view.contains(box.canvasBounds(local)); };
    ChromeLayout layout;
    layout.knobBelow =
        !inView(chrome::rotationKnob(w, h, false)) && inView(chrome::rotationKnob(w, h, true));
    // The badge first: deleting is the way out for a layer that went astray.
    constexpr Corner badgeOrder[] = {Corner::topRight, Corner::topLeft, Corner::bottomRight,
                                     Corner::bottomLeft};
    constexpr Corner resizeOrder[] = {Corner::bottomRight, Corner::bottomLeft, Corner::topRight,
                                      Corner::topLeft};
    for (const Corner c : badgeOrder) {
        if (inView(chrome::deleteBadge(w, h, c))) {
            layout.badge = c;
            break;
        }
    }
    const Corner fallback =
        layout.badge == Corner::bottomRight ? Corner::bottomLeft : Corner::bottomRight;
    layout.resize = fallback;
    for (const Corner c : resizeOrder) {
        if (c != layout.badge && inView(chrome::resizeHandle(w, h, c))) {
            layout.resize = c;
            break;
        }
    }
    return layout;
}

ChromePart hitTest(const LayerBox& box, QPointF canvasPoint, bool selected,
                   const ChromeLayout& layout) {
    const QPointF p = box.toLocal(canvasPoint);
    const double w = box.width;
    const double h = box.height;
    if (selected) {
        if (chrome::deleteBadgeHit(w, h, layout.badge).contains(p))
            return ChromePart::deleteBadge;
        if (chrome::resizeHandleHit(w, h, layout.resize).contains(p))
            return ChromePart::resizeHandle;
        if (chrome::rotationHandleHit(w, h, layout.knobBelow).contains(p))
            return ChromePart::rotationHandle;
    }
    return chrome::hitArea(w, h).contains(p) ? ChromePart::body : ChromePart::none;
}

NormalizedPoint movedCenter(NormalizedPoint start, QPointF translation, double side) {
    return {start.x + translation.x() / side, start.y + translation.y() / side};
}

double resizedScale(double startScale, double startDistance, double distance) {
    double scale = startScale * (distance / std::max(startDistance, 1.0));
    if (!(scale > 0.02))
        scale = 0.02;
    if (scale > 2.0)
        scale = 2.0;
    return scale;
}

double handleRotation(QPointF center, QPointF pointer, bool knobBelow) {
    const double angle =
        std::atan2(pointer.y() - center.y(), pointer.x() - center.x()) * 180.0 / std::numbers::pi;
    return normalizedDegrees(angle + (knobBelow ? -90.0 : 90.0));
}

} // namespace velmora
