#include "ui/FlowLayout.h"

#include <QWidget>

#include <algorithm>

namespace velmora::ui {

FlowLayout::FlowLayout(QWidget* parent, int spacing)
    : QLayout(parent) {
    setContentsMargins(0, 0, 0, 0);
    setSpacing(spacing);
}

FlowLayout::~FlowLayout() {
    while (QLayoutItem* item = takeAt(0))
        delete item;
}

void FlowLayout::addItem(QLayoutItem* item) {
    m_items.append(item);
}

int FlowLayout::count() const {
    return static_cast<int>(m_items.size());
}

QLayoutItem* FlowLayout::itemAt(int index) const {
    return m_items.value(index);
}

QLayoutItem* FlowLayout::takeAt(int index) {
    return index >= 0 && index < m_items.size() ? m_items.takeAt(index) : nullptr;
}

int FlowLayout::heightForWidth(int width) const {
    return arrange(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::sizeHint() const {
    // One row when there is room for it.
    int width = 0;
    int height = 0;
    for (const QLayoutItem* item : m_items) {
        const QSize hint = item->sizeHint();
        width += hint.width() + (width > 0 ? spacing() : 0);
        height = std::max(height, hint.height());
    }
    const QMargins m = contentsMargins();
    return {width + m.left() + m.right(), height + m.top() + m.bottom()};
}

QSize FlowLayout::minimumSize() const {
    QSize widest;
    for (const QLayoutItem* item : m_items)
        widest = widest.expandedTo(item->minimumSize());
    const QMargins m = contentsMargins();
    return widest + QSize(m.left() + m.right(), m.top() + m.bottom());
}

void FlowLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int FlowLayout::arrange(const QRect& rect, bool apply) const {
    const QRect area = rect.marginsRemoved(contentsMargins());
    int x = area.x();
    int y = area.y();
    int rowHeight = 0;
    for (QLayoutItem* item : m_items) {
        if (item->isEmpty())
            continue;
        const QSize hint = item->sizeHint();
        // A new row, unless this is the row's first item (which may be too wide).
        if (x > area.x() && x + hint.width() > area.right() + 1) {
            x = area.x();
            y += rowHeight + spacing();
            rowHeight = 0;
        }
        if (apply)
            item->setGeometry(QRect(QPoint(x, y), hint));
        x += hint.width() + spacing();
        rowHeight = std::max(rowHeight, hint.height());
    }
    const QMargins m = contentsMargins();
    return y + rowHeight - rect.y() + m.bottom();
}

} // namespace velmora::ui
