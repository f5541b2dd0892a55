#include "Scene.h"

#include "Noise.h"

namespace pano {

Scene::Scene() {
    // Mid-afternoon sun over the bay, high enough for soft colour, low enough for
    // shadows that show the shape of things.
    const float azimuth = degrees(118.0f), elevation = degrees(24.0f);
    m_sun = {std::cos(elevation) * std::sin(azimuth), std::cos(elevation) * std::cos(azimuth),
             std::sin(elevation)};
    m_sunLight = Rgb{1.0f, 0.93f, 0.82f} * 3.1f;
    m_sunDisc = Rgb{1.0f, 0.95f, 0.86f} * 60.0f;
    m_grassMean = grassBladesMean();
    buildRidges();
    buildLayout();
    binObjects();
    buildShadowGrid();
}

Rgb Scene::shade(V3 dir, float pixelAngle, uint32_t& seen) const {
    const Ray ray{{0, 0, kEyeHeight}, dir};
    const float horizontal = length(xy(dir));
    const float elevation = std::atan2(dir.z, horizontal);
    float azimuth = std::atan2(dir.x, dir.y);
    if (azimuth < 0)
        azimuth += 2.0f * kPi;

    float nearest = dir.z < 0 ? kEyeHeight / -dir.z : 1e30f;
    int ridge = -1;
    float ridgeZ = 0;
    if (horizontal > 1e-4f) {
        for (int layer = 0; layer < int(m_ridges.size()); ++layer) {
            const float t = m_ridges[size_t(layer)].range / horizontal;
            const float z = kEyeHeight + t * dir.z;
            if (t >= nearest || z < 0)
                continue;
            if (z <= ridgeHeight(layer, azimuth)) {
                nearest = t;
                ridge = layer;
                ridgeZ = z;
                break;
            }
        }
    }
    Hit hit;
    hit.t = nearest;
    if (traceObjects(ray, elevation, azimuth, hit)) {
        seen = uint32_t(Seen::object) + uint32_t(m_prims[size_t(hit.prim)].object);
        return shadeObject(ray, hit, hit.t * pixelAngle);
    }
    if (ridge >= 0) {
        seen = uint32_t(Seen::hills) + uint32_t(ridge);
        return shadeHill(ridge, dir, nearest, azimuth, ridgeZ, nearest * pixelAngle);
    }
    if (dir.z < 0) {
        // A pixel's footprint on the ground stretches towards the horizon; filtering
        // for the full stretch would smear the meadow, so meet it part way.
        const float footprint = nearest * pixelAngle / std::pow(std::max(-dir.z, 1e-4f), 0.35f);
        return shadeGround(dir, nearest, footprint, seen);
    }
    return skyWithClouds(dir, pixelAngle, seen);
}

} // namespace pano
