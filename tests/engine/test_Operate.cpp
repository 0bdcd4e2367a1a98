// The facade: what each operation asks of the playback library, in which order, and what it does to the
// state.
#include "engine/Operate.h"
#include "tests/fakes/DravoFake.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The checking engine takes port 1, the first file's engine port 2.
class Operate : public testing::Test {
  protected:
    void SetUp() override { m_fake.Reset(); }

    // A file that plays; the calls so far are forgotten.
    void OpenFile() {
        m_fake.SetResult("Dravo_GetFileTime", 10);
        m_fake.SetResult("Dravo_GetFileTotalFrames", 250);
        m_fake.SetPictureSize(64, 48);
        ASSERT_TRUE(m_operate.SetPlayHwnd(77));
        ASSERT_TRUE(m_operate.Init(m_aPath));
        ASSERT_TRUE(m_operate.Open(m_aPath));
        m_fake.TakeCalls();
    }
    void OpenAndPause() {
        OpenFile();
        ASSERT_TRUE(m_operate.Pause());
        m_fake.TakeCalls();
    }
    void OpenAndStop() {
        OpenFile();
        ASSERT_TRUE(m_operate.Stop());
        m_fake.TakeCalls();
    }

    DravoFake& m_fake = DravoFake::Get();
    COperate m_operate;
    char m_aPath[8] = "/a.mp4";
};

// ---- Choosing the engine ----

TEST_F(Operate, StartsWithNoFile) {
    EXPECT_EQ(m_operate.GetCurrentState(), 0);
    EXPECT_EQ(m_operate.GetMediaType(), 0);
    EXPECT_EQ(m_operate.GetFileTime(), 0U);
    EXPECT_EQ(m_operate.GetFileFrame(), 0U);
    EXPECT_EQ(m_operate.GetImageWidth(), 0);
    EXPECT_EQ(m_operate.GetImageHeight(), 0);
    EXPECT_EQ(m_operate.GetLastCapFile(), "");
    EXPECT_FALSE(m_operate.GetFileRefStatus());
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, InitTestsTheFileOnAPortOfItsOwnAndTakesAnotherForPlaying) {
    EXPECT_TRUE(m_operate.Init(m_aPath));
    EXPECT_EQ(m_operate.GetMediaType(), 1);
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetPort(out)", "Dravo_OpenFile(1, \"/a.mp4\")",
                                            "Dravo_CloseFile(1)", "Dravo_GetPort(out)"));
}

TEST_F(Operate, InitDoesNotLookAtTheResultOfTheEnginesInit) {
    m_fake.QueueResults("Dravo_GetPort", {1, 0});
    EXPECT_TRUE(m_operate.Init(m_aPath));
}

TEST_F(Operate, InitFailsForAFileThatTheLibraryCannotOpenAndLeavesNoEngine) {
    m_fake.RefuseFile("/a.mp4");
    EXPECT_FALSE(m_operate.Init(m_aPath));
    EXPECT_EQ(m_operate.GetMediaType(), 2);
    m_fake.TakeCalls();
    EXPECT_FALSE(m_operate.GetPort());
    EXPECT_FALSE(m_operate.Start());
    EXPECT_EQ(m_operate.GetCurrentFrameRate(), 0U);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, InitFailsForNull) {
    EXPECT_FALSE(m_operate.Init(nullptr));
    EXPECT_EQ(m_operate.GetMediaType(), 0);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, TheCheckingEngineIsKeptForAllFiles) {
    EXPECT_TRUE(m_operate.JudgeMediaType(m_aPath));
    EXPECT_TRUE(m_operate.JudgeMediaType(m_aPath));
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetPort"), 1);
}

