// Writing the shown picture with its data into a new spreadsheet (.xlsx, through
// libxlsxwriter): a two-line note in A1, the data from A3 on, the picture anchored below.
// The picture file is only read. Reentrant.
#pragma once

#include <QList>
#include <QPair>
#include <QString>

#include "platform/status.h"

namespace tolvane::viewer {

// What goes on the sheet. FileData: a picture shown from a folder (catalogue name, folder,
// file name and date in A3 to A6, picture at A8). Slip: a picture of the catalogue (catalogue
// name in A3, the first five slip rows, label and value, in A6:B10, picture at A14).
struct PictureSheet {
    enum class Variant { FileData, Slip };
    Variant variant = Variant::FileData;
    QString catalogName;
    QString folder;
    QString fileName;
    QString fileDate;
    QList<QPair<QString, QString>> slipRows; // label, value; rows past the fifth are ignored
};

// The note of A1, two lines.
QString pictureSheetNote(PictureSheet::Variant variant);

// The cell of the picture's top-left corner, 0-based (row 7 = A8, row 13 = A14).
int pictureSheetRow(PictureSheet::Variant variant);

// How writing went: the workbook exists at the given path in both cases; pictureInserted is
// false when the picture file could not be read (the sheet then holds the data only).
struct PictureSheetOutcome {
    bool pictureInserted = false;
};

// Writes the workbook to xlsxPath (replacing no existing file: it is written under a
// temporary name first and renamed when complete). The picture goes in at its own size (96
// pixels to the inch); formats the spreadsheet cannot hold (TIFF, PCX, metafiles …) are
// re-encoded to PNG. IOError when the workbook could not be written; InvalidArgument when
// xlsxPath exists already.
Result<PictureSheetOutcome> writePictureSheet(
    const QString &xlsxPath, const PictureSheet &sheet, const QString &picturePath);

} // namespace tolvane::viewer
