// Lens flares: streaks, spikes and ghosts of a bright light inside a lens, made
// for screen blending.

#include "Catalogue.h"
#include "LightShapes.h"

namespace layerart {

namespace {

/// A compact hot source: white core, tinted bloom, faint wide veil. Everything
/// is gone by `reach` pixels, so the veil never meets the image border.
Rgb sourceLight(float r, float scale, Rgb tint, float reach) {
    const float fade = 1.0f - smoothstep(0.45f * reach, reach, r);
    return (Rgb{1.0f, 1.0f, 1.0f} * (2.4f * gauss(r, 7.0f * scale)) +
            tint * (0.9f * std::pow(1.0f + (r / (22.0f * scale)) * (r / (22.0f * scale)), -1.5f) +
                    0.2f * std::exp(-r / (70.0f * scale)))) *
           fade;
}

QImage anamorphic(Rgb inner, Rgb outer, std::uint32_t seed) {
    constexpr int w = 2048;
    constexpr int h = 512;
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float dx = x - w / 2.0f;
        const float dy = y - h / 2.0f;
        const float ax = std::abs(dx) / (w / 2.0f);
        const float r = std::hypot(dx, dy);
        const float flicker = 1.0f + 0.12f * fbm(dx / 60.0f, 0.5f, seed, 3);
        const float length = std::pow(1.0f + (ax / 0.22f) * (ax / 0.22f), -1.0f);
        const float longer = std::pow(1.0f + (ax / 0.4f) * (ax / 0.4f), -1.0f);
        const Rgb tint = mix(inner, outer, smoothstep(0.0f, 0.35f, ax));
        Rgb light = tint * (1.5f * gauss(dy, 2.2f) * length * flicker +
                            0.6f * gauss(dy, 9.0f) * longer * flicker) +
                    outer * (0.12f * gauss(dy, 30.0f) * std::exp(-ax / 0.2f));
        // Fainter parallel lines, as stacked anamorphic elements give.
        for (const float offset : {-46.0f, -19.0f, 19.0f, 46.0f}) {
            const float fade = std::pow(1.0f + (ax / 0.1f) * (ax / 0.1f), -1.0f);
            light += outer * (0.22f * gauss(dy - offset, 1.5f) * fade *
                              (std::abs(offset) < 30.0f ? 1.0f : 0.6f));
        }
        light += sourceLight(r, 1.3f, inner, 250.0f);
        return light * (1.0f - smoothstep(0.55f, 0.99f, ax)) * edgeWindow(x, y, w, h, 80.0f);
    });
    return field.toImage(seed, false);
}

QImage anamorphicBlue() {
    return anamorphic(hex(0xBFE4FF), hex(0x2A5CFF), 101u);
}

QImage anamorphicGold() {
    return anamorphic(hex(0xFFE9C4), hex(0xFF8A1E), 102u);
}

QImage starburst() {
    constexpr int side = 1024;
    constexpr float c = side / 2.0f;
    Spikes spikes;
    spikes.count = 14;
    spikes.rotation = 0.11f;
    spikes.length = 130.0f;
    spikes.width = 1.1f;
    spikes.spread = 0.004f;
    spikes.intensity = 1.1f;
    spikes.colour = hex(0xFFF1DC);
    spikes.jitter = 0.45f;
    spikes.seed = 103u;
    LightField field(side, side);
    field.add([&](float x, float y) {
        const float dx = x - c;
        const float dy = y - c;
        const float r = std::hypot(dx, dy);
        const float theta = std::atan2(dy, dx);
        // Fine glare: many hair-thin rays of random strength, like lashes and dust.
        const float hair = std::pow(std::max(0.0f, loopNoise(theta, 260.0f, 104u, 2)), 2.0f) +
                           0.6f * std::pow(std::max(0.0f, loopNoise(theta, 90.0f, 105u)), 3.0f);
        const float glare = hair * 0.9f * std::exp(-r / 140.0f) * smoothstep(0.0f, 20.0f, r);
        Rgb light = spikeLight(spikes, dx, dy) + hex(0xFFE2B8) * glare +
                    sourceLight(r, 1.6f, hex(0xFFD8A0), 500.0f);
        return light * (1.0f - smoothstep(0.7f, 0.99f, r / c));
    });
    return field.toImage(103u, false);
}

