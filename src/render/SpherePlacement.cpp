#include "render/SpherePlacement.h"

#include <cmath>
#include <numbers>

namespace velmora::render {

SphereCover coverOf(QSize size, const SpherePlacement& placement) {
    SphereCover cover;
    if (placement.left && placement.width && std::isfinite(*placement.left) &&
        std::isfinite(*placement.width) && *placement.left >= 0.0 && *placement.left < 1.0 &&
        *placement.width > 0.0) {
        cover.left = *placement.left;
        cover.width = std::fmin(*placement.width, 1.0);
    }
    if (placement.top && placement.height && std::isfinite(*placement.top) &&
        std::isfinite(*placement.height) && *placement.height > 0.0 && *placement.top >= 0.0 &&
        *placement.top + *placement.height <= 1.0 + 1e-9) {
        cover.top = *placement.top;
        cover.height = std::fmin(*placement.height, 1.0 - *placement.top);
    } else if (size.width() > 2 * size.height() * cover.width && size.height() > 0) {
        // Natural height: the picture's pixels are as tall as they are wide.
        cover.height = 2.0 * size.height() * cover.width / size.width();
        cover.top = 0.5 - 0.5 * cover.height;
    }
    return cover;
}

std::array<float, 9> poseMatrix(double pitchDegrees, double rollDegrees) {
    // The camera turned from level: first rolled about its line of sight (clockwise
    // seen from behind, so the horizon turns anticlockwise in its picture), then
    // pitched up. camera = roll^T pitch^T world.
    const double p = (std::isfinite(pitchDegrees) ? pitchDegrees : 0.0) * std::numbers::pi / 180.0;
    const double r = (std::isfinite(rollDegrees) ? rollDegrees : 0.0) * std::numbers::pi / 180.0;
    const double cp = std::cos(p), sp = std::sin(p), cr = std::cos(r), sr = std::sin(r);
    // Pitch about x takes the middle (y) up, towards -z; its columns are the images
    // of x, y, z.
    const double pitch[3][3] = {{1, 0, 0}, {0, cp, sp}, {0, -sp, cp}};
    // Roll about y takes up (-z) towards the right (+x).
    const double roll[3][3] = {{cr, 0, -sr}, {0, 1, 0}, {sr, 0, cr}};
    std::array<float, 9> m{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 3; ++k)
                sum += roll[k][i] * pitch[j][k]; // (roll^T pitch^T)[i][j]
            m[static_cast<size_t>(3 * i + j)] = static_cast<float>(sum);
        }
    return m;
}

} // namespace velmora::render
