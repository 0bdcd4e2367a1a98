// What the frame reader decodes when: told from the units that it reads, with the reading held up where it
// matters.
#include "tests/ordune/ReaderUnderTest.h"
#include "tests/ordune/ScriptedMedia.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>

namespace testing_ordune {
namespace {

using State = FrameReader::State;

constexpr std::size_t kPictureBytes = 16384; // of 96 x 64 pixels, as the pool rounds them

FrameReaderOptions RoomFor(std::size_t pictures) {
    FrameReaderOptions options;
    options.cache_bytes = pictures * kPictureBytes;
    return options;
}

std::size_t CountUnits(const std::vector<UnitNumber>& read, UnitNumber first, UnitNumber last) {
    return static_cast<std::size_t>(std::count_if(
        read.begin(), read.end(), [&](UnitNumber unit) { return unit >= first && unit <= last; }));
}

TEST(FrameReader, DecodesOnlyTheNewestOfSeveralWants) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 20});
    media->TheGate().Allow(1);
    ReaderUnderTest reader(media);
    reader->SetWant({50, Direction::Forward, true, Effort::Every, 0});
    ASSERT_TRUE(media->TheGate().AwaitReaderWaiting());
    for (const FrameNumber frame : {70, 90, 110, 130})
        reader->SetWant({frame, Direction::Forward, true, Effort::Every, 0});
    reader->SetWant({150, Direction::Forward, true, Effort::Every, 0});
    media->TheGate().Open();
    ASSERT_TRUE(reader.AwaitReady(150));

    // Two units of the first want's group: the one read, and the one that was being read.
    const std::vector<UnitNumber> read = media->TheGate().UnitsRead();
    EXPECT_LE(CountUnits(read, 40, 59), 2U);
    EXPECT_EQ(CountUnits(read, 60, 139), 0U);
}

TEST(FrameReader, AnswersFromMemoryWithoutReading) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 25});
    ReaderUnderTest reader(media);
    ASSERT_TRUE(reader.Get(60));
    media->TheGate().Allow(0);
    reader->SetWant({60, Direction::Backward, true, Effort::Every, 0});
    EXPECT_EQ(reader->StateOf(60), State::Ready);
    EXPECT_TRUE(reader->Find(60));
    media->TheGate().Open();
}

TEST(FrameReader, NeverWaitsForADecodeToAnswer) {
    const auto media = ScriptedMedia::Encode({.frames = 60, .group = 20});
    media->TheGate().Allow(0);
    ReaderUnderTest reader(media);
    reader->SetWant({30, Direction::Forward, true, Effort::Every, 0});
    ASSERT_TRUE(media->TheGate().AwaitReaderWaiting());
    // The decode thread stands in the middle of its work; every call comes back all the same.
    EXPECT_EQ(reader->StateOf(30), State::Pending);
    EXPECT_FALSE(reader->Find(30));
    EXPECT_FALSE(reader->FindNewest(0, 59));
    EXPECT_FALSE(reader->FindOldest(0, 59));
    EXPECT_EQ(reader->CacheBytes(), 0U);
    reader->SetWant({10, Direction::Forward, true, Effort::Every, 0});
    media->TheGate().Open();
    EXPECT_TRUE(reader.AwaitReady(10));
}

TEST(FrameReader, MakesTheNeighboursOfAPositionBeforeTheyAreAskedFor) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 50, .b_pictures = 3, .pyramid = true});
    ReaderUnderTest reader(media, RoomFor(400));
    ASSERT_TRUE(reader.Get(120));
    EXPECT_TRUE(reader.Await([&] {
        for (FrameNumber frame = 60; frame <= 128; ++frame) {
            if (!reader->Find(frame)) return false;
        }
        return true;
    }));
}

class Jump : public testing::TestWithParam<Direction> {};

TEST_P(Jump, LeavesOutWhatNothingRefersToOnTheWayToAFrame) {
    auto media = ScriptedMedia::Encode({.frames = 200, .group = 200, .b_pictures = 3, .pyramid = true});
    // As far as the unreferenced pictures of the way count, they might as well be broken.
    std::set<FrameNumber> spoiled;
    for (UnitNumber unit = 1; unit < 140; ++unit) {
        if (media->units[unit].referenced) continue;
        media->Spoil(unit);
        spoiled.insert(media->units[unit].frame);
    }
    ASSERT_GT(spoiled.size(), 50U);
    media->TheGate().Allow(175);
    ReaderUnderTest reader(media);
    reader->SetWant({160, GetParam(), true, Effort::Every, 0});
    ASSERT_TRUE(reader.AwaitReady(160));
    for (const FrameNumber frame : spoiled)
        EXPECT_EQ(reader->StateOf(frame), State::Pending) << "frame " << frame << " was tried on the way";
    // A step or two back finds its picture made by the same pass.
    for (FrameNumber frame = 156; frame < 160; ++frame)
        EXPECT_EQ(reader->StateOf(frame), State::Ready) << "frame " << frame;
    media->TheGate().Open();
}

