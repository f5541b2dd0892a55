#pragma once

#include "model/PlanetModel.h"

#include <QImage>
#include <QString>

#include <memory>

namespace velmora::bench {

/// The staged resources folder of the build (kernel, artwork, sample panorama).
QString resources();

/// The shipped sample panorama (8000 x 4000), or null when the build has none.
QImage samplePicture();

/// A model holding the shipped sample panorama (8000 x 4000), or null with the
/// benchmark skipped when the build has no sample.
std::unique_ptr<PlanetModel> modelWithSample();

/// Adds `count` layers from the shipped catalogue, spread over the planet, in all
/// three blend modes.
void addLayers(PlanetModel& model, int count);

/// Peak resident memory since the last reset, and the reset (Linux).
long peakResidentKiB();
void resetPeakResident();
long currentResidentKiB();

} // namespace velmora::bench
