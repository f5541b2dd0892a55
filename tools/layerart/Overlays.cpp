// Overlays: light leaks, bokeh, dust, stars and sky phenomena, made for screen
// blending. Every piece fades out before the border so it can sit anywhere.

#include "Catalogue.h"
#include "LightShapes.h"

namespace layerart {

namespace {

/// Sharp-ish disc of defocused light with a slightly brighter rim.
Rgb bokehDisc(float dx, float dy, float radius, float softness) {
    const float r = std::hypot(dx, dy);
    const float d = r - radius;
    const float inside = 1.0f - smoothstep(-softness, softness, d);
    const float t = std::min(1.0f, r / radius);
    const float rim = std::exp(-((d + softness) * (d + softness)) /
                               (std::max(1.0f, 0.06f * radius) * std::max(1.0f, 0.06f * radius)));
    const float texture = 1.0f + 0.06f * noise(dx / (0.3f * radius), dy / (0.3f * radius), 7u);
    const float v = inside * (0.78f + 0.22f * t * t) * texture + 0.35f * rim * inside;
    return {v, v, v};
}

QImage bokeh(const std::vector<Rgb>& palette, std::uint32_t seed) {
    constexpr int w = 1536;
    constexpr int h = 1024;
    LightField field(w, h);
    Rng rng(seed);
    constexpr int count = 70;
    for (int i = 0; i < count; ++i) {
        // Crowd the middle, thin out towards the edges.
        float ex = 0.0f;
        float ey = 0.0f;
        do {
            ex = rng.normal() * 0.36f;
            ey = rng.normal() * 0.34f;
        } while (std::hypot(ex, ey) > 0.8f);
        const float radius = 12.0f * std::pow(8.0f, std::pow(rng.uniform(), 1.3f));
        const float cx = w / 2.0f + ex * w / 2.0f;
        const float cy = h / 2.0f + ey * h / 2.0f;
        // Large discs spread their light thinner.
        const float strength = rng.range(0.22f, 0.6f) * (1.0f - 0.45f * radius / 96.0f);
        const Rgb tint = palette[std::size_t(rng.below(int(palette.size())))];
        const float softness =
            1.0f + 0.025f * radius + (rng.uniform() < 0.3f ? 0.12f * radius : 0.0f);
        field.splat(cx, cy, radius + 3.0f * softness + 2.0f, [&](float dx, float dy) {
            return bokehDisc(dx, dy, radius, softness) * tint * strength;
        });
    }
    field.scale([&](float x, float y) {
        const float ex = (x - w / 2.0f) / (w / 2.0f);
        const float ey = (y - h / 2.0f) / (h / 2.0f);
        return 1.0f - smoothstep(0.75f, 0.99f, std::hypot(ex, ey));
    });
    return field.toImage(seed, false);
}

QImage bokehWarm() {
    return bokeh({hex(0xFFC15A), hex(0xFF8E3C), hex(0xFFD98E), hex(0xFF6A4A), hex(0xFFE6B8)}, 201u);
}

QImage bokehCool() {
    return bokeh({hex(0x5AA8FF), hex(0x4EE0E8), hex(0x9A7CFF), hex(0xCFE6FF), hex(0x3C7CFF)}, 202u);
}

/// Stray light fogging film from one side: a hot band near the edge and softer
/// lobes spilling inwards, outlines gently warped, coloured by intensity through
/// a saturated palette so the hottest parts run towards pale yellow.
QImage lightLeak(const std::vector<Rgb>& palette, bool fromLeft, std::uint32_t seed) {
    constexpr int w = 1536;
    constexpr int h = 1024;
    struct Lobe {
        float u, v, su, sv, angle, strength;
    };
    const std::vector<Lobe> lobes{{0.62f, 0.5f, 0.2f, 0.3f, 0.2f, 1.0f},
                                  {0.5f, 0.47f, 0.05f, 0.22f, 0.1f, 0.55f},
                                  {0.88f, 0.4f, 0.22f, 0.17f, -0.3f, 0.35f}};
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float u0 = (fromLeft ? x : float(w) - x) / float(h);
        const float v0 = y / float(h);
        const float u = u0 + 0.08f * fbm(u0 * 1.5f, v0 * 1.5f, seed, 3);
        const float v = v0 + 0.08f * fbm(u0 * 1.5f + 7.0f, v0 * 1.5f, seed + 1u, 3);
        float density = 0.0f;
        for (const Lobe& l : lobes) {
            const float c = std::cos(l.angle);
            const float s = std::sin(l.angle);
            const float a = ((u - l.u) * c + (v - l.v) * s) / l.su;
            const float b = (-(u - l.u) * s + (v - l.v) * c) / l.sv;
            density += l.strength * std::exp(-0.5f * (a * a + b * b));
        }
        density *= 0.85f + 0.3f * fbm(u * 3.0f, v * 3.0f, seed + 2u, 4);
        // A rounded envelope, so the patch never shows the frame's straight edges.
        const float ex = (x - w / 2.0f) / (w / 2.0f);
        const float ey = (y - h / 2.0f) / (h / 2.0f);
        density *= 1.0f - smoothstep(0.55f, 1.0f, std::hypot(ex, ey));
        const float t = 1.0f - std::exp(-1.25f * density);
        return ramp(palette, t) * std::pow(t, 0.45f) * edgeWindow(x, y, w, h, 0.12f * h);
    });
    return field.toImage(seed, false);
}

