// Files whose names the program cannot represent. On a disk whose names are bytes (Linux, and
// shares written by old Windows machines), a name in Latin-1 or Shift_JIS is not valid UTF-8:
// it decodes to text that names no file, so such files cannot be listed, shown or registered.
// They are found here so that what skips them can say so. Elsewhere (Windows: names are UTF-16)
// the list is always empty.
#pragma once

#include <QStringList>

namespace tolvane {

// The regular files of folder whose names do not survive decoding, each as readable text (the
// undecodable bytes shown as U+FFFD), sorted. Empty when the folder cannot be read.
QStringList unreadableFileNames(const QString &folder);

// Whether path names a file exactly as typed: false when its text holds a character that stands
// for undecodable bytes (U+FFFD), since creating or opening it would reach another file.
bool isFaithfulPath(const QString &path);

} // namespace tolvane
