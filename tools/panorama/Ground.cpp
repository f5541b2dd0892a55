// Everything below the horizon that is not an object: the ground plane (meadow,
// track, sand, sea, fields) textured at the point where the view ray meets it, and
// the distant ridges. Working on the ground plane rather than on the image keeps
// the nadir free of pinching and the texture scale right at every distance.
#include "Noise.h"
#include "Scene.h"
#include "World.h"

namespace pano {

namespace {

using namespace world;

constexpr uint32_t kGrassSeed = 201;
constexpr uint32_t kBladeSeed = 202;
constexpr uint32_t kFlowerSeed = 203;
constexpr uint32_t kTrackSeed = 204;
constexpr uint32_t kGravelSeed = 205;
constexpr uint32_t kRockSeed = 206;
constexpr uint32_t kSandSeed = 207;
constexpr uint32_t kSeaSeed = 208;
constexpr uint32_t kFieldSeed = 209;
constexpr uint32_t kRidgeSeed = 210;

struct Surface {
    Rgb albedo;
    V3 normal{0, 0, 1};
    float shadow = 1;   // from rocks and pebbles
    float specular = 0; // wet sand mirrors the sky a little
};

// Sixty-four evenly spread unit vectors, so blades need no trigonometry.
struct Directions {
    V2 v[64];
    Directions() {
        for (int i = 0; i < 64; ++i)
            v[i] = {std::cos(i * kPi / 32.0f), std::sin(i * kPi / 32.0f)};
    }
};
const Directions kDirections;

struct BladeLayer {
    float c, s; // rotation, so the cell grids of the layers never line up
    V2 offset;
    float shade; // lower layers lie in the shade of the upper ones
};
const BladeLayer kBladeLayers[3] = {
    {1.0f, 0.0f, {0.13f, 0.71f}, 0.6f},
    {-0.5885f, 0.8085f, {0.57f, 0.29f}, 0.8f},
    {-0.5748f, -0.8183f, {0.83f, 0.47f}, 1.0f},
};
constexpr float kBladeCell = 0.045f;

/// Close-up grass seen from above: three layers of tapering blades over darker
/// depths. Returns a factor on the meadow colour.
Rgb grassBlades(V2 p, float footprint) {
    Rgb f{0.30f, 0.33f, 0.26f};
    const float aa = std::max(footprint / kBladeCell * 0.6f, 0.004f);
    for (int layer = 0; layer < 3; ++layer) {
        const BladeLayer& L = kBladeLayers[layer];
        const V2 q =
            V2{L.c * p.x - L.s * p.y, L.s * p.x + L.c * p.y} * (1.0f / kBladeCell) + L.offset;
        const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y));
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const uint32_t h = hash2(ix + dx, iy + dy, kBladeSeed + uint32_t(layer));
                for (uint32_t k = 0; k < 4; ++k) {
                    // One hash gives root and length; the rest only for blades that reach.
                    const uint32_t hk = mixBits(h ^ (k * 0x9e3779b9u));
                    const V2 root{float(ix + dx) + float(hk & 1023u) * (1.0f / 1024.0f),
                                  float(iy + dy) + float((hk >> 10) & 1023u) * (1.0f / 1024.0f)};
                    const V2 rel = q - root;
                    const float len = 0.45f + 0.5f * float((hk >> 20) & 63u) * (1.0f / 64.0f);
                    if (dot(rel, rel) > (len + 0.08f) * (len + 0.08f))
                        continue;
                    const V2 dir = kDirections.v[mixBits(hk) >> 26];
                    const float along = saturate(dot(rel, dir) / len);
                    const float dist = length(rel - dir * (along * len));
                    const float half = 0.055f * (1.0f - along * along) + 0.004f;
                    const float cover = 1.0f - smoothstep(half - aa, half + aa, dist);
                    if (cover <= 0)
                        continue;
                    const float b = L.shade * (0.72f + 0.56f * unit(hk, 3));
                    const Rgb blade =
                        Rgb{b, b, b * 0.9f} + Rgb{0.22f, 0.14f, -0.03f} * (along * unit(hk, 4));
                    f = mix(f, blade, cover);
                }
            }
        }
    }
    return f;
}

