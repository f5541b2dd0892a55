#pragma once

// Texture sampling shared by the engine and the kernel module (compiled into each, so
// the module stays self-contained). Arithmetic is in linear light, premultiplied, one
// SSE vector per colour (lanes r, g, b, a); storeEncoded() encodes results to sRGB.

#include "kernels/KernelAbi.h"

#include <immintrin.h>

#include <cmath>
#include <cstring>

// Forced inline so each compiled variant of a hot loop gets its own copy.
#define VM_INLINE inline __attribute__((always_inline))

namespace velmora::sampling {

/// Linear-light, premultiplied colour.
struct Rgba {
    __m128 v = _mm_setzero_ps();

    float alpha() const { return _mm_cvtss_f32(_mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 3, 3, 3))); }
};

VM_INLINE Rgba operator+(Rgba x, Rgba y) {
    return {_mm_add_ps(x.v, y.v)};
}
VM_INLINE Rgba operator-(Rgba x, Rgba y) {
    return {_mm_sub_ps(x.v, y.v)};
}
VM_INLINE Rgba operator*(Rgba x, float k) {
    return {_mm_mul_ps(x.v, _mm_set1_ps(k))};
}
VM_INLINE Rgba lerp(Rgba x, Rgba y, float t) {
    return {_mm_add_ps(x.v, _mm_mul_ps(_mm_sub_ps(y.v, x.v), _mm_set1_ps(t)))};
}

/// Clamps into [lo, hi]; NaN becomes lo, so no later int conversion is undefined.
/// (Written with comparisons: fmin/fmax are library calls without -ffast-math.)
VM_INLINE float clampf(float x, float lo, float hi) {
    x = x > lo ? x : lo;
    return x < hi ? x : hi;
}

/// floor() for values already known to fit an int.
VM_INLINE int floorToInt(float x) {
    const int i = static_cast<int>(x);
    return x < static_cast<float>(i) ? i - 1 : i;
}

/// One source pixel in linear light, premultiplied. `Opaque` sources skip the alpha
/// arithmetic (their alpha is 1 everywhere).
template <int Format, bool Opaque>
VM_INLINE Rgba texelInRow(const VmSampler& s, const unsigned char* row, int x) {
    if constexpr (Format == VM_FORMAT_RGBA16) {
        uint16_t p[4];
        std::memcpy(p, row + 8 * static_cast<int64_t>(x), sizeof p);
        const __m128 c = _mm_setr_ps(s.decode16[p[0]], s.decode16[p[1]], s.decode16[p[2]], 1.f);
        if constexpr (Opaque)
            return {c};
        return {_mm_mul_ps(c, _mm_set1_ps(p[3] * (1.f / 65535.f)))};
    } else {
        const unsigned char* p = row + 4 * static_cast<int64_t>(x);
        constexpr int r = Format == VM_FORMAT_BGRA8 ? 2 : 0;
        const __m128 c = _mm_setr_ps(s.decode8[p[r]], s.decode8[p[1]], s.decode8[p[2 - r]], 1.f);
        if constexpr (Opaque)
            return {c};
        return {_mm_mul_ps(c, _mm_set1_ps(p[3] * (1.f / 255.f)))};
    }
}

VM_INLINE const unsigned char* rowOf(const VmLevel& level, int y) {
    return static_cast<const unsigned char*>(level.pixels) + y * level.stride;
}

template <int Format, bool Opaque>
VM_INLINE Rgba texel(const VmSampler& s, const VmLevel& level, int x, int y) {
    return texelInRow<Format, Opaque>(s, rowOf(level, y), x);
}

/// Levels above 0 are VM_FORMAT_LINEAR16: the words as floats, in units of 1 / 65535
/// (callers scale once, after interpolating).
VM_INLINE __m128 linearWords(__m128i words) {
    return _mm_cvtepi32_ps(_mm_unpacklo_epi16(words, _mm_setzero_si128()));
}

/// Texel x of a VM_FORMAT_LINEAR16 row, unscaled.
VM_INLINE __m128 linearTexelInRow(const unsigned char* row, int x) {
    return linearWords(
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + 8 * static_cast<int64_t>(x))));
}

/// Texels x and x + 1 of a VM_FORMAT_LINEAR16 row blended by t, unscaled: one load,
/// since the row's padding texel makes them neighbours in memory even at the wrap.
VM_INLINE __m128 linearPairInRow(const unsigned char* row, int x, __m128 t) {
    const __m128i both =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 8 * static_cast<int64_t>(x)));
    const __m128 a = linearWords(both);
    const __m128 b = _mm_cvtepi32_ps(_mm_unpackhi_epi16(both, _mm_setzero_si128()));
    return _mm_add_ps(a, _mm_mul_ps(_mm_sub_ps(b, a), t));
}

