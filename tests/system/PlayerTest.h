// What the whole-program tests share: a desktop, a clip, and the program's settings file.
#pragma once

#include "tests/support/BarCode.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"
#include "tests/system/Desktop.h"
#include "tests/system/PlayerRun.h"

#include <gtest/gtest.h>

#include <string>

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

    std::string Make(const std::string& name, const support::ClipOptions& options) {
        const std::string path = m_media / name;
        support::MakeClip(path, options);
        return path;
    }

    static constexpr int kFrames = 500;

    support::TemporaryFolder m_media;
    Desktop m_desktop;
};

// Puts the capture command of the video's context menu to work: the fourth entry from the end, by keyboard.
inline void CaptureByMenu(PlayerRun& player) {
    const Area main = player.MainArea();
    const Area picture = player.PictureArea();
    player.Click(picture.x - main.x + picture.width / 2, picture.y - main.y + picture.height / 2, 3);
    for (int i = 0; i < 4; ++i)
        player.Key("Up");
    player.Key("Return");
}

} // namespace system_tests
