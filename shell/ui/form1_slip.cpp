// Form1: management slip and revision history handlers. A click in the result list opens the
// record of that row: the slip grids fg2 and vs on the left, the file in the viewer on the
// right. Edited slip fields and history lines are written back when the record is left or
// stepped from.
#include <QDir>
#include <QTableView>

#include "browser/resultlist.h"
#include "catalog/schema.h"
#include "platform/apptitle.h"
#include "registration/history.h"
#include "registration/pathrecords.h"
#include "registration/slip.h"
#include "registration/ui/calendarpicker.h"
#include "registration/ui/historygrid.h"
#include "registration/ui/slipgrid.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "viewer/dispatch.h"
#include "viewer/fontsizestore.h"

namespace tolvane::shell {

namespace {

constexpr int kRecordHelpContext = 10031;
constexpr int kSteppingStatus = 52;
constexpr int kSearchSlipWidthTwips = 4600;
constexpr int kBinderSlipWidthTwips = 4000;

bool isSearchMode(int modeNo)
{
    return modeNo == Mode::FolderSearch || modeNo == Mode::FileSearch || modeNo == Mode::ClassSearch
        || modeNo == Mode::PeriodSearch || modeNo == Mode::KeywordSearch;
}

} // namespace

// Connects the signals of fg2 and vs, and the result list's click.
void Form1::SetupSlip()
{
    m_calendarPicker = new registration::CalendarPicker(Calendar, this);
    m_slipGrid = new registration::SlipGrid(fg2, m_prompter, SlipDirty, this);
    m_historyGrid = new registration::HistoryGrid(vs, m_calendarPicker, m_prompter, HistoryDirty, this);
    connect(m_slipGrid, &registration::SlipGrid::stepRequested, this, [this](bool next) {
        if (LayoutState == Layout::RecordShown)
            Toolbar_ButtonClick(next ? QStringLiteral("Next") : QStringLiteral("Prev"));
    });
    // Edits of the record still on screen are written before its catalogue goes away (another
    // catalogue is opened, or the window closes), so that closing never drops them. The marks
    // are cleared either way: they must not reach the current record of the next catalogue.
    connect(this, &Form1::catalogAboutToClose, this, [this] {
        if ((SlipDirty || HistoryDirty) && SearchResultSet && m_catalog.isOpen())
            SaveRecordIfDirty();
        SlipDirty = false;
        HistoryDirty = false;
    });
    // A click on a result row opens its record. The row of the click is the grid row: the
    // heading is row 0, so model row i is grid row i + 1.
    connect(fs, &QAbstractItemView::clicked, this, [this](const QModelIndex &index) {
        // Rows of a record carry their number in column 0; the one-line "not registered" text
        // of the folder search does not, and opens nothing.
        if (!index.isValid() || index.sibling(index.row(), 0).data().toString().isEmpty())
            return;
        CurrentResultRow = index.row() + 1;
        CurrentResultCol = index.column();
        OpenResultRow();
    });
}

void Form1::OpenResultRow()
{
    jet::Database *db = m_catalog.db();
    if (!db || CurrentResultRow < 1)
        return;
    if (ModeNo == Mode::BinderFiles) {
        if (BinderOperation == BinderOp::ReorderFiles || BinderOperation == BinderOp::Detach || !BinderSet)
            return;
        BinderSet->moveFirst();
        BinderSet->move(CurrentResultRow - 1);
        if (BinderSet->bof() || BinderSet->eof())
            return;
        // The filed file's catalogue record becomes the current record of SearchResultSet.
        const QVariant pnID = BinderSet->field(QStringLiteral("pnID"));
        const QVariant fName = BinderSet->field(QStringLiteral("fName"));
        auto table = db->openTable(catalog::kFileAtrTable);
        if (!table)
            return;
        SearchResultSet = table.take();
        SearchResultSet->setFilter({ jet::Condition::equal(QStringLiteral("pnID"), pnID),
            jet::Condition::equal(QStringLiteral("fName"), fName) });
    } else if (isSearchMode(ModeNo)) {
        if (!SearchResultSet)
            return;
        SearchResultSet->moveFirst();
        SearchResultSet->move(CurrentResultRow - 1);
    } else {
        return;
    }
    if (SearchResultSet->bof() || SearchResultSet->eof())
        return;
    OpenedRow = CurrentResultRow;
    ShowOpenedRecord();
}

bool Form1::ShowOpenedRecord()
{
    jet::Database *db = m_catalog.db();
    if (!db || !SearchResultSet || SearchResultSet->bof() || SearchResultSet->eof())
        return false;
    const registration::SlipRecord record = registration::readSlipRecord(*SearchResultSet);
    const QString folder = registration::GetPathName(db, record.pnID);
    if (folder == registration::kNoPathName) {
        m_prompter.inform(
            appTitle(), QStringLiteral("Critical Error!! DB broken -> GetPath"), Prompter::Icon::Critical);
        return false;
    }
    CurrentFolder = folder;
    LayoutState = Layout::RecordShown;

    const bool binderList = ModeNo == Mode::BinderFiles;
    PrepareSlip();
    if (!binderList)
        HideSearchPanel();
    FillSlip();
    if (record.hsID != 0)
        LoadHistory();
    m_historyGrid->setFontSize(TextFontSize);

    CurrentFileName = record.fName;
    CurrentFileDate
        = SearchResultSet->field(QStringLiteral("fDate")).toDateTime().toString(QStringLiteral("yyyy-MM-dd"));
    ViewerToolbarKind = 0;
    DispFR();

    // The record display's toolbar: DispFR built it unless the file shows no viewer buttons.
    if (!toolbarKeys().contains(QStringLiteral("BackTo"))) {
        ShowLayout(ViewerLayout(ViewerToolbarKind, ModeNo, LayoutState, m_catalog.isArchive()));
    }
    const bool paged
        = viewer::presentationFor(CurrentFileName) == viewer::Presentation::MultiPagePicture && PageCount >= 2;
    if (!paged || binderList)
        ShowModeStatus(kSteppingStatus);
    fg2->resize(twipsToPixels(binderList ? kBinderSlipWidthTwips : kSearchSlipWidthTwips), fg2->height());
    vs->resize(fg2->width(), vs->height());
    UpdateLayout3();
    HelpContextID = kRecordHelpContext;
    return true;
}

// The slip grids in front in the left panel, emptied, with their labels and headings.
void Form1::PrepareSlip()
{
    ShowLeftPane(1);
    if (CatalogHeadings.isEmpty())
        CatalogHeadings = browser::CatalogHeadings();
    m_slipGrid->setArchive(m_catalog.isArchive());
    m_historyGrid->setArchive(m_catalog.isArchive());
    if (ClassArr.isEmpty()) {
        if (auto choices = registration::loadClassChoices(m_catalog.db())) {
            for (const registration::ClassChoice &c : *choices)
                ClassArr.append({ c.name, c.colour });
        }
    }
    QList<registration::ClassChoice> choices;
    for (const ClassItem &c : std::as_const(ClassArr))
        choices.append({ c.name, c.colour });
    m_slipGrid->setClassChoices(choices);
    m_slipGrid->prepare(CatalogHeadings);
    m_historyGrid->prepare();
    // Nothing of the previous record stays: its unsaved marks go with it.
    SlipDirty = false;
    HistoryDirty = false;
}

void Form1::FillSlip()
{
    if (!SearchResultSet)
        return;
    m_slipGrid->fill(registration::readSlipRecord(*SearchResultSet), QDir::toNativeSeparators(CurrentFolder), OpenedRow,
        ResultCount, TextFontSize);
}

void Form1::LoadHistory()
{
    if (!SearchResultSet)
        return;
    const int hsID = SearchResultSet->field(QStringLiteral("hsID")).toInt();
    if (auto lines = registration::LoadHistory(m_catalog.db(), hsID))
        m_historyGrid->showLines(*lines);
}

void Form1::SaveSlipFields()
{
    if (!SearchResultSet)
        return;
    if (registration::SaveSlipFields(m_catalog.db(), *SearchResultSet, m_slipGrid->edit()))
        SlipDirty = false;
}

void Form1::SaveHistory()
{
    if (!SearchResultSet)
        return;
    if (registration::SaveHistory(m_catalog.db(), *SearchResultSet, m_historyGrid->lines(), m_prompter))
        HistoryDirty = false;
}

// Before the record is left for the list: the slip fields when SlipDirty, and the history
// lines as well, so that going back never drops lines the user has typed.
bool Form1::SaveSlipIfDirty()
{
    return SaveRecordIfDirty();
}

// Before stepping to another record: the slip fields and the history lines. Edits still open
// in either grid count. False, with nothing saved, when a typed revision date was refused: the
// record stays shown with that date cell current, for the user to correct it.
bool Form1::SaveRecordIfDirty()
{
    if (LayoutState == Layout::RecordShown) {
        m_slipGrid->finishEdit();
        if (!m_historyGrid->finishEdit())
            return false;
    }
    if (SlipDirty)
        SaveSlipFields();
    if (HistoryDirty)
        SaveHistory();
    SlipDirty = false;
    HistoryDirty = false;
    return true;
}

void Form1::EditHistoryLine(const QString &key)
{
    if (LayoutState != Layout::RecordShown)
        return;
    if (key == QLatin1String("AddLine"))
        m_historyGrid->AddLine();
    else if (key == QLatin1String("DelLine"))
        m_historyGrid->DelLine();
}

// "AddLine": adds a revision-history line.
void Form1::AddLine()
{
    EditHistoryLine(QStringLiteral("AddLine"));
}

// "DelLine": deletes the selected revision-history line.
void Form1::DelLine()
{
    EditHistoryLine(QStringLiteral("DelLine"));
}

// Stores TextFontSize in the catalogue's FontSize table; quietly nothing without a catalogue.
void Form1::SaveFontSize()
{
    if (m_catalog.db())
        viewer::SaveFontSize(m_catalog.db(), TextFontSize);
}

} // namespace tolvane::shell
