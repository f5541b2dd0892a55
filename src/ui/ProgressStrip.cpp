#include "ui/ProgressStrip.h"

#include "style/Palette.h"

#include <QEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>

namespace velmora::ui {

ProgressStrip::ProgressStrip(std::function<double()> source, QWidget* parent)
    : QWidget(parent)
    , m_source(std::move(source)) {
    setObjectName(QStringLiteral("progressStrip"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFixedHeight(thickness);
    m_timer = new QTimer(this);
    m_timer->setInterval(refreshMs);
    connect(m_timer, &QTimer::timeout, this, &ProgressStrip::poll);
    if (parent) {
        parent->installEventFilter(this);
        setGeometry(0, 0, parent->width(), thickness);
    }
    hide();
}

bool ProgressStrip::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(0, 0, parentWidget()->width(), thickness);
    return QWidget::eventFilter(watched, event);
}

void ProgressStrip::poll() {
    const double value = std::clamp(m_source(), 0.0, 1.0);
    if (value != m_value) {
        m_value = value;
        update();
    }
}

void ProgressStrip::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), style::Palette::withAlpha(style::Palette::accent, 0.18));
    painter.fillRect(QRectF(0, 0, width() * m_value, height()), style::Palette::accent);
}

void ProgressStrip::showEvent(QShowEvent* event) {
    m_value = 0.0;
    poll();
    m_timer->start();
    QWidget::showEvent(event);
}

void ProgressStrip::hideEvent(QHideEvent* event) {
    m_timer->stop();
    QWidget::hideEvent(event);
}

} // namespace velmora::ui
