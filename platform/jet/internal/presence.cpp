#include "platform/jet/internal/presence.h"

namespace tolvane::jet::internal {

Result<std::unique_ptr<File>> announcePresence(FileAccess &files, const QString &path)
{
    Result<std::unique_ptr<File>> file = files.open(path, FileAccess::OpenMode::Read);
    if (!file)
        return std::unique_ptr<File>();
    Result<bool> locked = (*file)->tryLock(File::LockKind::Shared, kPresenceOffset, kPresenceLength);
    if (!locked)
        return std::unique_ptr<File>();
    if (!*locked)
        return Status::cancelled(QStringLiteral("the file is being replaced"));
    return file.take();
}

Result<bool> claimSoleUse(File &file)
{
    return file.tryLock(File::LockKind::Exclusive, kPresenceOffset, kPresenceLength);
}

} // namespace tolvane::jet::internal
