#pragma once

#include "ui/FloatingCapsule.h"

#include <QCoreApplication>

class QLabel;

namespace velmora::ui {

class SymbolView;

/// A short message floating at the bottom of the window: "Copied to clipboard" after
/// a copy, or what went wrong when an export, a copy or a picture failed.
class Toast : public FloatingCapsule {
    Q_DECLARE_TR_FUNCTIONS(Toast)

public:
    enum class Kind { done, failed };

    /// Widest the capsule grows; longer messages wrap.
    static constexpr int maxTextWidth = 520;

    explicit Toast(QWidget* parent = nullptr);

    void setMessage(Kind kind, const QString& text);
    Kind kind() const { return m_kind; }
    QString text() const;

private:
    Kind m_kind = Kind::done;
    QString m_text;
    SymbolView* m_symbol = nullptr;
    QLabel* m_label = nullptr;
};

} // namespace velmora::ui
