#include "binders/binders.h"

#include "binders/bindertexts.h"
#include "catalog/counters.h"
#include "catalog/failuretext.h"
#include "catalog/schema.h"
#include "catalog/transaction.h"
#include "platform/apptitle.h"

namespace tolvane::binders {

namespace {

const QString kBdID = QStringLiteral("bdID");
const QString kBName = QStringLiteral("bName");
const QString kBdNo = QStringLiteral("BdNo");
const QString kFName = QStringLiteral("fName");
const QString kPnID = QStringLiteral("pnID");
const QString kDocNo = QStringLiteral("DocNo");

void warn(Prompter &prompter, const QString &text)
{
    prompter.inform(appTitle(), text, Prompter::Icon::Warning);
}

// A write that did not happen: the user learns it, with the database's reason (for a row
// another connection changed since the list was read, in words to act on).
Outcome failed(Prompter &prompter, const Status &status)
{
    const QString why = status.code() == Status::Code::Conflict ? catalog::failureReason(status) : status.toString();
    prompter.inform(appTitle(), kWriteFailedMessage + QStringLiteral("\r\n") + why, Prompter::Icon::Warning);
    return Outcome::Failed;
}

// Runs write inside one transaction; commits when it succeeds. Any failure rolls everything
// back and is reported.
template <class Write> Outcome inTransaction(jet::Database &db, Prompter &prompter, Write write)
{
    catalog::TransactionGuard guard(db);
    if (!guard.status())
        return failed(prompter, guard.status());
    if (Status s = write(); !s) {
        guard.rollback();
        return failed(prompter, s);
    }
    if (Status s = guard.commit(); !s)
        return failed(prompter, s);
    return Outcome::Done;
}

Status setAndUpdate(jet::Recordset &rs, const QString &field, const QVariant &value)
{
    if (Status s = rs.setField(field, value); !s) {
        rs.cancelUpdate();
        return s;
    }
    if (Status s = rs.update(); !s) {
        rs.cancelUpdate();
        return s;
    }
    return Status::ok();
}

// A new row of table with the named values; Corruption when the table lacks a column.
Result<jet::Row> newRow(jet::Database &db, const QString &table, const QList<QPair<QString, QVariant>> &values)
{
    auto info = db.tableInfo(table);
    if (!info)
        return info.status();
    jet::Row row(info->columns.size());
    for (const auto &[column, value] : values) {
        const int i = info->columnIndex(column);
        if (i < 0)
            return Status::corruption(QStringLiteral("%1 has no column %2").arg(table, column));
        row[i] = value;
    }
    return row;
}

Status insert(jet::Database &db, const QString &table, const QList<QPair<QString, QVariant>> &values)
{
    auto row = newRow(db, table, values);
    if (!row)
        return row.status();
    auto inserted = db.insertRow(table, row.value());
    return inserted ? Status::ok() : inserted.status();
}

// The open binder list, or a fresh one when none is open.
Status ensureBinderList(jet::Database &db, RecordsetSlot &binderSet)
{
    if (binderSet && binderSet->table().compare(catalog::kBinderNameTable, Qt::CaseInsensitive) == 0)
        return Status::ok();
    auto opened = OpenBinderList(db, binderSet);
    return opened ? Status::ok() : opened.status();
}

// Refusals of a typed name: empty as typed, or a trimmed name already used.
bool nameRefused(jet::Database &db, Prompter &prompter, const QString &typedName, Status *error)
{
    if (typedName.isEmpty()) {
        warn(prompter, kEmptyNameMessage);
        return true;
    }
    const Result<bool> exists = BinderNameExists(db, typedName.trimmed());
    if (!exists) {
        *error = exists.status();
        return true;
    }
    if (exists.value()) {
        warn(prompter, kDuplicateNameMessage);
        return true;
    }
    return false;
}

} // namespace

// ---------------------------------------------------------------- the binder catalogue

Result<bool> OpenBinderList(jet::Database &db, RecordsetSlot &set)
{
    set.reset();
    auto rs = db.select(jet::Query(catalog::kBinderNameTable).select({ kBdID, kBName, kBdNo }).order(kBdNo));
    if (!rs)
        return rs.status();
    set = rs.take();
    return !set->bof();
}

Result<QList<BinderEntry>> ReadBinders(jet::Database &db)
{
    RecordsetSlot set;
    const Result<bool> found = OpenBinderList(db, set);
    if (!found)
        return found.status();
    QList<BinderEntry> out;
    for (set->moveFirst(); !set->eof(); set->moveNext())
        out.append({ set->field(kBdID).toInt(), set->field(kBName).toString(), set->field(kBdNo).toInt() });
    return out;
}

Result<bool> BinderNameExists(jet::Database &db, const QString &name)
{
    bool found = false;
    const Status s = db.scan(catalog::kBinderNameTable, [&](jet::RowId, const jet::Row &row) {
        // bName is the second column; compared exactly, unlike Jet's own text comparison.
        found = row.size() > 1 && row.at(1).toString() == name;
        return !found;
    });
    if (!s)
        return s;
    return found;
}

Result<int> FindBinder(jet::Database &db, const QString &name)
{
    const auto binders = ReadBinders(db);
    if (!binders)
        return binders.status();
    for (const BinderEntry &b : binders.value())
        if (b.bName == name)
            return b.bdID;
    return Status::notFound(name);
}

Status InsertBinderName(jet::Database &db, int bdID, const QString &name, int bdNo)
{
    return insert(db, catalog::kBinderNameTable, { { kBdID, bdID }, { kBName, name }, { kBdNo, bdNo } });
}

Outcome CreateBinder(jet::Database &db, Prompter &prompter, const QString &typedName, int *bdID)
{
    if (typedName.isEmpty()) {
        warn(prompter, kEmptyNameMessage);
        return Outcome::Refused;
    }
    // The two numbers are drawn first and stay drawn whatever follows.
    const Result<int> newId = catalog::NextBdID(db, prompter);
    if (!newId)
        return Outcome::Failed;
    const Result<int> newNo = catalog::NextBndNo(db, prompter);
    if (!newNo)
        return Outcome::Failed;
    const QString name = typedName.trimmed();
    Status error;
    if (nameRefused(db, prompter, name, &error))
        return error ? Outcome::Refused : failed(prompter, error);
    const Outcome outcome
        = inTransaction(db, prompter, [&] { return InsertBinderName(db, newId.value(), name, newNo.value()); });
    if (outcome == Outcome::Done && bdID)
        *bdID = newId.value();
    return outcome;
}

Outcome RenameBinder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, int bdID, const QString &typedName)
{
    Status error;
    if (nameRefused(db, prompter, typedName, &error))
        return error ? Outcome::Refused : failed(prompter, error);
    const QString name = typedName.trimmed();
    const Outcome outcome = inTransaction(db, prompter, [&]() -> Status {
        if (Status s = ensureBinderList(db, binderSet); !s)
            return s;
        for (binderSet->moveFirst(); !binderSet->eof(); binderSet->moveNext())
            if (binderSet->field(kBdID).toInt() == bdID)
                return setAndUpdate(*binderSet, kBName, name);
        return Status::notFound(QStringLiteral("binder %1").arg(bdID));
    });
    binderSet.reset();
    return outcome;
}

