// The catalogue's nine tables: names, columns in order, and the rows a new catalogue starts with.
#pragma once

#include "platform/jet/types.h"

namespace tolvane::catalog {

// Table names as stored in the file.
inline const QString kDbidTable = QStringLiteral("DBID");
inline const QString kFileAtrTable = QStringLiteral("FILE_ATR");
inline const QString kBinderTable = QStringLiteral("BINDER");
inline const QString kBinderNameTable = QStringLiteral("BINDER_NAME");
inline const QString kPathNameTable = QStringLiteral("PATH_NAME");
inline const QString kFileRevTable = QStringLiteral("FILE_REV");
inline const QString kClassNTable = QStringLiteral("ClassN");
inline const QString kIdNoTable = QStringLiteral("IDno");
inline const QString kFontSizeTable = QStringLiteral("FontSize");

// DBID values.
// The longest file name FILE_ATR and BINDER can store (their fName columns).
constexpr int kFileNameMaxLength = 120;
constexpr int kOrdinaryCatalogMark = 11;
constexpr int kArchiveCatalogMark = -11;

// The nine tables in creation order, each with its columns in order.
QList<jet::TableSpec> catalogTables();

} // namespace tolvane::catalog
