// The plainest resampler there is, as the yardstick for the preview: OpenCV's bilinear
// remap of the same 8000 x 4000 8-bit sample to 1100 x 1100 through a coordinate map
// worked out beforehand. It filters nothing (the planet's centre comes out in moire)
// and maps nothing while it runs, so it is a floor, not a rival. Run it in the same
// process as previewRender and compare medians.

#include "BenchSupport.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <numbers>

namespace {

constexpr int side = 1100;

/// The planet at the defaults (stereographic, horizon at half the square's side),
/// as source pixel coordinates per output pixel.
void planetMap(int width, int height, cv::Mat& mapX, cv::Mat& mapY) {
    mapX.create(side, side, CV_32FC1);
    mapY.create(side, side, CV_32FC1);
    const double pi = std::numbers::pi;
    for (int y = 0; y < side; ++y) {
        auto* xs = mapX.ptr<float>(y);
        auto* ys = mapY.ptr<float>(y);
        for (int x = 0; x < side; ++x) {
            const double qx = 2.0 * (x + 0.5) / side - 1.0;
            const double qy = 2.0 * (y + 0.5) / side - 1.0;
            const double r = std::hypot(qx, qy);
            double u = 0.5 + std::atan2(qx, -qy) / (2.0 * pi);
            u -= std::floor(u);
            const double v = 1.0 - 2.0 * std::atan(r / 0.5) / pi;
            xs[x] = static_cast<float>(u * width - 0.5);
            ys[x] = static_cast<float>(v * height - 0.5);
        }
    }
}

} // namespace

// Argument 0: the float map as worked out; 1: the map converted to OpenCV's
// fixed-point form, its fastest path.
static void remapBaseline(benchmark::State& state) {
    QImage picture = velmora::bench::samplePicture().convertToFormat(QImage::Format_RGB32);
    if (picture.isNull()) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    if (const int n = qEnvironmentVariableIntValue("VELMORA_THREADS"); n > 0)
        cv::setNumThreads(n);
    const cv::Mat source(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                         static_cast<size_t>(picture.bytesPerLine()));
    cv::Mat mapX;
    cv::Mat mapY;
    planetMap(picture.width(), picture.height(), mapX, mapY);
    if (state.range(0) == 1) {
        cv::Mat fixedXY;
        cv::Mat fixedFraction;
        cv::convertMaps(mapX, mapY, fixedXY, fixedFraction, CV_16SC2);
        mapX = fixedXY;
        mapY = fixedFraction;
    }
    state.SetLabel(state.range(0) == 1 ? "fixed-point map" : "float map");
    cv::Mat out(side, side, CV_8UC4);
    for (auto _ : state) {
        cv::remap(source, out, mapX, mapY, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(out.data);
    }
}
BENCHMARK(remapBaseline)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(2.0);
