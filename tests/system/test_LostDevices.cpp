// Devices that are lost while the program uses them: the sound server, the film's file, the disk that
// pictures are captured to, the screen. The window answers all the while.
#include "tests/support/FileSizeLimit.h"
#include "tests/support/HangingDisk.h"
#include "tests/system/CaptureFolder.h"
#include "tests/system/PlayerTest.h"
#include "tests/system/WindowPulse.h"

#include <csignal>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <optional>

using namespace system_tests;

namespace fs = std::filesystem;

namespace {

using support::WaitUntil;

// Far more than a window takes that waits for nothing, on the busiest machine too (2.8 s were seen); one that
// waits for a lost device does so until the device is back.
constexpr auto kHang = 10s;
// The same for a main thread that sleeps. A busy machine makes it do so only as long as a thread or a server
// that it waits for is kept from running; whoever waits for a device with a time limit waits longer.
constexpr auto kSleep = 1s;

constexpr int kHertz = 440;
constexpr double kAudible = 0.04; // the tone's amplitude is 0.1

class LostDevices : public PlayerTest {
  protected:
    // Two minutes with a quiet tone.
    std::string MakeLongFilm() {
        support::ClipOptions options;
        options.width = 640;
        options.height = 360;
        options.rateNumerator = 10;
        options.frames = 1200;
        options.sound = true;
        options.toneHertz = kHertz;
        options.codecOptions = {{"preset", "ultrafast"}};
        return Make("long.mp4", options);
    }

    // A player with a film that plays, and the watch over its window.
    void Start(const std::string& film) {
        m_player.emplace(m_desktop);
        PlayAndWatch(film);
    }
    void PlayAndWatch(const std::string& film) {
        ASSERT_TRUE(m_player->Open(film));
        ASSERT_TRUE(m_player->WaitForAtLeast(5));
        m_pulse.emplace(m_desktop.Display(), m_player->Window(), m_player->Process().Pid());
        ASSERT_TRUE(WaitUntil([&] { return m_pulse->Answers() > 20; }, 15s));
        m_pulse->TakeSlowest();
    }

    // The window has answered all along since the last call.
    void ExpectAnswers(const std::string& when) {
        const auto slowest = m_pulse->TakeSlowest();
        std::cout << "slowest answer, " << when << ": " << slowest.answer.count()
                  << " ms, main thread asleep: ";
        if (slowest.asleep) {
            std::cout << slowest.asleep->count() << " ms\n";
        } else {
            std::cout << "not counted here\n";
        }
        EXPECT_LT(slowest.answer, kHang) << when;
        EXPECT_LT(slowest.asleep.value_or(0ms), kSleep) << when;
    }

    void ExpectPlaysOn() {
        const int number = m_player->Number();
        EXPECT_TRUE(m_player->WaitForAtLeast(number + 3)) << "stands at " << m_player->Number();
    }

    // Pauses, steps, stops, plays, closes and opens the film, which plays before and afterwards.
    void WorkThePlayer(const std::string& film) {
        PlayerRun& player = *m_player;
        player.Key("space");
        const int number = player.StandingNumber();
        EXPECT_GE(number, 0);
        player.Key("Right");
        EXPECT_TRUE(player.WaitForNumber(number + 1));
        player.Key("Left");
        EXPECT_TRUE(player.WaitForNumber(number));
        player.Key("space");
        EXPECT_TRUE(player.WaitForAtLeast(number + 3));
        player.Key("ctrl+s");
        EXPECT_TRUE(player.WaitForNumber(-1));
        player.Key("space");
        EXPECT_TRUE(player.WaitForAtLeast(1));
        player.Key("ctrl+c");
        EXPECT_TRUE(player.WaitForNumber(-1));
        EXPECT_TRUE(player.Open(film));
        EXPECT_TRUE(player.WaitForAtLeast(1));
    }

    bool Hears() {
        const support::SoundRecorder recorder;
        return recorder.WaitForTone(kHertz, kAudible, 30s);
    }

    void CloseAndExpectWhole() {
        m_pulse.reset();
        EXPECT_EQ(m_player->Close(), 0) << m_player->Process().Output();
    }

