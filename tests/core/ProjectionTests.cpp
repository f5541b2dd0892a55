#include "filter/TinyPlanetFilter.h"
#include "kernels/PlannedSampling.h"
#include "kernels/Sampling.h"
#include "kernels/WideSampling.h"
#include "model/PlanetModel.h"
#include "render/RenderContext.h"
#include "render/SourcePixels.h"
#include "support/TestSupport.h"

#include <QLibrary>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>

using namespace velmora;
using render::Image;
using render::RenderContext;

namespace {

constexpr int side = 257; // odd, so one pixel sits exactly on the square's centre

/// The projection of a default look.
ProjectionParameters defaults() {
    return projectionParameters(Look(), 0.0);
}

class ProjectionTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        filter = new TinyPlanetFilter(TinyPlanetFilter::load(test::buildResources()).value());
        panorama = new Image(Image::fromQImage(test::testPanorama(2000, 1000)));
    }
    static void TearDownTestSuite() {
        delete filter;
        delete panorama;
    }

    /// A panorama whose ends do not meet: red on the left half, blue on the right.
    static Image halves() {
        QImage image(1000, 500, QImage::Format_RGB32);
        image.fill(QColor(200, 30, 30));
        for (int y = 0; y < 500; ++y)
            for (int x = 500; x < 1000; ++x)
                image.setPixelColor(x, y, QColor(30, 30, 200));
        return Image::fromQImage(image);
    }

    static QImage planet(const ProjectionParameters& p, const Image& source = *panorama) {
        ProjectionParameters sized = p;
        sized.outputSide = side;
        const std::optional<Image> out = filter->apply(source, sized);
        EXPECT_TRUE(out.has_value());
        return RenderContext().render(*out, QRect(0, 0, side, side),
                                      RenderContext::Layout::straightRgba8);
    }

    /// Centroid of the pixels close to `colour`.
    static QPointF centroidOf(const QImage& image, QColor colour) {
        double sx = 0, sy = 0;
        int n = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (test::channelDistance(image.pixelColor(x, y), colour) < 40) {
                    sx += x + 0.5;
                    sy += y + 0.5;
                    ++n;
                }
        return n ? QPointF(sx / n, sy / n) : QPointF(-1, -1);
    }

    /// Largest difference between `a` and `b` turned by a half turn, ignoring the
    /// pixels within `mask` of the centre, where the pole makes values ill-defined.
    static int halfTurnDistance(const QImage& a, const QImage& b, double mask) {
        int worst = 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                if (std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0) < mask)
                    continue;
                worst = std::max(worst,
                                 test::channelDistance(a.pixelColor(x, y),
                                                       b.pixelColor(side - 1 - x, side - 1 - y)));
            }
        return worst;
    }

    /// Largest difference between `a` and `b` outside `mask` pixels of the centre.
    static int distanceOutside(const QImage& a, const QImage& b, double mask) {
        int worst = 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                if (std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0) >= mask)
                    worst = std::max(worst,
                                     test::channelDistance(a.pixelColor(x, y), b.pixelColor(x, y)));
        return worst;
    }

    static int largestDistance(const QImage& a, const QImage& b) {
        int worst = 0;
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x)
                worst =
                    std::max(worst, test::channelDistance(a.pixelColor(x, y), b.pixelColor(x, y)));
        return worst;
    }

    static inline TinyPlanetFilter* filter = nullptr;
    static inline Image* panorama = nullptr;
};

} // namespace

TEST_F(ProjectionTest, OutputSquareFollowsTheRequestedOrLargerSide) {
    const Image wide = Image::fromQImage(QImage(4000, 2000, QImage::Format_RGB32));
    const Image tall = Image::fromQImage(QImage(1000, 3000, QImage::Format_RGB32));
    const auto extentFor = [&](const Image& source, double outputSide) {
        ProjectionParameters p = defaults();
        p.outputSide = outputSide;
        return filter->apply(source, p).value().extent();
    };
    EXPECT_EQ(extentFor(wide, 0), QRectF(0, 0, 4000, 4000));
    EXPECT_EQ(extentFor(wide, -5), QRectF(0, 0, 4000, 4000));
    EXPECT_EQ(extentFor(wide, 1100), QRectF(0, 0, 1100, 1100));
    EXPECT_EQ(extentFor(wide, 2048), QRectF(0, 0, 2048, 2048));
    EXPECT_EQ(extentFor(tall, 0), QRectF(0, 0, 3000, 3000));
}

