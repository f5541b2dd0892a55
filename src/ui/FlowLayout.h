#pragma once

#include <QLayout>
#include <QList>

namespace velmora::ui {

/// Lays its items out left to right and starts a new row where the next item would
/// pass the right edge, so every item stays in view at any width. Rows are
/// `spacing()` apart and items `spacing()` apart within a row.
class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* parent = nullptr, int spacing = 6);
    ~FlowLayout() override;

    void addItem(QLayoutItem* item) override;
    int count() const override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;

    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    /// Places the items in `rect` (only measures when `apply` is false) and returns
    /// the height they take.
    int arrange(const QRect& rect, bool apply) const;

    QList<QLayoutItem*> m_items;
};

} // namespace velmora::ui
