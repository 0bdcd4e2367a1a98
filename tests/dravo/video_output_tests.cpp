// Pictures on the screen of a real X server, read back from it.

#include "dravo/ShmVideoOutput.h"
#include "tests/support/Pictures.h"
#include "tests/support/WaitUntil.h"
#include "tests/support/XScreen.h"
#include "tests/support/XServer.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <poll.h>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

using dravo::DrawOptions;
using dravo::MakeXVideoOutput;
using dravo::OutputState;
using dravo::VideoOutput;
using support::MakePicture;
using support::PictureSetup;
using support::Yuv;

constexpr std::uint32_t kBlack = 0x000000;
constexpr std::uint32_t kRed = 0xFF0000;
constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlue = 0x0000FF;
constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr std::uint32_t kBackground = 0x804020;
constexpr std::chrono::seconds kLimit{5};

ordune::PicturePtr Solid(const Yuv& colour, int width = 320, int height = 180,
                         const PictureSetup& setup = {}) {
    return MakePicture(
        width, height, [&](int, int) { return colour; }, setup);
}

// Upper left red, upper right green, lower left blue, lower right white.
ordune::PicturePtr Quarters(int width, int height, const PictureSetup& setup = {}) {
    return MakePicture(
        width, height,
        [&](int x, int y) {
            if (y < height / 2) return x < width / 2 ? support::kRed : support::kGreen;
            return x < width / 2 ? support::kBlue : support::kWhite;
        },
        setup);
}

class VideoOutputTest : public testing::Test {
  protected:
    explicit VideoOutputTest(const std::string& screen = "1280x1024x24",
                             const std::vector<std::string>& arguments = {})
        : m_server(screen, arguments), m_screen(m_server.Display()) {
        setenv("DISPLAY", m_server.Display().c_str(), 1);
    }

    // Lets the output read events until the pixel has the colour, as a player's loop does.
    bool BecomesWithEvents(VideoOutput& output, int x, int y, std::uint32_t colour) {
        return support::WaitUntil(
            [&] {
                pollfd descriptor{output.Descriptor(), POLLIN, 0};
                if (poll(&descriptor, 1, 5) > 0) output.HandleEvents();
                return support::AreAlike(m_screen.PixelAt(x, y), colour, 6);
            },
            kLimit);
    }

    bool BecomesGone(VideoOutput& output) {
        return support::WaitUntil([&] { return output.HandleEvents() == OutputState::Gone; }, kLimit);
    }

    support::XServer m_server;
    support::XScreen m_screen;
};

TEST_F(VideoOutputTest, APictureIsCentredWithItsAspectRatioAndBlackAroundIt) {
    const xcb_window_t window = m_screen.MakeWindow(100, 50, 640, 640);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->Show(Quarters(320, 180), {}), OutputState::Working);
    // 640 x 360 in the middle of 640 x 640: rows 140 to 499.
    EXPECT_TRUE(m_screen.WaitForPixel(100 + 10, 50 + 150, kRed));
    EXPECT_TRUE(m_screen.WaitForPixel(100 + 629, 50 + 150, kGreen));
    EXPECT_TRUE(m_screen.WaitForPixel(100 + 10, 50 + 490, kBlue));
    EXPECT_TRUE(m_screen.WaitForPixel(100 + 629, 50 + 490, kWhite));
    EXPECT_TRUE(m_screen.WaitForPixel(100 + 320, 50 + 130, kBlack));
    EXPECT_TRUE(m_screen.WaitForPixel(100 + 320, 50 + 510, kBlack));
    EXPECT_TRUE(m_screen.WaitForPixel(99, 50, 0x000000, 0)) << "nothing outside the window";
}

TEST_F(VideoOutputTest, TheWindowShowsItsOwnContentBeforeTheFirstPictureAndAfterTheOutputEnds) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->HandleEvents();
    EXPECT_TRUE(m_screen.WaitForPixel(160, 90, kBackground));
    output->Show(Solid(support::kRed), {});
    EXPECT_TRUE(m_screen.WaitForPixel(160, 90, kRed));
    output.reset();
    EXPECT_TRUE(m_screen.WaitForPixel(160, 90, kBackground));
    EXPECT_TRUE(m_screen.ChildrenOf(window).empty());
}

