#include "ui/CopyToast.h"

#include "ui/Palette.h"
#include "ui/SymbolView.h"
#include "ui/Typography.h"

#include <QHBoxLayout>
#include <QLabel>

namespace velmora::ui {

CopyToast::CopyToast(QWidget* parent)
    : FloatingCapsule(parent) {
    setObjectName(QStringLiteral("copyToast"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* row = new QHBoxLayout(this);
    const QMargins shadow = shadowMargins();
    row->setContentsMargins(shadow.left() + 16, shadow.top() + 11, shadow.right() + 16,
                            shadow.bottom() + 11);
    row->setSpacing(8);
    row->addWidget(
        new SymbolView(QStringLiteral("checkmark.circle.fill"), 13, Palette::accent, this));
    auto* label = new QLabel(QStringLiteral("Copied to clipboard"), this);
    label->setFont(uiFont(13, QFont::Medium));
    QPalette pal = label->palette();
    pal.setColor(QPalette::WindowText, Qt::white);
    label->setPalette(pal);
    row->addWidget(label);
    adjustSize();
}

} // namespace velmora::ui
