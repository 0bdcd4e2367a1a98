// Full screen and what lies over the picture, read from the pixels of the screen.
#include "tests/system/WindowTest.h"

#include <thread>

using namespace system_tests;

namespace {

class FullScreen : public WindowTest {
  protected:
    // Enters by a double click on the video; gives the screen's area, which the window then has.
    static Area Enter(PlayerRun& player) {
        const Area screen = player.Screen().Screen();
        player.DoubleClick(300, 200);
        EXPECT_TRUE(player.WaitForArea(screen)) << testing::PrintToString(player.MainArea());
        EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_FULLSCREEN", true));
        return screen;
    }

    static void Leave(PlayerRun& player, const Area& before) {
        player.Key("Escape");
        EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
        EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_FULLSCREEN", false));
    }

    // A row of the screen is of one colour, at this moment and for some pictures more.
    static void ExpectRowStays(PlayerRun& player, int x, int y, int width, std::uint32_t colour) {
        EXPECT_TRUE(support::WaitUntil([&] { return IsRowOf(player, x, y, width, colour); }, 15s));
        for (int i = 0; i < 40; ++i) {
            ASSERT_TRUE(IsRowOf(player, x, y, width, colour)) << "row " << y << ", look " << i;
            std::this_thread::sleep_for(10ms); // through three or four pictures
        }
    }

    static bool IsRowOf(PlayerRun& player, int x, int y, int width, std::uint32_t colour) {
        const Shot shot = player.Screen().Take({x, y, width, 1});
        return std::all_of(shot.pixels.begin(), shot.pixels.end(),
                           [colour](std::uint32_t pixel) { return pixel == colour; });
    }
};

TEST_F(FullScreen, ThereAndBackWithThePlaylistShown) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    const Area screen = Enter(player);
    ExpectPictureFills(player, screen);
    ExpectPlaysOn(player);
    Leave(player, before);
    ExpectPictureFills(player, VideoIn(before));
    EXPECT_TRUE(support::WaitUntil(
        [&] { return player.Screen().PixelAt(before.x + before.width - 50, before.y + 300) == kList; }, 15s));
    ExpectPlaysOn(player);
}

TEST_F(FullScreen, ThereAndBackWithThePlaylistHidden) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    player.Click(before.width - 54, before.height - 26);
    ExpectPictureFills(player, VideoIn(before, 0));
    const Area screen = Enter(player);
    ExpectPictureFills(player, screen);
    Leave(player, before);
    ExpectPictureFills(player, VideoIn(before, 0));
    ExpectPlaysOn(player);
}

TEST_F(FullScreen, ThePausedPictureStaysThroughIt) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Key("space");
    const int number = player.StandingNumber();
    const Area before = player.MainArea();
    const Area screen = Enter(player);
    ExpectPictureFills(player, screen);
    EXPECT_TRUE(player.WaitForNumber(number));
    player.DoubleClick(300, 200);
    EXPECT_TRUE(player.WaitForArea(before));
    ExpectPictureFills(player, VideoIn(before));
    EXPECT_TRUE(player.WaitForNumber(number));
}

TEST_F(FullScreen, FromAMaximisedWindowAndBackToIt) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    player.DoubleClick(300, 15);
    ASSERT_TRUE(player.WaitForArea(player.Screen().Screen()));
    const Area screen = Enter(player);
    ExpectPictureFills(player, screen);
    player.Key("Escape");
    EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_FULLSCREEN", false));
    ExpectPictureFills(player, VideoIn(screen));
    player.DoubleClick(300, 15);
    EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
}

TEST_F(FullScreen, TheControlBarComesAtTheBottomAndGoes) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area screen = Enter(player);
    player.MoveTo(600, screen.height - 100);
    player.MoveTo(600, screen.height - 30);
    ExpectRowStays(player, 0, screen.height - 63, screen.width, kGround);
    // The picture fills what the bar leaves; the four buttons at its right end are not there.
    ExpectPictureFills(player, {0, 0, screen.width, screen.height - 64});
    ExpectRowStays(player, screen.width / 2, screen.height - 26, screen.width / 2, kGround);
    // A click on its play button pauses.
    player.Click(42, screen.height - 26);
    const int number = player.StandingNumber();
    EXPECT_GE(number, 0);
    player.MoveTo(600, 500);
    ExpectPictureFills(player, screen);
    EXPECT_TRUE(player.WaitForNumber(number));
}

TEST_F(FullScreen, TheFloatingPanelLiesOverThePictureAndItsButtonLeaves) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    const Area screen = Enter(player);
    player.MoveTo(600, 100);
    player.MoveTo(600, 10);
    ExpectRowStays(player, 60, 10, screen.width - 60, kGround);
    ExpectRowStays(player, 60, 20, screen.width - 60, kGround);
    player.Click(9, 10);
    EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
    // The pointer is no longer over the video.
    ExpectPictureFills(player, VideoIn(before));
}

