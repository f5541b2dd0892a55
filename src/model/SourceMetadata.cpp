#include "model/SourceMetadata.h"

#include <QFile>

#include <exiv2/exiv2.hpp>

#include <exception>
#include <mutex>

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

} // namespace velmora