INSTANTIATE_TEST_SUITE_P(Directions, Jump, testing::Values(Direction::Forward, Direction::Backward));

TEST(FrameReader, StepsBackThroughAGroupForOneDecodeOfIt) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 50, .b_pictures = 2});
    ReaderUnderTest reader(media, RoomFor(200));
    ASSERT_TRUE(reader.Get(99, Direction::Backward));
    for (FrameNumber frame = 98; frame > 50; --frame)
        ASSERT_TRUE(reader.Get(frame, Direction::Backward));
    // Once to get there, once for all that lies behind.
    EXPECT_LE(CountUnits(media->TheGate().UnitsRead(), 50, 99), 2U * 50U);
}

TEST(FrameReader, DecodesTheNextStretchBackBeforeItIsNeeded) {
    const auto media = ScriptedMedia::Encode({.frames = 400, .group = 100});
    ReaderUnderTest reader(media, RoomFor(60));
    ASSERT_TRUE(reader.Get(399, Direction::Backward));
    FrameNumber frame = 399;
    // Wherever one stops, the next ten are ready soon, with no further step.
    while (frame > 30) {
        for (int step = 0; step < 7; ++step) {
            --frame;
            ASSERT_TRUE(reader.Get(frame, Direction::Backward)) << "frame " << frame;
        }
        ASSERT_TRUE(reader.Await([&] {
            for (FrameNumber back = 1; back <= 10; ++back) {
                if (!reader->Find(frame - back)) return false;
            }
            return true;
        })) << "frame "
            << frame;
    }
}

TEST(FrameReader, KeepsWhatAWalkBackHasPassed) {
    const auto media = ScriptedMedia::Encode({.frames = 300, .group = 100, .b_pictures = 2});
    ReaderUnderTest reader(media, RoomFor(96));
    ASSERT_TRUE(reader.Get(250, Direction::Backward));
    for (FrameNumber frame = 249; frame >= 190; --frame)
        ASSERT_TRUE(reader.Get(frame, Direction::Backward));
    // The next stretch back has been made since, which takes all the memory there is.
    ASSERT_TRUE(reader.AwaitReady(150));
    for (FrameNumber frame = 191; frame <= 220; ++frame)
        EXPECT_EQ(reader->StateOf(frame), State::Ready) << "frame " << frame;
}

TEST(FrameReader, KeepsItsBudgetWhateverIsAskedOfIt) {
    const auto media = ScriptedMedia::Encode({.frames = 300, .group = 50, .b_pictures = 3});
    const FrameReaderOptions options = RoomFor(40);
    ReaderUnderTest reader(media, options);
    const auto limit = options.cache_bytes + options.cache_bytes / 20;
    for (FrameNumber frame = 0; frame < 300; frame += 7) {
        ASSERT_TRUE(reader.Get(frame));
        EXPECT_LE(reader->CacheBytes(), limit);
    }
    for (FrameNumber frame = 299; frame > 0; frame -= 1) {
        ASSERT_TRUE(reader.Get(frame, Direction::Backward));
        EXPECT_LE(reader->CacheBytes(), limit);
    }
}

TEST(FrameReader, FindsStepsForwardAndBackInTurnMade) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 50, .b_pictures = 2});
    ReaderUnderTest reader(media, RoomFor(80));
    ASSERT_TRUE(reader.Get(120));
    ASSERT_TRUE(reader.Await([&] { return reader->Find(128) && reader->Find(110); }));
    media->TheGate().Allow(0);
    const std::vector<std::pair<FrameNumber, Direction>> steps = {
        {121, Direction::Forward},  {120, Direction::Backward}, {119, Direction::Backward},
        {120, Direction::Forward},  {121, Direction::Forward},  {122, Direction::Forward},
        {121, Direction::Backward}, {118, Direction::Backward}};
    for (const auto& [frame, direction] : steps) {
        reader->SetWant({frame, direction, true, Effort::Every, 0});
        EXPECT_EQ(reader->StateOf(frame), State::Ready) << "frame " << frame;
    }
    media->TheGate().Open();
}