TEST_F(ProjectionTest, SourcesAreMovedToTheOriginAndBadExtentsGiveNothing) {
    const QImage atOrigin = planet(defaults());
    const Image moved = panorama->translated(-50, 20);
    ProjectionParameters p = defaults();
    p.outputSide = side;
    EXPECT_EQ(filter->apply(moved, p)->extent(), QRectF(0, 0, side, side));
    EXPECT_EQ(planet(defaults(), moved), atOrigin);

    const Image gradient = Image::radialGradient({0, 0}, 1, 2, {1, 1, 1, 1}, {0, 0, 0, 1});
    EXPECT_FALSE(filter->apply(gradient, p).has_value());
    EXPECT_FALSE(filter->apply(Image(), p).has_value());
    EXPECT_FALSE(filter->apply(panorama->cropped(QRectF(5, 5, 0, 10)), p).has_value());
}

TEST_F(ProjectionTest, DefaultsPutTheGroundInTheMiddleAndInvertTheSky) {
    const QImage plain = planet(defaults());
    EXPECT_LT(test::channelDistance(plain.pixelColor(side / 2, side / 2), test::nadirColour), 8);
    // Sky all round: the corners look up, far above the horizon.
    EXPECT_LT(test::channelDistance(plain.pixelColor(2, 2), test::skyColour), 30);

    ProjectionParameters inverted = defaults();
    inverted.invert = true;
    const QImage sky = planet(inverted);
    EXPECT_LT(test::channelDistance(sky.pixelColor(side / 2, side / 2), test::zenithColour), 8);
}

TEST_F(ProjectionTest, PlanetCentreFollowsShiftXAndHorizon) {
    for (const auto& [shiftX, horizon] : {std::pair{0.4f, -0.3f}, {-0.6f, 0.5f}, {0.f, 0.f}}) {
        ProjectionParameters p = defaults();
        p.shiftX = shiftX;
        p.horizon = horizon;
        p.rotation = 0.7f; // turning must not move the centre
        const QPointF found = centroidOf(planet(p), test::nadirColour);
        EXPECT_NEAR(found.x(), (0.5 + 0.5 * shiftX) * side, 1.0) << shiftX;
        EXPECT_NEAR(found.y(), (0.5 - 0.5 * horizon) * side, 1.0) << horizon;
    }
}

TEST_F(ProjectionTest, RotationByAHalfTurnTurnsThePicture) {
    ProjectionParameters turned = defaults();
    turned.rotation = static_cast<float>(std::numbers::pi);
    EXPECT_LE(halfTurnDistance(planet(defaults()), planet(turned), 3.0), 3);
}

TEST_F(ProjectionTest, TwoRepeatsOfAWrappingPanoramaAreSymmetricUnderAHalfTurn) {
    ProjectionParameters twice = defaults();
    twice.repeats = 2.f;
    const QImage image = planet(twice);
    EXPECT_LE(halfTurnDistance(image, image, 3.0), 3);
    // and with one repeat it is not: the ground's hue goes round once
    const QImage once = planet(defaults());
    EXPECT_GT(halfTurnDistance(once, once, 3.0), 40);
}

TEST_F(ProjectionTest, ZoomScalesTheHorizonCircle) {
    // Walk up from the centre to where the ground gives way to the sky.
    const auto horizonRadius = [&](float zoom) {
        ProjectionParameters p = defaults();
        p.zoom = zoom;
        const QImage image = planet(p);
        for (int r = 0; r < side / 2; ++r)
            if (test::channelDistance(image.pixelColor(side / 2, side / 2 - r), test::skyColour) <
                12)
                return r;
        return side;
    };
    // The horizon sits at a quarter of the side, times the zoom.
    EXPECT_NEAR(horizonRadius(1.f), side * 0.25, 2);
    EXPECT_NEAR(horizonRadius(1.6f), side * 0.25 * 1.6, 2);
    EXPECT_NEAR(horizonRadius(0.5f), side * 0.25 * 0.5, 2);
}

TEST_F(ProjectionTest, TwistTurnsTheGroundWithTheRadius) {
    const auto hueAlongRay = [&](float twist, int radius) {
        ProjectionParameters p = defaults();
        p.twist = twist;
        return planet(p).pixelColor(side / 2, side / 2 - radius).hueF();
    };
    EXPECT_NEAR(hueAlongRay(0.f, 20), hueAlongRay(0.f, 50), 0.01);
    EXPECT_GT(std::abs(hueAlongRay(2.f, 20) - hueAlongRay(2.f, 50)), 0.03);
}

