#include "layers/LayerBlendMode.h"
#include "layers/LayerGeometry.h"
#include "render/ColorTables.h"
#include "render/Image.h"
#include "render/ImageNode.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QPainter>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>

using namespace velmora;
using render::Image;
using render::RenderContext;

namespace {

/// A w x h picture of one straight-alpha colour.
Image solid(int w, int h, QColor colour) {
    QImage image(w, h, QImage::Format_ARGB32);
    image.fill(colour);
    return Image::fromQImage(image);
}

/// Premultiplied, encoded RGBA of one pixel.
std::array<float, 4> pixelAt(const Image& image, int x, int y) {
    const std::vector<float> f = RenderContext().renderFloats(image, QRect(x, y, 1, 1));
    return {f[0], f[1], f[2], f[3]};
}

constexpr float tol = 1e-4f;

void expectRgba(const std::array<float, 4>& got, std::array<float, 4> want, float tolerance = tol) {
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(got[i], want[i], tolerance) << "channel " << i;
}

float code(int c) {
    return static_cast<float>(c) / 255.f;
}

} // namespace

TEST(ImageEngine, SourcesArePremultipliedEncodedValues) {
    const Image half = solid(4, 4, QColor(255, 128, 0, 128));
    expectRgba(pixelAt(half, 1, 1), {code(255) * code(128), code(128) * code(128), 0.f, code(128)});
    expectRgba(pixelAt(half, 9, 9), {0, 0, 0, 0}); // outside the extent
    EXPECT_EQ(half.extent(), QRectF(0, 0, 4, 4));
    EXPECT_TRUE(Image().isEmpty());
    EXPECT_TRUE(Image::fromQImage(QImage()).isEmpty());
}

TEST(ImageEngine, GammaRaisesStraightColourToThePower) {
    const Image grey = solid(2, 2, QColor(128, 64, 255));
    expectRgba(pixelAt(grey.gammaAdjusted(2.0), 0, 0),
               {std::pow(code(128), 2.f), std::pow(code(64), 2.f), 1.f, 1.f});
    expectRgba(pixelAt(grey.gammaAdjusted(0.5), 0, 0),
               {std::sqrt(code(128)), std::sqrt(code(64)), 1.f, 1.f});
    // Alpha is left alone and colour is treated unpremultiplied.
    const Image faint = solid(2, 2, QColor(128, 128, 128, 51));
    expectRgba(pixelAt(faint.gammaAdjusted(2.0), 0, 0),
               {std::pow(code(128), 2.f) * code(51), std::pow(code(128), 2.f) * code(51),
                std::pow(code(128), 2.f) * code(51), code(51)});
}

TEST(ImageEngine, ColourControlsSaturationBrightnessContrast) {
    const Image c = solid(2, 2, QColor(200, 100, 50));
    const float r = code(200), g = code(100), b = code(50);
    const float luma = 0.2125f * r + 0.7154f * g + 0.0721f * b;
    expectRgba(pixelAt(c.colorControls(0.0, 0.0, 1.0), 0, 0), {luma, luma, luma, 1.f});
    expectRgba(pixelAt(c.colorControls(1.0, 0.0, 2.0), 0, 0),
               {(r - 0.5f) * 2 + 0.5f, (g - 0.5f) * 2 + 0.5f, (b - 0.5f) * 2 + 0.5f, 1.f});
    expectRgba(pixelAt(c.colorControls(1.0, 0.1, 1.0), 0, 0), {r + 0.1f, g + 0.1f, b + 0.1f, 1.f});
    expectRgba(pixelAt(c.colorControls(1.0, 0.0, 1.0), 0, 0), {r, g, b, 1.f});
}

