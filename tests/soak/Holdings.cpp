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
constexpr double kMemoryMb = 12.0;
// What libraries open once, when they first need it. What every opening of a file leaks comes to dozens.
constexpr double kLateComers = 2;
// Over two and a half seconds that are looked at, half of the pictures lie 0.6 s or more from the one in
// their middle: three in a hundred too fast or too slow come to this.
constexpr double kClockMs = 18.0;

long CountEntries(const std::string& folder) {
    std::error_code ignored; // a server that is gone holds nothing
    const std::filesystem::directory_iterator entries(folder, ignored);
    return std::distance(begin(entries), end(entries));
}

// A line of /proc/PROCESS/status that is told in kB; 0 when the process is gone.
double StatusMb(const std::string& process, const std::string& name) {
    std::ifstream file("/proc/" + process + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) * 1024 / 1e6;
    }
    return 0.0;
}

double OwnMb(const std::string& process) {
    return StatusMb(process, "RssAnon") + StatusMb(process, "RssShmem");
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
    {"mapped MB", [](const Holdings& h) { return h.mapped_mb; }, true},
    {"heap MB", [](const Holdings& h) { return h.heap_mb; }, true},
    {"threads", [](const Holdings& h) { return static_cast<double>(h.threads); }, false},
    {"files", [](const Holdings& h) { return static_cast<double>(h.descriptors); }, false},
    {"X files", [](const Holdings& h) { return static_cast<double>(h.clients); }, false},
    {"windows", [](const Holdings& h) { return static_cast<double>(h.windows); }, false},
    {"X MB", [](const Holdings& h) { return h.server_mb; }, true},
    {"segments", [](const Holdings& h) { return static_cast<double>(h.segments); }, false},
};

double MiddleOf(std::vector<double> values) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double Median(const std::vector<Holdings>& samples, std::size_t begin, std::size_t end,
              const Column& column) {
    std::vector<double> values;
    for (std::size_t i = begin; i < end; ++i)
        values.push_back(column.value(samples[i]));
    return MiddleOf(std::move(values));
}

// Nothing when it could be told nowhere.
std::optional<double> ClockError(const std::vector<Holdings>& samples, std::size_t begin, std::size_t end) {
    std::vector<double> errors;
    for (std::size_t i = begin; i < end; ++i) {
        if (samples[i].clock_error_ms) errors.push_back(*samples[i].clock_error_ms);
    }
    if (errors.empty()) return std::nullopt;
    return MiddleOf(std::move(errors));
}

std::string Text(const std::optional<double>& error) {
    if (!error) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", *error);
    return text;
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
    holdings.memory_mb = OwnMb("self");
    holdings.mapped_mb = StatusMb("self", "RssFile");
    holdings.threads = CountEntries("/proc/self/task");
    holdings.descriptors = CountEntries("/proc/self/fd");
    holdings.clients = CountEntries("/proc/" + std::to_string(server) + "/fd");
    holdings.windows = CountWindows(screen, screen.Root());
    holdings.server_mb = OwnMb(std::to_string(server));
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
        std::printf(" %9s\n", Text(sample.clock_error_ms).c_str());
    }
    const std::size_t third = Third(samples);
    for (const bool last : {false, true}) {
        const std::size_t begin = last ? samples.size() - third : 0;
        std::printf("%18s", last ? "last third" : "first third");
        for (const Column& column : kColumns)
            std::printf(" %9.1f", Median(samples, begin, begin + third, column));
        std::printf(" %9s\n", Text(ClockError(samples, begin, begin + third)).c_str());
    }
}

std::vector<std::string> Growth(const std::vector<Holdings>& samples) {
    std::vector<std::string> growth;
    if (samples.size() < 3) return {"the run was too short to compare anything"};
    const std::size_t third = Third(samples);
    for (const Column& column : kColumns) {
        if (column.is_memory && !IsMemoryKnown()) continue;
        const double first = Median(samples, 0, third, column);
        const double last = Median(samples, samples.size() - third, samples.size(), column);
        const double limit = column.is_memory ? first * kMemoryShare + kMemoryMb : first + kLateComers;
        if (last > limit) {
            growth.push_back(std::string(column.name) + " grew from " + std::to_string(first) + " to " +
                             std::to_string(last));
        }
    }
    const std::optional<double> error = ClockError(samples, 0, samples.size());
    if (!error) growth.push_back("the clock could be told nowhere");
    if (error.value_or(0.0) > kClockMs) growth.push_back("the clock is " + Text(error) + " ms off");
    return growth;
}

} // namespace soak
