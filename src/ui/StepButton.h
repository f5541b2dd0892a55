#pragma once

#include <QAbstractButton>
#include <QString>

namespace velmora::ui {

/// A small square button showing one symbol, as beside a slider ("minus", "plus").
/// clicked() is its action; the owner enables and disables it.
class StepButton : public QAbstractButton {
public:
    static constexpr int side = 18;

    explicit StepButton(QString symbol, QWidget* parent = nullptr);

    QString symbol() const { return m_symbol; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
};

} // namespace velmora::ui
