#include "layers/LayerBlendMode.h"

namespace velmora {

QString rawValue(LayerBlendMode mode) {
    switch (mode) {
    case LayerBlendMode::normal:
        return QStringLiteral("normal");
    case LayerBlendMode::screen:
        return QStringLiteral("screen");
    case LayerBlendMode::multiply:
        return QStringLiteral("multiply");
    }
    return {};
}

QString title(LayerBlendMode mode) {
    switch (mode) {
    case LayerBlendMode::normal:
        return QStringLiteral("Normal");
    case LayerBlendMode::screen:
        return QStringLiteral("Screen");
    case LayerBlendMode::multiply:
        return QStringLiteral("Multiply");
    }
    return {};
}

std::optional<LayerBlendMode> layerBlendModeFromRaw(QStringView raw) {
    for (LayerBlendMode mode : allLayerBlendModes) {
        if (raw == rawValue(mode))
            return mode;
    }
    return std::nullopt;
}

} // namespace velmora
