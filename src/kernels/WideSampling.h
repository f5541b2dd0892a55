#pragma once

// The kernel's hottest sampling loops for processors with AVX2 and FMA, chosen at run
// time (wideSamplingAvailable()); the scalar sampler is the reference for both.
//
// magnifiedSpan() samples an opaque 8-bit level 0 bilinearly for eight pixels at
// once: the case of nearly every pixel of a large export, where the planet magnifies
// the picture and neighbouring pixels read the same few texels. A block decodes the
// patch its pixels read once, into a TexelCache, and each pixel blends four cached
// texels; pixels outside the patch gather their texels and decoded channels. Both
// give the same floats. A pixel takes this path or the scalar one by its own
// footprint alone, never by its neighbours or by where a tile starts, so a picture
// rendered in strips is the same picture rendered whole.
//
// linearTapRows() sums the taps of a footprint stretched round the planet, two
// texels to a register.

#include "kernels/KernelAbi.h"
#include "kernels/Sampling.h"

#include <immintrin.h>

#include <cstdint>

namespace velmora::sampling {

/// Whether this processor runs the functions below; asked once per render.
inline bool wideSamplingAvailable() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

/// Whether level 0 can be addressed by the gathers' 32-bit texel indices.
inline bool magnifiedSpanFits(const VmLevel& level) {
    return level.stride > 0 && level.stride % 4 == 0 &&
           level.stride / 4 * (level.height + 1) < (int64_t{1} << 31);
}

#define VM_AVX2 __attribute__((target("avx2,fma"), always_inline)) inline

namespace wide {

/// Texels at (row + column), for the lanes of `wanted` only (others read as 0).
VM_AVX2 __m256i gather(const int* base, __m256i row, __m256i column, __m256i wanted) {
    return _mm256_mask_i32gather_epi32(_mm256_setzero_si256(), base, _mm256_add_epi32(row, column),
                                       wanted, 4);
}

/// The channel at `shift` of each texel, decoded to linear light.
VM_AVX2 __m256 decoded(const float* table, __m256i texels, int shift) {
    const __m256i code =
        _mm256_and_si256(_mm256_srli_epi32(texels, shift), _mm256_set1_epi32(0xff));
    return _mm256_i32gather_ps(table, code, 4);
}

/// One channel's bilinear blend of the four texels.
VM_AVX2 __m256 blended(const float* table, int shift, __m256i t00, __m256i t01, __m256i t10,
                       __m256i t11, __m256 tx, __m256 ty) {
    const __m256 a = decoded(table, t00, shift);
    const __m256 b = decoded(table, t01, shift);
    const __m256 c = decoded(table, t10, shift);
    const __m256 d = decoded(table, t11, shift);
    // Fused, as in cachedBilinear(): a pixel comes out the same from either.
    const __m256 top = _mm256_fmadd_ps(_mm256_sub_ps(b, a), tx, a);
    const __m256 bottom = _mm256_fmadd_ps(_mm256_sub_ps(d, c), tx, c);
    return _mm256_fmadd_ps(_mm256_sub_ps(bottom, top), ty, top);
}

/// blended() for all channels of one pixel whose four texels are decoded in a cache:
/// t00 at `at`, t01 beside it, t10 and t11 `rowFloats` further.
VM_AVX2 __m128 cachedBilinear(const float* at, int rowFloats, float tx, float ty) {
    const __m128 a = _mm_load_ps(at);
    const __m128 b = _mm_load_ps(at + 4);
    const __m128 c = _mm_load_ps(at + rowFloats);
    const __m128 d = _mm_load_ps(at + rowFloats + 4);
    const __m128 x = _mm_set1_ps(tx);
    const __m128 top = _mm_fmadd_ps(_mm_sub_ps(b, a), x, a);
    const __m128 bottom = _mm_fmadd_ps(_mm_sub_ps(d, c), x, c);
    return _mm_fmadd_ps(_mm_sub_ps(bottom, top), _mm_set1_ps(ty), top);
}

/// Texels x and x + 1 of a VM_FORMAT_LINEAR16 row as eight floats, unscaled.
VM_AVX2 __m256 linearPair(const unsigned char* row, int x) {
    const __m128i words =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 8 * static_cast<int64_t>(x)));
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(words));
}

} // namespace wide

