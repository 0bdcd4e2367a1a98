// Opening a file of any kind: recognising it, its index, its units, its sound. The input is the file.
#include "fuzz/FuzzInput.h"
#include "fuzz/IndexPromises.h"
#include "ordune/MediaFile.h"
#include "ordune/SoundReader.h"

#include <memory>

using namespace ordune;

namespace {

constexpr UnitNumber kMostUnits = 2000;
constexpr int kMostSeeks = 16;
constexpr int kMostBlocks = 16;

void ReadUnits(const MediaFile& file) {
    auto straight = file.MakeUnitReader();
    auto sought = file.MakeUnitReader();
    if (!straight || !sought) return;
    int seeks = 0;
    for (UnitNumber expected = 0; expected < kMostUnits; ++expected) {
        const auto unit = straight.Value()->Next();
        if (!unit || !unit.Value()) return;
        fuzz::Require(unit.Value()->number == expected, "units come in order");
        if (!unit.Value()->key || seeks++ >= kMostSeeks) continue;
        if (!sought.Value()->SeekTo(expected)) continue;
        const auto again = sought.Value()->Next();
        fuzz::Require(!again || !again.Value() || again.Value()->number == expected,
                      "a seek lands on its group");
    }
}

void Listen(const MediaFile& file) {
    auto reader = SoundReader::Make(file, 48000, 2);
    if (!reader) return;
    for (const MediaTime from : {MediaTime(0), file.Index().Duration() / 2}) {
        if (!reader.Value()->SeekTo(from)) continue;
        for (int blocks = 0; blocks < kMostBlocks; ++blocks) {
            const auto block = reader.Value()->Next();
            if (!block || !block.Value()) break;
            fuzz::Require(block.Value()->samples.size() % 2 == 0, "stereo comes in pairs");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::MemoryFile memory({data, size});
    const auto file = MediaFile::Open(memory.Path());
    if (!file) {
        fuzz::Require(!file.Failure().text.empty(), "a refusal says why");
        return 0;
    }
    fuzz::Require(file.Value()->Index().Total() > 0, "an open file has a picture");
    fuzz::CheckIndex(file.Value()->Index());
    ReadUnits(*file.Value());
    if (file.Value()->Sound()) Listen(*file.Value());
    return 0;
}
