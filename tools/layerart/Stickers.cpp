// Stickers: opaque illustrated objects for normal blending. Shapes are painted
// with QPainter (antialiased paths, gradients) or sampled from signed distances,
// then given light, shade and a little texture so they sit in a photograph.

#include "Catalogue.h"
#include "LightShapes.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <array>

namespace layerart {

namespace {

QColor qc(Rgb c, float alpha = 1.0f) {
    return QColor::fromRgbF(clamp01(c.r), clamp01(c.g), clamp01(c.b), clamp01(alpha));
}

/// Paints `brush` over what is already inside `path` without changing coverage:
/// shading and highlights that stay within the shape's antialiased edge.
void shade(QPainter& p, const QPainterPath& path, const QBrush& brush) {
    p.save();
    p.setCompositionMode(QPainter::CompositionMode_SourceAtop);
    p.fillPath(path, brush);
    p.restore();
}

QPainter::RenderHints smooth() {
    return QPainter::Antialiasing | QPainter::SmoothPixmapTransform;
}

/// Multiplies colour by a fine noise inside the rectangle: fabric, paper, stone.
void grain(QImage& canvas, const QRectF& area, float amount, float scale, std::uint32_t seed) {
    shadeCanvas(canvas, [&](Rgb c, float x, float y) {
        if (!area.contains(x, y))
            return c;
        return c * (1.0f + amount * fbm(x / scale, y / scale, seed, 3));
    });
}

// ---------------------------------------------------------------- balloon

QImage hotAirBalloon() {
    constexpr int w = 768;
    constexpr int h = 1024;
    QImage canvas = newCanvas(w, h);
    const float cx = w / 2.0f;
    const float radius = 290.0f;
    const float equator = 350.0f;
    const float mouthY = 790.0f;
    const float mouthHalf = 62.0f;

    // The envelope's outline as (half width, y) from the crown down to the mouth:
    // a sphere above the equator, then a smooth taper.
    std::vector<QPointF> profile;
    for (int i = 0; i <= 90; ++i) {
        const float a = (-90.0f + float(i)) * pi / 180.0f;
        profile.emplace_back(radius * std::cos(a), equator + radius * std::sin(a));
    }
    for (int i = 1; i <= 120; ++i) {
        const float t = float(i) / 120.0f;
        const float half =
            mouthHalf + (radius - mouthHalf) * std::pow(std::cos(t * pi / 2.0f), 1.25f);
        profile.emplace_back(half, equator + t * (mouthY - equator));
    }
    auto meridian = [&](float phi) {
        std::vector<QPointF> line;
        for (const QPointF& q : profile)
            line.emplace_back(cx + q.x() * std::sin(phi), q.y());
        return line;
    };
    QPainterPath envelope;
    {
        const auto right = meridian(pi / 2.0f);
        const auto left = meridian(-pi / 2.0f);
        envelope.moveTo(right.front());
        for (const QPointF& q : right)
            envelope.lineTo(q);
        for (auto it = left.rbegin(); it != left.rend(); ++it)
            envelope.lineTo(*it);
        envelope.closeSubpath();
    }

    QPainter p(&canvas);
    p.setRenderHints(smooth());
    p.setPen(Qt::NoPen);
    // Gores: panels between meridians, in alternating colours, over a base fill so
    // their shared antialiased edges never let the background through.
    p.fillPath(envelope, qc(hex(0xB8324A)));
    const std::vector<Rgb> colours{hex(0xD62839), hex(0xF5B83D), hex(0xD62839),
                                   hex(0xF4E9D0), hex(0x2F5DA8), hex(0xF4E9D0)};
    constexpr int gores = 12;
    for (int k = 0; k < gores; ++k) {
        const float a0 = -pi / 2.0f + pi * float(k) / gores;
        const float a1 = -pi / 2.0f + pi * float(k + 1) / gores;
        const auto m0 = meridian(a0);
        const auto m1 = meridian(a1);
        QPainterPath gore;
        gore.moveTo(m0.front());
        for (const QPointF& q : m0)
            gore.lineTo(q);
        for (auto it = m1.rbegin(); it != m1.rend(); ++it)
            gore.lineTo(*it);
        gore.closeSubpath();
        p.fillPath(gore, qc(colours[std::size_t(k) % colours.size()]));
    }
    // A navy crown band below the equator with a zigzag of gold.
    {
        p.save();
        p.setClipPath(envelope);
        const float top = equator + 95.0f;
        const float bottom = top + 46.0f;
        p.fillRect(QRectF(0, top, w, bottom - top), qc(hex(0x1E3565)));
        QPainterPath zig;
        for (int i = 0; i <= 40; ++i) {
            const float x = float(i) * w / 40.0f;
            const float y = (i % 2) ? top + 10.0f : bottom - 10.0f;
            i == 0 ? zig.moveTo(x, y) : zig.lineTo(x, y);
        }
        p.setPen(QPen(qc(hex(0xF5C04A)), 5.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPath(zig);
        p.restore();
    }
    // Seams along every meridian and a few horizontal load tapes.
    p.setPen(QPen(qc(hex(0x000000), 0.16f), 2.0));
    for (int k = 1; k < gores; ++k) {
        const auto m = meridian(-pi / 2.0f + pi * float(k) / gores);
        QPainterPath seam;
        seam.moveTo(m.front());
        for (const QPointF& q : m)
            seam.lineTo(q);
        p.drawPath(seam);
    }
    p.setPen(Qt::NoPen);
    // Round shading: light from the upper left, shadow on the far side and below.
    {
        QRadialGradient light(QPointF(cx - 0.38f * radius, equator - 0.45f * radius),
                              1.45f * radius);
        light.setColorAt(0.0, qc(hex(0xFFFFFF), 0.42f));
        light.setColorAt(0.3, qc(hex(0xFFFFFF), 0.08f));
        light.setColorAt(0.62, qc(hex(0x000000), 0.0f));
        light.setColorAt(1.0, qc(hex(0x10081A), 0.5f));
        shade(p, envelope, light);
        QLinearGradient below(0, equator, 0, mouthY);
        below.setColorAt(0.0, qc(hex(0x000000), 0.0f));
        below.setColorAt(1.0, qc(hex(0x140A18), 0.38f));
        shade(p, envelope, below);
    }
    // Skirt at the mouth.
    const float skirtBottom = mouthY + 34.0f;
    {
        QPainterPath skirt;
        skirt.moveTo(cx - mouthHalf - 1.0f, mouthY - 2.0f);
        skirt.lineTo(cx + mouthHalf + 1.0f, mouthY - 2.0f);
        skirt.lineTo(cx + mouthHalf - 10.0f, skirtBottom);
        skirt.lineTo(cx - mouthHalf + 10.0f, skirtBottom);
        skirt.closeSubpath();
        QLinearGradient g(cx - mouthHalf, 0, cx + mouthHalf, 0);
        g.setColorAt(0.0, qc(hex(0x8E2A22)));
        g.setColorAt(0.35, qc(hex(0xB6452F)));
        g.setColorAt(1.0, qc(hex(0x5C1A18)));
        p.fillPath(skirt, g);
    }
    // Ropes and basket.
    const QRectF basket(cx - 48.0f, 905.0f, 96.0f, 78.0f);
    p.setPen(QPen(qc(hex(0x4A3322)), 3.0, Qt::SolidLine, Qt::RoundCap));
    for (const float side : {-1.0f, 1.0f}) {
        p.drawLine(QPointF(cx + side * (mouthHalf - 12.0f), skirtBottom - 2.0f),
                   QPointF(cx + side * 44.0f, basket.top() + 2.0f));
        p.drawLine(QPointF(cx + side * (mouthHalf - 34.0f), skirtBottom - 2.0f),
                   QPointF(cx + side * 16.0f, basket.top() + 2.0f));
    }
    p.setPen(Qt::NoPen);
    QPainterPath basketPath;
    basketPath.moveTo(basket.left(), basket.top());
    basketPath.lineTo(basket.right(), basket.top());
    basketPath.lineTo(basket.right() - 7.0f, basket.bottom() - 8.0f);
    basketPath.quadTo(basket.right() - 8.0f, basket.bottom(), basket.right() - 18.0f,
                      basket.bottom());
    basketPath.lineTo(basket.left() + 18.0f, basket.bottom());
    basketPath.quadTo(basket.left() + 8.0f, basket.bottom(), basket.left() + 7.0f,
                      basket.bottom() - 8.0f);
    basketPath.closeSubpath();
    p.fillPath(basketPath, qc(hex(0xB27B42)));
    p.end();

    // Wicker weave, then the basket's own light and its rim.
    shadeCanvas(canvas, [&](Rgb c, float x, float y) {
        if (!basket.adjusted(-2, -2, 2, 2).contains(x, y) || y < basket.top() + 1.0f)
            return c;
        const float row = std::floor((y - basket.top()) / 9.0f);
        const float phase = std::fmod(row, 2.0f) * 6.0f;
        const float weave = 0.5f + 0.5f * std::sin((x + phase) * 2.0f * pi / 12.0f);
        const float gap = smoothstep(0.0f, 1.5f, std::fmod(y - basket.top(), 9.0f));
        return c * ((0.78f + 0.3f * weave) * (0.7f + 0.3f * gap));
    });
    p.begin(&canvas);
    p.setRenderHints(smooth());
    {
        QLinearGradient g(basket.left(), 0, basket.right(), 0);
        g.setColorAt(0.0, qc(hex(0xFFFFFF), 0.18f));
        g.setColorAt(0.4, qc(hex(0xFFFFFF), 0.0f));
        g.setColorAt(1.0, qc(hex(0x000000), 0.4f));
        shade(p, basketPath, g);
        p.setPen(Qt::NoPen);
        QPainterPath rim;
        rim.addRoundedRect(
            QRectF(basket.left() - 4.0f, basket.top() - 4.0f, basket.width() + 8.0f, 13.0f), 5.0,
            5.0);
        QLinearGradient r(0, basket.top() - 4.0f, 0, basket.top() + 9.0f);
        r.setColorAt(0.0, qc(hex(0x9A6A3A)));
        r.setColorAt(1.0, qc(hex(0x5E3E22)));
        p.fillPath(rim, r);
    }
    // A fine darker edge keeps the silhouette crisp when the sticker is small.
    p.setPen(QPen(qc(hex(0x2A1020), 0.35f), 2.0));
    p.setBrush(Qt::NoBrush);
    p.drawPath(envelope);
    p.end();
    grain(canvas, QRectF(0, 0, w, h), 0.03f, 3.0f, 301u);
    return finishSticker(canvas, 301u);
}

// ---------------------------------------------------------------- birds

struct BirdPose {
    float x, y;     // body centre
    float span;     // half wingspan
    float arch;     // how high the elbows rise
    float tip;      // wing tip height: positive up, negative for a downstroke
    float rotation; // radians
};

QPainterPath birdPath(const BirdPose& b) {
    const float L = b.span;
    QPainterPath path;
    // Right wing: up to the elbow, out to a pointed tip, back along the trailing edge.
    path.moveTo(0.0f, -0.05f * L);
    path.cubicTo(0.18f * L, -0.22f * L - b.arch, 0.36f * L, -0.26f * L - b.arch, 0.5f * L,
                 -0.18f * L - b.arch);
    path.cubicTo(0.68f * L, -0.1f * L - b.arch * 0.6f, 0.86f * L, -0.02f * L - b.tip, L,
                 0.02f * L - b.tip);
    path.cubicTo(0.84f * L, 0.05f * L - b.tip * 0.7f, 0.66f * L, 0.0f - b.arch * 0.35f, 0.48f * L,
                 -0.06f * L - b.arch * 0.7f);
    path.cubicTo(0.34f * L, -0.1f * L - b.arch * 0.8f, 0.18f * L, 0.02f * L - b.arch * 0.3f,
                 0.05f * L, 0.1f * L);
    // A short rounded tail under the body.
    path.cubicTo(0.06f * L, 0.15f * L, 0.025f * L, 0.19f * L, 0.0f, 0.19f * L);
    path.cubicTo(-0.025f * L, 0.19f * L, -0.06f * L, 0.15f * L, -0.05f * L, 0.1f * L);
    // Left wing, mirrored.
    path.cubicTo(-0.18f * L, 0.02f * L - b.arch * 0.3f, -0.34f * L, -0.1f * L - b.arch * 0.8f,
                 -0.48f * L, -0.06f * L - b.arch * 0.7f);
    path.cubicTo(-0.66f * L, 0.0f - b.arch * 0.35f, -0.84f * L, 0.05f * L - b.tip * 0.7f, -L,
                 0.02f * L - b.tip);
    path.cubicTo(-0.86f * L, -0.02f * L - b.tip, -0.68f * L, -0.1f * L - b.arch * 0.6f, -0.5f * L,
                 -0.18f * L - b.arch);
    path.cubicTo(-0.36f * L, -0.26f * L - b.arch, -0.18f * L, -0.22f * L - b.arch, 0.0f,
                 -0.05f * L);
    path.closeSubpath();
    // Head and body, just ahead of the wings.
    path.addEllipse(QPointF(0.0f, -0.06f * L), 0.06f * L, 0.07f * L);
    path.addEllipse(QPointF(0.0f, 0.04f * L), 0.07f * L, 0.1f * L);
    path.setFillRule(Qt::WindingFill);
    QTransform t;
    t.translate(b.x, b.y);
    t.rotateRadians(b.rotation);
    return t.map(path).simplified();
}

QImage birds() {
    constexpr int w = 1536;
    constexpr int h = 768;
    QImage canvas = newCanvas(w, h);
    const std::vector<BirdPose> flock{
        {360.0f, 400.0f, 230.0f, 40.0f, 70.0f, -0.08f},
        {820.0f, 250.0f, 150.0f, 20.0f, -30.0f, 0.1f},
        {1120.0f, 430.0f, 120.0f, 32.0f, 55.0f, -0.12f},
        {1010.0f, 600.0f, 90.0f, 12.0f, -20.0f, 0.05f},
        {1330.0f, 230.0f, 80.0f, 26.0f, 40.0f, 0.14f},
        {640.0f, 580.0f, 70.0f, 18.0f, 10.0f, -0.2f},
    };
    QPainter p(&canvas);
    p.setRenderHints(smooth());
    p.setPen(Qt::NoPen);
    for (const BirdPose& b : flock) {
        const QPainterPath path = birdPath(b);
        // Gulls: white body, pale grey wings, black tips; they read on sky and
        // on dark backgrounds alike.
        QRadialGradient g(QPointF(b.x, b.y), b.span);
        g.setColorAt(0.0, qc(hex(0xFBFCFD)));
        g.setColorAt(0.3, qc(hex(0xE6EAEF)));
        g.setColorAt(0.68, qc(hex(0xB9C1CB)));
        g.setColorAt(0.8, qc(hex(0x5A6068)));
        g.setColorAt(0.9, qc(hex(0x1E2126)));
        p.fillPath(path, g);
        QLinearGradient under(0, b.y - 0.35f * b.span, 0, b.y + 0.25f * b.span);
        under.setColorAt(0.0, qc(hex(0xFFFFFF), 0.0f));
        under.setColorAt(1.0, qc(hex(0x3A4250), 0.35f));
        shade(p, path, under);
        p.setPen(QPen(qc(hex(0x2A2E35), 0.55f), std::max(1.2, 0.012 * b.span)));
        p.setBrush(Qt::NoBrush);
        p.drawPath(path);
        p.setPen(Qt::NoPen);
    }
    p.end();
    return finishSticker(canvas, 302u);
}

// ---------------------------------------------------------------- cloud

QImage cloud() {
    constexpr int w = 1536;
    constexpr int h = 896;
    struct Puff {
        float x, y, r;
    };
    const float base = 700.0f;
    std::vector<Puff> puffs{{330, 590, 150},  {520, 470, 210}, {760, 400, 250}, {1000, 470, 200},
                            {1190, 570, 140}, {640, 600, 170}, {880, 590, 180}, {250, 650, 95},
                            {1290, 650, 90},  {430, 620, 130}, {1100, 630, 120}};
    Rng rng(303u);
    // Small puffs along the upper edges make the outline billow instead of arc.
    for (int i = 0; i < 16; ++i) {
        const Puff& host = puffs[std::size_t(rng.below(5))];
        const float a = rng.range(-2.5f, -0.6f);
        const float r = rng.range(40.0f, 75.0f);
        puffs.push_back({host.x + (host.r - 0.45f * r) * std::cos(a),
                         host.y + (host.r - 0.45f * r) * std::sin(a), r});
    }
    const float lx = -0.45f;
    const float ly = -0.72f;
    const float lz = 0.52f;
    const float ln = std::sqrt(lx * lx + ly * ly + lz * lz);
    QImage canvas = sampleSticker(w, h, 2, [&](float x, float y) {
        // Outline: smooth union of the puffs' distances, cut flat underneath. The
        // start value stays small enough for float to keep sub-pixel precision.
        float d = 1e4f;
        // Surface: a soft maximum of the puffs' hemispheres, so neighbouring puffs
        // blend into each other instead of meeting in hard creases.
        constexpr float k = 10.0f;
        float weightSum = 0.0f;
        float gx = 0.0f;
        float gy = 0.0f;
        for (const Puff& p : puffs) {
            const float dx = x - p.x;
            const float dy = y - p.y;
            const float dist = std::hypot(dx, dy);
            const float di = dist - p.r;
            const float blend = clamp01(0.5f + 0.5f * (d - di) / 30.0f);
            d = mixf(d, di, blend) - 30.0f * blend * (1.0f - blend);
            const float height = std::sqrt(std::max(p.r * p.r - dist * dist, 0.0f));
            if (height <= 0.0f)
                continue;
            const float weight = std::exp(height / k);
            const float slope = 1.0f / std::max(height, 0.12f * p.r);
            weightSum += weight;
            gx += weight * dx * slope;
            gy += weight * dy * slope;
        }
        d = std::max(d, (y - base) - 12.0f * fbm(x / 110.0f, 0.5f, 304u, 2));
        d += 3.0f * fbm(x / 30.0f, y / 30.0f, 305u, 3);
        const float coverage = clamp01(0.5f - d);
        if (coverage <= 0.0f)
            return Rgba{};
        // Surface normal from the blended slope, plus small billows.
        gx = gx / std::max(weightSum, 1e-6f) + 0.25f * fbm(x / 45.0f, y / 45.0f, 306u, 4);
        gy = gy / std::max(weightSum, 1e-6f) + 0.25f * fbm(x / 45.0f + 9.0f, y / 45.0f, 307u, 4);
        const float facing = (gx * lx + gy * ly + lz) / (ln * std::sqrt(gx * gx + gy * gy + 1.0f));
        // Half-Lambert: clouds scatter light, so shadows stay open and soft.
        const float lit = clamp01(0.5f + 0.55f * facing);
        Rgb c = mix(hex(0x8D9CB6), hex(0xFFFFFF), std::pow(lit, 1.3f));
        c = mix(hex(0xFFF8EE), c, 0.92f);
        // Greyer and cooler towards the flat base.
        c = mix(c, hex(0x7F8CA6), 0.6f * smoothstep(base - 200.0f, base + 10.0f, y));
        return Rgba{c, coverage};
    });
    return finishSticker(canvas, 303u);
}

// ---------------------------------------------------------------- moons

/// The moon's surface at a point of its disc (unit coordinates, r <= 1): dark
/// maria, bright highlands, craters and one rayed crater. `relief` scales crater
/// shading, which only shows when the sun is low; light comes from (lx, ly).
Rgb moonSurface(float u, float v, float lx, float ly, float relief) {
    const float r2 = u * u + v * v;
    const float z = std::sqrt(std::max(0.0f, 1.0f - r2));
    const float maria =
        smoothstep(-0.1f, 0.3f, fbm(u * 1.25f + 3.0f, v * 1.25f - 1.0f, 401u, 6) + 0.1f * u);
    Rgb c = mix(hex(0xE9E6DC), hex(0x8E8C88), 0.8f * maria);
    c = c * (0.93f + 0.1f * fbm(u * 14.0f, v * 14.0f, 402u, 4));
    static const std::vector<std::array<float, 3>> craters = [] {
        std::vector<std::array<float, 3>> list;
        Rng rng(403u);
        for (int i = 0; i < 45; ++i) {
            const float a = rng.range(0.0f, 2.0f * pi);
            const float d = std::sqrt(rng.uniform()) * 0.93f;
            list.push_back(
                {d * std::cos(a), d * std::sin(a), 0.012f + 0.06f * std::pow(rng.uniform(), 3.0f)});
        }
        return list;
    }();
    for (const auto& [cu, cv, cr] : craters) {
        const float du = (u - cu) / cr;
        const float dv = (v - cv) / cr;
        const float d = std::hypot(du, dv);
        if (d > 1.4f)
            continue;
        // A bowl shadowed towards the light, its far rim catching it, and a
        // bright ejecta ring that shows even under a high sun.
        const float facing = (du * lx + dv * ly) / std::max(d, 1e-3f);
        const float bowl = (1.0f - smoothstep(0.75f, 1.0f, d)) * (0.1f + 0.2f * facing) * relief;
        const float rim = gauss(d - 1.0f, 0.12f) * 0.22f * -facing * relief;
        const float ejecta = 0.1f * gauss(d - 1.05f, 0.2f);
        c = c * (1.0f - bowl + rim + ejecta);
    }
    // A young crater with bright rays across the southern highlands.
    {
        const float du = u + 0.12f;
        const float dv = v - 0.62f;
        const float d = std::hypot(du, dv);
        const float rays =
            std::pow(std::max(0.0f, loopNoise(std::atan2(dv, du), 26.0f, 404u, 2)), 2.0f);
        c = c * (1.0f + 0.45f * rays * std::exp(-d / 0.4f) * smoothstep(0.02f, 0.06f, d) +
                 0.25f * gauss(d, 0.018f));
    }
    const float limb = 0.8f + 0.2f * std::pow(z, 0.5f);
    return c * limb;
}

QImage fullMoon() {
    constexpr int side = 1024;
    constexpr float c = side / 2.0f;
    constexpr float radius = 440.0f;
    QImage canvas = sampleSticker(side, side, 2, [&](float x, float y) {
        const float u = (x - c) / radius;
        const float v = (y - c) / radius;
        const float d = (std::hypot(u, v) - 1.0f) * radius;
        const float coverage = clamp01(0.5f - d);
        if (coverage <= 0.0f)
            return Rgba{};
        return Rgba{
            moonSurface(std::clamp(u, -1.0f, 1.0f), std::clamp(v, -1.0f, 1.0f), -0.6f, -0.8f, 0.3f),
            coverage};
    });
    return finishSticker(canvas, 304u);
}

QImage crescentMoon() {
    constexpr int side = 1024;
    constexpr float c = side / 2.0f;
    constexpr float radius = 430.0f;
    // The shadow disc, offset towards the upper right, leaves a crescent lit from
    // the lower left.
    const float sx = c + 0.5f * radius;
    const float sy = c - 0.28f * radius;
    const float shadowRadius = 0.96f * radius;
    QImage canvas = sampleSticker(side, side, 2, [&](float x, float y) {
        const float u = (x - c) / radius;
        const float v = (y - c) / radius;
        const float inMoon = std::hypot(x - c, y - c) - radius;
        const float inShadow = shadowRadius - std::hypot(x - sx, y - sy);
        const float d = std::max(inMoon, inShadow);
        const float coverage = clamp01(0.5f - d);
        if (coverage <= 0.0f)
            return Rgba{};
        Rgb surface = moonSurface(std::clamp(u, -1.0f, 1.0f), std::clamp(v, -1.0f, 1.0f), 0.55f,
                                  -0.35f, 1.0f);
        // Dimmer towards the terminator, as the sun sits low there.
        surface = surface * (0.72f + 0.28f * smoothstep(0.0f, 120.0f, -inShadow));
        return Rgba{mix(surface, hex(0xFFF3D6), 0.15f), coverage};
    });
    return finishSticker(canvas, 305u);
}

// ---------------------------------------------------------------- paper plane

QImage paperPlane() {
    constexpr int w = 1024;
    constexpr int h = 768;
    QImage canvas = newCanvas(w, h);
    const QPointF nose(940, 210);
    const QPointF farTip(150, 150);
    const QPointF tail(250, 395);
    const QPointF nearTip(330, 640);
    const QPointF keel(360, 470);
    auto face = [](std::initializer_list<QPointF> points) {
        QPainterPath path;
        bool first = true;
        for (const QPointF& q : points) {
            first ? path.moveTo(q) : path.lineTo(q);
            first = false;
        }
        path.closeSubpath();
        return path;
    };
    const QPainterPath farWing = face({nose, farTip, tail});
    const QPainterPath keelFace = face({nose, tail, keel});
    const QPainterPath nearWing = face({nose, tail, nearTip});

    QPainter p(&canvas);
    p.setRenderHints(smooth());
    p.setPen(Qt::NoPen);
    auto paint = [&](const QPainterPath& path, Rgb bright, Rgb dark, QPointF from, QPointF to) {
        QLinearGradient g(from, to);
        g.setColorAt(0.0, qc(bright));
        g.setColorAt(1.0, qc(dark));
        p.fillPath(path, g);
    };
    const QPainterPath outline = farWing.united(keelFace).united(nearWing).simplified();
    p.fillPath(outline, qc(hex(0xC8CFD9)));
    paint(farWing, hex(0xF4F6F8), hex(0xD9DEE6), nose, farTip);
    paint(keelFace, hex(0x9AA6B8), hex(0x6E7B90), nose, keel);
    paint(nearWing, hex(0xFFFFFF), hex(0xE3E8EF), nose, nearTip);
    // A soft shadow the near wing casts across the keel's fold.
    {
        QLinearGradient g(tail, keel);
        g.setColorAt(0.0, qc(hex(0x000000), 0.0f));
        g.setColorAt(1.0, qc(hex(0x1C2433), 0.25f));
        shade(p, keelFace, g);
    }
    // Folds and edges.
    p.setPen(QPen(qc(hex(0x8C98AA), 0.9f), 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawLine(nose, tail);
    p.setPen(QPen(qc(hex(0xB8C2D0), 0.8f), 1.5, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(nose.x() - 40, nose.y() + 8), QPointF(tail.x() + 120, tail.y() + 25));
    p.setPen(QPen(qc(hex(0x7D889A), 0.7f), 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(outline);
    p.end();
    // Paper fibres.
    grain(canvas, QRectF(0, 0, w, h), 0.035f, 2.5f, 306u);
    return finishSticker(canvas, 306u);
}

// ---------------------------------------------------------------- lighthouse

QImage lighthouse() {
    constexpr int w = 640;
    constexpr int h = 1280;
    QImage canvas = newCanvas(w, h);
    const float cx = w / 2.0f;
    const float towerTop = 430.0f;
    const float towerBottom = 1070.0f;
    const float topHalf = 72.0f;
    const float bottomHalf = 112.0f;
    auto halfAt = [&](float y) {
        return mixf(topHalf, bottomHalf, (y - towerTop) / (towerBottom - towerTop));
    };
    // Bands are slightly curved, as rings round a cylinder seen from a little above.
    auto band = [&](float y0, float y1) {
        QPainterPath path;
        path.moveTo(cx - halfAt(y0), y0);
        path.quadTo(cx, y0 + 14.0f, cx + halfAt(y0), y0);
        path.lineTo(cx + halfAt(y1), y1);
        path.quadTo(cx, y1 + 14.0f, cx - halfAt(y1), y1);
        path.closeSubpath();
        return path;
    };
    const QPainterPath tower = band(towerTop, towerBottom);

    QPainter p(&canvas);
    p.setRenderHints(smooth());
    p.setPen(Qt::NoPen);
    // Rocks first; the tower stands on them.
    Rng rng(307u);
    for (int i = 0; i < 14; ++i) {
        const float rx = cx + rng.range(-230.0f, 230.0f) * (i < 7 ? 0.6f : 1.0f);
        const float ry = 1120.0f + rng.range(-30.0f, 70.0f) + (i < 7 ? -10.0f : 40.0f);
        const float rr = rng.range(45.0f, 95.0f);
        QPainterPath rock;
        for (int k = 0; k <= 48; ++k) {
            const float a = 2.0f * pi * float(k) / 48.0f;
            const float wobble = 1.0f + 0.18f * loopNoise(a, 5.0f, 308u + std::uint32_t(i));
            const QPointF q(rx + rr * wobble * std::cos(a), ry + 0.62f * rr * wobble * std::sin(a));
            k == 0 ? rock.moveTo(q) : rock.lineTo(q);
        }
        rock.closeSubpath();
        QRadialGradient g(QPointF(rx - 0.35f * rr, ry - 0.35f * rr), 1.3f * rr);
        const Rgb tone = mix(hex(0x7C7F84), hex(0x5E5A55), rng.uniform());
        g.setColorAt(0.0, qc(tone * 1.3f));
        g.setColorAt(0.55, qc(tone));
        g.setColorAt(1.0, qc(tone * 0.55f));
        p.fillPath(rock, g);
    }
    // Tower: white body, three red bands, then round shading.
    p.fillPath(tower, qc(hex(0xF2EEE6)));
    for (int i = 0; i < 4; ++i) {
        const float y0 = towerTop + 80.0f + float(i) * 150.0f;
        p.fillPath(band(y0, std::min(y0 + 75.0f, towerBottom)), qc(hex(0xC7333B)));
    }
    {
        QLinearGradient g(cx - bottomHalf, 0, cx + bottomHalf, 0);
        g.setColorAt(0.0, qc(hex(0x000000), 0.18f));
        g.setColorAt(0.25, qc(hex(0xFFFFFF), 0.22f));
        g.setColorAt(0.5, qc(hex(0xFFFFFF), 0.0f));
        g.setColorAt(1.0, qc(hex(0x0A0A20), 0.45f));
        shade(p, tower, g);
    }
    // Door and windows.
    {
        QPainterPath door;
        door.moveTo(cx - 26.0f, towerBottom + 6.0f);
        door.lineTo(cx - 26.0f, towerBottom - 60.0f);
        door.arcTo(QRectF(cx - 26.0f, towerBottom - 86.0f, 52.0f, 52.0f), 180.0, -180.0);
        door.lineTo(cx + 26.0f, towerBottom + 6.0f);
        door.closeSubpath();
        p.fillPath(door, qc(hex(0x3A2A22)));
        for (const float y : {towerTop + 190.0f, towerTop + 340.0f, towerTop + 490.0f}) {
            QPainterPath window;
            window.addRoundedRect(QRectF(cx - 11.0f, y, 22.0f, 34.0f), 10.0, 10.0);
            p.fillPath(window, qc(hex(0x2B3340)));
            p.fillRect(QRectF(cx - 11.0f, y + 30.0f, 22.0f, 5.0f), qc(hex(0xD8D2C6)));
        }
    }
    // Gallery: deck, railing, lantern room, dome and finial.
    const float deckY = towerTop - 8.0f;
    QPainterPath deck;
    deck.addRoundedRect(QRectF(cx - 112.0f, deckY - 4.0f, 224.0f, 20.0f), 6.0, 6.0);
    {
        QLinearGradient g(0, deckY - 4.0f, 0, deckY + 16.0f);
        g.setColorAt(0.0, qc(hex(0x505860)));
        g.setColorAt(1.0, qc(hex(0x252A30)));
        p.fillPath(deck, g);
    }
    const float lanternTop = deckY - 110.0f;
    {
        QRectF glass(cx - 58.0f, lanternTop, 116.0f, 110.0f);
        QRadialGradient g(QPointF(cx, lanternTop + 55.0f), 80.0f);
        g.setColorAt(0.0, qc(hex(0xFFFBE0)));
        g.setColorAt(0.45, qc(hex(0xFFE27A)));
        g.setColorAt(1.0, qc(hex(0xF0A830)));
        p.fillRect(glass, g);
        p.setPen(QPen(qc(hex(0x2A2F36)), 5.0));
        for (const float x : {cx - 58.0f, cx - 20.0f, cx + 20.0f, cx + 58.0f})
            p.drawLine(QPointF(x, lanternTop), QPointF(x, deckY - 4.0f));
        p.drawLine(QPointF(cx - 60.0f, lanternTop + 2.0f), QPointF(cx + 60.0f, lanternTop + 2.0f));
        // Railing round the gallery.
        p.setPen(QPen(qc(hex(0x2A2F36)), 3.0));
        p.drawLine(QPointF(cx - 108.0f, deckY - 42.0f), QPointF(cx + 108.0f, deckY - 42.0f));
        for (int i = 0; i <= 12; ++i) {
            const float x = cx - 106.0f + float(i) * 212.0f / 12.0f;
            p.drawLine(QPointF(x, deckY - 42.0f), QPointF(x, deckY - 4.0f));
        }
        p.setPen(Qt::NoPen);
    }
    {
        QPainterPath dome;
        dome.moveTo(cx - 72.0f, lanternTop + 4.0f);
        dome.cubicTo(cx - 68.0f, lanternTop - 60.0f, cx + 68.0f, lanternTop - 60.0f, cx + 72.0f,
                     lanternTop + 4.0f);
        dome.closeSubpath();
        QRadialGradient g(QPointF(cx - 25.0f, lanternTop - 38.0f), 100.0f);
        g.setColorAt(0.0, qc(hex(0xE85A5E)));
        g.setColorAt(0.5, qc(hex(0xB3262E)));
        g.setColorAt(1.0, qc(hex(0x5E1016)));
        p.fillPath(dome, g);
        QPainterPath ball;
        ball.addEllipse(QPointF(cx, lanternTop - 52.0f), 11.0, 11.0);
        QRadialGradient b(QPointF(cx - 4.0f, lanternTop - 56.0f), 14.0f);
        b.setColorAt(0.0, qc(hex(0x7C848C)));
        b.setColorAt(1.0, qc(hex(0x23282E)));
        p.fillPath(ball, b);
        p.setPen(QPen(qc(hex(0x23282E)), 4.0, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(cx, lanternTop - 62.0f), QPointF(cx, lanternTop - 92.0f));
    }
    p.end();
    grain(canvas, QRectF(0, towerTop, w, h - towerTop), 0.045f, 4.0f, 309u);
    return finishSticker(canvas, 307u);
}

// ---------------------------------------------------------------- kite

QImage kite() {
    constexpr int w = 768;
    constexpr int h = 1024;
    QImage canvas = newCanvas(w, h);
    const QPointF top(400, 70);
    const QPointF right(650, 300);
    const QPointF bottom(400, 690);
    const QPointF left(150, 300);
    const QPointF cross(400, 300);
    auto tri = [](QPointF a, QPointF b, QPointF c) {
        QPainterPath path;
        path.moveTo(a);
        path.lineTo(b);
        path.lineTo(c);
        path.closeSubpath();
        return path;
    };
    QPainter p(&canvas);
    p.setRenderHints(smooth());
    // Tail first, so the kite covers its knot: a sagging string with bows.
    QPainterPath tail;
    std::vector<QPointF> tailPoints;
    for (int i = 0; i <= 60; ++i) {
        const float t = float(i) / 60.0f;
        tailPoints.emplace_back(400.0f + 90.0f * std::sin(t * 2.6f * pi) * t - 40.0f * t,
                                690.0f + t * 290.0f);
    }
    tail.moveTo(tailPoints.front());
    for (const QPointF& q : tailPoints)
        tail.lineTo(q);
    p.setPen(QPen(qc(hex(0x4A4036)), 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(tail);
    p.setPen(Qt::NoPen);
    const std::vector<Rgb> bowColours{hex(0xF2B632), hex(0x2C8C99), hex(0xE0453A), hex(0xF2B632)};
    for (int i = 0; i < 4; ++i) {
        const QPointF at = tailPoints[std::size_t(12 + i * 12)];
        QPainterPath bow;
        bow.moveTo(at);
        bow.cubicTo(at + QPointF(-46, -34), at + QPointF(-62, 22), at + QPointF(-8, 6));
        bow.closeSubpath();
        bow.moveTo(at);
        bow.cubicTo(at + QPointF(46, 34), at + QPointF(62, -22), at + QPointF(8, -6));
        bow.closeSubpath();
        QRadialGradient g(at, 60.0);
        g.setColorAt(0.0, qc(bowColours[std::size_t(i)] * 0.75f));
        g.setColorAt(1.0, qc(bowColours[std::size_t(i)]));
        p.fillPath(bow, g);
        p.setBrush(qc(bowColours[std::size_t(i)] * 0.6f));
        p.drawEllipse(at, 8.0, 8.0);
    }
    QPainterPath sail;
    sail.moveTo(top);
    sail.lineTo(right);
    sail.lineTo(bottom);
    sail.lineTo(left);
    sail.closeSubpath();
    p.fillPath(sail, qc(hex(0x8A5A3A)));
    // Four sails, each billowing: brighter in its middle, darker at the seams.
    const std::vector<std::pair<QPainterPath, Rgb>> sails{
        {tri(top, cross, left), hex(0xE0453A)},
        {tri(top, right, cross), hex(0xF2B632)},
        {tri(cross, right, bottom), hex(0x2C8C99)},
        {tri(left, cross, bottom), hex(0xF4EAD5)},
    };
    for (const auto& [path, colour] : sails) {
        const QPointF centre = path.boundingRect().center();
        QRadialGradient g(
            centre, 0.75f * std::max(path.boundingRect().width(), path.boundingRect().height()));
        g.setColorAt(0.0, qc(colour * 1.08f));
        g.setColorAt(1.0, qc(colour * 0.72f));
        p.fillPath(path, g);
    }
    {
        QLinearGradient g(left, right);
        g.setColorAt(0.0, qc(hex(0xFFFFFF), 0.15f));
        g.setColorAt(0.5, qc(hex(0xFFFFFF), 0.0f));
        g.setColorAt(1.0, qc(hex(0x000000), 0.2f));
        shade(p, sail, g);
    }
    // Spars, binding and the bridle knot.
    p.setPen(QPen(qc(hex(0x5A3E24)), 6.0, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(top, bottom);
    p.drawLine(QPointF(left.x() + 4, left.y()), QPointF(right.x() - 4, right.y()));
    p.setPen(QPen(qc(hex(0x3A2A1C), 0.85f), 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(sail);
    p.setPen(Qt::NoPen);
    p.setBrush(qc(hex(0x3A2A1C)));
    p.drawEllipse(cross, 9.0, 9.0);
    p.end();
    grain(canvas, QRectF(0, 0, w, 700), 0.03f, 2.5f, 310u);
    return finishSticker(canvas, 308u);
}

// ---------------------------------------------------------------- ringed planet

QImage ringedPlanet() {
    constexpr int w = 1024;
    constexpr int h = 768;
    const float cx = w / 2.0f;
    const float cy = h / 2.0f;
    const float radius = 200.0f;
    const float tilt = -0.3f;
    const float squash = 0.3f;
    const float ct = std::cos(tilt);
    const float st = std::sin(tilt);
    const float inner = 265.0f;
    const float outer = 470.0f;
    auto ringOpacity = [&](float rho) {
        if (rho < inner || rho > outer)
            return 0.0f;
        const float t = (rho - inner) / (outer - inner);
        // Solid enough to read as a cut-out: only the narrow gap and the faint
        // inner ring let the sky through.
        const float gap = 1.0f - 0.85f * gauss(t - 0.62f, 0.012f);
        const float innerRing = mixf(0.55f, 1.0f, smoothstep(0.1f, 0.14f, t));
        const float edges = smoothstep(0.0f, 0.006f, t) * (1.0f - smoothstep(0.994f, 1.0f, t));
        return gap * innerRing * edges;
    };
    auto ringColour = [&](float rho) {
        const float t = (rho - inner) / (outer - inner);
        const float bands =
            0.5f + 0.35f * noise(t * 18.0f, 2.5f, 312u) + 0.15f * noise(t * 70.0f, 4.5f, 311u);
        return mix(hex(0xA88A66), hex(0xEFE2C4), clamp01(bands));
    };
    QImage canvas = sampleSticker(w, h, 3, [&](float x, float y) {
        const float dx = x - cx;
        const float dy = y - cy;
        // Ring-plane coordinates: rotate by the tilt, then undo the squash.
        const float u = dx * ct + dy * st;
        const float v = -dx * st + dy * ct;
        const float rho = std::hypot(u, v / squash);
        const float ring = ringOpacity(rho);
        const bool front = v > 0.0f;
        const float r = std::hypot(dx, dy);
        Rgb colour;
        float alpha = 0.0f;
        auto over = [&](Rgb c, float a) {
            colour = c * a + colour * (1.0f - a);
            alpha = a + alpha * (1.0f - a);
        };
        if (!front && ring > 0.0f)
            over(ringColour(rho) * 0.8f, ring);
        const float edge = clamp01(0.5f - (r - radius));
        if (edge > 0.0f) {
            const float pu = u / radius;
            const float pv = v / radius;
            const float z = std::sqrt(std::max(0.0f, 1.0f - pu * pu - pv * pv));
            // Bands run along the ring plane, stirred a little.
            const float lat = pv + 0.04f * fbm(pu * 3.0f, pv * 6.0f, 313u, 4);
            Rgb c = ramp({hex(0xC98E5A), hex(0xE9CFA0), hex(0xD9A56E), hex(0xF2E2C0), hex(0xB97E52),
                          hex(0xE8C89A), hex(0xCF9664)},
                         0.5f + 0.5f * std::sin(lat * 7.0f) * 0.9f);
            const float nx = dx / radius;
            const float ny = dy / radius;
            const float light = clamp01(0.15f + 0.85f * (-0.55f * nx - 0.45f * ny + 0.7f * z));
            c = c * (0.25f + 0.85f * light);
            // The rings' shadow across the planet, just below them.
            const float shadowV = v - 0.5f * squash * radius;
            const float shadow = ringOpacity(std::hypot(u, shadowV / squash)) * 0.5f;
            c = c * (1.0f - shadow * smoothstep(-0.1f, 0.2f, pv));
            over(c, edge);
        }
        if (front && ring > 0.0f)
            over(ringColour(rho), ring);
        if (alpha <= 0.0f)
            return Rgba{};
        return Rgba{colour * (1.0f / alpha), alpha};
    });
    return finishSticker(canvas, 309u);
}

// ---------------------------------------------------------------- sailboat

QImage sailboat() {
    constexpr int w = 896;
    constexpr int h = 1024;
    QImage canvas = newCanvas(w, h);
    const float mastX = 430.0f;
    const float mastTop = 90.0f;
    const float deckY = 760.0f;
    QPainter p(&canvas);
    p.setRenderHints(smooth());
    p.setPen(Qt::NoPen);
    // Mainsail: luff on the mast, foot on the boom, a full curved leech.
    QPainterPath main;
    main.moveTo(mastX - 6.0f, mastTop + 20.0f);
    main.cubicTo(mastX - 90.0f, 300.0f, mastX - 220.0f, 520.0f, 150.0f, 700.0f);
    main.lineTo(mastX - 6.0f, 700.0f);
    main.closeSubpath();
    // Jib: forestay from the mast to the bow.
    QPainterPath jib;
    jib.moveTo(mastX + 8.0f, mastTop + 60.0f);
    jib.lineTo(760.0f, 712.0f);
    jib.cubicTo(660.0f, 700.0f, 540.0f, 705.0f, mastX + 14.0f, 712.0f);
    jib.cubicTo(mastX + 60.0f, 520.0f, mastX + 50.0f, 300.0f, mastX + 8.0f, mastTop + 60.0f);
    jib.closeSubpath();
    for (const auto& [path, lit] : {std::pair{main, true}, std::pair{jib, false}}) {
        const QRectF box = path.boundingRect();
        QLinearGradient g(lit ? box.right() : box.left(), 0, lit ? box.left() : box.right(), 0);
        g.setColorAt(0.0, qc(hex(0xFFFDF7)));
        g.setColorAt(0.6, qc(hex(0xF1ECE0)));
        g.setColorAt(1.0, qc(hex(0xCFC8B8)));
        p.fillPath(path, g);
    }
    // Panel seams across the sails.
    p.setPen(QPen(qc(hex(0xA8A090), 0.5f), 1.6));
    for (int i = 1; i < 7; ++i) {
        const float y = mastTop + 20.0f + float(i) * 85.0f;
        p.save();
        p.setClipPath(main);
        p.drawLine(QPointF(100.0f, y + 30.0f), QPointF(mastX, y - 10.0f));
        p.restore();
        p.save();
        p.setClipPath(jib);
        p.drawLine(QPointF(mastX, y + 20.0f), QPointF(800.0f, y + 80.0f));
        p.restore();
    }
    p.setPen(QPen(qc(hex(0x8C8474), 0.8f), 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(main);
    p.drawPath(jib);
    // Mast, boom and pennant.
    p.setPen(QPen(qc(hex(0x5C6066)), 9.0, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(mastX, mastTop), QPointF(mastX, deckY));
    p.setPen(QPen(qc(hex(0x6B4A2E)), 8.0, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(140.0f, 708.0f), QPointF(mastX, 708.0f));
    p.setPen(Qt::NoPen);
    QPainterPath pennant;
    pennant.moveTo(mastX, mastTop - 2.0f);
    pennant.cubicTo(mastX + 40.0f, mastTop - 8.0f, mastX + 70.0f, mastTop + 4.0f, mastX + 96.0f,
                    mastTop + 10.0f);
    pennant.cubicTo(mastX + 66.0f, mastTop + 16.0f, mastX + 36.0f, mastTop + 24.0f, mastX,
                    mastTop + 26.0f);
    pennant.closeSubpath();
    p.fillPath(pennant, qc(hex(0xD63A36)));
    // Hull: sheer line rising to the bow, a rounded bottom, a white stripe.
    QPainterPath hull;
    hull.moveTo(110.0f, deckY - 10.0f);
    hull.cubicTo(350.0f, deckY + 8.0f, 620.0f, deckY + 4.0f, 820.0f, deckY - 40.0f);
    hull.cubicTo(760.0f, deckY + 70.0f, 640.0f, deckY + 130.0f, 470.0f, deckY + 135.0f);
    hull.cubicTo(300.0f, deckY + 138.0f, 170.0f, deckY + 110.0f, 128.0f, deckY + 70.0f);
    hull.closeSubpath();
    {
        QLinearGradient g(0, deckY - 20.0f, 0, deckY + 140.0f);
        g.setColorAt(0.0, qc(hex(0x2A4C7A)));
        g.setColorAt(1.0, qc(hex(0x12233D)));
        p.fillPath(hull, g);
        p.save();
        p.setClipPath(hull);
        QPainterPath stripe;
        stripe.moveTo(100.0f, deckY + 22.0f);
        stripe.cubicTo(350.0f, deckY + 40.0f, 620.0f, deckY + 36.0f, 840.0f, deckY - 8.0f);
        stripe.lineTo(840.0f, deckY + 6.0f);
        stripe.cubicTo(620.0f, deckY + 50.0f, 350.0f, deckY + 54.0f, 100.0f, deckY + 36.0f);
        stripe.closeSubpath();
        p.fillPath(stripe, qc(hex(0xF2EFE8)));
        p.fillRect(QRectF(0, deckY + 112.0f, w, 60.0f), qc(hex(0xA9302C)));
        p.restore();
        QLinearGradient shine(110.0f, 0, 820.0f, 0);
        shine.setColorAt(0.0, qc(hex(0x000000), 0.25f));
        shine.setColorAt(0.45, qc(hex(0xFFFFFF), 0.12f));
        shine.setColorAt(1.0, qc(hex(0x000000), 0.15f));
        shade(p, hull, shine);
    }
    p.end();
    grain(canvas, QRectF(0, 0, w, deckY - 40.0f), 0.02f, 2.5f, 314u);
    return finishSticker(canvas, 310u);
}

} // namespace

std::vector<Asset> stickerAssets() {
    const QString c = QStringLiteral("Stickers");
    return {
        {c, QStringLiteral("Birds"), birds},
        {c, QStringLiteral("Cloud"), cloud},
        {c, QStringLiteral("Crescent moon"), crescentMoon},
        {c, QStringLiteral("Full moon"), fullMoon},
        {c, QStringLiteral("Hot-air balloon"), hotAirBalloon},
        {c, QStringLiteral("Kite"), kite},
        {c, QStringLiteral("Lighthouse"), lighthouse},
        {c, QStringLiteral("Paper plane"), paperPlane},
        {c, QStringLiteral("Ringed planet"), ringedPlanet},
        {c, QStringLiteral("Sailboat"), sailboat},
    };
}

} // namespace layerart
