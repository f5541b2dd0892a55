#pragma once

#include "render/SpherePlacement.h"

#include "render/Blend.h"

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QTransform>

#include <memory>
#include <utility>
#include <vector>

namespace velmora::render {

class ImageNode;
class SourcePixels;

/// A colour given in sRGB-encoded components, straight alpha, each 0..1.
struct Color {
    double r = 0.0, g = 0.0, b = 0.0, a = 1.0;
};

/// A lazy image: a recipe whose pixels are computed only when a RenderContext renders
/// it, tile by tile, with every stage fused per tile.
///
/// Conventions
/// - Coordinates are pixels with the origin at the top-left and y growing downward;
///   pixel (i, j) covers [i, i + 1) x [j, j + 1) and is evaluated at its centre.
/// - The extent is where the image has content; outside it the image is transparent.
///   It may be empty, start anywhere, or be infinite (a gradient).
/// - Working space: tiles hold premultiplied RGBA floats of sRGB-encoded values, the
///   space photographers grade and blend in (gamma, contrast, screen and multiply act
///   on perceptual values, as in the canvas and every photo editor). Resampling
///   (transforms, the projection kernel) converts to linear light, interpolates
///   there and encodes the result, so scaling never darkens edges or fine detail.
///   Values are not clamped between stages; the final conversion clamps.
/// - 16-bit sources are read at 16 bits; precision is kept until the 8-bit output.
/// Images are cheap values sharing immutable nodes; any thread may render them.
class Image {
public:
    /// The empty image.
    Image();

    /// A picture as decoded, at (0, 0). A null QImage gives the empty image.
    static Image fromQImage(QImage image);
    static Image fromPixels(std::shared_ptr<const SourcePixels> pixels);
    /// A two-colour radial gradient of infinite extent: color0 up to radius0 from the
    /// centre, color1 from radius1 on, interpolated linearly with the distance between.
    static Image radialGradient(QPointF centre, double radius0, double radius1, Color color0,
                                Color color1);
    /// Wraps a node; used by filters that bring their own per-tile generators.
    static Image fromNode(std::shared_ptr<const ImageNode> node);

    QRectF extent() const;
    bool isEmpty() const;
    bool isInfinite() const;

    Image translated(double dx, double dy) const;
    /// Maps the image through `transform` (image coordinates to result coordinates),
    /// resampled bilinearly in linear light, with pyramid levels where it shrinks.
    Image transformed(const QTransform& transform) const;
    /// Restricts the extent to `rect` (pixels whose centres lie inside it).
    Image cropped(const QRectF& rect) const;

    /// The same pixels, rendered once over the (finite) extent when first needed and
    /// kept as floats; later renders copy them. For a costly stage that is reused
    /// while what follows it changes (the projection under a changing grade). An
    /// infinite image is returned as it is.
    Image materialized() const;

    /// Each colour channel raised to `power`.
    Image gammaAdjusted(double power) const;
    /// Saturation mixes with Rec. 709 luma (0 = grey), brightness is added, contrast
    /// scales about mid-grey 0.5; on straight colour, in that order.
    Image colorControls(double saturation, double brightness, double contrast) const;
    /// Multiplies alpha (and so every premultiplied channel) by `factor`.
    Image alphaScaled(double factor) const;

    /// This image combined with `background` beneath it by `op` (render/Blend.h has
    /// the arithmetic).
    Image blended(BlendOp op, const Image& background) const;
    /// `layers` over `base`, bottom first, each combined by its blend with all that
    /// lies under it: one node however many layers, so deep stacks cost no stack.
    static Image stacked(const Image& base, const std::vector<std::pair<Image, BlendOp>>& layers);
    /// This image over `background` (source-over).
    Image composited(const Image& background) const;
    /// Multiply compositing, used by the vignette: the multiply blend.
    Image multiplyComposited(const Image& background) const;

    /// The decoded pixels when this image is an untransformed source (possibly
    /// translated by a whole number of pixels), with that offset; null otherwise.
    std::shared_ptr<const SourcePixels> sourcePixels(QPoint* offset = nullptr) const;
    /// A decoded source with its place on the sphere (from the file's metadata); any
    /// other image as it is.
    Image withSpherePlacement(const SpherePlacement& placement) const;

    const std::shared_ptr<const ImageNode>& node() const { return m_node; }

private:
    explicit Image(std::shared_ptr<const ImageNode> node);
    std::shared_ptr<const ImageNode> m_node;
};

} // namespace velmora::render
