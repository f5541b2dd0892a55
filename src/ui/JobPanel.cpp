#include "ui/JobPanel.h"

#include "style/Palette.h"
#include "style/Typography.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace velmora::ui {

JobPanel::JobPanel(std::function<Counts()> source, QWidget* parent)
    : FloatingCapsule(parent)
    , m_source(std::move(source)) {
    setObjectName(QStringLiteral("jobPanel"));
    auto* row = new QHBoxLayout(this);
    const QMargins shadow = shadowMargins();
    row->setContentsMargins(shadow.left() + 18, shadow.top() + 10, shadow.right() + 10,
                            shadow.bottom() + 10);
    row->setSpacing(14);

    auto* text = new QVBoxLayout;
    text->setSpacing(6);
    auto* line = new QHBoxLayout;
    m_title = new QLabel(this);
    m_title->setFont(style::uiFont(13, QFont::Medium));
    QPalette white = m_title->palette();
    white.setColor(QPalette::WindowText, Qt::white);
    m_title->setPalette(white);
    line->addWidget(m_title);
    line->addStretch(1);
    m_detail = new QLabel(this);
    m_detail->setFont(style::uiFont(12));
    QPalette secondary = m_detail->palette();
    secondary.setColor(QPalette::WindowText, style::Palette::secondaryText);
    m_detail->setPalette(secondary);
    line->addWidget(m_detail);
    text->addLayout(line);
    m_bar = new QProgressBar(this);
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(6);
    m_bar->setFixedWidth(280);
    m_bar->setRange(0, 1);
    text->addWidget(m_bar);
    row->addLayout(text);

    m_cancel = new QPushButton(tr("Cancel"), this);
    m_cancel->setObjectName(QStringLiteral("jobCancel"));
    m_cancel->setCursor(Qt::PointingHandCursor);
    connect(m_cancel, &QPushButton::clicked, this, &JobPanel::cancelRequested);
    row->addWidget(m_cancel, 0, Qt::AlignVCenter);

    m_timer = new QTimer(this);
    m_timer->setInterval(refreshMs);
    connect(m_timer, &QTimer::timeout, this, &JobPanel::poll);
    setTitle(QString());
}

void JobPanel::setTitle(const QString& title) {
    m_title->setText(title);
    poll();
    adjustSize();
}

QString JobPanel::detail() const {
    return m_detail->text();
}

void JobPanel::showEvent(QShowEvent* event) {
    FloatingCapsule::showEvent(event);
    poll();
    m_timer->start();
}

void JobPanel::hideEvent(QHideEvent* event) {
    m_timer->stop();
    FloatingCapsule::hideEvent(event);
}

void JobPanel::poll() {
    const Counts counts = m_source ? m_source() : Counts{};
    m_bar->setRange(0, std::max(counts.total, 1));
    m_bar->setValue(std::min(counts.done, std::max(counts.total, 1)));
    m_detail->setText(counts.cancelling  ? tr("Stopping…")
                      : counts.total > 0 ? tr("%1 of %2").arg(counts.done).arg(counts.total)
                                         : tr("Starting…"));
    m_cancel->setEnabled(!counts.cancelling);
}

} // namespace velmora::ui
