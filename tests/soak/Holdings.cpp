#include "tests/soak/Holdings.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <sstream>
#include <unistd.h>

namespace soak {

namespace {

// What memory may gain without being called growth: an allocator's and a decoder's whims.
constexpr double kMemoryShare = 1.1;
constexpr double kMemoryMb = 32.0;
// What libraries open once, when they first need it. What every opening of a file leaks comes to dozens.
constexpr double kLateComers = 2;
// A mean of so many milliseconds apart is no clock any more.
constexpr double kClockMs = 40.0;

long CountEntries(const std::string& folder) {
    std::error_code ignored; // a server that is gone holds nothing
    const std::filesystem::directory_iterator entries(folder, ignored);
    return std::distance(begin(entries), end(entries));
}

double ResidentMb(const std::string& process) {
    std::ifstream file("/proc/" + process + "/statm");
    double size = 0.0;
    double resident = 0.0;
    file >> size >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

long CountWindows(support::XScreen& screen, xcb_window_t window) {
    long count = 1;
    for (const xcb_window_t child : screen.ChildrenOf(window))
        count += CountWindows(screen, child);
    return count;
}

// System V segments that this process made.
long CountSegments() {
    std::ifstream file("/proc/sysvipc/shm");
    std::string line;
    std::getline(file, line);
    long count = 0;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        long key = 0;
        long id = 0;
        std::string mode;
        long long size = 0;
        long maker = 0;
        words >> key >> id >> mode >> size >> maker;
        count += maker == ::getpid() ? 1 : 0;
    }
    return count;
}

// The sanitizers bring heaps of their own, which keep what was freed for a while.
constexpr bool IsMemoryKnown() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

struct Column {
    const char* name;
    double (*value)(const Holdings&);
    bool is_memory;
};

constexpr Column kColumns[] = {
    {"memory MB", [](const Holdings& h) { return h.memory_mb; }, true},
    {"heap MB", [](const Holdings& h) { return h.heap_mb; }, true},
    {"threads", [](const Holdings& h) { return static_cast<double>(h.threads); }, false},
    {"files", [](const Holdings& h) { return static_cast<double>(h.descriptors); }, false},
    {"X files", [](const Holdings& h) { return static_cast<double>(h.clients); }, false},
    {"windows", [](const Holdings& h) { return static_cast<double>(h.windows); }, false},
    {"X MB", [](const Holdings& h) { return h.server_mb; }, true},
    {"segments", [](const Holdings& h) { return static_cast<double>(h.segments); }, false},
};

template <class Value>
double Median(const std::vector<Holdings>& samples, std::size_t begin, std::size_t end, Value value) {
    std::vector<double> values;
    for (std::size_t i = begin; i < end; ++i)
        values.push_back(value(samples[i]));
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::size_t Third(const std::vector<Holdings>& samples) {
    return std::max<std::size_t>(samples.size() / 3, 1);
}

} // namespace

Holdings Look(support::XScreen& screen, pid_t server) {
    // What was freed is given back, so that memory is what is held.
    malloc_trim(0);
    Holdings holdings;
    const auto heap = mallinfo2();
    holdings.heap_mb = static_cast<double>(heap.uordblks + heap.hblkhd) / 1e6;
    holdings.memory_mb = ResidentMb("self");
    holdings.threads = CountEntries("/proc/self/task");
    holdings.descriptors = CountEntries("/proc/self/fd");
    holdings.clients = CountEntries("/proc/" + std::to_string(server) + "/fd");
    holdings.windows = CountWindows(screen, screen.Root());
    holdings.server_mb = ResidentMb(std::to_string(server));
    holdings.segments = CountSegments();
    return holdings;
}

void Print(const std::vector<Holdings>& samples) {
    std::printf("%9s %8s", "seconds", "actions");
    for (const Column& column : kColumns)
        std::printf(" %9s", column.name);
    std::printf(" %9s\n", "clock ms");
    for (const Holdings& sample : samples) {
        std::printf("%9.0f %8ld", sample.seconds, sample.actions);
        for (const Column& column : kColumns)
            std::printf(" %9.1f", column.value(sample));
        std::printf(" %9.1f\n", sample.clock_error_ms);
    }
    const std::size_t third = Third(samples);
    const auto clock = [](const Holdings& h) { return h.clock_error_ms; };
    for (const bool last : {false, true}) {
        const std::size_t begin = last ? samples.size() - third : 0;
        std::printf("%18s", last ? "last third" : "first third");
        for (const Column& column : kColumns)
            std::printf(" %9.1f", Median(samples, begin, begin + third, column.value));
        std::printf(" %9.1f\n", Median(samples, begin, begin + third, clock));
    }
}

std::vector<std::string> Growth(const std::vector<Holdings>& samples) {
    std::vector<std::string> growth;
    if (samples.size() < 3) return {"the run was too short to compare anything"};
    const std::size_t third = Third(samples);
    for (const Column& column : kColumns) {
        if (column.is_memory && !IsMemoryKnown()) continue;
        const double first = Median(samples, 0, third, column.value);
        const double last = Median(samples, samples.size() - third, samples.size(), column.value);
        const double limit = column.is_memory ? first * kMemoryShare + kMemoryMb : first + kLateComers;
        if (last > limit) {
            growth.push_back(std::string(column.name) + " grew from " + std::to_string(first) + " to " +
                             std::to_string(last));
        }
    }
    const double error =
        Median(samples, 0, samples.size(), [](const Holdings& h) { return h.clock_error_ms; });
    if (error > kClockMs) growth.push_back("the clock is " + std::to_string(error) + " ms off");
    return growth;
}

} // namespace soak
