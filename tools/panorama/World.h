#pragma once

// The lie of the land, shared by the ground shading and the placement of objects:
// a bay to the east with a sandy beach a few steps from the eye, and a farm track
// that runs from the beach through the eye towards the village in the west.
#include "Maths.h"

namespace pano::world {

inline float rad(float deg) {
    return deg * kPi / 180.0f;
}

// Sea: centred on this azimuth; coast coordinates s (towards the sea) and t (along it).
inline const float kSeaAzimuth = rad(100.0f);
inline V2 seaAxis() {
    return heading(kSeaAzimuth);
}
inline V2 coastAxis() {
    return {-seaAxis().y, seaAxis().x};
}
inline V2 coastCoords(V2 p) {
    return {dot(p, seaAxis()), dot(p, coastAxis())};
}

/// Distance towards the sea of the water's edge; the shore bends back on both sides,
/// so the sea fills a wedge of horizon rather than half of it.
inline float waterLine(float t) {
    return 9.0f + 0.95f * (std::sqrt(t * t + 1600.0f) - 40.0f) + 3.0f * std::sin(t / 37.0f) +
           1.2f * std::sin(t / 11.0f + 1.0f);
}
/// Where the meadow gives way to sand.
inline float sandLine(float t) {
    return waterLine(t) - 5.5f - 1.5f * std::sin(t / 23.0f + 2.0f);
}

// Track: runs along this azimuth (and its opposite) through the eye.
inline const float kTrackAzimuth = rad(72.0f);
inline V2 trackAxis() {
    return heading(kTrackAzimuth);
}
inline V2 trackSide() {
    return {trackAxis().y, -trackAxis().x};
}
/// Sideways offset of the track's middle at distance `a` along it; the eye stands on
/// the near wheel rut.
inline float trackCentre(float a) {
    return -0.55f + 3.2f * (std::sin(a / 31.0f + 0.4f) - std::sin(0.4f)) +
           1.1f * std::sin(a / 13.0f);
}
constexpr float kTrackHalfWidth = 1.3f;

} // namespace pano::world
