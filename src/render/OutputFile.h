#pragma once

#include "render/Image.h"
#include "render/RenderContext.h"
#include "render/Result.h"

#include <QRect>
#include <QString>

#include <optional>

namespace velmora::render {

/// The file formats a planet is written in.
enum class OutputFormat {
    png,          ///< 8-bit RGBA, our strip-rendered writer
    png16,        ///< 16-bit RGBA, for further editing
    jpeg,         ///< 8-bit RGB (alpha dropped), quality 1 to 100
    webp,         ///< lossy, quality 1 to 100
    webpLossless, ///< lossless
    tiff16,       ///< 16-bit RGBA, LZW
};

struct OutputEncoding {
    OutputFormat format = OutputFormat::png;
    /// JPEG and lossy WebP.
    int quality = 92;
    /// EXIF to carry (a TIFF structure); PNG, JPEG and WebP hold it, the 16-bit
    /// formats (written by Qt) do not.
    QByteArray exif{};
};

/// WebP cannot hold a side longer than this.
inline constexpr int maxWebpSide = 16383;

/// The format a file name's suffix asks for (png, jpg, jpeg, webp, tif, tiff; any
/// case): PNG and WebP as their plain kind, TIFF at 16 bits. Nothing for others.
std::optional<OutputFormat> outputFormatForSuffix(const QString& suffix);
/// The suffix files of the format get ("png", "jpg", "webp", "tif").
QString suffixOf(OutputFormat format);

/// Renders `area` of `image` and writes it to `path` in the encoding's format,
/// atomically: a failure leaves no partial file and any existing file intact.
/// Messages name the file. PNG and JPEG are rendered strip by strip as they are
/// written; WebP and the 16-bit formats need the whole picture at once.
Status writeOutputFile(const Image& image, const QRect& area, const QString& path,
                       const OutputEncoding& encoding, RenderProgress* progress = nullptr);

} // namespace velmora::render
