#include "model/ImageDecoding.h"
#include "model/Look.h"
#include "model/SourceMetadata.h"
#include "render/RenderContext.h"
#include "render/SpherePlacement.h"
#include "support/TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

#include <exiv2/exiv2.hpp>

#include <cmath>
#include <functional>
#include <numbers>

using namespace velmora;
using render::SphereCover;
using render::SpherePlacement;

namespace {

constexpr double pi = std::numbers::pi;

/// Writes Photo Sphere metadata into a picture file, as a camera or stitcher would.
void writeGPano(const QString& path, const std::map<std::string, std::string>& fields) {
    const auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
    image->readMetadata();
    Exiv2::XmpData& xmp = image->xmpData();
    for (const auto& [name, value] : fields)
        xmp["Xmp.GPano." + name] = value;
    image->writeMetadata();
}

/// A picture whose pixel (x, y) is `colour(longitude, elevation)` in radians, for a
/// picture of `size` covering the sphere's rows from `top` to `top + height`.
QImage paint(QSize size, double top, double height,
             const std::function<QColor(double, double)>& colour) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        const double v = top + height * (y + 0.5) / size.height();
        const double elevation = (0.5 - v) * pi;
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(x, y, colour((x + 0.5) / size.width() * 2 * pi - pi, elevation));
    }
    return image;
}

QImage planetOf(const render::Image& source, int side, const Look& look = Look()) {
    return test::renderer().renderPreview(look, source, side).value();
}

/// The colour at `radius` pixels from the centre of a square planet, `angle` radians
/// clockwise from straight up.
QColor at(const QImage& planet, double radius, double angle = 0.3) {
    const double c = planet.width() / 2.0;
    return planet.pixelColor(static_cast<int>(std::lround(c + radius * std::sin(angle))),
                             static_cast<int>(std::lround(c - radius * std::cos(angle))));
}

/// Where the default look puts elevation `e` (radians, negative below the horizon):
/// the stereographic radius, the horizon at a quarter of the side.
double radiusOf(double elevation, int side) {
    return std::tan((pi / 2 + elevation) / 2) * side / 4.0;
}

const QColor red(220, 30, 30);
const QColor blue(30, 60, 220);

} // namespace

// Metadata first, when it makes sense; then the shape: wider than 2:1 is 360 degrees
// wide at its natural height about the horizon; anything else is the whole sphere.
TEST(SphereCovers, FromMetadataOrFromTheShape) {
    EXPECT_EQ(render::coverOf({8000, 2000}, {}), (SphereCover{0.25, 0.5}));
    const SphereCover third = render::coverOf({6000, 1000}, {});
    EXPECT_NEAR(third.top, 1.0 / 3.0, 1e-12);
    EXPECT_NEAR(third.height, 1.0 / 3.0, 1e-12);
    EXPECT_EQ(render::coverOf({4000, 2000}, {}), SphereCover{});
    EXPECT_EQ(render::coverOf({1000, 1000}, {}), SphereCover{});
    SpherePlacement tagged;
    tagged.top = 0.5;
    tagged.height = 0.3;
    EXPECT_EQ(render::coverOf({8000, 2000}, tagged), (SphereCover{0.5, 0.3}));
    for (const auto& [top, height] :
         {std::pair{0.8, 0.5}, {-0.1, 0.5}, {0.2, 0.0}, {std::nan(""), 0.5}}) {
        SpherePlacement nonsense;
        nonsense.top = top;
        nonsense.height = height;
        EXPECT_EQ(render::coverOf({8000, 2000}, nonsense), (SphereCover{0.25, 0.5}))
            << top << " " << height;
    }
    // Columns from the file only: a half circle from a quarter round, whose natural
    // height is then that of a picture twice as wide.
    SpherePlacement half;
    half.left = 0.25;
    half.width = 0.5;
    EXPECT_EQ(render::coverOf({4000, 2000}, half), (SphereCover{0.25, 0.5, 0.25, 0.5}));
    EXPECT_EQ(render::coverOf({2000, 2000}, half), (SphereCover{0.0, 1.0, 0.25, 0.5}));
    half.width = 0.0;
    EXPECT_EQ(render::coverOf({2000, 2000}, half), SphereCover{});
}

