#include "model/HeifDecoding.h"

#include "model/ColorProfile.h"
#include "model/HeifModule.h"
#include "model/Resources.h"
#include "render/CodecModule.h"
#include "render/DecodeBudget.h"

namespace velmora {

namespace {

Result<const HeifModule*> heifModule() {
    return render::codecModule<HeifModule>(codecFolder(), QStringLiteral("heif"),
                                           "velmoraHeifModule");
}

} // namespace

bool looksLikeHeif(const QByteArray& head) {
    // Every HEIF and AVIF file opens with an ISO media "ftyp" box; anything else is
    // answered without loading the decoder. Without the module such a file is taken
    // for one, and decoding it says what is missing.
    if (head.size() < 12 || head.mid(4, 4) != "ftyp")
        return false;
    const Result<const HeifModule*> module = heifModule();
    return !module || (*module)->looksLikeHeif(head);
}

Result<HeifPicture> decodeHeif(const QByteArray& data, qint64 maxPixels, const QString& what) {
    const Result<const HeifModule*> module = heifModule();
    if (!module)
        return Failure{QStringLiteral("%1: cannot read HEIF or AVIF pictures (%2)")
                           .arg(what, module.message())};
    const auto fits = [&](QSize size, bool deep) -> Status {
        if (const Status held = render::checkDataHolds(size, data.size(), what); !held)
            return held;
        return render::checkPixelLimit(size, deep ? 8 : 4, maxPixels, what);
    };
    Result<HeifDecoded> decoded = (*module)->decode(data, fits, what);
    if (!decoded)
        return decoded.failure();
    HeifPicture picture{std::move(decoded->image), std::move(decoded->icc)};
    if (const std::optional<std::array<float, 8>>& p = decoded->primaries)
        picture.icc =
            rgbProfile((*p)[0], (*p)[1], (*p)[2], (*p)[3], (*p)[4], (*p)[5], (*p)[6], (*p)[7]);
    return picture;
}

} // namespace velmora
