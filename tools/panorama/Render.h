#pragma once

#include "Maths.h"

#include <QImage>

namespace pano {

class Scene;

/// View direction through pixel position (px, py) of a panorama `width` wide;
/// px = 0 and px = width look the same way.
V3 panoramaDirection(float px, float py, int width);

/// Renders the full turn as an equirectangular image of width x width/2 pixels:
/// x is longitude, the top row the zenith and the bottom row the nadir.
QImage renderPanorama(const Scene& scene, int width);

} // namespace pano
