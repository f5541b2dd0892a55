#pragma once

#include <QRect>
#include <QRectF>

#include <cstddef>
#include <memory>
#include <vector>

namespace velmora::render {

/// A rectangle of premultiplied RGBA floats (four per pixel).
struct TileView {
    float* pixels = nullptr;
    int width = 0;
    int height = 0;
    std::ptrdiff_t stride = 0; ///< floats from one row to the next

    float* row(int y) const { return pixels + y * stride; }
    TileView sub(int x, int y, int w, int h) const {
        return {pixels + y * stride + 4 * x, w, h, stride};
    }
    void clear() const;
};

/// Per-thread scratch buffers, reused from tile to tile.
class Scratch {
public:
    class Buffer {
    public:
        Buffer(Scratch& owner, std::vector<float> storage, int width, int height);
        Buffer(const Buffer&) = delete;
        Buffer& operator=(const Buffer&) = delete;
        ~Buffer();
        TileView view() const { return m_view; }

    private:
        Scratch& m_owner;
        std::vector<float> m_storage;
        TileView m_view;
    };

    /// A width x height tile buffer; contents undefined.
    Buffer acquire(int width, int height);

private:
    friend class Buffer;
    std::vector<std::vector<float>> m_free;
};

/// One stage of an image recipe. Immutable once built; render() may run on many
/// threads at once.
class ImageNode {
public:
    explicit ImageNode(const QRectF& extent)
        : m_extent(extent) {}
    virtual ~ImageNode() = default;

    const QRectF& extent() const { return m_extent; }

    /// Fills `out` with the pixels of `rect` (same size), transparent outside the extent.
    virtual void render(const QRect& rect, const TileView& out, Scratch& scratch) const = 0;

    /// One-time work before a render fans out over threads (building pyramids).
    virtual void prepare() const {}

    /// The pixels of `rect` when this node already holds them all (a kept render), with
    /// their row `stride` in floats, so a per-pixel stage can read them in place
    /// instead of a copy. Null when it does not.
    virtual const float* heldPixels(const QRect& rect, std::ptrdiff_t& stride) const {
        (void)rect;
        (void)stride;
        return nullptr;
    }

private:
    QRectF m_extent;
};

/// Infinite and empty extents and their arithmetic.
namespace extents {
QRectF infinite();
bool isInfinite(const QRectF& r);
QRectF intersected(const QRectF& a, const QRectF& b);
QRectF united(const QRectF& a, const QRectF& b);
/// Pixels whose centres lie inside `r`, bounded to `within`.
QRect pixelsOf(const QRectF& r, const QRect& within);
} // namespace extents

} // namespace velmora::render
