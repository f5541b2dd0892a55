#include "canvas/PlanetCanvas.h"

#include "layers/LayerGeometry.h"
#include "model/PlanetModel.h"

#include <QDragEnterEvent>
#include <QHelpEvent>
#include <QMimeData>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QTimer>
#include <QToolTip>

#include <cmath>

namespace velmora {

std::optional<QString> PlanetCanvas::assetFromPayload(const QString& text) {
    if (!text.startsWith(payloadPrefix))
        return std::nullopt;
    return text.mid(payloadPrefix.size());
}

PlanetCanvas::PlanetCanvas(PlanetModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model) {
    setAcceptDrops(true);
    setMouseTracking(true);
    setAttribute(Qt::WA_AcceptTouchEvents, false);
    // A click gives the canvas the keyboard, for the arrow keys.
    setFocusPolicy(Qt::ClickFocus);
    m_nudgeRun = new QTimer(this);
    m_nudgeRun->setSingleShot(true);
    m_nudgeRun->setInterval(nudgePauseMs);
    connect(&m_model, &PlanetModel::previewImageChanged, this, [this] { update(); });
    connect(&m_model, &PlanetModel::layersChanged, this, &PlanetCanvas::onLayersChanged);
    connect(&m_model, &PlanetModel::selectedLayerIDChanged, this,
            &PlanetCanvas::onSelectionChanged);
}

double PlanetCanvas::aspectOf(const QString& assetID) const {
    // The display image has the artwork file's size, so its aspect is the render's.
    return artworkAspect(QSizeF(m_model.library().displayImage(assetID).size()));
}

LayerBox PlanetCanvas::boxOf(const PlacedLayer& layer) const {
    return layerBox(layer, aspectOf(layer.assetID), frame());
}

ChromeLayout PlanetCanvas::chromeLayoutOf(const LayerBox& box) const {
    return chromeLayout(box, QRectF(rect()));
}

std::pair<QUuid, ChromePart> PlanetCanvas::hitAt(QPointF point) const {
    const QList<PlacedLayer>& layers = m_model.layers();
    // Later layers lie on top and win where hit areas overlap.
    for (qsizetype i = layers.size() - 1; i >= 0; --i) {
        const PlacedLayer& layer = layers[i];
        const LayerBox box = boxOf(layer);
        const ChromePart part =
            hitTest(box, point, layer.id == m_model.selectedLayerID(), chromeLayoutOf(box));
        if (part != ChromePart::none)
            return {layer.id, part};
    }
    return {QUuid(), ChromePart::none};
}

LayerChrome& PlanetCanvas::chromeFor(const QUuid& id) {
    auto it = m_chromes.find(id);
    if (it == m_chromes.end())
        it = m_chromes.insert(id, LayerChrome(id));
    return *it;
}

// ---- painting ----------------------------------------------------------------

const QPixmap& PlanetCanvas::scaledPreview(const CanvasFrame& frame) {
    const QImage preview = m_model.previewImage();
    const qreal dpr = devicePixelRatioF();
    const QSize target(qRound(frame.side * dpr), qRound(frame.side * dpr));
    if (preview.cacheKey() != m_previewKey || target != m_previewSize) {
        m_previewKey = preview.cacheKey();
        m_previewSize = target;
        m_preview = preview.isNull() || target.isEmpty()
                        ? QPixmap()
                        : QPixmap::fromImage(preview.scaled(target, Qt::IgnoreAspectRatio,
                                                            Qt::SmoothTransformation));
        m_preview.setDevicePixelRatio(dpr);
    }
    return m_preview;
}

void PlanetCanvas::paintArtwork(QPainter& painter, const PlacedLayer& layer,
                                const CanvasFrame& frame) {
    // The smallest stored reduction that is still as wide as the layer on screen.
    const int onScreen =
        static_cast<int>(std::ceil(layer.scale * frame.side * devicePixelRatioF()));
    const QImage art = m_model.library().displayImage(layer.assetID, onScreen);
    if (art.isNull() || art.width() <= 0)
        return;
    QTransform placement = layerTransform(layer, QSizeF(art.size()), frame.side);
    placement *= QTransform::fromTranslate(frame.origin.x(), frame.origin.y());
    painter.save();
    painter.setTransform(placement, true);
    painter.setOpacity(std::clamp(layer.opacity, 0.0, 1.0));
    painter.setCompositionMode(painterCompositionMode(layer.blendMode));
    painter.drawImage(QPointF(0, 0), art);
    painter.restore();
}

void PlanetCanvas::paintEvent(QPaintEvent*) {
    const CanvasFrame f = frame();
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);

