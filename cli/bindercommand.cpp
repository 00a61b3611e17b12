// tolvane-cli binder SUBCOMMAND CATALOG.mdb ...: the binder commands of the window for scripts,
// with the same rules and messages. Lists print one line per row, values separated by tabs, in
// the table's column order: binders in BdNo order, a binder's files in DocNo order. A refusal
// prints its message and exits with 1. Confirmations are answered Yes.
#include <QFileInfo>

#include "binders/binders.h"
#include "catalog/lifecycle.h"
#include "catalog/records.h"
#include "catalog/schema.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/paths.h"

namespace tolvane::cli {

namespace {

int usage()
{
    writeErr(QStringLiteral("usage: tolvane-cli binder list CATALOG.mdb\n"
                            "       tolvane-cli binder create CATALOG.mdb NAME\n"
                            "       tolvane-cli binder rename CATALOG.mdb OLD NEW\n"
                            "       tolvane-cli binder delete CATALOG.mdb NAME\n"
                            "       tolvane-cli binder add CATALOG.mdb NAME FOLDER FILE\n"
                            "       tolvane-cli binder contents CATALOG.mdb NAME\n"
                            "       tolvane-cli binder move CATALOG.mdb NAME FILE up|down"));
    return 2;
}

// The catalogue opened as the window opens it (checked by its DBID). Null after a message.
struct OpenCatalogue {
    ConsolePrompter prompter;
    catalog::CatalogState state;
    std::unique_ptr<jet::Recordset> searchResultSet;
    std::unique_ptr<jet::Recordset> binderSet;

    ~OpenCatalogue() { catalog::CloseCatalog(state, searchResultSet, binderSet); }

