// A person's session with the installed program, from the first start to the end: every way to work it, and
// what the screen, the disk and the status line say.
#include "tests/support/DragSource.h"
#include "tests/system/PlayerTest.h"

#include <algorithm>

using namespace system_tests;

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;
using support::ChildProcess;
using support::DragSource;

class Session : public PlayerTest {
  protected:
    static constexpr int kFirst =
        1000; // shown by a.mp4; b.mp4 and c.mp4 begin a thousand and two thousand later
    static constexpr int kLength = 30; // pictures of each

    Session() {
        const auto installed = ChildProcess::Run(
            {"cmake", "--install", TALVIO_BUILD_DIR, "--prefix", m_prefix.Path().string()}, 60s);
        EXPECT_EQ(installed.exitCode, 0) << installed.output;
        MakeShort("a.mp4", kFirst, kLength);
        MakeShort("b.mp4", kFirst + 1000, kLength);
        MakeShort("c.mp4", kFirst + 2000, kLength);
        Settings settings;
        settings.mediaFolder = m_media.Path().string();
        settings.captureFolder = m_pictures.Path().string();
        m_setup.settings = settings.Text();
        m_setup.program = m_prefix / "bin/talvio";
        m_setup.readsTexts = true;
    }

    bool Says(const std::string& state) {
        return support::WaitUntil([&] { return m_player->Texts().State() == state; }, 15s);
    }
    bool Lists(const Names& names) {
        return support::WaitUntil([&] { return NamesIn(*m_player) == names; }, 15s);
    }
    Area Row(std::size_t row) { return m_player->Texts().Playlist().at(row).place; }
    // The rows that are highlighted.
    std::vector<std::size_t> Selected() {
        std::vector<std::size_t> rows;
        const auto entries = m_player->Texts().Playlist();
        for (std::size_t row = 0; row < entries.size(); ++row) {
            if (entries[row].isSelected) rows.push_back(row);
        }
        return rows;
    }
    // Which of the films is on the screen: 0, 1, 2; -1 for none.
    int Film() {
        const int number = m_player->Number();
        return number < 0 ? -1 : (number - kFirst) / 1000;
    }
    // Waits until the films have been on the screen in this order.
    bool Shows(const std::vector<int>& films) {
        for (const int film : films) {
            if (!support::WaitUntil([&] { return Film() == film; }, 15s, 1ms)) return false;
        }
        return true;
    }
    std::vector<fs::path> Pictures() {
        std::vector<fs::path> pictures;
        for (const auto& entry : fs::directory_iterator(m_pictures.Path()))
            pictures.push_back(entry.path());
        std::sort(pictures.begin(), pictures.end());
        return pictures;
    }
    bool WaitForPictures(const std::vector<int>& numbers) {
        return support::WaitUntil(
            [&] {
                std::vector<int> found;
                for (const auto& picture : Pictures())
                    found.push_back(support::ReadBarCodeFromStillFile(picture.string()));
                std::sort(found.begin(), found.end());
                return found == numbers;
            },
            15s);
    }
    void ChooseInListMenu(std::size_t row, int entry) {
        m_player->ClickAt(Row(row), 3);
        m_player->ChooseInMenu(entry);
    }

    // The menu that is open above so many others, once it is there; of no size when it does not come.
    Area OpenMenu(std::size_t depth) {
        std::vector<Area> menus;
        support::WaitUntil(
            [&] {
                menus = m_player->Screen().OpenMenus();
                return menus.size() > depth;
            },
            15s, 5ms);
        return menus.size() > depth ? menus[depth] : Area();
    }
    void ChooseLanguage(const Area& menuButton, bool chinese);

    void OpenThreeFiles();
    void PlayEachModeToItsEnd();
    void CaptureSingleAndContinuous();
    void SwitchTheLanguage();
    void Reorder();
    void RemoveAndClear();
    void DropFiles();

    support::TemporaryFolder m_prefix;
    support::TemporaryFolder m_pictures;
    PlayerRun::Setup m_setup;
    TestedPlayer* m_player = nullptr;
};

void Session::OpenThreeFiles() {
    m_player->PressButton("Open File");
    ASSERT_TRUE(m_player->WaitForWindow("Open File"));
    m_player->Type("\"a.mp4\" \"b.mp4\" \"c.mp4\"");
    m_player->Key("Return");
    ASSERT_TRUE(m_player->WaitForChooserToGo());
    EXPECT_TRUE(Lists({"a.mp4", "b.mp4", "c.mp4"}));
    EXPECT_EQ(Selected(), std::vector<std::size_t>({0}));
}

