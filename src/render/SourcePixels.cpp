#include "render/SourcePixels.h"

#include "kernels/Sampling.h"
#include "render/ColorTables.h"

#include <QtEndian>

#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace velmora::render {

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "32-bit Qt formats are read as B, G, R, A bytes");

bool isDeepFormat(QImage::Format format) {
    switch (format) {
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
    case QImage::Format_Grayscale16:
    case QImage::Format_BGR30:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_RGB30:
    case QImage::Format_A2RGB30_Premultiplied:
    case QImage::Format_RGBX16FPx4:
    case QImage::Format_RGBA16FPx4:
    case QImage::Format_RGBA16FPx4_Premultiplied:
    case QImage::Format_RGBX32FPx4:
    case QImage::Format_RGBA32FPx4:
    case QImage::Format_RGBA32FPx4_Premultiplied:
        return true;
    default:
        return false;
    }
}

namespace {

/// The source pixels under one pixel of a level half as large, with weights: each
/// new pixel covers exactly its share of the old extent, so every level spans the
/// whole picture even when a size is odd (then a new pixel covers 2.x old ones).
struct Taps {
    int first = 0;
    int count = 0;
    float weight[3] = {0, 0, 0};
};

std::vector<Taps> boxTaps(int from, int to) {
    std::vector<Taps> taps(static_cast<size_t>(to));
    const double ratio = static_cast<double>(from) / to;
    for (int i = 0; i < to; ++i) {
        const double lo = i * ratio;
        const double hi = (i + 1) * ratio;
        Taps& t = taps[static_cast<size_t>(i)];
        t.first = static_cast<int>(lo);
        for (int j = t.first; j < from && j < hi && t.count < 3; ++j) {
            const double overlap = std::min(hi, j + 1.0) - std::max(lo, static_cast<double>(j));
            t.weight[t.count++] = static_cast<float>(overlap / ratio);
        }
    }
    return taps;
}

/// Writes a linear premultiplied colour as texel x of a VM_FORMAT_LINEAR16 row.
void storeLinear(sampling::Rgba colour, uchar* line, int x) {
    // Clamped to [0, 1] (max() first turns NaN into 0) and rounded; SSE2 packs only
    // signed words, so the values are packed 32768 lower and moved back.
    const __m128 unit = _mm_min_ps(_mm_max_ps(colour.v, _mm_setzero_ps()), _mm_set1_ps(1.f));
    const __m128i words =
        _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(unit, _mm_set1_ps(65535.f)), _mm_set1_ps(0.5f)));
    const __m128i low = _mm_sub_epi32(words, _mm_set1_epi32(32768));
    const __m128i packed = _mm_xor_si128(_mm_packs_epi32(low, low), _mm_set1_epi16(-32768));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(line + 8 * static_cast<size_t>(x)), packed);
}

/// Level 0's texels, in its own format, as linear premultiplied colour.
template <int Format>
struct SourceTexels {
    const VmSampler& s;
    sampling::Rgba operator()(const unsigned char* row, int x) const {
        return sampling::texelInRow<Format, false>(s, row, x);
    }
};

/// A VM_FORMAT_LINEAR16 level's texels.
struct LinearTexels {
    sampling::Rgba operator()(const unsigned char* row, int x) const {
        return sampling::Rgba{sampling::linearTexelInRow(row, x)} * sampling::linearUnit;
    }
};

