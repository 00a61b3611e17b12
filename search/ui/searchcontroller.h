// SearchController: the catalogue searches as the user runs them, with the panels they own: the
// search inputs Text1(0), Text1(1) and Combo1 over the toolbar and the result list `fs`. It runs
// the procedures behind "DurSeek", the folder search, the narrowing by classification, the
// mode-specific panel set-up and the rebuilding of the list on return from the one-by-one
// display; every message goes through the Prompter. The main window keeps the mode, the
// toolbar, the status bar and the pane layout; this class tells it how each run ended and
// reports the user's clicks by signals. GUI thread only.
#pragma once

#include <functional>

#include <QObject>

#include "catalog/catalogstate.h"
#include "platform/prompter.h"
#include "search/catalogqueries.h"
#include "search/classnarrowing.h"
#include "search/fulltext.h"
#include "search/searchstate.h"

class QTableView;
class QWidget;

namespace tolvane::search {
class ResultListModel;
}

namespace tolvane::ui {
class ColumnFitter;
}

namespace tolvane::search::ui {

class FullTextSession;
class ResultListView;
class SearchPanel;

class SearchController : public QObject {
    Q_OBJECT
public:
    enum class Outcome {
        Found, // the list holds the result
        NotFound, // the search ran and found nothing
        Failed, // the statement could not run (no catalogue, a bound that is not a date...)
        Refused, // nothing searched (empty word, cancelled dialog)
    };

    // searchResultSet is the main window's long-lived result recordset (narrowed in place,
    // stepped through, rebuilt from); it and catalog outlive this object. The search inputs are
    // created hidden over toolbar, the result list hidden in frame.
    SearchController(Prompter &prompter, const catalog::CatalogState &catalog, RecordsetSlot &searchResultSet,
        QWidget *toolbar, QWidget *frame, QObject *parent = nullptr);
    ~SearchController() override;

    SearchPanel &panel() { return *m_panel; }
    QTableView *resultList() const; // fs
    ResultListModel &resultModel() { return *m_model; }
    const SearchState &state() const { return m_state; }
    // Rows written into the list by the last fill (ResultCount).
    int resultCount() const { return m_resultCount; }
    void setFontSize(int points) { m_fontSize = points; }

    // Empties the list and prepares its catalogue headings (PrepShow2FS).
    void PrepShow2FS();
    // Empties the list and prepares the headings of a binder's files (PrepShow2FS_Binder).
    void PrepShow2FS_Binder();
    // A binder's files from rs (BinderSet) into the prepared list; their number becomes the
    // ResultCount.
    int ShowBinderRows(jet::Recordset &rs);
    // The data row chosen last in the list (0: none).
    int selectedRow() const;
    // "up" / "down": moves the chosen row one place in the display only (not the heading, not
    // past either end). True when it moved.
    bool MoveListRow(bool up);

    // Hides the search inputs (start screen and the modes without them).
    void HideSearchPanel();
    // Hides the word box while a picture or drawing is shown.
    void hideWordBox();
    // Hides the internal columns of catalogue rows (folder id, history key, colour).
    void HideInternalColumns();
    // Shows the internal columns of catalogue rows (binderRows false) or a binder's rows.
    void mOptCol_Click(bool binderRows);
    // The word dialog Form5 for purpose: its caption and prompt, an empty word refused with a
    // message and asked again. True with FullTextWord set (trimmed) on OK; false when cancelled
    // (SearchCancelled).
    bool Form5(SearchPurpose purpose);
    const QString &fullTextWord() const { return m_fullTextWord; }

    // "FullTextSearch": asks the word, then searches the files named names in folder (the rows
    // of fr, in order). markHits gets one flag per row (true: a hit) once the search is done;
    // no hit at all ends with the not-found message. Nothing happens when the dialog is
    // cancelled.
    void FullTextSearch(
        const QString &folder, const QStringList &names, const std::function<void(const QList<bool> &hits)> &markHits);
    // "FullTextSearchDB": asks the word, then searches the files of records (the set the list
    // was filled from, so that grid row n is record n) and hides the rows that are no hit
    // (HiddenRowCount). Every row hidden: the not-found message, then the whole list again;
    // otherwise the question whether to show the whole list again (Yes) or only the hits (No).
    void FullTextSearchDB(jet::Recordset *records);
    // Unhides every data row of the list.
    void ShowAllResultRows();
    // 1 plus the number of rows the last result list search hid.
    int hiddenRowCount() const { return m_hiddenRowCount; }
    FullTextSession &fullTextSession() { return *m_fullText; }

    // Entering a search mode: clears the list, tidies it and lays out the panel; the
    // classification search also fills its chooser, the period search reads the dates that
    // have files into the date boxes' choices.
    void EnterSearchPanel(SearchKind kind);

    // The runs behind "DurSeek".
    Outcome RunFileNameSearch();
    Outcome RunKeywordSearch();
    Outcome RunClassSearch();
    Outcome RunPeriodSearch();
    Outcome run(SearchKind kind);

    // The folder search for a folder chosen in the dialog: a folder without registered files
    // leaves the list empty.
    Outcome RunFolderSearch(const QString &folderPath);
    // The same for a folder picked in the folder panel: an unregistered folder gets the one
    // explanatory row instead.
    Outcome RunFolderPanelSearch(const QString &folderPath);

    // A pick in Combo1 while a narrowing search is shown (the no-narrowing item included).
    NarrowOutcome NarrowByClass(const QString &text);

    // Back from the one-by-one display: the list rebuilt from the still-open result (with its
    // narrowing), the saved texts written back and the narrowing box (or, for the
    // classification search, the chooser) shown again. No query runs.
    void RestoreResultList(SearchKind kind);

    // True when the list holds at least one data row (what enables "FullTextSearchDB").
    bool listHasRows() const;

Q_SIGNALS:
    // The list was emptied and wants to be in front of the viewer panes.
    void listPrepared();
    // A row holding a record was clicked: its grid row (1 is the first record).
    void recordRowClicked(int gridRow);
    // The user picked an item of Combo1.
    void classPicked(const QString &text);

private:
    void tidy();
    using WordQuery = Result<bool> (*)(jet::Database &, RecordsetSlot &, const QString &);
    // The file-name and keyword searches: the typed word is checked, kept and looked up.
    Outcome runWordSearch(SearchKind kind, WordQuery query);
    Outcome finishQuery(SearchKind kind, const Result<bool> &found);
    void prepareList();
    void fillList();
    void showNarrowingBox(SearchKind kind);
    void message(const QString &text, Prompter::Icon icon);

    Prompter &m_prompter;
    const catalog::CatalogState &m_catalog;
    RecordsetSlot &m_result;
    ResultListModel *m_model;
    ResultListModel &m_fs;
    ResultListView *m_view;
    tolvane::ui::ColumnFitter *m_fitter;
    SearchPanel *m_panel;
    SearchState m_state;
    int m_resultCount = 0;
    int m_fontSize = 10;
    std::unique_ptr<FullTextSession> m_fullText;
    QString m_fullTextWord; // FullTextWord
    bool m_searchCancelled = false; // SearchCancelled
    int m_hiddenRowCount = 1; // HiddenRowCount
};

} // namespace tolvane::search::ui
