#include "ui/ChoiceRow.h"

#include "style/Palette.h"
#include "style/Typography.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>

namespace velmora::ui {

ChoiceRow::ChoiceRow(const QString& title, const QStringList& labels, std::function<int()> get,
                     std::function<void(int)> set, QWidget* parent)
    : QWidget(parent)
    , m_get(std::move(get))
    , m_set(std::move(set)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(12);
    // The slider titles' type, so the row reads as one of the settings.
    auto* name = new QLabel(title.toUpper(), this);
    name->setTextFormat(Qt::PlainText);
    name->setFont(style::uiFont(11, QFont::DemiBold, 0.5));
    QPalette pal = name->palette();
    pal.setColor(QPalette::WindowText, style::Palette::secondaryText);
    name->setPalette(pal);
    row->addWidget(name, 0, Qt::AlignVCenter);
    row->addStretch(1);
    m_menu = new QComboBox(this);
    m_menu->addItems(labels);
    m_menu->setAccessibleName(title);
    m_menu->setFont(style::uiFont(12));
    row->addWidget(m_menu, 0, Qt::AlignVCenter);
    connect(m_menu, &QComboBox::activated, this, [this](int index) {
        if (index != m_get())
            m_set(index);
    });
    refresh();
}

void ChoiceRow::refresh() {
    const QSignalBlocker quiet(m_menu);
    m_menu->setCurrentIndex(m_get());
}

} // namespace velmora::ui