TEST_F(Operate, NoEngineIsSelectedForUnknownMedia) {
    m_fake.RefuseFile("/a.mp4");
    EXPECT_FALSE(m_operate.JudgeMediaType(m_aPath));
    EXPECT_FALSE(m_operate.SelectCtrlProxy());
    m_fake.TakeCalls();
    EXPECT_FALSE(m_operate.GetPort());
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, GetPortMakesTheEngineTakeItsPort) {
    m_operate.JudgeMediaType(m_aPath);
    EXPECT_TRUE(m_operate.SelectCtrlProxy());
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.GetPort());
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_GetPort(out)"));
}

// ---- Opening and closing ----

TEST_F(Operate, OpenPlaysTheFileWithTheStoredOptions) {
    m_operate.SetPlayHwnd(77);
    m_operate.SetDeinterlaceValue(1);
    m_operate.SetPlayerTimerValue(2);
    m_operate.SetDeflashValue(false);
    m_operate.SetDisplayTypeValue(2);
    m_operate.SetHighQualityValue(false);
    m_operate.SetThrowBNumValue(2);
    m_operate.SetSoundValue(true);
    m_operate.SetVolumeValue(30000);
    m_operate.SetSpeedValue(2);
    m_fake.SetResult("Dravo_GetFileTime", 3725);
    m_fake.SetResult("Dravo_GetFileTotalFrames", 93125);
    m_fake.SetPictureSize(1920, 1080);
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();

    EXPECT_TRUE(m_operate.Open(m_aPath));
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_OpenFile(2, \"/a.mp4\")", "Dravo_GetFileTime(2)",
                            "Dravo_GetFileTotalFrames(2)", "Dravo_Play(2, 77)", "Dravo_RefreshPlay(2)",
                            "Dravo_PlaySound(2)", "Dravo_SetVolume(2, 30000)", "Dravo_SetTimerType(2, 2, 0)",
                            "Dravo_SetDeflash(2, 0)", "Dravo_SetDisplayType(2, 2)",
                            "Dravo_SetPicQuality(2, 0)", "Dravo_ThrowBFrameNum(2, 2)", "Dravo_Fast(2)",
                            "Dravo_Fast(2)", "Dravo_GetPictureSize(2, out, out)"));
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
    EXPECT_EQ(m_operate.GetFileTime(), 3725U);
    EXPECT_EQ(m_operate.GetFileFrame(), 93125U);
    EXPECT_EQ(m_operate.GetImageWidth(), 1920);
    EXPECT_EQ(m_operate.GetImageHeight(), 1080);
}

TEST_F(Operate, OpenUsesTheOptionsThatItIsBornWith) {
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    m_operate.Open(m_aPath);
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_OpenFile(2, \"/a.mp4\")", "Dravo_GetFileTime(2)",
                            "Dravo_GetFileTotalFrames(2)", "Dravo_Play(2, 0)", "Dravo_RefreshPlay(2)",
                            "Dravo_PlaySound(2)", "Dravo_SetVolume(2, 32767)", "Dravo_SetTimerType(2, 1, 0)",
                            "Dravo_SetDeflash(2, 1)", "Dravo_SetDisplayType(2, 1)",
                            "Dravo_SetPicQuality(2, 1)", "Dravo_ThrowBFrameNum(2, 0)",
                            "Dravo_GetPictureSize(2, out, out)"));
}

TEST_F(Operate, OpenSucceedsAlsoWhenTheEngineRefusesEverything) {
    m_operate.Init(m_aPath);
    m_fake.SetResult("Dravo_OpenFile", 0);
    m_fake.SetResult("Dravo_Play", 0);
    EXPECT_TRUE(m_operate.Open(m_aPath));
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, OpenWithBackPlayStartsAtTheEnd) {
    m_operate.SetBackPlayValue(true);
    m_fake.SetResult("Dravo_GetFileTotalFrames", 250);
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.Open(m_aPath));
    const std::vector<std::string> calls = m_fake.Calls();
    ASSERT_GT(calls.size(), 6U);
    EXPECT_EQ(calls[4], "Dravo_RefreshPlay(2)");
    EXPECT_EQ(calls[5], "Dravo_SetCurrentFrameNum(2, 250)");
    EXPECT_EQ(calls[6], "Dravo_PlaySound(2)");
}

