#include "ArtKit.h"

#include <QImageWriter>
#include <QRgba64>

#include <array>

namespace layerart {

Rgb ramp(const std::vector<Rgb>& stops, float t) {
    if (stops.size() == 1)
        return stops.front();
    const float position = clamp01(t) * float(stops.size() - 1);
    const std::size_t i = std::min(std::size_t(position), stops.size() - 2);
    return mix(stops[i], stops[i + 1], smoothstep(0.0f, 1.0f, position - float(i)));
}

namespace {

float toLinear1(float v) {
    return v <= 0.04045f ? v / 12.92f : std::pow((v + 0.055f) / 1.055f, 2.4f);
}
float toEncoded1(float v) {
    v = std::max(v, 0.0f);
    return v <= 0.0031308f ? v * 12.92f : 1.055f * std::pow(v, 1.0f / 2.4f) - 0.055f;
}

/// Piecewise Gaussian used by the analytic fit of the CIE 1931 observer.
float lobe(float x, float mu, float below, float above) {
    const float s = x < mu ? below : above;
    const float t = (x - mu) / s;
    return std::exp(-0.5f * t * t);
}

} // namespace

Rgb toLinear(Rgb c) {
    return {toLinear1(c.r), toLinear1(c.g), toLinear1(c.b)};
}
Rgb toEncoded(Rgb c) {
    return {toEncoded1(c.r), toEncoded1(c.g), toEncoded1(c.b)};
}

Rgb spectrum(float t) {
    const float nm = 680.0f - 270.0f * clamp01(t);
    const float x = 1.056f * lobe(nm, 599.8f, 37.9f, 31.0f) +
                    0.362f * lobe(nm, 442.0f, 16.0f, 26.7f) -
                    0.065f * lobe(nm, 501.1f, 20.4f, 26.2f);
    const float y =
        0.821f * lobe(nm, 568.8f, 46.9f, 40.5f) + 0.286f * lobe(nm, 530.9f, 16.3f, 31.1f);
    const float z =
        1.217f * lobe(nm, 437.0f, 11.8f, 36.0f) + 0.681f * lobe(nm, 459.0f, 26.0f, 13.8f);
    Rgb c{3.2406f * x - 1.5372f * y - 0.4986f * z, -0.9689f * x + 1.8758f * y + 0.0415f * z,
          0.0557f * x - 0.2040f * y + 1.0570f * z};
    const float low = std::min({c.r, c.g, c.b});
    if (low < 0.0f)
        c = c - Rgb{low, low, low};
    return c;
}

Rgb blackbody(float kelvin) {
    // Fit of the Planckian locus in sRGB, good from 1000 K to 40000 K.
    const float t = kelvin / 100.0f;
    float r = 255.0f;
    float g = 0.0f;
    float b = 255.0f;
    if (t > 66.0f) {
        r = 329.698727f * std::pow(t - 60.0f, -0.1332047592f);
        g = 288.1221695f * std::pow(t - 60.0f, -0.0755148492f);
    } else {
        g = 99.4708025861f * std::log(t) - 161.1195681661f;
    }
    if (t < 66.0f)
        b = t <= 19.0f ? 0.0f : 138.5177312231f * std::log(t - 10.0f) - 305.0447927307f;
    Rgb c{std::clamp(r, 0.0f, 255.0f), std::clamp(g, 0.0f, 255.0f), std::clamp(b, 0.0f, 255.0f)};
    return c * (1.0f / c.max());
}

std::uint64_t Rng::next() {
    std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

float Rng::normal() {
    float sum = 0.0f;
    for (int i = 0; i < 6; ++i)
        sum += uniform();
    return (sum - 3.0f) * std::sqrt(2.0f);
}

namespace {

std::uint32_t hash(std::int32_t x, std::int32_t y, std::uint32_t seed) {
    std::uint32_t h =
        seed * 0x9E3779B9u ^ std::uint32_t(x) * 0x85EBCA6Bu ^ std::uint32_t(y) * 0xC2B2AE35u;
    h ^= h >> 16;
    h *= 0x7FEB352Du;
    h ^= h >> 15;
    h *= 0x846CA68Bu;
    h ^= h >> 16;
    return h;
}

// Sixteen evenly spread gradient directions: no axis bias worth seeing.
const std::array<std::array<float, 2>, 16>& gradients() {
    static const auto table = [] {
        std::array<std::array<float, 2>, 16> g{};
        for (int i = 0; i < 16; ++i) {
            const float a = (float(i) + 0.5f) * (2.0f * pi / 16.0f);
            g[std::size_t(i)] = {std::cos(a), std::sin(a)};
        }
        return g;
    }();
    return table;
}

float fade(float t) {
    return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f);
}

} // namespace

float noise(float x, float y, std::uint32_t seed) {
    const float fx = std::floor(x);
    const float fy = std::floor(y);
    const auto ix = std::int32_t(fx);
    const auto iy = std::int32_t(fy);
    const float tx = x - fx;
    const float ty = y - fy;
    const auto& g = gradients();
    auto corner = [&](int cx, int cy) {
        const auto& d = g[hash(ix + cx, iy + cy, seed) & 15u];
        return d[0] * (tx - float(cx)) + d[1] * (ty - float(cy));
    };
    const float u = fade(tx);
    const float v = fade(ty);
    const float top = mixf(corner(0, 0), corner(1, 0), u);
    const float bottom = mixf(corner(0, 1), corner(1, 1), u);
    return 1.41f * mixf(top, bottom, v);
}

float fbm(float x, float y, std::uint32_t seed, int octaves, float gain) {
    float sum = 0.0f;
    float amplitude = 1.0f;
    float total = 0.0f;
    for (int i = 0; i < octaves; ++i) {
        sum += amplitude * noise(x, y, seed + std::uint32_t(i) * 1013u);
        total += amplitude;
        amplitude *= gain;
        // Rotate as well as scale so octaves do not line up on the grid.
        const float nx = 1.6f * x + 1.2f * y;
        const float ny = -1.2f * x + 1.6f * y;
        x = nx;
        y = ny;
    }
    return sum / total;
}

float loopNoise(float angle, float cycles, std::uint32_t seed, int octaves) {
    const float radius = cycles / (2.0f * pi);
    return fbm(radius * std::cos(angle) + 31.7f, radius * std::sin(angle) - 12.3f, seed, octaves);
}

LightField::LightField(int width, int height)
    : m_width(width)
    , m_height(height)
    , m_pixels(std::size_t(width) * std::size_t(height)) {}

void LightField::add(const std::function<Rgb(float, float)>& fn) {
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x)
            at(x, y) += fn(float(x) + 0.5f, float(y) + 0.5f);
    }
}

