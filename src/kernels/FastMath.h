#pragma once

// Polynomial trigonometry, logarithm and power for the projection kernel. Angle
// errors stay below 2e-6 radians, far under a source pixel even for a 16k-wide
// panorama (4e-4 rad/pixel). Branch-free (selects only) and free of library calls,
// so loops over them vectorise. Functions that clamp their argument (asin, log2,
// exp2, sincos) turn NaN into some finite value; atan and atan2 pass it on, and their
// callers clamp.

#include "kernels/Sampling.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

namespace velmora::fastmath {

inline constexpr float pi = std::numbers::pi_v<float>;

/// atan(x) for |x| <= 1 (minimax odd polynomial).
VM_INLINE float atanUnit(float x) {
    const float x2 = x * x;
    return x * (0.99997726f +
                x2 * (-0.33262347f +
                      x2 * (0.19354346f +
                            x2 * (-0.11643287f + x2 * (0.05265332f + x2 * -0.01172120f)))));
}

/// atan2(y, x), with atan2(0, 0) = 0.
VM_INLINE float atan2(float y, float x) {
    const float ay = std::fabs(y);
    const float ax = std::fabs(x);
    const bool steep = ay > ax;
    const float hi = steep ? ay : ax;
    const float lo = steep ? ax : ay;
    float a = atanUnit(lo / (hi > 0.f ? hi : 1.f));
    a = steep ? 0.5f * pi - a : a;
    a = x < 0.f ? pi - a : a;
    return y < 0.f ? -a : a;
}

/// atan(x) for any x.
VM_INLINE float atan(float x) {
    const float ax = std::fabs(x);
    const bool big = ax > 1.f;
    float a = atanUnit(big ? 1.f / ax : ax);
    a = big ? 0.5f * pi - a : a;
    return x < 0.f ? -a : a;
}

/// log2(x) for finite x > 0 (larger values are clamped to 1e30), good to a few
/// parts in 1e7: the exponent from the bits, the mantissa's logarithm from a
/// polynomial on [sqrt(1/2), sqrt(2)).
VM_INLINE float log2(float x) {
    x = x > 1e-30f ? x : 1e-30f;
    x = x < 1e30f ? x : 1e30f;
    uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    int exponent = static_cast<int>((bits >> 23) & 0xff) - 127;
    bits = (bits & 0x007fffffu) | 0x3f800000u; // mantissa as a float in [1, 2)
    float m;
    std::memcpy(&m, &bits, sizeof m);
    const bool high = m > 1.41421356f;
    m = high ? 0.5f * m : m;
    exponent = high ? exponent + 1 : exponent;
    const float t = m - 1.f; // in [-0.293, 0.414]
    const float t2 = t * t;
    float p = 7.0376836292e-2f;
    p = p * t - 1.1514610310e-1f;
    p = p * t + 1.1676998740e-1f;
    p = p * t - 1.2420140846e-1f;
    p = p * t + 1.4249322787e-1f;
    p = p * t - 1.6668057665e-1f;
    p = p * t + 2.0000714765e-1f;
    p = p * t - 2.4999993993e-1f;
    p = p * t + 3.3333331174e-1f;
    const float ln = t + (t * t2 * p - 0.5f * t2);
    return static_cast<float>(exponent) + ln * 1.44269504f;
}

/// 2^x, good to about 2e-7 relative; x is clamped to [-126, 127].
VM_INLINE float exp2(float x) {
    x = x > -126.f ? x : -126.f; // NaN becomes -126
    x = x < 127.f ? x : 127.f;
    const int whole = sampling::floorToInt(x + 0.5f);
    const float f = x - static_cast<float>(whole); // in [-0.5, 0.5]
    float p = 1.535336188319500e-4f;
    p = p * f + 1.339887440266574e-3f;
    p = p * f + 9.618437357674640e-3f;
    p = p * f + 5.550332471162809e-2f;
    p = p * f + 2.402264791363012e-1f;
    p = p * f + 6.931472028550421e-1f;
    const uint32_t scaleBits = static_cast<uint32_t>(whole + 127) << 23;
    float scale;
    std::memcpy(&scale, &scaleBits, sizeof scale);
    return (1.f + f * p) * scale;
}

/// x^y for x > 0, as 2^(y log2 x).
VM_INLINE float pow(float x, float y) {
    return exp2(y * log2(x));
}

/// sin(x) and cos(x), good to about 1e-7 for |x| up to a few hundred (|x| is clamped
/// to 1e5): reduced to an octant by a three-part pi/4, then minimax polynomials.
VM_INLINE void sincos(float x, float& sine, float& cosine) {
    x = x > -1e5f ? x : -1e5f; // NaN becomes -1e5
    x = x < 1e5f ? x : 1e5f;
    const float ax = std::fabs(x);
    int j = static_cast<int>(ax * 1.27323954f); // 4 / pi
    j = (j + 1) & ~1;                           // nearest even octant
    const float y = static_cast<float>(j);
    const float r = ((ax - y * 0.78515625f) - y * 2.4187564849853515625e-4f) -
                    y * 3.77489497744594108e-8f; // in [-pi/4, pi/4]
    const float z = r * r;
    const float s = ((-1.9515295891e-4f * z + 8.3321608736e-3f) * z - 1.6666654611e-1f) * z * r + r;
    const float c =
        ((2.443315711809948e-5f * z - 1.388731625493765e-3f) * z + 4.166664568298827e-2f) * z * z -
        0.5f * z + 1.f;
    const int quadrant = (j >> 1) & 3;
    const bool swap = (quadrant & 1) != 0;
    float sn = swap ? c : s;
    float cs = swap ? s : c;
    sn = (quadrant & 2) != 0 ? -sn : sn;
    cs = ((quadrant + 1) & 2) != 0 ? -cs : cs;
    sine = x < 0.f ? -sn : sn;
    cosine = cs;
}

/// asin(x) for x in [-1, 1] (clamped).
VM_INLINE float asin(float x) {
    x = x > -1.f ? x : -1.f; // NaN becomes -1
    x = x < 1.f ? x : 1.f;
    const float c = 1.f - x * x;
    return atan2(x, std::sqrt(c > 0.f ? c : 0.f));
}

} // namespace velmora::fastmath
