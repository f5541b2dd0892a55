#include "layers/LayerLibrary.h"

#include "layers/DebugLog.h"
#include "render/DecodeBudget.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace velmora {

namespace fs = std::filesystem;

namespace {

QString decodedName(const fs::path& path) {
    return QFile::decodeName(QByteArray::fromStdString(path.filename().string()));
}

QString joinPath(const QString& folder, const QString& name) {
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

bool passesPngTest(const QString& fileName) {
    return QFileInfo(fileName).suffix().toLower() == QLatin1String("png");
}

QString baseName(const QString& fileName) {
    return QFileInfo(fileName).completeBaseName();
}

struct Entry {
    QString name;
    bool isDirectory = false;
};

/// Direct entries of `folder`, hidden ones included. Returns false when the folder
/// cannot be listed. An entry whose type cannot be read counts as a file.
bool listEntries(const QString& folder, QList<Entry>& out) {
    std::error_code ec;
    fs::directory_iterator it(fs::path(QFile::encodeName(folder).toStdString()), ec);
    if (ec)
        return false;
    for (const fs::directory_iterator end; it != end; it.increment(ec)) {
        if (ec)
            return false;
        std::error_code typeError;
        const bool isDirectory = it->is_directory(typeError);
        out.append({decodedName(it->path()), isDirectory && !typeError});
    }
    return true;
}

/// PNG files directly inside `folder`, in file order; empty when it cannot be listed.
QStringList pngFiles(const QString& folder) {
    QList<Entry> entries;
    QStringList files;
    if (!listEntries(folder, entries))
        return files;
    for (const Entry& entry : entries) {
        if (passesPngTest(entry.name))
            files.append(joinPath(folder, entry.name));
    }
    std::sort(files.begin(), files.end(), [](const QString& a, const QString& b) {
        return LayerLibrary::fileOrderLess(QFileInfo(a).fileName(), QFileInfo(b).fileName());
    });
    return files;
}

/// Category word of a loose file in the resources root: the first non-empty piece
/// of its base name split at "_", or "Layers" when it has no "_" (or only "_").
QString fallbackCategory(const QString& fileName) {
    const QString base = baseName(fileName);
    if (!base.contains(QLatin1Char('_')))
        return QStringLiteral("Layers");
    qsizetype start = 0;
    while (start < base.size() && base.at(start) == QLatin1Char('_'))
        ++start;
    if (start == base.size())
        return QStringLiteral("Layers");
    const qsizetype end = base.indexOf(QLatin1Char('_'), start);
    return base.mid(start, end < 0 ? -1 : end - start);
}

} // namespace

bool LayerLibrary::fileOrderLess(const QString& a, const QString& b) {
    const QList<uint> ua = a.normalized(QString::NormalizationForm_C).toUcs4();
    const QList<uint> ub = b.normalized(QString::NormalizationForm_C).toUcs4();
    return std::lexicographical_compare(ua.begin(), ua.end(), ub.begin(), ub.end());
}

LayerLibrary::LayerLibrary(const QString& resourcesRoot, const QString& userFolder)
    : m_userFolder(userFolder) {
    const QString candidate =
        resourcesRoot.isEmpty() ? QString() : joinPath(resourcesRoot, QStringLiteral("Layers"));
    if (!candidate.isEmpty() && QFileInfo::exists(candidate)) {
        debugLog(QStringLiteral("Layers folder: ") + candidate);
        scanLayersFolder(candidate, false);
    } else {
        scanLoosePNGs(resourcesRoot);
    }
    m_shippedAssets = m_assets.size();
    m_shippedCategories = m_categories.size();
    rescanUserFolder();
    debugLog(QStringLiteral("Total: %1 layers in %2 categories")
                 .arg(m_assets.size())
                 .arg(m_categories.size()));
}

void LayerLibrary::forget(const QString& id) {
    m_displayCache.remove(id);
    m_displayLevels.remove(id);
    m_renderCache.remove(id);
}

void LayerLibrary::rescanUserFolder() {
    for (qsizetype i = m_shippedAssets; i < m_assets.size(); ++i)
        forget(m_assets[i].id);
    m_assets.resize(m_shippedAssets);
    m_categories.resize(m_shippedCategories);
    if (m_userFolder.isEmpty() || !QFileInfo(m_userFolder).isDir())
        return;
    debugLog(QStringLiteral("User artwork: ") + m_userFolder);
    scanLayersFolder(m_userFolder, true);
}

const LayerAsset* LayerLibrary::addFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.isFile())
        return nullptr;
    const QString id = info.absoluteFilePath();
    if (const LayerAsset* known = asset(id))
        return known;
    m_assets.append({id, info.completeBaseName(), QString(), QUrl::fromLocalFile(id)});
    return &m_assets.back();
}

