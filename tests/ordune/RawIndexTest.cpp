// The index of raw streams on streams built bit by bit, and of a growing index on all raw recordings.

#include "ordune/NalScanner.h"
#include "ordune/RawContent.h"
#include "ordune/RawIndexer.h"
#include "tests/ordune/MediaFolder.h"
#include "tests/ordune/StreamBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace ordune::test {

namespace {

struct Indexed {
    std::shared_ptr<FrameTable> table = std::make_shared<FrameTable>(false);
    ParameterHistory history;
    std::unique_ptr<RawIndexer> indexer;

    std::vector<UnitNumber> Order() const {
        std::vector<UnitNumber> units;
        for (FrameNumber frame = 0; frame < table->Total(); ++frame)
            units.push_back(table->UnitOf(frame));
        return units;
    }
};

std::unique_ptr<Indexed> Index(const StreamBuilder& stream, std::size_t block = RawIndexer::kBlock) {
    auto indexed = std::make_unique<Indexed>();
    static int number = 0;
    Result<std::shared_ptr<const FileSource>> file =
        FileSource::Open(stream.Save("stream" + std::to_string(++number) + ".264"));
    EXPECT_TRUE(file);
    indexed->indexer = std::make_unique<RawIndexer>(file.Value(), *indexed->table, indexed->history, block);
    while (indexed->indexer->Advance()) {
    }
    EXPECT_TRUE(indexed->table->Complete());
    return indexed;
}

StreamBuilder Sets(const SequenceSpec& spec = {}) {
    StreamBuilder stream;
    stream.Sequence(spec).Picture();
    return stream;
}

using Units = std::vector<UnitNumber>;

} // namespace

TEST(StartCodes, AreFoundAtEveryPlaceByBothWays) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::uint8_t> bytes(1 + random() % 300);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random() % 3);
        std::size_t from = 0;
        while (from < bytes.size()) {
            std::size_t expected = bytes.size();
            for (std::size_t at = from; at + 3 <= bytes.size(); ++at) {
                if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) {
                    expected = at;
                    break;
                }
            }
            ASSERT_EQ(FindStartCode(bytes.data(), from, bytes.size()), expected) << "round " << round;
            ASSERT_EQ(FindStartCodePortably(bytes.data(), from, bytes.size()), expected) << "round " << round;
            from = expected + 1;
        }
    }
}

TEST(RawIndex, SortsOrderType0ByItsCountWithinAnIdrPeriod) {
    StreamBuilder stream = Sets();
    stream.Slice({.type = 2, .idr = true})
        .Slice({.frame_number = 1, .order_lsb = 6})
        .Slice({.type = 1, .reference_idc = 0, .frame_number = 2, .order_lsb = 2})
        .Slice({.type = 1, .reference_idc = 0, .frame_number = 2, .order_lsb = 4})
        .Slice({.type = 2, .idr = true, .idr_id = 1})
        .Slice({.frame_number = 1, .order_lsb = 2});
    const auto indexed = Index(stream);
    EXPECT_EQ(indexed->Order(), (Units{0, 2, 3, 1, 4, 5}));
    EXPECT_EQ(indexed->indexer->Depth(), 1);
    EXPECT_FALSE(indexed->table->Referenced(2));
    EXPECT_TRUE(indexed->table->Referenced(1));
    ASSERT_TRUE(indexed->table->GroupOf(5));
    EXPECT_EQ(indexed->table->GroupOf(5)->first_unit, 4U);
    EXPECT_EQ(indexed->table->GroupOf(0)->frame_count, 4U);
}

TEST(RawIndex, CarriesTheCountOverItsBits) {
    StreamBuilder stream = Sets();
    stream.Slice({.type = 2, .idr = true});
    for (unsigned i = 1; i < 300; ++i)
        stream.Slice({.frame_number = i % 16, .order_lsb = (2 * i) % 256});
    const auto indexed = Index(stream);
    ASSERT_EQ(indexed->table->Total(), 300U);
    for (FrameNumber frame = 0; frame < 300; ++frame)
        ASSERT_EQ(indexed->table->UnitOf(frame), frame);
}

