// tolvane-cli search ... --output FILE: the found rows under the seven headings, written to a
// spreadsheet (.xlsx) or CSV file. Part of the tolvane-cli-heavy module, so that printing a
// search does not load the spreadsheet writer.
#include <QDateTime>

#include "catalog/records.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "platform/tableexport.h"

namespace tolvane::cli {

int runSearchExport(const QStringList &args)
{
    if (args.isEmpty())
        return runSearch(args); // its usage
    const QString catalog = args.first();
    auto opened = jet::Database::open(catalog, jet::Database::OpenMode::ReadOnly);
    if (!opened) {
        writeErr(QStringLiteral("%1: %2").arg(catalog, opened.status().toString()));
        return 1;
    }
    CatalogueSearch run = searchCatalogue(*opened.value(), args);
    if (!run.result)
        return run.exitCode;
    // The arguments were checked by the search: the file follows --output.
    const QString output = args.value(args.lastIndexOf(QStringLiteral("--output")) + 1);
    search::RecordsetSlot &result = run.result;
    QList<QStringList> rows;
    for (result->moveFirst(); !result->eof(); result->moveNext()) {
        QStringList fields;
        for (int i = 0; i < result->fieldCount(); ++i) {
            const QVariant value = result->field(i);
            if (!value.isValid() || value.isNull())
                fields.append(QString());
            else if (value.typeId() == QMetaType::QDateTime)
                fields.append(value.toDateTime().toString(QStringLiteral("yyyy-MM-dd")));
            else
                fields.append(value.toString());
        }
        rows.append(fields);
    }
    if (const Status written = writeTable(output, catalog::CatalogHeadings(), rows); !written) {
        writeErr(QStringLiteral("%1: %2").arg(output, written.toString()));
        return 1;
    }
    writeOut(QStringLiteral("%1件の検索結果を %2 に書き出しました。").arg(rows.size()).arg(output));
    return 0;
}

} // namespace tolvane::cli
