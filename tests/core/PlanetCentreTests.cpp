// The planet's centre, where hundreds of source pixels fall into one output pixel: it
// must show their linear-light average, with no rings and no streak along the seam.

#include "filter/TinyPlanetFilter.h"
#include "model/Look.h"
#include "render/Image.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

using namespace velmora;
using render::Image;

namespace {

constexpr int panoramaWidth = 8000;
constexpr int panoramaHeight = 4000;
/// The pattern's cell, in source pixels: checker squares and stripe widths.
constexpr int cell = 2;
/// The pattern covers the sphere's bottom 30 degrees.
constexpr double patternDegrees = 30.0;

/// An 8000 x 4000 panorama with a smooth sky above and, round the nadir, black and
/// white in equal parts: a fine checker, then fine stripes running towards the pole,
/// and across the seam the two ends differ (the stripes on the left half are the
/// checker's phase turned). Its linear-light mean there is one half.
QImage nadirPattern() {
    QImage image(panoramaWidth, panoramaHeight, QImage::Format_RGB32);
    const int patternTop =
        static_cast<int>(std::lround(panoramaHeight * (1.0 - patternDegrees / 180.0)));
    const int stripesTop = (patternTop + panoramaHeight) / 2;
    for (int y = 0; y < panoramaHeight; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < panoramaWidth; ++x) {
            if (y < patternTop) {
                const int shade = 90 + 100 * y / patternTop;
                row[x] = qRgb(shade / 2, shade, 230);
                continue;
            }
            const bool leftHalf = x < panoramaWidth / 2;
            bool white;
            if (y < stripesTop)
                white = ((x / cell) + (y / cell)) % 2 == 0;
            else
                white = (x / cell) % 2 == (leftHalf ? 0 : 1);
            row[x] = white ? qRgb(255, 255, 255) : qRgb(0, 0, 0);
        }
    }
    return image;
}

struct DiscFigures {
    double mean = 0;
    double deviation = 0;
    double worstColumnStep = 0; ///< largest step between neighbouring columns' means
    double worstRowStep = 0;
    int pixels = 0;
};

/// The figures of the disc about the centre of a planet of `side` where every pixel's
/// footprint spans at least four cells round the planet, inside the pattern.
DiscFigures centreFigures(const TinyPlanetFilter& filter, const Image& source, int side) {
    ProjectionParameters p = projectionParameters(Look(), side);
    const std::optional<Image> planet = filter.apply(source, p);
    EXPECT_TRUE(planet.has_value());
    // Round the planet a pixel at radius r spans width / (2 pi r) source columns.
    const double byCells = panoramaWidth / (2.0 * std::numbers::pi * 4.0 * cell);
    // At zoom 1 the horizon lies side / 4 from the centre: a nadir angle c is at
    // r = side / 4 tan(c / 2). Keep clear of the pattern's edge.
    const double byPattern =
        side / 4.0 * std::tan(0.8 * patternDegrees / 2.0 * std::numbers::pi / 180.0);
    const double radius = std::min(byCells, byPattern);
    const int half = static_cast<int>(std::ceil(radius)) + 1;
    const QRect area(side / 2 - half, side / 2 - half, 2 * half, 2 * half);
    const std::vector<float> values = render::RenderContext().renderFloats(*planet, area);

    const double centre = side / 2.0;
    std::vector<double> columnSum(area.width(), 0), rowSum(area.height(), 0);
    std::vector<int> columnCount(area.width(), 0), rowCount(area.height(), 0);
    double sum = 0, squares = 0;
    DiscFigures f;
    for (int j = 0; j < area.height(); ++j)
        for (int i = 0; i < area.width(); ++i) {
            const double dx = area.x() + i + 0.5 - centre;
            const double dy = area.y() + j + 0.5 - centre;
            if (std::hypot(dx, dy) > radius)
                continue;
            const float* px = values.data() + 4 * (j * area.width() + i);
            const double level = 255.0 * (px[0] + px[1] + px[2]) / 3.0;
            sum += level;
            squares += level * level;
            columnSum[i] += level;
            ++columnCount[i];
            rowSum[j] += level;
            ++rowCount[j];
            ++f.pixels;
        }
    f.mean = sum / f.pixels;
    f.deviation = std::sqrt(std::max(0.0, squares / f.pixels - f.mean * f.mean));
    const auto worstStep = [](const std::vector<double>& sums, const std::vector<int>& counts) {
        double worst = 0;
        for (std::size_t k = 1; k < sums.size(); ++k)
            if (counts[k] >= 8 && counts[k - 1] >= 8)
                worst =
                    std::max(worst, std::fabs(sums[k] / counts[k] - sums[k - 1] / counts[k - 1]));
        return worst;
    };
    f.worstColumnStep = worstStep(columnSum, columnCount);
    f.worstRowStep = worstStep(rowSum, rowCount);
    return f;
}

class PlanetCentreTest : public ::testing::TestWithParam<int> {
protected:
    static void SetUpTestSuite() {
        filter = new TinyPlanetFilter(TinyPlanetFilter::load(test::buildResources()).value());
        source = new Image(Image::fromQImage(nadirPattern()));
    }
    static void TearDownTestSuite() {
        delete filter;
        delete source;
    }
    static inline TinyPlanetFilter* filter = nullptr;
    static inline Image* source = nullptr;
};

} // namespace

TEST_P(PlanetCentreTest, IsTheFlatLinearLightMeanOfThePattern) {
    const DiscFigures f = centreFigures(*filter, *source, GetParam());
    // Half of linear light, encoded: 187.5 of 255.
    const double expected = 255.0 * (1.055 * std::pow(0.5, 1.0 / 2.4) - 0.055);
    EXPECT_NEAR(f.mean, expected, 1.0);
    EXPECT_LT(f.deviation, 2.0);
    // Rings show as rows, a streak down the seam as columns, whose means differ from
    // their neighbours' by far more than the pixels' noise.
    EXPECT_LT(f.worstRowStep, 1.0);
    EXPECT_LT(f.worstColumnStep, 1.0);
}

INSTANTIATE_TEST_SUITE_P(Sides, PlanetCentreTest, ::testing::Values(1100, 8192));
