#include "Noise.h"

namespace pano {

namespace {

inline float fade(float t) {
    return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f);
}

inline float grad2(uint32_t h, float x, float y) {
    // Eight directions, evenly spread.
    constexpr float d = 0.70710678f;
    static constexpr float gx[8] = {1, -1, 0, 0, d, -d, d, -d};
    static constexpr float gy[8] = {0, 0, 1, -1, d, d, -d, -d};
    const uint32_t i = h >> 29;
    return gx[i] * x + gy[i] * y;
}

inline float grad3(uint32_t h, float x, float y, float z) {
    const uint32_t k = (h >> 28) & 15;
    const float u = k < 8 ? x : y;
    const float v = k < 4 ? y : (k == 12 || k == 14 ? x : z);
    return ((k & 1) ? -u : u) + ((k & 2) ? -v : v);
}

} // namespace

float noise2(V2 p, uint32_t seed) {
    const float fx = std::floor(p.x), fy = std::floor(p.y);
    const int ix = int(fx), iy = int(fy);
    const float x = p.x - fx, y = p.y - fy;
    const uint32_t h0 = mixBits(uint32_t(ix) + seed * 0x9e3779b9u);
    const uint32_t h1 = mixBits(uint32_t(ix + 1) + seed * 0x9e3779b9u);
    const float n00 = grad2(mixBits(uint32_t(iy) + h0), x, y);
    const float n10 = grad2(mixBits(uint32_t(iy) + h1), x - 1, y);
    const float n01 = grad2(mixBits(uint32_t(iy + 1) + h0), x, y - 1);
    const float n11 = grad2(mixBits(uint32_t(iy + 1) + h1), x - 1, y - 1);
    const float u = fade(x), v = fade(y);
    return 1.41f * mix(mix(n00, n10, u), mix(n01, n11, u), v);
}

float noise3(V3 p, uint32_t seed) {
    const float fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
    const int ix = int(fx), iy = int(fy), iz = int(fz);
    const float x = p.x - fx, y = p.y - fy, z = p.z - fz;
    const uint32_t s = seed * 0x9e3779b9u;
    const uint32_t hx0 = mixBits(uint32_t(ix) + s), hx1 = mixBits(uint32_t(ix + 1) + s);
    const uint32_t h00 = mixBits(uint32_t(iy) + hx0), h10 = mixBits(uint32_t(iy) + hx1);
    const uint32_t h01 = mixBits(uint32_t(iy + 1) + hx0), h11 = mixBits(uint32_t(iy + 1) + hx1);
    const uint32_t z0 = uint32_t(iz), z1 = uint32_t(iz + 1);
    const float u = fade(x), v = fade(y), w = fade(z);
    const float a =
        mix(grad3(mixBits(z0 + h00), x, y, z), grad3(mixBits(z0 + h10), x - 1, y, z), u);
    const float b =
        mix(grad3(mixBits(z0 + h01), x, y - 1, z), grad3(mixBits(z0 + h11), x - 1, y - 1, z), u);
    const float c =
        mix(grad3(mixBits(z1 + h00), x, y, z - 1), grad3(mixBits(z1 + h10), x - 1, y, z - 1), u);
    const float d = mix(grad3(mixBits(z1 + h01), x, y - 1, z - 1),
                        grad3(mixBits(z1 + h11), x - 1, y - 1, z - 1), u);
    return 0.95f * mix(mix(a, b, v), mix(c, d, v), w);
}

float fbm2(V2 p, int octaves, uint32_t seed, float footprint, float gain) {
    float sum = 0, amp = 0.5f, scale = 1.0f;
    for (int i = 0; i < octaves; ++i) {
        const float w = footprint > 0 ? resolved(1.0f / scale, footprint) : 1.0f;
        if (w <= 0)
            break;
        sum += w * amp * noise2(p * scale, seed + uint32_t(i) * 1013u);
        amp *= gain;
        scale *= 2.03f;
    }
    return sum;
}

float fbm3(V3 p, int octaves, uint32_t seed, float footprint, float gain) {
    float sum = 0, amp = 0.5f, scale = 1.0f;
    for (int i = 0; i < octaves; ++i) {
        const float w = footprint > 0 ? resolved(1.0f / scale, footprint) : 1.0f;
        if (w <= 0)
            break;
        sum += w * amp * noise3(p * scale, seed + uint32_t(i) * 1013u);
        amp *= gain;
        scale *= 2.03f;
    }
    return sum;
}

} // namespace pano
