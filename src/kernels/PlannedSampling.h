#pragma once

// samplePanorama() planned for a row of pixels at once: the level, the blend and where
// each bilinear sample reads are worked out for the whole row in loops the compiler
// vectorises, leaving the pixel loop only the loads and the blends. Gives the floats
// samplePanorama() gives.

#include "kernels/KernelAbi.h"
#include "kernels/Sampling.h"

namespace velmora::sampling {

/// The most pixels one plan holds: a row of the kernel's blocks.
constexpr int plannedPixels = 64;

/// Where one bilinear sample of a level reads, pixel by pixel: its column (wrapped
/// as bilinearPanorama() wraps it), its two rows, and its fractions.
struct LevelTaps {
    alignas(32) int x[plannedPixels];
    alignas(32) int row0[plannedPixels];
    alignas(32) int row1[plannedPixels];
    alignas(32) float tx[plannedPixels];
    alignas(32) float ty[plannedPixels];
};

/// samplePanorama() for every pixel of a row, worked out ahead: the level
/// (levelBlend()'s), the share of the next level to blend in, and the bilinear
/// sample of each. Planned for the whole row in a loop the compiler vectorises, the
/// pixel loop is left only the loads and the blends.
struct OneTapPlan {
    alignas(32) int level[plannedPixels];
    alignas(32) float next[plannedPixels];
    LevelTaps first;
    LevelTaps second;
};

/// bilinearPanorama()'s arithmetic for `w` pixels at the levels in `level`, exactly.
VM_INLINE void planLevelTaps(const float* __restrict us, const float* __restrict vs,
                             const int* __restrict level, const float* __restrict widths,
                             const float* __restrict heights, int w, LevelTaps& out) {
    for (int i = 0; i < w; ++i) {
        const float fw = widths[level[i]];
        const float fh = heights[level[i]];
        const int lw = static_cast<int>(fw);
        const int lh = static_cast<int>(fh);
        // Bounded first (NaN included), for pixels the plan is not used for.
        const float u = clampf(us[i], 0.f, 1.f);
        const float x = u * fw - 0.5f;
        const float y = clampf(vs[i], 0.f, 1.f) * fh - 0.5f;
        const int x0 = static_cast<int>(x + 1.f) - 1;
        const int y0 = static_cast<int>(y + 1.f) - 1;
        out.tx[i] = x - static_cast<float>(x0);
        out.ty[i] = y - static_cast<float>(y0);
        out.x[i] = x0 < 0 ? lw - 1 : x0;
        out.row0[i] = y0 < 0 ? 0 : y0;
        out.row1[i] = y0 + 1 < lh ? y0 + 1 : lh - 1;
    }
}

/// Plans samplePanorama() for the `w` pixels (at most plannedPixels) at (us, vs) with
/// footprints `lod`.
VM_INLINE void planOneTaps(const VmSampler& src, const float* __restrict us,
                           const float* __restrict vs, const float* __restrict lod, int w,
                           OneTapPlan& out) {
    float widths[VM_MAX_LEVELS];
    float heights[VM_MAX_LEVELS];
    for (int l = 0; l < src.levelCount; ++l) {
        widths[l] = static_cast<float>(src.levels[l].width);
        heights[l] = static_cast<float>(src.levels[l].height);
    }
    const int last = src.levelCount - 1;
    alignas(32) int second[plannedPixels];
    for (int i = 0; i < w; ++i) {
        // levelBlend(src, lod, panoramaBand) without its branches.
        const float l = clampf(lod[i], 0.f, static_cast<float>(last));
        const int l0 = static_cast<int>(l);
        const float t = l - static_cast<float>(l0);
        const bool up = t > 1.f - panoramaBand && l0 < last;
        const bool alone = up || t < panoramaBand || l0 == last;
        out.level[i] = up ? l0 + 1 : l0;
        out.next[i] = alone ? 0.f : (t - panoramaBand) * (1.f / (1.f - 2.f * panoramaBand));
        second[i] = l0 < last ? l0 + 1 : last;
    }
    planLevelTaps(us, vs, out.level, widths, heights, w, out.first);
    planLevelTaps(us, vs, second, widths, heights, w, out.second);
}

/// The bilinear sample `taps` plans for pixel i at level `index`.
template <int Format, bool Opaque>
VM_INLINE Rgba plannedBilinear(const VmSampler& src, int index, const LevelTaps& taps, int i) {
    const VmLevel& level = src.levels[index];
    const unsigned char* r0 = rowOf(level, taps.row0[i]);
    const unsigned char* r1 = rowOf(level, taps.row1[i]);
    const int x0 = taps.x[i];
    const float tx = taps.tx[i];
    if (index > 0)
        return linearBilinear(r0, r1, x0, tx, taps.ty[i]);
    const int x1 = x0 + 1 == level.width ? 0 : x0 + 1;
    const Rgba top =
        lerp(texelInRow<Format, Opaque>(src, r0, x0), texelInRow<Format, Opaque>(src, r0, x1), tx);
    const Rgba bottom =
        lerp(texelInRow<Format, Opaque>(src, r1, x0), texelInRow<Format, Opaque>(src, r1, x1), tx);
    return lerp(top, bottom, taps.ty[i]);
}

/// samplePanorama() as `plan` planned it for pixel i.
template <int Format, bool Opaque>
VM_INLINE Rgba plannedSample(const VmSampler& src, const OneTapPlan& plan, int i) {
    const int level = plan.level[i];
    const Rgba first = plannedBilinear<Format, Opaque>(src, level, plan.first, i);
    const float next = plan.next[i];
    if (next == 0.f)
        return first;
    return lerp(first, plannedBilinear<Format, Opaque>(src, level + 1, plan.second, i), next);
}

} // namespace velmora::sampling
