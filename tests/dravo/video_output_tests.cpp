// Pictures on the screen of a real X server, read back from it.

#include "dravo/ShmVideoOutput.h"
#include "tests/support/Pictures.h"
#include "tests/support/WaitUntil.h"
#include "tests/support/XScreen.h"
#include "tests/support/XServer.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>

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

} // namespace
