// Files that cannot be played are refused, odd names are no obstacle, and nothing of the user's is changed.
#include "tests/system/PlayerTest.h"

#include <fstream>
#include <iterator>
#include <unistd.h>

using namespace system_tests;

namespace {

namespace fs = std::filesystem;

std::string Content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Write(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

class BadInput : public PlayerTest {
  protected:
    // After whatever went before, a good file still opens and plays.
    void ExpectGoodFilePlays(TestedPlayer& player) {
        ASSERT_TRUE(player.Process().IsRunning()) << player.Process().Output();
        ASSERT_TRUE(player.Open(MakeFilm()));
        EXPECT_TRUE(player.WaitForAtLeast(10));
    }

    void ExpectRefused(const fs::path& path) {
        const std::string before = Content(path);
        TestedPlayer player(m_desktop);
        ASSERT_TRUE(player.Open(path));
        EXPECT_EQ(player.Number(), -1);
        ExpectGoodFilePlays(player);
        EXPECT_EQ(Content(path), before);
    }

    // Plays a film of this name in a folder of its own, which the chooser opens in.
    void ExpectPlaysIn(const std::string& folder, const std::string& typed) {
        fs::create_directory(m_media / folder);
        MakeFilm(folder + "/" + typed);
        const std::string before = Content(m_media / (folder + "/" + typed));
        PlayerRun::Setup setup;
        Settings settings;
        settings.mediaFolder = m_media / folder;
        setup.settings = settings.Text();
        TestedPlayer player(m_desktop, setup);
        ASSERT_TRUE(player.Open(typed));
        EXPECT_TRUE(player.WaitForAtLeast(10));
        EXPECT_EQ(Content(m_media / (folder + "/" + typed)), before);
    }
};

} // namespace

TEST_F(BadInput, AnEmptyFileIsRefused) {
    Write(m_media / "empty.mp4", "");
    ExpectRefused(m_media / "empty.mp4");
}

TEST_F(BadInput, TextUnderAFilmsNameIsRefused) {
    Write(m_media / "text.mp4", std::string(20000, 'a') + "\nThis is no film.\n");
    ExpectRefused(m_media / "text.mp4");
}

TEST_F(BadInput, AFileOfZerosIsRefused) {
    Write(m_media / "zeros.264", std::string(200000, '\0'));
    ExpectRefused(m_media / "zeros.264");
}

TEST_F(BadInput, AFilmCutBeforeItsIndexIsRefused) {
    const std::string whole = Content(MakeFilm("whole.mp4"));
    Write(m_media / "cut.mp4", whole.substr(0, whole.size() / 2)); // the index lies at the end
    ExpectRefused(m_media / "cut.mp4");
}

TEST_F(BadInput, ARawStreamCutInTheMiddlePlaysWhatIsThere) {
    support::ClipOptions options;
    options.width = 640;
    options.height = 360;
    options.container = support::ClipContainer::RawStream;
    const std::string whole = Content(Make("whole.264", options));
    Write(m_media / "cut.264", whole.substr(0, whole.size() / 2));
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.Open(m_media / "cut.264"));
    EXPECT_TRUE(player.WaitForAtLeast(5));
    ExpectGoodFilePlays(player);
}

TEST_F(BadInput, ADirectoryIsNotAFile) {
    fs::create_directory(m_media / "folder.mp4");
    TestedPlayer player(m_desktop);
    ASSERT_TRUE(player.ShowChooser());
    player.Type(m_media / "folder.mp4");
    player.Key("Return"); // the chooser goes into it
    player.Key("Escape");
    if (!player.WaitForChooserToGo()) player.Key("Escape");
    ASSERT_TRUE(player.WaitForChooserToGo());
    EXPECT_EQ(player.Number(), -1);
    ExpectGoodFilePlays(player);
}

TEST_F(BadInput, AFileWithoutPermissionIsRefused) {
    constexpr uid_t kNobody = 65534;
    PlayerRun::Setup setup;
    if (getuid() == 0) setup.user = kNobody; // permissions do not bind root
    fs::permissions(m_media.Path(), fs::perms::all);
    const std::string secret = MakeFilm("secret.mp4");
    const std::string open = MakeFilm("open.mp4");
    fs::permissions(secret, fs::perms::none);
    fs::permissions(open, fs::perms::owner_all | fs::perms::others_read | fs::perms::group_read);
    TestedPlayer player(m_desktop, setup);
    ASSERT_TRUE(player.Open(secret));
    EXPECT_EQ(player.Number(), -1);
    ASSERT_TRUE(player.Open(open));
    EXPECT_TRUE(player.WaitForAtLeast(10));
    EXPECT_EQ(fs::status(secret).permissions(), fs::perms::none);
}

TEST_F(BadInput, ChineseLettersInAPathPlay) {
    ExpectPlaysIn("录像 文件", "clip.mp4");
}

TEST_F(BadInput, ChineseLettersInANamePlay) {
    MakeFilm("录像.mp4");
    PlayerRun::Setup setup;
    Settings settings;
    settings.mediaFolder = m_media.Path();
    setup.settings = settings.Text();
    TestedPlayer player(m_desktop, setup);
    ASSERT_TRUE(player.OpenFirstListed()); // no key types these letters
    EXPECT_TRUE(player.WaitForAtLeast(10));
}

TEST_F(BadInput, SpacesAndPercentSignsInANamePlay) {
    ExpectPlaysIn("100%s %n folder", "50% of a %d clip %s.mp4");
}

TEST_F(BadInput, ANewlineInAPathPlays) {
    ExpectPlaysIn("two\nlines", "clip.mp4");
}
