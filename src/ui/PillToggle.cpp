#include "ui/PillToggle.h"

#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Typography.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QSignalBlocker>

namespace velmora::ui {

namespace {

/// The switch itself, in the mini size: a capsule track with a round knob that sits
/// at the trailing end, on an accent track, when on.
class MiniSwitch final : public QAbstractButton {
public:
    explicit MiniSwitch(QWidget* parent)
        : QAbstractButton(parent) {
        setCheckable(true);
        setFixedSize(26, 15);
        setFocusPolicy(Qt::TabFocus);
    }
    QSize sizeHint() const override { return {26, 15}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (!isEnabled())
            painter.setOpacity(0.4);
        const QRectF track = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        const double r = track.height() / 2;
        painter.setPen(Qt::NoPen);
        painter.setBrush(isChecked() ? style::Palette::accent
                                     : style::Palette::withAlpha(Qt::white, 0.18));
        painter.drawRoundedRect(track, r, r);
        const double knob = track.height() - 2;
        const double x = isChecked() ? track.right() - 1 - knob : track.left() + 1;
        painter.setBrush(isDown() ? QColor(222, 222, 226) : QColor(248, 248, 250));
        painter.drawEllipse(QRectF(x, track.top() + 1, knob, knob));
        style::paintFocusRing(painter, *this, track, r,
                              style::Palette::withAlpha(style::Palette::accent, 0.8));
    }
};

} // namespace

PillToggle::PillToggle(QString title, std::function<bool()> isOn, std::function<void(bool)> setOn,
                       QWidget* parent)
    : QWidget(parent)
    , m_isOn(std::move(isOn))
    , m_setOn(std::move(setOn)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    // The row keeps its natural width at the leading edge: the switch follows the
    // title directly, with no space pushed between them.
    row->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);

    auto* label = new QLabel(title, this);
    label->setObjectName(QStringLiteral("title"));
    label->setTextFormat(Qt::PlainText);
    label->setFont(style::uiFont(12));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, style::Palette::secondaryText);
    label->setPalette(palette);
    row->addWidget(label, 0, Qt::AlignVCenter);

    m_switch = new MiniSwitch(this);
    m_switch->setAccessibleName(title);
    row->addWidget(m_switch, 0, Qt::AlignVCenter);

    connect(m_switch, &QAbstractButton::clicked, this, [this](bool checked) {
        if (m_setOn)
            m_setOn(checked);
        // The setter may refuse or adjust; show what the value really is.
        refresh();
    });
    refresh();
}

void PillToggle::refresh() {
    const QSignalBlocker blocker(m_switch);
    m_switch->setChecked(m_isOn ? m_isOn() : false);
}

} // namespace velmora::ui
