#pragma once

// Building blocks shared by the light recipes (glows, flares, overlays).

#include "ArtKit.h"

namespace layerart {

/// Fades to zero towards the image border: 1 beyond `margin` pixels from every
/// edge, smooth inside it.
float edgeWindow(float x, float y, int width, int height, float margin);

/// A point of light with a fixed amount of energy, spread as a Gaussian of `sigma`
/// pixels and normalised over its footprint, so tiny stars keep their brightness
/// wherever they fall between pixel centres.
void addStar(LightField& field, float x, float y, float energy, float sigma, Rgb colour);

/// Signed distance to a regular polygon of circumradius `radius` (sides < 3 gives
/// a circle), negative inside. A flat side faces the direction `rotation`;
/// `roundness` 0..1 blends towards the circle.
float polygonDistance(float dx, float dy, float radius, int sides, float rotation, float roundness);

/// A lens ghost: an aperture-shaped disc with a faint fill, a brighter edge and a
/// little colour fringe, the way defocused reflections inside a lens look.
struct Ghost {
    float x = 0.0f;
    float y = 0.0f;
    float radius = 40.0f;
    int sides = 0;
    float rotation = 0.0f;
    Rgb tint{1.0f, 1.0f, 1.0f};
    float fill = 0.1f;
    float rim = 0.1f;
    /// Edge softness in pixels.
    float softness = 2.0f;
    /// Relative size difference between the red and blue images of the aperture.
    float fringe = 0.02f;
};
void addGhost(LightField& field, const Ghost& ghost);

/// A ring whose colours are split by wavelength: the sum of narrow rings, one per
/// band, each at radius(t) with Gaussian width `sigma` (pixels), t from red (0) to
/// violet (1). Returns linear light; callers encode and scale.
Rgb spectralRing(float distance, float sigma, const std::function<float(float t)>& radius);

/// Thin straight spikes from a centre, as an aperture's blades diffract a bright
/// light: `count` spikes, each fading with distance over `length` pixels.
struct Spikes {
    int count = 6;
    float rotation = 0.0f;
    float length = 200.0f;
    float width = 1.2f;
    /// Extra width per pixel of distance, so spikes taper open like real ones.
    float spread = 0.003f;
    float intensity = 1.0f;
    Rgb colour{1.0f, 1.0f, 1.0f};
    /// Per-spike length variation, 0 for even spikes.
    float jitter = 0.0f;
    std::uint32_t seed = 1;
};
Rgb spikeLight(const Spikes& spikes, float dx, float dy);

} // namespace layerart
