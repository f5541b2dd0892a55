#include "render/Image.h"

#include "kernels/Sampling.h"
#include "render/ImageNode.h"
#include "render/RenderContext.h"
#include "render/SourcePixels.h"

#include <oneapi/tbb/collaborative_call_once.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace velmora::render {

namespace {

using sampling::Rgba;

class EmptyNode final : public ImageNode {
public:
    EmptyNode()
        : ImageNode(QRectF()) {}
    void render(const QRect&, const TileView& out, Scratch&) const override { out.clear(); }
};

} // namespace

/// Decoded pixels placed at a whole-pixel offset: copied, not resampled.
class SourceNode final : public ImageNode {
public:
    SourceNode(std::shared_ptr<const SourcePixels> pixels, QPoint offset)
        : ImageNode(QRectF(offset, QSizeF(pixels->width(), pixels->height())))
        , m_pixels(std::move(pixels))
        , m_offset(offset) {}

    void render(const QRect& rect, const TileView& out, Scratch&) const override {
        out.clear();
        const QRect inside = rect.intersected(QRect(m_offset, m_pixels->image().size()));
        if (inside.isEmpty())
            return;
        const QImage& image = m_pixels->image();
        const bool deep = m_pixels->isSixteenBit();
        const bool bgra =
            image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_RGB32;
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            const uchar* line = image.constScanLine(y - m_offset.y());
            float* o = out.row(y - rect.top()) + 4 * (inside.left() - rect.left());
            for (int x = inside.left(); x <= inside.right(); ++x, o += 4) {
                const int sx = x - m_offset.x();
                float c[4];
                if (deep) {
                    const auto* p = reinterpret_cast<const quint16*>(line) + 4 * sx;
                    for (int i = 0; i < 4; ++i)
                        c[i] = p[i] * (1.f / 65535.f);
                } else {
                    const uchar* p = line + 4 * sx;
                    c[0] = p[bgra ? 2 : 0] * (1.f / 255.f);
                    c[1] = p[1] * (1.f / 255.f);
                    c[2] = p[bgra ? 0 : 2] * (1.f / 255.f);
                    c[3] = p[3] * (1.f / 255.f);
                }
                o[0] = c[0] * c[3];
                o[1] = c[1] * c[3];
                o[2] = c[2] * c[3];
                o[3] = c[3];
            }
        }
    }

    const std::shared_ptr<const SourcePixels>& pixels() const { return m_pixels; }
    QPoint offset() const { return m_offset; }

private:
    std::shared_ptr<const SourcePixels> m_pixels;
    QPoint m_offset;
};

namespace {

const SourceNode* asSource(const std::shared_ptr<const ImageNode>& node) {
    return dynamic_cast<const SourceNode*>(node.get());
}

/// Any image mapped through an affine transform.
class AffineNode final : public ImageNode {
public:
    AffineNode(std::shared_ptr<const ImageNode> child, const QTransform& forward)
        : ImageNode(extents::isInfinite(child->extent()) ? extents::infinite()
                                                         : forward.mapRect(child->extent()))
        , m_child(std::move(child))
        , m_inverse(forward.inverted()) {
        // Source pixels covered by one destination pixel, along the worse axis.
        const double footprint = std::max(std::hypot(m_inverse.m11(), m_inverse.m12()),
                                          std::hypot(m_inverse.m21(), m_inverse.m22()));
        m_lod = footprint > 1.0 ? static_cast<float>(std::log2(footprint)) : 0.f;
    }

    void prepare() const override {
        if (const SourceNode* source = asSource(m_child); source && m_lod > 0.f)
            source->pixels()->ensurePyramid();
        m_child->prepare();
    }