constexpr float linearUnit = 1.f / 65535.f;

/// Bilinear sample of a VM_FORMAT_LINEAR16 level from its rows `r0` and `r1` at texel
/// x0 (and x0 + 1) with fractions tx, ty: linear premultiplied colour.
VM_INLINE Rgba linearBilinear(const unsigned char* r0, const unsigned char* r1, int x0, float tx,
                              float ty) {
    const __m128 t = _mm_set1_ps(tx);
    const __m128 top = linearPairInRow(r0, x0, t);
    const __m128 bottom = linearPairInRow(r1, x0, t);
    return Rgba{_mm_add_ps(top, _mm_mul_ps(_mm_sub_ps(bottom, top), _mm_set1_ps(ty)))} * linearUnit;
}

/// Bilinear sample at (x, y) in the level's pixel units (pixel centres at +0.5), for
/// artwork: transparent outside its bounds. `linear`: the level is VM_FORMAT_LINEAR16
/// (any level but 0).
template <int Format, bool Opaque>
VM_INLINE Rgba bilinear(const VmSampler& s, const VmLevel& level, float x, float y,
                        bool linear = false) {
    const int w = level.width;
    const int h = level.height;
    // Bound the coordinates first: any float may arrive here, NaN included.
    x = clampf(x - 0.5f, -2.f, static_cast<float>(w) + 1.f);
    y = clampf(y - 0.5f, -2.f, static_cast<float>(h) + 1.f);
    const int x0 = floorToInt(x);
    const int y0 = floorToInt(y);
    const float tx = x - static_cast<float>(x0);
    const float ty = y - static_cast<float>(y0);
    const int x1 = x0 + 1;
    const int y1 = y0 + 1;
    if (linear) {
        // A pyramid level: inside, one load per row; at the border, texel by texel.
        if (x0 >= 0 && y0 >= 0 && x1 < w && y1 < h)
            return linearBilinear(rowOf(level, y0), rowOf(level, y1), x0, tx, ty);
        const auto fetch = [&](int xi, int yi) {
            return (xi < 0 || yi < 0 || xi >= w || yi >= h)
                       ? Rgba{}
                       : Rgba{linearTexelInRow(rowOf(level, yi), xi)};
        };
        const Rgba top = lerp(fetch(x0, y0), fetch(x1, y0), tx);
        const Rgba bottom = lerp(fetch(x0, y1), fetch(x1, y1), tx);
        return lerp(top, bottom, ty) * linearUnit;
    }
    if (x0 >= 0 && y0 >= 0 && x1 < w && y1 < h) {
        // All four inside, as for nearly every pixel of placed artwork.
        const unsigned char* r0 = rowOf(level, y0);
        const unsigned char* r1 = rowOf(level, y1);
        const Rgba top =
            lerp(texelInRow<Format, Opaque>(s, r0, x0), texelInRow<Format, Opaque>(s, r0, x1), tx);
        const Rgba bottom =
            lerp(texelInRow<Format, Opaque>(s, r1, x0), texelInRow<Format, Opaque>(s, r1, x1), tx);
        return lerp(top, bottom, ty);
    }
    const auto fetch = [&](int xi, int yi) {
        return (xi < 0 || yi < 0 || xi >= w || yi >= h) ? Rgba{}
                                                        : texel<Format, Opaque>(s, level, xi, yi);
    };
    const Rgba top = lerp(fetch(x0, y0), fetch(x1, y0), tx);
    const Rgba bottom = lerp(fetch(x0, y1), fetch(x1, y1), tx);
    return lerp(top, bottom, ty);
}

/// Where a bilinear sample of a w x h panorama level at (u, v) reads, u already in
/// [0, 1] and v anything: its first column (left of the first texel is the last), its
/// two rows (clamped to the level) and its fractions. Branch-free, so a row's worth
/// vectorises (PlannedSampling.h).
struct PanoramaTaps {
    int x;
    int row0;
    int row1;
    float tx;
    float ty;
};

