// The sound of a port through a real sound server: what its sink plays is recorded and looked at.
#include "tests/dravo/PortFixture.h"
#include "tests/support/CallTimes.h"
#include "tests/support/PulseServer.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <regex>

namespace {

using namespace dravo_tests;
using support::PulseServer;
using support::SoundRecorder;

constexpr auto kLimit = 20s;      // for anything that happens at all
constexpr double kAudible = 0.04; // the tones' amplitude is 0.1
constexpr double kSilent = 0.004;
constexpr int kHertz = 440;
constexpr int kOtherHertz = 620;

// A minute with a quiet tone, and a beep of 1 kHz at each full second.
const std::string& Tone(int hertz) {
    return Clip("tone" + std::to_string(hertz) + ".mp4",
                {.frames = 1500, .keyInterval = 25, .sound = true, .toneHertz = hertz});
}

class SoundTest : public testing::Test {
  protected:
    ~SoundTest() override { Dravo_StopSound(); }

    static bool PlaysOn(const OpenPort& port) {
        const int from = port.Pictures().Last();
        return support::WaitUntil([&] { return port.Pictures().Last() > from + 10; }, kLimit);
    }
    bool Hears(int hertz = kHertz) const { return m_recorder->WaitForTone(hertz, kAudible, kLimit); }
    // The tone in what is recorded from a second after this call on, which is past anything on its way.
    bool StillHears() const {
        const std::size_t later = m_recorder->Heard().size() + SoundRecorder::kSampleRate;
        return support::WaitUntil([&] { return m_recorder->Heard().size() > later; }, kLimit) && Hears();
    }
    double DominantHertz() const { return m_recorder->StrongestHertz(kAudible / 2, 500ms); }
    // Silence for longer than anything still on its way through the server.
    bool HearsNothing() const { return m_recorder->WaitForSilence(kSilent, 700ms, kLimit); }

    PulseServer m_server;
    std::optional<SoundRecorder> m_recorder{std::in_place};
};

TEST_F(SoundTest, IsHeardWhilePlayingAndSilentOtherwise) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(PlaysOn(port));
    EXPECT_TRUE(m_recorder->WaitForSilence(0.0, 300ms, 1ms)) << "not asked for yet";
    ASSERT_TRUE(Dravo_PlaySound(port));
    EXPECT_TRUE(Hears());
    EXPECT_LT(m_recorder->ToneLevel(kOtherHertz, 200ms), kAudible) << "the tone, not just any noise";
    ASSERT_TRUE(Dravo_StopSound());
    EXPECT_TRUE(HearsNothing());
    EXPECT_TRUE(PlaysOn(port));
    ASSERT_TRUE(Dravo_PlaySound(port));
    EXPECT_TRUE(Hears());
    ASSERT_TRUE(Dravo_Pause(port, 1));
    EXPECT_TRUE(HearsNothing());
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(Hears());
}

TEST_F(SoundTest, MovesToThePortThatAskedLast) {
    const OpenPort first(Tone(kHertz));
    const OpenPort second(Tone(kOtherHertz));
    ASSERT_TRUE(Dravo_Play(first, 0));
    ASSERT_TRUE(Dravo_Play(second, 0));
    ASSERT_TRUE(Dravo_PlaySound(first));
    ASSERT_TRUE(Hears(kHertz));
    EXPECT_LT(m_recorder->ToneLevel(kOtherHertz, 200ms), kAudible / 2);
    ASSERT_TRUE(Dravo_PlaySound(second));
    EXPECT_TRUE(Hears(kOtherHertz));
    EXPECT_TRUE(
        support::WaitUntil([&] { return m_recorder->ToneLevel(kHertz, 200ms) < kAudible / 4; }, kLimit));
    EXPECT_TRUE(PlaysOn(first)) << "without sound it plays all the same";
    ASSERT_TRUE(Dravo_CloseFile(second));
    EXPECT_TRUE(HearsNothing()) << "it does not go back by itself";
}

TEST_F(SoundTest, IsHeardFromHalfToFourTimesSpeedAndSilentBeyond) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Hears());
    ASSERT_TRUE(Dravo_Slow(port));
    EXPECT_TRUE(StillHears()) << "level -1, at its own pitch";
    ASSERT_TRUE(Dravo_Slow(port));
    EXPECT_TRUE(HearsNothing()) << "level -2";
    for (int step = 0; step < 3; ++step)
        ASSERT_TRUE(Dravo_Fast(port));
    EXPECT_TRUE(Hears()) << "level +1, at its own pitch";
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 100));
    ASSERT_TRUE(Dravo_Fast(port));
    EXPECT_TRUE(StillHears()) << "level +2";
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 100));
    ASSERT_TRUE(Dravo_Fast(port));
    EXPECT_TRUE(m_recorder->WaitForSilence(kSilent, 700ms, 5s)) << "level +3";
    EXPECT_LT(Dravo_GetCurrentFrameNum(port), 1499U) << "it is the speed that silenced it, not the end";
}