void LightField::splat(float cx, float cy, float radius,
                       const std::function<Rgb(float, float)>& fn) {
    const int x0 = std::max(0, int(std::floor(cx - radius)));
    const int x1 = std::min(m_width - 1, int(std::ceil(cx + radius)));
    const int y0 = std::max(0, int(std::floor(cy - radius)));
    const int y1 = std::min(m_height - 1, int(std::ceil(cy + radius)));
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x)
            at(x, y) += fn(float(x) + 0.5f - cx, float(y) + 0.5f - cy);
    }
}

void LightField::scale(const std::function<float(float, float)>& fn) {
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x)
            at(x, y) = at(x, y) * fn(float(x) + 0.5f, float(y) + 0.5f);
    }
}

namespace {

/// Identity up to the knee, then an exponential roll-off that never reaches 1: hot
/// cores burn to white smoothly instead of clipping into flat plateaus.
float shoulder(float v) {
    constexpr float knee = 0.72f;
    if (v <= knee)
        return std::max(v, 0.0f);
    return knee + (1.0f - knee) * (1.0f - std::exp(-(v - knee) / (1.0f - knee)));
}

/// Gives fully transparent pixels the average colour of visible neighbours, growing
/// outwards for `passes` rings; whatever is left takes the mean visible colour.
void bleed(std::vector<Rgb>& colour, std::vector<float>& alpha, int width, int height, int passes) {
    std::vector<std::uint8_t> known(alpha.size());
    Rgb mean;
    double count = 0.0;
    for (std::size_t i = 0; i < alpha.size(); ++i) {
        known[i] = alpha[i] > 0.0f;
        if (known[i]) {
            mean += colour[i];
            count += 1.0;
        }
    }
    if (count > 0.0)
        mean = mean * float(1.0 / count);
    std::vector<std::size_t> grown;
    for (int pass = 0; pass < passes; ++pass) {
        grown.clear();
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const std::size_t i = std::size_t(y) * std::size_t(width) + std::size_t(x);
                if (known[i])
                    continue;
                Rgb sum;
                int n = 0;
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int nx = x + dx;
                        const int ny = y + dy;
                        if (nx < 0 || ny < 0 || nx >= width || ny >= height)
                            continue;
                        const std::size_t j =
                            std::size_t(ny) * std::size_t(width) + std::size_t(nx);
                        if (known[j] == 1) {
                            sum += colour[j];
                            ++n;
                        }
                    }
                }
                if (n > 0) {
                    colour[i] = sum * (1.0f / float(n));
                    grown.push_back(i);
                }
            }
        }
        if (grown.empty())
            break;
        for (std::size_t i : grown)
            known[i] = 1;
    }
    for (std::size_t i = 0; i < known.size(); ++i) {
        if (!known[i])
            colour[i] = mean;
    }
}

