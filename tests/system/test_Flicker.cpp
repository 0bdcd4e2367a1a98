// What must never be seen, not even for a moment: grounds of the window or of the toolkit where the picture
// is, and the plain push button under a skin button's image.
#include "tests/system/ScreenWatcher.h"
#include "tests/system/WindowTest.h"

#include <functional>
#include <map>
#include <optional>
#include <set>

using namespace system_tests;

namespace {

constexpr std::uint32_t kBlack = 0x000000;

// The colour that more than half of the pixels have; nothing when there is none, as in any row of the film
// below its bar code.
std::optional<std::uint32_t> PlainColour(const Shot& shot) {
    std::map<std::uint32_t, std::size_t> counts;
    for (const std::uint32_t pixel : shot.pixels) {
        if (++counts[pixel] * 2 > shot.pixels.size()) return pixel;
    }
    return std::nullopt;
}

class Flicker : public WindowTest {
  protected:
    void Watch(const char* what, const Area& area, const std::function<bool(const Shot&)>& isRight,
               const std::function<void()>& doing) {
        ScreenWatcher watcher(m_desktop.Display(), area, isRight);
        doing();
        watcher.Stop();
        EXPECT_GT(watcher.Looks(), 10) << what;
        const Shot& wrong = watcher.Wrong();
        EXPECT_TRUE(wrong.pixels.empty())
            << what << ": " << std::hex << PlainColour(wrong).value_or(wrong.pixels.front()) << " was seen";
    }

    // A row of the film, or one of these colours.
    static std::function<bool(const Shot&)> FilmOr(const std::set<std::uint32_t>& colours) {
        return [colours](const Shot& shot) {
            const auto plain = PlainColour(shot);
            return !plain || colours.contains(*plain);
        };
    }
};

TEST_F(Flicker, NoForeignGroundIsSeenWhileAFilmIsWorkedWith) {
    TestedPlayer player(m_desktop);
    OpenFilm(player);
    const Area main = player.MainArea();
    const Area video = VideoIn(main);
    const Area row = {video.x + 100, video.y + 150, 300, 1}; // inside the picture whatever follows
    const auto film = FilmOr({});

    const auto hoverPanel = [&] {
        for (int i = 0; i < 3; ++i) {
            player.MoveTo(300, 40);
            std::this_thread::sleep_for(100ms); // some pictures
            player.MoveTo(300, 200);
            std::this_thread::sleep_for(100ms);
        }
    };
    Watch("the panel comes and goes", row, film, hoverPanel);
    Watch("under the panel", {video.x + 100, video.y + 14, 300, 1}, FilmOr({kGround, kBlack}), hoverPanel);

    const auto resize = [&] {
        player.Drag(main.width - 2, main.height - 2, 100, 80);
        player.Drag(main.width + 98, main.height + 78, -100, -80);
        EXPECT_TRUE(player.WaitForArea(main));
    };
    Watch("resized while it plays", row, film, resize);
    player.Key("space");
    EXPECT_GE(player.StandingNumber(), 0);
    Watch("resized while it stands", row, film, resize);

    // The sound button, 35 x 25: its corners have the bar's colour in every state.
    const Area button = {main.x + 283, main.y + main.height - 38, 35, 25};
    Watch(
        "a button hovered and pressed", button,
        [](const Shot& shot) { return shot.pixels.front() == kGround && shot.pixels.back() == kGround; },
        [&] {
            for (int i = 0; i < 2; ++i) {
                player.Click(300, main.height - 26);
                player.MoveTo(300, main.height - 80);
            }
        });

    Watch("another opening", row, FilmOr({kIdle, kBlack}), [&] {
        player.DoubleClick(main.width - 90, 32 + 8); // the playlist's entry
        player.MoveAway();
        ExpectPlaysOn(player);
    });
    Watch("stopping", row, FilmOr({kIdle}), [&] {
        player.Key("ctrl+s");
        EXPECT_TRUE(player.WaitForNumber(-1));
    });
    player.Key("space");
    EXPECT_TRUE(player.WaitForAtLeast(3));
    Watch("closing", row, FilmOr({kIdle}), [&] {
        player.Key("ctrl+c");
        EXPECT_TRUE(support::WaitUntil([&] { return player.MainArea().width == 750; }, 15s));
    });
}

} // namespace
