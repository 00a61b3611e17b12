#include "search/resultlist.h"

#include "catalog/records.h"
#include "platform/bgrcolor.h"
#include "platform/jet/recordset.h"

namespace tolvane::search {

namespace {
// Panel selector that brings `fs` in front of the viewer.
constexpr int kResultListPanel = 11;
constexpr int kCatalogFieldCount = 7;
} // namespace

const QStringList &BinderHeadings()
{
    static const QStringList headings = { QStringLiteral("BinderID"), QStringLiteral("ファイル名"),
        QStringLiteral("PathNameID"), QStringLiteral("DocNo") };
    return headings;
}

QString NotRegisteredFolderText(const QString &folderPath)
{
    return QStringLiteral("フォルダ：") + folderPath + QStringLiteral("　内のファイル情報は登録されていません。 ");
}

void ResetCatalogList(ResultListModel &fs)
{
    fs.setRows(1);
    fs.setCols(2);
    fs.setCell(0, 0, QVariant());
    fs.setCell(0, 1, QVariant());
    fs.setColumnHidden(1, false);
}

void SetListHeadings(ResultListModel &fs, HeadingForm)
{
    fs.setCols(1 + kCatalogFieldCount);
    const QStringList &h = catalog::CatalogHeadings();
    for (int i = 0; i < h.size(); ++i)
        fs.setCell(0, i + 1, h[i]);
}

void PrepShow2FS(ResultListModel &fs, const std::function<void(int)> &bringToFront)
{
    ResetCatalogList(fs);
    if (bringToFront)
        bringToFront(kResultListPanel);
    SetListHeadings(fs, HeadingForm::List);
}

void PrepShow2FS_Binder(ResultListModel &fs, const std::function<void(int)> &bringToFront)
{
    ResetCatalogList(fs);
    if (bringToFront)
        bringToFront(kResultListPanel);
    const QStringList &h = BinderHeadings();
    fs.setCols(1 + int(h.size()));
    for (int i = 0; i < h.size(); ++i)
        fs.setCell(0, i + 1, h[i]);
}

void SetResultColumns(ResultListModel &fs, int variant, bool hide)
{
    if (variant == 1) {
        fs.setColumnHidden(1, false);
        for (int c : { 5, 6, 7 })
            fs.setColumnHidden(c, hide);
    } else if (variant == 2) {
        for (int c : { 1, 3, 4 })
            fs.setColumnHidden(c, hide);
    }
}

namespace {
int fillRows(ResultListModel &fs, jet::Recordset &rs, int fontSize, bool colourClass)
{
    int written = 0;
    if (!(rs.bof() && rs.eof())) {
        rs.moveFirst();
        const int fields = qMin(rs.fieldCount(), fs.cols() - 1);
        QList<QList<QVariant>> rows;
        QList<QColor> backs;
        int r = fs.rows() - 1;
        while (!rs.eof()) {
            QList<QVariant> values(fs.cols());
            values[0] = ++r;
            for (int i = 0; i < fields; ++i)
                values[i + 1] = rs.field(i);
            if (colourClass)
                backs.append(
                    rs.fieldCount() >= kCatalogFieldCount ? colorFromBgrText(rs.field(6).toString()) : QColor());
            rows.append(std::move(values));
            rs.moveNext();
        }
        fs.appendRows(rows, 1, backs);
        written = int(rows.size());
    }
    if (fontSize > 0)
        fs.setFontSize(fontSize);
    return written;
}
} // namespace

int FillCatalogRows(ResultListModel &fs, jet::Recordset &rs, int fontSize)
{
    return fillRows(fs, rs, fontSize, true);
}

int FillBinderRows(ResultListModel &fs, jet::Recordset &rs, int fontSize)
{
    return fillRows(fs, rs, fontSize, false);
}

void ShowNotRegisteredFolder(ResultListModel &fs, const QString &folderPath)
{
    const int row = fs.addRow();
    fs.setCell(row, 1, NotRegisteredFolderText(folderPath));
}

} // namespace tolvane::search
