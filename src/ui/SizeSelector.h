#pragma once

#include <QList>
#include <QWidget>

#include <functional>

namespace velmora::ui {

/// A row of segments, one per output size, on one rounded track; the chosen one is
/// raised. Choosing a size only reports it: nothing renders.
class SizeSelector : public QWidget {
    Q_OBJECT

public:
    SizeSelector(QList<int> sizes, std::function<int()> current, std::function<void(int)> choose,
                 QWidget* parent = nullptr);
    /// Re-reads the current size.
    void refresh();
    QList<int> sizes() const { return m_sizes; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    class Segment;
    QList<int> m_sizes;
    std::function<int()> m_current;
    QList<Segment*> m_segments;
};

} // namespace velmora::ui
