#include "model/StripReduction.h"

#include "kernels/KernelAbi.h"
#include "kernels/Sampling.h"
#include "render/ColorTables.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace velmora {

namespace {

template <typename Sample>
constexpr unsigned maxCode = sizeof(Sample) == 1 ? 255u : 65535u;

template <typename Sample>
const float* decodeTable() {
    const render::ColorTables& tables = render::colorTables();
    return sizeof(Sample) == 1 ? tables.decode8 : tables.decode16;
}

/// The straight sRGB code of colour `c` stored multiplied by alpha `a`.
template <typename Sample>
unsigned straightCode(unsigned c, unsigned a) {
    if (a == 0)
        return 0;
    const std::uint64_t code = (std::uint64_t{c} * maxCode<Sample> + a / 2) / a;
    return static_cast<unsigned>(std::min<std::uint64_t>(code, maxCode<Sample>));
}

/// Adds one source row into the sums of its output row: linear light, colour
/// weighted by alpha, four floats an output pixel.
template <int Channels, typename Sample, bool Premultiplied>
void accumulate(const unsigned char* bytes, int width, int factor, float* sums) {
    const auto* s = reinterpret_cast<const Sample*>(bytes);
    const float* decode = decodeTable<Sample>();
    constexpr bool hasAlpha = Channels == 2 || Channels == 4;
    constexpr float unit = 1.f / static_cast<float>(maxCode<Sample>);
    for (int first = 0; first < width; first += factor, sums += 4) {
        const int end = std::min(width, first + factor);
        float r = 0.f, g = 0.f, b = 0.f, a = 0.f;
        for (int x = first; x < end; ++x, s += Channels) {
            if constexpr (hasAlpha) {
                const unsigned alpha = s[Channels - 1];
                const auto code = [&](int c) -> unsigned {
                    if constexpr (Premultiplied)
                        return straightCode<Sample>(s[c], alpha);
                    else
                        return s[c];
                };
                const float w = static_cast<float>(alpha) * unit;
                if constexpr (Channels == 2) {
                    const float v = decode[code(0)] * w;
                    r += v;
                    g += v;
                    b += v;
                } else {
                    r += decode[code(0)] * w;
                    g += decode[code(1)] * w;
                    b += decode[code(2)] * w;
                }
                a += w;
            } else if constexpr (Channels == 1) {
                const float v = decode[s[0]];
                r += v;
                g += v;
                b += v;
            } else {
                r += decode[s[0]];
                g += decode[s[1]];
                b += decode[s[2]];
            }
        }
        sums[0] += r;
        sums[1] += g;
        sums[2] += b;
        sums[3] += a;
    }
}

using Accumulate = void (*)(const unsigned char*, int, int, float*);

template <typename Sample, bool Premultiplied>
Accumulate accumulatorFor(int channels) {
    switch (channels) {
    case 1:
        return &accumulate<1, Sample, false>;
    case 2:
        return &accumulate<2, Sample, Premultiplied>;
    case 3:
        return &accumulate<3, Sample, false>;
    default:
        return &accumulate<4, Sample, Premultiplied>;
    }
}

Accumulate accumulatorFor(const SampleLayout& layout) {
    if (layout.bits == 16)
        return layout.premultiplied ? accumulatorFor<std::uint16_t, true>(layout.channels)
                                    : accumulatorFor<std::uint16_t, false>(layout.channels);
    return layout.premultiplied ? accumulatorFor<std::uint8_t, true>(layout.channels)
                                : accumulatorFor<std::uint8_t, false>(layout.channels);
}

/// Writes one output row from its sums, `rows` source rows deep.
template <bool HasAlpha, bool Deep>
void store(const float* sums, int width, int factor, int rows, unsigned char* line) {
    const float* table = render::colorTables().encode;
    const int outputWidth = (width + factor - 1) / factor;
    for (int o = 0; o < outputWidth; ++o, sums += 4) {
        const int across = std::min(factor, width - o * factor);
        const float count = static_cast<float>(across * rows);
        float alpha = 1.f;
        float scale = 1.f / count;
        if constexpr (HasAlpha) {
            alpha = sums[3] / count;
            scale = sums[3] > 0.f ? 1.f / sums[3] : 0.f;
        }
        const float rgb[3] = {sampling::encodeWith(table, sums[0] * scale),
                              sampling::encodeWith(table, sums[1] * scale),
                              sampling::encodeWith(table, sums[2] * scale)};
        if constexpr (Deep) {
            const std::uint16_t p[4] = {static_cast<std::uint16_t>(rgb[0] * 65535.f + 0.5f),
                                        static_cast<std::uint16_t>(rgb[1] * 65535.f + 0.5f),
                                        static_cast<std::uint16_t>(rgb[2] * 65535.f + 0.5f),
                                        static_cast<std::uint16_t>(alpha * 65535.f + 0.5f)};
            std::memcpy(line + 8 * o, p, sizeof p);
        } else {
            // Qt's 32-bit formats are B, G, R, A bytes on this (little-endian) machine.
            unsigned char* p = line + 4 * o;
            p[0] = static_cast<unsigned char>(rgb[2] * 255.f + 0.5f);
            p[1] = static_cast<unsigned char>(rgb[1] * 255.f + 0.5f);
            p[2] = static_cast<unsigned char>(rgb[0] * 255.f + 0.5f);
            p[3] = static_cast<unsigned char>(alpha * 255.f + 0.5f);
        }
    }
}

} // namespace

