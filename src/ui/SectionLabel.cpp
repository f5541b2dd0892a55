#include "ui/SectionLabel.h"

#include "style/Palette.h"
#include "style/Typography.h"

namespace velmora::ui {

SectionLabel::SectionLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent) {
    setFont(style::uiFont(11, QFont::Bold, 1.5));
    setTextFormat(Qt::PlainText);
    QPalette palette = this->palette();
    palette.setColor(QPalette::WindowText, style::Palette::secondaryText);
    setPalette(palette);
}

} // namespace velmora::ui
