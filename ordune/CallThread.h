// A thread for calls into the kernel that may never return: a read from a share that has gone away hangs
// until the share is back, and can be neither ended nor waited for.
//
// Run() waits for the call only so long. What hangs is left to itself: until it has returned, every further
// call fails at once, and a thread whose owner goes meanwhile ends by itself when the kernel lets it. So
// `work` must own all that it touches. Any thread may call; one call runs at a time.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace ordune {

class CallThread {
  public:
    // Throws std::system_error when no thread is to be had.
    CallThread();
    ~CallThread();
    CallThread(const CallThread&) = delete;
    CallThread& operator=(const CallThread&) = delete;

    // Carries out `work` on the thread and waits for its end; false when that takes longer than `limit`, or
    // when an earlier one still hangs. After false `work` may still be running.
    bool Run(std::function<void()> work, std::chrono::milliseconds limit);

  private:
    struct State;
    static void Loop(State& state);

    const std::shared_ptr<State> m_state; // shared with the thread, which may outlive this
    std::mutex m_calls;                   // held by Run from beginning to end
    std::thread m_thread;
};

} // namespace ordune