    void render(const QRect& rect, const TileView& out, Scratch& scratch) const override {
        out.clear();
        const QRect inside = extents::pixelsOf(extent(), rect);
        if (inside.isEmpty())
            return;
        if (const SourceNode* source = asSource(m_child)) {
            return withPixelFormat(source->pixels()->sampler().format, [&](auto format) {
                sampleSource<decltype(format)::value>(*source, rect, inside, out);
            });
        }
        sampleRendered(rect, inside, out, scratch);
    }

private:
    template <int Format>
    void sampleSource(const SourceNode& source, const QRect& rect, const QRect& inside,
                      const TileView& out) const {
        const VmSampler& s = source.pixels()->sampler();
        const float w = static_cast<float>(s.levels[0].width);
        const float h = static_cast<float>(s.levels[0].height);
        const float ox = static_cast<float>(source.offset().x());
        const float oy = static_cast<float>(source.offset().y());
        // Fall back to bilinear when the pyramid was not built (no prepare()).
        const float lod = s.levelCount > 1 ? m_lod : 0.f;
        // Source position = a * x + b * y + c for the pixel centre (x, y), in doubles
        // from absolute coordinates, so tiles agree to the bit.
        const double ax = m_inverse.m11(), bx = m_inverse.m21(), cx = m_inverse.dx() - ox;
        const double ay = m_inverse.m12(), by = m_inverse.m22(), cy = m_inverse.dy() - oy;
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            const double py = y + 0.5;
            const double rowX = bx * py + cx;
            const double rowY = by * py + cy;
            // Only the stretch of the row whose samples can touch the artwork.
            double from = inside.left();
            double to = inside.right();
            const auto clip = [&](double slope, double start, double lo, double hi) {
                // slope * (x + 0.5) + start within [lo, hi]
                if (slope == 0.0) {
                    if (start < lo || start > hi)
                        to = from - 1;
                    return;
                }
                double a = (lo - start) / slope - 0.5;
                double b = (hi - start) / slope - 0.5;
                if (a > b)
                    std::swap(a, b);
                from = std::max(from, std::floor(a));
                to = std::min(to, std::ceil(b));
            };
            clip(ax, rowX, -1.0, w + 1.0);
            clip(ay, rowY, -1.0, h + 1.0);
            if (!(to >= from))
                continue;
            const int x0 = static_cast<int>(from);
            const int x1 = static_cast<int>(to);
            float* o = out.row(y - rect.top()) + 4 * (x0 - rect.left());
            for (int x = x0; x <= x1; ++x, o += 4) {
                const double px = x + 0.5;
                const float sx = static_cast<float>(ax * px + rowX);
                const float sy = static_cast<float>(ay * px + rowY);
                if (sx < -1.f || sy < -1.f || sx > w + 1.f || sy > h + 1.f)
                    continue;
                // Enlarged or drawn at its size, the artwork needs no pyramid level.
                const Rgba c = lod > 0.f
                                   ? sampling::sampleLod<Format, false>(s, sx / w, sy / h, lod)
                                   : sampling::bilinear<Format, false>(s, s.levels[0], sx, sy);
                _mm_storeu_ps(o, c.v);
            }
            sampling::encodeSpan(out.row(y - rect.top()) + 4 * (x0 - rect.left()), x1 - x0 + 1);
        }
    }

    /// The general case: render the child's region of interest, then resample it.
    void sampleRendered(const QRect& rect, const QRect& inside, const TileView& out,
                        Scratch& scratch) const {
        const QRectF wanted = m_inverse.mapRect(QRectF(inside)).adjusted(-2, -2, 2, 2);
        const QRect roi = extents::pixelsOf(extents::intersected(wanted, m_child->extent()),
                                            wanted.toAlignedRect());
        if (roi.isEmpty())
            return;
        Scratch::Buffer buffer = scratch.acquire(roi.width(), roi.height());
        const TileView src = buffer.view();
        m_child->render(roi, src, scratch);
        const auto at = [&](int x, int y) -> const float* {
            static const float zero[4] = {0, 0, 0, 0};
            if (x < 0 || y < 0 || x >= src.width || y >= src.height)
                return zero;
            return src.row(y) + 4 * x;
        };
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            float* o = out.row(y - rect.top()) + 4 * (inside.left() - rect.left());
            for (int x = inside.left(); x <= inside.right(); ++x, o += 4) {
                const QPointF p = m_inverse.map(QPointF(x + 0.5, y + 0.5));
                const float fx = sampling::clampf(static_cast<float>(p.x() - roi.left() - 0.5),
                                                  -2.f, static_cast<float>(src.width) + 1.f);
                const float fy = sampling::clampf(static_cast<float>(p.y() - roi.top() - 0.5), -2.f,
                                                  static_cast<float>(src.height) + 1.f);
                const int x0 = static_cast<int>(std::floor(fx));
                const int y0 = static_cast<int>(std::floor(fy));
                const float tx = fx - static_cast<float>(x0);
                const float ty = fy - static_cast<float>(y0);
                const float *a = at(x0, y0), *b = at(x0 + 1, y0), *c = at(x0, y0 + 1),
                            *d = at(x0 + 1, y0 + 1);
                for (int i = 0; i < 4; ++i) {
                    const float top = a[i] + (b[i] - a[i]) * tx;
                    const float bottom = c[i] + (d[i] - c[i]) * tx;
                    o[i] = top + (bottom - top) * ty;
                }
            }
        }
    }

    std::shared_ptr<const ImageNode> m_child;
    QTransform m_inverse;
    float m_lod = 0.f;
};

