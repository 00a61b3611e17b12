#include "search/ui/fulltextsession.h"

#include <atomic>
#include <mutex>
#include <thread>

#include <QEventLoop>
#include <QFile>
#include <QProgressDialog>
#include <QTimer>

#include "platform/apptitle.h"
#include "search/fulltext.h"
#include "search/fulltextindex.h"

namespace tolvane::search::ui {

FullTextSession::FullTextSession() = default;
FullTextSession::~FullTextSession() = default;

void FullTextSession::setExtractionOptions(const extract::ExtractionOptions &options)
{
    m_options = options;
    m_pool.reset();
}

QString FullTextSession::indexFile() const
{
    return m_index ? m_index->file() : QString();
}

Status FullTextSession::openIndex(const QString &catalogPath)
{
    if (m_index && m_indexFor == catalogPath)
        return Status::ok();
    m_index.reset();
    Result<std::unique_ptr<FullTextIndex>> index = FullTextIndex::open(FullTextIndex::locationFor(catalogPath));
    if (!index)
        return index.status();
    m_index = std::move(index.value());
    m_indexFor = catalogPath;
    return Status::ok();
}

Result<QList<bool>> FullTextSession::find(
    QWidget *parent, const QString &catalogPath, const QStringList &paths, const QString &word)
{
    Result<QList<bool>> result = run(parent, catalogPath, paths, word);
    if (!result && result.status().code() == Status::Code::Corruption && m_index) {
        // Found damaged while in use: the index is only a cache, so it is thrown away and
        // built again from the files.
        const QString file = m_index->file();
        m_index.reset();
        for (const char *suffix : { "", "-wal", "-shm", "-journal" })
            QFile::remove(file + QString::fromLatin1(suffix));
        result = run(parent, catalogPath, paths, word);
    }
    return result;
}

Result<QList<bool>> FullTextSession::run(
    QWidget *parent, const QString &catalogPath, const QStringList &paths, const QString &word)
{
    if (Status s = openIndex(catalogPath); !s)
        return s;
    if (!m_pool)
        m_pool = std::make_unique<extract::ExtractionPool>(m_options);

    struct Shared {
        std::atomic<bool> cancel { false };
        std::atomic<bool> finished { false };
        std::mutex lock;
        int done = 0;
        int total = 0;
        QString current;
    } shared;
    Result<QList<bool>> result = QList<bool>();
    FullTextEngine engine(*m_index, *m_pool);
    std::thread work([&] {
        result = engine.find(
            paths, word,
            [&shared](int done, int total, const QString &name) {
                std::lock_guard<std::mutex> guard(shared.lock);
                shared.done = done;
                shared.total = total;
                shared.current = name;
            },
            &shared.cancel);
        shared.finished = true;
    });

    // The dialog appears only when reading takes a moment; a repeat search answers before.
    QProgressDialog progress(parent);
    progress.setWindowTitle(appTitle());
    progress.setObjectName(QStringLiteral("FullTextProgress"));
    progress.setCancelButtonText(QStringLiteral(u"キャンセル"));
    progress.setLabelText(QStringLiteral(u"ファイルの文字列を読み込んでいます。"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(400);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    progress.setRange(0, 0);
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(30);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (shared.finished) {
            loop.quit();
            return;
        }
        if (progress.wasCanceled())
            shared.cancel = true;
        std::lock_guard<std::mutex> guard(shared.lock);
        if (shared.total > 0) {
            progress.setRange(0, shared.total);
            progress.setValue(shared.done);
            progress.setLabelText(QStringLiteral(u"ファイルの文字列を読み込んでいます（%1/%2）\n%3")
                                      .arg(shared.done)
                                      .arg(shared.total)
                                      .arg(shared.current));
        }
    });
    poll.start();
    if (!shared.finished)
        loop.exec(QEventLoop::AllEvents);
    work.join();
    progress.close();
    return result;
}

} // namespace tolvane::search::ui
