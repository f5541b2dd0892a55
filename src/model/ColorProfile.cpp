#include "model/ColorProfile.h"

#include <QColorSpace>

#include <lcms2.h>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <memory>

namespace velmora {

namespace {

struct ProfileClose {
    void operator()(void* p) const { cmsCloseProfile(p); }
};
struct TransformDelete {
    void operator()(void* t) const { cmsDeleteTransform(t); }
};
using Profile = std::unique_ptr<void, ProfileClose>;

/// Little CMS reports errors through a global handler; its return values say enough.
void quietLittleCms() {
    static const bool once = [] {
        cmsSetLogErrorHandler(nullptr);
        return true;
    }();
    (void)once;
}

/// Whether the profile's colours and tone are sRGB's, within what 16-bit code
/// values can tell apart: a picture tagged sRGB (most are) is left untouched.
bool isSrgb(const QByteArray& icc) {
    const QColorSpace space = QColorSpace::fromIccProfile(icc);
    return space.isValid() && space == QColorSpace(QColorSpace::SRgb);
}

} // namespace

Status convertToSrgb(QImage& image, const QByteArray& icc) {
    if (icc.isEmpty() || image.isNull() || isSrgb(icc))
        return {};
    quietLittleCms();
    const Profile source(
        cmsOpenProfileFromMem(icc.constData(), static_cast<cmsUInt32Number>(icc.size())));
    if (!source)
        return Failure{QStringLiteral("its colour profile cannot be read")};
    if (cmsGetColorSpace(source.get()) != cmsSigRgbData)
        return Failure{QStringLiteral("its colour profile is not for RGB")};
    const Profile srgb(cmsCreate_sRGBProfile());

    // Straight alpha in a layout Little CMS knows; alpha is carried, not converted.
    const bool deep = image.depth() > 32;
    if (deep) {
        if (image.format() != QImage::Format_RGBA64)
            image.convertTo(QImage::Format_RGBA64);
    } else if (image.format() != QImage::Format_ARGB32 && image.format() != QImage::Format_RGB32) {
        image.convertTo(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    }
    if (image.isNull())
        return Failure{QStringLiteral("not enough memory to convert its colours")};
    const cmsUInt32Number type = deep ? TYPE_RGBA_16 : TYPE_BGRA_8;
    const std::unique_ptr<void, TransformDelete> transform(cmsCreateTransform(
        source.get(), type, srgb.get(), type, INTENT_PERCEPTUAL,
        cmsFLAGS_COPY_ALPHA | cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION));
    if (!transform)
        return Failure{QStringLiteral("its colour profile cannot be used")};

    // Rows in parallel: a transform without its one-entry cache is safe to share.
    const int width = image.width();
    tbb::parallel_for(
        tbb::blocked_range<int>(0, image.height(), 64), [&](const tbb::blocked_range<int>& rows) {
            for (int y = rows.begin(); y < rows.end(); ++y) {
                uchar* line = image.scanLine(y);
                cmsDoTransform(transform.get(), line, line, static_cast<cmsUInt32Number>(width));
            }
        });
    image.setColorSpace(QColorSpace(QColorSpace::SRgb));
    return {};
}

QByteArray rgbProfile(double redX, double redY, double greenX, double greenY, double blueX,
                      double blueY, double whiteX, double whiteY) {
    quietLittleCms();
    const cmsCIExyY white{whiteX, whiteY, 1.0};
    const cmsCIExyYTRIPLE primaries{{redX, redY, 1.0}, {greenX, greenY, 1.0}, {blueX, blueY, 1.0}};
    // sRGB's curve: the type 4 parametric curve with its published constants.
    const cmsFloat64Number srgbCurve[5] = {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045};
    cmsToneCurve* curve = cmsBuildParametricToneCurve(nullptr, 4, srgbCurve);
    cmsToneCurve* curves[3] = {curve, curve, curve};
    const Profile profile(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(curve);
    if (!profile)
        return {};
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile.get(), nullptr, &size))
        return {};
    QByteArray bytes(static_cast<qsizetype>(size), Qt::Uninitialized);
    if (!cmsSaveProfileToMem(profile.get(), bytes.data(), &size))
        return {};
    return bytes;
}

} // namespace velmora
