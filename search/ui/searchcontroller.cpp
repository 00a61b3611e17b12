#include "search/ui/searchcontroller.h"

#include <QItemSelectionModel>
#include <QLineEdit>

#include "catalog/records.h"
#include "platform/apptitle.h"
#include "platform/jet/recordset.h"
#include "platform/paths.h"
#include "platform/ui/columnfit.h"
#include "search/catalogqueries.h"
#include "search/perioddate.h"
#include "search/resultlist.h"
#include "search/resultlistmodel.h"
#include "search/searchtexts.h"
#include "search/ui/autofitgrid.h"
#include "search/ui/fulltextsession.h"
#include "search/ui/resultlistview.h"
#include "search/ui/searchpanel.h"

namespace tolvane::search::ui {

namespace {

// The result list's internal columns (folder id, history key, colour) are hidden after every
// fill; the option menu shows them on demand.
constexpr int kCatalogColumns = 1;
constexpr int kBinderColumns = 2;

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

SearchController::SearchController(Prompter &prompter, const catalog::CatalogState &catalog,
    RecordsetSlot &searchResultSet, QWidget *toolbar, QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_prompter(prompter)
    , m_catalog(catalog)
    , m_result(searchResultSet)
    , m_model(new ResultListModel(this))
    , m_fs(*m_model)
    , m_view(new ResultListView(m_model, frame))
    // Names and keywords share what the row number, classification and date leave.
    , m_fitter(new tolvane::ui::ColumnFitter(m_view, { 2, 4 }))
    , m_panel(new SearchPanel(toolbar, this))
    , m_fullText(std::make_unique<FullTextSession>())
{
    m_view->hide();
    connect(m_panel, &SearchPanel::classPicked, this, [this](const QString &text) { Q_EMIT classPicked(text); });
    // Rows of a record carry their number in column 0; the one-line "not registered" text of
    // the folder search does not, and opens nothing. The heading is grid row 0, so model row i
    // is grid row i + 1.
    connect(m_view, &QAbstractItemView::clicked, this, [this](const QModelIndex &index) {
        if (!index.isValid() || index.sibling(index.row(), 0).data().toString().isEmpty())
            return;
        Q_EMIT recordRowClicked(index.row() + 1);
    });
}

QTableView *SearchController::resultList() const
{
    return m_view;
}

void SearchController::tidy()
{
    AutoFitGrid(m_view);
    m_fitter->fit();
}

void SearchController::PrepShow2FS()
{
    prepareList();
}

void SearchController::PrepShow2FS_Binder()
{
    search::PrepShow2FS_Binder(m_fs, [this](int) { Q_EMIT listPrepared(); });
    m_resultCount = 0;
    tidy();
    SetResultColumns(m_fs, kBinderColumns, true);
}

int SearchController::ShowBinderRows(jet::Recordset &rs)
{
    m_resultCount = FillBinderRows(m_fs, rs, m_fontSize);
    tidy();
    SetResultColumns(m_fs, kBinderColumns, true);
    return m_resultCount;
}

int SearchController::selectedRow() const
{
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    return rows.isEmpty() ? 0 : rows.last().row() + 1;
}

bool SearchController::MoveListRow(bool up)
{
    const int row = selectedRow();
    const int last = m_fs.rows() - 1;
    if (row < 1 || (up && row == 1) || (!up && row == last))
        return false;
    const int to = up ? row - 1 : row + 1;
    m_fs.moveDataRow(row, to);
    m_view->selectRow(to - 1);
    return true;
}

void SearchController::HideSearchPanel()
{
    m_panel->hideAll();
}

void SearchController::hideWordBox()
{
    m_panel->Text1(0)->hide();
}

void SearchController::mOptCol_Click(bool binderRows)
{
    SetResultColumns(m_fs, binderRows ? kBinderColumns : kCatalogColumns, false);
}

void SearchController::HideInternalColumns()
{
    SetResultColumns(m_fs, kCatalogColumns, true);
}

SearchController::~SearchController() = default;

bool SearchController::Form5(SearchPurpose purpose)
{
    while (true) {
        bool ok = false;
        const QString typed = m_prompter.text(form5Caption(purpose), form5Prompt(purpose), QString(), &ok);
        if (!ok) {
            m_searchCancelled = true;
            return false;
        }
        // A word of blanks only would find everything: it is refused as an empty one.
        if (typed.trimmed().isEmpty()) {
            message(form5EmptyWordMessage(), Prompter::Icon::Warning);
            continue;
        }
        m_searchCancelled = false;
        m_fullTextWord = typed.trimmed();
        return true;
    }
}

void SearchController::FullTextSearch(
    const QString &folder, const QStringList &names, const std::function<void(const QList<bool> &)> &markHits)
{
    if (!Form5(SearchPurpose::FolderList))
        return;
    QStringList paths;
    for (const QString &name : names)
        paths << joinPath(folder, name);
    Result<QList<bool>> hits = m_fullText->find(m_view->window(), m_catalog.CatalogPath, paths, m_fullTextWord);
    if (!hits && hits.status().code() == Status::Code::Cancelled)
        return;
    if (!hits && hits.status().code() != Status::Code::NotSupported) {
        message(
            QStringLiteral(u"全文検索を実行できませんでした。\n") + hits.status().toString(), Prompter::Icon::Warning);
        return;
    }
    const QList<bool> flags = hits ? *hits : QList<bool>(paths.size(), false);
    markHits(flags);
    if (!flags.contains(true))
        message(fullTextNotFoundMessage(m_fullTextWord), Prompter::Icon::Information);
}

void SearchController::FullTextSearchDB(jet::Recordset *records)
{
    jet::Database *db = m_catalog.db();
    if (!records || !db || records->recordCount() == 0)
        return;
    if (!Form5(SearchPurpose::ResultList))
        return;
    Result<QStringList> paths = recordPaths(*db, *records);
    if (!paths) {
        message(
            QStringLiteral(u"全文検索を実行できませんでした。\n") + paths.status().toString(), Prompter::Icon::Warning);
        return;
    }
    Result<QList<bool>> hits = m_fullText->find(m_view->window(), m_catalog.CatalogPath, *paths, m_fullTextWord);
    if (!hits && hits.status().code() == Status::Code::Cancelled)
        return;
    if (!hits && hits.status().code() != Status::Code::NotSupported) {
        message(
            QStringLiteral(u"全文検索を実行できませんでした。\n") + hits.status().toString(), Prompter::Icon::Warning);
        return;
    }
    const QList<bool> flags = hits ? *hits : QList<bool>(paths->size(), false);
    const int rows = m_model->rowCount();
    m_hiddenRowCount = 1;
    for (int row = 0; row < rows; ++row) {
        const bool hit = row < flags.size() && flags.at(row);
        m_view->setRowHidden(row, !hit);
        if (!hit)
            ++m_hiddenRowCount;
    }
    if (m_hiddenRowCount == rows + 1) {
        message(fullTextAllHiddenMessage(m_fullTextWord), Prompter::Icon::None);
        ShowAllResultRows();
        return;
    }
    const Prompter::Answer answer = m_prompter.message(
        { appTitle(), fullTextShowListQuestion(), Prompter::Icon::Question, Prompter::Buttons::YesNo });
    if (answer == Prompter::Answer::Yes)
        ShowAllResultRows();
}

void SearchController::ShowAllResultRows()
{
    for (int row = 0; row < m_model->rowCount(); ++row)
        m_view->setRowHidden(row, false);
}

void SearchController::message(const QString &text, Prompter::Icon icon)
{
    m_prompter.message({ appTitle(), text, icon, Prompter::Buttons::Ok });
}

void SearchController::prepareList()
{
    search::PrepShow2FS(m_fs, [this](int) { Q_EMIT listPrepared(); });
    SetResultColumns(m_fs, kCatalogColumns, true);
}

void SearchController::fillList()
{
    m_resultCount = 0;
    if (m_result)
        m_resultCount = FillCatalogRows(m_fs, *m_result, m_fontSize);
    tidy();
    SetResultColumns(m_fs, kCatalogColumns, true);
}

void SearchController::showNarrowingBox(SearchKind kind)
{
    jet::Database *db = m_catalog.db();
    if (!db)
        return;
    auto contents = FillClassCombo(*db, true);
    if (!contents)
        return;
    m_panel->setComboLeft(SearchPanel::narrowingBoxLeft(kind));
    m_panel->showClassItems(contents.value());
}

bool SearchController::listHasRows() const
{
    return m_fs.rows() >= 2;
}

void SearchController::EnterSearchPanel(SearchKind kind)
{
    prepareList();
    tidy();
    m_panel->LayoutSearchPanel(panelLayout(kind));
    jet::Database *db = m_catalog.db();
    if (kind == SearchKind::Class && db) {
        if (auto contents = FillClassCombo(*db, false))
            m_panel->showClassItems(contents.value());
    } else if (kind == SearchKind::Period && db) {
        if (auto dates = periodDates(*db)) {
            QStringList texts;
            texts.reserve(dates->size());
            for (const QDateTime &date : dates.value())
                texts.append(formatListedDate(date));
            m_panel->setPeriodDates(texts);
        }
        m_panel->Text1(1)->setText(kUntilText);
    }
    SetResultColumns(m_fs, kCatalogColumns, true);
}

SearchController::Outcome SearchController::finishQuery(SearchKind kind, const Result<bool> &found)
{
    if (!found || !found.value()) {
        m_resultCount = 0;
        // The narrowing box of an earlier result would narrow nothing now; the chooser of the
        // classification search keeps its list.
        if (kind != SearchKind::Class)
            m_panel->hideCombo();
        // A statement that could not run gives no message of its own; the folder search
        // finds nothing silently.
        // The hidden columns stay hidden behind the message.
        SetResultColumns(m_fs, kCatalogColumns, true);
        if (found && kind != SearchKind::Folder)
            message(kZeroResultMessage, Prompter::Icon::Information);
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
    if (m_panel->word().isEmpty()) {
        message(kEmptyWordMessage, Prompter::Icon::Warning);
        return Outcome::Refused;
    }
    m_state.SavedSearchWord = m_panel->word().trimmed();
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
    return finishQuery(SearchKind::Class, QueryByClass(*db, m_result, m_panel->comboText()));
}

SearchController::Outcome SearchController::RunPeriodSearch()
{
    prepareList();
    m_state.SavedSearchWord = m_panel->startDate();
    m_state.SavedEndDate = m_panel->endDate();
    // A bound that is no date would find nothing: say which one, and search nothing.
    for (const bool start : { true, false }) {
        const QString &typed = start ? m_state.SavedSearchWord : m_state.SavedEndDate;
        if (!parsePeriodBound(typed, start ? PeriodBound::Start : PeriodBound::End)) {
            m_panel->hideCombo();
            message(notADateMessage(typed, start), Prompter::Icon::Warning);
            return Outcome::Refused;
        }
    }
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
    const Result<int> pnID = catalog::GetPathID(*db, folderPath);
    if (!pnID && pnID.status().code() != Status::Code::NotFound)
        return finishQuery(SearchKind::Folder, pnID.status());
    return finishQuery(SearchKind::Folder, QueryByFolder(*db, m_result, pnID ? pnID.value() : -1));
}

SearchController::Outcome SearchController::RunFolderPanelSearch(const QString &folderPath)
{
    prepareList();
    if (folderPath.isEmpty())
        return Outcome::Refused;
    jet::Database *db = m_catalog.db();
    if (!db)
        return Outcome::Failed;
    const Result<int> pnID = catalog::GetPathID(*db, folderPath);
    if (pnID)
        return finishQuery(SearchKind::Folder, QueryByFolder(*db, m_result, pnID.value()));
    if (pnID.status().code() != Status::Code::NotFound)
        return finishQuery(SearchKind::Folder, pnID.status());
    ShowNotRegisteredFolder(m_fs, folderPath);
    tidy();
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
    m_panel->LayoutSearchPanel(panelLayout(kind));
    switch (kind) {
    case SearchKind::FileName:
    case SearchKind::Keyword:
        m_panel->Text1(0)->setText(m_state.SavedSearchWord);
        break;
    case SearchKind::Period:
        m_panel->Text1(0)->setText(m_state.SavedSearchWord);
        m_panel->Text1(1)->setText(m_state.SavedEndDate);
        break;
    case SearchKind::Class:
        if (jet::Database *db = m_catalog.db())
            if (auto contents = FillClassCombo(*db, false))
                m_panel->showClassItems(contents.value());
        break;
    case SearchKind::Folder:
        break;
    }
    if (kind != SearchKind::Class)
        showNarrowingBox(kind);
}

} // namespace tolvane::search::ui
