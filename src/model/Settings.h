#pragma once

#include <QList>
#include <QString>

#include <array>
#include <cstddef>
#include <optional>

namespace velmora {

/// Every setting that shapes the planet, in the order the window lists them.
/// A new setting gets a case here and a row in the table (Settings.cpp); projection
/// settings also reach the kernel through projectionParameters().
enum class Setting {
    zoom,
    rotationDegrees,
    flipX,
    flipY,
    horizon,
    shiftX,
    twist,
    convexity,
    repeats,
    blendWidth,
    invert,
    coverage,
    gamma,
    contrast,
    saturation,
    vignette,
};

inline constexpr std::size_t settingCount = static_cast<std::size_t>(Setting::vignette) + 1;

/// What a change of the setting does to the document: a projection setting clears
/// the selected preset and presets rewrite it; a colour setting keeps the preset; a
/// source setting (how the picture is read) changes the projection but belongs to
/// no preset, so presets and the neutral grade leave it.
enum class SettingKind { projection, colour, source };

/// How the window edits it: a linear slider, a slider in powers of two (its middle
/// is the default and each end is a factor of two away), an on/off switch, or a
/// choice among named values (stored as 0, 1, ... in the order `choices` lists them).
enum class SettingControl { slider, powerOfTwoSlider, toggle, choice };

/// How a value is written for people, in the sidebar's readout.
enum class SettingReadout {
    decimal,      ///< "1.25"
    degrees,      ///< "45°"
    percentOrOff, ///< "12%", "Off" below half a percent
    wholeNumber,  ///< "3"
    saturation,   ///< "0.80", "B&W" below 0.005
    onOff,        ///< "On", "Off"
    choice,       ///< the chosen value's label: "Automatic"
};

/// One row of the settings table: everything the program says about a setting.
/// Values are in the setting's own units (degrees, factors); a toggle stores 0 or 1.
struct SettingInfo {
    Setting setting;
    /// The one name in code and files: "zoom", "rotationDegrees", "horizon".
    const char* name;
    /// What the window calls it: "Zoom", "Rotate", "Shift Y"; English, the source
    /// of the translations (settingLabel() gives the translated one).
    const char* label;
    /// The command line's option without dashes: "zoom", "rotate", "shift-y" (the
    /// label in lower case with dashes, so the two never say different things).
    const char* option;
    /// The command line's placeholder for the value: "X", "DEGREES".
    const char* valueName;
    /// A few words for --help after the option; may be empty.
    const char* help;
    SettingKind kind;
    SettingControl control;
    /// The slider's range; the command line accepts minimum to maximum.
    double lower;
    double upper;
    double defaultValue;
    /// The step buttons' increment; 0 means 1 % of the range.
    double step;
    /// What the command line accepts: beyond these the picture stops following the
    /// value (the kernel clamps it, or floats run out), so it is refused instead.
    double minimum;
    double maximum;
    SettingReadout readout;
    /// The symbol before the slider's title; empty for none.
    const char* symbol;
    /// A choice's values, "name=Label|name=Label": the command line takes the names,
    /// files store them, the window shows the labels. Null for other controls.
    const char* choices = nullptr;
};

/// One value of a choice setting.
struct SettingChoice {
    QString name;  ///< "auto"
    QString label; ///< "Automatic", translated
};
/// A choice setting's values in order (value 0 first); empty for other controls.
QList<SettingChoice> settingChoices(const SettingInfo& info);
/// The value of the choice named `name`, if the setting has one by that name.
std::optional<double> choiceValue(const SettingInfo& info, QStringView name);
/// The name of a choice setting's value (rounded to the nearest choice).
QString choiceName(const SettingInfo& info, double value);

/// The setting's label as the window shows it, in the user's language.
QString settingLabel(const SettingInfo& info);

/// The whole table, in Setting order.
const std::array<SettingInfo, settingCount>& settingsTable();
const SettingInfo& settingInfo(Setting setting);
/// The setting with this command-line option ("shift-y"), if any.
std::optional<Setting> settingByOption(QStringView option);
/// The setting with this code name ("horizon"), if any.
std::optional<Setting> settingByName(QStringView name);

/// The readout text for `value` in the setting's format: "Off" and the like
/// translated, decimals written as the default locale writes them ("1,25" in German).
QString formatReadout(SettingReadout readout, double value);

} // namespace velmora
