// Readers that hand the file to another program or a library with its own document model:
// Word 97-2003 through wvWare, Write and Lotus 1-2-3 (and its Japanese editions) through
// libwps, Excel and PowerPoint 97-2003 through LibreOffice when it is installed.
#include <librevenge-generators/librevenge-generators.h>
#include <librevenge-stream/librevenge-stream.h>
#include <libwps/libwps.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include "platform/extract/documenttext.h"

#ifdef Q_OS_UNIX
#include <cerrno>
#include <csignal>
#endif

namespace tolvane::extract {

namespace {

// A helper program gets this long; the worker's own limit ends anything that hangs longer.
constexpr int kToolMilliseconds = 120000;

Result<QByteArray> runTool(const QString &program, const QStringList &arguments, const QString &workDir = {})
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    if (!workDir.isEmpty())
        process.setWorkingDirectory(workDir);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted())
        return Status::notSupported(program);
    QByteArray out;
    while (process.state() != QProcess::NotRunning) {
        if (!process.waitForReadyRead(kToolMilliseconds) && process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
            return Status::ioError(program);
        }
        out += process.readAllStandardOutput();
    }
    out += process.readAllStandardOutput();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return Status::corruption(program);
    return out;
}

// Temporary folders carry the process's id, so that those of a process that was killed can
// be found and removed (removeLeftoverTempDirs).
constexpr QLatin1String kTempPrefix("tolvane-extract-");

QString tempTemplate()
{
    return QDir(QDir::tempPath())
        .filePath(
            QString(kTempPrefix) + QString::number(QCoreApplication::applicationPid()) + QStringLiteral("-XXXXXX"));
}

QString wvConfig()
{
    for (const char *dir : { "/usr/share/wv", "/usr/local/share/wv" }) {
        const QString path = QString::fromLatin1(dir) + QStringLiteral("/wvText.xml");
        if (QFileInfo::exists(path))
            return path;
    }
    return {};
}

} // namespace

Result<QString> wordText(const QString &path)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("wvWare"));
    const QString config = wvConfig();
    if (program.isEmpty() || config.isEmpty())
        return QString(); // no reader installed: no text
    Result<QByteArray> out = runTool(program,
        { QStringLiteral("--charset=utf-8"), QStringLiteral("--nographics"), QStringLiteral("-x"), config, path });
    if (!out)
        return out.status();
    return QString::fromUtf8(*out);
}

Result<QString> worksText(const QString &path)
{
    const QByteArray file = QFile::encodeName(path);
    librevenge::RVNGFileStream input(file.constData());
    libwps::WPSKind kind = libwps::WPS_TEXT;
    libwps::WPSCreator creator = libwps::WPS_MSWORKS;
    bool needEncoding = false;
    if (libwps::WPSDocument::isFileFormatSupported(&input, kind, creator, needEncoding) == libwps::WPS_CONFIDENCE_NONE)
        return Status::corruption(path);
    // Japanese files carry no code page of their own; without one libwps reads CP1252.
    const char *encoding = needEncoding ? "CP932" : "";
    if (kind == libwps::WPS_TEXT) {
        librevenge::RVNGString text;
        librevenge::RVNGTextTextGenerator generator(text);
        if (libwps::WPSDocument::parse(&input, &generator, nullptr, encoding) != libwps::WPS_OK)
            return Status::corruption(path);
        return QString::fromUtf8(text.cstr());
    }
    if (kind == libwps::WPS_SPREADSHEET || kind == libwps::WPS_DATABASE) {
        librevenge::RVNGStringVector sheets;
        librevenge::RVNGTextSpreadsheetGenerator generator(sheets);
        if (libwps::WPSDocument::parse(&input, &generator, nullptr, encoding) != libwps::WPS_OK)
            return Status::corruption(path);
        QString out;
        for (unsigned i = 0; i < sheets.size(); ++i)
            out += QString::fromUtf8(sheets[i].cstr()) + QLatin1Char('\n');
        return out;
    }
    return QString();
}