TEST_F(FullScreen, InTheWindowThePanelAndTheStatusStripLieOverThePicture) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area video = VideoIn(player.MainArea());
    // Between the state at the left and the time at the right.
    ExpectRowStays(player, video.x + 110, video.y + video.height - 20, 200, kWell);
    ExpectRowStays(player, video.x + 110, video.y + video.height - 1, 200, kWell);
    EXPECT_FALSE(IsRowOf(player, video.x + 110, video.y + video.height - 21, 200, kWell));

    const Area main = player.MainArea();
    player.MoveTo(300, 200);
    player.MoveTo(300, 40);
    ExpectRowStays(player, video.x + 60, video.y, video.width - 60, kGround);
    ExpectRowStays(player, video.x + 60, video.y + 20, video.width - 60, kGround);
    // It goes with the pointer, down into the picture and up into the title bar.
    player.MoveTo(300, 200);
    ExpectPictureFills(player, video);
    player.MoveTo(300, 40);
    EXPECT_TRUE(support::WaitUntil(
        [&] { return IsRowOf(player, video.x + 60, video.y, video.width - 60, kGround); }, 15s));
    player.MoveTo(300, 15);
    EXPECT_TRUE(support::WaitUntil(
        [&] { return !IsRowOf(player, video.x + 60, video.y, video.width - 60, kGround); }, 15s));
    EXPECT_EQ(player.MainArea(), main);
}

TEST_F(FullScreen, ThePanelsButtonsChangeTheSize) {
    TestedPlayer player(m_desktop);
    support::ClipOptions options;
    options.width = 448;
    options.height = 252;
    options.rateNumerator = 10;
    options.frames = 600;
    player.SetPictureSize(448, 252);
    ASSERT_TRUE(player.Open(Make("small.mp4", options)));
    const Area screen = player.Screen().Screen();
    Area normal = {0, 0, kPlaylistWidth + 448 + 9, 31 + 252 + 90};
    normal.x = (screen.width - normal.width) / 2;
    normal.y = (screen.height - normal.height) / 2;
    ASSERT_TRUE(support::WaitUntil([&] { return player.MainArea().width == normal.width; }, 15s));
    const auto click = [&](int x) {
        player.MoveTo(200, 200);
        player.MoveTo(200, 40);
        const Area video = VideoIn(player.MainArea());
        ASSERT_TRUE(support::WaitUntil(
            [&] { return IsRowOf(player, video.x + 60, video.y + 5, video.width - 60, kGround); }, 15s))
            << "no panel";
        player.Click(4 + x, 32 + 9);
    };
    // The pointer goes off before the window manager has answered: so does the panel.
    click(45);
    player.MoveAway();
    Area twice = Grown(normal, normal.width, normal.height);
    twice.x = normal.x - normal.width / 2;
    twice.y = normal.y - normal.height / 2;
    EXPECT_TRUE(player.WaitForArea(twice)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(twice));
    const Area video = VideoIn(twice);
    EXPECT_TRUE(support::WaitUntil(
        [&] { return !IsRowOf(player, video.x + 60, video.y + 5, video.width - 60, kGround); }, 15s));
    click(27);
    EXPECT_TRUE(player.WaitForArea(normal)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(normal));
}

// --- nothing is left of a picture

TEST_F(FullScreen, AfterClosingTheIdlePictureHasNoTraceOfTheLastOne) {
    TestedPlayer player(m_desktop);
    const Area idle = player.MainArea();
    const Area idleVideo = VideoIn(idle);
    const Shot before = player.Screen().Take(idleVideo);
    OpenFilm(player);
    player.Key("ctrl+c");
    EXPECT_TRUE(player.WaitForNumber(-1));
    EXPECT_TRUE(support::WaitUntil([&] { return player.MainArea().width == idle.width; }, 15s));
    const Area video = VideoIn(player.MainArea());
    // Exactly what was there at the start, wherever the window lies now.
    EXPECT_TRUE(support::WaitUntil([&] { return player.Screen().Take(video).pixels == before.pixels; }, 15s));
}

TEST_F(FullScreen, AfterStoppingTheGroundIsPlain) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Key("ctrl+s");
    Area video = VideoIn(player.MainArea());
    video.height -= 20; // the status strip
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            const Shot shot = player.Screen().Take(video);
            return std::all_of(shot.pixels.begin(), shot.pixels.end(),
                               [](std::uint32_t pixel) { return pixel == kIdle; });
        },
        15s));
}

} // namespace
