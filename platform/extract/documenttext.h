// Plain text of the user's documents, in process: the one extractor behind the viewer's
// extracted-text pane and the full-text search (which runs it in worker processes, see
// extractionpool.h). One reader per family of formats, chosen by the file's extension:
//   pdf                               poppler (page text, in reading order)
//   docx xlsx pptx, odt ods odp odg,  the XML parts of the zip container, by local element names
//   sxw sxc sxi sxd
//   doc                               wvWare with its plain-text configuration
//   xls ppt                           LibreOffice (soffice), several files per run, when
//                                     installed; else no text
//   wri, wk3 wk4 123 wj2 wj3           libwps with the CP932 code page
//   html                              our charset sniffing, then libxml2's HTML parser
//   eml mht                           gmime for the MIME structure, our charset decoding
//   txt rtf                           the text decoders of platform/textextract.h
// Formats without a reader here (Ichitaro, OASYS, .bun) give no text, as does any failure.
// Reentrant; one DocumentTextExtractor per thread.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include "platform/textextract.h"

namespace tolvane::extract {

class DocumentTextExtractor : public TextExtractor {
public:
    // Text of the document at path (IOError when unreadable, Corruption when damaged, empty
    // text for a format without a reader). progress is only asked between PDF pages.
    Result<QString> extract(const QString &path, const Progress &progress = {}) override;
    // The texts of several files, in their order: as extract() one by one, except that the
    // files LibreOffice reads (xls, ppt) go to it together, one start for all of each kind.
    QList<Result<QString>> extractAll(const QStringList &paths);
};

// Whether extractAll() gains from having this file together with others of its kind.
bool readInBatches(const QString &path);

// Identifies the readers, their libraries' versions and which helper programs are installed:
// text recorded under another version (and files that failed under it) is extracted again.
QString extractorVersion();

// The readers, for the extractor and its tests. Each returns the text or a failure.
Result<QString> pdfText(const QString &path, const TextExtractor::Progress &progress);
Result<QString> officeXmlText(const QString &path, const QString &suffix);
Result<QString> htmlText(const QByteArray &bytes, const QByteArray &charsetHint = {});
Result<QString> mimeText(const QString &path);
Result<QString> wordText(const QString &path);
Result<QString> worksText(const QString &path);
// xls (CSV of every sheet) or ppt (through odp), several files in one LibreOffice run;
// if that run fails, each file in a run of its own.
QList<Result<QString>> sofficeTexts(const QStringList &paths, const QString &suffix);

// Removes the temporary folders (LibreOffice profiles, conversions) that extraction processes
// which were killed left behind; a worker calls it when it starts.
void removeLeftoverTempDirs();

// Decodes bytes in a charset named by a document (MIME or HTML): ISO-2022-JP through its JIS
// rows into CP932 (so NEC and IBM extension characters survive), Shift_JIS as CP932, others
// through Qt's codecs; an unknown or empty name falls back to the plain-text detection.
QString decodeCharset(const QByteArray &bytes, const QByteArray &charset);

} // namespace tolvane::extract