TEST_F(Operate, OpenWithSoundOffSilences) {
    m_operate.SetSoundValue(false);
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    m_operate.Open(m_aPath);
    EXPECT_EQ(m_fake.CountCalls("Dravo_StopSound()"), 1);
    EXPECT_EQ(m_fake.CountCalls("Dravo_PlaySound"), 0);
}

TEST_F(Operate, OpenFileOpensInTheEngineAndNothingElse) {
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.OpenFile(m_aPath));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_OpenFile(2, \"/a.mp4\")"));
    EXPECT_EQ(m_operate.GetCurrentState(), 0);
    m_fake.SetResult("Dravo_OpenFile", 0);
    EXPECT_FALSE(m_operate.OpenFile(m_aPath));
}

TEST_F(Operate, CloseStopsClosesAndGivesThePortBack) {
    OpenFile();
    EXPECT_TRUE(m_operate.Close());
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_Stop(2)", "Dravo_StopSound()", "Dravo_CloseFile(2)", "Dravo_FreePort(2)"));
    EXPECT_EQ(m_operate.GetCurrentState(), 0);
}

TEST_F(Operate, CloseOfAStoppedFileDoesNotStopAgain) {
    OpenAndStop();
    EXPECT_TRUE(m_operate.Close());
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_CloseFile(2)", "Dravo_FreePort(2)"));
}

TEST_F(Operate, AfterCloseEveryOperationOfTheEngineFails) {
    OpenFile();
    m_operate.Close();
    m_fake.TakeCalls();
    unsigned char aDir[] = "/tmp";
    EXPECT_FALSE(m_operate.Close());
    EXPECT_FALSE(m_operate.Open(m_aPath));
    EXPECT_FALSE(m_operate.OpenFile(m_aPath));
    EXPECT_FALSE(m_operate.GetPort());
    EXPECT_FALSE(m_operate.SelectCtrlProxy());
    EXPECT_FALSE(m_operate.Play());
    EXPECT_FALSE(m_operate.Pause());
    EXPECT_FALSE(m_operate.Stop());
    EXPECT_FALSE(m_operate.Forward());
    EXPECT_FALSE(m_operate.Back());
    EXPECT_FALSE(m_operate.Fast());
    EXPECT_FALSE(m_operate.Slow());
    EXPECT_FALSE(m_operate.Speed());
    EXPECT_FALSE(m_operate.Start());
    EXPECT_FALSE(m_operate.End());
    EXPECT_FALSE(m_operate.BackPlay());
    EXPECT_FALSE(m_operate.RefreshPlay());
    EXPECT_FALSE(m_operate.RefreshPlayEx(0));
    EXPECT_FALSE(m_operate.Sound(true, 1));
    EXPECT_FALSE(m_operate.SetFramePos(0.5F));
    EXPECT_FALSE(m_operate.SetTimePos(1));
    EXPECT_FALSE(m_operate.CheckKeyFramePos(0, 1, nullptr));
    EXPECT_FALSE(m_operate.CheckNextKeyFramePos(0, 1, nullptr));
    EXPECT_FALSE(m_operate.GetImageSize());
    EXPECT_FALSE(m_operate.SetOptions(true));
    EXPECT_FALSE(m_operate.ThrowB());
    EXPECT_FALSE(m_operate.SetDisplayRegion({0, 0, 1, 1}));
    EXPECT_FALSE(m_operate.InitRangeShow(1, {0, 0, 1, 1}, 5));
    EXPECT_FALSE(m_operate.SetRegion(1, {0, 0, 1, 1}, 5, 1));
    EXPECT_FALSE(m_operate.SetColor(1, 2, 3, 4));
    EXPECT_FALSE(m_operate.SetEncChangeMsg(1));
    EXPECT_FALSE(m_operate.SetFileEndCallBack(aDir));
    EXPECT_FALSE(m_operate.SetFileRefCallBack(1));
    EXPECT_FALSE(m_operate.SetWatermarkCallBack(1));
    EXPECT_FALSE(m_operate.SetDisplayCallBack());
    EXPECT_FALSE(m_operate.RegisterDrawFun(1));
    EXPECT_FALSE(m_operate.CapPic(0, reinterpret_cast<char*>(aDir)));
    EXPECT_EQ(m_operate.GetCurrentPlayTime(), 0U);
    EXPECT_EQ(m_operate.GetCurrentFrame(), 0U);
    EXPECT_EQ(m_operate.GetCurrentFrameRate(), 0U);
    EXPECT_EQ(m_operate.GetCurrentPosPrecent(), 0.0F);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, ANewFileAfterCloseGetsANewEngineAndTheOptionsStoredMeanwhile) {
    OpenFile();
    m_operate.Close();
    m_operate.SetPlayHwnd(88);
    m_operate.SetVolumeValue(11);
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.Init(m_aPath));
    EXPECT_TRUE(m_operate.Open(m_aPath));
    EXPECT_EQ(m_fake.CountCalls("Dravo_GetPort"), 1); // the checking engine still has its own
    EXPECT_EQ(m_fake.CountCalls("Dravo_Play(3, 88)"), 1);
    EXPECT_EQ(m_fake.CountCalls("Dravo_SetVolume(3, 11)"), 1);
}

