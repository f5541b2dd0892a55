// Checks of the panorama generator's building blocks: noise, ray casting, the
// equirectangular camera, the layout of the scene and the planet preview.
#include "Noise.h"
#include "Render.h"
#include "Scene.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using namespace pano;

namespace {

V2 scatter(uint32_t i, float extent) {
    const uint32_t h = mixBits(i * 2654435761u + 17u);
    return {(unit(h, 0) - 0.5f) * extent, (unit(h, 1) - 0.5f) * extent};
}

TEST(Noise, StaysInRangeAndDependsOnlyOnPositionAndSeed) {
    int differs = 0;
    for (uint32_t i = 0; i < 20000; ++i) {
        const V2 p = scatter(i, 200.0f);
        const V3 q{p.x, p.y, p.x * 0.37f - p.y};
        const float a = noise2(p, 5), b = noise3(q, 5);
        EXPECT_LE(std::abs(a), 1.0f);
        EXPECT_LE(std::abs(b), 1.0f);
        EXPECT_EQ(a, noise2(p, 5));
        EXPECT_EQ(b, noise3(q, 5));
        differs += noise2(p, 5) != noise2(p, 6);
    }
    EXPECT_GT(differs, 19000); // the seed picks another field
}

TEST(Noise, IsContinuousAcrossLatticeCells) {
    // Gradient noise must not jump where one lattice cell meets the next.
    for (int i = -20; i <= 20; ++i) {
        const float x = float(i);
        for (float y : {0.13f, 0.5f, 2.71f}) {
            EXPECT_NEAR(noise2({x - 1e-4f, y}, 9), noise2({x + 1e-4f, y}, 9), 2e-3f);
            EXPECT_NEAR(noise3({x - 1e-4f, y, 0.3f}, 9), noise3({x + 1e-4f, y, 0.3f}, 9), 2e-3f);
        }
    }
}

TEST(Noise, FootprintFadesDetailInsteadOfAliasing) {
    const auto spread = [](float footprint) {
        double sum = 0, sum2 = 0;
        for (uint32_t i = 0; i < 4000; ++i) {
            const float v = fbm2(scatter(i, 100.0f), 8, 3, footprint);
            sum += v;
            sum2 += double(v) * v;
        }
        return sum2 / 4000 - (sum / 4000) * (sum / 4000);
    };
    const double sharp = spread(0.0f), soft = spread(0.05f);
    EXPECT_LT(soft, sharp);
    EXPECT_GT(soft, 0.5 * sharp);  // only the fine octaves go
    EXPECT_EQ(spread(10.0f), 0.0); // coarser than everything: the mean, nothing else
    EXPECT_EQ(resolved(1.0f, 0.1f), 1.0f);
    EXPECT_EQ(resolved(1.0f, 0.7f), 0.0f);
}

TEST(Geometry, BoxIsHitOnItsNearFace) {
    const V2 yaw = heading(degrees(30.0f));
    const V3 ax{yaw.y, -yaw.x, 0}, ay{yaw.x, yaw.y, 0}, az{0, 0, 1};
    // Turned 30 degrees, ten metres away along the ray, one metre deep.
    const std::vector<Plane> planes =
        boxPlanes(ay * 10.0f + az, ax, ay, az, {2, 1, 1}, Material::wall);
    Prim box;
    box.planeCount = int(planes.size());
    Hit hit;
    ASSERT_TRUE(intersect(box, planes, {{0, 0, 1}, ay}, 1e6f, hit));
    EXPECT_NEAR(hit.t, 9.0f, 1e-4f);
    EXPECT_NEAR(dot(hit.normal, ay), -1.0f, 1e-5f);
    EXPECT_EQ(hit.material, Material::wall);

    Hit none;
    EXPECT_FALSE(intersect(box, planes, {{0, 0, 1}, ay}, 8.0f, none));  // beyond tMax
    EXPECT_FALSE(intersect(box, planes, {{0, 0, 1}, -ay}, 1e6f, none)); // behind the ray
    EXPECT_FALSE(intersect(box, planes, {{0, 0, 3}, ay}, 1e6f, none));  // passes over the top
}

TEST(Geometry, FrustumHitsItsTaperedSideAndItsCap) {
    Prim tower;
    tower.shape = Shape::frustum;
    tower.material = Material::tower;
    tower.axis = {0, 20};
    tower.z0 = 0;
    tower.z1 = 10;
    tower.r0 = 2;
    tower.r1 = 1;
    const std::vector<Plane> none;
    Hit hit;
    ASSERT_TRUE(intersect(tower, none, {{0, 0, 5}, {0, 1, 0}}, 1e6f, hit));
    EXPECT_NEAR(hit.t, 18.5f, 1e-3f); // radius 1.5 halfway up
    EXPECT_LT(hit.normal.y, -0.9f);
    EXPECT_GT(hit.normal.z, 0.05f); // a tapering wall leans back

    Hit top;
    ASSERT_TRUE(intersect(tower, none, {{0, 20, 30}, {0, 0, -1}}, 1e6f, top));
    EXPECT_NEAR(top.t, 20.0f, 1e-4f);
    EXPECT_NEAR(top.normal.z, 1.0f, 1e-6f);

    Hit miss;
    EXPECT_FALSE(intersect(tower, none, {{0, 0, 10.5f}, {0, 1, 0}}, 1e6f, miss));
    // A spire: the solving cone continues above its tip, the solid does not.
    tower.r1 = 0;
    EXPECT_FALSE(intersect(tower, none, {{0, 0, 11}, {0, 1, 0}}, 1e6f, miss));
}

TEST(Panorama, RowsRunFromZenithToNadirAndColumnsWrap) {
    constexpr int w = 800;
    EXPECT_NEAR(panoramaDirection(123.0f, 0.0f, w).z, 1.0f, 1e-6f);
    EXPECT_NEAR(panoramaDirection(321.0f, float(w / 2), w).z, -1.0f, 1e-6f);
    EXPECT_NEAR(panoramaDirection(55.0f, float(w / 4), w).z, 0.0f, 1e-6f);
    for (float y : {10.0f, 200.0f, 390.0f}) {
        const V3 first = panoramaDirection(0.0f, y, w), last = panoramaDirection(float(w), y, w);
        EXPECT_NEAR(length(first - last), 0.0f, 1e-5f);
        // Equal steps round the horizon, all turning the same way.
        const V3 a = panoramaDirection(100.0f, y, w), b = panoramaDirection(101.0f, y, w);
        const V3 c = panoramaDirection(102.0f, y, w);
        EXPECT_NEAR(length(b - a), length(c - b), 1e-5f);
        EXPECT_GT(cross(a, b).z * cross(b, c).z, 0.0f);
    }
}

class SceneTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_scene = std::make_unique<Scene>(); }
    static void TearDownTestSuite() { s_scene.reset(); }
    static const Scene& scene() { return *s_scene; }
    static inline std::unique_ptr<Scene> s_scene;
};

