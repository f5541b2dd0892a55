#include "render/RenderContext.h"

#include "render/ImageNode.h"

#include <immintrin.h>
#include <oneapi/tbb/enumerable_thread_specific.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace velmora::render {

namespace {

/// 8 x 8 Bayer thresholds centred on zero, in code values: position-dependent only,
/// so tiles agree at their seams and renders are repeatable.
constexpr std::array<std::array<float, 8>, 8> dither = [] {
    constexpr unsigned char bayer[8][8] = {
        {0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
        {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
        {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
        {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21}};
    std::array<std::array<float, 8>, 8> thresholds{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            thresholds[y][x] = (static_cast<float>(bayer[y][x]) + 0.5f) / 64.f - 0.5f;
    return thresholds;
}();

/// Quantises one row of premultiplied floats to 8 bits, either premultiplied in
/// B, G, R, A byte order (ARGB32 on little-endian) or straight R, G, B, A.
void storeRow(const float* src, uchar* dst, int width, int x0, int y, bool premultipliedArgb) {
    // The row's thresholds for colour (none for alpha), from pixel x0 on.
    __m128 thresholds[8];
    for (int i = 0; i < 8; ++i) {
        const float d = dither[static_cast<size_t>(y & 7)][static_cast<size_t>((x0 + i) & 7)];
        thresholds[i] = _mm_setr_ps(d, d, d, 0.f);
    }
    const __m128 zero = _mm_setzero_ps();
    const __m128 full = _mm_set1_ps(255.f);
    const __m128 colourLanes = _mm_castsi128_ps(_mm_setr_epi32(-1, -1, -1, 0));
    // Pixel i of the row, from src + 4 i to dst + 4 i.
    const auto one = [&](int i) {
        const __m128 px = _mm_loadu_ps(src + 4 * i);
        uchar* out = dst + 4 * i;
        // max() puts NaN on the zero side; alpha is bounded first, colour by alpha.
        __m128 alpha = _mm_shuffle_ps(px, px, _MM_SHUFFLE(3, 3, 3, 3));
        alpha = _mm_min_ps(_mm_max_ps(_mm_mul_ps(alpha, full), zero), full);
        __m128 scaled;
        if (premultipliedArgb) {
            scaled = _mm_add_ps(_mm_mul_ps(px, full), thresholds[i & 7]);
            scaled = _mm_min_ps(_mm_max_ps(scaled, zero), alpha);
        } else {
            const float a = _mm_cvtss_f32(alpha);
            if (a < 0.5f) {
                std::memset(out, 0, 4);
                return;
            }
            // Opaque pixels skip the division (255 either way).
            const float scale = a >= 255.f ? 255.f : 255.f * 255.f / a;
            scaled = _mm_add_ps(_mm_mul_ps(px, _mm_set1_ps(scale)), thresholds[i & 7]);
            scaled = _mm_min_ps(_mm_max_ps(scaled, zero), full);
        }
        // Lane 3 becomes alpha itself (undithered) in both layouts.
        scaled = _mm_or_ps(_mm_and_ps(colourLanes, scaled), _mm_andnot_ps(colourLanes, alpha));
        __m128i bytes = _mm_cvtps_epi32(scaled);
        if (premultipliedArgb)
            bytes = _mm_shuffle_epi32(bytes, _MM_SHUFFLE(3, 0, 1, 2));
        bytes = _mm_packs_epi32(bytes, bytes);
        bytes = _mm_packus_epi16(bytes, bytes);
        const int packed = _mm_cvtsi128_si32(bytes);
        std::memcpy(out, &packed, 4);
    };
    // Opaque pixel i, scaled by 255: its words, in the layout's lane order.
    const auto quantise = [&](__m128 v, int i) {
        if (premultipliedArgb)
            v = _mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 0, 1, 2));
        v = _mm_min_ps(_mm_max_ps(_mm_add_ps(v, thresholds[i & 7]), zero), full);
        return _mm_cvtps_epi32(v);
    };
    // Four opaque pixels at a time, nearly all of them. In both layouts their colour
    // is clamped to [0, 255], and alpha, scaled in its own lane like the colour (its
    // dither is 0), clamps to 255: the bytes are those of one(), for a third of the
    // work.
    int i = 0;
    for (; i + 4 <= width; i += 4) {
        const __m128 p0 = _mm_mul_ps(_mm_loadu_ps(src + 4 * i), full);
        const __m128 p1 = _mm_mul_ps(_mm_loadu_ps(src + 4 * i + 4), full);
        const __m128 p2 = _mm_mul_ps(_mm_loadu_ps(src + 4 * i + 8), full);
        const __m128 p3 = _mm_mul_ps(_mm_loadu_ps(src + 4 * i + 12), full);
        const __m128 alphas = _mm_shuffle_ps(_mm_unpackhi_ps(p0, p1), _mm_unpackhi_ps(p2, p3),
                                             _MM_SHUFFLE(3, 2, 3, 2));
        if (_mm_movemask_ps(_mm_cmpge_ps(alphas, full)) != 0xf) {
            for (int k = 0; k < 4; ++k)
                one(i + k);
            continue;
        }
        const __m128i bytes =
            _mm_packus_epi16(_mm_packs_epi32(quantise(p0, i), quantise(p1, i + 1)),
                             _mm_packs_epi32(quantise(p2, i + 2), quantise(p3, i + 3)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4 * i), bytes);
    }
    for (; i < width; ++i)
        one(i);
}

/// One row of premultiplied floats as straight 16-bit R, G, B, A.
void storeRow16(const float* src, quint16* dst, int width) {
    for (int i = 0; i < width; ++i, src += 4, dst += 4) {
        const float a = std::clamp(src[3], 0.f, 1.f); // NaN fails both tests: alpha 0
        const float inv = a > 0.f ? 65535.f / a : 0.f;
        for (int c = 0; c < 3; ++c)
            dst[c] = static_cast<quint16>(std::clamp(src[c] * inv, 0.f, 65535.f) + 0.5f);
        dst[3] = static_cast<quint16>(a * 65535.f + 0.5f);
    }
}

/// Prepares `image` once, then calls fn(tile, scratch) for every tile of `area` (a
/// TileGrid), in parallel, with the thread's scratch.
template <typename TileFn>
void forEachTileRect(const Image& image, const QRect& area, TileFn&& fn,
                     RenderProgress* progress = nullptr) {
    image.node()->prepare();
    const TileGrid grid(area);
    if (progress)
        progress->total.store(grid.count(), std::memory_order_relaxed);
    tbb::enumerable_thread_specific<Scratch> scratch;
    tbb::parallel_for(tbb::blocked_range<int>(0, grid.count()),
                      [&](const tbb::blocked_range<int>& r) {
                          Scratch& local = scratch.local();
                          for (int t = r.begin(); t != r.end(); ++t) {
                              fn(grid.tile(t), local);
                              if (progress)
                                  progress->done.fetch_add(1, std::memory_order_relaxed);
                          }
                      });
}

/// Calls fn(tile, view) with every tile of `area` rendered.
template <typename TileFn>
void forEachTile(const Image& image, const QRect& area, TileFn&& fn,
                 RenderProgress* progress = nullptr) {
    forEachTileRect(
        image, area,
        [&](const QRect& tile, Scratch& local) {
            // A kept render is read where it lies (`fn` only reads its tile).
            std::ptrdiff_t stride = 0;
            if (const float* held = image.node()->heldPixels(tile, stride)) {
                fn(tile, TileView{const_cast<float*>(held), tile.width(), tile.height(), stride});
                return;
            }
            Scratch::Buffer buffer = local.acquire(tile.width(), tile.height());
            image.node()->render(tile, buffer.view(), local);
            fn(tile, buffer.view());
        },
        progress);
}

} // namespace

TileGrid::TileGrid(const QRect& whole)
    : area(whole) {
    if (area.isEmpty())
        return;
    columns = (area.width() + size - 1) / size;
    // A strip's one extra row (the row above, for the PNG filter) as a tile of its own
    // cost the kernel as much as several rows of a full tile.
    const int full = area.height() / size;
    rows = full == 0 || area.height() % size > size / 4 ? full + 1 : full;
}

QRect TileGrid::tile(int index) const {
    const int x = area.left() + (index % columns) * size;
    const int y = area.top() + (index / columns) * size;
    const bool lastRow = index / columns == rows - 1;
    return {x, y, std::min(size, area.right() + 1 - x), lastRow ? area.bottom() + 1 - y : size};
}

int TileGrid::columnOf(int x) const {
    return (x - area.left()) / size;
}

int TileGrid::rowOf(int y) const {
    return std::min((y - area.top()) / size, rows - 1);
}

QImage RenderContext::render(const Image& image, const QRect& area, Layout layout,
                             RenderProgress* progress) const {
    if (area.isEmpty())
        return {};
    QImage::Format format = QImage::Format_RGBA8888;
    if (layout == Layout::premultipliedArgb32)
        format = QImage::Format_ARGB32_Premultiplied;
    else if (layout == Layout::straightRgba16)
        format = QImage::Format_RGBA64;
    QImage target(area.size(), format);
    if (target.isNull() || !renderInto(image, area, target, progress))
        return {};
    return target;
}

bool RenderContext::renderInto(const Image& image, const QRect& area, QImage& target,
                               RenderProgress* progress) const {
    const bool argb = target.format() == QImage::Format_ARGB32_Premultiplied;
    const bool deep = target.format() == QImage::Format_RGBA64;
    if (area.isEmpty() || target.size() != area.size() ||
        (!argb && !deep && target.format() != QImage::Format_RGBA8888))
        return false;
    uchar* bits = target.bits();
    const qsizetype bpl = target.bytesPerLine();
    const int pixelBytes = deep ? 8 : 4;
    forEachTile(
        image, area,
        [&](const QRect& tile, const TileView& view) {
            for (int y = 0; y < view.height; ++y) {
                uchar* line = bits + (tile.top() - area.top() + y) * bpl +
                              pixelBytes * (tile.left() - area.left());
                if (deep)
                    storeRow16(view.row(y), reinterpret_cast<quint16*>(line), view.width);
                else
                    storeRow(view.row(y), line, view.width, tile.left(), tile.top() + y, argb);
            }
        },
        progress);
    return true;
}

std::vector<float> RenderContext::renderFloats(const Image& image, const QRect& area) const {
    std::vector<float> out;
    if (area.isEmpty())
        return out;
    out.resize(4 * static_cast<size_t>(area.width()) * static_cast<size_t>(area.height()));
    renderFloatsInto(image, area, out.data());
    return out;
}

void RenderContext::renderFloatsInto(const Image& image, const QRect& area, float* pixels) const {
    if (area.isEmpty())
        return;
    const TileView whole{pixels, area.width(), area.height(), 4 * std::ptrdiff_t{area.width()}};
    // Each tile renders into its own part of the buffer: no scratch tile, no copy.
    forEachTileRect(image, area, [&](const QRect& tile, Scratch& local) {
        image.node()->render(tile,
                             whole.sub(tile.left() - area.left(), tile.top() - area.top(),
                                       tile.width(), tile.height()),
                             local);
    });
}

} // namespace velmora::render
