#include "model/Settings.h"

#include <QCoreApplication>
#include <QLocale>

#include <algorithm>
#include <cmath>

namespace velmora {

namespace {

using K = SettingKind;
using C = SettingControl;
using R = SettingReadout;

// clang-format off
constexpr std::array<SettingInfo, settingCount> table{{
    // setting                     name               label         option        value      help                                       kind           control               lower  upper  default step accepts        readout           symbol
    {Setting::zoom,            "zoom",            QT_TRANSLATE_NOOP("Setting", "Zoom"),       "zoom",       "X",       "planet size",                             K::projection, C::slider,             0.2,   4.0,   1.0,    0.0, 0.01, 100.,   R::decimal,      ""},
    {Setting::rotationDegrees, "rotationDegrees", QT_TRANSLATE_NOOP("Setting", "Rotate"),     "rotate",     "DEGREES", "turn, clockwise",                         K::projection, C::slider,             -180., 180.,  0.0,    1.0, -3600, 3600,  R::degrees,      ""},
    {Setting::flipX,           "flipX",           QT_TRANSLATE_NOOP("Setting", "Flip X"),     "flip-x",     "X",       "tilt about the vertical axis",            K::projection, C::slider,             -1.0,  1.0,   0.0,    0.0, -4.0, 4.0,    R::decimal,      ""},
    {Setting::flipY,           "flipY",           QT_TRANSLATE_NOOP("Setting", "Flip Y"),     "flip-y",     "X",       "tilt about the horizontal axis",          K::projection, C::slider,             -1.0,  1.0,   0.0,    0.0, -4.0, 4.0,    R::decimal,      ""},
    {Setting::horizon,         "horizon",         QT_TRANSLATE_NOOP("Setting", "Shift Y"),    "shift-y",    "X",       "planet centre up (+) or down",            K::projection, C::slider,             -1.0,  1.0,   0.0,    0.0, -10., 10.,    R::decimal,      ""},
    {Setting::shiftX,          "shiftX",          QT_TRANSLATE_NOOP("Setting", "Shift X"),    "shift-x",    "X",       "planet centre right (+) or left",         K::projection, C::slider,             -1.0,  1.0,   0.0,    0.0, -10., 10.,    R::decimal,      ""},
    {Setting::twist,           "twist",           QT_TRANSLATE_NOOP("Setting", "Twist"),      "twist",      "X",       "spiral",                                  K::projection, C::slider,             -5.0,  5.0,   0.0,    0.0, -100, 100,    R::decimal,      ""},
    {Setting::convexity,       "convexity",       QT_TRANSLATE_NOOP("Setting", "Convexity"),  "convexity",  "X",       "bulge of the planet",                     K::projection, C::slider,             -0.5,  1.0,   0.0,    0.0, -4.0, 4.0,    R::decimal,      ""},
    {Setting::repeats,         "repeats",         QT_TRANSLATE_NOOP("Setting", "Repeats"),    "repeats",    "X",       "times the panorama goes round",           K::projection, C::slider,             1.0,   10.0,  1.0,    0.0, -100, 100,    R::wholeNumber,  ""},
    {Setting::blendWidth,      "blendWidth",      QT_TRANSLATE_NOOP("Setting", "Seam Blend"), "seam-blend", "X",       "cross-fade where the picture's ends meet", K::projection, C::slider,             0.0,   0.4,   0.12,   0.0, 0.0, 1.0,     R::percentOrOff, ""},
    {Setting::invert,          "invert",          QT_TRANSLATE_NOOP("Setting", "Invert"),     "invert",     "",        "sky in the middle",                       K::projection, C::toggle,             0.0,   1.0,   0.0,    0.0, 0.0, 1.0,     R::onOff,        ""},
    {Setting::coverage,        "coverage",        QT_TRANSLATE_NOOP("Setting", "Coverage"),   "coverage",   "auto|full", "the picture's place on the sphere", K::source, C::choice, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, R::choice, "", "auto=Automatic|full=Full sphere"},
    {Setting::gamma,           "gamma",           QT_TRANSLATE_NOOP("Setting", "Gamma"),      "gamma",      "X",       "brightness of the mid-tones",             K::colour,     C::powerOfTwoSlider,   0.5,   2.0,   1.0,    0.0, 0.01, 100.,   R::decimal,      "dial.medium"},
    {Setting::contrast,        "contrast",        QT_TRANSLATE_NOOP("Setting", "Contrast"),   "contrast",   "X",       "",                                        K::colour,     C::powerOfTwoSlider,   0.5,   2.0,   1.0,    0.0, 0.0, 100.,    R::decimal,      "circle.lefthalf.filled"},
    {Setting::saturation,      "saturation",      QT_TRANSLATE_NOOP("Setting", "Saturation"), "saturation", "X",       "0 is black and white",                    K::colour,     C::slider,             0.0,   2.0,   1.0,    0.0, 0.0, 100.,    R::saturation,   "drop.fill"},
    {Setting::vignette,        "vignette",        QT_TRANSLATE_NOOP("Setting", "Vignette"),   "vignette",   "X",       "darkening of the corners",                K::colour,     C::slider,             0.0,   1.0,   0.0,    0.0, 0.0, 1.0,     R::percentOrOff, "camera.aperture"},
}};
// clang-format on

constexpr bool inSettingOrder() {
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (static_cast<std::size_t>(table[i].setting) != i)
            return false;
    }
    return true;
}
static_assert(inSettingOrder(), "the settings table must list every setting in Setting order");

// The choices' labels sit inside one string per row; listed here so lupdate sees them.
[[maybe_unused]] constexpr const char* choiceLabels[] = {
    QT_TRANSLATE_NOOP("Setting", "Automatic"),
    QT_TRANSLATE_NOOP("Setting", "Full sphere"),
};

QString translated(const char* text) {
    return QCoreApplication::translate("Setting", text);
}

/// "1.25", or "1,25" where the default locale writes a decimal comma.
QString twoDecimals(double value) {
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale.toString(value, 'f', 2);
}

} // namespace

