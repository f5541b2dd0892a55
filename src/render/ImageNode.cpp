#include "render/ImageNode.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace velmora::render {

void TileView::clear() const {
    for (int y = 0; y < height; ++y)
        std::memset(row(y), 0, sizeof(float) * 4 * static_cast<size_t>(width));
}

Scratch::Buffer::Buffer(Scratch& owner, std::vector<float> storage, int width, int height)
    : m_owner(owner)
    , m_storage(std::move(storage))
    , m_view{m_storage.data(), width, height, 4 * static_cast<std::ptrdiff_t>(width)} {}

Scratch::Buffer::~Buffer() {
    m_owner.m_free.push_back(std::move(m_storage));
}

Scratch::Buffer Scratch::acquire(int width, int height) {
    const size_t needed = 4 * static_cast<size_t>(width) * static_cast<size_t>(height);
    std::vector<float> storage;
    if (!m_free.empty()) {
        storage = std::move(m_free.back());
        m_free.pop_back();
    }
    if (storage.size() < needed)
        storage.resize(needed);
    return Buffer(*this, std::move(storage), width, height);
}

namespace extents {

QRectF infinite() {
    constexpr double inf = std::numeric_limits<double>::infinity();
    return QRectF(-inf, -inf, inf, inf);
}

bool isInfinite(const QRectF& r) {
    return std::isinf(r.width()) || std::isinf(r.height());
}

QRectF intersected(const QRectF& a, const QRectF& b) {
    if (isInfinite(a))
        return b;
    if (isInfinite(b))
        return a;
    return a.intersected(b);
}

QRectF united(const QRectF& a, const QRectF& b) {
    if (isInfinite(a) || isInfinite(b))
        return infinite();
    if (a.isEmpty())
        return b;
    if (b.isEmpty())
        return a;
    return a.united(b);
}

QRect pixelsOf(const QRectF& r, const QRect& within) {
    if (isInfinite(r))
        return within;
    if (!(r.width() > 0.0) || !(r.height() > 0.0))
        return {};
    const auto bound = [](double v, int lo, int hi) {
        return static_cast<int>(std::clamp(v, static_cast<double>(lo), static_cast<double>(hi)));
    };
    // Pixel i is inside when its centre i + 0.5 lies in [left, right).
    const int x0 = bound(std::ceil(r.left() - 0.5), within.left(), within.right() + 1);
    const int x1 = bound(std::ceil(r.right() - 0.5), within.left(), within.right() + 1);
    const int y0 = bound(std::ceil(r.top() - 0.5), within.top(), within.bottom() + 1);
    const int y1 = bound(std::ceil(r.bottom() - 0.5), within.top(), within.bottom() + 1);
    if (x1 <= x0 || y1 <= y0)
        return {};
    return QRect(x0, y0, x1 - x0, y1 - y0);
}

} // namespace extents

} // namespace velmora::render
