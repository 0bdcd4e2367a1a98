// Playing into windows of a real X server: what is to be seen there, read back from its pixels.
#include "tests/dravo/ScreenFixture.h"
#include "tests/support/CallTimes.h"

namespace {

using namespace dravo_tests;

constexpr Place kFirst{0, 0, 320, 180};
constexpr Place kSecond{400, 0, 320, 180};
constexpr int kRounds = 3;

// The long film goes on for as long as any of these tests.
const std::string& LongFilm() {
    return Clip("window.mp4", {.frames = 1500, .keyInterval = 25, .bFrames = 2});
}

class WindowTest : public ScreenTest {};

// Everything that a program calls for a file, on a port that plays into a window that is no more.
void CallEverything(support::CallTimes& time, const OpenPort& port, xcb_window_t gone) {
    const DravoRect part{0, 0, 160, 90};
    EXPECT_TRUE(time("Pause", [&] { return Dravo_Pause(port, 1); }));
    EXPECT_TRUE(time("RefreshPlay", [&] { return Dravo_RefreshPlay(port); }));
    EXPECT_TRUE(time("RefreshPlayEx", [&] { return Dravo_RefreshPlayEx(port, 0); }));
    EXPECT_TRUE(time("SetDisplayRegion", [&] { return Dravo_SetDisplayRegion(port, 0, &part, gone, 1); }));
    EXPECT_TRUE(time("SetDisplayRegion", [&] { return Dravo_SetDisplayRegion(port, 0, &part, gone, 0); }));
    EXPECT_TRUE(time("SetColor", [&] { return Dravo_SetColor(port, 0, 70, 64, 64, 64); }));
    EXPECT_TRUE(time("OneByOne", [&] { return Dravo_OneByOne(port); }));
    EXPECT_TRUE(time("OneByOneBack", [&] { return Dravo_OneByOneBack(port); }));
    EXPECT_TRUE(time("SetCurrentFrameNum", [&] { return Dravo_SetCurrentFrameNum(port, 300); }));
    EXPECT_EQ(time("GetBMP", [&] { return port.StillNumber(); }), 300);
    EXPECT_TRUE(time("Pause off", [&] { return Dravo_Pause(port, 0); }));
    EXPECT_TRUE(time("Fast", [&] { return Dravo_Fast(port); }));
    EXPECT_TRUE(time("Slow", [&] { return Dravo_Slow(port); }));
    EXPECT_FALSE(time("Play", [&] { return Dravo_Play(port, gone); }));
    EXPECT_TRUE(time("Stop", [&] { return Dravo_Stop(port); }));
    EXPECT_FALSE(time("Play from stop", [&] { return Dravo_Play(port, gone); }));
    EXPECT_TRUE(time("CloseFile", [&] { return Dravo_CloseFile(port); }));
    EXPECT_TRUE(time("OpenFile", [&] { return Dravo_OpenFile(port, LongFilm().c_str()); }));
    EXPECT_TRUE(time("Play without a window", [&] { return Dravo_Play(port, 0); }));
    EXPECT_TRUE(time("CloseFile", [&] { return Dravo_CloseFile(port); }));
}

TEST_F(WindowTest, ThePictureToBeSeenWhilePausedIsTheCurrentFrame) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    ASSERT_TRUE(Dravo_Play(port, window));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() >= 7; }, 10s));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    EXPECT_TRUE(Shows(kFirst, Dravo_GetCurrentFrameNum(port)));
    for (const unsigned long frame : {0UL, 137UL, 1499UL, 26UL}) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        EXPECT_TRUE(Shows(kFirst, frame)) << frame;
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), frame);
    }
    ASSERT_TRUE(Dravo_OneByOne(port));
    EXPECT_TRUE(Shows(kFirst, 27));
    ASSERT_TRUE(Dravo_OneByOneBack(port));
    ASSERT_TRUE(Dravo_OneByOneBack(port));
    EXPECT_TRUE(Shows(kFirst, 25));
}

