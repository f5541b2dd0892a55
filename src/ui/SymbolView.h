#pragma once

#include <QColor>
#include <QString>
#include <QWidget>

namespace velmora::ui {

/// A symbol drawn as a fixed-size image beside text, sized to match a font size.
class SymbolView : public QWidget {
public:
    SymbolView(QString symbol, double fontSize, QColor color, QWidget* parent = nullptr);

    QString symbol() const { return m_symbol; }
    QColor color() const { return m_color; }
    void setColor(const QColor& color);
    void setSymbol(const QString& symbol);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    QColor m_color;
};

} // namespace velmora::ui