void removeLeftoverTempDirs()
{
#ifdef Q_OS_UNIX
    const QDir temp(QDir::tempPath());
    const QStringList dirs
        = temp.entryList({ QString(kTempPrefix) + QLatin1Char('*') }, QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : dirs) {
        bool number = false;
        const qint64 pid = name.mid(kTempPrefix.size()).section(QLatin1Char('-'), 0, 0).toLongLong(&number);
        if (number && pid > 0 && ::kill(pid_t(pid), 0) != 0 && errno == ESRCH)
            QDir(temp.filePath(name)).removeRecursively();
    }
#endif
}

QList<Result<QString>> sofficeTexts(const QStringList &paths, const QString &suffix)
{
    QList<Result<QString>> texts(paths.size(), QString());
    const QString program = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    if (program.isEmpty() || paths.isEmpty())
        return texts; // without LibreOffice these formats give no text
    // One LibreOffice profile per thread (so each extraction worker has its own, and readers
    // running in threads of one process never share one, nor the user's), made on first use
    // and kept: a fresh profile costs seconds on every start.
    static thread_local QTemporaryDir profileDir(tempTemplate());
    QTemporaryDir work(tempTemplate());
    if (!profileDir.isValid() || !work.isValid()) {
        texts.fill(Status::ioError(work.errorString()));
        return texts;
    }
    // LibreOffice names its outputs after its inputs (a workbook's sheets as NAME-SHEET.csv):
    // links with names of our own keep files of the same name, or whose names look like
    // another's sheet, apart.
    const QDir in(work.filePath(QStringLiteral("in")));
    const QDir out(work.filePath(QStringLiteral("out")));
    QDir().mkpath(in.path());
    QDir().mkpath(out.path());
    QStringList inputs;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        inputs << in.filePath(QStringLiteral("f%1.%2").arg(i).arg(suffix));
        if (!QFile::link(QFileInfo(paths.at(i)).absoluteFilePath(), inputs.last()))
            texts[i] = Status::ioError(paths.at(i));
    }
    const QString profile
        = QStringLiteral("-env:UserInstallation=") + QUrl::fromLocalFile(profileDir.path()).toString();
    const bool sheet = suffix == QLatin1String("xls");
    const QString filter = sheet
        ? QStringLiteral("csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false,false,false,-1")
        : QStringLiteral("odp");
    Result<QByteArray> run = runTool(program,
        QStringList { profile, QStringLiteral("--headless"), QStringLiteral("--norestore"),
            QStringLiteral("--convert-to"), filter, QStringLiteral("--outdir"), out.path() }
            + inputs);
    if (!run) {
        // LibreOffice died on one of them: each alone, so the others still give their text.
        if (paths.size() > 1) {
            for (qsizetype i = 0; i < paths.size(); ++i)
                texts[i] = sofficeTexts({ paths.at(i) }, suffix).constFirst();
            return texts;
        }
        texts[0] = run.status();
        return texts;
    }
    const QFileInfoList outputs = out.entryInfoList(QDir::Files, QDir::Name);
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!texts.at(i))
            continue;
        const QString base = QStringLiteral("f%1").arg(i);
        QString text;
        for (const QFileInfo &f : outputs) {
            if (f.completeBaseName() != base && !f.completeBaseName().startsWith(base + QLatin1Char('-')))
                continue;
            if (sheet && f.suffix() == QLatin1String("csv")) {
                QFile csv(f.filePath());
                if (csv.open(QIODevice::ReadOnly))
                    text += QString::fromUtf8(csv.readAll()) + QLatin1Char('\n');
            } else if (!sheet && f.suffix() == QLatin1String("odp")) {
                Result<QString> slides = officeXmlText(f.filePath(), QStringLiteral("odp"));
                if (!slides) {
                    texts[i] = slides.status();
                    break;
                }
                text += *slides;
            }
        }
        if (texts.at(i))
            texts[i] = text;
    }
    return texts;
}

} // namespace tolvane::extract
