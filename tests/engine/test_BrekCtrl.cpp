// The adapter: which calls each operation makes on the playback library, and what becomes of their results.
#include "engine/BrekCtrl.h"
#include "engine/Operate.h"
#include "engine/PlayEvents.h"
#include "tests/fakes/DravoFake.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class BrekCtrl : public testing::Test {
  protected:
    void SetUp() override { m_fake.Reset(); }

    // Takes port 1 and forgets the call.
    void TakePort() {
        ASSERT_TRUE(m_ctrl.Init());
        m_fake.TakeCalls();
    }

    DravoFake& m_fake = DravoFake::Get();
    CBrekCtrl m_ctrl;
    char m_aPath[8] = "/a.mp4";
};

// An operation that is one call: its result is the call's.
struct OneCall {
    const char* operation;
    const char* function;
    std::string call;
    std::function<bool(CBrekCtrl&)> run;
};

unsigned char g_aBuffer[16];
unsigned long g_nWritten;
long g_nWidth;
long g_nHeight;
char g_aPath[] = "/films/\xe5\xbd\xb1 1.mp4";

FRAME_POS* SomePos() {
    return reinterpret_cast<FRAME_POS*>(g_aBuffer);
}

std::vector<OneCall> OneCalls() {
    const std::string pos = DravoFake::Address(g_aBuffer);
    return {
        {"Open", "Dravo_OpenFile", std::string("Dravo_OpenFile(1, \"") + g_aPath + "\")",
         [](CBrekCtrl& c) { return c.Open(g_aPath); }},
        {"Close", "Dravo_CloseFile", "Dravo_CloseFile(1)", [](CBrekCtrl& c) { return c.Close(); }},
        {"Pause", "Dravo_Pause", "Dravo_Pause(1, 1)", [](CBrekCtrl& c) { return c.Pause(true); }},
        {"Resume", "Dravo_Pause", "Dravo_Pause(1, 0)", [](CBrekCtrl& c) { return c.Pause(false); }},
        {"Fast", "Dravo_Fast", "Dravo_Fast(1)", [](CBrekCtrl& c) { return c.Fast(); }},
        {"Slow", "Dravo_Slow", "Dravo_Slow(1)", [](CBrekCtrl& c) { return c.Slow(); }},
        {"GotoStart", "Dravo_SetCurrentFrameNum", "Dravo_SetCurrentFrameNum(1, 0)",
         [](CBrekCtrl& c) { return c.GotoStart(); }},
        {"StepBackward", "Dravo_OneByOneBack", "Dravo_OneByOneBack(1)",
         [](CBrekCtrl& c) { return c.StepBackward(); }},
        {"SoundOff", "Dravo_StopSound", "Dravo_StopSound()",
         [](CBrekCtrl& c) { return c.Sound(false, 500); }},
        {"SetFramePos", "Dravo_SetPlayPos", "Dravo_SetPlayPos(1, 0.25)",
         [](CBrekCtrl& c) { return c.SetFramePos(0.25F); }},
        {"SetTimePos", "Dravo_SetPlayedTimeEx", "Dravo_SetPlayedTimeEx(1, 90000)",
         [](CBrekCtrl& c) { return c.SetTimePos(90); }},
        {"DeflashOn", "Dravo_SetDeflash", "Dravo_SetDeflash(1, 1)",
         [](CBrekCtrl& c) { return c.Deflash(true); }},
        {"DeflashOff", "Dravo_SetDeflash", "Dravo_SetDeflash(1, 0)",
         [](CBrekCtrl& c) { return c.Deflash(false); }},
        {"QualityHigh", "Dravo_SetPicQuality", "Dravo_SetPicQuality(1, 1)",
         [](CBrekCtrl& c) { return c.Quality(true); }},
        {"QualityLow", "Dravo_SetPicQuality", "Dravo_SetPicQuality(1, 0)",
         [](CBrekCtrl& c) { return c.Quality(false); }},
        {"SetDisplayType", "Dravo_SetDisplayType", "Dravo_SetDisplayType(1, 2)",
         [](CBrekCtrl& c) { return c.SetDisplayType(2); }},
        {"SelectTimer", "Dravo_SetTimerType", "Dravo_SetTimerType(1, 2, 0)",
         [](CBrekCtrl& c) { return c.SelectTimer(2); }},
        {"ThrowB", "Dravo_ThrowBFrameNum", "Dravo_ThrowBFrameNum(1, 2)",
         [](CBrekCtrl& c) { return c.ThrowB(2); }},
        {"GetBMP", "Dravo_GetBMP", "Dravo_GetBMP(1, buffer, 16, out)",
         [](CBrekCtrl& c) { return c.GetBMP(g_aBuffer, 16, &g_nWritten); }},
        {"GetJPEG", "Dravo_GetJPEG", "Dravo_GetJPEG(1, buffer, 16, out)",
         [](CBrekCtrl& c) { return c.GetJPEG(g_aBuffer, 16, &g_nWritten); }},
        {"SetDisplayRegion", "Dravo_SetDisplayRegion", "Dravo_SetDisplayRegion(1, 3, {-1, 2, 30, 40}, 99, 1)",
         [](CBrekCtrl& c) {
             return c.SetDisplayRegion(3, {-1, 2, 30, 40}, 99, 1);
         }},
        {"RefreshPlay", "Dravo_RefreshPlay", "Dravo_RefreshPlay(1)",
         [](CBrekCtrl& c) { return c.RefreshPlay(); }},
        {"RefreshPlayEx", "Dravo_RefreshPlayEx", "Dravo_RefreshPlayEx(1, 5)",
         [](CBrekCtrl& c) { return c.RefreshPlayEx(5); }},
        {"GetPictureSize", "Dravo_GetPictureSize", "Dravo_GetPictureSize(1, out, out)",
         [](CBrekCtrl& c) { return c.GetPictureSize(&g_nWidth, &g_nHeight); }},
        {"SetEncChangeMsg", "Dravo_SetEncTypeChangeCallBack",
         "Dravo_SetEncTypeChangeCallBack(1, callback, 0x1234)",
         [](CBrekCtrl& c) { return c.SetEncChangeMsg(0x1234); }},
        {"SetFileEndCallBack", "Dravo_SetFileEndCallback",
         "Dravo_SetFileEndCallback(1, callback, " + pos + ")",
         [](CBrekCtrl& c) { return c.SetFileEndCallBack(g_aBuffer); }},
        {"SetFileRefCallBack", "Dravo_SetFileRefCallBack",
         "Dravo_SetFileRefCallBack(1, callback, 0x7fff12345678)",
         [](CBrekCtrl& c) { return c.SetFileRefCallBack(0x7fff12345678); }},
        {"SetDisplayCallBack", "Dravo_SetDisplayCallBack", "Dravo_SetDisplayCallBack(1, callback)",
         [](CBrekCtrl& c) { return c.SetDisplayCallBack(); }},
        {"SetColor", "Dravo_SetColor", "Dravo_SetColor(1, 0, 10, 20, 30, 40)",
         [](CBrekCtrl& c) { return c.SetColor(10, 20, 30, 40); }},
        {"CheckKeyFramePos", "Dravo_GetKeyFramePos", "Dravo_GetKeyFramePos(1, 70, 2, " + pos + ")",
         [](CBrekCtrl& c) { return c.CheckKeyFramePos(70, 2, SomePos()); }},
        {"CheckNextKeyFramePos", "Dravo_GetNextKeyFramePos",
         "Dravo_GetNextKeyFramePos(1, 71, 1, " + pos + ")",
         [](CBrekCtrl& c) { return c.CheckNextKeyFramePos(71, 1, SomePos()); }},
    };
}

