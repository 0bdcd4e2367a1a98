// Keys, clicks and the chooser make the program play, and the screen shows the right frames.
#include "tests/system/PlayerTest.h"

#include <cmath>
#include <fstream>
#include <iterator>

using namespace system_tests;

namespace {

class Playing : public PlayerTest {
  protected:
    // Opens the film, lets it play a little, pauses. Gives the number that then stands.
    int OpenAndPause(TestedPlayer& player, const std::string& path) {
        EXPECT_TRUE(player.Open(path));
        EXPECT_TRUE(player.WaitForAtLeast(10));
        player.Key("space");
        return player.StandingNumber();
    }
};

} // namespace

TEST_F(Playing, AChosenFilePlaysOnTheScreen) {
    TestedPlayer player(m_desktop);
    EXPECT_EQ(player.Number(), -1);
    ASSERT_TRUE(player.Open(MakeFilm()));
    EXPECT_TRUE(player.WaitForAtLeast(0));
    const int first = player.Number();
    EXPECT_TRUE(player.WaitForAtLeast(first + 20));
    EXPECT_EQ(player.Close(), 0);
}

TEST_F(Playing, ARawStreamPlaysAndJumps) {
    support::ClipOptions options;
    options.width = 640;
    options.height = 360;
    options.frames = kFrames;
    options.bFrames = 2;
    options.container = support::ClipContainer::RawStream;
    TestedPlayer player(m_desktop);
    const int number = OpenAndPause(player, Make("film.264", options));
    ASSERT_GE(number, 10);
    player.Key("Right");
    EXPECT_TRUE(player.WaitForNumber(number + 1));
    player.Key("ctrl+Right");
    EXPECT_TRUE(player.WaitForNumber(kFrames - 1));
}

TEST_F(Playing, SpacePausesAndGoesOn) {
    TestedPlayer player(m_desktop);
    const int number = OpenAndPause(player, MakeFilm());
    ASSERT_GE(number, 10);
    EXPECT_EQ(player.StandingNumber(), number);
    player.Key("space");
    EXPECT_TRUE(player.WaitForAtLeast(number + 10));
}

TEST_F(Playing, ArrowsStepOneFrameEitherWay) {
    TestedPlayer player(m_desktop);
    const int number = OpenAndPause(player, MakeFilm());
    ASSERT_GE(number, 10);
    for (int step = 1; step <= 5; ++step) {
        player.Key("Right");
        EXPECT_TRUE(player.WaitForNumber(number + step)) << "shows " << player.Number();
    }
    for (int step = 4; step >= -4; --step) {
        player.Key("Left");
        EXPECT_TRUE(player.WaitForNumber(number + step)) << "shows " << player.Number();
    }
    EXPECT_EQ(player.StandingNumber(), number - 4);
}

TEST_F(Playing, AnArrowWhilePlayingPauses) {
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(10));
    player.Key("Right");
    const int number = player.StandingNumber();
    EXPECT_GE(number, 10);
    player.Key("Right");
    EXPECT_TRUE(player.WaitForNumber(number + 1));
}

TEST_F(Playing, CtrlArrowsGoToTheFirstAndTheLastFrame) {
    TestedPlayer player(m_desktop);
    ASSERT_GE(OpenAndPause(player, MakeFilm()), 10);
    player.Key("ctrl+Right");
    EXPECT_TRUE(player.WaitForNumber(kFrames - 1)) << "shows " << player.Number();
    player.Key("ctrl+Left");
    EXPECT_TRUE(player.WaitForNumber(0)) << "shows " << player.Number();
}

TEST_F(Playing, AClickOnTheSliderSeeks) {
    TestedPlayer player(m_desktop);
    ASSERT_GE(OpenAndPause(player, MakeFilm()), 10);
    // The slider runs along the top of the control bar, 22 pixels from either side of the window.
    const Area main = player.MainArea();
    const int length = main.width - 44;
    for (const double part : {0.75, 0.25, 0.5}) {
        player.Click(22 + static_cast<int>(part * length), main.height - 59);
        const double framesPerPixel = static_cast<double>(kFrames) / length;
        const auto isNear = [&] { return std::abs(player.Number() - part * kFrames) <= 8 * framesPerPixel; };
        EXPECT_TRUE(support::WaitUntil(isNear, 15s)) << "at " << part << " shows " << player.Number();
    }
}

TEST_F(Playing, CtrlSStopsAndSpaceBeginsAgain) {
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(50));
    player.Key("ctrl+s");
    EXPECT_TRUE(player.WaitForNumber(-1)) << "a picture still shows: " << player.Number();
    player.Key("space");
    EXPECT_TRUE(support::WaitUntil([&] { return player.Number() >= 0 && player.Number() < 50; }, 15s));
    EXPECT_TRUE(player.WaitForAtLeast(5));
}

TEST_F(Playing, CtrlCClosesTheFile) {
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(5));
    player.Key("ctrl+c");
    EXPECT_TRUE(player.WaitForNumber(-1));
    player.Key("space"); // nothing is open: nothing happens
    EXPECT_TRUE(player.Process().IsRunning());
    EXPECT_EQ(player.Number(), -1);
}

TEST_F(Playing, TheFileStopsAtItsEnd) {
    support::ClipOptions options;
    options.width = 640;
    options.height = 360;
    options.frames = 30;
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.Open(Make("short.mp4", options)));
    ASSERT_TRUE(player.WaitForAtLeast(1));
    EXPECT_TRUE(player.WaitForNumber(-1));
    player.Key("space");
    EXPECT_TRUE(player.WaitForAtLeast(1));
}

TEST_F(Playing, ThePausedPictureSurvivesCoveringAndUncovering) {
    TestedPlayer player(m_desktop);
    const int number = OpenAndPause(player, MakeFilm());
    ASSERT_GE(number, 10);
    ASSERT_TRUE(player.ShowChooser()); // lies over the picture
    EXPECT_TRUE(player.WaitForNumber(-1));
    player.Key("Escape");
    ASSERT_TRUE(player.WaitForChooserToGo());
    EXPECT_TRUE(player.WaitForNumber(number));
}

TEST_F(Playing, ClosingTheWindowWhilePlayingEndsTheProgramAndKeepsTheSettings) {
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(5));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    EXPECT_TRUE(std::filesystem::exists(player.Folder() / "Player.config"));
}

TEST_F(Playing, TheScreenGoingAwayEndsTheProgramAndLeavesTheSettingsWhole) {
    PlayerRun::Setup setup;
    setup.settings = Settings().Text();
    PlayerRun player(m_desktop, setup);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(5));
    const auto settings = [&] {
        std::ifstream file(player.Folder() / "Player.config", std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    const std::string before = settings();
    ASSERT_FALSE(before.empty());
    m_desktop.KillServer();
    const std::optional<int> code = player.Process().WaitForExit(20s);
    ASSERT_TRUE(code) << "it runs on without a screen";
    ExpectEndedByItself(player, *code);
    EXPECT_EQ(settings(), before);
}