TEST_F(Operate, TheFacadesEndGivesEveryPortBack) {
    {
        COperate operate;
        operate.Init(m_aPath);
        operate.Open(m_aPath);
        m_fake.TakeCalls();
    }
    EXPECT_EQ(m_fake.CountCalls("Dravo_FreePort(1)"), 1);
    EXPECT_EQ(m_fake.CountCalls("Dravo_FreePort(2)"), 1);
}

// ---- Playing ----

TEST_F(Operate, PlayFailsWithoutAFile) {
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    EXPECT_FALSE(m_operate.Play());
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, PlayFromPauseResumes) {
    OpenAndPause();
    EXPECT_TRUE(m_operate.Play());
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_Pause(2, 0)", "Dravo_Play(2, 77)", "Dravo_RefreshPlay(2)"));
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, PlayFromPauseBackwardsOnlyResumes) {
    OpenAndPause();
    m_operate.SetBackPlayValue(true);
    EXPECT_TRUE(m_operate.Play());
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_Pause(2, 0)"));
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, PlayFromPauseFailsBackwardsWhenTheEngineCannot) {
    // The proxy without an engine refuses reverse play.
    m_fake.RefuseFile("/a.mp4");
    m_operate.Init(m_aPath);
    m_operate.SetCurrentState(2);
    m_operate.SetBackPlayValue(true);
    EXPECT_FALSE(m_operate.Play());
    EXPECT_EQ(m_operate.GetCurrentState(), 2);
}

TEST_F(Operate, PlayFromStopAppliesSoundAndSpeedAnew) {
    OpenAndStop();
    m_operate.SetSpeedValue(2);
    m_operate.SetVolumeValue(500);
    EXPECT_TRUE(m_operate.Play());
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_Play(2, 77)", "Dravo_RefreshPlay(2)", "Dravo_PlaySound(2)",
                                            "Dravo_SetVolume(2, 500)", "Dravo_Fast(2)", "Dravo_Fast(2)"));
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, PlayFromStopAtALowSpeedCallsSlowThatOften) {
    OpenAndStop();
    m_operate.SetSpeedValue(-3);
    m_fake.SetResult("Dravo_Slow", 0); // a refusal does not end it
    EXPECT_TRUE(m_operate.Play());
    EXPECT_EQ(m_fake.CountCalls("Dravo_Slow(2)"), 3);
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, PlayFromStopBackwardsStartsAtTheEnd) {
    OpenAndStop();
    m_operate.SetBackPlayValue(true);
    EXPECT_TRUE(m_operate.Play());
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_Play(2, 77)", "Dravo_RefreshPlay(2)", "Dravo_SetCurrentFrameNum(2, 250)",
                            "Dravo_PlaySound(2)", "Dravo_SetVolume(2, 32767)"));
}

