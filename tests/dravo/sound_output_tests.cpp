// Sound through a real server that is killed, frozen and absent; what it plays is recorded and measured.
#include "dravo/SoundOutput.h"
#include "tests/support/PulseServer.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <vector>

namespace {

using namespace dravo;
using namespace std::chrono_literals;
using ordune::MediaTime;
using support::PulseServer;
using support::SoundRecorder;
using support::WaitUntil;
using Clock = std::chrono::steady_clock;

constexpr auto kLimit = 30s;    // for anything that happens at all
constexpr auto kCallLimit = 2s; // a call that waits for a frozen server would never come back
constexpr double kAudible = 0.2;

// Writes a tone whenever there is room, as the port does.
class ToneWriter {
  public:
    explicit ToneWriter(SoundOutput& output, double hertz = 1000) : m_output(output), m_hertz(hertz) {}

    void Start(double tempo = 1, MediaTime from = 0s) {
        m_tempo = tempo;
        m_from = from;
        m_frames = 0;
        m_began = Clock::now();
        m_output.Start(tempo);
    }

    void Pump() {
        for (std::size_t room = m_output.Writable(); room > 0; room = m_output.Writable()) {
            std::vector<float> samples;
            for (std::size_t i = 0; i < room; ++i) {
                const double angle =
                    2 * std::numbers::pi * m_hertz * static_cast<double>(m_frames + i) / 48000;
                samples.insert(samples.end(), 2, static_cast<float>(0.5 * std::sin(angle)));
            }
            m_output.Write(samples, Written());
            m_frames += room;
        }
    }

    template <class Condition>
    bool PumpUntil(Condition condition, std::chrono::milliseconds limit = kLimit) {
        const auto pumped = [&] {
            Pump();
            return condition();
        };
        return WaitUntil(pumped, limit, 10ms);
    }

    // Until the device really plays: a sink that was idle may take seconds to begin, whatever it says of its
    // position before.
    bool PumpUntilRunning() {
        return PumpUntil([&] {
            const auto position = Position();
            return position && position->heard - m_from > 1s;
        });
    }

    // Media time of the next frame to be written.
    MediaTime Written() const {
        return m_from + MediaTime(std::llround(static_cast<double>(m_frames) / 48000 * 1e6 * m_tempo));
    }
    // Media time at which a clock that began with Start would be.
    MediaTime Due(Clock::time_point at) const {
        const std::chrono::duration<double, std::micro> since = at - m_began;
        return m_from + MediaTime(std::llround(since.count() * m_tempo));
    }

    Clock::time_point Began() const { return m_began; }
    std::optional<SoundPosition> Position() const { return m_output.Position(Clock::now()); }