Rgb meadowColour(V2 g, float fp) {
    const float broad = fbm2(g * (1.0f / 11.0f), 4, kGrassSeed, fp / 11.0f);
    const float patches = fbm2(g * (1.0f / 1.4f), 4, kGrassSeed + 1, fp / 1.4f);
    const float clumps = fbm2(g * (1.0f / 0.12f), 3, kGrassSeed + 2, fp / 0.12f);
    const float grain = fbm2(g * (1.0f / 0.018f), 2, kGrassSeed + 3, fp / 0.018f);
    Rgb c = mix(srgb(76, 118, 42), srgb(120, 132, 58), smoothstep(-0.3f, 0.35f, broad));
    c = mix(c, srgb(50, 86, 34), 0.55f * smoothstep(0.0f, 0.45f, patches));
    c = mix(c, srgb(146, 138, 88), 0.4f * smoothstep(0.22f, 0.55f, broad));
    return c * (1.0f + 0.45f * clumps) * (1.0f + 0.35f * grain);
}

/// A wild flower (daisy, buttercup or clover head) at p, if one grows there.
float flower(V2 p, float fp, float patch, Rgb& colour) {
    constexpr float cell = 0.13f;
    const V2 q = p * (1.0f / cell);
    const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y));
    const uint32_t h = hash2(ix, iy, kFlowerSeed);
    if (unit(h, 0) > patch)
        return 0;
    const float radius = 0.008f + 0.008f * unit(h, 1);
    const float visible = resolved(radius, fp);
    if (visible <= 0)
        return 0;
    const V2 centre{(float(ix) + 0.15f + 0.7f * unit(h, 2)) * cell,
                    (float(iy) + 0.15f + 0.7f * unit(h, 3)) * cell};
    const V2 rel = p - centre;
    const float r = length(rel);
    if (r > radius * 1.3f + fp)
        return 0;
    const float angle = std::atan2(rel.y, rel.x) + unit(h, 5) * 6.2832f;
    const float kind = unit(h, 4);
    const float aa = fp * 0.7f + 1e-5f;
    float edge;
    if (kind < 0.55f) { // daisy
        edge = radius * (0.55f + 0.45f * std::sqrt(std::abs(std::cos(angle * 5.5f))));
        const float disc = 1.0f - smoothstep(radius * 0.3f - aa, radius * 0.3f + aa, r);
        colour = mix(srgb(246, 246, 238) * (0.8f + 0.2f * r / radius), srgb(244, 196, 38), disc);
    } else if (kind < 0.85f) { // buttercup
        edge = radius * 0.75f * (0.82f + 0.18f * std::cos(angle * 5.0f));
        colour = srgb(250, 214, 30) * (0.85f + 0.3f * (1.0f - r / radius));
    } else { // clover head
        edge = radius * 0.65f;
        colour = srgb(206, 128, 176) * (0.75f + 0.25f * noise2(rel * (1.0f / 0.0015f), h));
    }
    return visible * (1.0f - smoothstep(edge - aa, edge + aa, r));
}

