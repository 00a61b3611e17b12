// Extraction in worker processes: a damaged or hostile file can crash or hang a document
// library, so the search never runs one in its own process. Each worker is a long-lived
// `tolvane-extract` process that takes one path per request and answers with the text
// (length-prefixed frames on its standard input and output, see worker/main.cpp). A request
// has a time limit (a base plus a share per megabyte), after which the worker's whole process
// group gets SIGTERM and then SIGKILL; the address space of a worker is limited in the child.
// A worker that died is started again for the next file.
// run() is called from one thread at a time; it runs the workers in threads of its own.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include <QString>
#include <QStringList>

#include "platform/status.h"
#include "platform/textextract.h"

namespace tolvane::extract {

struct ExtractionOutcome {
    enum class Kind {
        Text, // the document's text (possibly empty: a format without a reader, or a failure)
        Crashed, // the worker died on this file
        TimedOut, // the worker did not answer within the file's time limit
    };
    Kind kind = Kind::Text;
    QString text;
};

struct ExtractionOptions {
    QString workerPath; // empty: defaultWorkerPath()
    int workers = 0; // 0: one per core
    int baseMilliseconds = 10000;
    int millisecondsPerMegabyte = 1000;
#if defined(__SANITIZE_ADDRESS__)
    qint64 addressSpaceBytes = 0; // the sanitizer reserves more address space than any limit allows
#else
    qint64 addressSpaceBytes = qint64(3) << 30; // 0: no limit
#endif
    qint64 maxTextBytes = qint64(32) << 20; // a longer text is cut here
};

// Where the worker program is: $TOLVANE_EXTRACT_WORKER, else beside the running program,
// else where this build put it.
QString defaultWorkerPath();

class ExtractionPool {
public:
    explicit ExtractionPool(ExtractionOptions options = {});
    ~ExtractionPool();
    ExtractionPool(const ExtractionPool &) = delete;
    ExtractionPool &operator=(const ExtractionPool &) = delete;

    // Called from the workers' threads, concurrently, once for each path handed out.
    using ResultSink = std::function<void(qsizetype index, ExtractionOutcome outcome)>;

    // Extracts every path (in no particular order), reporting each through sink; stops handing
    // out paths once cancel becomes true and returns Cancelled after the files in progress have
    // answered. NotSupported when no worker can be started.
    Status run(const QStringList &paths, const ResultSink &sink, const std::atomic<bool> *cancel = nullptr);

    // One file, for the viewer: the text, or the failure of the worker as IOError.
    Result<QString> extractOne(const QString &path);

    int workerCount() const;
    // Ends the files in progress at once (from any thread): they come back as Crashed.
    void abort();

    class Worker;

private:
    ExtractionOptions m_options;
    std::vector<std::unique_ptr<Worker>> m_workers;
};

// The extractor of the viewer: one worker process, asked from the calling thread, which keeps
// reporting progress (0 of 0: the length is unknown) while it waits; a stop request ends the
// worker. Where no worker can be started the readers run in process.
class WorkerTextExtractor : public TextExtractor {
public:
    explicit WorkerTextExtractor(ExtractionOptions options = {});
    Result<QString> extract(const QString &path, const Progress &progress = {}) override;

private:
    ExtractionPool m_pool;
};

} // namespace tolvane::extract