TEST_F(SoundTest, HasItsOwnPitchAtEverySpeedAtWhichItIsHeard) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Hears());
    ASSERT_TRUE(Dravo_Slow(port));
    for (int level = -1; level <= 2; ++level) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 50));
        ASSERT_TRUE(StillHears()) << level; // past what the change of speed left on its way
        const double hertz = DominantHertz();
        EXPECT_NEAR(hertz, kHertz, kHertz * 0.02) << "level " << level;
        if (level < 2) {
            ASSERT_TRUE(Dravo_Fast(port));
        }
    }
}

TEST_F(SoundTest, VolumeNothingIsSilentAndHalfIsLessThanFull) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Hears());
    ASSERT_TRUE(support::WaitUntil([&] { return m_recorder->ToneLevel(kHertz, 500ms) > 0.08; }, kLimit))
        << "full at first";
    ASSERT_TRUE(Dravo_SetVolume(port, 0));
    EXPECT_TRUE(HearsNothing());
    ASSERT_TRUE(Dravo_SetVolume(port, 32768));
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            const double level = m_recorder->ToneLevel(kHertz, 500ms);
            return level > 0.01 && level < 0.07;
        },
        kLimit));
    ASSERT_TRUE(Dravo_SetVolume(port, 65535));
    EXPECT_TRUE(support::WaitUntil([&] { return m_recorder->ToneLevel(kHertz, 500ms) > 0.08; }, kLimit));
    ASSERT_TRUE(Dravo_SetVolume(port, 0));
    ASSERT_TRUE(Dravo_CloseFile(port));
    ASSERT_TRUE(Dravo_OpenFile(port, Tone(kHertz).c_str()));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    EXPECT_TRUE(support::WaitUntil([&] { return m_recorder->ToneLevel(kHertz, 500ms) > 0.08; }, kLimit))
        << "the volume ended with the file";
}

TEST_F(SoundTest, FallsSilentWithStopAndIsRememberedForTheNextPlay) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_PlaySound(port)) << "before playing";
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Hears());
    ASSERT_TRUE(Dravo_Stop(port));
    EXPECT_TRUE(HearsNothing());
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(Hears()) << "remembered";
    ASSERT_TRUE(Dravo_Stop(port));
    ASSERT_TRUE(HearsNothing());
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    EXPECT_TRUE(Hears()) << "and asked for again";
}

TEST_F(SoundTest, GoesOnAfterAJump) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Hears());
    for (const int frame : {1000, 200}) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, static_cast<unsigned long>(frame)));
        ASSERT_TRUE(support::WaitUntil(
            [&] { return port.Pictures().Last() > frame + 25 && port.Pictures().Last() < frame + 500; },
            kLimit));
        EXPECT_TRUE(StillHears()) << frame;
    }
}

TEST_F(SoundTest, PlayingGoesOnWhenTheServerDiesAndSoundComesBackWithIt) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Hears());
    m_recorder.reset();
    m_server.Kill();
    EXPECT_TRUE(PlaysOn(port));
    EXPECT_TRUE(PlaysOn(port));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(PlaysOn(port));
    EXPECT_TRUE(Dravo_StopSound());
    EXPECT_TRUE(Dravo_PlaySound(port)) << "a machine without a device is no failure";
    EXPECT_TRUE(PlaysOn(port));
    m_server.Start();
    m_recorder.emplace();
    EXPECT_TRUE(Hears());
    EXPECT_TRUE(Dravo_Stop(port));
}

