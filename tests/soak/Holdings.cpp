#include "tests/soak/Holdings.h"

#include "tests/support/XScreen.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <sstream>
#include <string>
#include <unistd.h>

namespace soak {

namespace {

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

constexpr bool IsMemoryKnown() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

} // namespace

Holdings Look(support::XScreen& screen, pid_t server) {
    Holdings holdings;
    if (IsMemoryKnown()) {
        // What was freed is given back, so that memory is what is held.
        malloc_trim(0);
        const auto heap = mallinfo2();
        holdings.heap_mb = static_cast<double>(heap.uordblks + heap.hblkhd) / 1e6;
        holdings.memory_mb = OwnMb("self");
        holdings.mapped_mb = StatusMb("self", "RssFile");
    }
    holdings.threads = CountEntries("/proc/self/task");
    holdings.descriptors = CountEntries("/proc/self/fd");
    holdings.clients = CountEntries("/proc/" + std::to_string(server) + "/fd");
    holdings.windows = CountWindows(screen, screen.Root());
    holdings.server_mb = OwnMb(std::to_string(server));
    holdings.segments = CountSegments();
    return holdings;
}

} // namespace soak
