// The feed alone: a scripted device pulls at scripted times and says where it is.
#include "dravo/SampleRing.h"
#include "dravo/SoundFeed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <thread>
#include <vector>

namespace {

using namespace dravo;
using namespace std::chrono_literals;
using ordune::MediaTime;
using Time = SoundFeed::Time;

constexpr std::size_t kPeriod = 960; // 20 ms

TEST(SampleRing, GivesBackWhatWasWrittenInOrderAcrossItsEnd) {
    SampleRing ring(64, 2, 48000);
    float next_in = 0;
    float next_out = 0;
    for (int round = 0; round < 50; ++round) {
        std::vector<float> in;
        for (int i = 0; i < 2 * 37; ++i)
            in.push_back(next_in++);
        ASSERT_EQ(ring.Write(in, MediaTime(0), 1), 37U);
        std::vector<float> out(2 * 64);
        const auto taken = ring.Read(out.data(), 64);
        ASSERT_EQ(taken.count, 37U);
        for (std::size_t i = 0; i < 2 * taken.count; ++i)
            ASSERT_EQ(out[i], next_out++);
    }
}

TEST(SampleRing, TakesNoMoreThanItHolds) {
    SampleRing ring(64, 2, 48000);
    EXPECT_EQ(ring.Free(), 64U);
    EXPECT_EQ(ring.Write(std::vector<float>(200), MediaTime(0), 1), 64U);
    EXPECT_EQ(ring.Free(), 0U);
    EXPECT_EQ(ring.Write(std::vector<float>(2), MediaTime(0), 1), 0U);
}

TEST(SampleRing, KnowsTheMediaTimeOfEachFrame) {
    SampleRing ring(96000, 1, 48000);
    ring.Write(std::vector<float>(4800), 10s, 1);
    ring.Write(std::vector<float>(4800), 10100ms, 1);
    ring.Write(std::vector<float>(4800), 70s, 2);
    EXPECT_EQ(ring.TimeOf(0), MediaTime(10s));
    EXPECT_EQ(ring.TimeOf(7200), MediaTime(10150ms));
    EXPECT_EQ(ring.TimeOf(9600), MediaTime(70s));
    EXPECT_EQ(ring.TimeOf(9600 + 2400), MediaTime(70100ms));
    EXPECT_FALSE(ring.TimeOf(20000));
}

TEST(SampleRing, PassesEverySampleBetweenTwoThreads) {
    constexpr std::size_t kTotal = 300'000;
    SampleRing ring(512, 1, 48000);
    std::thread writer([&] {
        std::size_t written = 0;
        while (written < kTotal) {
            std::vector<float> piece;
            for (std::size_t i = 0; i < std::min<std::size_t>(100, kTotal - written); ++i)
                piece.push_back(static_cast<float>((written + i) % 65536));
            const std::size_t count = ring.Write(piece, MediaTime(0), 1);
            written += count;
            if (count == 0) std::this_thread::yield();
        }
    });
    std::size_t read = 0;
    std::size_t wrong = 0;
    std::vector<float> out(300);
    while (read < kTotal) {
        const auto taken = ring.Read(out.data(), out.size());
        for (std::size_t i = 0; i < taken.count; ++i)
            wrong += out[i] != static_cast<float>((read + i) % 65536);
        read += taken.count;
        if (taken.count == 0) std::this_thread::yield();
    }
    writer.join();
    EXPECT_EQ(wrong, 0U);
}

// A feed, its device and the time, all moved by the test.
class FeedTest : public testing::Test {
  protected:
    FeedTest() {
        feed.BeginStream();
        feed.SetVolume(65535);
    }

    void Start(double tempo = 1) {
        feed.Start(tempo, now);
        frames = 0;
    }

    // Fills the ring with a constant.
    void Fill(float level) {
        for (std::size_t room = feed.Writable(now); room > 0; room = feed.Writable(now)) {
            feed.Write(std::vector<float>(2 * room, level),
                       MediaTime(static_cast<std::int64_t>(frames) * 1000 / 48));
            frames += room;
        }
    }

    // One pull, after which a period passes.
    std::vector<float> Pull() {
        std::vector<float> out(2 * kPeriod, 99.0F);
        feed.PullInto(out.data(), kPeriod, now);
        handed += kPeriod;
        now += 20ms;
        return out;
    }

    void Report() { feed.ReportPosition(handed > kLatency ? handed - kLatency : 0, now); }

