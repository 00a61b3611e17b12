#include "platform/tableexport.h"

#include <memory>
#include <xlsxwriter.h>

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace tolvane {

namespace {

Status writeCsv(const QString &path, const QStringList &headings, const QList<QStringList> &rows)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Status::ioError(file.errorString());
    QByteArray bytes("\xEF\xBB\xBF");
    bytes += csvLine(headings).toUtf8() + "\r\n";
    for (const QStringList &row : rows)
        bytes += csvLine(row).toUtf8() + "\r\n";
    if (file.write(bytes) != bytes.size() || !file.commit())
        return Status::ioError(file.errorString());
    return Status::ok();
}

Status writeXlsx(const QString &path, const QStringList &headings, const QList<QStringList> &rows)
{
    const QString part = path + QStringLiteral(".part");
    QFile::remove(part);
    // libxlsxwriter opens its file with a UTF-8 name on Windows, the local encoding elsewhere.
#ifdef Q_OS_WIN
    const QByteArray partName = part.toUtf8();
#else
    const QByteArray partName = QFile::encodeName(part);
#endif
    lxw_workbook *book = workbook_new(partName.constData());
    if (!book)
        return Status::ioError(part);
    lxw_worksheet *sheet = workbook_add_worksheet(book, nullptr);
    lxw_format *bold = workbook_add_format(book);
    lxw_error err = sheet && bold ? LXW_NO_ERROR : LXW_ERROR_MEMORY_MALLOC_FAILED;
    if (!err)
        format_set_bold(bold);
    const auto put = [&](int row, int col, const QString &text, lxw_format *format) {
        if (err || text.isEmpty())
            return;
        const QByteArray utf8 = text.toUtf8();
        err = worksheet_write_string(sheet, lxw_row_t(row), lxw_col_t(col), utf8.constData(), format);
    };
    for (int c = 0; c < headings.size(); ++c)
        put(0, c, headings[c], bold);
    for (int r = 0; r < rows.size(); ++r)
        for (int c = 0; c < rows[r].size(); ++c)
            put(r + 1, c, rows[r][c], nullptr);
    if (!err)
        worksheet_freeze_panes(sheet, 1, 0); // the heading row stays in view
    const lxw_error closed = workbook_close(book);
    if (err || closed) {
        QFile::remove(part);
        return Status::ioError(QString::fromUtf8(lxw_strerror(err ? err : closed)));
    }
    QFile::remove(path);
    if (!QFile::rename(part, path)) {
        QFile::remove(part);
        return Status::ioError(path);
    }
    return Status::ok();
}

} // namespace

QString csvLine(const QStringList &fields)
{
    QStringList out;
    for (const QString &f : fields) {
        if (f.contains(QLatin1Char(',')) || f.contains(QLatin1Char('"')) || f.contains(QLatin1Char('\n'))
            || f.contains(QLatin1Char('\r'))) {
            QString quoted = f;
            quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
            out << QLatin1Char('"') + quoted + QLatin1Char('"');
        } else {
            out << f;
        }
    }
    return out.join(QLatin1Char(','));
}

Status writeTable(const QString &path, const QStringList &headings, const QList<QStringList> &rows)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QStringLiteral("csv"))
        return writeCsv(path, headings, rows);
    if (suffix == QStringLiteral("xlsx"))
        return writeXlsx(path, headings, rows);
    return Status::invalidArgument(QStringLiteral("unknown table format: %1").arg(path));
}

} // namespace tolvane