class OneCallOperation : public testing::TestWithParam<OneCall> {};

TEST_P(OneCallOperation, MakesItsOneCallAndGivesItsResult) {
    DravoFake& fake = DravoFake::Get();
    fake.Reset();
    CBrekCtrl ctrl;
    ctrl.Init();
    fake.TakeCalls();

    EXPECT_TRUE(GetParam().run(ctrl));
    EXPECT_THAT(fake.TakeCalls(), ElementsAre(GetParam().call));

    fake.SetResult(GetParam().function, 0);
    EXPECT_FALSE(GetParam().run(ctrl));
    EXPECT_THAT(fake.TakeCalls(), ElementsAre(GetParam().call));
}

INSTANTIATE_TEST_SUITE_P(Each, OneCallOperation, testing::ValuesIn(OneCalls()),
                         [](const auto& tested) { return std::string(tested.param.operation); });

TEST_F(BrekCtrl, InitTakesAPortOnce) {
    EXPECT_TRUE(m_ctrl.Init());
    EXPECT_TRUE(m_ctrl.Init());
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetPort(out)"));
}

TEST_F(BrekCtrl, InitFailsWithoutAPortAndTriesAgainNextTime) {
    m_fake.QueueResults("Dravo_GetPort", {0, 1});
    EXPECT_FALSE(m_ctrl.Init());
    EXPECT_TRUE(m_ctrl.Init());
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetPort"), 2);
}

TEST_F(BrekCtrl, CallsWithoutAPortCarryMinusOne) {
    m_ctrl.Fast();
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_Fast(-1)"));
}

