#pragma once

#include <QUrl>
#include <QWidget>

class QMenu;

namespace velmora {

class PlanetRenderer;

namespace ui {
class ContentView;
}

/// The application's one window, "main". The system title bar is hidden: the
/// content's header is the title bar, and a thin border all round resizes the window
/// (the window system does the resizing). It cannot be made smaller than 1100 x 760.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr int resizeBorder = 4;

    explicit MainWindow(const PlanetRenderer& renderer, QWidget* parent = nullptr);

    ui::ContentView* content() const { return m_content; }
    QMenu* helpMenu() const { return m_help; }

    /// The Help menu's destinations (distributor configuration).
    static QUrl gettingStartedUrl();
    static QUrl contactSupportUrl();
    static QUrl moreAppsUrl();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    Qt::Edges edgesAt(QPoint point) const;

    ui::ContentView* m_content;
    QMenu* m_help;
};

} // namespace velmora
