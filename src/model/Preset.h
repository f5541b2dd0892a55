#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace velmora {

/// One-click projection settings. Declaration order is display order.
/// (`double` is a keyword, hence the trailing underscore of the last case.)
enum class Preset { classic, sky, horizontal, spiral, double_ };

inline constexpr std::array<Preset, 5> allPresets{Preset::classic, Preset::sky, Preset::horizontal,
                                                  Preset::spiral, Preset::double_};

/// The preset's title, which is also its raw value: "Classic Planet", ...
QString presetTitle(Preset preset);
/// The title as the window shows it, in the user's language; never stored.
QString presetDisplayTitle(Preset preset);
/// Its short name on the command line and in files: "classic", "sky", ..., "double".
QString presetName(Preset preset);
/// Name of the symbol its tile shows ("globe", ...).
QString presetSymbol(Preset preset);
/// Exactly the five titles, case and spaces as they are; nothing otherwise.
std::optional<Preset> presetFromTitle(QStringView title);
/// A short name ("sky") or a title ("Sky World").
std::optional<Preset> presetByName(QStringView name);

} // namespace velmora
