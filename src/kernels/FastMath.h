#pragma once

// Polynomial inverse trigonometry for the projection kernel. Errors stay below 2e-6
// radians, far under a source pixel even for a 16k-wide panorama (4e-4 rad/pixel).
// Branch-free (selects only), so loops over them vectorise. NaN inputs give some
// finite angle rather than NaN; callers clamp anyway.

#include "kernels/Sampling.h"

#include <cmath>
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

/// asin(x) for x in [-1, 1] (clamped).
VM_INLINE float asin(float x) {
    x = x > -1.f ? x : -1.f; // NaN becomes -1
    x = x < 1.f ? x : 1.f;
    const float c = 1.f - x * x;
    return atan2(x, std::sqrt(c > 0.f ? c : 0.f));
}

} // namespace velmora::fastmath
