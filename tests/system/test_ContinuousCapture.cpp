// Continuous capture: one file for every displayed picture, and its end where files cannot be written.
#include "tests/system/CaptureFolder.h"
#include "tests/system/PlayerTest.h"

#include <algorithm>
#include <functional>
#include <set>
#include <unistd.h>

using namespace system_tests;

namespace fs = std::filesystem;

namespace {

class ContinuousCapture : public PlayerTest {
  protected:
    ContinuousCapture() { m_setup.readsTexts = true; }

    void CaptureInto(const fs::path& folder) {
        Settings settings;
        settings.captureFolder = folder.string();
        m_setup.settings = settings.Text();
    }

    int OpenAndPause(TestedPlayer& player) {
        EXPECT_TRUE(player.Open(MakeFilm()));
        EXPECT_TRUE(player.WaitForAtLeast(10));
        player.Key("space");
        return player.StandingNumber();
    }

    // Captures into a folder that cannot take what comes once `lose` has been called, and expects one box,
    // and playing to go on without capture.
    void ExpectEndsWithOneWarning(TestedPlayer& player, const std::function<void()>& lose = nullptr) {
        ASSERT_GE(OpenAndPause(player), 10);
        ToggleContinuousCapture(player);
        player.Key("space");
        if (lose) lose();
        ASSERT_TRUE(player.WaitForWindow("Warning"));
        const auto texts = player.Texts().TextsIn("Warning");
        EXPECT_NE(std::find(texts.begin(), texts.end(), "Cappic Error !"), texts.end());
        player.Key("Return");
        EXPECT_TRUE(player.WaitForNoWindow("Warning"));
        const int number = player.Number();
        EXPECT_TRUE(player.WaitForAtLeast(number + 10)); // with no further box in the way
        EXPECT_FALSE(player.WaitForWindow("Warning", 0ms));
        EXPECT_EQ(player.Texts().State(), "Playing");
    }

    PlayerRun::Setup m_setup;
};

} // namespace

TEST_F(ContinuousCapture, EveryStepWritesItsPictureOnce) {
    TestedPlayer player(m_desktop, m_setup);
    const int number = OpenAndPause(player);
    ASSERT_GE(number, 10);
    ToggleContinuousCapture(player);
    std::vector<int> expected;
    for (const int step : {1, 2, 3, 2, 1}) {
        player.Key(expected.size() < 3 ? "Right" : "Left");
        ASSERT_TRUE(player.WaitForNumber(number + step));
        expected.push_back(number + step);
        ASSERT_TRUE(player.WaitForCaptures(expected.size()));
    }
    ToggleContinuousCapture(player);
    player.Key("Right");
    ASSERT_TRUE(player.WaitForNumber(number + 2));
    EXPECT_TRUE(support::WaitUntil([&] { return NumbersIn(player.Captures()) == expected; }, 10s));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    EXPECT_EQ(NumbersIn(player.Captures()), expected);
}

TEST_F(ContinuousCapture, PlayingWritesEveryPictureThatIsShownAndNoneTwice) {
    TestedPlayer player(m_desktop, m_setup);
    const int from = OpenAndPause(player);
    ASSERT_GE(from, 10);
    ToggleContinuousCapture(player);
    player.Key("space");
    std::set<int> seen;
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            const int number = player.Number();
            if (number > from) seen.insert(number);
            return number >= from + 40;
        },
        60s, 1ms));
    player.Key("space"); // heard while pictures are written
    const int to = player.StandingNumber();
    ASSERT_GE(to, from + 40);
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();

    const std::vector<int> numbers = NumbersIn(player.Captures());
    EXPECT_TRUE(std::adjacent_find(numbers.begin(), numbers.end(), std::greater_equal<>()) == numbers.end())
        << testing::PrintToString(numbers);
    EXPECT_TRUE(std::includes(numbers.begin(), numbers.end(), seen.begin(), seen.end()))
        << testing::PrintToString(numbers) << " seen: " << testing::PrintToString(seen);
    ASSERT_FALSE(numbers.empty());
    EXPECT_GT(numbers.front(), from) << "the paused picture again";
    EXPECT_EQ(numbers.back(), to);
}

TEST_F(ContinuousCapture, PausingAndGoingOnWritesNoPictureTwice) {
    TestedPlayer player(m_desktop, m_setup);
    const int from = OpenAndPause(player);
    ASSERT_GE(from, 10);
    ToggleContinuousCapture(player);
    int paused = from;
    for (int round = 0; round < 3; ++round) {
        player.Key("space");
        ASSERT_TRUE(player.WaitForAtLeast(paused + 8));
        player.Key("space");
        paused = player.StandingNumber();
        ASSERT_GE(paused, 10);
    }
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    const std::vector<int> numbers = NumbersIn(player.Captures());
    EXPECT_TRUE(std::adjacent_find(numbers.begin(), numbers.end(), std::greater_equal<>()) == numbers.end())
        << testing::PrintToString(numbers);
    ASSERT_FALSE(numbers.empty());
    EXPECT_GT(numbers.front(), from);
    EXPECT_EQ(numbers.back(), paused);
}