QImage lightLeakAmber() {
    return lightLeak(
        {hex(0x8C0600), hex(0xF02A04), hex(0xFF6A0C), hex(0xFFA426), hex(0xFFD870), hex(0xFFF4D6)},
        true, 203u);
}

QImage lightLeakRose() {
    return lightLeak(
        {hex(0x700058), hex(0xD40C72), hex(0xFF3274), hex(0xFF6E80), hex(0xFFB49C), hex(0xFFEEE2)},
        false, 204u);
}

QImage dust() {
    constexpr int side = 1024;
    LightField field(side, side);
    Rng rng(205u);
    const Rgb speck = hex(0xFFF8EE);
    for (int i = 0; i < 900; ++i) {
        const float x = rng.range(20.0f, side - 20.0f);
        const float y = rng.range(20.0f, side - 20.0f);
        const float size = 0.45f + 1.6f * std::pow(rng.uniform(), 3.0f);
        addStar(field, x, y, rng.range(0.9f, 3.0f) * size * size * 3.0f, size, speck);
    }
    // Irregular grains: a few overlapping specks each.
    for (int i = 0; i < 40; ++i) {
        const float x = rng.range(40.0f, side - 40.0f);
        const float y = rng.range(40.0f, side - 40.0f);
        for (int k = 0; k < 5; ++k)
            addStar(field, x + rng.normal() * 1.8f, y + rng.normal() * 1.8f, rng.range(2.0f, 5.0f),
                    rng.range(0.8f, 1.5f), speck);
    }
    // Hairs and fibres: smooth random walks.
    for (int i = 0; i < 14; ++i) {
        float x = rng.range(80.0f, side - 80.0f);
        float y = rng.range(80.0f, side - 80.0f);
        float heading = rng.range(0.0f, 2.0f * pi);
        const float turn = rng.range(-0.02f, 0.02f);
        const int steps = int(rng.range(80.0f, 360.0f));
        const float strength = rng.range(0.25f, 0.6f);
        for (int s = 0; s < steps; ++s) {
            heading += turn + 0.05f * noise(float(s) / 30.0f, float(i), 206u);
            x += 0.5f * std::cos(heading);
            y += 0.5f * std::sin(heading);
            const float taper = std::sin(pi * float(s) / float(steps));
            addStar(field, x, y, strength * taper, 0.6f, speck);
        }
    }
    // Long faint scratches, nearly vertical.
    for (int i = 0; i < 4; ++i) {
        const float x0 = rng.range(120.0f, side - 120.0f);
        const float y0 = rng.range(60.0f, 300.0f);
        const float length = rng.range(300.0f, 650.0f);
        const float slope = rng.range(-0.04f, 0.04f);
        for (float t = 0.0f; t < length; t += 0.5f) {
            const float flicker = clamp01(0.6f + 0.8f * noise(t / 25.0f, float(i), 207u));
            addStar(field, x0 + slope * t, y0 + t, 0.22f * flicker * std::sin(pi * t / length),
                    0.55f, speck);
        }
    }
    field.scale([&](float x, float y) { return edgeWindow(x, y, side, side, 60.0f); });
    return field.toImage(205u, false);
}

