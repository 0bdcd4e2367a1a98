// The window under a real window manager: moved, stretched, resized, minimised and kept above others by the
// pointer, while a film plays or stands.
#include "tests/system/WindowTest.h"

#include <functional>

using namespace system_tests;

namespace {

using Window = WindowTest;

// Places of the title bar's buttons, counted from the right edge of the window.
constexpr int kCloseButton = 14;
constexpr int kMaximiseButton = 39;
constexpr int kMinimiseButton = 64;
constexpr int kTitleRow = 15;

// --- the title bar

TEST_F(Window, TheTitleBarMovesTheWindowWhileTheFilmPlays) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    player.Drag(300, kTitleRow, 57, 41);
    EXPECT_TRUE(player.WaitForArea(Moved(before, 57, 41))) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(player.MainArea()));
    ExpectPlaysOn(player);
    player.Drag(300, kTitleRow, -90, -80);
    EXPECT_TRUE(player.WaitForArea(Moved(before, -33, -39))) << testing::PrintToString(player.MainArea());
}

TEST_F(Window, TheTitleBarMovesThePausedFilmWithIt) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Key("space");
    const int number = player.StandingNumber();
    const Area before = player.MainArea();
    player.Drag(300, kTitleRow, 57, 41);
    EXPECT_TRUE(player.WaitForArea(Moved(before, 57, 41)));
    EXPECT_TRUE(player.WaitForNumber(number));
    ExpectPictureFills(player, VideoIn(player.MainArea()));
}

TEST_F(Window, OnlyTheLeftButtonMovesIt) {
    TestedPlayer player(m_desktop);
    const Area before = player.MainArea();
    player.Drag(300, kTitleRow, 57, 41, 3);
    player.Drag(300, kTitleRow, 57, 41, 2);
    EXPECT_EQ(player.MainArea(), before);
}

TEST_F(Window, APressedTitleButtonDoesNotMoveIt) {
    TestedPlayer player(m_desktop);
    const Area before = player.MainArea();
    player.Drag(before.width - kMinimiseButton, kTitleRow, -80, 60);
    EXPECT_EQ(player.MainArea(), before);
    EXPECT_FALSE(IsInState(player, "_NET_WM_STATE_HIDDEN")); // let go off the button: no click
    // The bar itself moves it again.
    player.Drag(300, kTitleRow, 10, 10);
    EXPECT_TRUE(player.WaitForArea(Moved(before, 10, 10)));
}

TEST_F(Window, TheCloseButtonClosesOnAReleaseOffItToo) {
    TestedPlayer player(m_desktop);
    player.Drag(player.MainArea().width - kCloseButton, kTitleRow, -80, 60);
    EXPECT_EQ(player.Process().WaitForExit(20s), 0) << player.Process().Output();
}

// --- maximise

TEST_F(Window, ADoubleClickMaximisesAndAnotherRestoresExactly) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Drag(300, kTitleRow, -21, 13); // off the place that it opened at
    const Area before = player.MainArea();
    const Area screen = player.Screen().Screen(); // nothing of it is taken by task bars
    player.DoubleClick(300, kTitleRow);
    EXPECT_TRUE(player.WaitForArea(screen)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(screen));
    ExpectPlaysOn(player);
    EXPECT_FALSE(IsInState(player, "_NET_WM_STATE_MAXIMIZED_VERT"));
    EXPECT_FALSE(IsInState(player, "_NET_WM_STATE_FULLSCREEN"));

    player.Drag(300, kTitleRow, 40, 30);
    EXPECT_EQ(player.MainArea(), screen);
    player.Drag(screen.width - 2, 500, -200, 0);
    EXPECT_EQ(player.MainArea(), screen);

    player.DoubleClick(300, kTitleRow);
    EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(before));
    ExpectPlaysOn(player);
}

TEST_F(Window, TheMaximiseButtonDoesTheSameWithNothingOpen) {
    TestedPlayer player(m_desktop);
    const Area before = player.MainArea();
    const Area screen = player.Screen().Screen();
    player.Click(before.width - kMaximiseButton, kTitleRow);
    EXPECT_TRUE(player.WaitForArea(screen));
    player.Click(screen.width - kMaximiseButton, kTitleRow);
    EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
}

// --- the edges

struct Edge {
    const char* name;
    // Where it is grabbed: counted from the left or top edge, or, negative, from the right or bottom edge.
    int x;
    int y;
    // The drag, and what it makes of the window.
    int dx;
    int dy;
    int movedX;
    int movedY;
    int wider;
    int higher;
};

const Edge g_edges[] = {
    {"right edge", -2, 200, 60, 30, 0, 0, 60, 0},
    {"bottom edge", 300, -2, 30, 50, 0, 0, 0, 50},
    {"lower right corner", -2, -2, 40, 30, 0, 0, 40, 30},
    {"left edge", 1, 200, -40, 30, 0, 0, 0, 0},
    {"lower left corner", 1, -2, -40, 50, 0, 0, 0, 50},
    {"right edge, inwards", -2, 200, -90, 30, 0, 0, -90, 0},
    {"bottom edge, inwards", 300, -2, 30, -110, 0, 0, 0, -110},
    // The title bar reaches to the edges: there the window is moved.
    {"upper edge", 300, 1, 20, -30, 20, -30, 0, 0},
    {"upper left corner", 1, 1, 20, -30, 20, -30, 0, 0},
    {"upper right corner", -2, 1, 20, 30, 20, 30, 0, 0},
};

