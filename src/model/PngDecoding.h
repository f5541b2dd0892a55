#pragma once

#include "model/StripReduction.h"
#include "render/Result.h"

#include <QString>

class QIODevice;

namespace velmora {

/// Decodes a PNG from `device` (read from where it stands; `dataBytes` is the data's
/// length) with libpng, row by row, reduced on the fly by reductionFactor() to fit
/// `maxPixels`: besides the result only one source row and one row of sums are held.
/// Meant for pictures beyond the limit; Qt's reader opens the others. Grey, palette,
/// RGB, with alpha or tRNS, 1 to 16 bits; 16-bit files stay 16-bit. The profile is
/// the iCCP chunk's, or one made for a gAMA chunk. An interlaced file cannot be read a
/// row at a time and is refused in words, as is a header that claims more pixels
/// than the data can hold. Failures name `what`.
Result<StripPicture> decodePngStrips(QIODevice& device, qint64 dataBytes, qint64 maxPixels,
                                     const QString& what);

} // namespace velmora
