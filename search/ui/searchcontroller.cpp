#include "search/ui/searchcontroller.h"

#include <QLineEdit>

#include "browser/resultlist.h"
#include "platform/apptitle.h"
#include "registration/pathrecords.h"
#include "search/catalogqueries.h"
#include "search/perioddate.h"
#include "search/searchtexts.h"

namespace tolvane::search::ui {

namespace {

// The result list's internal columns (folder id, history key, colour) are hidden after every
// fill; the option menu shows them on demand.
constexpr int kCatalogColumns = 1;

SearchPanel::Layout panelLayout(SearchKind kind)
{
    switch (kind) {
    case SearchKind::FileName:
    case SearchKind::Keyword:
        return SearchPanel::Layout::Word;
    case SearchKind::Class:
        return SearchPanel::Layout::Class;
    case SearchKind::Period:
        return SearchPanel::Layout::Period;
    case SearchKind::Folder:
        break;
    }
    return SearchPanel::Layout::Hidden;
}

} // namespace

SearchController::SearchController(Shared shared, SearchPanel &panel, Hooks hooks, QObject *parent)
    : QObject(parent)
    , m_prompter(shared.prompter)
    , m_catalog(shared.catalog)
    , m_result(shared.SearchResultSet)
    , m_resultCount(shared.ResultCount)
    , m_fs(shared.fs)
    , m_panel(panel)
    , m_hooks(std::move(hooks))
{
}

void SearchController::message(const QString &text, Prompter::Icon icon)
{
    m_prompter.message({ appTitle(), text, icon, Prompter::Buttons::Ok });
}

void SearchController::prepareList()
{
    browser::PrepShow2FS(m_fs, m_hooks.bringToFront);
}

void SearchController::fillList()
{
    m_resultCount = 0;
    if (m_result)
        m_resultCount = browser::FillCatalogRows(m_fs, *m_result, m_hooks.fontSize ? m_hooks.fontSize() : 0);
    if (m_hooks.tidy)
        m_hooks.tidy();
    browser::SetResultColumns(m_fs, kCatalogColumns, true);
}

void SearchController::showNarrowingBox(SearchKind kind)
{
    jet::Database *db = m_catalog.db();
    if (!db)
        return;
    auto contents = FillClassCombo(*db, true);
    if (!contents)
        return;
    m_panel.setComboLeft(SearchPanel::narrowingBoxLeft(kind));
    m_panel.showClassItems(contents.value());
}

bool SearchController::listHasRows() const
{
    return m_fs.rows() >= 2;
}

void SearchController::EnterSearchPanel(SearchKind kind)
{
    prepareList();
    if (m_hooks.tidy)
        m_hooks.tidy();
    m_panel.LayoutSearchPanel(panelLayout(kind));
    jet::Database *db = m_catalog.db();
    if (kind == SearchKind::Class && db) {
        if (auto contents = FillClassCombo(*db, false))
            m_panel.showClassItems(contents.value());
    } else if (kind == SearchKind::Period && db) {
        if (auto dates = periodDates(*db)) {
            QStringList texts;
            texts.reserve(dates->size());
            for (const QDateTime &date : dates.value())
                texts.append(formatListedDate(date));
            m_panel.setPeriodDates(texts);
        }
        m_panel.Text1(1)->setText(kUntilText);
    }
    browser::SetResultColumns(m_fs, kCatalogColumns, true);
}

SearchController::Outcome SearchController::finishQuery(SearchKind kind, const Result<bool> &found)
{
    if (!found || !found.value()) {
        m_resultCount = 0;
        // The narrowing box of an earlier result would narrow nothing now; the chooser of the
        // classification search keeps its list.
        if (kind != SearchKind::Class)
            m_panel.hideCombo();
        // A statement that could not run gives no message of its own; the folder search
        // finds nothing silently.
        if (found && kind != SearchKind::Folder)
            message(kZeroResultMessage, Prompter::Icon::Information);
        browser::SetResultColumns(m_fs, kCatalogColumns, true);
        return found ? Outcome::NotFound : Outcome::Failed;
    }
    fillList();
    if (kind != SearchKind::Class)
        showNarrowingBox(kind);
    return Outcome::Found;
}

SearchController::Outcome SearchController::runWordSearch(SearchKind kind, WordQuery query)
{
    prepareList();
    // The check looks at the text as typed: a word of blanks only is searched as the empty word.
    if (m_panel.word().isEmpty()) {
        message(kEmptyWordMessage, Prompter::Icon::Warning);
        return Outcome::Refused;
    }
    m_state.SavedSearchWord = m_panel.word().trimmed();
    jet::Database *db = m_catalog.db();
    if (!db)
        return Outcome::Failed;
    return finishQuery(kind, query(*db, m_result, m_state.SavedSearchWord));
}

SearchController::Outcome SearchController::RunFileNameSearch()
{
    return runWordSearch(SearchKind::FileName, QueryByFileName);
}

SearchController::Outcome SearchController::RunKeywordSearch()
{
    return runWordSearch(SearchKind::Keyword, QueryByKeyword);
}

SearchController::Outcome SearchController::RunClassSearch()
{
    prepareList();
    jet::Database *db = m_catalog.db();
    if (!db)
        return Outcome::Failed;
    return finishQuery(SearchKind::Class, QueryByClass(*db, m_result, m_panel.comboText()));
}

SearchController::Outcome SearchController::RunPeriodSearch()
{
    prepareList();
    m_state.SavedSearchWord = m_panel.startDate();
    m_state.SavedEndDate = m_panel.endDate();
    jet::Database *db = m_catalog.db();
    if (!db)
        return Outcome::Failed;
    return finishQuery(SearchKind::Period, QueryByPeriod(*db, m_result, m_state.SavedSearchWord, m_state.SavedEndDate));
}

SearchController::Outcome SearchController::run(SearchKind kind)
{
    switch (kind) {
    case SearchKind::FileName:
        return RunFileNameSearch();
    case SearchKind::Keyword:
        return RunKeywordSearch();
    case SearchKind::Class:
        return RunClassSearch();
    case SearchKind::Period:
        return RunPeriodSearch();
    case SearchKind::Folder:
        break;
    }
    return Outcome::Refused;
}

SearchController::Outcome SearchController::RunFolderSearch(const QString &folderPath)
{
    prepareList();
    jet::Database *db = m_catalog.db();
    if (!db)
        return Outcome::Failed;
    const int pnID = registration::GetPathID(db, folderPath);
    return finishQuery(SearchKind::Folder, QueryByFolder(*db, m_result, pnID));
}

SearchController::Outcome SearchController::RunFolderPanelSearch(const QString &folderPath)
{
    prepareList();
    if (folderPath.isEmpty())
        return Outcome::Refused;
    jet::Database *db = m_catalog.db();
    if (!db)
        return Outcome::Failed;
    const int pnID = registration::GetPathID(db, folderPath);
    if (pnID > 0)
        return finishQuery(SearchKind::Folder, QueryByFolder(*db, m_result, pnID));
    browser::ShowNotRegisteredFolder(m_fs, folderPath);
    if (m_hooks.tidy)
        m_hooks.tidy();
    return Outcome::NotFound;
}

NarrowOutcome SearchController::NarrowByClass(const QString &text)
{
    const NarrowOutcome outcome = search::NarrowByClass(m_result.get(), text);
    if (outcome == NarrowOutcome::Ignored)
        return outcome;
    if (outcome == NarrowOutcome::Emptied)
        message(narrowEmptyMessage(text.trimmed()), Prompter::Icon::Warning);
    prepareList();
    fillList();
    return outcome;
}

void SearchController::RestoreResultList(SearchKind kind)
{
    prepareList();
    fillList();
    m_panel.LayoutSearchPanel(panelLayout(kind));
    switch (kind) {
    case SearchKind::FileName:
    case SearchKind::Keyword:
        m_panel.Text1(0)->setText(m_state.SavedSearchWord);
        break;
    case SearchKind::Period:
        m_panel.Text1(0)->setText(m_state.SavedSearchWord);
        m_panel.Text1(1)->setText(m_state.SavedEndDate);
        break;
    case SearchKind::Class:
        if (jet::Database *db = m_catalog.db())
            if (auto contents = FillClassCombo(*db, false))
                m_panel.showClassItems(contents.value());
        break;
    case SearchKind::Folder:
        break;
    }
    if (kind != SearchKind::Class)
        showNarrowingBox(kind);
}

} // namespace tolvane::search::ui