TEST_F(VideoOutputTest, AResizeWhilePausedDrawsThePictureInItsNewSize) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Quarters(320, 180), {});
    ASSERT_TRUE(m_screen.WaitForPixel(310, 170, kWhite));
    m_screen.Place(window, 0, 0, 800, 800); // 800 x 450 from row 175
    EXPECT_TRUE(BecomesWithEvents(*output, 790, 615, kWhite));
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 185, kRed));
    EXPECT_TRUE(BecomesWithEvents(*output, 400, 165, kBlack));
    m_screen.Place(window, 0, 0, 160, 90);
    EXPECT_TRUE(BecomesWithEvents(*output, 150, 80, kWhite));
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 10, kRed));
}

TEST_F(VideoOutputTest, WhatWasCoveredIsDrawnAgainWhilePaused) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kGreen), {});
    ASSERT_TRUE(m_screen.WaitForPixel(160, 90, kGreen));
    const xcb_window_t cover = m_screen.MakeWindow(50, 50, 200, 100, 0x123456);
    ASSERT_TRUE(m_screen.WaitForPixel(160, 90, 0x123456));
    m_screen.Destroy(cover);
    EXPECT_TRUE(BecomesWithEvents(*output, 160, 90, kGreen));
}

TEST_F(VideoOutputTest, ADestroyedWindowIsGone) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->Show(Solid(support::kRed), {}), OutputState::Working);
    m_screen.Destroy(window);
    EXPECT_TRUE(BecomesGone(*output));
    EXPECT_EQ(output->Show(Solid(support::kBlue), {}), OutputState::Gone);
    EXPECT_EQ(output->Redraw(), OutputState::Gone);
}

TEST_F(VideoOutputTest, AServerThatIsKilledIsGone) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->Show(Solid(support::kRed), {}), OutputState::Working);
    m_server.Kill();
    const ordune::PicturePtr picture = Solid(support::kBlue);
    EXPECT_TRUE(support::WaitUntil([&] { return output->Show(picture, {}) == OutputState::Gone; }, kLimit));
    EXPECT_EQ(output->HandleEvents(), OutputState::Gone);
    EXPECT_EQ(output->Redraw(), OutputState::Gone);
}

TEST_F(VideoOutputTest, ThereIsNoOutputForAWindowThatIsNotThere) {
    EXPECT_FALSE(MakeXVideoOutput(0));
    EXPECT_FALSE(MakeXVideoOutput(0x00ABCDEF));
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    m_screen.Destroy(window);
    EXPECT_FALSE(MakeXVideoOutput(window));
}

TEST_F(VideoOutputTest, ThereIsNoOutputWithoutAServer) {
    setenv("DISPLAY", ":54321", 1);
    EXPECT_FALSE(MakeXVideoOutput(1));
    unsetenv("DISPLAY");
    EXPECT_FALSE(MakeXVideoOutput(1));
}

TEST_F(VideoOutputTest, TheNewestPictureIsTheOneToBeSeen) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    for (int i = 0; i < 20; ++i) {
        output->Show(Solid(support::kRed), {});
        output->Show(Solid(support::kBlue), {});
    }
    EXPECT_TRUE(BecomesWithEvents(*output, 160, 90, kBlue));
}

TEST_F(VideoOutputTest, AWindowOfOddSizeIsFilledToItsEdges) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 333, 187);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    for (const auto quality :
         {ordune::ScaleQuality::High, ordune::ScaleQuality::Fast, ordune::ScaleQuality::Half}) {
        output->Show(Solid(support::kBlack), {});
        ASSERT_TRUE(BecomesWithEvents(*output, 332, 186, kBlack));
        output->Show(Solid(support::kWhite, 333, 187), {.quality = quality});
        EXPECT_TRUE(BecomesWithEvents(*output, 0, 0, kWhite));
        EXPECT_TRUE(BecomesWithEvents(*output, 332, 186, kWhite));
        EXPECT_TRUE(BecomesWithEvents(*output, 332, 0, kWhite));
        EXPECT_TRUE(BecomesWithEvents(*output, 0, 186, kWhite));
    }
}

TEST_F(VideoOutputTest, EveryWindowSizeHoldsItsPicture) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 1, 1);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kGreen), {});
    for (const auto& [width, height] :
         {std::pair{1, 1}, {2, 1}, {17, 9}, {641, 361}, {1280, 1024}, {3, 800}, {5, 5}}) {
        m_screen.Place(window, 0, 0, width, height);
        EXPECT_TRUE(BecomesWithEvents(*output, (width - 1) / 2, (height - 1) / 2, kGreen))
            << width << "x" << height;
    }
}

