// The callbacks' guarantees while several threads register them, use the port, and give it back.
#include "tests/dravo/PortFixture.h"

#include <array>
#include <atomic>
#include <random>
#include <thread>

namespace {

using namespace dravo_tests;

// Threads that do their work again and again until the object goes.
class Busy {
  public:
    template <class Work>
    void Add(Work work) {
        m_threads.emplace_back([this, work, seed = static_cast<unsigned>(m_threads.size())] {
            std::mt19937 random(seed);
            while (!m_done)
                work(random);
        });
    }
    Busy() = default;
    ~Busy() {
        m_done = true;
        for (std::thread& thread : m_threads)
            thread.join();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

  private:
    std::atomic<bool> m_done{false};
    std::vector<std::thread> m_threads;
};

// What one set of callbacks heard. A callback of one set that is handed the other's value is a mistake.
struct Heard {
    std::atomic<int> ends{0};
    std::atomic<int> sizes{0};
    std::atomic<int> indexes{0};
};
std::array<Heard, 2> g_heard;
std::atomic<int> g_wrong{0};
std::array<std::atomic<int>, 2> g_displayed{};

template <std::size_t Set>
struct Callbacks {
    static void End(int, void* user) {
        if (user != &g_heard[Set]) ++g_wrong;
        ++g_heard[Set].ends;
    }
    static void Size(int, std::intptr_t user) {
        if (user != reinterpret_cast<std::intptr_t>(&g_heard[Set])) ++g_wrong;
        ++g_heard[Set].sizes;
    }
    static void Index(unsigned int, std::uintptr_t user) {
        if (user != reinterpret_cast<std::uintptr_t>(&g_heard[Set])) ++g_wrong;
        ++g_heard[Set].indexes;
    }
    static void Display(int, char*, int, int, int, int, int, int) { ++g_displayed[Set]; }

