#include "ui/Thumbnail.h"

#include <algorithm>

namespace velmora::ui {

QImage legibleThumbnail(const QImage& thumbnail, double target, double maxGain) {
    if (thumbnail.isNull())
        return thumbnail;
    QImage image = thumbnail.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    int strongest = 0;
    for (int y = 0; y < image.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
            strongest = std::max(strongest, qAlpha(row[x]));
    }
    if (strongest == 0)
        return image;
    const double gain = std::min(maxGain, target * 255.0 / strongest);
    if (gain <= 1.0)
        return image;
    // Premultiplied: scaling all four channels together keeps each pixel's colour.
    const auto boost = [gain](int v) { return std::min(255, static_cast<int>(v * gain + 0.5)); };
    for (int y = 0; y < image.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = row[x];
            const int a = boost(qAlpha(p));
            row[x] = qRgba(std::min(a, boost(qRed(p))), std::min(a, boost(qGreen(p))),
                           std::min(a, boost(qBlue(p))), a);
        }
    }
    return image;
}

} // namespace velmora::ui