TEST_F(VideoOutputTest, ARotatedPictureStandsUprightInItsTurnedShape) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 640, 640);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Quarters(320, 160, {.rotation = 90}), {}); // 320 x 640 from column 160
    EXPECT_TRUE(m_screen.WaitForPixel(170, 10, kBlue));
    EXPECT_TRUE(m_screen.WaitForPixel(470, 10, kRed));
    EXPECT_TRUE(m_screen.WaitForPixel(170, 630, kWhite));
    EXPECT_TRUE(m_screen.WaitForPixel(470, 630, kGreen));
    EXPECT_TRUE(m_screen.WaitForPixel(150, 320, kBlack));
    EXPECT_TRUE(m_screen.WaitForPixel(490, 320, kBlack));
}

TEST_F(VideoOutputTest, AnAreaFillsTheWindowInItsOwnShape) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 400, 400);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    const ordune::PicturePtr picture = Quarters(320, 160);
    output->Show(picture, {.area = {164, 4, 140, 70}}); // green, 400 x 200 from row 100
    EXPECT_TRUE(m_screen.WaitForPixel(5, 105, kGreen));
    EXPECT_TRUE(m_screen.WaitForPixel(395, 295, kGreen));
    EXPECT_TRUE(m_screen.WaitForPixel(200, 95, kBlack));
    output->Show(picture, {.area = {4, 84, 35, 70}}); // blue, 200 x 400 from column 100: the old one is gone
    EXPECT_TRUE(m_screen.WaitForPixel(200, 5, kBlue));
    EXPECT_TRUE(m_screen.WaitForPixel(95, 200, kBlack));
    EXPECT_TRUE(m_screen.WaitForPixel(305, 200, kBlack));
}

TEST_F(VideoOutputTest, AnAreaOutsideThePictureLeavesTheWindowBlack) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 160);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Quarters(320, 160), {});
    ASSERT_TRUE(m_screen.WaitForPixel(10, 10, kRed));
    EXPECT_EQ(output->Show(Quarters(320, 160), {.area = {400, 0, 10, 10}}), OutputState::Working);
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 10, kBlack));
    output->Show(Quarters(320, 160), {});
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 10, kRed));
}

TEST_F(VideoOutputTest, ColourChangesWhatIsSeen) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    const ordune::PicturePtr grey = Solid(support::kGrey);
    output->Show(grey, {});
    ASSERT_TRUE(m_screen.WaitForPixel(160, 90, 0x808080));
    output->Show(grey, {.colour = {.brightness = 94}});
    EXPECT_TRUE(BecomesWithEvents(*output, 160, 90, 0xBCBCBC));
    output->Show(Solid(support::kRed), {.colour = {.saturation = 0}});
    EXPECT_TRUE(BecomesWithEvents(*output, 160, 90, 0x363636));
}

TEST_F(VideoOutputTest, TwoOutputsDrawIntoTheirWindowsAtOnce) {
    const xcb_window_t left = m_screen.MakeWindow(0, 0, 320, 180);
    const xcb_window_t right = m_screen.MakeWindow(400, 0, 320, 180);
    const auto first = MakeXVideoOutput(left);
    auto second = MakeXVideoOutput(right);
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    first->Show(Solid(support::kRed), {});
    second->Show(Solid(support::kBlue), {});
    EXPECT_TRUE(m_screen.WaitForPixel(160, 90, kRed));
    EXPECT_TRUE(m_screen.WaitForPixel(560, 90, kBlue));
    second.reset();
    first->Show(Solid(support::kGreen), {});
    EXPECT_TRUE(BecomesWithEvents(*first, 160, 90, kGreen));
    EXPECT_TRUE(m_screen.WaitForPixel(560, 90, kBackground));
}

TEST_F(VideoOutputTest, APictureShownWhileTheWindowIsHiddenAppearsWithTheWindow) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kRed), {});
    ASSERT_TRUE(m_screen.WaitForPixel(160, 90, kRed));
    m_screen.Unmap(window);
    output->HandleEvents();
    EXPECT_EQ(output->Show(Solid(support::kGreen), {}), OutputState::Working);
    m_screen.Map(window);
    EXPECT_TRUE(BecomesWithEvents(*output, 160, 90, kGreen));
}