TEST_F(ProjectionTest, FlipYTiltsTheViewSoTheHorizonRunsAcross) {
    ProjectionParameters tilted = defaults();
    tilted.flipY = -0.6f;
    const QImage image = planet(tilted);
    const auto isSky = [](QColor c) {
        return test::channelDistance(c, test::skyColour) < 30 ||
               test::channelDistance(c, test::zenithColour) < 30;
    };
    // Sky across the top edge, ground across the bottom edge.
    for (int x : {10, side / 2, side - 10}) {
        EXPECT_TRUE(isSky(image.pixelColor(x, 3))) << x;
        EXPECT_FALSE(isSky(image.pixelColor(x, side - 4))) << x;
    }
}

TEST_F(ProjectionTest, AVanishingTiltDrawsTheSameShapeAsNone) {
    // Any flip takes the kernel's other path, through the direction on the sphere; at
    // a tilt far below a pixel both must draw the same planet, twisted and bent too.
    for (float twist : {0.f, 1.5f})
        for (float convexity : {0.f, 0.8f, -0.6f}) {
            ProjectionParameters direct = defaults();
            direct.twist = twist;
            direct.convexity = convexity;
            ProjectionParameters tilted = direct;
            tilted.flipY = 1e-6f;
            EXPECT_LE(distanceOutside(planet(direct), planet(tilted), 3.0), 3)
                << "twist " << twist << " convexity " << convexity;
        }
}

TEST_F(ProjectionTest, SeamBlendCrossFadesEndsThatDoNotMeet) {
    const Image source = halves();
    // The seam runs straight down from the centre; look just either side of it.
    ProjectionParameters hard = defaults();
    hard.blendWidth = 0.f;
    const QImage cut = planet(hard, source);
    const QColor leftOfSeam = cut.pixelColor(side / 2 - 3, side - 30);
    const QColor rightOfSeam = cut.pixelColor(side / 2 + 3, side - 30);
    EXPECT_GT(std::abs(leftOfSeam.red() - rightOfSeam.red()), 120);

    ProjectionParameters soft = defaults();
    soft.blendWidth = 0.3f;
    const QImage blended = planet(soft, source);
    EXPECT_LT(std::abs(blended.pixelColor(side / 2 - 3, side - 30).red() -
                       blended.pixelColor(side / 2 + 3, side - 30).red()),
              20);
}

// The band is blendWidth wide in the panorama's width, half on either side of the
// seam: a pixel well inside it is blended, one just beyond it is exactly as without
// any blend. Halving or doubling the band fails one or the other.
TEST_F(ProjectionTest, SeamBlendReachesHalfItsWidthEitherSideAndNoFurther) {
    const Image source = halves();
    ProjectionParameters hard = defaults();
    hard.blendWidth = 0.f;
    const QImage cut = planet(hard, source);
    for (const float width : {0.2f, 0.4f}) {
        ProjectionParameters soft = defaults();
        soft.blendWidth = width;
        const QImage blended = planet(soft, source);
        // The seam runs straight down; a pixel at angle phi from it lies phi / 2 pi
        // from the seam in the panorama.
        const auto at = [](double fractionOfTurn, double side1) {
            const double theta = std::numbers::pi * (1.0 + 2.0 * fractionOfTurn);
            const double r = side1 * 0.3;
            return QPoint(static_cast<int>(side1 / 2 + r * std::sin(theta)),
                          static_cast<int>(side1 / 2 - r * std::cos(theta)));
        };
        for (const double sideOfSeam : {-1.0, 1.0}) {
            const QPoint inside = at(sideOfSeam * 0.6 * width / 2, side);
            const QPoint beyond = at(sideOfSeam * 1.15 * width / 2, side);
            EXPECT_GT(test::channelDistance(blended.pixelColor(inside), cut.pixelColor(inside)), 8)
                << width << " " << sideOfSeam;
            EXPECT_LE(test::channelDistance(blended.pixelColor(beyond), cut.pixelColor(beyond)), 1)
                << width << " " << sideOfSeam;
        }
    }
}

