#pragma once

#include "render/Image.h"

#include <QImage>
#include <QRect>

#include <atomic>
#include <vector>

namespace velmora::render {

/// How far a render has come, for a progress bar on another thread: units done (tiles,
/// or strips of a PNG written as it renders) out of units in all. Written by the
/// render, read by anyone.
struct RenderProgress {
    std::atomic<int> done{0};
    std::atomic<int> total{0};
    /// Set by whoever waits, to stop work that checks it (an animation between frames).
    std::atomic<bool> cancelled{false};

    /// 0 before the render has counted its work, then the share done, up to 1.
    double fraction() const {
        const int all = total.load(std::memory_order_relaxed);
        return all > 0 ? static_cast<double>(done.load(std::memory_order_relaxed)) / all : 0.0;
    }
};

/// How a render cuts an area into tiles: squares of `size` from its top-left, cut short
/// at its right; at its bottom a few rows left below the last whole row of tiles (up
/// to a quarter of a tile) join it rather than make thin tiles of their own. A kept
/// render cuts its pixels the same way, so each of its tiles is made and then read by
/// one thread while it is still in cache.
struct TileGrid {
    static constexpr int size = 64;

    explicit TileGrid(const QRect& area);

    int count() const { return columns * rows; }
    /// Tile `index`, row by row.
    QRect tile(int index) const;
    /// The column and row of the tile holding pixel column x, row y (inside the area).
    int columnOf(int x) const;
    int rowOf(int y) const;

    QRect area;
    int columns = 0;
    int rows = 0;
};

/// Renders lazy images into pixels: the area is cut into tiles, every stage of the
/// recipe runs fused per tile (no full-size intermediates), and the tiles run on the
/// oneTBB thread pool while the calling thread waits and helps.
class RenderContext {
public:
    enum class Layout {
        /// QImage::Format_ARGB32_Premultiplied, the fastest to paint on screen.
        premultipliedArgb32,
        /// QImage::Format_RGBA8888, straight alpha, as PNG stores it.
        straightRgba8,
        /// QImage::Format_RGBA64, straight alpha, undithered: an intermediate picture
        /// that keeps what 8 bits would lose.
        straightRgba16,
    };

    /// Renders `area` of `image` (image coordinates) into a new image; 8-bit layouts get
    /// an ordered dither of half a code value so smooth gradients do not band. Returns
    /// a null image when the area is empty or its memory cannot be had.
    /// `progress`, when given, counts the tiles as they finish.
    QImage render(const Image& image, const QRect& area, Layout layout,
                  RenderProgress* progress = nullptr) const;

    /// Renders into an existing image of area's size in one of the layouts
    /// (Format_ARGB32_Premultiplied, Format_RGBA8888 or Format_RGBA64).
    bool renderInto(const Image& image, const QRect& area, QImage& target,
                    RenderProgress* progress = nullptr) const;

    /// The raw tile values (premultiplied, sRGB-encoded, unclamped floats), four per
    /// pixel, row after row: for tests and tools that need exact numbers.
    std::vector<float> renderFloats(const Image& image, const QRect& area) const;
    /// The same into `pixels`, which holds 4 * area's pixels and need not be
    /// initialised: tiles render straight into it.
    void renderFloatsInto(const Image& image, const QRect& area, float* pixels) const;
};

} // namespace velmora::render