TEST_F(WindowTest, ThePictureMovesOnWhilePlayingAndNeverBack) {
    const OpenPort port(LongFilm());
    ASSERT_TRUE(Dravo_Play(port, MakeWindow(kFirst)));
    std::vector<int> seen;
    ASSERT_TRUE(support::WaitUntil(
        [&] {
            const int code = CodeAt(kFirst);
            if (code >= 0 && (seen.empty() || code != seen.back())) seen.push_back(code);
            return seen.size() >= 12;
        },
        20s));
    for (std::size_t index = 1; index < seen.size(); ++index)
        EXPECT_GT(seen[index], seen[index - 1]);
}

TEST_F(WindowTest, PlayingGoesOnInAnotherWindow) {
    const OpenPort port(LongFilm());
    const xcb_window_t first = MakeWindow(kFirst);
    const xcb_window_t second = MakeWindow(kSecond);
    ASSERT_TRUE(Dravo_Play(port, first));
    ASSERT_TRUE(Advances(kFirst));
    const int before = CodeAt(kFirst);
    ASSERT_TRUE(Dravo_Play(port, second));
    EXPECT_TRUE(Advances(kSecond));
    EXPECT_GE(CodeAt(kSecond), before) << "it did not begin anew";
    EXPECT_TRUE(ShowsBackground(kFirst)) << "the first one is its owner's again";
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(ShowsBackground(kSecond));
    port.Pictures().Clear();
    EXPECT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() >= 3; }, 10s)) << "without drawing";
}

TEST_F(WindowTest, APausedPictureMovesToAnotherWindowAndStaysPaused) {
    const OpenPort port(LongFilm());
    const xcb_window_t second = MakeWindow(kSecond);
    PlayHalted(port, MakeWindow(kFirst), kFirst, 40);
    ASSERT_TRUE(Dravo_Play(port, second));
    EXPECT_TRUE(Shows(kSecond, 40));
    EXPECT_TRUE(ShowsBackground(kFirst));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 40U);
    EXPECT_FALSE(support::WaitUntil([&] { return Dravo_GetCurrentFrameNum(port) != 40; }, 300ms));
    EXPECT_EQ(CodeAt(kSecond), 40);
    ASSERT_TRUE(Dravo_OneByOne(port));
    EXPECT_TRUE(Shows(kSecond, 41));
}

TEST_F(WindowTest, AnIdThatIsNoWindowFailsAndLeavesTheOutputAlone) {
    constexpr unsigned int kNoWindow = 0x1FFFFFFF;
    const OpenPort port(LongFilm());
    EXPECT_FALSE(Dravo_Play(port, kNoWindow));
    EXPECT_FALSE(Dravo_Pause(port, 1)) << "the port is still stopped";
    const xcb_window_t window = MakeWindow(kFirst);
    ASSERT_TRUE(Dravo_Play(port, window));
    ASSERT_TRUE(Advances(kFirst));
    EXPECT_FALSE(Dravo_Play(port, kNoWindow));
    EXPECT_TRUE(Advances(kFirst));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    EXPECT_FALSE(Dravo_Play(port, kNoWindow));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 300));
    EXPECT_TRUE(Shows(kFirst, 300));
}

TEST_F(WindowTest, ADestroyedWindowEndsTheDrawingAndNothingElse) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    ASSERT_TRUE(Dravo_Play(port, window));
    ASSERT_TRUE(Advances(kFirst));
    m_screen.Destroy(window);
    port.Pictures().Clear();
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() >= 10; }, 10s));
    ASSERT_TRUE(Dravo_Play(port, MakeWindow(kSecond)));
    EXPECT_TRUE(Advances(kSecond));
    ASSERT_TRUE(Dravo_Stop(port));
    EXPECT_TRUE(ShowsBackground(kSecond));
}

TEST_F(WindowTest, StopWorksAfterTheWindowWasDestroyed) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    ASSERT_TRUE(Dravo_Play(port, window));
    ASSERT_TRUE(Advances(kFirst));
    m_screen.Destroy(window);
    EXPECT_TRUE(Dravo_Stop(port));
    PlayHalted(port, MakeWindow(kSecond), kSecond, 12);
}

TEST_F(WindowTest, ADestroyedWindowHoldsNoCallUp) {
    support::CallTimes times;
    for (int round = 0; round < kRounds; ++round) {
        const OpenPort port(LongFilm());
        const xcb_window_t window = MakeWindow(kFirst);
        ASSERT_TRUE(Dravo_Play(port, window));
        ASSERT_TRUE(Advances(kFirst));
        m_screen.Destroy(window);
        CallEverything(times, port, window);
    }
    EXPECT_LE(times.Slowest(), support::CallTimes::kLongest) << times;
    RecordProperty("slowest_ms", std::to_string(times.Slowest().count()));
}