/// Level 0's texels in columns [x, x + width) and rows [y, y + height), decoded once
/// for the many magnified pixels that read them: linear RGBA floats, row by row.
/// An empty cache (width 0) holds nothing.
struct TexelCache {
    static constexpr int capacity = 6400; // texels: an 80 x 80 patch
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    alignas(32) float texels[4 * capacity];
};

/// Fills `cache` with the texels of level 0 (opaque RGBA8 or BGRA8: `bgra`) in the
/// patch it names, which must lie inside the level and within its capacity.
inline void fillTexelCache(const VmSampler& s, bool bgra, TexelCache& cache) {
    const VmLevel& level = s.levels[0];
    const int red = bgra ? 2 : 0;
    // The patch's rows lie a picture's width apart, beyond what the processor guesses
    // on its own: ask for all of them before the first is decoded.
    for (int j = 0; j < cache.height; ++j) {
        const unsigned char* row = rowOf(level, cache.y + j);
        for (int64_t b = 4 * int64_t{cache.x}; b < 4 * int64_t{cache.x + cache.width}; b += 64)
            _mm_prefetch(reinterpret_cast<const char*>(row + b), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(row + 4 * int64_t{cache.x + cache.width} - 1),
                     _MM_HINT_T0);
    }
    float* to = cache.texels;
    for (int j = 0; j < cache.height; ++j) {
        const unsigned char* p = rowOf(level, cache.y + j) + 4 * static_cast<int64_t>(cache.x);
        for (int i = 0; i < cache.width; ++i, p += 4, to += 4) {
            to[0] = s.decode8[p[red]];
            to[1] = s.decode8[p[1]];
            to[2] = s.decode8[p[2 - red]];
            to[3] = 1.f;
        }
    }
}

