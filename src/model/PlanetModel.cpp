#include "model/PlanetModel.h"

#include "filter/TinyPlanetFilter.h"
#include "layers/LayerGeometry.h"
#include "model/Angles.h"
#include "model/ImageDecoding.h"
#include "model/Resources.h"
#include "render/PngWriter.h"

#include <QBuffer>
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageWriter>
#include <QMimeData>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <numbers>

#include <utility>

namespace velmora {

namespace {

/// Sets a flag for the life of a scope; batches must end even on early returns.
class BatchGuard {
public:
    explicit BatchGuard(bool& flag)
        : m_flag(flag) {
        m_flag = true;
    }
    ~BatchGuard() { m_flag = false; }
    BatchGuard(const BatchGuard&) = delete;
    BatchGuard& operator=(const BatchGuard&) = delete;

private:
    bool& m_flag;
};

} // namespace

QString PlanetModel::title(Preset preset) {
    switch (preset) {
    case Preset::classic:
        return QStringLiteral("Classic Planet");
    case Preset::sky:
        return QStringLiteral("Sky World");
    case Preset::horizontal:
        return QStringLiteral("Horizontal");
    case Preset::spiral:
        return QStringLiteral("Spiral Planet");
    case Preset::double_:
        return QStringLiteral("Double Vision");
    }
    return {};
}

QString PlanetModel::symbol(Preset preset) {
    switch (preset) {
    case Preset::classic:
        return QStringLiteral("globe");
    case Preset::sky:
        return QStringLiteral("cloud.sun.fill");
    case Preset::horizontal:
        return QStringLiteral("line.3.horizontal");
    case Preset::spiral:
        return QStringLiteral("hurricane");
    case Preset::double_:
        return QStringLiteral("circle.dotted.and.circle");
    }
    return {};
}

std::optional<PlanetModel::Preset> PlanetModel::presetFromTitle(QStringView text) {
    for (Preset preset : allPresets) {
        if (text == title(preset))
            return preset;
    }
    return std::nullopt;
}

PlanetModel::PlanetModel(QObject* parent)
    : PlanetModel(velmora::resourcesRoot(), parent) {}

PlanetModel::PlanetModel(const QString& resourcesRoot, QObject* parent)
    : QObject(parent)
    , m_library(std::make_unique<LayerLibrary>(resourcesRoot))
    , m_filter(std::make_unique<TinyPlanetFilter>(resourcesRoot)) {}

PlanetModel::~PlanetModel() = default;

// ---- settings ---------------------------------------------------------------

template <typename T>
void PlanetModel::assignProjection(T& field, T value, void (PlanetModel::*changed)()) {
    field = value;
    Q_EMIT(this->*changed)();
    projectionObserver();
}

void PlanetModel::assignColour(double& field, double value, void (PlanetModel::*changed)()) {
    field = value;
    Q_EMIT(this->*changed)();
    colourObserver();
}

void PlanetModel::projectionObserver() {
    if (m_isApplyingPreset)
        return;
    setSelectedPreset(std::nullopt);
    refreshPreview();
}

void PlanetModel::colourObserver() {
    if (m_isApplyingPreset)
        return;
    refreshPreview();
}

void PlanetModel::setZoom(double value) {
    assignProjection(m_zoom, value, &PlanetModel::zoomChanged);
}
void PlanetModel::setRotationDegrees(double value) {
    assignProjection(m_rotationDegrees, value, &PlanetModel::rotationDegreesChanged);
}
void PlanetModel::setConvexity(double value) {
    assignProjection(m_convexity, value, &PlanetModel::convexityChanged);
}
void PlanetModel::setHorizon(double value) {
    assignProjection(m_horizon, value, &PlanetModel::horizonChanged);
}
void PlanetModel::setTwist(double value) {
    assignProjection(m_twist, value, &PlanetModel::twistChanged);
}
void PlanetModel::setShiftX(double value) {
    assignProjection(m_shiftX, value, &PlanetModel::shiftXChanged);
}
void PlanetModel::setFlipX(double value) {
    assignProjection(m_flipX, value, &PlanetModel::flipXChanged);
}
void PlanetModel::setFlipY(double value) {
    assignProjection(m_flipY, value, &PlanetModel::flipYChanged);
}
void PlanetModel::setInvert(bool value) {
    assignProjection(m_invert, value, &PlanetModel::invertChanged);
}
void PlanetModel::setBlendWidth(double value) {
    assignProjection(m_blendWidth, value, &PlanetModel::blendWidthChanged);
}
void PlanetModel::setRepeats(double value) {
    assignProjection(m_repeats, value, &PlanetModel::repeatsChanged);
}
void PlanetModel::setGamma(double value) {
    assignColour(m_gamma, value, &PlanetModel::gammaChanged);
}
void PlanetModel::setContrast(double value) {
    assignColour(m_contrast, value, &PlanetModel::contrastChanged);
}
void PlanetModel::setSaturation(double value) {
    assignColour(m_saturation, value, &PlanetModel::saturationChanged);
}
void PlanetModel::setVignette(double value) {
    assignColour(m_vignette, value, &PlanetModel::vignetteChanged);
}

void PlanetModel::setOutputSize(int value) {
    m_outputSize = value;
    Q_EMIT outputSizeChanged();
}

void PlanetModel::setSelectedPreset(std::optional<Preset> preset) {
    m_selectedPreset = preset;
    Q_EMIT selectedPresetChanged();
}

// ---- presets ----------------------------------------------------------------

void PlanetModel::writeProjectionDefaults() {
    setZoom(1.0);
    setRotationDegrees(0.0);
    setConvexity(0.0);
    setHorizon(0.0);
    setTwist(0.0);
    setShiftX(0.0);
    setFlipX(0.0);
    setFlipY(0.0);
    setInvert(false);
    setBlendWidth(0.12);
    setRepeats(1.0);
}

void PlanetModel::applyPreset(Preset preset) {
    recordHistory();
    {
        BatchGuard batch(m_isApplyingPreset);
        writeProjectionDefaults();
        switch (preset) {
        case Preset::classic:
            break;
        case Preset::sky:
            setInvert(true);
            setRotationDegrees(180.0);
            break;
        case Preset::horizontal:
            setFlipY(-0.6);
            break;
        case Preset::spiral:
            setTwist(2.0);
            setZoom(0.8);
            break;
        case Preset::double_:
            setRepeats(2.0);
            break;
        }
    }
    setSelectedPreset(preset);
    refreshPreview();
}

void PlanetModel::resetAll() {
    applyPreset(Preset::classic);
    {
        BatchGuard batch(m_isApplyingPreset);
        setGamma(1.0);
        setContrast(1.0);
        setSaturation(1.0);
        setVignette(0.0);
    }
    refreshPreview();
}

// ---- layers -----------------------------------------------------------------

void PlanetModel::setLayers(QList<PlacedLayer> layers) {
    m_layers = std::move(layers);
    Q_EMIT layersChanged();
}

bool PlanetModel::updateLayer(const QUuid& id, const std::function<void(PlacedLayer&)>& edit) {
    for (PlacedLayer& layer : m_layers) {
        if (layer.id == id) {
            edit(layer);
            Q_EMIT layersChanged();
            return true;
        }
    }
    return false;
}

void PlanetModel::setSelectedLayerID(const QUuid& id) {
    m_selectedLayerID = id;
    Q_EMIT selectedLayerIDChanged();
}

int PlanetModel::selectedIndex() const {
    if (m_selectedLayerID.isNull())
        return -1;
    for (int i = 0; i < m_layers.size(); ++i) {
        if (m_layers[i].id == m_selectedLayerID)
            return i;
    }
    return -1;
}

std::optional<PlacedLayer> PlanetModel::layer(const QUuid& id) const {
    for (const PlacedLayer& l : m_layers) {
        if (l.id == id)
            return l;
    }
    return std::nullopt;
}

std::optional<PlacedLayer> PlanetModel::selectedLayer() const {
    const int index = selectedIndex();
    if (index < 0)
        return std::nullopt;
    return m_layers[index];
}

void PlanetModel::addLayer(const QString& assetID, NormalizedPoint at) {
    const LayerAsset* asset = m_library->asset(assetID);
    if (!asset)
        return;
    recordHistory();
    PlacedLayer layer;
    layer.id = QUuid::createUuid();
    layer.assetID = asset->id;
    // std::clamp would pass NaN through; a NaN drop point lands on the origin instead.
    layer.center = {at.x > 0.0 ? (at.x < 1.0 ? at.x : 1.0) : 0.0,
                    at.y > 0.0 ? (at.y < 1.0 ? at.y : 1.0) : 0.0};
    layer.blendMode =
        isScreenCategory(asset->category) ? LayerBlendMode::screen : LayerBlendMode::normal;
    m_layers.append(layer);
    Q_EMIT layersChanged();
    setSelectedLayerID(layer.id);
}

void PlanetModel::deleteSelectedLayer() {
    const int index = selectedIndex();
    if (index < 0)
        return;
    recordHistory();
    setSelectedLayerID(QUuid());
    m_layers.removeAt(index);
    Q_EMIT layersChanged();
}

void PlanetModel::setSelectedBlendMode(LayerBlendMode mode) {
    const int index = selectedIndex();
    if (index < 0 || m_layers[index].blendMode == mode)
        return;
    recordHistory();
    m_layers[index].blendMode = mode;
    Q_EMIT layersChanged();
}

void PlanetModel::bringSelectedForward() {
    const int index = selectedIndex();
    if (index < 0 || index == m_layers.size() - 1)
        return;
    recordHistory();
    m_layers.swapItemsAt(index, index + 1);
    Q_EMIT layersChanged();
}

void PlanetModel::sendSelectedBackward() {
    const int index = selectedIndex();
    if (index <= 0)
        return;
    recordHistory();
    m_layers.swapItemsAt(index, index - 1);
    Q_EMIT layersChanged();
}

void PlanetModel::resetSelectedRotation() {
    const int index = selectedIndex();
    if (index < 0 || m_layers[index].rotation == 0.0)
        return;
    recordHistory();
    m_layers[index].rotation = 0.0;
    Q_EMIT layersChanged();
}

void PlanetModel::rotateSelected(double step) {
    const int index = selectedIndex();
    if (index < 0)
        return;
    recordHistory();
    m_layers[index].rotation = normalizedDegrees(m_layers[index].rotation + step);
    Q_EMIT layersChanged();
}

void PlanetModel::orientSelectedToPlanet() {
    const int index = selectedIndex();
    if (index < 0)
        return;
    recordHistory();
    // The projection puts the planet's centre here (normalised, y down).
    const double cx = 0.5 + 0.5 * m_shiftX;
    const double cy = 0.5 - 0.5 * m_horizon;
    const double dx = m_layers[index].center.x - cx;
    const double dy = m_layers[index].center.y - cy;
    double rotation = 0.0;
    if (dx != 0.0 || dy != 0.0)
        rotation = normalizedDegrees(std::atan2(dy, dx) * 180.0 / std::numbers::pi + 90.0);
    m_layers[index].rotation = rotation;
    Q_EMIT layersChanged();
}

// ---- history ----------------------------------------------------------------

PlanetModel::PlanetState PlanetModel::snapshot() const {
    return {m_zoom,   m_rotationDegrees, m_convexity, m_horizon,    m_twist,   m_shiftX,
            m_flipX,  m_flipY,           m_invert,    m_blendWidth, m_repeats, m_selectedPreset,
            m_layers, m_gamma,           m_contrast,  m_saturation, m_vignette};
}

void PlanetModel::recordHistory() {
    if (m_isApplyingPreset)
        return;
    PlanetState state = snapshot();
    if (!m_undoStack.empty() && m_undoStack.back() == state)
        return;
    if (m_undoStack.size() >= static_cast<size_t>(maxHistory))
        m_undoStack.erase(m_undoStack.begin());
    m_undoStack.push_back(std::move(state));
    m_redoStack.clear();
    publishHistoryFlags();
}

void PlanetModel::undo() {
    if (m_undoStack.empty())
        return;
    PlanetState previous = std::move(m_undoStack.back());
    m_undoStack.pop_back();
    m_redoStack.push_back(snapshot());
    restore(previous);
    publishHistoryFlags();
}

void PlanetModel::redo() {
    if (m_redoStack.empty())
        return;
    PlanetState next = std::move(m_redoStack.back());
    m_redoStack.pop_back();
    m_undoStack.push_back(snapshot());
    restore(next);
    publishHistoryFlags();
}

void PlanetModel::restore(const PlanetState& state) {
    {
        BatchGuard batch(m_isApplyingPreset);
        setZoom(state.zoom);
        setRotationDegrees(state.rotationDegrees);
        setConvexity(state.convexity);
        setHorizon(state.horizon);
        setTwist(state.twist);
        setShiftX(state.shiftX);
        setFlipX(state.flipX);
        setFlipY(state.flipY);
        setInvert(state.invert);
        setBlendWidth(state.blendWidth);
        setRepeats(state.repeats);
        setSelectedPreset(state.selectedPreset);
        setLayers(state.layers);
        setGamma(state.gamma);
        setContrast(state.contrast);
        setSaturation(state.saturation);
        setVignette(state.vignette);
        if (!m_selectedLayerID.isNull() && selectedIndex() < 0)
            setSelectedLayerID(QUuid());
    }
    refreshPreview();
}

void PlanetModel::clearHistory() {
    m_undoStack.clear();
    m_redoStack.clear();
    publishHistoryFlags();
}

void PlanetModel::publishHistoryFlags() {
    setCanUndo(!m_undoStack.empty());
    setCanRedo(!m_redoStack.empty());
}

void PlanetModel::setCanUndo(bool value) {
    m_canUndo = value;
    Q_EMIT canUndoChanged();
}

void PlanetModel::setCanRedo(bool value) {
    m_canRedo = value;
    Q_EMIT canRedoChanged();
}

// ---- rendering --------------------------------------------------------------

void PlanetModel::refreshPreview() {
    ++m_previewRefreshCount;
    if (!m_hasSource) {
        setPreviewImage(QImage());
    } else if (m_previewRendering) {
        ProjectionParameters parameters = projectionParameters();
        parameters.outputSide = previewSide;
        if (const std::optional<render::Image> projected =
                m_filter->apply(m_sourceImage, parameters)) {
            const render::Image graded = applyLook(*projected);
            const QImage bitmap =
                m_context.render(graded, graded.extent().toAlignedRect(),
                                 render::RenderContext::Layout::premultipliedArgb32);
            if (!bitmap.isNull())
                setPreviewImage(bitmap);
        }
    }
    Q_EMIT previewRefreshed();
}

ProjectionParameters PlanetModel::projectionParameters() const {
    ProjectionParameters p;
    p.zoom = static_cast<float>(m_zoom);
    p.convexity = static_cast<float>(m_convexity);
    p.rotation = static_cast<float>(m_rotationDegrees * std::numbers::pi / 180.0);
    p.twist = static_cast<float>(m_twist);
    p.shiftX = static_cast<float>(m_shiftX);
    p.horizon = static_cast<float>(m_horizon);
    p.flipX = static_cast<float>(m_flipX);
    p.flipY = static_cast<float>(m_flipY);
    p.invert = m_invert;
    p.blendWidth = static_cast<float>(m_blendWidth);
    p.repeats = static_cast<float>(m_repeats);
    p.outputSide = 0.0;
    return p;
}

render::Image PlanetModel::applyLook(const render::Image& projected) const {
    constexpr double tolerance = 0.001;
    render::Image image = projected;
    if (std::abs(m_gamma - 1.0) > tolerance)
        image = image.gammaAdjusted(m_gamma);
    if (std::abs(m_contrast - 1.0) > tolerance || std::abs(m_saturation - 1.0) > tolerance)
        image = image.colorControls(m_saturation, 0.0, m_contrast);
    if (m_vignette > tolerance) {
        const QRectF r = image.extent();
        const double m = std::min(r.width(), r.height());
        const double grey = 1.0 - m_vignette;
        const render::Image gradient =
            render::Image::radialGradient(r.center(), m * vignetteInner, m * vignetteOuter,
                                          {1.0, 1.0, 1.0, 1.0}, {grey, grey, grey, 1.0})
                .cropped(r);
        image = image.multiplyComposited(gradient).cropped(r);
    }
    return image;
}

render::Image PlanetModel::compositeLayers(const render::Image& base, double side) {
    const QRectF square(0.0, 0.0, side, side);
    render::Image acc = base;
    for (const PlacedLayer& layer : m_layers) {
        const std::optional<render::Image> artwork = m_library->renderImage(layer.assetID);
        if (!artwork)
            continue;
        const QRectF e = artwork->extent();
        if (!(e.width() > 0.0) || !(e.height() > 0.0))
            continue;
        const QTransform placement =
            QTransform::fromTranslate(-e.x(), -e.y()) * layerTransform(layer, e.size(), side);
        render::Image placed = artwork->transformed(placement);
        if (layer.opacity < 1.0)
            placed = placed.alphaScaled(layer.opacity);
        switch (layer.blendMode) {
        case LayerBlendMode::normal:
            acc = placed.composited(acc);
            break;
        case LayerBlendMode::screen:
            acc = placed.screenBlended(acc);
            break;
        case LayerBlendMode::multiply:
            acc = placed.multiplyBlended(acc);
            break;
        }
    }
    return acc.cropped(square);
}

std::optional<render::Image> PlanetModel::outputImage(double side) {
    if (!m_hasSource)
        return std::nullopt;
    ProjectionParameters parameters = projectionParameters();
    parameters.outputSide = side;
    const std::optional<render::Image> projected = m_filter->apply(m_sourceImage, parameters);
    if (!projected)
        return std::nullopt;
    return compositeLayers(applyLook(*projected), side);
}

QString PlanetModel::loadImageFile(const QString& path) {
    const DecodedImage decoded = decodeImageFile(path);
    if (!decoded.ok())
        return decoded.error;
    loadImage(decoded.image, QFileInfo(path).completeBaseName());
    return {};
}

bool PlanetModel::pasteFromClipboard() {
    // Without a GUI application (the command line) there is no clipboard.
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return false;
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    if (!mime)
        return false;
    for (const auto& [type, format] : {std::pair{"image/png", "png"}, {"image/tiff", "tiff"}}) {
        const QByteArray data = mime->data(QString::fromLatin1(type));
        if (data.isEmpty())
            continue;
        const DecodedImage decoded = decodeImageData(data, format);
        if (decoded.ok()) {
            loadImage(decoded.image, QStringLiteral("Pasted"));
            return true;
        }
        break; // undecodable data: fall back to the image object
    }
    if (!mime->hasImage())
        return false;
    QImage image = qvariant_cast<QImage>(mime->imageData());
    if (image.isNull())
        return false;
    loadImage(render::Image::fromQImage(std::move(image)), QStringLiteral("Pasted"));
    return true;
}

QString PlanetModel::defaultExportFileName() const {
    return (m_sourceName.isEmpty() ? QStringLiteral("Planet") : m_sourceName) +
           QStringLiteral("-velmora.png");
}

std::optional<QImage> PlanetModel::renderOutput() {
    const int side = m_outputSize;
    const std::optional<render::Image> output = outputImage(side);
    if (!output)
        return std::nullopt;
    return m_context.render(*output, QRect(0, 0, side, side),
                            render::RenderContext::Layout::straightRgba8);
}

QString PlanetModel::exportPNG(const QString& path) {
    if (!m_hasSource)
        return QStringLiteral("there is no picture to export");
    const std::optional<QImage> pixels = renderOutput();
    if (!pixels)
        return QStringLiteral("the planet could not be rendered");
    if (pixels->isNull())
        return QStringLiteral("not enough memory for a %1 x %1 picture").arg(m_outputSize);
    // Written beside the target and renamed over it only when complete.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    QString error;
    if (!render::writePng(*pixels, file, {}, &error)) {
        file.cancelWriting();
        return QStringLiteral("%1: %2").arg(path, error);
    }
    if (!file.commit())
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    return {};
}

void PlanetModel::copyToClipboard() {
    if (!m_hasSource || !qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return;
    const std::optional<QImage> rendered = renderOutput();
    if (!rendered)
        return;
    const QImage& pixels = *rendered;
    const QByteArray png = render::encodePng(pixels);
    if (png.isEmpty())
        return;
    auto* mime = new QMimeData;
    mime->setData(QStringLiteral("image/png"), png);
    QByteArray tiff;
    QBuffer buffer(&tiff);
    buffer.open(QIODevice::WriteOnly);
    if (QImageWriter(&buffer, "tiff").write(pixels))
        mime->setData(QStringLiteral("image/tiff"), tiff);
    QGuiApplication::clipboard()->setMimeData(mime);
}

void PlanetModel::loadImage(const render::Image& image, const QString& name) {
    m_sourceImage = image;
    m_hasSource = true;
    m_sourceName = name;
    Q_EMIT sourceNameChanged();
    setLayers({});
    setSelectedLayerID(QUuid());
    clearHistory();
    refreshPreview();
}

void PlanetModel::setPreviewImage(const QImage& image) {
    m_previewImage = image;
    Q_EMIT previewImageChanged();
}

} // namespace velmora
