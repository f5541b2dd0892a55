#pragma once

namespace velmora::render {

/// sRGB transfer tables shared by every sampler: built once, read-only afterwards.
struct ColorTables {
    const float* decode8;  ///< 256 entries, sRGB code / 255 -> linear
    const float* decode16; ///< 65536 entries, sRGB code / 65535 -> linear
    const float* encode;   ///< VM_ENCODE_SIZE + 2 entries, linear i / size -> sRGB (padded)
};

const ColorTables& colorTables();

/// The exact sRGB curves, for building tables and for tests.
double srgbToLinear(double encoded);
double linearToSrgb(double linear);

} // namespace velmora::render