class CropNode final : public ImageNode {
public:
    CropNode(std::shared_ptr<const ImageNode> child, const QRectF& rect)
        : ImageNode(extents::intersected(child->extent(), rect))
        , m_child(std::move(child)) {}
    void prepare() const override { m_child->prepare(); }
    void render(const QRect& rect, const TileView& out, Scratch& scratch) const override {
        const QRect inside = extents::pixelsOf(extent(), rect);
        if (inside == rect) {
            m_child->render(rect, out, scratch);
            return;
        }
        out.clear();
        if (inside.isEmpty())
            return;
        m_child->render(inside,
                        out.sub(inside.left() - rect.left(), inside.top() - rect.top(),
                                inside.width(), inside.height()),
                        scratch);
    }

private:
    std::shared_ptr<const ImageNode> m_child;
};

/// Renders its child once, over the pixels of its extent, and serves later renders
/// from those floats: the same values the child gives, without its cost. The buffer
/// holds four floats a pixel for the node's life. Each tile (a TileGrid of the extent)
/// is rendered when first asked for, by the thread that asks, so a render cut the same
/// way (the graded preview over the kept projection) reads each tile straight from
/// cache rather than in a second pass over the whole buffer.
class MaterializedNode final : public ImageNode {
public:
    explicit MaterializedNode(std::shared_ptr<const ImageNode> child)
        : ImageNode(child->extent())
        , m_child(std::move(child))
        , m_grid(extent().toAlignedRect()) {}

    void prepare() const override {
        tbb::collaborative_call_once(m_once, [this] {
            if (m_grid.area.isEmpty())
                return;
            m_child->prepare();
            // Uninitialised: each tile writes all of its part before it is read.
            m_pixels = std::make_unique_for_overwrite<float[]>(
                4 * static_cast<size_t>(m_grid.area.width()) *
                static_cast<size_t>(m_grid.area.height()));
            m_made = std::make_unique<tbb::collaborative_once_flag[]>(
                static_cast<size_t>(m_grid.count()));
        });
    }

    const float* heldPixels(const QRect& rect, std::ptrdiff_t& stride) const override {
        prepare();
        if (!m_pixels || !m_grid.area.contains(rect))
            return nullptr;
        for (int row = m_grid.rowOf(rect.top()); row <= m_grid.rowOf(rect.bottom()); ++row)
            for (int column = m_grid.columnOf(rect.left()); column <= m_grid.columnOf(rect.right());
                 ++column)
                make(row * m_grid.columns + column);
        stride = rowFloats();
        return m_pixels.get() + (rect.top() - m_grid.area.top()) * stride +
               4 * (rect.left() - m_grid.area.left());
    }

    void render(const QRect& rect, const TileView& out, Scratch& scratch) const override {
        (void)scratch;
        const QRect inside = rect.intersected(m_grid.area);
        if (inside != rect)
            out.clear();
        if (inside.isEmpty())
            return;
        std::ptrdiff_t stride = 0;
        const float* from = heldPixels(inside, stride);
        if (!from)
            return;
        for (int y = 0; y < inside.height(); ++y)
            std::memcpy(out.row(inside.top() - rect.top() + y) + 4 * (inside.left() - rect.left()),
                        from + y * stride, sizeof(float) * 4 * static_cast<size_t>(inside.width()));
    }

private:
    std::ptrdiff_t rowFloats() const { return 4 * std::ptrdiff_t{m_grid.area.width()}; }