void Session::PlayEachModeToItsEnd() {
    // 1: the first file plays and stops.
    EXPECT_TRUE(Shows({0}));
    EXPECT_TRUE(Says("Stop"));
    EXPECT_EQ(Film(), -1);
    EXPECT_EQ(m_player->Texts().Progress(), "");
    // 2: the list is played to its end.
    ChoosePlayMode(*m_player, 2);
    m_player->Key("space");
    EXPECT_TRUE(Shows({0, 1, 2}));
    EXPECT_TRUE(Says("Stop"));
    EXPECT_EQ(Selected(), std::vector<std::size_t>({2}));
    // 4: the list begins again.
    ChoosePlayMode(*m_player, 4);
    m_player->PressButton("Play");
    EXPECT_TRUE(Shows({2, 0, 1, 2, 0}));
    EXPECT_EQ(m_player->Texts().State(), "Playing");
    // 3: one file begins again.
    ChoosePlayMode(*m_player, 3);
    m_player->DoubleClickAt(Row(1));
    ASSERT_TRUE(Shows({1}));
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(m_player->WaitForAtLeast(kFirst + 1000 + kLength / 2));
        EXPECT_TRUE(
            support::WaitUntil([&] { return m_player->Number() < kFirst + 1000 + kLength / 2; }, 15s, 1ms));
    }
    EXPECT_EQ(Film(), 1);
    EXPECT_EQ(Selected(), std::vector<std::size_t>({1}));
}

void Session::CaptureSingleAndContinuous() {
    m_player->PressButton("Pause");
    ASSERT_TRUE(Says("Pause"));
    m_player->PressButton("To the Start");
    const int first = kFirst + 1000;
    ASSERT_TRUE(m_player->WaitForNumber(first));
    m_player->PressButton("Tool Box");
    m_player->ChooseInMenu(1);
    EXPECT_TRUE(WaitForPictures({first}));

    ToggleContinuousCapture(*m_player); // by the video's menu
    for (int step = 1; step <= 3; ++step) {
        m_player->Key("Right");
        ASSERT_TRUE(m_player->WaitForNumber(first + step));
    }
    EXPECT_TRUE(WaitForPictures({first, first + 1, first + 2, first + 3}));
    EXPECT_TRUE(
        support::WaitUntil([&] { return m_player->Texts().Progress() == "3/30  00:00:00/00:00:01  "; }, 15s))
        << m_player->Texts().Progress();
    m_player->PressButton("Stop"); // which ends it
    EXPECT_TRUE(Says("Stop"));
}

// Along the main menu, Play and Language with the mouse alone.
void Session::ChooseLanguage(const Area& menuButton, bool chinese) {
    constexpr int kLine = 22; // about an entry's height
    // An entry is found from the nearer end of its menu, where no separator comes between.
    const auto fromTop = [](const Area& menu, int row) {
        return Area{menu.x, menu.y + row * kLine, menu.width, kLine};
    };
    const auto last = [](const Area& menu) {
        return Area{menu.x, menu.y + menu.height - kLine, menu.width, kLine};
    };
    m_player->ClickAt(menuButton);
    const Area main = OpenMenu(0);
    ASSERT_GT(main.height, 0);
    m_player->PointAt(fromTop(main, 1));
    const Area play = OpenMenu(1);
    ASSERT_GT(play.height, main.height); // File's is shorter
    m_player->PointAt(last(play));
    const Area language = OpenMenu(2);
    ASSERT_GT(language.height, 0);
    m_player->ClickAt(chinese ? fromTop(language, 0) : last(language));
    EXPECT_TRUE(support::WaitUntil([&] { return !m_player->Screen().IsMenuOpen(); }, 15s, 5ms));
}

