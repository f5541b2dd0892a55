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
        /// QImage::Format_RGBA64, straight alpha, undithered: an intermediate picture
        /// that keeps what 8 bits would lose.
        straightRgba16,
    };

    static constexpr int tileSize = 64;

    /// Renders `area` of `image` (image coordinates) into a new image; 8-bit layouts get
    /// an ordered dither of half a code value so smooth gradients do not band. Returns
    /// a null image when the area is empty or its memory cannot be had.
    QImage render(const Image& image, const QRect& area, Layout layout) const;

    /// Renders into an existing image of area's size in one of the layouts
    /// (Format_ARGB32_Premultiplied, Format_RGBA8888 or Format_RGBA64).
    bool renderInto(const Image& image, const QRect& area, QImage& target) const;

    /// The raw tile values (premultiplied, sRGB-encoded, unclamped floats), four per
    /// pixel, row after row: for tests and tools that need exact numbers.
    std::vector<float> renderFloats(const Image& image, const QRect& area) const;
};

} // namespace velmora::render