/// Small stones of the track: domed pebbles half sunk in the dirt, each with a
/// sliver of shadow on the side away from the sun. `cell` sets their size.
void gravel(V2 g, float fp, float cell, float density, float relief, V3 sun, Surface& s) {
    const V2 q = g * (1.0f / cell);
    const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y));
    const float aa = fp / cell * 0.7f + 1e-3f;
    const V2 toSun = xy(sun) * (1.0f / length(xy(sun)));
    static const Rgb palette[5] = {srgb(128, 118, 104), srgb(156, 140, 118), srgb(124, 98, 80),
                                   srgb(96, 90, 84), srgb(172, 162, 144)};
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const uint32_t h = hash2(ix + dx, iy + dy, kGravelSeed + uint32_t(cell * 1000.0f));
            if (unit(h, 0) > density)
                continue;
            const float radius = 0.12f + 0.22f * unit(h, 1);
            const float visible = resolved(radius * cell, fp);
            if (visible <= 0)
                continue;
            const V2 rel = q - V2{float(ix + dx) + unit(h, 2), float(iy + dy) + unit(h, 3)};
            // Slightly oval pebbles.
            const V2 dir = kDirections.v[h >> 26];
            const auto oval = [&](V2 v) {
                const V2 u{dot(v, dir) / radius, (dir.x * v.y - dir.y * v.x) / (radius * 0.75f)};
                return dot(u, u);
            };
            const float r2 = oval(rel);
            const float edge = aa / radius;
            const float shade = 1.0f - smoothstep(1.0f - edge, 1.0f + edge,
                                                  std::sqrt(oval(rel + toSun * (radius * 0.45f))));
            const float cover =
                (1.0f - smoothstep(1.0f - edge, 1.0f + edge, std::sqrt(r2))) * visible;
            s.albedo = s.albedo * (1.0f - 0.35f * relief * shade * visible * (1.0f - cover));
            if (cover <= 0)
                continue;
            const float nz = std::sqrt(std::max(0.05f, 1.0f - r2));
            const V3 n = normalize(V3{rel.x / radius * relief, rel.y / radius * relief, nz * 1.3f});
            s.albedo = mix(s.albedo, palette[h % 5] * (0.75f + 0.4f * unit(h, 4)), cover);
            s.normal = normalize(mix(s.normal, n, cover));
        }
}

/// How likely a stone is near p: many along the verges of the track and where the
/// meadow meets the sand, a few elsewhere.
float stoniness(V2 p) {
    const float verge = std::abs(dot(p, trackSide()) - trackCentre(dot(p, trackAxis()))) - 1.7f;
    const V2 st = coastCoords(p);
    return 0.03f + 0.25f * std::exp(-verge * verge * 2.0f) +
           0.15f * (1.0f - smoothstep(0.0f, 3.0f, std::abs(st.x - sandLine(st.y))));
}

/// Stones and boulders strewn over the meadow, the verges and the upper beach. They
/// are relief on the plane: a domed normal, and a shadow cast away from the sun.
void rocks(V2 g, float fp, V3 sun, Surface& s) {
    constexpr float cell = 1.6f;
    const V2 q = g * (1.0f / cell);
    const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y));
    const V2 toSun = xy(sun) * (1.0f / length(xy(sun)));
    const float tanSun = sun.z / length(xy(sun));
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const uint32_t h = hash2(ix + dx, iy + dy, kRockSeed);
            const V2 centre{(float(ix + dx) + 0.2f + 0.6f * unit(h, 2)) * cell,
                            (float(iy + dy) + 0.2f + 0.6f * unit(h, 3)) * cell};
            const V2 rel = g - centre;
            if (dot(rel, rel) > 1.0f || unit(h, 0) > stoniness(centre))
                continue;
            const float radius = 0.05f + 0.22f * std::pow(unit(h, 1), 2.0f);
            const float height = radius * (0.45f + 0.3f * unit(h, 6));
            if (dot(rel, rel) > 9.0f * radius * radius + 0.25f)
                continue;
            // Irregular outline: radius varies with the angle round the centre.
            const float r = length(rel);
            const V2 around = r > 0 ? rel * (1.0f / r) : V2{1, 0};
            const float wobble =
                1.0f + 0.22f * noise2(around * 1.6f + V2{unit(h, 4) * 50, unit(h, 5) * 50}, h);
            const float edge = radius * wobble;
            const float aa = fp * 0.7f + 1e-4f;
            const float cover = 1.0f - smoothstep(edge - aa, edge + aa, r);
            // Shadow: does the ray to the sun pass under the rock's dome?
            const float along = dot(-rel, toSun);
            const float side = length(rel + toSun * along);
            if (along > 0 && side < edge) {
                // The ray passes under the dome's crest: shade, softened at the rim.
                const float crest = height * std::sqrt(1.0f - side * side / (edge * edge));
                const float inShade = smoothstep(-aa, 0.01f + aa, crest - along * tanSun);
                s.shadow *= 1.0f - (1.0f - cover) * inShade * resolved(radius, fp);
            }
            if (cover <= 0)
                continue;
            const float u = std::min(r / edge, 0.999f);
            const float slope = height / edge * u / std::sqrt(1.0f - u * u);
            const float bump = fbm2(g * (1.0f / 0.03f), 3, h, fp / 0.03f);
            V3 n = normalize(V3{around.x * slope + 0.5f * bump, around.y * slope - 0.3f * bump, 1});
            Rgb c = mix(srgb(150, 146, 136), srgb(118, 112, 104), unit(h, 7)) *
                    (0.85f + 0.3f * fbm2(g * (1.0f / 0.008f), 3, h + 1, fp / 0.008f));
            // Lichen on some of the older stones.
            const float lichen =
                smoothstep(0.15f, 0.35f, fbm2(g * (1.0f / 0.04f), 3, h + 2, fp / 0.04f));
            if (unit(h, 8) < 0.4f)
                c = mix(c, srgb(196, 170, 70), 0.7f * lichen * (1.0f - u * u));
            s.albedo = mix(s.albedo, c, cover);
            s.normal = normalize(mix(s.normal, n, cover));
            s.shadow = mix(s.shadow, 1.0f, cover);
        }
}

