#include "support/oracles.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

namespace tolvane::test {

namespace {

struct Run {
    bool started = false;
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs a tool to its end. The limit only guards against a hung tool; it is generous.
Run runTool(const QString &program, const QStringList &args, const QString &workDir = {})
{
    Run r;
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    env.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
    p.setProcessEnvironment(env);
    if (!workDir.isEmpty())
        p.setWorkingDirectory(workDir);
    p.start(program, args);
    if (!p.waitForStarted(30000))
        return r;
    r.started = true;
    p.closeWriteChannel();
    if (!p.waitForFinished(300000)) {
        p.kill();
        p.waitForFinished();
        r.err = "timed out";
        return r;
    }
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return r;
}

QString nodeDir()
{
    return QStringLiteral(TOLVANE_SOURCE_DIR "/tests/jet/node");
}

// mdb-export output is delimited with control characters that never occur in catalogue text,
// and text values are wrapped in another one, so quotes, commas, tabs and line breaks inside
// values need no unescaping beyond the doubled quote character.
constexpr QChar kFieldSep(0x1F);
constexpr QChar kRowSep(0x1E);
constexpr QChar kQuote(0x02);

QStringList splitExportRow(const QString &line)
{
    QStringList fields;
    const qsizetype n = line.size();
    qsizetype i = 0;
    while (true) {
        QString field;
        if (i < n && line.at(i) == kQuote) {
            ++i;
            while (i < n) {
                if (line.at(i) == kQuote) {
                    if (i + 1 < n && line.at(i + 1) == kQuote) {
                        field.append(kQuote);
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                field.append(line.at(i++));
            }
            if (field.isNull())
                field = QStringLiteral(""); // quoted empty text: not null
        } else {
            const qsizetype end = line.indexOf(kFieldSep, i);
            const qsizetype stop = end < 0 ? n : end;
            if (stop > i)
                field = line.mid(i, stop - i);
            i = stop;
        }
        fields.append(field);
        if (i >= n)
            break;
        ++i; // field separator
        if (i == n) {
            fields.append(QString());
            break;
        }
    }
    return fields;
}

// Splits the output into rows. A row separator inside a quoted value is part of the value.
QList<QStringList> splitExport(const QString &text)
{
    QList<QStringList> rows;
    QString current;
    bool quoted = false;
    for (QChar c : text) {
        if (c == kQuote)
            quoted = !quoted; // a doubled quote toggles twice
        if (c == kRowSep && !quoted) {
            rows.append(splitExportRow(current));
            current.clear();
            continue;
        }
        current.append(c);
    }
    if (!current.isEmpty())
        rows.append(splitExportRow(current));
    return rows;
}

} // namespace

OracleResult jetCheck(const QString &path, bool noLeaks)
{
    QStringList args { QStringLiteral(TOLVANE_SHARED_DIR "/tools/jet-check"), path, QStringLiteral("--quiet") };
    if (noLeaks)
        args << QStringLiteral("--no-leaks");
    const Run r = runTool(QStringLiteral("python3"), args);
    OracleResult result;
    result.ok = r.started && r.exitCode == 0;
    result.output = QString::fromUtf8(r.out + r.err).trimmed();
    if (!r.started)
        result.output = QStringLiteral("jet-check could not be started (python3 missing?)");
    return result;
}

bool mdbToolsAvailable()
{
    for (const char *tool : { "mdb-tables", "mdb-count", "mdb-export", "mdb-schema" }) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            return false;
    }
    return true;
}

QStringList mdbTables(const QString &path)
{
    const Run r = runTool(QStringLiteral("mdb-tables"), { QStringLiteral("-1"), path });
    if (!r.started || r.exitCode != 0)
        return {};
    QStringList names;
    for (const QString &line : QString::fromUtf8(r.out).split(QLatin1Char('\n'))) {
        const QString name = line.trimmed();
        if (!name.isEmpty())
            names.append(name);
    }
    return names;
}

qint64 mdbCount(const QString &path, const QString &table)
{
    const Run r = runTool(QStringLiteral("mdb-count"), { path, table });
    if (!r.started || r.exitCode != 0)
        return -1;
    bool ok = false;
    const qint64 n = QString::fromUtf8(r.out).trimmed().toLongLong(&ok);
    return ok ? n : -1;
}

ExportResult mdbExportResult(const QString &path, const QString &table)
{
    ExportResult result;
    const QStringList args { QStringLiteral("-H"), QStringLiteral("-d"), QString(kFieldSep), QStringLiteral("-R"),
        QString(kRowSep), QStringLiteral("-q"), QString(kQuote), QStringLiteral("-D"),
        QStringLiteral("%Y-%m-%d %H:%M:%S"), QStringLiteral("-T"), QStringLiteral("%Y-%m-%d %H:%M:%S"), path, table };
    const Run r = runTool(QStringLiteral("mdb-export"), args);
    if (!r.started || r.exitCode != 0) {
        result.error = r.started ? QString::fromUtf8(r.err).trimmed() : QStringLiteral("mdb-export not found");
        return result;
    }
    result.ok = true;
    result.rows = splitExport(QString::fromUtf8(r.out));
    return result;
}

QList<QStringList> mdbExport(const QString &path, const QString &table)
{
    return mdbExportResult(path, table).rows;
}

QList<QPair<QString, QString>> mdbColumns(const QString &path, const QString &table)
{
    const Run r = runTool(QStringLiteral("mdb-schema"),
        { QStringLiteral("-T"), table, QStringLiteral("--no-indexes"), QStringLiteral("--no-relations"),
            QStringLiteral("--no-not-null"), path });
    if (!r.started || r.exitCode != 0)
        return {};
    QList<QPair<QString, QString>> columns;
    static const QRegularExpression columnLine(QStringLiteral("^\\s*\\[(.+)\\]\\s+(.+?)\\s*,?\\s*$"));
    bool inTable = false;
    for (const QString &line : QString::fromUtf8(r.out).split(QLatin1Char('\n'))) {
        if (line.startsWith(QStringLiteral("CREATE TABLE"))) {
            inTable = true;
            continue;
        }
        if (!inTable)
            continue;
        if (line.trimmed().startsWith(QStringLiteral(");")))
            break;
        const QRegularExpressionMatch m = columnLine.match(line);
        if (m.hasMatch())
            columns.append({ m.captured(1), m.captured(2) });
    }
    return columns;
}

QJsonObject mdbReaderDump(const QString &path)
{
    const QString dir = nodeDir();
    if (!QFileInfo::exists(dir + QStringLiteral("/node_modules/mdb-reader/package.json"))) {
        const QString message
            = QStringLiteral("mdb-reader is not installed: run `npm ci` in %1").arg(QDir::toNativeSeparators(dir));
        QTest::qFail(qPrintable(message), __FILE__, __LINE__);
        return QJsonObject { { QStringLiteral("error"), message } };
    }
    const Run r = runTool(
        QStringLiteral("node"), { dir + QStringLiteral("/dump.mjs"), QFileInfo(path).absoluteFilePath() }, dir);
    if (!r.started) {
        const QString message = QStringLiteral("node could not be started; mdb-reader needs node 18 or later");
        QTest::qFail(qPrintable(message), __FILE__, __LINE__);
        return QJsonObject { { QStringLiteral("error"), message } };
    }
    if (r.exitCode != 0)
        return QJsonObject { { QStringLiteral("error"), QString::fromUtf8(r.err).trimmed() } };
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(r.out, &parseError);
    if (parseError.error != QJsonParseError::NoError || !doc.isObject())
        return QJsonObject { { QStringLiteral("error"),
            QStringLiteral("unreadable dump: ") + parseError.errorString() } };
    return doc.object();
}

} // namespace tolvane::test
