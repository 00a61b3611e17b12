// Opening, checking, creating and closing the catalogue in use. These steps talk to the user
// only through the Prompter; what the main window shows after an open is its own business
// (see OpenOutcome).
#pragma once

#include <memory>

#include "catalog/catalogstate.h"
#include "platform/jet/recordset.h"
#include "platform/prompter.h"

namespace tolvane::catalog {

// File dialog purposes.
constexpr int kSelectForCreate = 1;
constexpr int kSelectForOpen = 2;

// What SelectCatalogFile returns when the user cancels or the dialog fails.
inline QString canceledChoice()
{
    return QStringLiteral("Canceled");
}

// Shows the save (create) or open dialog for ".mdb" files. Returns the chosen full path,
// always ending in ".mdb", or "Canceled". Sets state.CatalogName from the chosen name.
QString SelectCatalogFile(Prompter &prompter, int purpose, CatalogState &state);

// Opens state.CatalogPath as the new CatalogConnection (replacing any previous one). When
// failure is given, it receives the outcome of the open.
bool ConnectCatalog(CatalogState &state, Status *failure = nullptr);
// Whether the open catalogue has a table named exactly "DBID".
bool HasDbidTable(const CatalogState &state);
// The first DBID row's value, or 0 when the table has no row or cannot be read.
int ReadDbid(const CatalogState &state);
int ReadDbid(jet::Database &db);
// Whether db is a catalogue of this program: a DBID table whose first row holds the ordinary or
// the archive mark. Every command that reads or writes a catalogue checks this first.
bool IsCatalog(jet::Database &db);
// "Tolvane 用データベースを選択してください。": the refusal of a file that is not a catalogue.
QString notCatalogMessage();

// The refusal of a file that cannot be opened as a database at all (missing, empty, not a Jet
// database, or had alone by compaction or repair: failure Busy), naming it.
QString cannotOpenMessage(const QString &path, const Status &failure = {});

// The create command: asks for a new file, builds it, and reports the result.
// The new catalogue is not opened.
void CreateCatalog(Prompter &prompter, CatalogState &state);

enum class OpenOutcome {
    Cancelled, // the dialog was cancelled; nothing is connected
    ConnectFailed, // not a Jet database, empty or unreadable: refused naming the file
    NotCatalog, // refused with "Tolvane 用データベースを選択してください。"
    Ordinary, // CatalogMark 11
    Archive, // CatalogMark -11; the connection is read-only
};

// The open command up to the checks: closes the result sets and the previous connection,
// asks for the file, connects, checks DBID and sets CatalogMark. The caller arranges the
// window for Ordinary and Archive.
OpenOutcome OpenCatalogFile(Prompter &prompter, CatalogState &state, std::unique_ptr<jet::Recordset> &searchResultSet,
    std::unique_ptr<jet::Recordset> &binderSet);

// The message about a catalogue that failed the check at open (jet::Database::isDamaged):
// that it is damaged, that it was opened read-only, and what was found.
QString DamagedCatalogMessage(const jet::Database &db);

// The message when another connection keeps the catalogue's write lock too long: alone for
// the command line, followed by the question whether to try again in the window.
QString CatalogBusyMessage();
QString CatalogBusyQuestion();
// Makes db ask through prompter (CatalogBusyQuestion, Yes/No) whether to go on waiting each
// time it has waited for another connection in vain. prompter must outlive db.
void AskWhenBusy(jet::Database &db, Prompter &prompter);

// Shutdown: closes the result sets, then the connection. Never fails.
void CloseCatalog(
    CatalogState &state, std::unique_ptr<jet::Recordset> &searchResultSet, std::unique_ptr<jet::Recordset> &binderSet);

} // namespace tolvane::catalog
