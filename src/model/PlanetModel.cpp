#include "model/PlanetModel.h"

#include "layers/Angles.h"
#include "model/Resources.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace velmora {

PlanetModel::PlanetModel(PlanetRenderer renderer, const QString& resourcesRoot, QObject* parent)
    : QObject(parent)
    , m_renderer(std::move(renderer))
    , m_library(std::make_unique<LayerLibrary>(resourcesRoot, userArtworkFolder())) {}

PlanetModel::~PlanetModel() = default;

// ---- the look -----------------------------------------------------------------

void PlanetModel::setSetting(Setting setting, double value) {
    m_look.setValue(setting, value);
    Q_EMIT settingChanged(setting);
    if (m_isApplyingPreset)
        return;
    if (settingInfo(setting).kind == SettingKind::projection)
        setSelectedPreset(std::nullopt);
    refreshPreview();
}

void PlanetModel::setSelectedPreset(std::optional<Preset> preset) {
    m_look.selectedPreset = preset;
    Q_EMIT selectedPresetChanged();
}

void PlanetModel::setOutputSize(int value) {
    m_outputSize = value;
    Q_EMIT outputSizeChanged();
}

void PlanetModel::applyPreset(Preset preset) {
    recordHistory();
    assign(m_look.withPreset(preset));
}

void PlanetModel::applyLook(const Look& look) {
    recordHistory();
    assign(look);
}

void PlanetModel::resetAll() {
    applyPreset(Preset::classic);
    assign(m_look.withNeutralColours());
}

void PlanetModel::assign(const Look& look) {
    {
        // Set for the batch and cleared even on early returns.
        const QScopedValueRollback<bool> batch(m_isApplyingPreset, true);
        for (const SettingInfo& s : settingsTable())
            setSetting(s.setting, look.value(s.setting));
        setSelectedPreset(look.selectedPreset);
        setLayers(look.layers);
        if (!m_selectedLayerID.isNull() && indexOf(m_selectedLayerID) < 0)
            setSelectedLayerID(QUuid());
    }
    refreshPreview();
}

// ---- layers -----------------------------------------------------------------

void PlanetModel::setLayers(QList<PlacedLayer> layers) {
    m_look.layers = std::move(layers);
    Q_EMIT layersChanged();
}

bool PlanetModel::updateLayer(const QUuid& id, const std::function<void(PlacedLayer&)>& edit) {
    const int index = indexOf(id);
    if (index < 0)
        return false;
    edit(m_look.layers[index]);
    Q_EMIT layersChanged();
    return true;
}

void PlanetModel::setSelectedLayerID(const QUuid& id) {
    m_selectedLayerID = id;
    Q_EMIT selectedLayerIDChanged();
}

int PlanetModel::indexOf(const QUuid& id) const {
    const auto found = std::find_if(m_look.layers.begin(), m_look.layers.end(),
                                    [&id](const PlacedLayer& l) { return l.id == id; });
    return id.isNull() || found == m_look.layers.end()
               ? -1
               : static_cast<int>(found - m_look.layers.begin());
}

std::optional<PlacedLayer> PlanetModel::layer(const QUuid& id) const {
    const int index = indexOf(id);
    return index < 0 ? std::nullopt : std::optional(m_look.layers[index]);
}

std::optional<PlacedLayer> PlanetModel::selectedLayer() const {
    return layer(m_selectedLayerID);
}

void PlanetModel::addLayer(const QString& assetID, NormalizedPoint at) {
    const LayerAsset* asset = m_library->asset(assetID);
    if (!asset)
        return;
    recordHistory();
    const PlacedLayer layer = placeAsset(*asset, at);
    m_look.layers.append(layer);
    Q_EMIT layersChanged();
    setSelectedLayerID(layer.id);
}

void PlanetModel::deleteSelectedLayer() {
    const int index = indexOf(m_selectedLayerID);
    if (index < 0)
        return;
    recordHistory();
    setSelectedLayerID(QUuid());
    m_look.layers.removeAt(index);
    Q_EMIT layersChanged();
}

void PlanetModel::editSelected(const std::function<bool(const PlacedLayer&)>& changes,
                               const std::function<void(PlacedLayer&)>& edit) {
    const int index = indexOf(m_selectedLayerID);
    if (index < 0 || !changes(m_look.layers[index]))
        return;
    recordHistory();
    edit(m_look.layers[index]);
    Q_EMIT layersChanged();
}

void PlanetModel::setSelectedBlendMode(LayerBlendMode mode) {
    editSelected([mode](const PlacedLayer& l) { return l.blendMode != mode; },
                 [mode](PlacedLayer& l) { l.blendMode = mode; });
}

void PlanetModel::bringSelectedForward() {
    moveSelected(+1);
}

void PlanetModel::sendSelectedBackward() {
    moveSelected(-1);
}

