// The proxy: every operation reaches the engine it holds, unchanged, and without one does nothing. And the
// order of the interface's virtual slots, which stays.
#include "engine/PlayCtrl.h"
#include "tests/engine/RecordingCtrl.h"

#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace {

char g_aPath[] = "/a.mp4";
unsigned char g_aBuffer[16];
unsigned long g_nWritten;
long g_nWidth;
long g_nHeight;

FRAME_POS* SomePos() {
    return reinterpret_cast<FRAME_POS*>(g_aBuffer);
}

std::string Shown(const void* pAddress) {
    std::ostringstream text;
    text << pAddress;
    return text.str();
}

struct Operation {
    const char* name;
    std::string received; // what the inner engine writes down
    double result;        // what it answers, as a number
    std::function<double(CPlayCtrl&)> run;
};

// In the order of the virtual slots.
std::vector<Operation> Operations() {
    return {
        {"Init", "Init", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Init()); }},
        {"Open", std::string("Open ") + Shown(g_aPath), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.Open(g_aPath)); }},
        {"Close", "Close", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Close()); }},
        {"Play", "Play 77", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Play(77U)); }},
        {"BackPlay", "BackPlay", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.BackPlay()); }},
        {"Pause", "Pause 1", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Pause(true)); }},
        {"Stop", "Stop", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Stop()); }},
        {"Fast", "Fast", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Fast()); }},
        {"Slow", "Slow", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Slow()); }},
        {"GotoStart", "GotoStart", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.GotoStart()); }},
        {"GotoEnd", "GotoEnd 11", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.GotoEnd(11UL)); }},
        {"StepForward", "StepForward", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.StepForward()); }},
        {"StepBackward", "StepBackward", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.StepBackward()); }},
        {"CapPic", "CapPic", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.CapPic()); }},
        {"Sound", "Sound 1 11", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Sound(true, 11)); }},
        {"ResizeDisplaySize", "ResizeDisplaySize 11 12 13 14", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.ResizeDisplaySize(11L, 12L, 13L, 14L)); }},
        {"GetCurrentPlayTime", "GetCurrentPlayTime", 116.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetCurrentPlayTime()); }},
        {"GetCurrentFrame", "GetCurrentFrame", 117.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetCurrentFrame()); }},
        {"GetFileTime", "GetFileTime", 118.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetFileTime()); }},
        {"GetFileFrame", "GetFileFrame", 119.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetFileFrame()); }},
        {"GetCurrentFrameRate", "GetCurrentFrameRate", 120.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetCurrentFrameRate()); }},
        {"GetCurrentPosPrecent", "GetCurrentPosPrecent", 0.75,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetCurrentPosPrecent()); }},
        {"SetFramePos", "SetFramePos 0.25", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetFramePos(0.25F)); }},
        {"SetTimePos", "SetTimePos 11", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetTimePos(11UL)); }},
        {"GetPic", std::string("GetPic ") + Shown(g_aBuffer) + " 11", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetPic(g_aBuffer, 11UL)); }},
        {"SetDisplay", "SetDisplay 77", 0.0,
         [](CPlayCtrl& c) {
             c.SetDisplay(77U);
             return 0.0;
         }},
        {"Deflash", "Deflash 1", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Deflash(true)); }},
        {"Quality", "Quality 1", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.Quality(true)); }},
        {"SetDisplayType", "SetDisplayType 11", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetDisplayType(11)); }},
        {"SelectTimer", "SelectTimer 11", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SelectTimer(11)); }},
        {"ThrowB", "ThrowB 11", 1.0, [](CPlayCtrl& c) { return static_cast<double>(c.ThrowB(11)); }},
        {"GetBMP", std::string("GetBMP ") + Shown(g_aBuffer) + " 11 " + Shown(&g_nWritten), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetBMP(g_aBuffer, 11UL, &g_nWritten)); }},
        {"GetJPEG", std::string("GetJPEG ") + Shown(g_aBuffer) + " 11 " + Shown(&g_nWritten), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetJPEG(g_aBuffer, 11UL, &g_nWritten)); }},
        {"SetDisplayRegion", "SetDisplayRegion 11 1 2 3 4 77 12", 1.0,
         [](CPlayCtrl& c) {
             return static_cast<double>(c.SetDisplayRegion(11UL, tagBrekRect{1, 2, 3, 4}, 77U, 12));
         }},
        {"RefreshPlay", "RefreshPlay", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.RefreshPlay()); }},
        {"RefreshPlayEx", "RefreshPlayEx 11", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.RefreshPlayEx(11UL)); }},
        {"GetPictureSize", std::string("GetPictureSize ") + Shown(&g_nWidth) + " " + Shown(&g_nHeight), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.GetPictureSize(&g_nWidth, &g_nHeight)); }},
        {"SetDeinterlaceType", "SetDeinterlaceType 11", 0.0,
         [](CPlayCtrl& c) {
             c.SetDeinterlaceType(11UL);
             return 0.0;
         }},
        {"SetEncChangeMsg", "SetEncChangeMsg -5", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetEncChangeMsg(-5)); }},
        {"SetFileEndCallBack", std::string("SetFileEndCallBack ") + Shown(g_aBuffer), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetFileEndCallBack(g_aBuffer)); }},
        {"SetFileRefCallBack", "SetFileRefCallBack 140733498807928", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetFileRefCallBack(0x7fff12345678U)); }},
        {"SetWatermarkCallBack", "SetWatermarkCallBack 11", 0.0,
         [](CPlayCtrl& c) {
             c.SetWatermarkCallBack(11UL);
             return 0.0;
         }},
        {"SetDisplayCallBack", "SetDisplayCallBack", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetDisplayCallBack()); }},
        {"SetColor", "SetColor 11 12 13 14", 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.SetColor(11, 12, 13, 14)); }},
        {"CheckKeyFramePos", std::string("CheckKeyFramePos 11 12 ") + Shown(g_aBuffer), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.CheckKeyFramePos(11UL, 12UL, SomePos())); }},
        {"CheckNextKeyFramePos", std::string("CheckNextKeyFramePos 11 12 ") + Shown(g_aBuffer), 1.0,
         [](CPlayCtrl& c) { return static_cast<double>(c.CheckNextKeyFramePos(11UL, 12UL, SomePos())); }},
        {"RegisterDrawFun", "RegisterDrawFun 11", 0.0,
         [](CPlayCtrl& c) {
             c.RegisterDrawFun(11UL);
             return 0.0;
         }},
    };
}