int reductionFactor(QSize stored, qint64 maxPixels) {
    const qint64 width = std::max(stored.width(), 1);
    const qint64 height = std::max(stored.height(), 1);
    maxPixels = std::max<qint64>(maxPixels, 1);
    if (width * height <= maxPixels)
        return 1;
    // The area shrinks by about factor squared; start just below that and step up.
    int factor = std::max(2, static_cast<int>(std::sqrt(static_cast<double>(width) * height /
                                                        static_cast<double>(maxPixels))));
    while (((width + factor - 1) / factor) * ((height + factor - 1) / factor) > maxPixels)
        ++factor;
    return factor;
}

RowReducer::RowReducer(QSize stored, SampleLayout layout, int factor)
    : m_width(stored.width())
    , m_factor(std::max(factor, 1))
    , m_outputSize((stored.width() + m_factor - 1) / m_factor,
                   (stored.height() + m_factor - 1) / m_factor)
    , m_layout(layout) {
    const bool deep = layout.bits == 16;
    const QImage::Format format =
        deep ? (layout.hasAlpha() ? QImage::Format_RGBA64 : QImage::Format_RGBX64)
             : (layout.hasAlpha() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    m_image = QImage(m_outputSize, format);
    if (!m_image.isNull())
        m_sums.assign(static_cast<size_t>(m_image.width()) * 4, 0.f);
}

void RowReducer::addRow(const unsigned char* samples) {
    if (m_image.isNull() || m_outputRow >= m_image.height())
        return;
    accumulatorFor(m_layout)(samples, m_width, m_factor, m_sums.data());
    if (++m_rowsInBlock == m_factor)
        emitRow();
}

void RowReducer::emitRow() {
    unsigned char* line = m_image.scanLine(m_outputRow);
    const bool deep = m_layout.bits == 16;
    if (m_layout.hasAlpha())
        (deep ? &store<true, true> : &store<true, false>)(m_sums.data(), m_width, m_factor,
                                                          m_rowsInBlock, line);
    else
        (deep ? &store<false, true> : &store<false, false>)(m_sums.data(), m_width, m_factor,
                                                            m_rowsInBlock, line);
    std::fill(m_sums.begin(), m_sums.end(), 0.f);
    m_rowsInBlock = 0;
    ++m_outputRow;
}

QImage RowReducer::finish() {
    if (m_rowsInBlock > 0)
        emitRow();
    return std::move(m_image);
}

} // namespace velmora
