#pragma once

// Small toolkit the artwork recipes share: colour, deterministic noise, a float
// light buffer for screen-blended art, and helpers that turn painted or sampled
// stickers into clean straight-alpha PNGs.

#include <QImage>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace layerart {

inline constexpr float pi = 3.14159265358979f;

struct Rgb {
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;

    constexpr Rgb() = default;
    constexpr Rgb(float red, float green, float blue)
        : r(red)
        , g(green)
        , b(blue) {}

    constexpr Rgb operator+(Rgb o) const { return {r + o.r, g + o.g, b + o.b}; }
    constexpr Rgb operator-(Rgb o) const { return {r - o.r, g - o.g, b - o.b}; }
    constexpr Rgb operator*(float s) const { return {r * s, g * s, b * s}; }
    constexpr Rgb operator*(Rgb o) const { return {r * o.r, g * o.g, b * o.b}; }
    Rgb& operator+=(Rgb o) {
        r += o.r;
        g += o.g;
        b += o.b;
        return *this;
    }
    float max() const { return std::max({r, g, b}); }
};

/// 0xRRGGBB as sRGB-encoded floats.
constexpr Rgb hex(std::uint32_t rgb) {
    return {float((rgb >> 16) & 0xff) / 255.0f, float((rgb >> 8) & 0xff) / 255.0f,
            float(rgb & 0xff) / 255.0f};
}

inline float clamp01(float v) {
    return std::clamp(v, 0.0f, 1.0f);
}
inline float mixf(float a, float b, float t) {
    return a + (b - a) * t;
}
inline Rgb mix(Rgb a, Rgb b, float t) {
    return a + (b - a) * t;
}
inline float smoothstep(float e0, float e1, float x) {
    const float t = clamp01((x - e0) / (e1 - e0));
    return t * t * (3.0f - 2.0f * t);
}
/// 1 at t = 0 falling smoothly (zero slope at both ends) to 0 at t >= 1.
inline float bump(float t) {
    if (t >= 1.0f)
        return 0.0f;
    const float u = 1.0f - t * t;
    return u * u;
}
inline float gauss(float x, float sigma) {
    return std::exp(-0.5f * (x * x) / (sigma * sigma));
}

/// Colour along a palette of evenly spaced stops, t in [0, 1].
Rgb ramp(const std::vector<Rgb>& stops, float t);
/// sRGB transfer curve both ways, per channel.
Rgb toLinear(Rgb encoded);
Rgb toEncoded(Rgb linear);
/// Linear-light colour of a narrow band of the visible spectrum; t = 0 is deep red,
/// t = 1 violet. Out-of-gamut hues are pulled inside by adding white.
Rgb spectrum(float t);
/// sRGB-encoded colour of a black body at this temperature, brightest channel 1.
Rgb blackbody(float kelvin);

/// splitmix64: tiny, fast, and identical on every platform.
class Rng {
public:
    explicit Rng(std::uint64_t seed)
        : m_state(seed) {}
    std::uint64_t next();
    /// Uniform in [0, 1).
    float uniform() { return float(next() >> 40) * (1.0f / 16777216.0f); }
    float range(float lo, float hi) { return lo + (hi - lo) * uniform(); }
    /// Roughly normal, mean 0 and deviation 1 (sum of uniforms).
    float normal();
    int below(int n) { return int(next() % std::uint64_t(n)); }

private:
    std::uint64_t m_state;
};

/// Gradient noise, roughly in [-1, 1], unit feature size.
float noise(float x, float y, std::uint32_t seed);
/// Fractal sum of noise octaves, roughly in [-1, 1].
float fbm(float x, float y, std::uint32_t seed, int octaves, float gain = 0.5f);
/// Noise along a circle: seamless in `angle` (radians), `cycles` features per turn.
float loopNoise(float angle, float cycles, std::uint32_t seed, int octaves = 1);

/// Light for screen-blended art, in sRGB-encoded units: black is no light. Written
/// out as premultiplied colour = light and alpha = brightest channel, so screening
/// it matches screening the same art on black, and normal blending stays sane.
class LightField {
public:
    LightField(int width, int height);

    int width() const { return m_width; }
    int height() const { return m_height; }
    Rgb& at(int x, int y) { return m_pixels[std::size_t(y) * std::size_t(m_width) + x]; }
    const Rgb& at(int x, int y) const {
        return m_pixels[std::size_t(y) * std::size_t(m_width) + x];
    }

    /// Adds fn(x, y) at every pixel centre.
    void add(const std::function<Rgb(float x, float y)>& fn);
    /// Adds fn(dx, dy) within `radius` of (cx, cy); dx, dy are offsets from it.
    void splat(float cx, float cy, float radius, const std::function<Rgb(float dx, float dy)>& fn);
    /// Multiplies every pixel by fn(x, y).
    void scale(const std::function<float(float x, float y)>& fn);

    /// Soft shoulder into [0, 1], then straight-alpha pixels: 16 bits per channel
    /// when `deep`, otherwise 8 bits with a seeded rectangular dither of one step.
    QImage toImage(std::uint32_t seed, bool deep) const;

private:
    int m_width;
    int m_height;
    std::vector<Rgb> m_pixels;
};

/// Premultiplied colour with alpha, for sampled stickers.
struct Rgba {
    Rgb c; // premultiplied
    float a = 0.0f;
};

/// Paint target for stickers: transparent, 16-bit premultiplied, so QPainter
/// gradients stay smooth until the final dithered conversion.
QImage newCanvas(int width, int height);
/// Supersampled evaluation: fn returns straight colour and coverage at a point;
/// `grid` x `grid` samples per pixel give clean antialiased edges.
QImage sampleSticker(int width, int height, int grid,
                     const std::function<Rgba(float x, float y)>& fn);
/// Applies fn to the straight colour of every visible pixel of a canvas, keeping
/// its alpha: textures and shading after the shapes are painted.
void shadeCanvas(QImage& canvas, const std::function<Rgb(Rgb colour, float x, float y)>& fn);
/// 8-bit straight alpha, colour dithered; fully transparent pixels take the colour
/// of their visible neighbours so filtering never pulls in black.
QImage finishSticker(const QImage& canvas, std::uint32_t seed);

/// Writes a PNG with maximum compression and no time stamps; false on failure.
bool savePng(const QImage& image, const QString& path);

} // namespace layerart