// The pose is a rotation, the identity for a level camera, and it takes the world
// directions a tilted camera saw at its middle and its right to where the camera
// recorded them: a pitched camera's middle looks above the horizon, a rolled one
// turns the horizon anticlockwise (its right end goes up).
TEST(SphereCovers, ThePoseTurnsTheLevelWorldIntoTheCamera) {
    const auto apply = [](const std::array<float, 9>& m, std::array<double, 3> d) {
        return std::array<double, 3>{m[0] * d[0] + m[1] * d[1] + m[2] * d[2],
                                     m[3] * d[0] + m[4] * d[1] + m[5] * d[2],
                                     m[6] * d[0] + m[7] * d[1] + m[8] * d[2]};
    };
    const std::array<float, 9> level = render::poseMatrix(0, 0);
    EXPECT_EQ(level, (std::array<float, 9>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    const std::array<float, 9> m = render::poseMatrix(20, -35);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double dot = 0;
            for (int k = 0; k < 3; ++k)
                dot += m[3 * i + k] * m[3 * j + k];
            EXPECT_NEAR(dot, i == j ? 1.0 : 0.0, 1e-6);
        }
    // x right, y the middle, z down.
    const double p = 20 * pi / 180;
    const auto middle = apply(render::poseMatrix(20, 0), {0, std::cos(p), -std::sin(p)});
    EXPECT_NEAR(middle[0], 0, 1e-6);
    EXPECT_NEAR(middle[1], 1, 1e-6);
    EXPECT_NEAR(middle[2], 0, 1e-6);
    const double r = 10 * pi / 180;
    const auto right = apply(render::poseMatrix(0, 10), {1, 0, 0});
    EXPECT_NEAR(right[0], std::cos(r), 1e-6);
    EXPECT_NEAR(right[2], -std::sin(r), 1e-6); // above the camera's horizon
}

// A band from the horizon down to 60 degrees below it, tagged with where it belongs,
// lands at those latitudes: its red upper half between the horizon and -30, its blue
// lower half between -30 and -60. The same band without the tags is taken as 360 x
// 60 about the horizon, so its red half is above the horizon, as it is when the
// coverage is "Full sphere". Beyond the band the
// edge colours continue, finite everywhere.
TEST(PartialPanoramas, ACroppedBandLandsAtItsLatitudes) {
    const test::TempTree tree;
    const auto halves = [](double, double e) { return e > -pi / 6 ? red : blue; };
    const QImage band = paint({1200, 200}, 0.5, 1.0 / 3.0, halves);
    const QString plain = tree.file(QStringLiteral("band.jpg"));
    const QString tagged = tree.file(QStringLiteral("tagged.jpg"));
    ASSERT_TRUE(band.save(plain, nullptr, 95));
    ASSERT_TRUE(band.save(tagged, nullptr, 95));
    writeGPano(tagged, {{"ProjectionType", "equirectangular"},
                        {"FullPanoWidthPixels", "1200"},
                        {"FullPanoHeightPixels", "600"},
                        {"CroppedAreaImageWidthPixels", "1200"},
                        {"CroppedAreaImageHeightPixels", "200"},
                        {"CroppedAreaLeftPixels", "0"},
                        {"CroppedAreaTopPixels", "300"}});
    const SpherePlacement read = spherePlacement(tagged);
    ASSERT_TRUE(read.top && read.height);
    EXPECT_DOUBLE_EQ(*read.top, 0.5);
    EXPECT_DOUBLE_EQ(*read.height, 1.0 / 3.0);

    const int side = 400;
    const QImage placed = planetOf(decodeImageFile(tagged).value(), side);
    const auto near = [](QColor a, QColor b) { return test::channelDistance(a, b) <= 12; };
    for (const double angle : {0.3, 2.0, 4.4}) {
        EXPECT_TRUE(near(at(placed, radiusOf(-15 * pi / 180, side), angle), red)) << angle;
        EXPECT_TRUE(near(at(placed, radiusOf(-45 * pi / 180, side), angle), blue)) << angle;
        // Beyond the band: its top edge's red towards the sky, its bottom's blue at
        // the centre.
        EXPECT_TRUE(near(at(placed, radiusOf(30 * pi / 180, side), angle), red)) << angle;
        EXPECT_TRUE(near(at(placed, 3, angle), blue)) << angle;
    }
    // "Full sphere" stretches it over everything, whatever the file says: its red
    // upper half becomes the sky.
    Look full;
    full.setValue(Setting::coverage, 1.0);
    const QImage stretched = planetOf(decodeImageFile(tagged).value(), side, full);
    EXPECT_TRUE(near(at(stretched, radiusOf(15 * pi / 180, side)), red));
    EXPECT_TRUE(near(at(stretched, radiusOf(-15 * pi / 180, side)), blue));
    const QImage shaped = planetOf(decodeImageFile(plain).value(), side);
    EXPECT_TRUE(near(at(shaped, radiusOf(15 * pi / 180, side)), red));
    EXPECT_TRUE(near(at(shaped, radiusOf(-15 * pi / 180, side)), blue));

    const render::Image source = decodeImageFile(tagged).value();
    const std::vector<float> floats = render::RenderContext().renderFloats(
        test::renderer().projected(Look(), source, side).value(), QRect(0, 0, side, side));
    EXPECT_TRUE(
        std::all_of(floats.begin(), floats.end(), [](float f) { return std::isfinite(f); }));
}

// Where the photo ends, the planet goes on without a line: along every ray from the
// centre, neighbouring pixels differ no more than the picture's own smooth colours
// make them, through the band's edge and the fill up to the pole.
TEST(PartialPanoramas, TheFillHasNoHardEdge) {
    const test::TempTree tree;
    // Hue swinging five times round the longitude, lightness down the band: the
    // fill averages the swings away, so a fill without a fade would step.
    const auto smooth = [](double lon, double e) {
        return QColor::fromHsvF(static_cast<float>(0.5 + 0.3 * std::sin(5 * lon)), 0.7f,
                                static_cast<float>(0.5 + 0.4 * e / (pi / 4)));
    };
    const QString path = tree.file(QStringLiteral("phone.png"));
    ASSERT_TRUE(paint({1600, 400}, 0.25, 0.5, smooth).save(path)); // 360 x 90, by its shape
    const int side = 600;
    const QImage planet = planetOf(decodeImageFile(path).value(), side);
    // The band's bottom edge is at -45 degrees; the picture fades into the fill over
    // the band's last 15 %, so from -31.5 degrees to the centre is edge and fill.
    const double fadeStarts = radiusOf(-31.5 * pi / 180, side);
    int fill = 0;
    int picture = 0;
    for (double angle = 0.1; angle < 2 * pi; angle += 0.37) {
        QColor previous = at(planet, 2, angle);
        for (double r = 3; r < side / 2 - 2; r += 1) {
            const QColor here = at(planet, r, angle);
            int& largest = r <= fadeStarts ? fill : picture;
            largest = std::max(largest, test::channelDistance(previous, here));
            previous = here;
        }
    }
    EXPECT_LE(fill, picture) << "the fill steps more than the picture does";
}

// A camera held 12 degrees nose up and rolled 8 degrees saw a tilted horizon; with
// its pose in the file, the planet's ground is a round disc again, as round as a
// level camera's. Without the pose it is visibly not.
TEST(PartialPanoramas, ATiltedCameraIsLevelled) {
    const test::TempTree tree;
    const std::array<float, 9> m = render::poseMatrix(12, 8);
    // The camera's picture: each of its directions turned back into the world (the
    // transpose of the pose), ground below the world's horizon.
    const auto tilted = [&m](double lon, double e) {
        const double d[3] = {std::cos(e) * std::sin(lon), std::cos(e) * std::cos(lon),
                             -std::sin(e)};
        const double worldDown = m[2] * d[0] + m[5] * d[1] + m[8] * d[2];
        return worldDown > 0 ? QColor(40, 160, 50) : QColor(90, 160, 230);
    };
    const QString path = tree.file(QStringLiteral("tilted.png"));
    ASSERT_TRUE(paint({1600, 800}, 0.0, 1.0, tilted).save(path));
    const int side = 400;
    const auto groundRadii = [&] {
        const QImage planet = planetOf(decodeImageFile(path).value(), side);
        std::vector<double> radii;
        for (double angle = 0; angle < 2 * pi; angle += pi / 18) {
            double r = 1;
            while (r < side / 2 - 1 && at(planet, r, angle).green() > at(planet, r, angle).blue())
                r += 0.5;
            radii.push_back(r);
        }
        return radii;
    };
    const auto spread = [](const std::vector<double>& radii) {
        return *std::max_element(radii.begin(), radii.end()) -
               *std::min_element(radii.begin(), radii.end());
    };
    const double unlevelled = spread(groundRadii());
    EXPECT_GT(unlevelled, 20.0);
    writeGPano(path, {{"ProjectionType", "equirectangular"},
                      {"PosePitchDegrees", "12"},
                      {"PoseRollDegrees", "8"}});
    const std::vector<double> levelled = groundRadii();
    EXPECT_LE(spread(levelled), 3.0);
    EXPECT_NEAR(levelled.front(), side / 4.0, 2.0); // the horizon where it belongs
}

// A panorama less than 360 degrees wide lies where its file says round the circle; the
// part it leaves open is made of its two side edges, blurred, cross-fading into each
// other: no hard line at either edge, nothing undefined.
TEST(PartialPanoramas, ANarrowPanoramaLiesAtItsLongitudes) {
    const test::TempTree tree;
    // 180 degrees wide from 90 degrees round (so its middle faces straight up in the
    // planet), red at its left, blue at its right, full height.
    QImage half(800, 800, QImage::Format_RGB32);
    for (int y = 0; y < half.height(); ++y)
        for (int x = 0; x < half.width(); ++x) {
            const float t = static_cast<float>(x) / static_cast<float>(half.width() - 1);
            half.setPixelColor(
                x, y,
                QColor::fromRgbF(0.86f * (1 - t) + 0.12f * t, 0.2f, 0.12f * (1 - t) + 0.86f * t));
        }
    const QString path = tree.file(QStringLiteral("half.jpg"));
    ASSERT_TRUE(half.save(path, nullptr, 95));
    writeGPano(path, {{"ProjectionType", "equirectangular"},
                      {"FullPanoWidthPixels", "1600"},
                      {"FullPanoHeightPixels", "800"},
                      {"CroppedAreaImageWidthPixels", "800"},
                      {"CroppedAreaImageHeightPixels", "800"},
                      {"CroppedAreaLeftPixels", "400"},
                      {"CroppedAreaTopPixels", "0"}});
    const SpherePlacement read = spherePlacement(path);
    ASSERT_TRUE(read.left && read.width);
    EXPECT_DOUBLE_EQ(*read.left, 0.25);
    EXPECT_DOUBLE_EQ(*read.width, 0.5);

    const int side = 400;
    const render::Image source = decodeImageFile(path).value();
    const QImage planet = planetOf(source, side);
    const double r = radiusOf(-20 * pi / 180, side);
    const auto near = [](QColor a, QColor b, int within) {
        return test::channelDistance(a, b) <= within;
    };
    // The picture's middle straight up, its left end a quarter turn anticlockwise.
    EXPECT_TRUE(near(at(planet, r, 0.0), QColor::fromRgbF(0.49f, 0.2f, 0.49f), 12));
    EXPECT_TRUE(near(at(planet, r, -pi / 2 + 0.3), QColor::fromRgbF(0.79f, 0.2f, 0.19f), 12));
    EXPECT_TRUE(near(at(planet, r, pi / 2 - 0.3), QColor::fromRgbF(0.19f, 0.2f, 0.79f), 12));
    // Straight down, in the middle of the open half: the two edges half and half.
    const QColor middle = at(planet, r, pi);
    EXPECT_NEAR(middle.red(), middle.blue(), 30);
    // Round the circle, neighbouring pixels never step by more than the picture's own
    // gradient makes them, through both edges and the open half.
    int largest = 0;
    QColor previous = at(planet, r, 0.0);
    for (double angle = 0.01; angle < 2 * pi; angle += 0.01) {
        const QColor here = at(planet, r, angle);
        largest = std::max(largest, test::channelDistance(previous, here));
        previous = here;
    }
    EXPECT_LE(largest, 8);

    const std::vector<float> floats = render::RenderContext().renderFloats(
        test::renderer().projected(Look(), source, side).value(), QRect(0, 0, side, side));
    EXPECT_TRUE(
        std::all_of(floats.begin(), floats.end(), [](float f) { return std::isfinite(f); }));
}
