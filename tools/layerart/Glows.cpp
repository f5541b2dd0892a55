// Glows: soft round light sources, made for screen blending.

#include "Catalogue.h"
#include "LightShapes.h"

namespace layerart {

namespace {

constexpr int side = 1024;
constexpr float half = side / 2.0f;

/// Polar coordinates around the image centre, radius in half-sides (1 = edge).
struct Polar {
    float u;
    float theta;
};
/// Full strength over most of the frame, fading to nothing at the edge circle.
float radialFade(float u) {
    return 1.0f - smoothstep(0.7f, 0.99f, u);
}

Polar polar(float x, float y) {
    const float dx = (x - half) / half;
    const float dy = (y - half) / half;
    return {std::hypot(dx, dy), std::atan2(dy, dx)};
}

/// A sun: white-hot disc, coloured inner glow, wide halo, faint glare streaks.
struct SunLook {
    Rgb core;
    Rgb glow;
    Rgb halo;
    Rgb haze;
    float disc = 0.045f;
    float glowWidth = 0.08f;
    float haloWidth = 0.14f;
    float hazeWidth = 0.33f;
    float streaks = 0.25f;
    float squash = 1.0f; // > 1 flattens the halo, as low suns look
    std::uint32_t seed = 1;
};

QImage sun(const SunLook& look) {
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float dy = (y - half) / half * look.squash;
        const float dx = (x - half) / half;
        const float v = std::hypot(dx, dy);
        const float streak =
            1.0f + look.streaks * std::max(0.0f, loopNoise(p.theta, 90.0f, look.seed, 2)) +
            0.5f * look.streaks * loopNoise(p.theta, 9.0f, look.seed + 5u);
        const float disc = 1.0f - smoothstep(look.disc * 0.7f, look.disc * 1.15f, p.u);
        const float glow = gauss(p.u, look.glowWidth);
        const float halo = std::pow(1.0f + (v / look.haloWidth) * (v / look.haloWidth), -1.3f);
        const float haze = std::exp(-v / look.hazeWidth);
        return (look.core * (2.6f * disc) + look.glow * (1.1f * glow) +
                look.halo * (0.55f * halo * streak) + look.haze * (0.22f * haze * streak)) *
               radialFade(v);
    });
    return field.toImage(look.seed, false);
}

QImage goldenSun() {
    return sun({hex(0xFFF6E4), hex(0xFFD27A), hex(0xFF9A3C), hex(0xFF7A2A), 0.06f, 0.11f, 0.2f,
                0.42f, 0.3f, 1.0f, 11u});
}

QImage noonSun() {
    SunLook look{hex(0xFFFFFF), hex(0xFFF8EC), hex(0xDCE9FF), hex(0xA9C6FF), 0.055f, 0.1f,
                 0.17f,         0.4f,          0.35f,         1.0f,          12u};
    return sun(look);
}

QImage sunsetSun() {
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float dx = (x - half) / half;
        const float dy = (y - half) / half;
        const float flat = std::hypot(dx, dy * 1.35f);
        const float disc = 1.0f - smoothstep(0.085f, 0.105f, p.u);
        const float glow = gauss(p.u, 0.13f);
        const float halo = std::pow(1.0f + (flat / 0.22f) * (flat / 0.22f), -1.2f);
        const float haze = std::exp(-flat / 0.38f);
        // A flat band of glow along the horizon line.
        const float band = gauss(dy, 0.035f) * std::exp(-std::abs(dx) / 0.45f);
        const float streak = 1.0f + 0.15f * loopNoise(p.theta, 60.0f, 21u, 2);
        return (hex(0xFFDC8C) * (1.3f * disc) + hex(0xFFA040) * (1.1f * glow) +
                hex(0xFF5A1E) * (0.6f * halo * streak) + hex(0xE0305A) * (0.18f * haze) +
                hex(0xFF8030) * (0.35f * band)) *
               radialFade(std::hypot(dx, dy));
    });
    return field.toImage(13u, false);
}