/// A four-point twinkle with a soft core.
void addTwinkle(LightField& field, float x, float y, float size, float strength, Rgb colour,
                float rotation) {
    Spikes spikes;
    spikes.count = 4;
    spikes.rotation = rotation;
    spikes.length = size;
    spikes.width = 0.8f;
    spikes.spread = 0.01f;
    spikes.intensity = strength;
    spikes.colour = colour;
    field.splat(x, y, size * 5.0f, [&](float dx, float dy) {
        const float r = std::hypot(dx, dy);
        return spikeLight(spikes, dx, dy) * (1.0f - smoothstep(3.0f * size, 5.0f * size, r)) +
               colour * (strength * 0.8f * gauss(r, 0.12f * size + 0.8f) +
                         strength * 0.15f * std::exp(-r / (0.5f * size)));
    });
}

QImage glitter() {
    constexpr int side = 1024;
    LightField field(side, side);
    Rng rng(208u);
    const std::vector<Rgb> colours{hex(0xFFFFFF), hex(0xFFE2A0), hex(0xFFD0E8), hex(0xD8ECFF),
                                   hex(0xFFF4D0)};
    auto place = [&](float spread) {
        float ex = 0.0f;
        float ey = 0.0f;
        do {
            ex = rng.normal() * spread;
            ey = rng.normal() * spread;
        } while (std::hypot(ex, ey) > 0.78f);
        return std::pair{side / 2.0f + ex * side / 2.0f, side / 2.0f + ey * side / 2.0f};
    };
    for (int i = 0; i < 300; ++i) {
        const auto [x, y] = place(0.38f);
        const Rgb c = colours[std::size_t(rng.below(int(colours.size())))];
        addStar(field, x, y, rng.range(1.0f, 4.0f), rng.range(0.6f, 1.1f), c);
    }
    for (int i = 0; i < 70; ++i) {
        const auto [x, y] = place(0.34f);
        const float size = 6.0f * std::pow(8.0f, std::pow(rng.uniform(), 2.2f));
        const Rgb c = colours[std::size_t(rng.below(int(colours.size())))];
        addTwinkle(field, x, y, size, rng.range(0.6f, 1.2f), c, rng.range(-0.15f, 0.15f));
    }
    field.scale([&](float x, float y) {
        return 1.0f - smoothstep(0.8f, 0.99f,
                                 std::hypot(x - side / 2.0f, y - side / 2.0f) / (side / 2.0f));
    });
    return field.toImage(208u, false);
}

/// Stars with a realistic spread of brightness and colour temperature.
void scatterStars(LightField& field, Rng& rng, int count,
                  const std::function<float(float, float)>& density, float brightness,
                  bool twinkle) {
    int placed = 0;
    while (placed < count) {
        const float x = rng.range(0.0f, float(field.width()));
        const float y = rng.range(0.0f, float(field.height()));
        if (rng.uniform() > density(x, y))
            continue;
        ++placed;
        const float b = std::pow(rng.uniform(), 4.0f);
        const float kelvin = 3200.0f + 9000.0f * std::pow(rng.uniform(), 0.8f);
        const Rgb colour = mix(Rgb{1.0f, 1.0f, 1.0f}, blackbody(kelvin), 0.7f);
        const float sigma = 0.55f + 0.9f * b;
        addStar(field, x, y, brightness * (0.5f + 9.0f * b), sigma, colour);
        if (twinkle && b > 0.85f) {
            // Only the very brightest get a soft glow and a hint of twinkle.
            addTwinkle(field, x, y, 4.0f + 10.0f * b, 0.3f * b, colour, 0.0f);
        }
    }
}

QImage starfield() {
    constexpr int side = 1024;
    LightField field(side, side);
    Rng rng(209u);
    scatterStars(
        field, rng, 1400, [](float, float) { return 1.0f; }, 1.0f, true);
    field.scale([&](float x, float y) { return edgeWindow(x, y, side, side, 90.0f); });
    return field.toImage(209u, false);
}

