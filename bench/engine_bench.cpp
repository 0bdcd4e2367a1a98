/*
 * How quick the playback library is, beside the same work done by bare libavcodec in the same run.
 *
 * Usage: engine_bench FILE...
 *
 * One table a file: opening, first picture, jumps, steps either way, playing at 1, 4 and 16 times, stills. A
 * jump or a step ends when the display callback is handed its picture. Pictures are drawn into a window of
 * 1280x720 on the X server that DISPLAY names, or not at all without one. Jumps go to the same seeded
 * positions on both sides, turn by turn.
 */
#include "bench/BareDecoder.h"
#include "bench/BenchWindow.h"
#include "dravo/include/Dravo.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <random>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kJumps = 30;
constexpr int kSteps = 50;

double Milliseconds(Clock::time_point from, Clock::time_point to = Clock::now()) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double PeakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

double Quantile(std::vector<double> values, double share) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1,
                           static_cast<std::size_t>(share * static_cast<double>(values.size())))];
}

// What the display callback saw.
struct Shown {
    std::mutex mutex;
    std::condition_variable changed;
    unsigned long frame = ~0UL;
    std::vector<std::pair<unsigned long, Clock::time_point>> all;

    void Clear() {
        const std::lock_guard lock(mutex);
        frame = ~0UL;
        all.clear();
    }
    bool WaitFor(unsigned long wanted) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30), [&] { return frame == wanted; });
    }
    bool WaitForAny() {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30), [&] { return frame != ~0UL; });
    }
} g_shown;

void OnDisplay(int port, char*, int, int, int, int, int, int) {
    const auto now = Clock::now();
    const unsigned long frame = Dravo_GetCurrentFrameNum(port);
    const std::lock_guard lock(g_shown.mutex);
    g_shown.frame = frame;
    g_shown.all.emplace_back(frame, now);
    g_shown.changed.notify_all();
}

void Row(const char* what, double value, const char* unit, double limit = 0.0) {
    if (limit > 0.0) {
        std::printf("| %-44s | %10.2f %-5s | %10.2f | %5.2f |\n", what, value, unit, limit, value / limit);
    } else {
        std::printf("| %-44s | %10.2f %-5s | %10s | %5s |\n", what, value, unit, "", "");
    }
    std::fflush(stdout);
}

class FileBench {
  public:
    FileBench(std::string path, unsigned window) : m_path(std::move(path)), m_window(window) {}

    void Run() {
        std::printf("\n%s\n| what | this | limit | ratio |\n|---|---|---|---|\n", m_path.c_str());
        Opening();
        Dravo_GetPort(&m_port);
        Dravo_SetDisplayCallBack(m_port, OnDisplay);
        if (!Dravo_OpenFile(m_port, m_path.c_str())) throw std::runtime_error("cannot open " + m_path);
        m_total = Dravo_GetFileTotalFrames(m_port);
        m_rate = static_cast<double>(std::max(1UL, Dravo_GetCurrentFrameRate(m_port)));
        Dravo_Play(m_port, m_window);
        g_shown.WaitForAny();
        Dravo_Pause(m_port, 1);
        Jumps();
        Steps();
        Stills();
        Playing(0, 6.0);
        Playing(2, 3.0);
        Playing(4, 3.0);
        Dravo_FreePort(m_port);
        Row("peak memory of the process", PeakMegabytes(), "MB");
    }

  private:
    void Opening() const {
        std::vector<double> open;
        std::vector<double> first;
        std::vector<double> bare;
        for (int run = 0; run < 5; ++run) {
            int port = 0;
            Dravo_GetPort(&port);
            Dravo_SetDisplayCallBack(port, OnDisplay);
            g_shown.Clear();
            const auto begin = Clock::now();
            Dravo_OpenFile(port, m_path.c_str());
            open.push_back(Milliseconds(begin));
            Dravo_Play(port, m_window);
            g_shown.WaitForAny();
            first.push_back(Milliseconds(begin));
            Dravo_FreePort(port);
            bare.push_back(1000.0 * bench::BareDecoder::OpenSeconds(m_path));
        }
        // The index of a file is kept while the process lives: only the first opening makes it.
        Row("opening, first time in the process", open.front(), "ms", bare.front());
        Row("opening again, median", Quantile(open, 0.5), "ms", Quantile(bare, 0.5));
        Row("opening to first picture, first time", first.front(), "ms");
    }

    void Jumps() {
        std::mt19937 random(12345);
        std::uniform_int_distribution<unsigned long> any(0, m_total - 1);
        bench::BareDecoder bare(m_path, 0);
        std::vector<double> ours;
        std::vector<double> limit;
        std::vector<double> call;
        for (int jump = 0; jump < kJumps; ++jump) {
            const unsigned long frame = any(random);
            g_shown.Clear();
            const auto begin = Clock::now();
            Dravo_SetCurrentFrameNum(m_port, frame);
            call.push_back(Milliseconds(begin));
            if (g_shown.WaitFor(frame)) ours.push_back(Milliseconds(begin));
            // What is decoded ahead after a jump must not share the processor with the limit's run.
            std::this_thread::sleep_for(std::chrono::milliseconds(700));
            const auto bare_begin = Clock::now();
            if (bare.JumpTo(static_cast<double>(frame) / m_rate)) limit.push_back(Milliseconds(bare_begin));
        }
        Row("jump to a random frame, median", Quantile(ours, 0.5), "ms", Quantile(limit, 0.5));
        Row("jump to a random frame, 95th percentile", Quantile(ours, 0.95), "ms", Quantile(limit, 0.95));
        Row("jump: the call itself, slowest", Quantile(call, 1.0), "ms");
    }

