// Entries whose files go away or never were films: what still plays goes on, nothing loops, hangs or gets
// lost.
#include "tests/system/PlayerTest.h"

#include <cctype>
#include <fstream>

using namespace system_tests;

namespace fs = std::filesystem;

namespace {

class PlaylistFiles : public PlayerTest {
  protected:
    PlaylistFiles() {
        m_setup.readsTexts = true;
        Settings settings;
        settings.mediaFolder = m_media.Path().string();
        m_setup.settings = settings.Text();
    }

    // Three films of a second that show 1000, 2000 and 3000 on, in the list, the first playing.
    void OpenThree(TestedPlayer& player) {
        MakeShort("a.mp4", 1000);
        MakeShort("b.mp4", 2000);
        MakeShort("c.mp4", 3000);
        ASSERT_TRUE(player.Open("\"a.mp4\" \"b.mp4\" \"c.mp4\""));
        ASSERT_TRUE(WaitForNames(player, {"a.mp4", "b.mp4", "c.mp4"}));
    }

    static bool WaitForNames(PlayerRun& player, const std::vector<std::string>& names) {
        return support::WaitUntil([&] { return NamesIn(player) == names; }, 15s);
    }

    static bool WaitForState(PlayerRun& player, const std::string& state) {
        return support::WaitUntil([&] { return player.Texts().State() == state; }, 15s);
    }

    void ExpectPlaysByDoubleClick(PlayerRun& player, std::size_t row, int number) {
        player.DoubleClickAt(player.Texts().Playlist().at(row).place);
        EXPECT_TRUE(player.WaitForAtLeast(number));
    }

    PlayerRun::Setup m_setup;
};

using Names = std::vector<std::string>;

} // namespace

TEST_F(PlaylistFiles, AFileThatIsGoneEndsThePlayingAndKeepsItsEntry) {
    TestedPlayer player(m_desktop, m_setup);
    OpenThree(player);
    ChoosePlayMode(player, 2);
    fs::remove(m_media / "b.mp4");
    player.DoubleClickAt(player.Texts().Playlist().at(0).place);
    ASSERT_TRUE(player.WaitForAtLeast(1000));
    EXPECT_TRUE(WaitForState(player, "Ready")); // the next one could not be opened
    EXPECT_EQ(player.Number(), -1);
    player.DoubleClickAt(player.Texts().Playlist().at(1).place);
    ExpectPlaysByDoubleClick(player, 2, 3000);
    EXPECT_EQ(NamesIn(player), Names({"a.mp4", "b.mp4", "c.mp4"}));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
}

TEST_F(PlaylistFiles, AFileThatBecameADirectoryEndsThePlayingInARepeatedListToo) {
    TestedPlayer player(m_desktop, m_setup);
    OpenThree(player);
    ChoosePlayMode(player, 4);
    fs::remove(m_media / "a.mp4");
    fs::create_directory(m_media / "a.mp4");
    ExpectPlaysByDoubleClick(player, 2, 3000);
    EXPECT_TRUE(WaitForState(player, "Ready"));
    EXPECT_EQ(NamesIn(player), Names({"a.mp4", "b.mp4", "c.mp4"}));
    ExpectPlaysByDoubleClick(player, 1, 2000);
    EXPECT_TRUE(player.WaitForAtLeast(3000)); // the list goes on from there
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
}

TEST_F(PlaylistFiles, AFolderThatGoesAwayWhileItsFilmPlaysEndsItAtItsEnd) {
    fs::create_directory(m_media / "share");
    const std::string film = MakeShort("share/a.mp4", 1000, 60);
    const std::string next = MakeShort("share/b.mp4", 2000);
    TestedPlayer player(m_desktop, m_setup);
    ASSERT_TRUE(player.Open('"' + film + "\" \"" + next + '"'));
    ChoosePlayMode(player, 4);
    ASSERT_TRUE(player.WaitForAtLeast(1000));
    fs::rename(m_media / "share", m_media / "gone");
    EXPECT_TRUE(WaitForState(player, "Ready"));
    EXPECT_EQ(NamesIn(player), Names({"a.mp4", "b.mp4"}));
    fs::rename(m_media / "gone", m_media / "share");
    ExpectPlaysByDoubleClick(player, 1, 2000);
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
}