VM_INLINE PanoramaTaps panoramaTaps(float u, float v, int w, int h) {
    // x in [-0.5, w - 0.5], so x + 1 is positive and truncation floors it.
    const float x = u * static_cast<float>(w) - 0.5f;
    const float y = clampf(v, 0.f, 1.f) * static_cast<float>(h) - 0.5f;
    const int x0 = static_cast<int>(x + 1.f) - 1;
    const int y0 = static_cast<int>(y + 1.f) - 1;
    return {x0 < 0 ? w - 1 : x0, y0 < 0 ? 0 : y0, y0 + 1 < h ? y0 + 1 : h - 1,
            x - static_cast<float>(x0), y - static_cast<float>(y0)};
}

/// The bilinear sample of panorama level `index` that `at` describes.
template <int Format, bool Opaque>
VM_INLINE Rgba bilinearPanoramaAt(const VmSampler& s, int index, const PanoramaTaps& at) {
    const VmLevel& level = s.levels[index];
    const unsigned char* r0 = rowOf(level, at.row0);
    const unsigned char* r1 = rowOf(level, at.row1);
    // A linear level's right neighbour of the last texel is its padding; level 0 wraps.
    if (index > 0)
        return linearBilinear(r0, r1, at.x, at.tx, at.ty);
    const int x1 = at.x + 1 == level.width ? 0 : at.x + 1;
    const Rgba top =
        lerp(texelInRow<Format, Opaque>(s, r0, at.x), texelInRow<Format, Opaque>(s, r0, x1), at.tx);
    const Rgba bottom =
        lerp(texelInRow<Format, Opaque>(s, r1, at.x), texelInRow<Format, Opaque>(s, r1, x1), at.tx);
    return lerp(top, bottom, at.ty);
}

/// Bilinear sample of panorama level `index` at (u, v), u already in [0, 1): the
/// kernel's hot path, with just the wrap and clamp that range needs. v may be anything.
template <int Format, bool Opaque>
VM_INLINE Rgba bilinearPanorama(const VmSampler& s, int index, float u, float v) {
    const VmLevel& level = s.levels[index];
    return bilinearPanoramaAt<Format, Opaque>(s, index,
                                              panoramaTaps(u, v, level.width, level.height));
}

/// A cheap log2, good to about 0.005: enough to pick a pyramid level.
VM_INLINE float fastLog2(float x) {
    if (!(x > 1e-30f))
        return -100.f;
    if (x > 1e30f)
        return 100.f;
    uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    const int exponent = static_cast<int>((bits >> 23) & 0xff) - 127;
    bits = (bits & 0x007fffffu) | 0x3f800000u; // mantissa as a float in [1, 2)
    float m;
    std::memcpy(&m, &bits, sizeof m);
    return static_cast<float>(exponent) + (-0.34484843f * m + 2.02466578f) * m - 1.67487759f;
}

/// Which pyramid level a footprint of 2^lod level-0 pixels reads, and how much of the
/// next level to blend in (0: none). Within `band` of a level that level alone is
/// used, half the fetches and no visible difference; between the bands the blend is
/// trilinear.
struct LevelBlend {
    int level;
    float next;
};

/// levelBlend() for a pyramid whose last level is `last`. Branch-free, so a row's
/// worth vectorises (PlannedSampling.h).
VM_INLINE LevelBlend levelBlendBelow(int last, float lod, float band) {
    lod = clampf(lod, 0.f, static_cast<float>(last));
    const int l0 = static_cast<int>(lod);
    const float t = lod - static_cast<float>(l0);
    // Near the next level, that level alone; near this one (or at the last), this one.
    const bool up = t > 1.f - band && l0 < last;
    const bool alone = up || t < band || l0 == last;
    return {up ? l0 + 1 : l0, alone ? 0.f : (t - band) * (1.f / (1.f - 2.f * band))};
}

VM_INLINE LevelBlend levelBlend(const VmSampler& s, float lod, float band) {
    return levelBlendBelow(s.levelCount - 1, lod, band);
}

/// The kernel's single-level band: wider than sampleLod's.
constexpr float panoramaBand = 0.3f;

/// Trilinear sample of a panorama at (u, v), u in [0, 1), `lod` as for sampleLod, on
/// the kernel's fast bilinear and with the wider single-level band. Below
/// panoramaBand it reads level 0 alone.
template <int Format, bool Opaque>
VM_INLINE Rgba samplePanorama(const VmSampler& s, float u, float v, float lod) {
    const LevelBlend pick = levelBlend(s, lod, panoramaBand);
    const Rgba first = bilinearPanorama<Format, Opaque>(s, pick.level, u, v);
    if (pick.next == 0.f)
        return first;
    return lerp(first, bilinearPanorama<Format, Opaque>(s, pick.level + 1, u, v), pick.next);
}