    std::vector<double> StepTimes(int (*step)(int)) const {
        std::vector<double> times;
        for (int count = 0; count < kSteps; ++count) {
            const auto begin = Clock::now();
            if (!step(m_port)) break;
            times.push_back(Milliseconds(begin));
        }
        return times;
    }

    void Steps() {
        const unsigned long middle = m_total / 2;
        g_shown.Clear();
        Dravo_SetCurrentFrameNum(m_port, middle);
        g_shown.WaitFor(middle);
        const std::vector<double> back = StepTimes(Dravo_OneByOneBack);
        Row("step back right after a jump, median", Quantile(back, 0.5), "ms");
        Row("step back right after a jump, 95th percentile", Quantile(back, 0.95), "ms");
        Row("step back right after a jump, slowest", Quantile(back, 1.0), "ms");
        const std::vector<double> again = StepTimes(Dravo_OneByOneBack);
        Row("50 more steps back, median", Quantile(again, 0.5), "ms");
        Row("50 more steps back, slowest", Quantile(again, 1.0), "ms");
        const std::vector<double> forward = StepTimes(Dravo_OneByOne);
        Row("step forward over pictures seen, median", Quantile(forward, 0.5), "ms");
        g_shown.Clear();
        Dravo_SetCurrentFrameNum(m_port, middle / 2);
        g_shown.WaitFor(middle / 2);
        const std::vector<double> fresh = StepTimes(Dravo_OneByOne);
        Row("step forward over new pictures, median", Quantile(fresh, 0.5), "ms");
    }

    void Stills() const {
        long width = 0;
        long height = 0;
        Dravo_GetPictureSize(m_port, &width, &height);
        std::vector<unsigned char> buffer(static_cast<std::size_t>(width * height * 5));
        std::vector<double> jpeg;
        std::vector<double> bmp;
        for (int run = 0; run < 15; ++run) {
            unsigned long length = 0;
            auto begin = Clock::now();
            Dravo_GetJPEG(m_port, buffer.data(), buffer.size(), &length);
            jpeg.push_back(Milliseconds(begin));
            begin = Clock::now();
            Dravo_GetBMP(m_port, buffer.data(), buffer.size(), &length);
            bmp.push_back(Milliseconds(begin));
        }
        Row("JPEG of the current picture, median", Quantile(jpeg, 0.5), "ms");
        Row("BMP of the current picture, median", Quantile(bmp, 0.5), "ms");
    }

    void Playing(int level, double seconds) {
        Dravo_Stop(m_port);
        g_shown.Clear();
        Dravo_Play(m_port, m_window);
        for (int step = 0; step < level; ++step)
            Dravo_Fast(m_port);
        g_shown.WaitForAny();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        std::size_t first = 0;
        {
            const std::lock_guard lock(g_shown.mutex);
            first = g_shown.all.size() - 1;
        }
        const double cpu = CpuSeconds();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        const double cpu_used = CpuSeconds() - cpu;
        std::vector<std::pair<unsigned long, Clock::time_point>> shown;
        {
            const std::lock_guard lock(g_shown.mutex);
            shown.assign(g_shown.all.begin() + static_cast<std::ptrdiff_t>(first), g_shown.all.end());
        }
        ReportPlaying(level, seconds, cpu_used, shown);
    }

    void ReportPlaying(int level, double seconds, double cpu,
                       const std::vector<std::pair<unsigned long, Clock::time_point>>& shown) const {
        const double speed = static_cast<double>(1 << level);
        double gap = 0.0;
        for (std::size_t index = 1; index < shown.size(); ++index)
            gap = std::max(gap, Milliseconds(shown[index - 1].second, shown[index].second));
        const double span = Milliseconds(shown.front().second, shown.back().second) / 1000.0;
        const double media = static_cast<double>(shown.back().first - shown.front().first) / m_rate;
        const std::string at = " at " + std::to_string(1 << level);
        Row(("real speed" + at).c_str(), span > 0.0 ? media / span : 0.0, "x", speed);
        Row(("pictures a second" + at).c_str(), static_cast<double>(shown.size() - 1) / std::max(span, 0.001),
            "", level == 4 ? 0.0 : m_rate * speed);
        Row(("longest gap" + at).c_str(), gap, "ms");
        if (level != 0) return;
        bench::BareDecoder bare(m_path, 0);
        const double before = CpuSeconds();
        const int decoded = bare.DecodeFromStart(static_cast<int>(seconds * m_rate), kWidth, kHeight);
        const double limit = (CpuSeconds() - before) / (static_cast<double>(decoded) / m_rate);
        Row("CPU seconds a second of film at 1", cpu / seconds, "s", limit);
    }

    const std::string m_path;
    const unsigned m_window;
    int m_port = 0;
    unsigned long m_total = 0;
    double m_rate = 25.0;
};

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: engine_bench FILE...\n");
        return 2;
    }
    try {
        const bench::BenchWindow window(kWidth, kHeight);
        for (int file = 1; file < count; ++file)
            FileBench(arguments[file], window.Id()).Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "engine_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
