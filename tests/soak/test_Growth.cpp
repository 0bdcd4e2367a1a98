// What the soak calls growth, on samples made up for it.
#include "tests/soak/Growth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <random>

using namespace soak;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Changes the sample of round `round`, counted from 0.
using Change = std::function<void(Holdings& holdings, std::size_t round)>;

// Of a run in which nothing changes but what `change` does: the figures of a real one.
std::vector<Holdings> Samples(std::size_t rounds, double seconds, const Change& change) {
    std::vector<Holdings> samples(rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        samples[i] = {.memory_mb = 26.0,
                      .mapped_mb = 48.0,
                      .heap_mb = 10.0,
                      .threads = 1,
                      .descriptors = 25,
                      .clients = 11,
                      .windows = 1,
                      .server_mb = 20.0,
                      .segments = 0,
                      .clock_error_ms = 0.3};
        samples[i].seconds = seconds * static_cast<double>(i + 1) / static_cast<double>(rounds);
        if (change) change(samples[i], i);
    }
    return samples;
}

std::vector<std::string> GrowthInShort(const Change& change) {
    return Growth(Samples(24, 300.0, change));
}
std::vector<std::string> GrowthInLong(const Change& change) {
    return Growth(Samples(360, 3600.0, change));
}

struct Leak {
    const char* column;
    Change change;
};

[[maybe_unused]] void PrintTo(const Leak& leak, std::ostream* out) {
    *out << leak.column;
}

} // namespace

TEST(Growth, IsNotFoundWhereNothingChanges) {
    EXPECT_THAT(GrowthInShort(nullptr), IsEmpty());
    EXPECT_THAT(GrowthInLong(nullptr), IsEmpty());
}

TEST(Growth, IsNotFoundWhereItOnlyWavers) {
    // Memory as it wavered in a real run, and more; every fifth look comes while a thread still ends.
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        std::normal_distribution<double> megabytes(0.0, 3.0);
        const auto waver = [&](Holdings& holdings, std::size_t round) {
            holdings.memory_mb += megabytes(random);
            holdings.mapped_mb += megabytes(random) / 10;
            holdings.heap_mb += megabytes(random);
            holdings.server_mb += megabytes(random) / 10;
            const int late = round % 5 == 0 ? 3 : 0;
            holdings.threads += late;
            holdings.descriptors += late;
            holdings.clients += late;
            holdings.windows += late;
            holdings.segments += late;
        };
        EXPECT_THAT(GrowthInShort(waver), IsEmpty()) << "seed " << seed;
        EXPECT_THAT(GrowthInLong(waver), IsEmpty()) << "seed " << seed;
    }
}

TEST(Growth, IsNotFoundWhereItShrinksOrPeaksOnce) {
    const auto shrink = [](Holdings& holdings, std::size_t round) {
        holdings.memory_mb -= 0.05 * static_cast<double>(round);
        holdings.descriptors -= static_cast<long>(round / 20);
    };
    EXPECT_THAT(GrowthInLong(shrink), IsEmpty());
    const auto peak = [](Holdings& holdings, std::size_t round) {
        if (round != 359) return;
        holdings.memory_mb += 500.0;
        holdings.descriptors += 50;
    };
    EXPECT_THAT(GrowthInLong(peak), IsEmpty());
}

class GrowthOf : public testing::TestWithParam<Leak> {};

