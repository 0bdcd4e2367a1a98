// Reading that fails for a while, and reading that is cancelled.
#include "tests/ordune/ReaderUnderTest.h"
#include "tests/ordune/ScriptedMedia.h"
#include "tests/support/ClipMaker.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace testing_ordune {
namespace {

using State = FrameReader::State;

class PassingFailure : public testing::TestWithParam<ErrorKind> {};

TEST_P(PassingFailure, CostsAFrameOnlyUntilTheNextWant) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 20, .b_pictures = 2});
    ReaderUnderTest reader(media);
    media->failure = GetParam();
    EXPECT_FALSE(reader.Get(47));
    EXPECT_EQ(reader->StateOf(47), State::Undecodable);
    // The others were not tried, so nothing is said of them.
    EXPECT_EQ(reader->StateOf(48), State::Pending);
    media->failure = std::nullopt;
    EXPECT_TRUE(reader.Get(70));
    EXPECT_TRUE(reader.Get(47));
}

TEST_P(PassingFailure, InTheMiddleOfAGroupCostsNoneOfItsFrames) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 100, .b_pictures = 2});
    ReaderUnderTest reader(media);
    ASSERT_TRUE(reader.Get(10));
    media->failure = GetParam();
    EXPECT_FALSE(reader.Get(60));
    media->failure = std::nullopt;
    for (const FrameNumber frame : {61, 60, 30, 22, 21, 20, 19, 18})
        EXPECT_TRUE(reader.Get(frame)) << "frame " << frame;
}

INSTANTIATE_TEST_SUITE_P(Kinds, PassingFailure, testing::Values(ErrorKind::Io, ErrorKind::OutOfMemory));

TEST(FrameReader, EndsWhileAReadIsStuck) {
    const auto media = ScriptedMedia::Encode({.frames = 60, .group = 20});
    media->TheGate().Allow(5);
    ReaderUnderTest reader(media);
    reader->SetWant({30, Direction::Forward, true, Effort::Every, 0});
    ASSERT_TRUE(media->TheGate().AwaitReaderWaiting());
    // The gate stays closed; the reader's end is what gets through.
}

TEST(UnitReader, GivesNothingMoreOnceItIsCancelled) {
    using support::ClipContainer;
    for (const ClipContainer container :
         {ClipContainer::Mp4, ClipContainer::Matroska, ClipContainer::RawStream}) {
        SCOPED_TRACE(static_cast<int>(container));
        const std::string path =
            std::string(TALVIO_TEST_WORK_DIR) + "/cancel-" + std::to_string(::getpid()) + ".clip";
        support::MakeClip(path, {.frames = 60, .keyInterval = 10, .container = container});
        const auto file = MediaFile::Open(path);
        ::unlink(path.c_str());
        ASSERT_TRUE(file) << file.Failure().text;
        const CancelToken cancel = CancelToken::Make();
        const auto reader = file.Value()->MakeUnitReader(cancel);
        ASSERT_TRUE(reader);
        const auto unit = reader.Value()->Next();
        ASSERT_TRUE(unit && unit.Value());
        cancel.Cancel();
        const auto next = reader.Value()->Next();
        ASSERT_FALSE(next);
        EXPECT_EQ(next.Failure().kind, ErrorKind::Cancelled);
        // Others of the same file are not concerned.
        const auto other = file.Value()->MakeUnitReader();
        ASSERT_TRUE(other);
        EXPECT_TRUE(other.Value()->Next());
        if (container != ClipContainer::Matroska) continue;
        const auto late = file.Value()->MakeUnitReader(cancel);
        ASSERT_FALSE(late);
        EXPECT_EQ(late.Failure().kind, ErrorKind::Cancelled);
        const auto sought = reader.Value()->SeekTo(10);
        ASSERT_FALSE(sought);
        EXPECT_EQ(sought.Failure().kind, ErrorKind::Cancelled);
    }
}

} // namespace
} // namespace testing_ordune
