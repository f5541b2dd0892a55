#include "render/PendingFile.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace velmora::render {

PendingFile::PendingFile(QString target)
    : m_target(std::move(target)) {}

PendingFile::~PendingFile() {
    if (!m_path.isEmpty() && !m_committed)
        QFile::remove(m_path);
}

Status PendingFile::create() {
    const QFileInfo info(m_target);
    for (int attempt = 0; attempt < 16; ++attempt) {
        const QString candidate =
            info.absolutePath() +
            QStringLiteral("/.%1.%2.part")
                .arg(info.fileName())
                .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
        const int fd =
            ::open(QFile::encodeName(candidate).constData(), O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (fd >= 0) {
            ::close(fd);
            m_path = candidate;
            return {};
        }
        if (errno != EEXIST)
            return Failure{QStringLiteral("%1: %2").arg(
                m_target, QString::fromLocal8Bit(std::strerror(errno)))};
    }
    return Failure{QStringLiteral("%1: cannot make a temporary file beside it").arg(m_target)};
}

Status PendingFile::commit() {
    if (std::rename(QFile::encodeName(m_path).constData(),
                    QFile::encodeName(m_target).constData()) != 0)
        return Failure{
            QStringLiteral("%1: %2").arg(m_target, QString::fromLocal8Bit(std::strerror(errno)))};
    m_committed = true;
    return {};
}

} // namespace velmora::render
