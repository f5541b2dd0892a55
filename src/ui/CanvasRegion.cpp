#include "ui/CanvasRegion.h"

#include "canvas/PlanetCanvas.h"
#include "model/PlanetModel.h"
#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/LayerInspector.h"
#include "ui/SymbolView.h"

#include <QDragEnterEvent>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QVBoxLayout>

namespace velmora::ui {

namespace {

constexpr int canvasInset = 28;
constexpr int inspectorGap = 18;
constexpr int inspectorSideRoom = 8; ///< least room beside the inspector's capsule

QLabel* emptyText(const QString& text, int size, const QColor& colour) {
    auto* l = new QLabel(text);
    l->setFont(style::uiFont(size));
    l->setAlignment(Qt::AlignCenter);
    QPalette pal = l->palette();
    pal.setColor(QPalette::WindowText, colour);
    l->setPalette(pal);
    return l;
}

bool hasLocalFile(const QMimeData* data) {
    if (!data->hasUrls())
        return false;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile())
            return true;
    }
    return false;
}

} // namespace

CanvasRegion::CanvasRegion(PlanetModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model) {
    setObjectName(QStringLiteral("canvasRegion"));
    setAcceptDrops(true);

    m_canvas = new PlanetCanvas(model, this);
    m_canvas->setContentsMargins(canvasInset, canvasInset, canvasInset, canvasInset);

    m_empty = new QWidget(this);
    m_empty->setObjectName(QStringLiteral("emptyState"));
    m_empty->setCursor(Qt::PointingHandCursor);
    m_empty->installEventFilter(this);
    auto* column = new QVBoxLayout(m_empty);
    column->setSpacing(12);
    column->addStretch(1);
    auto* globe = new SymbolView(QStringLiteral("globe.thin"), 52, style::Palette::secondaryText);
    column->addWidget(globe, 0, Qt::AlignHCenter);
    column->addWidget(
        emptyText(tr("Drop a panorama here, or Import Photo"), 20, style::Palette::secondaryText));
    column->addWidget(
        emptyText(tr("360° equirectangular images work best"), 12, style::Palette::tertiaryText));
    column->addStretch(1);

    m_inspector = new LayerInspector(model, this);
    m_inspectorFade = new QGraphicsOpacityEffect(m_inspector);
    m_inspectorFade->setOpacity(0.0);
    m_inspector->setGraphicsEffect(m_inspectorFade);
    m_inspector->hide();
    m_inspector->installEventFilter(this);
    m_inspectorMotion = new QParallelAnimationGroup(this);
    m_inspectorSlide = new QPropertyAnimation(m_inspector, "pos", m_inspectorMotion);
    m_inspectorSlide->setDuration(220);
    m_inspectorOpacity = new QPropertyAnimation(m_inspectorFade, "opacity", m_inspectorMotion);
    m_inspectorOpacity->setDuration(220);
    m_inspectorMotion->addAnimation(m_inspectorSlide);
    m_inspectorMotion->addAnimation(m_inspectorOpacity);
    connect(m_inspectorMotion, &QAbstractAnimation::finished, this, [this] {
        if (!m_inspectorShown)
            m_inspector->hide();
        placeInspector();
    });

    connect(&m_model, &PlanetModel::previewImageChanged, this, &CanvasRegion::showPreviewOrEmpty);
    connect(&m_model, &PlanetModel::selectedLayerIDChanged, this,
            [this] { showInspector(m_model.selectedLayer().has_value()); });
    connect(&m_model, &PlanetModel::layersChanged, this,
            [this] { showInspector(m_model.selectedLayer().has_value()); });
    showPreviewOrEmpty();
}

void CanvasRegion::showPreviewOrEmpty() {
    const bool hasPreview = !m_model.previewImage().isNull();
    m_canvas->setVisible(hasPreview);
    m_empty->setVisible(!hasPreview);
}

void CanvasRegion::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), Qt::black);
}

