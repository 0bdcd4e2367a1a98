// The callbacks' guarantees, with callbacks that are slow, that capture, that try to stop, and with several
// threads at once.
#include "tests/dravo/PortFixture.h"

#include <array>
#include <atomic>
#include <random>
#include <thread>

namespace {

using namespace dravo_tests;

// 60 pictures, of which the second half is larger.
const std::string& GrowingFilm() {
    return Clip("growing.264", {.frames = 60,
                                .keyInterval = 15,
                                .container = support::ClipContainer::RawStream,
                                .sizeChanges = {{.frame = 30, .width = 480, .height = 270}}});
}

// What the callbacks of one port did. They are told whether they may run at all.
struct Watch {
    std::atomic<int> inside{0};
    std::array<std::atomic<int>, 4> made{}; // end, size, index, display
    std::atomic<int> forbidden{0};          // began or ran while none may
    std::atomic<bool> allowed{false};
    std::chrono::milliseconds takes{0};
    std::function<void()> during;

    int All() const { return made[0] + made[1] + made[2] + made[3]; }
    void Run(std::size_t kind) {
        ++inside;
        if (!allowed) ++forbidden;
        ++made[kind];
        std::this_thread::sleep_for(takes);
        if (during) during();
        if (!allowed) ++forbidden;
        --inside;
    }
};

// The display callback has no user value; ports are told apart by their numbers.
std::array<std::atomic<Watch*>, 256> g_watches;

void RegisterAll(int port, Watch& watch) {
    g_watches[static_cast<std::size_t>(port % 256)] = &watch;
    Dravo_SetFileEndCallback(
        port, [](int, void* user) { static_cast<Watch*>(user)->Run(0); }, &watch);
    Dravo_SetEncTypeChangeCallBack(
        port, [](int, std::intptr_t user) { reinterpret_cast<Watch*>(user)->Run(1); },
        reinterpret_cast<std::intptr_t>(&watch));
    Dravo_SetFileRefCallBack(
        port, [](unsigned int, std::uintptr_t user) { reinterpret_cast<Watch*>(user)->Run(2); },
        reinterpret_cast<std::uintptr_t>(&watch));
    Dravo_SetDisplayCallBack(port, [](int number, char*, int, int, int, int, int, int) {
        g_watches[static_cast<std::size_t>(number % 256)].load()->Run(3);
    });
}

class WatchedPort {
  public:
    explicit WatchedPort(Watch& watch) : m_watch(watch) { EXPECT_TRUE(Dravo_GetPort(&m_port)); }
    ~WatchedPort() { Dravo_FreePort(m_port); }
    WatchedPort(const WatchedPort&) = delete;
    WatchedPort& operator=(const WatchedPort&) = delete;
    operator int() const { return m_port; }

    bool Open(const std::string& path) const {
        m_watch.allowed = true;
        RegisterAll(m_port, m_watch);
        return Dravo_OpenFile(m_port, path.c_str()) != 0;
    }
    // From its return on none may run.
    bool Close() const {
        const bool closed = Dravo_CloseFile(m_port) != 0;
        m_watch.allowed = false;
        return closed;
    }

  private:
    Watch& m_watch;
    int m_port = 0;
};

TEST(SlowCallbacks, MakeAPortLeaveOutPicturesAndNotFallBehind) {
    const OpenPort port(Film());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(
        port, [](int, void* user) { ++*static_cast<std::atomic<int>*>(user); }, &ends);
    port.Pictures().During([] { std::this_thread::sleep_for(130ms); });
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 15s));
    // Four seconds of film have room for thirty of them; all hundred would take thirteen seconds.
    EXPECT_LT(port.Pictures().Count(), 45U);
    EXPECT_GT(port.Pictures().Count(), 10U);
    EXPECT_EQ(port.Pictures().Last(), 99);
}

