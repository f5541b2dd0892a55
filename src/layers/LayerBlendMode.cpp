#include "layers/LayerBlendMode.h"

namespace velmora {

namespace {

struct ModeInfo {
    const char* raw;
    const char* title;
    render::BlendOp op;
    QPainter::CompositionMode painterMode;
};

const ModeInfo& info(LayerBlendMode mode) {
    static const std::array<ModeInfo, allLayerBlendModes.size()> table{{
        {"normal", "Normal", render::BlendOp::over, QPainter::CompositionMode_SourceOver},
        {"screen", "Screen", render::BlendOp::screen, QPainter::CompositionMode_Screen},
        {"multiply", "Multiply", render::BlendOp::multiply, QPainter::CompositionMode_Multiply},
    }};
    return table[static_cast<std::size_t>(mode)];
}

} // namespace

QString rawValue(LayerBlendMode mode) {
    return QString::fromLatin1(info(mode).raw);
}

QString title(LayerBlendMode mode) {
    return QString::fromLatin1(info(mode).title);
}

std::optional<LayerBlendMode> layerBlendModeFromRaw(QStringView raw) {
    for (LayerBlendMode mode : allLayerBlendModes) {
        if (raw == rawValue(mode))
            return mode;
    }
    return std::nullopt;
}

render::BlendOp blendOp(LayerBlendMode mode) {
    return info(mode).op;
}

QPainter::CompositionMode painterCompositionMode(LayerBlendMode mode) {
    return info(mode).painterMode;
}

} // namespace velmora