/// Filtered sample at normalised coordinates (u, v) of level 0 (0..1 over its width
/// and height); `lod` is log2 of the footprint in level-0 pixels. Between two levels
/// the blend is trilinear, except within 0.2 of a level.
template <int Format, bool Opaque>
VM_INLINE Rgba sampleLod(const VmSampler& s, float u, float v, float lod) {
    const LevelBlend pick = levelBlend(s, lod, 0.2f);
    const auto at = [&](int level) {
        const VmLevel& l = s.levels[level];
        return bilinear<Format, Opaque>(s, l, u * static_cast<float>(l.width),
                                        v * static_cast<float>(l.height), level > 0);
    };
    const Rgba first = at(pick.level);
    if (pick.next == 0.f)
        return first;
    return lerp(first, at(pick.level + 1), pick.next);
}

/// The weight of tap t of a footprint's `taps` (step = 1 / taps): a box's weight plus
/// a tent's, scaled so that all of them sum to one. Tap t sits at (2t + 1) step - 1 of
/// the way from the footprint's middle to either end, where the tent is 1 - |that|.
VM_INLINE float tapWeight(int t, float step, float boxWeight, float tentScale) {
    return boxWeight + tentScale * (1.f - std::fabs(static_cast<float>(2 * t + 1) * step - 1.f));
}

/// Linear light in [0, 1] to sRGB code value in [0, 1], from an encode table of
/// VM_ENCODE_SIZE + 2 entries (the sampler's, or ColorTables').
VM_INLINE float encodeWith(const float* table, float linear) {
    // i + 1 may reach VM_ENCODE_SIZE + 1: the table has one entry of padding.
    const float x = clampf(linear, 0.f, 1.f) * VM_ENCODE_SIZE;
    const int i = static_cast<int>(x);
    const float t = x - static_cast<float>(i);
    return table[i] + (table[i + 1] - table[i]) * t;
}

/// encodeWith() the sampler's table.
VM_INLINE float encode(const VmSampler& s, float linear) {
    return encodeWith(s.encode, linear);
}

/// Linear light to sRGB code value without a table: one square root and a degree-7
/// polynomial in it (worst error 1.1e-4, a thirtieth of an 8-bit step), so loops over
/// whole rows vectorise. 1 maps to exactly 1, so opaque alpha passes through.
VM_INLINE float encodeFast(float linear) {
    const float x = clampf(linear, 0.f, 1.f);
    const float s = std::sqrt(x);
    const float poly =
        -0.0432574968f +
        s * (1.60845468f +
             s * (-2.26977659f +
                  s * (5.79649626f +
                       s * (-10.0166019f +
                            s * (10.466527f + s * (-5.95172768f + s * 1.40992222f))))));
    const float encoded = x <= 0.0031308f ? x * 12.92f : (poly < 1.f ? poly : 1.f);
    return x >= 1.f ? 1.f : encoded;
}

/// Encodes `n` linear premultiplied pixels in place as premultiplied sRGB-encoded
/// floats: storeEncoded() for a whole span, in a loop that needs no table.
VM_INLINE void encodeSpan(float* __restrict p, int n) {
    for (int i = 0; i < n; ++i, p += 4) {
        const float a = clampf(p[3], 0.f, 1.f);
        const float inv = a > 0.f ? 1.f / a : 0.f;
        p[0] = encodeFast(p[0] * inv) * a;
        p[1] = encodeFast(p[1] * inv) * a;
        p[2] = encodeFast(p[2] * inv) * a;
        p[3] = a;
    }
}

/// Writes a linear premultiplied colour as premultiplied sRGB-encoded floats.
VM_INLINE void storeEncoded(const VmSampler& s, Rgba c, float* out) {
    alignas(16) float f[4];
    _mm_store_ps(f, c.v);
    const float a = clampf(f[3], 0.f, 1.f);
    if (a <= 0.f) {
        _mm_storeu_ps(out, _mm_setzero_ps());
        return;
    }
    if (a >= 0.99999f) {
        out[0] = encode(s, f[0]);
        out[1] = encode(s, f[1]);
        out[2] = encode(s, f[2]);
        out[3] = 1.f;
        return;
    }
    const float inv = 1.f / a;
    out[0] = encode(s, f[0] * inv) * a;
    out[1] = encode(s, f[1] * inv) * a;
    out[2] = encode(s, f[2] * inv) * a;
    out[3] = a;
}

} // namespace velmora::sampling
