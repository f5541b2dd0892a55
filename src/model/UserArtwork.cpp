#include "model/UserArtwork.h"

#include "render/DecodeBudget.h"
#include "render/PngWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>

namespace velmora {

namespace {

/// A free name for `base` in `folder`: "logo.png", then "logo 2.png", ...
QString freePngName(const QDir& folder, const QString& base) {
    QString name = base + QStringLiteral(".png");
    for (int n = 2; folder.exists(name); ++n)
        name = QStringLiteral("%1 %2.png").arg(base).arg(n);
    return folder.filePath(name);
}

/// The bytes of `from` into `to`, atomically.
Status copyWhole(const QString& from, const QString& to) {
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return Failure{source.errorString()};
    QSaveFile target(to);
    if (!target.open(QIODevice::WriteOnly))
        return Failure{target.errorString()};
    while (!source.atEnd()) {
        const QByteArray chunk = source.read(1 << 20);
        if (chunk.isEmpty() && source.error() != QFileDevice::NoError)
            return Failure{source.errorString()};
        if (target.write(chunk) != chunk.size())
            return Failure{target.errorString()};
    }
    if (!target.commit())
        return Failure{target.errorString()};
    return {};
}

/// The file written into `folder`; a refusal names `path`.
Result<QString> importOne(const QString& path, const QDir& folder) {
    const auto refuse = [&](const QString& why) {
        return Failure{QStringLiteral("%1: %2").arg(path, why)};
    };
    const QFileInfo info(path);
    if (!info.isFile())
        return refuse(QCoreApplication::translate("UserArtwork", "not a regular file"));
    QImageReader reader(path);
    const QByteArray format = reader.format();
    const bool svg = format == "svg" || format == "svgz";
    if (svg) {
        const QSize nominal = reader.size();
        if (nominal.isEmpty())
            return refuse(QCoreApplication::translate("UserArtwork", "the drawing has no size"));
        reader.setScaledSize(nominal.scaled(svgImportSide, svgImportSide, Qt::KeepAspectRatio));
    } else if (const Status fits =
                   render::checkClaimedSize(reader, info.size(), render::maxArtworkPixels, path);
               !fits) {
        return Failure{fits.message()};
    }
    const QImage image = reader.read();
    if (image.isNull())
        return refuse(reader.errorString());
    if (const Status made = render::checkDecodedSize(image, render::maxArtworkPixels, path); !made)
        return made.failure();
    const QString target = freePngName(folder, info.completeBaseName());
    // A PNG keeps its bytes (16 bits, its profile); the rest are written as PNG.
    const Status written =
        format == "png"
            ? copyWhole(path, target)
            : render::writePngFile(image.convertToFormat(QImage::Format_RGBA8888), target);
    if (!written)
        return refuse(written.message());
    return target;
}

} // namespace

QStringList artworkImportSuffixes() {
    return {QStringLiteral("png"), QStringLiteral("svg"),  QStringLiteral("webp"),
            QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("tif"),
            QStringLiteral("tiff")};
}

ArtworkImport importArtwork(const QStringList& files, const QString& category,
                            const QString& userFolder) {
    ArtworkImport result;
    const QString name =
        category.trimmed().isEmpty() ? defaultArtworkCategory.toString() : category.trimmed();
    QDir folder(userFolder);
    const bool existed = folder.exists(name);
    if (userFolder.isEmpty() || !folder.mkpath(name)) {
        for (const QString& file : files)
            result.refused.append(QStringLiteral("%1: the library folder %2 cannot be made")
                                      .arg(file, QDir(userFolder).filePath(name)));
        return result;
    }
    folder.cd(name);
    for (const QString& file : files) {
        if (const Result<QString> done = importOne(file, folder))
            result.added.append(*done);
        else
            result.refused.append(done.message());
    }
    // A category made for files that were all refused goes again.
    if (!existed && result.added.isEmpty())
        QDir(userFolder).rmdir(name);
    return result;
}

ArtworkRemoval trashArtwork(const LayerAsset& asset) {
    if (!asset.isUser)
        return ArtworkRemoval::failed;
    QFile file(asset.filePath());
    if (!file.exists())
        return ArtworkRemoval::failed;
    return file.moveToTrash() ? ArtworkRemoval::trashed : ArtworkRemoval::noTrash;
}

Status deleteArtwork(const LayerAsset& asset) {
    if (!asset.isUser)
        return Failure{
            QCoreApplication::translate("UserArtwork", "%1: shipped artwork cannot be removed")
                .arg(asset.name)};
    QFile file(asset.filePath());
    if (!file.remove())
        return Failure{QStringLiteral("%1: %2").arg(asset.filePath(), file.errorString())};
    return {};
}

} // namespace velmora