TEST(ImageEngine, RadialGradientHoldsItsColoursInsideAndOutsideTheRadii) {
    const Image g = Image::radialGradient({50, 50}, 10, 30, {1, 1, 1, 1}, {0.2, 0.2, 0.2, 1});
    EXPECT_TRUE(g.isInfinite());
    const auto valueAt = [&](int x, int y) { return pixelAt(g, x, y)[0]; };
    EXPECT_NEAR(valueAt(50, 50), 1.f, tol);
    EXPECT_NEAR(valueAt(58, 49), 1.f, tol); // 8.5 px out
    EXPECT_NEAR(valueAt(90, 90), 0.2f, tol);
    // Pixel (69, 49) has its centre 19.506 px away: 47.5 % of the way from r0 to r1.
    const float d = std::hypot(19.5f, 0.5f);
    EXPECT_NEAR(valueAt(69, 49), 1.f + (0.2f - 1.f) * (d - 10.f) / 20.f, tol);
}

TEST(ImageEngine, BlendModesWithOpaqueAndPartialAlpha) {
    const Image bg = solid(2, 2, QColor(51, 51, 51));    // 0.2
    const Image fg = solid(2, 2, QColor(153, 153, 153)); // 0.6
    const Image halfWhite = solid(2, 2, QColor(255, 255, 255, 128));
    const float a = code(128);
    const float b = 0.2f, f = 0.6f;

    expectRgba(pixelAt(fg.blended(render::BlendOp::screen, bg), 0, 0),
               {f + b - f * b, f + b - f * b, f + b - f * b, 1});
    expectRgba(pixelAt(fg.blended(render::BlendOp::multiply, bg), 0, 0), {f * b, f * b, f * b, 1});
    expectRgba(pixelAt(fg.multiplyComposited(bg), 0, 0), {f * b, f * b, f * b, 1});
    expectRgba(pixelAt(fg.composited(bg), 0, 0), {f, f, f, 1});

    // Premultiplied white at half alpha.
    expectRgba(pixelAt(halfWhite.composited(bg), 0, 0),
               {a + b * (1 - a), a + b * (1 - a), a + b * (1 - a), 1});
    expectRgba(pixelAt(halfWhite.blended(render::BlendOp::screen, bg), 0, 0),
               {a + b - a * b, a + b - a * b, a + b - a * b, 1});
    expectRgba(pixelAt(halfWhite.blended(render::BlendOp::multiply, bg), 0, 0),
               {a * b + b * (1 - a), a * b + b * (1 - a), a * b + b * (1 - a), 1});

    // Where the layer has no content the background is untouched, in every mode.
    const Image small = fg.translated(10, 10);
    for (const Image& blended : {small.composited(bg), small.blended(render::BlendOp::screen, bg),
                                 small.blended(render::BlendOp::multiply, bg)})
        expectRgba(pixelAt(blended, 1, 1), {b, b, b, 1});
}

// The canvas draws layers with QPainter, the export with the engine: for what the
// window shows to be what the file holds, QPainter's mode for each layer blend must
// compute the engine's arithmetic. Random premultiplied pairs, all alphas.
TEST(ImageEngine, PainterModesComputeTheEngineBlends) {
    QRandomGenerator rng(7);
    constexpr int n = 64;
    QImage under(n, n, QImage::Format_ARGB32_Premultiplied);
    QImage over(n, n, QImage::Format_ARGB32_Premultiplied);
    for (QImage* image : {&under, &over}) {
        for (int y = 0; y < n; ++y) {
            auto* line = reinterpret_cast<QRgb*>(image->scanLine(y));
            for (int x = 0; x < n; ++x) {
                const int a = y == 0 ? 255 : static_cast<int>(rng.bounded(256));
                line[x] = qRgba(static_cast<int>(rng.bounded(a + 1)),
                                static_cast<int>(rng.bounded(a + 1)),
                                static_cast<int>(rng.bounded(a + 1)), a);
            }
        }
    }
    for (const LayerBlendMode mode : allLayerBlendModes) {
        SCOPED_TRACE(rawValue(mode).toStdString());
        QImage painted = under;
        QPainter painter(&painted);
        painter.setCompositionMode(painterCompositionMode(mode));
        painter.drawImage(0, 0, over);
        painter.end();
        int worst = 0;
        for (int y = 0; y < n; ++y) {
            for (int x = 0; x < n; ++x) {
                const QRgb f = over.pixel(x, y);
                const QRgb b = under.pixel(x, y);
                const float fg[4] = {qRed(f) / 255.f, qGreen(f) / 255.f, qBlue(f) / 255.f,
                                     qAlpha(f) / 255.f};
                float bg[4] = {qRed(b) / 255.f, qGreen(b) / 255.f, qBlue(b) / 255.f,
                               qAlpha(b) / 255.f};
                switch (blendOp(mode)) {
                case render::BlendOp::over:
                    render::blendPixel<render::BlendOp::over>(fg, bg);
                    break;
                case render::BlendOp::screen:
                    render::blendPixel<render::BlendOp::screen>(fg, bg);
                    break;
                case render::BlendOp::multiply:
                    render::blendPixel<render::BlendOp::multiply>(fg, bg);
                    break;
                }
                const QRgb p = painted.pixel(x, y);
                const int got[4] = {qRed(p), qGreen(p), qBlue(p), qAlpha(p)};
                for (int i = 0; i < 4; ++i)
                    worst = std::max(
                        worst, std::abs(got[i] - static_cast<int>(std::lround(bg[i] * 255.f))));
            }
        }
        EXPECT_LE(worst, 2); // QPainter rounds in 8 bits
    }
}