    static void Register(int port, unsigned which) {
        if (which == 0) Dravo_SetFileEndCallback(port, End, &g_heard[Set]);
        if (which == 1) {
            Dravo_SetEncTypeChangeCallBack(port, Size, reinterpret_cast<std::intptr_t>(&g_heard[Set]));
        }
        if (which == 2) {
            Dravo_SetFileRefCallBack(port, Index, reinterpret_cast<std::uintptr_t>(&g_heard[Set]));
        }
        if (which == 3) Dravo_SetDisplayCallBack(port, Display);
    }
};

void Unregister(int port, unsigned which) {
    if (which == 0) Dravo_SetFileEndCallback(port, nullptr, &g_heard[0]);
    if (which == 1) Dravo_SetEncTypeChangeCallBack(port, nullptr, 0);
    if (which == 2) Dravo_SetFileRefCallBack(port, nullptr, 0);
    if (which == 3) Dravo_SetDisplayCallBack(port, nullptr);
}

void Reset() {
    for (Heard& heard : g_heard)
        heard.ends = heard.sizes = heard.indexes = 0;
    g_displayed[0] = g_displayed[1] = 0;
    g_wrong = 0;
}

int Calls() {
    int calls = g_displayed[0] + g_displayed[1];
    for (const Heard& heard : g_heard)
        calls += heard.ends + heard.sizes + heard.indexes;
    return calls;
}

// How many ports can be had.
std::size_t FreePorts() {
    std::vector<int> ports;
    for (int port = 0; Dravo_GetPort(&port);)
        ports.push_back(port);
    for (const int port : ports)
        Dravo_FreePort(port);
    return ports.size();
}

// 60 pictures, of which the second half is larger.
const std::string& GrowingFilm() {
    return Clip("stress.264", {.frames = 60,
                               .keyInterval = 15,
                               .container = support::ClipContainer::RawStream,
                               .sizeChanges = {{.frame = 30, .width = 480, .height = 270}}});
}

TEST(CallbackStress, CallbacksThatAreExchangedWhilePlayingGetTheirOwnValuesAndEndWithStop) {
    Reset();
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    ASSERT_TRUE(Dravo_OpenFile(port, GrowingFilm().c_str()));
    ASSERT_TRUE(Dravo_Play(port, 0));
    Busy busy;
    for (int thread = 0; thread < 2; ++thread) {
        busy.Add([port](std::mt19937& random) {
            const unsigned which = random() % 4;
            const unsigned change = random() % 5;
            if (change < 2) Callbacks<0>::Register(port, which);
            if (change == 2 || change == 3) Callbacks<1>::Register(port, which);
            if (change == 4) Unregister(port, which);
            std::this_thread::yield();
        });
    }
    busy.Add([port](std::mt19937& random) {
        Dravo_SetCurrentFrameNum(port, random() % 60);
        Dravo_Pause(port, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 50));
    });
    for (int round = 0; round < 20; ++round) {
        Callbacks<0>::Register(port, 3);
        const int enough = Calls() + 10;
        EXPECT_TRUE(support::WaitUntil([&] { return Calls() >= enough; }, 20s));
        EXPECT_TRUE(Dravo_Stop(port));
        const int after = Calls();
        std::this_thread::sleep_for(5ms); // longer than one takes: that nothing comes is the point
        EXPECT_EQ(Calls(), after) << round;
        EXPECT_TRUE(Dravo_Play(port, 0));
    }
    EXPECT_EQ(g_wrong, 0) << "of " << Calls();
    EXPECT_TRUE(Dravo_FreePort(port));
    const int after = Calls();
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(Calls(), after);
}

TEST(CallbackStress, TheEndAndTheIndexAreToldOncePerOpeningWhateverIsAskedMeanwhile) {
    const std::string& film = Clip("once.264", {.width = 160,
                                                .height = 96,
                                                .frames = 50,
                                                .keyInterval = 10,
                                                .container = support::ClipContainer::RawStream});
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    for (int round = 0; round < 12; ++round) {
        Reset();
        Callbacks<0>::Register(port, 0);
        Callbacks<0>::Register(port, 2);
        ASSERT_TRUE(Dravo_OpenFile(port, film.c_str()));
        {
            Busy busy;
            busy.Add([port](std::mt19937& random) {
                Dravo_Pause(port, static_cast<int>(random() % 4 == 0));
                Dravo_Fast(port);
                if (random() % 3 == 0) Dravo_Slow(port);
                std::this_thread::sleep_for(1ms);
            });
            busy.Add([port](std::mt19937& random) {
                // The same again: what has been told is not told once more.
                Callbacks<0>::Register(port, random() % 2 == 0 ? 0 : 2);
                Dravo_GetCurrentFrameNum(port);
                Dravo_GetFileTotalFrames(port);
                Dravo_RefreshPlay(port);
                std::this_thread::sleep_for(1ms);
            });
            busy.Add([port](std::mt19937&) {
                std::vector<unsigned char> still(160 * 96 * 5);
                unsigned long written = 0;
                Dravo_GetJPEG(port, still.data(), still.size(), &written);
                Dravo_Play(port, 0);
            });
            EXPECT_TRUE(
                support::WaitUntil([&] { return g_heard[0].ends > 0 && g_heard[0].indexes > 0; }, 20s));
            std::this_thread::sleep_for(100ms); // for one that is too many
        }
        EXPECT_EQ(g_heard[0].ends, 1) << round;
        EXPECT_EQ(g_heard[0].indexes, 1) << round;
        ASSERT_TRUE(Dravo_CloseFile(port));
    }
    EXPECT_TRUE(Dravo_FreePort(port));
    EXPECT_EQ(g_wrong, 0);
}

TEST(CallbackStress, OnePortIsTakenOpenedUsedAndFreedByAllAtOnceAndNoneIsLost) {
    Reset();
    const std::string& film = GrowingFilm();
    const std::size_t before = FreePorts();
    std::atomic<int> shared{0};
    std::atomic<int> opened{0};
    {
        Busy busy;
        for (int thread = 0; thread < 4; ++thread) {
            busy.Add([&](std::mt19937& random) {
                const int port = shared;
                switch (random() % 8) {
                case 0: {
                    int fresh = 0;
                    if (!Dravo_GetPort(&fresh)) break;
                    const int old = shared.exchange(fresh);
                    if (old != 0) Dravo_FreePort(old); // perhaps somebody has already
                    break;
                }
                case 1:
                    Dravo_FreePort(port);
                    break;
                case 2:
                case 3:
                    Callbacks<0>::Register(port, random() % 4);
                    if (Dravo_OpenFile(port, film.c_str())) ++opened;
                    break;
                case 4:
                    Dravo_Play(port, 0);
                    break;
                case 5:
                    Dravo_Stop(port);
                    break;
                case 6:
                    Dravo_CloseFile(port);
                    break;
                default:
                    Dravo_OneByOne(port);
                    Dravo_PlaySound(port);
                    break;
                }
            });
        }
        EXPECT_TRUE(support::WaitUntil([&] { return opened >= 500; }, 60s)) << opened;
    }
    Dravo_FreePort(shared);
    const int after = Calls();
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(Calls(), after) << "no port is left";
    EXPECT_EQ(g_wrong, 0);
    EXPECT_EQ(FreePorts(), before) << "every port can be had again";
}

} // namespace
