// Checks of the generator's own maths: how light is encoded for screen blending,
// dithering, sticker edges, spectral colour and determinism.

#include "ArtKit.h"
#include "Catalogue.h"
#include "LightShapes.h"
#include "Preview.h"

#include <QPainter>

#include <gtest/gtest.h>

using namespace layerart;

namespace {

/// Straight 8-bit pixel as premultiplied floats.
struct Premultiplied {
    float r, g, b, a;
};
Premultiplied premultiplied(QRgb p) {
    const float a = float(qAlpha(p)) / 255.0f;
    return {float(qRed(p)) / 255.0f * a, float(qGreen(p)) / 255.0f * a,
            float(qBlue(p)) / 255.0f * a, a};
}

float screen(float s, float b) {
    return s + b - s * b;
}

} // namespace

TEST(LightEncoding, ScreeningTheLayerMatchesScreeningLightOnBlack) {
    // Colours and strengths well inside the knee, where no roll-off applies.
    LightField field(256, 64);
    field.add([](float x, float y) {
        const float strength = 0.7f * x / 256.0f;
        return ramp({hex(0xFF6020), hex(0x40A0FF), hex(0xFFFFFF), hex(0x20FF60)}, y / 64.0f) *
               strength;
    });
    const QImage image = field.toImage(7u, false);
    ASSERT_EQ(image.format(), QImage::Format_ARGB32);

    for (const Rgb background : {hex(0x000000), hex(0x6A9FD8), hex(0x3C6E2A), hex(0xE8E8E8)}) {
        double sumError = 0.0;
        float worst = 0.0f;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 256; ++x) {
                const Premultiplied p = premultiplied(image.pixel(x, y));
                const Rgb light = field.at(x, y);
                for (const auto& [s, l, b] : {std::tuple{p.r, light.r, background.r},
                                              std::tuple{p.g, light.g, background.g},
                                              std::tuple{p.b, light.b, background.b}}) {
                    const float error = screen(s, b) - screen(l, b);
                    sumError += error;
                    worst = std::max(worst, std::abs(error));
                }
            }
        }
        // Each pixel is off by dither at most; on average the light is exact.
        EXPECT_LE(worst, 2.5f / 255.0f);
        EXPECT_LE(std::abs(sumError / (256.0 * 64.0 * 3.0)), 0.05 / 255.0);
    }
}

TEST(LightEncoding, FaintGradientsAreDitheredNotBanded) {
    // A ramp over three 8-bit steps: undithered it would be four bands. It starts
    // above the floor under which light is dropped as invisible.
    constexpr int w = 1024;
    LightField field(w, 32);
    field.add([](float x, float) {
        const float v = (0.5f + 3.0f * x / float(w)) / 255.0f;
        return Rgb{v, v, v};
    });
    const QImage image = field.toImage(11u, false);
    for (int block = 0; block < w / 64; ++block) {
        double sum = 0.0;
        double expected = 0.0;
        for (int y = 0; y < 32; ++y) {
            for (int x = block * 64; x < (block + 1) * 64; ++x) {
                sum += premultiplied(image.pixel(x, y)).r;
                expected += field.at(x, y).r;
            }
        }
        // Block averages follow the ramp instead of stepping between levels.
        EXPECT_NEAR(sum / (64.0 * 32.0), expected / (64.0 * 32.0), 0.12 / 255.0) << block;
    }
}

TEST(LightEncoding, HotCoresRollOffAndDeepOutputKeepsPrecision) {
    LightField field(64, 1);
    field.add([](float x, float) { return Rgb{x / 32.0f, 0.5f * x / 64.0f, 0.0f}; });
    const QImage deep = field.toImage(3u, true);
    ASSERT_EQ(deep.format(), QImage::Format_RGBA64);
    float previous = -1.0f;
    for (int x = 0; x < 64; ++x) {
        const QRgba64 p = reinterpret_cast<const QRgba64*>(deep.constScanLine(0))[x];
        const float alpha = float(p.alpha()) / 65535.0f;
        // Alpha is the brightest channel: rising, never clipped flat, below 1.
        EXPECT_GT(alpha, previous) << x;
        EXPECT_LT(alpha, 1.0f);
        previous = alpha;
        if (x > 0) {
            EXPECT_EQ(p.red(), 65535) << "the brightest channel is stored at full strength";
        }
    }
    EXPECT_NEAR(float(reinterpret_cast<const QRgba64*>(deep.constScanLine(0))[5].alpha()) /
                    65535.0f,
                5.5f / 32.0f, 1.0f / 65535.0f);
}

