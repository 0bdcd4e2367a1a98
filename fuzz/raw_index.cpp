// The index of raw H.264 streams, and the reader of their units. The input is the stream.
#include "fuzz/FuzzInput.h"
#include "fuzz/IndexPromises.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/ParameterHistory.h"
#include "ordune/RawContent.h"
#include "ordune/RawIndexer.h"
#include "ordune/RawUnitReader.h"

#include <memory>
#include <thread>

using namespace ordune;

namespace {

struct Indexed {
    std::shared_ptr<FrameTable> table = std::make_shared<FrameTable>(false);
    std::shared_ptr<ParameterHistory> history = std::make_shared<ParameterHistory>();

    Indexed(const std::shared_ptr<const FileSource>& file, std::size_t block) {
        RawIndexer indexer(file, *table, *history, block);
        while (indexer.Advance())
            fuzz::Require(table->Known() <= table->Total(), "a growing index is short, not wrong");
        fuzz::Require(table->Complete(), "an index that ends is complete");
    }
};

void ReadUnits(const std::shared_ptr<const FileSource>& file, const Indexed& indexed) {
    auto straight = RawUnitReader::Make(file, indexed.table, indexed.history, {});
    auto sought = RawUnitReader::Make(file, indexed.table, indexed.history, {});
    fuzz::Require(straight && sought, "there is memory for a reader");
    UnitNumber expected = 0;
    for (;; ++expected) {
        const auto unit = straight.Value()->Next();
        if (!unit || !unit.Value()) break;
        fuzz::Require(unit.Value()->number == expected, "units come in order");
        if (!indexed.table->BeginsGroup(expected)) continue;
        fuzz::Require(static_cast<bool>(sought.Value()->SeekTo(expected)), "a group can be sought");
        const auto again = sought.Value()->Next();
        fuzz::Require(again && again.Value() && again.Value()->number == expected,
                      "a seek lands on its group");
    }
    fuzz::Require(expected == indexed.table->KnownUnits(), "every unit can be read");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::MemoryFile memory({data, size});
    auto file = FileSource::Open(memory.Path());
    // A busy machine may let an opening wait longer than it has patience.
    for (int tries = 0; !file && tries < 5; ++tries) {
        std::this_thread::sleep_for(FileSource::kPatience);
        file = FileSource::Open(memory.Path());
    }
    fuzz::Require(static_cast<bool>(file), "the input is a file");
    (void)RawContent::Recognise(*file.Value());
    const Indexed whole(file.Value(), RawIndexer::kBlock);
    fuzz::CheckIndex(*whole.table);
    const Indexed pieces(file.Value(), 61);
    fuzz::CheckSame(*whole.table, *pieces.table);
    ReadUnits(file.Value(), whole);
    return 0;
}