TEST(FrameReader, StopsAheadOfAPlayAndGoesOnWithIt) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 50});
    ReaderUnderTest reader(media);
    reader.Play(0);
    ASSERT_TRUE(reader.AwaitReady(8));
    reader.Play(20);
    ASSERT_TRUE(reader.AwaitReady(28));
    // What is held back in the decoder comes on top: a few units, far from the rest of the group.
    EXPECT_LE(CountUnits(media->TheGate().UnitsRead(), 80, 199), 0U);
}

TEST(FrameReader, KeepsOnlyTheLastOfWhatWasPlayed) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 50});
    ReaderUnderTest reader(media);
    for (FrameNumber frame = 0; frame < 150; ++frame) {
        reader.Play(frame);
        ASSERT_TRUE(reader.AwaitReady(frame));
    }
    ASSERT_TRUE(reader.AwaitReady(157));
    EXPECT_FALSE(reader->FindNewest(0, 100));
    // The first second of steps back is there.
    for (FrameNumber frame = 125; frame < 150; ++frame)
        EXPECT_TRUE(reader->Find(frame)) << "frame " << frame;
}

TEST(FrameReader, TakesUpAtAKeyPictureWhenAPlayIsFarAhead) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 20});
    media->TheGate().Allow(3);
    ReaderUnderTest reader(media);
    reader.Play(0);
    ASSERT_TRUE(media->TheGate().AwaitReaderWaiting());
    reader.Play(130);
    media->TheGate().Open();
    ASSERT_TRUE(reader.AwaitReady(130));
    const std::vector<UnitNumber> read = media->TheGate().UnitsRead();
    EXPECT_EQ(CountUnits(read, 4, 119), 0U);
}

// The run stands at the beginning of a group of which the play has seen most.
TEST(FrameReader, MakesTheNextKeyPictureBeforehandWhenAPlayIsLate) {
    const auto media = ScriptedMedia::Encode({.frames = 150, .group = 50});
    media->TheGate().Allow(5);
    ReaderUnderTest reader(media, RoomFor(200));
    reader->SetWant({.frame = 0, .exact = false, .stride = 10});
    ASSERT_TRUE(media->TheGate().AwaitReaderWaiting());
    reader->SetWant({.frame = 30, .exact = false, .stride = 10});
    media->TheGate().Open();
    ASSERT_TRUE(reader.AwaitReady(50));
    ASSERT_TRUE(reader.AwaitReady(40)); // it goes on in the group, which has its time yet
    const std::vector<UnitNumber> read = media->TheGate().UnitsRead();
    EXPECT_LT(std::find(read.begin(), read.end(), 50U), std::find(read.begin(), read.end(), 20U));
}

TEST(FrameReader, GoesOverToTheNextGroupBeforeItsTimeWhenAPlayIsLate) {
    const auto media = ScriptedMedia::Encode({.frames = 150, .group = 50});
    media->TheGate().Allow(5);
    ReaderUnderTest reader(media, RoomFor(200));
    reader->SetWant({.frame = 0, .exact = false, .stride = 10});
    ASSERT_TRUE(media->TheGate().AwaitReaderWaiting());
    reader->SetWant({.frame = 42, .exact = false, .stride = 10});
    media->TheGate().Open();
    ASSERT_TRUE(reader.AwaitReady(55));
    EXPECT_EQ(CountUnits(media->TheGate().UnitsRead(), 10, 49), 0U);
}

TEST(FrameReader, StaysInItsGroupWhenAPlayIsInTime) {
    const auto media = ScriptedMedia::Encode({.frames = 150, .group = 50});
    ReaderUnderTest reader(media, RoomFor(200));
    reader->SetWant({.frame = 20, .exact = false, .stride = 10});
    ASSERT_TRUE(reader.AwaitReady(48)); // all that is to be made ahead
    reader->SetWant({.frame = 42, .exact = false, .stride = 10});
    ASSERT_TRUE(reader.AwaitReady(70));
    EXPECT_EQ(media->TheGate().Seeks().size(), 1U);
}