QImage sixPointStar() {
    constexpr int side = 1024;
    constexpr float c = side / 2.0f;
    Spikes spikes;
    spikes.count = 6;
    spikes.rotation = -0.5f * pi;
    spikes.length = 190.0f;
    spikes.width = 1.4f;
    spikes.spread = 0.0025f;
    spikes.intensity = 1.3f;
    spikes.colour = hex(0xE6F0FF);
    LightField field(side, side);
    field.add([&](float x, float y) {
        const float dx = x - c;
        const float dy = y - c;
        const float r = std::hypot(dx, dy);
        // Spike tips break into colour, as diffraction spreads wavelengths apart.
        const Rgb tips = toEncoded(spectrum(clamp01(r / 420.0f)) * 0.6f);
        const Rgb spike = spikeLight(spikes, dx, dy);
        const Rgb light = spike * mix(Rgb{1.0f, 1.0f, 1.0f}, tips, smoothstep(60.0f, 380.0f, r)) +
                          sourceLight(r, 1.2f, hex(0xCFE0FF), 500.0f);
        return light * (1.0f - smoothstep(0.75f, 0.99f, r / c));
    });
    return field.toImage(106u, false);
}

QImage spark() {
    constexpr int side = 512;
    constexpr float c = side / 2.0f;
    Spikes cross;
    cross.count = 4;
    cross.length = 55.0f;
    cross.width = 1.0f;
    cross.spread = 0.004f;
    cross.intensity = 1.5f;
    cross.colour = hex(0xFFFFFF);
    Spikes diagonal = cross;
    diagonal.rotation = 0.25f * pi;
    diagonal.length = 18.0f;
    diagonal.intensity = 0.6f;
    diagonal.colour = hex(0xFFE6C8);
    LightField field(side, side);
    field.add([&](float x, float y) {
        const float dx = x - c;
        const float dy = y - c;
        const float r = std::hypot(dx, dy);
        const Rgb light = spikeLight(cross, dx, dy) + spikeLight(diagonal, dx, dy) +
                          sourceLight(r, 0.8f, hex(0xFFE8CC), 250.0f) * 0.9f;
        return light * (1.0f - smoothstep(0.75f, 0.99f, r / c));
    });
    return field.toImage(107u, false);
}

/// Ghosts along a line, with tints and sizes picked the way coated lens elements
/// reflect: mostly small and faint, a few large and very faint.
void ghostTrail(LightField& field, float sx, float sy, float ex, float ey,
                const std::vector<std::pair<float, float>>& spots, int sides, float rotation,
                std::uint32_t seed) {
    const std::vector<Rgb> tints{hex(0x8CFFC0), hex(0xFFC070), hex(0xD890FF),
                                 hex(0x80D4FF), hex(0xFF8AA0), hex(0xEEFF90)};
    Rng rng(seed);
    for (const auto& [t, radius] : spots) {
        Ghost g;
        g.x = sx + (ex - sx) * t;
        g.y = sy + (ey - sy) * t;
        g.radius = radius;
        g.sides = (rng.uniform() < 0.6f) ? sides : 0;
        g.rotation = rotation;
        g.tint = tints[std::size_t(rng.below(int(tints.size())))];
        const float faint = 14.0f / (14.0f + radius);
        g.fill = rng.range(0.16f, 0.36f) * (0.5f + faint);
        g.rim = rng.range(0.12f, 0.4f) * (0.5f + faint);
        g.softness = 1.5f + 0.03f * radius;
        g.fringe = 0.03f;
        addGhost(field, g);
    }
}

QImage ghostChain() {
    constexpr int w = 2048;
    constexpr int h = 768;
    const float sx = 0.12f * w;
    const float sy = 0.5f * h;
    LightField field(w, h);
    field.add([&](float x, float y) {
        return sourceLight(std::hypot(x - sx, y - sy), 1.4f, hex(0xFFE2B0), 0.12f * w);
    });
    ghostTrail(field, sx, sy, 0.93f * w, sy,
               {{0.16f, 10.0f},
                {0.22f, 26.0f},
                {0.3f, 14.0f},
                {0.41f, 58.0f},
                {0.5f, 20.0f},
                {0.57f, 36.0f},
                {0.66f, 90.0f},
                {0.77f, 16.0f},
                {0.84f, 46.0f},
                {0.93f, 120.0f}},
               6, 0.2f, 108u);
    // One large ring ghost, split by colour.
    const float rx = 0.72f * w;
    field.add([&](float x, float y) {
        const float r = std::hypot(x - rx, y - sy);
        const Rgb ring = spectralRing(r, 5.0f, [](float t) { return 230.0f + 22.0f * t; });
        const float arc = 0.55f + 0.45f * std::cos(std::atan2(y - sy, x - rx) - pi);
        return ring * (0.16f * arc);
    });
    field.scale([&](float x, float y) { return edgeWindow(x, y, w, h, 110.0f); });
    return field.toImage(108u, false);
}

