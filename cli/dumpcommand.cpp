// tolvane-cli dump CATALOG.mdb TABLE: every row of TABLE in storage order, one line each, values
// separated by tabs; dates as yyyy-mm-dd HH:MM:SS, nulls empty. A tab or line break inside a
// text is written as \t, \n or \r so that each row stays one line; everything else (folder paths
// with their backslashes included) is written as stored.
#include <cstdio>

#include <QDateTime>

#include "catalog/lifecycle.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/jet/database.h"

namespace tolvane::cli {

namespace {
QString cellText(const QVariant &v)
{
    if (!v.isValid() || v.isNull())
        return {};
    switch (v.typeId()) {
    case QMetaType::QDateTime:
        return v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    case QMetaType::QByteArray:
        return QString::fromLatin1(v.toByteArray().toHex());
    case QMetaType::Bool:
        return v.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Double:
        return QString::number(v.toDouble(), 'g', 15);
    default:
        break;
    }
    QString s = v.toString();
    s.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    s.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    s.replace(QLatin1Char('\r'), QLatin1String("\\r"));
    return s;
}
} // namespace

int runDump(const QStringList &args)
{
    if (args.size() != 2) {
        writeErr(QStringLiteral("usage: tolvane-cli dump CATALOG.mdb TABLE"));
        return 2;
    }
    auto db = jet::Database::open(args[0], jet::Database::OpenMode::ReadOnly);
    if (!db) {
        writeErr(args[0] + QStringLiteral(": ") + db.status().toString());
        return 1;
    }
    // A damaged catalogue is read as far as it can be, never without saying so.
    if ((*db)->isDamaged())
        writeErr(catalog::DamagedCatalogMessage(**db));
    const auto info = (*db)->tableInfo(args[1]);
    if (!info) {
        writeErr(args[1] + QStringLiteral(": no such table"));
        return 1;
    }
    QByteArray out;
    const Status st = (*db)->scan(info->name, [&](jet::RowId, const jet::Row &row) {
        QStringList cells;
        cells.reserve(row.size());
        for (const QVariant &v : row)
            cells.append(cellText(v));
        out += cells.join(QLatin1Char('\t')).toUtf8();
        out += '\n';
        if (out.size() > (1 << 20)) {
            std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
            out.clear();
        }
        return true;
    });
    std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
    std::fflush(stdout);
    if (!st) {
        writeErr(args[1] + QStringLiteral(": ") + st.toString());
        return 1;
    }
    return 0;
}

} // namespace tolvane::cli