void PlanetModel::moveSelected(int step) {
    const int index = indexOf(m_selectedLayerID);
    const int to = index + step;
    if (index < 0 || to < 0 || to >= m_look.layers.size())
        return;
    recordHistory();
    m_look.layers.swapItemsAt(index, to);
    Q_EMIT layersChanged();
}

void PlanetModel::resetSelectedRotation() {
    editSelected([](const PlacedLayer& l) { return l.rotation != 0.0; },
                 [](PlacedLayer& l) { l.rotation = 0.0; });
}

void PlanetModel::rotateSelected(double step) {
    editSelected([](const PlacedLayer&) { return true; },
                 [step](PlacedLayer& l) { l.rotation = normalizedDegrees(l.rotation + step); });
}

void PlanetModel::orientSelectedToPlanet() {
    const NormalizedPoint centre = planetCentre(m_look);
    const double cx = centre.x;
    const double cy = centre.y;
    editSelected([](const PlacedLayer&) { return true; },
                 [cx, cy](PlacedLayer& l) {
                     const double dx = l.center.x - cx;
                     const double dy = l.center.y - cy;
                     l.rotation = dx != 0.0 || dy != 0.0
                                      ? normalizedDegrees(
                                            std::atan2(dy, dx) * 180.0 / std::numbers::pi + 90.0)
                                      : 0.0;
                 });
}

void PlanetModel::centreSelectedOnPlanet() {
    const NormalizedPoint centre = planetCentre(m_look);
    editSelected(
        [centre](const PlacedLayer& l) { return l.center.x != centre.x || l.center.y != centre.y; },
        [centre](PlacedLayer& l) { l.center = centre; });
}

void PlanetModel::rescanUserArtwork() {
    m_library->rescanUserFolder();
    Q_EMIT libraryChanged();
}

// ---- history ----------------------------------------------------------------

void PlanetModel::recordHistory() {
    if (m_isApplyingPreset)
        return;
    if (!m_undoStack.empty() && m_undoStack.back() == m_look)
        return;
    if (m_undoStack.size() >= static_cast<size_t>(maxHistory))
        m_undoStack.erase(m_undoStack.begin());
    m_undoStack.push_back(m_look);
    m_redoStack.clear();
    publishHistoryFlags();
}

void PlanetModel::undo() {
    if (m_undoStack.empty())
        return;
    const Look previous = std::move(m_undoStack.back());
    m_undoStack.pop_back();
    m_redoStack.push_back(m_look);
    restore(previous);
    publishHistoryFlags();
}

void PlanetModel::redo() {
    if (m_redoStack.empty())
        return;
    const Look next = std::move(m_redoStack.back());
    m_redoStack.pop_back();
    m_undoStack.push_back(m_look);
    restore(next);
    publishHistoryFlags();
}

void PlanetModel::restore(const Look& look) {
    assign(look);
}

void PlanetModel::clearHistory() {
    m_undoStack.clear();
    m_redoStack.clear();
    publishHistoryFlags();
}

void PlanetModel::publishHistoryFlags() {
    Q_EMIT canUndoChanged();
    Q_EMIT canRedoChanged();
}

// ---- rendering --------------------------------------------------------------

void PlanetModel::refreshPreview() {
    ++m_previewRefreshCount;
    if (!m_hasSource) {
        m_previewImage = QImage();
        Q_EMIT previewImageChanged();
    } else if (m_previewRendering) {
        const auto kept = [this](const ProjectionParameters& parameters) {
            return m_projection && m_projection->source == m_sourceImage.node().get() &&
                   m_projection->parameters == parameters;
        };
        // A draft only when the projection must be made again: a grade over the kept
        // full-size projection is cheaper still.
        const bool fullKept = kept(projectionParameters(m_look, previewSide));
        const int side = m_drafting && !fullKept ? draftSide : previewSide;
        const ProjectionParameters parameters = projectionParameters(m_look, side);
        if (!kept(parameters)) {
            m_projection.reset();
            if (const std::optional<render::Image> projected =
                    m_renderer.projected(m_look, m_sourceImage, side))
                m_projection = {m_sourceImage.node().get(), parameters, projected->materialized()};
        }
        if (Result<QImage> preview =
                m_projection ? m_renderer.renderGradedPreview(m_projection->projected, m_look, side)
                             : Result<QImage>(Failure{QStringLiteral("no projection")})) {
            m_previewImage = std::move(preview).value();
            Q_EMIT previewImageChanged();
        }
    }
    Q_EMIT previewRefreshed();
}

void PlanetModel::setDrafting(bool on) {
    if (on == m_drafting)
        return;
    m_drafting = on;
    if (!on)
        refreshPreview();
}

// ---- intake and output --------------------------------------------------------

void PlanetModel::loadImage(const render::Image& image, const QString& name) {
    m_sourceImage = image;
    m_hasSource = true;
    m_sourceName = name;
    m_sourceExif.clear();
    Q_EMIT sourceNameChanged();
    setLayers({});
    setSelectedLayerID(QUuid());
    clearHistory();
    refreshPreview();
}

} // namespace velmora