/// Height of the sea surface in metres.
float seaSurface(V2 g, float fp) {
    const V2 w{dot(g, seaAxis()), dot(g, coastAxis())}; // across and along the shore
    return 0.15f * fbm2({w.x / 2.4f, w.y / 7.0f}, 3, kSeaSeed + 10, fp / 2.4f) +
           0.05f * fbm2({w.x / 0.7f, w.y / 1.5f}, 3, kSeaSeed + 11, fp / 0.7f) +
           0.012f * fbm2(g * (1.0f / 0.22f), 2, kSeaSeed + 12, fp / 0.22f);
}

/// The beach: dry sand with wind ripples, a strip of wet sand, shells.
void sand(V2 g, V2 st, float waterEdge, float fp, Surface& s) {
    const float wet = smoothstep(waterEdge - 5.0f, waterEdge - 0.6f, st.x);
    const float grain = fbm2(g * (1.0f / 0.006f), 3, kSandSeed, fp / 0.006f);
    const float drift = fbm2(g * (1.0f / 2.5f), 4, kSandSeed + 1, fp / 2.5f);
    Rgb dry = mix(srgb(224, 206, 168), srgb(206, 186, 148), smoothstep(-0.3f, 0.4f, drift));
    dry = dry * (1.0f + 0.12f * grain);
    const Rgb damp = srgb(170, 150, 118) * (1.0f + 0.05f * grain);
    s.albedo = mix(dry, damp, wet);
    s.specular = wet * 0.6f;
    // Wind ripples on the dry sand, running along the shore.
    const float ripple = resolved(0.09f, fp) * (1.0f - wet);
    if (ripple > 0) {
        // Patchy, wavering ripples: the wind never combs a whole beach evenly.
        const float patchy = smoothstep(-0.25f, 0.3f, fbm2(g * (1.0f / 2.0f), 3, kSandSeed + 6));
        const float phase = (st.x + 0.35f * st.y) / 0.085f * 6.2832f +
                            11.0f * fbm2(g * (1.0f / 0.7f), 3, kSandSeed + 2);
        const float slope = 0.14f * std::cos(phase) * ripple * patchy;
        s.normal = normalize(V3{0, 0, 1} - V3{seaAxis().x, seaAxis().y, 0} * slope);
    }
    // Shell fragments.
    constexpr float cell = 0.2f;
    const V2 q = g * (1.0f / cell);
    const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y));
    const uint32_t h = hash2(ix, iy, kSandSeed + 3);
    if (unit(h, 0) < 0.18f) {
        const float radius = 0.004f + 0.008f * unit(h, 1);
        const V2 c{(float(ix) + 0.2f + 0.6f * unit(h, 2)) * cell,
                   (float(iy) + 0.2f + 0.6f * unit(h, 3)) * cell};
        const float r = length(g - c);
        const float aa = fp * 0.7f + 1e-5f;
        const float cover = (1.0f - smoothstep(radius - aa, radius + aa, r)) * resolved(radius, fp);
        const Rgb shell = unit(h, 4) < 0.6f ? srgb(240, 232, 220) : srgb(224, 178, 160);
        s.albedo = mix(s.albedo, shell, cover);
    }
}

