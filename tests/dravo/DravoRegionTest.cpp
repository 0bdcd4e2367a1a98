// Parts of the picture in further windows, colour and quality, read back from the screen.
#include "tests/dravo/ScreenFixture.h"

namespace {

using namespace dravo_tests;

constexpr Place kMain{0, 0, 320, 180};
constexpr Place kFurther{400, 0, 160, 90};
// In the picture's lower half, where the content is colourful.
constexpr DravoRect kPart{80, 60, 240, 150};
constexpr Place kPartPlace{80, 60, 160, 90};

const std::string& LongFilm() {
    return Clip("regions.mp4", {.frames = 1500, .keyInterval = 25, .bFrames = 2});
}

class RegionTest : public ScreenTest {
  protected:
    // Waits until `place` shows that part of the main picture. Scaling differs by a little at edges.
    bool ShowsPart(const Place& place, const Place& part) {
        return support::WaitUntil([&] { return Difference(See(place), See(kMain).Part(part)) < 3.0; }, 10s);
    }
    // Waits until what is to be seen fulfils the condition.
    template <class Condition>
    bool Becomes(const Place& place, Condition condition) {
        return support::WaitUntil([&] { return condition(See(place)); }, 10s);
    }
};

TEST_F(RegionTest, FifteenFurtherWindowsShowTheirPartsAtOnceWhilePaused) {
    const OpenPort port(LongFilm());
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    for (int region = 1; region <= 15; ++region) {
        const int left = (region - 1) % 5 * 48 + 20;
        const int top = (region - 1) / 5 * 40 + 20;
        const DravoRect rect{left, top, left + 64, top + 48};
        const Place place{400 + region % 8 * 80, region / 8 * 80, 64, 48};
        ASSERT_TRUE(
            Dravo_SetDisplayRegion(port, static_cast<unsigned long>(region), &rect, MakeWindow(place), 1))
            << region;
        EXPECT_TRUE(ShowsPart(place, {left, top, 64, 48})) << region;
        EXPECT_GT(Difference(See(place), See(kMain).Part({left < 160 ? left + 60 : left - 60, top, 64, 48})),
                  10.0)
            << "another part would have been told from it";
    }
    EXPECT_EQ(CodeAt(kMain), 60) << "the main picture stays whole";
}

TEST_F(RegionTest, AFurtherWindowFollowsThePictureAndChangesOfItsRectangle) {
    const OpenPort port(LongFilm());
    const xcb_window_t further = MakeWindow(kFurther);
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 3, &kPart, further, 1));
    ASSERT_TRUE(ShowsPart(kFurther, kPartPlace));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 90));
    ASSERT_TRUE(Shows(kMain, 90));
    EXPECT_TRUE(ShowsPart(kFurther, kPartPlace));
    const DravoRect other{20, 80, 180, 170};
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 3, &other, further, 1));
    EXPECT_TRUE(ShowsPart(kFurther, {20, 80, 160, 90})) << "while paused, with no other call";
    const DravoRect empty{0, 0, 0, 0};
    constexpr Place kWhole{400, 200, 320, 180};
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 3, &empty, MakeWindow(kWhole), 1));
    EXPECT_TRUE(Shows(kWhole, 90)) << "an empty one shows the whole picture; the window is another one";
    EXPECT_TRUE(ShowsBackground(kFurther));
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(Advances(kWhole));
}

TEST_F(RegionTest, TheMainPictureIsCutByItsRectangle) {
    const OpenPort port(LongFilm());
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    const Grab whole = See(kMain);
    const DravoRect upper{0, 0, 160, 90};
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 0, &upper, 0, 1));
    // Its left half alone is enlarged: what was at the quarter is now in the middle.
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return Difference(now, whole) > 10.0; }));
    const auto shows_enlarged = [&](const Grab& now) {
        double sum = 0.0;
        for (int y = 30; y < 80; ++y) {
            for (int x = 10; x < 150; ++x)
                sum += std::abs(now.At(2 * x, 2 * y, 1) - whole.At(x, y, 1));
        }
        return sum / (50 * 140) < 12.0;
    };
    EXPECT_TRUE(Becomes(kMain, shows_enlarged));
    EXPECT_FALSE(shows_enlarged(whole)) << "the whole picture would have been told from it";
    const DravoRect empty{0, 0, 0, 0};
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 0, &empty, 0, 1));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return now == whole; }));
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 0, &upper, 0, 1));
    ASSERT_TRUE(Becomes(kMain, shows_enlarged));
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 0, nullptr, 0, 0));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return now == whole; }));
}