TEST_F(Operate, PlayWhilePlayingPlaysIntoTheCurrentWindow) {
    OpenFile();
    m_operate.SetPlayHwnd(99);
    EXPECT_TRUE(m_operate.Play());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_Play(2, 99)", "Dravo_RefreshPlay(2)"));
    m_operate.SetBackPlayValue(true);
    EXPECT_TRUE(m_operate.Play());
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, PauseWorksOnlyWhilePlaying) {
    EXPECT_FALSE(m_operate.Pause());
    EXPECT_EQ(m_operate.GetCurrentState(), 0);
    OpenFile();
    EXPECT_TRUE(m_operate.Pause());
    EXPECT_EQ(m_operate.GetCurrentState(), 2);
    EXPECT_FALSE(m_operate.Pause());
    EXPECT_EQ(m_operate.GetCurrentState(), 2);
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_Pause(2, 1)"));
    m_operate.Stop();
    m_fake.TakeCalls();
    EXPECT_FALSE(m_operate.Pause());
    EXPECT_EQ(m_operate.GetCurrentState(), 3);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, StopWorksOnce) {
    OpenFile();
    EXPECT_TRUE(m_operate.Stop());
    EXPECT_EQ(m_operate.GetCurrentState(), 3);
    EXPECT_FALSE(m_operate.Stop());
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_Stop(2)", "Dravo_StopSound()"));
}

TEST_F(Operate, StopFailsWithoutAFile) {
    EXPECT_FALSE(m_operate.Stop());
    EXPECT_EQ(m_operate.GetCurrentState(), 0);
}

TEST_F(Operate, StepsLeaveTheFilePaused) {
    OpenFile();
    EXPECT_TRUE(m_operate.Forward());
    EXPECT_EQ(m_operate.GetCurrentState(), 2);
    EXPECT_TRUE(m_operate.Play());
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.Back());
    EXPECT_EQ(m_operate.GetCurrentState(), 2);
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_OneByOneBack(2)"));
    EXPECT_TRUE(m_operate.Forward());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_ThrowBFrameNum(2, 0)", "Dravo_OneByOne(2)"));
}

TEST_F(Operate, AStepThatIsRefusedLeavesTheState) {
    OpenFile();
    m_fake.SetResult("Dravo_OneByOne", 0);
    m_fake.SetResult("Dravo_OneByOneBack", 0);
    EXPECT_FALSE(m_operate.Forward());
    EXPECT_FALSE(m_operate.Back());
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
}

TEST_F(Operate, StepsFailWhenStoppedOrClosed) {
    EXPECT_FALSE(m_operate.Forward());
    EXPECT_FALSE(m_operate.Back());
    OpenAndStop();
    EXPECT_FALSE(m_operate.Forward());
    EXPECT_FALSE(m_operate.Back());
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, FastAndSlowMakeAPausedFilePlay) {
    OpenAndPause();
    EXPECT_TRUE(m_operate.Fast());
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
    m_operate.Pause();
    EXPECT_TRUE(m_operate.Slow());
    EXPECT_EQ(m_operate.GetCurrentState(), 1);
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_Fast(2)", "Dravo_Pause(2, 1)", "Dravo_Slow(2)"));
}