/// Averages `src` into `to`, a VM_FORMAT_LINEAR16 level of `w` x `to.height()` texels
/// (plus the padding texel that repeats each row's first), in linear light.
template <typename Read>
void downsample(const VmLevel& src, Read read, QImage& to, int w) {
    // Exact halvings (every level of an even-sized picture) average plain 2 x 2
    // blocks; the weighted taps are only needed for odd sizes.
    const bool halving = src.width == 2 * w && src.height == 2 * to.height();
    const std::vector<Taps> across = halving ? std::vector<Taps>() : boxTaps(src.width, w);
    const std::vector<Taps> down = halving ? std::vector<Taps>() : boxTaps(src.height, to.height());
    tbb::parallel_for(
        tbb::blocked_range<int>(0, to.height()), [&](const tbb::blocked_range<int>& rows) {
            for (int y = rows.begin(); y != rows.end(); ++y) {
                uchar* line = to.scanLine(y);
                if (halving) {
                    const unsigned char* r0 = sampling::rowOf(src, 2 * y);
                    const unsigned char* r1 = sampling::rowOf(src, 2 * y + 1);
                    for (int x = 0; x < w; ++x) {
                        const sampling::Rgba sum = read(r0, 2 * x) + read(r0, 2 * x + 1) +
                                                   read(r1, 2 * x) + read(r1, 2 * x + 1);
                        storeLinear(sum * 0.25f, line, x);
                    }
                } else {
                    const Taps& ty = down[static_cast<size_t>(y)];
                    for (int x = 0; x < w; ++x) {
                        const Taps& tx = across[static_cast<size_t>(x)];
                        sampling::Rgba sum;
                        for (int j = 0; j < ty.count; ++j) {
                            const unsigned char* row = sampling::rowOf(src, ty.first + j);
                            sampling::Rgba inRow;
                            for (int i = 0; i < tx.count; ++i)
                                inRow = inRow + read(row, tx.first + i) * tx.weight[i];
                            sum = sum + inRow * ty.weight[j];
                        }
                        storeLinear(sum, line, x);
                    }
                }
                std::memcpy(line + 8 * static_cast<size_t>(w), line, 8);
            }
        });
}

} // namespace

std::shared_ptr<const SourcePixels> SourcePixels::create(QImage image) {
    if (image.isNull())
        return nullptr;
    switch (image.format()) {
    case QImage::Format_RGBA8888:
    case QImage::Format_RGBX8888:
        return std::make_shared<SourcePixels>(std::move(image), VM_FORMAT_RGBA8);
    case QImage::Format_ARGB32:
    case QImage::Format_RGB32:
        return std::make_shared<SourcePixels>(std::move(image), VM_FORMAT_BGRA8);
    case QImage::Format_RGBA64:
    case QImage::Format_RGBX64:
        return std::make_shared<SourcePixels>(std::move(image), VM_FORMAT_RGBA16);
    default:
        break;
    }
    if (isDeepFormat(image.format())) {
        return std::make_shared<SourcePixels>(
            std::move(image).convertToFormat(QImage::Format_RGBA64), VM_FORMAT_RGBA16);
    }
    QImage converted = std::move(image).convertToFormat(QImage::Format_ARGB32);
    if (converted.isNull())
        return nullptr;
    return std::make_shared<SourcePixels>(std::move(converted), VM_FORMAT_BGRA8);
}

std::shared_ptr<const SourcePixels>
SourcePixels::withPlacement(const SpherePlacement& placement) const {
    auto placed = std::make_shared<SourcePixels>(m_levels.front(), m_format);
    placed->m_placement = placement;
    return placed;
}

SourcePixels::SourcePixels(QImage image, int format)
    : m_format(format) {
    m_levels.push_back(std::move(image));
    refreshSampler();
}

VmLevel SourcePixels::levelView(size_t index) const {
    const QImage& level = m_levels[index];
    // Above level 0 the last texel of a row is padding.
    return {level.constBits(), level.width() - (index > 0 ? 1 : 0), level.height(),
            level.bytesPerLine()};
}