TEST_F(PlaylistFiles, AListInWhichNothingPlaysIsMarkedAndStands) {
    for (const char* name : {"1.mp4", "2.mp4", "3.mp4"})
        std::ofstream(m_media / name) << "no film";
    TestedPlayer player(m_desktop, m_setup);
    ASSERT_TRUE(player.Open("\"1.mp4\" \"2.mp4\" \"3.mp4\""));
    ASSERT_TRUE(WaitForNames(player, {"1.mp4", "2.mp4", "3.mp4"}));
    const auto entries = player.Texts().Playlist();
    // Dark red; the last one is covered by its highlight.
    for (const std::size_t row : {0U, 1U}) {
        const Area& place = entries[row].place;
        EXPECT_TRUE(support::WaitUntil(
            [&] {
                return player.Screen().PixelAt(place.x + place.width - 5, place.y + place.height / 2) ==
                       0x800000U;
            },
            15s));
    }
    ChoosePlayMode(player, 4);
    for (const auto& entry : entries)
        player.DoubleClickAt(entry.place);
    player.Key("space");
    EXPECT_EQ(player.Texts().State(), "Ready");
    // A film that is in no list any more ends, and finds nothing to go on with.
    MakeShort("film.mp4", 1000);
    ASSERT_TRUE(player.Open("film.mp4"));
    ASSERT_TRUE(player.WaitForAtLeast(1000));
    player.PressButton("Delete the Selected File");
    ASSERT_TRUE(WaitForNames(player, {"1.mp4", "2.mp4", "3.mp4"}));
    EXPECT_TRUE(WaitForState(player, "Stop"));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
}

TEST_F(PlaylistFiles, EntriesDraggedTogetherKeepTheirOrderMarksAndFiles) {
    MakeShort("a.mp4", 1000);
    MakeShort("d.mp4", 4000);
    for (const char* name : {"B.mp4", "C.mp4", "E.mp4"})
        std::ofstream(m_media / name) << "no film";
    TestedPlayer player(m_desktop, m_setup);
    ASSERT_TRUE(player.Open(R"("a.mp4" "B.mp4" "C.mp4" "d.mp4" "E.mp4")"));
    const auto lists = [&](const Names& names) {
        EXPECT_TRUE(WaitForNames(player, names)) << testing::PrintToString(NamesIn(player));
        // With no highlight in the way the failed ones are dark red, and they alone.
        const auto entries = player.Texts().Playlist();
        Area below = entries.back().place;
        below.y += 60;
        player.ClickAt(below);
        for (const auto& entry : entries) {
            const bool failed = std::isupper(static_cast<unsigned char>(entry.name[0])) != 0;
            const Area& place = entry.place;
            EXPECT_TRUE(support::WaitUntil(
                [&] {
                    const std::uint32_t pixel =
                        player.Screen().PixelAt(place.x + place.width - 5, place.y + place.height / 2);
                    return (pixel == 0x800000U) == failed;
                },
                15s))
                << entry.name;
        }
    };
    // Highlights rows, the first by a click, the others beside it.
    const auto highlight = [&](const std::vector<std::size_t>& rows) {
        player.ClickAt(player.Texts().Playlist().at(rows.front()).place);
        player.HoldKey("ctrl");
        for (std::size_t n = 1; n < rows.size(); ++n)
            player.ClickAt(player.Texts().Playlist().at(rows[n]).place);
        player.LetKeyGo("ctrl");
    };
    const auto drag = [&](std::size_t row, std::size_t before) {
        const auto entries = player.Texts().Playlist();
        const bool behind = before >= entries.size();
        const Area& place = entries.at(behind ? entries.size() - 1 : before).place;
        DragRow(player, row, place.x + place.width / 2, place.y + (behind ? place.height + 40 : 2));
    };
    lists({"a.mp4", "B.mp4", "C.mp4", "d.mp4", "E.mp4"});
    highlight({3, 1}); // from below, one failed
    drag(1, 0);
    lists({"B.mp4", "d.mp4", "a.mp4", "C.mp4", "E.mp4"});
    highlight({0, 2, 3});
    drag(2, 5);
    lists({"d.mp4", "E.mp4", "B.mp4", "a.mp4", "C.mp4"});
    // Onto one of themselves, and out of the list, nothing moves and nothing is lost.
    highlight({1, 2});
    const Area other = player.Texts().Playlist().at(1).place;
    DragRow(player, 2, other.x + other.width / 2, other.y + other.height / 2);
    lists({"d.mp4", "E.mp4", "B.mp4", "a.mp4", "C.mp4"});
    highlight({1, 3});
    DragRow(player, 1, player.MainArea().x + 400, player.MainArea().y + 200);
    lists({"d.mp4", "E.mp4", "B.mp4", "a.mp4", "C.mp4"});
    // Their files are their own, and playing goes on down the list as it is now.
    ChoosePlayMode(player, 2);
    ExpectPlaysByDoubleClick(player, 0, 4000);
    EXPECT_TRUE(
        support::WaitUntil([&] { return player.Number() >= 1000 && player.Number() < 4000; }, 15s, 1ms));
    EXPECT_TRUE(WaitForState(player, "Stop")); // behind it all is marked
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
}
