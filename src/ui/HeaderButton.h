#pragma once

#include <QAbstractButton>
#include <QColor>

namespace velmora::ui {

/// The window's own buttons: a symbol, optionally a text after it, on a rounded
/// fill with an optional outline. Drawn at a reduced opacity while disabled.
class HeaderButton : public QAbstractButton {
    Q_OBJECT

public:
    struct Look {
        QColor foreground;
        QColor fill;
        QColor outline; ///< transparent for none
        double radius = 11.0;
    };

    HeaderButton(QString symbol, QString text, QWidget* parent = nullptr);

    /// The look while enabled (and, for a checkable button, unchecked) and when checked.
    void setLook(const Look& look);
    void setCheckedLook(const Look& look);
    /// Padding round the content, in logical pixels.
    void setPadding(int horizontal, int vertical);
    /// A fixed square instead of a size from the content (undo, redo, window controls).
    void setSquare(int side);
    void setFontPixelSize(int size) {
        m_fontSize = size;
        updateGeometry();
    }
    /// Opacity while disabled.
    void setDisabledOpacity(double opacity) { m_disabledOpacity = opacity; }
    void setSymbol(const QString& symbol);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    Look m_look;
    Look m_checkedLook;
    bool m_hasCheckedLook = false;
    int m_padH = 16;
    int m_padV = 10;
    int m_square = 0;
    int m_fontSize = 13;
    double m_disabledOpacity = 0.4;
};

} // namespace velmora::ui
