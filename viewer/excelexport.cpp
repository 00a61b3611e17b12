#include "viewer/excelexport.h"

#include <xlsxwriter.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "viewer/picturefile.h"

namespace tolvane::viewer {

namespace {

// 96 pixels to the inch: a re-encoded picture keeps one sheet pixel per picture pixel.
constexpr int kScreenDotsPerMetre = 3780;

struct WorkbookCloser {
    void operator()(lxw_workbook *w) const
    {
        if (w)
            workbook_close(w);
    }
};

// The picture as bytes the spreadsheet can hold: PNG and JPEG files as they are, every
// other picture decoded and written as PNG.
Result<QByteArray> sheetPictureBytes(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::notFound(path);
    const QByteArray head = file.peek(8);
    if (head.startsWith(QByteArrayView("\x89PNG\r\n\x1A\n", 8)) || head.startsWith(QByteArrayView("\xFF\xD8\xFF", 3))) {
        QByteArray bytes = file.readAll();
        if (file.error() != QFileDevice::NoError)
            return Status::ioError(file.errorString());
        return bytes;
    }
    file.close();
    Result<QImage> image = loadPicture(path);
    if (!image)
        return image.status();
    QImage picture = image.take();
    picture.setDotsPerMeterX(kScreenDotsPerMetre);
    picture.setDotsPerMeterY(kScreenDotsPerMetre);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!picture.save(&buffer, "PNG"))
        return Status::ioError(QStringLiteral("PNG encoding"));
    return png;
}

// Column A wide enough for the longer line of the note (full-width characters count twice).
double noteColumnWidth(const QString &note)
{
    int widest = 0;
    for (const QString &line : note.split(QLatin1Char('\n'))) {
        int w = 0;
        for (const QChar c : line)
            w += c.unicode() < 0x0100 || (c.unicode() >= 0xFF61 && c.unicode() <= 0xFF9F) ? 1 : 2;
        widest = std::max(widest, w);
    }
    return widest + 2;
}

} // namespace

QString pictureSheetNote(PictureSheet::Variant variant)
{
    const QString second = QStringLiteral("ここでの編集は元のデータには影響しません。");
    if (variant == PictureSheet::Variant::FileData)
        return QStringLiteral("表示中の写真とそのデータをここに出力しました。") + QLatin1Char('\n') + second;
    return QStringLiteral("表示中の写真とその登録済みデータを全てここに出力しました。") + QLatin1Char('\n') + second;
}

int pictureSheetRow(PictureSheet::Variant variant)
{
    return variant == PictureSheet::Variant::FileData ? 7 : 13;
}

Result<PictureSheetOutcome> writePictureSheet(
    const QString &xlsxPath, const PictureSheet &sheet, const QString &picturePath)
{
    if (QFileInfo::exists(xlsxPath))
        return Status::invalidArgument(xlsxPath);
    const QString partPath = xlsxPath + QStringLiteral(".part");
    QFile::remove(partPath);

    // libxlsxwriter opens its file with a UTF-8 name on Windows, the local encoding elsewhere.
#ifdef Q_OS_WIN
    const QByteArray partName = partPath.toUtf8();
#else
    const QByteArray partName = QFile::encodeName(partPath);
#endif
    std::unique_ptr<lxw_workbook, WorkbookCloser> book(workbook_new(partName.constData()));
    if (!book)
        return Status::ioError(partPath);
    lxw_worksheet *ws = workbook_add_worksheet(book.get(), nullptr);
    lxw_format *wrap = workbook_add_format(book.get());
    if (!ws || !wrap)
        return Status::ioError(partPath);
    format_set_text_wrap(wrap);
    format_set_align(wrap, LXW_ALIGN_VERTICAL_TOP);

    const auto text = [&](int row, int col, const QString &value, lxw_format *format = nullptr) {
        if (value.isEmpty())
            return LXW_NO_ERROR; // an empty value leaves the cell empty, as in the sheet by hand
        const QByteArray utf8 = value.toUtf8();
        return worksheet_write_string(ws, lxw_row_t(row), lxw_col_t(col), utf8.constData(), format);
    };

    const QString note = pictureSheetNote(sheet.variant);
    lxw_error err = text(0, 0, note, wrap);
    // Two lines of the default 11-point font.
    if (!err)
        err = worksheet_set_row(ws, 0, 30, nullptr);
    if (!err)
        err = worksheet_set_column(ws, 0, 0, noteColumnWidth(note), nullptr);
    if (!err)
        err = text(2, 0, sheet.catalogName);
    if (sheet.variant == PictureSheet::Variant::FileData) {
        if (!err)
            err = text(3, 0, sheet.folder);
        if (!err)
            err = text(4, 0, sheet.fileName);
        if (!err)
            err = text(5, 0, sheet.fileDate);
    } else {
        for (int i = 0; i < 5 && i < sheet.slipRows.size() && !err; ++i) {
            err = text(5 + i, 0, sheet.slipRows[i].first);
            if (!err)
                err = text(5 + i, 1, sheet.slipRows[i].second);
        }
    }
    if (err)
        return Status::ioError(QString::fromUtf8(lxw_strerror(err)));

    PictureSheetOutcome outcome;
    Result<QByteArray> picture = sheetPictureBytes(picturePath);
    if (picture) {
        QByteArray description = QFileInfo(picturePath).fileName().toUtf8();
        lxw_image_options options {};
        options.x_scale = 1;
        options.y_scale = 1;
        options.description = description.data();
        const lxw_error inserted = worksheet_insert_image_buffer_opt(ws, lxw_row_t(pictureSheetRow(sheet.variant)), 0,
            reinterpret_cast<const unsigned char *>(picture->constData()), size_t(picture->size()), &options);
        outcome.pictureInserted = inserted == LXW_NO_ERROR;
    }

    const lxw_error closed = workbook_close(book.release());
    if (closed != LXW_NO_ERROR) {
        QFile::remove(partPath);
        return Status::ioError(QString::fromUtf8(lxw_strerror(closed)));
    }
    if (!QFile::rename(partPath, xlsxPath)) {
        QFile::remove(partPath);
        return Status::ioError(xlsxPath);
    }
    return outcome;
}

} // namespace tolvane::viewer
