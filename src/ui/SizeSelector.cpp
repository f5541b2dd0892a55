#include "ui/SizeSelector.h"

#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Typography.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>

namespace velmora::ui {

class SizeSelector::Segment : public QAbstractButton {
public:
    Segment(int size, QWidget* parent)
        : QAbstractButton(parent) {
        setText(QString::number(size));
        setObjectName(QStringLiteral("outputSize"));
        setProperty("outputSize", size);
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::TabFocus);
    }
    void setChosen(bool chosen) {
        m_chosen = chosen;
        update();
    }
    bool isChosen() const { return m_chosen; }
    QSize sizeHint() const override {
        // Digits set at a fixed width each, so the segments do not change size.
        const QFontMetrics metrics(font());
        const int digits =
            metrics.horizontalAdvance(QStringLiteral("0")) * static_cast<int>(text().size());
        return {digits + 24, metrics.height() + 12};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        if (m_chosen) {
            QPainterPath shape;
            shape.addRoundedRect(QRectF(rect()), 7, 7);
            p.fillPath(shape, style::Palette::controlRaised);
        }
        p.setFont(font());
        p.setPen(m_chosen ? QColor(Qt::white) : style::Palette::secondaryText);
        p.drawText(rect(), Qt::AlignCenter, text());
        style::paintFocusRing(p, *this, 7, style::Palette::accent);
    }

private:
    bool m_chosen = false;
};

SizeSelector::SizeSelector(QList<int> sizes, std::function<int()> current,
                           std::function<void(int)> choose, QWidget* parent)
    : QWidget(parent)
    , m_sizes(std::move(sizes))
    , m_current(std::move(current)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(3, 3, 3, 3);
    row->setSpacing(4);
    QFont digits = style::uiFont(12, QFont::Medium);
    digits.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    for (const int size : std::as_const(m_sizes)) {
        auto* segment = new Segment(size, this);
        segment->setFont(digits);
        connect(segment, &QAbstractButton::clicked, this, [this, size, choose] {
            choose(size);
            refresh();
        });
        row->addWidget(segment);
        m_segments.append(segment);
    }
    refresh();
}

void SizeSelector::refresh() {
    const int current = m_current();
    for (Segment* segment : std::as_const(m_segments))
        segment->setChosen(segment->property("outputSize").toInt() == current);
}

void SizeSelector::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath track;
    track.addRoundedRect(QRectF(rect()), 9, 9);
    p.fillPath(track, style::Palette::control);
}

} // namespace velmora::ui
