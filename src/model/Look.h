#pragma once

#include "filter/ProjectionParameters.h"
#include "layers/PlacedLayer.h"
#include "model/Preset.h"
#include "model/Settings.h"

#include <QList>

#include <array>
#include <optional>

namespace velmora {

/// Everything that decides the picture: every setting of the table, the preset the
/// settings came from, and the placed layers, bottom first. A plain value: undo
/// entries are copies, two looks render alike when they compare equal, and any
/// number of looks can be rendered side by side. Compared exactly, doubles included.
struct Look {
    /// Every setting at its default, `classic` selected, no layers.
    Look();

    double value(Setting setting) const { return m_values[index(setting)]; }
    void setValue(Setting setting, double value) { m_values[index(setting)] = value; }
    /// A toggle's value as a flag (any non-zero value is on).
    bool isOn(Setting setting) const { return value(setting) != 0.0; }

    std::optional<Preset> selectedPreset = Preset::classic;
    QList<PlacedLayer> layers;

    /// This look with the projection settings at their defaults, then the preset's
    /// own values, and the preset selected; colours and layers stay.
    Look withPreset(Preset preset) const;
    /// This look with every colour setting at its default.
    Look withNeutralColours() const;

    bool operator==(const Look&) const = default;

private:
    static constexpr std::size_t index(Setting setting) {
        return static_cast<std::size_t>(setting);
    }
    std::array<double, settingCount> m_values;
};

/// The look's projection in the kernel's terms, for a square of `side` pixels
/// (0 or less: the source's larger side). Degrees become radians here.
ProjectionParameters projectionParameters(const Look& look, double side);

/// Where the projection puts the planet's centre (normalised, y down): the middle of
/// the square moved by the shifts.
NormalizedPoint planetCentre(const Look& look);

} // namespace velmora