    std::optional<TestedPlayer> m_player;
    std::optional<WindowPulse> m_pulse;
};

std::string Content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

TEST_F(LostDevices, ASoundServerThatHaltsHoldsNothingUpAndIsHeardAgain) {
    const std::string film = MakeLongFilm();
    ASSERT_NO_FATAL_FAILURE(Start(film));
    ASSERT_TRUE(Hears());
    WorkThePlayer(film);
    ExpectAnswers("before anything is lost");
    ASSERT_TRUE(Hears());
    m_pulse->TakeSlowest();
    m_desktop.Sound().Freeze();
    ExpectPlaysOn();
    WorkThePlayer(film);
    WorkThePlayer(film);
    ExpectAnswers("sound server halted");
    m_desktop.Sound().Thaw();
    EXPECT_TRUE(Hears());
    ExpectPlaysOn();
    ExpectAnswers("sound server goes on");
    CloseAndExpectWhole();
}

TEST_F(LostDevices, ASoundServerThatDiesHoldsNothingUpAndItsSuccessorIsHeard) {
    const std::string film = MakeLongFilm();
    ASSERT_NO_FATAL_FAILURE(Start(film));
    ASSERT_TRUE(Hears());
    m_pulse->TakeSlowest();
    m_desktop.Sound().Kill();
    ExpectPlaysOn();
    WorkThePlayer(film);
    ExpectAnswers("sound server dead");
    m_desktop.Sound().Start();
    EXPECT_TRUE(Hears());
    ExpectPlaysOn();
    ExpectAnswers("sound server started again");
    // One that halts first, as a machine does that goes to sleep.
    m_desktop.Sound().Freeze();
    ExpectPlaysOn();
    m_desktop.Sound().Kill();
    ExpectPlaysOn();
    m_desktop.Sound().Start();
    WorkThePlayer(film);
    EXPECT_TRUE(Hears());
    ExpectAnswers("sound server halted, killed and started again");
    CloseAndExpectWhole();
}

TEST_F(LostDevices, TheProgramEndsBesideASoundServerThatHalts) {
    ASSERT_NO_FATAL_FAILURE(Start(MakeLongFilm()));
    ASSERT_TRUE(Hears());
    m_desktop.Sound().Freeze();
    CloseAndExpectWhole();
}

// The watch itself: it would see a main thread that sleeps.
TEST_F(LostDevices, AProgramThatIsHaltedIsSeenToSleep) {
    ASSERT_NO_FATAL_FAILURE(Start(MakeLongFilm()));
    ASSERT_TRUE(m_player->Process().Signal(SIGSTOP));
    WindowPulse::Slowest slowest;
    EXPECT_TRUE(WaitUntil(
        [&] {
            slowest = m_pulse->TakeSlowest();
            return slowest.answer > 2 * kSleep;
        },
        15s));
    ASSERT_TRUE(m_player->Process().Signal(SIGCONT));
    ExpectPlaysOn();
    CloseAndExpectWhole();
    if (!slowest.asleep) GTEST_SKIP() << "the system does not count what threads do";
    EXPECT_GT(*slowest.asleep, kSleep);
}

class CutFilm : public LostDevices, public testing::WithParamInterface<support::ClipContainer> {};

TEST_P(CutFilm, HoldsNothingUpAndAnotherFilmPlays) {
    support::ClipOptions options;
    options.width = 640;
    options.height = 360;
    options.frames = 500;
    options.keyInterval = 25;
    options.bFrames = 2;
    options.sound = GetParam() != support::ClipContainer::RawStream;
    options.codecOptions = {{"crf", "15"}};
    options.container = GetParam();
    const std::string film = Make("cut", options);
    ASSERT_NO_FATAL_FAILURE(Start(film));
    PlayerRun& player = *m_player;
    fs::resize_file(film, fs::file_size(film) / 2);
    ExpectPlaysOn();
    ExpectAnswers("film cut in the middle");
    fs::resize_file(film, 0);
    for (const char* key : {"Right", "Right", "Left", "space", "ctrl+Right", "ctrl+Left", "Left", "space"})
        player.Key(key);
    ExpectAnswers("film cut to nothing");
    // Whether it plays, stands or has ended by now, it is stopped and can be played, for as long as that
    // lasts.
    player.Key("ctrl+s");
    EXPECT_TRUE(player.WaitForNumber(-1)) << "stands at " << player.Number();
    player.Key("space");
    player.Key("ctrl+c");
    ExpectAnswers("film cut to nothing is stopped, played and closed");
    ASSERT_TRUE(player.Open(MakeFilm()));
    EXPECT_TRUE(player.WaitForAtLeast(10));
    CloseAndExpectWhole();
}

INSTANTIATE_TEST_SUITE_P(LostDevices, CutFilm,
                         testing::Values(support::ClipContainer::Mp4, support::ClipContainer::Matroska,
                                         support::ClipContainer::RawStream),
                         [](const auto& tested) {
                             return tested.param == support::ClipContainer::Mp4        ? "Mp4"
                                    : tested.param == support::ClipContainer::Matroska ? "Matroska"
                                                                                       : "Raw";
                         });

// ---- The disk

class LostDisk : public LostDevices {
  protected:
    // `prepare` is called before the first capture.
    void StartCapturingInto(const fs::path& folder, std::optional<rlim_t> largestFile = {},
                            const std::function<void()>& prepare = nullptr) {
        const std::string film = MakeFilm();
        Settings settings;
        settings.captureFolder = folder.string();
        PlayerRun::Setup setup;
        setup.settings = settings.Text();
        {
            std::optional<support::FileSizeLimit> limit; // the program inherits it
            if (largestFile) limit.emplace(*largestFile);
            m_player.emplace(m_desktop, setup);
        }
        ASSERT_NO_FATAL_FAILURE(PlayAndWatch(film));
        m_player->Key("space");
        ASSERT_GE(m_player->StandingNumber(), 0);
        if (prepare) prepare();
        ToggleContinuousCapture(*m_player);
        m_pulse->TakeSlowest();
        m_player->Key("space");
    }