Outcome DeleteBinderRows(jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, int bdID)
{
    const Outcome outcome = inTransaction(db, prompter, [&]() -> Status {
        RecordsetSlot entries;
        auto opened = db.select(jet::Query(catalog::kBinderTable)
                                    .select({ kBdID, kFName, kPnID, kDocNo })
                                    .where(jet::Condition::equal(kBdID, bdID)));
        if (!opened)
            return opened.status();
        entries = opened.take();
        for (entries->moveFirst(); !entries->eof(); entries->moveNext())
            if (Status s = entries->deleteCurrent(); !s)
                return s;
        if (Status s = ensureBinderList(db, binderSet); !s)
            return s;
        for (binderSet->moveFirst(); !binderSet->eof(); binderSet->moveNext())
            if (binderSet->field(kBdID).toInt() == bdID)
                return binderSet->deleteCurrent();
        return Status::ok();
    });
    binderSet.reset();
    return outcome;
}

Outcome SaveBinderOrder(jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, const QList<int> &displayedIds)
{
    const Outcome outcome = inTransaction(db, prompter, [&]() -> Status {
        if (Status s = ensureBinderList(db, binderSet); !s)
            return s;
        for (binderSet->moveFirst(); !binderSet->eof(); binderSet->moveNext()) {
            const int bdNo = int(displayedIds.indexOf(binderSet->field(kBdID).toInt())) + 1;
            if (Status s = setAndUpdate(*binderSet, kBdNo, bdNo); !s)
                return s;
        }
        return Status::ok();
    });
    binderSet.reset();
    if (outcome == Outcome::Done)
        prompter.inform(appTitle(), kOrderSavedMessage, Prompter::Icon::Information);
    return outcome;
}

