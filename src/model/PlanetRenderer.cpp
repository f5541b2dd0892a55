#include "model/PlanetRenderer.h"

#include "layers/LayerGeometry.h"
#include "layers/LayerLibrary.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace velmora {

namespace {

Failure noPlanet() {
    return Failure{QStringLiteral("the picture could not be projected")};
}

Failure noMemory(int side) {
    return Failure{QStringLiteral("not enough memory for a %1 x %1 picture").arg(side)};
}

} // namespace

Result<PlanetRenderer> PlanetRenderer::load(const QString& resourcesRoot) {
    Result<TinyPlanetFilter> filter = TinyPlanetFilter::load(resourcesRoot);
    if (!filter)
        return filter.failure();
    return PlanetRenderer(std::move(filter).value());
}

PlanetRenderer::PlanetRenderer(TinyPlanetFilter filter)
    : m_filter(filter) {}

std::optional<render::Image>
PlanetRenderer::projected(const Look& look, const render::Image& source, double side) const {
    return m_filter.apply(source, projectionParameters(look, side));
}

render::Image PlanetRenderer::applyLook(const render::Image& projected, const Look& look) {
    const double gamma = look.value(Setting::gamma);
    const double contrast = look.value(Setting::contrast);
    const double saturation = look.value(Setting::saturation);
    const double vignette = look.value(Setting::vignette);
    render::Image image = projected;
    if (std::abs(gamma - 1.0) > neutralTolerance)
        image = image.gammaAdjusted(gamma);
    if (std::abs(contrast - 1.0) > neutralTolerance ||
        std::abs(saturation - 1.0) > neutralTolerance)
        image = image.colorControls(saturation, 0.0, contrast);
    if (vignette > neutralTolerance) {
        const QRectF r = image.extent();
        const double m = std::min(r.width(), r.height());
        const double grey = 1.0 - vignette;
        const render::Image gradient =
            render::Image::radialGradient(r.center(), m * vignetteInner, m * vignetteOuter,
                                          {1.0, 1.0, 1.0, 1.0}, {grey, grey, grey, 1.0})
                .cropped(r);
        image = image.multiplyComposited(gradient).cropped(r);
    }
    return image;
}

PlanetRenderer::LayerStack PlanetRenderer::placedLayers(const QList<PlacedLayer>& layers,
                                                        LayerLibrary& library, double side) {
    LayerStack placed;
    placed.reserve(static_cast<size_t>(layers.size()));
    for (const PlacedLayer& layer : layers) {
        // Outside [0, 1] an opacity means nothing: below 0 it would take light away.
        const double opacity = layer.opacity > 0.0 ? std::min(layer.opacity, 1.0) : 0.0;
        if (opacity == 0.0)
            continue; // adds nothing in any mode
        const std::optional<render::Image> artwork = library.renderImage(layer.assetID);
        if (!artwork)
            continue;
        const QRectF e = artwork->extent();
        if (!(e.width() > 0.0) || !(e.height() > 0.0))
            continue;
        const QTransform placement =
            QTransform::fromTranslate(-e.x(), -e.y()) * layerTransform(layer, e.size(), side);
        render::Image image = artwork->transformed(placement);
        if (opacity < 1.0)
            image = image.alphaScaled(opacity);
        placed.emplace_back(std::move(image), blendOp(layer.blendMode));
    }
    return placed;
}

render::Image PlanetRenderer::compositeLayers(const render::Image& base, const LayerStack& layers,
                                              double side) {
    const QRectF square(0.0, 0.0, side, side);
    if (layers.empty())
        return base.cropped(square);
    return render::Image::stacked(base, layers).cropped(square);
}

Result<render::Image> PlanetRenderer::planet(const Look& look, const render::Image& source,
                                             LayerLibrary& library, double side) const {
    return planet(look, source, placedLayers(look.layers, library, side), side);
}

Result<render::Image> PlanetRenderer::planet(const Look& look, const render::Image& source,
                                             const LayerStack& layers, double side) const {
    const std::optional<render::Image> projection = projected(look, source, side);
    if (!projection)
        return noPlanet();
    return compositeLayers(applyLook(*projection, look), layers, side);
}

Result<QImage> PlanetRenderer::render(const Look& look, const render::Image& source,
                                      LayerLibrary& library, int side) const {
    const Result<render::Image> recipe = planet(look, source, library, side);
    if (!recipe)
        return recipe.failure();
    return renderPixels(*recipe, side);
}

Result<QImage> PlanetRenderer::renderPixels(const render::Image& planet, int side,
                                            render::RenderProgress* progress) const {
    QImage pixels = m_context.render(planet, QRect(0, 0, side, side),
                                     render::RenderContext::Layout::straightRgba8, progress);
    if (pixels.isNull())
        return noMemory(side);
    return pixels;
}

Result<QImage> PlanetRenderer::renderPreview(const Look& look, const render::Image& source,
                                             int side) const {
    const std::optional<render::Image> projection = projected(look, source, side);
    if (!projection)
        return noPlanet();
    return renderGradedPreview(*projection, look, side);
}

Result<QImage> PlanetRenderer::renderGradedPreview(const render::Image& projected, const Look& look,
                                                   int side) const {
    const render::Image graded = applyLook(projected, look);
    QImage pixels = m_context.render(graded, graded.extent().toAlignedRect(),
                                     render::RenderContext::Layout::premultipliedArgb32);
    if (pixels.isNull())
        return noMemory(side);
    return pixels;
}

} // namespace velmora
