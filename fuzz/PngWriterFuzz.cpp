// Our PNG writer against a standard decoder: any picture from 1 x 1, any filter,
// level and strip height; libpng (through Qt) must read back exactly what went in.

#include "FuzzCheck.h"
#include "render/PngWriter.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QBuffer>
#include <QImage>

#include <cstdint>
#include <vector>

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    render::PngEncoding encoding;
    encoding.filter = static_cast<render::PngEncoding::Filter>(
        input.ConsumeIntegralInRange(0, static_cast<int>(render::PngEncoding::Filter::adaptive)));
    encoding.level = input.ConsumeIntegralInRange(0, 3);
    encoding.rowsPerStrip = input.ConsumeIntegralInRange(1, 80);
    const int width = input.ConsumeIntegralInRange(1, 128);
    const int height = input.ConsumeIntegralInRange(1, 160);
    QImage picture(width, height, QImage::Format_RGBA8888);
    // Rows repeat their bytes when the input runs short: long runs exercise deflate's
    // matches as random bytes exercise its literals.
    const std::vector<std::uint8_t> bytes = input.ConsumeRemainingBytes<std::uint8_t>();
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = picture.scanLine(y);
        for (int x = 0; x < width * 4; ++x)
            row[x] = bytes.empty() ? std::uint8_t(x * 7 + y)
                                   : bytes[(std::size_t(y) * width * 4 + x) % bytes.size()];
    }

    QByteArray png;
    QBuffer device(&png);
    device.open(QIODevice::WriteOnly);
    FUZZ_CHECK(render::writePng(picture, device, encoding).ok());
    QImage read;
    FUZZ_CHECK(read.loadFromData(png, "PNG"));
    read = read.convertToFormat(QImage::Format_RGBA8888);
    FUZZ_CHECK(read.size() == picture.size());
    for (int y = 0; y < height; ++y)
        FUZZ_CHECK(std::equal(picture.constScanLine(y), picture.constScanLine(y) + width * 4,
                              read.constScanLine(y)));
    return 0;
}
