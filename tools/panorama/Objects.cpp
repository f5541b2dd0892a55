// Ray casting of the things that stand on the ground: buildings are unions of
// convex solids and vertical frustums, tree crowns are noisy volumes. Because they
// are real 3D shapes seen from the eye, their verticals stay vertical in the
// equirectangular image and their bases sit on the ground where they should.
#include "Noise.h"
#include "Scene.h"

namespace pano {

namespace {

float crownShape(const Prim& c, V3 p) {
    const V3 d = p - c.centre;
    switch (c.crown) {
    case Crown::round:
        // Broad lobes keep the crown from looking like a ball on a stick.
        return 1.0f - length(V3{d.x / c.rx, d.y / c.rx, d.z / c.rz}) +
               0.35f * noise3(d * (1.2f / c.rx), c.seed + 3);
    case Crown::column: {
        const float qz = d.z / c.rz;
        // Poplars narrow towards the top.
        const float taper = 1.0f - 0.45f * std::max(qz, 0.0f);
        const float radial = length(xy(d)) / (c.rx * taper);
        return 1.0f - std::sqrt(radial * radial + qz * qz);
    }
    case Crown::cone: {
        const float zt = d.z / c.rz; // centre is the crown's base, rz its height
        if (zt <= 0.0f || zt >= 1.0f)
            return std::min(zt, 1.0f - zt) * 6.0f - 0.2f;
        // Whorls of branches: each tier flares out at its lower edge.
        const float tier = zt * 7.0f - std::floor(zt * 7.0f);
        const float allowed = c.rx * (1.0f - zt) * (0.72f + 0.28f * (1.0f - tier));
        return std::min(1.0f - length(xy(d)) / std::max(allowed, 0.05f), zt * 6.0f);
    }
    }
    return -1.0f;
}

float crownScale(const Prim& c) {
    switch (c.crown) {
    case Crown::cone:
        return 0.7f;
    case Crown::column:
        return 0.85f;
    case Crown::round:
        break;
    }
    return 1.3f;
}

float crownDensity(const Prim& c, V3 p, int octaves, float* shape = nullptr) {
    const float s = crownShape(c, p);
    if (shape)
        *shape = s;
    if (s < -0.8f)
        return s;
    return s + kCrownRoughness * fbm3(p * (1.0f / crownScale(c)), octaves, c.seed);
}

/// Entry and exit of a ray through a vertical cylinder cut by two horizontal planes.
bool cylinderSpan(V2 axis, float radius, float z0, float z1, const Ray& ray, float& t0, float& t1) {
    const V2 o = xy(ray.origin) - axis;
    const V2 d = xy(ray.dir);
    const float a = dot(d, d), b = dot(o, d), c = dot(o, o) - radius * radius;
    if (a < 1e-12f)
        return false;
    const float disc = b * b - a * c;
    if (disc <= 0)
        return false;
    const float root = std::sqrt(disc);
    t0 = (-b - root) / a;
    t1 = (-b + root) / a;
    if (std::abs(ray.dir.z) > 1e-9f) {
        float za = (z0 - ray.origin.z) / ray.dir.z, zb = (z1 - ray.origin.z) / ray.dir.z;
        if (za > zb)
            std::swap(za, zb);
        t0 = std::max(t0, za);
        t1 = std::min(t1, zb);
    } else if (ray.origin.z < z0 || ray.origin.z > z1) {
        return false;
    }
    return t1 > std::max(t0, 0.0f);
}

struct Leaf {
    V3 normal;
    float gap;  // distance to the next leaf's edge; small between leaves
    float tone; // each leaf its own shade
};

/// Single leaves: the nearest point of a jittered 3D lattice picks a leaf, tilted
/// at random, so sunlight breaks into flecks with dark gaps between them.
Leaf leafAt(V3 p, V3 n, uint32_t seed) {
    constexpr float cell = 0.09f;
    const V3 q = p * (1.0f / cell);
    const int ix = int(std::floor(q.x)), iy = int(std::floor(q.y)), iz = int(std::floor(q.z));
    float f1 = 1e9f, f2 = 1e9f;
    uint32_t id = 0;
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const uint32_t h = hash3(ix + dx, iy + dy, iz + dz, seed);
                const V3 c{float(ix + dx) + unit(h, 0), float(iy + dy) + unit(h, 1),
                           float(iz + dz) + unit(h, 2)};
                const V3 d = q - c;
                const float d2 = dot(d, d);
                if (d2 < f1) {
                    f2 = f1;
                    f1 = d2;
                    id = h;
                } else if (d2 < f2) {
                    f2 = d2;
                }
            }
    const V3 tilt{unit(id, 3) * 2 - 1, unit(id, 4) * 2 - 1, unit(id, 5) * 2 - 1};
    return {normalize(n + tilt * 0.9f), std::sqrt(f2) - std::sqrt(f1), unit(id, 6)};
}

bool latticeHole(const Prim& prim, V3 p) {
    const V3 rel = p - prim.centre;
    const float u = dot(rel, prim.along);
    const float v = dot(rel, prim.across);
    const float halfWidth = prim.r0;
    if (u < 1.6f || std::abs(v) < 0.16f || std::abs(v) > halfWidth - 0.12f)
        return false;   // stock, whip and rails
    if (prim.seed & 1u) // these two carry their canvas
        return v < 0.0f;
    const float bars = u / 0.75f - std::floor(u / 0.75f);
    return bars > 0.16f;
}

} // namespace

