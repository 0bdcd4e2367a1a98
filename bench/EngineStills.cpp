// Stills of the current picture, and every picture of a film as a JPEG.
#include "bench/BareDecoder.h"
#include "bench/BenchPort.h"
#include "bench/EngineMeasurements.h"
#include "bench/EngineTable.h"
#include "dravo/include/Dravo.h"

#include <thread>

namespace bench {

namespace {

constexpr int kStills = 20;
constexpr int kExported = 500;
constexpr std::size_t kRoom = std::size_t{64} << 20;

} // namespace

void MeasureStills(const Setup& setup, const std::string& film) {
    const std::string what = "still, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const BenchPort port(path, setup.window);
    BareDecoder bare(path, 0);
    const unsigned long frame = port.Total() / 3;
    port.JumpTo(frame);
    bare.JumpTo(static_cast<double>(frame) / port.Rate());
    std::vector<unsigned char> room(kRoom);
    unsigned long length = 0;
    Series jpeg;
    Series bmp;
    Series bare_jpeg;
    Series bare_bmp;
    for (int run = 0; run < setup.runs; ++run) {
        AwaitIdle();
        for (int still = 0; still < kStills; ++still) {
            auto begin = Clock::now();
            Dravo_GetJPEG(port.Number(), room.data(), room.size(), &length);
            jpeg.Add(Milliseconds(begin));
            begin = Clock::now();
            Dravo_GetBMP(port.Number(), room.data(), room.size(), &length);
            bmp.Add(Milliseconds(begin));
            bare_jpeg.Add(bare.JpegMilliseconds(95));
            bare_bmp.Add(bare.PixelMilliseconds());
        }
    }
    Print({what + ", GetJPEG", "ms", jpeg, bare_jpeg, {}, "6"});
    Print({what + ", GetBMP", "ms", bmp, bare_bmp, {}, "3"});
}

void MeasureExport(const Setup& setup, const std::string& film) {
    const std::string what = "every picture as JPEG, " + film;
    const std::string path = setup.Film(film, what);
    if (path.empty()) return;
    const BenchPort port(path, 0);
    BareDecoder bare(path, 0);
    std::vector<unsigned char> room(kRoom);
    Series rate;
    Series limit;
    for (int run = 0; run < setup.runs; ++run) {
        port.JumpTo(static_cast<unsigned long>(run) * kExported % port.Total());
        AwaitIdle();
        auto begin = Clock::now();
        int made = 0;
        for (; made < kExported; ++made) {
            unsigned long length = 0;
            if (!Dravo_GetJPEG(port.Number(), room.data(), room.size(), &length)) break;
            if (!Dravo_OneByOne(port.Number())) break;
        }
        rate.Add(made / (Milliseconds(begin) / 1000.0));
        AwaitIdle();
        // Both of its costs at once on all processors.
        const double cpu = ProcessCpuSeconds();
        const int decoded = bare.DecodeFromStart(100, 0, 0);
        const double decode = (ProcessCpuSeconds() - cpu) / decoded;
        const double encode = bare.JpegMilliseconds(95) / 1000.0;
        limit.Add(std::thread::hardware_concurrency() / (decode + encode));
    }
    Print({what + ", pictures a second", "1/s", rate, limit, {}, "150"});
}

} // namespace bench