    painter.save();
    painter.setClipRect(f.square());
    const QPixmap& preview = scaledPreview(f);
    if (!preview.isNull())
        painter.drawPixmap(f.square().topLeft(), preview);
    for (const PlacedLayer& layer : m_model.layers())
        paintArtwork(painter, layer, f);
    painter.restore();

    m_paintedBounds.clear();
    for (const PlacedLayer& layer : m_model.layers()) {
        const LayerBox box = boxOf(layer);
        LayerChrome::paint(painter, box, layer.id == m_model.selectedLayerID(),
                           chromeLayoutOf(box));
        m_paintedBounds.insert(layer.id, LayerChrome::paintBounds(box));
    }
    m_paintedSelection = m_model.selectedLayerID();
}

void PlanetCanvas::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    update();
}

void PlanetCanvas::onLayersChanged() {
    // Repaint where each layer was and where it is now; a layer's blend only touches
    // pixels under it, so the rest of the canvas stays as it is.
    QRegion dirty;
    QSet<QUuid> present;
    for (const PlacedLayer& layer : m_model.layers()) {
        present.insert(layer.id);
        dirty += LayerChrome::paintBounds(boxOf(layer)).toAlignedRect();
        if (const auto old = m_paintedBounds.constFind(layer.id); old != m_paintedBounds.constEnd())
            dirty += old->toAlignedRect();
    }
    for (auto it = m_paintedBounds.constBegin(); it != m_paintedBounds.constEnd(); ++it) {
        if (!present.contains(it.key()))
            dirty += it->toAlignedRect();
    }
    // Gesture state lives as long as its layer.
    for (auto it = m_chromes.begin(); it != m_chromes.end();) {
        it = present.contains(it.key()) ? std::next(it) : m_chromes.erase(it);
    }
    update(dirty);
}

void PlanetCanvas::onSelectionChanged() {
    QRegion dirty;
    for (const QUuid& id : {m_paintedSelection, m_model.selectedLayerID()}) {
        if (const std::optional<PlacedLayer> layer = m_model.layer(id))
            dirty += LayerChrome::paintBounds(boxOf(*layer)).toAlignedRect();
        if (const auto old = m_paintedBounds.constFind(id); old != m_paintedBounds.constEnd())
            dirty += old->toAlignedRect();
    }
    update(dirty);
}

// ---- keyboard ------------------------------------------------------------------

void PlanetCanvas::nudgeSelected(QPoint pixels) {
    const QUuid id = m_model.selectedLayerID();
    const double side = frame().side;
    if (!m_model.selectedLayer() || !(side > 0.0))
        return;
    // A run of nudges without a pause is one step to undo, like one drag.
    if (!m_nudgeRun->isActive() || m_nudgeLayer != id)
        m_model.recordHistory();
    m_nudgeLayer = id;
    m_nudgeRun->start();
    m_model.updateLayer(id, [&](PlacedLayer& layer) {
        layer.center = movedCenter(layer.center, QPointF(pixels), side);
    });
}

void PlanetCanvas::keyPressEvent(QKeyEvent* event) {
    const int step = event->modifiers() & Qt::ShiftModifier ? 10 : 1;
    QPoint by;
    switch (event->key()) {
    case Qt::Key_Left:
        by = {-step, 0};
        break;
    case Qt::Key_Right:
        by = {step, 0};
        break;
    case Qt::Key_Up:
        by = {0, -step};
        break;
    case Qt::Key_Down:
        by = {0, step};
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    if (!m_model.selectedLayer()) {
        event->ignore();
        return;
    }
    nudgeSelected(by);
    event->accept();
}

// ---- pointer -------------------------------------------------------------------

void PlanetCanvas::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    const QPointF at = event->position();
    const auto [id, part] = hitAt(at);
    Press press;
    press.layer = id;
    press.part = part;
    press.at = at;
    press.inSquare = frame().square().contains(at);
    if (const std::optional<PlacedLayer> layer = m_model.layer(id)) {
        const LayerBox box = boxOf(*layer);
        press.layerCenter = box.center;
        press.knobBelow = chromeLayoutOf(box).knobBelow;
    }
    m_press = press;
    event->accept();
}