TEST(ImageEngine, AlphaScaleAndCrop) {
    const Image c = solid(10, 10, QColor(255, 0, 0));
    expectRgba(pixelAt(c.alphaScaled(0.25), 3, 3), {0.25f, 0, 0, 0.25f});
    const Image cropped = c.cropped(QRectF(2, 3, 4, 5));
    EXPECT_EQ(cropped.extent(), QRectF(2, 3, 4, 5));
    expectRgba(pixelAt(cropped, 2, 3), {1, 0, 0, 1});
    expectRgba(pixelAt(cropped, 1, 3), {0, 0, 0, 0});
    expectRgba(pixelAt(cropped, 5, 7), {1, 0, 0, 1});
    expectRgba(pixelAt(cropped, 6, 7), {0, 0, 0, 0});
    EXPECT_TRUE(c.cropped(QRectF(20, 20, 5, 5)).isEmpty());
}

TEST(ImageEngine, LayerGeometryDrawsArtworkAtItsScaledSize) {
    // A 400 x 200 artwork at scale 0.25 in a 2048 square is 512 x 256.
    PlacedLayer layer;
    layer.center = {0.5, 0.5};
    const Image art = solid(400, 200, QColor(0, 255, 0));
    const Image placed = art.transformed(layerTransform(layer, {400, 200}, 2048));
    EXPECT_EQ(placed.extent(), QRectF(1024 - 256, 1024 - 128, 512, 256));
    expectRgba(pixelAt(placed, 1024 - 250, 1024), {0, 1, 0, 1});
    expectRgba(pixelAt(placed, 1024 - 262, 1024), {0, 0, 0, 0});

    layer.rotation = 90; // now 256 wide and 512 tall
    const QRectF turned = art.transformed(layerTransform(layer, {400, 200}, 2048)).extent();
    EXPECT_NEAR(turned.width(), 256, 1e-6);
    EXPECT_NEAR(turned.height(), 512, 1e-6);
}

// Mirroring happens in the artwork's own frame before the turn: with a red left
// half and a blue right half, flip + 90 degrees clockwise puts blue on top, whereas
// turning first and mirroring after would put red there.
TEST(ImageEngine, FlipHappensBeforeRotation) {
    QImage halves(40, 20, QImage::Format_ARGB32);
    halves.fill(Qt::blue);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            halves.setPixelColor(x, y, Qt::red);
    PlacedLayer layer;
    layer.center = {0.5, 0.5};
    layer.scale = 0.4; // 40 px wide in a 100 square
    layer.flipped = true;
    layer.rotation = 90;
    const Image placed =
        Image::fromQImage(halves).transformed(layerTransform(layer, {40, 20}, 100));
    const auto top = pixelAt(placed, 50, 35);
    const auto bottom = pixelAt(placed, 50, 65);
    EXPECT_GT(top[2], 0.9f);    // blue above
    EXPECT_GT(bottom[0], 0.9f); // red below
}