TEST_F(VideoOutputTest, AnOutputMadeWhileAnAncestorIsHiddenAppearsWithIt) {
    const xcb_window_t outer = m_screen.MakeWindow(0, 0, 400, 200);
    m_screen.Unmap(outer);
    const xcb_window_t window = m_screen.MakeWindow(10, 10, 320, 180, kBackground, outer);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kGreen), {});
    m_screen.Map(outer);
    EXPECT_TRUE(BecomesWithEvents(*output, 170, 100, kGreen));
}

TEST_F(VideoOutputTest, SiblingsOfTheWindowStayAboveThePicture) {
    const xcb_window_t outer = m_screen.MakeWindow(0, 0, 400, 400);
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 400, 400, kBackground, outer);
    m_screen.MakeWindow(0, 180, 400, 40, 0x112233, outer);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kRed, 400, 400), {});
    EXPECT_TRUE(m_screen.WaitForPixel(200, 100, kRed));
    EXPECT_TRUE(m_screen.WaitForPixel(200, 300, kRed));
    EXPECT_EQ(m_screen.PixelAt(200, 200), 0x112233U);
}

TEST_F(VideoOutputTest, ClicksOnThePictureReachTheWindowsOwner) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    m_screen.ListenForInput(window);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kRed), {});
    ASSERT_TRUE(m_screen.WaitForPixel(160, 90, kRed));
    const auto clicked = support::ChildProcess::Run({"xdotool", "mousemove", "160", "90", "click", "1"},
                                                    std::chrono::seconds(10));
    ASSERT_EQ(clicked.exitCode, 0) << clicked.output;
    EXPECT_TRUE(m_screen.WaitForPress(window));
}

TEST_F(VideoOutputTest, AServerThatStandsStillHoldsNobodyUpAndGetsTheNewestPictureLater) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kRed), {});
    ASSERT_TRUE(m_screen.WaitForPixel(160, 90, kRed));
    const ordune::PicturePtr pictures[] = {Solid(support::kBlue), Solid(support::kGreen)};
    ASSERT_EQ(kill(m_server.Pid(), SIGSTOP), 0);
    auto shown = std::async(std::launch::async, [&] {
        for (int i = 0; i < 200; ++i)
            output->Show(pictures[i % 2], {});
        output->HandleEvents();
    });
    EXPECT_EQ(shown.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    ASSERT_EQ(kill(m_server.Pid(), SIGCONT), 0);
    shown.wait();
    EXPECT_TRUE(BecomesWithEvents(*output, 160, 90, kGreen));
}

struct SharedMemoryOfThisProcess {
    int segments = 0;
    int not_marked_for_removal = 0;
};

SharedMemoryOfThisProcess CountSharedMemory() {
    constexpr unsigned kMarked = 01000; // SHM_DEST
    SharedMemoryOfThisProcess found;
    std::ifstream table("/proc/sysvipc/shm");
    std::string line;
    std::getline(table, line); // headings
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string key, id, size;
        unsigned permissions = 0;
        long maker = 0;
        fields >> key >> id >> std::oct >> permissions >> std::dec >> size >> maker;
        if (maker != getpid()) continue;
        ++found.segments;
        if ((permissions & kMarked) == 0) ++found.not_marked_for_removal;
    }
    return found;
}

TEST_F(VideoOutputTest, SharedMemoryIsMarkedForRemovalAtOnceAndGoneAtTheEnd) {
    ASSERT_TRUE(std::ifstream("/proc/sysvipc/shm"));
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    auto output = dravo::ShmVideoOutput::Make(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kRed), {});
    output->Show(Solid(support::kBlue), {});
    EXPECT_TRUE(output->UsesSharedMemory());
    const SharedMemoryOfThisProcess during = CountSharedMemory();
    EXPECT_GE(during.segments, 1);
    EXPECT_LE(during.segments, 2);
    EXPECT_EQ(during.not_marked_for_removal, 0);
    output.reset();
    EXPECT_TRUE(support::WaitUntil([] { return CountSharedMemory().segments == 0; }, kLimit));
}

int OpenDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

TEST_F(VideoOutputTest, ManyOutputsOneAfterAnotherLeaveNothingBehind) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 64, 64);
    const ordune::PicturePtr picture = Solid(support::kRed);
    const int before = OpenDescriptors();
    for (int i = 0; i < 100; ++i) {
        const auto output = MakeXVideoOutput(window);
        ASSERT_TRUE(output) << i;
        EXPECT_EQ(output->Show(picture, {}), OutputState::Working);
    }
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_TRUE(support::WaitUntil([&] { return m_screen.ChildrenOf(window).empty(); }, kLimit));
    EXPECT_TRUE(support::WaitUntil([] { return CountSharedMemory().segments == 0; }, kLimit));
}

