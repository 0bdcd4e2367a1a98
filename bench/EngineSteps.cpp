// Single steps: back directly after a jump, on from there, held down without end, and forward.
#include "bench/BareDecoder.h"
#include "bench/BenchPort.h"
#include "bench/EngineMeasurements.h"
#include "bench/EngineTable.h"
#include "bench/MpvPlayer.h"
#include "dravo/include/Dravo.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <thread>

namespace bench {

namespace {

using namespace std::chrono_literals;

constexpr int kSteps = 50;
constexpr int kFirstSteps = 30;
constexpr int kMpvSteps = 3; // each takes up to three seconds
constexpr unsigned kSeed = 2;

double ResidentMegabytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0.0;
    double resident = 0.0;
    file >> total >> resident;
    return resident * 4096.0 / 1e6;
}

// Where stepping begins: the middle first, which the clips make the first picture of a group, so that all of
// the steps lie at the far end of the group before; then anywhere.
std::vector<unsigned long> Beginnings(unsigned long total, int count) {
    std::vector<unsigned long> frames = Setup::Positions(total - 2 * kSteps, count, kSeed);
    for (unsigned long& frame : frames)
        frame += 2 * kSteps;
    frames.front() = total / 2;
    return frames;
}

} // namespace

void MeasureStepsBack(const Setup& setup, const std::string& film, const std::string& twin) {
    const std::string what = "step back, " + film;
    const std::string path = setup.Film(film, what);
    const std::string other_path = setup.Film(twin, what);
    if (path.empty() || other_path.empty()) return;
    const BenchPort port(path, setup.window);
    const auto mpv = film == twin ? setup.Mpv(path) : nullptr; // it does not step back in raw streams
    BareDecoder bare(other_path, 0);
    Series after_jump;
    Series first_steps;
    Series later;
    Series scaling;
    Series other;
    for (const unsigned long frame : Beginnings(port.Total(), setup.runs)) {
        AwaitIdle();
        port.JumpTo(frame);
        const std::vector<double> steps = port.Steps(Dravo_OneByOneBack, kSteps);
        after_jump.Add(steps);
        first_steps.Add(
            {steps.begin(), steps.begin() + std::min<std::ptrdiff_t>(kFirstSteps, std::ssize(steps))});
        AwaitIdle();
        later.Add(port.Steps(Dravo_OneByOneBack, kSteps));
        AwaitIdle();
        scaling.Add(bare.ScaleMilliseconds(1280, 720, 20));
        if (!mpv || !mpv->JumpTo(static_cast<double>(frame) / port.Rate())) continue;
        for (int step = 0; step < kMpvSteps; ++step) {
            if (const auto time = mpv->StepBack()) other.Add(*time);
        }
    }
    const bool large = film.starts_with("d");
    const std::string median_goal = large ? "" : "5";
    const std::string high_goal = large ? "" : "20";
    Print({what + ", 50 directly after a jump", "ms", after_jump, scaling, other, median_goal});
    Print({what + ", the same, 95th percentile", "ms", after_jump, {}, other, high_goal, 0.95});
    Print({what + ", first 30 directly after a jump", "ms", first_steps, scaling, other, "10"});
    Print({what + ", the same, 95th percentile", "ms", first_steps, {}, other, "", 0.95});
    Print({what + ", 50 more after a rest", "ms", later, scaling, other, median_goal});
    Print({what + ", the same, 95th percentile", "ms", later, {}, other, high_goal, 0.95});
}

void MeasureHeldDown(const Setup& setup, const std::string& film, double steps_a_second, double seconds,
                     const std::string& goal) {
    const std::string what = "held down, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const BenchPort port(path, setup.window);
    port.JumpTo(port.Total() - 1);
    const auto interval =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / steps_a_second));
    const int count = static_cast<int>(steps_a_second * seconds / setup.runs);
    Series times;
    Series late;
    Series reached;
    Series growth;
    double settled = 0.0;
    for (int run = 0; run < setup.runs; ++run) {
        const auto begin = Clock::now();
        for (int step = 0; step < count; ++step) {
            const auto due = begin + step * interval;
            std::this_thread::sleep_until(due);
            const auto pressed = Clock::now();
            if (!Dravo_OneByOneBack(port.Number())) break;
            times.Add(Milliseconds(pressed));
            late.Add(Milliseconds(due));
        }
        reached.Add(count / (Milliseconds(begin) / 1000.0));
        // What the cache may hold is taken in the first of the runs.
        if (run == 0) settled = ResidentMegabytes();
        growth.Add(ResidentMegabytes() - settled);
    }
    Print({what + ", steps a second, asked " + std::to_string(static_cast<int>(steps_a_second)),
           "1/s",
           reached,
           {},
           {},
           goal});
    Print({what + ", a step", "ms", times, {}, {}, ""});
    Print({what + ", a step, 95th percentile", "ms", times, {}, {}, "", 0.95});
    Print({what + ", behind the key, slowest", "ms", late, {}, {}, "", 1.0});
    Print({what + ", memory grown since the first fifth", "MB", growth, {}, {}, "flat", 1.0});
}

void MeasureStepsForward(const Setup& setup, const std::string& film) {
    const std::string what = "step forward, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const BenchPort port(path, setup.window);
    const auto mpv = setup.Mpv(path);
    BareDecoder bare(path, 1);
    Series fresh;
    Series seen;
    Series decode;
    Series scaling;
    Series other;
    Series lost;
    for (const unsigned long frame : Beginnings(port.Total() - kSteps, setup.runs)) {
        AwaitIdle();
        port.JumpTo(frame);
        const std::vector<double> forward = port.Steps(Dravo_OneByOne, kSteps);
        fresh.Add(forward);
        const unsigned long now = Dravo_GetCurrentFrameNum(port.Number());
        lost.Add(static_cast<double>(frame + kSteps) - static_cast<double>(now));
        port.Steps(Dravo_OneByOneBack, kSteps);
        AwaitIdle();
        seen.Add(port.Steps(Dravo_OneByOne, kSteps));
        AwaitIdle();
        const auto begin = Clock::now();
        const int decoded = bare.DecodeFromStart(kSteps, 0, 0);
        decode.Add(Milliseconds(begin) / std::max(decoded, 1));
        scaling.Add(bare.ScaleMilliseconds(1280, 720, 20));
        if (!mpv || !mpv->JumpTo(static_cast<double>(frame) / port.Rate())) continue;
        for (int step = 0; step < kMpvSteps; ++step) {
            if (const auto time = mpv->StepForward()) other.Add(*time);
        }
    }
    Print({what + ", not decoded before", "ms", fresh, decode, other, "1.0 x one decode"});
    Print({what + ", the same, 95th percentile", "ms", fresh, {}, other, "", 0.95});
    Print({what + ", decoded before", "ms", seen, scaling, other, "2"});
    Print({what + ", presses lost", "", lost, {}, {}, "0", 1.0});
}

} // namespace bench