TEST_F(RegionTest, EndsWhenItIsDisabledAndCanBeginAgain) {
    const OpenPort port(LongFilm());
    const xcb_window_t further = MakeWindow(kFurther);
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    EXPECT_FALSE(Dravo_RefreshPlayEx(port, 2)) << "not set yet";
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 2, &kPart, further, 1));
    ASSERT_TRUE(ShowsPart(kFurther, kPartPlace));
    EXPECT_TRUE(Dravo_RefreshPlayEx(port, 2));
    EXPECT_FALSE(Dravo_RefreshPlayEx(port, 1)) << "another one";
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 2, nullptr, 0, 0));
    EXPECT_TRUE(ShowsBackground(kFurther));
    EXPECT_FALSE(Dravo_RefreshPlayEx(port, 2));
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 2, &kPart, further, 1));
    EXPECT_TRUE(ShowsPart(kFurther, kPartPlace));
}

TEST_F(RegionTest, EndsWithTheFile) {
    const OpenPort port(LongFilm());
    const xcb_window_t main = MakeWindow(kMain);
    PlayHalted(port, main, kMain, 60);
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 5, &kPart, MakeWindow(kFurther), 1));
    ASSERT_TRUE(ShowsPart(kFurther, kPartPlace));
    ASSERT_TRUE(Dravo_CloseFile(port));
    EXPECT_TRUE(ShowsBackground(kFurther));
    EXPECT_TRUE(ShowsBackground(kMain));
    ASSERT_TRUE(Dravo_OpenFile(port, LongFilm().c_str()));
    EXPECT_FALSE(Dravo_RefreshPlayEx(port, 5));
    PlayHalted(port, main, kMain, 60);
    EXPECT_TRUE(ShowsBackground(kFurther));
}

TEST_F(RegionTest, SetBeforePlayingItShowsThePictureOncePlaying) {
    const OpenPort port(LongFilm());
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 1, &kPart, MakeWindow(kFurther), 1));
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    EXPECT_TRUE(ShowsPart(kFurther, kPartPlace));
}

TEST_F(RegionTest, AWindowThatIsDestroyedLeavesTheOthersAlone) {
    const OpenPort port(LongFilm());
    const xcb_window_t further = MakeWindow(kFurther);
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 1, &kPart, further, 1));
    ASSERT_TRUE(ShowsPart(kFurther, kPartPlace));
    m_screen.Destroy(further);
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(Advances(kMain));
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 1, &kPart, MakeWindow(kFurther), 1)) << "into a new window";
    EXPECT_FALSE(Dravo_SetDisplayRegion(port, 2, &kPart, 0x1FFFFFFF, 1)) << "none at all";
    ASSERT_TRUE(Dravo_Pause(port, 1));
    EXPECT_TRUE(ShowsPart(kFurther, kPartPlace));
}

TEST_F(RegionTest, ColourChangesThePausedPictureAndNeutralBringsItBackToTheBit) {
    const OpenPort port(LongFilm());
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    const Grab before = See(kMain);
    ASSERT_GT(before.Colourfulness(), 20.0) << "a grey film would show nothing of saturation";
    ASSERT_TRUE(Dravo_SetColor(port, 0, 128, 64, 64, 64));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return now.Brightness() > before.Brightness() + 30; }));
    ASSERT_TRUE(Dravo_SetColor(port, 0, 0, 64, 64, 64));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return now.Brightness() < before.Brightness() - 30; }));
    ASSERT_TRUE(Dravo_SetColor(port, 0, 64, 64, 0, 64));
    EXPECT_TRUE(Becomes(kMain, [](const Grab& now) { return now.Colourfulness() < 2.0; }));
    ASSERT_TRUE(Dravo_SetColor(port, 0, 64, 64, 64, 64));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return now == before; }));
    ASSERT_TRUE(Dravo_SetColor(port, 0, 64, 64, 64, 100));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) {
        return Difference(now, before) > 5.0 && now.Colourfulness() > 10.0;
    })) << "hue turns colours and keeps them";
    EXPECT_FALSE(Dravo_SetColor(port, 0, 64, 64, 64, 129));
    ASSERT_TRUE(Dravo_SetColor(port, 0, 64, 64, 64, 64));
    EXPECT_TRUE(Becomes(kMain, [&](const Grab& now) { return now == before; }));
}

