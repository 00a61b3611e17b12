// Form1: search handlers. The shell has already set ModeNo, the search toolbar
// (SearchListLayout), the status texts, LayoutState and the help id when these run.
#include <QComboBox>
#include <QTableView>
#include <QToolBar>

#include "browser/resultlist.h"
#include "browser/resultlistmodel.h"
#include "browser/ui/autofitgrid.h"
#include "registration/slip.h"
#include "search/ui/searchcontroller.h"
#include "search/ui/searchpanel.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"

namespace tolvane::shell {

namespace {

using search::SearchKind;
using Outcome = search::ui::SearchController::Outcome;

// The search of each search mode; nullopt for the other modes.
std::optional<SearchKind> searchKindOf(int modeNo)
{
    switch (modeNo) {
    case Mode::FolderSearch:
        return SearchKind::Folder;
    case Mode::FileSearch:
        return SearchKind::FileName;
    case Mode::ClassSearch:
        return SearchKind::Class;
    case Mode::PeriodSearch:
        return SearchKind::Period;
    case Mode::KeywordSearch:
        return SearchKind::Keyword;
    default:
        return std::nullopt;
    }
}

// The modes in which a pick in Combo1 narrows the shown result.
bool narrowsOnPick(int modeNo)
{
    return modeNo == Mode::FolderSearch || modeNo == Mode::FileSearch || modeNo == Mode::PeriodSearch
        || modeNo == Mode::KeywordSearch;
}

} // namespace

// Creates the search inputs (Text1(0), Text1(1), Combo1) over the toolbar and connects them.
void Form1::SetupSearch()
{
    m_searchPanel = new search::ui::SearchPanel(Toolbar, this);
    connect(m_searchPanel, &search::ui::SearchPanel::classPicked, this,
        [this](const QString &text) { Combo1_Click(text); });
}

search::ui::SearchController *Form1::searchRuns()
{
    if (m_searchRuns)
        return m_searchRuns;
    auto *model = fs ? qobject_cast<browser::ResultListModel *>(fs->model()) : nullptr;
    if (!model || !m_searchPanel)
        return nullptr;
    search::ui::SearchController::Hooks hooks;
    hooks.tidy = [this] { browser::ui::AutoFitGrid(fs); };
    hooks.bringToFront = [this](int selector) { BringPanelToFront(selector); };
    hooks.fontSize = [this] { return TextFontSize; };
    m_searchRuns = new search::ui::SearchController(
        { m_prompter, m_catalog, SearchResultSet, ResultCount, *model }, *m_searchPanel, std::move(hooks), this);
    return m_searchRuns;
}

// "Search": loads the classification items offered by the searches.
void Form1::LoadClassItems()
{
    auto choices = registration::loadClassChoices(m_catalog.db());
    if (!choices)
        return;
    ClassArr.clear();
    for (const registration::ClassChoice &c : choices.value())
        ClassArr.append({ c.name, c.colour });
}

// Entering the file-name, classification, period or keyword search: clears the list and
// lays out the search inputs for ModeNo.
void Form1::PrepareSearchPanel()
{
    const auto kind = searchKindOf(ModeNo);
    auto *runs = searchRuns();
    if (!kind || !runs)
        return;
    runs->EnterSearchPanel(*kind);
}

// The folder search for a folder chosen in the dialog.
void Form1::RunFolderSearch(const QString &folder)
{
    auto *runs = searchRuns();
    if (!runs)
        return;
    CurrentFolder = folder;
    m_searchPanel->hideAll();
    if (runs->RunFolderSearch(folder) == Outcome::Found) {
        ShowModeStatus(51);
        if (runs->listHasRows())
            setToolEnabled(QStringLiteral("FullTextSearchDB"), true);
    }
}

// A folder picked in the folder panel while in the folder search.
void Form1::RunFolderPanelSearch(const QString &folder)
{
    auto *runs = searchRuns();
    if (!runs)
        return;
    if (!folder.isEmpty())
        CurrentFolder = folder;
    if (runs->RunFolderPanelSearch(folder) == Outcome::Found)
        ShowModeStatus(51);
}

// "DurSeek": runs the search of ModeNo.
void Form1::DurSeek()
{
    auto *runs = searchRuns();
    if (!runs)
        return;
    const auto kind = searchKindOf(ModeNo);
    if (kind && *kind != SearchKind::Folder) {
        if (runs->run(*kind) == Outcome::Found)
            ShowModeStatus(51);
        if (runs->listHasRows())
            setToolEnabled(QStringLiteral("FullTextSearchDB"), true);
    }
    if (auto *model = qobject_cast<browser::ResultListModel *>(fs->model()))
        browser::SetResultColumns(*model, 1, true);
}

// A pick in Combo1: in the narrowing modes it narrows the shown result by classification; in
// the classification search it only chooses what "DurSeek" will search.
void Form1::Combo1_Click(const QString &text)
{
    if (!narrowsOnPick(ModeNo))
        return;
    if (auto *runs = searchRuns())
        runs->NarrowByClass(text);
}

// "WordSeek": finds a phrase in the shown file.
void Form1::WordSeek() { }

// "FullTextSearch": full-text search over the folder's files.
void Form1::FullTextSearch() { }

// "FullTextSearchDB": full-text search over the result list.
void Form1::FullTextSearchDB() { }

// "BackTo" from a record to the list of a search mode: refills the ResultList from
// SearchResultSet and shows the search inputs again.
void Form1::RestoreSearchList()
{
    const auto kind = searchKindOf(ModeNo);
    auto *runs = searchRuns();
    if (!kind || !runs)
        return;
    runs->RestoreResultList(*kind);
}

// Hides the search inputs (start screen and the modes without them).
void Form1::HideSearchPanel()
{
    if (m_searchPanel)
        m_searchPanel->hideAll();
}

} // namespace tolvane::shell
