#include "render/CodecModule.h"

#include <QFileInfo>
#include <QLibrary>

namespace velmora::render {

Result<const void*> loadCodecModule(const QString& folder, const QString& name, const char* entry) {
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".so");
    if (folder.isEmpty() || !QFileInfo(path).isFile())
        return Failure{QStringLiteral("%1: no such file").arg(path)};
    // QLibrary never unloads on destruction, so what the module gives outlives this
    // object; loading it again only finds it loaded.
    QLibrary library(path);
    if (!library.load())
        return Failure{QStringLiteral("%1: %2").arg(path, library.errorString())};
    using Entry = const void* (*)();
    const auto get = reinterpret_cast<Entry>(library.resolve(entry));
    const void* module = get ? get() : nullptr;
    if (!module)
        return Failure{QStringLiteral("%1: it has no %2").arg(path, QLatin1String(entry))};
    return module;
}

} // namespace velmora::render