TEST(RawIndex, SortsOrderType1ByItsCycle) {
    // References 4 apart; the others 2 before the reference decoded ahead of them.
    StreamBuilder stream = Sets({.order_type = 1, .offsets_in_cycle = {4}, .offset_for_non_reference = -2});
    stream.Slice({.type = 2, .idr = true})
        .Slice({.frame_number = 1})
        .Slice({.type = 1, .reference_idc = 0, .frame_number = 2})
        .Slice({.frame_number = 2})
        .Slice({.type = 1, .reference_idc = 0, .frame_number = 3});
    EXPECT_EQ(Index(stream)->Order(), (Units{0, 2, 1, 4, 3}));
}

TEST(RawIndex, ShowsOrderType2AsDecoded) {
    StreamBuilder stream = Sets({.order_type = 2});
    stream.Slice({.type = 2, .idr = true});
    for (unsigned i = 1; i < 40; ++i) {
        stream.Slice({.reference_idc = i % 2, .frame_number = (i / 2 + 1) % 16});
    }
    const auto indexed = Index(stream);
    ASSERT_EQ(indexed->table->Total(), 40U);
    for (FrameNumber frame = 0; frame < 40; ++frame)
        ASSERT_EQ(indexed->table->UnitOf(frame), frame);
}

TEST(RawIndex, MakesOneFrameOfTwoFields) {
    StreamBuilder stream = Sets({.frames_only = false});
    stream.Slice({.type = 2, .idr = true, .field = true})
        .Slice({.order_lsb = 1, .field = true, .bottom = true})
        .Slice({.frame_number = 1, .order_lsb = 2, .field = true})
        .Picture()
        .Slice({.frame_number = 1, .order_lsb = 3, .field = true, .bottom = true})
        .Slice({.frame_number = 2, .order_lsb = 4});
    const auto indexed = Index(stream);
    EXPECT_EQ(indexed->Order(), (Units{0, 1, 2}));
}

TEST(RawIndex, BeginsAnewAfterAReset) {
    StreamBuilder stream = Sets();
    stream.Slice({.type = 2, .idr = true})
        .Slice({.frame_number = 1, .order_lsb = 100})
        .Slice({.frame_number = 2, .order_lsb = 40, .resets = true})
        .Slice({.frame_number = 1, .order_lsb = 2});
    EXPECT_EQ(Index(stream)->Order(), (Units{0, 1, 2, 3}));
}

TEST(RawIndex, TakesSlicesOfOnePictureTogether) {
    StreamBuilder stream = Sets();
    for (unsigned i = 0; i < 5; ++i) {
        const bool idr = i == 0;
        stream.Slice({.type = 2, .idr = idr, .frame_number = i, .order_lsb = 2 * i})
            .Slice({.type = 2, .idr = idr, .first_macroblock = 8, .frame_number = i, .order_lsb = 2 * i});
    }
    EXPECT_EQ(Index(stream)->table->Total(), 5U);
}

TEST(RawIndex, TellsIdrPicturesOfTheSameNumberApart) {
    StreamBuilder stream = Sets();
    for (int i = 0; i < 7; ++i)
        stream.Slice({.type = 2, .idr = true});
    const auto indexed = Index(stream);
    EXPECT_EQ(indexed->table->Total(), 7U);
    EXPECT_EQ(indexed->table->GroupOf(6)->first_unit, 6U);
}

TEST(RawIndex, OpensAGroupAtARecoveryPointAndCountsItsLeadingPictures) {
    StreamBuilder stream = Sets();
    stream.Slice({.type = 2, .idr = true})
        .Slice({.frame_number = 1, .order_lsb = 2})
        .RecoveryPoint(0)
        .Slice({.type = 2, .frame_number = 2, .order_lsb = 8})
        .Slice({.type = 1, .reference_idc = 0, .frame_number = 3, .order_lsb = 4})
        .Slice({.type = 1, .reference_idc = 0, .frame_number = 3, .order_lsb = 6})
        .Slice({.frame_number = 3, .order_lsb = 10});
    const auto indexed = Index(stream);
    EXPECT_EQ(indexed->Order(), (Units{0, 1, 3, 4, 2, 5}));
    const std::optional<Group> group = indexed->table->GroupOf(2);
    ASSERT_TRUE(group);
    EXPECT_EQ(group->first_unit, 2U);
    EXPECT_EQ(group->first_frame, 2U);
    EXPECT_EQ(group->frame_count, 4U);
    EXPECT_EQ(group->leading_count, 2U);
    EXPECT_EQ(indexed->table->KeyAtOrBefore(3)->frame, 0U);
    EXPECT_EQ(indexed->table->KeyAtOrBefore(4)->frame, 4U);
    EXPECT_EQ(indexed->table->KeyAfter(0)->frame, 4U);
    EXPECT_FALSE(indexed->table->KeyAfter(4));
}