/// Patchwork of fields and hedges, for the meadow far from the eye.
Rgb fields(V2 g, float fp) {
    const V2 w{fbm2(g * (1.0f / 300.0f), 3, kFieldSeed),
               fbm2(g * (1.0f / 300.0f), 3, kFieldSeed + 1)};
    const V2 q = (g + w * 60.0f) * (1.0f / 95.0f);
    const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y));
    float best = 1e9f, second = 1e9f;
    uint32_t id = 0;
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const uint32_t h = hash2(ix + dx, iy + dy, kFieldSeed + 2);
            const V2 site{float(ix + dx) + unit(h, 0), float(iy + dy) + unit(h, 1)};
            const float d = length(q - site);
            if (d < best) {
                second = best;
                best = d;
                id = h;
            } else if (d < second) {
                second = d;
            }
        }
    static const Rgb crops[6] = {srgb(96, 138, 56), srgb(160, 156, 92), srgb(118, 146, 62),
                                 srgb(84, 126, 52), srgb(72, 112, 50),  srgb(184, 170, 104)};
    Rgb c = crops[id % 6] * (0.9f + 0.2f * fbm2(g * (1.0f / 20.0f), 3, id, fp / 20.0f));
    const float border = (second - best) * 95.0f * 0.5f; // metres to the hedge line
    const float hedge = 1.0f - smoothstep(1.2f, 1.2f + std::max(fp, 0.5f), border);
    return mix(c, srgb(44, 74, 36), hedge * 0.85f);
}

} // namespace

float Scene::farCloudShadow(V3 p, float distance) const {
    // The sky round the sun is kept open, so near the eye there is never cloud shade.
    return distance < 250.0f ? 1.0f : cloudShadow(p);
}

float Scene::ridgeHeight(int layer, float azimuth, float* slope) const {
    const Ridge& r = m_ridges[size_t(layer)];
    const int n = int(r.height.size());
    float f = azimuth / (2.0f * kPi) * float(n);
    f -= std::floor(f / float(n)) * float(n);
    const int i0 = int(f) % n, i1 = (i0 + 1) % n;
    const float a = f - std::floor(f);
    if (slope)
        *slope = (r.smooth[size_t(i1)] - r.smooth[size_t(i0)]) * float(n) / (2.0f * kPi);
    return mix(r.height[size_t(i0)], r.height[size_t(i1)], a);
}

void Scene::buildRidges() {
    // Three ranges of hills, nearest first: wooded knolls, rolling downs, mountains.
    struct Range {
        float range, base, relief, frequency, seaGap0, seaGap1;
        int octaves;
        bool ridged;
    };
    const Range ranges[3] = {
        {850.0f, 18.0f, 48.0f, 2.6f, rad(52), rad(78), 5, false},
        {2600.0f, 70.0f, 170.0f, 2.0f, rad(56), rad(90), 5, false},
        {7500.0f, 220.0f, 560.0f, 2.4f, rad(58), rad(104), 6, true},
    };
    constexpr int steps = 1 << 15;
    m_ridges.clear();
    for (int layer = 0; layer < 3; ++layer) {
        const Range& sp = ranges[layer];
        Ridge ridge;
        ridge.range = sp.range;
        ridge.height.resize(steps);
        ridge.forest.resize(steps);
        ridge.smooth.resize(steps);
        const uint32_t seed = kRidgeSeed + uint32_t(layer) * 17u;
        for (int i = 0; i < steps; ++i) {
            const float az = float(i) / float(steps) * 2.0f * kPi;
            // Sampling the noise round a circle makes the profile wrap seamlessly.
            const V2 round = heading(az);
            float n = fbm2(round * sp.frequency, sp.octaves, seed);
            if (sp.ridged)
                n = 0.9f - 2.0f * std::abs(fbm2(round * sp.frequency, sp.octaves, seed, 0, 0.55f));
            float off = std::abs(az - kSeaAzimuth);
            off = std::min(off, 2.0f * kPi - off);
            const float land = smoothstep(sp.seaGap0, sp.seaGap1, off);
            float h = land * std::max(0.0f, sp.base + sp.relief * n);
            ridge.smooth[size_t(i)] = h;
            const float forest = smoothstep(-0.05f, 0.25f, noise2(round * 7.0f, seed + 3)) * land;
            // Tree canopy roughens the skyline of the nearer hills.
            const float canopy = noise2(round * (sp.range / 9.0f), seed + 4) * 0.5f + 0.5f;
            h += forest * (layer == 0 ? 9.0f : 16.0f) * canopy * (layer < 2 ? 1.0f : 0.0f);
            ridge.height[size_t(i)] = h;
            ridge.forest[size_t(i)] = forest;
        }
        m_ridges.push_back(std::move(ridge));
    }
}

