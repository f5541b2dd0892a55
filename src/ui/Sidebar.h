#pragma once

#include <QScrollArea>

namespace velmora {
class PlanetModel;
}

namespace velmora::ui {

class PillToggle;
class PresetButton;
class SettingSlider;

/// The left column: presets, the projection and grading sliders, Invert, Reset and a
/// tip, all bound to the model. Every slider records one history entry per drag or
/// step; the controls follow the model whatever changes it (undo, presets, reset).
class Sidebar : public QScrollArea {
    Q_OBJECT

public:
    explicit Sidebar(PlanetModel& model, QWidget* parent = nullptr);

    /// The slider titled `title` ("Zoom", "Seam Blend", ...), for tests and tools.
    SettingSlider* slider(const QString& title) const;
    QList<PresetButton*> presetButtons() const { return m_presets; }
    PillToggle* invertToggle() const { return m_invert; }

    /// The readouts the sliders show, by their formats.
    static QString readoutDecimal(double value);
    static QString readoutDegrees(double value);
    static QString readoutPercentOrOff(double value);
    static QString readoutWholeNumber(double value);
    static QString readoutPowerOfTwo(double value);
    static QString readoutSaturation(double value);

private:
    PlanetModel& m_model;
    QList<SettingSlider*> m_sliders;
    QList<PresetButton*> m_presets;
    PillToggle* m_invert = nullptr;
};

} // namespace velmora::ui