TEST_F(BrekCtrl, PlayDrawsThePictureAfterStarting) {
    TakePort();
    EXPECT_TRUE(m_ctrl.Play(77));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_Play(1, 77)", "Dravo_RefreshPlay(1)"));

    m_fake.SetResult("Dravo_RefreshPlay", 0);
    EXPECT_FALSE(m_ctrl.Play(77));
    m_fake.TakeCalls();

    m_fake.SetResult("Dravo_Play", 0);
    EXPECT_FALSE(m_ctrl.Play(77));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_Play(1, 77)"));
}

TEST_F(BrekCtrl, StopSilencesTheSoundToo) {
    TakePort();
    EXPECT_TRUE(m_ctrl.Stop());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_Stop(1)", "Dravo_StopSound()"));

    m_fake.SetResult("Dravo_StopSound", 0);
    EXPECT_FALSE(m_ctrl.Stop());
}

TEST_F(BrekCtrl, AStopThatIsRefusedLeavesTheSoundPlaying) {
    TakePort();
    m_fake.SetResult("Dravo_Stop", 0);
    EXPECT_FALSE(m_ctrl.Stop());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_Stop(1)"));
}

TEST_F(BrekCtrl, GotoEndWalksDownFromTheCountToTheFirstFrameAccepted) {
    TakePort();
    m_fake.QueueResults("Dravo_SetCurrentFrameNum", {0, 0, 1});
    EXPECT_TRUE(m_ctrl.GotoEnd(250));
    EXPECT_THAT(m_fake.TakeCalls(),
                ElementsAre("Dravo_SetCurrentFrameNum(1, 250)", "Dravo_SetCurrentFrameNum(1, 249)",
                            "Dravo_SetCurrentFrameNum(1, 248)"));
}

TEST_F(BrekCtrl, GotoEndFailsWhenEvenFrameOneIsRefused) {
    TakePort();
    m_fake.SetResult("Dravo_SetCurrentFrameNum", 0);
    EXPECT_FALSE(m_ctrl.GotoEnd(2));
    EXPECT_THAT(m_fake.TakeCalls(),
                ElementsAre("Dravo_SetCurrentFrameNum(1, 2)", "Dravo_SetCurrentFrameNum(1, 1)"));
}

TEST_F(BrekCtrl, GotoEndOfNoFramesCallsNothingAndFails) {
    TakePort();
    EXPECT_FALSE(m_ctrl.GotoEnd(0));
    EXPECT_THAT(m_fake.TakeCalls(), IsEmpty());
}

TEST_F(BrekCtrl, StepForwardFirstStopsLeavingOutPictures) {
    TakePort();
    EXPECT_TRUE(m_ctrl.StepForward());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_ThrowBFrameNum(1, 0)", "Dravo_OneByOne(1)"));

    m_fake.SetResult("Dravo_OneByOne", 0);
    EXPECT_FALSE(m_ctrl.StepForward());
    m_fake.TakeCalls();

    m_fake.SetResult("Dravo_ThrowBFrameNum", 0);
    EXPECT_FALSE(m_ctrl.StepForward());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_ThrowBFrameNum(1, 0)"));
}

TEST_F(BrekCtrl, SoundOnPlaysItAndSetsTheVolume) {
    TakePort();
    EXPECT_TRUE(m_ctrl.Sound(true, 65535));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_PlaySound(1)", "Dravo_SetVolume(1, 65535)"));

    m_fake.SetResult("Dravo_SetVolume", 0);
    EXPECT_FALSE(m_ctrl.Sound(true, 1));
    m_fake.TakeCalls();

    m_fake.SetResult("Dravo_PlaySound", 0);
    EXPECT_FALSE(m_ctrl.Sound(true, 1));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_PlaySound(1)"));
}

TEST_F(BrekCtrl, TheVolumeIsCutToSixteenBits) {
    TakePort();
    m_ctrl.Sound(true, 70000);
    EXPECT_EQ(m_fake.CountCalls("Dravo_SetVolume(1, 4464)"), 1);
}

TEST_F(BrekCtrl, QueriesGiveWhatTheLibraryAnswers) {
    TakePort();
    m_fake.SetResult("Dravo_GetPlayedTime", 11);
    m_fake.SetResult("Dravo_GetCurrentFrameNum", ~0UL);
    m_fake.SetResult("Dravo_GetFileTime", 3725);
    m_fake.SetResult("Dravo_GetFileTotalFrames", 93125);
    m_fake.SetResult("Dravo_GetCurrentFrameRate", 25);
    m_fake.SetPlayPos(0.5F);
    EXPECT_EQ(m_ctrl.GetCurrentPlayTime(), 11U);
    EXPECT_EQ(m_ctrl.GetCurrentFrame(), ~0UL);
    EXPECT_EQ(m_ctrl.GetFileTime(), 3725U);
    EXPECT_EQ(m_ctrl.GetFileFrame(), 93125U);
    EXPECT_EQ(m_ctrl.GetCurrentFrameRate(), 25U);
    EXPECT_EQ(m_ctrl.GetCurrentPosPrecent(), 0.5F);
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetPlayedTime(1)", "Dravo_GetCurrentFrameNum(1)",
                                            "Dravo_GetFileTime(1)", "Dravo_GetFileTotalFrames(1)",
                                            "Dravo_GetCurrentFrameRate(1)", "Dravo_GetPlayPos(1)"));
}

