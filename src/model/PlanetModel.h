#pragma once

#include "filter/ProjectionParameters.h"
#include "layers/LayerLibrary.h"
#include "layers/PlacedLayer.h"
#include "render/Image.h"
#include "render/RenderContext.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringView>
#include <QUuid>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

class TinyPlanetFilter;

/// The one editable document: the source picture, the projection and colour
/// settings, the overlay layers, the edit history and the renders made from them.
///
/// Main thread only and synchronous: a setter returns after the preview it causes
/// has been rendered. Setters never clamp; the controls that edit a setting own its
/// range. Every setting setter stores the value and emits its change signal on every
/// assignment, also of an equal value, then runs the setting's observer: projection
/// settings clear the selected preset and re-render, colour settings re-render.
/// Nothing runs while a batch (preset, reset, undo, redo) is being applied.
class PlanetModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString sourceName READ sourceName NOTIFY sourceNameChanged)
    Q_PROPERTY(QImage previewImage READ previewImage NOTIFY previewImageChanged)
    Q_PROPERTY(double zoom READ zoom WRITE setZoom NOTIFY zoomChanged)
    Q_PROPERTY(double rotationDegrees READ rotationDegrees WRITE setRotationDegrees NOTIFY
                   rotationDegreesChanged)
    Q_PROPERTY(double convexity READ convexity WRITE setConvexity NOTIFY convexityChanged)
    Q_PROPERTY(double horizon READ horizon WRITE setHorizon NOTIFY horizonChanged)
    Q_PROPERTY(double twist READ twist WRITE setTwist NOTIFY twistChanged)
    Q_PROPERTY(double shiftX READ shiftX WRITE setShiftX NOTIFY shiftXChanged)
    Q_PROPERTY(double flipX READ flipX WRITE setFlipX NOTIFY flipXChanged)
    Q_PROPERTY(double flipY READ flipY WRITE setFlipY NOTIFY flipYChanged)
    Q_PROPERTY(bool invert READ invert WRITE setInvert NOTIFY invertChanged)
    Q_PROPERTY(double blendWidth READ blendWidth WRITE setBlendWidth NOTIFY blendWidthChanged)
    Q_PROPERTY(double repeats READ repeats WRITE setRepeats NOTIFY repeatsChanged)
    Q_PROPERTY(double gamma READ gamma WRITE setGamma NOTIFY gammaChanged)
    Q_PROPERTY(double contrast READ contrast WRITE setContrast NOTIFY contrastChanged)
    Q_PROPERTY(double saturation READ saturation WRITE setSaturation NOTIFY saturationChanged)
    Q_PROPERTY(double vignette READ vignette WRITE setVignette NOTIFY vignetteChanged)
    Q_PROPERTY(int outputSize READ outputSize WRITE setOutputSize NOTIFY outputSizeChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY canUndoChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY canRedoChanged)