TEST_F(Operate, FastAndSlowThatAreRefusedLeaveTheState) {
    OpenAndPause();
    m_fake.SetResult("Dravo_Fast", 0);
    m_fake.SetResult("Dravo_Slow", 0);
    EXPECT_FALSE(m_operate.Fast());
    EXPECT_FALSE(m_operate.Slow());
    EXPECT_EQ(m_operate.GetCurrentState(), 2);
}

TEST_F(Operate, SpeedStopsAtTheFirstRefusal) {
    OpenFile();
    m_operate.SetSpeedValue(4);
    m_fake.QueueResults("Dravo_Fast", {1, 0});
    m_operate.Speed();
    EXPECT_EQ(m_fake.CountCalls("Dravo_Fast(2)"), 2);

    m_operate.SetSpeedValue(-2);
    m_operate.Speed();
    EXPECT_EQ(m_fake.CountCalls("Dravo_Slow(2)"), 2);
}

TEST_F(Operate, StartAndEndGoToTheFirstAndTheLastFrame) {
    OpenFile();
    EXPECT_TRUE(m_operate.Start());
    m_fake.QueueResults("Dravo_SetCurrentFrameNum", {0, 1});
    EXPECT_TRUE(m_operate.End());
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_SetCurrentFrameNum(2, 0)", "Dravo_SetCurrentFrameNum(2, 250)",
                            "Dravo_SetCurrentFrameNum(2, 249)"));
}

TEST_F(Operate, RefreshPlayNeedsAPlayingOrPausedFile) {
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    EXPECT_FALSE(m_operate.RefreshPlay());
    OpenAndPause();
    EXPECT_TRUE(m_operate.RefreshPlay());
    m_operate.Stop();
    EXPECT_FALSE(m_operate.RefreshPlay());
    EXPECT_EQ(m_fake.CountCalls("Dravo_RefreshPlay("), 1);
}

TEST_F(Operate, SoundIsForwarded) {
    OpenFile();
    EXPECT_TRUE(m_operate.Sound(true, 6553));
    EXPECT_TRUE(m_operate.Sound(false, 6553));
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_PlaySound(2)", "Dravo_SetVolume(2, 6553)", "Dravo_StopSound()"));
}

// ---- Options, queries, positions, display ----

TEST_F(Operate, SetOptionsLeavesTheBPicturesAloneWhenNotAsked) {
    OpenFile();
    EXPECT_TRUE(m_operate.SetOptions(false));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_SetTimerType(2, 1, 0)", "Dravo_SetDeflash(2, 1)",
                                                "Dravo_SetDisplayType(2, 1)", "Dravo_SetPicQuality(2, 1)"));
    m_operate.SetThrowBNumValue(1);
    EXPECT_THAT(m_fake.TakeCalls(), IsEmpty());
    EXPECT_TRUE(m_operate.ThrowB());
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_ThrowBFrameNum(2, 1)"));
}

