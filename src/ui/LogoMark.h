#pragma once

#include <QWidget>

namespace velmora::ui {

/// The header's mark: a dashed ring round a dot, in the accent colour.
class LogoMark : public QWidget {
public:
    explicit LogoMark(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {30, 30}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace velmora::ui