// The azimuth runs clockwise from straight up, and a positive twist carries the
// ground further along it with the radius, in proportion, on the plain path and on
// the path of a tilted view alike.
TEST_F(ProjectionTest, TheSpiralTurnsOneWayInProportionToTheTwist) {
    // The ground's hue is the panorama's u.
    const auto hueAt = [](const QImage& image, double turn, double radius) {
        const double theta = 2.0 * std::numbers::pi * turn;
        const QPoint p(static_cast<int>(side / 2 + radius * side * std::sin(theta)),
                       static_cast<int>(side / 2 - radius * side * std::cos(theta)));
        return image.pixelColor(p).hueF();
    };
    const auto wrapped = [](double d) { return d - std::round(d); };
    const QImage plain = planet(defaults());
    EXPECT_NEAR(wrapped(hueAt(plain, 0.25, 0.15) - hueAt(plain, 0.0, 0.15)), 0.25, 0.02);

    for (const float tilt : {0.f, 1e-6f}) {
        const auto drift = [&](float twist) {
            ProjectionParameters p = defaults();
            p.twist = twist;
            p.flipY = tilt;
            const QImage image = planet(p);
            return wrapped(hueAt(image, 0.1, 0.2) - hueAt(image, 0.1, 0.1));
        };
        const double one = drift(1.f);
        EXPECT_GT(one, 0.01) << "tilt " << tilt;
        EXPECT_NEAR(drift(2.f), 2 * one, 0.02) << "tilt " << tilt;
        EXPECT_NEAR(drift(-1.f), -one, 0.02) << "tilt " << tilt;
    }
}

TEST_F(ProjectionTest, SeamBlendLeavesAWrappingPanoramaAlone) {
    ProjectionParameters none = defaults();
    none.blendWidth = 0.f;
    ProjectionParameters wide = defaults();
    wide.blendWidth = 0.4f;
    EXPECT_LE(largestDistance(planet(none), planet(wide)), 4);
}

// Magnified pixels of an opaque 8-bit picture take the wide path, the seam band's
// cross-fade included; the same picture with an alpha channel goes pixel by pixel.
// Both draw the same planet, to within the rounding of their two sRGB encodes, so a
// band of the wrong width or a step added the wrong way shows by tens of levels.
// Columns alternate dark and light: the ends differ no more than any neighbours (the
// scene goes on across the seam) and the step across it is large.
TEST_F(ProjectionTest, TheWidePathBlendsAWrappingSeamAsThePixelByPixelOne) {
    QImage stripes(64, 32, QImage::Format_RGB32);
    for (int y = 0; y < stripes.height(); ++y)
        for (int x = 0; x < stripes.width(); ++x)
            stripes.setPixel(x, y, x % 2 ? qRgb(200, 190, 180) : qRgb(40, 60, 30));
    const Image opaque = Image::fromQImage(stripes);
    const Image withAlpha = Image::fromQImage(stripes.convertToFormat(QImage::Format_ARGB32));
    ProjectionParameters none = defaults();
    none.blendWidth = 0.f;
    for (const float width : {0.1f, 0.3f}) {
        ProjectionParameters p = defaults();
        p.blendWidth = width;
        const QImage wide = planet(p, opaque);
        EXPECT_GT(largestDistance(wide, planet(none, opaque)), 20) << width;
        EXPECT_LE(largestDistance(wide, planet(p, withAlpha)), 1) << width;
    }
}

TEST_F(ProjectionTest, LooksPassRadiansAndTheirSettingsInKernelOrder) {
    Look look;
    look.setValue(Setting::rotationDegrees, 180);
    look.setValue(Setting::invert, 1);
    look.setValue(Setting::horizon, 0.25);
    const ProjectionParameters p = projectionParameters(look, 640);
    EXPECT_EQ(p.rotation, 3.1415927f);
    EXPECT_TRUE(p.invert);
    EXPECT_EQ(p.horizon, 0.25f);
    EXPECT_EQ(p.zoom, 1.0f);
    EXPECT_EQ(p.blendWidth, 0.12f);
    EXPECT_EQ(p.outputSide, 640.0);
}

// Whatever the arguments (NaN, infinities, huge values) and however small the
// picture, the kernel reads only inside the source and writes only valid colours.
// The sanitizer build runs this over the whole grid.
TEST_F(ProjectionTest, AnyArgumentsStayInsideTheSource) {
    constexpr float inf = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const float extremes[] = {nan, inf, -inf, 0.f, -0.f, 1e30f, -1e30f, 1e-30f, 0.5f, -7.f, 1e6f};
    const Image sources[] = {*panorama, Image::fromQImage(test::testPanorama(1, 1)),
                             Image::fromQImage(test::testPanorama(3, 1)),
                             Image::fromQImage(test::testPanorama(1, 5))};
    QRandomGenerator rng(99);
    RenderContext context;
    for (int trial = 0; trial < 400; ++trial) {
        ProjectionParameters p = defaults();
        float* fields[] = {&p.zoom,    &p.convexity, &p.rotation, &p.twist,      &p.shiftX,
                           &p.horizon, &p.flipX,     &p.flipY,    &p.blendWidth, &p.repeats};
        if (trial < 110) {
            *fields[trial % 10] = extremes[trial / 10]; // one field at a time
        } else {
            for (float* f : fields)
                *f = extremes[rng.bounded(static_cast<int>(std::size(extremes)))];
        }
        p.invert = trial % 2;
        p.outputSide = 24;
        const std::optional<Image> out = filter->apply(sources[trial % 4], p);
        ASSERT_TRUE(out.has_value());
        const std::vector<float> f = context.renderFloats(*out, QRect(-2, -2, 28, 28));
        for (size_t i = 0; i < f.size(); i += 4) {
            ASSERT_TRUE(std::isfinite(f[i]) && std::isfinite(f[i + 3])) << trial;
            ASSERT_GE(f[i + 3], 0.f);
            ASSERT_LE(f[i + 3], 1.f);
            ASSERT_LE(f[i], f[i + 3] + 1e-6f);
        }
    }
}

