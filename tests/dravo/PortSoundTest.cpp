// The sound of a port follows the clock; the device is scripted.
#include "dravo/PortSound.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

using namespace std::chrono_literals;
using dravo::PlayClock;
using dravo::PortSound;
using dravo::SoundPosition;
using dravo::SpeedLadder;
using dravo::WallTime;
using ordune::MediaTime;

struct Log {
    std::mutex mutex;
    int starts = 0;
    int stops = 0;
    double tempo = 0.0;
    std::vector<MediaTime> first_times; // of the first write after each start
    MediaTime last_time{0};
    std::size_t pairs = 0;
    std::uint16_t volume = 0;
    std::optional<SoundPosition> position;
};

// Takes half a second of sound after each start.
class ScriptedOutput : public dravo::SoundOutput {
  public:
    explicit ScriptedOutput(Log& log) : m_log(log) {}

    void Start(double tempo) override {
        const std::lock_guard lock(m_log.mutex);
        ++m_log.starts;
        m_log.tempo = tempo;
        m_room = kSampleRate / 2;
        m_fresh = true;
    }
    void Stop() override {
        const std::lock_guard lock(m_log.mutex);
        ++m_log.stops;
        m_room = 0;
    }
    void SetVolume(std::uint16_t volume) override {
        const std::lock_guard lock(m_log.mutex);
        m_log.volume = volume;
    }
    std::size_t Writable() const override { return m_room; }
    void Write(std::span<const float> samples, MediaTime time) override {
        const std::lock_guard lock(m_log.mutex);
        if (m_fresh) m_log.first_times.push_back(time);
        m_fresh = false;
        m_log.last_time = time;
        m_log.pairs += samples.size() / kChannels;
        m_room -= samples.size() / kChannels;
    }
    std::optional<SoundPosition> Position(WallTime) const override {
        const std::lock_guard lock(m_log.mutex);
        return m_log.position;
    }

  private:
    Log& m_log;
    std::size_t m_room = 0;
    bool m_fresh = false;
};

class PortSoundTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        s_folder = new support::TemporaryFolder;
        support::MakeClip(*s_folder / "sound.mp4", {.frames = 150, .sound = true, .toneHertz = 440});
    }
    static void TearDownTestSuite() {
        delete s_folder;
        s_folder = nullptr;
    }

    void SetUp() override {
        auto file = ordune::MediaFile::Open(*s_folder / "sound.mp4");
        ASSERT_TRUE(file);
        ASSERT_TRUE(file.Value()->Sound());
        m_sound = std::make_unique<PortSound>(file.Value(),
                                              [this] { return std::make_unique<ScriptedOutput>(m_log); });
    }

    static PlayClock RunningFrom(MediaTime time) {
        PlayClock clock;
        clock.RunFrom(time, std::chrono::steady_clock::now());
        return clock;
    }
    template <class Condition>
    bool Eventually(Condition condition) {
        return support::WaitUntil(
            [&] {
                const std::lock_guard lock(m_log.mutex);
                return condition();
            },
            5s);
    }

    static support::TemporaryFolder* s_folder;
    Log m_log;
    std::unique_ptr<PortSound> m_sound;
};

support::TemporaryFolder* PortSoundTest::s_folder = nullptr;

TEST_F(PortSoundTest, BeginsWhereTheClockIsAndFillsTheDevice) {
    m_sound->Follow(true, RunningFrom(2s), SpeedLadder(), 1);
    ASSERT_TRUE(Eventually([&] { return m_log.pairs == 24000; }));
    EXPECT_EQ(m_log.starts, 1);
    EXPECT_EQ(m_log.tempo, 1.0);
    EXPECT_GE(m_log.first_times.front(), 2s);
    EXPECT_LT(m_log.first_times.front(), 3s);
    EXPECT_GT(m_log.last_time, m_log.first_times.front() + 300ms);
}

TEST_F(PortSoundTest, IsSilentUntilItIsWantedAndAfterwards) {
    m_sound->Follow(false, RunningFrom(0s), SpeedLadder(), 1);
    m_sound->Follow(true, RunningFrom(0s), SpeedLadder(), 2);
    ASSERT_TRUE(Eventually([&] { return m_log.starts == 1; }));
    m_sound->Follow(false, RunningFrom(0s), SpeedLadder(), 2);
    EXPECT_TRUE(Eventually([&] { return m_log.stops == 1; }));
}

