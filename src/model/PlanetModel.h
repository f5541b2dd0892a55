#pragma once

#include "filter/ProjectionParameters.h"
#include "layers/LayerLibrary.h"
#include "layers/PlacedLayer.h"
#include "model/Look.h"
#include "model/PlanetRenderer.h"
#include "render/Image.h"
#include "render/Result.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// The one editable document: the source picture, its look (settings and layers),
/// the selection, the output size and the edit history, with change notifications.
/// Pictures are made by a PlanetRenderer from the look; the model only says when.
/// Files and the clipboard come and go through DocumentFiles.h.
///
/// Main thread only and synchronous: a setter returns after the preview it causes
/// has been rendered. Setters never clamp; the controls that edit a setting own its
/// range. Every setting assignment stores the value and emits settingChanged, also
/// for an equal value, then runs the setting's observer: projection settings clear
/// the selected preset and re-render, colour settings re-render. Nothing runs while
/// a batch (preset, reset, undo, redo) is being applied.
class PlanetModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString sourceName READ sourceName NOTIFY sourceNameChanged)
    Q_PROPERTY(QImage previewImage READ previewImage NOTIFY previewImageChanged)
    Q_PROPERTY(int outputSize READ outputSize WRITE setOutputSize NOTIFY outputSizeChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY canUndoChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY canRedoChanged)

public:
    using Preset = velmora::Preset;
    /// What undo and redo restore: the look.
    using PlanetState = Look;

    static constexpr int previewSide = 1100;
    /// The preview's side while a projection slider is dragged: a quarter of the
    /// pixels, so the planet follows the pointer; the full preview follows when the
    /// drag ends.
    static constexpr int draftSide = previewSide / 2;
    static constexpr int maxHistory = 100;

    /// Renders with `renderer` and scans the layer library in `resourcesRoot`.
    PlanetModel(PlanetRenderer renderer, const QString& resourcesRoot, QObject* parent = nullptr);
    ~PlanetModel() override;

    // Document
    QString sourceName() const { return m_sourceName; }
    /// The source's capture date and camera as outputs carry them (SourceMetadata.h);
    /// empty for a pasted picture or one without them.
    const QByteArray& sourceExif() const { return m_sourceExif; }
    void setSourceExif(const QByteArray& exif) { m_sourceExif = exif; }
    /// The latest 1100 x 1100 render without layers; null when there is none.
    QImage previewImage() const { return m_previewImage; }
    bool hasSource() const { return m_hasSource; }
    /// The picture as loaded; empty until the first successful load.
    const render::Image& sourceImage() const { return m_sourceImage; }
    LayerLibrary& library() { return *m_library; }
    const LayerLibrary& library() const { return *m_library; }
    const PlanetRenderer& renderer() const { return m_renderer; }

    // The look
    const Look& look() const { return m_look; }
    double setting(Setting setting) const { return m_look.value(setting); }
    void setSetting(Setting setting, double value);
    std::optional<Preset> selectedPreset() const { return m_look.selectedPreset; }
    void setSelectedPreset(std::optional<Preset> preset);
    /// Records history, writes the projection defaults and the preset's own values
    /// as one batch, selects the preset and renders once. Colours and layers stay.
    void applyPreset(Preset preset);
    /// Replaces the settings, preset and layers with `look` (a saved look) as one undo
    /// step; the picture, output size and history stay.
    void applyLook(const Look& look);
    /// The classic preset, then neutral colours: two batches that each end in one
    /// render, but one history entry, so one undo reverts it. Layers and selection stay.
    void resetAll();

    /// Side of the exported square in pixels; never re-renders.
    int outputSize() const { return m_outputSize; }
    void setOutputSize(int value);

    // Layers: bottom first; selection is by id and never re-renders.
    const QList<PlacedLayer>& layers() const { return m_look.layers; }
    /// Plain assignment: no history, no render.
    void setLayers(QList<PlacedLayer> layers);
    /// Edits one layer in place (gestures, inspector). False when the id is not found.
    bool updateLayer(const QUuid& id, const std::function<void(PlacedLayer&)>& edit);
    QUuid selectedLayerID() const { return m_selectedLayerID; }
    void setSelectedLayerID(const QUuid& id);
    std::optional<PlacedLayer> selectedLayer() const;
    /// The layer with this id, if it is in the stack.
    std::optional<PlacedLayer> layer(const QUuid& id) const;
    /// Adds a layer of the asset at `at` (clamped into the square) on top and selects
    /// it; nothing happens for an unknown asset.
    void addLayer(const QString& assetID, NormalizedPoint at);
    void deleteSelectedLayer();
    void setSelectedBlendMode(LayerBlendMode mode);
    void bringSelectedForward();
    void sendSelectedBackward();
    void resetSelectedRotation();
    /// Adds `step` degrees and folds the result into (-180, 180].
    void rotateSelected(double step);
    /// Turns the selected layer so its top points away from the planet's centre.
    void orientSelectedToPlanet();
    /// Moves the selected layer's centre onto the planet's centre, where a round
    /// patch covers the tripod.
    void centreSelectedOnPlanet();

    /// Scans the user's artwork folder again after files were added or removed.
    void rescanUserArtwork();

    // History
    Look snapshot() const { return m_look; }
    /// Records the current look before a change; skipped during a batch and when it
    /// equals the newest entry. Empties the redo stack.
    void recordHistory();
    void undo();
    void redo();
    /// Writes `look` back as one batch and renders once; the selection survives only
    /// if its layer is still there.
    void restore(const Look& look);
    void clearHistory();
    bool canUndo() const { return !m_undoStack.empty(); }
    bool canRedo() const { return !m_redoStack.empty(); }
    int undoDepth() const { return static_cast<int>(m_undoStack.size()); }
    int redoDepth() const { return static_cast<int>(m_redoStack.size()); }
    bool isApplyingPreset() const { return m_isApplyingPreset; }

    // Rendering
    /// The one place the preview is rendered. Every batch ends with exactly one call;
    /// previewRefreshed() announces each call. Without a picture the preview becomes
    /// null; when a stage fails the previous preview stays.
    void refreshPreview();
    int previewRefreshCount() const { return m_previewRefreshCount; }
    /// Off: refreshes still count and announce themselves, but render nothing (for
    /// tools that never show the preview).
    void setPreviewRendering(bool on) { m_previewRendering = on; }
    /// On while the user drags a slider: refreshes that must project the planet again
    /// render at draftSide (a grade over the kept projection stays full size). Turning
    /// it off renders the full preview at once.
    void setDrafting(bool on);
    bool isDrafting() const { return m_drafting; }

    // Intake and output
    /// Installs a new picture and starts a fresh document: layers, selection,
    /// history and the source's metadata are emptied, settings stay, then the preview
    /// is rendered.
    void loadImage(const render::Image& image, const QString& name);