    void make(int index) const {
        // Collaborative: a thread waiting for a tile another is making helps with the
        // parallel work that tile's render may start, rather than block.
        tbb::collaborative_call_once(m_made[static_cast<size_t>(index)], [this, index] {
            const QRect tile = m_grid.tile(index);
            const TileView whole{m_pixels.get(), m_grid.area.width(), m_grid.area.height(),
                                 rowFloats()};
            Scratch scratch;
            m_child->render(tile,
                            whole.sub(tile.left() - m_grid.area.left(),
                                      tile.top() - m_grid.area.top(), tile.width(), tile.height()),
                            scratch);
        });
    }

    std::shared_ptr<const ImageNode> m_child;
    TileGrid m_grid;
    mutable tbb::collaborative_once_flag m_once;
    mutable std::unique_ptr<float[]> m_pixels;
    mutable std::unique_ptr<tbb::collaborative_once_flag[]> m_made;
};

/// Per-pixel colour operations on straight (unpremultiplied) values.
class ColorNode final : public ImageNode {
public:
    enum class Op { gamma, controls, alpha };

    ColorNode(std::shared_ptr<const ImageNode> child, Op op, double a, double b = 0.0,
              double c = 0.0)
        : ImageNode(child->extent())
        , m_child(std::move(child))
        , m_op(op)
        , m_a(static_cast<float>(a))
        , m_b(static_cast<float>(b))
        , m_c(static_cast<float>(c)) {
        if (m_op == Op::gamma) {
            // pow() per channel would dominate a preview; a fine table does not.
            m_table.resize(tableSize + 1);
            for (int i = 0; i <= tableSize; ++i)
                m_table[i] = std::pow(static_cast<float>(i) / tableSize, m_a);
        }
    }

    void prepare() const override { m_child->prepare(); }

    void render(const QRect& rect, const TileView& out, Scratch& scratch) const override {
        // Over a kept render, read its pixels where they lie rather than copy them first.
        std::ptrdiff_t stride = 0;
        const float* held = m_child->heldPixels(rect, stride);
        if (!held) {
            m_child->render(rect, out, scratch);
            held = out.pixels;
            stride = out.stride;
        }
        // The operation is chosen once per tile, not per pixel.
        switch (m_op) {
        case Op::gamma:
            return applyAll<Op::gamma>(held, stride, out);
        case Op::controls:
            return applyAll<Op::controls>(held, stride, out);
        case Op::alpha:
            return applyAll<Op::alpha>(held, stride, out);
        }
    }

private:
    static constexpr int tableSize = 4096;

    float gamma(float v) const {
        if (!(v > 0.f))
            return v < 0.f ? -std::pow(-v, m_a) : 0.f;
        if (v >= 1.f)
            return std::pow(v, m_a);
        const float x = v * tableSize;
        const int i = static_cast<int>(x);
        return m_table[i] + (m_table[i + 1] - m_table[i]) * (x - static_cast<float>(i));
    }

    /// `in` may be the tile itself (`out`), or pixels held elsewhere.
    template <Op O>
    void applyAll(const float* in, std::ptrdiff_t inStride, const TileView& out) const {
        for (int y = 0; y < out.height; ++y) {
            const float* from = in + y * inStride;
            float* p = out.row(y);
            for (int x = 0; x < out.width; ++x, p += 4, from += 4)
                apply<O>(from, p);
        }
    }

    template <Op O>
    void apply(const float* in, float* p) const {
        if constexpr (O == Op::alpha) {
            for (int i = 0; i < 4; ++i)
                p[i] = in[i] * m_a;
            return;
        }
        const float a = in[3];
        if (a <= 0.f) {
            std::memmove(p, in, 4 * sizeof(float));
            return;
        }
        const float inv = 1.f / a;
        float r = in[0] * inv, g = in[1] * inv, b = in[2] * inv;
        if constexpr (O == Op::gamma) {
            r = gamma(r);
            g = gamma(g);
            b = gamma(b);
        } else {
            const float luma = 0.2125f * r + 0.7154f * g + 0.0721f * b;
            r = (luma + (r - luma) * m_a + m_b - 0.5f) * m_c + 0.5f;
            g = (luma + (g - luma) * m_a + m_b - 0.5f) * m_c + 0.5f;
            b = (luma + (b - luma) * m_a + m_b - 0.5f) * m_c + 0.5f;
        }
        p[0] = r * a;
        p[1] = g * a;
        p[2] = b * a;
        p[3] = a;
    }

