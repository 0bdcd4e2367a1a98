// Playing through the C interface: order, clock, speeds, ends, states, callbacks.
#include "tests/dravo/PortFixture.h"

#include <atomic>
#include <thread>

namespace {

using namespace dravo_tests;

std::atomic<int> g_ends{0};
std::atomic<int> g_refs{0};
std::atomic<std::uintptr_t> g_ref_user{0};

void CountEnd(int, void* user) {
    static_cast<std::atomic<int>*>(user)->fetch_add(1);
}
void CountRef(unsigned int, std::uintptr_t user) {
    g_ref_user = user;
    ++g_refs;
}

TEST(Playing, ShowsEveryPictureOnceInOrderAtNormalSpeed) {
    const OpenPort port(Film());
    std::atomic<int> ends{0};
    ASSERT_TRUE(Dravo_SetFileEndCallback(port, CountEnd, &ends));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), kNoFrame) << "before the first picture";
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 15s));
    const std::vector<Displayed> pictures = port.Pictures().All();
    // A machine that is busy with other tests may leave pictures out; it may not show one twice or out of
    // order.
    ASSERT_GE(pictures.size(), 60U);
    for (std::size_t index = 1; index < pictures.size(); ++index)
        EXPECT_GT(pictures[index].number, pictures[index - 1].number);
    for (const Displayed& picture : pictures) {
        EXPECT_EQ(picture.current_frame, static_cast<unsigned long>(picture.number));
        EXPECT_EQ(picture.stamp, picture.number * 40);
        EXPECT_EQ(picture.type, 3);
        EXPECT_EQ(picture.width, 320);
        EXPECT_EQ(picture.height, 180);
        EXPECT_EQ(picture.size, 320 * 180 * 3 / 2);
    }
    EXPECT_EQ(pictures.front().number, 0);
    EXPECT_EQ(pictures.back().number, 99);
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 99U) << "the last picture stays";
}

TEST(Playing, MeetsTheWallClockAtEveryLevel) {
    // Ten seconds of film, so that even sixteen times takes more than half a second.
    const std::string& film = Clip("long.mp4", {.frames = 250, .keyInterval = 25, .bFrames = 3});
    for (int level = 1; level <= 4; ++level) {
        const OpenPort port(film);
        std::atomic<int> ends{0};
        Dravo_SetFileEndCallback(port, CountEnd, &ends);
        ASSERT_TRUE(Dravo_Play(port, 0));
        ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() > 0; }, 5s));
        const auto begin = port.Pictures().All().front().at;
        for (int step = 0; step < level; ++step)
            ASSERT_TRUE(Dravo_Fast(port));
        ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 15s)) << level;
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        const double expected = 10.0 / (1 << level);
        // Generous above for a busy machine; below it would be a clock that runs fast.
        EXPECT_GT(took.count(), expected * 0.9) << level;
        EXPECT_LT(took.count(), expected + 1.5) << level;
        // The end does not wait for a picture that is late; the last one follows, and is where the port is
        // already.
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 249U) << level;
        EXPECT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() == 249; }, 15s)) << level;
        EXPECT_EQ(ends, 1) << level;
    }
}

TEST(Playing, RunsSlowlyBelowNormal) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    for (int step = 0; step < 4; ++step)
        ASSERT_TRUE(Dravo_Slow(port));
    EXPECT_FALSE(Dravo_Slow(port)) << "the ladder ends at a sixteenth";
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() >= 3; }, 5s));
    const std::vector<Displayed> pictures = port.Pictures().All();
    const auto gap = pictures[2].at - pictures[1].at;
    EXPECT_GT(gap, 500ms) << "40 ms take 640";
}

TEST(Playing, RefusesToLeaveTheLadderAtTheTop) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    for (int step = 0; step < 4; ++step)
        ASSERT_TRUE(Dravo_Fast(port));
    EXPECT_FALSE(Dravo_Fast(port));
}

TEST(Playing, StandsStillWhilePausedAndResumesWithTheNextPicture) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() >= 5; }, 5s));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    const unsigned long frame = Dravo_GetCurrentFrameNum(port);
    ASSERT_TRUE(port.WaitForPicture(static_cast<int>(frame)));
    port.Pictures().Clear();
    EXPECT_FALSE(support::WaitUntil([&] { return port.Pictures().Count() > 0; }, 300ms));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), frame);
    ASSERT_TRUE(Dravo_Pause(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() > 0; }, 5s));
    EXPECT_EQ(port.Pictures().All().front().number, static_cast<int>(frame) + 1);
}

TEST(Playing, AChangeOfSpeedLetsAPausedPortGoOn) {
    const OpenPort port(Film());
    port.PlayPaused();
    ASSERT_TRUE(Dravo_Fast(port));
    EXPECT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > 2; }, 5s));
}