bool intersect(const Prim& prim, const std::vector<Plane>& planes, const Ray& ray, float tMax,
               Hit& hit) {
    switch (prim.shape) {
    case Shape::convex: {
        float tIn = -1e30f, tOut = tMax;
        int face = -1;
        for (int i = 0; i < prim.planeCount; ++i) {
            const Plane& pl = planes[size_t(prim.firstPlane + i)];
            const float denom = dot(pl.n, ray.dir);
            const float dist = pl.d - dot(pl.n, ray.origin);
            if (std::abs(denom) < 1e-12f) {
                if (dist < 0)
                    return false;
                continue;
            }
            const float t = dist / denom;
            if (denom < 0) {
                if (t > tIn) {
                    tIn = t;
                    face = i;
                }
            } else {
                tOut = std::min(tOut, t);
            }
            if (tIn > tOut)
                return false;
        }
        if (face < 0 || tIn <= 1e-4f || tIn >= tMax)
            return false;
        if (prim.lattice && latticeHole(prim, ray.origin + ray.dir * tIn))
            return false;
        const Plane& pl = planes[size_t(prim.firstPlane + face)];
        hit.t = tIn;
        hit.normal = pl.n;
        hit.material = pl.material;
        return true;
    }
    case Shape::frustum: {
        const float slope = (prim.r1 - prim.r0) / (prim.z1 - prim.z0);
        const V2 o = xy(ray.origin) - prim.axis;
        const V2 d = xy(ray.dir);
        const float A = prim.r0 + slope * (ray.origin.z - prim.z0);
        const float B = slope * ray.dir.z;
        const float a = dot(d, d) - B * B;
        const float b = dot(o, d) - A * B;
        const float c = dot(o, o) - A * A;
        float best = tMax;
        V3 normal{};
        const float disc = b * b - a * c;
        if (disc >= 0 && std::abs(a) > 1e-12f) {
            const float root = std::sqrt(disc);
            for (float t : {(-b - root) / a, (-b + root) / a}) {
                if (t <= 1e-4f || t >= best)
                    continue;
                const V3 p = ray.origin + ray.dir * t;
                if (p.z < prim.z0 || p.z > prim.z1 || A + B * t < 0)
                    continue;
                const V2 r = xy(p) - prim.axis;
                normal = normalize(V3{r.x, r.y, -slope * length(r)});
                best = t;
            }
        }
        // Flat caps: the top when it has a radius, the bottom when it is off the ground.
        const auto cap = [&](float z, float radius, float nz) {
            if (radius <= 0 || std::abs(ray.dir.z) < 1e-9f)
                return;
            const float t = (z - ray.origin.z) / ray.dir.z;
            if (t <= 1e-4f || t >= best)
                return;
            const V2 r = xy(ray.origin + ray.dir * t) - prim.axis;
            if (dot(r, r) <= radius * radius) {
                best = t;
                normal = {0, 0, nz};
            }
        };
        cap(prim.z1, prim.r1, 1.0f);
        if (prim.z0 > 0.05f)
            cap(prim.z0, prim.r0, -1.0f);
        if (best >= tMax)
            return false;
        hit.t = best;
        hit.normal = normal;
        hit.material = prim.material;
        return true;
    }
    case Shape::foliage: {
        float t0, t1;
        if (!cylinderSpan(prim.axis, prim.r0, prim.z0, prim.z1, ray, t0, t1))
            return false;
        t0 = std::max(t0, 1e-3f);
        t1 = std::min(t1, tMax);
        if (t0 >= t1)
            return false;
        const float step = std::max(0.1f, 0.12f * std::min(prim.rx, prim.rz));
        // Close crowns get a finer octave: their outline is seen leaf cluster by cluster.
        const int oct = length(xy(prim.centre) - xy(ray.origin)) < 80.0f ? 4 : 3;
        float t = t0;
        float prev = crownDensity(prim, ray.origin + ray.dir * t, oct);
        if (prev > 0) {
            t1 = t0; // entering through the bound itself: a leafy edge
        }
        while (t < t1) {
            // Far outside the crown the density is strongly negative: stride longer.
            const float stride = step * std::clamp(1.0f - prev * 2.5f, 1.0f, 3.0f);
            const float tn = std::min(t + stride, t1);
            const float f = crownDensity(prim, ray.origin + ray.dir * tn, oct);
            if (f > 0) {
                float lo = t, hi = tn;
                for (int i = 0; i < 5; ++i) {
                    const float mid = 0.5f * (lo + hi);
                    (crownDensity(prim, ray.origin + ray.dir * mid, oct) > 0 ? hi : lo) = mid;
                }
                t = hi;
                const V3 p = ray.origin + ray.dir * t;
                const float e = 0.06f * std::min(prim.rx, 3.0f);
                float shape = 0;
                const float f0 = crownDensity(prim, p, 4, &shape);
                const V3 grad{crownDensity(prim, p + V3{e, 0, 0}, 4) - f0,
                              crownDensity(prim, p + V3{0, e, 0}, 4) - f0,
                              crownDensity(prim, p + V3{0, 0, e}, 4) - f0};
                hit.t = t;
                hit.normal = normalize(-grad);
                if (dot(hit.normal, ray.dir) > 0)
                    hit.normal =
                        normalize(hit.normal - ray.dir * (1.2f * dot(hit.normal, ray.dir)));
                hit.material = Material::leaves;
                hit.shape = shape;
                return true;
            }
            prev = f;
            t = tn;
        }
        if (prev > 0 && t0 < tMax) {
            const V3 p = ray.origin + ray.dir * t0;
            hit.t = t0;
            hit.normal = normalize(V3{p.x - prim.axis.x, p.y - prim.axis.y, 0});
            hit.material = Material::leaves;
            hit.shape = 0;
            return true;
        }
        return false;
    }
    }
    return false;
}

