// Jumps to random frames, turn by turn with the bare decoder and mpv going to the same places.
#include "bench/BareDecoder.h"
#include "bench/BenchPort.h"
#include "bench/EngineMeasurements.h"
#include "bench/EngineTable.h"
#include "bench/MpvPlayer.h"
#include "dravo/include/Dravo.h"

#include <thread>

namespace bench {

namespace {

constexpr unsigned kSeed = 12345;
constexpr int kBurst = 20;
constexpr std::chrono::milliseconds kBurstPause{5};

} // namespace

void MeasureJumps(const Setup& setup, const std::string& film, const std::string& twin, int jumps) {
    const std::string what = "jump, " + film;
    const std::string path = setup.Film(film, what);
    const std::string other = setup.Film(twin, what);
    if (path.empty() || other.empty()) return;
    const BenchPort port(path, setup.window);
    const auto mpv = film == twin ? setup.Mpv(path) : nullptr; // raw streams are not for mpv to jump in
    BareDecoder bare(other, 0);
    Series ours;
    Series call;
    Series limit;
    Series theirs;
    Series burst;
    Series burst_limit;
    Series at_once;
    if (film != twin) {
        // The number of a frame is known when the index has come so far; it takes its time after opening.
        at_once.Add(port.JumpTo(port.Total() - port.Total() / 10));
    }
    AwaitIdle();
    for (const unsigned long frame : Setup::Positions(port.Total(), jumps * setup.runs, kSeed)) {
        const double seconds = static_cast<double>(frame) / port.Rate();
        double in_call = 0.0;
        ours.Add(port.JumpTo(frame, &in_call));
        call.Add(in_call);
        AwaitIdle(); // what is decoded ahead and behind after a jump
        const auto begin = Clock::now();
        if (bare.JumpTo(seconds)) limit.Add(Milliseconds(begin));
        if (!mpv) continue;
        if (const auto time = mpv->JumpTo(seconds)) theirs.Add(*time);
    }
    const std::vector<unsigned long> places = Setup::Positions(port.Total(), kBurst * setup.runs, kSeed + 1);
    for (std::size_t place = 0; place < places.size(); ++place) {
        if (place % kBurst + 1 == kBurst) {
            burst.Add(port.JumpTo(places[place]));
            AwaitIdle();
            const auto begin = Clock::now();
            if (bare.JumpTo(static_cast<double>(places[place]) / port.Rate()))
                burst_limit.Add(Milliseconds(begin));
        } else {
            Dravo_SetCurrentFrameNum(port.Number(), places[place]);
            std::this_thread::sleep_for(kBurstPause);
        }
    }
    Print({what + ", random frame", "ms", ours, limit, theirs, "1.05 x limit"});
    Print({what + ", the same, 95th percentile", "ms", ours, limit, theirs, "", 0.95});
    Print({what + ", slowest return of the call", "ms", call, {}, {}, "1", 1.0});
    Print({what + ", the last of a burst of 20", "ms", burst, burst_limit, {}, "1.05 x limit"});
    if (!at_once.Empty()) Print({what + ", at once after opening", "ms", at_once, {}, {}, ""});
}

} // namespace bench
