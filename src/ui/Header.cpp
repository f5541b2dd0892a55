#include "ui/Header.h"

#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/HeaderButton.h"
#include "ui/LogoMark.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <QWindow>

#include <cmath>

namespace velmora::ui {

namespace {

QLabel* label(const QString& text, const QFont& font, const QColor& colour) {
    auto* l = new QLabel(text);
    l->setFont(font);
    QPalette pal = l->palette();
    pal.setColor(QPalette::WindowText, colour);
    l->setPalette(pal);
    l->setAttribute(Qt::WA_TransparentForMouseEvents); // part of the drag area
    return l;
}

/// The title's ultra-light face: the bundled one when it loaded, else the platform's
/// lightest weight of its own font.
QFont titleFont() {
    QFont font(QStringLiteral("TYPOGRAPHPRO-UltraLight"));
    if (!QFontDatabase::families().contains(font.family()))
        font = QFont(QStringLiteral("Lato Thin"));
    font.setPixelSize(22);
    font.setWeight(QFont::Thin);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 3);
    return font;
}

HeaderButton* squareButton(const QString& symbol, const QString& name, const QString& tip) {
    auto* b = new HeaderButton(symbol, QString());
    b->setObjectName(name);
    b->setToolTip(tip);
    b->setSquare(34);
    b->setLook({Qt::white, style::Palette::control, Qt::transparent, 9});
    b->setDisabledOpacity(0.4);
    return b;
}

HeaderButton* windowButton(const QString& symbol, const QString& name, const QString& tip) {
    auto* b = new HeaderButton(symbol, QString());
    b->setObjectName(name);
    b->setToolTip(tip);
    b->setSquare(28);
    b->setFontPixelSize(11);
    b->setLook({style::Palette::secondaryText, Qt::transparent, Qt::transparent, 7});
    b->setFocusPolicy(Qt::NoFocus);
    return b;
}

} // namespace

Header::Header(QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("header"));
    startWindowMove = [this] {
        if (QWindow* handle = window()->windowHandle())
            handle->startSystemMove();
    };
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(22, 16, 22, 16);
    row->setSpacing(14);

    row->addWidget(new LogoMark);
    auto* titles = new QVBoxLayout;
    titles->setSpacing(0);
    QLabel* title = label(QStringLiteral("VELMORA"), titleFont(), Qt::white);
    title->setObjectName(QStringLiteral("title"));
    titles->addWidget(title);
    titles->addWidget(
        label(tr("Tiny planet photo studio"), style::uiFont(12), style::Palette::secondaryText));
    row->addLayout(titles);

    m_menuBar = new QMenuBar(this);
    m_menuBar->setNativeMenuBar(false); // inside the header, where it can be seen
    m_menuBar->setFont(style::uiFont(12));
    m_menuBar->setStyleSheet(QStringLiteral(
        "QMenuBar { background: transparent; color: rgba(235, 235, 245, 150); }"
        "QMenuBar::item { padding: 4px 8px; border-radius: 6px; background: transparent; }"
        "QMenuBar::item:selected { background: rgb(28, 31, 37); color: white; }"));
    row->addWidget(m_menuBar, 0, Qt::AlignVCenter);
    row->addStretch(1);

    m_undo =
        squareButton(QStringLiteral("arrow.uturn.backward"), QStringLiteral("undo"), tr("Undo"));
    m_redo =
        squareButton(QStringLiteral("arrow.uturn.forward"), QStringLiteral("redo"), tr("Redo"));
    auto* history = new QHBoxLayout;
    history->setSpacing(14);
    history->setContentsMargins(0, 0, 4, 0);
    history->addWidget(m_undo);
    history->addWidget(m_redo);
    row->addLayout(history);

    m_import = new HeaderButton(QStringLiteral("plus"), tr("Import Photo"));
    m_import->setObjectName(QStringLiteral("import"));
    m_import->setLook({Qt::black, style::Palette::accent, Qt::transparent, 11});
    m_import->setPadding(18, 10);
    row->addWidget(m_import);

    m_export = new HeaderButton(QStringLiteral("square.and.arrow.up"), tr("Export"));
    m_export->setObjectName(QStringLiteral("export"));
    m_export->setLook({Qt::white, style::Palette::control, style::Palette::hairline, 11});
    m_export->setPadding(16, 10);
    m_export->setDisabledOpacity(0.4);
    row->addWidget(m_export);

    m_layers = new HeaderButton(QStringLiteral("square.3.layers.3d"), tr("Layers"));
    m_layers->setObjectName(QStringLiteral("layers"));
    m_layers->setCheckable(true);
    m_layers->setLook({Qt::white, style::Palette::control, style::Palette::hairline, 11});
    m_layers->setCheckedLook({style::Palette::accent, style::Palette::controlRaised,
                              style::Palette::withAlpha(style::Palette::accent, 0.5), 11});
    m_layers->setPadding(14, 10);
    m_layers->setDisabledOpacity(0.45);
    auto* layersRow = new QHBoxLayout;
    layersRow->setContentsMargins(60 - 14, 0, 0, 0); // the extra leading space, less the spacing
    layersRow->addWidget(m_layers);
    row->addLayout(layersRow);

    // The system title bar is hidden, so the usual controls live here.
    auto* controls = new QHBoxLayout;
    controls->setSpacing(4);
    controls->setContentsMargins(10, 0, 0, 0);
    HeaderButton* minimise =
        windowButton(QStringLiteral("window.minimize"), QStringLiteral("minimise"), tr("Minimise"));
    m_maximise =
        windowButton(QStringLiteral("window.maximize"), QStringLiteral("maximise"), tr("Maximise"));
    HeaderButton* close =
        windowButton(QStringLiteral("window.close"), QStringLiteral("close"), tr("Close"));
    connect(minimise, &QAbstractButton::clicked, this, [this] { window()->showMinimized(); });
    connect(m_maximise, &QAbstractButton::clicked, this, &Header::toggleMaximised);
    connect(close, &QAbstractButton::clicked, this, [this] { window()->close(); });
    controls->addWidget(minimise);
    controls->addWidget(m_maximise);
    controls->addWidget(close);
    row->addLayout(controls);
}

