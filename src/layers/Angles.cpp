#include "layers/Angles.h"

#include <cmath>

namespace velmora {

double normalizedDegrees(double degrees) {
    double r = std::fmod(degrees, 360.0);
    if (r > 180.0)
        r -= 360.0;
    if (r <= -180.0)
        r += 360.0;
    return r;
}

} // namespace velmora