  private:
    SoundOutput& m_output;
    const double m_hertz;
    double m_tempo = 1;
    MediaTime m_from{0};
    std::size_t m_frames = 0;
    Clock::time_point m_began;
};

double Seconds(MediaTime time) {
    return std::chrono::duration<double>(time).count();
}

int ThreadCount() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

// The ring is a third of a second; a writer that is drained at the clock's pace keeps that far ahead, and
// lags by at most the patience.
void ExpectDrainedAtTheClocksPace(ToneWriter& writer) {
    const Clock::time_point begin = Clock::now();
    const MediaTime written = writer.Written();
    ASSERT_TRUE(writer.PumpUntil([&] { return Clock::now() - begin > 2s; }));
    EXPECT_NEAR(Seconds(writer.Written() - written), 2.0, 0.7);
}

TEST(SoundOutput, IsHeard) {
    PulseServer server;
    SoundRecorder recorder;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    EXPECT_TRUE(writer.PumpUntil([&] { return recorder.ToneLevel(1000, 200ms) > kAudible; }));
    EXPECT_LT(recorder.ToneLevel(1700, 200ms), 0.02);
}

class AtTempo : public testing::TestWithParam<double> {};

TEST_P(AtTempo, ThePositionFollowsWhatIsHeard) {
    const double tempo = GetParam();
    PulseServer server;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start(tempo, 100s);
    ASSERT_TRUE(writer.PumpUntilRunning());
    ASSERT_TRUE(writer.PumpUntil([&] { return writer.Position().has_value(); }));
    const SoundPosition first = *writer.Position();
    MediaTime last = first.heard;
    const auto later = [&] {
        const auto position = writer.Position();
        if (!position) return false;
        EXPECT_GE(position->heard, last);
        EXPECT_LE(position->heard, writer.Written());
        last = position->heard;
        return position->at - first.at > 1500ms;
    };
    ASSERT_TRUE(writer.PumpUntil(later));
    const SoundPosition second = *writer.Position();
    const double wall = std::chrono::duration<double>(second.at - first.at).count();
    EXPECT_NEAR(Seconds(second.heard - first.heard) / tempo, wall, 0.05);
    // The sound keeps to the clock that began with it, however late the server began to pull.
    EXPECT_NEAR(Seconds(second.heard - writer.Due(second.at)) / tempo, 0, 0.1);
}

INSTANTIATE_TEST_SUITE_P(Tempos, AtTempo, testing::Values(1.0, 2.0, 0.5));

TEST(SoundOutput, IsInTimeFromTheStartWhenTheDeviceRunsAlready) {
    PulseServer server;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    ASSERT_TRUE(writer.PumpUntilRunning());
    output->Stop();
    writer.Start(1, 50s);
    ASSERT_TRUE(writer.PumpUntil([&] { return writer.Position().has_value(); }));
    const SoundPosition position = *writer.Position();
    EXPECT_NEAR(Seconds(position.heard - writer.Due(position.at)), 0, 0.04);
    EXPECT_LT(position.at - writer.Began(), 2s);
}

TEST(SoundOutput, PlaysAsLoudAsAsked) {
    PulseServer server;
    SoundRecorder recorder;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    output->SetVolume(65535);
    writer.Start();
    const auto level = [&] { return recorder.ToneLevel(1000, 200ms); };
    ASSERT_TRUE(writer.PumpUntil([&] { return std::abs(level() - 0.5) < 0.02; })) << level();
    output->SetVolume(65535 / 4);
    EXPECT_TRUE(writer.PumpUntil([&] { return std::abs(level() - 0.125) < 0.01; })) << level();
    output->SetVolume(0);
    EXPECT_TRUE(writer.PumpUntil([&] { return level() < 0.001; })) << level();
}

TEST(SoundOutput, FallsSilentWhenStoppedAndTakesNothingMore) {
    PulseServer server;
    SoundRecorder recorder;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    ASSERT_TRUE(writer.PumpUntil([&] { return recorder.ToneLevel(1000, 200ms) > kAudible; }));
    output->Stop();
    EXPECT_EQ(output->Writable(), 0U);
    EXPECT_FALSE(writer.Position());
    EXPECT_TRUE(recorder.WaitForSilence(0.001, 300ms, kLimit));
}

TEST(SoundOutput, GoesOnWithoutAServerThatDiesAndSoundsAgainWhenItIsBack) {
    PulseServer server;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    ASSERT_TRUE(writer.PumpUntilRunning());
    server.Kill();
    EXPECT_TRUE(writer.PumpUntil([&] { return !writer.Position(); }));
    ExpectDrainedAtTheClocksPace(writer);
    EXPECT_FALSE(writer.Position());
    server.Start();
    SoundRecorder recorder;
    EXPECT_TRUE(writer.PumpUntil([&] { return recorder.ToneLevel(1000, 200ms) > kAudible; }));
    ASSERT_TRUE(writer.PumpUntil([&] { return writer.Position().has_value(); }));
    const SoundPosition position = *writer.Position();
    EXPECT_NEAR(Seconds(position.heard - writer.Due(position.at)), 0, 0.15);
}

TEST(SoundOutput, NeverWaitsForAFrozenServer) {
    PulseServer server;
    auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    ASSERT_TRUE(writer.PumpUntilRunning());
    server.Freeze();
    EXPECT_TRUE(writer.PumpUntil([&] { return !writer.Position(); }));
    ExpectDrainedAtTheClocksPace(writer);
    const Clock::time_point begin = Clock::now();
    output->SetVolume(100);
    output->Stop();
    writer.Start();
    writer.Pump();
    output->Stop();
    output.reset();
    EXPECT_LT(Clock::now() - begin, kCallLimit);
}

TEST(SoundOutput, SoundsAgainWhenAFrozenServerGoesOn) {
    PulseServer server;
    SoundRecorder recorder;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    ASSERT_TRUE(writer.PumpUntilRunning());
    server.Freeze();
    ASSERT_TRUE(writer.PumpUntil([&] { return !writer.Position(); }));
    server.Thaw();
    // The server's word about the position needs a moment to settle.
    const auto in_time = [&] {
        const auto position = writer.Position();
        return position && std::abs(Seconds(position->heard - writer.Due(position->at))) < 0.1;
    };
    EXPECT_TRUE(writer.PumpUntil(in_time));
    EXPECT_TRUE(writer.PumpUntil([&] { return recorder.ToneLevel(1000, 200ms) > kAudible; }));
}

TEST(SoundOutput, IsMadeAndEndedBesideAServerThatDoesNotAnswer) {
    PulseServer server;
    server.Freeze();
    for (int i = 0; i < 3; ++i) {
        const Clock::time_point begin = Clock::now();
        auto output = SoundOutput::Make();
        ToneWriter writer(*output);
        writer.Start();
        writer.Pump();
        EXPECT_FALSE(writer.Position());
        output.reset();
        EXPECT_LT(Clock::now() - begin, kCallLimit);
    }
    server.Thaw();
    SoundRecorder recorder;
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    EXPECT_TRUE(writer.PumpUntil([&] { return recorder.ToneLevel(1000, 200ms) > kAudible; }));
}

TEST(SoundOutput, KeepsTheClocksPaceWithoutAServerAndSoundsWhenOneComes) {
    PulseServer server(PulseServer::At::Absent);
    const auto output = SoundOutput::Make();
    ToneWriter writer(*output);
    writer.Start();
    ExpectDrainedAtTheClocksPace(writer);
    EXPECT_FALSE(writer.Position());
    server.Start();
    SoundRecorder recorder;
    EXPECT_TRUE(writer.PumpUntil([&] { return recorder.ToneLevel(1000, 200ms) > kAudible; }));
}

TEST(SoundOutput, TwoSoundOverEachOther) {
    PulseServer server;
    SoundRecorder recorder;
    const auto one = SoundOutput::Make();
    const auto other = SoundOutput::Make();
    ToneWriter low(*one, 500);
    ToneWriter high(*other, 2000);
    low.Start();
    high.Start();
    const auto both = [&] {
        high.Pump();
        return recorder.ToneLevel(500, 200ms) > kAudible && recorder.ToneLevel(2000, 200ms) > kAudible;
    };
    EXPECT_TRUE(low.PumpUntil(both));
}

TEST(SoundOutput, LeavesNoThreadBehind) {
    PulseServer server;
    // A sanitizer starts a thread of its own together with the first other one, and keeps it.
    std::thread([] {}).join();
    const int before = ThreadCount();
    for (int i = 0; i < 20; ++i) {
        const auto output = SoundOutput::Make();
        ToneWriter writer(*output);
        writer.Start();
        ASSERT_TRUE(writer.PumpUntil([&] { return server.HasClient(); }));
    }
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() == before; }, kLimit));
    EXPECT_TRUE(WaitUntil([&] { return !server.HasClient(); }, kLimit));
}

} // namespace
