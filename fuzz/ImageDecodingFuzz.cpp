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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QStringList warnings;
    const Result<render::Image> decoded = decodeImageData(bytes, {}, &warnings);
    if (!decoded) {
        FUZZ_CHECK(!decoded.message().isEmpty());
        return 0;
    }
    const std::shared_ptr<const render::SourcePixels> pixels = decoded->sourcePixels();
    FUZZ_CHECK(pixels != nullptr);
    FUZZ_CHECK(qint64(pixels->width()) * pixels->height() <= render::maxPicturePixels);
    // The pyramid and seam table are built from whatever came out.
    pixels->ensurePyramid();
    return 0;
}