// Everything that a program calls for a file, on a port that plays one and does so again at the end.
void CallEverything(support::CallTimes& time, const OpenPort& port) {
    EXPECT_TRUE(time("SetVolume", [&] { return Dravo_SetVolume(port, 40000); }));
    EXPECT_TRUE(time("Pause", [&] { return Dravo_Pause(port, 1); }));
    EXPECT_TRUE(time("OneByOne", [&] { return Dravo_OneByOne(port); }));
    EXPECT_TRUE(time("OneByOneBack", [&] { return Dravo_OneByOneBack(port); }));
    EXPECT_TRUE(time("Pause off", [&] { return Dravo_Pause(port, 0); }));
    EXPECT_TRUE(time("Fast", [&] { return Dravo_Fast(port); }));
    EXPECT_TRUE(time("Slow", [&] { return Dravo_Slow(port); }));
    EXPECT_TRUE(time("SetCurrentFrameNum", [&] { return Dravo_SetCurrentFrameNum(port, 100); }));
    EXPECT_TRUE(time("StopSound", [] { return Dravo_StopSound(); }));
    EXPECT_TRUE(time("PlaySound", [&] { return Dravo_PlaySound(port); }));
    EXPECT_TRUE(time("Stop", [&] { return Dravo_Stop(port); }));
    EXPECT_TRUE(time("Play", [&] { return Dravo_Play(port, 0); }));
    int other = 0;
    EXPECT_TRUE(time("GetPort", [&] { return Dravo_GetPort(&other); }));
    EXPECT_TRUE(time("OpenFile", [&] { return Dravo_OpenFile(other, Tone(kOtherHertz).c_str()); }));
    EXPECT_TRUE(time("Play another", [&] { return Dravo_Play(other, 0); }));
    EXPECT_TRUE(time("PlaySound of another", [&] { return Dravo_PlaySound(other); }));
    EXPECT_TRUE(time("CloseFile", [&] { return Dravo_CloseFile(port); }));
    EXPECT_TRUE(time("FreePort", [&] { return Dravo_FreePort(other); }));
    EXPECT_TRUE(time("OpenFile again", [&] { return Dravo_OpenFile(port, Tone(kHertz).c_str()); }));
    Dravo_SetDisplayCallBack(port, DisplayRecord::Callback); // it ended with the file before
    EXPECT_TRUE(time("Play again", [&] { return Dravo_Play(port, 0); }));
    EXPECT_TRUE(time("PlaySound again", [&] { return Dravo_PlaySound(port); }));
}

TEST_F(SoundTest, AFrozenServerHoldsNothingUpAndSoundComesBackWhenItGoesOnOrIsReplaced) {
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Hears());
    m_server.Freeze();
    support::CallTimes times;
    for (int round = 0; round < 5; ++round) {
        CallEverything(times, port);
        EXPECT_TRUE(PlaysOn(port)) << "and with that the sound is wanted of the server again";
    }
    EXPECT_LE(times.Slowest(), support::CallTimes::kLongest) << times;
    RecordProperty("slowest_ms", std::to_string(times.Slowest().count()));
    EXPECT_TRUE(PlaysOn(port));
    EXPECT_TRUE(PlaysOn(port));
    m_server.Thaw();
    EXPECT_TRUE(StillHears());

    m_server.Freeze();
    EXPECT_TRUE(PlaysOn(port));
    m_recorder.reset();
    m_server.Kill();
    EXPECT_TRUE(PlaysOn(port));
    m_server.Start();
    m_recorder.emplace();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 100));
    EXPECT_TRUE(Hears());
}

TEST_F(SoundTest, APortIsClosedWhileTheServerIsFrozen) {
    {
        const OpenPort port(Tone(kHertz));
        ASSERT_TRUE(Dravo_Play(port, 0));
        ASSERT_TRUE(Dravo_PlaySound(port));
        ASSERT_TRUE(Hears());
        m_server.Freeze();
        EXPECT_TRUE(Dravo_Stop(port));
        EXPECT_TRUE(Dravo_CloseFile(port));
        EXPECT_TRUE(Dravo_OpenFile(port, Tone(kHertz).c_str()));
        EXPECT_TRUE(Dravo_Play(port, 0));
        EXPECT_TRUE(Dravo_PlaySound(port));
    }
    m_server.Thaw();
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_PlaySound(port));
    EXPECT_TRUE(Hears());
}

TEST(SoundWithoutAServer, PlayingKeepsTimeAndEnds) {
    const PulseServer absent(PulseServer::At::Absent);
    const OpenPort port(Tone(kHertz));
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() >= 50; }, kLimit));
    const std::vector<Displayed> pictures = port.Pictures().All();
    const auto& at_10 =
        *std::find_if(pictures.begin(), pictures.end(), [](auto& p) { return p.number >= 10; });
    const auto& at_50 = pictures.back();
    // Pictures 1.6 seconds apart come 1.6 seconds apart: loose bounds, but a clock that waits for a sound
    // device breaks them.
    const std::chrono::duration<double> took = at_50.at - at_10.at;
    EXPECT_NEAR(took.count(), (at_50.number - at_10.number) * 0.04, 0.5);
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(
        port, [](int, void* user) { ++*static_cast<std::atomic<int>*>(user); }, &ends);
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 1480));
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 1; }, kLimit));
    EXPECT_TRUE(Dravo_StopSound());
}

