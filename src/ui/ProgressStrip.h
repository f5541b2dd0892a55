#pragma once

#include <QWidget>

#include <functional>

class QTimer;

namespace velmora::ui {

/// A thin accent bar along the top of its parent that fills as work goes on; it
/// reads its value from `source` while shown, so the work needs no link back to the
/// window.
class ProgressStrip : public QWidget {
public:
    static constexpr int thickness = 3;
    static constexpr int refreshMs = 40;

    ProgressStrip(std::function<double()> source, QWidget* parent = nullptr);

    double value() const { return m_value; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void poll();

    std::function<double()> m_source;
    QTimer* m_timer = nullptr;
    double m_value = 0.0;
};

} // namespace velmora::ui