TEST(RawIndex, DoesNotCountPicturesBeforeTheFirstThatCanBeDecoded) {
    StreamBuilder stream = Sets();
    stream.Slice({.frame_number = 1, .order_lsb = 2})
        .Slice({.frame_number = 2, .order_lsb = 4})
        .Slice({.type = 2, .idr = true})
        .Slice({.frame_number = 1, .order_lsb = 2});
    const auto indexed = Index(stream);
    EXPECT_EQ(indexed->Order(), (Units{2, 3}));
    EXPECT_EQ(indexed->table->FrameOf(0), kNoFrame);
}

TEST(RawIndex, KeepsTheSetsInForceAtEachKeyUnderTheSameNumber) {
    StreamBuilder stream;
    stream.Sequence({.macroblock_columns = 4}).Picture();
    stream.Slice({.type = 2, .idr = true}).Slice({.frame_number = 1, .order_lsb = 2});
    stream.Slice({.type = 2, .idr = true, .idr_id = 1});
    stream.Sequence({.macroblock_columns = 8}).Picture();
    stream.Slice({.type = 2, .idr = true, .idr_id = 2});
    stream.Slice({.type = 2, .idr = true, .idr_id = 3});
    const auto indexed = Index(stream);
    ASSERT_EQ(indexed->table->Total(), 5U);
    const auto width_before = [&](UnitNumber unit) {
        const std::vector<std::uint8_t> sets = indexed->history.Before(unit);
        if (sets.size() < 6) return 0;
        const std::size_t end = FindStartCode(sets.data(), 4, sets.size());
        const auto parsed = ParseSequenceParameters({sets.data() + 5, end - 5});
        return parsed ? parsed->width : -1;
    };
    EXPECT_EQ(width_before(0), 0);
    EXPECT_EQ(width_before(2), 64);
    EXPECT_EQ(width_before(3), 64);
    EXPECT_EQ(width_before(4), 128);
}

TEST(RawIndex, TakesTheRateFromTheStreamAndAFrameAsTwoTicks) {
    StreamBuilder stream = Sets({.units_in_tick = 1001, .time_scale = 60000});
    stream.Slice({.type = 2, .idr = true});
    const auto indexed = Index(stream);
    ASSERT_TRUE(indexed->indexer->FirstSequence());
    const RawIndexer::Timing timing = RawIndexer::TimingOf(*indexed->indexer->FirstSequence());
    EXPECT_EQ(timing.numerator, 30000);
    EXPECT_EQ(timing.denominator, 1001);
    EXPECT_EQ(RawIndexer::TimingOf({}).numerator, 25);
    EXPECT_EQ(RawIndexer::TimingOf({}).denominator, 1);
}

TEST(RawIndex, OverlooksGarbageAheadAndACutAtTheEnd) {
    StreamBuilder stream;
    stream.Bytes({0xde, 0xad, 0, 0, 2, 0xbe, 0xef, 0xff});
    stream.Sequence({}).Picture().Slice({.type = 2, .idr = true}).Slice({.frame_number = 1, .order_lsb = 2});
    stream.Bytes({0, 0, 1});
    EXPECT_EQ(Index(stream)->table->Total(), 2U);
    stream.Bytes({0x41});
    EXPECT_EQ(Index(stream)->table->Total(), 2U);
}

TEST(RawIndex, ReadsHeadersThroughEmulationPrevention) {
    // The count's bits are all zero over several bytes, so that the writer has to put in 03s.
    SequenceSpec spec;
    spec.units_in_tick = 1;
    spec.time_scale = 50;
    StreamBuilder stream = Sets(spec);
    stream.Slice({.type = 2, .idr = true});
    const auto& bytes = stream.Stream();
    const std::uint8_t pattern[] = {0, 0, 3};
    ASSERT_NE(std::search(bytes.begin(), bytes.end(), std::begin(pattern), std::end(pattern)), bytes.end());
    const auto indexed = Index(stream);
    ASSERT_TRUE(indexed->indexer->FirstSequence());
    EXPECT_EQ(indexed->indexer->FirstSequence()->time_scale, 50U);
}

