#pragma once

#include <QScrollArea>

namespace velmora {
class PlanetModel;
}

namespace velmora::ui {

class PillToggle;
class PresetButton;
class SettingSlider;

/// The left column: presets, a control for every row of the settings table (the
/// projection, then the grade), Reset and a tip, all bound to the model. Every slider records one
/// history entry per drag or step; the controls follow the model whatever changes it (undo,
/// presets, reset).
class Sidebar : public QScrollArea {
    Q_OBJECT

public:
    explicit Sidebar(PlanetModel& model, QWidget* parent = nullptr);

    /// The slider titled `title` ("Zoom", "Seam Blend", ...), for tests and tools.
    SettingSlider* slider(const QString& title) const;
    /// The switch titled `title` ("Invert").
    PillToggle* toggle(const QString& title) const;
    QList<PresetButton*> presetButtons() const { return m_presets; }

private:
    PlanetModel& m_model;
    QList<SettingSlider*> m_sliders;
    QList<PresetButton*> m_presets;
    QList<PillToggle*> m_toggles;
};

} // namespace velmora::ui
