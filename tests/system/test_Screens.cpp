// The window on screens of other scales, on two monitors, on a screen that is too small, and under window
// managers that help little.
#include "tests/system/StubbornWindowManager.h"
#include "tests/system/WindowTest.h"

#include <cmath>
#include <csignal>
#include <cstdlib>

using namespace system_tests;

namespace {

// --- scales

class Scale : public WindowTest, public testing::WithParamInterface<const char*> {
  protected:
    Scale() : WindowTest(Desktop::Setup{"2400x1800x24", true, GetParam(), {}}) {}

    // Physical pixels of a length at 100 %.
    static int Physical(int length) { return static_cast<int>(std::lround(length * std::atof(GetParam()))); }
    static Area Physical(const Area& area) {
        return {Physical(area.x), Physical(area.y), Physical(area.width), Physical(area.height)};
    }
};

TEST_P(Scale, TheVideoIsDrawnInPhysicalPixelsAndTheSkinSharply) {
    TestedPlayer player(m_desktop);
    // The toolkit rounds places and sizes each for itself.
    EXPECT_NEAR(player.MainArea().width, Physical(750), 1);
    EXPECT_NEAR(player.MainArea().height, Physical(480), 1);
    OpenFilm(player);
    const int width = Physical(kWindowWidth);
    EXPECT_TRUE(support::WaitUntil([&] { return std::abs(player.MainArea().width - width) <= 1; }, 15s))
        << testing::PrintToString(player.MainArea());

    Area video = Physical(VideoIn({0, 0, kWindowWidth, kWindowHeight}));
    video = Moved(video, player.MainArea().x, player.MainArea().y);
    ExpectPictureFills(player, video);
    EXPECT_EQ(player.PictureArea().width, Physical(kFilmWidth));
    EXPECT_EQ(player.PictureArea().height, Physical(kFilmHeight));

    // The pieces lie where they lie at 100 %, times the scale.
    const Area main = player.MainArea();
    const auto at = [&](int x, int y) {
        return player.Screen().PixelAt(main.x + Physical(x), main.y + Physical(y));
    };
    EXPECT_EQ(at(2, 200), kGround);
    EXPECT_EQ(at(kWindowWidth - 50, 300), kList);
    EXPECT_EQ(at(200, kWindowHeight - 80), kWell); // the status strip
    EXPECT_EQ(at(85, kWindowHeight - 26), kGlyph); // the stop button's square

    // Its square has edges of at most one blended pixel: at whole scales, where they fall between pixels,
    // none.
    const Shot row =
        player.Screen().Take({main.x + Physical(66), main.y + Physical(kWindowHeight - 26), Physical(38), 1});
    const auto blended = std::count_if(row.pixels.begin(), row.pixels.end(), [](std::uint32_t pixel) {
        return pixel != kGround && pixel != kGlyph;
    });
    const bool isWhole = Physical(2) % 2 == 0;
    EXPECT_LE(blended, isWhole ? 0 : 2);
}

TEST_P(Scale, FullScreenCoversTheScreenAndComesBackExactly) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    player.DoubleClick(Physical(300), Physical(200));
    const Area screen = player.Screen().Screen();
    EXPECT_TRUE(player.WaitForArea(screen)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, screen);
    player.MoveTo(500, screen.height - 3);
    EXPECT_TRUE(support::WaitUntil(
        [&] { return player.Screen().PixelAt(screen.width - 5, screen.height - Physical(30)) == kGround; },
        15s));
    player.MoveTo(500, 500);
    player.Key("Escape");
    EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
}

INSTANTIATE_TEST_SUITE_P(Screens, Scale, testing::Values("1", "1.5", "2"), [](const auto& test) {
    return "Percent" + std::to_string(static_cast<int>(std::atof(test.param) * 100));
});

// --- two monitors, the right one the primary

class TwoMonitors : public WindowTest {
  protected:
    TwoMonitors()
        : WindowTest(
              Desktop::Setup{"2304x1024x24",
                             true,
                             {},
                             {{"xrandr", "--setmonitor", "left", "1024/270x768/200+0+0", "screen"},
                              {"xrandr", "--setmonitor", "*right", "1280/340x1024/270+1024+0", "none"}}}) {}

    const Area m_primary = {1024, 0, 1280, 1024};
};

TEST_F(TwoMonitors, TheFirstSizeAndPlaceAreThoseForThePrimary) {
    TestedPlayer player(m_desktop);
    const Area idle = {(1280 - 800) / 2, (1024 - 500) / 2, 750, 480};
    EXPECT_EQ(player.MainArea(), idle);
}

TEST_F(TwoMonitors, FullScreenAndMaximisedCoverThePrimary) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    // From either monitor.
    for (const int distance : {20, 900}) {
        player.Drag(300, 15, distance, 0);
        const Area before = player.MainArea();
        player.DoubleClick(300, 200);
        EXPECT_TRUE(player.WaitForArea(m_primary)) << testing::PrintToString(player.MainArea());
        ExpectPictureFills(player, m_primary);
        player.Key("Escape");
        EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
        player.DoubleClick(300, 15);
        EXPECT_TRUE(player.WaitForArea(m_primary)) << testing::PrintToString(player.MainArea());
        player.DoubleClick(300, 15);
        EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
    }
}

