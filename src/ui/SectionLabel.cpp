#include "ui/SectionLabel.h"

#include "ui/Palette.h"
#include "ui/Typography.h"

namespace velmora::ui {

SectionLabel::SectionLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent) {
    setFont(uiFont(11, QFont::Bold, 1.5));
    setTextFormat(Qt::PlainText);
    QPalette palette = this->palette();
    palette.setColor(QPalette::WindowText, Palette::secondaryText);
    setPalette(palette);
}

} // namespace velmora::ui