Rgb Scene::shadeHill(int layer, V3 dir, float t, float azimuth, float z, float fp) const {
    const Ridge& ridge = m_ridges[size_t(layer)];
    float slope = 0;
    const float top = ridgeHeight(layer, azimuth, &slope);
    const V2 out = heading(azimuth);
    const V2 along{out.y, -out.x};
    const V3 p{out.x * ridge.range, out.y * ridge.range, z};
    // The face turned to the eye steepens towards the foot of the hill.
    const float relief = z / std::max(top, 1.0f);
    const float facing = 0.35f + 0.9f * (1.0f - relief);
    const float gully = fbm3(p * (1.0f / 60.0f), 4, kRidgeSeed + 40, fp / 60.0f);
    const float gully2 = fbm3(p * (1.0f / 60.0f) + V3{3.1f, 0, 0}, 4, kRidgeSeed + 41, fp / 60.0f);
    const float tilt = std::clamp(slope / ridge.range, -1.5f, 1.5f) * 0.7f;
    V3 n = V3{0, 0, 1} - V3{out.x, out.y, 0} * facing - V3{along.x, along.y, 0} * tilt;
    n = normalize(n + V3{along.x, along.y, 0} * (gully * 1.4f) + V3{0, 0, gully2 * 0.6f});

    const int idx =
        int(azimuth / (2.0f * kPi) * float(ridge.forest.size())) & int(ridge.forest.size() - 1);
    const float woods = ridge.forest[size_t(idx)];
    const float patch = fbm3(p * (1.0f / 180.0f), 4, kRidgeSeed + 42, fp / 180.0f);
    const float copses = fbm3(p * (1.0f / 70.0f), 3, kRidgeSeed + 45, fp / 70.0f);
    const float wooded =
        smoothstep(0.5f, 0.62f, 0.55f * woods + 0.5f * patch + 0.6f * copses + 0.2f * relief);
    // Fields and pastures on the open slopes.
    Rgb c = fields(V2{azimuth * ridge.range, z * 2.5f}, fp);
    c = mix(c, srgb(150, 150, 80), 0.3f * smoothstep(0.0f, 0.4f, patch));
    c = mix(c, srgb(44, 72, 36), wooded);
    if (layer == 2) {
        // Bare rock and scree high on the mountains.
        const float rock = smoothstep(0.35f, 0.7f, relief + 0.5f * gully);
        c = mix(c, srgb(128, 124, 116), rock);
    }
    c = c * (0.85f + 0.3f * fbm3(p * (1.0f / 15.0f), 3, kRidgeSeed + 43, fp / 15.0f));
    // Single crowns in the woods.
    c = c * (1.0f + wooded * 0.5f * fbm3(p * (1.0f / 5.0f), 2, kRidgeSeed + 44, fp / 5.0f));
    const float sun = std::max(0.0f, dot(n, m_sun)) * cloudShadow(p);
    const Rgb lit = c * (m_sunLight * sun + ambient(n));
    return fog(lit, dir, t);
}

