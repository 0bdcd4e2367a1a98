// What the library's callbacks tell whom.
#include "engine/Operate.h"
#include "engine/PlayCallbacks.h"
#include "engine/PlayEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class CListener : public CPlayEvents {
  public:
    void SendMsg(int nCode) override { m_codes.push_back(nCode); }
    void ConCapPic() override { ++m_nCaptures; }
    void CaptureFailed() override {}

    std::vector<int> m_codes;
    int m_nCaptures = 0;
};

TEST(PlayCallbacks, TheEndOfTheFileIsMessage101) {
    CListener listener;
    FileEndCallback(1, static_cast<CPlayEvents*>(&listener));
    EXPECT_THAT(listener.m_codes, ElementsAre(101));
}

TEST(PlayCallbacks, AChangedEncodingIsMessage100) {
    CListener listener;
    funEncChange(1, reinterpret_cast<std::intptr_t>(static_cast<CPlayEvents*>(&listener)));
    EXPECT_THAT(listener.m_codes, ElementsAre(100));
}

TEST(PlayCallbacks, ACompleteIndexSetsTheFacadesFlag) {
    COperate operate;
    FileRefDone(1, reinterpret_cast<std::uintptr_t>(&operate));
    EXPECT_TRUE(operate.GetFileRefStatus());
}

TEST(PlayCallbacks, ADisplayedPictureDrivesTheContinuousCaptureOfTheWindow) {
    CListener listener;
    g_pApp = &listener;
    DisplayCBFun(1, nullptr, 0, 0, 0, 0, 0, 0);
    g_pApp = nullptr;
    EXPECT_EQ(listener.m_nCaptures, 1);
    EXPECT_THAT(listener.m_codes, IsEmpty());
}

TEST(PlayCallbacks, NobodyToTellIsNoError) {
    ASSERT_EQ(g_pApp, nullptr);
    FileEndCallback(1, nullptr);
    funEncChange(1, 0);
    FileRefDone(1, 0);
    DisplayCBFun(1, nullptr, 0, 0, 0, 0, 0, 0);
    DrawFunCallBack(1, nullptr, 0);
}

} // namespace