TEST_F(WindowTest, AServerThatEndsHoldsNoCallUp) {
    support::CallTimes times;
    for (int round = 0; round < kRounds; ++round) {
        support::XServer server;
        setenv("DISPLAY", server.Display().c_str(), 1);
        support::XScreen screen(server.Display());
        const OpenPort port(LongFilm());
        const xcb_window_t window = screen.MakeWindow(0, 0, 320, 180);
        ASSERT_TRUE(Dravo_Play(port, window));
        ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() >= 3; }, 10s));
        server.Kill();
        CallEverything(times, port, window);
    }
    EXPECT_LE(times.Slowest(), support::CallTimes::kLongest) << times;
    RecordProperty("slowest_ms", std::to_string(times.Slowest().count()));
}

TEST_F(WindowTest, APausedPictureFollowsTheWindowsSizeAndPlace) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    PlayHalted(port, window, kFirst, 33);
    for (const Place& place :
         {Place{100, 200, 640, 360}, Place{10, 10, 320, 180}, Place{600, 500, 480, 270}}) {
        m_screen.Place(window, place.x, place.y, place.width, place.height);
        EXPECT_TRUE(Shows(place, 33)) << place.width;
    }
    // A window of another shape: the picture is in its middle, black above and below.
    m_screen.Place(window, 0, 0, 320, 380);
    EXPECT_TRUE(Shows({0, 100, 320, 180}, 33));
    EXPECT_TRUE(m_screen.WaitForPixel(160, 50, 0x000000));
    EXPECT_TRUE(m_screen.WaitForPixel(160, 330, 0x000000));
}

TEST_F(WindowTest, PlayingGoesOnWhileTheWindowIsResizedMovedCoveredAndHidden) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    ASSERT_TRUE(Dravo_Play(port, window));
    ASSERT_TRUE(Advances(kFirst));
    // Dragged: a size for each few milliseconds.
    for (int size = 0; size < 60; ++size)
        m_screen.Place(window, size, size, 320 + size * 4, 180 + size * 3);
    const Place dragged{100, 100, 480, 270};
    m_screen.Place(window, dragged.x, dragged.y, dragged.width, dragged.height);
    EXPECT_TRUE(Advances(dragged));
    for (int round = 0; round < 5; ++round) {
        const xcb_window_t cover = m_screen.MakeWindow(0, 0, 400, 300, 0x123456);
        ASSERT_TRUE(m_screen.WaitForPixel(150, 150, 0x123456));
        const int before = port.Pictures().Last();
        ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > before + 2; }, 10s))
            << "covered";
        m_screen.Destroy(cover);
        EXPECT_TRUE(Advances(dragged)) << round;
        m_screen.Unmap(window);
        const int hidden = port.Pictures().Last();
        ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > hidden + 2; }, 10s)) << "hidden";
        m_screen.Map(window);
        EXPECT_TRUE(Advances(dragged)) << round;
    }
    EXPECT_TRUE(Dravo_Stop(port));
}

TEST_F(WindowTest, TheEndOfTheServerEndsTheDrawingAndNothingElse) {
    const OpenPort port(LongFilm());
    const OpenPort further(LongFilm());
    ASSERT_TRUE(Dravo_Play(port, MakeWindow(kFirst)));
    PlayHalted(further, MakeWindow(kSecond), kSecond, 70);
    ASSERT_TRUE(Advances(kFirst));
    m_server.Kill();
    port.Pictures().Clear();
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() >= 10; }, 10s));
    EXPECT_FALSE(Dravo_Play(port, 1234)) << "there is no window any more";
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 700));
    EXPECT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > 702; }, 10s));
    ASSERT_TRUE(Dravo_OneByOne(further));
    EXPECT_EQ(further.StillNumber(), 71);
    EXPECT_TRUE(Dravo_RefreshPlay(further));
    EXPECT_TRUE(Dravo_Stop(port));
    EXPECT_TRUE(Dravo_CloseFile(further));
    // On another server it plays again.
    const support::XServer server;
    setenv("DISPLAY", server.Display().c_str(), 1);
    support::XScreen screen(server.Display());
    EXPECT_TRUE(Dravo_Play(port, screen.MakeWindow(0, 0, 320, 180)));
    EXPECT_TRUE(Dravo_Stop(port));
}

