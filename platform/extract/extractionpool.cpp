#include "platform/extract/extractionpool.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
extern char **environ;
#endif

#include "platform/extract/documenttext.h"

namespace tolvane::extract {

namespace {

// The most files one request reads together: more saves little, and a group that hangs
// waits for the sum of its files' time limits before each is tried alone.
constexpr size_t kMaxBatch = 16;

} // namespace

QString defaultWorkerPath()
{
    const QString env = qEnvironmentVariable("TOLVANE_EXTRACT_WORKER");
    if (!env.isEmpty())
        return env;
    if (QCoreApplication::instance()) {
        const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/tolvane-extract");
        if (QFileInfo(beside).isExecutable())
            return beside;
    }
#ifdef TOLVANE_EXTRACT_WORKER_BUILD_PATH
    return QString::fromUtf8(TOLVANE_EXTRACT_WORKER_BUILD_PATH);
#else
    return QStringLiteral("tolvane-extract");
#endif
}

#ifdef Q_OS_UNIX

namespace {

using Clock = std::chrono::steady_clock;

// Writes all of data; a worker that has gone away gives false (its SIGPIPE is swallowed, not
// delivered to the program).
bool writeAll(int fd, const char *data, size_t size)
{
    sigset_t pipeSet;
    sigset_t old;
    sigemptyset(&pipeSet);
    sigaddset(&pipeSet, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSet, &old);
    bool ok = true;
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            ok = false;
            break;
        }
        data += n;
        size -= size_t(n);
    }
    if (!ok) {
        const timespec zero { 0, 0 };
        while (sigtimedwait(&pipeSet, nullptr, &zero) > 0) { }
    }
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    return ok;
}

enum class ReadResult { Ok, Eof, Timeout };

ReadResult readAll(int fd, char *data, size_t size, Clock::time_point deadline)
{
    while (size > 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return ReadResult::Timeout;
        pollfd p { fd, POLLIN, 0 };
        const int r = ::poll(&p, 1, int(std::min<long long>(left, 1000)));
        if (r < 0 && errno == EINTR)
            continue;
        if (r == 0)
            continue;
        const ssize_t n = ::read(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return ReadResult::Eof;
        data += n;
        size -= size_t(n);
    }
    return ReadResult::Ok;
}

quint32 beLength(const char *p)
{
    const auto *u = reinterpret_cast<const unsigned char *>(p);
    return (quint32(u[0]) << 24) | (quint32(u[1]) << 16) | (quint32(u[2]) << 8) | quint32(u[3]);
}

} // namespace

class ExtractionPool::Worker {
public:
    explicit Worker(const ExtractionOptions &options)
        : m_options(options)
    {
    }
    ~Worker() { stop(false); }

    void abort()
    {
        const pid_t pid = m_livePid.load();
        if (pid > 0)
            ::kill(-pid, SIGKILL);
    }

    bool canStart() const { return ::access(QFile::encodeName(m_options.workerPath).constData(), X_OK) == 0; }

