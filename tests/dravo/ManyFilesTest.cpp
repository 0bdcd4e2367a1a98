// Many files: one after another they leave threads, descriptors and memory where they were; at once they
// share one budget.
#include "tests/dravo/PortFixture.h"
#include "tests/support/XScreen.h"
#include "tests/support/XServer.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <thread>
#include <unistd.h>

using namespace dravo_tests;

namespace {

std::ptrdiff_t CountEntries(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

struct Holdings {
    std::ptrdiff_t threads = CountEntries("/proc/self/task");
    std::ptrdiff_t descriptors = CountEntries("/proc/self/fd");
    std::size_t heapBytes = mallinfo2().uordblks + mallinfo2().hblkhd;
};

// The sanitizers bring heaps of their own, which mallinfo2 knows nothing of; the leak sanitizer looks itself.
constexpr bool IsHeapKnown() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

class ManyFiles : public testing::Test {
  protected:
    // Opens each clip in turn on a port of its own, plays until some pictures were displayed, and gives it
    // back.
    void PlayInTurn(int files, unsigned int window) {
        const std::vector<std::string> clips = {
            Film(), RawFilm(), Clip("sounding.mp4", {.bFrames = 2, .sound = true}),
            Clip("large.mp4", {.width = 1280, .height = 720, .frames = 25})};
        for (int i = 0; i < files; ++i) {
            const OpenPort port(clips[static_cast<std::size_t>(i) % clips.size()]);
            ASSERT_TRUE(port.Open());
            ASSERT_TRUE(Dravo_Play(port, window));
            ASSERT_TRUE(Dravo_PlaySound(port));
            ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() >= 3; }, 20s))
                << "file " << i;
            ASSERT_TRUE(Dravo_Stop(port));
            ASSERT_TRUE(Dravo_CloseFile(port));
        }
    }
};

} // namespace

TEST_F(ManyFiles, TwoHundredLeaveThreadsDescriptorsAndMemoryWhereTheyWere) {
    const support::XServer server;
    setenv("DISPLAY", server.Display().c_str(), 1);
    support::XScreen screen(server.Display());
    const xcb_window_t window = screen.MakeWindow(0, 0, 320, 180);

    PlayInTurn(40, window); // caches and pools fill
    const Holdings before;
    PlayInTurn(160, window);
    EXPECT_TRUE(support::WaitUntil([&] { return Holdings().threads <= before.threads; }, 10s));
    const Holdings after;
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.descriptors, before.descriptors);
    if (IsHeapKnown()) {
        // 160 files: a leak of 10 kB a file shows.
        EXPECT_LT(after.heapBytes, before.heapBytes + 1600U * 1024U);
    }
}

// ---- At once

// A line of /proc/self/status in bytes.
std::size_t StatusBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) return std::stoul(line.substr(name.size() + 1)) * 1024;
    }
    return 0;
}

// What the process may keep in decoded pictures: the smaller of 512 MB and an eighth of the machine's memory.
std::size_t Budget() {
    const auto memory =
        static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return std::min(std::size_t{512} << 20, memory / 8);
}

TEST(ManyPorts, SixtyFourAtOnceShareOneBudgetOfMemoryAndAFewThreads) {
    constexpr int kPorts = 64;
    constexpr unsigned long kFrames = 250;
    // 86 MB of pictures: of 64 such films 5.5 GB.
    const std::string& film =
        Clip("wide.mp4", {.width = 640, .height = 360, .frames = 250, .keyInterval = 50});
    const std::size_t before = StatusBytes("VmRSS");
    const std::ptrdiff_t threads_before = Holdings().threads;
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak begins anew
    std::vector<std::unique_ptr<OpenPort>> ports;
    for (int count = 0; count < kPorts; ++count) {
        ports.push_back(std::make_unique<OpenPort>(film));
        ASSERT_TRUE(ports.back()->Open()) << count;
        ASSERT_TRUE(Dravo_Play(*ports.back(), 0));
        ASSERT_TRUE(Dravo_Pause(*ports.back(), 1));
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(*ports.back(), kFrames - 10));
    }
    const auto visit = [](const OpenPort& port, unsigned long frame) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        ASSERT_EQ(port.StillNumber(), static_cast<int>(frame));
        for (int step = 1; step <= 10; ++step) {
            ASSERT_TRUE(Dravo_OneByOneBack(port));
            ASSERT_EQ(Dravo_GetCurrentFrameNum(port), frame - static_cast<unsigned long>(step));
        }
        ASSERT_EQ(port.StillNumber(), static_cast<int>(frame) - 10);
    };
    for (std::size_t index = 0; index < ports.size(); ++index)
        visit(*ports[index], 40 + index * 3);
    const std::ptrdiff_t threads = Holdings().threads - threads_before;
    // Four play, and keep up, among sixty that stand.
    for (std::size_t index = 0; index < 4; ++index)
        ASSERT_TRUE(Dravo_Pause(*ports[index], 0));
    for (std::size_t index = 0; index < 4; ++index)
        EXPECT_TRUE(support::WaitUntil([&] { return ports[index]->Pictures().Last() > 200; }, 30s));
    visit(*ports[20], 200);

    const std::size_t peak = StatusBytes("VmHWM") - before;
    const auto cores = static_cast<std::ptrdiff_t>(std::clamp(std::thread::hardware_concurrency(), 1U, 16U));
    std::printf("64 ports: peak %zu MB, budget %zu MB; %td threads\n", peak >> 20, Budget() >> 20, threads);
    RecordProperty("peak_mb", std::to_string(peak >> 20));
    RecordProperty("threads", std::to_string(threads));
    // Two threads a port, to play and to decode; and decoder threads: the first ports were there when there
    // were few, and have more of them.
    EXPECT_LT(threads, 3 * kPorts + 12 * cores);
    // What a decoder holds itself comes on top.
    constexpr std::size_t kOfADecoder = std::size_t{6} << 20;
    if (IsHeapKnown()) {
        EXPECT_LT(peak, Budget() + Budget() / 20 + kPorts * kOfADecoder);
    }

    // Stopped, they give it back.
    for (const auto& port : ports)
        ASSERT_TRUE(Dravo_Stop(*port));
    const auto kept = [&] {
        malloc_trim(0); // what the heap itself holds back
        return StatusBytes("VmRSS") - std::min(before, StatusBytes("VmRSS"));
    };
    if (IsHeapKnown()) {
        EXPECT_TRUE(support::WaitUntil([&] { return kept() < Budget() / 3; }, 20s))
            << (kept() >> 20) << " MB";
    }
}
