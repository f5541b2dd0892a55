#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora::test {

QString buildResources() {
    return QStringLiteral(VELMORA_TEST_RESOURCES);
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
    // The model needs its projection kernel; borrow the build's.
    const QDir kernels(buildResources() + QStringLiteral("/kernels"));
    if (kernels.exists()) {
        addDir(QStringLiteral("kernels"));
        for (const QFileInfo& info : kernels.entryInfoList(QDir::Files))
            QFile::copy(info.filePath(), file(QStringLiteral("kernels/") + info.fileName()));
    }
}

} // namespace velmora::test
