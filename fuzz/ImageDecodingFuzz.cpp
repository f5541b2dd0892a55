// Any bytes through the loader the window's paste and the command line use: a
// picture or a failure in words, never a crash, a hang or a runaway allocation.

#include "FuzzCheck.h"
#include "model/ImageDecoding.h"
#include "render/DecodeBudget.h"
#include "render/SourcePixels.h"

#include <QByteArray>
#include <QStringList>

#include <cstddef>
#include <cstdint>

using namespace velmora;

namespace {

void decodeWithin(const QByteArray& bytes, qint64 maxPixels) {
    QStringList warnings;
    const Result<render::Image> decoded = decodeImageData(bytes, {}, &warnings, maxPixels);
    if (!decoded) {
        FUZZ_CHECK(!decoded.message().isEmpty());
        return;
    }
    const std::shared_ptr<const render::SourcePixels> pixels = decoded->sourcePixels();
    FUZZ_CHECK(pixels != nullptr);
    const qint64 made = qint64(pixels->width()) * pixels->height();
    // Within the limit asked for, whatever the header claimed: an icon's directory
    // does not bind the PNG inside it.
    FUZZ_CHECK(made <= maxPixels);
    // The pyramid and seam table are built from whatever came out, up to a megapixel:
    // the code is the same at every size, and under the fuzzer's instrumentation a
    // 9-megapixel pyramid (a kilobyte of progressive JPEG) takes 8 s.
    if (made <= 1'000'000)
        pixels->ensurePyramid();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    decodeWithin(bytes, render::maxPicturePixels);
    // Again with a limit small inputs exceed, so the readers that reduce huge PNG,
    // TIFF and JPEG pictures as they read them get the same bytes.
    decodeWithin(bytes, 64 * 64);
    return 0;
}