TEST(FrameReader, HasSomethingToShowHoweverLateAPlayIs) {
    const auto media = ScriptedMedia::Encode({.frames = 300, .group = 300});
    media->TheGate().Allow(100);
    ReaderUnderTest reader(media);
    // The play is two hundred pictures ahead of what is decoded, with no key picture between.
    reader.Play(290);
    EXPECT_TRUE(reader.Await([&] {
        const PicturePtr newest = reader->FindNewest(1, 290);
        return newest && newest->Number() > 80;
    }));
    EXPECT_FALSE(reader->FindNewest(1, 80)) << "what is older is not kept";
    media->TheGate().Open();
}

TEST(FrameReader, LeavesOutWhatNothingRefersToWhilePlayingFast) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 50, .b_pictures = 3, .pyramid = true});
    FrameReaderOptions options = RoomFor(400);
    options.ahead = 95;
    ReaderUnderTest reader(media, options);
    reader.Play(0, Effort::Referenced);
    ASSERT_TRUE(reader.Await([&] { return reader->FindNewest(90, 99) != nullptr; }));
    for (FrameNumber frame = 0; frame < 90; ++frame) {
        const bool referenced = media->Referenced(media->UnitOf(frame));
        EXPECT_EQ(reader->Find(frame) != nullptr, referenced) << "frame " << frame;
    }
}

TEST(FrameReader, DecodesKeyPicturesAloneWhenNoMoreIsAsked) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 20, .b_pictures = 2});
    ReaderUnderTest reader(media);
    for (FrameNumber frame = 0; frame < 200; frame += 20) {
        reader.Play(frame, Effort::KeysOnly);
        ASSERT_TRUE(reader.AwaitReady(frame));
    }
    for (const UnitNumber unit : media->TheGate().UnitsRead())
        EXPECT_TRUE(media->units[unit].begins_group) << "unit " << unit;
}

class LeaveOut : public testing::TestWithParam<int> {};

