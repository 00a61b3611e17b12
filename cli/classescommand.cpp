// tolvane-cli classes list CATALOG.mdb: the classification list in list order, one class a line:
// name, colour text and position separated by tabs (a tab or line break inside a name written
// as \t, \n or \r).
// tolvane-cli classes set CATALOG.mdb FILE.tsv: replaces the whole list with FILE's lines (UTF-8,
// the same three fields; CR LF line ends and a byte-order mark are accepted, empty lines
// skipped). The classes are stored in the order of their positions (lines with equal positions
// in file order) and numbered 1..n, in one transaction: a refused file or a failed store leaves
// the list as it was.
#include <algorithm>

#include <QFile>
#include <QFileInfo>

#include "catalog/catalogstate.h"
#include "catalog/lifecycle.h"
#include "classes/classlist.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/bgrcolor.h"

namespace tolvane::cli {

namespace {

QString escaped(QString s)
{
    s.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    s.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    s.replace(QLatin1Char('\r'), QLatin1String("\\r"));
    return s;
}

// The classes of a list file, in stored order; an error names the file and line.
Result<QList<classes::ClassRow>> readListFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(path + QStringLiteral(": ") + file.errorString());
    QString text = QString::fromUtf8(file.readAll());
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    struct Line {
        int position;
        classes::ClassRow row;
    };
    QList<Line> lines;
    const QStringList rawLines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < rawLines.size(); ++i) {
        QString raw = rawLines[i];
        if (raw.endsWith(QLatin1Char('\r')))
            raw.chop(1);
        if (raw.isEmpty())
            continue;
        const QString where = QStringLiteral("%1:%2: ").arg(path).arg(i + 1);
        const QStringList fields = raw.split(QLatin1Char('\t'));
        if (fields.size() != 3)
            return Status::invalidArgument(
                where + QStringLiteral("expected name, colour and position separated by tabs"));
        bool ok = false;
        const int position = fields[2].trimmed().toInt(&ok);
        if (!ok)
            return Status::invalidArgument(where + QStringLiteral("position \"%1\" is not a number").arg(fields[2]));
        if (!fields[1].isEmpty() && !colorFromBgrText(fields[1]).isValid())
            return Status::invalidArgument(
                where + QStringLiteral("colour \"%1\" is neither &HBBGGRR nor a decimal BGR value").arg(fields[1]));
        lines.append({ position, { fields[0], fields[1], {} } });
    }
    std::stable_sort(lines.begin(), lines.end(), [](const Line &a, const Line &b) { return a.position < b.position; });
    QList<classes::ClassRow> rows;
    for (const Line &l : lines)
        rows.append(l.row);
    return rows;
}

} // namespace

int runClasses(const QStringList &args)
{
    const QString usage = QStringLiteral("usage: tolvane-cli classes list CATALOG.mdb\n"
                                         "       tolvane-cli classes set CATALOG.mdb FILE.tsv");
    const bool list = args.size() == 2 && args[0] == QLatin1String("list");
    const bool set = args.size() == 3 && args[0] == QLatin1String("set");
    if (!list && !set) {
        writeErr(usage);
        return 2;
    }
    QList<classes::ClassRow> newList;
    if (set) {
        auto rows = readListFile(args[2]);
        if (!rows) {
            writeErr(rows.status().message());
            return 1;
        }
        newList = rows.take();
    }

    ConsolePrompter prompter;
    prompter.setFileAnswer(QFileInfo(args[1]).absoluteFilePath());
    catalog::CatalogState state;
    std::unique_ptr<jet::Recordset> searchResultSet;
    std::unique_ptr<jet::Recordset> binderSet;
    switch (catalog::OpenCatalogFile(prompter, state, searchResultSet, binderSet)) {
    case catalog::OpenOutcome::Ordinary:
        break;
    case catalog::OpenOutcome::Archive:
        if (list)
            break;
        writeErr(QStringLiteral("%1: archive catalogue; the class list cannot be changed").arg(args[1]));
        return 1;
    case catalog::OpenOutcome::NotCatalog:
        return 1; // the refusal was printed
    case catalog::OpenOutcome::Cancelled:
    case catalog::OpenOutcome::ConnectFailed:
        writeErr(QStringLiteral("%1: cannot open the catalogue").arg(args[1]));
        return 1;
    }

    int code = 0;
    if (list) {
        auto rows = classes::ReadClassList(*state.db());
        if (!rows) {
            writeErr(rows.status().toString());
            code = 1;
        } else {
            QString out;
            for (const classes::ClassRow &r : *rows)
                out += escaped(r.name) + QLatin1Char('\t') + r.colour + QLatin1Char('\t') + r.position
                    + QLatin1Char('\n');
            if (!out.isEmpty())
                writeOut(out);
        }
    } else {
        const Status st = classes::StoreClassList(*state.db(), newList);
        if (!st) {
            writeErr(args[1] + QStringLiteral(": the class list was left as it was: ") + st.toString());
            code = 1;
        }
    }
    catalog::CloseCatalog(state, searchResultSet, binderSet);
    return code;
}

} // namespace tolvane::cli
