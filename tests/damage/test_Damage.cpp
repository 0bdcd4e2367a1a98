// Every kind of damage to every kind of place, for each of a few clips; the seed is printed.
#include "tests/damage/Examination.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <random>

namespace {

using namespace damage;
using support::ClipContainer;
using support::ClipOptions;
using support::ClipScan;

// Four groups, so that there are whole ones before and after what is broken.
ClipOptions Film(ClipOptions options) {
    options.width = 160;
    options.height = 96;
    options.frames = 48;
    options.keyInterval = 12;
    return options;
}

std::uint64_t Seed() {
    const char* given = std::getenv("TALVIO_DAMAGE_SEED");
    return given ? std::strtoull(given, nullptr, 10) : std::random_device()();
}

struct Clip {
    const char* name;
    ClipOptions options;
};

// What a failure is headed with.
void PrintTo(const Clip& clip, std::ostream* stream) {
    *stream << clip.name;
}

class DamagedFiles : public testing::TestWithParam<Clip> {};

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts)
        joined += text + "; ";
    return joined;
}

} // namespace

TEST_P(DamagedFiles, KeepEveryPromise) {
    const support::TemporaryFolder folder;
    const std::string path = folder / "whole";
    support::MakeClip(path, GetParam().options);
    Examination examination(path, folder.Path().string(), GetParam().name);
    ASSERT_TRUE(examination.Usable());
    const std::uint64_t seed = Seed();
    std::printf("TALVIO_DAMAGE_SEED=%llu\n", static_cast<unsigned long long>(seed));
    int after = 0;
    std::uint64_t variant = seed;
    for (const Place place : kPlaces) {
        for (const Harm harm : kHarms) {
            Verdict verdict;
            if (!examination.Try(place, harm, variant++, verdict)) continue;
            EXPECT_TRUE(verdict.broken.empty())
                << NameOf(place) << " " << NameOf(harm) << ": " << Joined(verdict.broken);
            after += verdict.checked_after ? 1 : 0;
            if (!verdict.inexact.empty())
                std::printf("%s %s: %s\n", NameOf(place), NameOf(harm), Joined(verdict.inexact).c_str());
        }
    }
    EXPECT_GT(after, 0) << "some variants have whole pictures after the damage";
}

TEST(Damage, LeavesWhatLiesBeforeItAloneAndChangesSomething) {
    std::vector<std::uint8_t> whole(4000);
    Random random(7);
    for (std::uint8_t& byte : whole)
        byte = static_cast<std::uint8_t>(1 + random() % 255);
    for (const Harm harm : kHarms) {
        SCOPED_TRACE(NameOf(harm));
        for (std::uint64_t seed = 0; seed < 200; ++seed) {
            Random own(seed);
            const Damaged damaged = Break(whole, {1000, 1200}, harm, own);
            Random again(seed);
            ASSERT_EQ(Break(whole, {1000, 1200}, harm, again).bytes, damaged.bytes);
            ASSERT_GE(damaged.touched.begin, 1000U);
            ASSERT_TRUE(std::equal(whole.begin(),
                                   whole.begin() + static_cast<std::ptrdiff_t>(damaged.touched.begin),
                                   damaged.bytes.begin()));
            // An even number of flips of one bit changes nothing.
            if (harm != Harm::Flip) {
                ASSERT_NE(damaged.bytes, whole);
            }
            if (damaged.moved) continue;
            ASSERT_EQ(damaged.bytes.size(), whole.size());
            ASSERT_TRUE(std::equal(whole.begin() + static_cast<std::ptrdiff_t>(damaged.touched.end),
                                   whole.end(),
                                   damaged.bytes.begin() + static_cast<std::ptrdiff_t>(damaged.touched.end)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Clips, DamagedFiles,
    testing::Values(Clip{"raw", Film({.bFrames = 2, .container = ClipContainer::RawStream})},
                    Clip{"mp4", Film({.bFrames = 2})},
                    Clip{"fragmented", Film({.bFrames = 2, .container = ClipContainer::FragmentedMp4})},
                    Clip{"matroska",
                         Film({.bFrames = 2, .container = ClipContainer::Matroska, .sound = true})},
                    Clip{"hevc", Film({.codec = "libx265", .bFrames = 2})},
                    Clip{"fields", Film({.scan = ClipScan::TopFieldFirst})},
                    Clip{"open_groups", Film({.bFrames = 2, .openGop = true})},
                    Clip{"avi", Film({.container = ClipContainer::Avi})}),
    [](const testing::TestParamInfo<Clip>& clip) { return std::string(clip.param.name); });