    // One box, and the film plays on.
    void ExpectOneWarning(const std::string& when) {
        ASSERT_TRUE(m_player->WaitForWindow("Warning"));
        m_player->Key("Return");
        EXPECT_TRUE(m_player->WaitForNoWindow("Warning"));
        ExpectPlaysOn();
        EXPECT_FALSE(m_player->WaitForWindow("Warning", 0ms));
        ExpectAnswers(when);
    }
};

TEST_F(LostDisk, AFullOneIsToldOnceAndHoldsNothingUp) {
    const SmallDisk disk;
    if (!disk.IsMounted()) GTEST_SKIP() << "no file system can be mounted here";
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(disk.Path()));
    ExpectOneWarning("disk full");
    CloseAndExpectWhole();
    EXPECT_EQ(NumbersIn(FilesIn(disk.Path())).size(), 4U);
}

TEST_F(LostDisk, OneThatIsTakenOutIsToldOnceAndHoldsNothingUp) {
    SmallDisk disk;
    if (!disk.IsMounted()) GTEST_SKIP() << "no file system can be mounted here";
    const fs::path folder = disk.Path() / "pictures";
    fs::create_directory(folder);
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(folder));
    EXPECT_TRUE(WaitUntil([&] { return !fs::is_empty(folder); }, 15s, 1ms));
    disk.Remove();
    ExpectOneWarning("disk removed");
    CloseAndExpectWhole();
    EXPECT_TRUE(fs::is_empty(disk.Path())) << "the place where it was";
}

TEST_F(LostDisk, ALimitOnTheSizeOfFilesIsToldOnceAndLeavesNoHalfPicture) {
    const support::TemporaryFolder pictures;
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(pictures.Path(), 500000)); // less than a picture
    ExpectOneWarning("files limited");
    CloseAndExpectWhole();
    EXPECT_TRUE(fs::is_empty(pictures.Path()));
}