QImage milkyWay() {
    constexpr int w = 2048;
    constexpr int h = 1024;
    const float angle = -0.42f;
    const float ca = std::cos(angle);
    const float sa = std::sin(angle);
    auto bandCoords = [&](float x, float y) {
        const float dx = x - w / 2.0f;
        const float dy = y - h / 2.0f;
        const float along = dx * ca + dy * sa;
        const float across = -dx * sa + dy * ca + 40.0f * std::sin(along / 500.0f);
        return std::pair{along, across};
    };
    LightField field(w, h);
    field.add([&](float x, float y) {
        const auto [along, across] = bandCoords(x, y);
        const float width = 190.0f * (1.0f + 0.3f * fbm(along / 450.0f, 3.0f, 210u, 3));
        // Brighter and wider towards one end, where the galactic centre would be.
        const float bulge = 0.6f + 0.4f * smoothstep(-700.0f, 500.0f, along);
        const float core = gauss(across, width * 0.42f * (0.8f + 0.4f * bulge));
        const float glow = gauss(across, width * 1.1f);
        const float clouds =
            std::pow(clamp01(0.5f + 0.6f * fbm(along / 140.0f, across / 80.0f, 211u, 6)), 1.4f);
        const float grain = 0.85f + 0.3f * fbm(along / 9.0f, across / 9.0f, 215u, 2);
        // Dark lanes of dust, stretched along the band and hugging its middle.
        const float lanes =
            smoothstep(0.0f, 0.35f, fbm(along / 300.0f, (across + 20.0f) / 38.0f, 212u, 5)) *
            gauss(across + 15.0f, width * 0.4f);
        const float knots =
            smoothstep(0.3f, 0.7f, fbm(along / 80.0f, across / 60.0f, 213u, 4)) * core;
        const float fade = 1.0f - smoothstep(0.5f * w, 0.8f * w, std::abs(along) * 2.0f);
        const Rgb warm = mix(hex(0xFFE9D2), hex(0xFFC890), bulge - 0.6f);
        Rgb light = (warm * (0.5f * core * bulge * grain) + hex(0x7E9CFF) * (0.16f * glow)) *
                    (0.35f + 0.9f * clouds);
        light = light * (1.0f - 0.65f * lanes) + hex(0xFF5A86) * (0.1f * knots);
        return light * fade;
    });
    Rng rng(214u);
    scatterStars(
        field, rng, 7000,
        [&](float x, float y) {
            const auto [along, across] = bandCoords(x, y);
            return 0.12f + 0.88f * gauss(across, 200.0f);
        },
        0.6f, false);
    field.scale([&](float x, float y) { return edgeWindow(x, y, w, h, 120.0f); });
    return field.toImage(210u, false);
}

QImage rainbow() {
    constexpr int w = 2048;
    constexpr int h = 1024;
    const float cx = w / 2.0f;
    const float cy = 1.1f * h;
    const float primary = 0.74f * h;
    const float secondary = primary * 1.27f;
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float r = std::hypot(x - cx, y - cy);
        // Red outside on the primary bow; the fainter secondary is reversed.
        const Rgb bow1 =
            spectralRing(r, 5.5f, [&](float t) { return primary * (1.0f - 0.05f * t); });
        const Rgb bow2 =
            spectralRing(r, 10.0f, [&](float t) { return secondary * (1.0f + 0.065f * t); });
        const float inside = r < primary ? std::exp((r - primary) / (0.1f * primary)) : 0.0f;
        const Rgb linear = bow1 * 0.42f + bow2 * 0.12f;
        // Bows dissolve towards the ground and at the top of the frame.
        const float ground = 1.0f - smoothstep(0.45f * h, 0.95f * h, y);
        return (toEncoded(linear) + hex(0xF4F6FF) * (0.08f * inside)) * ground *
               edgeWindow(x, y, w, h, 80.0f);
    });
    return field.toImage(215u, false);
}

QImage snowfall() {
    constexpr int side = 1024;
    LightField field(side, side);
    Rng rng(216u);
    const Rgb flake = hex(0xF2F7FF);
    for (int i = 0; i < 420; ++i) {
        const float depth = std::pow(rng.uniform(), 1.5f); // 0 near, 1 far
        const float x = rng.range(30.0f, side - 30.0f);
        const float y = rng.range(30.0f, side - 30.0f);
        if (depth < 0.12f) {
            // Close flakes: big, out of focus, faint.
            const float radius = rng.range(10.0f, 26.0f);
            const float strength = rng.range(0.15f, 0.32f);
            field.splat(x, y, radius * 1.6f, [&](float dx, float dy) {
                return bokehDisc(dx, dy, radius, 0.3f * radius) * flake * strength;
            });
        } else {
            const float size = 0.7f + 2.8f * (1.0f - depth) * (1.0f - depth);
            addStar(field, x, y, rng.range(0.8f, 1.6f) * size * size * 4.0f, size, flake);
        }
    }
    field.scale([&](float x, float y) { return edgeWindow(x, y, side, side, 90.0f); });
    return field.toImage(216u, false);
}

