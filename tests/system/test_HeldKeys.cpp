// Keys that are held down, repeated by the X server itself, faster than some commands can follow.
#include "tests/system/PlayerTest.h"

using namespace system_tests;

namespace {

class HeldKeys : public PlayerTest {
  protected:
    // Repeats begin after 200 ms and come every 4 ms.
    HeldKeys() : PlayerTest(QuickRepeats()) {}

    static Desktop::Setup QuickRepeats() {
        Desktop::Setup setup;
        setup.serverArguments = {"-ar1", "200", "-ar2", "4"};
        return setup;
    }

    // Large pictures in one group: a step back takes longer than a repeat.
    std::string MakeSlowFilm() {
        support::ClipOptions options;
        options.width = 1920;
        options.height = 1080;
        options.frames = 250;
        options.keyInterval = 250;
        options.bFrames = 2;
        return Make("slow.mp4", options);
    }

    // Holds the key until the picture has moved by `steps`, lets go, and expects it to stand at once. The
    // step that was being made may still end, and one that was asked for before the release was known.
    void ExpectFollowsAndStops(PlayerRun& player, const std::string& key, int steps, int direction) {
        const int from = player.StandingNumber();
        ASSERT_GE(from, 0);
        player.HoldKey(key);
        const bool follows = support::WaitUntil(
            [&] { return player.Number() >= 0 && (player.Number() - from) * direction >= steps; }, 30s);
        player.LetKeyGo(key);
        EXPECT_TRUE(follows) << "shows " << player.Number() << " after " << from;
        const int released = player.Number();
        const int standing = player.StandingNumber();
        ASSERT_GE(standing, 0);
        EXPECT_LE((standing - released) * direction, 2) << "from " << released << " to " << standing;
        EXPECT_GE((standing - released) * direction, 0);
    }

    PlayerRun::Setup m_setup;
};

} // namespace

TEST_F(HeldKeys, TheArrowsStepAsLongAsTheyAreHeldAndNoLonger) {
    TestedPlayer player(m_desktop, m_setup);
    player.SetPictureSize(1920, 1080);
    ASSERT_TRUE(player.Open(MakeSlowFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(5));
    player.Key("space");
    ExpectFollowsAndStops(player, "Right", 30, 1);
    ExpectFollowsAndStops(player, "Left", 20, -1);
    ExpectFollowsAndStops(player, "Right", 20, 1);
}

TEST_F(HeldKeys, TheVolumeFollowsToItsEnds) {
    m_setup.readsTexts = true;
    TestedPlayer player(m_desktop, m_setup);
    ASSERT_TRUE(player.Open(MakeShort("film.mp4", 0, 100)));
    ASSERT_TRUE(player.WaitForAtLeast(1));
    EXPECT_EQ(player.Texts().Volume(), 100);
    const auto holdUntil = [&](const std::string& key, int volume) {
        player.HoldKey(key);
        const bool reached = support::WaitUntil([&] { return player.Texts().Volume() == volume; }, 15s);
        player.LetKeyGo(key);
        return reached;
    };
    EXPECT_TRUE(holdUntil("Down", 0)) << player.Texts().Volume();
    EXPECT_TRUE(holdUntil("Up", 100)) << player.Texts().Volume();
    // One press is one step.
    player.Key("Down");
    EXPECT_TRUE(support::WaitUntil([&] { return player.Texts().Volume() < 100; }, 15s));
    EXPECT_EQ(player.Texts().Volume(), 90);
}
