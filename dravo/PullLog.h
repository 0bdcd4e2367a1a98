// What the device's callback tells about each of its pulls: a short queue without locks, one thread to each
// end.
//
// A full queue drops the newest entry, which costs the listener a moment without a position and nothing else.
// 1024 entries are 20 s at the usual 20 ms a pull, and 2.5 s with the shortest periods that devices have; it
// is emptied many times a second.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace dravo {

// One pull: frames [first, first + count) of the ring became frames [stream_first, ...) of the device's
// stream.
struct Pull {
    std::uint64_t stream = 0; // which stream: they are numbered as they are opened
    std::uint64_t stream_first = 0;
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    std::chrono::steady_clock::time_point at;
};

class PullLog {
  public:
    // The callback.
    void Put(const Pull& pull) {
        const std::size_t end = m_end.load(std::memory_order_relaxed);
        if (end - m_begin.load(std::memory_order_acquire) == m_pulls.size()) return;
        m_pulls[end % m_pulls.size()] = pull;
        m_end.store(end + 1, std::memory_order_release);
    }

    // The listener; false when there is none.
    bool Take(Pull& pull) {
        const std::size_t begin = m_begin.load(std::memory_order_relaxed);
        if (begin == m_end.load(std::memory_order_acquire)) return false;
        pull = m_pulls[begin % m_pulls.size()];
        m_begin.store(begin + 1, std::memory_order_release);
        return true;
    }

  private:
    // Entries from m_begin to m_end belong to the listener, the others to the callback.
    std::array<Pull, 1024> m_pulls{};
    std::atomic<std::size_t> m_begin{0}; // written by the listener
    std::atomic<std::size_t> m_end{0};   // written by the callback
};

} // namespace dravo
