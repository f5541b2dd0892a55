#include "model/Clipboard.h"

#include "model/ImageDecoding.h"
#include "render/PngWriter.h"

#include <QBuffer>
#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QImageWriter>
#include <QMimeData>

#include <utility>

namespace velmora {

namespace {

QClipboard* clipboard() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance())
               ? QGuiApplication::clipboard()
               : nullptr;
}

} // namespace

Result<render::Image> imageFromClipboard() {
    const QClipboard* board = clipboard();
    const QMimeData* mime = board ? board->mimeData() : nullptr;
    if (!mime)
        return Failure{QCoreApplication::translate("Clipboard", "the clipboard holds no picture")};
    for (const auto& [type, format] : {std::pair{"image/png", "png"}, {"image/tiff", "tiff"}}) {
        const QByteArray data = mime->data(QString::fromLatin1(type));
        if (data.isEmpty())
            continue;
        Result<render::Image> decoded = decodeImageData(data, format);
        if (decoded)
            return decoded;
        break; // undecodable data: fall back to the image object
    }
    if (!mime->hasImage())
        return Failure{QCoreApplication::translate("Clipboard", "the clipboard holds no picture")};
    QImage image = qvariant_cast<QImage>(mime->imageData());
    if (image.isNull())
        return Failure{QCoreApplication::translate("Clipboard",
                                                   "the picture on the clipboard cannot be read")};
    return render::Image::fromQImage(std::move(image));
}

Status copyImageToClipboard(const QImage& pixels) {
    QClipboard* board = clipboard();
    if (!board)
        return Failure{QCoreApplication::translate("Clipboard", "there is no clipboard")};
    const QByteArray png = render::encodePng(pixels);
    if (png.isEmpty())
        return Failure{QCoreApplication::translate(
            "Clipboard", "the picture could not be encoded for the clipboard")};
    auto* mime = new QMimeData;
    mime->setData(QStringLiteral("image/png"), png);
    QByteArray tiff;
    QBuffer buffer(&tiff);
    buffer.open(QIODevice::WriteOnly);
    if (QImageWriter(&buffer, "tiff").write(pixels))
        mime->setData(QStringLiteral("image/tiff"), tiff);
    board->setMimeData(mime);
    return {};
}

} // namespace velmora
