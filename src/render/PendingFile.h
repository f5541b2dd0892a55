#pragma once

#include "render/Result.h"

#include <QString>

namespace velmora::render {

/// A file beside `target` that becomes it on commit(), by a rename that replaces the
/// old file in one step; removed unless committed. Made with the usual permissions
/// (0666 less the umask), as the target would have been.
class PendingFile {
public:
    explicit PendingFile(QString target);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    /// Makes the empty file beside the target, under a name no other writer has.
    Status create();
    const QString& path() const { return m_path; }
    const QString& target() const { return m_target; }
    /// Puts the file in place of the target.
    Status commit();

private:
    QString m_target;
    QString m_path;
    bool m_committed = false;
};

} // namespace velmora::render
