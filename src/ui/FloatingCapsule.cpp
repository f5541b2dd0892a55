#include "ui/FloatingCapsule.h"

#include "style/Palette.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <vector>

namespace velmora::ui {

namespace {

constexpr double shadowRadius = 12;
constexpr double shadowOffsetY = 4;
constexpr double shadowOpacity = 0.35;

/// One box blur of `radius` along rows (or columns) of an 8-bit coverage plane.
void boxBlur(std::vector<float>& plane, int width, int height, int radius, bool rows) {
    const int lines = rows ? height : width;
    const int length = rows ? width : height;
    std::vector<float> line(static_cast<size_t>(length));
    const float scale = 1.0f / static_cast<float>(2 * radius + 1);
    for (int l = 0; l < lines; ++l) {
        auto at = [&](int i) -> float& {
            return rows ? plane[static_cast<size_t>(l) * width + i]
                        : plane[static_cast<size_t>(i) * width + l];
        };
        for (int i = 0; i < length; ++i)
            line[static_cast<size_t>(i)] = at(i);
        float sum = 0;
        for (int i = -radius; i <= radius; ++i)
            sum += (i >= 0 && i < length) ? line[static_cast<size_t>(i)] : 0.0f;
        for (int i = 0; i < length; ++i) {
            at(i) = sum * scale;
            const int out = i - radius;
            const int in = i + radius + 1;
            if (out >= 0)
                sum -= line[static_cast<size_t>(out)];
            if (in < length)
                sum += line[static_cast<size_t>(in)];
        }
    }
}

/// The capsule's shadow for a widget of `size`, blurred like a Gaussian of standard
/// deviation radius / 2 (three box passes).
QPixmap capsuleShadow(QSize size, const QRectF& capsule, qreal ratio) {
    const int width = static_cast<int>(std::ceil(size.width() * ratio));
    const int height = static_cast<int>(std::ceil(size.height() * ratio));
    if (width <= 0 || height <= 0)
        return {};
    QImage mask(width, height, QImage::Format_Alpha8);
    mask.fill(0);
    {
        QPainter painter(&mask);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(ratio, ratio);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        const QRectF shape = capsule.translated(0, shadowOffsetY);
        painter.drawRoundedRect(shape, shape.height() / 2, shape.height() / 2);
    }
    std::vector<float> plane(static_cast<size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
        const uchar* row = mask.constScanLine(y);
        for (int x = 0; x < width; ++x)
            plane[static_cast<size_t>(y) * width + x] = row[x];
    }
    const double sigma = shadowRadius / 2 * ratio;
    const int box =
        std::max(1, static_cast<int>(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2)));
    for (int pass = 0; pass < 3; ++pass) {
        boxBlur(plane, width, height, box, true);
        boxBlur(plane, width, height, box, false);
    }
    QImage shadow(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const float a = plane[static_cast<size_t>(y) * width + x] * float(shadowOpacity);
            row[x] = qRgba(0, 0, 0, std::clamp(static_cast<int>(std::lround(a)), 0, 255));
        }
    }
    QPixmap pixmap = QPixmap::fromImage(shadow);
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace

FloatingCapsule::FloatingCapsule(QWidget* parent)
    : QWidget(parent) {}

QMargins FloatingCapsule::shadowMargins() {
    // Three standard deviations hold all of the visible shadow.
    const int spread = static_cast<int>(std::ceil(shadowRadius / 2 * 3));
    return {spread, spread - static_cast<int>(shadowOffsetY), spread,
            spread + static_cast<int>(shadowOffsetY)};
}

QRect FloatingCapsule::capsuleRect() const {
    return rect().marginsRemoved(shadowMargins());
}

void FloatingCapsule::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF capsule(capsuleRect());
    if (capsule.isEmpty())
        return;
    const qreal ratio = devicePixelRatioF();
    if (m_shadow.isNull() || m_shadow.deviceIndependentSize() != QSizeF(size()) ||
        m_shadow.devicePixelRatio() != ratio)
        m_shadow = capsuleShadow(size(), capsule, ratio);
    painter.drawPixmap(QPointF(0, 0), m_shadow);

    // There is no background blur to be had, so the material is a dark tint that
    // still lets the planet show through a little.
    const double r = capsule.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Palette::withAlpha(style::Palette::panel, 0.85));
    painter.drawRoundedRect(capsule, r, r);
    painter.setPen(QPen(style::Palette::hairline, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(capsule.adjusted(0.5, 0.5, -0.5, -0.5), r - 0.5, r - 0.5);
}

} // namespace velmora::ui