// Enlarged 16 times, a black texel beside a white one blends in linear light, along
// x and along y alike, and the artwork's rim fades to transparent over half a texel.
TEST(ImageEngine, EnlargingInterpolatesInLinearLightAndFadesAtTheRim) {
    for (const bool across : {true, false}) {
        QImage pair(2, 2, QImage::Format_RGB32);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 2; ++x)
                pair.setPixel(x, y, (across ? x : y) ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
        const Image big = Image::fromQImage(pair).transformed(QTransform::fromScale(16, 16));
        // Pixel centre 16.5 is source 1.03125: 0.53125 of the way between texel centres
        // (12.5 across the stripes is 0.28125, which a swapped axis would give).
        const auto middle = across ? pixelAt(big, 16, 12) : pixelAt(big, 12, 16);
        const float expected = static_cast<float>(render::linearToSrgb(0.53125));
        EXPECT_NEAR(middle[0], expected, 2e-3f) << across;
        EXPECT_NEAR(middle[3], 1.f, 1e-6f) << across;
        // Pixel centre 0.5 is source 0.03125, 0.53125 of the way in from nothing.
        const auto rim = across ? pixelAt(big, 0, 16) : pixelAt(big, 16, 0);
        EXPECT_NEAR(rim[3], 0.53125f, 2e-3f) << across;
        EXPECT_NEAR(rim[0], 0.f, 1e-6f) << across;
    }
}

TEST(ImageEngine, ShrinkingAveragesInLinearLight) {
    // One-pixel black and white stripes halved: linear light averages to 0.5, which
    // encodes to about 0.735; averaging the codes would give a darker 0.5.
    QImage stripes(64, 64, QImage::Format_RGB32);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            stripes.setPixel(x, y, (x % 2) ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
    const Image halved = Image::fromQImage(stripes).transformed(QTransform::fromScale(0.5, 0.5));
    const float expected = static_cast<float>(render::linearToSrgb(0.5));
    EXPECT_NEAR(pixelAt(halved, 10, 10)[0], expected, 0.02f);
}

TEST(ImageEngine, SixteenBitSourcesKeepTheirPrecision) {
    QImage deep(2, 1, QImage::Format_RGBA64);
    deep.setPixelColor(0, 0, QColor::fromRgba64(32768, 32768, 32768, 65535));
    deep.setPixelColor(1, 0, QColor::fromRgba64(32769, 32768, 32768, 65535));
    const std::vector<float> f =
        RenderContext().renderFloats(Image::fromQImage(deep), QRect(0, 0, 2, 1));
    EXPECT_NEAR(f[4] - f[0], 1.f / 65535.f, 2e-7f);

    // And the 16-bit layout hands them back, straight, partial alpha included.
    QImage varied(64, 3, QImage::Format_RGBA64);
    for (int x = 0; x < 64; ++x) {
        const quint16 v = static_cast<quint16>(1000 * x + 7);
        varied.setPixelColor(x, 0, QColor::fromRgba64(v, 65535 - v, 32769, 65535));
        varied.setPixelColor(x, 1, QColor::fromRgba64(v, 40000, 123, 50000));
        varied.setPixelColor(x, 2, QColor::fromRgba64(0, 0, 0, 0));
    }
    const QImage back = RenderContext().render(Image::fromQImage(varied), varied.rect(),
                                               RenderContext::Layout::straightRgba16);
    ASSERT_EQ(back.format(), QImage::Format_RGBA64);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 64; ++x) {
            const QRgba64 want = varied.pixelColor(x, y).rgba64();
            const QRgba64 got = back.pixelColor(x, y).rgba64();
            EXPECT_NEAR(got.red(), want.red(), 2) << x << "," << y;
            EXPECT_NEAR(got.green(), want.green(), 2) << x << "," << y;
            EXPECT_NEAR(got.blue(), want.blue(), 2) << x << "," << y;
            EXPECT_EQ(got.alpha(), want.alpha()) << x << "," << y;
        }
    }
}

