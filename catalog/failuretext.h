// Why a catalogue operation failed, in words a user can act on. The engine's own messages are
// for logs; what the window shows is one of these sentences.
#pragma once

#include <QString>

#include "platform/status.h"

namespace tolvane::catalog {

// One sentence naming the kind of failure (read-only catalogue, file not writable, value
// refused, damaged catalogue...). Empty for an ok status.
QString failureReason(const Status &status);

} // namespace tolvane::catalog
