#pragma once

#include "render/Image.h"

#include <QImage>
#include <QRect>

#include <vector>

namespace velmora::render {

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
    };

    static constexpr int tileSize = 64;

    /// Renders `area` of `image` (image coordinates) into a new 8-bit image, with an
    /// ordered dither of half a code value so smooth gradients do not band. Returns a
    /// null image when the area is empty or its memory cannot be had.
    QImage render(const Image& image, const QRect& area, Layout layout) const;

    /// Renders into an existing 8-bit image of area's size in one of the two layouts
    /// (Format_ARGB32_Premultiplied or Format_RGBA8888).
    bool renderInto(const Image& image, const QRect& area, QImage& target) const;

    /// The raw tile values (premultiplied, sRGB-encoded, unclamped floats), four per
    /// pixel, row after row: for tests and tools that need exact numbers.
    std::vector<float> renderFloats(const Image& image, const QRect& area) const;
};

} // namespace velmora::render
