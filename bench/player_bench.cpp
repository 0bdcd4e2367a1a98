/*
 * How quick the whole program is, as a person sees it: from the start of the process to its window, from
 * Return in the file chooser to the first picture on the screen, and the processor's time for playing 1080p
 * film at normal speed.
 *
 * Usage: player_bench [RUNS [SECONDS]]. Prints medians with the smallest and the largest run, in the form of
 * a table. The screen is a virtual one; reading it costs the X server a row of pixels each time and the
 * player nothing. Pressing the key costs the start of xdotool, which is measured too and named, not taken
 * off.
 */
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"
#include "tests/system/Desktop.h"
#include "tests/system/PlayerRun.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using system_tests::Desktop;
using system_tests::PlayerRun;

double MsSince(Clock::time_point from) {
    return std::chrono::duration<double, std::milli>(Clock::now() - from).count();
}

// Processor time of a process so far, in seconds, all threads, user and system.
double CpuSeconds(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text);
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct Figures {
    std::vector<double> values;

    void Print(const char* name, const char* unit, int digits) {
        std::sort(values.begin(), values.end());
        std::printf("| %-46s | %9.*f %-4s | %.*f .. %.*f |\n", name, digits, values.at(values.size() / 2),
                    unit, digits, values.front(), digits, values.back());
    }
};

std::string LineOf(const char* path, const char* key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

struct Bench {
    Figures window;
    Figures picture;
    Figures cpu;
    Figures missed;
    Figures key;

    // One run of the program with one film of `rate` pictures a second.
    void Run(Desktop& desktop, const std::string& film, int rate, std::chrono::seconds length) {
        PlayerRun player(desktop);
        window.values.push_back(player.StartMilliseconds());
        player.SetPictureSize(1920, 1080);

        if (!player.ShowChooser()) throw std::runtime_error("no chooser");
        player.Type(film);
        const auto pressed = Clock::now();
        player.Key("Return");
        key.values.push_back(MsSince(pressed));
        if (!support::WaitUntil([&] { return player.Number() >= 0; }, 20s, 1ms))
            throw std::runtime_error("no picture");
        picture.values.push_back(MsSince(pressed));

        std::this_thread::sleep_for(1s); // start-up is not counted
        const int first = player.Number();
        const double cpuBefore = CpuSeconds(player.Process().Pid());
        int seen = 0;
        int last = first;
        const auto from = Clock::now();
        while (Clock::now() - from < length) {
            const int number = player.Number();
            if (number >= 0 && number != last) {
                ++seen;
                last = number;
            }
            std::this_thread::sleep_for(3ms);
        }
        const double media = static_cast<double>(last - first) / rate;
        cpu.values.push_back((CpuSeconds(player.Process().Pid()) - cpuBefore) / media);
        missed.values.push_back(last - first - seen);
    }
};

} // namespace

int main(int argc, char** argv) {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 5;
    const std::chrono::seconds length(argc > 2 ? std::atoi(argv[2]) : 10);
    try {
        support::TemporaryFolder folder;
        support::ClipOptions options;
        options.width = 1920;
        options.height = 1080;
        options.frames = 25 * static_cast<int>(length.count() + 6);
        options.keyInterval = 250;
        options.bFrames = 3;
        options.sound = true;
        options.profile = "high";
        options.codecOptions = {{"preset", "veryfast"}, {"b", "6M"}};
        support::MakeClip(folder / "film.mp4", options);

        Bench bench;
        Desktop desktop;
        for (int run = 0; run < runs; ++run)
            bench.Run(desktop, folder / "film.mp4", 25, length);

        std::printf("Machine: %s, %u processors, %s of memory. Screen: Xvfb 1280x1024x24, openbox.\n",
                    LineOf("/proc/cpuinfo", "model name").c_str(), std::thread::hardware_concurrency(),
                    LineOf("/proc/meminfo", "MemTotal").c_str());
        std::printf(
            "Film: 1920x1080, 25 pictures a second, groups of 250 with B pictures, sound. %d runs.\n\n",
            runs);
        std::printf("| %-46s | %-14s | smallest .. largest |\n|---|---|---|\n", "what", "median");
        bench.window.Print("start of the process -> window shown", "ms", 0);
        bench.picture.Print("Return in the chooser -> first picture shown", "ms", 0);
        bench.key.Print("  of which pressing the key took", "ms", 0);
        bench.cpu.Print("processor time per second of film", "s", 3);
        bench.missed.Print("pictures not seen on the screen", "", 0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "player_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
