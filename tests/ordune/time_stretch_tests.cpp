// Tones go in; how long and how high they come out is measured.
#include "ordune/TimeStretch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace {

using namespace ordune;

constexpr int kRate = 48000;

std::vector<float> Tone(double hertz, double seconds, int channels) {
    std::vector<float> samples;
    const auto count = static_cast<std::size_t>(seconds * kRate);
    for (std::size_t i = 0; i < count; ++i) {
        const double value = 0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / kRate);
        samples.insert(samples.end(), static_cast<std::size_t>(channels), static_cast<float>(value));
    }
    return samples;
}

// Frequency of a tone by its rising zero crossings.
double Pitch(const std::vector<float>& samples, std::size_t channels, std::size_t channel) {
    int crossings = 0;
    std::size_t first = 0;
    std::size_t last = 0;
    for (std::size_t i = channel + channels; i < samples.size(); i += channels) {
        if (samples[i - channels] < 0 && samples[i] >= 0) {
            if (crossings++ == 0) first = i;
            last = i;
        }
    }
    if (crossings < 2) return 0;
    return (crossings - 1) * static_cast<double>(kRate * channels) / static_cast<double>(last - first);
}

struct Stretched {
    std::vector<float> samples;
    bool done = false;
};

Stretched Stretch(const std::vector<float>& in, int channels, double tempo, std::size_t piece) {
    Stretched out;
    auto stretch = TimeStretch::Make(kRate, channels, tempo);
    if (!stretch) return out;
    for (std::size_t at = 0; at < in.size(); at += piece) {
        const std::size_t count = std::min(piece, in.size() - at);
        if (!stretch.Value()->Push(std::span(in).subspan(at, count), out.samples)) return out;
    }
    out.done = static_cast<bool>(stretch.Value()->Drain(out.samples));
    return out;
}

class AtTempo : public testing::TestWithParam<std::tuple<double, int>> {};

TEST_P(AtTempo, SoundKeepsItsPitchAndTakesItsNewLength) {
    const auto [tempo, channels] = GetParam();
    const auto in = Tone(440, 4, channels);
    const Stretched out = Stretch(in, channels, tempo, static_cast<std::size_t>(channels) * 1024);
    ASSERT_TRUE(out.done);
    const double wanted = static_cast<double>(in.size()) / tempo;
    EXPECT_NEAR(static_cast<double>(out.samples.size()), wanted, wanted * 0.02);
    for (std::size_t channel = 0; channel < static_cast<std::size_t>(channels); ++channel)
        EXPECT_NEAR(Pitch(out.samples, static_cast<std::size_t>(channels), channel), 440, 9);
}

INSTANTIATE_TEST_SUITE_P(Tempos, AtTempo,
                         testing::Combine(testing::Values(0.5, 1.0, 1.5, 2.0, 3.0, 4.0),
                                          testing::Values(1, 2)));

TEST(TimeStretch, KeepsTheChannelsApart) {
    auto in = Tone(440, 2, 2);
    for (std::size_t i = 1; i < in.size(); i += 2)
        in[i] = 0;
    const Stretched out = Stretch(in, 2, 2.0, 4096);
    ASSERT_TRUE(out.done);
    for (std::size_t i = 1; i < out.samples.size(); i += 2)
        ASSERT_EQ(out.samples[i], 0);
}

TEST(TimeStretch, GivesSamplesWhileTheyComeAndNotOnlyAtTheEnd) {
    auto stretch = TimeStretch::Make(kRate, 2, 2.0);
    ASSERT_TRUE(stretch);
    std::vector<float> out;
    const auto second = Tone(440, 1, 2);
    ASSERT_TRUE(stretch.Value()->Push(second, out));
    EXPECT_GT(out.size(), second.size() / 2 * 8 / 10);
}

TEST(TimeStretch, KeepsEventsAtTheirPlace) {
    // A click at 1 s of 2 is at 0.5 s of 1.
    std::vector<float> in(kRate * 2, 0.0F);
    for (std::size_t i = 0; i < 480; ++i)
        in[kRate + i] = 0.8F;
    const Stretched out = Stretch(in, 1, 2.0, 2048);
    ASSERT_TRUE(out.done);
    const auto loud = std::find_if(out.samples.begin(), out.samples.end(), [](float s) { return s > 0.3F; });
    ASSERT_NE(loud, out.samples.end());
    EXPECT_NEAR(static_cast<double>(loud - out.samples.begin()) / kRate, 0.5, 0.03);
}

TEST(TimeStretch, RefusesTemposAndFormatsItCannotMake) {
    EXPECT_FALSE(TimeStretch::Make(kRate, 2, 0.4));
    EXPECT_FALSE(TimeStretch::Make(kRate, 2, 4.1));
    EXPECT_FALSE(TimeStretch::Make(kRate, 2, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(TimeStretch::Make(kRate, 3, 1));
    EXPECT_FALSE(TimeStretch::Make(kRate, 0, 1));
    EXPECT_FALSE(TimeStretch::Make(0, 2, 1));
}

TEST(TimeStretch, GivesNothingForNothing) {
    const Stretched out = Stretch({}, 2, 2.0, 1024);
    EXPECT_TRUE(out.done);
    EXPECT_TRUE(out.samples.empty());
}

} // namespace
