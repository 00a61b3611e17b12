// tolvane-cli search: runs one catalogue search (optionally narrowed by classification) and
// prints the rows, one line each, with the seven catalogue fields separated by tabs.
#include <cstdio>

#include <QDateTime>

#include "catalog/records.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/jet/database.h"
#include "search/catalogqueries.h"
#include "search/classnarrowing.h"
#include "search/searchtexts.h"

namespace tolvane::cli {

namespace {

// Result rows go out buffered: a search may print a hundred thousand of them.
void writeRow(const QString &line)
{
    const QByteArray bytes = (line + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

int usage()
{
    writeErr(QStringLiteral("usage: tolvane-cli search CATALOG.mdb (--folder PATH | --name TEXT | "
                            "--class TEXT | --period FROM TO | --keyword TEXT) [--narrow CLASS]"));
    return 1;
}

// One field as printed: dates as yyyy-mm-dd, null as nothing, and no tab or line break inside
// a field, so that each row stays one line of seven columns.
QString fieldText(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return {};
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd"));
    QString text = value.toString();
    for (QChar &c : text)
        if (c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            c = QLatin1Char(' ');
    return text;
}

struct Request {
    QString catalog;
    QString kind;
    QStringList values;
    QString narrow;
    bool narrowing = false;
};

bool parse(const QStringList &args, Request &req)
{
    if (args.isEmpty())
        return false;
    req.catalog = args.first();
    for (int i = 1; i < args.size(); ++i) {
        const QString &a = args.at(i);
        const int need = a == QStringLiteral("--period") ? 2 : 1;
        if (i + need >= args.size())
            return false;
        if (a == QStringLiteral("--narrow")) {
            req.narrow = args.at(++i);
            req.narrowing = true;
        } else if (a == QStringLiteral("--folder") || a == QStringLiteral("--name") || a == QStringLiteral("--class")
            || a == QStringLiteral("--period") || a == QStringLiteral("--keyword")) {
            if (!req.kind.isEmpty())
                return false;
            req.kind = a.mid(2);
            req.values = args.mid(i + 1, need);
            i += need;
        } else {
            return false;
        }
    }
    return !req.kind.isEmpty();
}

} // namespace

CatalogueSearch searchCatalogue(jet::Database &db, const QStringList &args)
{
    CatalogueSearch run;
    Request req;
    if (!parse(args, req)) {
        run.exitCode = usage();
        return run;
    }

    // As in the search panel, a word or file name must be given (blanks count as given).
    if ((req.kind == QStringLiteral("name") || req.kind == QStringLiteral("keyword"))
        && req.values.value(0).isEmpty()) {
        writeErr(search::kEmptyWordMessage);
        run.exitCode = 1;
        return run;
    }

    // The searches use their text trimmed, as the search panel does.
    const QString value = req.values.value(0).trimmed();
    search::RecordsetSlot &result = run.result;
    Result<bool> found = false;
    if (req.kind == QStringLiteral("folder")) {
        const Result<int> pnID = catalog::GetPathID(db, req.values.value(0));
        if (pnID || pnID.status().code() == Status::Code::NotFound)
            found = search::QueryByFolder(db, result, pnID ? pnID.value() : -1);
        else
            found = pnID.status();
    } else if (req.kind == QStringLiteral("name"))
        found = search::QueryByFileName(db, result, value);
    else if (req.kind == QStringLiteral("class"))
        found = search::QueryByClass(db, result, value);
    else if (req.kind == QStringLiteral("period"))
        found = search::QueryByPeriod(db, result, value, req.values.value(1).trimmed());
    else
        found = search::QueryByKeyword(db, result, value);

    if (!found) {
        writeErr(QStringLiteral("search failed: %1").arg(found.status().toString()));
        result.reset();
        run.exitCode = 1;
        return run;
    }
    if (!found.value()) {
        writeOut(search::kZeroResultMessage);
        result.reset();
        return run;
    }
    if (req.narrowing && search::NarrowByClass(result.get(), req.narrow) == search::NarrowOutcome::Emptied) {
        writeOut(search::narrowEmptyMessage(req.narrow.trimmed()));
        result.reset();
    }
    return run;
}

int runSearch(const QStringList &args)
{
    if (args.isEmpty())
        return usage();
    const QString catalog = args.first();
    auto opened = jet::Database::open(catalog, jet::Database::OpenMode::ReadOnly);
    if (!opened) {
        writeErr(QStringLiteral("%1: %2").arg(catalog, opened.status().toString()));
        return 1;
    }
    jet::Database &db = *opened.value();
    CatalogueSearch run = searchCatalogue(db, args);
    if (!run.result)
        return run.exitCode;
    search::RecordsetSlot &result = run.result;

    for (result->moveFirst(); !result->eof(); result->moveNext()) {
        QStringList fields;
        for (int i = 0; i < result->fieldCount(); ++i)
            fields.append(fieldText(result->field(i)));
        writeRow(fields.join(QLatin1Char('\t')));
    }
    std::fflush(stdout);
    return 0;
}

} // namespace tolvane::cli