Q_SIGNALS:
    void sourceNameChanged();
    void previewImageChanged();
    void selectedPresetChanged();
    void settingChanged(velmora::Setting setting);
    void outputSizeChanged();
    void layersChanged();
    void selectedLayerIDChanged();
    void canUndoChanged();
    void canRedoChanged();
    /// Emitted by every refreshPreview() call, whether or not a picture came out.
    void previewRefreshed();
    /// The artwork catalogue changed (the user's part was scanned again).
    void libraryChanged();

private:
    /// Writes every setting, the preset and the layers of `look` as one batch (no
    /// observers, no history), then renders once.
    void assign(const Look& look);
    void publishHistoryFlags();
    /// The layer's place in the stack; -1 when it is not there (or `id` is null).
    int indexOf(const QUuid& id) const;
    /// Swaps the selected layer with its neighbour `step` (+1 up, -1 down) away.
    void moveSelected(int step);
    /// Records history and edits the selected layer; nothing (and no history) when
    /// there is no selection or `changes` says the edit would change nothing.
    void editSelected(const std::function<bool(const PlacedLayer&)>& changes,
                      const std::function<void(PlacedLayer&)>& edit);

    PlanetRenderer m_renderer;
    std::unique_ptr<LayerLibrary> m_library;
    render::Image m_sourceImage;
    QString m_sourceName;
    QByteArray m_sourceExif;
    QImage m_previewImage;
    bool m_hasSource = false;

    Look m_look;
    int m_outputSize = 2048;
    QUuid m_selectedLayerID;

    std::vector<Look> m_undoStack;
    std::vector<Look> m_redoStack;
    bool m_isApplyingPreset = false;
    int m_previewRefreshCount = 0;
    bool m_previewRendering = true;
    /// The preview's projection, kept while only the grade changes: it is made again
    /// when the picture, a projection setting or the preview's side changes.
    struct ProjectionCache {
        const void* source = nullptr;
        ProjectionParameters parameters;
        render::Image projected;
    };
    std::optional<ProjectionCache> m_projection;
    bool m_drafting = false;
};

} // namespace velmora