float triangular(Rng& rng) {
    return rng.uniform() - rng.uniform();
}
} // namespace

QImage LightField::toImage(std::uint32_t seed, bool deep) const {
    const float top = deep ? 65535.0f : 255.0f;
    const std::size_t n = m_pixels.size();
    std::vector<Rgb> straight(n);
    std::vector<float> alpha(n);
    Rng rng(seed);
    for (std::size_t i = 0; i < n; ++i) {
        const Rgb& light = m_pixels[i];
        const Rgb q{shoulder(light.r), shoulder(light.g), shoulder(light.b)};
        const float peak = q.max();
        // Light under a third of a step is invisible; dithering it would only
        // sprinkle noise over empty areas and bloat the file.
        if (peak * top < (deep ? 0.0f : 0.35f))
            continue;
        // Hue is smooth and stored exactly; only alpha carries the dither, which
        // keeps 8-bit gradients free of bands and the file small.
        const float d = deep ? 0.0f : rng.uniform() - 0.5f;
        alpha[i] = std::clamp(std::round(peak * top + d), 0.0f, top);
        if (alpha[i] > 0.0f)
            straight[i] = q * (top / peak);
    }
    bleed(straight, alpha, m_width, m_height, 6);

    QImage image(m_width, m_height, deep ? QImage::Format_RGBA64 : QImage::Format_ARGB32);
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            const std::size_t i = std::size_t(y) * std::size_t(m_width) + std::size_t(x);
            const Rgb c = straight[i];
            auto channel = [&](float v) { return std::clamp(std::round(v), 0.0f, top); };
            if (deep) {
                reinterpret_cast<QRgba64*>(image.scanLine(y))[x] =
                    QRgba64::fromRgba64(quint16(channel(c.r)), quint16(channel(c.g)),
                                        quint16(channel(c.b)), quint16(alpha[i]));
            } else {
                reinterpret_cast<QRgb*>(image.scanLine(y))[x] =
                    qRgba(int(channel(c.r)), int(channel(c.g)), int(channel(c.b)), int(alpha[i]));
            }
        }
    }
    return image;
}

QImage newCanvas(int width, int height) {
    QImage canvas(width, height, QImage::Format_RGBA64_Premultiplied);
    canvas.fill(Qt::transparent);
    return canvas;
}