// ---- Sound and picture together

using Clock = std::chrono::steady_clock;

// How long a sample lies in the sink before it sounds, by the server's own word. The null sink hands what it
// plays to the recorder in blocks of this length, so nothing recorded can be placed in time more closely.
std::chrono::milliseconds SinkLatency() {
    const auto sinks = support::ChildProcess::Run({"pactl", "list", "sinks"}, 5s);
    std::smatch found;
    if (!std::regex_search(sinks.output, found, std::regex("configured ([0-9]+) usec"))) return 0ms;
    return std::chrono::milliseconds(std::stol(found[1]) / 1000);
}

// When the recorder's sample 0 was heard: each look at the recording gives a bound (that many samples were
// there by now), and the closest of many is the one that waited for the least.
class RecordingClock {
  public:
    explicit RecordingClock(const SoundRecorder& recorder) : m_recorder(recorder) {}

    void Look() {
        const auto samples = m_recorder.Heard().size();
        const auto begin = Clock::now() - Length(samples);
        m_begin = std::min(m_begin, begin);
    }
    Clock::time_point TimeOf(std::size_t sample) const { return m_begin + Length(sample); }

  private:
    static Clock::duration Length(std::size_t samples) {
        return std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(samples) / SoundRecorder::kSampleRate));
    }

    const SoundRecorder& m_recorder;
    Clock::time_point m_begin = Clock::time_point::max();
};

// Where each beep begins: the first loud sample after a quiet stretch of half a second of film.
std::vector<std::size_t> BeepsIn(const std::vector<std::int16_t>& heard, double rate) {
    const auto least = static_cast<std::size_t>(SoundRecorder::kSampleRate / 2 / rate);
    std::vector<std::size_t> beeps;
    std::size_t quiet = 0;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (std::abs(heard[i]) < 0.25 * 32768) {
            ++quiet;
            continue;
        }
        if (quiet > least) beeps.push_back(i);
        quiet = 0;
    }
    return beeps;
}

class BeepsAtSpeed : public SoundTest, public testing::WithParamInterface<int> {};

TEST_P(BeepsAtSpeed, AtFullSecondsComeWithTheirPictures) {
    const int level = GetParam();
    const double rate = std::pow(2.0, level);
    const OpenPort port(Tone(kHertz));
    RecordingClock clock(*m_recorder);
    ASSERT_TRUE(Dravo_PlaySound(port));
    ASSERT_TRUE(Dravo_Play(port, 0));
    // An idle sink may take seconds to begin; what comes after that is measured.
    ASSERT_TRUE(Hears());
    for (int step = level; step > 0; --step)
        ASSERT_TRUE(Dravo_Fast(port));
    for (int step = level; step < 0; ++step)
        ASSERT_TRUE(Dravo_Slow(port));
    if (level != 0) {
        ASSERT_TRUE(StillHears());
    }
    const int from = (static_cast<int>(Dravo_GetCurrentFrameNum(port)) / 25 + 2) * 25;
    ASSERT_TRUE(support::WaitUntil(
        [&] {
            clock.Look();
            return port.Pictures().Last() >= from + 5 * 25 + 20;
        },
        kLimit));
    const std::vector<std::size_t> beeps = BeepsIn(m_recorder->Heard(), rate);
    std::vector<double> apart_ms; // by how much the beep comes after its picture
    for (const Displayed& picture : port.Pictures().All()) {
        if (picture.number < from || picture.number % 25 != 0) continue;
        double closest = 1000.0;
        for (const std::size_t beep : beeps) {
            const std::chrono::duration<double, std::milli> apart = clock.TimeOf(beep) - picture.at;
            if (std::abs(apart.count()) < std::abs(closest)) closest = apart.count();
        }
        apart_ms.push_back(closest);
    }
    ASSERT_GE(apart_ms.size(), 4U) << "of six full seconds";
    std::sort(apart_ms.begin(), apart_ms.end());
    const double median = apart_ms[apart_ms.size() / 2];
    const auto latency = SinkLatency();
    RecordProperty("median_ms", std::to_string(median));
    RecordProperty("sink_latency_ms", std::to_string(latency.count()));
    EXPECT_LE(std::abs(median), 40.0 + static_cast<double>(latency.count()))
        << "the sink's own latency: " << latency.count() << " ms";
}

INSTANTIATE_TEST_SUITE_P(Levels, BeepsAtSpeed, testing::Values(-1, 0, 1, 2), [](const auto& tested) {
    return "Level" + std::string(tested.param < 0 ? "Minus" : "") + std::to_string(std::abs(tested.param));
});

} // namespace