TEST(LightShapes, StarsKeepTheirEnergyWhereverTheyFall) {
    // A star half a pixel off the grid must be as bright in total as one on it,
    // or tiny stars would twinkle between frames of a rotating layer.
    for (const float sigma : {0.5f, 0.8f, 2.0f}) {
        for (const float offset : {0.0f, 0.25f, 0.5f, 0.8f}) {
            LightField field(32, 32);
            addStar(field, 16.0f + offset, 15.0f + offset * 0.5f, 3.0f, sigma, Rgb{1, 1, 1});
            double total = 0.0;
            for (int y = 0; y < 32; ++y) {
                for (int x = 0; x < 32; ++x)
                    total += field.at(x, y).r;
            }
            EXPECT_NEAR(total, 3.0, 1e-3) << sigma << ' ' << offset;
        }
    }
}

TEST(LightShapes, PolygonDistanceMeetsTheEdgesAndCorners) {
    const float radius = 50.0f;
    // A hexagon whose first flat side faces +x: zero at the middle of that side
    // (the apothem) and at the corner 30 degrees round, negative inside,
    // positive outside.
    const float apothem = radius * std::cos(pi / 6.0f);
    EXPECT_NEAR(polygonDistance(apothem, 0.0f, radius, 6, 0.0f, 0.0f), 0.0f, 1e-3f);
    EXPECT_NEAR(polygonDistance(radius * std::cos(pi / 6.0f), radius * std::sin(pi / 6.0f), radius,
                                6, 0.0f, 0.0f),
                0.0f, 1e-3f);
    // Turning the shape by half a sector puts a corner where the flat side was.
    EXPECT_NEAR(polygonDistance(radius, 0.0f, radius, 6, pi / 6.0f, 0.0f), 0.0f, 1e-3f);
    EXPECT_LT(polygonDistance(0.0f, 0.0f, radius, 6, 0.0f, 0.0f), -apothem + 1e-3f);
    EXPECT_GT(polygonDistance(0.0f, 60.0f, radius, 6, 0.0f, 0.0f), 0.0f);
    // Fewer than three sides means a circle.
    EXPECT_NEAR(polygonDistance(30.0f, 40.0f, radius, 0, 0.0f, 0.0f), 0.0f, 1e-4f);
}

TEST(StickerSampling, CoverageIsAntialiasedAndColourStaysStraight) {
    // Left of x = 10.5 is covered; the column that straddles it is half covered
    // and keeps the full colour once unpremultiplied.
    const QImage canvas = sampleSticker(20, 4, 4, [](float x, float) {
        return x < 10.5f ? Rgba{Rgb{0.2f, 0.6f, 1.0f}, 1.0f} : Rgba{};
    });
    const QImage sticker = finishSticker(canvas, 1u);
    EXPECT_EQ(qAlpha(sticker.pixel(9, 1)), 255);
    EXPECT_NEAR(qAlpha(sticker.pixel(10, 1)), 128, 1);
    EXPECT_EQ(qAlpha(sticker.pixel(11, 1)), 0);
    EXPECT_NEAR(qBlue(sticker.pixel(10, 1)), 255, 1);
    EXPECT_NEAR(qGreen(sticker.pixel(10, 1)), 153, 2);
}