TEST_F(RegionTest, EachRegionHasItsOwnColour) {
    const OpenPort port(LongFilm());
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 1, &kPart, MakeWindow(kFurther), 1));
    ASSERT_TRUE(ShowsPart(kFurther, kPartPlace));
    const Grab main = See(kMain);
    const Grab further = See(kFurther);
    ASSERT_TRUE(Dravo_SetColor(port, 1, 64, 64, 0, 64));
    EXPECT_TRUE(Becomes(kFurther, [](const Grab& now) { return now.Colourfulness() < 2.0; }));
    EXPECT_EQ(See(kMain), main);
    ASSERT_TRUE(Dravo_SetColor(port, 1, 64, 64, 64, 64));
    ASSERT_TRUE(Dravo_SetColor(port, 0, 64, 64, 0, 64));
    EXPECT_TRUE(Becomes(kMain, [](const Grab& now) { return now.Colourfulness() < 2.0; }));
    EXPECT_TRUE(Becomes(kFurther, [&](const Grab& now) { return now == further; }));
}

TEST_F(RegionTest, StillsKnowNothingOfColourRegionsAndQuality) {
    const OpenPort port(LongFilm());
    PlayHalted(port, MakeWindow(kMain), kMain, 60);
    const auto still = [&] {
        std::vector<std::uint8_t> bytes(320 * 180 * 4);
        unsigned long written = 0;
        EXPECT_TRUE(Dravo_GetBMP(port, bytes.data(), bytes.size(), &written));
        bytes.resize(written);
        return bytes;
    };
    const std::vector<std::uint8_t> before = still();
    const Grab seen = See(kMain);
    ASSERT_TRUE(Dravo_SetColor(port, 0, 128, 100, 0, 30));
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 0, &kPart, 0, 1));
    ASSERT_TRUE(Dravo_SetDisplayRegion(port, 1, &kPart, MakeWindow(kFurther), 1));
    ASSERT_TRUE(Dravo_SetPicQuality(port, 0));
    ASSERT_TRUE(Dravo_SetDisplayType(port, 2));
    ASSERT_TRUE(Becomes(kMain, [&](const Grab& now) { return Difference(now, seen) > 20.0; }));
    EXPECT_EQ(still(), before);
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 61));
    ASSERT_TRUE(port.WaitForPicture(61));
    EXPECT_EQ(port.StillNumber(), 61) << "a new picture's as well";
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 60));
    EXPECT_EQ(still(), before);
}

TEST_F(RegionTest, QualityAndResolutionAreToBeSeenInThePausedPicture) {
    const std::string& film = Clip("quality.mp4", {.width = 640, .height = 360, .keyInterval = 25});
    const OpenPort port(film);
    constexpr Place kSmaller{0, 0, 480, 270};
    PlayHalted(port, MakeWindow(kSmaller), kSmaller, 30);
    const Grab high = See(kSmaller);
    ASSERT_TRUE(Dravo_SetPicQuality(port, 0));
    EXPECT_TRUE(Becomes(kSmaller, [&](const Grab& now) { return Difference(now, high) > 0.3; }));
    EXPECT_EQ(CodeAt(kSmaller), 30);
    ASSERT_TRUE(Dravo_SetPicQuality(port, 1));
    EXPECT_TRUE(Becomes(kSmaller, [&](const Grab& now) { return now == high; }));
    ASSERT_TRUE(Dravo_SetDisplayType(port, 2));
    EXPECT_TRUE(Becomes(kSmaller, [&](const Grab& now) { return Difference(now, high) > 0.3; }));
    EXPECT_EQ(CodeAt(kSmaller), 30);
    ASSERT_TRUE(Dravo_OneByOne(port));
    EXPECT_TRUE(Shows(kSmaller, 31));
    ASSERT_TRUE(Dravo_OneByOneBack(port));
    ASSERT_TRUE(Dravo_SetDisplayType(port, 1));
    EXPECT_TRUE(Becomes(kSmaller, [&](const Grab& now) { return now == high; }));
}

} // namespace
