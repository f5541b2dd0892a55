#include "model/DocumentFiles.h"

#include "model/Clipboard.h"
#include "model/ImageDecoding.h"
#include "model/PlanetModel.h"
#include "render/PngWriter.h"

#include <QFileInfo>

namespace velmora {

namespace {

Result<QImage> renderOutput(PlanetModel& model) {
    if (!model.hasSource())
        return Failure{QStringLiteral("there is no picture")};
    return model.renderer().render(model.look(), model.sourceImage(), model.library(),
                                   model.outputSize());
}

} // namespace

Status loadImageFile(PlanetModel& model, const QString& path) {
    const Result<render::Image> decoded = decodeImageFile(path);
    if (!decoded)
        return decoded.failure();
    model.loadImage(*decoded, QFileInfo(path).completeBaseName());
    return {};
}

Status pasteFromClipboard(PlanetModel& model) {
    const Result<render::Image> pasted = imageFromClipboard();
    if (!pasted)
        return pasted.failure();
    model.loadImage(*pasted, QStringLiteral("Pasted"));
    return {};
}

QString defaultExportFileName(const PlanetModel& model) {
    return (model.sourceName().isEmpty() ? QStringLiteral("Planet") : model.sourceName()) +
           QStringLiteral("-velmora.png");
}

Status exportPNG(PlanetModel& model, const QString& path) {
    const Result<QImage> pixels = renderOutput(model);
    if (!pixels)
        return Failure{QStringLiteral("%1: %2").arg(path, pixels.message())};
    return render::writePngFile(*pixels, path);
}

Status copyToClipboard(PlanetModel& model) {
    const Result<QImage> pixels = renderOutput(model);
    if (!pixels)
        return pixels.failure();
    return copyImageToClipboard(*pixels);
}

} // namespace velmora
