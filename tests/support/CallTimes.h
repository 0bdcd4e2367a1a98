// How long calls took that nobody may be held up by, each by its name.
//
// A busy machine may hold any call up once; what waits for something that never answers does so every time.
// So the calls are made in several rounds, and of each the shortest counts.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <ostream>
#include <string>
#include <utility>

namespace support {

class CallTimes {
  public:
    using Milliseconds = std::chrono::duration<double, std::milli>;

    // What a window may be held up for. Sanitizers make decoding take ten times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr Milliseconds kLongest{2000};
#else
    static constexpr Milliseconds kLongest{200};
#endif

    // Makes the call and hands on its result.
    template <class Call>
    auto operator()(const std::string& name, Call&& call) {
        const auto begin = std::chrono::steady_clock::now();
        const auto result = std::forward<Call>(call)();
        const Milliseconds took = std::chrono::steady_clock::now() - begin;
        const auto [at, fresh] = m_shortest.try_emplace(name, took);
        if (!fresh) at->second = std::min(at->second, took);
        return result;
    }

    // The slowest call, as far as the rounds so far tell.
    Milliseconds Slowest() const {
        Milliseconds slowest{0};
        for (const auto& [name, took] : m_shortest)
            slowest = std::max(slowest, took);
        return slowest;
    }

    friend std::ostream& operator<<(std::ostream& out, const CallTimes& times) {
        for (const auto& [name, took] : times.m_shortest)
            out << name << ' ' << std::round(took.count() * 10) / 10 << " ms; ";
        return out;
    }

  private:
    std::map<std::string, Milliseconds> m_shortest; // of each call
};

} // namespace support
