// Presence of connections: every open connection holds a shared lock on one byte of its file
// for as long as it stays open, so that work which replaces the whole file (compaction) can
// tell that nobody has the file open, and keeps newcomers out while it runs. The byte lies far
// past any page (a Jet file stops at 2 GB) and is only ever locked, never written.
#pragma once

#include <memory>

#include "platform/jet/internal/fileaccess.h"

namespace tolvane::jet::internal {

constexpr qint64 kPresenceOffset = 0x7FFFFF00;
constexpr qint64 kPresenceLength = 1;

// Opens path for reading and takes the shared presence lock. Null when the file cannot be
// opened or the system offers no locks there (the connection then goes unseen); Cancelled
// when the file is being replaced right now (someone holds the lock exclusively).
Result<std::unique_ptr<File>> announcePresence(FileAccess &files, const QString &path);

// Takes the presence lock exclusively on file (open for writing): true when no other
// connection has the file open, and none can announce itself until file is closed.
// IOError where the system offers no locks.
Result<bool> claimSoleUse(File &file);

} // namespace tolvane::jet::internal
