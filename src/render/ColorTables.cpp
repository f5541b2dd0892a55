#include "render/ColorTables.h"

#include "kernels/KernelAbi.h"

#include <cmath>
#include <vector>

namespace velmora::render {

double srgbToLinear(double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double linearToSrgb(double l) {
    return l <= 0.0031308 ? l * 12.92 : 1.055 * std::pow(l, 1.0 / 2.4) - 0.055;
}

const ColorTables& colorTables() {
    struct Storage {
        std::vector<float> decode8 = std::vector<float>(256);
        std::vector<float> decode16 = std::vector<float>(65536);
        std::vector<float> encode = std::vector<float>(VM_ENCODE_SIZE + 2);
        ColorTables tables{};
        Storage() {
            for (int i = 0; i < 256; ++i)
                decode8[i] = static_cast<float>(srgbToLinear(i / 255.0));
            for (int i = 0; i < 65536; ++i)
                decode16[i] = static_cast<float>(srgbToLinear(i / 65535.0));
            for (int i = 0; i <= VM_ENCODE_SIZE; ++i) {
                encode[i] =
                    static_cast<float>(linearToSrgb(static_cast<double>(i) / VM_ENCODE_SIZE));
            }
            encode[VM_ENCODE_SIZE + 1] = encode[VM_ENCODE_SIZE]; // padding for interpolation
            tables = {decode8.data(), decode16.data(), encode.data()};
        }
    };
    static const Storage storage;
    return storage.tables;
}

} // namespace velmora::render