void PlanetCanvas::mouseMoveEvent(QMouseEvent* event) {
    const QPointF at = event->position();
    if (!m_press || !(event->buttons() & Qt::LeftButton)) {
        updateCursor(at);
        return;
    }
    Press& press = *m_press;
    const QPointF translation = at - press.at;
    if (!press.dragging) {
        // Drags start after a point of movement; less is still a tap.
        if (std::hypot(translation.x(), translation.y()) < 1.0)
            return;
        press.dragging = true;
    }
    if (press.layer.isNull())
        return;
    LayerChrome& chrome = chromeFor(press.layer);
    switch (press.part) {
    case ChromePart::body:
        chrome.moveChanged(m_model, translation, frame().side);
        break;
    case ChromePart::resizeHandle:
        chrome.resizeChanged(m_model, press.layerCenter, at);
        break;
    case ChromePart::rotationHandle:
        chrome.rotateChanged(m_model, press.layerCenter, at, press.knobBelow);
        break;
    case ChromePart::deleteBadge:
    case ChromePart::none:
        break;
    }
}

void PlanetCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_press) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    const Press press = *m_press;
    m_press.reset();
    if (press.dragging) {
        if (!press.layer.isNull()) {
            LayerChrome& chrome = chromeFor(press.layer);
            chrome.moveEnded();
            chrome.resizeEnded();
            chrome.rotateEnded();
        }
        updateCursor(event->position());
        return;
    }
    switch (press.part) {
    case ChromePart::body:
        m_model.setSelectedLayerID(press.layer);
        break;
    case ChromePart::deleteBadge:
        m_model.setSelectedLayerID(press.layer);
        m_model.deleteSelectedLayer();
        break;
    case ChromePart::none:
        // A tap on the planet outside every chrome deselects; the bands beside it
        // do nothing.
        if (press.inSquare)
            m_model.setSelectedLayerID(QUuid());
        break;
    case ChromePart::resizeHandle:
    case ChromePart::rotationHandle:
        break;
    }
}

void PlanetCanvas::updateCursor(QPointF point) {
    switch (hitAt(point).second) {
    case ChromePart::resizeHandle:
        setCursor(Qt::SizeFDiagCursor);
        break;
    case ChromePart::rotationHandle:
    case ChromePart::deleteBadge:
        setCursor(Qt::PointingHandCursor);
        break;
    case ChromePart::body:
        setCursor(Qt::OpenHandCursor);
        break;
    case ChromePart::none:
        unsetCursor();
        break;
    }
}

bool PlanetCanvas::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        if (hitAt(help->pos()).second == ChromePart::deleteBadge)
            QToolTip::showText(help->globalPos(), tr("Delete layer"), this);
        else
            QToolTip::hideText();
        return true;
    }
    if (event->type() == QEvent::NativeGesture) {
        auto* gesture = static_cast<QNativeGestureEvent*>(event);
        switch (gesture->gestureType()) {
        case Qt::BeginNativeGesture:
            m_trackpadLayer = hitAt(gesture->position()).first;
            m_trackpadDegrees = 0.0;
            return true;
        case Qt::RotateNativeGesture: {
            // Qt reports each step's turn in degrees, clockwise positive; the chrome
            // wants the total since the gesture began, once it passes one degree.
            if (m_trackpadLayer.isNull())
                m_trackpadLayer = hitAt(gesture->position()).first;
            m_trackpadDegrees += gesture->value();
            LayerChrome& chrome = chromeFor(m_trackpadLayer);
            if (!m_trackpadLayer.isNull() &&
                (std::abs(m_trackpadDegrees) >= 1.0 || chrome.isGestureActive()))
                chrome.trackpadChanged(m_model, m_trackpadDegrees);
            return true;
        }
        case Qt::EndNativeGesture:
            if (!m_trackpadLayer.isNull())
                chromeFor(m_trackpadLayer).trackpadEnded();
            m_trackpadLayer = QUuid();
            return true;
        default:
            break;
        }
    }
    return QWidget::event(event);
}

// ---- drops from the library ------------------------------------------------------

namespace {

/// Text only; files go on to the window, which opens them.
bool carriesText(const QMimeData* mime) {
    return mime->hasText() && !mime->hasUrls();
}

} // namespace

void PlanetCanvas::dragEnterEvent(QDragEnterEvent* event) {
    if (carriesText(event->mimeData()))
        event->acceptProposedAction();
    else
        event->ignore();
}

void PlanetCanvas::dragMoveEvent(QDragMoveEvent* event) {
    if (carriesText(event->mimeData()))
        event->acceptProposedAction();
    else
        event->ignore();
}

void PlanetCanvas::dropEvent(QDropEvent* event) {
    if (!carriesText(event->mimeData())) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    const std::optional<QString> assetID = assetFromPayload(event->mimeData()->text());
    if (!assetID)
        return;
    // The point as the square lay when the drop arrived; the model clamps it.
    const NormalizedPoint at = frame().toNormalized(event->position());
    QMetaObject::invokeMethod(
        this, [this, id = *assetID, at] { m_model.addLayer(id, at); }, Qt::QueuedConnection);
}

} // namespace velmora