void LayerLibrary::scanLayersFolder(const QString& folder, bool user) {
    QList<Entry> entries;
    if (!listEntries(folder, entries))
        return;
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return fileOrderLess(a.name, b.name); });

    QStringList looseFiles;
    for (const Entry& entry : entries) {
        if (entry.isDirectory) {
            const QStringList files = pngFiles(joinPath(folder, entry.name));
            if (files.isEmpty()) {
                debugLog(QStringLiteral("  '") + entry.name +
                         QStringLiteral("': no PNGs, skipped"));
            } else {
                addCategory(entry.name, files, user);
                debugLog(QStringLiteral("  '%1': %2 layers").arg(entry.name).arg(files.size()));
            }
        } else if (passesPngTest(entry.name)) {
            looseFiles.append(joinPath(folder, entry.name));
        }
    }
    if (!looseFiles.isEmpty()) {
        // Already in file order: the entries were sorted by the same rule.
        addCategory(QStringLiteral("Layers"), looseFiles, user);
        debugLog(QStringLiteral("  (loose) %1 layers directly in Layers/").arg(looseFiles.size()));
    }
}

void LayerLibrary::scanLoosePNGs(const QString& root) {
    if (root.isEmpty())
        return;
    debugLog(QStringLiteral("No Layers folder; scanning loose PNGs in ") + root);
    const QStringList files = pngFiles(root);
    if (files.isEmpty())
        return;

    QStringList words;
    QHash<QString, QStringList> groups;
    for (const QString& file : files) {
        const QString word = fallbackCategory(QFileInfo(file).fileName());
        if (!groups.contains(word))
            words.append(word);
        groups[word].append(file);
    }
    std::sort(words.begin(), words.end(), fileOrderLess);
    for (const QString& word : words) {
        const QStringList& group = groups[word];
        addCategory(word, group, false);
        debugLog(QStringLiteral("  '%1': %2 layers").arg(word).arg(group.size()));
    }
}

void LayerLibrary::addCategory(const QString& name, const QStringList& files, bool user) {
    // The user's category of a shipped name joins it: one chip, shipped art first.
    if (!user || !m_categories.contains(name))
        m_categories.append(name);
    const QString prefix = name + QLatin1Char('_');
    const QString idStart = (user ? userPrefix.toString() : QString()) + name + QLatin1Char('/');
    for (const QString& file : files) {
        const QString fileName = QFileInfo(file).fileName();
        QString displayName = baseName(fileName);
        if (displayName.startsWith(prefix))
            displayName.remove(0, prefix.size());
        m_assets.append({idStart + fileName, displayName, name, QUrl::fromLocalFile(file), user});
    }
}

QList<LayerAsset> LayerLibrary::assets(const QString& category) const {
    QList<LayerAsset> result;
    for (const LayerAsset& asset : m_assets) {
        if (asset.category == category)
            result.append(asset);
    }
    return result;
}

const LayerAsset* LayerLibrary::asset(const QString& id) const {
    for (const LayerAsset& asset : m_assets) {
        if (asset.id == id)
            return &asset;
    }
    return nullptr;
}

namespace {

/// The artwork file's picture; null for anything but a regular file that decodes
/// (a pipe named like artwork would otherwise be waited on for ever).
QImage readArtwork(const QString& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(std::filesystem::path(path.toStdString()), error))
        return {};
    QImageReader reader(path);
    if (!render::checkClaimedSize(reader, QFileInfo(path).size(), render::maxArtworkPixels, path))
        return {};
    QImage image = reader.read();
    if (!render::checkDecodedSize(image, render::maxArtworkPixels, path))
        return {};
    return image;
}

} // namespace

QImage LayerLibrary::displayImage(const QString& id) {
    if (const auto cached = m_displayCache.constFind(id); cached != m_displayCache.constEnd())
        return *cached;
    const LayerAsset* found = asset(id);
    if (!found)
        return {};
    QImage image = readArtwork(found->filePath());
    if (image.isNull())
        return {};
    image = std::move(image).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    m_displayCache.insert(id, image);
    return image;
}

QImage LayerLibrary::displayImage(const QString& id, int minWidth) {
    const QImage full = displayImage(id);
    if (full.isNull())
        return full;
    QList<QImage>& levels = m_displayLevels[id];
    QImage current = full;
    for (int i = 0;; ++i) {
        const int half = current.width() / 2;
        if (half < std::max(minWidth, 1) || current.height() < 2)
            return current;
        if (i >= levels.size()) {
            levels.append(current.scaled(half, std::max(1, current.height() / 2),
                                         Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        }
        current = levels[i];
    }
}

std::optional<render::Image> LayerLibrary::renderImage(const QString& id) {
    if (const auto cached = m_renderCache.constFind(id); cached != m_renderCache.constEnd())
        return *cached;
    const LayerAsset* found = asset(id);
    if (!found)
        return std::nullopt;
    render::Image image = render::Image::fromQImage(readArtwork(found->filePath()));
    if (image.isEmpty())
        return std::nullopt;
    m_renderCache.insert(id, image);
    return image;
}

} // namespace velmora
