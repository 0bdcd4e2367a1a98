// Captured pictures show the frame that is on the screen.
#include "tests/system/PlayerTest.h"

#include <unistd.h>

using namespace system_tests;

namespace {

class Capture : public PlayerTest {
  protected:
    // Opens the film and pauses it; gives the number on the screen.
    int OpenAndPause(TestedPlayer& player) {
        EXPECT_TRUE(player.Open(MakeFilm()));
        EXPECT_TRUE(player.WaitForAtLeast(10));
        player.Key("space");
        return player.StandingNumber();
    }
};

int NumberInFile(const std::filesystem::path& path) {
    return support::ReadBarCodeFromStillFile(path.string());
}

} // namespace

TEST_F(Capture, ABmpInTheWorkingFolderShowsTheFrameOnTheScreen) {
    TestedPlayer player(m_desktop);
    const int number = OpenAndPause(player);
    ASSERT_GE(number, 10);
    CaptureByMenu(player);
    ASSERT_TRUE(player.WaitForCaptures(1));
    player.Key("Right");
    ASSERT_TRUE(player.WaitForNumber(number + 1));
    CaptureByMenu(player);
    ASSERT_TRUE(player.WaitForCaptures(2));

    // The file has its name before it has its content.
    const auto captures = player.Captures();
    EXPECT_TRUE(support::WaitUntil([&] { return NumberInFile(captures.at(0)) == number; }, 10s))
        << captures.at(0);
    EXPECT_TRUE(support::WaitUntil([&] { return NumberInFile(captures.at(1)) == number + 1; }, 10s))
        << captures.at(1);
    EXPECT_EQ(captures.at(0).extension(), ".bmp");
    // 640 x 360 pixels of three bytes behind the two headers.
    EXPECT_EQ(std::filesystem::file_size(captures.at(0)), 640U * 360U * 3U + 54U);
}

TEST_F(Capture, AJpegIsMadeWhereTheSettingsSaySo) {
    PlayerRun::Setup setup;
    Settings settings;
    support::TemporaryFolder pictures;
    settings.captureFolder = pictures.Path().string();
    settings.captureType = 1;
    setup.settings = settings.Text();
    TestedPlayer player(m_desktop, setup);
    const int number = OpenAndPause(player);
    ASSERT_GE(number, 10);
    CaptureByMenu(player);
    std::filesystem::path made;
    const auto isThere = [&] {
        for (const auto& entry : std::filesystem::directory_iterator(pictures.Path()))
            made = entry.path();
        return !made.empty() && NumberInFile(made) == number;
    };
    EXPECT_TRUE(support::WaitUntil(isThere, 15s)) << made;
    EXPECT_EQ(made.extension(), ".jpeg");
    EXPECT_TRUE(made.filename().string().starts_with("picture-"));
    EXPECT_TRUE(player.Captures().empty());
}

TEST_F(Capture, AFolderThatIsNotThereGivesAWarning) {
    PlayerRun::Setup setup;
    Settings settings;
    settings.captureFolder = "/nonexistent/folder";
    setup.settings = settings.Text();
    TestedPlayer player(m_desktop, setup);
    const int number = OpenAndPause(player);
    ASSERT_GE(number, 10);
    CaptureByMenu(player);
    EXPECT_TRUE(player.WaitForWindow("Warning"));
    player.Screenshot("capture-warning");
    player.Key("Return");
    EXPECT_TRUE(player.WaitForNoWindow("Warning"));
    EXPECT_TRUE(player.WaitForNumber(number));
    player.Key("Right");
    EXPECT_TRUE(player.WaitForNumber(number + 1));
}

// The box's title is what the screen tells; its text is checked where the box can be asked for it.
TEST_F(Capture, AFolderThatMayNotBeWrittenGivesAWarningAndKeepsNoFile) {
    namespace fs = std::filesystem;
    constexpr uid_t kNobody = 65534;
    constexpr fs::perms kReadOnly = fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                                    fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec;
    support::TemporaryFolder pictures;
    fs::permissions(pictures.Path(), kReadOnly);
    fs::permissions(m_media.Path(), fs::perms::all); // the film is read by another user
    Settings settings;
    settings.captureFolder = pictures.Path().string();
    PlayerRun::Setup setup;
    setup.settings = settings.Text();
    if (getuid() == 0) setup.user = kNobody; // permissions do not bind root
    TestedPlayer player(m_desktop, setup);
    const int number = OpenAndPause(player);
    ASSERT_GE(number, 10);
    CaptureByMenu(player);
    ASSERT_TRUE(player.WaitForWindow("Warning"));
    player.Key("Return");
    EXPECT_TRUE(player.WaitForNoWindow("Warning"));
    EXPECT_TRUE(fs::is_empty(pictures.Path()));
    EXPECT_TRUE(player.Captures().empty());
    EXPECT_TRUE(player.WaitForNumber(number));
    player.Key("Right");
    EXPECT_TRUE(player.WaitForNumber(number + 1));
    EXPECT_EQ(player.Close(), 0);
}