class ProxyOperation : public testing::TestWithParam<Operation> {};

TEST_P(ProxyOperation, IsHandedToTheInnerEngineUnchanged) {
    std::vector<std::string> calls;
    bool bDeleted = false;
    CPlayCtrlProxy proxy;
    auto pInner = std::make_unique<CRecordingCtrl>(&calls, &bDeleted);
    CRecordingCtrl* pRecording = pInner.get();
    proxy.SetCtrl(std::move(pInner));

    EXPECT_EQ(GetParam().run(proxy), GetParam().result);
    EXPECT_THAT(calls, ElementsAre(GetParam().received));

    pRecording->m_bAnswer = false;
    EXPECT_EQ(GetParam().run(proxy), 0.0);
}

TEST_P(ProxyOperation, DoesNothingWithoutAnInnerEngine) {
    CPlayCtrlProxy proxy;
    EXPECT_EQ(GetParam().run(proxy), 0.0);
}

INSTANTIATE_TEST_SUITE_P(Each, ProxyOperation, testing::ValuesIn(Operations()),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(CPlayCtrl, HasFortySevenOperations) {
    EXPECT_EQ(Operations().size(), 47U);
}

#if defined(__x86_64__)
// The platform's binary interface keeps in a pointer to a virtual member one more than the offset of its
// slot.
TEST(CPlayCtrl, KeepsTheOrderOfItsVirtualSlots) {
    std::size_t nSlot = 2; // after the two entries of the destructor
    const auto expect = [&nSlot](auto pOperation, const char* pName) {
        std::size_t nOffset = 0;
        std::memcpy(&nOffset, &pOperation, sizeof(nOffset));
        EXPECT_EQ((nOffset - 1) / sizeof(void*), nSlot) << pName;
        ++nSlot;
    };
    expect(&CPlayCtrl::Init, "Init");
    expect(&CPlayCtrl::Open, "Open");
    expect(&CPlayCtrl::Close, "Close");
    expect(&CPlayCtrl::Play, "Play");
    expect(&CPlayCtrl::BackPlay, "BackPlay");
    expect(&CPlayCtrl::Pause, "Pause");
    expect(&CPlayCtrl::Stop, "Stop");
    expect(&CPlayCtrl::Fast, "Fast");
    expect(&CPlayCtrl::Slow, "Slow");
    expect(&CPlayCtrl::GotoStart, "GotoStart");
    expect(&CPlayCtrl::GotoEnd, "GotoEnd");
    expect(&CPlayCtrl::StepForward, "StepForward");
    expect(&CPlayCtrl::StepBackward, "StepBackward");
    expect(&CPlayCtrl::CapPic, "CapPic");
    expect(&CPlayCtrl::Sound, "Sound");
    expect(&CPlayCtrl::ResizeDisplaySize, "ResizeDisplaySize");
    expect(&CPlayCtrl::GetCurrentPlayTime, "GetCurrentPlayTime");
    expect(&CPlayCtrl::GetCurrentFrame, "GetCurrentFrame");
    expect(&CPlayCtrl::GetFileTime, "GetFileTime");
    expect(&CPlayCtrl::GetFileFrame, "GetFileFrame");
    expect(&CPlayCtrl::GetCurrentFrameRate, "GetCurrentFrameRate");
    expect(&CPlayCtrl::GetCurrentPosPrecent, "GetCurrentPosPrecent");
    expect(&CPlayCtrl::SetFramePos, "SetFramePos");
    expect(&CPlayCtrl::SetTimePos, "SetTimePos");
    expect(&CPlayCtrl::GetPic, "GetPic");
    expect(&CPlayCtrl::SetDisplay, "SetDisplay");
    expect(&CPlayCtrl::Deflash, "Deflash");
    expect(&CPlayCtrl::Quality, "Quality");
    expect(&CPlayCtrl::SetDisplayType, "SetDisplayType");
    expect(&CPlayCtrl::SelectTimer, "SelectTimer");
    expect(&CPlayCtrl::ThrowB, "ThrowB");
    expect(&CPlayCtrl::GetBMP, "GetBMP");
    expect(&CPlayCtrl::GetJPEG, "GetJPEG");
    expect(&CPlayCtrl::SetDisplayRegion, "SetDisplayRegion");
    expect(&CPlayCtrl::RefreshPlay, "RefreshPlay");
    expect(&CPlayCtrl::RefreshPlayEx, "RefreshPlayEx");
    expect(&CPlayCtrl::GetPictureSize, "GetPictureSize");
    expect(&CPlayCtrl::SetDeinterlaceType, "SetDeinterlaceType");
    expect(&CPlayCtrl::SetEncChangeMsg, "SetEncChangeMsg");
    expect(&CPlayCtrl::SetFileEndCallBack, "SetFileEndCallBack");
    expect(&CPlayCtrl::SetFileRefCallBack, "SetFileRefCallBack");
    expect(&CPlayCtrl::SetWatermarkCallBack, "SetWatermarkCallBack");
    expect(&CPlayCtrl::SetDisplayCallBack, "SetDisplayCallBack");
    expect(&CPlayCtrl::SetColor, "SetColor");
    expect(&CPlayCtrl::CheckKeyFramePos, "CheckKeyFramePos");
    expect(&CPlayCtrl::CheckNextKeyFramePos, "CheckNextKeyFramePos");
    expect(&CPlayCtrl::RegisterDrawFun, "RegisterDrawFun");
    EXPECT_EQ(nSlot, 49U);
}
#endif

TEST(CPlayCtrlProxy, DestroysItsInnerEngineWithItself) {
    std::vector<std::string> calls;
    bool bDeleted = false;
    {
        CPlayCtrlProxy proxy;
        proxy.SetCtrl(std::make_unique<CRecordingCtrl>(&calls, &bDeleted));
        EXPECT_FALSE(bDeleted);
    }
    EXPECT_TRUE(bDeleted);
}

TEST(CPlayCtrlProxy, DestroysAnInnerEngineThatIsReplaced) {
    std::vector<std::string> calls;
    bool bDeleted = false;
    CPlayCtrlProxy proxy;
    proxy.SetCtrl(std::make_unique<CRecordingCtrl>(&calls, &bDeleted));
    proxy.SetCtrl(nullptr);
    EXPECT_TRUE(bDeleted);
    EXPECT_FALSE(proxy.Init());
}

} // namespace
