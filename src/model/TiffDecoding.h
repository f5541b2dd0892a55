#pragma once

#include "model/StripReduction.h"
#include "render/Result.h"

#include <QString>

class QIODevice;

namespace velmora {

/// Decodes the first picture of a TIFF from `device` (`dataBytes` long) with libtiff,
/// a row of strips or a band of tiles at a time, reduced on the fly by
/// reductionFactor() to fit `maxPixels`. Meant for pictures beyond the limit; Qt's
/// reader opens the others. 8- and 16-bit grey or RGB, with alpha (associated or
/// not), channels interleaved, any compression libtiff reads; JPEG-compressed YCbCr
/// is read as RGB. Other layouts, and headers claiming more pixels than the data can
/// hold, are refused in words; libtiff's errors become the failure's reason instead
/// of going to standard error. The profile is TIFFTAG_ICCPROFILE's. Failures name
/// `what`.
Result<StripPicture> decodeTiffStrips(QIODevice& device, qint64 dataBytes, qint64 maxPixels,
                                      const QString& what);

} // namespace velmora
