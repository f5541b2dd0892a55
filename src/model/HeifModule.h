#pragma once

#include "render/Result.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <array>
#include <functional>
#include <optional>

namespace velmora {

/// A picture as the HEIF module decoded it: upright, 8-bit RGBA(X) or RGBA64, with
/// the colours its file names as an ICC profile or as the primaries and white point
/// (x, y of red, green, blue, white) of an nclx description.
struct HeifDecoded {
    QImage image;
    QByteArray icc;
    std::optional<std::array<float, 8>> primaries;
};

/// Whether a picture of `size` (deeper than 8 bits or not) may be decoded.
using HeifSizeCheck = std::function<Status(QSize size, bool deep)>;

/// What the HEIF module (libheif, loaded on first use) gives.
struct HeifModule {
    static constexpr int currentAbiVersion = 1;
    int abiVersion;
    /// Whether the file's first bytes are a HEIF or AVIF picture libheif reads.
    bool (*looksLikeHeif)(const QByteArray& head);
    /// Decodes the primary picture, asking `fits` before a pixel is decoded.
    Result<HeifDecoded> (*decode)(const QByteArray& data, const HeifSizeCheck& fits,
                                  const QString& what);
};

} // namespace velmora