/// Samples level 0 of an opaque RGBA8 or BGRA8 source (`bgra`) bilinearly at
/// (us[i], vs[i]), u in [0, 1), for every i < n with simple[i] set, writing linear
/// RGBA floats to out + 4 i. Other pixels of the span may be overwritten and are left
/// for the caller; nothing at or beyond n is written. us and vs must be readable, and
/// simple[] (0 or -1) filled with 0, up to n rounded up to eight; only the pixels
/// marked are read from memory. Eight pixels whose texels all lie in `cache` read
/// them there, the others gather them; either gives the same floats.
__attribute__((target("avx2,fma"))) inline void magnifiedSpan(const VmSampler& s, bool bgra,
                                                              const float* us, const float* vs,
                                                              const int* simple, int n,
                                                              const TexelCache& cache, float* out) {
    const VmLevel& level = s.levels[0];
    const auto* base = static_cast<const int*>(level.pixels);
    const __m256 fw = _mm256_set1_ps(static_cast<float>(level.width));
    const __m256 fh = _mm256_set1_ps(static_cast<float>(level.height));
    const __m256 half = _mm256_set1_ps(0.5f);
    const __m256 one = _mm256_set1_ps(1.f);
    const __m256 zero = _mm256_setzero_ps();
    const __m256i ione = _mm256_set1_epi32(1);
    const __m256i izero = _mm256_setzero_si256();
    const __m256i lastColumn = _mm256_set1_epi32(level.width - 1);
    const __m256i lastRow = _mm256_set1_epi32(level.height - 1);
    const __m256i width = _mm256_set1_epi32(level.width);
    const __m256i rowTexels = _mm256_set1_epi32(static_cast<int>(level.stride / 4));
    // The cache's patch: texel x0 must lie in [first, last) with x0 + 1 beside it,
    // rows likewise.
    const __m256i cacheLeft = _mm256_set1_epi32(cache.x);
    const __m256i cacheRight = _mm256_set1_epi32(cache.x + cache.width);
    const __m256i cacheTop = _mm256_set1_epi32(cache.y);
    const __m256i cacheBottom = _mm256_set1_epi32(cache.y + cache.height);
    const int cacheRow = 4 * cache.width;
    // Red is the low byte of RGBA8 and the third of BGRA8.
    const int redShift = bgra ? 16 : 0;
    const int blueShift = bgra ? 0 : 16;

    for (int i = 0; i < n; i += 8) {
        const __m256i wanted = _mm256_load_si256(reinterpret_cast<const __m256i*>(simple + i));
        if (_mm256_testz_si256(wanted, wanted))
            continue;
        // As bilinearPanorama(): x in [-0.5, w - 0.5), so x + 1 is positive and
        // truncation floors it; v is clamped (NaN to 0).
        const __m256 x = _mm256_sub_ps(_mm256_mul_ps(_mm256_loadu_ps(us + i), fw), half);
        const __m256 v = _mm256_min_ps(_mm256_max_ps(_mm256_loadu_ps(vs + i), zero), one);
        const __m256 y = _mm256_sub_ps(_mm256_mul_ps(v, fh), half);
        __m256i x0 = _mm256_sub_epi32(_mm256_cvttps_epi32(_mm256_add_ps(x, one)), ione);
        const __m256i y0 = _mm256_sub_epi32(_mm256_cvttps_epi32(_mm256_add_ps(y, one)), ione);
        const __m256 tx = _mm256_sub_ps(x, _mm256_cvtepi32_ps(x0));
        const __m256 ty = _mm256_sub_ps(y, _mm256_cvtepi32_ps(y0));
        const __m256i row0 = _mm256_max_epi32(y0, izero);
        const __m256i row1 = _mm256_min_epi32(_mm256_add_epi32(y0, ione), lastRow);
        // Left of the first texel is the last; right of the last, the first.
        __m256i x1 = _mm256_add_epi32(x0, ione);
        x0 = _mm256_blendv_epi8(x0, lastColumn, _mm256_cmpgt_epi32(izero, x0));
        x1 = _mm256_andnot_si256(_mm256_cmpeq_epi32(x1, width), x1);
        const int count = n - i < 8 ? n - i : 8;

        // In the cache: x0 and row0 at or past its start, x1 and row1 before its end,
        // x1 beside x0 and row1 on or below row0 (the clamp may make them one).
        const __m256i inside =
            _mm256_and_si256(_mm256_and_si256(_mm256_cmpgt_epi32(cacheRight, x1),
                                              _mm256_cmpgt_epi32(cacheBottom, row1)),
                             _mm256_cmpeq_epi32(x1, _mm256_add_epi32(x0, ione)));
        const __m256i outside = _mm256_or_si256(
            _mm256_or_si256(_mm256_cmpgt_epi32(cacheLeft, x0), _mm256_cmpgt_epi32(cacheTop, row0)),
            _mm256_xor_si256(inside, _mm256_set1_epi32(-1)));
        if (_mm256_testz_si256(outside, wanted)) {
            alignas(32) int at[8];
            alignas(32) int below[8];
            alignas(32) float fx[8];
            alignas(32) float fy[8];
            const __m256i column = _mm256_sub_epi32(x0, cacheLeft);
            _mm256_store_si256(
                reinterpret_cast<__m256i*>(at),
                _mm256_slli_epi32(
                    _mm256_add_epi32(_mm256_mullo_epi32(_mm256_sub_epi32(row0, cacheTop),
                                                        _mm256_set1_epi32(cache.width)),
                                     column),
                    2));
            _mm256_store_si256(
                reinterpret_cast<__m256i*>(below),
                _mm256_mullo_epi32(_mm256_sub_epi32(row1, row0), _mm256_set1_epi32(cacheRow)));
            _mm256_store_ps(fx, tx);
            _mm256_store_ps(fy, ty);
            for (int j = 0; j < count; ++j) {
                if (simple[i + j])
                    _mm_storeu_ps(out + 4 * (i + j), wide::cachedBilinear(cache.texels + at[j],
                                                                          below[j], fx[j], fy[j]));
            }
            continue;
        }
        const __m256i r0 = _mm256_mullo_epi32(row0, rowTexels);
        const __m256i r1 = _mm256_mullo_epi32(row1, rowTexels);
        // Unmarked lanes may hold anything: they read nothing, and decode texel 0.
        const __m256i t00 = wide::gather(base, r0, x0, wanted);
        const __m256i t01 = wide::gather(base, r0, x1, wanted);
        const __m256i t10 = wide::gather(base, r1, x0, wanted);
        const __m256i t11 = wide::gather(base, r1, x1, wanted);
        const __m256 r = wide::blended(s.decode8, redShift, t00, t01, t10, t11, tx, ty);
        const __m256 g = wide::blended(s.decode8, 8, t00, t01, t10, t11, tx, ty);
        const __m256 b = wide::blended(s.decode8, blueShift, t00, t01, t10, t11, tx, ty);

        // Eight RGBA quads from the four channel vectors.
        const __m256 rgLow = _mm256_unpacklo_ps(r, g);  // pixels 0, 1 | 4, 5
        const __m256 rgHigh = _mm256_unpackhi_ps(r, g); // pixels 2, 3 | 6, 7
        const __m256 baLow = _mm256_unpacklo_ps(b, one);
        const __m256 baHigh = _mm256_unpackhi_ps(b, one);
        const __m256 p04 = _mm256_shuffle_ps(rgLow, baLow, _MM_SHUFFLE(1, 0, 1, 0));
        const __m256 p15 = _mm256_shuffle_ps(rgLow, baLow, _MM_SHUFFLE(3, 2, 3, 2));
        const __m256 p26 = _mm256_shuffle_ps(rgHigh, baHigh, _MM_SHUFFLE(1, 0, 1, 0));
        const __m256 p37 = _mm256_shuffle_ps(rgHigh, baHigh, _MM_SHUFFLE(3, 2, 3, 2));
        // Stored a pixel at a time: the caller reads them back a pixel at a time, and
        // a narrower load from a wider store that has not left the store queue stalls.
        const __m128 quads[8] = {_mm256_castps256_ps128(p04),   _mm256_castps256_ps128(p15),
                                 _mm256_castps256_ps128(p26),   _mm256_castps256_ps128(p37),
                                 _mm256_extractf128_ps(p04, 1), _mm256_extractf128_ps(p15, 1),
                                 _mm256_extractf128_ps(p26, 1), _mm256_extractf128_ps(p37, 1)};
        for (int j = 0; j < count; ++j)
            _mm_storeu_ps(out + 4 * (i + j), quads[j]);
    }
}

