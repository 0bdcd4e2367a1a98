/*
 * How quick the playback library is, beside the same work done by the bare libraries and by mpv in the same
 * run.
 *
 * Usage: engine_bench head             prints the head of the table
 *        engine_bench list             the names of the measurements, one a line
 *        engine_bench FOLDER RUNS NAME the rows of one measurement
 *
 * bench/engine prints the whole table; it also says what films the folder is to hold. Pictures are drawn into
 * a window of 1280x720 on a virtual screen.
 */
#include "bench/BenchWindow.h"
#include "bench/EngineMeasurements.h"
#include "bench/EngineTable.h"
#include "bench/MpvPlayer.h"
#include "tests/support/XServer.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <random>
#include <utility>

namespace bench {

std::string Setup::Film(const std::string& name, const std::string& what) const {
    const std::filesystem::path path = std::filesystem::path(folder) / name;
    if (std::filesystem::exists(path)) return path;
    PrintMissing(what, "no " + name);
    return {};
}

std::unique_ptr<MpvPlayer> Setup::Mpv(const std::string& path) const {
    return MpvPlayer::IsThere() ? std::make_unique<MpvPlayer>(path) : nullptr;
}

std::vector<unsigned long> Setup::Positions(unsigned long limit, int count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<unsigned long> any(0, limit - 1);
    std::vector<unsigned long> positions;
    positions.reserve(static_cast<std::size_t>(count));
    for (int drawn = 0; drawn < count; ++drawn)
        positions.push_back(any(random));
    return positions;
}

} // namespace bench

namespace {

using namespace bench;

const std::vector<std::pair<std::string, std::function<void(const Setup&)>>>& Measurements() {
    static const std::vector<std::pair<std::string, std::function<void(const Setup&)>>> all = {
        {"back-a", [](const Setup& setup) { MeasureStepsBack(setup, "a.mp4", "a.mp4"); }},
        {"back-b", [](const Setup& setup) { MeasureStepsBack(setup, "b.264", "a.mp4"); }},
        {"back-d", [](const Setup& setup) { MeasureStepsBack(setup, "d.mp4", "d.mp4"); }},
        {"held-a", [](const Setup& setup) { MeasureHeldDown(setup, "a.mp4", 25.0, 80.0, "25"); }},
        {"held-d", [](const Setup& setup) { MeasureHeldDown(setup, "d.mp4", 10.0, 48.0, "10"); }},
        {"forward-a", [](const Setup& setup) { MeasureStepsForward(setup, "a.mp4"); }},
        {"forward-d", [](const Setup& setup) { MeasureStepsForward(setup, "d.mp4"); }},
        {"jump-a", [](const Setup& setup) { MeasureJumps(setup, "a.mp4", "a.mp4", 5); }},
        {"jump-b", [](const Setup& setup) { MeasureJumps(setup, "b.264", "a.mp4", 5); }},
        {"jump-c", [](const Setup& setup) { MeasureJumps(setup, "c.mp4", "c.mp4", 5); }},
        {"jump-d", [](const Setup& setup) { MeasureJumps(setup, "d.mp4", "d.mp4", 2); }},
        {"jump-f", [](const Setup& setup) { MeasureJumps(setup, "f.mp4", "f.mp4", 10); }},
        {"jump-f-raw", [](const Setup& setup) { MeasureJumps(setup, "f.264", "f.mp4", 10); }},
        {"open-f", [](const Setup& setup) { MeasureOpening(setup, "f.mp4"); }},
        {"open-f-raw", [](const Setup& setup) { MeasureOpening(setup, "f.264"); }},
        {"index", [](const Setup& setup) { MeasureIndex(setup, "f.264"); }},
        {"play-a", [](const Setup& setup) { MeasurePlaying(setup, "a.mp4"); }},
        {"play-c", [](const Setup& setup) { MeasurePlaying(setup, "c.mp4"); }},
        {"play-d", [](const Setup& setup) { MeasurePlaying(setup, "d.mp4"); }},
        {"fast-a", [](const Setup& setup) { MeasureFast(setup, "a.mp4", 4, 9.0); }},
        {"fast-d", [](const Setup& setup) { MeasureFast(setup, "d.mp4", 4, 4.0); }},
        {"four-a", [](const Setup& setup) { MeasureFast(setup, "a.mp4", 2, 5.0); }},
        {"stills", [](const Setup& setup) { MeasureStills(setup, "a.mp4"); }},
        {"export", [](const Setup& setup) { MeasureExport(setup, "a.mp4"); }},
        {"memory-a", [](const Setup& setup) { MeasureMemory(setup, "a.mp4"); }},
        {"memory-d", [](const Setup& setup) { MeasureMemory(setup, "d.mp4"); }},
    };
    return all;
}

int Usage() {
    std::fprintf(stderr, "usage: engine_bench head | list | FOLDER RUNS NAME\n");
    return 2;
}

int Run(const std::vector<std::string>& words) {
    if (words.size() == 1 && words[0] == "head") {
        PrintHead();
        return 0;
    }
    if (words.size() == 1 && words[0] == "list") {
        for (const auto& measurement : Measurements())
            std::printf("%s\n", measurement.first.c_str());
        return 0;
    }
    if (words.size() != 3) return Usage();
    if (words[0] == "fresh") return MeasureInFreshProcess(words[1], words[2]) ? 0 : Usage();

    const support::XServer screen;
    setenv("DISPLAY", screen.Display().c_str(), 1);
    const BenchWindow window(1280, 720);
    Setup setup;
    setup.folder = words[0];
    setup.program = std::filesystem::read_symlink("/proc/self/exe");
    setup.runs = std::max(std::atoi(words[1].c_str()), 1);
    setup.window = window.Id();
    for (const auto& [name, measure] : Measurements()) {
        if (name != words[2]) continue;
        measure(setup);
        return 0;
    }
    return Usage();
}

} // namespace

int main(int count, char** arguments) {
    try {
        return Run({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "engine_bench: %s\n", error.what());
        return 1;
    }
}
