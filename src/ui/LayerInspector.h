#pragma once

#include "ui/FloatingCapsule.h"

#include <QCoreApplication>
#include <QUuid>

#include <optional>

class QAbstractButton;
class QSlider;

namespace velmora {
class PlanetModel;
struct PlacedLayer;
} // namespace velmora

namespace velmora::ui {

class TintedSlider;

/// The floating bar of the selected layer's edits: opacity, blend mode, flip,
/// rotation in 15° steps and its reset, orienting to the planet, stack order and
/// delete. It follows the model's selection and addresses its layer by id, so it
/// keeps working (doing nothing) if that layer disappears. Its owner shows and
/// hides it.
class LayerInspector : public FloatingCapsule {
    Q_DECLARE_TR_FUNCTIONS(LayerInspector)

public:
    explicit LayerInspector(PlanetModel& model, QWidget* parent = nullptr);
    ~LayerInspector() override;

    /// The layer the controls act on: the model's selection as last announced.
    QUuid layerID() const { return m_layerID; }

    /// Lays the bar out to fit `available` pixels if it can: in a narrow canvas it
    /// drops its caption, closes up and shortens the opacity slider, keeping every
    /// control; a blend mode's name still too long is cut short with an ellipsis.
    /// Returns whether it now fits.
    bool fitWidth(int available);
    bool isCompact() const { return m_compact; }

    QSlider* opacitySlider() const;
    QAbstractButton* blendModeButton() const;
    QAbstractButton* rotationButton() const;

private:
    class IconButton;
    class ValueButton;

    std::optional<PlacedLayer> layer() const;
    void selectionChanged();
    void refresh();
    void opacityChanged(int position);
    void flip();
    void showBlendMenu();
    void setCompact(bool compact);
    IconButton* addIconButton(const QString& symbol, const QString& help, const QString& name,
                              bool destructive = false);

    PlanetModel& m_model;
    QUuid m_layerID;
    QWidget* m_caption = nullptr;
    bool m_compact = false;
    TintedSlider* m_opacity = nullptr;
    ValueButton* m_blendButton = nullptr;
    ValueButton* m_rotationButton = nullptr;
};

} // namespace velmora::ui
