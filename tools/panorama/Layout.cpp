// Where everything stands. Positions are given as azimuth and distance from the
// eye, the way one would sketch the view; small variations come from hashes of
// fixed seeds so the layout never changes between runs.
#include "Noise.h"
#include "Scene.h"
#include "World.h"

namespace pano {

namespace {

using namespace world;

V2 at(float azimuthDeg, float distance) {
    return heading(rad(azimuthDeg)) * distance;
}
V3 up() {
    return {0, 0, 1};
}
V3 flat(V2 v) {
    return {v.x, v.y, 0};
}

bool onLand(V2 p, float margin) {
    const V2 st = coastCoords(p);
    return st.x < sandLine(st.y) - margin;
}

const Rgb kWalls[] = {srgb(238, 234, 224), srgb(234, 216, 178), srgb(234, 206, 146),
                      srgb(216, 164, 142), srgb(190, 198, 204), srgb(240, 236, 230)};
const Rgb kRoofs[] = {srgb(168, 78, 54), srgb(142, 60, 46), srgb(80, 84, 94), srgb(178, 96, 62),
                      srgb(114, 80, 62)};

} // namespace

int Scene::addObject(Object object) {
    object.firstPrim = int(m_prims.size());
    object.primCount = 0;
    m_objects.push_back(object);
    return int(m_objects.size()) - 1;
}

void Scene::addConvex(int object, const std::vector<Plane>& planes, bool lattice) {
    Prim prim;
    prim.shape = Shape::convex;
    prim.object = object;
    prim.firstPlane = int(m_planes.size());
    prim.planeCount = int(planes.size());
    prim.lattice = lattice;
    m_planes.insert(m_planes.end(), planes.begin(), planes.end());
    m_prims.push_back(prim);
    ++m_objects[size_t(object)].primCount;
}

std::vector<Plane> boxPlanes(V3 c, V3 ax, V3 ay, V3 az, V3 half, Material m) {
    std::vector<Plane> planes;
    const V3 axes[3] = {ax, ay, az};
    const float halves[3] = {half.x, half.y, half.z};
    for (int i = 0; i < 3; ++i)
        for (float sign : {1.0f, -1.0f}) {
            const V3 n = axes[i] * sign;
            planes.push_back({n, dot(n, c) + halves[i], m});
        }
    return planes;
}

void Scene::addBox(int object, V3 c, V3 ax, V3 ay, V3 az, V3 half, Material m, bool lattice) {
    addConvex(object, boxPlanes(c, ax, ay, az, half, m), lattice);
}

void Scene::addFrustum(int object, V2 axis, float z0, float z1, float r0, float r1, Material m) {
    Prim prim;
    prim.shape = Shape::frustum;
    prim.material = m;
    prim.object = object;
    prim.axis = axis;
    prim.z0 = z0;
    prim.z1 = z1;
    prim.r0 = r0;
    prim.r1 = r1;
    m_prims.push_back(prim);
    ++m_objects[size_t(object)].primCount;
}

void Scene::addCrown(int object, Crown crown, V3 centre, float rx, float rz, uint32_t seed) {
    Prim prim;
    prim.shape = Shape::foliage;
    prim.material = Material::leaves;
    prim.object = object;
    prim.crown = crown;
    prim.centre = centre;
    prim.rx = rx;
    prim.rz = rz;
    prim.seed = seed;
    prim.axis = xy(centre);
    // Bounds leave room for the noise to push leaves outwards.
    const float grow = 1.0f + kCrownRoughness;
    prim.r0 = rx * grow;
    if (crown == Crown::cone) {
        prim.z0 = centre.z - 0.4f;
        prim.z1 = centre.z + rz + 0.4f;
    } else {
        prim.z0 = centre.z - rz * grow;
        prim.z1 = centre.z + rz * grow;
    }
    m_prims.push_back(prim);
    ++m_objects[size_t(object)].primCount;
}

int Scene::addHouse(V2 centre, float yaw, float width, float depth, float wallHeight,
                    float roofHeight, Rgb wall, Rgb roof, uint32_t seed, Openings openings) {
    Object o;
    o.kind = Kind::house;
    o.centre = centre;
    o.yaw = yaw;
    o.width = width;
    o.depth = depth;
    o.wallHeight = wallHeight;
    o.wall = wall;
    o.roof = roof;
    o.seed = seed;
    o.openings = openings;
    o.radius = 0.5f * std::sqrt(width * width + depth * depth) + 1.0f;
    o.top = wallHeight + roofHeight + 1.2f;
    const int id = addObject(o);

    const V3 ux = flat(heading(yaw + kPi / 2)); // along the ridge
    const V3 uy{-ux.y, ux.x, 0};
    const V3 c = flat(centre);
    addBox(id, c + up() * (wallHeight * 0.5f), ux, uy, up(),
           {width * 0.5f, depth * 0.5f, wallHeight * 0.5f}, Material::wall);

    // Gable: the triangular prism under the roof, in the wall's plaster.
    const V3 ridge = c + up() * (wallHeight + roofHeight);
    if (roofHeight > 0.1f) {
        std::vector<Plane> gable{{-up(), -wallHeight, Material::gable},
                                 {ux, dot(ux, c) + width * 0.5f, Material::gable},
                                 {-ux, -dot(ux, c) + width * 0.5f, Material::gable}};
        for (float side : {1.0f, -1.0f}) {
            const V3 n = normalize(uy * (side * roofHeight) + up() * (depth * 0.5f));
            gable.push_back({n, dot(n, ridge), Material::gable});
        }
        addConvex(id, gable);
    }

    // Two roof slabs overhanging the walls.
    const float thick = 0.22f, eave = 0.45f, verge = 0.3f;
    const float slopeLength = std::sqrt(roofHeight * roofHeight + depth * depth * 0.25f);
    for (float side : {1.0f, -1.0f}) {
        const V3 n = normalize(uy * (side * roofHeight) + up() * (depth * 0.5f));
        const V3 down = normalize(uy * (side * depth * 0.5f) - up() * roofHeight);
        const float from = -thick * 1.2f, to = slopeLength + eave; // along `down` from the ridge
        const V3 mid = ridge + down * (0.5f * (from + to)) + n * (thick * 0.5f);
        addBox(id, mid, ux, down, n, {width * 0.5f + verge, 0.5f * (to - from), thick * 0.5f},
               Material::roof);
    }
    if (openings == Openings::cottage) {
        const V3 stack = c + ux * (width * 0.28f) + uy * (depth * 0.12f);
        const float z0 = wallHeight + roofHeight * 0.4f, z1 = wallHeight + roofHeight + 0.9f;
        addBox(id, stack + up() * (0.5f * (z0 + z1)), ux, uy, up(),
               {0.32f, 0.32f, 0.5f * (z1 - z0)}, Material::chimney);
    }
    return id;
}

void Scene::addTree(V2 base, Crown crown, float height, float crownRadius, uint32_t seed) {
    const Rgb greens[] = {srgb(60, 94, 38), srgb(72, 102, 40), srgb(52, 84, 36), srgb(82, 106, 44)};
    Object o;
    o.kind = Kind::tree;
    o.centre = base;
    o.seed = seed;
    o.leaves = crown == Crown::cone ? srgb(40, 68, 42) : greens[seed % 4];
    o.leaves = o.leaves * (0.9f + 0.2f * unit(seed, 9));
    o.radius = crownRadius * 1.5f + 0.5f;
    o.top = height + 0.8f;
    const int id = addObject(o);
    const float trunk = 0.16f + crownRadius * 0.045f;
    switch (crown) {
    case Crown::round: {
        const float rz = height * 0.33f;
        addFrustum(id, base, 0.0f, height - rz, trunk, trunk * 0.6f, Material::bark);
        addCrown(id, crown, {base.x, base.y, height - rz}, crownRadius, rz, seed);
        break;
    }
    case Crown::column: {
        const float bottom = 1.6f + 0.6f * unit(seed, 5);
        const float rz = (height - bottom) * 0.5f;
        addFrustum(id, base, 0.0f, bottom + rz, trunk, trunk * 0.5f, Material::bark);
        addCrown(id, crown, {base.x, base.y, bottom + rz}, crownRadius, rz, seed);
        break;
    }
    case Crown::cone: {
        const float bottom = 0.9f + 0.8f * unit(seed, 5);
        addFrustum(id, base, 0.0f, height * 0.7f, trunk, trunk * 0.4f, Material::bark);
        addCrown(id, crown, {base.x, base.y, bottom}, crownRadius, height - bottom, seed);
        break;
    }
    }
}

void Scene::addLighthouse(V2 base) {
    Object o;
    o.kind = Kind::lighthouse;
    o.centre = base;
    o.radius = 3.5f;
    o.top = 29.0f;
    o.roof = srgb(170, 40, 36);
    o.seed = 501;
    const int id = addObject(o);
    addFrustum(id, base, 0.0f, 23.0f, 3.1f, 2.15f, Material::tower);
    addFrustum(id, base, 23.0f, 23.5f, 2.95f, 2.95f, Material::iron);
    addFrustum(id, base, 23.5f, 26.2f, 1.55f, 1.55f, Material::lantern);
    addFrustum(id, base, 26.2f, 26.45f, 1.8f, 1.8f, Material::iron);
    addFrustum(id, base, 26.45f, 28.2f, 1.8f, 0.15f, Material::iron);
    // A railing ring round the gallery reads as a thin dark line.
    addFrustum(id, base, 23.5f, 24.5f, 2.9f, 2.9f, Material::iron);
}

void Scene::addWindmill(V2 base, float facing) {
    Object o;
    o.kind = Kind::windmill;
    o.centre = base;
    o.yaw = facing;
    o.radius = 12.5f;
    o.top = 27.5f;
    o.wall = srgb(232, 226, 214);
    o.seed = 601;
    o.openings = Openings::mill;
    const int id = addObject(o);
    addFrustum(id, base, 0.0f, 12.5f, 4.0f, 2.7f, Material::wall);
    addFrustum(id, base, 12.5f, 15.2f, 3.0f, 0.9f, Material::cap);
    const V3 front = flat(heading(facing));
    const V3 side{front.y, -front.x, 0};
    const V3 hub = flat(base) + front * 3.2f + up() * 14.0f;
    addBox(id, hub - front * 0.9f, front, side, up(), {1.1f, 0.35f, 0.35f}, Material::timber);
    for (int i = 0; i < 4; ++i) {
        const float a = rad(22.0f + 90.0f * float(i));
        const V3 along = side * std::cos(a) + up() * std::sin(a);
        const V3 across = cross(front, along);
        const float length = 11.5f, halfWidth = 1.15f;
        const V3 mid = hub + along * (0.5f * length) + across * (halfWidth * 0.35f);
        const int before = int(m_prims.size());
        addBox(id, mid, along, across, front, {0.5f * length, halfWidth, 0.08f}, Material::sail,
               true);
        Prim& blade = m_prims[size_t(before)];
        blade.centre = hub + across * (halfWidth * 0.35f);
        blade.along = along;
        blade.across = across;
        blade.r0 = halfWidth;
        blade.seed = uint32_t(i);
        blade.material = Material::sail;
    }
}

void Scene::addChurch(V2 base, float yaw) {
    const V2 ux = heading(yaw + kPi / 2);
    addHouse(base, yaw, 15.0f, 7.5f, 6.5f, 4.6f, srgb(236, 230, 216), srgb(84, 88, 98), 701,
             Openings::nave);
    const V2 towerAt = base - ux * 9.3f;
    const float wall = 17.0f, spire = 11.0f, half = 2.1f;
    const int id = addHouse(towerAt, yaw, 2 * half, 2 * half, wall, 0.0f, srgb(236, 230, 216),
                            srgb(84, 88, 98), 702, Openings::belfry);
    // Replace the flat top with a spire: a four-sided pyramid.
    Object& tower = m_objects[size_t(id)];
    tower.top = wall + spire + 0.5f;
    const V3 apex = flat(towerAt) + up() * (wall + spire);
    const V3 ax = flat(ux), ay{-ux.y, ux.x, 0};
    std::vector<Plane> planes{{-up(), -wall, Material::roof}};
    for (V3 side : {ax, -ax, ay, -ay}) {
        const V3 n = normalize(side * spire + up() * (half + 0.25f));
        planes.push_back({n, dot(n, apex), Material::roof});
    }
    addConvex(id, planes);
}

void Scene::buildLayout() {
    m_objects.clear();
    m_prims.clear();
    m_planes.clear();

    // An avenue of poplars along the track towards the village, and the church at
    // its end.
    for (int i = 0; i < 9; ++i) {
        const float a = -20.0f - 15.0f * float(i);
        for (float side : {-1.0f, 1.0f}) {
            const uint32_t seed = 100u + uint32_t(i) * 2u + (side > 0 ? 1u : 0u);
            const float b = trackCentre(a) + side * (4.3f + 0.4f * unit(seed, 1));
            const V2 p = trackAxis() * a + trackSide() * b;
            addTree(p, Crown::column, 15.5f + 3.5f * unit(seed, 2), 1.8f + 0.5f * unit(seed, 3),
                    seed);
        }
    }
    addChurch(at(226, 250), rad(226 + 20));

    // The village, either side of the avenue.
    struct Home {
        float azimuth, distance, yaw, width, depth, walls, roof;
    };
    const Home homes[] = {
        {222, 120, 10, 9.0f, 6.5f, 5.6f, 3.4f},  {234, 165, 40, 11.0f, 7.0f, 6.0f, 3.8f},
        {238, 95, 75, 7.5f, 6.0f, 3.4f, 3.0f},   {244, 210, 5, 10.0f, 7.0f, 6.2f, 3.6f},
        {264, 150, 70, 8.0f, 6.5f, 5.5f, 3.3f},  {269, 105, 100, 12.0f, 7.5f, 3.6f, 3.6f},
        {276, 180, 20, 9.0f, 6.5f, 6.0f, 3.5f},  {284, 135, 60, 8.5f, 6.0f, 5.4f, 3.2f},
        {292, 230, 35, 10.0f, 7.0f, 6.0f, 3.8f}, {215, 240, 80, 9.0f, 6.5f, 5.6f, 3.4f},
    };
    uint32_t seed = 300;
    for (const Home& h : homes) {
        ++seed;
        addHouse(at(h.azimuth, h.distance), rad(h.yaw), h.width, h.depth, h.walls, h.roof,
                 kWalls[seed % 6], kRoofs[(seed * 7) % 5], seed);
    }
    // Village trees between the houses.
    const float villageTrees[][2] = {{219, 140}, {248, 180}, {258, 130}, {272, 140},
                                     {280, 205}, {288, 110}, {218, 175}, {298, 190}};
    for (const auto& t : villageTrees) {
        ++seed;
        addTree(at(t[0], t[1]), Crown::round, 9.0f + 5.0f * unit(seed, 1),
                3.5f + 2.0f * unit(seed, 2), seed);
    }

    // A big oak in the meadow close by, and a lone tree across the track.
    addTree(at(302, 32), Crown::round, 14.0f, 6.6f, 11);
    addTree(at(183, 46), Crown::round, 11.0f, 4.8f, 12);

    addWindmill(at(322, 125), rad(322 + 180 + 25));

    // Scattered trees and a wood to the north.
    for (int i = 0; i < 34; ++i) {
        ++seed;
        const float az = 330.0f + 70.0f * unit(seed, 1);
        const float d = i < 10 ? 60.0f + 160.0f * unit(seed, 2) : 280.0f + 170.0f * unit(seed, 2);
        const V2 p = at(az, d);
        if (!onLand(p, 20.0f))
            continue;
        addTree(p, Crown::round, 10.0f + 7.0f * unit(seed, 3), 3.5f + 3.0f * unit(seed, 4), seed);
    }

    // Firs on the southern dunes.
    for (int i = 0; i < 26; ++i) {
        ++seed;
        const float az = 150.0f + 60.0f * unit(seed, 1);
        const V2 p = at(az, 55.0f + 190.0f * unit(seed, 2));
        if (!onLand(p, 3.0f))
            continue;
        addTree(p, Crown::cone, 9.0f + 9.0f * unit(seed, 3), 2.2f + 1.6f * unit(seed, 4), seed);
    }

    // The lighthouse on the northern headland, with its keeper's cottage.
    const V2 light = at(44, 215);
    addLighthouse(light);
    addHouse(light + at(200, 14), rad(130), 8.0f, 5.5f, 3.2f, 2.6f, kWalls[0], kRoofs[2], 502);
}

void Scene::binObjects() {
    for (auto& bin : m_bins)
        bin.clear();
    const float binWidth = 2.0f * kPi / kBins;
    for (size_t i = 0; i < m_objects.size(); ++i) {
        Object& o = m_objects[i];
        const float dist = length(o.centre);
        const float nearest = std::max(dist - o.radius, 0.05f);
        o.minElevation = std::atan2(-kEyeHeight, nearest) - 0.002f;
        o.maxElevation = std::atan2(o.top - kEyeHeight, nearest) + 0.002f;
        const float half = dist > o.radius ? std::asin(o.radius / dist) : kPi;
        float az = std::atan2(o.centre.x, o.centre.y);
        const int first = int(std::floor((az - half) / binWidth)) - 1;
        const int last = int(std::floor((az + half) / binWidth)) + 1;
        for (int b = first; b <= last && b < first + kBins; ++b)
            m_bins[size_t(((b % kBins) + kBins) % kBins)].push_back(int(i));
    }
    // The sky floor: the highest object or ridge in each bin, plus a pixel or two.
    for (int b = 0; b < kBins; ++b) {
        float top = 0.0f;
        for (int index : m_bins[size_t(b)])
            top = std::max(top, m_objects[size_t(index)].maxElevation);
        for (size_t layer = 0; layer < m_ridges.size(); ++layer) {
            const Ridge& r = m_ridges[layer];
            const size_t n = r.height.size();
            for (size_t k = size_t(b) * n / kBins; k <= (size_t(b) + 1) * n / kBins; ++k)
                top = std::max(top, std::atan2(r.height[k % n] - kEyeHeight, r.range));
        }
        m_skyFloor[size_t(b)] = top + 0.004f;
    }
}

float Scene::skyFloor(float azimuth) const {
    const int bin = int(azimuth / (2.0f * kPi) * kBins);
    return m_skyFloor[size_t(std::clamp(bin, 0, kBins - 1))];
}

void Scene::buildShadowGrid() {
    // Each object's shadow sweeps a capsule from its foot away from the sun.
    m_shadowGrid.assign(size_t(kShadowCells * kShadowCells), {});
    const V2 away = -(xy(m_sun) * (1.0f / length(xy(m_sun))));
    const float tanSun = m_sun.z / length(xy(m_sun));
    const float origin = -0.5f * kShadowCells * kShadowCell;
    const float slack = kShadowCell * 0.75f;
    for (size_t i = 0; i < m_objects.size(); ++i) {
        const Object& o = m_objects[i];
        const V2 a = o.centre, b = o.centre + away * (o.top / tanSun);
        const float reach = o.radius + slack;
        const int x0 = int(std::floor((std::min(a.x, b.x) - reach - origin) / kShadowCell));
        const int x1 = int(std::floor((std::max(a.x, b.x) + reach - origin) / kShadowCell));
        const int y0 = int(std::floor((std::min(a.y, b.y) - reach - origin) / kShadowCell));
        const int y1 = int(std::floor((std::max(a.y, b.y) + reach - origin) / kShadowCell));
        for (int y = std::max(y0, 0); y <= std::min(y1, kShadowCells - 1); ++y)
            for (int x = std::max(x0, 0); x <= std::min(x1, kShadowCells - 1); ++x) {
                const V2 c{origin + (float(x) + 0.5f) * kShadowCell,
                           origin + (float(y) + 0.5f) * kShadowCell};
                const V2 ab = b - a;
                const float t = saturate(dot(c - a, ab) / std::max(dot(ab, ab), 1e-6f));
                if (length(c - (a + ab * t)) <= reach)
                    m_shadowGrid[size_t(y * kShadowCells + x)].push_back(int(i));
            }
    }
}

} // namespace pano
