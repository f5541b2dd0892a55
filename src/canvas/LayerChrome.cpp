#include "canvas/LayerChrome.h"

#include "layers/Angles.h"
#include "model/PlanetModel.h"
#include "style/Palette.h"
#include "style/Symbols.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace velmora {

using style::Palette::accent;

void LayerChrome::moveChanged(PlanetModel& model, QPointF translation, double side) {
    if (!m_dragStartCenter) {
        const std::optional<PlacedLayer> layer = model.layer(m_id);
        if (!layer)
            return;
        m_dragStartCenter = layer->center;
        model.setSelectedLayerID(m_id);
        model.recordHistory();
    }
    const NormalizedPoint start = *m_dragStartCenter;
    model.updateLayer(m_id,
                      [&](PlacedLayer& l) { l.center = movedCenter(start, translation, side); });
}

void LayerChrome::resizeChanged(PlanetModel& model, QPointF center, QPointF pointer) {
    const double distance = std::hypot(pointer.x() - center.x(), pointer.y() - center.y());
    if (!m_resizeStart) {
        const std::optional<PlacedLayer> layer = model.layer(m_id);
        if (!layer)
            return;
        m_resizeStart = ResizeStart{layer->scale, std::max(distance, 1.0)};
        model.recordHistory();
    }
    const ResizeStart start = *m_resizeStart;
    model.updateLayer(m_id, [&](PlacedLayer& l) {
        l.scale = resizedScale(start.scale, start.distance, distance);
    });
}

void LayerChrome::rotateChanged(PlanetModel& model, QPointF center, QPointF pointer,
                                bool knobBelow) {
    if (!m_rotateStarted) {
        m_rotateStarted = true;
        model.recordHistory();
    }
    model.updateLayer(
        m_id, [&](PlacedLayer& l) { l.rotation = handleRotation(center, pointer, knobBelow); });
}

void LayerChrome::trackpadChanged(PlanetModel& model, double degrees) {
    if (!m_trackpadRotateStart) {
        const std::optional<PlacedLayer> layer = model.layer(m_id);
        if (!layer)
            return;
        m_trackpadRotateStart = layer->rotation;
        model.setSelectedLayerID(m_id);
        model.recordHistory();
    }
    const double start = *m_trackpadRotateStart;
    model.updateLayer(m_id,
                      [&](PlacedLayer& l) { l.rotation = normalizedDegrees(degrees + start); });
}

void LayerChrome::paint(QPainter& painter, const LayerBox& box, bool selected,
                        const ChromeLayout& layout) {
    if (!selected)
        return;
    const double w = box.width;
    const double h = box.height;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(box.center);
    painter.rotate(box.rotation);

    QPen outline(accent, chrome::outlineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    outline.setMiterLimit(10);
    painter.setPen(outline);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(-w / 2, -h / 2, w, h));

    const QPen handleEdge(QColor::fromRgbF(0, 0, 0, 0.55f), 1.0);
    // Resize handle on its corner (the bottom-right unless that is out of view).
    painter.setPen(handleEdge);
    painter.setBrush(accent);
    painter.drawEllipse(chrome::resizeHandle(w, h, layout.resize));

    // Rotation handle: stem, then the knob with its circular arrows.
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Palette::withAlpha(accent, 0.8));
    painter.drawRect(chrome::rotationStem(w, h, layout.knobBelow));
    const QRectF knob = chrome::rotationKnob(w, h, layout.knobBelow);
    painter.setPen(handleEdge);
    painter.setBrush(accent);
    painter.drawEllipse(knob);
    style::paintSymbol(painter, knob.adjusted(2.5, 2.5, -2.5, -2.5),
                       QStringLiteral("arrow.triangle.2.circlepath"),
                       QColor::fromRgbF(0, 0, 0, 0.75f));

    // Delete badge on its corner (the top-right unless that is out of view).
    const QRectF badge = chrome::deleteBadge(w, h, layout.badge);
    painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, 0.5f), 1.0));
    painter.setBrush(QColor::fromRgbF(0.86f, 0.25f, 0.3f));
    painter.drawEllipse(badge);
    style::paintSymbol(painter, badge.adjusted(4, 4, -4, -4), QStringLiteral("xmark"), Qt::white);
    painter.restore();
}

QRectF LayerChrome::paintBounds(const LayerBox& box) {
    // The padded area covers the rotation handle; the corner badge and handle reach
    // a little beyond it sideways. Two pixels more for antialiasing.
    return box.canvasBounds(chrome::hitArea(box.width, box.height).adjusted(-8, -2, 8, 2))
        .adjusted(-2, -2, 2, 2);
}

} // namespace velmora
