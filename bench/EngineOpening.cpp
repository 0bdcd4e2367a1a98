// Opening a film, its first picture, and the index of a raw stream. The library keeps an index while its
// process lives, so each run is a process of its own.
#include "bench/BareDecoder.h"
#include "bench/BenchPort.h"
#include "bench/BenchWindow.h"
#include "bench/EngineMeasurements.h"
#include "bench/EngineTable.h"
#include "bench/MpvPlayer.h"
#include "dravo/include/Dravo.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/NalScanner.h"
#include "ordune/ParameterHistory.h"
#include "ordune/RawIndexer.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

using namespace std::chrono_literals;

// What the callbacks say.
struct Told {
    std::mutex mutex;
    std::condition_variable changed;
    bool picture = false;
    bool index = false;
    Clock::time_point picture_at;
    Clock::time_point index_at;

    void Tell(bool& what, Clock::time_point& when) {
        const std::lock_guard lock(mutex);
        if (!what) when = Clock::now();
        what = true;
        changed.notify_all();
    }
    bool Wait(const bool& what) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, 60s, [&] { return what; });
    }
} g_told;

void OnDisplay(int, char*, int, int, int, int, int, int) {
    g_told.Tell(g_told.picture, g_told.picture_at);
}

void OnFileRef(unsigned int, std::uintptr_t) {
    g_told.Tell(g_told.index, g_told.index_at);
}

// Opens and plays as a program does that begins with a film.
void OpenOnce(const std::string& path) {
    const BenchWindow window(1280, 720);
    int port = 0;
    Dravo_GetPort(&port);
    Dravo_SetDisplayCallBack(port, OnDisplay);
    Dravo_SetFileRefCallBack(port, OnFileRef, 0);
    const auto begin = Clock::now();
    if (!Dravo_OpenFile(port, path.c_str())) throw std::runtime_error("cannot open " + path);
    const auto opened = Clock::now();
    Dravo_Play(port, window.Id());
    if (!g_told.Wait(g_told.picture)) throw std::runtime_error("no picture of " + path);
    if (!g_told.Wait(g_told.index)) throw std::runtime_error("no index of " + path);
    std::printf("open %f\nfirst %f\nindex %f\n", Milliseconds(begin, opened),
                Milliseconds(opened, g_told.picture_at), Milliseconds(begin, g_told.index_at));
    Dravo_FreePort(port);
}

void OpenBare(const std::string& path) {
    std::printf("open %f\n", 1000.0 * BareDecoder::OpenSeconds(path));
}

// The index alone, and the search for start codes in the same blocks alone.
void IndexOnce(const std::string& path) {
    const auto source = ordune::FileSource::Open(path);
    if (!source) throw std::runtime_error("cannot read " + path);
    ordune::FrameTable table(false);
    ordune::ParameterHistory history;
    auto begin = Clock::now();
    ordune::RawIndexer indexer(source.Value(), table, history);
    while (indexer.Advance()) {
    }
    std::printf("index %f\n", Milliseconds(begin));
    std::printf("bytes %f\n", static_cast<double>(table.Bytes()) / table.Frames());

    begin = Clock::now();
    std::vector<std::uint8_t> block(ordune::RawIndexer::kBlock);
    std::size_t codes = 0;
    for (std::int64_t offset = 0;; offset += static_cast<std::int64_t>(block.size())) {
        const std::int64_t got = source.Value()->ReadAt(offset, block.data(), block.size());
        if (got <= 0) break;
        const auto size = static_cast<std::size_t>(got);
        for (std::size_t at = 0; (at = ordune::FindStartCode(block.data(), at, size)) < size; at += 3)
            ++codes;
    }
    std::printf("scan %f\ncodes %zu\n", Milliseconds(begin), codes);
}

std::map<std::string, double> InFreshProcess(const Setup& setup, const std::string& what,
                                             const std::string& path) {
    const auto result = support::ChildProcess::Run({setup.program, "fresh", what, path}, 60s);
    if (result.exitCode != 0) throw std::runtime_error(result.output);
    std::map<std::string, double> figures;
    std::istringstream lines(result.output);
    std::string name;
    double value = 0.0;
    while (lines >> name >> value)
        figures[name] = value;
    return figures;
}

} // namespace

bool MeasureInFreshProcess(const std::string& what, const std::string& path) {
    if (what == "open")
        OpenOnce(path);
    else if (what == "open-bare")
        OpenBare(path);
    else if (what == "index")
        IndexOnce(path);
    else
        return false;
    return true;
}

void MeasureOpening(const Setup& setup, const std::string& film) {
    const std::string what = "opening, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const bool raw = !film.ends_with(".mp4");
    Series open;
    Series first;
    Series index;
    Series bare;
    Series mpv;
    for (int run = 0; run < setup.runs; ++run) {
        auto figures = InFreshProcess(setup, "open", path);
        open.Add(figures["open"]);
        first.Add(figures["first"]);
        index.Add(figures["index"]);
        bare.Add(InFreshProcess(setup, "open-bare", path)["open"]);
        if (const auto player = setup.Mpv(path)) mpv.Add(player->StartMilliseconds());
    }
    Print({what + ": OpenFile", "ms", open, raw ? Series{} : bare, {}, raw ? "100" : "1.2 x limit"});
    Print({what + ": first picture after that", "ms", first, {}, {}, "40"});
    if (!mpv.Empty())
        Print({what + ": first picture (mpv: of its process)", "ms", open.Plus(first), {}, mpv, ""});
    if (raw) Print({what + ": index whole, played meanwhile", "ms", index, {}, {}, "250"});
}

void MeasureIndex(const Setup& setup, const std::string& film) {
    const std::string what = "index, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    Series index;
    Series scan;
    Series bytes;
    for (int run = 0; run < setup.runs; ++run) {
        auto figures = InFreshProcess(setup, "index", path);
        index.Add(figures["index"]);
        scan.Add(figures["scan"]);
        bytes.Add(figures["bytes"]);
    }
    Print({what + ": alone", "ms", index, scan, {}, "250"});
    Print({what + ": bytes a frame", "B", bytes, {}, {}, "24"});
}

} // namespace bench
