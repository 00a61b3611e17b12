#include "platform/jet/besidethread.h"

#include <system_error>
#include <thread>

#if defined(__linux__)
#include <pthread.h>
#include <sched.h>
#endif

namespace tolvane::jet {

#if defined(__linux__)

struct BesideThread::State {
    std::function<void()> fn;
    pthread_t thread {};
};

namespace {

void *run(void *state)
{
    static_cast<std::function<void()> *>(state)->operator()();
    return nullptr;
}

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

} // namespace

bool BesideThread::worthwhile()
{
    cpu_set_t others;
    return otherProcessors(others);
}

bool BesideThread::start(std::function<void()> fn)
{
    join();
    auto state = std::make_unique<State>();
    state->fn = std::move(fn);
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0)
        return false;
    cpu_set_t others;
    if (otherProcessors(others))
        pthread_attr_setaffinity_np(&attr, sizeof others, &others); // a placement wish only
    const int failed = pthread_create(&state->thread, &attr, run, &state->fn);
    pthread_attr_destroy(&attr);
    if (failed != 0)
        return false;
    m_state = std::move(state);
    return true;
}

void BesideThread::join()
{
    if (m_state)
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