TEST(CapturingCallbacks, GetThePictureBeingDisplayedInBothKindsWhateverIsAskedMeanwhile) {
    const OpenPort port(Film());
    std::atomic<int> captured{0};
    std::atomic<int> wrong{0};
    port.Pictures().During([&] {
        const int number = port.Pictures().Last();
        if (port.StillNumber(false) != number || port.StillNumber(true) != number) ++wrong;
        ++captured;
    });
    ASSERT_TRUE(Dravo_Play(port, 0));
    std::mt19937 random(7);
    for (int round = 0; round < 30; ++round) {
        const int before = captured;
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, random() % 90));
        if (round % 7 == 3) Dravo_Fast(port);
        if (round % 7 == 6) Dravo_Slow(port);
        if (round % 5 == 4) Dravo_OneByOneBack(port);
        if (round % 5 == 4) Dravo_Pause(port, 0);
        ASSERT_TRUE(support::WaitUntil([&] { return captured > before + 1; }, 10s)) << round;
    }
    EXPECT_EQ(wrong, 0) << "of " << captured;
}

TEST(Callbacks, OfEveryKindAreRefusedStopCloseAndFreeAndThePortPlaysOn) {
    Watch watch;
    const WatchedPort port(watch);
    std::atomic<int> obeyed{0};
    watch.during = [&] {
        if (Dravo_Stop(port) || Dravo_CloseFile(port) || Dravo_FreePort(port)) ++obeyed;
    };
    ASSERT_TRUE(port.Open(GrowingFilm()));
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return watch.made[0] == 1; }, 15s)) << "it plays to its end";
    EXPECT_EQ(watch.made[1], 1);
    EXPECT_EQ(watch.made[2], 1);
    EXPECT_GT(watch.made[3], 10);
    EXPECT_EQ(obeyed, 0);
    EXPECT_TRUE(Dravo_Stop(port)) << "outside of them it works";
    EXPECT_TRUE(port.Close());
    EXPECT_EQ(watch.forbidden, 0);
}

TEST(Callbacks, OfNoKindRunWhenCloseFileHasReturned) {
    Watch watch;
    const WatchedPort port(watch);
    watch.takes = 10ms;
    std::mt19937 random(11);
    for (int round = 0; round < 25; ++round) {
        ASSERT_TRUE(port.Open(GrowingFilm()));
        ASSERT_TRUE(Dravo_Play(port, 0));
        for (int step = 0; step < 4; ++step)
            Dravo_Fast(port);
        const int before = watch.All();
        const int enough = before + 1 + static_cast<int>(random() % 6);
        ASSERT_TRUE(support::WaitUntil([&] { return watch.All() >= enough || watch.made[0] > 0; }, 10s));
        ASSERT_TRUE(port.Close());
        ASSERT_EQ(watch.inside, 0) << round;
        const int after = watch.All();
        std::this_thread::sleep_for(20ms); // longer than one takes: nothing to wait for is the point
        ASSERT_EQ(watch.All(), after) << round;
    }
    EXPECT_EQ(watch.forbidden, 0);
    EXPECT_GT(watch.made[1] + watch.made[2], 0);
}

TEST(Callbacks, OfTheIndexFindTheirPortOpen) {
    struct Seen {
        std::atomic<int> calls{0};
        std::atomic<int> wrong{0};
    } seen;
    const std::string& film = Film();
    for (int round = 1; round <= 100; ++round) {
        int port = 0;
        ASSERT_TRUE(Dravo_GetPort(&port));
        Dravo_SetFileRefCallBack(
            port,
            [](unsigned int number, std::uintptr_t user) {
                auto* told = reinterpret_cast<Seen*>(user);
                if (Dravo_GetFileTotalFrames(static_cast<int>(number)) != 100) ++told->wrong;
                ++told->calls;
            },
            reinterpret_cast<std::uintptr_t>(&seen));
        ASSERT_TRUE(Dravo_OpenFile(port, film.c_str()));
        ASSERT_TRUE(support::WaitUntil([&] { return seen.calls == round; }, 20s));
        ASSERT_TRUE(Dravo_FreePort(port));
    }
    EXPECT_EQ(seen.wrong, 0);
}

TEST(Callbacks, CannotPlayAPortThatIsBeingStopped) {
    const OpenPort port(Film());
    std::atomic<bool> inside{false};
    std::atomic<int> played{-1};
    port.Pictures().During([&] {
        if (inside.exchange(true)) return;
        // A port that is stopped does not pause.
        while (Dravo_Pause(port, 0))
            std::this_thread::yield();
        played = Dravo_Play(port, 0);
    });
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return inside.load(); }, 20s));
    EXPECT_TRUE(Dravo_Stop(port));
    EXPECT_EQ(played, 0);
    EXPECT_FALSE(Dravo_Pause(port, 1)) << "it stays stopped";
}

