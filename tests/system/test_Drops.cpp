// Files that another program drags onto the window: what is listed, what plays, and what is left alone.
#include "tests/support/DragSource.h"
#include "tests/system/PlayerTest.h"

#include <fstream>
#include <sys/stat.h>

using namespace system_tests;

namespace {

using support::DragSource;
using Action = DragSource::Action;

class Drops : public PlayerTest {
  protected:
    Drops() : m_source(m_desktop.Display()) { m_setup.readsTexts = true; }

    // Drops in the middle of a part of the window.
    DragSource::Outcome DropOn(const Area& place, const DragSource::Offer& offer) {
        return m_source.Drop(place.x + place.width / 2, place.y + place.height / 2, offer);
    }
    static Area TitleBar(PlayerRun& player) {
        const Area main = player.MainArea();
        return {main.x + 100, main.y + 5, main.width - 300, 10};
    }
    static Area Video(PlayerRun& player) {
        const Area main = player.MainArea();
        return {main.x + 100, main.y + 150, 200, 100};
    }

    DragSource m_source;
    PlayerRun::Setup m_setup;
};

using Listed = std::vector<std::string>;

} // namespace

TEST_F(Drops, CopiedFilesAreListedAndTheFirstPlays) {
    const Listed films = {MakeShort("a.mp4", 1000, 100), MakeShort("b.mp4", 2000, 100)};
    TestedPlayer player(m_desktop, m_setup);
    const auto outcome = DropOn(TitleBar(player), DragSource::Files(films, Action::Copy));
    EXPECT_TRUE(outcome.isWanted);
    EXPECT_EQ(outcome.isTaken, true);
    EXPECT_TRUE(player.WaitForAtLeast(1000));
    EXPECT_LT(player.Number(), 2000);
    EXPECT_EQ(NamesIn(player), Listed({"a.mp4", "b.mp4"}));
    EXPECT_EQ(player.Texts().State(), "Playing");
}

TEST_F(Drops, ADropOnTheVideoOrThePlaylistIsOneOnTheWindow) {
    const Listed films = {MakeShort("a.mp4", 1000, 100), MakeShort("b.mp4", 2000, 100),
                          MakeShort("c.mp4", 3000, 100)};
    TestedPlayer player(m_desktop, m_setup);
    EXPECT_TRUE(DropOn(Video(player), DragSource::Files({films[0]}, Action::Copy)).isWanted);
    ASSERT_TRUE(player.WaitForAtLeast(1000));
    const auto entries = player.Texts().Playlist();
    ASSERT_EQ(entries.size(), 1U);
    // On the entry, and on the empty part below it.
    EXPECT_EQ(DropOn(entries[0].place, DragSource::Files({films[1]}, Action::Copy)).isTaken, true);
    EXPECT_TRUE(player.WaitForAtLeast(2000));
    Area below = entries[0].place;
    below.y += 100;
    EXPECT_EQ(DropOn(below, DragSource::Files({films[2]}, Action::Copy)).isTaken, true);
    EXPECT_TRUE(player.WaitForAtLeast(3000));
    EXPECT_EQ(NamesIn(player), Listed({"a.mp4", "b.mp4", "c.mp4"}));
}

TEST_F(Drops, MovedFilesAreListedAndNothingOpens) {
    const Listed films = {MakeShort("a.mp4"), MakeShort("b.mp4")};
    TestedPlayer player(m_desktop, m_setup);
    EXPECT_EQ(DropOn(TitleBar(player), DragSource::Files({films[0]}, Action::Move)).isTaken, true);
    EXPECT_TRUE(DropOn(Video(player), DragSource::Files({films[1]}, Action::Move)).isWanted);
    EXPECT_TRUE(support::WaitUntil([&] { return NamesIn(player) == Listed({"a.mp4", "b.mp4"}); }, 15s));
    EXPECT_EQ(player.Texts().State(), "Ready");
    EXPECT_EQ(player.Number(), -1);
    EXPECT_TRUE(std::filesystem::exists(films[0])); // moved into the list, not away
}

TEST_F(Drops, ALinkIsRefusedByTheWindowAndPlayedByTheVideo) {
    const std::string film = MakeShort("a.mp4");
    TestedPlayer player(m_desktop, m_setup);
    EXPECT_FALSE(DropOn(TitleBar(player), DragSource::Files({film}, Action::Link)).isWanted);
    EXPECT_EQ(NamesIn(player), Listed());
    EXPECT_TRUE(DropOn(Video(player), DragSource::Files({film}, Action::Link)).isWanted);
    EXPECT_TRUE(player.WaitForAtLeast(1));
    EXPECT_EQ(NamesIn(player), Listed({"a.mp4"}));
}

TEST_F(Drops, TextIsNotWantedAnywhere) {
    const std::string film = MakeShort("a.mp4");
    TestedPlayer player(m_desktop, m_setup);
    const DragSource::Offer text{"text/plain", "file://" + film, Action::Copy};
    EXPECT_FALSE(DropOn(TitleBar(player), text).isWanted);
    EXPECT_FALSE(DropOn(Video(player), text).isWanted);
    EXPECT_EQ(NamesIn(player), Listed());
    EXPECT_EQ(player.Texts().State(), "Ready");
}

TEST_F(Drops, WhatIsNoFilmOnThisMachineIsLeftOut) {
    const std::string film = MakeShort("a 100% film.mp4", 1000);
    std::ofstream(m_media / "notes.txt") << "no film";
    ASSERT_EQ(mkfifo((m_media / "pipe.mp4").c_str(), 0600), 0); // nobody will ever write into it
    TestedPlayer player(m_desktop, m_setup);
    DragSource::Offer offer =
        DragSource::Urls({"http://example.com/1.mp4", "smb://nowhere/share/2.mp4", "file://elsewhere/3.mp4",
                          "file:///nowhere/4.mp4", "no url at all", ""},
                         Action::Copy);
    EXPECT_EQ(DropOn(TitleBar(player), offer).isTaken, true);
    EXPECT_EQ(NamesIn(player), Listed());
    EXPECT_EQ(player.Texts().State(), "Ready");
    // Among others the film is found.
    offer.data +=
        DragSource::Files({m_media / "notes.txt", m_media.Path(), m_media / "pipe.mp4", film}, Action::Copy)
            .data;
    EXPECT_EQ(DropOn(TitleBar(player), offer).isTaken, true);
    EXPECT_TRUE(player.WaitForAtLeast(1000));
    EXPECT_EQ(NamesIn(player), Listed({"a 100% film.mp4"}));
}

TEST_F(Drops, AThousandFilesAreListedOnceEach) {
    const std::string film = MakeShort("film.mp4");
    Listed films;
    Listed names;
    for (int n = 0; n < 1000; ++n) {
        names.push_back("film " + std::to_string(n) + ".mp4");
        films.push_back(m_media / names.back());
        std::filesystem::create_hard_link(film, films.back());
    }
    TestedPlayer player(m_desktop, m_setup);
    EXPECT_EQ(DropOn(TitleBar(player), DragSource::Files(films, Action::Copy)).isTaken, true);
    EXPECT_TRUE(player.WaitForAtLeast(1));
    EXPECT_EQ(NamesIn(player), names);
    // The first ones again, each twice, change nothing.
    films.resize(3);
    films.insert(films.end(), films.begin(), films.end());
    EXPECT_EQ(DropOn(TitleBar(player), DragSource::Files(films, Action::Move)).isTaken, true);
    EXPECT_EQ(NamesIn(player).size(), 1000U);
}
