// The status line names the picture that is on the screen.
#include "tests/system/PlayerTest.h"

#include <cstdio>

using namespace system_tests;

namespace {

class StatusLine : public PlayerTest {
  protected:
    static constexpr int kRate = 25;

    StatusLine() { m_setup.readsTexts = true; }

    // The text for a frame of a film.
    static std::string TextOf(int frame, int frames) {
        const int elapsed = frame / kRate;
        const int total = frames / kRate;
        char text[80];
        std::snprintf(text, sizeof(text), "%d/%d  %02d:%02d:%02d/%02d:%02d:%02d  ", frame, frames,
                      elapsed / 3600, elapsed % 3600 / 60, elapsed % 60, total / 3600, total % 3600 / 60,
                      total % 60);
        return text;
    }

    // The frame that the status line names; -1 for none.
    static int FrameIn(const std::string& text) { return text.empty() ? -1 : std::stoi(text); }

    static void ExpectNames(TestedPlayer& player, int number) {
        EXPECT_TRUE(player.WaitForNumber(number)) << "shows " << player.Number();
        EXPECT_TRUE(support::WaitUntil([&] { return player.Texts().Progress() == TextOf(number, kFrames); },
                                       15s, 10ms))
            << "says " << player.Texts().Progress() << " and shows " << player.Number();
    }

    PlayerRun::Setup m_setup;
};

} // namespace

TEST_F(StatusLine, WhilePausedItNamesThePictureOnTheScreen) {
    TestedPlayer player(m_desktop, m_setup);
    EXPECT_EQ(player.Texts().Progress(), "");
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(10));
    player.Key("space");
    const int number = player.StandingNumber();
    ASSERT_GE(number, 10);
    ExpectNames(player, number);
    EXPECT_EQ(player.Texts().State(), "Pause");
    player.Key("Right");
    ExpectNames(player, number + 1);
    player.Key("Left");
    player.Key("Left");
    ExpectNames(player, number - 1);
    player.Key("ctrl+Right");
    ExpectNames(player, kFrames - 1);
    player.Key("ctrl+Left");
    ExpectNames(player, 0);
}

// The timer is what makes it lag, so each time that the text changes it names the picture of that moment.
TEST_F(StatusLine, WhilePlayingEachNewTextNamesThePictureOnTheScreen) {
    TestedPlayer player(m_desktop, m_setup);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(10));
    int changes = 0;
    int named = FrameIn(player.Texts().Progress());
    int seen = player.Number(); // while the text was still the one before
    const bool isPlayedOn = support::WaitUntil(
        [&] {
            const int now = FrameIn(player.Texts().Progress());
            const int after = player.Number();
            if (now != named) {
                // A picture becomes the current one just before it is drawn.
                EXPECT_GE(now, seen - 1) << "behind";
                EXPECT_LE(now, after + 1) << "ahead";
                named = now;
                ++changes;
            }
            seen = after;
            return seen >= 100;
        },
        60s, 1ms);
    EXPECT_TRUE(isPlayedOn);
    // Ninety pictures are 3.6 s of film: seven periods of the timer.
    EXPECT_GE(changes, 4);
}

TEST_F(StatusLine, TheTextsFollowTheState) {
    TestedPlayer player(m_desktop, m_setup);
    const auto says = [&](const std::string& state) {
        return support::WaitUntil([&] { return player.Texts().State() == state; }, 15s);
    };
    EXPECT_TRUE(says("Ready"));
    ASSERT_TRUE(player.Open(MakeFilm()));
    EXPECT_TRUE(says("Playing"));
    player.PressButton("Fast");
    EXPECT_TRUE(says("Speed * 2"));
    player.PressButton("Slow");
    player.PressButton("Slow");
    EXPECT_TRUE(says("Speed / 2"));
    player.PressButton("Next Frame");
    EXPECT_TRUE(says("Pause"));
    player.PressButton("Stop");
    EXPECT_TRUE(says("Stop"));
    EXPECT_TRUE(support::WaitUntil([&] { return player.Texts().Progress().empty(); }, 15s));
    player.PressButton("Play");
    EXPECT_TRUE(says("Playing"));
    player.Key("ctrl+c");
    EXPECT_TRUE(says("Ready"));
    EXPECT_EQ(player.Texts().Progress(), "");
}
