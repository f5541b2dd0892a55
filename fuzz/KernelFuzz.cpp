// The projection kernel with any arguments: fourteen floats (NaN and infinity
// included), either invert flag, any source from 1 x 1, any tile of the output. It
// must stay inside its buffers and write finite, premultiplied colour.

#include "FuzzCheck.h"
#include "kernels/KernelAbi.h"
#include "render/SourcePixels.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QImage>

#include <cmath>
#include <cstdint>
#include <vector>

using namespace velmora;

// The kernel's entry point, compiled into this target so the fuzzer sees its branches.
extern "C" void tinyPlanet(const VmSampler* source, const VmProjection* projection,
                           const VmDestination* destination);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    VmProjection projection{};
    projection.abiVersion = VM_KERNEL_ABI_VERSION;
    float* const floats[] = {
        &projection.inputSize.x,  &projection.inputSize.y, &projection.outputSize.x,
        &projection.outputSize.y, &projection.zoom,        &projection.convexity,
        &projection.rotation,     &projection.twist,       &projection.shiftX,
        &projection.horizon,      &projection.flipX,       &projection.flipY,
        &projection.blendWidth,   &projection.repeats,     &projection.coverTop,
        &projection.coverHeight,  &projection.coverLeft,   &projection.coverWidth};
    for (float* value : floats)
        *value = input.ConsumeFloatingPoint<float>();
    projection.invert = input.ConsumeBool() ? 1 : 0;
    for (float& value : projection.pose)
        value = input.ConsumeFloatingPoint<float>();

    const int width = input.ConsumeIntegralInRange(1, 48);
    const int height = input.ConsumeIntegralInRange(1, 48);
    static const QImage::Format formats[] = {QImage::Format_RGBA8888, QImage::Format_ARGB32,
                                             QImage::Format_RGBA64, QImage::Format_RGB32};
    QImage picture(width, height, formats[input.ConsumeIntegralInRange(0, 3)]);
    for (int y = 0; y < height; ++y) {
        const std::vector<std::uint8_t> row =
            input.ConsumeBytes<std::uint8_t>(static_cast<std::size_t>(picture.bytesPerLine()));
        std::copy(row.begin(), row.end(), picture.scanLine(y));
    }
    const std::shared_ptr<const render::SourcePixels> pixels =
        render::SourcePixels::create(std::move(picture));
    FUZZ_CHECK(pixels != nullptr);
    if (input.ConsumeBool())
        pixels->ensurePyramid();

    const int tileWidth = input.ConsumeIntegralInRange(1, 24);
    const int tileHeight = input.ConsumeIntegralInRange(1, 24);
    const int64_t stride = int64_t(tileWidth) * 4 + input.ConsumeIntegralInRange(0, 8);
    // The buffer is exactly what the tile needs: a write past it is an ASan report.
    std::vector<float> tile(static_cast<std::size_t>(stride * (tileHeight - 1) + tileWidth * 4));
    const VmDestination destination{input.ConsumeIntegralInRange(-4096, 4096),
                                    input.ConsumeIntegralInRange(-4096, 4096),
                                    tileWidth,
                                    tileHeight,
                                    tile.data(),
                                    stride};
    tinyPlanet(&pixels->sampler(), &projection, &destination);

    for (int y = 0; y < tileHeight; ++y) {
        const float* row = tile.data() + y * stride;
        for (int x = 0; x < tileWidth; ++x) {
            const float* p = row + 4 * x;
            for (int c = 0; c < 4; ++c)
                FUZZ_CHECK(std::isfinite(p[c]));
            // Premultiplied: no channel above its alpha, within rounding.
            FUZZ_CHECK(p[3] >= -1e-4f && p[3] <= 1.f + 1e-4f);
            for (int c = 0; c < 3; ++c)
                FUZZ_CHECK(p[c] >= -1e-4f && p[c] <= p[3] + 1e-3f);
        }
    }
    return 0;
}