TEST(ProjectionKernel, MissingOrBrokenModuleFailsWithTheFixedMessage) {
    const QString message = QStringLiteral(
        "Couldn't load the tinyPlanet kernel. Check the Metal build flags (see setup notes).");
    test::TempTree empty;
    test::TempTree broken;
    broken.addFile(QStringLiteral("kernels/tinyplanet.so"), "not a shared object");
    for (const QString& root : {empty.path(), QString(), broken.path()}) {
        const Result<TinyPlanetFilter> filter = TinyPlanetFilter::load(root);
        EXPECT_FALSE(filter.ok()) << root;
        // The fixed words, then a line that names the module (when there is a folder).
        const QStringList lines = filter.message().split(QLatin1Char('\n'));
        ASSERT_EQ(lines.size(), 2) << filter.message();
        EXPECT_EQ(lines[0], message);
        if (!root.isEmpty()) {
            EXPECT_TRUE(lines[1].startsWith(TinyPlanetFilter::modulePath(root))) << lines[1];
        }
        EXPECT_EQ(PlanetRenderer::load(root).message(), filter.message());
    }
}

// The module checks the version its caller wrote into the projection, so a program
// and a module built apart never misread each other's fields.
TEST(ProjectionKernel, ACallerOfAnotherVersionIsRefused) {
    QLibrary module(TinyPlanetFilter::modulePath(test::buildResources()));
    ASSERT_TRUE(module.load());
    const auto kernel = reinterpret_cast<VmTinyPlanetFn>(module.resolve("tinyPlanet"));
    ASSERT_NE(kernel, nullptr);
    const auto pixels = render::SourcePixels::create(test::testPanorama(64, 32));
    ASSERT_NE(pixels, nullptr);
    const ProjectionParameters p = defaults();
    VmProjection projection{VM_KERNEL_ABI_VERSION,
                            {64, 32},
                            {8, 8},
                            p.zoom,
                            p.convexity,
                            p.rotation,
                            p.twist,
                            p.shiftX,
                            p.horizon,
                            p.flipX,
                            p.flipY,
                            0,
                            p.blendWidth,
                            p.repeats,
                            0.f,
                            1.f,
                            {1, 0, 0, 0, 1, 0, 0, 0, 1},
                            0.f,
                            1.f};
    std::vector<float> out(8 * 8 * 4, -1.f);
    const VmDestination destination{0, 0, 8, 8, out.data(), 8 * 4};
    for (const int version : {VM_KERNEL_ABI_VERSION - 1, VM_KERNEL_ABI_VERSION + 1}) {
        projection.abiVersion = version;
        kernel(&pixels->sampler(), &projection, &destination);
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float v) { return v == -1.f; }));
    }
    projection.abiVersion = VM_KERNEL_ABI_VERSION;
    kernel(&pixels->sampler(), &projection, &destination);
    EXPECT_EQ(out[3], 1.f); // opaque
}

// The seam table is the step across the seam blurred along it by h / 200 rows: a
// step that changes halfway down ramps over the blur's width and is exact beyond
// it, the ends of the column included. A tall, narrow picture builds it quickly (it
// once took seconds, every row summing its own window).
TEST(SeamTable, IsTheSeamStepBlurredAlongTheSeam) {
    const int height = 40000;
    QImage picture(8, height, QImage::Format_RGBA8888);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<quint32*>(picture.scanLine(y));
        for (int x = 0; x < 8; ++x) // the left end white, the right end black in the top half
            row[x] = x == 0 || y >= height / 2 || x < 4 ? 0xffffffffu : 0xff000000u;
    }
    const auto pixels = render::SourcePixels::create(picture);
    pixels->ensurePyramid();
    const VmSampler& sampler = pixels->sampler();
    ASSERT_EQ(sampler.seamRows, height);
    const int radius = height / 200;
    const auto red = [&](int y) { return sampler.seamDelta[4 * y]; };
    for (const int y : {0, radius, height / 2 - radius - 1})
        EXPECT_NEAR(red(y), 1.f, 1e-5f) << y;
    for (const int y : {height / 2 + radius, height - 1})
        EXPECT_NEAR(red(y), 0.f, 1e-5f) << y;
    EXPECT_NEAR(red(height / 2), 0.5f - 0.5f / (2 * radius + 1), 1e-4f);
    for (int y = height / 2 - radius; y < height / 2 + radius; ++y)
        ASSERT_GE(red(y), red(y + 1)) << y;
}

