// What the tests of the window itself share: where its parts lie, and whether the picture fills what is left.
#pragma once

#include "tests/system/PlayerTest.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace system_tests {

inline void PrintTo(const Area& area, std::ostream* out) {
    *out << area.width << " x " << area.height << " at " << area.x << ", " << area.y;
}

inline Area Moved(Area area, int dx, int dy) {
    area.x += dx;
    area.y += dy;
    return area;
}

inline Area Grown(Area area, int dx, int dy) {
    area.width += dx;
    area.height += dy;
    return area;
}

// Colours of the skin.
constexpr std::uint32_t kGround = 0x26282C;
constexpr std::uint32_t kWell = 0x1B1D20;
constexpr std::uint32_t kIdle = 0x141517;
constexpr std::uint32_t kMark = 0x202226;
constexpr std::uint32_t kList = 0x535353;
constexpr std::uint32_t kGlyph = 0xD5D8DD;
constexpr std::uint32_t kAccent = 0x3C87FF;

class WindowTest : public PlayerTest {
  protected:
    using PlayerTest::PlayerTest;

    static constexpr int kPlaylistWidth = 180;
    // The picture of the film, and the window that it asks for.
    static constexpr int kFilmWidth = 640;
    static constexpr int kFilmHeight = 360;
    static constexpr int kWindowWidth = kPlaylistWidth + kFilmWidth + 9;
    static constexpr int kWindowHeight = 31 + kFilmHeight + 90;

    // What a window leaves for the video between title bar, playlist, control bar and frame.
    static Area VideoIn(const Area& window, int playlist = kPlaylistWidth) {
        const int beside = playlist > 0 ? playlist + 1 : 0;
        return {window.x + 4, window.y + 32, window.width - 8 - beside, window.height - 32 - 1 - 64 - 4};
    }

    // Plays the film in a window that has taken the film's size; the clip is made on the first call.
    void OpenFilm(PlayerRun& player) {
        if (m_film.empty()) {
            // Long in time, but of few pictures: the machine is there for the window.
            support::ClipOptions options;
            options.width = kFilmWidth;
            options.height = kFilmHeight;
            options.rateNumerator = 10;
            options.frames = 1200;
            options.codecOptions = {{"preset", "ultrafast"}};
            m_film = Make("film.mp4", options);
        }
        ASSERT_TRUE(player.Open(m_film));
        ASSERT_TRUE(player.WaitForAtLeast(2));
    }

    // The surface and the library's own window in it fill the area, and the picture fills both as far as its
    // shape lets it.
    static void ExpectPictureFills(PlayerRun& player, const Area& video) {
        EXPECT_TRUE(support::WaitUntil(
            [&] {
                const auto areas = player.Screen().AreasIn(player.Window());
                return std::count(areas.begin(), areas.end(), video) >= 2;
            },
            15s, 10ms))
            << "no video of " << testing::PrintToString(video);
        EXPECT_TRUE(support::WaitUntil(
            [&] {
                if (player.Number() < 0) return false;
                const Area& picture = player.PictureArea();
                const bool inside = picture.x >= video.x && picture.y >= video.y;
                return inside && (picture.width == video.width || picture.height == video.height);
            },
            15s, 10ms))
            << "the picture lies in " << testing::PrintToString(player.PictureArea()) << ", the video in "
            << testing::PrintToString(video);
    }

    static void ExpectPlaysOn(PlayerRun& player) {
        const int number = player.Number();
        EXPECT_TRUE(player.WaitForAtLeast(number + 3)) << "stands at " << player.Number();
    }

    static bool IsInState(PlayerRun& player, const std::string& state) {
        const auto states = player.Screen().StatesOf(player.Window());
        return std::find(states.begin(), states.end(), state) != states.end();
    }

    static bool WaitForState(PlayerRun& player, const std::string& state, bool wanted) {
        return support::WaitUntil([&] { return IsInState(player, state) == wanted; }, 15s, 10ms);
    }

  private:
    std::string m_film;
};

} // namespace system_tests
