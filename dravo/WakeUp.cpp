#include "dravo/WakeUp.h"

#include <algorithm>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace dravo {

using namespace std::chrono_literals;

namespace {

// The wait while there is no event descriptor to end it.
constexpr std::chrono::nanoseconds kPollInterval = 5ms;

} // namespace

WakeUp::WakeUp() : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeUp::~WakeUp() {
    if (m_event >= 0) close(m_event);
}

void WakeUp::Wake() {
    if (m_event < 0) return;
    const std::uint64_t one = 1;
    // Fails only when 2^64 - 2 wake-ups are waiting, which is a wake-up too.
    [[maybe_unused]] const ssize_t written = write(m_event, &one, sizeof one);
}

void WakeUp::Wait(const std::vector<int>& descriptors,
                  std::optional<std::chrono::steady_clock::time_point> until) {
    std::vector<pollfd> entries;
    entries.reserve(descriptors.size() + 1);
    if (m_event >= 0) entries.push_back({m_event, POLLIN, 0});
    for (const int descriptor : descriptors)
        entries.push_back({descriptor, POLLIN, 0});

    std::optional<std::chrono::nanoseconds> left;
    if (until) left = std::max<std::chrono::nanoseconds>(*until - std::chrono::steady_clock::now(), 0ns);
    if (m_event < 0) left = std::min(left.value_or(kPollInterval), kPollInterval);
    timespec timeout{};
    if (left) {
        timeout.tv_sec = static_cast<time_t>(left->count() / 1'000'000'000);
        timeout.tv_nsec = static_cast<long>(left->count() % 1'000'000'000);
    }
    ppoll(entries.data(), entries.size(), left ? &timeout : nullptr, nullptr);
    if (m_event < 0) return;
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(m_event, &count, sizeof count);
}

} // namespace dravo
