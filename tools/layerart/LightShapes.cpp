#include "LightShapes.h"

#include <array>

namespace layerart {

float edgeWindow(float x, float y, int width, int height, float margin) {
    const float dx = std::min(x, float(width) - x);
    const float dy = std::min(y, float(height) - y);
    return smoothstep(0.0f, margin, dx) * smoothstep(0.0f, margin, dy);
}

void addStar(LightField& field, float x, float y, float energy, float sigma, Rgb colour) {
    const int reach = int(std::ceil(3.0f * sigma)) + 1;
    const int cx = int(std::floor(x));
    const int cy = int(std::floor(y));
    constexpr int maxSide = 64;
    const int side = std::min(2 * reach + 1, maxSide);
    std::array<float, maxSide * maxSide> weights{};
    float sum = 0.0f;
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            const float dx = float(cx - reach + i) + 0.5f - x;
            const float dy = float(cy - reach + j) + 0.5f - y;
            const float w = std::exp(-0.5f * (dx * dx + dy * dy) / (sigma * sigma));
            weights[std::size_t(j * side + i)] = w;
            sum += w;
        }
    }
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            const int px = cx - reach + i;
            const int py = cy - reach + j;
            if (px < 0 || py < 0 || px >= field.width() || py >= field.height())
                continue;
            field.at(px, py) += colour * (energy * weights[std::size_t(j * side + i)] / sum);
        }
    }
}

float polygonDistance(float dx, float dy, float radius, int sides, float rotation,
                      float roundness) {
    const float r = std::hypot(dx, dy);
    if (sides < 3)
        return r - radius;
    const float sector = 2.0f * pi / float(sides);
    float a = std::atan2(dy, dx) - rotation;
    a -= sector * std::floor(a / sector + 0.5f);
    const float apothem = radius * std::cos(pi / float(sides));
    const float flat = r * std::cos(a) - apothem;
    const float round = r - 0.5f * (apothem + radius);
    return mixf(flat, round, roundness);
}

void addGhost(LightField& field, const Ghost& g) {
    const float rimWidth = std::max(1.5f, 0.035f * g.radius);
    const float reach = g.radius * (1.0f + g.fringe) + 4.0f * (g.softness + rimWidth);
    const std::array<float, 3> scale{1.0f + g.fringe, 1.0f, 1.0f - g.fringe};
    field.splat(g.x, g.y, reach, [&](float dx, float dy) {
        std::array<float, 3> light{};
        for (std::size_t c = 0; c < 3; ++c) {
            const float radius = g.radius * scale[c];
            const float d = polygonDistance(dx, dy, radius, g.sides, g.rotation, 0.18f);
            const float inside = 1.0f - smoothstep(-g.softness, g.softness, d);
            const float r = std::min(1.0f, std::hypot(dx, dy) / radius);
            // Brighter towards the edge, as real ghosts are.
            const float body = inside * (0.65f + 0.35f * r * r * r);
            const float edge = d + g.softness;
            const float rim = std::exp(-(edge * edge) / (rimWidth * rimWidth)) * inside;
            light[c] = g.fill * body + g.rim * rim;
        }
        return Rgb{light[0], light[1], light[2]} * g.tint;
    });
}

Rgb spectralRing(float distance, float sigma, const std::function<float(float)>& radius) {
    constexpr int bands = 24;
    static const Rgb white = [] {
        Rgb sum;
        for (int i = 0; i < bands; ++i)
            sum += spectrum((float(i) + 0.5f) / float(bands));
        return sum;
    }();
    Rgb sum;
    for (int i = 0; i < bands; ++i) {
        const float t = (float(i) + 0.5f) / float(bands);
        const float w = gauss(distance - radius(t), sigma);
        if (w > 1e-4f)
            sum += spectrum(t) * w;
    }
    // Balanced so that fully overlapping bands add up to neutral white.
    return {sum.r / white.r, sum.g / white.g, sum.b / white.b};
}

Rgb spikeLight(const Spikes& s, float dx, float dy) {
    const float r = std::hypot(dx, dy);
    if (r < 1e-3f)
        return s.colour * s.intensity;
    const float theta = std::atan2(dy, dx);
    const std::array<float, 3> channelWidth{1.15f, 1.0f, 0.87f};
    Rgb sum;
    for (int k = 0; k < s.count; ++k) {
        const float angle = s.rotation + float(k) * 2.0f * pi / float(s.count);
        float delta = theta - angle;
        delta -= 2.0f * pi * std::floor(delta / (2.0f * pi) + 0.5f);
        if (std::abs(delta) > 0.5f * pi)
            continue;
        float length = s.length;
        if (s.jitter > 0.0f) {
            Rng rng(s.seed * 7919u + std::uint64_t(k));
            length *= 1.0f + s.jitter * (rng.uniform() * 2.0f - 1.0f);
        }
        const float across = r * std::sin(std::abs(delta));
        const float width = s.width + s.spread * r;
        // Narrow spikes carry the same energy as wide ones: dimmer as they open.
        const float strength = s.intensity * std::exp(-r / length) * (s.width / width);
        std::array<float, 3> c{};
        for (std::size_t i = 0; i < 3; ++i) {
            const float w = width * channelWidth[i];
            c[i] = strength * std::exp(-(across * across) / (w * w));
        }
        sum += Rgb{c[0], c[1], c[2]} * s.colour;
    }
    return sum;
}

} // namespace layerart
