// Writing a table of texts (a heading row and data rows) to a spreadsheet file: .xlsx through
// libxlsxwriter, or .csv as UTF-8 with a byte-order mark (so that spreadsheet programs read
// Japanese) and CRLF line ends. The file is written under a temporary name and renamed when
// complete, so a failure never leaves half a file. Reentrant.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include "platform/status.h"

namespace tolvane {

// Writes headings and rows to path, in the format its suffix names (xlsx or csv, any case).
// An existing file is replaced. InvalidArgument for another suffix; IOError when writing fails.
Status writeTable(const QString &path, const QStringList &headings, const QList<QStringList> &rows);

// One CSV line: fields quoted when they hold a comma, a quote or a line break (quotes doubled).
QString csvLine(const QStringList &fields);

} // namespace tolvane
