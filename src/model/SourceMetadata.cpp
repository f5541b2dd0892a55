#include "model/SourceMetadata.h"

#include <QFile>

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>
#include <optional>

namespace velmora {

namespace {

// The keys that say when and with what the picture was taken.
const char* const carriedKeys[] = {
    "Exif.Photo.DateTimeOriginal",
    "Exif.Photo.DateTimeDigitized",
    "Exif.Photo.OffsetTimeOriginal",
    "Exif.Image.Make",
    "Exif.Image.Model",
    "Exif.Photo.LensMake",
    "Exif.Photo.LensModel",
};

} // namespace

QByteArray carriedExif(const QString& sourcePath) {
    // Exiv2 writes its warnings to standard error; a damaged tag is not the user's
    // business here.
    static std::once_flag quiet;
    std::call_once(quiet, [] { Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute); });
    try {
        const auto image = Exiv2::ImageFactory::open(QFile::encodeName(sourcePath).toStdString());
        if (!image.get())
            return {};
        image->readMetadata();
        const Exiv2::ExifData& source = image->exifData();
        Exiv2::ExifData carried;
        for (const char* key : carriedKeys) {
            const auto found = source.findKey(Exiv2::ExifKey(key));
            if (found != source.end())
                carried.add(*found);
        }
        if (carried.empty())
            return {};
        carried["Exif.Image.Software"] = "Velmora";
        Exiv2::Blob blob;
        Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, carried);
        return QByteArray(reinterpret_cast<const char*>(blob.data()),
                          static_cast<qsizetype>(blob.size()));
    } catch (const std::exception&) {
        return {};
    }
}

render::SpherePlacement spherePlacement(const QString& sourcePath) {
    static std::once_flag quiet;
    std::call_once(quiet, [] { Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute); });
    render::SpherePlacement placement;
    try {
        const auto image = Exiv2::ImageFactory::open(QFile::encodeName(sourcePath).toStdString());
        if (!image.get())
            return placement;
        image->readMetadata();
        const Exiv2::XmpData& xmp = image->xmpData();
        const auto number = [&xmp](const char* name) -> std::optional<double> {
            const auto found = xmp.findKey(Exiv2::XmpKey(std::string("Xmp.GPano.") + name));
            if (found == xmp.end())
                return std::nullopt;
            const QString text = QString::fromStdString(found->toString()).trimmed();
            bool ok = false;
            const double value = text.toDouble(&ok);
            return ok && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
        };
        const auto projection = xmp.findKey(Exiv2::XmpKey("Xmp.GPano.ProjectionType"));
        if (projection != xmp.end() &&
            QString::fromStdString(projection->toString())
                    .compare(QLatin1String("equirectangular"), Qt::CaseInsensitive) != 0)
            return placement;
        const std::optional<double> fullHeight = number("FullPanoHeightPixels");
        const std::optional<double> top = number("CroppedAreaTopPixels");
        const std::optional<double> height = number("CroppedAreaImageHeightPixels");
        if (fullHeight && top && height && *fullHeight > 0.0 && *height > 0.0 && *top >= 0.0 &&
            *top + *height <= *fullHeight + 0.5) {
            placement.top = *top / *fullHeight;
            placement.height = std::min(*height, *fullHeight - *top) / *fullHeight;
        }
        const std::optional<double> fullWidth = number("FullPanoWidthPixels");
        const std::optional<double> left = number("CroppedAreaLeftPixels");
        const std::optional<double> width = number("CroppedAreaImageWidthPixels");
        if (fullWidth && left && width && *fullWidth > 0.0 && *width > 0.0 && *left >= 0.0 &&
            *width <= *fullWidth + 0.5) {
            // The cropped area may run past the full width's end: it wraps.
            placement.left = std::fmod(*left, *fullWidth) / *fullWidth;
            placement.width = std::min(*width / *fullWidth, 1.0);
        }
        placement.pitchDegrees = std::clamp(number("PosePitchDegrees").value_or(0.0), -90.0, 90.0);
        placement.rollDegrees = std::clamp(number("PoseRollDegrees").value_or(0.0), -180.0, 180.0);
    } catch (const std::exception&) {
        return {};
    }
    return placement;
}

} // namespace velmora
