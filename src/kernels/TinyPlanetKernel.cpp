// The "tinyPlanet" projection kernel, built as its own module and loaded at start.
//
// Every destination pixel shows one direction of the viewing sphere; the kernel finds
// that direction and samples the panorama there. With p the pixel centre in the unit
// square (y down) and side the square's side in pixels:
//
//  1. Planet centre c = (0.5 + 0.5 shiftX, 0.5 - 0.5 horizon). q = 2 (p - c), in
//     half-sides, turned by -rotation: positive rotation turns the picture clockwise
//     about the planet centre (the square's centre unless shifted).
//  2. r = |q|. Azimuth theta = atan2(q.x, -q.y) + twist * r: 0 straight up, growing
//     clockwise; twist bends the azimuth with the radius into a spiral.
//  3. Angle from the nadir: s = r / (0.5 zoom), so the horizon is a circle of radius
//     0.5 zoom half-sides, and c = 2 atan(f(s)). f(s) = s is the stereographic
//     projection (angle-preserving: round things stay round). Convexity bends it:
//     f(s) = s ((1 + s^2) / 2)^((e - 1) / 2) with e = 2^(1.2 convexity) keeps the
//     horizon at s = 1 and the centre free of singularities; convexity > 0 magnifies
//     the ground and squeezes the horizon like a ball, convexity < 0 flattens the
//     ground and opens the horizon out.
//  4. invert: c -> pi - c, the zenith in the middle and the ground outside.
//  5. Flips tilt the sphere before projecting: the direction (sin c sin theta,
//     sin c cos theta, cos c) in (right, up, along the view) turns by flipY * pi about
//     the picture's horizontal axis, then by flipX * pi about its vertical axis. At
//     flipY = -0.6 the view looks just above the horizon, which then runs across.
//     Then the camera's pose, if it was not level, turns the direction into the
//     camera's own.
//  6. Longitude lambda = atan2(right, up), elevation phi = -asin(along the view).
//     u = frac(0.5 + repeats lambda / 2 pi): the panorama's middle is straight up,
//     its left half on the left, and repeats is how often it goes round.
//     v = 0.5 - phi / pi: the top row is the zenith, the bottom row the nadir.
//     A picture that covers only part of the sphere (a phone's panorama, 360 by 90
//     degrees) spans v = coverTop to coverTop + coverHeight; beyond it, towards either
//     pole, its edge row is continued and blurred round the sphere, more the nearer
//     the pole, so the ground closes into a soft disc instead of a pinwheel.
//  7. Seam: where u wraps, the picture's left and right ends meet; within blendWidth / 2
//     of the seam (in u) they are blended with a smoothstep. If the ends continue
//     into each other (a 360 panorama, judged once per picture) only the colour step
//     between them (first and last columns, blurred along the seam) is cross-faded,
//     which fixes exposure mismatches and leaves a clean stitch untouched. If they do
//     not (a wide photo), each end is continued past the seam by reflection and the
//     two cross-fade, so no hard cut remains. blendWidth < 0.005 turns it off.
//  8. Filtering: from the source pyramid, the level chosen from the pixel's footprint
//     in the source (the largest step to its four neighbours, along u and along v, so
//     it does not depend on which way the picture is turned). Equirectangular pixels
//     shrink towards the poles, so a footprint there is long in u and short in v: it
//     is sampled with up to 16 taps along its long axis at the level of its short one,
//     and the pole neither sparkles nor smears into the average of the whole picture.
//
// Everything is clamped before memory is touched: any argument, NaN and infinities
// included, yields some colour from inside the source.

#include "kernels/FastMath.h"
#include "kernels/KernelAbi.h"
#include "kernels/PlannedSampling.h"
#include "kernels/Sampling.h"
#include "kernels/WideSampling.h"

#include <algorithm>
#include <cmath>

using namespace velmora::sampling;
namespace fm = velmora::fastmath;