TEST_F(VideoOutputTest, AnOutputEndsCleanlyAfterItsServer) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Solid(support::kRed), {});
    m_server.Kill();
    output.reset();
    EXPECT_FALSE(MakeXVideoOutput(window));
    EXPECT_EQ(CountSharedMemory().segments, 0);
}

TEST_F(VideoOutputTest, AWindowThatTakesNoPictureIsRefused) {
    const xcb_window_t window = xcb_generate_id(m_screen.Raw());
    xcb_create_window(m_screen.Raw(), 0, window, m_screen.Root(), 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    m_screen.Sync();
    EXPECT_FALSE(MakeXVideoOutput(window));
}

class WithoutSharedMemory : public VideoOutputTest {
  protected:
    WithoutSharedMemory() : VideoOutputTest("1280x1024x24", {"-extension", "MIT-SHM"}) {}
};

TEST_F(WithoutSharedMemory, PicturesGoThroughTheConnection) {
    // Larger than one request may be where requests are short, and with rows of an odd length.
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 1279, 1023);
    const auto output = dravo::ShmVideoOutput::Make(window);
    ASSERT_TRUE(output);
    EXPECT_FALSE(output->UsesSharedMemory());
    EXPECT_EQ(output->Show(Quarters(1280, 1024), {}), OutputState::Working);
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 10, kRed));
    EXPECT_TRUE(BecomesWithEvents(*output, 1270, 10, kGreen));
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 1010, kBlue));
    EXPECT_TRUE(BecomesWithEvents(*output, 1270, 1010, kWhite));
}

TEST_F(WithoutSharedMemory, ResizingAndUncoveringDrawAgain) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 320, 180);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    for (int i = 0; i < 10; ++i)
        output->Show(Quarters(320, 180), {});
    ASSERT_TRUE(BecomesWithEvents(*output, 310, 170, kWhite));
    m_screen.Place(window, 0, 0, 800, 450);
    EXPECT_TRUE(BecomesWithEvents(*output, 790, 440, kWhite));
    const xcb_window_t cover = m_screen.MakeWindow(0, 0, 400, 225, 0x123456);
    ASSERT_TRUE(m_screen.WaitForPixel(10, 10, 0x123456));
    m_screen.Destroy(cover);
    EXPECT_TRUE(BecomesWithEvents(*output, 10, 10, kRed));
}

TEST(UnreachableSharedMemory, MakesPicturesGoThroughTheConnection) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can start a server that may not have this process's memory";
    constexpr uid_t kNobody = 65534;
    const support::XServer server("640x480x24", {},
                                  {.environment = {}, .workingDirectory = "/", .user = kNobody});
    support::XScreen screen(server.Display());
    setenv("DISPLAY", server.Display().c_str(), 1);
    const xcb_window_t window = screen.MakeWindow(0, 0, 320, 180);
    const auto output = dravo::ShmVideoOutput::Make(window);
    ASSERT_TRUE(output);
    EXPECT_TRUE(output->UsesSharedMemory());
    output->Show(Solid(support::kGreen), {});
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            EXPECT_EQ(output->HandleEvents(), OutputState::Working);
            return support::AreAlike(screen.PixelAt(160, 90), kGreen, 6);
        },
        kLimit));
    EXPECT_FALSE(output->UsesSharedMemory());
}

class SixteenBitScreen : public VideoOutputTest {
  protected:
    SixteenBitScreen() : VideoOutputTest("640x480x16") {}
};

TEST_F(SixteenBitScreen, PicturesAreDrawnInItsColours) {
    const xcb_window_t window = m_screen.MakeWindow(0, 0, 321, 181);
    const auto output = MakeXVideoOutput(window);
    ASSERT_TRUE(output);
    output->Show(Quarters(321, 181), {});
    const auto becomes = [&](int x, int y, std::uint32_t pixel) {
        return support::WaitUntil(
            [&] {
                output->HandleEvents();
                return (m_screen.PixelAt(x, y) & 0xFFFF) == pixel;
            },
            kLimit);
    };
    EXPECT_TRUE(becomes(300, 170, 0xFFFF)); // white
    EXPECT_TRUE(becomes(20, 20, 0xF800));   // red
    EXPECT_TRUE(becomes(300, 20, 0x07E0));  // green
    EXPECT_TRUE(becomes(20, 170, 0x001F));  // blue
}

} // namespace