public:
    /// One-click projection settings. Declaration order is display order.
    /// (`double` is a keyword, hence the trailing underscore of the last case.)
    enum class Preset { classic, sky, horizontal, spiral, double_ };
    Q_ENUM(Preset)

    static constexpr std::array<Preset, 5> allPresets{
        Preset::classic, Preset::sky, Preset::horizontal, Preset::spiral, Preset::double_};
    /// The preset's title, which is also its raw value: "Classic Planet", ...
    static QString title(Preset preset);
    /// Name of the symbol its tile shows ("globe", ...).
    static QString symbol(Preset preset);
    /// Exactly the five titles, case and spaces as they are; nothing otherwise.
    static std::optional<Preset> presetFromTitle(QStringView title);

    /// Everything undo and redo restore, compared field by field, doubles exactly.
    struct PlanetState {
        double zoom = 1.0;
        double rotationDegrees = 0.0;
        double convexity = 0.0;
        double horizon = 0.0;
        double twist = 0.0;
        double shiftX = 0.0;
        double flipX = 0.0;
        double flipY = 0.0;
        bool invert = false;
        double blendWidth = 0.12;
        double repeats = 1.0;
        std::optional<Preset> selectedPreset;
        QList<PlacedLayer> layers;
        double gamma = 1.0;
        double contrast = 1.0;
        double saturation = 1.0;
        double vignette = 0.0;

        bool operator==(const PlanetState&) const = default;
    };

    static constexpr int previewSide = 1100;
    static constexpr int maxHistory = 100;
    /// Vignette radii as fractions of the shorter image side.
    static constexpr double vignetteInner = 0.3;
    static constexpr double vignetteOuter = 0.66;

    /// Creates, in order, the layer library from `resourcesRoot` (resourcesRoot() when
    /// omitted), the projection filter (the program stops if its kernel cannot be
    /// loaded) and the rendering context.
    explicit PlanetModel(QObject* parent = nullptr);
    explicit PlanetModel(const QString& resourcesRoot, QObject* parent = nullptr);
    ~PlanetModel() override;

    // Document
    QString sourceName() const { return m_sourceName; }
    /// The latest 1100 x 1100 render without layers; null when there is none.
    QImage previewImage() const { return m_previewImage; }
    bool hasSource() const { return m_hasSource; }
    /// The picture as loaded; empty until the first successful load.
    const render::Image& sourceImage() const { return m_sourceImage; }
    LayerLibrary& library() { return *m_library; }
    const LayerLibrary& library() const { return *m_library; }

    // Projection settings
    double zoom() const { return m_zoom; }
    double rotationDegrees() const { return m_rotationDegrees; }
    double convexity() const { return m_convexity; }
    double horizon() const { return m_horizon; }
    double twist() const { return m_twist; }
    double shiftX() const { return m_shiftX; }
    double flipX() const { return m_flipX; }
    double flipY() const { return m_flipY; }
    bool invert() const { return m_invert; }
    double blendWidth() const { return m_blendWidth; }
    double repeats() const { return m_repeats; }
    void setZoom(double value);
    void setRotationDegrees(double value);
    void setConvexity(double value);
    void setHorizon(double value);
    void setTwist(double value);
    void setShiftX(double value);
    void setFlipX(double value);
    void setFlipY(double value);
    void setInvert(bool value);
    void setBlendWidth(double value);
    void setRepeats(double value);

    // Colour settings
    double gamma() const { return m_gamma; }
    double contrast() const { return m_contrast; }
    double saturation() const { return m_saturation; }
    double vignette() const { return m_vignette; }
    void setGamma(double value);
    void setContrast(double value);
    void setSaturation(double value);
    void setVignette(double value);

    /// Side of the exported square in pixels; never re-renders.
    int outputSize() const { return m_outputSize; }
    void setOutputSize(int value);

    std::optional<Preset> selectedPreset() const { return m_selectedPreset; }
    void setSelectedPreset(std::optional<Preset> preset);

    // Presets
    /// Records history, writes the projection defaults and the preset's own values
    /// as one batch, selects the preset and renders once. Colours and layers stay.
    void applyPreset(Preset preset);
    /// The classic preset, then neutral colours: two batches that each end in one
    /// render, but one history entry, so one undo reverts it. Layers and selection stay.
    void resetAll();

    // Layers: bottom first; selection is by id and never re-renders.
    const QList<PlacedLayer>& layers() const { return m_layers; }
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

    // History
    PlanetState snapshot() const;
    /// Records the current state before a change; skipped during a batch and when the
    /// state equals the newest entry. Empties the redo stack.
    void recordHistory();
    void undo();
    void redo();
    /// Writes `state` back as one batch and renders once; the selection survives only
    /// if its layer is still there.
    void restore(const PlanetState& state);
    void clearHistory();
    bool canUndo() const { return m_canUndo; }
    bool canRedo() const { return m_canRedo; }
    int undoDepth() const { return static_cast<int>(m_undoStack.size()); }
    int redoDepth() const { return static_cast<int>(m_redoStack.size()); }
    bool isApplyingPreset() const { return m_isApplyingPreset; }

    // Rendering
    /// The one place where the preview is rendered. Every batch ends with exactly one
    /// call; previewRefreshed() announces each call. Without a picture the preview
    /// becomes null; when a stage fails the previous preview stays.
    void refreshPreview();
    int previewRefreshCount() const { return m_previewRefreshCount; }
    /// Without a window nobody sees the preview: the command line turns its render
    /// off, so a batch spends its time on the output alone. Refreshes still count
    /// and announce themselves; the preview stays as it was.
    void setPreviewRendering(bool on) { m_previewRendering = on; }

    /// The current projection settings in kernel order, with outputSide 0.
    ProjectionParameters projectionParameters() const;
    /// Gamma, contrast/saturation and vignette, each only where it differs from
    /// neutral by more than 0.001.
    render::Image applyLook(const render::Image& projected) const;
    /// Draws the layers, bottom first, over `base` and crops to the side x side square.
    render::Image compositeLayers(const render::Image& base, double side);
    /// The planet with its grade and layers at `side` pixels, as export and copy use it;
    /// nothing without a picture or when the projection yields nothing.
    std::optional<render::Image> outputImage(double side);
    const render::RenderContext& context() const { return m_context; }

    // Intake and output
    /// Installs a new picture and starts a fresh document: layers, selection and
    /// history are emptied, settings stay, then the preview is rendered.
    void loadImage(const render::Image& image, const QString& name);
    /// Decodes a file and loads it under its base name ("beach.jpg" gives "beach").
    /// A file that does not decode changes nothing; the reason comes back as text.
    QString loadImageFile(const QString& path);
    /// Loads the clipboard's picture as "Pasted": PNG data first, then TIFF data, then
    /// an image object. False, with nothing changed, when there is none.
    bool pasteFromClipboard();
    /// The source's base name (or "Planet") followed by "-velmora.png".
    QString defaultExportFileName() const;
    /// Renders at outputSize and writes an 8-bit RGBA PNG tagged sRGB, atomically: a
    /// failure leaves no partial file and any existing file intact. Returns what went
    /// wrong, empty on success; the window ignores it, the command line prints it.
    QString exportPNG(const QString& path);
    /// Renders at outputSize and puts the picture on the clipboard as PNG and TIFF.
    void copyToClipboard();

