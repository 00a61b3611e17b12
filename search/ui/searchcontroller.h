// The catalogue searches as the user runs them: the run procedures behind "DurSeek", the
// folder search, the narrowing by classification, the mode-specific panel set-up and the
// rebuilding of the list on return from the one-by-one display. Fills the result list `fs`
// through the browser's helpers; every message goes through the Prompter. The main window
// owns every object passed in and keeps the mode, toolbar and status bar; this class tells it
// how each run ended. GUI thread only.
#pragma once

#include <functional>

#include "browser/resultlistmodel.h"
#include "catalog/catalogstate.h"
#include "platform/prompter.h"
#include "search/catalogqueries.h"
#include "search/searchstate.h"
#include "search/ui/searchpanel.h"

namespace tolvane::search::ui {

class SearchController : public QObject {
    Q_OBJECT
public:
    enum class Outcome {
        Found, // the list holds the result
        NotFound, // the search ran and found nothing
        Failed, // the statement could not run (no catalogue, a bound that is not a date...)
        Refused, // nothing searched (empty word, cancelled dialog)
    };

    struct Hooks {
        // Sizes the list's columns and rows to their contents (AutoFitGrid on `fs`).
        std::function<void()> tidy;
        // Brings a display panel to the front (the list's selector is 11).
        std::function<void(int)> bringToFront;
        // The current text size for the list.
        std::function<int()> fontSize;
    };

    // What the searches share with the rest of the main window, which owns all of it.
    struct Shared {
        Prompter &prompter;
        catalog::CatalogState &catalog;
        // The open result of the last search (narrowed in place, stepped through, rebuilt from).
        RecordsetSlot &SearchResultSet;
        // Rows written into the list by the last fill.
        int &ResultCount;
        // The result list `fs`.
        browser::ResultListModel &fs;
    };

    SearchController(Shared shared, SearchPanel &panel, Hooks hooks = {}, QObject *parent = nullptr);

    SearchPanel &panel() { return m_panel; }
    const SearchState &state() const { return m_state; }

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

private:
    using WordQuery = Result<bool> (*)(jet::Database &, RecordsetSlot &, const QString &);
    // The file-name and keyword searches: the typed word is checked, kept and looked up.
    Outcome runWordSearch(SearchKind kind, WordQuery query);
    Outcome finishQuery(SearchKind kind, const Result<bool> &found);
    void prepareList();
    void fillList();
    void showNarrowingBox(SearchKind kind);
    void message(const QString &text, Prompter::Icon icon);

    Prompter &m_prompter;
    catalog::CatalogState &m_catalog;
    RecordsetSlot &m_result;
    int &m_resultCount;
    browser::ResultListModel &m_fs;
    SearchPanel &m_panel;
    Hooks m_hooks;
    SearchState m_state;
};

} // namespace tolvane::search::ui