QImage blueOrb() {
    constexpr float radius = 0.3f;
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float t = p.u / radius;
        const float px = (x - half) / half / radius;
        const float py = (y - half) / half / radius;
        // Slowly swirling texture inside the sphere.
        const float swirl =
            fbm(px * 2.2f + 0.6f * fbm(px * 1.3f, py * 1.3f, 31u, 3),
                py * 2.2f + 0.6f * fbm(px * 1.3f + 5.0f, py * 1.3f, 32u, 3), 33u, 4);
        const float inside = 1.0f - smoothstep(0.985f, 1.015f, t);
        const float tt = std::min(t, 1.0f);
        const float body = (0.22f + 0.75f * std::pow(tt, 6.0f)) * (1.0f + 0.45f * swirl);
        const float core = 1.3f * gauss(t, 0.32f);
        const float glint = 0.4f * gauss(std::hypot(px + 0.38f, py + 0.42f), 0.12f);
        const float outside = std::max(0.0f, p.u - radius);
        const float glow = 0.75f * std::exp(-outside / 0.035f) + 0.28f * std::exp(-outside / 0.16f);
        Rgb light = (hex(0x2E7BFF) * body + hex(0xCFF4FF) * core + hex(0xFFFFFF) * glint) * inside;
        light += hex(0x3D86FF) * (glow * (1.0f - inside * 0.6f));
        return light * radialFade(p.u);
    });
    return field.toImage(14u, false);
}

QImage haloRing() {
    constexpr float ring = 0.6f;
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float vary = 1.0f + 0.35f * loopNoise(p.theta, 5.0f, 41u, 2);
        const float shimmer = 1.0f + 0.2f * loopNoise(p.theta, 70.0f, 42u);
        // The sharp line splits slightly by colour, as light through a lens does.
        const Rgb line{gauss(p.u - ring * 1.006f, 0.011f), gauss(p.u - ring, 0.010f),
                       gauss(p.u - ring * 0.994f, 0.010f)};
        const float broad = gauss(p.u - ring, 0.055f);
        const float outer =
            std::exp(-std::max(0.0f, p.u - ring) / 0.09f) * smoothstep(ring - 0.1f, ring, p.u);
        const float fill = 0.06f * (1.0f - smoothstep(ring - 0.2f, ring, p.u));
        return (line * hex(0xFFF0D8) * (0.95f * shimmer) +
                hex(0xFFC27A) * ((0.32f * broad + 0.12f * outer) * vary) + hex(0xFFB060) * fill) *
               radialFade(p.u);
    });
    return field.toImage(15u, false);
}

QImage iceHalo() {
    constexpr float ring = 0.56f;
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float dx = (x - half) / half;
        const float dy = (y - half) / half;
        // Ice crystals refract red least: a sharp reddish inner edge, fading out
        // through white over a long soft tail. Sum bands with a one-sided profile.
        Rgb halo;
        constexpr int bands = 16;
        for (int i = 0; i < bands; ++i) {
            const float t = (float(i) + 0.5f) / float(bands);
            const float d = p.u - ring * (1.0f + 0.045f * t);
            const float profile =
                d < 0.0f ? std::exp(-(d * d) / (0.008f * 0.008f))
                         : 0.75f * std::exp(-d / 0.035f) + 0.25f * std::exp(-d / 0.14f);
            halo += spectrum(t) * (profile / float(bands));
        }
        const float vary = 1.0f + 0.15f * loopNoise(p.theta, 4.0f, 71u);
        halo = toEncoded(halo * (0.3f * vary));
        // Sun dogs: bright spots either side at the halo's radius.
        Rgb dogs;
        for (float sign : {-1.0f, 1.0f}) {
            const float ox = dx - sign * ring * 1.03f;
            const float outward = ox * sign;
            const float spot = gauss(outward, outward < 0.0f ? 0.012f : 0.05f) * gauss(dy, 0.03f);
            dogs += mix(hex(0xFF8A40), hex(0xEEF4FF), smoothstep(-0.01f, 0.06f, outward)) *
                    (0.85f * spot);
        }
        const float disc = 1.0f - smoothstep(0.03f, 0.042f, p.u);
        const float glow = gauss(p.u, 0.06f);
        const float haze = std::exp(-p.u / 0.18f);
        const Rgb sunLight = hex(0xFFFFFF) * (2.2f * disc) + hex(0xFFF4DC) * (0.9f * glow) +
                             hex(0xCFE0FF) * (0.22f * haze);
        return (halo + dogs + sunLight) * radialFade(p.u);
    });
    return field.toImage(16u, false);
}

QImage moonGlow() {
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float disc = 1.0f - smoothstep(0.05f, 0.062f, p.u);
        const float aureole = gauss(p.u, 0.15f);
        // A lunar corona: faint diffraction rings, blue inside and red outside.
        Rgb corona;
        constexpr int bands = 12;
        for (int i = 0; i < bands; ++i) {
            const float t = (float(i) + 0.5f) / float(bands);
            corona += spectrum(t) * (gauss(p.u - 0.3f * (1.25f - 0.45f * t), 0.04f) / float(bands));
        }
        corona = toEncoded(corona * 0.012f);
        const float haze = std::exp(-p.u / 0.3f);
        return (hex(0xF4F8FF) * (1.4f * disc) + hex(0xDCE8FF) * (0.55f * aureole) + corona +
                hex(0x8CA8E8) * (0.16f * haze)) *
               radialFade(p.u);
    });
    return field.toImage(17u, false);
}

