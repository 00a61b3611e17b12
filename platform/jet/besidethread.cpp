#include "platform/jet/besidethread.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#if defined(__linux__)
#include <pthread.h>
#include <sched.h>
#endif

namespace tolvane::jet {

#if defined(__linux__)

namespace {

// The processors this process may use, other than the one the caller runs on.
bool otherProcessors(cpu_set_t &others)
{
    CPU_ZERO(&others);
    if (sched_getaffinity(0, sizeof others, &others) != 0)
        return false;
    const int here = sched_getcpu();
    if (here >= 0 && here < CPU_SETSIZE)
        CPU_CLR(here, &others);
    return CPU_COUNT(&others) > 0;
}

// One thread kept for the whole process, waiting between functions: starting a thread and
// ending it cost a tenth of a millisecond each time, as much as a split of a short search
// gains. Before each function it is placed beside the caller. Never destroyed: it may be
// waiting when the process ends.
class Worker {
public:
    static Worker &instance()
    {
        static Worker *worker = new Worker;
        return *worker;
    }

    // Starts the thread, when it is not there yet.
    void prepare()
    {
        std::lock_guard lock(m_mutex);
        startThread();
    }

    // Hands fn over when the thread is there and idle.
    bool run(std::function<void()> *fn)
    {
        std::lock_guard lock(m_mutex);
        startThread();
        if (!m_running || !m_finished)
            return false;
        cpu_set_t others;
        if (otherProcessors(others))
            pthread_setaffinity_np(m_thread, sizeof others, &others); // a placement wish only
        m_task = fn;
        m_finished = false;
        m_wake.notify_one();
        return true;
    }

    // Waits for the function handed over last to return.
    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_done.wait(lock, [this] { return m_finished; });
    }

private:
    static void *loop(void *self)
    {
        Worker &w = *static_cast<Worker *>(self);
        std::unique_lock lock(w.m_mutex);
        for (;;) {
            w.m_wake.wait(lock, [&w] { return w.m_task != nullptr; });
            std::function<void()> *task = std::exchange(w.m_task, nullptr);
            lock.unlock();
            (*task)();
            lock.lock();
            w.m_finished = true;
            w.m_done.notify_all();
        }
        return nullptr;
    }

    void startThread()
    {
        if (m_started)
            return;
        m_started = true;
        m_running = pthread_create(&m_thread, nullptr, &Worker::loop, this) == 0;
        if (m_running)
            pthread_detach(m_thread);
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    pthread_t m_thread {};
    bool m_started = false; // a start was tried
    bool m_running = false; // and succeeded
    std::function<void()> *m_task = nullptr;
    bool m_finished = true; // the last function handed over has returned
};

void *runAlone(void *state)
{
    static_cast<std::function<void()> *>(state)->operator()();
    return nullptr;
}

} // namespace

// The function runs on the kept thread, or, while that one is busy (splits inside splits, or in
// several threads at once), on a thread of its own.
struct BesideThread::State {
    std::function<void()> fn;
    bool onWorker = false;
    pthread_t thread {};
};

bool BesideThread::worthwhile()
{
    cpu_set_t others;
    return otherProcessors(others);
}

void BesideThread::prepare()
{
    if (worthwhile())
        Worker::instance().prepare();
}

bool BesideThread::start(std::function<void()> fn)
{
    join();
    auto state = std::make_unique<State>();
    state->fn = std::move(fn);
    if (Worker::instance().run(&state->fn)) {
        state->onWorker = true;
        m_state = std::move(state);
        return true;
    }
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0)
        return false;
    cpu_set_t others;
    if (otherProcessors(others))
        pthread_attr_setaffinity_np(&attr, sizeof others, &others); // a placement wish only
    const int failed = pthread_create(&state->thread, &attr, runAlone, &state->fn);
    pthread_attr_destroy(&attr);
    if (failed != 0)
        return false;
    m_state = std::move(state);
    return true;
}

void BesideThread::join()
{
    if (m_state && m_state->onWorker)
        Worker::instance().wait();
    else if (m_state)
        pthread_join(m_state->thread, nullptr);
    m_state.reset();
}

#else

struct BesideThread::State {
    std::thread thread;
};

bool BesideThread::worthwhile()
{
    return std::thread::hardware_concurrency() >= 2;
}

void BesideThread::prepare() { }

bool BesideThread::start(std::function<void()> fn)
{
    join();
    auto state = std::make_unique<State>();
    try {
        state->thread = std::thread(std::move(fn));
    } catch (const std::system_error &) {
        return false;
    }
    m_state = std::move(state);
    return true;
}

void BesideThread::join()
{
    if (m_state && m_state->thread.joinable())
        m_state->thread.join();
    m_state.reset();
}

#endif

BesideThread::BesideThread() = default;

BesideThread::~BesideThread()
{
    join();
}

} // namespace tolvane::jet
