#pragma once

#include "model/PlanetRenderer.h"

#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <ostream>

// Readable failure messages for Qt strings.
inline std::ostream& operator<<(std::ostream& os, const QString& s) {
    return os << '"' << s.toStdString() << '"';
}
inline std::ostream& operator<<(std::ostream& os, const QStringList& list) {
    os << '[';
    for (qsizetype i = 0; i < list.size(); ++i)
        os << (i ? ", " : "") << list[i];
    return os << ']';
}

namespace velmora::test {

/// The staged resources folder of the build tree (kernel module, artwork).
QString buildResources();

/// The renderer with the kernel from `resourcesRoot` (the build tree's by default);
/// the test run stops if it cannot be loaded.
PlanetRenderer renderer(const QString& resourcesRoot = buildResources());

/// A synthetic 360 panorama that wraps seamlessly: a yellow cap round the zenith
/// (top tenth), sky blue down to the horizon, ground whose hue goes once round the
/// colour wheel with the longitude (so it wraps), and a magenta cap round the nadir
/// (bottom tenth).
QImage testPanorama(int width, int height);

/// Known colours of testPanorama().
inline const QColor zenithColour{255, 220, 0};
inline const QColor skyColour{90, 160, 230};
inline const QColor nadirColour{220, 0, 200};

/// A PNG file whose header claims `width` x `height` pixels but holds no pixel data.
QByteArray pngHeaderOnly(quint32 width, quint32 height);
/// The same header followed, when `withData`, by the start of its pixel data: a file
/// whose size a decoder reads from the header before it finds the data missing.
QByteArray pngClaiming(quint32 width, quint32 height, bool withData = true);

/// `image` as JPEG bytes (quality -1 is Qt's default).
QByteArray jpegOf(const QImage& image, int quality = -1);
/// A JPEG of `image` with a restart marker forged into the middle of its scan: the
/// decoder recovers and says the data is damaged.
QByteArray damagedJpegOf(const QImage& image);

/// Largest per-channel difference, in 8-bit code values.
int channelDistance(QColor a, QColor b);
/// Mean absolute difference over all channels of two images of one size, in 8-bit
/// code values (both read as premultiplied ARGB32); infinity when the sizes differ.
double meanAbsoluteDifference(const QImage& a, const QImage& b);

/// A scratch folder that disappears with the object.
class TempTree {
public:
    TempTree();
    QString path() const { return m_dir.path(); }
    QString file(const QString& relative) const { return m_dir.filePath(relative); }
    /// Creates the folders leading to `relative` and writes a small PNG there.
    QString addPng(const QString& relative, QSize size = {8, 4},
                   QColor colour = QColor(255, 200, 100, 255)) const;
    /// Creates folders and writes arbitrary bytes.
    QString addFile(const QString& relative, const QByteArray& bytes) const;
    QString addDir(const QString& relative) const;

private:
    QTemporaryDir m_dir;
};

/// A resources folder with a small catalogue: Glows/orb.png (64 x 32),
/// Stickers/moon.png (40 x 40), and its kernel module when one is built.
class SampleResources : public TempTree {
public:
    SampleResources();
};

} // namespace velmora::test