// Tiles must agree at their seams: any sub-rectangle renders exactly as the same
// pixels of a larger render.
TEST(ImageEngine, TilesAgreeWithAnyOtherCut) {
    const Image recipe =
        Image::fromQImage(test::testPanorama(300, 150))
            .transformed(QTransform().rotate(17).scale(0.7, 0.7))
            .gammaAdjusted(1.3)
            .blended(render::BlendOp::screen,
                     Image::radialGradient({90, 60}, 5, 70, {0.2, 0.1, 0, 1}, {0, 0, 0.3, 1}));
    RenderContext context;
    const QRect whole(-20, -10, 260, 190);
    const std::vector<float> all = context.renderFloats(recipe, whole);
    for (const QRect part :
         {QRect(37, 21, 100, 90), QRect(-20, -10, 1, 1), QRect(63, 63, 130, 2)}) {
        const std::vector<float> piece = context.renderFloats(recipe, part);
        for (int y = 0; y < part.height(); ++y) {
            for (int x = 0; x < part.width(); ++x) {
                const size_t inPiece = 4 * (static_cast<size_t>(y) * part.width() + x);
                const size_t inAll =
                    4 * (static_cast<size_t>(y + part.top() - whole.top()) * whole.width() +
                         (x + part.left() - whole.left()));
                for (int c = 0; c < 4; ++c)
                    ASSERT_EQ(piece[inPiece + c], all[inAll + c]) << x << "," << y;
            }
        }
    }
}

// A materialised image is its recipe rendered once: any area, inside its extent or
// reaching beyond it, comes out as the recipe's own render.
TEST(ImageEngine, AMaterialisedImageRendersAsItsRecipe) {
    const Image recipe = Image::fromQImage(test::testPanorama(300, 150))
                             .transformed(QTransform().rotate(17).scale(0.7, 0.7))
                             .gammaAdjusted(1.3)
                             .cropped(QRectF(0, 0, 200, 120));
    const Image kept = recipe.materialized();
    EXPECT_EQ(kept.extent(), recipe.extent());
    RenderContext context;
    // Colour stages read a kept render in place: each of them, inside and across its edge.
    const auto graded = [](const Image& image) {
        return std::array{image.gammaAdjusted(0.8), image.colorControls(1.3, 0.0, 0.9),
                          image.alphaScaled(0.5)};
    };
    for (const QRect area : {QRect(0, 0, 200, 120), QRect(-7, 50, 100, 100), QRect(150, 3, 64, 1)})
        for (size_t i = 0; i < 3; ++i)
            EXPECT_EQ(context.renderFloats(graded(kept)[i], area),
                      context.renderFloats(graded(recipe)[i], area))
                << i;
    // Nothing to keep for an image without bounds.
    const Image endless = Image::radialGradient({0, 0}, 1, 2, {1, 1, 1, 1}, {0, 0, 0, 1});
    EXPECT_EQ(endless.materialized().node(), endless.node());
}

