// Opening a huge panorama and exporting an 8192 planet from it, as the command line
// does, with the peak resident size of the whole process. The peak is the kernel's
// high-water mark (VmHWM), reset before the body to what the process holds then; what
// an earlier benchmark left resident would still count, so run each of these alone
// in a fresh process:
//
//   build/default/bin/velmora_bench --benchmark_filter=hugeJpegToPlanet
//   build/default/bin/velmora_bench --benchmark_filter=hugePngToPlanet
//
// The sources are generated once, in strips so the generator stays small, and kept in
// the temporary folder (velmora-bench/) for later runs.

#include "BenchSupport.h"

#include "layers/LayerLibrary.h"
#include "model/ImageDecoding.h"
#include "model/PlanetRenderer.h"
#include "model/PngDecoding.h"
#include "render/OutputFile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

// jpeglib.h needs size_t and FILE declared first.
#include <jpeglib.h>
#include <png.h>

using namespace velmora;

namespace {

constexpr int stripRows = 16;

/// Sky, sea and land for the coders: gradients, a sharp horizon, waves and a little
/// noise, row by row (RGB, 8 bits).
void landscapeRow(int y, int width, int height, std::uint8_t* rgb) {
    const double v = (y + 0.5) / height;
    std::uint32_t noise = 0x9e3779b9u * static_cast<std::uint32_t>(y + 1);
    for (int x = 0; x < width; ++x, rgb += 3) {
        const double u = (x + 0.5) / width;
        noise ^= noise << 13;
        noise ^= noise >> 17;
        noise ^= noise << 5;
        const double grain = static_cast<double>(noise & 7) - 3.5;
        double r, g, b;
        if (v < 0.5) { // sky, lighter towards the horizon, with soft bands of cloud
            const double cloud = 0.5 + 0.5 * std::sin(u * 40.0 + std::sin(v * 30.0) * 3.0);
            r = 60 + 120 * v + 40 * cloud;
            g = 120 + 100 * v + 30 * cloud;
            b = 200 + 40 * v;
        } else { // land whose hue turns once round the picture, with waves
            const double wave = std::sin(u * 600.0 + v * 90.0);
            r = 90 + 60 * std::sin(u * 6.2832) + 20 * wave;
            g = 110 + 40 * std::cos(u * 6.2832) + 20 * wave;
            b = 60 + 30 * wave;
        }
        rgb[0] = static_cast<std::uint8_t>(std::clamp(r + grain, 0.0, 255.0));
        rgb[1] = static_cast<std::uint8_t>(std::clamp(g + grain, 0.0, 255.0));
        rgb[2] = static_cast<std::uint8_t>(std::clamp(b + grain, 0.0, 255.0));
    }
}

/// The generated source `name` in the temporary folder, written by `write` into a
/// partial file and renamed only when whole, so an interrupted run leaves nothing to
/// be taken for it. Empty when it cannot be written.
template <typename Write>
QString cached(const QString& name, Write write) {
    const QString folder = QDir::temp().filePath(QStringLiteral("velmora-bench"));
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name;
    if (QFile::exists(path))
        return path;
    const QString partial = path + QStringLiteral(".part");
    std::FILE* file = std::fopen(QFile::encodeName(partial).constData(), "wb");
    if (!file)
        return {};
    write(file);
    std::fclose(file);
    return QFile::rename(partial, path) ? path : QString();
}

/// A JPEG at quality 85, written a strip at a time; libjpeg's own error handling
/// (a message and exit) is enough for a benchmark's fixture.
QString hugeJpeg(int width, int height) {
    return cached(QStringLiteral("huge-%1x%2.jpg").arg(width).arg(height), [&](std::FILE* file) {
        jpeg_compress_struct info{};
        jpeg_error_mgr errors{};
        info.err = jpeg_std_error(&errors);
        jpeg_create_compress(&info);
        jpeg_stdio_dest(&info, file);
        info.image_width = static_cast<JDIMENSION>(width);
        info.image_height = static_cast<JDIMENSION>(height);
        info.input_components = 3;
        info.in_color_space = JCS_RGB;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, 85, TRUE);
        jpeg_start_compress(&info, TRUE);
        const size_t rowBytes = static_cast<size_t>(width) * 3;
        std::vector<std::uint8_t> strip(rowBytes * stripRows);
        std::vector<JSAMPROW> rows(stripRows);
        while (info.next_scanline < info.image_height) {
            const int first = static_cast<int>(info.next_scanline);
            const int count = std::min(stripRows, height - first);
            for (int i = 0; i < count; ++i) {
                rows[static_cast<size_t>(i)] = strip.data() + rowBytes * static_cast<size_t>(i);
                landscapeRow(first + i, width, height, rows[static_cast<size_t>(i)]);
            }
            jpeg_write_scanlines(&info, rows.data(), static_cast<JDIMENSION>(count));
        }
        jpeg_finish_compress(&info);
        jpeg_destroy_compress(&info);
    });
}

