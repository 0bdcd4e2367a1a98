// The time that the calling thread has worked: what a deadline goes by that no busy machine and no slow disk
// may bring nearer.
#pragma once

#include <chrono>
#include <ctime>

namespace ordune {

inline std::chrono::nanoseconds WorkTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace ordune