// Levels above the picture hold linear light: black and white columns average to
// half, odd sizes cover the whole picture, partial alpha weighs colour, and each
// row's padding repeats its first texel, so a sample left of the first texel
// blends the last and the first (the panorama's wrap).
TEST(Pyramid, LevelsAreLinearAveragesThatWrap) {
    QImage picture(10, 6, QImage::Format_ARGB32);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 10; ++x)
            picture.setPixel(x, y, x < 8 ? (x % 2 ? 0xffffffffu : 0xff000000u) : 0x80ff0000u);
    const auto pixels = render::SourcePixels::create(picture);
    pixels->ensurePyramid();
    const VmSampler& s = pixels->sampler();
    ASSERT_GE(s.levelCount, 3);
    const VmLevel& one = s.levels[1];
    ASSERT_EQ(one.width, 5);
    ASSERT_EQ(one.height, 3);
    const auto word = [&](const VmLevel& level, int x, int y, int c) {
        return reinterpret_cast<const quint16*>(static_cast<const uchar*>(level.pixels) +
                                                y * level.stride)[4 * x + c];
    };
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 4; ++x) {
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(word(one, x, y, c), 32768, 1) << x << "," << y;
            EXPECT_EQ(word(one, x, y, 3), 65535);
        }
        // Half-transparent red, premultiplied.
        EXPECT_NEAR(word(one, 4, y, 0), 32896, 1);
        EXPECT_EQ(word(one, 4, y, 1), 0);
        EXPECT_NEAR(word(one, 4, y, 3), 32896, 1);
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(word(one, 5, y, c), word(one, 0, y, c)) << "padding, row " << y;
    }
    // 5 x 3 halves to 2 x 1, each texel the share of the level below it covers.
    const VmLevel& two = s.levels[2];
    EXPECT_EQ(two.width, 2);
    EXPECT_EQ(two.height, 1);
    EXPECT_NEAR(word(two, 0, 0, 1), 32768, 2);
    EXPECT_NEAR(word(two, 1, 0, 1), 32768 * 1.5 / 2.5, 2); // half of one grey, one grey, red

    const sampling::Rgba wrapped =
        sampling::bilinearPanorama<VM_FORMAT_BGRA8, false>(s, 1, 0.f, 0.5f);
    alignas(16) float c[4];
    _mm_store_ps(c, wrapped.v);
    EXPECT_NEAR(c[0], 0.5f * (0.5f + 32896.f / 65535.f), 1e-4f);
    EXPECT_NEAR(c[1], 0.25f, 1e-4f);
    EXPECT_NEAR(c[3], 0.5f * (1.f + 32896.f / 65535.f), 1e-4f);
}

/// A picture of random 32-bit texels (opaque if the format has no alpha).
static QImage noise(int width, int height, QImage::Format format, QRandomGenerator& random) {
    QImage picture(width, height, format);
    const quint32 opaque = picture.hasAlphaChannel() ? 0u : 0xff000000u;
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<quint32*>(picture.scanLine(y));
        for (int x = 0; x < width; ++x)
            row[x] = random.generate() | opaque;
    }
    return picture;
}