TEST(Playing, StopPutsThePositionAndTheSpeedBack) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_Fast(port));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > 5; }, 5s));
    ASSERT_TRUE(Dravo_Stop(port));
    EXPECT_FALSE(Dravo_Stop(port)) << "twice";
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), kNoFrame);
    EXPECT_EQ(Dravo_GetPlayPos(port), 0.0F);
    EXPECT_FALSE(Dravo_Pause(port, 1));
    EXPECT_FALSE(Dravo_Fast(port));
    EXPECT_FALSE(Dravo_OneByOne(port));
    EXPECT_FALSE(Dravo_SetCurrentFrameNum(port, 3));
    EXPECT_EQ(port.StillNumber(), -1);
    port.Pictures().Clear();
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() > 0; }, 5s));
    EXPECT_EQ(port.Pictures().All().front().number, 0);
    // Four levels are free again: the speed was normal.
    for (int step = 0; step < 4; ++step)
        EXPECT_TRUE(Dravo_Fast(port));
}

TEST(Playing, ASeekAfterTheEndGoesOnFromThereAndEndsAgain) {
    const OpenPort port(Film());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 95));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 5s));
    port.Pictures().Clear();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 90));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 2; }, 5s));
    EXPECT_EQ(port.Pictures().All().front().number, 90);
    EXPECT_EQ(port.Pictures().Last(), 99);
}

TEST(Callbacks, TellOnceThatTheIndexIsDone) {
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    g_refs = 0;
    ASSERT_TRUE(Dravo_SetFileRefCallBack(port, CountRef, 42));
    ASSERT_TRUE(Dravo_OpenFile(port, RawFilm().c_str()));
    EXPECT_TRUE(support::WaitUntil([] { return g_refs == 1; }, 5s));
    EXPECT_EQ(g_ref_user, 42U);
    EXPECT_TRUE(Dravo_CloseFile(port));
    EXPECT_EQ(g_refs, 1);
    EXPECT_TRUE(Dravo_FreePort(port));
}

TEST(Callbacks, StopAndCloseAndFreeAreRefusedFromInside) {
    const OpenPort port(Film());
    std::atomic<int> refused{0};
    port.Pictures().During([&] {
        if (!Dravo_Stop(port) && !Dravo_CloseFile(port) && !Dravo_FreePort(port)) ++refused;
    });
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return refused > 3; }, 5s));
    EXPECT_TRUE(Dravo_Stop(port));
}

TEST(Callbacks, NoneRunsWhenStopHasReturned) {
    const OpenPort port(Film());
    std::atomic<int> inside{0};
    std::atomic<int> made{0};
    port.Pictures().During([&] {
        ++inside;
        ++made;
        std::this_thread::sleep_for(15ms); // a slow callback, so that Stop has one to wait for
        --inside;
    });
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(Dravo_Play(port, 0));
        const int before = made;
        ASSERT_TRUE(support::WaitUntil([&] { return made > before; }, 5s));
        ASSERT_TRUE(Dravo_Stop(port));
        ASSERT_EQ(inside, 0);
        const int after = made;
        EXPECT_FALSE(support::WaitUntil([&] { return made != after; }, 60ms));
    }
}

TEST(Callbacks, MaySteerThePort) {
    const OpenPort port(Film());
    std::atomic<int> calls{0};
    port.Pictures().During([&] {
        const int call = ++calls;
        if (call == 3) {
            EXPECT_TRUE(Dravo_SetCurrentFrameNum(port, 80));
        }
        if (call == 5) {
            EXPECT_TRUE(Dravo_OneByOne(port));
        }
    });
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return calls >= 6; }, 5s));
    EXPECT_GT(port.Pictures().Last(), 80);
}

TEST(Ports, BadOnesAndNullsAreFailures) {
    for (const int port : {0, -1, 9999, 2147483647}) {
        EXPECT_FALSE(Dravo_OpenFile(port, Film().c_str()));
        EXPECT_FALSE(Dravo_CloseFile(port));
        EXPECT_FALSE(Dravo_FreePort(port));
        EXPECT_FALSE(Dravo_Play(port, 0));
        EXPECT_FALSE(Dravo_Pause(port, 1));
        EXPECT_FALSE(Dravo_Stop(port));
        EXPECT_FALSE(Dravo_Fast(port));
        EXPECT_FALSE(Dravo_Slow(port));
        EXPECT_FALSE(Dravo_OneByOne(port));
        EXPECT_FALSE(Dravo_OneByOneBack(port));
        EXPECT_FALSE(Dravo_RefreshPlay(port));
        EXPECT_FALSE(Dravo_RefreshPlayEx(port, 0));
        EXPECT_FALSE(Dravo_PlaySound(port));
        EXPECT_FALSE(Dravo_SetVolume(port, 0));
        EXPECT_FALSE(Dravo_SetColor(port, 0, 64, 64, 64, 64));
        EXPECT_FALSE(Dravo_SetDisplayCallBack(port, nullptr));
        EXPECT_EQ(Dravo_GetFileTotalFrames(port), 0U);
        EXPECT_EQ(Dravo_GetFileTime(port), 0U);
        EXPECT_EQ(Dravo_GetPlayedTime(port), 0U);
        EXPECT_EQ(Dravo_GetCurrentFrameRate(port), 0U);
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), kNoFrame);
        EXPECT_EQ(Dravo_GetPlayPos(port), 0.0F);
    }
    EXPECT_FALSE(Dravo_GetPort(nullptr));
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    EXPECT_FALSE(Dravo_OpenFile(port, nullptr));
    EXPECT_FALSE(Dravo_OpenFile(port, "/no/such/file"));
    EXPECT_FALSE(Dravo_GetPictureSize(port, nullptr, nullptr));
    EXPECT_TRUE(Dravo_FreePort(port));
    EXPECT_TRUE(Dravo_StopSound());
}

