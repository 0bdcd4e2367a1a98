// A long day of a player that is never left alone: soak [seconds=N] [seed=N] [FILE-OR-FOLDER...]
//
// Opens, plays, seeks, steps, changes speed, captures and closes at random on up to three ports, with windows
// on an X server and sound on a sound server of its own. Without files it plays clips of its own. Every few
// seconds all is closed and what is held is looked at. Prints the seed, every wrong answer as it happens, and
// the table of what was held. Fails on a wrong answer and on growth.
#include "tests/soak/Growth.h"
#include "tests/soak/Visitor.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/PulseServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/XServer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <optional>
#include <thread>

namespace fs = std::filesystem;
using namespace soak;
using support::ClipContainer;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t kMostPorts = 3;
constexpr std::size_t kMostRows = 60;
// Rounds before anything is compared: pools, caches and other people's libraries fill.
constexpr int kWarmUp = 3;

std::vector<Film> OwnFilms(const support::TemporaryFolder& folder) {
    const std::vector<std::pair<std::string, support::ClipOptions>> clips = {
        {"plain.mp4", {.keyInterval = 25, .bFrames = 3, .sound = true}},
        {"raw.264", {.keyInterval = 25, .bFrames = 3, .container = ClipContainer::RawStream}},
        {"fragments.mp4", {.keyInterval = 20, .container = ClipContainer::FragmentedMp4}},
        {"sound.mkv", {.bFrames = 2, .container = ClipContainer::Matroska, .sound = true, .toneHertz = 400}},
        {"large.mp4", {.width = 1280, .height = 720, .frames = 50, .keyInterval = 25}},
        {"turned.mov", {.rotation = 90, .container = ClipContainer::Mov}},
    };
    std::vector<Film> films;
    for (const auto& [name, options] : clips) {
        support::MakeClip(folder / name, options);
        films.push_back({folder / name, true});
    }
    return films;
}

std::vector<Film> FilmsIn(const std::vector<std::string>& arguments) {
    std::vector<Film> films;
    for (const std::string& argument : arguments) {
        if (!fs::is_directory(argument)) {
            films.push_back({argument});
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argument)) {
            int port = 0;
            Dravo_GetPort(&port);
            if (entry.is_regular_file() && Dravo_OpenFile(port, entry.path().c_str()))
                films.push_back({entry.path().string()});
            Dravo_FreePort(port);
        }
    }
    return films;
}

// One round: some visitors come, act for a while, and go.
class Run {
  public:
    Run(std::vector<Film> films, support::XScreen& screen, std::uint64_t seed)
        : m_films(std::move(films)), m_screen(screen), m_random(seed) {}

    // The clock's error in ms, where it could be told.
    std::optional<double> Round(std::chrono::milliseconds length) {
        std::vector<std::unique_ptr<Visitor>> visitors(1 + m_random() % kMostPorts);
        for (auto& visitor : visitors)
            visitor = std::make_unique<Visitor>(m_films, m_screen, m_random);
        const auto end = Clock::now() + length;
        while (Clock::now() < end) {
            const std::optional<std::string> wrong = visitors[m_random() % visitors.size()]->Act();
            ++m_actions;
            if (wrong) {
                ++m_wrong;
                std::printf("%s\n", wrong->c_str());
                std::fflush(stdout);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(m_random() % 60));
        }
        visitors.resize(1);
        return visitors.front()->WatchClock(std::max(length / 4, std::chrono::milliseconds(500)));
    }

    long Actions() const { return m_actions; }
    int Wrong() const { return m_wrong; }

  private:
    const std::vector<Film> m_films;
    support::XScreen& m_screen;
    Random m_random;
    long m_actions = 0;
    int m_wrong = 0;
};

// Every n-th of the samples, so that the table stays readable.
std::vector<Holdings> Thinned(const std::vector<Holdings>& samples) {
    const std::size_t every = samples.size() / kMostRows + 1;
    std::vector<Holdings> thinned;
    for (std::size_t i = 0; i < samples.size(); i += every)
        thinned.push_back(samples[i]);
    return thinned;
}

int Soak(int seconds, std::uint64_t seed, const std::vector<std::string>& arguments) {
    std::printf("soak: %d s, seed=%llu\n", seconds, static_cast<unsigned long long>(seed));
    std::fflush(stdout);
    const support::PulseServer sound;
    const support::XServer server;
    ::setenv("DISPLAY", server.Display().c_str(), 1);
    support::XScreen screen(server.Display());
    const support::TemporaryFolder folder;
    std::vector<Film> films = arguments.empty() ? OwnFilms(folder) : FilmsIn(arguments);
    if (films.empty()) {
        std::fputs("soak: nothing to play\n", stderr);
        return 2;
    }
    Run run(std::move(films), screen, seed);
    const auto length = std::chrono::milliseconds(std::clamp(seconds * 1000 / 15, 700, 10'000));
    const auto begin = Clock::now();
    const auto end = begin + std::chrono::seconds(seconds);
    std::vector<Holdings> samples;
    for (int round = 0; Clock::now() < end; ++round) {
        const std::optional<double> clock_error_ms = run.Round(length);
        if (round < kWarmUp) continue;
        // Ended threads are still there for a moment.
        Holdings holdings = Look(screen, server.Pid());
        holdings.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        holdings.actions = run.Actions();
        holdings.clock_error_ms = clock_error_ms;
        samples.push_back(holdings);
    }
    if (samples.empty()) return 1;
    Print(Thinned(samples));
    const std::vector<std::string> growth = Growth(samples);
    for (const std::string& sentence : growth)
        std::printf("%s\n", sentence.c_str());
    std::printf("%ld actions, %d wrong answers, seed=%llu\n", run.Actions(), run.Wrong(),
                static_cast<unsigned long long>(seed));
    return growth.empty() && run.Wrong() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    int seconds = 60;
    std::uint64_t seed = std::random_device()();
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.starts_with("seconds=")) {
            seconds = std::stoi(argument.substr(8));
        } else if (argument.starts_with("seed=")) {
            seed = std::stoull(argument.substr(5));
        } else {
            arguments.push_back(argument);
        }
    }
    // As the player has it: else what the allocator keeps of the freed hides what is held.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 20);
    try {
        return Soak(seconds, seed, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