/// Weighted sums of `taps` bilinear taps along rows r0 and r1 of a VM_FORMAT_LINEAR16
/// level, tap t at x = first + t spacing (in texels, within a width of the row)
/// weighing tapWeight(t, step, boxWeight, tentScale): sampleFootprint()'s
/// loop for footprints stretched round the planet. Unscaled words, as
/// linearPairInRow(). Each tap's pair is one load, widened and weighed whole.
__attribute__((target("avx2,fma"))) inline void
linearTapRows(const unsigned char* r0, const unsigned char* r1, int w, float first, float spacing,
              int taps, float step, float boxWeight, float tentScale, __m128& top, __m128& bottom) {
    __m256 sumTop = _mm256_setzero_ps();
    __m256 sumBottom = _mm256_setzero_ps();
    for (int t = 0; t < taps; ++t) {
        const float x = first + static_cast<float>(t) * spacing;
        int x0 = floorToInt(x);
        const float fx = x - static_cast<float>(x0);
        x0 = x0 < 0 ? x0 + w : (x0 >= w ? x0 - w : x0);
        const float wt = tapWeight(t, step, boxWeight, tentScale);
        // Texel x0 in the low half, x0 + 1 in the high: their bilinear weights.
        const __m256 weights = _mm256_set_m128(_mm_set1_ps(wt * fx), _mm_set1_ps(wt * (1.f - fx)));
        sumTop = _mm256_fmadd_ps(wide::linearPair(r0, x0), weights, sumTop);
        sumBottom = _mm256_fmadd_ps(wide::linearPair(r1, x0), weights, sumBottom);
    }
    top = _mm_add_ps(_mm256_castps256_ps128(sumTop), _mm256_extractf128_ps(sumTop, 1));
    bottom = _mm_add_ps(_mm256_castps256_ps128(sumBottom), _mm256_extractf128_ps(sumBottom, 1));
}

#undef VM_AVX2

} // namespace velmora::sampling