TEST(Ports, AnOpenPortRefusesASecondFileAndWorksAfterClosing) {
    const OpenPort port(Film());
    EXPECT_FALSE(Dravo_OpenFile(port, RawFilm().c_str()));
    EXPECT_TRUE(Dravo_CloseFile(port));
    EXPECT_FALSE(Dravo_CloseFile(port));
    EXPECT_TRUE(Dravo_OpenFile(port, RawFilm().c_str()));
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), 100U);
}

TEST(Ports, OptionsOutOfRangeAreRefused) {
    const OpenPort port(Film());
    EXPECT_TRUE(Dravo_SetColor(port, 0, 0, 128, 64, 1));
    EXPECT_FALSE(Dravo_SetColor(port, 0, -1, 64, 64, 64));
    EXPECT_FALSE(Dravo_SetColor(port, 0, 64, 129, 64, 64));
    EXPECT_FALSE(Dravo_SetColor(port, 99, 64, 64, 64, 64));
    EXPECT_TRUE(Dravo_SetDisplayType(port, 1));
    EXPECT_TRUE(Dravo_SetDisplayType(port, 2));
    EXPECT_FALSE(Dravo_SetDisplayType(port, 0));
    EXPECT_TRUE(Dravo_SetTimerType(port, 2, 0));
    EXPECT_FALSE(Dravo_SetTimerType(port, 3, 0));
    EXPECT_TRUE(Dravo_ThrowBFrameNum(port, 2));
    EXPECT_FALSE(Dravo_ThrowBFrameNum(port, 3));
    EXPECT_TRUE(Dravo_SetDeflash(port, 0));
    EXPECT_TRUE(Dravo_SetPicQuality(port, 0));
    const DravoRect inside_out{10, 10, 5, 5};
    EXPECT_FALSE(Dravo_SetDisplayRegion(port, 0, &inside_out, 0, 1));
    EXPECT_FALSE(Dravo_SetDisplayRegion(port, 0, nullptr, 0, 1));
    EXPECT_FALSE(Dravo_SetDisplayRegion(port, 16, &inside_out, 0, 0));
    EXPECT_FALSE(Dravo_RefreshPlayEx(port, 3)) << "a region that is not set";
    EXPECT_TRUE(Dravo_RefreshPlayEx(port, 0));
}

TEST(Ports, SixtyFourPlayAtOnceEachItsOwnFilm) {
    std::vector<std::unique_ptr<OpenPort>> ports;
    for (int count = 0; count < 64; ++count) {
        ports.push_back(std::make_unique<OpenPort>(count % 2 == 0 ? Film() : RawFilm()));
        ASSERT_TRUE(ports.back()->Open()) << count;
    }
    for (std::size_t index = 0; index < ports.size(); ++index) {
        ASSERT_TRUE(Dravo_Play(*ports[index], 0));
        ASSERT_TRUE(Dravo_Pause(*ports[index], 1));
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(*ports[index], index));
    }
    for (std::size_t index = 0; index < ports.size(); ++index)
        EXPECT_EQ(ports[index]->StillNumber(), static_cast<int>(index));
}

TEST(Ports, MayBeUsedFromSeveralThreadsWhileTheyOpenAndClose) {
    const OpenPort port(Film());
    std::atomic<bool> done{false};
    std::vector<std::thread> users;
    for (int user = 0; user < 3; ++user) {
        users.emplace_back([&, user] {
            while (!done) {
                Dravo_Play(port, 0);
                Dravo_SetCurrentFrameNum(port, static_cast<unsigned long>(user) * 20);
                Dravo_OneByOne(port);
                port.StillNumber();
                Dravo_Fast(port);
                Dravo_GetPlayPos(port);
                Dravo_Stop(port);
            }
        });
    }
    for (int round = 0; round < 10; ++round) {
        Dravo_CloseFile(port);
        EXPECT_TRUE(Dravo_OpenFile(port, (round % 2 == 0 ? RawFilm() : Film()).c_str()));
    }
    done = true;
    for (std::thread& user : users)
        user.join();
}

} // namespace
