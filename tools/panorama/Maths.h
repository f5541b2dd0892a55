#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pano {

constexpr float kPi = std::numbers::pi_v<float>;

struct V2 {
    float x = 0, y = 0;
};
struct V3 {
    float x = 0, y = 0, z = 0;
};
using Rgb = V3; // linear light

inline V2 operator+(V2 a, V2 b) {
    return {a.x + b.x, a.y + b.y};
}
inline V2 operator-(V2 a, V2 b) {
    return {a.x - b.x, a.y - b.y};
}
inline V2 operator*(V2 a, float s) {
    return {a.x * s, a.y * s};
}
inline V2 operator-(V2 a) {
    return {-a.x, -a.y};
}
inline float dot(V2 a, V2 b) {
    return a.x * b.x + a.y * b.y;
}
inline float length(V2 a) {
    return std::sqrt(dot(a, a));
}

inline V3 operator+(V3 a, V3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline V3 operator-(V3 a, V3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline V3 operator-(V3 a) {
    return {-a.x, -a.y, -a.z};
}
inline V3 operator*(V3 a, V3 b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
inline V3 operator*(V3 a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline V3 operator*(float s, V3 a) {
    return a * s;
}
inline V3& operator+=(V3& a, V3 b) {
    return a = a + b;
}
inline V3& operator*=(V3& a, float s) {
    return a = a * s;
}
inline float dot(V3 a, V3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline V3 cross(V3 a, V3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float length(V3 a) {
    return std::sqrt(dot(a, a));
}
inline V3 normalize(V3 a) {
    return a * (1.0f / std::max(length(a), 1e-20f));
}
inline V2 xy(V3 a) {
    return {a.x, a.y};
}

inline float saturate(float v) {
    return std::clamp(v, 0.0f, 1.0f);
}
inline float mix(float a, float b, float t) {
    return a + (b - a) * t;
}
inline V3 mix(V3 a, V3 b, float t) {
    return a + (b - a) * t;
}
inline float smoothstep(float e0, float e1, float v) {
    const float t = saturate((v - e0) / (e1 - e0));
    return t * t * (3.0f - 2.0f * t);
}
inline float luminance(Rgb c) {
    return 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z;
}

/// An sRGB colour written the way designers pick it, as linear light.
inline Rgb srgb(int r, int g, int b) {
    const auto lin = [](int v) {
        const float c = float(v) / 255.0f;
        return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
    };
    return {lin(r), lin(g), lin(b)};
}

/// Horizontal unit vector for an azimuth measured from +y (north) towards +x (east).
inline V2 heading(float azimuth) {
    return {std::sin(azimuth), std::cos(azimuth)};
}
inline float degrees(float d) {
    return d * kPi / 180.0f;
}

} // namespace pano