bool Scene::traceObjects(const Ray& ray, float elevation, float azimuth, Hit& hit) const {
    int bin = int(azimuth / (2.0f * kPi) * kBins);
    bin = std::clamp(bin, 0, kBins - 1);
    bool found = false;
    for (int index : m_bins[size_t(bin)]) {
        const Object& o = m_objects[size_t(index)];
        if (elevation < o.minElevation || elevation > o.maxElevation)
            continue;
        for (int i = 0; i < o.primCount; ++i) {
            const int pi = o.firstPrim + i;
            if (intersect(m_prims[size_t(pi)], m_planes, ray, hit.t, hit)) {
                hit.prim = pi;
                found = true;
            }
        }
    }
    return found;
}

float Scene::objectShadow(V3 p, int skipObject) const {
    const float origin = -0.5f * kShadowCells * kShadowCell;
    const int gx = int(std::floor((p.x - origin) / kShadowCell));
    const int gy = int(std::floor((p.y - origin) / kShadowCell));
    if (gx < 0 || gy < 0 || gx >= kShadowCells || gy >= kShadowCells)
        return 1.0f; // far out, shadows are too small to matter
    const V2 toSun = xy(m_sun) * (1.0f / length(xy(m_sun)));
    const float tanSun = m_sun.z / length(xy(m_sun));
    const Ray ray{p, m_sun};
    float light = 1.0f;
    for (int oi : m_shadowGrid[size_t(gy * kShadowCells + gx)]) {
        if (oi == skipObject)
            continue;
        const Object& o = m_objects[size_t(oi)];
        const V2 c = o.centre - xy(p);
        const float along = dot(c, toSun);
        const float reach = (o.top - p.z) / tanSun;
        if (along < -o.radius || along > reach + o.radius)
            continue;
        const V2 side = c - toSun * along;
        if (dot(side, side) > o.radius * o.radius)
            continue;
        for (int i = 0; i < o.primCount; ++i) {
            const Prim& prim = m_prims[size_t(o.firstPrim + i)];
            if (prim.shape == Shape::foliage) {
                // Crowns cast soft, dappled shade: how close the sun ray passes to
                // the crown's middle, in the crown's own proportions.
                const V3 scale{1.0f / prim.rx, 1.0f / prim.rx, 1.0f / prim.rz};
                V3 centre = prim.centre;
                if (prim.crown == Crown::cone)
                    centre.z += prim.rz * 0.35f;
                const V3 o3 = (p - centre) * scale;
                const V3 d3 = m_sun * scale;
                const float tc = std::max(0.0f, -dot(o3, d3) / dot(d3, d3));
                const float miss = length(o3 + d3 * tc);
                const V3 near = p + m_sun * (tc);
                const float dapple = 0.3f * noise3(near * (1.0f / 0.8f), prim.seed);
                const float shade = 1.0f - smoothstep(0.55f, 0.95f, miss + dapple);
                light *= 1.0f - 0.9f * shade;
            } else {
                Hit h;
                if (intersect(prim, m_planes, ray, 1e6f, h))
                    return 0.0f;
            }
        }
        if (light < 0.02f)
            return 0.0f;
    }
    return light;
}