void SourcePixels::refreshSampler() const {
    const ColorTables& tables = colorTables();
    m_sampler.format = m_format;
    m_sampler.opaque = m_levels.front().hasAlphaChannel() ? 0 : 1;
    m_sampler.levelCount = static_cast<int32_t>(m_levels.size());
    for (size_t i = 0; i < m_levels.size(); ++i)
        m_sampler.levels[i] = levelView(i);
    m_sampler.seamDelta = m_seamDelta.empty() ? nullptr : m_seamDelta.data();
    m_sampler.seamRows = m_seamDelta.empty() ? 0 : height();
    m_sampler.seamWraps = m_seamWraps ? 1 : 0;
    m_sampler.edgeSums = m_edgeSums.empty() ? nullptr : m_edgeSums.data();
    m_sampler.edgeColumns = m_edgeSums.empty() ? 0 : width();
    m_sampler.decode8 = tables.decode8;
    m_sampler.decode16 = tables.decode16;
    m_sampler.encode = tables.encode;
}

void SourcePixels::ensurePyramid() const {
    // Threads that need the pyramid while another builds it help with its parallel
    // loops rather than wait idle: an export's strips and an animation's frames all
    // start by asking for it at once.
    tbb::collaborative_call_once(m_pyramidOnce, [this] {
        buildPyramid();
        buildSeamTable();
        // Only a picture that leaves the sphere open above or below has edges to fill
        // from; the sides are filled from the picture itself.
        const SphereCover cover = coverOf(QSize(width(), height()), m_placement);
        if (cover.top != 0.0 || cover.height != 1.0)
            buildEdgeTable();
        refreshSampler();
    });
}

void SourcePixels::buildPyramid() const {
    // Levels above 0 hold linear light at 16 bits whatever the picture's format: a
    // sample then reads a texel pair in one load and decodes nothing, and averaging
    // loses nothing to 8-bit steps.
    while (m_levels.size() < VM_MAX_LEVELS) {
        const size_t index = m_levels.size() - 1;
        const VmLevel from = levelView(index);
        if (from.width == 1 && from.height == 1)
            break;
        const int w = std::max(1, from.width / 2);
        QImage next(w + 1, std::max(1, from.height / 2), QImage::Format_RGBA64_Premultiplied);
        if (next.isNull())
            break; // out of memory: sampling falls back to the levels we have
        if (index > 0) {
            downsample(from, LinearTexels{}, next, w);
        } else {
            withPixelFormat(m_format, [&](auto format) {
                downsample(from, SourceTexels<decltype(format)::value>{m_sampler}, next, w);
            });
        }
        m_levels.push_back(std::move(next));
    }
}

/// Mean luma step between neighbouring columns: across the seam (first) and inside
/// the picture at a few places (second).
template <int Format>
std::pair<double, double> seamSteps(const VmSampler& s) {
    const VmLevel& level = s.levels[0];
    const auto luma = [&](int x, int y) {
        alignas(16) float c[4];
        _mm_store_ps(c, sampling::texel<Format, false>(s, level, x, y).v);
        return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
    };
    const int w = level.width;
    const int rowStep = std::max(1, level.height / 512);
    const int inside[] = {w / 7, w / 3, w / 2, 2 * w / 3, 6 * w / 7};
    double seam = 0.0;
    double typical = 0.0;
    int rows = 0;
    for (int y = 0; y < level.height; y += rowStep, ++rows) {
        seam += std::abs(luma(0, y) - luma(w - 1, y));
        for (const int x : inside)
            typical += std::abs(luma(x, y) - luma(std::min(x + 1, w - 1), y));
    }
    return {seam / std::max(rows, 1), typical / std::max(rows * 5, 1)};
}

template <int Format>
void seamDifferences(const VmSampler& s, int columns, std::vector<float>& out) {
    const VmLevel& level = s.levels[0];
    const float scale = 1.f / static_cast<float>(columns);
    tbb::parallel_for(
        tbb::blocked_range<int>(0, level.height), [&](const tbb::blocked_range<int>& rows) {
            for (int y = rows.begin(); y != rows.end(); ++y) {
                sampling::Rgba left, right;
                for (int i = 0; i < columns; ++i) {
                    left = left + sampling::texel<Format, false>(s, level, i, y);
                    right =
                        right + sampling::texel<Format, false>(s, level, level.width - 1 - i, y);
                }
                _mm_storeu_ps(out.data() + 4 * static_cast<size_t>(y), ((left - right) * scale).v);
            }
        });
}

