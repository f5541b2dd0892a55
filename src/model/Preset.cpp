#include "model/Preset.h"

#include "model/Look.h"

#include <QCoreApplication>

#include <initializer_list>
#include <utility>

namespace velmora {

namespace {

struct PresetInfo {
    Preset preset;
    const char* name;
    const char* title;
    const char* symbol;
    /// Written over the projection defaults, in this order.
    std::initializer_list<std::pair<Setting, double>> values;
};

const std::array<PresetInfo, allPresets.size()>& presetTable() {
    static const std::array<PresetInfo, allPresets.size()> table{{
        {Preset::classic, "classic", QT_TRANSLATE_NOOP("Preset", "Classic Planet"), "globe", {}},
        {Preset::sky,
         "sky",
         QT_TRANSLATE_NOOP("Preset", "Sky World"),
         "cloud.sun.fill",
         {{Setting::invert, 1.0}, {Setting::rotationDegrees, 180.0}}},
        {Preset::horizontal,
         "horizontal",
         QT_TRANSLATE_NOOP("Preset", "Horizontal"),
         "line.3.horizontal",
         {{Setting::flipY, -0.6}}},
        {Preset::spiral,
         "spiral",
         QT_TRANSLATE_NOOP("Preset", "Spiral Planet"),
         "hurricane",
         {{Setting::twist, 2.0}, {Setting::zoom, 0.8}}},
        {Preset::double_,
         "double",
         QT_TRANSLATE_NOOP("Preset", "Double Vision"),
         "circle.dotted.and.circle",
         {{Setting::repeats, 2.0}}},
    }};
    return table;
}

const PresetInfo& info(Preset preset) {
    return presetTable()[static_cast<std::size_t>(preset)];
}

} // namespace

QString presetTitle(Preset preset) {
    return QString::fromUtf8(info(preset).title);
}

QString presetDisplayTitle(Preset preset) {
    return QCoreApplication::translate("Preset", info(preset).title);
}

QString presetName(Preset preset) {
    return QString::fromUtf8(info(preset).name);
}

QString presetSymbol(Preset preset) {
    return QString::fromUtf8(info(preset).symbol);
}

std::optional<Preset> presetFromTitle(QStringView title) {
    for (const PresetInfo& p : presetTable()) {
        if (title == QLatin1String(p.title))
            return p.preset;
    }
    return std::nullopt;
}

std::optional<Preset> presetByName(QStringView name) {
    for (const PresetInfo& p : presetTable()) {
        if (name == QLatin1String(p.name))
            return p.preset;
    }
    return presetFromTitle(name);
}

Look Look::withPreset(Preset preset) const {
    Look look = *this;
    for (const SettingInfo& s : settingsTable()) {
        if (s.kind == SettingKind::projection)
            look.setValue(s.setting, s.defaultValue);
    }
    for (const auto& [setting, value] : info(preset).values)
        look.setValue(setting, value);
    look.selectedPreset = preset;
    return look;
}

} // namespace velmora
