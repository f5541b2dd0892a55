// Any bytes as a saved look: a look or a failure in words. What is read is within
// the ranges the rest of the program accepts, and saving it reads back the same.

#include "FuzzCheck.h"
#include "model/LookFile.h"

#include <QByteArray>

#include <cmath>
#include <cstddef>
#include <cstdint>

using namespace velmora;

namespace {

Look withoutIDs(Look look) {
    for (PlacedLayer& layer : look.layers)
        layer.id = QUuid();
    return look;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const Result<LoadedLook> read = lookFromJson(json, nullptr, QStringLiteral("fuzz.look"));
    if (!read) {
        FUZZ_CHECK(read.message().startsWith(QStringLiteral("fuzz.look: ")));
        return 0;
    }
    const Look& look = read->look;
    for (const SettingInfo& info : settingsTable()) {
        const double value = look.value(info.setting);
        FUZZ_CHECK(value >= info.minimum && value <= info.maximum);
    }
    for (const PlacedLayer& layer : look.layers) {
        FUZZ_CHECK(!layer.assetID.isEmpty() && !layer.id.isNull());
        FUZZ_CHECK(std::isfinite(layer.center.x) && std::isfinite(layer.center.y));
        FUZZ_CHECK(std::isfinite(layer.scale) && std::isfinite(layer.rotation));
        FUZZ_CHECK(layer.opacity >= 0.0 && layer.opacity <= 1.0);
    }
    const Result<LoadedLook> again =
        lookFromJson(lookToJson(look), nullptr, QStringLiteral("again"));
    FUZZ_CHECK(again.ok());
    FUZZ_CHECK(withoutIDs(again->look) == withoutIDs(look));
    return 0;
}
