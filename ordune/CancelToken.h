// Asks whoever reads a file for somebody to give it up.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>

namespace ordune {

// Copies ask and are asked as one. One that was not made by Make is never cancelled. Any thread.
class CancelToken {
  public:
    CancelToken() = default;
    static CancelToken Make() { return At(Clock::time_point::max()); }
    // One that is cancelled by itself when so much time has passed.
    static CancelToken After(std::chrono::milliseconds time) { return At(Clock::now() + time); }

    // For good. Reads that have begun return as soon as the kernel does, with ErrorKind::Cancelled.
    void Cancel() const {
        if (m_asked) m_asked->store(true, std::memory_order_release);
    }
    bool Cancelled() const {
        if (!m_asked) return false;
        return m_asked->load(std::memory_order_acquire) ||
               (m_latest != Clock::time_point::max() && Clock::now() >= m_latest);
    }

  private:
    using Clock = std::chrono::steady_clock;
    static CancelToken At(Clock::time_point latest) {
        CancelToken token;
        token.m_asked = std::make_shared<std::atomic<bool>>(false);
        token.m_latest = latest;
        return token;
    }

    std::shared_ptr<std::atomic<bool>> m_asked;
    Clock::time_point m_latest = Clock::time_point::max();
};

} // namespace ordune
