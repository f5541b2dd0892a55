#include "layers/PlacedLayer.h"

#include <array>

namespace velmora {

bool isScreenCategory(const QString& category) {
    static const std::array<QString, 6> screenCategories{
        QStringLiteral("overlays"),   QStringLiteral("overlay"), QStringLiteral("lens flares"),
        QStringLiteral("lensflares"), QStringLiteral("flares"),  QStringLiteral("glows")};
    const QString lowered = category.toLower();
    for (const QString& word : screenCategories) {
        if (lowered == word)
            return true;
    }
    return false;
}

} // namespace velmora
