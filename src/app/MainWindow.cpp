#include "app/MainWindow.h"

#include "style/Palette.h"
#include "ui/ContentView.h"

#include <QDesktopServices>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QUrl>
#include <QVBoxLayout>
#include <QWindow>

namespace velmora {

namespace {

/// A configured address; the three are compile-time constants that must parse, so a
/// broken one is a packaging error that stops the program.
QUrl configuredUrl(const char* text) {
    const QUrl url(QString::fromUtf8(text), QUrl::StrictMode);
    if (!url.isValid())
        qFatal("Invalid Help menu address: %s", text);
    return url;
}

} // namespace

QUrl MainWindow::gettingStartedUrl() {
    return configuredUrl(VELMORA_GETTING_STARTED_URL);
}

QUrl MainWindow::contactSupportUrl() {
    return configuredUrl("mailto:" VELMORA_SUPPORT_EMAIL "?subject=Velmora");
}

QUrl MainWindow::moreAppsUrl() {
    return configuredUrl(VELMORA_MORE_APPS_URL);
}

MainWindow::MainWindow(const PlanetRenderer& renderer, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint) {
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Velmora"));
    setMouseTracking(true);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(resizeBorder, resizeBorder, resizeBorder, resizeBorder);
    m_content = new ui::ContentView(renderer, this);
    layout->addWidget(m_content);
    setMinimumSize(1100 + 2 * resizeBorder, 760 + 2 * resizeBorder);

    // The Help menu replaces the platform's: three links and nothing else.
    m_help = new QMenu(tr("Help"), this);
    m_help->setObjectName(QStringLiteral("helpMenu"));
    connect(m_help->addAction(tr("Getting Started")), &QAction::triggered, this,
            [] { QDesktopServices::openUrl(gettingStartedUrl()); });
    connect(m_help->addAction(tr("Contact Support")), &QAction::triggered, this,
            [] { QDesktopServices::openUrl(contactSupportUrl()); });
    m_help->addSeparator();
    connect(m_help->addAction(tr("More Apps")), &QAction::triggered, this,
            [] { QDesktopServices::openUrl(moreAppsUrl()); });
    m_content->setHelpMenu(m_help);
}

void MainWindow::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), style::Palette::background);
    if (!isMaximized()) {
        // Without a system frame, a hairline keeps the window's edge visible.
        p.setPen(style::Palette::hairline);
        p.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

Qt::Edges MainWindow::edgesAt(QPoint point) const {
    if (isMaximized())
        return {};
    Qt::Edges edges;
    const int corner = 3 * resizeBorder; // corners are easier to catch a little wider
    if (point.x() < resizeBorder ||
        (point.x() < corner && (point.y() < resizeBorder || point.y() >= height() - resizeBorder)))
        edges |= Qt::LeftEdge;
    if (point.x() >= width() - resizeBorder ||
        (point.x() >= width() - corner &&
         (point.y() < resizeBorder || point.y() >= height() - resizeBorder)))
        edges |= Qt::RightEdge;
    if (point.y() < resizeBorder)
        edges |= Qt::TopEdge;
    if (point.y() >= height() - resizeBorder)
        edges |= Qt::BottomEdge;
    return edges;
}

void MainWindow::mouseMoveEvent(QMouseEvent* event) {
    const Qt::Edges edges = edgesAt(event->position().toPoint());
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        setCursor(Qt::SizeFDiagCursor);
    else if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        setCursor(Qt::SizeBDiagCursor);
    else if (edges & (Qt::LeftEdge | Qt::RightEdge))
        setCursor(Qt::SizeHorCursor);
    else if (edges & (Qt::TopEdge | Qt::BottomEdge))
        setCursor(Qt::SizeVerCursor);
    else
        unsetCursor();
    QWidget::mouseMoveEvent(event);
}

void MainWindow::mousePressEvent(QMouseEvent* event) {
    const Qt::Edges edges = edgesAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && edges && windowHandle())
        windowHandle()->startSystemResize(edges);
    QWidget::mousePressEvent(event);
}

void MainWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::WindowStateChange) {
        // Maximised, the border would only waste the screen's edge.
        const int border = isMaximized() ? 0 : resizeBorder;
        layout()->setContentsMargins(border, border, border, border);
    }
    QWidget::changeEvent(event);
}

} // namespace velmora
