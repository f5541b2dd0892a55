#pragma once

namespace velmora {

/// One render's projection settings, in the order the kernel takes them, made from a
/// look by projectionParameters() (so the settings' defaults live in one table).
/// Angles in radians; `outputSide` in pixels, where 0 or less means "the larger side
/// of the source". Value-initialised fields are zero, not the defaults.
struct ProjectionParameters {
    float zoom = 0.f;
    float convexity = 0.f;
    float rotation = 0.f;
    float twist = 0.f;
    float shiftX = 0.f;
    float horizon = 0.f;
    float flipX = 0.f;
    float flipY = 0.f;
    bool invert = false;
    float blendWidth = 0.f;
    float repeats = 0.f;
    /// The picture stretched over the whole sphere, whatever its file or shape says
    /// of where it lies, and not levelled.
    bool fullSphere = false;
    double outputSide = 0.0;

    bool operator==(const ProjectionParameters&) const = default;
};

} // namespace velmora