    // Asks for several files in one request (the worker reads them together where that pays,
    // see DocumentTextExtractor::extractAll), with the sum of their time limits. When the
    // worker dies or runs out of time, that file and the ones after it get that outcome.
    std::vector<ExtractionOutcome> extract(const QStringList &paths)
    {
        std::vector<ExtractionOutcome> outcomes(size_t(paths.size()), { ExtractionOutcome::Kind::Crashed, {} });
        const QByteArray request = paths.join(QChar(0)).toUtf8();
        char header[4] = { char(request.size() >> 24), char(request.size() >> 16), char(request.size() >> 8),
            char(request.size()) };
        bool sent = false;
        for (int attempt = 0; attempt < 2 && !sent; ++attempt) {
            if (m_pid <= 0 && !start())
                return outcomes;
            sent = writeAll(m_in, header, 4) && writeAll(m_in, request.constData(), size_t(request.size()));
            if (!sent)
                stop(true); // died between two files: start it again and ask once more
        }
        if (!sent)
            return outcomes;

        qint64 milliseconds = 0;
        for (const QString &path : paths) {
            const qint64 megabytes = QFileInfo(path).size() / (1024 * 1024);
            milliseconds += m_options.baseMilliseconds + m_options.millisecondsPerMegabyte * megabytes;
        }
        const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
        for (ExtractionOutcome &outcome : outcomes) {
            char reply[5];
            ReadResult r = readAll(m_out, reply, 5, deadline);
            if (r == ReadResult::Ok) {
                const quint32 length = beLength(reply + 1);
                if (qint64(length) > m_options.maxTextBytes + 16) {
                    stop(true); // not our protocol any more
                    return outcomes;
                }
                QByteArray text(qsizetype(length), Qt::Uninitialized);
                r = readAll(m_out, text.data(), length, deadline);
                if (r == ReadResult::Ok) {
                    outcome = { ExtractionOutcome::Kind::Text, reply[0] == 0 ? QString::fromUtf8(text) : QString() };
                    continue;
                }
            }
            stop(true);
            const auto kind
                = r == ReadResult::Timeout ? ExtractionOutcome::Kind::TimedOut : ExtractionOutcome::Kind::Crashed;
            for (ExtractionOutcome *rest = &outcome; rest != outcomes.data() + outcomes.size(); ++rest)
                rest->kind = kind;
            break;
        }
        return outcomes;
    }

private:
    bool start()
    {
        int toChild[2];
        int fromChild[2];
        if (::pipe2(toChild, O_CLOEXEC) != 0)
            return false;
        if (::pipe2(fromChild, O_CLOEXEC) != 0) {
            ::close(toChild[0]);
            ::close(toChild[1]);
            return false;
        }
        const QByteArray program = QFile::encodeName(m_options.workerPath);
        const QByteArray maxText = QByteArray::number(m_options.maxTextBytes);
        char *argv[] = { const_cast<char *>(program.constData()), const_cast<char *>(maxText.constData()), nullptr };
        const rlim_t limit = m_options.addressSpaceBytes > 0 ? rlim_t(m_options.addressSpaceBytes) : RLIM_INFINITY;
        const pid_t pid = ::fork();
        if (pid == 0) {
            // Only async-signal-safe calls between fork and exec.
            ::setpgid(0, 0);
            const rlimit as { limit, limit };
            ::setrlimit(RLIMIT_AS, &as);
            ::dup2(toChild[0], 0);
            ::dup2(fromChild[1], 1);
            const int null = ::open("/dev/null", O_WRONLY);
            if (null >= 0)
                ::dup2(null, 2);
            ::execve(argv[0], argv, environ);
            ::_exit(127);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        if (pid < 0) {
            ::close(toChild[1]);
            ::close(fromChild[0]);
            return false;
        }
        ::setpgid(pid, pid);
        m_pid = pid;
        m_livePid = pid;
        m_in = toChild[1];
        m_out = fromChild[0];
        return true;
    }

    // Ends the worker: closing its input lets it leave by itself; force kills its whole
    // process group (helper programs included), SIGTERM first.
    void stop(bool force)
    {
        if (m_pid <= 0)
            return;
        ::close(m_in);
        ::close(m_out);
        m_in = m_out = -1;
        int status = 0;
        if (force) {
            ::kill(-m_pid, SIGTERM);
            const auto until = Clock::now() + std::chrono::milliseconds(500);
            while (::waitpid(m_pid, &status, WNOHANG) == 0) {
                if (Clock::now() > until) {
                    ::kill(-m_pid, SIGKILL);
                    ::waitpid(m_pid, &status, 0);
                    break;
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            ::kill(-m_pid, SIGKILL); // helpers left behind in the group
        } else {
            const auto until = Clock::now() + std::chrono::milliseconds(2000);
            while (::waitpid(m_pid, &status, WNOHANG) == 0) {
                if (Clock::now() > until) {
                    ::kill(-m_pid, SIGKILL);
                    ::waitpid(m_pid, &status, 0);
                    break;
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        }
        m_pid = -1;
        m_livePid = -1;
    }

    const ExtractionOptions &m_options;
    pid_t m_pid = -1;
    std::atomic<pid_t> m_livePid { -1 };
    int m_in = -1;
    int m_out = -1;
};

#else // no process control here: the readers run in the calling thread

class ExtractionPool::Worker {
public:
    explicit Worker(const ExtractionOptions &) { }
    bool canStart() const { return true; }
    void abort() { }
    std::vector<ExtractionOutcome> extract(const QStringList &paths)
    {
        DocumentTextExtractor reader;
        std::vector<ExtractionOutcome> outcomes;
        for (const Result<QString> &text : reader.extractAll(paths))
            outcomes.push_back({ ExtractionOutcome::Kind::Text, text ? *text : QString() });
        return outcomes;
    }
};

#endif

ExtractionPool::ExtractionPool(ExtractionOptions options)
    : m_options(std::move(options))
{
    if (m_options.workerPath.isEmpty())
        m_options.workerPath = defaultWorkerPath();
    int n = m_options.workers > 0 ? m_options.workers : int(std::thread::hardware_concurrency());
    n = std::max(1, n);
    for (int i = 0; i < n; ++i)
        m_workers.push_back(std::make_unique<Worker>(m_options));
}

ExtractionPool::~ExtractionPool() = default;

int ExtractionPool::workerCount() const
{
    return int(m_workers.size());
}

Status ExtractionPool::run(const QStringList &paths, const ResultSink &sink, const std::atomic<bool> *cancel)
{
    if (paths.isEmpty())
        return Status::ok();
    if (!m_workers.front()->canStart())
        return Status::notSupported(m_options.workerPath);
    // Jobs: the files that are read together (LibreOffice's) in groups, shared out over the
    // workers, then every other file alone.
    std::vector<std::vector<qsizetype>> jobs;
    std::map<QString, std::vector<qsizetype>> groups;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (readInBatches(paths.at(i)))
            groups[QFileInfo(paths.at(i)).suffix().toLower()].push_back(i);
    }
    std::vector<bool> grouped(size_t(paths.size()), false);
    for (const auto &[suffix, members] : groups) {
        const size_t share = (members.size() + m_workers.size() - 1) / m_workers.size();
        const size_t size = std::clamp<size_t>(share, 1, kMaxBatch);
        for (size_t from = 0; from < members.size(); from += size) {
            jobs.emplace_back(
                members.begin() + qsizetype(from), members.begin() + qsizetype(std::min(members.size(), from + size)));
            for (qsizetype i : jobs.back())
                grouped[size_t(i)] = true;
        }
    }
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!grouped[size_t(i)])
            jobs.push_back({ i });
    }
    std::atomic<size_t> next { 0 };
    auto loop = [&](Worker &worker) {
        while (true) {
            if (cancel && cancel->load())
                return;
            const size_t j = next.fetch_add(1);
            if (j >= jobs.size())
                return;
            const std::vector<qsizetype> &job = jobs[j];
            QStringList files;
            for (qsizetype i : job)
                files << paths.at(i);
            std::vector<ExtractionOutcome> outcomes = worker.extract(files);
            for (size_t k = 0; k < job.size(); ++k) {
                // A group that crashed or hung its worker: each of the rest alone, so that only
                // the file at fault is reported as such.
                if (job.size() > 1 && outcomes[k].kind != ExtractionOutcome::Kind::Text)
                    outcomes[k] = worker.extract({ files.at(qsizetype(k)) }).front();
                sink(job[k], std::move(outcomes[k]));
            }
        }
    };
    const size_t n = std::min(m_workers.size(), jobs.size());
    std::vector<std::thread> threads;
    for (size_t w = 1; w < n; ++w)
        threads.emplace_back(loop, std::ref(*m_workers[w]));
    loop(*m_workers.front());
    for (std::thread &t : threads)
        t.join();
    if (cancel && cancel->load() && next.load() < jobs.size())
        return Status::cancelled();
    return Status::ok();
}

void ExtractionPool::abort()
{
    for (auto &w : m_workers)
        w->abort();
}

Result<QString> ExtractionPool::extractOne(const QString &path)
{
    if (!m_workers.front()->canStart())
        return Status::notSupported(m_options.workerPath);
    ExtractionOutcome outcome = m_workers.front()->extract({ path }).front();
    if (outcome.kind != ExtractionOutcome::Kind::Text)
        return Status::ioError(path);
    return outcome.text;
}

} // namespace tolvane::extract

namespace tolvane::extract {

WorkerTextExtractor::WorkerTextExtractor(ExtractionOptions options)
    : m_pool([&options] {
        options.workers = 1;
        return options;
    }())
{
}

Result<QString> WorkerTextExtractor::extract(const QString &path, const Progress &progress)
{
    std::atomic<bool> done { false };
    Result<QString> text = QString();
    std::thread work([&] {
        text = m_pool.extractOne(path);
        done = true;
    });
    bool stopped = false;
    while (!done) {
        if (!stopped && progress && !progress(0, 0)) {
            stopped = true;
            m_pool.abort();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    work.join();
    if (stopped)
        return Status::cancelled();
    if (!text && text.status().code() == Status::Code::NotSupported) {
        DocumentTextExtractor reader;
        return reader.extract(path, progress);
    }
    return text;
}

} // namespace tolvane::extract
