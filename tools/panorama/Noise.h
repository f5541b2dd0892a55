#pragma once

#include "Maths.h"

#include <cstdint>

namespace pano {

// Integer hashing keeps every field a pure function of position and seed, so the
// picture does not depend on thread scheduling and needs no permutation tables.
inline uint32_t mixBits(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352du;
    x ^= x >> 15;
    x *= 0x846ca68bu;
    x ^= x >> 16;
    return x;
}
inline uint32_t hash2(int x, int y, uint32_t seed) {
    return mixBits(uint32_t(y) + mixBits(uint32_t(x) + seed * 0x9e3779b9u));
}
inline uint32_t hash3(int x, int y, int z, uint32_t seed) {
    return mixBits(uint32_t(z) + hash2(x, y, seed));
}
/// Uniform in [0, 1) from a hash; `k` picks independent values from one hash.
inline float unit(uint32_t h, uint32_t k = 0) {
    return float(mixBits(h + k * 0x632be5abu) >> 8) * (1.0f / 16777216.0f);
}

/// Gradient noise in [-1, 1], zero at lattice points.
float noise2(V2 p, uint32_t seed);
float noise3(V3 p, uint32_t seed);

/// Fractal sums of the above. `footprint` is the size of the area one sample stands
/// for, in the same units as p: octaves finer than it fade out instead of aliasing.
float fbm2(V2 p, int octaves, uint32_t seed, float footprint = 0.0f, float gain = 0.5f);
float fbm3(V3 p, int octaves, uint32_t seed, float footprint = 0.0f, float gain = 0.5f);

/// Weight of a feature of the given size seen through a footprint: 1 when it is
/// well resolved, 0 when it would alias.
inline float resolved(float featureSize, float footprint) {
    return 1.0f - smoothstep(0.25f, 0.6f, footprint / featureSize);
}

} // namespace pano