    std::shared_ptr<const ImageNode> m_child;
    Op m_op;
    float m_a, m_b, m_c;
    std::vector<float> m_table;
};

class RadialGradientNode final : public ImageNode {
public:
    RadialGradientNode(QPointF centre, double r0, double r1, Color c0, Color c1)
        : ImageNode(extents::infinite())
        , m_cx(static_cast<float>(centre.x()))
        , m_cy(static_cast<float>(centre.y()))
        , m_r0(static_cast<float>(r0))
        , m_r1(static_cast<float>(r1))
        , m_c0(premultiplied(c0))
        , m_c1(premultiplied(c1)) {}

    void render(const QRect& rect, const TileView& out, Scratch&) const override {
        const float span = m_r1 - m_r0;
        for (int y = 0; y < out.height; ++y) {
            float* p = out.row(y);
            const float dy = static_cast<float>(rect.top() + y) + 0.5f - m_cy;
            for (int x = 0; x < out.width; ++x, p += 4) {
                const float dx = static_cast<float>(rect.left() + x) + 0.5f - m_cx;
                const float d = std::sqrt(dx * dx + dy * dy);
                float t = span != 0.f ? (d - m_r0) / span : (d < m_r0 ? 0.f : 1.f);
                t = sampling::clampf(t, 0.f, 1.f);
                for (int i = 0; i < 4; ++i)
                    p[i] = m_c0[i] + (m_c1[i] - m_c0[i]) * t;
            }
        }
    }

private:
    static std::array<float, 4> premultiplied(Color c) {
        const auto a = static_cast<float>(c.a);
        return {static_cast<float>(c.r) * a, static_cast<float>(c.g) * a,
                static_cast<float>(c.b) * a, a};
    }

    float m_cx, m_cy, m_r0, m_r1;
    std::array<float, 4> m_c0, m_c1;
};

/// A background with any number of foregrounds over it, bottom first, each with its
/// blend. The foregrounds are siblings, not a chain, so a stack of a hundred
/// thousand layers neither recurses per layer when it renders nor when it is freed.
class CompositeNode final : public ImageNode {
public:
    using Layer = std::pair<std::shared_ptr<const ImageNode>, BlendOp>;

    CompositeNode(std::shared_ptr<const ImageNode> background, std::vector<Layer> layers)
        : ImageNode(unitedExtent(*background, layers))
        , m_bg(std::move(background))
        , m_layers(std::move(layers)) {}

    void prepare() const override {
        m_bg->prepare();
        for (const Layer& layer : m_layers)
            layer.first->prepare();
    }

    void render(const QRect& rect, const TileView& out, Scratch& scratch) const override {
        m_bg->render(rect, out, scratch);
        for (const auto& [fgNode, op] : m_layers) {
            // Outside the foreground's extent every mode leaves what is under it.
            const QRect inside = extents::pixelsOf(fgNode->extent(), rect);
            if (inside.isEmpty())
                continue;
            Scratch::Buffer buffer = scratch.acquire(inside.width(), inside.height());
            const TileView fg = buffer.view();
            fgNode->render(inside, fg, scratch);
            const TileView under = out.sub(inside.left() - rect.left(), inside.top() - rect.top(),
                                           inside.width(), inside.height());
            // The mode is chosen once per tile, not per pixel.
            switch (op) {
            case BlendOp::over:
                blendAll<BlendOp::over>(fg, under);
                break;
            case BlendOp::screen:
                blendAll<BlendOp::screen>(fg, under);
                break;
            case BlendOp::multiply:
                blendAll<BlendOp::multiply>(fg, under);
                break;
            }
        }
    }

private:
    static QRectF unitedExtent(const ImageNode& background, const std::vector<Layer>& layers) {
        QRectF extent = background.extent();
        for (const Layer& layer : layers)
            extent = extents::united(extent, layer.first->extent());
        return extent;
    }

    template <BlendOp Op>
    static void blendAll(const TileView& fg, const TileView& under) {
        for (int y = 0; y < fg.height; ++y) {
            const float* f = fg.row(y);
            float* b = under.row(y);
            for (int x = 0; x < fg.width; ++x, f += 4, b += 4)
                blendPixel<Op>(f, b);
        }
    }