TEST_P(GrowthOf, EachRoundIsFoundAndNothingElse) {
    const auto sentence = ElementsAre(HasSubstr(std::string(GetParam().column) + " grew"));
    EXPECT_THAT(GrowthInShort(GetParam().change), sentence);
    EXPECT_THAT(GrowthInLong(GetParam().change), sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Growth, GrowthOf,
    testing::Values(
        Leak{"memory MB", [](Holdings& h, std::size_t i) { h.memory_mb += 1.5 * static_cast<double>(i); }},
        Leak{"mapped MB", [](Holdings& h, std::size_t i) { h.mapped_mb += 1.5 * static_cast<double>(i); }},
        Leak{"heap MB", [](Holdings& h, std::size_t i) { h.heap_mb += 1.5 * static_cast<double>(i); }},
        Leak{"threads", [](Holdings& h, std::size_t i) { h.threads += static_cast<long>(i); }},
        Leak{"files", [](Holdings& h, std::size_t i) { h.descriptors += static_cast<long>(i); }},
        Leak{"X files", [](Holdings& h, std::size_t i) { h.clients += static_cast<long>(i); }},
        Leak{"windows", [](Holdings& h, std::size_t i) { h.windows += static_cast<long>(i); }},
        Leak{"X MB", [](Holdings& h, std::size_t i) { h.server_mb += 1.5 * static_cast<double>(i); }},
        Leak{"segments", [](Holdings& h, std::size_t i) { h.segments += static_cast<long>(i); }}));

TEST(Growth, OfAThirtiethOfAMegabyteARoundIsFoundInAnHourOfWavering) {
    std::mt19937 random(1);
    std::normal_distribution<double> megabytes(0.0, 2.2);
    const auto leak = [&](Holdings& holdings, std::size_t round) {
        holdings.memory_mb += megabytes(random) + static_cast<double>(round) / 30;
    };
    EXPECT_THAT(GrowthInLong(leak), ElementsAre(HasSubstr("memory MB grew")));
}

TEST(Growth, OfWhatComesOnceIsAllowedLessInAnHour) {
    const auto late = [](long count, double megabytes) {
        return [=](Holdings& holdings, std::size_t round) {
            if (round < 12) return; // the middle of the short run, the first third of the long one
            holdings.descriptors += count;
            holdings.memory_mb += megabytes;
        };
    };
    EXPECT_THAT(GrowthInShort(late(2, 10.0)), IsEmpty());
    EXPECT_THAT(GrowthInShort(late(3, 0.0)), ElementsAre(HasSubstr("files grew")));
    EXPECT_THAT(GrowthInLong(late(20, 100.0)), IsEmpty());
    const auto later = [](long count, double megabytes) {
        return [=](Holdings& holdings, std::size_t round) {
            if (round < 180) return;
            holdings.descriptors += count;
            holdings.memory_mb += megabytes;
        };
    };
    EXPECT_THAT(GrowthInLong(later(1, 3.5)), IsEmpty());
    EXPECT_THAT(GrowthInLong(later(2, 0.0)), ElementsAre(HasSubstr("files grew")));
    EXPECT_THAT(GrowthInLong(later(0, 4.5)), ElementsAre(HasSubstr("memory MB grew")));
}

TEST(Growth, IsNotComparedInFewerThanThreeSamples) {
    EXPECT_THAT(Growth(Samples(2, 20.0, nullptr)), ElementsAre(HasSubstr("too short")));
    EXPECT_THAT(Growth(Samples(3, 20.0, nullptr)), IsEmpty());
}

TEST(Growth, IsToldBesideAClockThatIsOffOrUntold) {
    const auto off = [](Holdings& holdings, std::size_t) { holdings.clock_error_ms = 19.0; };
    EXPECT_THAT(GrowthInShort(off), ElementsAre(HasSubstr("clock is 19.0 ms off")));
    const auto untold = [](Holdings& holdings, std::size_t) { holdings.clock_error_ms.reset(); };
    EXPECT_THAT(GrowthInShort(untold), ElementsAre(HasSubstr("the clock could be told nowhere")));
    // A busy machine makes some rounds late.
    const auto sometimes = [](Holdings& holdings, std::size_t round) {
        if (round % 3 == 0) holdings.clock_error_ms = 97.6;
        if (round % 3 == 1) holdings.clock_error_ms.reset();
    };
    EXPECT_THAT(GrowthInLong(sometimes), ElementsAre(HasSubstr("clock is")));
    const auto seldom = [](Holdings& holdings, std::size_t round) {
        if (round % 3 == 0) holdings.clock_error_ms = 97.6;
    };
    EXPECT_THAT(GrowthInLong(seldom), IsEmpty());
}