TEST_P(LeaveOut, LeavesSoManyOutAtTheFrontOfEachRunThatNothingRefersTo) {
    const auto media = ScriptedMedia::Encode({.frames = 61, .group = 100, .b_pictures = 3});
    FrameReaderOptions options = RoomFor(400);
    options.ahead = 60;
    ReaderUnderTest reader(media, options);
    reader.Play(0, Effort::Every, GetParam());
    ASSERT_TRUE(reader.AwaitReady(60));
    int in_row = 0;
    for (UnitNumber unit = 0; unit < media->units.size(); ++unit) {
        in_row = media->units[unit].referenced ? 0 : in_row + 1;
        const bool left_out = in_row > 0 && in_row <= GetParam();
        EXPECT_EQ(reader->Find(media->units[unit].frame) == nullptr, left_out) << "unit " << unit;
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, LeaveOut, testing::Values(0, 1, 2));

TEST(FrameReader, MarksWhatDoesNotDecodeAndGoesOnAtTheNextKeyPicture) {
    auto media = ScriptedMedia::Encode({.frames = 100, .group = 20});
    for (UnitNumber unit = 40; unit < 60; ++unit)
        media->Spoil(unit);
    ReaderUnderTest reader(media);
    for (const FrameNumber frame : {40, 47, 59}) {
        EXPECT_FALSE(reader.Get(frame));
        EXPECT_EQ(reader->StateOf(frame), State::Undecodable) << "frame " << frame;
    }
    EXPECT_TRUE(reader.Get(39));
    EXPECT_TRUE(reader.Get(60));
    // Playing over them loses nothing else.
    ReaderUnderTest player(media);
    for (FrameNumber frame = 30; frame < 80; ++frame) {
        player.Play(frame);
        ASSERT_TRUE(player.Await([&] { return player->StateOf(frame) != State::Pending; }));
        EXPECT_EQ(player->StateOf(frame) == State::Ready, frame < 40 || frame >= 60) << "frame " << frame;
    }
}

TEST(FrameReader, TriesFromOneKeyPictureEarlierBeforeItGivesUp) {
    // Key pictures that cannot be decoded alone: the index takes what are plain pictures for the begin of a
    // group.
    auto media = ScriptedMedia::Encode({.frames = 60, .group = 20});
    media->units[30].begins_group = true;
    media->Settle();
    const std::vector<std::string> sums = media->LinearSums();
    ReaderUnderTest reader(media);
    const PicturePtr picture = reader.Get(33);
    ASSERT_TRUE(picture);
    EXPECT_EQ(SumOf(picture->Frame()), sums[33]);
    ASSERT_GE(media->TheGate().Seeks().size(), 2U);
    EXPECT_EQ(media->TheGate().Seeks()[0], 30U);
    EXPECT_EQ(media->TheGate().Seeks()[1], 20U);
}

TEST(FrameReader, TriesFromTheFilesStartAtLast) {
    // Only the first picture can be decoded alone, farther back than the retries before reach.
    auto media = ScriptedMedia::Encode({.frames = 3300, .group = 3300});
    for (UnitNumber unit = 0; unit < 3300; unit += 50)
        media->units[unit].begins_group = true;
    media->Settle();
    ReaderUnderTest reader(media);
    reader->SetWant({3260, Direction::Forward, true, Effort::Every, 0});
    ASSERT_TRUE(reader.AwaitReady(3260));
    const std::vector<UnitNumber> seeks = media->TheGate().Seeks();
    ASSERT_GE(seeks.size(), 4U);
    EXPECT_EQ((std::vector<UnitNumber>(seeks.begin(), seeks.begin() + 4)),
              (std::vector<UnitNumber>{3250, 3200, 250, 0}));
}

TEST(FrameReader, SaysThatAFrameIsDoubtfulWhileItIsTriedFromFarBack) {
    auto media = ScriptedMedia::Encode({.frames = 3300, .group = 3300});
    for (UnitNumber unit = 0; unit < 3300; unit += 50)
        media->units[unit].begins_group = true;
    media->Settle();
    media->TheGate().Allow(300); // its own group and the one before, and some of the way from far back
    ReaderUnderTest reader(media);
    reader->SetWant({3260, Direction::Forward, true, Effort::Every, 0});
    EXPECT_FALSE(reader->Doubtful(3260));
    ASSERT_TRUE(reader.Await([&] { return reader->Doubtful(3260); }));
    EXPECT_EQ(reader->StateOf(3260), State::Pending) << "it may still come out";
    media->TheGate().Open();
    ASSERT_TRUE(reader.AwaitReady(3260));
    EXPECT_FALSE(reader->Doubtful(3260));
}

TEST(FrameReader, TellsThePlaceOfAPictureAmongThoseThatNothingRefersTo) {
    const auto media = ScriptedMedia::Encode({.frames = 61, .group = 100, .b_pictures = 3});
    ReaderUnderTest reader(media, RoomFor(400));
    int in_row = 0;
    for (UnitNumber unit = 0; unit < media->units.size(); ++unit) {
        in_row = media->units[unit].referenced ? 0 : in_row + 1;
        const PicturePtr picture = reader.Get(media->units[unit].frame);
        ASSERT_TRUE(picture) << "unit " << unit;
        EXPECT_EQ(picture->PlaceInRun(), in_row - 1) << "unit " << unit;
    }
}

TEST(FrameReader, DropsUnitsThatAreNotShown) {
    auto media = ScriptedMedia::Encode({.frames = 60, .group = 20});
    const std::vector<std::string> all = media->LinearSums();
    for (UnitNumber unit = 0; unit < 5; ++unit)
        media->units[unit].frame = kNoFrame;
    media->Settle();
    ASSERT_EQ(media->Total(), 55U);
    ReaderUnderTest reader(media);
    for (const FrameNumber frame : {0, 1, 20, 54}) {
        const PicturePtr picture = reader.Get(frame);
        ASSERT_TRUE(picture);
        EXPECT_EQ(SumOf(picture->Frame()), all[frame + 5]);
    }
}

TEST(FrameReader, FollowsAChangeOfSizeInMidStream) {
    auto media = ScriptedMedia::Encode({.encoder = "mpeg4", .frames = 20, .group = 10});
    const auto larger =
        ScriptedMedia::Encode({.encoder = "mpeg4", .width = 128, .height = 96, .frames = 20, .group = 10});
    media->Append(*larger);
    ReaderUnderTest reader(media);
    PicturePtr picture = reader.Get(19);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->Width(), 96);
    for (const FrameNumber frame : {0, 39, 5, 21, 19}) {
        picture = reader.Get(frame);
        ASSERT_TRUE(picture) << "frame " << frame;
    }
}

TEST(FrameReader, WaitsForTheIndexAndGoesOnWhenItHasGrown) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 20});
    media->KnowOnly(40);
    ReaderUnderTest reader(media);
    ASSERT_TRUE(reader.Get(30));
    reader->SetWant({70, Direction::Forward, true, Effort::Every, 0});
    EXPECT_EQ(reader->StateOf(70), State::Pending);
    media->KnowOnly(80);
    ASSERT_TRUE(reader.AwaitReady(70));
    reader->SetWant({99, Direction::Forward, true, Effort::Every, 0});
    media->KnowAll();
    EXPECT_TRUE(reader.AwaitReady(99));
}