TEST_F(LostDisk, OneThatHangsHoldsNothingUpAndGetsItsPicturesInTheEnd) {
    const support::TemporaryFolder pictures;
    std::optional<support::HangingDisk> disk;
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(
        pictures.Path(), {}, [&] { disk.emplace(pictures.Path(), m_player->Process().Pid(), 0, "bmp"); }));
    PlayerRun& player = *m_player;
    ASSERT_TRUE(WaitUntil([&] { return disk->IsWaiting(); }, 15s));
    player.Key("space");
    const int number = player.StandingNumber();
    EXPECT_GE(number, 0);
    ExpectAnswers("disk hangs in mid capture: pause");
    player.Key("Right");
    EXPECT_TRUE(player.WaitForNumber(number + 1));
    player.Key("Left");
    EXPECT_TRUE(player.WaitForNumber(number));
    ExpectAnswers("disk hangs: two steps");
    player.Key("space");
    player.Key("ctrl+s");
    EXPECT_TRUE(player.WaitForNumber(-1));
    ExpectAnswers("disk hangs: on, stop");
    player.Key("space"); // without capture from here on
    EXPECT_TRUE(player.WaitForAtLeast(3));
    ExpectAnswers("disk hangs: play");
    CaptureByMenu(player);
    ExpectAnswers("disk hangs: capture");
    player.Key("ctrl+c");
    EXPECT_TRUE(player.WaitForNumber(-1));
    ExpectAnswers("disk hangs: close");
    EXPECT_TRUE(player.Open(MakeFilm()));
    EXPECT_TRUE(player.WaitForAtLeast(3));
    ExpectAnswers("disk hangs: open");

    disk->GoOn();
    const auto named = [&] {
        std::vector<fs::path> files;
        for (const fs::path& file : FilesIn(pictures.Path())) {
            if (fs::is_regular_file(file) && file.extension() == ".bmp") files.push_back(file);
        }
        return files;
    };
    // Both steps and the one by the menu; the first is in the pipe.
    EXPECT_TRUE(WaitUntil([&] { return named().size() >= 3; }, 15s, 10ms));
    EXPECT_FALSE(player.WaitForWindow("Warning", 0ms));
    CloseAndExpectWhole();
    for (const int captured : NumbersIn(named()))
        EXPECT_GE(captured, 0);
}

TEST_F(LostDisk, OneThatHangsAndIsLostThenIsToldOnceAndTheProgramEnds) {
    const support::TemporaryFolder pictures;
    const support::TemporaryFolder elsewhere;
    std::optional<support::HangingDisk> disk;
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(
        pictures.Path(), {}, [&] { disk.emplace(pictures.Path(), m_player->Process().Pid(), 0, "bmp"); }));
    ASSERT_TRUE(WaitUntil([&] { return disk->IsWaiting(); }, 15s));
    m_player->Key("Right");
    m_player->Key("Right");
    fs::rename(pictures.Path(), elsewhere.Path());
    disk->GoOn(elsewhere.Path());
    ASSERT_TRUE(m_player->WaitForWindow("Warning"));
    m_player->Key("Return");
    EXPECT_TRUE(m_player->WaitForNoWindow("Warning"));
    m_player->Key("space");
    ExpectPlaysOn();
    EXPECT_FALSE(m_player->WaitForWindow("Warning", 0ms));
    ExpectAnswers("disk hangs, then fails");
    CloseAndExpectWhole();
    EXPECT_FALSE(fs::exists(pictures.Path()));
}

TEST_F(LostDisk, TheProgramEndsBesideOneThatHangs) {
    const support::TemporaryFolder pictures;
    std::optional<support::HangingDisk> disk;
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(
        pictures.Path(), {}, [&] { disk.emplace(pictures.Path(), m_player->Process().Pid(), 0, "bmp"); }));
    ASSERT_TRUE(WaitUntil([&] { return disk->IsWaiting(); }, 15s));
    CloseAndExpectWhole();
    EXPECT_TRUE(fs::exists(m_player->Folder() / "Player.config"));
}

// ---- The screen

TEST_F(LostDisk, AScreenThatGoesAwayInMidCaptureLeavesNoHalfPictureAndTheSettingsWhole) {
    const support::TemporaryFolder pictures;
    ASSERT_NO_FATAL_FAILURE(StartCapturingInto(pictures.Path()));
    const std::string settings = Content(m_player->Folder() / "Player.config");
    ASSERT_FALSE(settings.empty());
    ASSERT_TRUE(WaitUntil([&] { return FilesIn(pictures.Path()).size() > 5; }, 15s, 1ms));
    const auto killed = std::chrono::steady_clock::now();
    m_desktop.KillServer();
    const std::optional<int> code = m_player->Process().WaitForExit(20s);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - killed;
    ASSERT_TRUE(code) << "it runs on without a screen";
    ExpectEndedByItself(*m_player, *code);
    std::cout << "the program ended " << took.count() << " ms after its screen\n";
    EXPECT_LT(took, 5s);
    EXPECT_EQ(Content(m_player->Folder() / "Player.config"), settings);
    std::vector<fs::path> named;
    for (const fs::path& file : FilesIn(pictures.Path())) {
        if (file.extension() != ".part") named.push_back(file);
    }
    for (const int number : NumbersIn(named))
        EXPECT_GE(number, 0);
    m_pulse.reset();
}