void CanvasRegion::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_canvas->setGeometry(rect());
    m_empty->setGeometry(rect());
    placeInspector();
}

/// Centred, its capsule 18 above the bottom edge.
QRect CanvasRegion::inspectorRestGeometry() const {
    const QSize size = m_inspector->sizeHint();
    const int bottom = height() - inspectorGap + FloatingCapsule::shadowMargins().bottom();
    return {(width() - size.width()) / 2, bottom - size.height(), size.width(), size.height()};
}

void CanvasRegion::placeInspector() {
    if (m_inspectorMotion && m_inspectorMotion->state() == QAbstractAnimation::Running)
        return;
    const QMargins shadow = FloatingCapsule::shadowMargins();
    m_inspector->fitWidth(width() - 2 * inspectorSideRoom + shadow.left() + shadow.right());
    m_inspector->setGeometry(inspectorRestGeometry());
}

void CanvasRegion::showInspector(bool shown) {
    if (shown == m_inspectorShown)
        return;
    m_inspectorShown = shown;
    m_inspectorMotion->stop();
    placeInspector();
    const QPoint rest = m_inspector->pos();
    const QPoint below = rest + QPoint(0, m_inspector->height() / 2);
    // Moves up from the bottom edge and fades in; leaves the same way.
    m_inspectorSlide->setEasingCurve(shown ? QEasingCurve::OutCubic : QEasingCurve::InCubic);
    m_inspectorSlide->setStartValue(shown ? below : rest);
    m_inspectorSlide->setEndValue(shown ? rest : below);
    m_inspectorOpacity->setStartValue(m_inspectorFade->opacity());
    m_inspectorOpacity->setEndValue(shown ? 1.0 : 0.0);
    if (shown) {
        m_inspector->move(below);
        m_inspector->show();
        m_inspector->raise();
    }
    m_inspectorMotion->start();
}

bool CanvasRegion::eventFilter(QObject* watched, QEvent* event) {
    if (!m_inspector)
        return QWidget::eventFilter(watched, event); // still being built
    if (watched == m_empty && event->type() == QEvent::MouseButtonRelease) {
        Q_EMIT importRequested();
        return true;
    }
    if (watched == m_inspector && event->type() == QEvent::LayoutRequest)
        placeInspector(); // its labels changed width; stay centred
    return QWidget::eventFilter(watched, event);
}

void CanvasRegion::setTargeted(bool targeted) {
    if (m_targeted == targeted)
        return;
    m_targeted = targeted;
    update();
    if (targeted) {
        // The highlight goes over the canvas too, so it is drawn by a child on top.
        auto* highlight = new QWidget(this);
        highlight->setObjectName(QStringLiteral("dropHighlight"));
        highlight->setAttribute(Qt::WA_TransparentForMouseEvents);
        highlight->setAutoFillBackground(true);
        QPalette pal = highlight->palette();
        pal.setColor(QPalette::Window, style::Palette::withAlpha(style::Palette::accent, 0.16));
        highlight->setPalette(pal);
        highlight->setGeometry(rect());
        highlight->show();
    } else if (auto* highlight = findChild<QWidget*>(QStringLiteral("dropHighlight"))) {
        highlight->deleteLater();
        highlight->setObjectName(QString());
    }
}

void CanvasRegion::dragEnterEvent(QDragEnterEvent* event) {
    if (hasLocalFile(event->mimeData())) {
        event->acceptProposedAction();
        setTargeted(true);
    } else {
        event->ignore();
    }
}

void CanvasRegion::dragLeaveEvent(QDragLeaveEvent* event) {
    setTargeted(false);
    QWidget::dragLeaveEvent(event);
}

void CanvasRegion::dropEvent(QDropEvent* event) {
    setTargeted(false);
    if (!hasLocalFile(event->mimeData())) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    Q_EMIT filesDropped(event->mimeData()->urls());
}

} // namespace velmora::ui