TEST_F(SceneTest, ShadingIsFiniteAndNeverNegative) {
    // A NaN from one material would print as a black hole in the picture.
    const float pixel = 2.0f * kPi / 8000.0f;
    for (uint32_t i = 0; i < 30000; ++i) {
        const uint32_t h = mixBits(i + 99u);
        const V3 dir = panoramaDirection(unit(h, 0) * 8000.0f, unit(h, 1) * 4000.0f, 8000);
        uint32_t seen = 0;
        const Rgb c = scene().shade(dir, pixel, seen);
        ASSERT_TRUE(std::isfinite(c.x) && std::isfinite(c.y) && std::isfinite(c.z)) << i;
        ASSERT_GE(std::min({c.x, c.y, c.z}), 0.0f) << i;
    }
}

TEST_F(SceneTest, NothingButSkyAboveTheSkyFloor) {
    // The renderer spends a single sample on pixels above the floor; anything
    // standing there would be drawn without antialiasing.
    for (int i = 0; i < 20000; ++i) {
        const float azimuth = (float(i) + 0.5f) / 20000.0f * 2.0f * kPi;
        const float elevation = scene().skyFloor(azimuth) + 1e-4f;
        const V2 h = heading(azimuth) * std::cos(elevation);
        uint32_t seen = 0;
        scene().shade({h.x, h.y, std::sin(elevation)}, 1e-3f, seen);
        ASSERT_LT(seen, uint32_t(Seen::hills)) << "azimuth " << azimuth;
    }
}

TEST_F(SceneTest, UprightThingsStayInOneColumn) {
    // Looking along the lighthouse's axis, every elevation from its foot to its
    // lantern meets the lighthouse: a vertical maps to a single column.
    const auto& objects = scene().objects();
    const auto light = std::find_if(objects.begin(), objects.end(),
                                    [](const Object& o) { return o.kind == Kind::lighthouse; });
    ASSERT_NE(light, objects.end());
    const float range = length(light->centre);
    const V2 toward = light->centre * (1.0f / range);
    for (float z = 0.5f; z < 25.0f; z += 0.5f) {
        const V3 dir =
            normalize(V3{toward.x * (range - 3.0f), toward.y * (range - 3.0f), z - kEyeHeight});
        uint32_t seen = 0;
        scene().shade(dir, 1e-3f, seen);
        EXPECT_EQ(seen, uint32_t(Seen::object) + uint32_t(light - objects.begin())) << "z " << z;
    }
}

TEST_F(SceneTest, EverythingStandsOnDryLandApartAndOffTheTrack) {
    const auto& objects = scene().objects();
    for (size_t i = 0; i < objects.size(); ++i) {
        const Object& o = objects[i];
        const V2 st = world::coastCoords(o.centre);
        EXPECT_LT(st.x, world::sandLine(st.y)) << "object " << i << " is on the beach";
        const float off = dot(o.centre, world::trackSide()) -
                          world::trackCentre(dot(o.centre, world::trackAxis()));
        EXPECT_GT(std::abs(off), world::kTrackHalfWidth + 1.0f)
            << "object " << i << " on the track";
        EXPECT_GT(length(o.centre), 12.0f) << "object " << i << " crowds the eye";
        // Trees may stand close; the church tower is built onto its nave.
        const auto separate = [](const Object& b) {
            return b.kind != Kind::tree && b.openings != Openings::belfry;
        };
        if (!separate(o))
            continue;
        for (size_t j = i + 1; j < objects.size(); ++j) {
            const Object& other = objects[j];
            if (!separate(other))
                continue;
            // Building footprints: half diagonals, without the bounding slack.
            const float apart = length(o.centre - other.centre);
            EXPECT_GT(apart, o.radius + other.radius - 2.5f) << "objects " << i << " and " << j;
        }
    }
}

TEST(Render, IsTheSameFromRunToRun) {
    // Rows are shared out between threads; the picture must not depend on how.
    const Scene scene;
    const QImage a = renderPanorama(scene, 96), b = renderPanorama(scene, 96);
    ASSERT_EQ(a.size(), QSize(96, 48));
    EXPECT_EQ(a, b);
}

} // namespace