/// Each column's mean over `rows` rows from `first`, as running sums along the row.
template <int Format>
void edgeRunningSums(const VmSampler& s, int first, int rows, float* out) {
    const VmLevel& level = s.levels[0];
    std::vector<sampling::Rgba> columns(static_cast<size_t>(level.width));
    const float scale = 1.f / static_cast<float>(rows);
    tbb::parallel_for(tbb::blocked_range<int>(0, level.width),
                      [&](const tbb::blocked_range<int>& range) {
                          for (int x = range.begin(); x != range.end(); ++x) {
                              sampling::Rgba sum;
                              for (int y = first; y < first + rows; ++y)
                                  sum = sum + sampling::texel<Format, false>(s, level, x, y);
                              columns[static_cast<size_t>(x)] = sum * scale;
                          }
                      });
    // In doubles: a row 16000 columns wide would lose the last bits in floats.
    double total[4] = {};
    for (int c = 0; c < 4; ++c)
        out[c] = 0.f;
    for (size_t x = 0; x < columns.size(); ++x) {
        alignas(16) float v[4];
        _mm_store_ps(v, columns[x].v);
        for (size_t c = 0; c < 4; ++c) {
            total[c] += v[c];
            out[4 * (x + 1) + c] = static_cast<float>(total[c]);
        }
    }
}

void SourcePixels::buildEdgeTable() const {
    // A hundredth of the height: the colour of the edge, not the detail of one row.
    const int w = width();
    const int h = height();
    const int rows = std::clamp(h / 100, 1, h);
    m_edgeSums.assign(2 * 4 * (static_cast<size_t>(w) + 1), 0.f);
    withPixelFormat(m_format, [&](auto format) {
        edgeRunningSums<decltype(format)::value>(m_sampler, 0, rows, m_edgeSums.data());
        edgeRunningSums<decltype(format)::value>(m_sampler, h - rows, rows,
                                                 m_edgeSums.data() + 4 * (w + 1));
    });
}

void SourcePixels::buildSeamTable() const {
    // A few columns from each end: enough to ignore noise, few enough that detail
    // running across the seam of a true 360 picture appears on both sides.
    const int w = width();
    const int h = height();
    const int columns = std::clamp(w / 2000, 1, std::max(1, w / 2));
    std::vector<float> raw(4 * static_cast<size_t>(h));
    const std::pair<double, double> steps = withPixelFormat(m_format, [&](auto format) {
        seamDifferences<decltype(format)::value>(m_sampler, columns, raw);
        return seamSteps<decltype(format)::value>(m_sampler);
    });
    // A seam no rougher than three ordinary column steps is the same scene going on.
    m_seamWraps = w >= 2 && steps.first <= 3.0 * steps.second + 1e-4;
    // Blur along the seam only, so the correction has no streaks but keeps the
    // picture's vertical structure (sky above, ground below).
    // Running sums, so the cost does not grow with the radius (a picture 500000 rows
    // tall took seconds when each row summed its window).
    const int radius = std::max(1, h / 200);
    std::vector<double> prefix(4 * (static_cast<size_t>(h) + 1), 0.0);
    for (size_t i = 0; i < raw.size(); ++i)
        prefix[i + 4] = prefix[i] + raw[i];
    m_seamDelta.assign(raw.size(), 0.f);
    for (int y = 0; y < h; ++y) {
        const size_t y0 = static_cast<size_t>(std::max(0, y - radius));
        const size_t y1 = static_cast<size_t>(std::min(h - 1, y + radius));
        const double count = static_cast<double>(y1 - y0 + 1);
        for (size_t c = 0; c < 4; ++c)
            m_seamDelta[4 * static_cast<size_t>(y) + c] =
                static_cast<float>((prefix[4 * (y1 + 1) + c] - prefix[4 * y0 + c]) / count);
    }
}

} // namespace velmora::render
