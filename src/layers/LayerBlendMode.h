#pragma once

#include "render/Blend.h"

#include <QPainter>
#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace velmora {

/// How a placed layer combines with everything beneath it.
/// Declaration order is the order menus list the modes in.
enum class LayerBlendMode { normal, screen, multiply };

inline constexpr std::array<LayerBlendMode, 3> allLayerBlendModes{
    LayerBlendMode::normal, LayerBlendMode::screen, LayerBlendMode::multiply};

/// "normal", "screen" or "multiply": the stable spelling used in scripts.
QString rawValue(LayerBlendMode mode);

/// "Normal", "Screen" or "Multiply" in the user's language: what the blend menu
/// shows. Never stored; files keep rawValue().
QString title(LayerBlendMode mode);

/// Exactly the three raw values; anything else (including "Screen") gives nothing.
std::optional<LayerBlendMode> layerBlendModeFromRaw(QStringView raw);

/// The engine's blend for the mode: the output render combines layers with it.
render::BlendOp blendOp(LayerBlendMode mode);
/// QPainter's mode with the same arithmetic (render/Blend.h): the canvas draws with it.
QPainter::CompositionMode painterCompositionMode(LayerBlendMode mode);

} // namespace velmora
