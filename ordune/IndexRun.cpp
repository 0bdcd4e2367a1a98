#include "ordune/IndexRun.h"

#include "ordune/WorkClock.h"

#include <pthread.h>
#include <system_error>
#include <utility>

namespace ordune {

IndexRun::~IndexRun() {
    m_stop.store(true, std::memory_order_relaxed);
    m_cancel.Cancel();
    if (m_thread.joinable()) m_thread.join();
}

bool IndexRun::Begin(std::chrono::milliseconds patience, std::chrono::milliseconds longest,
                     const std::function<void()>& looked, const CancelToken& latest) {
    const auto begin = std::chrono::steady_clock::now();
    const auto work_begin = WorkTime();
    while (m_more) {
        m_more = m_advance();
        if (looked) looked();
        const auto spent = std::chrono::steady_clock::now() - begin;
        const auto worked = WorkTime() - work_begin;
        // There has to be something to show; a file whose first picture is that far away is refused.
        if (m_table->Known() > 0 ? spent >= patience : worked >= longest || latest.Cancelled()) break;
    }
    m_announced = !m_more;
    return m_table->Known() > 0;
}

void IndexRun::GoOn() {
    if (!m_more) return;
    try {
        m_thread = std::thread([this] {
            pthread_setname_np(pthread_self(), "index");
            Run();
        });
    } catch (const std::system_error&) {
        // Without a thread the rest is done here: late, but right.
        Run();
    }
}

void IndexRun::Run() {
    try {
        while (m_more && !m_stop.load(std::memory_order_relaxed))
            m_more = m_advance();
    } catch (...) {
        // Out of memory, as a rule. What is known is short, but not wrong, and whoever waits for the rest has
        // to hear that none will come.
        m_table->FinishShort();
        m_more = false;
    }
    if (!m_more) Announce();
}

void IndexRun::Announce() {
    std::unique_lock lock(m_mutex);
    m_announced = true;
    while (!m_waiting.empty()) {
        const auto first = m_waiting.begin();
        const std::function<void()> call = std::move(first->second);
        m_calling = first->first;
        m_waiting.erase(first);
        lock.unlock();
        try {
            call();
        } catch (...) {
            // The caller's own affair; the others are told all the same, and nobody waits for this one.
        }
        lock.lock();
        m_calling = 0;
        m_called.notify_all();
    }
}

std::uint64_t IndexRun::WhenComplete(std::function<void()> done) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_announced) {
            m_waiting.emplace(++m_last_number, std::move(done));
            return m_last_number;
        }
    }
    if (done) done();
    return 0;
}

void IndexRun::Withdraw(std::uint64_t number) {
    if (number == 0) return;
    std::unique_lock lock(m_mutex);
    m_waiting.erase(number);
    m_called.wait(lock, [&] { return m_calling != number; });
}

} // namespace ordune
