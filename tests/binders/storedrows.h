// Reading a catalogue file back through a second connection, as another program would.
#pragma once

#include <QStringList>

#include "../browser/testfolders.h"

namespace tolvane::test {

// The rows of table in storage order, each cell as text (dates as yyyy-mm-dd).
inline QList<QStringList> storedRows(const QString &path, const QString &table)
{
    auto db = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
    if (!db)
        return {};
    QList<QStringList> out;
    for (const jet::Row &row : tableRows(db->get(), table)) {
        QStringList cells;
        for (const QVariant &v : row)
            cells << (v.typeId() == QMetaType::QDateTime ? v.toDate().toString(Qt::ISODate) : v.toString());
        out << cells;
    }
    return out;
}

} // namespace tolvane::test