QImage twilightHaze() {
    constexpr int w = 1536;
    constexpr int h = 1024;
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float ex = (x - w / 2.0f) / (w / 2.0f);
        const float ey = (y - h / 2.0f) / (h / 2.0f);
        const float v = std::hypot(ex, ey);
        const float texture = 1.0f + 0.12f * fbm(ex * 2.0f, ey * 3.0f, 51u, 4);
        const float light = (0.85f * gauss(v, 0.26f) + 0.35f * std::exp(-v / 0.32f)) * texture;
        const Rgb colour =
            ramp({hex(0xFFD9A0), hex(0xFF8A6A), hex(0xE0508A), hex(0x7A48C8)}, v / 0.85f);
        return colour * light * radialFade(v);
    });
    return field.toImage(18u, false);
}

/// Sharp inner edge and long outer falloff: light hugging the edge of a sphere.
float rimProfile(float d, float px) {
    if (d < 0.0f)
        return 0.8f * std::exp(d / (9.0f * px)) + 0.12f * std::exp(d / (40.0f * px));
    return 0.9f * std::exp(-d / (8.0f * px)) + 0.55f * std::exp(-d / (45.0f * px)) +
           0.22f * std::exp(-d / (150.0f * px));
}

QImage atmosphere() {
    constexpr float ring = 0.68f;
    const float px = 1.0f / half;
    LightField field(side, side);
    field.add([&](float x, float y) {
        const Polar p = polar(x, y);
        const float d = (p.u - ring) / px; // pixels, positive outside
        // Lit from the upper left: the far side keeps a faint glow.
        const float facing = 0.5f + 0.5f * std::cos(p.theta + 0.75f * pi);
        const float lit = 0.35f + 0.65f * std::pow(facing, 1.5f);
        const float line = d < 0.0f ? std::exp(d / 6.0f) : std::exp(-d / 5.0f);
        const float near = d < 0.0f ? std::exp(d / 18.0f) : std::exp(-d / 28.0f);
        const float far = d < 0.0f ? 0.0f : std::exp(-d / 110.0f);
        const Rgb light = hex(0xD8F2FF) * (1.1f * line) + hex(0x4A9AFF) * (0.6f * near) +
                          hex(0x2F5CFF) * (0.28f * far);
        return light * lit * radialFade(p.u);
    });
    return field.toImage(19u, false);
}

QImage rimLight() {
    constexpr int w = 2048;
    constexpr int h = 1024;
    const float radius = 1.55f * h;
    const float cx = w / 2.0f;
    const float cy = 2.0f * h;
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float dx = x - cx;
        const float dy = y - cy;
        const float d = (std::hypot(dx, dy) - radius) / half;
        const float angle = std::atan2(dx, -dy); // 0 at the top of the arc
        const float span = bump(std::abs(angle) / 0.72f);
        const float warm = clamp01(std::exp(-std::abs(d) / (14.0f / half)));
        const Rgb colour = mix(hex(0xFF7A30), hex(0xFFF0D0), warm);
        const float sparkle = 1.0f + 0.25f * loopNoise(angle, 40.0f, 61u, 2);
        return colour * (rimProfile(d, 1.0f / half) * span * sparkle) *
               edgeWindow(x, y, w, h, 90.0f);
    });
    return field.toImage(20u, false);
}

} // namespace

std::vector<Asset> glowAssets() {
    const QString c = QStringLiteral("Glows");
    return {
        {c, QStringLiteral("Atmosphere"), atmosphere},
        {c, QStringLiteral("Blue orb"), blueOrb},
        {c, QStringLiteral("Golden sun"), goldenSun},
        {c, QStringLiteral("Halo ring"), haloRing},
        {c, QStringLiteral("Ice halo"), iceHalo},
        {c, QStringLiteral("Moon glow"), moonGlow},
        {c, QStringLiteral("Noon sun"), noonSun},
        {c, QStringLiteral("Rim light"), rimLight},
        {c, QStringLiteral("Sunset sun"), sunsetSun},
        {c, QStringLiteral("Twilight haze"), twilightHaze},
    };
}

} // namespace layerart
