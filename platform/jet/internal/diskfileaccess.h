// DiskFileAccess: FileAccess on the local file system, through QFile, QFileInfo and QDir, with
// the system's own calls where Qt has none (flushing to the device, byte-range locks).
// Stateless: one object may serve any number of databases, one thread at a time.
#pragma once

#include "platform/jet/internal/fileaccess.h"

namespace tolvane::jet::internal {

class DiskFileAccess final : public FileAccess {
public:
    Result<std::unique_ptr<File>> open(const QString &path, OpenMode mode) override;
    bool exists(const QString &path) override;
    bool isWritable(const QString &path) override;
    Result<FileStamp> stamp(const QString &path) override;
    Status remove(const QString &path) override;
    // Atomic where the volume has hard links.
    Status rename(const QString &from, const QString &to) override;
    // rename(2); MoveFileEx with MOVEFILE_REPLACE_EXISTING on Windows.
    Status replace(const QString &from, const QString &to) override;
    // A no-op where folders cannot be flushed (Windows, where entries are durable on their own).
    Status syncFolder(const QString &folder) override;
    qint64 freeSpace(const QString &folder) override;
};

} // namespace tolvane::jet::internal