/// An 8-bit RGB PNG, written a row at a time at zlib's fastest level.
QString hugePng(int width, int height) {
    return cached(QStringLiteral("huge-%1x%2.png").arg(width).arg(height), [&](std::FILE* file) {
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_set_compression_level(png, 1);
        png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
                     8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        std::vector<std::uint8_t> row(static_cast<size_t>(width) * 3);
        for (int y = 0; y < height; ++y) {
            landscapeRow(y, width, height, row.data());
            png_write_row(png, row.data());
        }
        png_write_end(png, info);
        png_destroy_write_struct(&png, &info);
    });
}

/// The command line's render: open, place the planet at 8192, write it strip by strip.
void openAndExport(benchmark::State& state, const QString& source) {
    if (source.isEmpty()) {
        state.SkipWithError("the source could not be generated in the temporary folder");
        return;
    }
    Result<PlanetRenderer> renderer = PlanetRenderer::load(bench::resources());
    if (!renderer) {
        state.SkipWithError(renderer.message().toStdString().c_str());
        return;
    }
    LayerLibrary library(bench::resources());
    const QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("planet.png"));
    constexpr int side = 8192;
    double decodeSeconds = 0.0;
    long peakKiB = 0;
    long startKiB = 0;
    QSize opened;
    for (auto _ : state) {
        bench::resetPeakResident();
        startKiB = bench::currentResidentKiB();
        QElapsedTimer clock;
        clock.start();
        const Result<render::Image> picture = decodeImageFile(source);
        decodeSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
        if (!picture) {
            state.SkipWithError(picture.message().toStdString().c_str());
            return;
        }
        opened = picture->extent().size().toSize();
        const Result<render::Image> planet = renderer->planet(Look{}, *picture, library, side);
        if (!planet) {
            state.SkipWithError(planet.message().toStdString().c_str());
            return;
        }
        const Status written = render::writeOutputFile(*planet, QRect(0, 0, side, side), out, {});
        if (!written) {
            state.SkipWithError(written.message().toStdString().c_str());
            return;
        }
        peakKiB = bench::peakResidentKiB();
    }
    state.SetLabel(QStringLiteral("%1, opened at %2 x %3")
                       .arg(QFileInfo(source).fileName())
                       .arg(opened.width())
                       .arg(opened.height())
                       .toStdString());
    state.counters["decode_s"] = decodeSeconds;
    state.counters["start_MiB"] = static_cast<double>(startKiB) / 1024.0;
    state.counters["peak_MiB"] = static_cast<double>(peakKiB) / 1024.0;
}

} // namespace

// 44000 x 22000, about a gigapixel: opens at a quarter through libjpeg-turbo's DCT.
static void hugeJpegToPlanet(benchmark::State& state) {
    openAndExport(state, hugeJpeg(44000, 22000));
}
BENCHMARK(hugeJpegToPlanet)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

// 30000 x 15000 (450 megapixels): read in strips and averaged to half.
static void hugePngToPlanet(benchmark::State& state) {
    openAndExport(state, hugePng(30000, 15000));
}
BENCHMARK(hugePngToPlanet)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

// Why PNGs within the limit still go to Qt's reader: our strip reader at full size (1)
// against Qt's (0) on a 12000 x 6000 PNG, with the largest difference of any channel
// between the two pictures.
static void decodeLargePng(benchmark::State& state) {
    const QString path = hugePng(12000, 6000);
    const bool strips = state.range(0) == 1;
    QImage decoded;
    for (auto _ : state) {
        if (strips) {
            QFile file(path);
            file.open(QIODevice::ReadOnly);
            Result<StripPicture> read =
                decodePngStrips(file, file.size(), render::maxPicturePixels, path);
            if (!read) {
                state.SkipWithError(read.message().toStdString().c_str());
                return;
            }
            decoded = std::move(read->image);
        } else {
            raiseImageAllocationLimit();
            decoded = QImage(path);
        }
        benchmark::DoNotOptimize(decoded.constBits());
    }
    const QImage qt = QImage(path).convertToFormat(QImage::Format_RGB32);
    decoded.convertTo(QImage::Format_RGB32);
    int largest = 0;
    for (int y = 0; y < qt.height(); ++y) {
        const uchar* a = qt.constScanLine(y);
        const uchar* b = decoded.constScanLine(y);
        for (int i = 0; i < 4 * qt.width(); ++i)
            largest = std::max(largest, std::abs(a[i] - b[i]));
    }
    state.counters["max_diff"] = largest;
}
BENCHMARK(decodeLargePng)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("strips")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);
