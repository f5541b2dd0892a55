#pragma once

#include "render/Image.h"
#include "render/RenderContext.h"
#include "render/Result.h"

#include <QByteArray>
#include <QIODevice>
#include <QImage>
#include <QString>

namespace velmora::render {

/// How the PNG is compressed. The defaults were chosen by measuring size against time
/// on rendered planets (README, Performance): the Up filter with ISA-L level 2 makes
/// files about 18 % larger than zlib's default level with libpng's adaptive filters,
/// thirty times faster. Adaptive filtering saves 4 % more for three times the time.
struct PngEncoding {
    /// Row filter: one for every row, or chosen per row by the smallest sum of
    /// absolute differences (what libpng calls adaptive).
    enum class Filter { none, sub, up, average, paeth, adaptive };
    Filter filter = Filter::up;
    /// Deflate effort, 0 (fastest) to 3.
    int level = 2;
    /// Rows compressed together; strips are compressed in parallel.
    int rowsPerStrip = 64;
    /// EXIF data (a TIFF structure, as in an eXIf chunk) to carry; none when empty.
    QByteArray exif{};
};

/// Writes `image` as an 8-bit RGBA PNG tagged sRGB (sRGB chunk, with gAMA and cHRM
/// for readers that only know those). The image is read as straight RGBA: a
/// Format_RGBA8888 image is used as it is, anything else is converted first.
/// Strips are filtered and deflated in parallel and written in order, so memory
/// beyond the image stays a few strips. Fails, saying why, when the device refuses
/// the data.
Status writePng(const QImage& image, QIODevice& device, const PngEncoding& encoding = {});

/// Writes the PNG to `path` atomically: a failure leaves no partial file and any
/// existing file as it was. Messages name the file.
Status writePngFile(const QImage& image, const QString& path, const PngEncoding& encoding = {});

/// Renders `area` of `image` and writes it as the same PNG, strip by strip: each
/// strip is rendered, filtered and deflated in parallel with the others and written
/// in order, so memory beyond the recipe's own stays a few strips at any size, and
/// the bytes are those of rendering the whole picture (straight 8-bit RGBA) and
/// writing it. `progress`, when given, counts strips.
Status writePng(const Image& image, const QRect& area, QIODevice& device,
                RenderProgress* progress = nullptr, const PngEncoding& encoding = {});
Status writePngFile(const Image& image, const QRect& area, const QString& path,
                    RenderProgress* progress = nullptr, const PngEncoding& encoding = {});

/// The same PNG in memory (for the clipboard).
QByteArray encodePng(const QImage& image, const PngEncoding& encoding = {});

} // namespace velmora::render
