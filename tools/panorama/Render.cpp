#include "Render.h"

#include "Noise.h"
#include "Scene.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

namespace pano {

namespace {

/// Azimuth shown in the middle of the image, and so at the top of a tiny planet:
/// the village between the avenue and the windmill. The left and right edges meet
/// out over the open sea, where nothing has to line up across the join.
constexpr float kCentreAzimuth = 280.0f;

// Filmic curve: keeps the sun and bright clouds from clipping harshly.
float tonemap(float x) {
    x *= 0.95f;
    return saturate(x * (2.51f * x + 0.03f) / (x * (2.43f * x + 0.59f) + 0.14f));
}

float encodeSrgb(float c) {
    return c <= 0.0031308f ? 12.92f * c : 1.055f * std::pow(c, 1.0f / 2.4f) - 0.055f;
}

/// Azimuth at a horizontal pixel position, in [0, 2 pi).
float panoramaAzimuth(float px, int width) {
    const float a = px / float(width) * 2.0f * kPi + degrees(kCentreAzimuth) - kPi;
    return a - std::floor(a / (2.0f * kPi)) * 2.0f * kPi;
}

struct Sampler {
    const Scene& scene;
    int width, height;
    float pixelAngle;

    float azimuth(float px) const { return panoramaAzimuth(px, width); }
    V3 direction(float px, float py) const { return panoramaDirection(px, py, width); }
    Rgb sample(float px, float py, uint32_t& seen) const {
        const Rgb c = scene.shade(direction(px, py), pixelAngle, seen);
        return {tonemap(c.x), tonemap(c.y), tonemap(c.z)};
    }
};

} // namespace

V3 panoramaDirection(float px, float py, int width) {
    const float longitude = panoramaAzimuth(px, width);
    const float elevation = 0.5f * kPi - py / float(width / 2) * kPi;
    const float ce = std::cos(elevation);
    return {ce * std::sin(longitude), ce * std::cos(longitude), std::sin(elevation)};
}

QImage renderPanorama(const Scene& scene, int width) {
    const int height = width / 2;
    QImage image(width, height, QImage::Format_RGB32);
    uchar* const bits = image.bits(); // taken once: rows are filled from several threads
    const qsizetype stride = image.bytesPerLine();
    const Sampler sampler{scene, width, height, 2.0f * kPi / float(width)};

    // Sky well clear of anything standing is smooth: one sample. Elsewhere two,
    // and where they see different things (an edge between objects, the sun's
    // rim) sixteen more.
    const float sunCos = std::cos(degrees(1.2f));
    tbb::parallel_for(
        tbb::blocked_range<int>(0, height, 2), [&](const tbb::blocked_range<int>& rows) {
            for (int y = rows.begin(); y < rows.end(); ++y) {
                auto* line = reinterpret_cast<QRgb*>(bits + stride * y);
                const float lowest = 0.5f * kPi - float(y + 1) / float(height) * kPi;
                for (int x = 0; x < width; ++x) {
                    Rgb sum{};
                    int count = 0;
                    const float az0 = sampler.azimuth(float(x)),
                                az1 = sampler.azimuth(float(x + 1));
                    const bool open = lowest > std::max(scene.skyFloor(az0), scene.skyFloor(az1));
                    uint32_t seen = 0;
                    if (open && dot(sampler.direction(float(x) + 0.5f, float(y) + 0.5f),
                                    scene.sunDir()) < sunCos) {
                        sum = sampler.sample(float(x) + 0.5f, float(y) + 0.5f, seen);
                        count = 1;
                    } else {
                        uint32_t other = 0;
                        sum = sampler.sample(float(x) + 0.25f, float(y) + 0.25f, seen) +
                              sampler.sample(float(x) + 0.75f, float(y) + 0.75f, other);
                        count = 2;
                        if (seen != other || seen == uint32_t(Seen::sun)) {
                            for (int j = 0; j < 4; ++j)
                                for (int i = 0; i < 4; ++i)
                                    sum +=
                                        sampler.sample(float(x) + (float(i) + 0.5f) / 4.0f,
                                                       float(y) + (float(j) + 0.5f) / 4.0f, other);
                            count += 16;
                        }
                    }
                    const Rgb c = sum * (1.0f / float(count));
                    // A triangular dither of one step keeps the sky free of bands.
                    const uint32_t h = hash2(x, y, 977);
                    int rgb[3];
                    const float channels[3] = {c.x, c.y, c.z};
                    for (int k = 0; k < 3; ++k) {
                        const float dither = unit(h, uint32_t(k)) + unit(h, uint32_t(k) + 3) - 1.0f;
                        rgb[k] = std::clamp(
                            int(std::lround(encodeSrgb(channels[k]) * 255.0f + dither)), 0, 255);
                    }
                    line[x] = qRgb(rgb[0], rgb[1], rgb[2]);
                }
            }
        });
    return image;
}

} // namespace pano
