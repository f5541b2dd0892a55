#pragma once

#include "kernels/KernelAbi.h"
#include "render/SpherePlacement.h"

#include <QImage>

#include <oneapi/tbb/collaborative_call_once.h>

#include <memory>
#include <type_traits>
#include <vector>

namespace velmora::render {

/// Calls `f` with a source's VmPixelFormat as a compile-time constant,
/// std::integral_constant<int, VM_FORMAT_...>, so templated samplers are chosen once
/// per call instead of per pixel. Unknown values take the 16-bit path, as create()
/// never makes them.
template <typename F>
decltype(auto) withPixelFormat(int format, F&& f) {
    switch (format) {
    case VM_FORMAT_RGBA8:
        return f(std::integral_constant<int, VM_FORMAT_RGBA8>{});
    case VM_FORMAT_BGRA8:
        return f(std::integral_constant<int, VM_FORMAT_BGRA8>{});
    default:
        return f(std::integral_constant<int, VM_FORMAT_RGBA16>{});
    }
}

/// Whether pictures of this format hold more than 8 bits a channel, so they are
/// kept at 16 bits (8 bytes a pixel) rather than 8.
bool isDeepFormat(QImage::Format format);

/// Decoded pixels of a source picture, as read: sRGB-encoded, straight alpha, 8 or 16
/// bits per channel. A mip pyramid (each level half the size, averaged and kept in
/// linear light at 16 bits, VM_FORMAT_LINEAR16) is built on first need; it adds two
/// thirds of an 8-bit picture's memory, a third of a 16-bit one's.
/// Immutable apart from that one-time build, so it can be shared across threads.
class SourcePixels {
public:
    /// Keeps 16-bit pictures at 16 bits and 8-bit ones at 8, converting only layouts
    /// the samplers do not read directly. Null for a null image.
    static std::shared_ptr<const SourcePixels> create(QImage image);
    /// The same pixels (shared, not copied) placed on the sphere as `placement` says.
    std::shared_ptr<const SourcePixels> withPlacement(const SpherePlacement& placement) const;
    const SpherePlacement& placement() const { return m_placement; }

    int width() const { return m_levels.front().width(); }
    int height() const { return m_levels.front().height(); }
    bool isSixteenBit() const { return m_format == VM_FORMAT_RGBA16; }
    /// Whether the left and right ends continue into each other, judged by how the
    /// step across the seam compares with steps between neighbouring columns.
    /// Known after ensurePyramid().
    bool wraps() const { return m_seamWraps; }
    const QImage& image() const { return m_levels.front(); }

    /// Builds the pyramid and the seam table once; safe to call from any thread,
    /// cheap afterwards.
    void ensurePyramid() const;
    /// The sampler over the levels built so far (level 0 only before ensurePyramid).
    const VmSampler& sampler() const { return m_sampler; }

    explicit SourcePixels(QImage image, int format);

private:
    void buildPyramid() const;
    void buildSeamTable() const;
    void buildEdgeTable() const;
    void refreshSampler() const;
    /// Level `index` as samplers see it (without a row's padding).
    VmLevel levelView(size_t index) const;

    int m_format;
    SpherePlacement m_placement;
    mutable std::vector<QImage> m_levels;
    mutable std::vector<float> m_seamDelta;
    mutable std::vector<float> m_edgeSums;
    mutable bool m_seamWraps = true;
    mutable VmSampler m_sampler{};
    mutable tbb::collaborative_once_flag m_pyramidOnce;
};

} // namespace velmora::render
