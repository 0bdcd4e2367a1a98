// Asks whoever reads a file for somebody to give it up.
#pragma once

#include <atomic>
#include <memory>

namespace ordune {

// Copies ask and are asked as one. One that was not made by Make is never cancelled. Any thread.
class CancelToken {
  public:
    CancelToken() = default;
    static CancelToken Make() {
        CancelToken token;
        token.m_asked = std::make_shared<std::atomic<bool>>(false);
        return token;
    }

    // For good. Reads that have begun return as soon as the kernel does, with ErrorKind::Cancelled.
    void Cancel() const {
        if (m_asked) m_asked->store(true, std::memory_order_release);
    }
    bool Cancelled() const { return m_asked && m_asked->load(std::memory_order_acquire); }

  private:
    std::shared_ptr<std::atomic<bool>> m_asked;
};

} // namespace ordune
