// The sky dome: clear-sky gradient, the sun, and two cloud decks. Clouds are laid
// out over horizontal ground coordinates above the eye, so they shrink with
// perspective towards the horizon and are seamless in longitude by construction.
#include "Noise.h"
#include "Scene.h"

namespace pano {

namespace {

// Cumulus are columns standing on a flat base, as tall as the cloud is dense; the
// ray climbs through the deck in steps, so clouds near the horizon show their
// sides and heap up instead of flattening into streaks.
constexpr float kCumulusAltitude = 1300.0f; // the flat bases
constexpr float kCumulusDepth = 650.0f;
constexpr int kCumulusLevels = 6;        // steps through the deck, at least
constexpr float kCumulusScale = 1800.0f; // metres per noise unit
constexpr float kCirrusAltitude = 8000.0f;
constexpr float kSunRadius = 0.0095f; // radians; about twice the real sun, so it reads
constexpr uint32_t kCumulusSeed = 71;
constexpr uint32_t kCoverSeed = 72;
constexpr uint32_t kCirrusSeed = 73;
constexpr float kFogRange = 5200.0f;

// Where the eye's line to the sun crosses the cumulus deck.
V2 sunThroughDeck(V3 sun) {
    return xy(sun) * ((kCumulusAltitude - kEyeHeight) / sun.z);
}

float cumulusCover(V2 p, V2 clearing) {
    // The sky round the sun stays open: the light in the scene comes from it, and the
    // ground near the eye must not lie in a cloud's shadow.
    const float open = 0.5f * smoothstep(1500.0f, 600.0f, length(p - clearing));
    return 0.15f + 0.2f * noise2(p * (1.0f / 11000.0f), kCoverSeed) + open;
}

/// Height of the cloud column standing at p, 0 where the sky is clear.
float cumulusHeight(V2 p, V2 clearing, float footprint, int octaves) {
    const float cover = cumulusCover(p, clearing);
    const V2 q = p * (1.0f / kCumulusScale);
    // Warp the domain a little so the clouds billow rather than look like plain noise.
    const V2 warp{noise2(q * 1.7f, kCumulusSeed + 9),
                  noise2(q * 1.7f + V2{5.2f, 1.3f}, kCumulusSeed + 19)};
    const V2 r = q + warp * 0.18f;
    const float fp = footprint / kCumulusScale;
    float sum = 0, amp = 0.5f, scale = 1.0f;
    for (int i = 0; i < octaves; ++i) {
        // Most of the sky is clear: once the coarse octaves leave too big a gap to the
        // cover, the fine ones cannot close it.
        if (i == 2 && sum + 0.22f < cover)
            return 0.0f;
        const float w = resolved(1.0f / scale, fp);
        if (w <= 0)
            break;
        sum += w * amp * noise2(r * scale, kCumulusSeed + uint32_t(i) * 1013u);
        amp *= 0.52f;
        scale *= 2.03f;
    }
    // Square root: domed, rounded tops rather than peaks.
    return kCumulusDepth * std::sqrt(saturate((sum - cover) * 2.0f));
}

} // namespace

Rgb Scene::skyRadiance(V3 d) const {
    const float z = std::max(d.z, 0.0f);
    const float mu = dot(d, m_sun);
    const Rgb zenith = srgb(58, 108, 196);
    const Rgb horizon = srgb(196, 216, 236);
    const float toHorizon = std::pow(1.0f - z, 3.0f);
    Rgb c = mix(zenith, horizon, toHorizon);
    c += Rgb{0.9f, 0.95f, 1.0f} * (0.12f * std::exp(-z * 40.0f)); // milky band at the horizon
    c *= 0.86f + 0.2f * mu * mu;                                  // Rayleigh phase
    const float m = std::max(mu, 0.0f);
    const float glow =
        0.28f * std::pow(m, 5.0f) + 0.6f * std::pow(m, 40.0f) + 3.0f * std::pow(m, 600.0f);
    c += Rgb{1.0f, 0.86f, 0.66f} * (glow * (0.55f + 0.45f * toHorizon));
    return c * 1.15f;
}

Rgb Scene::hazeColour(V3 d) const {
    const V2 h = xy(d) * (1.0f / std::max(length(xy(d)), 1e-6f));
    return skyRadiance({h.x * 0.996f, h.y * 0.996f, 0.09f}) * 0.97f;
}

Rgb Scene::fog(Rgb colour, V3 dir, float distance) const {
    const float transmit = std::exp(-distance / kFogRange);
    return colour * transmit + hazeColour(dir) * (1.0f - transmit);
}

Rgb Scene::ambient(V3 n) const {
    // Skylight from above, light bounced off the sunlit meadow from below.
    const Rgb skyTop = srgb(140, 160, 196) * 0.6f;
    const Rgb bounce = srgb(130, 134, 96) * 0.3f;
    return mix(bounce, skyTop, 0.5f + 0.5f * n.z);
}

Rgb Scene::skyWithClouds(V3 d, float pixelAngle, uint32_t& seen) const {
    Rgb c = skyRadiance(d);
    seen = uint32_t(Seen::sky);
    const float mu = dot(d, m_sun);
    const float cosSun = std::cos(kSunRadius);
    if (mu > cosSun) {
        // Limb darkening keeps the disc from looking like a flat sticker.
        const float r = std::sqrt(std::max(0.0f, 1.0f - (1.0f - mu) / (1.0f - cosSun)));
        c = c + m_sunDisc * (0.55f + 0.45f * r);
        seen = uint32_t(Seen::sun);
    }
    if (d.z <= 0.004f)
        return c;

    const V2 sunFlat = xy(m_sun) * (1.0f / length(xy(m_sun)));

    // High, thin cirrus streaks.
    {
        const float t = (kCirrusAltitude - kEyeHeight) / d.z;
        const V2 p = xy(d) * t;
        const float ca = 0.8f, sa = 0.6f;
        const V2 r{(ca * p.x + sa * p.y) / 3400.0f, (-sa * p.x + ca * p.y) / 1100.0f};
        const float fp = t * pixelAngle / std::sqrt(d.z) / 1100.0f;
        const float n = fbm2(r, 6, kCirrusSeed, fp);
        const float mask = smoothstep(0.0f, 0.4f, noise2(p * (1.0f / 30000.0f), kCirrusSeed + 5));
        float a = 0.22f * smoothstep(0.08f, 0.5f, n) * mask;
        a *= smoothstep(0.0f, 0.12f, d.z) * std::exp(-t / 90000.0f);
        const Rgb tint = Rgb{1.0f, 0.97f, 0.93f} * 1.05f +
                         Rgb{1.0f, 0.8f, 0.6f} * (0.8f * std::pow(std::max(mu, 0.f), 12.f));
        c = mix(c, tint, a);
    }

    // Fair-weather cumulus. The ray first meets the flat bases; above them it climbs
    // through the deck in steps, and where it passes into a cloud's side the entry
    // is found by bisection, so the sides come out smooth rather than in slices.
    const V2 clearing = sunThroughDeck(m_sun);
    const Rgb base = srgb(156, 166, 190) * 0.9f;
    const Rgb bright = Rgb{1.0f, 0.97f, 0.93f} * 1.5f;
    const Rgb silver = Rgb{1.0f, 0.88f, 0.7f} * (1.6f * std::pow(std::max(mu, 0.0f), 8.0f));
    const Rgb horizonSky = skyRadiance({d.x, d.y, 0.02f});
    // The step length varies smoothly with the elevation (a whole number of steps
    // would jump from one row to the next and show as lines); the last step ends
    // at the top of the deck, however short it is.
    const float count =
        std::clamp(kCumulusDepth / (d.z + 1e-3f) / 200.0f, float(kCumulusLevels), 30.0f);
    const int steps = int(std::ceil(count));
    const float rise = kCumulusDepth / count;
    const float stride = rise * length(xy(d)) / d.z; // horizontal travel per step
    const auto pointAt = [&](float above) {
        return xy(d) * ((kCumulusAltitude + above - kEyeHeight) / d.z);
    };
    const auto heightAt = [&](float above, int octaves) {
        const V2 p = pointAt(above);
        const float sharp = length(p) * pixelAngle / std::sqrt(d.z);
        // Above the base, detail finer than a step would only flicker between steps.
        const float footprint = above <= 0 ? sharp : std::max(sharp, 0.5f * stride);
        return cumulusHeight(p, clearing, footprint, octaves);
    };
    const auto haze = [&](Rgb colour, float above) {
        const float t = (kCumulusAltitude + above - kEyeHeight) / d.z;
        return mix(colour, horizonSky, 1.0f - std::exp(-t / 28000.0f));
    };
    Rgb cloud{0, 0, 0};
    float clear = 1.0f;
    float inside = 0.0f; // how far below the cloud's top the ray is at the current step
    Rgb wall{0, 0, 0};   // colour where the ray went into the current cloud
    {
        const float h = heightAt(0.0f, 10);
        const float alpha = smoothstep(0.0f, kCumulusDepth / 6.0f, h);
        if (alpha > 0) {
            // Seen from below: thin edges glow, thick middles are grey and mottled.
            const V2 p = pointAt(0.0f);
            const float fp = length(p) * pixelAngle / std::sqrt(d.z);
            const float mottle = fbm2(p * (1.0f / 220.0f), 6, kCumulusSeed + 29, fp / 220.0f);
            Rgb c2 = mix(bright * 0.85f, base, smoothstep(0.0f, 0.8f * kCumulusDepth, h)) *
                     (0.88f + 0.45f * mottle);
            c2 += silver * (1.0f - alpha * 0.7f);
            wall = haze(c2, 0.0f);
            cloud += wall * alpha;
            clear = 1.0f - alpha;
        }
        inside = h;
    }
    bool within = inside > 0; // in a cloud: the base's, or one entered from the side
    float applied = 1.0f - clear, deepest = inside;
    for (int k = 1; k <= steps && clear > 0.01f; ++k) {
        const float above = std::min(float(k) * rise, kCumulusDepth);
        const float before = std::min(float(k - 1) * rise, kCumulusDepth);
        const float was = inside;
        inside = heightAt(above, 7) - above;
        // A ray can brush past a cloud between two steps; look half way when close.
        float peak = inside, peakAt = above;
        if (inside <= 0 && was <= 0 && std::max(inside, was) > -150.0f) {
            const float mid = 0.5f * (before + above);
            const float there = heightAt(mid, 7) - mid;
            if (there > peak) {
                peak = there;
                peakAt = mid;
            }
        }
        if (peak <= -60.0f) {
            within = false;
            continue;
        }
        if (!within) {
            // Entering a cloud's side: bisect for the entry when it is crossed.
            float entry = peakAt;
            if (inside > 0 && was <= 0) {
                float lo = before, hi = above;
                for (int i = 0; i < 4; ++i) {
                    const float mid = 0.5f * (lo + hi);
                    (heightAt(mid, 7) > mid ? hi : lo) = mid;
                }
                entry = hi;
            }
            // Sides grey towards the base and brighten upwards; the half turned from
            // the sun stays a little greyer.
            const float lit = smoothstep(0.0f, 0.7f * kCumulusDepth, entry);
            const float away =
                0.5f - 0.5f * dot(normalize(V3{-d.x, -d.y, 0}), V3{sunFlat.x, sunFlat.y, 0});
            wall =
                haze(mix(base * 1.1f, bright, lit * (1.0f - 0.3f * away)) + silver * 0.5f, entry);
            within = true;
            deepest = peak;
            applied = 0;
        }
        // Grazing rays only brush the cloud: they see it thin.
        deepest = std::max(deepest, peak);
        const float opacity = smoothstep(-60.0f, 150.0f, deepest);
        if (opacity > applied) {
            const float add = (opacity - applied) / (1.0f - applied);
            cloud += wall * (clear * add);
            clear *= 1.0f - add;
            applied = opacity;
        }
    }
    const float fade = smoothstep(0.004f, 0.07f, d.z);
    return c * (1.0f - fade * (1.0f - clear)) + cloud * fade;
}

float Scene::cloudShadow(V3 p) const {
    const float s = (kCumulusAltitude + 0.3f * kCumulusDepth - p.z) / std::max(m_sun.z, 0.05f);
    const V2 q = xy(p) + xy(m_sun) * s;
    return 1.0f -
           0.7f * smoothstep(20.0f, 250.0f, cumulusHeight(q, sunThroughDeck(m_sun), 30.0f, 4));
}

} // namespace pano