TEST_F(Operate, SettersOnlyStore) {
    OpenFile();
    m_operate.SetSpeedValue(1);
    m_operate.SetHighQualityValue(false);
    m_operate.SetDeflashValue(false);
    m_operate.SetDeinterlaceValue(1);
    m_operate.SetThrowBNumValue(2);
    m_operate.SetPlayerTimerValue(2);
    m_operate.SetDisplayTypeValue(2);
    m_operate.SetSoundValue(false);
    m_operate.SetVolumeValue(3);
    m_operate.SetBackPlayValue(true);
    m_operate.SetPlayHwnd(5);
    m_operate.SetRangePlayHwnd(6);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

TEST_F(Operate, QueriesComeFromTheEngine) {
    OpenFile();
    m_fake.SetResult("Dravo_GetPlayedTime", 4);
    m_fake.SetResult("Dravo_GetCurrentFrameNum", ~0UL);
    m_fake.SetResult("Dravo_GetCurrentFrameRate", 25);
    m_fake.SetPlayPos(0.5F);
    EXPECT_EQ(m_operate.GetCurrentPlayTime(), 4U);
    EXPECT_EQ(m_operate.GetCurrentFrame(), ~0UL);
    EXPECT_EQ(m_operate.GetCurrentFrameRate(), 25U);
    EXPECT_EQ(m_operate.GetCurrentPosPrecent(), 0.5F);
}

TEST_F(Operate, LengthAndSizeAreThoseReadAtOpening) {
    OpenFile();
    m_fake.SetResult("Dravo_GetFileTime", 99);
    m_fake.SetPictureSize(320, 240);
    EXPECT_EQ(m_operate.GetFileTime(), 10U);
    EXPECT_EQ(m_operate.GetFileFrame(), 250U);
    EXPECT_EQ(m_operate.GetImageWidth(), 64);
    EXPECT_TRUE(m_operate.GetImageSize());
    EXPECT_EQ(m_operate.GetImageWidth(), 320);
    EXPECT_EQ(m_operate.GetImageHeight(), 240);
}

TEST_F(Operate, PositionsAndKeyFramesAreForwarded) {
    OpenFile();
    unsigned char aPos[64];
    auto* pPos = reinterpret_cast<FRAME_POS*>(aPos);
    EXPECT_TRUE(m_operate.SetFramePos(1.0F));
    EXPECT_TRUE(m_operate.SetTimePos(7));
    EXPECT_TRUE(m_operate.CheckKeyFramePos(30, 1, pPos));
    EXPECT_TRUE(m_operate.CheckNextKeyFramePos(31, 2, pPos));
    const std::string pos = DravoFake::Address(aPos);
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_SetPlayPos(2, 1)", "Dravo_SetPlayedTimeEx(2, 7000)",
                                            "Dravo_GetKeyFramePos(2, 30, 1, " + pos + ")",
                                            "Dravo_GetNextKeyFramePos(2, 31, 2, " + pos + ")"));
}

TEST_F(Operate, TheMainPicturesRegionIsSetOnlyWhilePaused) {
    OpenFile();
    EXPECT_FALSE(m_operate.SetDisplayRegion({1, 2, 3, 4}));
    EXPECT_THAT(m_fake.TakeCalls(), IsEmpty());
    m_operate.Pause();
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.SetDisplayRegion({1, 2, 3, 4}));
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_SetDisplayRegion(2, 0, {1, 2, 3, 4}, 77, 1)",
                                                "Dravo_RefreshPlayEx(2, 0)"));
}

TEST_F(Operate, FurtherRegionsAreShownAndDrawn) {
    OpenFile();
    EXPECT_TRUE(m_operate.InitRangeShow(3, {1, 2, 3, 4}, 55));
    EXPECT_TRUE(m_operate.SetRegion(4, {5, 6, 7, 8}, 56, 0));
    EXPECT_TRUE(m_operate.RefreshPlayEx(9));
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_SetDisplayRegion(2, 3, {1, 2, 3, 4}, 55, 1)", "Dravo_RefreshPlayEx(2, 3)",
                            "Dravo_SetDisplayRegion(2, 4, {5, 6, 7, 8}, 56, 0)",
                            "Dravo_RefreshPlayEx(2, 9)"));
}

TEST_F(Operate, ColourIsForwarded) {
    OpenFile();
    EXPECT_TRUE(m_operate.SetColor(10, 20, 30, 40));
    EXPECT_THAT(m_fake.Calls(), ElementsAre("Dravo_SetColor(2, 0, 10, 20, 30, 40)"));
}

// ---- Callbacks ----