void Session::SwitchTheLanguage() {
    const Area menuButton = m_player->Texts().PlaceOfButton("Menu");
    ASSERT_GT(menuButton.width, 0);
    ASSERT_NO_FATAL_FAILURE(ChooseLanguage(menuButton, true));
    EXPECT_TRUE(Says("停止"));
    ASSERT_NO_FATAL_FAILURE(ChooseLanguage(menuButton, false));
    EXPECT_TRUE(Says("Stop"));

    // The button takes a translation that lies in the working folder; without one all stays English.
    const Area button = m_player->Texts().PlaceOfButton("English");
    ASSERT_GT(button.width, 0);
    const fs::path catalog = m_player->Folder() / "talvio_zh.qm";
    ASSERT_FALSE(fs::exists(catalog));
    m_player->ClickAt(button);
    m_player->ClickAt(menuButton);
    EXPECT_GT(OpenMenu(0).height, 0); // so the click before has had its effect
    EXPECT_EQ(m_player->Texts().State(), "Stop");
    m_player->Key("Escape");
    EXPECT_TRUE(support::WaitUntil([&] { return !m_player->Screen().IsMenuOpen(); }, 15s, 5ms));
    m_player->ClickAt(button);
    fs::copy_file(fs::path(TALVIO_BUILD_DIR) / "resources/catalogs/talvio_zh.qm", catalog);
    m_player->ClickAt(button);
    EXPECT_TRUE(Says("停止"));
    m_player->ClickAt(button);
    EXPECT_TRUE(Says("Stop"));
    fs::remove(catalog);
}

void Session::Reorder() {
    ChooseInListMenu(2, 3);
    EXPECT_TRUE(Lists({"a.mp4", "c.mp4", "b.mp4"}));
    ChooseInListMenu(0, 4);
    EXPECT_TRUE(Lists({"c.mp4", "a.mp4", "b.mp4"}));
    // By hand: the last entry before the first, then behind the others.
    const Area first = Row(0);
    DragRow(*m_player, 2, first.x + first.width / 2, first.y + 2);
    EXPECT_TRUE(Lists({"b.mp4", "c.mp4", "a.mp4"})) << testing::PrintToString(NamesIn(*m_player));
    const Area last = Row(2);
    DragRow(*m_player, 0, last.x + last.width / 2, last.y + last.height + 40);
    EXPECT_TRUE(Lists({"c.mp4", "a.mp4", "b.mp4"})) << testing::PrintToString(NamesIn(*m_player));
    // What moved is whole.
    m_player->DoubleClickAt(Row(2));
    EXPECT_TRUE(Shows({1}));
}

void Session::RemoveAndClear() {
    m_player->ClickAt(Row(1));
    m_player->PressButton("Delete the Selected File");
    EXPECT_TRUE(Lists({"c.mp4", "b.mp4"}));
    m_player->PressButton("Clear up the Playlist");
    EXPECT_TRUE(Lists({}));
    EXPECT_EQ(m_player->Texts().State(), "Playing"); // whatever the list holds
    m_player->Key("ctrl+c");
    EXPECT_TRUE(Says("Ready"));
}

void Session::DropFiles() {
    DragSource source(m_desktop.Display());
    const Area main = m_player->MainArea();
    const auto drop = [&](const Names& names, DragSource::Action action) {
        Names paths;
        for (const std::string& name : names)
            paths.push_back(m_media / name);
        return source.Drop(main.x + 200, main.y + 200, DragSource::Files(paths, action)).isWanted;
    };
    EXPECT_TRUE(drop({"c.mp4"}, DragSource::Action::Move));
    EXPECT_TRUE(Lists({"c.mp4"}));
    EXPECT_EQ(m_player->Texts().State(), "Ready");
    EXPECT_TRUE(drop({"a.mp4", "b.mp4"}, DragSource::Action::Copy));
    EXPECT_TRUE(Shows({0}));
    EXPECT_TRUE(Lists({"c.mp4", "a.mp4", "b.mp4"}));
}

} // namespace

TEST_F(Session, EveryCommandOfADay) {
    TestedPlayer player(m_desktop, m_setup);
    m_player = &player;
    ASSERT_NO_FATAL_FAILURE(OpenThreeFiles());
    ASSERT_NO_FATAL_FAILURE(PlayEachModeToItsEnd());
    ASSERT_NO_FATAL_FAILURE(CaptureSingleAndContinuous());
    ASSERT_NO_FATAL_FAILURE(SwitchTheLanguage());
    ASSERT_NO_FATAL_FAILURE(Reorder());
    ASSERT_NO_FATAL_FAILURE(RemoveAndClear());
    ASSERT_NO_FATAL_FAILURE(DropFiles());
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    EXPECT_TRUE(fs::exists(player.Folder() / "Player.config"));
}