// Drags one edge after the other; after each the picture fills what is left.
void DragEveryEdge(PlayerRun& player, const std::function<void(const Area& window)>& check) {
    for (const Edge& edge : g_edges) {
        SCOPED_TRACE(edge.name);
        const Area before = player.MainArea();
        player.Drag(edge.x < 0 ? before.width + edge.x : edge.x, edge.y < 0 ? before.height + edge.y : edge.y,
                    edge.dx, edge.dy);
        const Area wanted = Grown(Moved(before, edge.movedX, edge.movedY), edge.wider, edge.higher);
        EXPECT_TRUE(player.WaitForArea(wanted))
            << testing::PrintToString(player.MainArea()) << " for " << testing::PrintToString(wanted);
        check(wanted);
    }
}

TEST_F(Window, ItsEdgesFollowThePointerWhileTheFilmPlays) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    DragEveryEdge(player, [&](const Area& window) {
        ExpectPictureFills(player, VideoIn(window));
        ExpectPlaysOn(player);
    });
}

TEST_F(Window, ItsEdgesFollowThePointerWhileTheFilmStands) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Key("space");
    const int number = player.StandingNumber();
    ASSERT_GE(number, 0);
    DragEveryEdge(player, [&](const Area& window) {
        ExpectPictureFills(player, VideoIn(window));
        EXPECT_TRUE(player.WaitForNumber(number));
    });
}

TEST_F(Window, NoDragMakesItSmallerThanItsContents) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Drag(kWindowWidth - 2, 200, -600, 0);
    EXPECT_TRUE(support::WaitUntil([&] { return player.MainArea().width == 530; }, 15s));
    player.Drag(300, player.MainArea().height - 2, 0, -450);
    // The last step that would leave both sides too small is left out.
    EXPECT_TRUE(support::WaitUntil([&] { return player.MainArea().height < kWindowHeight; }, 15s));
    EXPECT_GE(player.MainArea().height, 355);
    ExpectPlaysOn(player);
}

TEST_F(Window, AnotherButtonDoesNotResizeIt) {
    TestedPlayer player(m_desktop);
    const Area before = player.MainArea();
    player.Drag(before.width - 2, 200, 60, 0, 3);
    EXPECT_EQ(player.MainArea(), before);
}

// --- minimise

TEST_F(Window, MinimisedItPlaysOnAndComesBackWithItsPicture) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    const int number = player.Number();
    player.Click(before.width - kMinimiseButton, kTitleRow);
    EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_HIDDEN", true));
    EXPECT_TRUE(player.WaitForNumber(-1));
    player.Restore();
    EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_HIDDEN", false));
    EXPECT_TRUE(player.WaitForAtLeast(number + 1));
    EXPECT_TRUE(player.WaitForArea(before)) << testing::PrintToString(player.MainArea());
    ExpectPictureFills(player, VideoIn(before));
    ExpectPlaysOn(player);
}

TEST_F(Window, MinimisedWhilePausedItComesBackWithThatPicture) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    player.Key("space");
    const int number = player.StandingNumber();
    player.Click(player.MainArea().width - kMinimiseButton, kTitleRow);
    EXPECT_TRUE(player.WaitForNumber(-1));
    player.Restore();
    EXPECT_TRUE(player.WaitForNumber(number));
    EXPECT_EQ(player.StandingNumber(), number);
}

// --- above others

// Waits until the window manager has put a window's content over the whole of the area, or around it.
bool WaitUntilPlaced(PlayerRun& player, xcb_window_t window, const Area& area) {
    return support::WaitUntil(
        [&] {
            const Area placed = player.Screen().AreaOf(window);
            return placed.width == area.width && placed.x >= area.x && placed.y > area.y - 1;
        },
        15s, 10ms);
}

TEST_F(Window, AlwaysOnTopIsTheWindowManagersStateAndNeverTakesItBack) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area before = player.MainArea();
    EXPECT_FALSE(IsInState(player, "_NET_WM_STATE_ABOVE"));
    player.ChooseInContextMenu({"Down", "Down", "Down", "Right", "Return"}); // Top Display: Always
    EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_ABOVE", true));
    EXPECT_EQ(player.MainArea(), before);
    ExpectPlaysOn(player);

    // A window that another program opens at the same place stays behind.
    const xcb_window_t behind = player.Screen().Cover(before);
    EXPECT_TRUE(WaitUntilPlaced(player, behind, before));
    ExpectPlaysOn(player);
    player.Screen().Uncover(behind);

    player.ChooseInContextMenu({"Down", "Down", "Down", "Right", "Down", "Return"}); // Never
    EXPECT_TRUE(WaitForState(player, "_NET_WM_STATE_ABOVE", false));
    EXPECT_EQ(player.MainArea(), before);
    ExpectPlaysOn(player);
    const xcb_window_t above = player.Screen().Cover(before);
    EXPECT_TRUE(player.WaitForNumber(-1)) << "the window is still above others";
    player.Screen().Uncover(above);
    EXPECT_TRUE(player.WaitForAtLeast(0));
}

// --- the keyboard

TEST_F(Window, AClickOnAButtonLeavesTheKeyboardWithTheWindow) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    // Twice each, so that everything is as before: sound, playlist, and pause and play.
    const Area main = player.MainArea();
    const int row = main.height - 26;
    for (const int x : {300, 300, main.width - 54, main.width - 54, 42, 42, 237}) {
        player.Click(x, row);
        EXPECT_TRUE(player.Screen().HasKeyboard(player.Window())) << "after a click at " << x;
    }
    player.Click(355, row);              // the volume
    player.Click(400, main.height - 56); // the position
    EXPECT_TRUE(player.Screen().HasKeyboard(player.Window()));
    // Keys still work: the film stood after the frame step, and goes on.
    const int number = player.StandingNumber();
    player.Key("Right");
    EXPECT_TRUE(player.WaitForNumber(number + 1));
    player.Key("space");
    ExpectPlaysOn(player);
}

} // namespace