TEST_F(PortSoundTest, BeginsAnewAfterAJump) {
    m_sound->Follow(true, RunningFrom(0s), SpeedLadder(), 1);
    ASSERT_TRUE(Eventually([&] { return m_log.pairs == 24000; }));
    m_sound->Follow(true, RunningFrom(4s), SpeedLadder(), 2);
    ASSERT_TRUE(Eventually([&] { return m_log.first_times.size() == 2; }));
    EXPECT_GE(m_log.first_times.back(), 4s);
    m_sound->Follow(true, RunningFrom(4s), SpeedLadder(), 2);
    m_sound->SetVolume(12);
    ASSERT_TRUE(Eventually([&] { return m_log.volume == 12; }));
    EXPECT_EQ(m_log.starts, 2) << "the same epoch again is no jump";
}

TEST_F(PortSoundTest, StretchesToTheSpeed) {
    SpeedLadder speed;
    ASSERT_TRUE(speed.Up());
    m_sound->Follow(true, RunningFrom(0s), speed, 1);
    ASSERT_TRUE(Eventually([&] { return m_log.pairs == 24000; }));
    EXPECT_EQ(m_log.tempo, 2.0);
    // Half a second of device time covers a second of film.
    EXPECT_GT(m_log.last_time - m_log.first_times.front(), 700ms);
}

TEST_F(PortSoundTest, TellsWhatIsHeardWhileItIsCloseToTheClock) {
    const WallTime now = std::chrono::steady_clock::now();
    PlayClock clock;
    clock.RunFrom(1s, now);
    {
        const std::lock_guard lock(m_log.mutex);
        m_log.position = SoundPosition{1010ms, now};
    }
    m_sound->Follow(true, clock, SpeedLadder(), 1);
    ASSERT_TRUE(support::WaitUntil([&] { return m_sound->Heard(now + 500ms).has_value(); }, 5s));
    EXPECT_EQ(m_sound->Heard(now + 500ms), MediaTime(1510ms));
}

TEST_F(PortSoundTest, BeginsAnewWhenItIsHeardInTheWrongPlace) {
    const WallTime now = std::chrono::steady_clock::now();
    PlayClock clock;
    clock.RunFrom(1s, now);
    {
        const std::lock_guard lock(m_log.mutex);
        m_log.position = SoundPosition{200ms, now};
    }
    m_sound->Follow(true, clock, SpeedLadder(), 1);
    EXPECT_TRUE(Eventually([&] { return m_log.starts >= 2; }));
    EXPECT_FALSE(m_sound->Heard(now).has_value()) << "nothing to steer by";
}

TEST_F(PortSoundTest, IsHeardOnceADeviceThatWasNotToBeHadIs) {
    std::atomic<int> asked{0};
    auto file = ordune::MediaFile::Open(*s_folder / "sound.mp4");
    ASSERT_TRUE(file);
    PortSound sound(file.Value(), [&]() -> std::unique_ptr<dravo::SoundOutput> {
        if (++asked == 1) throw std::system_error(EAGAIN, std::generic_category());
        return std::make_unique<ScriptedOutput>(m_log);
    });
    sound.Follow(true, RunningFrom(0s), SpeedLadder(), 1);
    EXPECT_TRUE(Eventually([&] { return m_log.pairs == 24000; })) << "asked " << asked << " times";
    EXPECT_EQ(asked, 2);
}

TEST_F(PortSoundTest, IsHeardOnceAFileThatCouldNotBeOpenedCan) {
    const std::string path = *s_folder / "away.mp4";
    std::filesystem::copy_file(*s_folder / "sound.mp4", path);
    auto file = ordune::MediaFile::Open(path);
    ASSERT_TRUE(file);
    PortSound sound(file.Value(), [this] { return std::make_unique<ScriptedOutput>(m_log); });
    std::filesystem::rename(path, path + ".away");
    sound.Follow(true, RunningFrom(0s), SpeedLadder(), 1);
    // A first try must have failed; the feeder tells nobody of it.
    std::this_thread::sleep_for(100ms);
    std::filesystem::rename(path + ".away", path);
    EXPECT_TRUE(Eventually([&] { return m_log.pairs == 24000; }));
    EXPECT_EQ(m_log.starts, 1);
}

} // namespace
