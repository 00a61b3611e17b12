// Times the text decoders on generated Japanese input: encoding detection of a CP932 and an
// EUC-JP text file, and the rich text reader on a document with a format change every few
// words. Usage: bench_textextract [megabytes]. Prints throughput; asserts nothing.
#include <cstdio>
#include <functional>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QStringEncoder>
#include <QTextDocument>

#include "platform/textextract.h"

using namespace tolvane;

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

const QString kSentence = QStringLiteral("管理票の改訂履歴を確認してください。図面（第３版）は半角ｶﾅも含みます。\r\n");

QString japaneseText(qsizetype bytes)
{
    QString text;
    while (text.size() * 2 < bytes)
        text += kSentence;
    return text;
}

QByteArray japaneseRtf(qsizetype bytes)
{
    QStringEncoder cp932("windows-31j");
    const QByteArray sentence = cp932.encode(kSentence.left(kSentence.size() - 2));
    QByteArray escaped;
    for (const char c : sentence)
        escaped += "\\'" + QByteArray::number(static_cast<unsigned char>(c), 16).rightJustified(2, '0');
    QByteArray rtf = "{\\rtf1\\ansi\\ansicpg932\\deff0{\\fonttbl{\\f0\\fnil\\fcharset128 x;}}"
                     "{\\colortbl;\\red200\\green0\\blue0;}\\f0\\fs21 ";
    int i = 0;
    while (rtf.size() < bytes) {
        rtf += (i % 3 == 0 ? "\\b " : "\\b0 ") + escaped + (i % 5 == 0 ? "\\cf1 x\\cf0 " : " ") + "\\u26085?\\par\n";
        ++i;
    }
    return rtf + "}";
}

void time(const QString &what, qsizetype bytes, const std::function<void()> &work)
{
    QElapsedTimer t;
    t.start();
    work();
    const double ms = double(qMax<qint64>(1, t.elapsed()));
    say(QStringLiteral("%1: %2 MB in %3 ms, %4 MB/s")
            .arg(what)
            .arg(double(bytes) / 1e6, 0, 'f', 1)
            .arg(ms, 0, 'f', 0)
            .arg(double(bytes) / 1e3 / ms, 0, 'f', 1));
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const qsizetype megabytes = argc > 1 ? QByteArray(argv[1]).toLongLong() : 8;
    const qsizetype bytes = qMax<qsizetype>(1, megabytes) * 1000 * 1000;

    const QString text = japaneseText(bytes);
    const QByteArray sjis = QStringEncoder("windows-31j").encode(text);
    const QByteArray euc = QStringEncoder("EUC-JP").encode(text);
    time(QStringLiteral("decode CP932"), sjis.size(), [&] {
        if (decodeText(sjis).encoding != TextEncoding::ShiftJis)
            say(QStringLiteral("  wrong encoding detected"));
    });
    time(QStringLiteral("decode EUC-JP"), euc.size(), [&] {
        if (decodeText(euc).encoding != TextEncoding::EucJp)
            say(QStringLiteral("  wrong encoding detected"));
    });
    const QByteArray utf8 = text.toUtf8();
    time(QStringLiteral("decode UTF-8"), utf8.size(), [&] { decodeText(utf8); });

    const QByteArray rtf = japaneseRtf(bytes / 4);
    time(QStringLiteral("rich text to document"), rtf.size(), [&] {
        QTextDocument doc;
        readRtf(rtf, &doc);
        if (doc.characterCount() < 10)
            say(QStringLiteral("  no text read"));
    });
    return 0;
}