    jet::Database *open(const QString &path, bool write)
    {
        prompter.setFileAnswer(QFileInfo(path).absoluteFilePath());
        switch (catalog::OpenCatalogFile(prompter, state, searchResultSet, binderSet)) {
        case catalog::OpenOutcome::Ordinary:
            return state.db();
        case catalog::OpenOutcome::Archive:
            if (!write)
                return state.db();
            writeErr(QStringLiteral("%1: archive catalogue; binders cannot be changed").arg(path));
            return nullptr;
        case catalog::OpenOutcome::NotCatalog:
            return nullptr; // the refusal was printed
        case catalog::OpenOutcome::Cancelled:
        case catalog::OpenOutcome::ConnectFailed:
            break;
        }
        writeErr(QStringLiteral("%1: cannot open the catalogue").arg(path));
        return nullptr;
    }
};

QString field(const jet::Recordset &rs, int i)
{
    return rs.field(i).toString();
}

// The bdID of the binder named name, or 0 after a message.
int binderNamed(jet::Database &db, const QString &name)
{
    const Result<int> bdID = binders::FindBinder(db, name);
    if (bdID)
        return bdID.value();
    if (bdID.status().code() == Status::Code::NotFound)
        writeErr(QStringLiteral("no binder named \"%1\"").arg(name));
    else
        writeErr(bdID.status().toString());
    return 0;
}

int exitCode(binders::Outcome outcome)
{
    return outcome == binders::Outcome::Done ? 0 : 1;
}

int list(jet::Database &db)
{
    binders::RecordsetSlot set;
    const Result<bool> found = binders::OpenBinderList(db, set);
    if (!found) {
        writeErr(found.status().toString());
        return 1;
    }
    for (set->moveFirst(); !set->eof(); set->moveNext())
        writeOut(QStringList { field(*set, 0), field(*set, 1), field(*set, 2) }.join(QLatin1Char('\t')));
    return 0;
}

int contents(jet::Database &db, const QString &name)
{
    const int bdID = binderNamed(db, name);
    if (bdID == 0)
        return 1;
    binders::RecordsetSlot set;
    const Result<bool> found = binders::OpenBinderContents(db, set, bdID);
    if (!found) {
        writeErr(found.status().toString());
        return 1;
    }
    for (set->moveFirst(); !set->eof(); set->moveNext())
        writeOut(
            QStringList { field(*set, 0), field(*set, 1), field(*set, 2), field(*set, 3) }.join(QLatin1Char('\t')));
    return 0;
}

// Filing: only a registered file can be filed, as in the window, where the file filed is
// always a catalogue record.
int add(jet::Database &db, Prompter &prompter, const QString &name, const QString &folderArg, const QString &file)
{
    const int bdID = binderNamed(db, name);
    if (bdID == 0)
        return 1;
    const QString folder = normalFolderPath(folderArg);
    const Result<int> pnID = catalog::GetPathID(db, folder);
    auto record = pnID ? db.select(jet::Query(catalog::kFileAtrTable)
                                       .where(jet::Condition::equal(QStringLiteral("pnID"), pnID.value()))
                                       .where(jet::Condition::equal(QStringLiteral("fName"), file)))
                       : Result<std::unique_ptr<jet::Recordset>>(pnID.status());
    if (!record || record.value()->bof()) {
        writeErr(QStringLiteral("%1: not registered in the catalogue").arg(folder + QLatin1Char('/') + file));
        return 1;
    }
    const QString storedName = record.value()->field(QStringLiteral("fName")).toString();
    return exitCode(binders::FileShownIntoBinder(db, prompter, bdID, name, pnID.value(), storedName));
}

// The window's "up"/"down" on the file's row, then "reg".
int move(jet::Database &db, Prompter &prompter, const QString &name, const QString &file, const QString &direction)
{
    const bool up = direction == QStringLiteral("up");
    if (!up && direction != QStringLiteral("down"))
        return usage();
    const int bdID = binderNamed(db, name);
    if (bdID == 0)
        return 1;
    binders::RecordsetSlot set;
    const Result<bool> found = binders::OpenBinderContents(db, set, bdID);
    if (!found) {
        writeErr(found.status().toString());
        return 1;
    }
    QList<int> docNos;
    int row = -1;
    for (set->moveFirst(); !set->eof(); set->moveNext()) {
        if (row < 0 && set->field(QStringLiteral("fName")).toString() == file)
            row = int(docNos.size());
        docNos << set->field(QStringLiteral("DocNo")).toInt();
    }
    if (found.value() && row < 0) {
        writeErr(QStringLiteral("\"%1\" is not in binder \"%2\"").arg(file, name));
        return 1;
    }
    if (row >= 0) {
        const int to = up ? row - 1 : row + 1;
        if (to >= 0 && to < docNos.size())
            docNos.move(row, to);
    }
    return exitCode(binders::SaveFileOrder(db, prompter, set, docNos));
}

} // namespace

int runBinder(const QStringList &args)
{
    static const QList<QPair<QString, int>> arity { { QStringLiteral("list"), 2 }, { QStringLiteral("create"), 3 },
        { QStringLiteral("rename"), 4 }, { QStringLiteral("delete"), 3 }, { QStringLiteral("add"), 5 },
        { QStringLiteral("contents"), 3 }, { QStringLiteral("move"), 5 } };
    const QString sub = args.value(0);
    const auto known = std::find_if(arity.begin(), arity.end(), [&](const auto &a) { return a.first == sub; });
    if (known == arity.end() || args.size() != known->second)
        return usage();
    const bool write = sub != QStringLiteral("list") && sub != QStringLiteral("contents");

    OpenCatalogue catalogue;
    jet::Database *db = catalogue.open(args.at(1), write);
    if (!db)
        return 1;
    ConsolePrompter &prompter = catalogue.prompter;
    if (sub == QStringLiteral("list"))
        return list(*db);
    if (sub == QStringLiteral("contents"))
        return contents(*db, args.at(2));
    if (sub == QStringLiteral("create"))
        return exitCode(binders::CreateBinder(*db, prompter, args.at(2)));
    if (sub == QStringLiteral("add"))
        return add(*db, prompter, args.at(2), args.at(3), args.at(4));
    if (sub == QStringLiteral("move"))
        return move(*db, prompter, args.at(2), args.at(3), args.at(4));
    const int bdID = binderNamed(*db, args.at(2));
    if (bdID == 0)
        return 1;
    if (sub == QStringLiteral("rename"))
        return exitCode(binders::RenameBinder(*db, prompter, catalogue.binderSet, bdID, args.at(3)));
    return exitCode(binders::DeleteBinderRows(*db, prompter, catalogue.binderSet, bdID));
}

} // namespace tolvane::cli