TEST(RawIndex, TakesAtMostTwentyFourBytesAFrame) {
    StreamBuilder stream = Sets();
    for (unsigned i = 0; i < 1000; ++i)
        stream.Slice({.type = 2, .idr = true, .idr_id = i % 2});
    const auto indexed = Index(stream);
    EXPECT_LE(indexed->table->Bytes(), 1001U * 24);
}

TEST(RawIndex, IsTheSameWhateverTheBlocksAndItsPrefixesAreFinal) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    for (const Recording& recording : Recordings()) {
        if (recording.name.rfind("h264/", 0) != 0) continue;
        SCOPED_TRACE(recording.name);
        Result<std::shared_ptr<const FileSource>> file = FileSource::Open(recording.path);
        ASSERT_TRUE(file);
        FrameTable whole(false);
        ParameterHistory whole_history;
        RawIndexer at_once(file.Value(), whole, whole_history);
        while (at_once.Advance()) {
        }
        ASSERT_EQ(whole.Total(), recording.frames);

        FrameTable growing(false);
        ParameterHistory growing_history;
        RawIndexer in_steps(file.Value(), growing, growing_history, 1024);
        FrameNumber known = 0;
        for (bool more = true; more;) {
            more = in_steps.Advance();
            ASSERT_GE(growing.Known(), known);
            ASSERT_GE(growing.Total(), growing.Known());
            known = growing.Known();
            for (FrameNumber frame = known > 40 ? known - 40 : 0; frame < known; ++frame) {
                const UnitNumber unit = growing.UnitOf(frame);
                ASSERT_EQ(unit, whole.UnitOf(frame));
                ASSERT_EQ(growing.FrameOf(unit), frame);
                ASSERT_EQ(growing.ExtentOf(unit).offset_bytes, whole.ExtentOf(unit).offset_bytes);
                ASSERT_EQ(growing.ExtentOf(unit).size_bytes, whole.ExtentOf(unit).size_bytes);
                ASSERT_EQ(growing.GroupOf(frame)->first_unit, whole.GroupOf(frame)->first_unit);
                ASSERT_EQ(growing.GroupOf(frame)->first_frame, whole.GroupOf(frame)->first_frame);
            }
        }
        EXPECT_EQ(growing.Total(), whole.Total());
    }
}

TEST(RawIndex, GoesOnInTheBackgroundAndTellsOnceWhenItIsComplete) {
    const std::string path = RecordingPath("h264/MR2_MW_A.264");
    Result<std::shared_ptr<const FileSource>> file = FileSource::Open(path);
    if (!file) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    // No patience and tiny blocks: nearly all is left to the thread.
    Result<std::shared_ptr<FileContent>> content =
        RawContent::Make(file.Value(), std::chrono::milliseconds(0), 2048);
    ASSERT_TRUE(content) << content.Failure().text;
    std::mutex mutex;
    std::condition_variable told;
    int calls = 0;
    const std::uint64_t number = content.Value()->WhenComplete([&] {
        const std::lock_guard lock(mutex);
        ++calls;
        told.notify_all();
    });
    std::unique_lock lock(mutex);
    ASSERT_TRUE(told.wait_for(lock, std::chrono::seconds(30), [&] { return calls > 0; }));
    lock.unlock();
    content.Value()->Withdraw(number);
    EXPECT_TRUE(content.Value()->Table().Complete());
    EXPECT_EQ(content.Value()->Table().Total(), 300U);
    EXPECT_EQ(calls, 1);
}

TEST(RawIndex, IsGivenUpAtOnceWhenNobodyHoldsIt) {
    const std::string path = RecordingPath("h264/CVPCMNL1_SVA_C.264");
    Result<std::shared_ptr<const FileSource>> file = FileSource::Open(path);
    if (!file) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    for (int i = 0; i < 20; ++i) {
        Result<std::shared_ptr<FileContent>> content =
            RawContent::Make(file.Value(), std::chrono::milliseconds(0), 1024);
        ASSERT_TRUE(content);
        bool called = false;
        const std::uint64_t number = content.Value()->WhenComplete([&] { called = true; });
        content.Value()->Withdraw(number);
    }
}

} // namespace ordune::test
