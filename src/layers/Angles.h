#pragma once

namespace velmora {

/// Folds an angle in degrees into (-180, 180]: 180 stays 180, -180 becomes 180.
/// The remainder keeps the sign of the dividend, as fmod does.
double normalizedDegrees(double degrees);

} // namespace velmora
