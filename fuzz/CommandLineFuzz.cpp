// The command line's text parsers: one --layer value, and a whole argument list (the
// input's lines). Whatever they accept must be usable as it stands.

#include "FuzzCheck.h"
#include "app/CommandLine.h"
#include "model/Settings.h"

#include <QStringList>

#include <cmath>
#include <cstddef>
#include <cstdint>

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    // The escaped form `layers` prints reads back as the id it came from.
    FUZZ_CHECK(cli::unescapedAssetID(cli::escapedAssetID(text)) == text);

    QString error;
    const std::optional<cli::LayerPlacement> layer = cli::parseLayerOption(text, &error);
    FUZZ_CHECK(layer.has_value() == error.isEmpty());
    if (layer) {
        FUZZ_CHECK(!layer->assetID.isEmpty());
        FUZZ_CHECK(std::isfinite(layer->at.x) && std::isfinite(layer->at.y));
        for (const std::optional<double>& value : {layer->scale, layer->rotation, layer->opacity})
            FUZZ_CHECK(!value || std::isfinite(*value));
    }

    const cli::Invocation invocation =
        cli::parse(QStringList{QStringLiteral("render")} + text.split(QLatin1Char('\n')));
    if (invocation.error.isEmpty() && invocation.command == cli::Invocation::Command::render) {
        const cli::RenderOptions& options = invocation.render;
        FUZZ_CHECK(options.size >= 1);
        for (const auto& [setting, value] : options.settings) {
            const SettingInfo& info = settingInfo(setting);
            FUZZ_CHECK(value >= info.minimum && value <= info.maximum);
        }
    }
    return 0;
}
