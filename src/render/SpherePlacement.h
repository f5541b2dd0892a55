#pragma once

#include <QSize>

#include <array>
#include <optional>

namespace velmora::render {

/// Where a picture lies on the viewing sphere, as its file says (Photo Sphere
/// metadata) or nothing. An equirectangular picture may span only part of the
/// circle and part of the sphere's height, and a camera that was not held level
/// records how it was tilted.
struct SpherePlacement {
    /// The picture's top row and its height, as fractions of the full sphere's
    /// height (0 the zenith, 1 the nadir); absent when the file does not say.
    std::optional<double> top;
    std::optional<double> height;
    /// The picture's left column and its width, as fractions of the full circle
    /// (0 the full panorama's left edge); absent when the file does not say.
    std::optional<double> left;
    std::optional<double> width;
    /// The camera's tilt: the picture's middle points this far above the horizon,
    /// and the horizon turns this far anticlockwise in the picture.
    double pitchDegrees = 0.0;
    double rollDegrees = 0.0;

    bool operator==(const SpherePlacement&) const = default;
};

/// The part of the sphere a picture covers: its rows as fractions of the sphere's
/// height, its columns as fractions of the circle from the full panorama's left edge.
struct SphereCover {
    double top = 0.0;
    double height = 1.0;
    double left = 0.0;
    double width = 1.0;
    bool operator==(const SphereCover&) const = default;
};

/// The cover of a picture of `size`: what its metadata says, when it says something
/// sensible; otherwise a picture wider than 2:1 is taken as 360 degrees wide with its
/// natural height (360 x height / width degrees) centred on the horizon, and any
/// other as the whole sphere. Columns come only from metadata: without it a picture
/// goes once round the circle.
SphereCover coverOf(QSize size, const SpherePlacement& placement);

/// The rotation that turns a direction of the level world into the tilted camera's
/// (the kernel's frame: x right, y the picture's middle, z down), row-major.
std::array<float, 9> poseMatrix(double pitchDegrees, double rollDegrees);

} // namespace velmora::render