TEST_F(Operate, CallbacksAreRegisteredOnTheEnginesPort) {
    m_operate.Init(m_aPath);
    m_fake.TakeCalls();
    EXPECT_TRUE(m_operate.SetEncChangeMsg(0x10));
    EXPECT_TRUE(m_operate.SetFileEndCallBack(m_aPath));
    EXPECT_TRUE(m_operate.SetFileRefCallBack(0x20));
    EXPECT_TRUE(m_operate.SetWatermarkCallBack(0x30));
    EXPECT_TRUE(m_operate.SetDisplayCallBack());
    EXPECT_TRUE(m_operate.RegisterDrawFun(0x40));
    EXPECT_THAT(m_fake.Calls(),
                ElementsAre("Dravo_SetEncTypeChangeCallBack(2, callback, 0x10)",
                            "Dravo_SetFileEndCallback(2, callback, " + DravoFake::Address(m_aPath) + ")",
                            "Dravo_SetFileRefCallBack(2, callback, 0x20)",
                            "Dravo_SetDisplayCallBack(2, callback)"));
}

TEST_F(Operate, TheIndexFlagIsClearedAtRegistrationAndSetByTheLibrary) {
    m_operate.Init(m_aPath);
    m_operate.SetFileRefStatus(true);
    EXPECT_TRUE(m_operate.GetFileRefStatus());
    m_operate.SetFileRefCallBack(reinterpret_cast<std::uintptr_t>(&m_operate));
    EXPECT_FALSE(m_operate.GetFileRefStatus());
    EXPECT_TRUE(m_fake.FireFileRef(2));
    EXPECT_TRUE(m_operate.GetFileRefStatus());
}

TEST_F(Operate, TheLengthIsReadOnceMoreWhenTheIndexIsComplete) {
    m_operate.Init(m_aPath);
    m_operate.SetFileRefCallBack(reinterpret_cast<std::uintptr_t>(&m_operate));
    m_fake.SetResult("Dravo_GetFileTime", 10);
    m_fake.SetResult("Dravo_GetFileTotalFrames", 240); // an estimate
    m_operate.Open(m_aPath);
    m_fake.SetResult("Dravo_GetFileTime", 11);
    m_fake.SetResult("Dravo_GetFileTotalFrames", 275);
    EXPECT_EQ(m_operate.GetFileTime(), 10U);
    EXPECT_EQ(m_operate.GetFileFrame(), 240U);
    ASSERT_TRUE(m_fake.FireFileRef(2));
    m_fake.TakeCalls();
    EXPECT_EQ(m_operate.GetFileFrame(), 275U);
    EXPECT_EQ(m_operate.GetFileTime(), 11U);
    EXPECT_THAT(m_fake.TakeCalls(), ElementsAre("Dravo_GetFileTime(2)", "Dravo_GetFileTotalFrames(2)"))
        << "once";
    m_operate.Close();
    EXPECT_EQ(m_operate.GetFileFrame(), 275U);
}

TEST_F(Operate, TheHeadOfAWatermarkIsCopiedAndForgottenAtRegistration) {
    m_operate.Init(m_aPath);
    WATERMARK_INFO info{0x04030201, 0x08070605, {9, 10, 11, 12, 13, 14}, {15, 16, 17}};
    EXPECT_TRUE(m_operate.CheckWatermark(&info));
    for (int n = 0; n < 64; ++n)
        EXPECT_EQ(m_operate.GetWatermarkCopy()[n], n < 17 ? n + 1 : 0) << n;
    m_operate.SetWatermarkCallBack(1);
    for (int n = 0; n < 64; ++n)
        EXPECT_EQ(m_operate.GetWatermarkCopy()[n], 0) << n;
    EXPECT_FALSE(m_operate.CheckWatermark(nullptr));
}

TEST_F(Operate, FixedAnswersForOtherMedia) {
    EXPECT_TRUE(m_operate.JudgeOtherMedia(m_aPath));
    EXPECT_TRUE(m_operate.JudgeOtherMedia(nullptr));
    EXPECT_EQ(m_operate.GetCurFileSize(m_aPath), 0U);
    EXPECT_EQ(m_operate.GetFileTypeFormName(m_aPath), m_aPath);
    EXPECT_THAT(m_fake.Calls(), IsEmpty());
}

} // namespace