QImage sunRays() {
    constexpr int w = 1536;
    constexpr int h = 1024;
    const float sx = w / 2.0f;
    const float sy = 0.12f * h;
    LightField field(w, h);
    field.add([&](float x, float y) {
        const float dx = x - sx;
        const float dy = y - sy;
        const float r = std::hypot(dx, dy);
        const float theta = std::atan2(dx, dy); // 0 straight down
        const float beams = clamp01(0.45f + 0.6f * noise(theta * 9.0f, 0.5f, 217u) +
                                    0.3f * noise(theta * 26.0f, 4.5f, 218u) +
                                    0.15f * noise(theta * 70.0f, 8.5f, 219u));
        const float rays = 0.12f + 0.88f * std::pow(beams, 1.7f);
        const float cone = 1.0f - smoothstep(0.45f, 0.95f, std::abs(theta));
        const float along = (1.0f - std::exp(-r / 50.0f)) * std::exp(-r / (0.75f * h)) *
                            (1.0f - smoothstep(0.35f * h, 0.86f * h, r));
        const Rgb colour = mix(hex(0xFFF2D2), hex(0xFFB860), smoothstep(0.0f, 0.7f * h, r));
        const Rgb source = hex(0xFFF6E0) * (1.3f * gauss(r, 24.0f) + 0.45f * std::exp(-r / 60.0f));
        return (colour * (0.7f * rays * cone * along) + source) * edgeWindow(x, y, w, h, 0.1f * h);
    });
    return field.toImage(219u, false);
}

QImage aurora() {
    constexpr int w = 2048;
    constexpr int h = 1024;
    LightField field(w, h);
    struct Curtain {
        float base, amplitude, cycles, phase, height, strength;
        std::uint32_t seed;
    };
    const std::vector<Curtain> curtains{{0.68f, 70.0f, 1.3f, 0.4f, 200.0f, 1.0f, 220u},
                                        {0.5f, 55.0f, 2.1f, 2.1f, 150.0f, 0.5f, 221u}};
    field.add([&](float x, float y) {
        Rgb light;
        for (const Curtain& c : curtains) {
            const float fold = x + 80.0f * fbm(x / 400.0f, 0.0f, c.seed, 3);
            const float bottom = c.base * h +
                                 c.amplitude * std::sin(fold / w * 2.0f * pi * c.cycles + c.phase) +
                                 25.0f * fbm(x / 150.0f, 1.0f, c.seed + 1u, 3);
            const float above = bottom - y; // height above the lower edge
            const float height =
                c.height * (0.7f + 0.6f * clamp01(0.5f + fbm(x / 300.0f, 2.0f, c.seed + 4u, 2)));
            const float vertical = above < 0.0f ? std::exp(-(above * above) / (16.0f * 16.0f))
                                                : std::exp(-above / height);
            // Fine rays along the field lines, and brightness that comes and goes
            // along the curtain instead of one even band.
            const float rays =
                0.35f + 0.65f * std::pow(clamp01(0.5f + 0.7f * fbm(fold / 11.0f, y / 1200.0f,
                                                                   c.seed + 2u, 3)),
                                         1.3f);
            const float pulse =
                0.25f + 0.75f * smoothstep(-0.5f, 0.5f, fbm(fold / 300.0f, 5.0f, c.seed + 5u, 3));
            const float high = smoothstep(0.3f * height, 1.8f * height, above);
            const Rgb colour = mix(hex(0x38FF88), hex(0xA050FF), high) +
                               hex(0xFF4AA0) * (0.35f * gauss(above + 8.0f, 7.0f));
            light += colour * (c.strength * 0.8f * vertical * rays * pulse);
        }
        const float ends = 1.0f - smoothstep(0.32f * w, 0.5f * w, std::abs(x - w / 2.0f));
        return light * ends * edgeWindow(x, y, w, h, 0.15f * h);
    });
    return field.toImage(222u, false);
}

} // namespace

std::vector<Asset> overlayAssets() {
    const QString c = QStringLiteral("Overlays");
    return {
        {c, QStringLiteral("Aurora"), aurora},
        {c, QStringLiteral("Bokeh cool"), bokehCool},
        {c, QStringLiteral("Bokeh warm"), bokehWarm},
        {c, QStringLiteral("Dust"), dust},
        {c, QStringLiteral("Glitter"), glitter},
        {c, QStringLiteral("Light leak amber"), lightLeakAmber},
        {c, QStringLiteral("Light leak rose"), lightLeakRose},
        {c, QStringLiteral("Milky way"), milkyWay},
        {c, QStringLiteral("Rainbow"), rainbow},
        {c, QStringLiteral("Snowfall"), snowfall},
        {c, QStringLiteral("Starfield"), starfield},
        {c, QStringLiteral("Sun rays"), sunRays},
    };
}

} // namespace layerart
