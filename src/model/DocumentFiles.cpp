#include "model/DocumentFiles.h"

#include "model/Clipboard.h"
#include "model/ImageDecoding.h"
#include "model/PlanetModel.h"
#include "model/SourceMetadata.h"
#include "render/PngWriter.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace velmora {

Status loadImageFile(PlanetModel& model, const QString& path, QStringList* warnings) {
    const Result<render::Image> decoded = decodeImageFile(path, warnings);
    if (!decoded)
        return decoded.failure();
    model.loadImage(*decoded, QFileInfo(path).completeBaseName());
    model.setSourceExif(carriedExif(path));
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

Result<OutputSnapshot> snapshotOutput(PlanetModel& model) {
    if (!model.hasSource())
        return Failure{QCoreApplication::translate("DocumentFiles", "there is no picture")};
    const int side = model.outputSize();
    if (side < 1 || side > PlanetRenderer::maxOutputSide)
        return Failure{QCoreApplication::translate("DocumentFiles",
                                                   "a side of %1 pixels is beyond the %2 an "
                                                   "output may have")
                           .arg(side)
                           .arg(PlanetRenderer::maxOutputSide)};
    Result<render::Image> planet =
        model.renderer().planet(model.look(), model.sourceImage(), model.library(), side);
    if (!planet)
        return planet.failure();
    return OutputSnapshot{model.renderer(), std::move(planet).value(), side, model.sourceExif()};
}

Result<QImage> OutputSnapshot::render(render::RenderProgress* progress) const {
    return renderer.renderPixels(planet, side, progress);
}

Status OutputSnapshot::write(const QString& path, const render::OutputEncoding& encoding,
                             render::RenderProgress* progress) const {
    render::OutputEncoding carrying = encoding;
    if (carrying.exif.isEmpty())
        carrying.exif = exif;
    return render::writeOutputFile(planet, QRect(0, 0, side, side), path, carrying, progress);
}

Status exportPNG(PlanetModel& model, const QString& path) {
    const Result<OutputSnapshot> snapshot = snapshotOutput(model);
    if (!snapshot)
        return Failure{QStringLiteral("%1: %2").arg(path, snapshot.message())};
    return snapshot->write(path);
}

Status copyToClipboard(PlanetModel& model) {
    const Result<OutputSnapshot> snapshot = snapshotOutput(model);
    if (!snapshot)
        return snapshot.failure();
    const Result<QImage> pixels = snapshot->render();
    if (!pixels)
        return pixels.failure();
    return copyImageToClipboard(*pixels);
}

} // namespace velmora
