// Makes an index step by step: on the spot while that takes no longer than a moment, the rest on a thread of
// its own, which the object's end stops and joins. Whoever waits for the whole is told on that thread.
//
// Begin is called once, by the thread that owns the object; the others by any.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/FrameTable.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace ordune {

class IndexRun {
  public:
    // `advance` takes a step and publishes what it found in the table; false when all is found and the table
    // finished. It is called by one thread at a time. `cancel` is, at the object's end, where a step may take
    // long.
    IndexRun(std::shared_ptr<FrameTable> table, std::function<bool()> advance, CancelToken cancel = {})
        : m_table(std::move(table)), m_cancel(std::move(cancel)), m_advance(std::move(advance)) {}
    ~IndexRun();
    IndexRun(const IndexRun&) = delete;
    IndexRun& operator=(const IndexRun&) = delete;

    // Takes steps until there is a frame and `patience` has passed, but no longer than `longest` of the
    // thread's own time, nor than until `latest` is cancelled; `looked` is called after each step. True when
    // there is a frame.
    bool Begin(std::chrono::milliseconds patience, std::chrono::milliseconds longest,
               const std::function<void()>& looked = nullptr, const CancelToken& latest = {});
    // Leaves what Begin did not get done to the thread.
    void GoOn();

    // See FileContent.
    std::uint64_t WhenComplete(std::function<void()> done);
    void Withdraw(std::uint64_t number);

  private:
    void Run();
    void Announce();

    // Immutable.
    const std::shared_ptr<FrameTable> m_table;
    const CancelToken m_cancel;

    // Begin's thread, then the index thread alone.
    const std::function<bool()> m_advance;
    bool m_more = true;

    std::atomic<bool> m_stop{false};

    // Guarded by m_mutex. A call being made is out of the map and named in m_calling.
    std::mutex m_mutex;
    std::condition_variable m_called;
    std::map<std::uint64_t, std::function<void()>> m_waiting;
    std::uint64_t m_last_number = 0;
    std::uint64_t m_calling = 0;
    bool m_announced = false;

    std::thread m_thread; // last: it uses everything above
};

} // namespace ordune