TEST_F(BrekCtrl, OutputsReachTheCaller) {
    TakePort();
    m_fake.SetPictureSize(1920, 1080);
    m_fake.SetStills("bmp file", "jpeg!");
    long nWidth = 0;
    long nHeight = 0;
    unsigned long nWritten = 0;
    EXPECT_TRUE(m_ctrl.GetPictureSize(&nWidth, &nHeight));
    EXPECT_EQ(nWidth, 1920);
    EXPECT_EQ(nHeight, 1080);
    EXPECT_TRUE(m_ctrl.GetBMP(g_aBuffer, sizeof(g_aBuffer), &nWritten));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(g_aBuffer), nWritten), "bmp file");
    EXPECT_TRUE(m_ctrl.GetJPEG(g_aBuffer, sizeof(g_aBuffer), &nWritten));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(g_aBuffer), nWritten), "jpeg!");
}

TEST_F(BrekCtrl, WhatTheLibraryDoesNotOfferSucceedsWithoutACall) {
    TakePort();
    EXPECT_TRUE(m_ctrl.BackPlay());
    EXPECT_TRUE(m_ctrl.CapPic());
    EXPECT_TRUE(m_ctrl.ResizeDisplaySize(1, 2, 3, 4));
    EXPECT_TRUE(m_ctrl.GetPic(g_aBuffer, 16));
    m_ctrl.SetDisplay(9);
    m_ctrl.SetDeinterlaceType(1);
    m_ctrl.SetWatermarkCallBack(1);
    m_ctrl.RegisterDrawFun(1);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(BrekCtrl, CheckFileTakesAPortOpensAndCloses) {
    EXPECT_TRUE(m_ctrl.CheckFile(m_aPath));
    EXPECT_TRUE(m_ctrl.CheckFile(m_aPath));
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_GetPort(out)", "Dravo_OpenFile(1, \"/a.mp4\")", "Dravo_CloseFile(1)",
                            "Dravo_OpenFile(1, \"/a.mp4\")", "Dravo_CloseFile(1)"));
}

TEST_F(BrekCtrl, CheckFileIsTrueAlsoWhenClosingFails) {
    m_fake.SetResult("Dravo_CloseFile", 0);
    EXPECT_TRUE(m_ctrl.CheckFile(m_aPath));
}

TEST_F(BrekCtrl, CheckFileFailsForNullAndForAFileThatDoesNotOpen) {
    EXPECT_FALSE(m_ctrl.CheckFile(nullptr));
    EXPECT_THAT(m_fake.TakeCalls(), IsEmpty());
    m_fake.RefuseFile("/a.mp4");
    EXPECT_FALSE(m_ctrl.CheckFile(m_aPath));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_GetPort(out)", "Dravo_OpenFile(1, \"/a.mp4\")"));
}

TEST_F(BrekCtrl, CheckFileFailsWithoutAPort) {
    m_fake.SetResult("Dravo_GetPort", 0);
    EXPECT_FALSE(m_ctrl.CheckFile(m_aPath));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_GetPort(out)"));
}

TEST_F(BrekCtrl, FreeGivesThePortBackSoThatInitTakesANewOne) {
    TakePort();
    m_ctrl.Free();
    m_ctrl.Free();
    EXPECT_TRUE(m_ctrl.Init());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_FreePort(1)", "Dravo_GetPort(out)"));
}

TEST_F(BrekCtrl, APortThatCannotBeFreedIsKept) {
    TakePort();
    m_fake.SetResult("Dravo_FreePort", 0);
    m_ctrl.Free();
    m_ctrl.Fast();
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_FreePort(1)", "Dravo_Fast(1)"));
}

TEST_F(BrekCtrl, PortZeroIsHeldButNeverFreed) {
    {
        m_fake.SetNextPort(0);
        CBrekCtrl ctrl;
        EXPECT_TRUE(ctrl.Init());
        EXPECT_TRUE(ctrl.Init());
        ctrl.Free();
    }
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetPort(out)"));
}

TEST_F(BrekCtrl, TheDestructorGivesThePortBack) {
    {
        CBrekCtrl ctrl;
        ctrl.Init();
    }
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetPort(out)", "Dravo_FreePort(1)"));
}

} // namespace
