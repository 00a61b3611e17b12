// BesideThread: runs one function on a second thread for work split in two. On Linux the thread
// is placed on a processor other than the caller's (when the process may use another): left to
// the scheduler, a new thread waits on its parent's processor, often a millisecond or more,
// before it is moved to an idle one, which is most of what a split of a few milliseconds gains.
#pragma once

#include <functional>
#include <memory>

namespace tolvane::jet {

class BesideThread {
public:
    BesideThread();
    ~BesideThread(); // waits for the function
    BesideThread(const BesideThread &) = delete;
    BesideThread &operator=(const BesideThread &) = delete;

    // Whether the machine has a second processor for this process; when not, splitting work
    // gains nothing.
    static bool worthwhile();
    // Makes the thread ready ahead of the first split (a process about to split its work soon
    // calls this while it does something else).
    static void prepare();
    // Starts fn on the thread. False when no thread could be had: fn has then not run.
    bool start(std::function<void()> fn);
    // Waits for the function to return.
    void join();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tolvane::jet