// Eight magnified pixels at a time give what the one-at-a-time sampler gives, in
// either byte order, across the wrap and beyond the top and bottom rows, and exactly
// the same floats whether their texels come from a cache of decoded ones (whole or
// part, the bottom row's clamp included) or are gathered; they write nothing past the
// span, however its length falls against the eight.
TEST(MagnifiedSpan, MatchesTheScalarBilinearWithOrWithoutTheCache) {
    if (!sampling::wideSamplingAvailable())
        GTEST_SKIP() << "no AVX2 on this processor";
    QRandomGenerator random(7);
    const QImage picture = noise(37, 19, QImage::Format_RGBX8888, random);
    for (const QImage& source : {picture, picture.convertToFormat(QImage::Format_RGB32)}) {
        const auto pixels = render::SourcePixels::create(source);
        const VmSampler& s = pixels->sampler();
        ASSERT_TRUE(s.opaque);
        ASSERT_TRUE(sampling::magnifiedSpanFits(s.levels[0]));
        const bool bgra = s.format == VM_FORMAT_BGRA8;
        constexpr int n = 29;
        alignas(32) float us[32];
        alignas(32) float vs[32];
        alignas(32) int simple[32] = {};
        for (int i = 0; i < n; ++i) {
            // The first and last columns' halves, then anywhere; v past both ends too.
            us[i] = i < 4 ? (i % 2 ? 0.999f : 0.001f) : static_cast<float>(random.generateDouble());
            vs[i] = static_cast<float>(random.generateDouble() * 1.4 - 0.2);
            simple[i] = i % 5 == 3 ? 0 : -1;
        }
        us[n] = us[n + 1] = us[n + 2] = std::numeric_limits<float>::quiet_NaN();
        vs[n] = vs[n + 1] = vs[n + 2] = 1e30f;

        const auto run = [&](int x, int y, int width, int height) {
            auto cache = std::make_unique<sampling::TexelCache>();
            cache->x = x;
            cache->y = y;
            cache->width = width;
            cache->height = height;
            sampling::fillTexelCache(s, bgra, *cache);
            std::vector<float> out(4 * (n + 8), -7.f);
            sampling::magnifiedSpan(s, bgra, us, vs, simple, n, *cache, out.data());
            for (size_t i = 4 * n; i < out.size(); ++i)
                EXPECT_EQ(out[i], -7.f) << "written past the span at " << i;
            return out;
        };
        const std::vector<float> gathered = run(0, 0, 0, 0);
        for (int i = 0; i < n; ++i) {
            if (!simple[i])
                continue;
            alignas(16) float expected[4];
            const sampling::Rgba c =
                bgra ? sampling::bilinearPanorama<VM_FORMAT_BGRA8, true>(s, 0, us[i], vs[i])
                     : sampling::bilinearPanorama<VM_FORMAT_RGBA8, true>(s, 0, us[i], vs[i]);
            _mm_store_ps(expected, c.v);
            for (int ch = 0; ch < 4; ++ch)
                EXPECT_NEAR(gathered[4 * i + ch], expected[ch], 1e-5f) << i << ", channel " << ch;
        }
        const int w = picture.width();
        const int h = picture.height();
        for (const QRect patch : {QRect(0, 0, w, h), QRect(5, 0, 20, h), QRect(0, 9, w, 10)}) {
            const std::vector<float> cached =
                run(patch.x(), patch.y(), patch.width(), patch.height());
            for (int i = 0; i < n; ++i)
                for (int ch = 0; simple[i] && ch < 4; ++ch)
                    ASSERT_EQ(cached[4 * i + ch], gathered[4 * i + ch])
                        << "pixel " << i << " with the patch at " << patch.x() << "," << patch.y();
        }
    }
}

// A row's planned samples are samplePanorama()'s, float for float: at every level and
// between levels (the bands either side of a level included), across the wrap, past
// the top and bottom rows, and at level 0 in either byte order, with or without alpha.
TEST(PlannedSampling, GivesWhatSamplePanoramaGives) {
    QRandomGenerator random(5);
    const QImage picture = noise(37, 19, QImage::Format_RGBA8888, random);
    for (const QImage& source : {picture, picture.convertToFormat(QImage::Format_RGB32),
                                 picture.convertToFormat(QImage::Format_RGBX8888)}) {
        const auto pixels = render::SourcePixels::create(source);
        pixels->ensurePyramid();
        const VmSampler& s = pixels->sampler();
        ASSERT_GE(s.levelCount, 4);
        constexpr int n = sampling::plannedPixels;
        alignas(32) float us[n];
        alignas(32) float vs[n];
        alignas(32) float lods[n];
        for (int i = 0; i < n; ++i) {
            us[i] = i < 4 ? (i % 2 ? 0.999f : 0.001f) : static_cast<float>(random.generateDouble());
            vs[i] = static_cast<float>(random.generateDouble() * 1.4 - 0.2);
            // Every level, some at the bands' ends, and a few beyond the first and last.
            const int whole = random.bounded(s.levelCount - 1);
            const double ends[] = {0.29, 0.31, 0.69, 0.71};
            const double part = i % 4 ? random.generateDouble() : ends[random.bounded(4)];
            lods[i] = static_cast<float>(whole + part);
        }
        lods[4] = -1.f;
        lods[5] = static_cast<float>(s.levelCount) - 0.5f;
        lods[6] = 1e30f;
        lods[n - 1] = std::numeric_limits<float>::quiet_NaN();
        sampling::OneTapPlan plan;
        sampling::planOneTaps(s, us, vs, lods, n, plan);
        int blended = 0;
        for (int i = 0; i < n; ++i) {
            sampling::Rgba got;
            sampling::Rgba expected;
            if (s.format == VM_FORMAT_BGRA8) {
                got = sampling::plannedSample<VM_FORMAT_BGRA8, true>(s, plan, i);
                expected =
                    sampling::samplePanorama<VM_FORMAT_BGRA8, true>(s, us[i], vs[i], lods[i]);
            } else if (s.opaque) {
                got = sampling::plannedSample<VM_FORMAT_RGBA8, true>(s, plan, i);
                expected =
                    sampling::samplePanorama<VM_FORMAT_RGBA8, true>(s, us[i], vs[i], lods[i]);
            } else {
                got = sampling::plannedSample<VM_FORMAT_RGBA8, false>(s, plan, i);
                expected =
                    sampling::samplePanorama<VM_FORMAT_RGBA8, false>(s, us[i], vs[i], lods[i]);
            }
            blended += plan.next[i] > 0.f;
            alignas(16) float a[4];
            alignas(16) float b[4];
            _mm_store_ps(a, got.v);
            _mm_store_ps(b, expected.v);
            for (int ch = 0; ch < 4; ++ch)
                ASSERT_EQ(a[ch], b[ch]) << "pixel " << i << " at lod " << lods[i] << ", channel "
                                        << ch << ", format " << s.format;
        }
        EXPECT_GT(blended, n / 8) << "too few pixels between two levels to test";
    }
}

