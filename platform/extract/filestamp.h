// What the full-text index remembers of a file to know whether its text may have changed: its
// size and modification time. Cheap: one status call per file. Thread-safe.
#pragma once

#include <QString>

namespace tolvane::extract {

struct FileStamp {
    bool exists = false; // a regular file
    qint64 size = 0;
    qint64 modifiedNs = 0; // nanoseconds since the epoch, as precise as the file system keeps it
    bool operator==(const FileStamp &) const = default;
};

FileStamp fileStamp(const QString &path);

} // namespace tolvane::extract
