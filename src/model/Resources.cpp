#include "model/Resources.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace velmora {

namespace {

QString& overrideRoot() {
    static QString root;
    return root;
}

QString& overrideUserFolder() {
    static QString folder;
    return folder;
}

QString executableDir() {
    if (QCoreApplication::instance())
        return QCoreApplication::applicationDirPath();
    // Without an application object (early in main, some tools) ask the kernel.
    return QFileInfo(QStringLiteral("/proc/self/exe"))
        .canonicalFilePath()
        .section(QLatin1Char('/'), 0, -2);
}

} // namespace

QString resourcesRoot() {
    if (!overrideRoot().isEmpty())
        return overrideRoot();
    const QString fromEnv = qEnvironmentVariable("VELMORA_RESOURCES");
    if (!fromEnv.isEmpty())
        return fromEnv;
    const QDir exeDir(executableDir());
    for (const QString& relative :
         {QStringLiteral("resources"), QStringLiteral("../share/velmora")}) {
        const QString candidate = QDir::cleanPath(exeDir.filePath(relative));
        if (QFileInfo(candidate).isDir())
            return candidate;
    }
    return {};
}

void setResourcesRoot(const QString& path) {
    overrideRoot() = path;
}

QString codecFolder() {
    const QString root = resourcesRoot();
    return root.isEmpty() ? QString() : root + QStringLiteral("/codecs");
}

QString userArtworkFolder() {
    if (!overrideUserFolder().isEmpty())
        return overrideUserFolder();
    // Qt reads XDG_DATA_HOME and falls back to ~/.local/share, as the XDG rules have it.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return data.isEmpty() ? QString() : data + QStringLiteral("/velmora/Layers");
}

void setUserArtworkFolder(const QString& path) {
    overrideUserFolder() = path;
}

} // namespace velmora