// The wide tap loop sums what the scalar one does, tap by tap blended pairs under box
// and tent weights, with taps that run off either end of the row wrapping round.
TEST(WideSampling, TapRowsSumTheBlendedPairsAcrossTheWrap) {
    if (!sampling::wideSamplingAvailable())
        GTEST_SKIP() << "no AVX2 on this processor";
    QRandomGenerator random(11);
    const QImage picture = noise(64, 8, QImage::Format_RGBA8888, random);
    const auto pixels = render::SourcePixels::create(picture);
    pixels->ensurePyramid();
    const VmLevel& level = pixels->sampler().levels[1];
    const int w = level.width;
    const unsigned char* r0 = sampling::rowOf(level, 1);
    const unsigned char* r1 = sampling::rowOf(level, 2);
    struct Case {
        float first, spacing;
        int taps;
        float tent;
    };
    for (const Case c : {Case{3.3f, 0.8f, 7, 0.f}, Case{-2.6f, 0.95f, 12, 1.f},
                         Case{w - 4.2f, 1.f, 9, 0.4f}, Case{10.5f, 0.5f, 32, 0.7f}}) {
        const float step = 1.f / static_cast<float>(c.taps);
        const float tentSum = 0.5f * static_cast<float>(c.taps) + (c.taps % 2 ? 0.5f * step : 0.f);
        const float boxWeight = (1.f - c.tent) * step;
        const float tentScale = c.tent / tentSum;
        __m128 expectedTop = _mm_setzero_ps();
        __m128 expectedBottom = _mm_setzero_ps();
        float weights = 0.f;
        for (int t = 0; t < c.taps; ++t) {
            const float x = c.first + static_cast<float>(t) * c.spacing;
            int x0 = static_cast<int>(std::floor(x));
            const __m128 tx = _mm_set1_ps(x - static_cast<float>(x0));
            x0 = (x0 % w + w) % w;
            const float wt =
                boxWeight +
                tentScale * (1.f - std::fabs(static_cast<float>(2 * t + 1) * step - 1.f));
            weights += wt;
            const __m128 scale = _mm_set1_ps(wt);
            expectedTop =
                _mm_add_ps(expectedTop, _mm_mul_ps(sampling::linearPairInRow(r0, x0, tx), scale));
            expectedBottom = _mm_add_ps(expectedBottom,
                                        _mm_mul_ps(sampling::linearPairInRow(r1, x0, tx), scale));
        }
        ASSERT_NEAR(weights, 1.f, 1e-5f);
        __m128 top;
        __m128 bottom;
        sampling::linearTapRows(r0, r1, w, c.first, c.spacing, c.taps, step, boxWeight, tentScale,
                                top, bottom);
        alignas(16) float got[8];
        alignas(16) float want[8];
        _mm_store_ps(got, top);
        _mm_store_ps(got + 4, bottom);
        _mm_store_ps(want, expectedTop);
        _mm_store_ps(want + 4, expectedBottom);
        for (int i = 0; i < 8; ++i) // in words of 1 / 65535
            EXPECT_NEAR(got[i], want[i], 0.05f) << "first " << c.first << ", value " << i;
    }
}
