/*
 * How quick the whole program is, as a person sees it: from the start of the process to its window, from
 * Return in the file chooser to the first picture on the screen, and the processor's time for playing 1080p
 * film at normal speed; from a click to the pressed image of the button, also while every displayed picture
 * is written to a file; how an arrow key that is held down is followed; and what the window costs that stands
 * still.
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
#include "tests/system/ScreenReader.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using system_tests::Area;
using system_tests::Desktop;
using system_tests::PlayerRun;
using system_tests::ScreenReader;

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

// How often the threads of a process went to sleep so far; each time something woke them.
long Sleeps(pid_t pid) {
    long sleeps = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        std::ifstream file(task.path() / "status");
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("voluntary_ctxt_switches:")) sleeps += std::stol(line.substr(24));
        }
    }
    return sleeps;
}

struct Figures {
    std::vector<double> values;

    void Print(const char* name, const char* unit, int digits) {
        std::sort(values.begin(), values.end());
        std::printf("| %-47s | %9.*f %-4s | %.*f .. %.*f |\n", name, digits, values.at(values.size() / 2),
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

// What a process uses over some seconds in which nobody does anything with it.
struct Idle {
    Figures cpu;
    Figures wakeUps;

    void Measure(pid_t pid, std::chrono::seconds length) {
        const double cpuBefore = CpuSeconds(pid);
        const long sleepsBefore = Sleeps(pid);
        std::this_thread::sleep_for(length);
        const auto seconds = static_cast<double>(length.count());
        cpu.values.push_back((CpuSeconds(pid) - cpuBefore) / seconds * 100);
        wakeUps.values.push_back(static_cast<double>(Sleeps(pid) - sleepsBefore) / seconds);
    }

    void Print(const std::string& state) {
        cpu.Print((state + ": processor").c_str(), "%", 2);
        wakeUps.Print((state + ": wake-ups a second").c_str(), "", 1);
    }
};

struct Bench {
    Figures window;
    Figures picture;
    Figures cpu;
    Figures missed;
    Figures key;
    Figures pressedImage;
    Figures pressedImageCapturing;
    Figures captured;
    Figures pausedAfter;
    Figures heldRight;
    Figures heldLeft;
    Figures afterRelease;
    Idle fresh;
    Idle paused;
    Idle stopped;
    Idle closed;

    // The play button, pressed, and let go beside it. Counted from the moment at which the server has the
    // press.
    static void Press(Desktop& desktop, PlayerRun& player, Figures& figures) {
        constexpr int kPresses = 10;
        constexpr int kLeft = 36; // on the triangle and on a bar of the two
        ScreenReader screen(desktop.Display());
        const Area main = player.MainArea();
        const int x = main.x + kLeft;
        const int y = main.y + main.height - 26;
        for (int i = 0; i < kPresses; ++i) {
            player.MoveTo(kLeft, main.height - 26);
            std::this_thread::sleep_for(300ms); // the image under the pointer is there
            const std::uint32_t before = screen.PixelAt(x, y);
            std::thread presser([&] { player.Press(kLeft, main.height - 26); });
            while (!screen.IsButtonDown()) {
            }
            const auto from = Clock::now();
            const bool isShown = support::WaitUntil([&] { return screen.PixelAt(x, y) != before; }, 5s, 0ms);
            figures.values.push_back(MsSince(from));
            presser.join();
            player.MoveAway();
            player.Release();
            if (!isShown) throw std::runtime_error("no pressed image");
            std::this_thread::sleep_for(50ms);
        }
    }

    // One run of the program with an arrow key held down, first on, then back.
    void Hold(Desktop& desktop, const std::string& film) {
        PlayerRun player(desktop);
        player.SetPictureSize(1920, 1080);
        if (!player.Open(film) || !player.WaitForAtLeast(100)) throw std::runtime_error("no picture");
        player.Key("space");
        for (const bool forward : {true, false}) {
            const int from = player.StandingNumber();
            player.HoldKey(forward ? "Right" : "Left");
            // Past the first step and the pause that comes before the repeats.
            if (!support::WaitUntil([&] { return std::abs(player.Number() - from) >= 2; }, 5s, 1ms))
                throw std::runtime_error("the key is not followed");
            const int first = player.Number();
            const auto since = Clock::now();
            std::this_thread::sleep_for(2s);
            const int last = player.Number();
            const double seconds = MsSince(since) / 1000;
            player.LetKeyGo(forward ? "Right" : "Left");
            const int released = player.Number();
            const int standing = player.StandingNumber();
            (forward ? heldRight : heldLeft).values.push_back(std::abs(last - first) / seconds);
            afterRelease.values.push_back(std::abs(standing - released));
        }
    }

    // One run of the program that writes every picture it displays.
    void Capture(Desktop& desktop, const std::string& film) {
        PlayerRun player(desktop);
        player.SetPictureSize(1920, 1080);
        if (!player.Open(film) || !player.WaitForAtLeast(5)) throw std::runtime_error("no picture");
        player.ClickAt(player.PictureArea(), 3);
        player.ChooseInMenu(-3);
        const auto from = Clock::now();
        const std::size_t before = player.Captures().size();
        Press(desktop, player, pressedImageCapturing);
        captured.values.push_back(static_cast<double>(player.Captures().size() - before) / MsSince(from) *
                                  1000);
        const auto pressed = Clock::now();
        player.Key("space");
        // Paused is what writes no further picture.
        std::size_t count = player.Captures().size();
        auto since = Clock::now();
        while (MsSince(since) < 300) {
            const std::size_t now = player.Captures().size();
            if (now != count) since = Clock::now();
            count = now;
        }
        pausedAfter.values.push_back(MsSince(pressed) - MsSince(since));
    }

    // One run of the program standing still in each of its states.
    void Stand(Desktop& desktop, const std::string& film, std::chrono::seconds length) {
        PlayerRun player(desktop);
        const pid_t pid = player.Process().Pid();
        const auto measure = [&](Idle& idle) {
            std::this_thread::sleep_for(1s); // what the change of state asked for is done
            idle.Measure(pid, length);
        };
        Press(desktop, player, pressedImage);
        measure(fresh);
        player.SetPictureSize(1920, 1080);
        if (!player.Open(film) || !player.WaitForAtLeast(1)) throw std::runtime_error("no picture");
        player.Key("space");
        measure(paused);
        player.Key("ctrl+s");
        measure(stopped);
        player.Key("ctrl+c");
        measure(closed);
    }

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
        Desktop::Setup setup;
        setup.serverArguments = {"-ar1", "300", "-ar2", "40"}; // 25 repeats a second
        Desktop desktop(setup);
        for (int run = 0; run < runs; ++run)
            bench.Run(desktop, folder / "film.mp4", 25, length);
        for (int run = 0; run < runs; ++run)
            bench.Hold(desktop, folder / "film.mp4");
        bench.Capture(desktop, folder / "film.mp4");
        bench.Stand(desktop, folder / "film.mp4", length);

        std::printf("Machine: %s, %u processors, %s of memory. Screen: Xvfb 1280x1024x24, openbox.\n",
                    LineOf("/proc/cpuinfo", "model name").c_str(), std::thread::hardware_concurrency(),
                    LineOf("/proc/meminfo", "MemTotal").c_str());
        std::printf(
            "Film: 1920x1080, 25 pictures a second, groups of 250 with B pictures, sound. %d runs.\n\n",
            runs);
        std::printf("| %-47s | %-14s | smallest .. largest |\n|---|---|---|\n", "what", "median");
        bench.window.Print("start of the process -> window shown", "ms", 0);
        bench.picture.Print("Return in the chooser -> first picture shown", "ms", 0);
        bench.key.Print("  of which pressing the key took", "ms", 0);
        bench.cpu.Print("processor time per second of film", "s", 3);
        bench.missed.Print("pictures not seen on the screen", "", 0);
        bench.pressedImage.Print("press of a button -> its pressed image shown", "ms", 1);
        bench.captured.Print("continuous capture, BMP: pictures a second", "", 1);
        bench.pressedImageCapturing.Print("  press of a button -> its pressed image shown", "ms", 1);
        bench.pausedAfter.Print("  Space -> the last picture is written", "ms", 0);
        bench.heldRight.Print("Right held, 25 repeats a second: steps a second", "", 1);
        bench.heldLeft.Print("Left held: steps a second", "", 1);
        bench.afterRelease.Print("  steps after the release", "", 0);
        bench.fresh.Print("standing, nothing open");
        bench.paused.Print("standing, paused");
        bench.stopped.Print("standing, stopped");
        bench.closed.Print("standing, closed again");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "player_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
