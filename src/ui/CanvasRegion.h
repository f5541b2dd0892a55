#pragma once

#include <QUrl>
#include <QWidget>

class QGraphicsOpacityEffect;
class QParallelAnimationGroup;
class QPropertyAnimation;

namespace velmora {
class PlanetCanvas;
class PlanetModel;
} // namespace velmora

namespace velmora::ui {

class LayerInspector;

/// The black middle of the window: the canvas while there is a preview (its square
/// inset 28, its handles usable over the whole region), otherwise the empty state;
/// the selected layer's inspector floating 18 above its bottom; and the window's drop
/// target for picture files, highlighted while a file hovers.
class CanvasRegion : public QWidget {
    Q_OBJECT

public:
    explicit CanvasRegion(PlanetModel& model, QWidget* parent = nullptr);

    PlanetCanvas* canvas() const { return m_canvas; }
    LayerInspector* inspector() const { return m_inspector; }
    QWidget* emptyState() const { return m_empty; }
    bool isTargeted() const { return m_targeted; }
    /// Whether the inspector is showing or on its way in.
    bool isInspectorShown() const { return m_inspectorShown; }
    /// Where the inspector rests when shown, in this region's coordinates.
    QRect inspectorRestGeometry() const;

Q_SIGNALS:
    /// Files were dropped; only the first is meant to be opened.
    void filesDropped(const QList<QUrl>& urls);
    /// The empty state's hint was clicked.
    void importRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showPreviewOrEmpty();
    void placeInspector();
    void showInspector(bool shown);
    void setTargeted(bool targeted);

    PlanetModel& m_model;
    PlanetCanvas* m_canvas = nullptr;
    QWidget* m_empty = nullptr;
    LayerInspector* m_inspector = nullptr;
    QGraphicsOpacityEffect* m_inspectorFade = nullptr;
    QParallelAnimationGroup* m_inspectorMotion = nullptr;
    QPropertyAnimation* m_inspectorSlide = nullptr;
    QPropertyAnimation* m_inspectorOpacity = nullptr;
    bool m_inspectorShown = false;
    bool m_targeted = false;
};

} // namespace velmora::ui
