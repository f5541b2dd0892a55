#include "ui/AnimationDialog.h"

#include "style/Palette.h"
#include "style/Typography.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace velmora::ui {

namespace {

using render::AnimationFormat;

const QList<AnimationFormat> formats{AnimationFormat::mp4, AnimationFormat::webp,
                                     AnimationFormat::gif};

} // namespace

AnimationDialog::AnimationDialog(const AnimationChoice& initial, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("animationDialog"));
    setWindowTitle(tr("Export Animation"));
    auto* root = new QVBoxLayout(this);
    root->setContentsMargins(22, 20, 22, 18);
    root->setSpacing(14);

    auto* intro = new QLabel(
        tr("The planet as it is now is where the motion ends. Layers stay where they are."));
    intro->setWordWrap(true);
    QPalette secondary = intro->palette();
    secondary.setColor(QPalette::WindowText, style::Palette::secondaryText);
    intro->setPalette(secondary);
    root->addWidget(intro);

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);

    m_motion = new QComboBox;
    m_motion->addItem(tr("Spin, a seamless loop"), static_cast<int>(Motion::spin));
    m_motion->addItem(tr("Intro, unrolls into the planet"), static_cast<int>(Motion::intro));
    m_motion->setCurrentIndex(initial.settings.motion == Motion::spin ? 0 : 1);
    form->addRow(tr("Motion"), m_motion);

    m_format = new QComboBox;
    m_format->addItem(tr("MP4 video (H.264)"));
    m_format->addItem(tr("Animated WebP"));
    m_format->addItem(QStringLiteral("GIF"));
    m_format->setCurrentIndex(static_cast<int>(formats.indexOf(initial.format)));
    form->addRow(tr("Format"), m_format);

    m_side = new QComboBox;
    for (const int side : sides)
        m_side->addItem(QStringLiteral("%1 \u00d7 %1").arg(side), side);
    m_side->setCurrentIndex(std::max(0, static_cast<int>(sides.indexOf(initial.settings.side))));
    form->addRow(tr("Size"), m_side);

    m_duration = new QDoubleSpinBox;
    m_duration->setRange(AnimationSettings::minDuration, AnimationSettings::maxDuration);
    m_duration->setSingleStep(0.5);
    m_duration->setDecimals(1);
    m_duration->setSuffix(tr(" s"));
    m_duration->setValue(initial.settings.durationSeconds);
    form->addRow(tr("Length"), m_duration);

    m_fps = new QComboBox;
    for (const int rate : rates)
        m_fps->addItem(tr("%1 frames a second").arg(rate), rate);
    m_fps->setCurrentIndex(std::max(0, static_cast<int>(rates.indexOf(initial.settings.fps))));
    form->addRow(tr("Frame rate"), m_fps);

    m_quality = new QSpinBox;
    m_quality->setRange(1, 100);
    m_quality->setValue(initial.settings.quality);
    form->addRow(tr("Quality"), m_quality);
    root->addLayout(form);

    m_summary = new QLabel;
    m_summary->setPalette(secondary);
    root->addWidget(m_summary);

    // One column of equal fields reads as one form.
    for (QWidget* field :
         std::initializer_list<QWidget*>{m_motion, m_format, m_side, m_duration, m_fps, m_quality})
        field->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    QPushButton* cancel = buttons->button(QDialogButtonBox::Cancel);
    cancel->setIcon(QIcon()); // words, like Export
    // Return exports: Cancel never takes the default from Export.
    cancel->setAutoDefault(false);
    QPushButton* exportButton = buttons->addButton(tr("Export…"), QDialogButtonBox::AcceptRole);
    exportButton->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    root->addWidget(buttons);

    for (QComboBox* box : {m_motion, m_format, m_side, m_fps})
        connect(box, &QComboBox::currentIndexChanged, this, &AnimationDialog::refresh);
    connect(m_duration, &QDoubleSpinBox::valueChanged, this, &AnimationDialog::refresh);
    refresh();
    setMinimumWidth(420);
    m_motion->setFocus();
}

AnimationChoice AnimationDialog::choice() const {
    AnimationChoice c;
    c.settings.motion = static_cast<Motion>(m_motion->currentData().toInt());
    c.settings.side = m_side->currentData().toInt();
    c.settings.durationSeconds = m_duration->value();
    c.settings.fps = m_fps->currentData().toInt();
    c.settings.quality = m_quality->value();
    c.format = formats.value(m_format->currentIndex(), AnimationFormat::mp4);
    return c;
}

void AnimationDialog::refresh() {
    const AnimationChoice c = choice();
    // GIF's palette has no quality to set.
    m_quality->setEnabled(c.format != AnimationFormat::gif);
    m_summary->setText(
        tr("%1 frames, %2")
            .arg(c.settings.frameCount())
            .arg(c.settings.motion == Motion::spin
                     ? tr("one turn, loops without a seam")
                     : tr("unrolls for %1 s, then holds")
                           .arg(c.settings.durationSeconds * introShare, 0, 'f', 1)));
}

} // namespace velmora::ui
