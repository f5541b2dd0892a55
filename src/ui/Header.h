#pragma once

#include <QPointF>
#include <QWidget>

#include <functional>
#include <optional>

class QMenu;
class QMenuBar;

namespace velmora::ui {

class HeaderButton;

/// The top row of the window: the mark, the title, the Help menu, undo and redo,
/// Import Photo, Export, the Layers toggle and the window controls. The window has
/// no system title bar, so this row is the title bar: drag it to move the window,
/// double-click it to maximise.
class Header : public QWidget {
    Q_OBJECT

public:
    explicit Header(QWidget* parent = nullptr);

    HeaderButton* undoButton() const { return m_undo; }
    HeaderButton* redoButton() const { return m_redo; }
    HeaderButton* importButton() const { return m_import; }
    HeaderButton* exportButton() const { return m_export; }
    HeaderButton* layersToggle() const { return m_layers; }
    QMenuBar* menuBar() const { return m_menuBar; }
    /// Puts `menu` in the header's menu bar, after those already there.
    void addMenu(QMenu* menu);

    /// Pointer travel, in pixels, after which a press on the header moves the window.
    static constexpr double moveThreshold = 4.0;
    /// Hands the window to the window system to move; replaced by tests.
    std::function<void()> startWindowMove;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void toggleMaximised();

    HeaderButton* m_undo = nullptr;
    HeaderButton* m_redo = nullptr;
    HeaderButton* m_import = nullptr;
    HeaderButton* m_export = nullptr;
    HeaderButton* m_layers = nullptr;
    HeaderButton* m_maximise = nullptr;
    QMenuBar* m_menuBar = nullptr;
    bool m_watchingWindow = false;
    std::optional<QPointF> m_pressedAt;
};

} // namespace velmora::ui