TEST(Callbacks, HearOfWindowsAndRegionsThatAreNotThere) {
    constexpr unsigned int kNoWindow = 0x1ffffff0;
    const OpenPort port(Film());
    const OpenPort other(RawFilm());
    ASSERT_TRUE(Dravo_Play(other, 0));
    std::atomic<int> calls{0};
    std::atomic<int> done{0};
    port.Pictures().During([&] {
        const DravoRect rect{0, 0, 16, 16};
        for (const int asked : {port.Number(), other.Number()}) {
            if (Dravo_Play(asked, kNoWindow)) ++done;
            if (Dravo_RefreshPlayEx(asked, 5)) ++done;
            if (Dravo_SetDisplayRegion(asked, 5, &rect, 0, 1)) ++done;
            if (Dravo_SetDisplayRegion(asked, 5, &rect, kNoWindow, 1)) ++done;
            if (Dravo_SetDisplayRegion(asked, 5, nullptr, 0, 0)) ++done;
        }
        ++calls;
    });
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return calls > 0; }, 20s));
    EXPECT_TRUE(Dravo_Stop(port));
    EXPECT_EQ(done, 0);
}

// Ports that are used by several threads at random, each of them opened and closed by one.
TEST(Callbacks, KeepTheirWordWhileSeveralThreadsUseThePorts) {
    constexpr int kPorts = 3;
    constexpr int kRounds = 25;
    // Made before the threads, each of which would make them.
    const std::string& growing = GrowingFilm();
    const std::string& whole = Film();
    std::array<Watch, kPorts> watches;
    std::vector<std::unique_ptr<WatchedPort>> ports;
    for (Watch& watch : watches) {
        watch.takes = 1ms;
        ports.push_back(std::make_unique<WatchedPort>(watch));
    }
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int user = 0; user < 3; ++user) {
        threads.emplace_back([&, user] {
            std::mt19937 random(static_cast<unsigned>(user));
            std::vector<unsigned char> still(480 * 270 * 4);
            unsigned long written = 0;
            while (!done) {
                const int port = *ports[random() % kPorts];
                switch (random() % 12) {
                case 0:
                    Dravo_Play(port, 0);
                    break;
                case 1:
                    Dravo_Pause(port, static_cast<int>(random() % 2));
                    break;
                case 2:
                    Dravo_Fast(port);
                    break;
                case 3:
                    Dravo_Slow(port);
                    break;
                case 4:
                    Dravo_OneByOne(port);
                    break;
                case 5:
                    Dravo_OneByOneBack(port);
                    break;
                case 6:
                    Dravo_SetPlayPos(port, static_cast<float>(random() % 100) / 100.0F);
                    break;
                case 7:
                    Dravo_GetJPEG(port, still.data(), still.size(), &written);
                    break;
                case 8:
                    Dravo_GetPlayPos(port);
                    break;
                case 9:
                    Dravo_PlaySound(port);
                    break;
                case 10:
                    Dravo_SetDisplayType(port, 1 + static_cast<int>(random() % 2));
                    break;
                default:
                    Dravo_Stop(port);
                    break;
                }
            }
        });
    }
    std::atomic<int> openers{kPorts};
    for (int index = 0; index < kPorts; ++index) {
        threads.emplace_back([&, index] {
            const WatchedPort& port = *ports[static_cast<std::size_t>(index)];
            Watch& watch = watches[static_cast<std::size_t>(index)];
            for (int round = 0; round < kRounds; ++round) {
                EXPECT_TRUE(port.Open(round % 2 == 0 ? growing : whole));
                Dravo_Play(port, 0);
                const int enough = watch.All() + 5;
                support::WaitUntil([&] { return watch.All() >= enough; }, 500ms);
                EXPECT_TRUE(port.Close());
                EXPECT_EQ(watch.inside, 0);
            }
            --openers;
        });
    }
    EXPECT_TRUE(support::WaitUntil([&] { return openers == 0; }, 120s));
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    Dravo_StopSound();
    for (const Watch& watch : watches) {
        EXPECT_EQ(watch.forbidden, 0);
        EXPECT_GT(watch.made[3], 0);
    }
}

} // namespace
