#pragma once

// samplePanorama() planned for a row of pixels at once: the level, the blend and where
// each bilinear sample reads (levelBlend() and panoramaTaps(), whose arithmetic it
// shares) are worked out for the whole row in loops the compiler vectorises, leaving
// the pixel loop only the loads and the blends.

#include "kernels/KernelAbi.h"
#include "kernels/Sampling.h"

namespace velmora::sampling {

/// The most pixels one plan holds: a row of the kernel's blocks.
constexpr int plannedPixels = 64;

/// Where one bilinear sample of a level reads, pixel by pixel: panoramaTaps() as
/// arrays.
struct LevelTaps {
    alignas(32) int x[plannedPixels];
    alignas(32) int row0[plannedPixels];
    alignas(32) int row1[plannedPixels];
    alignas(32) float tx[plannedPixels];
    alignas(32) float ty[plannedPixels];

    PanoramaTaps operator[](int i) const { return {x[i], row0[i], row1[i], tx[i], ty[i]}; }
};

/// samplePanorama() for every pixel of a row, worked out ahead: the level and the
/// share of the next level to blend in (levelBlend()), and the bilinear sample of
/// each.
struct OneTapPlan {
    alignas(32) int level[plannedPixels];
    alignas(32) float next[plannedPixels];
    LevelTaps first;
    LevelTaps second;
};

/// panoramaTaps() for `w` pixels at the levels in `level`.
VM_INLINE void planLevelTaps(const VmSampler& src, const float* __restrict us,
                             const float* __restrict vs, const int* __restrict level, int w,
                             LevelTaps& out) {
    int widths[VM_MAX_LEVELS];
    int heights[VM_MAX_LEVELS];
    for (int l = 0; l < src.levelCount; ++l) {
        widths[l] = src.levels[l].width;
        heights[l] = src.levels[l].height;
    }
    for (int i = 0; i < w; ++i) {
        // u bounded first (NaN included), for pixels the plan is not used for.
        const PanoramaTaps at =
            panoramaTaps(clampf(us[i], 0.f, 1.f), vs[i], widths[level[i]], heights[level[i]]);
        out.x[i] = at.x;
        out.row0[i] = at.row0;
        out.row1[i] = at.row1;
        out.tx[i] = at.tx;
        out.ty[i] = at.ty;
    }
}

/// Plans samplePanorama() for the `w` pixels (at most plannedPixels) at (us, vs) with
/// footprints `lod`.
VM_INLINE void planOneTaps(const VmSampler& src, const float* __restrict us,
                           const float* __restrict vs, const float* __restrict lod, int w,
                           OneTapPlan& out) {
    const int last = src.levelCount - 1;
    alignas(32) int second[plannedPixels];
    for (int i = 0; i < w; ++i) {
        const LevelBlend pick = levelBlendBelow(last, lod[i], panoramaBand);
        out.level[i] = pick.level;
        out.next[i] = pick.next;
        // Read only where the next level is blended in, which is never the last.
        second[i] = pick.level < last ? pick.level + 1 : last;
    }
    planLevelTaps(src, us, vs, out.level, w, out.first);
    planLevelTaps(src, us, vs, second, w, out.second);
}

/// samplePanorama() as `plan` planned it for pixel i.
template <int Format, bool Opaque>
VM_INLINE Rgba plannedSample(const VmSampler& src, const OneTapPlan& plan, int i) {
    const int level = plan.level[i];
    const Rgba first = bilinearPanoramaAt<Format, Opaque>(src, level, plan.first[i]);
    const float next = plan.next[i];
    if (next == 0.f)
        return first;
    return lerp(first, bilinearPanoramaAt<Format, Opaque>(src, level + 1, plan.second[i]), next);
}

} // namespace velmora::sampling
