#include "support/TestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace {

// CRC-32 as PNG uses it (reflected 0xEDB88320), kept tiny for crafting test files.
unsigned long crc32Of(const QByteArray& bytes) {
    unsigned long crc = 0xffffffffUL;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xedb88320UL & (0UL - (crc & 1UL)));
    }
    return crc ^ 0xffffffffUL;
}

} // namespace

namespace velmora::test {

QString buildResources() {
    return QStringLiteral(VELMORA_TEST_RESOURCES);
}

PlanetRenderer renderer(const QString& resourcesRoot) {
    Result<PlanetRenderer> loaded = PlanetRenderer::load(resourcesRoot);
    if (!loaded) {
        std::fprintf(stderr, "%s\n", qPrintable(loaded.message()));
        std::abort();
    }
    return std::move(loaded).value();
}

QImage testPanorama(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        const double v = (y + 0.5) / height;
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const double u = (x + 0.5) / width;
            QColor c;
            if (v < 0.1)
                c = zenithColour;
            else if (v < 0.5)
                c = skyColour;
            else if (v < 0.9)
                c = QColor::fromHsvF(static_cast<float>(u), 0.6f, 0.55f);
            else
                c = nadirColour;
            line[x] = c.rgb();
        }
    }
    return image;
}

QByteArray pngHeaderOnly(quint32 width, quint32 height) {
    return pngClaiming(width, height, false);
}

QByteArray jpegOf(const QImage& image, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", quality);
    return bytes;
}

QByteArray damagedJpegOf(const QImage& image) {
    QByteArray jpeg = jpegOf(image, 90);
    const qsizetype scan = jpeg.lastIndexOf(QByteArray("\xff\xda", 2));
    const qsizetype end = jpeg.lastIndexOf(QByteArray("\xff\xd9", 2));
    if (scan < 0 || end < scan)
        return {};
    const qsizetype middle = (scan + end) / 2;
    jpeg[middle] = '\xff';
    jpeg[middle + 1] = '\xd3';
    return jpeg;
}

QByteArray pngClaiming(quint32 width, quint32 height, bool withData) {
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    const auto chunk = [&](const char* type, const QByteArray& data) {
        QByteArray body = QByteArray(type, 4) + data;
        const quint32 crc = static_cast<quint32>(crc32Of(body));
        QByteArray out;
        out.append(static_cast<char>(data.size() >> 24))
            .append(static_cast<char>(data.size() >> 16));
        out.append(static_cast<char>(data.size() >> 8)).append(static_cast<char>(data.size()));
        out += body;
        for (int shift = 24; shift >= 0; shift -= 8)
            out.append(static_cast<char>(crc >> shift));
        png += out;
    };
    QByteArray ihdr;
    for (const quint32 v : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8)
            ihdr.append(static_cast<char>(v >> shift));
    ihdr.append("\x08\x06\x00\x00\x00", 5);
    chunk("IHDR", ihdr);
    if (withData) // one filtered row of zeros, as zlib data (qCompress adds a length)
        chunk("IDAT", qCompress(QByteArray(1 + 4 * std::min<quint32>(width, 4096), '\0')).mid(4));
    chunk("IEND", {});
    return png;
}

double meanAbsoluteDifference(const QImage& a, const QImage& b) {
    if (a.size() != b.size() || a.isNull())
        return std::numeric_limits<double>::infinity();
    const QImage x = a.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage y = b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    double sum = 0.0;
    for (int row = 0; row < x.height(); ++row) {
        const uchar* p = x.constScanLine(row);
        const uchar* q = y.constScanLine(row);
        for (int i = 0; i < 4 * x.width(); ++i)
            sum += std::abs(p[i] - q[i]);
    }
    return sum / (4.0 * x.width() * x.height());
}

int channelDistance(QColor a, QColor b) {
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                     std::abs(a.blue() - b.blue()), std::abs(a.alpha() - b.alpha())});
}

TempTree::TempTree() {
    m_dir.setAutoRemove(true);
}

QString TempTree::addDir(const QString& relative) const {
    const QString path = file(relative);
    QDir().mkpath(path);
    return path;
}

QString TempTree::addFile(const QString& relative, const QByteArray& bytes) const {
    const QString path = file(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile out(path);
    if (out.open(QIODevice::WriteOnly))
        out.write(bytes);
    return path;
}

QString TempTree::addPng(const QString& relative, QSize size, QColor colour) const {
    const QString path = file(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    image.save(path, "PNG");
    return path;
}

SampleResources::SampleResources() {
    addPng(QStringLiteral("Layers/Glows/orb.png"), {64, 32});
    addPng(QStringLiteral("Layers/Stickers/moon.png"), {40, 40});
    // The model needs its projection kernel, and videos and HEIF pictures their
    // codecs; borrow the build's.
    for (const QString& folder : {QStringLiteral("kernels"), QStringLiteral("codecs")}) {
        const QDir modules(buildResources() + QLatin1Char('/') + folder);
        if (!modules.exists())
            continue;
        addDir(folder);
        for (const QFileInfo& info : modules.entryInfoList(QDir::Files))
            QFile::copy(info.filePath(), file(folder + QLatin1Char('/') + info.fileName()));
    }
}

} // namespace velmora::test
