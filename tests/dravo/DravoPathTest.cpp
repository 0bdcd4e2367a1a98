// Frame n is the same picture by every path: random walks of everything that moves a port about, in a window.
#include "tests/dravo/ScreenFixture.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace {

using namespace dravo_tests;

constexpr Place kPlace{0, 0, 320, 180};

struct Walk {
    const char* name;
    support::ClipOptions options;
};

class AnyPath : public ScreenTest, public testing::WithParamInterface<Walk> {};

TEST_P(AnyPath, LeadsToThePictureOfTheNumberThatIsTold) {
    const support::ClipOptions& options = GetParam().options;
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    const OpenPort port(Clip(std::string("path-") + GetParam().name, options));
    ASSERT_TRUE(port.Open());
    const auto total = static_cast<unsigned long>(options.frames);
    ASSERT_TRUE(support::WaitUntil([&] { return Dravo_GetFileTotalFrames(port) == total; }, 20s));
    const auto begin_of = [&](unsigned long frame) {
        if (options.durations.empty()) return frame * 40;
        unsigned long begin = 0;
        for (unsigned long before = 0; before < frame; ++before)
            begin += static_cast<unsigned long>(options.durations[before % options.durations.size()]);
        return begin;
    };
    const xcb_window_t window = MakeWindow(kPlace);
    ASSERT_TRUE(Dravo_Play(port, window));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    unsigned long at = 0;
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, at));
    for (int move = 0; move < 60; ++move) {
        const unsigned kind = random() % 10;
        SCOPED_TRACE("move " + std::to_string(move) + " of kind " + std::to_string(kind) + " from frame " +
                     std::to_string(at));
        const unsigned long frame = random() % total;
        if (kind == 0) {
            ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
            at = frame;
        } else if (kind == 1) {
            ASSERT_TRUE(Dravo_SetPlayPos(port, static_cast<float>(frame) / static_cast<float>(total)));
            at = frame;
        } else if (kind == 2) {
            ASSERT_TRUE(Dravo_SetPlayedTimeEx(port, begin_of(frame)));
            at = frame;
        } else if (kind == 3 || kind == 4) {
            for (unsigned long steps = random() % 6; steps > 0 && at + 1 < total; --steps, ++at)
                ASSERT_TRUE(Dravo_OneByOne(port));
        } else if (kind == 5 || kind == 6) {
            for (unsigned long steps = random() % 6; steps > 0 && at > 0; --steps, --at)
                ASSERT_TRUE(Dravo_OneByOneBack(port));
        } else if (kind == 7) {
            const auto width = static_cast<std::uint32_t>(160 + random() % 160);
            m_screen.Place(window, 0, 0, width, 90);
            m_screen.Place(window, 0, 0, 320, 180);
        } else if (kind == 8) {
            ASSERT_TRUE(Dravo_Stop(port));
            ASSERT_TRUE(Dravo_Play(port, window));
            ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
            ASSERT_TRUE(Dravo_Pause(port, 1));
            // What was played on from there until the pause is not known beforehand.
            at = Dravo_GetCurrentFrameNum(port);
        } else {
            ASSERT_TRUE(Dravo_Pause(port, 0));
            for (unsigned changes = random() % 3; changes > 0; --changes)
                (void)(random() % 2 == 0 ? Dravo_Fast(port) : Dravo_Slow(port));
            const std::size_t before = port.Pictures().Count();
            // At the film's end none comes.
            support::WaitUntil([&] { return port.Pictures().Count() > before + 2; }, 300ms);
            ASSERT_TRUE(Dravo_Pause(port, 1));
            at = Dravo_GetCurrentFrameNum(port);
        }
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), at);
        ASSERT_EQ(port.StillNumber(), static_cast<int>(at));
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), at) << "no other was taken for it";
        ASSERT_TRUE(move % 6 != 0 || Shows(kPlace, at));
    }
}

template <class Change>
support::ClipOptions With(Change change) {
    support::ClipOptions options{.frames = 120, .keyInterval = 30, .bFrames = 3};
    change(options);
    return options;
}

INSTANTIATE_TEST_SUITE_P(
    Clips, AnyPath,
    testing::Values(Walk{"OpenGroups.mp4", With([](support::ClipOptions& clip) { clip.openGop = true; })},
                    Walk{"OpenGroups.264", With([](support::ClipOptions& clip) {
                             clip.openGop = true;
                             clip.container = support::ClipContainer::RawStream;
                         })},
                    Walk{"OneKey.mp4", With([](support::ClipOptions& clip) { clip.keyInterval = 1000; })},
                    Walk{"Hevc.mp4", With([](support::ClipOptions& clip) { clip.codec = "libx265"; })},
                    Walk{"Mpeg4.avi", With([](support::ClipOptions& clip) {
                             clip.codec = "mpeg4";
                             clip.bFrames = 2;
                             clip.container = support::ClipContainer::Avi;
                         })},
                    Walk{"Uneven.mp4", With([](support::ClipOptions& clip) {
                             clip.durations = {40, 20, 100, 40, 33};
                         })}),
    [](const auto& walk) {
        std::string name = walk.param.name;
        std::erase(name, '.');
        return name;
    });

} // namespace
