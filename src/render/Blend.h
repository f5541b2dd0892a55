#pragma once

namespace velmora::render {

/// How a foreground combines with what lies under it.
enum class BlendOp { over, screen, multiply };

/// The blend arithmetic, the one place it is written. Both pixels are premultiplied
/// RGBA (f over b); the result replaces b:
/// - over: f + b (1 - fa), source-over;
/// - screen: f + b - f b per channel, alpha included;
/// - multiply: f b + f (1 - ba) + b (1 - fa) per colour channel, so each side stays as
///   it is where the other is transparent; alpha as in over.
/// QPainter's SourceOver, Screen and Multiply modes are these same formulas on 8-bit
/// premultiplied pixels, which is what lets the canvas draw layers with QPainter and
/// still show what the export contains (a test holds them to it).
template <BlendOp Op>
inline void blendPixel(const float* f, float* b) {
    const float fa = f[3];
    const float ba = b[3];
    if constexpr (Op == BlendOp::over) {
        for (int i = 0; i < 4; ++i)
            b[i] = f[i] + b[i] * (1.f - fa);
    } else if constexpr (Op == BlendOp::screen) {
        for (int i = 0; i < 4; ++i)
            b[i] = f[i] + b[i] - f[i] * b[i];
    } else {
        for (int i = 0; i < 3; ++i)
            b[i] = f[i] * b[i] + f[i] * (1.f - ba) + b[i] * (1.f - fa);
        b[3] = fa + ba - fa * ba;
    }
}

} // namespace velmora::render