const std::array<SettingInfo, settingCount>& settingsTable() {
    return table;
}

QString settingLabel(const SettingInfo& info) {
    return translated(info.label);
}

const SettingInfo& settingInfo(Setting setting) {
    return table[static_cast<std::size_t>(setting)];
}

std::optional<Setting> settingByOption(QStringView option) {
    for (const SettingInfo& info : table) {
        if (option == QLatin1String(info.option))
            return info.setting;
    }
    return std::nullopt;
}

std::optional<Setting> settingByName(QStringView name) {
    for (const SettingInfo& info : table) {
        if (name == QLatin1String(info.name))
            return info.setting;
    }
    return std::nullopt;
}

QList<SettingChoice> settingChoices(const SettingInfo& info) {
    QList<SettingChoice> choices;
    if (!info.choices)
        return choices;
    for (const QString& entry : QString::fromUtf8(info.choices).split(QLatin1Char('|'))) {
        const qsizetype eq = entry.indexOf(QLatin1Char('='));
        choices.append({entry.left(eq), translated(entry.mid(eq + 1).toUtf8().constData())});
    }
    return choices;
}

std::optional<double> choiceValue(const SettingInfo& info, QStringView name) {
    const QList<SettingChoice> choices = settingChoices(info);
    for (qsizetype i = 0; i < choices.size(); ++i) {
        if (name.compare(choices[i].name, Qt::CaseInsensitive) == 0)
            return static_cast<double>(i);
    }
    return std::nullopt;
}

QString choiceName(const SettingInfo& info, double value) {
    const QList<SettingChoice> choices = settingChoices(info);
    if (choices.isEmpty())
        return {};
    const auto i = static_cast<qsizetype>(
        std::clamp(std::lround(value), 0L, static_cast<long>(choices.size() - 1)));
    return choices[i].name;
}

QString formatReadout(SettingReadout readout, double value) {
    switch (readout) {
    case SettingReadout::decimal:
        return twoDecimals(value);
    case SettingReadout::degrees:
        return QString::asprintf("%.0f\u00b0", value);
    case SettingReadout::percentOrOff:
        return value < 0.005 ? translated(QT_TRANSLATE_NOOP("Setting", "Off"))
                             : QString::asprintf("%.0f%%", value * 100.0);
    case SettingReadout::wholeNumber:
        return QString::asprintf("%.0f", value);
    case SettingReadout::saturation:
        return value < 0.005 ? translated(QT_TRANSLATE_NOOP("Setting", "B&W")) : twoDecimals(value);
    case SettingReadout::onOff:
        return value != 0.0 ? translated(QT_TRANSLATE_NOOP("Setting", "On"))
                            : translated(QT_TRANSLATE_NOOP("Setting", "Off"));
    case SettingReadout::choice:
        return QString::asprintf("%.0f", value); // the window shows the choice's label
    }
    return {};
}

} // namespace velmora
