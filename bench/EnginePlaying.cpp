// Playing: what it costs at normal speed, what is shown when it is fast, and how much memory it all takes.
#include "bench/BareDecoder.h"
#include "bench/BenchPort.h"
#include "bench/EngineMeasurements.h"
#include "bench/EngineTable.h"
#include "bench/MpvPlayer.h"
#include "dravo/include/Dravo.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>

namespace bench {

namespace {

constexpr double kSeconds = 5.0;
constexpr double kCacheMegabytes = 512.0;
// A picture is late when it is seen so many milliseconds after its time.
constexpr double kLate = 20.0;

// Pictures that were left out, or seen late, compared with the punctual half.
double LatePictures(const std::vector<Sighting>& seen, double rate) {
    const auto lag = [&](const Sighting& sighting) {
        return Milliseconds(seen.front().when, sighting.when) -
               1000.0 * static_cast<double>(sighting.frame - seen.front().frame) / rate;
    };
    Series lags;
    for (const Sighting& sighting : seen)
        lags.Add(lag(sighting));
    const double usual = lags.Median();
    double late =
        static_cast<double>(seen.back().frame - seen.front().frame + 1) - static_cast<double>(seen.size());
    for (const Sighting& sighting : seen)
        late += lag(sighting) > usual + kLate ? 1.0 : 0.0;
    return late;
}

// How many milliseconds the picture that was to be seen lay behind the clock, at most: the clock begins with
// the first picture.
double FarthestBehind(const std::vector<Sighting>& seen, double rate, int speed) {
    double farthest = 0.0;
    for (std::size_t index = 0; index + 1 < seen.size(); ++index) {
        const double film = static_cast<double>(seen[index].frame - seen.front().frame) / rate * 1000.0;
        farthest = std::max(farthest, Milliseconds(seen.front().when, seen[index + 1].when) - film / speed);
    }
    return farthest;
}

// How many pictures the film's first group has.
unsigned long GroupAtStart(const BenchPort& port) {
    DravoFramePos next{};
    return Dravo_GetNextKeyFramePos(port.Number(), 0, 1, &next) ? next.frame : port.Total();
}

double PeakMegabytes() {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024.0;
    }
    return 0.0;
}

} // namespace

void MeasurePlaying(const Setup& setup, const std::string& film) {
    const std::string what = "playing at 1, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const BenchPort port(path, setup.window);
    const auto mpv = setup.Mpv(path);
    BareDecoder bare(path, 0);
    Series cpu;
    Series limit;
    Series theirs;
    Series late;
    for (int run = 0; run < setup.runs; ++run) {
        AwaitIdle();
        double used = 0.0;
        const std::vector<Sighting> seen = port.PlayAt(0, kSeconds, &used);
        cpu.Add(used / (Milliseconds(seen.front().when, seen.back().when) / 1000.0));
        late.Add(LatePictures(seen, port.Rate()));
        AwaitIdle();
        const double before = ProcessCpuSeconds();
        const int decoded = bare.DecodeFromStart(static_cast<int>(kSeconds * port.Rate()), 1280, 720);
        limit.Add((ProcessCpuSeconds() - before) / (decoded / port.Rate()));
        if (mpv) theirs.Add(mpv->Play(1.0, kSeconds).cpu_a_second);
    }
    Print({what + ": processor a second of film", "s", cpu, limit, theirs, "1.15 x limit"});
    Print({what + ": pictures late or left out", "", late, {}, {}, "0", 1.0});
}

void MeasureFast(const Setup& setup, const std::string& film, int level, double seconds) {
    const int speed = 1 << level;
    const std::string what = "playing at " + std::to_string(speed) + ", " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const BenchPort port(path, setup.window);
    const auto mpv = setup.Mpv(path);
    BareDecoder bare(path, 0);
    Series real;
    Series rate;
    Series gap;
    Series behind;
    Series left_out;
    Series limit;
    Series least_behind;
    Series mpv_real;
    Series mpv_rate;
    const double group = static_cast<double>(GroupAtStart(port)) / port.Rate();
    for (int run = 0; run < setup.runs; ++run) {
        AwaitIdle();
        const std::vector<Sighting> seen = port.PlayAt(level, seconds);
        const double wall = Milliseconds(seen.front().when, seen.back().when) / 1000.0;
        const double frames = static_cast<double>(seen.back().frame - seen.front().frame);
        const auto ended = port.EndedAfter(seen);
        real.Add(ended ? static_cast<double>(port.Total()) / port.Rate() / *ended
                       : frames / port.Rate() / wall);
        rate.Add(static_cast<double>(seen.size() - 1) / wall);
        double longest = 0.0;
        for (std::size_t index = 1; index < seen.size(); ++index)
            longest = std::max(longest, Milliseconds(seen[index - 1].when, seen[index].when));
        gap.Add(longest);
        behind.Add(FarthestBehind(seen, port.Rate(), speed));
        left_out.Add(frames + 1.0 - static_cast<double>(seen.size()));
        AwaitIdle();
        const auto begin = Clock::now();
        const int passed = bare.PassFromStart(static_cast<int>(port.Rate() * 10.0));
        const double pace = passed / port.Rate() / (Milliseconds(begin) / 1000.0);
        limit.Add(pace);
        // Who takes up each group when its time comes has fallen behind by so much when it ends.
        least_behind.Add(std::max(0.0, 1000.0 * group / speed * (1.0 - pace / speed)));
        if (!mpv) continue;
        const auto other = mpv->Play(speed, std::min(seconds, 3.0));
        mpv_real.Add(other.speed);
        mpv_rate.Add(other.pictures_a_second);
    }
    const bool every = level <= 2;
    Print({what + ": real speed (limit: unreferenced skipped)", "x", real, limit, mpv_real,
           std::to_string(speed) + " +- 2 %"});
    Print({what + ": pictures a second", "1/s", rate, {}, mpv_rate, every ? "all" : "25"});
    Print({what + ": longest gap", "ms", gap, {}, {}, every ? "" : "70"});
    if (every) Print({what + ": pictures left out", "", left_out, {}, {}, "0", 1.0});
    if (!every) Print({what + ": picture behind the clock, at most", "ms", behind, least_behind, {}, ""});
}

void MeasureMemory(const Setup& setup, const std::string& film) {
    const std::string what = "memory, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    Series peak;
    Series mpv_peak;
    {
        const BenchPort port(path, setup.window);
        port.PlayAt(0, 2.0);
        for (const unsigned long frame : Setup::Positions(port.Total(), 3 * setup.runs, 7)) {
            port.JumpTo(frame);
            port.Steps(Dravo_OneByOneBack, 60);
            port.Steps(Dravo_OneByOne, 60);
        }
        AwaitIdle();
        port.PlayAt(4, 1.0);
        peak.Add(PeakMegabytes());
    }
    if (const auto mpv = setup.Mpv(path)) {
        mpv->Play(1.0, 2.0);
        mpv_peak.Add(mpv->PeakMegabytes());
    }
    Series limit;
    if (!mpv_peak.Empty()) limit.Add(mpv_peak.Median() + 1.05 * kCacheMegabytes);
    Print({what + ": peak (limit: mpv and 1.05 x 512 MB)", "MB", peak, limit, mpv_peak, "1.0 x limit"});
}

} // namespace bench
