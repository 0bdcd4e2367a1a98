#include "bench/BenchPort.h"

#include "dravo/include/Dravo.h"

#include <algorithm>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace bench {

namespace {

using namespace std::chrono_literals;

constexpr unsigned long kNone = ~0UL;

// What the display callback saw last.
struct Shown {
    std::mutex mutex;
    std::condition_variable changed;
    unsigned long frame = kNone;
} g_shown;

void OnDisplay(int port, char*, int, int, int, int, int, int) {
    const unsigned long frame = Dravo_GetCurrentFrameNum(port);
    const std::lock_guard lock(g_shown.mutex);
    g_shown.frame = frame;
    g_shown.changed.notify_all();
}

// When the end of the film was told last.
struct Ended {
    std::mutex mutex;
    std::optional<Clock::time_point> when;

    std::optional<Clock::time_point> Get() {
        const std::lock_guard lock(mutex);
        return when;
    }
    void Set(std::optional<Clock::time_point> time) {
        const std::lock_guard lock(mutex);
        when = time;
    }
} g_ended;

void OnFileEnd(int, void*) {
    g_ended.Set(Clock::now());
}

double CpuSeconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Listens to the display only as long as somebody waits: its planes cost a copy a picture.
class Listening {
  public:
    explicit Listening(int port) : m_port(port) {
        const std::lock_guard lock(g_shown.mutex);
        g_shown.frame = kNone;
        Dravo_SetDisplayCallBack(port, OnDisplay);
    }
    ~Listening() { Dravo_SetDisplayCallBack(m_port, nullptr); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    template <class Condition>
    void Wait(const char* what, Condition condition) const {
        std::unique_lock lock(g_shown.mutex);
        if (!g_shown.changed.wait_for(lock, 30s, [&] { return condition(g_shown.frame); }))
            throw std::runtime_error(std::string("not shown: ") + what);
    }

  private:
    const int m_port;
};

} // namespace

double Milliseconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

double ProcessCpuSeconds() {
    return CpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
}

double ThreadCpuSeconds() {
    return CpuSeconds(CLOCK_THREAD_CPUTIME_ID);
}

void AwaitIdle() {
    const auto deadline = Clock::now() + 20s;
    for (int quiet = 0; quiet < 3 && Clock::now() < deadline;) {
        const double before = ProcessCpuSeconds();
        std::this_thread::sleep_for(30ms);
        quiet = ProcessCpuSeconds() - before < 0.002 ? quiet + 1 : 0;
    }
}

BenchPort::BenchPort(const std::string& path, unsigned window) : m_window(window) {
    if (!Dravo_GetPort(&m_port)) throw std::runtime_error("no port");
    if (!Dravo_OpenFile(m_port, path.c_str())) {
        Dravo_FreePort(m_port);
        throw std::runtime_error("cannot open " + path);
    }
    Dravo_SetFileEndCallback(m_port, OnFileEnd, nullptr);
    const Listening listening(m_port);
    Dravo_Play(m_port, m_window);
    listening.Wait("the first picture", [](unsigned long frame) { return frame != kNone; });
    Dravo_Pause(m_port, 1);
    m_total = Dravo_GetFileTotalFrames(m_port);
    m_rate = static_cast<double>(std::max(1UL, Dravo_GetCurrentFrameRate(m_port)));
}

BenchPort::~BenchPort() {
    Dravo_FreePort(m_port);
}

double BenchPort::JumpTo(unsigned long frame, double* call) const {
    const Listening listening(m_port);
    const auto begin = Clock::now();
    if (!Dravo_SetCurrentFrameNum(m_port, frame)) throw std::runtime_error("a jump was refused");
    if (call) *call = Milliseconds(begin);
    listening.Wait("a frame that was jumped to", [frame](unsigned long shown) { return shown == frame; });
    return Milliseconds(begin);
}

std::vector<double> BenchPort::Steps(int (*step)(int), int count) const {
    std::vector<double> times;
    for (int done = 0; done < count; ++done) {
        const auto begin = Clock::now();
        if (!step(m_port)) break;
        times.push_back(Milliseconds(begin));
    }
    return times;
}

std::vector<Sighting> BenchPort::PlayAt(int level, double seconds, double* cpu) const {
    Dravo_Stop(m_port);
    g_ended.Set(std::nullopt);
    Dravo_Play(m_port, m_window);
    for (int step = 0; step < level; ++step)
        Dravo_Fast(m_port);
    while (Dravo_GetCurrentFrameNum(m_port) == kNone)
        std::this_thread::sleep_for(200us);
    const auto begin = Clock::now();
    const double process = ProcessCpuSeconds();
    const double looking = ThreadCpuSeconds();
    std::vector<Sighting> seen;
    for (auto now = begin; now - begin < std::chrono::duration<double>(seconds); now = Clock::now()) {
        const unsigned long frame = Dravo_GetCurrentFrameNum(m_port);
        if (seen.empty() || seen.back().frame != frame) seen.push_back({frame, now});
        if (g_ended.Get()) break;
        std::this_thread::sleep_for(1ms);
    }
    if (cpu) *cpu = ProcessCpuSeconds() - process - (ThreadCpuSeconds() - looking);
    Dravo_Pause(m_port, 1);
    return seen;
}

std::optional<double> BenchPort::EndedAfter(const std::vector<Sighting>& seen) const {
    const std::optional<Clock::time_point> end = g_ended.Get();
    if (!end || seen.empty()) return std::nullopt;
    return Milliseconds(seen.front().when, *end) / 1000.0;
}

} // namespace bench
