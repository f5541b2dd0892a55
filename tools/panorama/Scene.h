#pragma once

#include "Maths.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pano {

/// The camera stands on the ground plane z = 0 (metres; x east, y north, z up).
constexpr float kEyeHeight = 1.7f;
/// How far (as a fraction of its radius) noise pushes a tree crown's surface out.
constexpr float kCrownRoughness = 0.45f;

/// What a sample saw, so the renderer can add samples where neighbours disagree.
enum class Seen : uint32_t { sky = 1, sun, ground, hills = 100, object = 1000 };

struct Ray {
    V3 origin, dir;
};

enum class Material : uint8_t {
    wall,
    gable,
    roof,
    chimney,
    timber,
    bark,
    leaves,
    tower,
    lantern,
    iron,
    sail,
    cap,
};

enum class Shape : uint8_t { convex, frustum, foliage };
enum class Crown : uint8_t { round, column, cone };

/// Half-space dot(n, x) <= d of a convex solid, with the material of its face.
struct Plane {
    V3 n;
    float d;
    Material material;
};

struct Prim {
    Shape shape = Shape::convex;
    Material material = Material::wall;
    int object = 0;
    // convex: planes[first, first + count)
    int firstPlane = 0, planeCount = 0;
    bool lattice = false; // windmill sails: see-through between the bars
    // frustum and foliage: vertical axis through `axis`, from z0 to z1
    V2 axis;
    float z0 = 0, z1 = 0, r0 = 0, r1 = 0;
    // foliage only
    Crown crown = Crown::round;
    V3 centre;
    float rx = 0, rz = 0;
    uint32_t seed = 0;
    // lattice only: the blade's long axis and its width, from the hub at `centre`
    V3 along, across;
};

enum class Kind : uint8_t { house, tree, lighthouse, windmill };
/// How the walls of a building are pierced.
enum class Openings : uint8_t { none, cottage, nave, belfry, mill };

struct Object {
    Kind kind = Kind::tree;
    V2 centre;        // ground position
    float radius = 1; // bounding cylinder
    float top = 1;    // highest point
    float yaw = 0;    // facing of buildings
    float width = 0, depth = 0, wallHeight = 0;
    Openings openings = Openings::none;
    Rgb wall, roof, leaves; // palette
    uint32_t seed = 0;
    int firstPrim = 0, primCount = 0;
    float minElevation = 0, maxElevation = 0; // as seen from the eye
};

struct Hit {
    float t = 1e30f;
    V3 normal;
    int prim = -1;
    Material material = Material::wall;
    float shape = 0; // foliage: how deep inside the crown the surface lies
};

/// Distant ridges, each a curtain at a fixed range whose height varies with azimuth.
struct Ridge {
    float range;
    std::vector<float> height; // per azimuth step, wrapping
    std::vector<float> forest; // 0..1 woodland cover along the ridge
    std::vector<float> smooth; // height without the tree canopy, for shading
};

/// Mean colour factor of the close-up grass blades (Ground.cpp).
Rgb grassBladesMean();

/// Nearest hit of `ray` with one primitive, closer than tMax; convex solids take
/// their faces from `planes` (Objects.cpp).
bool intersect(const Prim& prim, const std::vector<Plane>& planes, const Ray& ray, float tMax,
               Hit& hit);

/// The six faces of a box centred at c with the given unit axes and half sizes.
std::vector<Plane> boxPlanes(V3 c, V3 ax, V3 ay, V3 az, V3 half, Material m);

class Scene {
public:
    Scene();

    /// Linear radiance seen from the eye along `dir`; `pixelAngle` is the angular
    /// size of one output pixel, for filtering textures. `seen` names what was hit.
    Rgb shade(V3 dir, float pixelAngle, uint32_t& seen) const;

    V3 sunDir() const { return m_sun; }

    /// Elevation above which nothing but sky can be seen at this azimuth.
    float skyFloor(float azimuth) const;

    // Sky (Sky.cpp)
    Rgb skyRadiance(V3 dir) const; // clear sky without sun disc or clouds
    Rgb hazeColour(V3 dir) const;  // in-scattered light towards the horizon
    Rgb skyWithClouds(V3 dir, float pixelAngle, uint32_t& seen) const;
    float cloudShadow(V3 p) const;
    float farCloudShadow(V3 p, float distance) const;
    Rgb fog(Rgb colour, V3 dir, float distance) const;

    const std::vector<Object>& objects() const { return m_objects; }
    const std::vector<Prim>& prims() const { return m_prims; }
    const std::vector<Plane>& planes() const { return m_planes; }

    // Lighting shared by every surface.
    Rgb sunLight() const { return m_sunLight; }
    Rgb ambient(V3 normal) const;

private:
    // Ground.cpp
    Rgb shadeGround(V3 dir, float t, float footprint, uint32_t& seen) const;
    Rgb shadeHill(int layer, V3 dir, float t, float azimuth, float z, float footprint) const;
    float ridgeHeight(int layer, float azimuth, float* slope = nullptr) const;
    void buildRidges();

    // Objects.cpp
    bool traceObjects(const Ray& ray, float elevation, float azimuth, Hit& hit) const;
    Rgb shadeObject(const Ray& ray, const Hit& hit, float footprint) const;
    float objectShadow(V3 p, int skipObject = -1) const;

    // Layout.cpp
    void buildLayout();
    int addObject(Object object);
    void addConvex(int object, const std::vector<Plane>& planes, bool lattice = false);
    void addBox(int object, V3 centre, V3 ax, V3 ay, V3 az, V3 half, Material m,
                bool lattice = false);
    void addFrustum(int object, V2 axis, float z0, float z1, float r0, float r1, Material m);
    void addCrown(int object, Crown crown, V3 centre, float rx, float rz, uint32_t seed);
    int addHouse(V2 centre, float yaw, float width, float depth, float wallHeight, float roofHeight,
                 Rgb wall, Rgb roof, uint32_t seed, Openings openings = Openings::cottage);
    void addTree(V2 base, Crown crown, float height, float crownRadius, uint32_t seed);
    void addLighthouse(V2 base);
    void addWindmill(V2 base, float facing);
    void addChurch(V2 base, float yaw);
    void binObjects();
    void buildShadowGrid();

    V3 m_sun;
    Rgb m_sunLight;
    Rgb m_sunDisc;
    std::vector<Object> m_objects;
    std::vector<Prim> m_prims;
    std::vector<Plane> m_planes;
    static constexpr int kBins = 720;
    std::array<std::vector<int>, kBins> m_bins;
    std::array<float, kBins> m_skyFloor{};
    // Objects whose shadow may reach each cell of a square grid round the eye.
    static constexpr int kShadowCells = 128;
    static constexpr float kShadowCell = 8.0f;
    std::vector<std::vector<int>> m_shadowGrid;
    std::vector<Ridge> m_ridges;
    Rgb m_grassMean; // average of the close-up grass, used once blades are too small
};

} // namespace pano
