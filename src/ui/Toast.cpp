#include "ui/Toast.h"

#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/SymbolView.h"

#include <QHBoxLayout>
#include <QLabel>

namespace velmora::ui {

Toast::Toast(QWidget* parent)
    : FloatingCapsule(parent) {
    setObjectName(QStringLiteral("toast"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* row = new QHBoxLayout(this);
    const QMargins shadow = shadowMargins();
    row->setContentsMargins(shadow.left() + 16, shadow.top() + 11, shadow.right() + 16,
                            shadow.bottom() + 11);
    row->setSpacing(8);
    m_symbol =
        new SymbolView(QStringLiteral("checkmark.circle.fill"), 13, style::Palette::accent, this);
    row->addWidget(m_symbol, 0, Qt::AlignTop);
    m_label = new QLabel(this);
    m_label->setFont(style::uiFont(13, QFont::Medium));
    m_label->setTextFormat(Qt::PlainText);
    QPalette pal = m_label->palette();
    pal.setColor(QPalette::WindowText, Qt::white);
    m_label->setPalette(pal);
    row->addWidget(m_label);
    setMessage(Kind::done, tr("Copied to clipboard"));
}

void Toast::setMessage(Kind kind, const QString& text) {
    m_kind = kind;
    m_symbol->setSymbol(kind == Kind::done ? QStringLiteral("checkmark.circle.fill")
                                           : QStringLiteral("exclamationmark.circle.fill"));
    m_symbol->setColor(kind == Kind::done ? style::Palette::accent : style::Palette::warm);
    m_text = text;
    // One line while it fits; a long message wraps rather than running off the
    // window, and a long path may break after any of its slashes.
    const bool wraps = m_label->fontMetrics().horizontalAdvance(text) > maxTextWidth;
    QString shown = text;
    if (wraps)
        shown.replace(QLatin1Char('/'), QStringLiteral("/\u200b"));
    m_label->setText(shown);
    m_label->setWordWrap(wraps);
    if (wraps) {
        m_label->setFixedWidth(maxTextWidth);
    } else {
        m_label->setMinimumWidth(0);
        m_label->setMaximumWidth(QWIDGETSIZE_MAX);
    }
    adjustSize();
}

QString Toast::text() const {
    return m_text;
}

} // namespace velmora::ui
