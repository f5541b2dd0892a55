#include "layers/LayerBlendMode.h"

#include <QCoreApplication>

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
        {"normal", QT_TRANSLATE_NOOP("LayerBlendMode", "Normal"), render::BlendOp::over,
         QPainter::CompositionMode_SourceOver},
        {"screen", QT_TRANSLATE_NOOP("LayerBlendMode", "Screen"), render::BlendOp::screen,
         QPainter::CompositionMode_Screen},
        {"multiply", QT_TRANSLATE_NOOP("LayerBlendMode", "Multiply"), render::BlendOp::multiply,
         QPainter::CompositionMode_Multiply},
    }};
    return table[static_cast<std::size_t>(mode)];
}

} // namespace

QString rawValue(LayerBlendMode mode) {
    return QString::fromLatin1(info(mode).raw);
}

QString title(LayerBlendMode mode) {
    return QCoreApplication::translate("LayerBlendMode", info(mode).title);
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