QImage hexagonGhosts() {
    constexpr int side = 1024;
    LightField field(side, side);
    ghostTrail(field, 0.1f * side, 0.12f * side, 0.86f * side, 0.84f * side,
               {{0.0f, 34.0f},
                {0.12f, 60.0f},
                {0.3f, 22.0f},
                {0.42f, 96.0f},
                {0.58f, 40.0f},
                {0.7f, 70.0f},
                {0.86f, 28.0f},
                {1.0f, 110.0f}},
               6, 0.26f, 109u);
    field.scale([&](float x, float y) { return edgeWindow(x, y, side, side, 60.0f); });
    return field.toImage(109u, false);
}

QImage rainbowRing() {
    constexpr int side = 1024;
    constexpr float c = side / 2.0f;
    LightField field(side, side);
    field.add([&](float x, float y) {
        const float dx = x - c;
        const float dy = y - c;
        const float r = std::hypot(dx, dy);
        const float theta = std::atan2(dy, dx);
        const Rgb ring = spectralRing(r, 7.0f, [](float t) { return 300.0f + 48.0f * t; });
        // Strongest on one side and broken by faint streaks, never a perfect hoop.
        const float arc = 0.35f + 0.65f * std::pow(0.5f + 0.5f * std::cos(theta + 0.6f), 1.5f);
        const float streaks = 1.0f + 0.3f * loopNoise(theta, 30.0f, 110u);
        const float fill = 0.03f * (1.0f - smoothstep(250.0f, 320.0f, r));
        return toEncoded(ring * (0.4f * arc * streaks)) + hex(0xBFD8FF) * fill;
    });
    field.scale([&](float x, float y) {
        return 1.0f - smoothstep(0.8f, 0.99f, std::hypot(x - c, y - c) / c);
    });
    return field.toImage(110u, false);
}

QImage sunFlare() {
    constexpr int w = 2048;
    constexpr int h = 1024;
    const float sx = 0.27f * w;
    const float sy = 0.38f * h;
    Spikes spikes;
    spikes.count = 12;
    spikes.rotation = 0.3f;
    spikes.length = 90.0f;
    spikes.width = 1.0f;
    spikes.intensity = 0.9f;
    spikes.colour = hex(0xFFEBD0);
    spikes.jitter = 0.5f;
    spikes.seed = 111u;
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float dx = x - sx;
        const float dy = y - sy;
        const float r = std::hypot(dx, dy);
        const float theta = std::atan2(dy, dx);
        const float hair = std::pow(std::max(0.0f, loopNoise(theta, 200.0f, 112u, 2)), 2.0f);
        const float streak =
            gauss(dy, 2.2f) * std::pow(1.0f + (dx / 260.0f) * (dx / 260.0f), -1.0f);
        const Rgb halo =
            toEncoded(spectralRing(r, 10.0f, [](float t) { return 240.0f + 36.0f * t; }) * 0.008f);
        return sourceLight(r, 2.0f, hex(0xFFD49A), 0.37f * h) + spikeLight(spikes, dx, dy) +
               hex(0xFFDDB0) * (0.6f * hair * std::exp(-r / 110.0f) *
                                (1.0f - smoothstep(150.0f, 0.37f * h, r))) +
               hex(0xFFB070) * (0.45f * streak) + halo;
    });
    const float ex = w - sx;
    const float ey = h - sy;
    ghostTrail(field, sx, sy, ex, ey,
               {{0.55f, 12.0f},
                {0.68f, 30.0f},
                {0.8f, 18.0f},
                {0.95f, 70.0f},
                {1.08f, 24.0f},
                {1.2f, 44.0f},
                {1.32f, 90.0f}},
               7, 0.1f, 113u);
    field.scale([&](float x, float y) { return edgeWindow(x, y, w, h, 160.0f); });
    return field.toImage(111u, false);
}

} // namespace

std::vector<Asset> flareAssets() {
    const QString c = QStringLiteral("Lens Flares");
    return {
        {c, QStringLiteral("Anamorphic blue"), anamorphicBlue},
        {c, QStringLiteral("Anamorphic gold"), anamorphicGold},
        {c, QStringLiteral("Ghost chain"), ghostChain},
        {c, QStringLiteral("Hexagon ghosts"), hexagonGhosts},
        {c, QStringLiteral("Rainbow ring"), rainbowRing},
        {c, QStringLiteral("Six-point star"), sixPointStar},
        {c, QStringLiteral("Spark"), spark},
        {c, QStringLiteral("Starburst"), starburst},
        {c, QStringLiteral("Sun flare"), sunFlare},
    };
}

} // namespace layerart