TEST(Preview, ComposeUsesTheProgramsBlendMaths) {
    // Half-transparent orange over mid grey, in both modes, in encoded values.
    QImage art(1, 1, QImage::Format_ARGB32);
    art.setPixel(0, 0, qRgba(255, 128, 0, 128));
    QImage normal(1, 1, QImage::Format_RGB32);
    normal.fill(qRgb(100, 100, 100));
    QImage screened = normal;
    compose(normal, art, QRect(0, 0, 1, 1), false);
    compose(screened, art, QRect(0, 0, 1, 1), true);
    const float as = 128.0f / 255.0f;
    const float cb = 100.0f / 255.0f;
    for (const auto& [channel, straight] :
         {std::pair{0, 1.0f}, std::pair{1, 128.0f / 255.0f}, std::pair{2, 0.0f}}) {
        const float cs = straight * as;
        const auto value = [&](const QImage& image) {
            const QRgb p = image.pixel(0, 0);
            return float(channel == 0 ? qRed(p) : channel == 1 ? qGreen(p) : qBlue(p)) / 255.0f;
        };
        EXPECT_NEAR(value(normal), cs + cb * (1.0f - as), 2.0f / 255.0f) << channel;
        EXPECT_NEAR(value(screened), cs + cb - cs * cb, 2.0f / 255.0f) << channel;
    }
}

TEST(StickerFinish, EdgesKeepTheirColourAndHiddenPixelsBorrowIt) {
    QImage canvas = newCanvas(64, 64);
    {
        QPainter p(&canvas);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(230, 40, 30));
        p.drawEllipse(QPointF(32, 32), 20.3, 20.3);
    }
    const QImage sticker = finishSticker(canvas, 5u);
    int edgePixels = 0;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            const QRgb p = sticker.pixel(x, y);
            const double distance = std::hypot(x + 0.5 - 32.0, y + 0.5 - 32.0);
            if (qAlpha(p) > 0 && qAlpha(p) < 255)
                ++edgePixels;
            // Partly covered pixels keep the shape's colour: no dark fringe.
            // Transparent pixels just outside take it too, so filtering that
            // ignores alpha cannot pull black in.
            if (qAlpha(p) > 0 || distance < 24.0) {
                EXPECT_NEAR(qRed(p), 230, 3) << x << ',' << y;
                EXPECT_NEAR(qGreen(p), 40, 3) << x << ',' << y;
            }
        }
    }
    EXPECT_GT(edgePixels, 40) << "the edge should be antialiased";
}

TEST(Spectrum, OverlappingBandsAddUpToWhiteAndRunRedToViolet) {
    const Rgb white = spectralRing(100.0f, 5.0f, [](float) { return 100.0f; });
    EXPECT_NEAR(white.r, 1.0f, 1e-3f);
    EXPECT_NEAR(white.g, 1.0f, 1e-3f);
    EXPECT_NEAR(white.b, 1.0f, 1e-3f);

    const Rgb red = spectrum(0.05f);
    const Rgb violet = spectrum(0.95f);
    EXPECT_GT(red.r, 3.0f * red.b);
    EXPECT_GT(violet.b, 3.0f * violet.g);
}

TEST(Noise, IsBoundedAndSeamlessAroundTheCircle) {
    float low = 0.0f;
    float high = 0.0f;
    for (int i = 0; i < 20000; ++i) {
        const float v = fbm(float(i) * 0.173f, float(i % 97) * 0.311f, 9u, 5);
        low = std::min(low, v);
        high = std::max(high, v);
    }
    EXPECT_GE(low, -1.2f);
    EXPECT_LE(high, 1.2f);
    EXPECT_LT(low, -0.3f) << "noise should use its range";
    EXPECT_GT(high, 0.3f);
    EXPECT_NEAR(loopNoise(0.0f, 12.0f, 4u, 3), loopNoise(2.0f * pi, 12.0f, 4u, 3), 1e-4f);
}

TEST(Catalogue, SameArtEveryRun) {
    const std::vector<Asset> all = catalogue();
    QStringList files;
    for (const Asset& asset : all) {
        EXPECT_FALSE(files.contains(asset.fileName())) << asset.fileName().toStdString();
        files.append(asset.fileName());
    }
    // One light piece and one sticker, made twice.
    for (const QString& name : {QStringLiteral("Spark"), QStringLiteral("Birds")}) {
        const auto it =
            std::find_if(all.begin(), all.end(), [&](const Asset& a) { return a.name == name; });
        ASSERT_NE(it, all.end()) << name.toStdString();
        EXPECT_EQ(it->make(), it->make()) << name.toStdString();
    }
}
