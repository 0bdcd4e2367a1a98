// Every setting is changed in the dialog by clicks, and the program started again: ten are kept, the others
// are back at their start.
#include "tests/system/PlayerTest.h"
#include "tests/system/SettingsDialog.h"

#include <fstream>
#include <iterator>

using namespace system_tests;

namespace {

namespace fs = std::filesystem;

// Places in the dialog: boxes and buttons by their top left corners.
struct Mark {
    const char* name;
    int x;
    int y;
};
constexpr Mark kHighQuality = {"high quality", 140, 50};
constexpr Mark kDeflash = {"deflash", 140, 70};
constexpr Mark kEfficiency = {"efficiency", 140, 130};
constexpr Mark kEffect = {"effect", 300, 130};
constexpr Mark kThrow0 = {"throw none", 140, 210};
constexpr Mark kThrow2 = {"throw 2", 360, 210};
constexpr Mark kTimerHigh = {"high precision", 140, 290};
constexpr Mark kTimerLow = {"low precision", 280, 290};
constexpr Mark kNormalResolution = {"normal resolution", 150, 70};
constexpr Mark kLowResolution = {"low resolution", 310, 70};
constexpr Area kSpeed = {140, 120, 301, 21};
constexpr Area kColours[] = {
    {160, 100, 271, 16}, {160, 150, 271, 16}, {160, 200, 271, 16}, {160, 250, 271, 16}};

class SettingsByClicks : public PlayerTest {
  protected:
    static std::string Content(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // The state label at the left of the strip above the control bar.
    static SettingsDialog::Pixels Status(TestedPlayer& player, SettingsDialog& dialog) {
        const Area main = player.MainArea();
        return dialog.LookAtScreen({main.x + 10, main.y + main.height - 64 - 20, 90, 16});
    }

    static void ExpectMarks(SettingsDialog& dialog, std::initializer_list<Mark> marked,
                            std::initializer_list<Mark> unmarked) {
        for (const Mark& mark : marked)
            EXPECT_TRUE(dialog.IsMarked(mark.x, mark.y)) << mark.name;
        for (const Mark& mark : unmarked)
            EXPECT_FALSE(dialog.IsMarked(mark.x, mark.y)) << mark.name;
    }

    static void ClickMarks(SettingsDialog& dialog, std::initializer_list<Mark> marks, bool marked) {
        for (const Mark& mark : marks)
            ASSERT_TRUE(dialog.ClickMark(mark.x, mark.y, marked)) << mark.name;
    }

    // Looks of what is not kept, before anything is changed.
    struct Looks {
        SettingsDialog::Pixels status;
        SettingsDialog::Pixels speed;
        std::vector<SettingsDialog::Pixels> colours;
    };

    void OpenFilm(TestedPlayer& player) {
        ASSERT_TRUE(player.Open(m_film));
        ASSERT_TRUE(player.WaitForAtLeast(3));
    }

    void ChangeEverything(TestedPlayer& player, SettingsDialog& dialog, Looks& looks);
    void ChangeCapture(TestedPlayer& player, SettingsDialog& dialog, int page, const fs::path& folder);

    std::string m_film = MakeFilm();
    support::TemporaryFolder m_pictures;
    support::TemporaryFolder m_series;
};

void SettingsByClicks::ChangeCapture(TestedPlayer& player, SettingsDialog& dialog, int page,
                                     const fs::path& folder) {
    const Area path = {210, 70, 190, 20};
    const Area type = {210, 110, 69, 22};
    ASSERT_TRUE(dialog.ShowPage(page));
    const auto pathBefore = dialog.Look(path);
    const auto typeBefore = dialog.Look(type);
    ASSERT_TRUE(dialog.Browse(folder));
    EXPECT_NE(dialog.Look(path), pathBefore);
    dialog.Click(type.x + 30, type.y + 11);
    player.Key("Down");
    player.Key("Return");
    EXPECT_NE(dialog.Look(type), typeBefore);
}

void SettingsByClicks::ChangeEverything(TestedPlayer& player, SettingsDialog& dialog, Looks& looks) {
    ASSERT_TRUE(dialog.Open());
    ExpectMarks(dialog, {kHighQuality, kDeflash, kEfficiency, kThrow0, kTimerHigh},
                {kEffect, kThrow2, kTimerLow});
    ClickMarks(dialog, {kHighQuality, kDeflash}, false);
    ClickMarks(dialog, {kEffect, kThrow2, kTimerLow}, true);

    ASSERT_TRUE(dialog.ShowPage(4));
    looks.speed = dialog.Look(kSpeed);
    ASSERT_TRUE(dialog.ClickSlider(kSpeed, kSpeed.x + kSpeed.width * 3 / 8)); // one step of four

    ASSERT_TRUE(dialog.ShowPage(5));
    ExpectMarks(dialog, {kNormalResolution}, {kLowResolution});
    ClickMarks(dialog, {kLowResolution}, true);

    ASSERT_TRUE(dialog.ShowPage(6));
    for (const Area& slider : kColours)
        looks.colours.push_back(dialog.Look(slider));
    for (const Area& slider : kColours)
        ASSERT_TRUE(dialog.ClickSlider(slider, slider.x + 200));

    ChangeCapture(player, dialog, 7, m_pictures.Path());
    ChangeCapture(player, dialog, 8, m_series.Path());
    ASSERT_TRUE(dialog.Accept());
}

} // namespace

TEST_F(SettingsByClicks, TenAreKeptOverARestartAndTheOthersAreBackAtTheirStart) {
    Looks looks;
    std::string saved;
    {
        TestedPlayer player(m_desktop);
        SettingsDialog dialog(m_desktop, player);
        OpenFilm(player);
        looks.status = Status(player, dialog);
        player.Key("space"); // so that the film does not end meanwhile
        ChangeEverything(player, dialog, looks);
        if (HasFatalFailure()) return;
        EXPECT_NE(Status(player, dialog), looks.status); // double speed
        ASSERT_EQ(player.Close(), 0);
        saved = Content(player.Folder() / "Player.config");
    }
    const std::string pictures = m_pictures.Path();
    const std::string series = m_series.Path();
    EXPECT_EQ(saved, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerSettings>\n    <FilePath>" +
                         m_media.Path().string() + "/</FilePath>\n    <CappicPath>" + pictures +
                         "</CappicPath>\n    <ConCapPath>" + series +
                         "</ConCapPath>\n    <HighQuality>0</HighQuality>\n    <Deflash>0</Deflash>\n"
                         "    <ThrowBNum>2</ThrowBNum>\n    <Timer>2</Timer>\n"
                         "    <DisplayType>2</DisplayType>\n    <CappicType>1</CappicType>\n"
                         "    <ConCapType>1</ConCapType>\n</PlayerSettings>\n");

    PlayerRun::Setup setup;
    setup.settings = saved;
    TestedPlayer player(m_desktop, setup);
    SettingsDialog dialog(m_desktop, player);
    OpenFilm(player);
    EXPECT_EQ(Status(player, dialog), looks.status); // normal speed
    player.Key("space");
    ASSERT_GE(player.StandingNumber(), 0);
    CaptureByMenu(player);
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            const fs::directory_iterator found(pictures);
            return found != fs::directory_iterator() && found->path().extension() == ".jpeg";
        },
        15s));

    ASSERT_TRUE(dialog.Open());
    ExpectMarks(dialog, {kEfficiency, kThrow2, kTimerLow},
                {kHighQuality, kDeflash, kEffect, kThrow0, kTimerHigh});
    ASSERT_TRUE(dialog.ShowPage(4));
    EXPECT_EQ(dialog.Look(kSpeed), looks.speed);
    ASSERT_TRUE(dialog.ShowPage(5));
    ExpectMarks(dialog, {kLowResolution}, {kNormalResolution});
    ASSERT_TRUE(dialog.ShowPage(6));
    for (std::size_t n = 0; n < looks.colours.size(); ++n)
        EXPECT_EQ(dialog.Look(kColours[n]), looks.colours[n]) << "slider " << n;
    ASSERT_TRUE(dialog.Cancel());
    ASSERT_EQ(player.Close(), 0);
    EXPECT_EQ(Content(player.Folder() / "Player.config"), saved);
}