// ---------------------------------------------------------------- a binder's files

Result<bool> OpenBinderContents(jet::Database &db, RecordsetSlot &set, int bdID)
{
    set.reset();
    auto rs = db.select(jet::Query(catalog::kBinderTable)
                            .select({ kBdID, kFName, kPnID, kDocNo })
                            .where(jet::Condition::equal(kBdID, bdID))
                            .order(kDocNo));
    if (!rs)
        return rs.status();
    set = rs.take();
    return !set->bof();
}

Outcome FileShownIntoBinder(
    jet::Database &db, Prompter &prompter, int bdID, const QString &binderName, int pnID, const QString &fName)
{
    const Result<int> docNo = catalog::NextDocNo(db, prompter);
    if (!docNo)
        return Outcome::Failed;
    const Outcome outcome = inTransaction(db, prompter, [&] {
        return insert(db, catalog::kBinderTable,
            { { kBdID, bdID }, { kFName, fName }, { kPnID, pnID }, { kDocNo, docNo.value() } });
    });
    if (outcome == Outcome::Done)
        prompter.inform(appTitle(), filedMessage(binderName), Prompter::Icon::Information);
    return outcome;
}

Outcome DetachFromBinder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, int row, const QString &binderName)
{
    if (!binderSet || row < 1 || row > binderSet->recordCount())
        return Outcome::Declined;
    binderSet->moveFirst();
    binderSet->move(row - 1);
    if (binderSet->bof() || binderSet->eof())
        return Outcome::Declined;
    const QString question = detachQuestion(binderSet->field(kFName).toString(), binderName);
    if (prompter.message({ appTitle(), question, Prompter::Icon::Question, Prompter::Buttons::YesNo })
        != Prompter::Answer::Yes)
        return Outcome::Declined;
    return inTransaction(db, prompter, [&] { return binderSet->deleteCurrent(); });
}

Outcome SaveFileOrder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, const QList<int> &displayedDocNos)
{
    if (!binderSet || binderSet->recordCount() < 1) {
        warn(prompter, kNoFilesToOrderMessage);
        return Outcome::Refused;
    }
    const Outcome outcome = inTransaction(db, prompter, [&]() -> Status {
        for (binderSet->moveFirst(); !binderSet->eof(); binderSet->moveNext()) {
            // DocNo values are distinct within a binder: the first equal one is this entry's row.
            const int docNo = int(displayedDocNos.indexOf(binderSet->field(kDocNo).toInt())) + 1;
            if (Status s = setAndUpdate(*binderSet, kDocNo, docNo); !s)
                return s;
        }
        return Status::ok();
    });
    if (outcome == Outcome::Done)
        prompter.inform(appTitle(), kOrderSavedMessage, Prompter::Icon::Information);
    return outcome;
}

Result<bool> OpenFiledRecord(jet::Database &db, const jet::Recordset &binderSet, RecordsetSlot &record)
{
    if (binderSet.bof() || binderSet.eof())
        return Status::invalidArgument(QStringLiteral("no filing entry"));
    const QVariant pnID = binderSet.field(kPnID);
    const QVariant fName = binderSet.field(kFName);
    auto table = db.openTable(catalog::kFileAtrTable);
    if (!table)
        return table.status();
    RecordsetSlot rs = table.take();
    rs->setFilter({ jet::Condition::equal(kPnID, pnID), jet::Condition::equal(kFName, fName) });
    record = std::move(rs);
    return !record->bof();
}

// ---------------------------------------------------------------- stepping

int StepCircular(jet::Recordset &rs, int openedRow, int count, bool next)
{
    if (next) {
        rs.moveNext();
        if (!rs.eof())
            return openedRow + 1;
        rs.moveFirst();
        return 1;
    }
    rs.movePrevious();
    if (!rs.bof())
        return openedRow - 1;
    rs.moveLast();
    return count;
}

} // namespace tolvane::binders
