// How tests wait: for a condition, until a deadline.
#pragma once

#include <chrono>
#include <thread>
#include <utility>

namespace support {

// Asks `condition` again and again until it holds or `limit` has passed; returns its last answer.
template <typename Condition>
bool WaitUntil(Condition&& condition, std::chrono::milliseconds limit,
               std::chrono::milliseconds interval = std::chrono::milliseconds(2)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return condition();
        std::this_thread::sleep_for(interval);
    }
    return true;
}

} // namespace support