QImage sampleSticker(int width, int height, int grid, const std::function<Rgba(float, float)>& fn) {
    QImage canvas = newCanvas(width, height);
    const float step = 1.0f / float(grid);
    const float weight = 1.0f / float(grid * grid);
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgba64*>(canvas.scanLine(y));
        for (int x = 0; x < width; ++x) {
            Rgb colour;
            float alpha = 0.0f;
            for (int sy = 0; sy < grid; ++sy) {
                for (int sx = 0; sx < grid; ++sx) {
                    const Rgba s = fn(float(x) + (float(sx) + 0.5f) * step,
                                      float(y) + (float(sy) + 0.5f) * step);
                    colour += s.c * s.a;
                    alpha += s.a;
                }
            }
            colour = colour * weight;
            alpha = clamp01(alpha * weight);
            auto q = [](float v) { return quint16(std::round(clamp01(v) * 65535.0f)); };
            line[x] =
                QRgba64::fromRgba64(q(std::min(colour.r, alpha)), q(std::min(colour.g, alpha)),
                                    q(std::min(colour.b, alpha)), q(alpha));
        }
    }
    return canvas;
}

void shadeCanvas(QImage& canvas, const std::function<Rgb(Rgb, float, float)>& fn) {
    for (int y = 0; y < canvas.height(); ++y) {
        auto* line = reinterpret_cast<QRgba64*>(canvas.scanLine(y));
        for (int x = 0; x < canvas.width(); ++x) {
            const QRgba64 p = line[x];
            if (p.alpha() == 0)
                continue;
            const float a = float(p.alpha()) / 65535.0f;
            const Rgb straight{float(p.red()) / 65535.0f / a, float(p.green()) / 65535.0f / a,
                               float(p.blue()) / 65535.0f / a};
            const Rgb shaded = fn(straight, float(x) + 0.5f, float(y) + 0.5f);
            auto q = [a](float v) { return quint16(std::round(clamp01(v) * a * 65535.0f)); };
            line[x] = QRgba64::fromRgba64(q(shaded.r), q(shaded.g), q(shaded.b), p.alpha());
        }
    }
}

QImage finishSticker(const QImage& canvas, std::uint32_t seed) {
    const QImage source = canvas.convertToFormat(QImage::Format_RGBA64_Premultiplied);
    const int w = source.width();
    const int h = source.height();
    std::vector<Rgb> straight(std::size_t(w) * std::size_t(h));
    std::vector<float> alpha(straight.size());
    for (int y = 0; y < h; ++y) {
        const auto* line = reinterpret_cast<const QRgba64*>(source.constScanLine(y));
        for (int x = 0; x < w; ++x) {
            const std::size_t i = std::size_t(y) * std::size_t(w) + std::size_t(x);
            const QRgba64 p = line[x];
            alpha[i] = std::round(float(p.alpha()) / 257.0f);
            if (alpha[i] > 0.0f) {
                const float a = float(p.alpha());
                straight[i] = Rgb{float(p.red()) / a, float(p.green()) / a, float(p.blue()) / a};
            }
        }
    }
    bleed(straight, alpha, w, h, 4);
    Rng rng(seed);
    QImage out(w, h, QImage::Format_ARGB32);
    for (int y = 0; y < h; ++y) {
        auto* line = reinterpret_cast<QRgb*>(out.scanLine(y));
        for (int x = 0; x < w; ++x) {
            const std::size_t i = std::size_t(y) * std::size_t(w) + std::size_t(x);
            auto q = [&](float v) {
                const float d = alpha[i] > 0.0f ? triangular(rng) : 0.0f;
                return int(std::clamp(std::round(v * 255.0f + d), 0.0f, 255.0f));
            };
            const Rgb c = straight[i];
            const int r = q(c.r);
            const int g = q(c.g);
            const int b = q(c.b);
            line[x] = qRgba(r, g, b, int(alpha[i]));
        }
    }
    return out;
}

bool savePng(const QImage& image, const QString& path) {
    QImageWriter writer(path, "png");
    writer.setQuality(0); // the PNG writer maps quality 0 to zlib level 9
    return writer.write(image);
}

} // namespace layerart