// --- a screen that cannot hold the first size

class SmallScreen : public WindowTest {
  protected:
    // Less than the window's smallest size, as 1024x600 is at 200 %.
    SmallScreen() : WindowTest(Desktop::Setup{"512x300x24", true, {}, {}}) {}
};

TEST_F(SmallScreen, TheWindowFitsOnItAndPlays) {
    TestedPlayer player(m_desktop);
    EXPECT_EQ(player.MainArea(), player.Screen().Screen());
    OpenFilm(player);
    EXPECT_EQ(player.MainArea(), player.Screen().Screen());
    EXPECT_GT(player.PictureArea().width, 300); // the playlist gives way
    player.Drag(300, 15, 20, 30);
    EXPECT_TRUE(player.WaitForArea(Moved(player.Screen().Screen(), 20, 30)));
    player.DoubleClick(200, 15);
    EXPECT_TRUE(player.WaitForArea(player.Screen().Screen()));
    player.Click(42, 300 - 26);
    EXPECT_GE(player.StandingNumber(), 0);
}

// --- window managers

class NoWindowManager : public WindowTest {
  protected:
    NoWindowManager() : WindowTest(Desktop::Setup{"1280x1024x24", false, {}, {}}) {}
};

TEST_F(NoWindowManager, TheWindowIsMovedResizedAndFullScreenAllTheSame) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    Area area = player.MainArea();
    player.Drag(300, 15, 40, 30);
    area = Moved(area, 40, 30);
    EXPECT_TRUE(player.WaitForArea(area)) << testing::PrintToString(player.MainArea());
    player.Drag(area.width - 2, area.height - 2, 30, 20);
    area = Grown(area, 30, 20);
    EXPECT_TRUE(player.WaitForArea(area)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(area));
    player.DoubleClick(300, 200);
    const Area screen = player.Screen().Screen();
    EXPECT_TRUE(player.WaitForArea(screen)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, screen);
    player.DoubleClick(300, 200);
    EXPECT_TRUE(player.WaitForArea(area)) << testing::PrintToString(player.MainArea());
    ExpectPlaysOn(player);
}

TEST_F(NoWindowManager, AWindowForcedSmallerThanItsContentsPlaysOnAndGrowsAgain) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    for (const auto& [width, height] : {std::pair{300, 200}, std::pair{40, 30}, std::pair{1, 1}}) {
        player.ForceSize(width, height);
        EXPECT_TRUE(support::WaitUntil([&] { return player.MainArea().width == width; }, 15s));
        EXPECT_TRUE(player.Process().IsRunning()) << player.Process().Output();
    }
    player.ForceSize(before.width, before.height);
    ExpectPictureFills(player, VideoIn(before));
    ExpectPlaysOn(player);
}

// What the server shows of a larger window before the program has painted it: the program is held meanwhile.
TEST_F(NoWindowManager, NewPartsOfTheWindowAreDarkBeforeTheyArePainted) {
    TestedPlayer player(m_desktop);
    const Area before = player.MainArea();
    player.Process().Signal(SIGSTOP);
    player.ForceSize(before.width + 100, before.height + 80);
    const Area wanted = Grown(before, 100, 80);
    EXPECT_TRUE(player.WaitForArea(wanted));
    for (const auto& [x, y] : {std::pair{before.width + 50, 200}, std::pair{300, before.height + 40}}) {
        EXPECT_EQ(player.Screen().PixelAt(wanted.x + x, wanted.y + y), kWell);
    }
    EXPECT_EQ(player.Screen().PixelAt(wanted.x + 200, wanted.y + 100), kIdle); // and what was there stays
    player.Process().Signal(SIGCONT);
    EXPECT_TRUE(support::WaitUntil(
        [&] { return player.Screen().PixelAt(wanted.x + wanted.width - 50, wanted.y + 200) == kList; }, 15s));
}

TEST_F(NoWindowManager, OneThatRefusesEveryWishLeavesTheWindowUsable) {
    const StubbornWindowManager stubborn(m_desktop.Display());
    TestedPlayer player(m_desktop);
    const Area place = player.MainArea();
    EXPECT_EQ(place.width, 750);
    OpenFilm(player); // asks for another size
    EXPECT_EQ(player.MainArea(), place);
    ExpectPictureFills(player, VideoIn(place));

    player.Drag(300, 15, 40, 30);
    player.Drag(place.width - 2, place.height - 2, 30, 20);
    player.DoubleClick(300, 15); // maximise, and back
    ExpectPictureFills(player, VideoIn(place));
    player.DoubleClick(300, 15);
    EXPECT_EQ(player.MainArea(), place);
    EXPECT_GT(stubborn.Refused(), 3);

    // Full screen shows the video alone, in the window as it is.
    player.DoubleClick(300, 200);
    ExpectPictureFills(player, place);
    // The control bar comes where the window ends.
    player.MoveTo(300, place.height - 3);
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            return player.Screen().PixelAt(place.x + place.width - 5, place.y + place.height - 30) == kGround;
        },
        15s));
    player.MoveTo(300, 200);
    ExpectPictureFills(player, place);
    player.Key("Escape");
    ExpectPictureFills(player, VideoIn(place));
    ExpectPlaysOn(player);
    EXPECT_EQ(player.MainArea(), place);
}

} // namespace