    static constexpr std::uint64_t kLatency = 2880;
    SoundFeed feed;
    Time now{1h};
    std::uint64_t handed = 0;
    std::size_t frames = 0; // written since Start
};

TEST_F(FeedTest, TakesNothingAndIsSilentWhenNotStarted) {
    EXPECT_EQ(feed.Writable(now), 0U);
    for (const float sample : Pull())
        ASSERT_EQ(sample, 0.0F);
    EXPECT_FALSE(feed.Position(now));
}

TEST_F(FeedTest, SaysWhereTheSoundIs) {
    Start();
    for (int i = 0; i < 30; ++i) {
        Fill(0.5F);
        Pull();
        Report();
    }
    const auto position = feed.Position(now);
    ASSERT_TRUE(position);
    // The line began with Start; 30 periods have passed.
    EXPECT_NEAR(std::chrono::duration<double>(position->heard).count(), 0.6, 0.03);
    EXPECT_EQ(position->at, now);
}

TEST_F(FeedTest, TrustsNoPositionBeyondWhatWasHandedOver) {
    Start();
    for (int i = 0; i < 30; ++i) {
        Fill(0.5F);
        Pull();
        feed.ReportPosition(handed + 1 + static_cast<std::uint64_t>(i), now);
        EXPECT_FALSE(feed.Position(now));
    }
}

TEST_F(FeedTest, HasNoPositionOnceItStandsStill) {
    Start();
    for (int i = 0; i < 10; ++i) {
        Fill(0.5F);
        Pull();
        Report();
    }
    ASSERT_TRUE(feed.Position(now));
    for (int i = 0; i < 5; ++i) {
        now += 40ms;
        Report();
        EXPECT_TRUE(feed.Position(now));
    }
    now += 60ms;
    Report();
    EXPECT_FALSE(feed.Position(now));
    // And has one again when it moves.
    Pull();
    Report();
    EXPECT_TRUE(feed.Position(now));
}

TEST_F(FeedTest, IsDrainedAtTheClocksPaceWhenNobodyPulls) {
    Start();
    Fill(0.5F);
    const std::size_t before = frames;
    for (int i = 0; i < 100; ++i) {
        now += 40ms;
        Fill(0.5F);
    }
    EXPECT_NEAR(static_cast<double>(frames - before), 4 * 48000, 4000);
}

TEST_F(FeedTest, TakesUpAtTheFrameThatIsDueAfterAStall) {
    Start();
    for (int i = 0; i < 20; ++i) {
        Fill(0.5F);
        Pull();
        Report();
    }
    for (int i = 0; i < 75; ++i) {
        now += 40ms;
        Fill(0.5F);
    }
    for (int i = 0; i < 20; ++i) {
        Fill(0.5F);
        Pull();
        Report();
    }
    const auto position = feed.Position(now);
    ASSERT_TRUE(position);
    EXPECT_NEAR(std::chrono::duration<double>(position->heard).count(), 0.4 + 3.0 + 0.4, 0.03);
}

TEST_F(FeedTest, DropsWhatWasWrittenBeforeAStart) {
    Start();
    Fill(0.25F);
    Pull();
    Start();
    Fill(0.75F);
    bool heard = false;
    for (int i = 0; i < 8; ++i) {
        const auto out = Pull();
        // Past the slope there is only the new sound.
        for (std::size_t k = 2 * 600; k < out.size(); ++k) {
            ASSERT_TRUE(out[k] == 0.0F || std::abs(out[k] - 0.75F) < 0.01F) << out[k];
            heard = heard || out[k] > 0.7F;
        }
        Fill(0.75F);
    }
    EXPECT_TRUE(heard);
}

TEST_F(FeedTest, NeverClicks) {
    std::vector<float> heard;
    const auto pull = [&](int count) {
        for (int i = 0; i < count; ++i) {
            const auto out = Pull();
            for (std::size_t k = 0; k < out.size(); k += 2)
                heard.push_back(out[k]);
        }
    };
    Start();
    Fill(0.8F);
    pull(4);
    feed.SetVolume(10000);
    pull(2);
    feed.SetVolume(65535);
    pull(2);
    feed.Stop();
    pull(2);
    Start();
    Fill(-0.8F);
    pull(30); // into a ring that runs empty
    Start();
    Fill(0.8F);
    pull(5);
    Start(); // a jump in the middle
    Fill(-0.8F);
    pull(5);
    EXPECT_GT(*std::max_element(heard.begin(), heard.end()), 0.75F);
    EXPECT_LT(*std::min_element(heard.begin(), heard.end()), -0.75F);
    float previous = 0;
    for (const float sample : heard) {
        ASSERT_LE(std::abs(sample - previous), 0.01F);
        previous = sample;
    }
}

} // namespace