    std::shared_ptr<const ImageNode> m_bg;
    std::vector<Layer> m_layers;
};

} // namespace

Image::Image()
    : m_node(std::make_shared<EmptyNode>()) {}

Image::Image(std::shared_ptr<const ImageNode> node)
    : m_node(node ? std::move(node) : std::make_shared<EmptyNode>()) {}

Image Image::fromNode(std::shared_ptr<const ImageNode> node) {
    return Image(std::move(node));
}

Image Image::fromPixels(std::shared_ptr<const SourcePixels> pixels) {
    if (!pixels)
        return {};
    return Image(std::make_shared<SourceNode>(std::move(pixels), QPoint(0, 0)));
}

Image Image::withSpherePlacement(const SpherePlacement& placement) const {
    QPoint offset;
    const std::shared_ptr<const SourcePixels> pixels = sourcePixels(&offset);
    if (!pixels || offset != QPoint(0, 0))
        return *this;
    return fromPixels(pixels->withPlacement(placement));
}

Image Image::fromQImage(QImage image) {
    return fromPixels(SourcePixels::create(std::move(image)));
}

Image Image::radialGradient(QPointF centre, double radius0, double radius1, Color color0,
                            Color color1) {
    return Image(std::make_shared<RadialGradientNode>(centre, radius0, radius1, color0, color1));
}

QRectF Image::extent() const {
    return m_node->extent();
}

bool Image::isEmpty() const {
    const QRectF e = extent();
    return !extents::isInfinite(e) && !(e.width() > 0.0 && e.height() > 0.0);
}

bool Image::isInfinite() const {
    return extents::isInfinite(extent());
}

std::shared_ptr<const SourcePixels> Image::sourcePixels(QPoint* offset) const {
    const SourceNode* source = asSource(m_node);
    if (!source)
        return nullptr;
    if (offset)
        *offset = source->offset();
    return source->pixels();
}

Image Image::translated(double dx, double dy) const {
    if (const SourceNode* source = asSource(m_node); source && dx == std::round(dx) &&
                                                     dy == std::round(dy) && std::abs(dx) < 1e9 &&
                                                     std::abs(dy) < 1e9) {
        return Image(std::make_shared<SourceNode>(
            source->pixels(),
            source->offset() + QPoint(static_cast<int>(dx), static_cast<int>(dy))));
    }
    return transformed(QTransform::fromTranslate(dx, dy));
}

Image Image::transformed(const QTransform& transform) const {
    if (isEmpty() || !transform.isInvertible())
        return {};
    return Image(std::make_shared<AffineNode>(m_node, transform));
}

Image Image::cropped(const QRectF& rect) const {
    return Image(std::make_shared<CropNode>(m_node, rect));
}

Image Image::materialized() const {
    if (isEmpty() || isInfinite())
        return *this;
    return Image(std::make_shared<MaterializedNode>(m_node));
}

Image Image::gammaAdjusted(double power) const {
    return Image(std::make_shared<ColorNode>(m_node, ColorNode::Op::gamma, power));
}

Image Image::colorControls(double saturation, double brightness, double contrast) const {
    return Image(std::make_shared<ColorNode>(m_node, ColorNode::Op::controls, saturation,
                                             brightness, contrast));
}

Image Image::alphaScaled(double factor) const {
    return Image(std::make_shared<ColorNode>(m_node, ColorNode::Op::alpha, factor));
}

Image Image::blended(BlendOp op, const Image& background) const {
    return stacked(background, {{*this, op}});
}

Image Image::stacked(const Image& base, const std::vector<std::pair<Image, BlendOp>>& layers) {
    std::vector<CompositeNode::Layer> nodes;
    nodes.reserve(layers.size());
    for (const auto& [image, op] : layers)
        nodes.emplace_back(image.m_node, op);
    return Image(std::make_shared<CompositeNode>(base.m_node, std::move(nodes)));
}

Image Image::composited(const Image& background) const {
    return blended(BlendOp::over, background);
}

Image Image::multiplyComposited(const Image& background) const {
    return blended(BlendOp::multiply, background);
}

} // namespace velmora::render