Q_SIGNALS:
    void sourceNameChanged();
    void previewImageChanged();
    void selectedPresetChanged();
    void zoomChanged();
    void rotationDegreesChanged();
    void convexityChanged();
    void horizonChanged();
    void twistChanged();
    void shiftXChanged();
    void flipXChanged();
    void flipYChanged();
    void invertChanged();
    void blendWidthChanged();
    void repeatsChanged();
    void gammaChanged();
    void contrastChanged();
    void saturationChanged();
    void vignetteChanged();
    void outputSizeChanged();
    void layersChanged();
    void selectedLayerIDChanged();
    void canUndoChanged();
    void canRedoChanged();
    /// Emitted by every refreshPreview() call, whether or not a picture came out.
    void previewRefreshed();

private:
    template <typename T>
    void assignProjection(T& field, T value, void (PlanetModel::*changed)());
    void assignColour(double& field, double value, void (PlanetModel::*changed)());
    void projectionObserver();
    void colourObserver();
    void writeProjectionDefaults();
    void setCanUndo(bool value);
    void setCanRedo(bool value);
    void publishHistoryFlags();
    void setPreviewImage(const QImage& image);
    int selectedIndex() const;
    /// The output at outputSize as straight 8-bit RGBA (null when its memory cannot be
    /// had); nothing when there is no planet to render.
    std::optional<QImage> renderOutput();

    std::unique_ptr<LayerLibrary> m_library;
    std::unique_ptr<TinyPlanetFilter> m_filter;
    render::RenderContext m_context;
    render::Image m_sourceImage;

    QString m_sourceName;
    QImage m_previewImage;
    bool m_hasSource = false;

    std::optional<Preset> m_selectedPreset = Preset::classic;
    double m_zoom = 1.0;
    double m_rotationDegrees = 0.0;
    double m_convexity = 0.0;
    double m_horizon = 0.0;
    double m_twist = 0.0;
    double m_shiftX = 0.0;
    double m_flipX = 0.0;
    double m_flipY = 0.0;
    bool m_invert = false;
    double m_blendWidth = 0.12;
    double m_repeats = 1.0;
    double m_gamma = 1.0;
    double m_contrast = 1.0;
    double m_saturation = 1.0;
    double m_vignette = 0.0;
    int m_outputSize = 2048;
    QList<PlacedLayer> m_layers;
    QUuid m_selectedLayerID;

    std::vector<PlanetState> m_undoStack;
    std::vector<PlanetState> m_redoStack;
    bool m_canUndo = false;
    bool m_canRedo = false;
    bool m_isApplyingPreset = false;
    int m_previewRefreshCount = 0;
    bool m_previewRendering = true;
};

} // namespace velmora
