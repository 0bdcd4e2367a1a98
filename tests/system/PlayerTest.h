// What the whole-program tests share: a desktop, a clip, and the program's settings file.
#pragma once

#include "tests/support/BarCode.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"
#include "tests/system/Desktop.h"
#include "tests/system/PlayerRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace system_tests {

using namespace std::chrono_literals;

// The ten settings as the program writes them.
struct Settings {
    std::string mediaFolder;
    std::string captureFolder;
    int captureType = 0; // 0 BMP, 1 JPEG

    std::string Text() const {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerSettings>\n    <FilePath>" + mediaFolder +
               "</FilePath>\n    <CappicPath>" + captureFolder + "</CappicPath>\n    <ConCapPath>" +
               captureFolder +
               "</ConCapPath>\n    <HighQuality>1</HighQuality>\n    <Deflash>1</Deflash>\n"
               "    <ThrowBNum>0</ThrowBNum>\n    <Timer>1</Timer>\n    <DisplayType>1</DisplayType>\n"
               "    <CappicType>" +
               std::to_string(captureType) +
               "</CappicType>\n    <ConCapType>0</ConCapType>\n</PlayerSettings>\n";
    }
};

// Leaves a screenshot when its test has failed.
class TestedPlayer : public PlayerRun {
  public:
    using PlayerRun::PlayerRun;
    ~TestedPlayer() {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        if (testing::Test::HasFailure())
            Screenshot(std::string(test->test_suite_name()) + "." + test->name());
    }
};

class PlayerTest : public testing::Test {
  protected:
    PlayerTest() = default;
    explicit PlayerTest(const Desktop::Setup& desktop) : m_desktop(desktop) {}

    // A clip of 500 pictures, 20 s, with sound and B pictures, in a folder of its own.
    std::string MakeFilm(const std::string& name = "film.mp4") {
        support::ClipOptions options;
        options.width = 640;
        options.height = 360;
        options.frames = kFrames;
        options.bFrames = 2;
        options.sound = true;
        return Make(name, options);
    }

    // A clip of a second or so that shows numbers from `firstNumber` on.
    std::string MakeShort(const std::string& name, int firstNumber = 0, int frames = 30) {
        support::ClipOptions options;
        options.width = 640;
        options.height = 360;
        options.frames = frames;
        options.firstNumber = firstNumber;
        return Make(name, options);
    }

    std::string Make(const std::string& name, const support::ClipOptions& options) {
        const std::string path = m_media / name;
        support::MakeClip(path, options);
        return path;
    }

    static constexpr int kFrames = 500;

    support::TemporaryFolder m_media;
    Desktop m_desktop;
};

// The program ended with this code of its own accord: no signal ended it, and no sanitizer, whose codes are
// small as well.
inline void ExpectEndedByItself(PlayerRun& player, int code) {
    const std::string output = player.Process().Output();
    EXPECT_LT(code, 128) << output;
    EXPECT_THAT(output, testing::Not(testing::HasSubstr("Sanitizer")));
    EXPECT_THAT(output, testing::Not(testing::HasSubstr("runtime error:")));
}

// Commands of the video's context menu.
inline void ChooseFromVideoMenu(PlayerRun& player, int entry) {
    player.ClickAt(player.PictureArea(), 3);
    player.ChooseInMenu(entry);
}

// Chooses play mode 1 to 4 from the menu of the playlist's button.
inline void ChoosePlayMode(PlayerRun& player, int mode) {
    player.PressButton("Select the Play Modes");
    player.ChooseInMenu(mode);
}

// The playlist from top to bottom.
inline std::vector<std::string> NamesIn(PlayerRun& player) {
    std::vector<std::string> names;
    for (const auto& entry : player.Texts().Playlist())
        names.push_back(entry.name);
    return names;
}

// Drags a row of the playlist by hand to a place of the screen.
inline void DragRow(PlayerRun& player, std::size_t row, int x, int y) {
    const Area from = player.Texts().Playlist().at(row).place;
    const Area main = player.MainArea();
    const int startX = from.x + from.width / 2;
    const int startY = from.y + from.height / 2;
    player.Drag(startX - main.x, startY - main.y, x - startX, y - startY);
}

inline void CaptureByMenu(PlayerRun& player) {
    ChooseFromVideoMenu(player, -4);
}

inline void ToggleContinuousCapture(PlayerRun& player) {
    ChooseFromVideoMenu(player, -3);
}

} // namespace system_tests
