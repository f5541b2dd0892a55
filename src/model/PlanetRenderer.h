#pragma once

#include "filter/TinyPlanetFilter.h"
#include "model/Look.h"
#include "render/Image.h"
#include "render/RenderContext.h"
#include "render/Result.h"

#include <QImage>
#include <QList>
#include <QString>

#include <utility>
#include <vector>

namespace velmora {

class LayerLibrary;

/// Renders looks: (look, source, layer library, side) in, pixels out. It owns the
/// loaded projection kernel and knows nothing of the document, so the preview, an
/// export, the clipboard and the command line all make their pictures with the same
/// calls, and any number of looks can be rendered from one source, one after another
/// or interleaved. Cheap to copy.
///
/// The stages, in order: the projection, the grade and vignette (applyLook), the
/// layers (compositeLayers). The preview stops after the grade; the output runs all.
class PlanetRenderer {
public:
    /// Vignette radii as fractions of the shorter image side.
    static constexpr double vignetteInner = 0.3;
    static constexpr double vignetteOuter = 0.66;
    /// A colour stage within this distance of its neutral value is left out.
    static constexpr double neutralTolerance = 0.001;
    /// The largest output side: the command line's limit, twice the window's largest.
    static constexpr int maxOutputSide = 16384;

    /// Loads the kernel from `resourcesRoot`; fails with the kernel's failure message.
    static Result<PlanetRenderer> load(const QString& resourcesRoot);
    explicit PlanetRenderer(TinyPlanetFilter filter);

    /// The projection of `source` at `side`; nothing for a source it cannot project.
    std::optional<render::Image> projected(const Look& look, const render::Image& source,
                                           double side) const;
    /// Gamma, contrast/saturation and vignette, each only where it differs from
    /// neutral by more than neutralTolerance.
    static render::Image applyLook(const render::Image& projected, const Look& look);
    /// The layers' artwork placed for a side x side square, bottom first, each with
    /// its blend; a layer whose artwork is missing or empty, or that is fully
    /// transparent, is left out. Reads the library; what it returns does not, so the
    /// frames of an animation share one stack on any thread.
    using LayerStack = std::vector<std::pair<render::Image, render::BlendOp>>;
    static LayerStack placedLayers(const QList<PlacedLayer>& layers, LayerLibrary& library,
                                   double side);
    /// Draws `layers` over `base` and crops to the side x side square.
    static render::Image compositeLayers(const render::Image& base, const LayerStack& layers,
                                         double side);

    /// The planet as a recipe from a layer stack placed for the same side.
    Result<render::Image> planet(const Look& look, const render::Image& source,
                                 const LayerStack& layers, double side) const;

    /// The whole planet as a recipe: projection, grade and layers at `side`.
    Result<render::Image> planet(const Look& look, const render::Image& source,
                                 LayerLibrary& library, double side) const;
    /// The planet in pixels, as export and copy write it: straight 8-bit RGBA.
    Result<QImage> render(const Look& look, const render::Image& source, LayerLibrary& library,
                          int side) const;
    /// The pixels of a recipe from planet() at `side`, as render() makes them. Safe on
    /// any thread: the recipe holds everything it reads.
    Result<QImage> renderPixels(const render::Image& planet, int side,
                                render::RenderProgress* progress = nullptr) const;
    /// The planet without its layers (the canvas draws those itself), premultiplied
    /// ARGB32, ready to paint.
    Result<QImage> renderPreview(const Look& look, const render::Image& source, int side) const;
    /// The same from a projection already made by projected() at `side` (kept, say,
    /// while only the grade changes): the grade over it, in pixels.
    Result<QImage> renderGradedPreview(const render::Image& projected, const Look& look,
                                       int side) const;

    const TinyPlanetFilter& filter() const { return m_filter; }

private:
    TinyPlanetFilter m_filter;
    render::RenderContext m_context;
};

} // namespace velmora