namespace {

constexpr int block = plannedPixels;

struct Setup {
    float centreX = 0.f; // planet centre, pixels
    float centreY = 0.f;
    float toHalfSides = 0.f;
    float cosR = 1.f;
    float sinR = 0.f;
    float twist = 0.f;
    float invHorizon = 0.f;
    float bend = 0.f; // (e - 1) / 2; 0 means stereographic
    bool invert = false;
    bool flips = false;
    float cosFy = 1.f, sinFy = 0.f, cosFx = 1.f, sinFx = 0.f;
    float turns = 0.f; // repeats / 2 pi
    float seamHalf = 0.f;
    float width = 1.f; // level-0 size, pixels
    float height = 1.f;
    float coverTop = 0.f; // the picture's rows on the sphere
    float invCoverHeight = 1.f;
    float roomAbove = 0.f; // picture heights from its top edge to the zenith
    float roomBelow = 0.f; // and from its bottom edge to the nadir
    bool partial = false;  // the picture leaves part of the sphere to be filled
    float coverLeft = 0.f; // the picture's columns round the circle
    float invCoverWidth = 1.f;
    float circle = 1.f;     // the whole circle in picture widths
    bool sides = false;     // the picture leaves part of the circle open
    bool wide = false;      // the processor has AVX2 and FMA
    bool magnified = false; // level-0 pixels are sampled eight at a time
    float sideBlur = 0.f;   // lod of the blurred side edges the open part is made of
    float sideInset = 0.f;  // u of the middle of an edge's first texel at that lod
    float pose[9] = {1.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f};
};

VM_INLINE float finiteOr(float x, float fallback) {
    return std::isfinite(x) ? x : fallback;
}

/// Maps `n` destination pixels of one row, starting at column x0, to panorama
/// coordinates (u in [0, 1), v). Branch-free per pixel and free of library calls, so
/// it vectorises; the choices that hold for the whole row are template parameters.
template <bool Flips, bool Bend, bool Twisted>
VM_INLINE void mapSpan(const Setup& k, int x0, int py, int n, float* __restrict us,
                       float* __restrict vs) {
    // Everything the loop reads, in locals: the stores below cannot then be suspected
    // of changing it, and the loop vectorises.
    const float cx = k.centreX, toHalf = k.toHalfSides, cosR = k.cosR, sinR = k.sinR;
    const float twist = k.twist, invHorizon = k.invHorizon, bend = k.bend, turns = k.turns;
    const float cosFy = k.cosFy, sinFy = k.sinFy, cosFx = k.cosFx, sinFx = k.sinFx;
    const float coverTop = k.coverTop, invCoverHeight = k.invCoverHeight;
    const float coverLeft = k.coverLeft, invCoverWidth = k.invCoverWidth;
    const float m0 = k.pose[0], m1 = k.pose[1], m2 = k.pose[2], m3 = k.pose[3], m4 = k.pose[4],
                m5 = k.pose[5], m6 = k.pose[6], m7 = k.pose[7], m8 = k.pose[8];
    // v = vBase + vSign * c / pi: the nadir in the middle, or the zenith when inverted.
    const float vBase = k.invert ? 0.f : 1.f;
    const float vSign = k.invert ? 1.f : -1.f;
    const float cosSign = k.invert ? -1.f : 1.f;
    const float qy0 = (static_cast<float>(py) + 0.5f - k.centreY) * toHalf;

    for (int i = 0; i < n; ++i) {
        const float qx0 = (static_cast<float>(x0 + i) + 0.5f - cx) * toHalf;
        const float qx = cosR * qx0 + sinR * qy0;
        const float qy = -sinR * qx0 + cosR * qy0;
        const float r = std::sqrt(qx * qx + qy * qy);
        const float s = r * invHorizon;
        float f = s;
        if constexpr (Bend)
            f = s * fm::pow((1.f + s * s) * 0.5f, bend);

        float lon;
        float v;
        if constexpr (!Flips) {
            lon = fm::atan2(qx, -qy) + twist * r;
            v = vBase + vSign * (2.f / fm::pi) * fm::atan(f);
        } else {
            // tan(c / 2) = f gives sin c and cos c without trigonometry; far out f may
            // overflow, where the direction is the zenith.
            const float ff = f * f;
            const bool far = !(ff < 1e30f);
            const float inv = 1.f / (1.f + (far ? 0.f : ff));
            const float sinC = far ? 0.f : 2.f * f * inv;
            const float cosC = cosSign * (far ? -1.f : (1.f - ff) * inv);
            float sinT;
            float cosT;
            if constexpr (Twisted) {
                fm::sincos(fm::atan2(qx, -qy) + twist * r, sinT, cosT);
            } else {
                const float invR = r > 0.f ? 1.f / r : 0.f;
                sinT = qx * invR;
                cosT = r > 0.f ? -qy * invR : 1.f;
            }
            const float dx = sinC * sinT;
            const float dy = sinC * cosT;
            const float y1 = dy * cosFy - cosC * sinFy;
            const float z1 = dy * sinFy + cosC * cosFy;
            const float x2 = dx * cosFx + z1 * sinFx;
            const float z2 = -dx * sinFx + z1 * cosFx;
            const float x3 = m0 * x2 + m1 * y1 + m2 * z2;
            const float y3 = m3 * x2 + m4 * y1 + m5 * z2;
            const float z3 = clampf(m6 * x2 + m7 * y1 + m8 * z2, -1.f, 1.f);
            lon = fm::atan2(x3, y3);
            v = 0.5f + fm::asin(z3) * (1.f / fm::pi);
        }
        // Bounded before the whole turns are removed: lon may be any float, NaN too.
        float u = clampf(0.5f + lon * turns, -1e6f, 1e6f);
        u -= static_cast<float>(floorToInt(u));
        // In picture widths from its left edge: beyond 1 lies the part it leaves
        // open. Exact for a picture that goes once round (left 0, width 1).
        u -= coverLeft;
        u -= static_cast<float>(floorToInt(u));
        us[i] = u * invCoverWidth;
        vs[i] = (v - coverTop) * invCoverHeight;
    }
}

/// mapSpan() for the shape in `k`, chosen once per row.
VM_INLINE void mapRow(const Setup& k, int x0, int py, int n, float* __restrict us,
                      float* __restrict vs) {
    const bool bend = k.bend != 0.f;
    if (!k.flips) {
        // Without flips, twist only adds to the azimuth: no variant needed.
        if (bend)
            mapSpan<false, true, false>(k, x0, py, n, us, vs);
        else
            mapSpan<false, false, false>(k, x0, py, n, us, vs);
    } else if (k.twist != 0.f) {
        if (bend)
            mapSpan<true, true, true>(k, x0, py, n, us, vs);
        else
            mapSpan<true, false, true>(k, x0, py, n, us, vs);
    } else {
        if (bend)
            mapSpan<true, true, false>(k, x0, py, n, us, vs);
        else
            mapSpan<true, false, false>(k, x0, py, n, us, vs);
    }
}

/// 3t^2 - 2t^3 of t clamped to [0, 1]: the soft step every cross-fade and feather
/// here takes.
VM_INLINE float smoothstep(float t) {
    t = clampf(t, 0.f, 1.f);
    return t * t * (3.f - 2.f * t);
}

/// How much of what lies beyond an edge shows `edge` inside it: all of it at the
/// edge, none from `feather` in.
VM_INLINE float feathered(float edge, float feather) {
    return smoothstep(1.f - edge / feather);
}

/// Signed distance from u to the nearest seam, in (-0.5, 0.5]: negative just before
/// the wrap (the panorama's right end), positive just after it (the left end).
VM_INLINE float seamDistance(float u) {
    return u > 0.5f ? u - 1.f : u;
}

/// A difference of two u values taken the short way round a circle of `circle`
/// picture widths, in [-circle / 2, circle / 2].
VM_INLINE float wrapDelta(float du, float circle) {
    // u values lie in [0, circle), so du lies in (-circle, circle).
    return du - circle * static_cast<float>(floorToInt(du / circle + 0.5f));
}

/// The colour of a pixel within the seam band, `ds` (signed) and `reach` from the seam.
template <int Format, bool Opaque>
VM_INLINE Rgba blendSeam(const VmSampler& src, const Setup& k, Rgba natural, float ds, float reach,
                         float v, float lod) {
    if (src.seamWraps) {
        // The scene goes on across the seam: cross-fade only the colour step between
        // the two ends, half on each side, from the row's entry in the table.
        const float y = clampf(v * static_cast<float>(src.seamRows) - 0.5f, 0.f,
                               static_cast<float>(src.seamRows - 1));
        const int row = static_cast<int>(y);
        const int below = row + 1 < src.seamRows ? row + 1 : row;
        const Rgba step =
            lerp({_mm_loadu_ps(src.seamDelta + 4 * row)}, {_mm_loadu_ps(src.seamDelta + 4 * below)},
                 y - static_cast<float>(row));
        const float t = 1.f - reach / k.seamHalf;
        const float weight = 0.5f * t * t * (3.f - 2.f * t);
        Rgba c = natural + step * (ds < 0.f ? weight : -weight);
        // Keep a valid premultiplied colour: 0 <= channel <= alpha <= 1.
        c.v = _mm_max_ps(c.v, _mm_setzero_ps());
        const float a = clampf(c.alpha(), 0.f, 1.f);
        c.v = _mm_min_ps(c.v, _mm_set1_ps(a));
        return c;
    }
    // Different scenes meet: each end is continued past the seam by reflection and
    // the two cross-fade over the band, so no hard cut remains.
    const Rgba reflected =
        samplePanorama<Format, Opaque>(src, ds < 0.f ? reach : 1.f - reach, v, lod);
    const Rgba rightEnd = ds < 0.f ? natural : reflected;
    const Rgba leftEnd = ds < 0.f ? reflected : natural;
    const float t = 0.5f + 0.5f * ds / k.seamHalf;
    return lerp(rightEnd, leftEnd, smoothstep(t));
}

/// Most samples one pixel takes along its footprint; near the poles the footprint
/// wraps the whole width but only a few rows, and fewer taps would read a coarser
/// level, blurring the few rows into many (the ground under the camera into the
/// landscape round it). Only the small area about a pole takes this many.
constexpr int maxTaps = 32;
constexpr float log2MaxTaps = 5.f;
/// A footprint this much longer one way than the other is sampled with taps along it.
constexpr float anisotropyFrom = 1.5f;
/// A footprint stretched less than this is averaged as a box of its length with one
/// tap per stretch; from there the taps step one texel apart at most and reach
/// further, up to a tent of twice its length by tentFrom, where the planet squeezes
/// a fine pattern hardest. Mild stretching keeps the cheap box: it costs half the
/// taps, and its moire needs a squeeze it does not have.
constexpr float carefulFrom = 3.f;
constexpr float tentFrom = 6.f;

/// How each pixel of a row is sampled, as plain arrays so the loop that fills them
/// vectorises: log2 of the footprint's long and short axes in level-0 pixels, and
/// whether it is so much longer one way than the other that it is sampled with taps
/// along (du, dv), the footprint's extent.
struct RowFootprints {
    alignas(32) float lod[block];
    alignas(32) float lodMinor[block];
    alignas(32) int anisotropic[block];
    alignas(32) float du[block];
    alignas(32) float dv[block];
    // How each is sampled (planTaps()): `taps` bilinear taps along its long axis at
    // pyramid `level`, weighted by a box blended with a tent (`tent` of the way) that
    // reaches `spread` times the footprint. One tap is the ordinary trilinear sample,
    // whose first level `level` then is.
    alignas(32) int level[block];
    alignas(32) int taps[block];
    alignas(32) float tent[block];
    alignas(32) float spread[block];
};

/// Footprints from the largest step to any of the four neighbours, along u and along
/// v separately (in source pixels). A tiny planet's pixel is stretched along those
/// axes (round the planet is u, outwards is v); taking the largest one-sided step
/// keeps it symmetric under quarter turns and still sees the pole, where the
/// neighbours all lie at other longitudes.
VM_INLINE void footprints(const float* __restrict pu, const float* __restrict pv,
                          const float* __restrict cu, const float* __restrict cv,
                          const float* __restrict nu, const float* __restrict nv, int w,
                          float width, float height, float circle, RowFootprints& out) {
    for (int i = 0; i < w; ++i) {
        const float u = cu[i + 1];
        const float v = cv[i + 1];
        const float du0 = std::fabs(wrapDelta(cu[i] - u, circle));
        const float du1 = std::fabs(wrapDelta(cu[i + 2] - u, circle));
        const float du2 = std::fabs(wrapDelta(pu[i + 1] - u, circle));
        const float du3 = std::fabs(wrapDelta(nu[i + 1] - u, circle));
        const float dv0 = std::fabs(cv[i] - v);
        const float dv1 = std::fabs(cv[i + 2] - v);
        const float dv2 = std::fabs(pv[i + 1] - v);
        const float dv3 = std::fabs(nv[i + 1] - v);
        // At most half the picture: the taps then stay within a width of it.
        const float most = std::max(std::max(du0, du1), std::max(du2, du3));
        const float eu = most < 0.5f ? most : 0.5f;
        const float ev = std::max(std::max(dv0, dv1), std::max(dv2, dv3));
        const float pixelsU = eu * width;
        const float pixelsV = ev * height;
        const bool uMajor = pixelsU > pixelsV;
        const float major = uMajor ? pixelsU : pixelsV;
        const float minor = uMajor ? pixelsV : pixelsU;
        // Both logs taken unconditionally: one inside a select keeps the loop scalar.
        const float lodMajor = fastLog2(major);
        const float lodMinor = fastLog2(minor);
        out.lod[i] = lodMajor;
        out.lodMinor[i] = lodMinor;
        out.anisotropic[i] = major > anisotropyFrom * minor ? 1 : 0;
        out.du[i] = uMajor ? eu : 0.f;
        out.dv[i] = uMajor ? 0.f : ev;
    }
}

// The hot loops are compiled twice, for x86-64-v3 (AVX2, FMA) and for any x86-64; the
// dynamic loader picks one by the processor's features when the module is loaded.
// (Not "arch=haswell": that clone is chosen by processor model, so AMD never gets it.)
// Clang cannot clone templates; its builds (the fuzzers) take the plain loop.
#if defined(__clang__)
#define VM_CLONED_LOOP
#else
#define VM_CLONED_LOOP __attribute__((target_clones("arch=x86-64-v3", "default")))
#endif

/// Fills in how each footprint of the row is sampled. Every choice is worked out for
/// every pixel and then selected, so the loop vectorises; its conversions to int see
/// only values already bounded. (Not inlined: inside the hot loop it stays scalar.)
/// Returns whether any pixel reads a level above 0 or takes several taps (then the
/// next row's texels are worth asking for).
__attribute__((noinline)) VM_CLONED_LOOP bool planTaps(RowFootprints& f, int w, int last) {
    // One tap: about the trilinear sample's first level, which is all the prefetch
    // needs (the sample itself is planned by planOneTaps()).
    const auto oneTapLevel = [last](float lod) {
        return std::min(static_cast<int>(clampf(lod, 0.f, static_cast<float>(last)) + panoramaBand),
                        last);
    };
    int stretchedAny = 0;
    for (int i = 0; i < w; ++i)
        stretchedAny |= f.anisotropic[i];
    if (!stretchedAny) {
        // Most rows of a preview at the defaults.
        int farApart = 0;
        for (int i = 0; i < w; ++i) {
            f.taps[i] = 1;
            f.level[i] = oneTapLevel(f.lod[i]);
            farApart |= f.level[i];
        }
        return farApart != 0;
    }
    int farApart = 0;
    for (int i = 0; i < w; ++i) {
        const float lod = f.lod[i];
        const float lodMinor = f.lodMinor[i];
        const float stretch = fm::exp2(lod - lodMinor);
        // Mildly stretched: as many taps as the stretch, at the level of their spacing.
        const bool mild = stretch < carefulFrom;
        const int mildTaps = static_cast<int>(std::min(stretch, carefulFrom) + 0.5f);
        const int mildLevel = std::min(static_cast<int>(clampf(lodMinor + 0.5f, 0.f, 30.f)), last);
        // Squeezed hard (towards the poles): the level suits the short axis, or is
        // coarser when the long one would need more than maxTaps; the taps then step at
        // most one texel of that level apart, so their bilinear tents add up to a flat
        // box (wider steps leave ripples that alias a fine pattern's harmonics into
        // rings), and reach further, up to a tent of twice the footprint, whose weak
        // side lobes leave no moire.
        const float tent =
            mild ? 0.f
                 : clampf((stretch - carefulFrom) * (1.f / (tentFrom - carefulFrom)), 0.f, 1.f);
        const float spread = 1.f + tent;
        const float spreadLog = fastLog2(spread);
        const float lodReach = lod + spreadLog;
        const int byMinor = -floorToInt(-clampf(lodMinor + spreadLog, 0.f, 30.f));
        const int byCap = -floorToInt(-(lodReach - log2MaxTaps));
        const int hardLevel = std::min(std::max(byMinor, byCap), last);
        // Capped before it becomes an int: with a level capped at the last one, the
        // power may be far beyond any int.
        const float wanted = fm::exp2(lodReach - static_cast<float>(hardLevel));
        const int hardTaps =
            std::max(-floorToInt(-(wanted < static_cast<float>(maxTaps) ? wanted : maxTaps)), 1);
        const int taps = f.anisotropic[i] ? (mild ? mildTaps : hardTaps) : 1;
        f.taps[i] = taps;
        f.level[i] = taps > 1 ? (mild ? mildLevel : hardLevel) : oneTapLevel(lod);
        f.tent[i] = tent;
        f.spread[i] = spread;
        farApart |= f.level[i] | (taps - 1);
    }
    return farApart != 0;
}

/// planOneTaps() compiled for the processor, as the loops above.
__attribute__((noinline)) VM_CLONED_LOOP void
planOneTapRow(const VmSampler& src, const float* __restrict us, const float* __restrict vs,
              const float* __restrict lod, int w, OneTapPlan& out) {
    planOneTaps(src, us, vs, lod, w, out);
}

template <int Format, bool Opaque>
VM_INLINE Rgba sampleFootprint(const VmSampler& src, float u, float v, const RowFootprints& f,
                               const OneTapPlan& oneTap, int i, bool wide) {
    const int taps = f.taps[i];
    const int level = f.level[i];
    const float tent = f.tent[i];
    const float spread = f.spread[i];
    if (taps <= 1)
        return plannedSample<Format, Opaque>(src, oneTap, i);
    const VmLevel& at = src.levels[level];
    Rgba sum;
    const float step = 1.f / static_cast<float>(taps);
    // Weights summing to one: the box's 1 / taps blended with the tent's (tapWeight()).
    // The tent's weights add up to taps / 2, plus 1 / (2 taps) when taps is odd.
    const float tentSum = 0.5f * static_cast<float>(taps) + (taps % 2 ? 0.5f * step : 0.f);
    const float boxWeight = (1.f - tent) * step;
    const float tentScale = tent / tentSum;
    const auto weight = [&](int t) { return tapWeight(t, step, boxWeight, tentScale); };
    const float du = f.du[i] * spread;
    const float dv = f.dv[i] * spread;
    if (f.dv[i] == 0.f) {
        // Stretched round the planet: every tap reads the same two rows, so find them
        // once and blend the rows' sums instead of each tap's pair.
        const int w = at.width;
        const int h = at.height;
        const float y = clampf(v, 0.f, 1.f) * static_cast<float>(h) - 0.5f;
        const int y0 = static_cast<int>(y + 1.f) - 1;
        const float ty = y - static_cast<float>(y0);
        const unsigned char* r0 = rowOf(at, y0 < 0 ? 0 : y0);
        const unsigned char* r1 = rowOf(at, y0 + 1 < h ? y0 + 1 : h - 1);
        Rgba top;
        Rgba bottom;
        // In texels of this level, not wrapped: u is in [0, 1] and du at most a half,
        // so x stays within a width either side and one correction wraps it.
        const float fw = static_cast<float>(w);
        const float spacing = step * du * fw;
        const float first = (u - 0.5f * du) * fw + 0.5f * spacing - 0.5f;
        if (level > 0 && wide) {
            __m128 sumTop;
            __m128 sumBottom;
            linearTapRows(r0, r1, w, first, spacing, taps, step, boxWeight, tentScale, sumTop,
                          sumBottom);
            return lerp(Rgba{sumTop}, Rgba{sumBottom}, ty) * linearUnit;
        }
        if (level > 0) {
            // A linear level: each row's pair is one load, and the unit is applied once.
            for (int t = 0; t < taps; ++t) {
                const float x = first + static_cast<float>(t) * spacing;
                int x0 = floorToInt(x);
                const __m128 tx = _mm_set1_ps(x - static_cast<float>(x0));
                x0 = x0 < 0 ? x0 + w : (x0 >= w ? x0 - w : x0);
                const float wt = weight(t);
                top = top + Rgba{linearPairInRow(r0, x0, tx)} * wt;
                bottom = bottom + Rgba{linearPairInRow(r1, x0, tx)} * wt;
            }
            return lerp(top, bottom, ty) * linearUnit;
        }
        for (int t = 0; t < taps; ++t) {
            const float x = first + static_cast<float>(t) * spacing;
            int x0 = floorToInt(x);
            const float tx = x - static_cast<float>(x0);
            x0 = x0 < 0 ? x0 + w : (x0 >= w ? x0 - w : x0);
            const int x1 = x0 + 1 == w ? 0 : x0 + 1;
            const float wt = weight(t);
            top = top + lerp(texelInRow<Format, Opaque>(src, r0, x0),
                             texelInRow<Format, Opaque>(src, r0, x1), tx) *
                            wt;
            bottom = bottom + lerp(texelInRow<Format, Opaque>(src, r1, x0),
                                   texelInRow<Format, Opaque>(src, r1, x1), tx) *
                                  wt;
        }
        return lerp(top, bottom, ty);
    }
    for (int t = 0; t < taps; ++t) {
        const float along = (static_cast<float>(t) + 0.5f) * step - 0.5f;
        float tu = u + along * du;
        tu -= static_cast<float>(floorToInt(tu));
        sum = sum + bilinearPanorama<Format, Opaque>(src, level, tu, v + along * dv) * weight(t);
    }
    return sum;
}

/// How far round the sphere the fill averages right at the picture's edge: enough to
/// lose the edge row's detail (which would run in streaks), little enough to keep
/// its colours where they are.
constexpr float fillSpanAtEdge = 0.02f;
/// The band inside the picture, in picture heights, over which it fades into the fill.
constexpr float fillFeather = 0.15f;

/// The running sum of an edge's columns at column x (any real x; whole turns wrap).
VM_INLINE Rgba edgeSumAt(const float* sums, int columns, float x) {
    const float turns = std::floor(x / static_cast<float>(columns));
    float local = x - turns * static_cast<float>(columns);
    local = clampf(local, 0.f, static_cast<float>(columns));
    const int i = std::min(static_cast<int>(local), columns - 1);
    const float t = local - static_cast<float>(i);
    const Rgba whole{_mm_loadu_ps(sums + 4 * columns)};
    const Rgba at = lerp({_mm_loadu_ps(sums + 4 * i)}, {_mm_loadu_ps(sums + 4 * (i + 1))}, t);
    return at + whole * turns;
}

/// The fill beyond the picture's top (above) or bottom edge, at u and `t` of the way
/// from the edge to the pole: the edge's mean over a span round the sphere that grows
/// from fillSpanAtEdge to the whole circle at the pole, where every direction meets
/// the same colour. Linear premultiplied.
VM_INLINE Rgba edgeFill(const VmSampler& src, bool above, float u, float t) {
    const int columns = src.edgeColumns;
    const float* sums = src.edgeSums + (above ? 0 : 4 * (columns + 1));
    // Growing evenly: faster and the colour would jump just past the edge.
    const float span = fillSpanAtEdge + (1.f - fillSpanAtEdge) * clampf(t, 0.f, 1.f);
    const float width = span * static_cast<float>(columns);
    const float x0 = u * static_cast<float>(columns) - 0.5f * width;
    return (edgeSumAt(sums, columns, x0 + width) - edgeSumAt(sums, columns, x0)) * (1.f / width);
}

/// The picture's left (or right) edge at v, blurred: what the part of the circle it
/// leaves open is made of. Linear premultiplied.
template <int Format, bool Opaque>
VM_INLINE Rgba sideEdge(const VmSampler& src, const Setup& k, bool left, float v) {
    return samplePanorama<Format, Opaque>(src, left ? k.sideInset : 1.f - k.sideInset, v,
                                          k.sideBlur);
}

/// The open part of the circle at `g` of the way across it from the picture's right
/// edge to its left: the two edges cross-fade.
template <int Format, bool Opaque>
VM_INLINE Rgba sideFill(const VmSampler& src, const Setup& k, float g, float v) {
    return lerp(sideEdge<Format, Opaque>(src, k, false, v),
                sideEdge<Format, Opaque>(src, k, true, v), smoothstep(g));
}

/// The band inside the picture, in picture widths, over which it fades into the side
/// fill.
constexpr float sideFeather = 0.04f;

/// Decodes into `cache` the patch of level 0 that the block's magnified pixels read,
/// found from every sixteenth of its rows (and its last) with a margin for what lies
/// between; pixels that read outside it still gather their texels. Left empty where
/// the patch would wrap round the seam or outgrow the cache (a block that does not
/// magnify).
VM_INLINE void cacheMagnifiedTexels(const VmSampler& src, const Setup& k, int x0, int y0, int w,
                                    int h, bool bgra, TexelCache& cache) {
    constexpr int rowStep = 16;
    constexpr float margin = 3.f;
    // What the patch adds to the pixels' extent either way: the margins and the
    // bilinear neighbour.
    constexpr float span = 2.f * margin + 2.f;
    alignas(32) float us[block + 8];
    alignas(32) float vs[block + 8];
    const VmLevel& level = src.levels[0];
    const float fw = static_cast<float>(level.width);
    const float fh = static_cast<float>(level.height);
    // First the ends of the top row: in a block that magnifies they lie at most about
    // a texel a pixel apart. Most blocks of a preview end here.
    mapRow(k, x0, y0, 1, us, vs);
    mapRow(k, x0 + w - 1, y0, 1, us + 1, vs + 1);
    const float du = wrapDelta(us[1] - us[0], 1.f) * fw;
    const float dv = (vs[1] - vs[0]) * fh;
    const float reach = 1.25f * static_cast<float>(w) + 2.f;
    if (!(du * du + dv * dv <= reach * reach))
        return;
    float uMin = 1.f, uMax = 0.f, vMin = 1.f, vMax = 0.f;
    for (int j = 0;; j = std::min(j + rowStep, h - 1)) {
        mapRow(k, x0, y0 + j, w, us, vs);
        for (int i = 0; i < w; ++i) {
            uMin = std::min(uMin, us[i]);
            uMax = std::max(uMax, us[i]);
            vMin = std::min(vMin, clampf(vs[i], 0.f, 1.f));
            vMax = std::max(vMax, clampf(vs[i], 0.f, 1.f));
        }
        // Stop as soon as the patch cannot fit (across the seam, or a block that
        // does not magnify, as in the preview): these rows are mapped again below.
        if (uMax - uMin > 0.5f ||
            ((uMax - uMin) * fw + span) * ((vMax - vMin) * fh + span) > TexelCache::capacity)
            return;
        if (j == h - 1)
            break;
    }
    const int left = std::max(floorToInt(uMin * fw - 0.5f - margin), 0);
    const int right = std::min(floorToInt(uMax * fw - 0.5f + margin) + 2, level.width);
    const int top = std::max(floorToInt(vMin * fh - 0.5f - margin), 0);
    const int bottom = std::min(floorToInt(vMax * fh - 0.5f + margin) + 2, level.height);
    if (right <= left || bottom <= top ||
        static_cast<int64_t>(right - left) * (bottom - top) > TexelCache::capacity)
        return;
    cache.x = left;
    cache.y = top;
    cache.width = right - left;
    cache.height = bottom - top;
    fillTexelCache(src, bgra, cache);
}

/// Asks memory for the two rows of a level about (x, y), in its texels of
/// `texelBytes` each. (Inlined by force: a prefetch alone in a function of its own has
/// no effect the compiler keeps.)
VM_INLINE void prefetchTexels(const VmLevel& at, int texelBytes, float x, float y) {
    const int x0 = static_cast<int>(clampf(x, 0.f, static_cast<float>(at.width - 1)));
    const int y0 = static_cast<int>(clampf(y, 0.f, static_cast<float>(at.height - 1)));
    const int y1 = y0 + 1 < at.height ? y0 + 1 : y0;
    const int64_t column = texelBytes * static_cast<int64_t>(x0);
    _mm_prefetch(reinterpret_cast<const char*>(rowOf(at, y0) + column), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(rowOf(at, y1) + column), _MM_HINT_T0);
}

/// Asks memory for the pyramid rows the next row's pixels will read, a row of pixels
/// ahead: the preview reads levels above 0, and stretched footprints level 0 too,
/// along arcs no hardware prefetcher follows, and waits on them more than it
/// computes. Each pixel's level is taken from the pixel above, whose footprint is all
/// but the same, and only the middle of a stretched footprint is asked for (the rest
/// of its taps are mostly its neighbours'). Level 0's single bilinear samples are
/// left alone: they magnify, and their neighbours read the same texels.
template <int Format>
VM_INLINE void prefetchNextRow(const VmSampler& src, const float* __restrict nu,
                               const float* __restrict nv, const RowFootprints& foot, int w) {
    constexpr int levelZeroBytes = Format == VM_FORMAT_RGBA16 ? 8 : 4;
    for (int i = 0; i < w; ++i) {
        const int level = foot.level[i];
        if (level == 0 && foot.taps[i] <= 1)
            continue;
        const VmLevel& at = src.levels[level];
        prefetchTexels(at, level == 0 ? levelZeroBytes : 8,
                       nu[i] * static_cast<float>(at.width) - 0.5f,
                       clampf(nv[i], 0.f, 1.f) * static_cast<float>(at.height) - 0.5f);
    }
}

template <int Format, bool Opaque>
VM_CLONED_LOOP void runBlock(const VmSampler& src, const Setup& k, const VmDestination& d, int x0,
                             int y0, int w, int h) {
    // Three rows of coordinates (above, this, below) with a column of margin on either
    // side, for each pixel's four neighbours. Element i is column x0 - 1 + i.
    alignas(32) float u[3][block + 8];
    alignas(32) float v[3][block + 8];
    RowFootprints foot;
    OneTapPlan oneTap;

    TexelCache cache;
    if constexpr (Opaque && Format != VM_FORMAT_RGBA16) {
        if (k.magnified)
            cacheMagnifiedTexels(src, k, x0, y0, w, h, Format == VM_FORMAT_BGRA8, cache);
    }

    mapRow(k, x0 - 1, y0 - 1, w + 2, u[0], v[0]);
    mapRow(k, x0 - 1, y0, w + 2, u[1], v[1]);
    for (int j = 0; j < h; ++j) {
        const float* __restrict pu = u[j % 3];
        const float* __restrict pv = v[j % 3];
        const float* __restrict cu = u[(j + 1) % 3];
        const float* __restrict cv = v[(j + 1) % 3];
        float* __restrict nu = u[(j + 2) % 3];
        float* __restrict nv = v[(j + 2) % 3];
        mapRow(k, x0 - 1, y0 + j + 1, w + 2, nu, nv);

        footprints(pu, pv, cu, cv, nu, nv, w, k.width, k.height, k.circle, foot);
        const bool farApart = planTaps(foot, w, src.levelCount - 1);
        if (farApart && j + 1 < h)
            prefetchNextRow<Format>(src, nu + 1, nv + 1, foot, w);

        float* out = d.pixels + static_cast<int64_t>(y0 - d.y + j) * d.stride + 4 * (x0 - d.x);
        // Pixels whose footprint reads level 0 alone with one bilinear sample, sampled
        // here eight at a time; the loop below takes their colour from `out`.
        alignas(32) int simple[block + 8] = {};
        // The pixels the loop below still has to visit, one bit each.
        static_assert(block <= 64);
        uint64_t todo = w == 64 ? ~uint64_t{0} : (uint64_t{1} << w) - 1;
        if constexpr (Opaque && Format != VM_FORMAT_RGBA16) {
            int any = 0;
            if (k.magnified) {
                for (int i = 0; i < w; ++i) {
                    simple[i] = !foot.anisotropic[i] && foot.lod[i] < panoramaBand ? -1 : 0;
                    any |= simple[i];
                }
            }
            if (any) {
                magnifiedSpan(src, Format == VM_FORMAT_BGRA8, cu + 1, cv + 1, simple, w, cache,
                              out);
                // Done, unless the seam's band or the fill have more to do. Worked out
                // without a branch per pixel, which cost 2 % of an 8192 export.
                if (!k.partial) {
                    alignas(16) int done[block + 8] = {};
                    for (int i = 0; i < w; ++i)
                        done[i] = std::fabs(seamDistance(cu[i + 1])) < k.seamHalf ? 0 : simple[i];
                    uint64_t doneBits = 0;
                    for (int i = 0; i < w; i += 4) {
                        const __m128 four = _mm_load_ps(reinterpret_cast<const float*>(done + i));
                        doneBits |= static_cast<uint64_t>(_mm_movemask_ps(four)) << i;
                    }
                    todo &= ~doneBits;
                }
            }
        }
        // One-tap pixels left to sample, as in most rows of a preview (not in those of
        // a large export, whose pixels are nearly all done above, nor round a pole).
        int oneTapAny = 0;
        for (int i = 0; i < w; ++i)
            oneTapAny |= foot.taps[i] <= 1 && !simple[i] ? 1 : 0;
        if (oneTapAny)
            planOneTapRow(src, cu + 1, cv + 1, foot.lod, w, oneTap);
        for (; todo != 0; todo &= todo - 1) {
            const int i = __builtin_ctzll(todo);
            const float pixelU = cu[i + 1];
            const float pixelV = cv[i + 1];
            Rgba c;
            // Across the part of the circle the picture leaves open, from its right
            // edge (0) to its left (1).
            const float across = k.sides ? (pixelU - 1.f) / (k.circle - 1.f) : 0.f;
            const bool open = k.sides && pixelU > 1.f;
            if (k.partial && !(pixelV >= 0.f && pixelV <= 1.f)) {
                const bool above = !(pixelV >= 0.f);
                const float beyond = above ? -pixelV : pixelV - 1.f;
                const float room = above ? k.roomAbove : k.roomBelow;
                const float t = room > 0.f ? beyond / room : 1.f;
                if (open) {
                    // Above or below the open part: the fills above the two edges
                    // cross-fade as the side fill does.
                    c = lerp(edgeFill(src, above, 1.f, t), edgeFill(src, above, 0.f, t),
                             smoothstep(across));
                } else {
                    c = edgeFill(src, above, pixelU, t);
                }
            } else if (open) {
                c = sideFill<Format, Opaque>(src, k, across, pixelV);
            } else {
                c = simple[i] ? Rgba{_mm_loadu_ps(out + 4 * i)}
                              : sampleFootprint<Format, Opaque>(src, pixelU, pixelV, foot, oneTap,
                                                                i, k.wide);
                if (k.seamHalf > 0.f) {
                    const float ds = seamDistance(pixelU);
                    const float reach = std::fabs(ds);
                    if (reach < k.seamHalf)
                        c = blendSeam<Format, Opaque>(src, k, c, ds, reach, pixelV, foot.lod[i]);
                }
                if (k.sides) {
                    // Near a side edge the picture fades into the side fill.
                    const float edge = std::fmin(pixelU, 1.f - pixelU);
                    if (edge < sideFeather)
                        c = lerp(c, sideEdge<Format, Opaque>(src, k, pixelU < 0.5f, pixelV),
                                 feathered(edge, sideFeather));
                }
                if (k.partial) {
                    // Near an edge with sphere beyond it, the picture fades into the
                    // fill, so no line marks where the photo ends.
                    const float fromTop = k.roomAbove > 0.f ? pixelV : 1.f;
                    const float fromBottom = k.roomBelow > 0.f ? 1.f - pixelV : 1.f;
                    const float edge = std::fmin(fromTop, fromBottom);
                    if (edge < fillFeather)
                        c = lerp(c, edgeFill(src, fromTop < fromBottom, pixelU, 0.f),
                                 feathered(edge, fillFeather));
                }
            }
            if constexpr (Opaque)
                _mm_storeu_ps(out + 4 * i, c.v); // encoded below, a row at a time
            else
                storeEncoded(src, c, out + 4 * i);
        }
        if constexpr (Opaque) {
            // Opaque: premultiplied equals straight, and every float, alpha included
            // (1 stays 1), goes through the same curve, so this loop vectorises.
            for (int i = 0; i < 4 * w; ++i)
                out[i] = encodeFast(out[i]);
        }
    }
}

template <int Format, bool Opaque>
void runBlocks(const VmSampler& src, const Setup& k, const VmDestination& d) {
    const int bottom = d.y + d.height;
    for (int by = d.y; by < bottom;) {
        // A few rows left below a block join it rather than make a thin block of
        // their own, which would map the rows about them and find its texels again:
        // a strip's one extra row (the row above, for the PNG filter) cost as much as
        // several rows of a full block.
        const int bh = bottom - by <= block + block / 4 ? bottom - by : block;
        for (int bx = d.x; bx < d.x + d.width; bx += block)
            runBlock<Format, Opaque>(src, k, d, bx, by, std::min(block, d.x + d.width - bx), bh);
        by += bh;
    }
}

template <int Format>
void runFormat(const VmSampler& src, const Setup& k, const VmDestination& d) {
    if (src.opaque)
        runBlocks<Format, true>(src, k, d);
    else
        runBlocks<Format, false>(src, k, d);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int32_t velmoraKernelAbiVersion(void) {
    return VM_KERNEL_ABI_VERSION;
}

__attribute__((visibility("default"))) void tinyPlanet(const VmSampler* source,
                                                       const VmProjection* projection,
                                                       const VmDestination* destination) {
    if (!source || !projection || projection->abiVersion != VM_KERNEL_ABI_VERSION || !destination ||
        !destination->pixels || source->levelCount < 1 || destination->width <= 0 ||
        destination->height <= 0)
        return;
    const VmProjection& p = *projection;
    Setup k;
    const float side = std::isfinite(p.outputSize.x) && p.outputSize.x > 0.f ? p.outputSize.x : 1.f;
    k.centreX = (0.5f + 0.5f * finiteOr(p.shiftX, 0.f)) * side;
    k.centreY = (0.5f - 0.5f * finiteOr(p.horizon, 0.f)) * side;
    k.toHalfSides = 2.f / side;
    const float rot = finiteOr(p.rotation, 0.f);
    k.cosR = std::cos(rot);
    k.sinR = std::sin(rot);
    k.twist = finiteOr(p.twist, 0.f);
    const float horizonRadius = 0.5f * finiteOr(p.zoom, 1.f);
    k.invHorizon = horizonRadius > 1e-12f ? 1.f / horizonRadius : 1e12f;
    const float bendExponent =
        std::exp2(1.2f * std::fmin(std::fmax(finiteOr(p.convexity, 0.f), -4.f), 4.f));
    k.bend = 0.5f * (bendExponent - 1.f);
    k.invert = p.invert != 0;
    const float fy = finiteOr(p.flipY, 0.f) * fm::pi;
    const float fx = finiteOr(p.flipX, 0.f) * fm::pi;
    bool level = true;
    for (int i = 0; i < 9; ++i) {
        k.pose[i] = finiteOr(p.pose[i], i % 4 == 0 ? 1.f : 0.f);
        level = level && k.pose[i] == (i % 4 == 0 ? 1.f : 0.f);
    }
    k.flips = fy != 0.f || fx != 0.f || !level;
    k.cosFy = std::cos(fy);
    k.sinFy = std::sin(fy);
    k.cosFx = std::cos(fx);
    k.sinFx = std::sin(fx);
    k.turns = finiteOr(p.repeats, 1.f) / (2.f * fm::pi);
    const float bw = finiteOr(p.blendWidth, 0.f);
    k.seamHalf =
        bw >= 0.005f && source->seamRows > 0 && source->seamDelta ? std::fmin(bw, 1.f) * 0.5f : 0.f;
    // A cover of no height, or one off the sphere, is taken as the whole sphere.
    const float top = finiteOr(p.coverTop, 0.f);
    const float height = finiteOr(p.coverHeight, 1.f);
    if (height > 1e-4f && height <= 1.f && top >= 0.f && top + height <= 1.0001f) {
        k.coverTop = top;
        k.invCoverHeight = 1.f / height;
        k.roomAbove = top / height;
        k.roomBelow = std::fmax(1.f - top - height, 0.f) / height;
        // The fill reads the edge table; without it the picture stays stretched.
        k.partial = (k.roomAbove > 0.f || k.roomBelow > 0.f) && source->edgeSums &&
                    source->edgeColumns == source->levels[0].width && source->edgeColumns > 0;
        if (!k.partial) {
            k.coverTop = 0.f;
            k.invCoverHeight = 1.f;
        }
    }
    // A cover of no width, or more than the circle, goes once round.
    const float left = finiteOr(p.coverLeft, 0.f);
    const float wide = finiteOr(p.coverWidth, 1.f);
    if (wide > 1e-3f && wide < 0.9999f && left >= 0.f && left < 1.f) {
        k.sides = true;
        k.coverLeft = left;
        k.invCoverWidth = 1.f / wide;
        k.circle = 1.f / wide;
        // The ends do not meet: nothing to blend across a seam.
        k.seamHalf = 0.f;
    }
    k.width = std::isfinite(p.inputSize.x) && p.inputSize.x > 0.f
                  ? p.inputSize.x
                  : static_cast<float>(source->levels[0].width);
    k.height = std::isfinite(p.inputSize.y) && p.inputSize.y > 0.f
                   ? p.inputSize.y
                   : static_cast<float>(source->levels[0].height);

    // The side edges blurred over about a fiftieth of the picture's height.
    k.sideBlur =
        clampf(fastLog2(0.02f * k.height), 0.f, static_cast<float>(source->levelCount - 1));
    // Sampled at the middle of the edge's first texel at that level, so the blur does
    // not wrap round to the other edge.
    k.sideInset = 0.5f * std::exp2(k.sideBlur) / k.width;

    // The open part of the circle lies beyond level 0's columns: sampled one by one.
    k.wide = wideSamplingAvailable();
    k.magnified = !k.sides && source->opaque && k.wide && magnifiedSpanFits(source->levels[0]);

    switch (source->format) {
    case VM_FORMAT_RGBA8:
        runFormat<VM_FORMAT_RGBA8>(*source, k, *destination);
        break;
    case VM_FORMAT_BGRA8:
        runFormat<VM_FORMAT_BGRA8>(*source, k, *destination);
        break;
    case VM_FORMAT_RGBA16:
        runFormat<VM_FORMAT_RGBA16>(*source, k, *destination);
        break;
    default:
        break;
    }
}

} // extern "C"