// A kept render makes each of its pixels once, on whichever thread first asks for
// it: a render cut as the kept one is (the graded preview) and renders cut otherwise
// (reaching past its edge too) add no work, and all of them read the same values.
TEST(ImageEngine, AMaterialisedImageMakesEachPixelOnce) {
    class Counted final : public render::ImageNode {
    public:
        explicit Counted(const QRectF& extent)
            : ImageNode(extent) {}
        void render(const QRect& rect, const render::TileView& out,
                    render::Scratch&) const override {
            made += rect.width() * rect.height();
            for (int y = 0; y < out.height; ++y) {
                for (int x = 0; x < out.width; ++x) {
                    float* p = out.row(y) + 4 * x;
                    const QPoint at(rect.left() + x, rect.top() + y);
                    const bool inside = extent().contains(QPointF(at) + QPointF(0.5, 0.5));
                    p[0] = inside ? static_cast<float>(at.x()) / 256.f : 0.f;
                    p[1] = inside ? static_cast<float>(at.y()) / 256.f : 0.f;
                    p[2] = 0.f;
                    p[3] = inside ? 1.f : 0.f;
                }
            }
        }
        mutable std::atomic<long> made{0};
    };
    // Columns and rows that tiles do not divide, the last few rows joining a tile.
    const QRect area(0, 0, 150, 140);
    const auto counted = std::make_shared<Counted>(QRectF(area));
    const Image kept = Image::fromNode(counted).materialized();
    RenderContext context;
    const std::vector<float> whole = context.renderFloats(Image::fromNode(counted), area);
    counted->made = 0;
    EXPECT_EQ(context.renderFloats(kept, area), whole);
    EXPECT_EQ(counted->made, area.width() * area.height());
    const QImage shown = context.render(kept, area, RenderContext::Layout::premultipliedArgb32);
    EXPECT_FALSE(shown.isNull());
    for (const QRect part : {QRect(-5, 7, 90, 200), QRect(33, 61, 1, 1)})
        EXPECT_EQ(
            context.renderFloats(kept, part),
            context.renderFloats(Image::fromNode(std::make_shared<Counted>(QRectF(area))), part));
    EXPECT_EQ(counted->made, area.width() * area.height());
}

TEST(ImageEngine, EightBitOutputRoundsWithinOneCodeValue) {
    const Image c = solid(16, 16, QColor(10, 128, 250, 200));
    RenderContext context;
    const QImage straight =
        context.render(c, QRect(0, 0, 16, 16), RenderContext::Layout::straightRgba8);
    const QImage premultiplied =
        context.render(c, QRect(0, 0, 16, 16), RenderContext::Layout::premultipliedArgb32);
    ASSERT_EQ(straight.format(), QImage::Format_RGBA8888);
    ASSERT_EQ(premultiplied.format(), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            EXPECT_LE(test::channelDistance(straight.pixelColor(x, y), QColor(10, 128, 250, 200)),
                      1);
            EXPECT_LE(
                test::channelDistance(premultiplied.pixelColor(x, y), QColor(10, 128, 250, 200)),
                2);
        }
    }
    EXPECT_TRUE(context.render(c, QRect(), RenderContext::Layout::straightRgba8).isNull());
}

// Opaque pixels are stored four at a time: each comes out as it would among
// translucent neighbours, in both layouts, on a row no multiple of four wide.
TEST(ImageEngine, EightBitOutputOfAPixelIsTheSameWhateverItsNeighbours) {
    QImage opaque(37, 9, QImage::Format_RGBA64);
    QRandomGenerator random(3);
    for (int y = 0; y < opaque.height(); ++y) {
        auto* line = reinterpret_cast<quint16*>(opaque.scanLine(y));
        for (int i = 0; i < 4 * opaque.width(); ++i)
            line[i] = i % 4 == 3 ? 65535 : static_cast<quint16>(random.bounded(65536));
    }
    QImage mixed = opaque;
    for (int y = 0; y < mixed.height(); ++y)
        for (int x = 1; x < mixed.width(); x += 4)
            reinterpret_cast<quint16*>(mixed.scanLine(y))[4 * x + 3] = 30000;
    const QRect area(0, 0, opaque.width(), opaque.height());
    for (const auto layout :
         {RenderContext::Layout::straightRgba8, RenderContext::Layout::premultipliedArgb32}) {
        const QImage alone = RenderContext().render(Image::fromQImage(opaque), area, layout);
        const QImage among = RenderContext().render(Image::fromQImage(mixed), area, layout);
        for (int y = 0; y < area.height(); ++y) {
            const auto* a = reinterpret_cast<const quint32*>(alone.constScanLine(y));
            const auto* b = reinterpret_cast<const quint32*>(among.constScanLine(y));
            for (int x = 0; x < area.width(); ++x) {
                if (x % 4 != 1) {
                    ASSERT_EQ(a[x], b[x]) << x << "," << y;
                }
            }
        }
    }
}
