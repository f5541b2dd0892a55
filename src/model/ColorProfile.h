#pragma once

#include "render/Result.h"

#include <QByteArray>
#include <QImage>

namespace velmora {

/// Converts `image` from the colours its ICC profile `icc` describes to sRGB, the
/// working space every other stage assumes, in place, with Little CMS (perceptual
/// intent, so colours beyond sRGB compress rather than clip hard). An empty profile,
/// or one that already is sRGB, leaves the pixels as they are. 8-bit pictures stay
/// 8-bit, 16-bit ones 16-bit; premultiplied ones come back straight. Fails, with
/// the reason, for a profile Little CMS cannot read or that is not for RGB: the
/// caller shows the picture unconverted and says so.
Status convertToSrgb(QImage& image, const QByteArray& icc);

/// An ICC profile for RGB with the given primaries and white (CIE xy) and the sRGB
/// tone curve: for pictures that name their colours by code points (HEIF and AVIF
/// "nclx") rather than carry a profile.
QByteArray rgbProfile(double redX, double redY, double greenX, double greenY, double blueX,
                      double blueY, double whiteX, double whiteY);

} // namespace velmora
