// Captured pictures: names, contents, failures, and captures on the library's thread beside those of the
// GUI's.
#include "engine/CaptureFile.h"
#include "engine/Operate.h"
#include "engine/PlayEvents.h"
#include "tests/fakes/DravoFake.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/HangingDisk.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string Contents(const std::string& strFile) {
    std::ifstream file(strFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Capture : public testing::Test {
  protected:
    void SetUp() override {
        m_fake.Reset();
        m_fake.SetPictureSize(64, 48);
        m_strDir = m_folder.Path().string();
        ASSERT_TRUE(m_operate.Init(m_aPath));
        m_operate.SetDisplayCallBack();
        ASSERT_TRUE(m_operate.Open(m_aPath));
        m_fake.TakeCalls();
    }
    void TearDown() override { g_pApp = nullptr; }

    bool CapPic(int nType) { return m_operate.CapPic(nType, m_strDir.data()); }

    // Names in the folder, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    DravoFake& m_fake = DravoFake::Get();
    COperate m_operate;
    support::TemporaryFolder m_folder;
    std::string m_strDir;
    char m_aPath[8] = "/a.mp4";
};

// Captures on whatever thread the library displays on, as the main window does.
class CCapturingWindow : public CPlayEvents {
  public:
    CCapturingWindow(COperate* pOperate, const std::string& strDir)
        : m_pOperate(pOperate), m_strDir(strDir) {}
    void SendMsg(int /*nCode*/) override {}
    void ConCapPic() override {
        const int nState = m_pOperate->GetCurrentState();
        if (nState == 0 || nState == 3) return;
        if (m_pOperate->CapPic(1, m_strDir.data())) ++m_nCaptured;
    }
    void CaptureFailed() override { ++m_nLateFailures; }

    std::atomic<int> m_nCaptured{0};
    std::atomic<int> m_nLateFailures{0};

  private:
    COperate* m_pOperate;
    std::string m_strDir;
};

TEST(CaptureFileName, HasTheLocalTimeAndATwoDigitCounter) {
    std::tm when{};
    when.tm_year = 126;
    when.tm_mon = 0;
    when.tm_mday = 2;
    when.tm_hour = 3;
    when.tm_min = 4;
    when.tm_sec = 5;
    EXPECT_EQ(CaptureFileName("/p", when, 7, "bmp"), "/p/picture-2026010203040507.bmp");
    EXPECT_EQ(CaptureFileName("/p", when, 0, "jpeg"), "/p/picture-2026010203040500.jpeg");
    EXPECT_EQ(CaptureFileName("/p", when, 123, "jpeg"), "/p/picture-20260102030405123.jpeg");
}

TEST_F(Capture, WritesABmpOfTheEnginesBytes) {
    m_fake.SetStills("the bmp", "the jpeg");
    const std::time_t before = std::time(nullptr);
    EXPECT_TRUE(CapPic(0));
    const std::time_t after = std::time(nullptr);
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetBMP(2, buffer, 15360, out)"));

    std::vector<std::string> expected;
    for (std::time_t when = before; when <= after; ++when) {
        std::tm local{};
        localtime_r(&when, &local);
        expected.push_back(CaptureFileName(m_strDir.c_str(), local, 0, "bmp"));
    }
    EXPECT_THAT(expected, testing::Contains(m_operate.GetLastCapFile()));
    EXPECT_EQ(Contents(m_operate.GetLastCapFile()), "the bmp");
}

TEST_F(Capture, EveryOtherTypeIsAJpeg) {
    m_fake.SetStills("the bmp", "the jpeg");
    EXPECT_TRUE(CapPic(1));
    EXPECT_TRUE(CapPic(-5));
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_GetJPEG(2, buffer, 15360, out)", "Dravo_GetJPEG(2, buffer, 15360, out)"));
    EXPECT_TRUE(m_operate.GetLastCapFile().ends_with("01.jpeg"));
    EXPECT_EQ(Contents(m_operate.GetLastCapFile()), "the jpeg");
}

TEST_F(Capture, TheTwoKindsCountIndependently) {
    EXPECT_TRUE(CapPic(0));
    EXPECT_TRUE(CapPic(1));
    EXPECT_TRUE(CapPic(1));
    EXPECT_TRUE(CapPic(0));
    std::vector<std::string> tails;
    for (const std::string& strName : Names()) {
        ASSERT_TRUE(strName.starts_with("picture-20")) << strName;
        EXPECT_TRUE(std::all_of(strName.begin() + 8, strName.begin() + 24, [](char c) {
            return c >= '0' && c <= '9';
        })) << strName;
        tails.push_back(strName.substr(22));
    }
    std::sort(tails.begin(), tails.end());
    EXPECT_THAT(tails, ElementsAre("00.bmp", "00.jpeg", "01.bmp", "01.jpeg"));
}

TEST_F(Capture, TheCountersGoOnWithTheNextFile) {
    EXPECT_TRUE(CapPic(0));
    m_operate.Close();
    m_operate.Init(m_aPath);
    m_operate.Open(m_aPath);
    EXPECT_TRUE(CapPic(0));
    EXPECT_TRUE(m_operate.GetLastCapFile().ends_with("01.bmp"));
}

TEST_F(Capture, TheBufferFollowsThePictureSize) {
    EXPECT_TRUE(CapPic(0));
    m_fake.SetPictureSize(10, 10);
    m_operate.GetImageSize();
    EXPECT_TRUE(CapPic(0));
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetBMP(2, buffer, 15360, out)"), 1);
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetBMP(2, buffer, 500, out)"), 1);
}

TEST_F(Capture, TheBufferGrowsWithAPictureThatGrowsInMidFile) {
    const std::string strLarge(15361, 'b'); // one byte more than the first picture's buffer holds
    m_fake.SetStills(strLarge, strLarge);
    m_fake.SetPictureSize(128, 96);
    EXPECT_TRUE(CapPic(0));
    EXPECT_THAT(m_fake.TakeCalls(),
                ElementsAre("Dravo_GetBMP(2, buffer, 15360, out)", "Dravo_GetPictureSize(2, out, out)",
                            "Dravo_GetBMP(2, buffer, 61440, out)"));
    EXPECT_EQ(Contents(m_operate.GetLastCapFile()), strLarge);
    EXPECT_EQ(m_operate.GetImageWidth(), 128);
    EXPECT_EQ(m_operate.GetImageHeight(), 96);
    // The next one fits at once.
    EXPECT_TRUE(CapPic(1));
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetJPEG(2, buffer, 61440, out)"));
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(Capture, AContinuousCaptureOutlivesAPictureThatGrows) {
    CCapturingWindow window(&m_operate, m_strDir);
    g_pApp = &window;
    std::thread library([this] {
        m_fake.FireDisplay(2);
        m_fake.SetStills("", std::string(15361, 'j'));
        m_fake.SetPictureSize(128, 96);
        m_fake.FireDisplay(2);
        m_fake.FireDisplay(2);
    });
    library.join();
    EXPECT_EQ(window.m_nCaptured, 3);
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetPictureSize"), 1);
}

TEST_F(Capture, AFailureForAnotherReasonIsNotTriedAgain) {
    m_fake.QueueResults("Dravo_GetBMP", {0});
    EXPECT_FALSE(CapPic(0));
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetBMP"), 1);
}

// The size that a capture reads from a file that is closed meanwhile is not that of the next one.
TEST_F(Capture, AGrownPictureOfAClosedFileLeavesTheNextFilesSizeAlone) {
    m_fake.SetStills(std::string(15361, 'b'), "");
    m_fake.SetPictureSize(128, 96);
    m_fake.SetHook("Dravo_GetBMP", [this] {
        m_fake.SetHook("Dravo_GetBMP", {});
        m_operate.Close();
        m_operate.Init(m_aPath);
        m_fake.SetPictureSize(10, 10);
        m_operate.Open(m_aPath);
        m_operate.GetImageSize();
        m_fake.SetPictureSize(128, 96);
    });
    CapPic(0);
    EXPECT_EQ(m_operate.GetImageWidth(), 10);
    EXPECT_EQ(m_operate.GetImageHeight(), 10);
}

TEST_F(Capture, FailsWhenTheEngineHasNoPictureAndCountsNothing) {
    m_fake.QueueResults("Dravo_GetBMP", {0});
    EXPECT_FALSE(CapPic(0));
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(m_operate.GetLastCapFile(), "");
    EXPECT_TRUE(CapPic(0));
    EXPECT_TRUE(m_operate.GetLastCapFile().ends_with("00.bmp"));
}

TEST_F(Capture, FailsWhereTheFolderIsMissing) {
    std::string strMissing = m_strDir + "/missing";
    EXPECT_FALSE(m_operate.CapPic(0, strMissing.data()));
    EXPECT_FALSE(m_operate.CapPic(0, nullptr));
    EXPECT_EQ(m_operate.GetLastCapFile(), "");
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Capture, FailsAfterClose) {
    m_operate.Close();
    EXPECT_FALSE(CapPic(0));
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Capture, WorksWithLongFoldersAndAnyBytes) {
    std::string strDeep = m_strDir;
    for (int n = 0; n < 3; ++n)
        strDeep += "/" + std::string(100, 'd') + "\xe5\xbd\xb1 %s\n";
    std::filesystem::create_directories(strDeep);
    EXPECT_TRUE(m_operate.CapPic(1, strDeep.data()));
    EXPECT_EQ(Contents(m_operate.GetLastCapFile()), "JPEG");
}

TEST_F(Capture, LeavesNoHalfPictureBehindWhenWritingFails) {
    m_fake.SetStills(std::string(10000, 'b'), "");
    {
        const support::FileSizeLimit limit(5000);
        EXPECT_FALSE(CapPic(0));
    }
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(m_operate.GetLastCapFile(), "");
}

TEST_F(Capture, APictureHasItsNameOnlyWhenItIsWhole) {
    const std::string strName = m_strDir + "/picture-2026010203040500.bmp";
    const std::string strOld = "another program's picture";
    const std::string strNew(10000, 'b');
    const auto bytes = [](const std::string& str) {
        return reinterpret_cast<const unsigned char*>(str.data());
    };
    ASSERT_TRUE(WriteCaptureFile(strName, bytes(strOld), strOld.size()));
    {
        const support::FileSizeLimit limit(5000);
        EXPECT_FALSE(WriteCaptureFile(strName, bytes(strNew), strNew.size()));
    }
    EXPECT_EQ(Contents(strName), strOld);
    EXPECT_EQ(Names().size(), 1U);
    EXPECT_TRUE(WriteCaptureFile(strName, bytes(strNew), strNew.size()));
    EXPECT_EQ(Contents(strName), strNew);
    EXPECT_EQ(Names().size(), 1U);
    // A folder that has the name stays one.
    const std::string strFolder = m_strDir + "/picture-2026010203040501.bmp";
    std::filesystem::create_directory(strFolder);
    EXPECT_FALSE(WriteCaptureFile(strFolder, bytes(strNew), strNew.size()));
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(Capture, ADisplayedPictureIsCapturedOnTheLibrarysThread) {
    CCapturingWindow window(&m_operate, m_strDir);
    g_pApp = &window;
    std::thread library([this] { EXPECT_TRUE(m_fake.FireDisplay(2)); });
    library.join();
    EXPECT_EQ(window.m_nCaptured, 1);
    EXPECT_EQ(Names().size(), 1U);
}

TEST_F(Capture, CapturesOfTwoThreadsEachGetTheirOwnFile) {
    CCapturingWindow window(&m_operate, m_strDir);
    g_pApp = &window;
    constexpr int kEach = 150;
    std::thread library([this] {
        for (int n = 0; n < kEach; ++n)
            m_fake.FireDisplay(2);
    });
    int nCaptured = 0;
    for (int n = 0; n < kEach; ++n) {
        nCaptured += CapPic(1) ? 1 : 0;
        m_operate.GetImageSize();
    }
    library.join();
    EXPECT_EQ(nCaptured, kEach);
    EXPECT_EQ(window.m_nCaptured, kEach);
    EXPECT_EQ(Names().size(), 2U * kEach);
    for (const std::string& strName : Names())
        EXPECT_EQ(Contents(m_folder / strName), "JPEG") << strName;
}

// The GUI thread's capture waits for the picture of a seek, which the playing thread cannot deliver before
// its callback, itself capturing, has come to an end.
TEST_F(Capture, ACaptureThatWaitsForThePlayingThreadLetsItsCallbackCapture) {
    CCapturingWindow window(&m_operate, m_strDir);
    g_pApp = &window;
    std::promise<void> waiting;
    std::promise<void> callbackEnded;
    m_fake.SetHook("Dravo_GetBMP", [&] {
        waiting.set_value();
        EXPECT_EQ(callbackEnded.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    });
    std::thread library([&] {
        waiting.get_future().wait();
        m_fake.FireDisplay(2);
        callbackEnded.set_value();
    });
    EXPECT_TRUE(CapPic(0));
    library.join();
    EXPECT_EQ(window.m_nCaptured, 1);
}

// Closing waits in the library for the callback that is capturing just then.
TEST_F(Capture, CloseWaitsForACaptureThatIsUnderWay) {
    CCapturingWindow window(&m_operate, m_strDir);
    g_pApp = &window;
    std::promise<void> capturing;
    std::promise<void> closing;
    m_fake.SetHook("Dravo_GetJPEG", [&] {
        capturing.set_value();
        closing.get_future().wait();
    });
    m_fake.SetHook("Dravo_Stop", [&] { closing.set_value(); });
    std::thread library([this] { m_fake.FireDisplay(2); });
    capturing.get_future().wait();
    EXPECT_TRUE(m_operate.Close());
    EXPECT_EQ(window.m_nCaptured, 1);
    library.join();
    EXPECT_FALSE(m_fake.FireDisplay(2));
}

TEST_F(Capture, FilesMayBeOpenedAndClosedWhileTheLibraryDisplays) {
    CCapturingWindow window(&m_operate, m_strDir);
    g_pApp = &window;
    std::atomic<bool> bEnd{false};
    std::thread library([&] {
        while (!bEnd) {
            const int nPort = m_fake.OpenPort();
            if (nPort > 1) m_fake.FireDisplay(nPort);
            std::this_thread::yield();
        }
    });
    for (int n = 0; n < 50; ++n) {
        ASSERT_TRUE(m_operate.Close());
        ASSERT_TRUE(m_operate.Init(m_aPath));
        m_operate.SetDisplayCallBack();
        ASSERT_TRUE(m_operate.Open(m_aPath));
        CapPic(1);
    }
    bEnd = true;
    library.join();
    EXPECT_EQ(Names().size(), static_cast<std::size_t>(window.m_nCaptured) + 50U);
}

// ---- A disk that hangs. Each of these tests would last for ever if anything waited for it.

using namespace std::chrono_literals;

class HangingDisk : public Capture {
  protected:
    void SetUp() override {
        Capture::SetUp();
        g_pApp = &m_window;
        m_fake.SetPictureSize(320, 200);
        m_operate.GetImageSize();
        m_fake.SetStills(std::string(200000, 'b'), std::string(200000, 'j'));
    }
    void TearDown() override {
        m_disk.GoOn();
        m_operate.FinishCaptures(60s);
        Capture::TearDown();
    }

    // The library's thread displays, and is held up by the disk until somebody is in haste.
    std::thread Display(int nPictures) {
        return std::thread([this, nPictures] {
            for (int n = 0; n < nPictures; ++n)
                m_fake.FireDisplay(2);
        });
    }
    bool IsWriting() {
        return support::WaitUntil([this] { return m_disk.IsWaiting(); }, 20s);
    }
    // What is in the files, by their counters.
    std::vector<std::string> Written() {
        std::vector<std::string> contents;
        for (const std::string& strName : Names()) {
            if (strName.starts_with("picture-") && !strName.ends_with(".part"))
                contents.push_back(strName.substr(22));
        }
        std::sort(contents.begin(), contents.end());
        return contents;
    }

    CCapturingWindow m_window{&m_operate, m_folder.Path().string()};
    // Holds up the first JPEG.
    support::HangingDisk m_disk{m_folder.Path(), getpid(), 0, "jpeg"};
};

TEST_F(HangingDisk, HoldsNoCommandUpAndGetsEveryPictureInTheEnd) {
    std::thread library = Display(3);
    ASSERT_TRUE(IsWriting());
    EXPECT_EQ(m_window.m_nCaptured, 0) << "so far it waits for the disk";
    EXPECT_TRUE(m_operate.Stop());
    library.join();
    EXPECT_GE(m_window.m_nCaptured, 1) << "those that are not displayed any more are none";
    EXPECT_TRUE(m_operate.Play());
    EXPECT_TRUE(m_operate.Pause());
    library = Display(2);
    EXPECT_TRUE(m_operate.Forward());
    EXPECT_TRUE(m_operate.Back());
    EXPECT_TRUE(m_operate.Play());
    EXPECT_TRUE(m_operate.Close());
    library.join();
    EXPECT_THAT(Written(), IsEmpty());
    m_disk.GoOn();
    EXPECT_TRUE(m_operate.FinishCaptures(60s));
    EXPECT_EQ(Written().size(), static_cast<std::size_t>(m_window.m_nCaptured));
    EXPECT_EQ(m_window.m_nLateFailures, 0);
    EXPECT_TRUE(m_operate.GetLastCapFile().ends_with(Written().back())) << "in order";
}

TEST_F(HangingDisk, LetsACaptureInHasteGoAndHasItsPictureLater) {
    {
        const auto haste = m_operate.Haste();
        EXPECT_TRUE(CapPic(1));
        EXPECT_TRUE(CapPic(0)); // behind the other
    }
    EXPECT_EQ(m_operate.GetLastCapFile(), "");
    EXPECT_THAT(Written(), IsEmpty());
    m_disk.GoOn();
    EXPECT_TRUE(m_operate.FinishCaptures(60s));
    EXPECT_THAT(Written(), ElementsAre("00.bmp", "00.jpeg"));
    EXPECT_TRUE(m_operate.GetLastCapFile().ends_with("00.bmp"));
    EXPECT_EQ(Contents(m_operate.GetLastCapFile()), std::string(200000, 'b'));
}

TEST_F(HangingDisk, ThatIsLostInTheEndIsToldOnceAndGetsNothingMore) {
    {
        const auto haste = m_operate.Haste();
        for (int n = 0; n < 5; ++n)
            EXPECT_TRUE(CapPic(1));
    }
    const support::TemporaryFolder elsewhere;
    std::filesystem::rename(m_folder.Path(), elsewhere.Path());
    std::filesystem::create_directory(m_folder.Path());
    m_disk.GoOn(elsewhere.Path());
    EXPECT_TRUE(support::WaitUntil([this] { return m_window.m_nLateFailures > 0; }, 20s));
    EXPECT_TRUE(CapPic(1)) << "the next one finds a disk again";
    EXPECT_EQ(m_window.m_nLateFailures, 1);
    EXPECT_THAT(Written(), ElementsAre("05.jpeg"));
}

TEST_F(HangingDisk, IsNotWaitedForAtTheEndOfTheProgram) {
    {
        const auto haste = m_operate.Haste();
        EXPECT_TRUE(CapPic(1));
    }
    EXPECT_FALSE(m_operate.FinishCaptures(50ms));
    m_disk.GoOn();
    EXPECT_TRUE(m_operate.FinishCaptures(60s));
    EXPECT_THAT(Written(), ElementsAre("00.jpeg"));
}

TEST_F(HangingDisk, TakesNoMoreThanTheMemoryMayHold) {
    std::string strMuch(40 << 20, 'j');
    m_fake.SetPictureSize(4096, 2160);
    m_operate.GetImageSize();
    m_fake.SetStills("", strMuch);
    const auto haste = m_operate.Haste();
    int nTaken = 0;
    while (nTaken < 20 && CapPic(1))
        ++nTaken;
    EXPECT_EQ(nTaken, static_cast<int>(CCaptureWriter::kMostBytes / strMuch.size()));
}

} // namespace