TEST_F(ContinuousCapture, AFullDiskEndsItWithOneWarningAndWholePicturesOnly) {
    const SmallDisk disk;
    if (!disk.IsMounted()) GTEST_SKIP() << "no file system can be mounted here";
    CaptureInto(disk.Path());
    TestedPlayer player(m_desktop, m_setup);
    ExpectEndsWithOneWarning(player);
    const auto files = FilesIn(disk.Path());
    EXPECT_EQ(files.size(), 4U); // of 691,254 bytes in 3 MiB
    for (const int number : NumbersIn(files))
        EXPECT_GE(number, 10);
    // Room again does not bring it back.
    for (const auto& file : files)
        fs::remove(file);
    const int number = player.Number();
    EXPECT_TRUE(player.WaitForAtLeast(number + 10));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    EXPECT_TRUE(fs::is_empty(disk.Path()));
}

TEST_F(ContinuousCapture, AFolderThatMayNotBeWrittenEndsItWithOneWarning) {
    constexpr uid_t kNobody = 65534;
    const support::TemporaryFolder pictures;
    fs::permissions(pictures.Path(), fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                         fs::perms::others_exec);
    fs::permissions(m_media.Path(), fs::perms::all); // the film is read by another user
    CaptureInto(pictures.Path());
    m_setup.readsTexts = getuid() != 0;        // no other user may enter the desktop's bus
    if (getuid() == 0) m_setup.user = kNobody; // permissions do not bind root
    TestedPlayer player(m_desktop, m_setup);
    ASSERT_GE(OpenAndPause(player), 10);
    ToggleContinuousCapture(player);
    player.Key("space");
    ASSERT_TRUE(player.WaitForWindow("Warning"));
    player.Key("Return");
    EXPECT_TRUE(player.WaitForNoWindow("Warning"));
    const int number = player.Number();
    EXPECT_TRUE(player.WaitForAtLeast(number + 10));
    EXPECT_FALSE(player.WaitForWindow("Warning", 0ms));
    EXPECT_TRUE(fs::is_empty(pictures.Path()));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
}

TEST_F(ContinuousCapture, AFolderThatGoesAwayEndsItWithOneWarning) {
    const fs::path folder = m_media / "pictures";
    const fs::path gone = m_media / "gone";
    fs::create_directory(folder);
    CaptureInto(folder);
    TestedPlayer player(m_desktop, m_setup);
    ExpectEndsWithOneWarning(player, [&] {
        EXPECT_TRUE(support::WaitUntil([&] { return !fs::is_empty(folder); }, 15s));
        fs::rename(folder, gone);
    });
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_FALSE(NumbersIn(FilesIn(gone)).empty());
}

TEST_F(ContinuousCapture, ItMeetsEveryOtherCommandAndLeavesWholePictures) {
    m_setup.readsTexts = false;
    TestedPlayer player(m_desktop, m_setup);
    const std::string second = MakeShort("second.mp4", 1000, 200);
    ASSERT_TRUE(player.Open(MakeFilm()));
    ASSERT_TRUE(player.WaitForAtLeast(5));
    for (int round = 0; round < 2; ++round) {
        ToggleContinuousCapture(player);
        CaptureByMenu(player); // which ends it
        ToggleContinuousCapture(player);
        player.Key("ctrl+s"); // so does this
        ASSERT_TRUE(player.WaitForNumber(-1));
        player.Key("space");
        ASSERT_TRUE(player.WaitForAtLeast(1));
        ToggleContinuousCapture(player);
        player.Key("ctrl+Right");
        player.Key("ctrl+Left");
        ASSERT_TRUE(player.Open(second)); // goes on with the next file
        ASSERT_TRUE(player.WaitForAtLeast(1000));
        player.Key("ctrl+c");
        ASSERT_TRUE(player.WaitForNumber(-1));
        ASSERT_TRUE(player.Open(second));
        ASSERT_TRUE(player.WaitForAtLeast(1000));
        player.Key("ctrl+s");
        player.Key("space");
        ASSERT_TRUE(player.WaitForAtLeast(1000));
    }
    EXPECT_FALSE(player.WaitForWindow("Warning", 0ms));
    EXPECT_EQ(player.Close(), 0) << player.Process().Output();
    EXPECT_FALSE(player.Captures().empty());
    for (const int number : NumbersIn(player.Captures()))
        EXPECT_GE(number, 0);
}
