#include "model/Look.h"

#include <numbers>

namespace velmora {

Look::Look() {
    for (const SettingInfo& s : settingsTable())
        m_values[index(s.setting)] = s.defaultValue;
}

Look Look::withNeutralColours() const {
    Look look = *this;
    for (const SettingInfo& s : settingsTable()) {
        if (s.kind == SettingKind::colour)
            look.setValue(s.setting, s.defaultValue);
    }
    return look;
}

ProjectionParameters projectionParameters(const Look& look, double side) {
    const auto f = [&look](Setting s) { return static_cast<float>(look.value(s)); };
    ProjectionParameters p;
    p.zoom = f(Setting::zoom);
    p.convexity = f(Setting::convexity);
    p.rotation =
        static_cast<float>(look.value(Setting::rotationDegrees) * std::numbers::pi / 180.0);
    p.twist = f(Setting::twist);
    p.shiftX = f(Setting::shiftX);
    p.horizon = f(Setting::horizon);
    p.flipX = f(Setting::flipX);
    p.flipY = f(Setting::flipY);
    p.invert = look.isOn(Setting::invert);
    p.blendWidth = f(Setting::blendWidth);
    p.repeats = f(Setting::repeats);
    p.fullSphere = look.value(Setting::coverage) >= 0.5;
    p.outputSide = side;
    return p;
}

NormalizedPoint planetCentre(const Look& look) {
    return {0.5 + 0.5 * look.value(Setting::shiftX), 0.5 - 0.5 * look.value(Setting::horizon)};
}

} // namespace velmora