Rgb Scene::shadeGround(V3 dir, float t, float fp, uint32_t& seen) const {
    seen = uint32_t(Seen::ground);
    const V2 g{dir.x * t, dir.y * t};
    const float dist = length(g);
    const V2 st = coastCoords(g);
    // The ragged edges below are only worked out near where they lie.
    float waterEdge = waterLine(st.y);
    if (st.x > waterEdge - 7.0f)
        waterEdge += 1.4f * fbm2(g * (1.0f / 5.0f), 4, kSeaSeed, fp / 5.0f);

    if (st.x > waterEdge) {
        // Sea: shallow water over sand near the shore, waves, foam, sky reflection.
        const float out = st.x - waterEdge;
        // Wave heights: stretched noise, so crests run roughly along the shore.
        const float step = std::max(fp, 0.04f);
        const float hx = seaSurface(g + V2{step, 0}, fp), hy = seaSurface(g + V2{0, step}, fp);
        const float h0 = seaSurface(g, fp);
        const V2 slope{(hx - h0) / step, (hy - h0) / step};
        const V3 n = normalize(V3{-slope.x, -slope.y, 1});
        V3 r = dir - n * (2.0f * dot(dir, n));
        r.z = std::max(r.z, 0.01f);
        const float cosi = std::max(0.0f, -dot(dir, n));
        const float fresnel = 0.02f + 0.98f * std::pow(1.0f - cosi, 5.0f);
        const float depth = saturate(out / 14.0f);
        Rgb body = mix(srgb(60, 170, 172), srgb(14, 70, 120), depth);
        body = body * (m_sunLight * (m_sun.z * 0.35f) + ambient({0, 0, 1}) * 0.6f);
        Rgb c = mix(body, skyRadiance(r), fresnel * 0.7f);
        // Sun glitter, broader where the waves are too small to resolve.
        const float rough = 0.03f + 0.05f * (1.0f - resolved(0.3f, fp));
        const float glint = std::max(0.0f, dot(normalize(r), m_sun));
        c += m_sunLight *
             (fresnel * 2.0f * std::exp((glint - 1.0f) / (rough * rough)) / (rough * 6.0f));
        // Foam at the swash and on a breaking line further out.
        const float lace = fbm2(g * (1.0f / 0.45f), 4, kSeaSeed + 7, fp / 0.45f);
        float foam = smoothstep(1.6f, 0.0f, out) * smoothstep(-0.2f, 0.25f, lace + 0.3f);
        const float breaker = std::exp(-std::pow(
            (out - 9.0f + 2.0f * fbm2(g * (1.0f / 12.0f), 3, kSeaSeed + 8)) / 1.3f, 2.0f));
        foam = std::max(foam, breaker * smoothstep(-0.1f, 0.3f, lace) * 0.9f);
        const Rgb foamLit = Rgb{0.95f, 0.95f, 0.93f} * (m_sunLight * m_sun.z + ambient({0, 0, 1}));
        c = mix(c, foamLit, foam * 0.9f);
        return fog(c * farCloudShadow(V3{g.x, g.y, 0}, dist), dir, t);
    }

    Surface s;
    const float toSand = st.x - sandLine(st.y);
    const float sandy =
        std::abs(toSand) > 3.5f
            ? (toSand > 0 ? 1.0f : 0.0f)
            : smoothstep(-1.0f, 1.0f,
                         toSand + 2.2f * fbm2(g * (1.0f / 3.0f), 4, kSandSeed + 4, fp / 3.0f));
    Rgb meadow{0, 0, 0};
    if (sandy < 1.0f) {
        meadow = meadowColour(g, fp);
        const float blades = resolved(0.008f, fp);
        meadow = meadow * (blades > 0 ? mix(m_grassMean, grassBlades(g, fp), blades) : m_grassMean);
        if (fp < 0.01f) {
            Rgb bloom;
            const float patch =
                0.9f * smoothstep(-0.1f, 0.35f, fbm2(g * (1.0f / 2.2f), 3, kFlowerSeed + 1));
            const float f = patch > 0 ? flower(g, fp, patch, bloom) : 0.0f;
            if (f > 0)
                meadow = mix(meadow, bloom, f);
        }
        // The track: two bare ruts with a grassy strip between them.
        const float a = dot(g, trackAxis());
        const float off = std::abs(dot(g, trackSide()) - trackCentre(a));
        const float ragged = off > kTrackHalfWidth + 0.2f
                                 ? 0.0f
                                 : 0.14f * fbm2(g * (1.0f / 0.5f), 4, kTrackSeed, fp / 0.5f);
        const float x = off + ragged;
        const float rut = 1.0f - smoothstep(0.24f, 0.4f, std::abs(x - 0.62f));
        const float verge =
            smoothstep(kTrackHalfWidth, kTrackHalfWidth - 0.35f, x) * smoothstep(0.12f, 0.3f, x);
        const float sparse = off > kTrackHalfWidth + 0.2f
                                 ? 0.0f
                                 : fbm2(g * (1.0f / 0.08f), 3, kTrackSeed + 1, fp / 0.08f);
        const float bare = smoothstep(0.4f, 0.6f, std::max(rut, 0.55f * verge) + 0.35f * sparse);
        if (bare > 0 && dist < 2000.0f) {
            Surface dirt;
            const float soil = fbm2(g * (1.0f / 0.25f), 4, kTrackSeed + 2, fp / 0.25f);
            const float crumbs = fbm2(g * (1.0f / 0.006f), 3, kTrackSeed + 3, fp / 0.006f);
            dirt.albedo = mix(srgb(150, 124, 92), srgb(120, 100, 80), rut) * (0.88f + 0.3f * soil) *
                          (1.0f + 0.3f * crumbs);
            gravel(g, fp, 0.012f, 0.7f, 0.9f, m_sun, dirt);
            gravel(g, fp, 0.035f, 0.3f, 0.8f, m_sun, dirt);
            meadow = mix(meadow, dirt.albedo, bare);
            s.normal = normalize(mix(s.normal, dirt.normal, bare));
        }
        // Far away the meadow turns into a patchwork of fields.
        const float farAway = smoothstep(70.0f, 160.0f, dist);
        if (farAway > 0)
            meadow = mix(meadow, fields(g, fp), farAway);
    }
    s.albedo = meadow;
    if (sandy > 0) {
        Surface beach;
        sand(g, st, waterEdge, fp, beach);
        // Tufts of marram grass where the dunes begin.
        const float tuftZone = 1.0f - smoothstep(0.3f, 2.0f, st.x - sandLine(st.y));
        const float tufts =
            tuftZone *
            smoothstep(0.32f, 0.45f, fbm2(g * (1.0f / 0.3f), 4, kSandSeed + 5, fp / 0.3f));
        if (tufts > 0) {
            const float blades = resolved(0.008f, fp);
            const Rgb marram =
                srgb(140, 146, 90) *
                (blades > 0 ? mix(m_grassMean, grassBlades(g * 1.3f, fp * 1.3f), blades)
                            : m_grassMean) *
                1.4f;
            beach.albedo = mix(beach.albedo, marram, tufts);
        }
        s.albedo = mix(s.albedo, beach.albedo, sandy);
        s.normal = normalize(mix(s.normal, beach.normal, sandy));
        s.specular = beach.specular * sandy;
    }
    if (dist < 400.0f)
        rocks(g, fp, m_sun, s);

    float shadow = s.shadow;
    if (dist > 5.0f)
        shadow *= objectShadow(V3{g.x, g.y, 0.0f});
    shadow *= farCloudShadow(V3{g.x, g.y, 0}, dist);
    Rgb c = s.albedo *
            (m_sunLight * (std::max(0.0f, dot(s.normal, m_sun)) * shadow) + ambient(s.normal));
    if (s.specular > 0) {
        V3 r = dir - s.normal * (2.0f * dot(dir, s.normal));
        r.z = std::max(r.z, 0.01f);
        const float fresnel = 0.03f + 0.97f * std::pow(1.0f + std::min(dir.z, 0.0f), 5.0f);
        c = mix(c, skyRadiance(r), s.specular * fresnel);
    }
    return fog(c, dir, t);
}

} // namespace pano

namespace pano {

Rgb grassBladesMean() {
    // Average of the close-up blades, so the meadow keeps its tone where they blur.
    Rgb sum{};
    constexpr int samples = 1 << 15;
    for (int i = 0; i < samples; ++i) {
        const uint32_t h = mixBits(uint32_t(i) + 12345u);
        sum += grassBlades({unit(h, 0) * 3.0f, unit(h, 1) * 3.0f}, 0.0f);
    }
    return sum * (1.0f / samples);
}

} // namespace pano
