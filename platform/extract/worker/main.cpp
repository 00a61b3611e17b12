// tolvane-extract: the extraction worker. Reads requests from standard input, each a 4-byte
// big-endian length and one UTF-8 path, or several separated by NUL bytes (read together where
// a reader gains from it, see DocumentTextExtractor::extractAll), and answers each path, in
// order, on standard output with one status byte (0: text, 1: no text), a 4-byte big-endian
// length and the UTF-8 text (cut at the byte limit given as the first argument). Anything the
// libraries print goes to standard error, never into the answers. Ends when its input closes.
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>

#include <QCoreApplication>
#include <QFileInfo>

#include "platform/extract/documenttext.h"

namespace {

bool readFull(int fd, char *data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::read(fd, data, size);
        if (n <= 0)
            return false;
        data += n;
        size -= size_t(n);
    }
    return true;
}

bool writeFull(int fd, const char *data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n <= 0)
            return false;
        data += n;
        size -= size_t(n);
    }
    return true;
}

// Fault injection for the tests of the search: TOLVANE_EXTRACT_FAULTS="crash=NAME;hang=NAME"
// makes the worker die or hang on a file of that name.
void injectFault(const QString &path)
{
    static const QStringList faults
        = qEnvironmentVariable("TOLVANE_EXTRACT_FAULTS").split(QLatin1Char(';'), Qt::SkipEmptyParts);
    const QString name = QFileInfo(path).fileName();
    for (const QString &fault : faults) {
        if (fault == QStringLiteral("crash=") + name)
            std::abort();
        if (fault == QStringLiteral("hang=") + name) {
            while (true)
                std::this_thread::sleep_for(std::chrono::hours(1));
        }
    }
}

// One answer: the status byte, the length and the text, cut on a character boundary.
bool answer(int fd, const tolvane::Result<QString> &text, qint64 maxText)
{
    QByteArray utf8 = text ? text->toUtf8() : QByteArray();
    if (utf8.size() > maxText) {
        utf8.truncate(qsizetype(maxText));
        while (!utf8.isEmpty() && (static_cast<unsigned char>(utf8.back()) & 0xc0) == 0x80)
            utf8.chop(1); // no half character at the end
        if (!utf8.isEmpty() && static_cast<unsigned char>(utf8.back()) >= 0xc0)
            utf8.chop(1);
    }
    const quint32 n = quint32(utf8.size());
    const char reply[5] = { char(text ? 0 : 1), char(n >> 24), char(n >> 16), char(n >> 8), char(n) };
    return writeFull(fd, reply, 5) && writeFull(fd, utf8.constData(), size_t(utf8.size()));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const qint64 maxText = argc > 1 ? QByteArray(argv[1]).toLongLong() : qint64(32) << 20;
    // Our answers get their own descriptor; standard output becomes standard error.
    const int answers = ::dup(1);
    ::dup2(2, 1);
    tolvane::extract::removeLeftoverTempDirs();
    tolvane::extract::DocumentTextExtractor reader;
    while (true) {
        char header[4];
        if (!readFull(0, header, 4))
            return 0;
        const auto *u = reinterpret_cast<const unsigned char *>(header);
        const quint32 length = (quint32(u[0]) << 24) | (quint32(u[1]) << 16) | (quint32(u[2]) << 8) | quint32(u[3]);
        if (length > 1u << 20)
            return 2;
        QByteArray request(qsizetype(length), Qt::Uninitialized);
        if (!readFull(0, request.data(), length))
            return 0;
        QStringList files;
        for (const QByteArray &one : request.split('\0'))
            files << QString::fromUtf8(one);
        for (const QString &file : std::as_const(files))
            injectFault(file);
        const QList<tolvane::Result<QString>> texts
            = files.size() == 1 ? QList { reader.extract(files.constFirst()) } : reader.extractAll(files);
        for (const tolvane::Result<QString> &text : texts) {
            if (!answer(answers, text, maxText))
                return 0;
        }
    }
}
