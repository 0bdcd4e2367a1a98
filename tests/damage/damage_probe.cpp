// Opens a file through the playback library and says what became of it; a process of its own, so that whoever
// starts it survives what the file may do.
//
// damage_probe FILE [frames=N,...] [last=N,...] [steps=FROM,COUNT] [play=FROM,BACK]
//   frames  the stills of these frames; last the same, counted back from the end (0 is the last one)
//   steps   so many steps on from a frame
//   play    plays at four times the speed from a frame until another, counted back from the end, was shown,
//   or
//           the film ends
//
// Prints a line each: "open TOTAL" or "refused"; "frame N HASH", "last N HASH" ("-" without a picture);
// "steps DONE"; "played BACK", the last frame shown, counted back from the end ("-" without one); "slowest
// MILLISECONDS CALL", of all calls; "peak KILOBYTES", the most memory held.
#include "dravo/include/Dravo.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPlayPatience = 15s;
constexpr unsigned long kNone = ~0UL;

int port = 0;
std::chrono::milliseconds slowest{0};
std::string slowest_call = "none";
std::atomic<bool> at_end{false};
std::atomic<unsigned long> farthest{kNone}; // frame shown

// Makes the call and remembers how long it took.
template <class Call>
auto Timed(const char* name, Call&& call) {
    const auto begin = Clock::now();
    const auto result = call();
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    if (spent > slowest) {
        slowest = spent;
        slowest_call = name;
    }
    return result;
}

std::vector<unsigned long> Numbers(const std::string& list) {
    std::vector<unsigned long> numbers;
    std::istringstream stream(list);
    for (std::string item; std::getline(stream, item, ',');)
        numbers.push_back(std::stoul(item));
    return numbers;
}

// Of the current picture (FNV-1a over its BMP); "-" where there is none.
std::string StillHash() {
    static std::vector<unsigned char> buffer;
    long width = 0;
    long height = 0;
    if (!Timed("GetPictureSize", [&] { return Dravo_GetPictureSize(port, &width, &height); })) return "-";
    // The size may change within the file.
    buffer.resize(std::max<std::size_t>(static_cast<std::size_t>(width * height) * 4 + 4096, 8 << 20));
    unsigned long written = 0;
    const int done =
        Timed("GetBMP", [&] { return Dravo_GetBMP(port, buffer.data(), buffer.size(), &written); });
    if (!done) return "-";
    std::uint64_t hash = 14695981039346656037ULL;
    for (unsigned long i = 0; i < written; ++i)
        hash = (hash ^ buffer[i]) * 1099511628211ULL;
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

void Show(const char* word, unsigned long number, unsigned long frame) {
    const int sought = Timed("SetCurrentFrameNum", [&] { return Dravo_SetCurrentFrameNum(port, frame); });
    std::printf("%s %lu %s\n", word, number, sought ? StillHash().c_str() : "-");
}

void Step(unsigned long from, unsigned long count) {
    unsigned long done = 0;
    Timed("SetCurrentFrameNum", [&] { return Dravo_SetCurrentFrameNum(port, from); });
    while (done < count && Timed("OneByOne", [] { return Dravo_OneByOne(port); }))
        ++done;
    std::printf("steps %lu\n", done);
}

void Play(unsigned long from, unsigned long to, unsigned long total) {
    at_end = false;
    Timed("SetCurrentFrameNum", [&] { return Dravo_SetCurrentFrameNum(port, from); });
    Timed("Fast", [] { return Dravo_Fast(port); });
    Timed("Fast", [] { return Dravo_Fast(port); });
    Timed("Pause", [] { return Dravo_Pause(port, 0); });
    // A picture must really be displayed: the number alone may run on without one.
    farthest = kNone;
    support::WaitUntil([&] { return at_end || (farthest != kNone && farthest >= to); }, kPlayPatience, 5ms);
    if (farthest < total) {
        std::printf("played %lu\n", total - 1 - farthest);
    } else {
        std::printf("played -\n");
    }
}

unsigned long PeakKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) return std::stoul(line.substr(6));
    }
    return 0;
}

void OnEnd(int, void*) {
    at_end = true;
}

void OnDisplay(int number, char*, int, int, int, int, int, int) {
    const unsigned long frame = Dravo_GetCurrentFrameNum(number);
    if (farthest == kNone || (frame != kNone && frame > farthest)) farthest = frame;
}

void Examine(int argc, char** argv) {
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    std::printf("open %lu\n", total);
    Timed("Play", [] { return Dravo_Play(port, 0); });
    Timed("Pause", [] { return Dravo_Pause(port, 1); });
    for (int i = 2; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        const std::string word = argument.substr(0, equals);
        const std::vector<unsigned long> numbers = Numbers(argument.substr(equals + 1));
        if (word == "frames") {
            for (const unsigned long frame : numbers)
                Show("frame", frame, frame);
        } else if (word == "last") {
            for (const unsigned long back : numbers)
                if (back < total) Show("last", back, total - 1 - back);
        } else if (word == "steps" && numbers.size() == 2) {
            Step(numbers[0], numbers[1]);
        } else if (word == "play" && numbers.size() == 2 && numbers[1] < total) {
            Play(numbers[0], total - 1 - numbers[1], total);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(
            "usage: damage_probe FILE [frames=N,...] [last=N,...] [steps=FROM,COUNT] [play=FROM,BACK]\n",
            stderr);
        return 2;
    }
    Dravo_GetPort(&port);
    Dravo_SetFileEndCallback(port, OnEnd, nullptr);
    Dravo_SetDisplayCallBack(port, OnDisplay);
    if (Timed("OpenFile", [&] { return Dravo_OpenFile(port, argv[1]); })) {
        Examine(argc, argv);
        Timed("CloseFile", [] { return Dravo_CloseFile(port); });
    } else {
        std::printf("refused\n");
    }
    Timed("FreePort", [] { return Dravo_FreePort(port); });
    std::printf("slowest %lld %s\n", static_cast<long long>(slowest.count()), slowest_call.c_str());
    std::printf("peak %lu\n", PeakKilobytes());
    return 0;
}