TEST(FrameReader, GivesTheLastFrameThatAGrowingIndexKnows) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 20, .b_pictures = 2});
    // Those that the decoder would give out only when it is sent another.
    for (const FrameNumber known : {40U, 43U, 50U}) {
        media->KnowOnly(known);
        ReaderUnderTest reader(media);
        EXPECT_TRUE(reader.Get(known - 1)) << known;
        EXPECT_TRUE(reader.Get(known - 2, Direction::Backward)) << known;
        // And it goes on from there.
        reader->SetWant({known + 5, Direction::Forward, true, Effort::Every, 0});
        media->KnowOnly(80);
        EXPECT_TRUE(reader.AwaitReady(known + 5)) << known;
    }
}

TEST(FrameReader, GivesPicturesTheirRotationTimeAndShapeOfPixels) {
    auto media = ScriptedMedia::Encode({.frames = 10, .group = 5});
    media->video.rotation = 90;
    media->video.sample_aspect_numerator = 4;
    media->video.sample_aspect_denominator = 3;
    ReaderUnderTest reader(media);
    const PicturePtr picture = reader.Get(7);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->Rotation(), 90);
    EXPECT_EQ(picture->Width(), 64);
    EXPECT_EQ(picture->Height(), 96);
    EXPECT_EQ(picture->SampleAspectNumerator(), 3);
    EXPECT_EQ(picture->SampleAspectDenominator(), 4);
    EXPECT_EQ(picture->Time(), MediaTime{280000});
}

TEST(FrameReader, SaysThatAFramePastTheEndCannotBeDecoded) {
    const auto media = ScriptedMedia::Encode({.frames = 10, .group = 5});
    ReaderUnderTest reader(media);
    reader->SetWant({10, Direction::Forward, true, Effort::Every, 0});
    EXPECT_EQ(reader->StateOf(10), State::Undecodable);
    EXPECT_TRUE(reader.Get(9));
}

TEST(FrameReader, FindsTheNewestAndTheOldestPictureOfARange) {
    const auto media = ScriptedMedia::Encode({.frames = 40, .group = 20});
    ReaderUnderTest reader(media);
    ASSERT_TRUE(reader.Get(39));
    ASSERT_TRUE(reader.Await([&] { return reader->Find(30) != nullptr; }));
    EXPECT_EQ(reader->FindNewest(0, 1000)->Number(), 39U);
    EXPECT_EQ(reader->FindNewest(30, 30)->Number(), 30U);
    EXPECT_EQ(reader->FindOldest(30, 39)->Number(), 30U);
    EXPECT_FALSE(reader->FindOldest(40, 1000));
}

TEST(FrameReader, TakesWantsFromManyThreadsAtOnce) {
    const auto media = ScriptedMedia::Encode({.frames = 200, .group = 25, .b_pictures = 2});
    ReaderUnderTest reader(media, RoomFor(50));
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&reader, thread] {
            for (FrameNumber i = 0; i < 300; ++i) {
                const FrameNumber frame = (i * 37 + thread * 53) % 200;
                const auto direction = i % 2 == 0 ? Direction::Forward : Direction::Backward;
                reader->SetWant(
                    {frame, direction, i % 3 != 0, i % 5 == 0 ? Effort::Referenced : Effort::Every, 0});
                static_cast<void>(reader->Find(frame));
                static_cast<void>(reader->StateOf(frame));
                static_cast<void>(reader->FindNewest(0, frame));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(reader.Get(123));
}

TEST(FrameReader, EndsInTheMiddleOfItsWork) {
    const auto media = ScriptedMedia::Encode({.frames = 300, .group = 300});
    for (int i = 0; i < 30; ++i) {
        ReaderUnderTest reader(media);
        reader->SetWant({static_cast<FrameNumber>(290 - i), Direction::Backward, true, Effort::Every, 0});
    }
    // Pictures outlive their reader.
    PicturePtr kept;
    {
        ReaderUnderTest reader(media);
        kept = reader.Get(20);
    }
    ASSERT_TRUE(kept);
    EXPECT_EQ(SumOf(kept->Frame()), media->LinearSums()[20]);
}

} // namespace
} // namespace testing_ordune