Rgb Scene::shadeObject(const Ray& ray, const Hit& hit, float fp) const {
    const Prim& prim = m_prims[size_t(hit.prim)];
    const Object& obj = m_objects[size_t(prim.object)];
    const V3 p = ray.origin + ray.dir * hit.t;
    V3 n = hit.normal;
    Rgb albedo{0.5f, 0.5f, 0.5f};
    Rgb emit{0, 0, 0};
    float ao = 1.0f;
    float gloss = 0.0f;
    const V2 ux = heading(obj.yaw + kPi / 2); // building frame: x along the ridge
    const V2 uy{-ux.y, ux.x};
    const V2 local{dot(xy(p) - obj.centre, ux), dot(xy(p) - obj.centre, uy)};
    const float grime = fbm3(p * (1.0f / 1.5f), 4, obj.seed, fp / 1.5f);

    switch (hit.material) {
    case Material::wall:
    case Material::gable: {
        albedo = obj.wall * (0.92f + 0.12f * grime);
        albedo = albedo * (1.0f - 0.25f * smoothstep(0.5f, 0.0f, p.z)); // splash at the foot
        if (hit.material == Material::gable || obj.openings == Openings::none)
            break;
        // Find the position across the face and decide whether it is glass.
        float u = 0, span = 1;
        if (obj.openings == Openings::mill) {
            const float ang = std::atan2(p.x - obj.centre.x, p.y - obj.centre.y) - obj.yaw;
            span = 2.0f * kPi;
            u = ang - std::floor(ang / span) * span;
        } else if (std::abs(dot(xy(n), ux)) > 0.7f) {
            u = local.y;
            span = obj.depth;
        } else {
            u = local.x;
            span = obj.width;
        }
        bool glass = false, frame = false, door = false;
        const auto opening = [&](float cu, float halfW, float z0, float z1, float border) {
            const float du = std::abs(u - cu),
                        inside = std::min(halfW - du, std::min(p.z - z0, z1 - p.z));
            if (inside > border)
                glass = true;
            else if (inside > 0)
                frame = true;
        };
        switch (obj.openings) {
        case Openings::cottage: {
            const int columns = std::max(1, int(span / 2.7f));
            const float pitch = span / float(columns);
            const float cu = (std::floor((u + span / 2) / pitch) + 0.5f) * pitch - span / 2;
            const bool front = dot(xy(n), uy) < -0.7f;
            const bool middle = std::abs(cu) < pitch * 0.5f;
            if (front && middle && columns >= 2) {
                opening(cu, 0.55f, 0.0f, 2.15f, 0.09f);
                door = glass;
                glass = false;
            } else {
                opening(cu, 0.5f, 0.95f, 2.2f, 0.09f);
            }
            if (obj.wallHeight > 4.5f)
                opening(cu, 0.5f, obj.wallHeight - 2.1f, obj.wallHeight - 0.9f, 0.09f);
            break;
        }
        case Openings::nave: {
            const float pitch = 3.2f;
            const float cu = (std::floor(u / pitch) + 0.5f) * pitch;
            const float arch =
                4.6f + 0.55f * std::sqrt(std::max(0.0f, 1.0f - std::pow((u - cu) / 0.55f, 2.0f)));
            if (std::abs(u) < span / 2 - 1.2f)
                opening(cu, 0.55f, 2.2f, arch, 0.07f);
            break;
        }
        case Openings::belfry:
            if (p.z > obj.wallHeight - 4.2f)
                opening(0.0f, 0.65f, obj.wallHeight - 3.8f, obj.wallHeight - 1.3f, 0.1f);
            break;
        case Openings::mill: {
            const float door0 = 0.0f;
            float du = std::abs(u - door0);
            du = std::min(du, span - du);
            if (du * 3.5f < 0.6f && p.z < 2.3f)
                door = true;
            for (float level : {5.0f, 9.0f}) {
                const float cu = std::round(u / (kPi / 2)) * (kPi / 2) + (level > 6 ? kPi / 4 : 0);
                if (std::abs(u - cu) * 3.2f < 0.38f && p.z > level && p.z < level + 1.1f)
                    glass = true;
            }
            break;
        }
        case Openings::none:
            break;
        }
        if (door)
            albedo = srgb(96, 64, 44) * (0.85f + 0.3f * unit(obj.seed, 3));
        else if (frame)
            albedo = srgb(236, 234, 228);
        else if (glass) {
            V3 r = ray.dir - n * (2.0f * dot(ray.dir, n));
            r.z = std::abs(r.z);
            albedo = srgb(24, 28, 34);
            emit = skyRadiance(r) * 0.18f;
        }
        break;
    }
    case Material::roof: {
        // Courses of tiles: joints darken, each tile its own shade.
        const float course = p.z / 0.19f;
        const float row = std::floor(course);
        const float across = std::abs(dot(xy(n), ux)) > 0.7f ? local.y : local.x;
        const float tile = across / 0.26f + (int(row) & 1) * 0.5f;
        const float joint = resolved(0.19f, fp);
        const float shade =
            1.0f - joint * (0.35f * smoothstep(0.75f, 1.0f, course - row) +
                            0.2f * smoothstep(0.88f, 1.0f,
                                              std::abs(2.0f * (tile - std::floor(tile)) - 1.0f)));
        const uint32_t th = hash2(int(std::floor(tile)), int(row), obj.seed);
        albedo = obj.roof *
                 (shade * (0.85f + 0.3f * mix(0.5f, unit(th), joint)) * (0.9f + 0.15f * grime));
        gloss = 0.05f;
        break;
    }
    case Material::chimney:
        albedo = srgb(150, 84, 62) * (0.9f + 0.2f * grime);
        break;
    case Material::timber:
        albedo = srgb(110, 84, 60) *
                 (0.8f + 0.3f * fbm3(V3{p.x * 3, p.y * 3, p.z * 0.3f}, 3, obj.seed, fp * 3));
        break;
    case Material::bark:
        albedo = srgb(92, 80, 66) *
                 (0.75f + 0.4f * fbm3(V3{p.x * 9, p.y * 9, p.z * 1.5f}, 3, obj.seed, fp * 9));
        break;
    case Material::tower: {
        // Red and white bands, slightly weathered.
        const float band = p.z / 4.2f;
        const float tri = std::abs(2.0f * (band - std::floor(band)) - 1.0f);
        const float blur = std::max(2.0f * fp / 4.2f, 0.01f); // settles to pink far away
        const float red = band < 1.0f ? 0.0f : smoothstep(0.5f - blur, 0.5f + blur, tri);
        albedo = mix(srgb(238, 236, 228), srgb(184, 40, 38), red) * (0.93f + 0.1f * grime);
        break;
    }
    case Material::lantern: {
        const float ang = std::atan2(p.x - prim.axis.x, p.y - prim.axis.y);
        const float pane = ang / (2.0f * kPi) * 12.0f;
        if (std::abs(pane - std::round(pane)) < 0.07f)
            albedo = srgb(40, 42, 44);
        else {
            albedo = srgb(30, 34, 30);
            emit = Rgb{1.0f, 0.86f, 0.55f} * 0.6f;
        }
        gloss = 0.3f;
        break;
    }
    case Material::iron:
        albedo = srgb(44, 46, 48);
        gloss = 0.15f;
        break;
    case Material::sail:
        albedo = (prim.seed & 1u) && dot(p - prim.centre, prim.across) > 0.16f ? srgb(226, 218, 200)
                                                                               : srgb(118, 92, 66);
        break;
    case Material::cap:
        albedo = srgb(72, 62, 52) * (0.9f + 0.2f * grime);
        break;
    case Material::leaves: {
        // Clumps of leaves; deep dents in the crown lie in its own shade.
        const float clumps = fbm3(p * (1.0f / 0.35f), 2, prim.seed + 7, fp / 0.35f);
        const float leaves = fbm3(p * (1.0f / 0.07f), 2, prim.seed + 8, fp / 0.07f);
        albedo = obj.leaves * (0.8f + 0.5f * clumps) * (0.75f + 0.6f * leaves);
        ao = 0.3f + 0.7f * saturate(1.0f - hit.shape * 3.0f);
        const V3 toSide =
            normalize(p - prim.centre - V3{0, 0, prim.crown == Crown::cone ? prim.rz * 0.4f : 0});
        const float facing = saturate(0.55f + 0.6f * dot(toSide, m_sun));
        float wrap = saturate((dot(n, m_sun) + 0.35f) / 1.35f);
        const float leafy = resolved(0.09f, fp);
        if (leafy > 0) {
            const Leaf leaf = leafAt(p, n, prim.seed + 11);
            wrap = mix(wrap, saturate((dot(leaf.normal, m_sun) + 0.15f) / 1.15f), 0.8f * leafy);
            albedo = albedo * mix(1.0f,
                                  (0.4f + 0.6f * smoothstep(0.0f, 0.3f, leaf.gap)) *
                                      (0.8f + 0.4f * leaf.tone),
                                  leafy);
        }
        const float sun = wrap * facing * objectShadow(p, prim.object);
        Rgb c = albedo * (m_sunLight * sun * ao + ambient(n) * ao);
        // Light through the leaves when the crown stands against the sun.
        const float back = std::pow(saturate(dot(ray.dir, m_sun)), 3.0f);
        c += obj.leaves * Rgb{1.2f, 1.3f, 0.5f} * (0.8f * back * (1.0f - facing) * ao);
        return fog(c, ray.dir, hit.t);
    }
    }

    const float sun = std::max(0.0f, dot(n, m_sun));
    const float shadow = sun > 0 ? objectShadow(p + n * 0.02f, -1) : 0.0f;
    // Buildings darken a little towards the ground, where less sky reaches them.
    ao *= 0.75f + 0.25f * smoothstep(0.0f, 2.5f, p.z);
    Rgb c = albedo * (m_sunLight * (sun * shadow) + ambient(n) * ao) + emit;
    if (gloss > 0) {
        V3 r = ray.dir - n * (2.0f * dot(ray.dir, n));
        c += m_sunLight * (gloss * shadow * std::pow(std::max(0.0f, dot(r, m_sun)), 40.0f));
    }
    return fog(c, ray.dir, hit.t);
}

} // namespace pano