void Header::showEvent(QShowEvent* event) {
    // Follow the window's maximised state once the header sits in its window.
    if (!m_watchingWindow && window() != this) {
        window()->installEventFilter(this);
        m_watchingWindow = true;
    }
    QWidget::showEvent(event);
}

void Header::addMenu(QMenu* menu) {
    m_menuBar->addMenu(menu);
}

void Header::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), style::Palette::background);
}

void Header::mousePressEvent(QMouseEvent* event) {
    // The header is the title bar. The window system moves the window only once the
    // pointer has travelled, so the quick clicks of a double-click stay clicks.
    if (event->button() == Qt::LeftButton && !window()->isMaximized())
        m_pressedAt = event->position();
    QWidget::mousePressEvent(event);
}

void Header::mouseMoveEvent(QMouseEvent* event) {
    if (m_pressedAt && (event->buttons() & Qt::LeftButton)) {
        const QPointF travel = event->position() - *m_pressedAt;
        if (std::hypot(travel.x(), travel.y()) >= moveThreshold) {
            m_pressedAt.reset();
            startWindowMove();
        }
    }
    QWidget::mouseMoveEvent(event);
}

void Header::mouseReleaseEvent(QMouseEvent* event) {
    m_pressedAt.reset();
    QWidget::mouseReleaseEvent(event);
}

void Header::mouseDoubleClickEvent(QMouseEvent* event) {
    m_pressedAt.reset();
    if (event->button() == Qt::LeftButton)
        toggleMaximised();
}

bool Header::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window() && event->type() == QEvent::WindowStateChange) {
        const bool maximised = window()->isMaximized();
        m_maximise->setSymbol(maximised ? QStringLiteral("window.restore")
                                        : QStringLiteral("window.maximize"));
        m_maximise->setToolTip(maximised ? tr("Restore") : tr("Maximise"));
    }
    return QWidget::eventFilter(watched, event);
}

void Header::toggleMaximised() {
    window()->isMaximized() ? window()->showNormal() : window()->showMaximized();
}

} // namespace velmora::ui
