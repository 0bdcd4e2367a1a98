#include "ordune/CallThread.h"

#include <condition_variable>
#include <exception>
#include <pthread.h>
#include <utility>

namespace ordune {

struct CallThread::State {
    std::mutex mutex;
    std::condition_variable changed; // work was given or done, or the owner goes
    // Guarded by mutex.
    std::function<void()> work; // given and not yet begun
    bool busy = false;          // work was given and has not returned
    bool ending = false;
};

CallThread::CallThread() : m_state(std::make_shared<State>()) {
    m_thread = std::thread([state = m_state] { Loop(*state); });
}

CallThread::~CallThread() {
    bool hangs = false;
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->ending = true;
        hangs = m_state->busy;
        m_state->changed.notify_all();
    }
    if (hangs) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void CallThread::Loop(State& state) {
    pthread_setname_np(pthread_self(), "ordune-file");
    std::unique_lock lock(state.mutex);
    while (true) {
        state.changed.wait(lock, [&] { return state.work || state.ending; });
        if (!state.work) return;
        std::function<void()> work = std::exchange(state.work, nullptr);
        lock.unlock();
        try {
            work();
        } catch (const std::exception&) {
            // Memory that is not to be had; the caller finds that nothing was done.
        }
        work = nullptr; // what it owned may take its time to close, too
        lock.lock();
        state.busy = false;
        state.changed.notify_all();
    }
}

bool CallThread::Run(std::function<void()> work, std::chrono::milliseconds limit) {
    const std::lock_guard calls(m_calls);
    std::unique_lock lock(m_state->mutex);
    if (m_state->busy) return false;
    m_state->work = std::move(work);
    m_state->busy = true;
    m_state->changed.notify_all();
    return m_state->changed.wait_for(lock, limit, [this] { return !m_state->busy; });
}

} // namespace ordune