TEST_F(WindowTest, APictureOfAnotherSizeAndShapeFitsTheWindowAgain) {
    const OpenPort port(Clip("reshaped.264", {.frames = 60,
                                              .keyInterval = 15,
                                              .container = support::ClipContainer::RawStream,
                                              .sizeChanges = {{.frame = 30, .width = 288, .height = 288}}}));
    const xcb_window_t window = MakeWindow(kFirst);
    const Place square{70, 0, 180, 180};
    PlayHalted(port, window, kFirst, 20);
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(Shows(square, 59)) << "the last one stays";
    EXPECT_TRUE(m_screen.WaitForPixel(30, 90, 0x000000));
    EXPECT_TRUE(m_screen.WaitForPixel(290, 90, 0x000000));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 29));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 29));
    EXPECT_TRUE(Shows(kFirst, 29));
}

TEST_F(WindowTest, APausedPictureComesBackWhereItWasCoveredOrHidden) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    PlayHalted(port, window, kFirst, 55);
    const Grab before = See(kFirst);
    for (int round = 0; round < 5; ++round) {
        const xcb_window_t cover = m_screen.MakeWindow(0, 0, 200, 100, 0x123456);
        ASSERT_TRUE(m_screen.WaitForPixel(50, 50, 0x123456));
        m_screen.Destroy(cover);
        EXPECT_TRUE(support::WaitUntil([&] { return See(kFirst) == before; }, 10s)) << round;
    }
    m_screen.Unmap(window);
    ASSERT_NE(CodeAt(kFirst), 55);
    m_screen.Map(window);
    EXPECT_TRUE(support::WaitUntil([&] { return See(kFirst) == before; }, 10s));
}

TEST_F(WindowTest, AfterStopTheWindowShowsItsOwnersContent) {
    const OpenPort port(LongFilm());
    const xcb_window_t window = MakeWindow(kFirst);
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(Dravo_Play(port, window));
        ASSERT_TRUE(Advances(kFirst));
        ASSERT_TRUE(Dravo_Stop(port));
        EXPECT_TRUE(ShowsBackground(kFirst));
        EXPECT_TRUE(m_screen.ChildrenOf(window).empty());
    }
    PlayHalted(port, window, kFirst, 3);
    ASSERT_TRUE(Dravo_CloseFile(port));
    EXPECT_TRUE(ShowsBackground(kFirst)) << "closing does it too";
}

TEST_F(WindowTest, RefreshDrawsThePausedPictureAgainAndSucceedsWithoutOne) {
    const OpenPort port(LongFilm());
    EXPECT_TRUE(Dravo_RefreshPlay(port)) << "no picture yet";
    PlayHalted(port, MakeWindow(kFirst), kFirst, 8);
    EXPECT_TRUE(Dravo_RefreshPlay(port));
    EXPECT_TRUE(Dravo_RefreshPlayEx(port, 0));
    EXPECT_TRUE(Shows(kFirst, 8));
    ASSERT_TRUE(Dravo_Stop(port));
    EXPECT_TRUE(Dravo_RefreshPlay(port)) << "stopped";
    EXPECT_TRUE(ShowsBackground(kFirst));
}

TEST_F(WindowTest, TwoPortsKeepToTheirWindows) {
    const OpenPort first(LongFilm());
    const OpenPort second(LongFilm());
    PlayHalted(first, MakeWindow(kFirst), kFirst, 100);
    PlayHalted(second, MakeWindow(kSecond), kSecond, 200);
    ASSERT_TRUE(Dravo_OneByOne(first));
    EXPECT_TRUE(Shows(kFirst, 101));
    EXPECT_EQ(CodeAt(kSecond), 200);
    ASSERT_TRUE(Dravo_Stop(first));
    EXPECT_TRUE(ShowsBackground(kFirst));
    EXPECT_EQ(CodeAt(kSecond), 200);
}

} // namespace
