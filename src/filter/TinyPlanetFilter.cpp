#include "filter/TinyPlanetFilter.h"

#include "render/ImageNode.h"
#include "render/RenderContext.h"
#include "render/SourcePixels.h"
#include "render/SpherePlacement.h"

#include <algorithm>
#include <array>

#include <QFileInfo>
#include <QLibrary>

#include <algorithm>
#include <cmath>

namespace velmora {

namespace {

/// Runs the kernel over the tiles it is asked for.
class TinyPlanetNode final : public render::ImageNode {
public:
    TinyPlanetNode(VmTinyPlanetFn kernel, std::shared_ptr<const render::SourcePixels> source,
                   const VmProjection& projection, double side)
        : ImageNode(QRectF(0.0, 0.0, side, side))
        , m_kernel(kernel)
        , m_source(std::move(source))
        , m_projection(projection) {}

    // The kernel may sample any source pixel for any output pixel, at any level.
    void prepare() const override { m_source->ensurePyramid(); }

    void render(const QRect& rect, const render::TileView& out, render::Scratch&) const override {
        const QRect inside = render::extents::pixelsOf(extent(), rect);
        // The kernel writes every pixel it is given: only what lies outside is cleared.
        if (inside != rect)
            out.clear();
        if (inside.isEmpty())
            return;
        const render::TileView target =
            out.sub(inside.left() - rect.left(), inside.top() - rect.top(), inside.width(),
                    inside.height());
        const VmDestination destination{inside.left(),   inside.top(),  inside.width(),
                                        inside.height(), target.pixels, target.stride};
        m_kernel(&m_source->sampler(), &m_projection, &destination);
    }

private:
    VmTinyPlanetFn m_kernel;
    std::shared_ptr<const render::SourcePixels> m_source;
    VmProjection m_projection;
};

/// A recipe that is not plain decoded pixels gets rendered once at 16 bits so the
/// kernel can sample it anywhere.
std::shared_ptr<const render::SourcePixels> rasterized(const render::Image& image, int w, int h) {
    return render::SourcePixels::create(render::RenderContext().render(
        image, QRect(0, 0, w, h), render::RenderContext::Layout::straightRgba16));
}

} // namespace

QString TinyPlanetFilter::modulePath(const QString& resourcesRoot) {
    return resourcesRoot + QStringLiteral("/kernels/tinyplanet.so");
}

Result<TinyPlanetFilter> TinyPlanetFilter::load(const QString& resourcesRoot) {
    const QString path = modulePath(resourcesRoot);
    // The fixed message, then the module and what is wrong with it.
    const auto fail = [&path](const QString& why) {
        return Failure{kernelFailureMessage + QLatin1Char('\n') + path + QStringLiteral(": ") +
                       why};
    };
    if (resourcesRoot.isEmpty())
        return Failure{kernelFailureMessage + QStringLiteral("\nno resources folder was found")};
    if (!QFileInfo(path).isFile())
        return fail(QStringLiteral("no such file"));
    // The module stays loaded for the life of the process (QLibrary never unloads on
    // destruction), so the function pointer outlives this object safely.
    QLibrary library(path);
    if (!library.load())
        return fail(library.errorString());
    const auto version =
        reinterpret_cast<VmAbiVersionFn>(library.resolve("velmoraKernelAbiVersion"));
    if (!version || version() != VM_KERNEL_ABI_VERSION)
        return fail(QStringLiteral("built for another version of the program"));
    const auto kernel = reinterpret_cast<VmTinyPlanetFn>(library.resolve("tinyPlanet"));
    if (!kernel)
        return fail(QStringLiteral("it has no tinyPlanet function"));
    return TinyPlanetFilter(kernel);
}

std::optional<render::Image> TinyPlanetFilter::apply(const render::Image& source,
                                                     const ProjectionParameters& parameters) const {
    const QRectF e = source.extent();
    if (!(e.width() > 0.0) || !(e.height() > 0.0) || !std::isfinite(e.width()) ||
        !std::isfinite(e.height()) || !std::isfinite(e.x()) || !std::isfinite(e.y()))
        return std::nullopt;

    const render::Image src = source.translated(-e.x(), -e.y());
    const double w = e.width();
    const double h = e.height();
    QPoint offset;
    std::shared_ptr<const render::SourcePixels> pixels = src.sourcePixels(&offset);
    if (!pixels || offset != QPoint(0, 0)) {
        pixels = rasterized(src, static_cast<int>(std::ceil(w)), static_cast<int>(std::ceil(h)));
        if (!pixels)
            return std::nullopt;
    }

    const double side = parameters.outputSide > 0.0 ? parameters.outputSide : std::max(w, h);
    if (!std::isfinite(side))
        return std::nullopt;
    // Where the picture lies on the sphere: from its metadata or its shape.
    const render::SphereCover cover =
        parameters.fullSphere
            ? render::SphereCover{}
            : render::coverOf(QSize(pixels->width(), pixels->height()), pixels->placement());
    const std::array<float, 9> pose =
        parameters.fullSphere
            ? render::poseMatrix(0.0, 0.0)
            : render::poseMatrix(pixels->placement().pitchDegrees, pixels->placement().rollDegrees);
    VmProjection projection{VM_KERNEL_ABI_VERSION,
                            {static_cast<float>(w), static_cast<float>(h)},
                            {static_cast<float>(side), static_cast<float>(side)},
                            parameters.zoom,
                            parameters.convexity,
                            parameters.rotation,
                            parameters.twist,
                            parameters.shiftX,
                            parameters.horizon,
                            parameters.flipX,
                            parameters.flipY,
                            parameters.invert ? 1 : 0,
                            parameters.blendWidth,
                            parameters.repeats,
                            static_cast<float>(cover.top),
                            static_cast<float>(cover.height),
                            {},
                            static_cast<float>(cover.left),
                            static_cast<float>(cover.width)};
    std::copy(pose.begin(), pose.end(), projection.pose);
    return render::Image::fromNode(
        std::make_shared<TinyPlanetNode>(m_kernel, std::move(pixels), projection, side));
}

} // namespace velmora
