// Sound is made with known content at known times and read back from every side.
#include "ordune/SoundReader.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ordune;
using namespace std::chrono_literals;
using support::ChildProcess;
using support::TemporaryFolder;

constexpr int kRate = 48000;

// A tone whose frequency tells the time: 300 Hz at 0 s, 200 Hz more each second.
constexpr double kSweepStart = 300;
constexpr double kSweepSlope = 200;
const std::string kSweep = "0.5*sin(2*PI*(300*t+100*t*t))";

double Seconds(MediaTime time) {
    return std::chrono::duration<double>(time).count();
}

void RunFfmpeg(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"ffmpeg", "-nostdin", "-v", "error", "-y"});
    const auto result = ChildProcess::Run(arguments, 60s);
    ASSERT_EQ(result.exitCode, 0) << result.output;
}

std::vector<std::string> PictureInput(double seconds) {
    return {"-f", "lavfi", "-i", "color=gray:size=64x64:rate=25:duration=" + std::to_string(seconds)};
}

std::vector<std::string> SoundInput(const std::string& expression, double seconds, int rate = kRate) {
    return {"-f", "lavfi", "-i",
            "aevalsrc=" + expression + ":sample_rate=" + std::to_string(rate) +
                ":duration=" + std::to_string(seconds)};
}

std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct Opened {
    std::shared_ptr<MediaFile> file;
    std::unique_ptr<SoundReader> reader;
};

Opened Open(const std::string& path, int channels = 1) {
    auto file = MediaFile::Open(path);
    if (!file) {
        ADD_FAILURE() << file.Failure().text;
        return {};
    }
    auto reader = SoundReader::Make(*file.Value(), kRate, channels);
    if (!reader) {
        ADD_FAILURE() << reader.Failure().text;
        return {};
    }
    return {file.Value(), std::move(reader.Value())};
}

// Everything from `from` on, at most `seconds` of it; checks that blocks follow each other and are short.
std::vector<float> ReadFrom(SoundReader& reader, MediaTime from, double seconds, std::size_t channels = 1) {
    std::vector<float> samples;
    EXPECT_TRUE(reader.SeekTo(from));
    while (static_cast<double>(samples.size() / channels) < seconds * kRate) {
        const auto block = reader.Next();
        if (!block || !block.Value()) break;
        const double due = Seconds(from) + static_cast<double>(samples.size() / channels) / kRate;
        EXPECT_NEAR(Seconds(block.Value()->time), due, 0.0001);
        EXPECT_GT(block.Value()->samples.size(), 0U);
        EXPECT_LE(block.Value()->samples.size(), channels * kRate / 10);
        samples.insert(samples.end(), block.Value()->samples.begin(), block.Value()->samples.end());
    }
    return samples;
}

// Frequency in a stretch of samples by its rising zero crossings, placed between samples.
double Frequency(const std::vector<float>& samples, double from, double length) {
    const auto begin = static_cast<std::size_t>(from * kRate);
    const auto end = std::min(samples.size(), begin + static_cast<std::size_t>(length * kRate));
    double first = -1;
    double last = -1;
    int count = 0;
    for (std::size_t i = begin + 1; i < end; ++i) {
        if (samples[i - 1] >= 0 || samples[i] < 0) continue;
        last = static_cast<double>(i) - samples[i] / (static_cast<double>(samples[i]) - samples[i - 1]);
        if (first < 0) first = last;
        ++count;
    }
    return count < 2 ? 0 : (count - 1) * kRate / (last - first);
}

// The time that the sweep tells at `at` of the samples.
double SweepTime(const std::vector<float>& samples, double at) {
    constexpr double kWindow = 0.1;
    return (Frequency(samples, at, kWindow) - kSweepStart) / kSweepSlope - kWindow / 2;
}

// Times at which a loud stretch begins after at least a tenth of a second of quiet.
std::vector<double> Onsets(const std::vector<float>& samples) {
    std::vector<double> onsets;
    std::size_t quiet = kRate;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) < 0.1F) {
            ++quiet;
            continue;
        }
        if (quiet >= kRate / 10) onsets.push_back(static_cast<double>(i) / kRate);
        quiet = 0;
    }
    return onsets;
}

float Peak(const std::vector<float>& samples, double from, double to) {
    float peak = 0;
    for (auto i = static_cast<std::size_t>(from * kRate);
         i < std::min(samples.size(), static_cast<std::size_t>(to * kRate)); ++i)
        peak = std::max(peak, std::abs(samples[i]));
    return peak;
}

void ExpectBeepsASecondApart(const std::string& path, double first) {
    const Opened clip = Open(path);
    ASSERT_TRUE(clip.reader);
    const auto onsets = Onsets(ReadFrom(*clip.reader, 0s, 100));
    // The sound may go on a little after the last picture, into the beep of the next second.
    ASSERT_GE(onsets.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(onsets[i], first + static_cast<double>(i), 0.005);
}

TEST(SoundReader, PlacesBeepsWhereThePicturesHaveThem) {
    TemporaryFolder folder;
    support::ClipOptions options;
    options.frames = 100;
    options.sound = true;
    for (const auto container : {support::ClipContainer::Mp4, support::ClipContainer::FragmentedMp4,
                                 support::ClipContainer::Matroska}) {
        SCOPED_TRACE(static_cast<int>(container));
        options.container = container;
        support::MakeClip(folder / "clip", options);
        ExpectBeepsASecondApart(folder / "clip", 0);
    }
}

TEST(SoundReader, FollowsPicturesThatAnEditListDelaysOrHides) {
    TemporaryFolder folder;
    support::ClipOptions options;
    options.frames = 100;
    options.sound = true;
    // The pictures begin 0.72 s after the sound, whose beep of the first full second is then 0.28 s into the
    // film.
    options.startDelayMs = 720;
    support::MakeClip(folder / "delayed.mp4", options);
    ExpectBeepsASecondApart(folder / "delayed.mp4", 0.28);
    options.startDelayMs = 0;
    options.hiddenFrames = 10;
    options.bFrames = 2;
    support::MakeClip(folder / "hidden.mp4", options);
    ExpectBeepsASecondApart(folder / "hidden.mp4", 0);
}

struct Codec {
    const char* name;
    const char* encoder;
    const char* file;
    double bound; // how far two decodings of the same place may differ: lossy codecs carry state along
};

class SoundOf : public testing::TestWithParam<Codec> {};

TEST_P(SoundOf, IsAtItsTimeAndTheSameFromEveryPlace) {
    TemporaryFolder folder;
    const Codec codec = GetParam();
    const std::string path = folder / codec.file;
    RunFfmpeg(PictureInput(7) + SoundInput(kSweep, 7) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", codec.encoder, "-b:a", "192k", "-strict",
                                       "-2", path});
    if (HasFatalFailure()) return;
    const Opened clip = Open(path);
    ASSERT_TRUE(clip.reader);
    const auto whole = ReadFrom(*clip.reader, 0s, 100);
    EXPECT_NEAR(static_cast<double>(whole.size()) / kRate, 7.0, 0.06);
    for (double at = 0.5; at < 6.5; at += 0.5)
        EXPECT_NEAR(SweepTime(whole, at), at, 0.003);

    constexpr unsigned kSeed = 11;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937 random(kSeed);
    for (int i = 0; i < 20; ++i) {
        const MediaTime time(std::uniform_int_distribution<int>(0, 6'500'000)(random));
        const auto part = ReadFrom(*clip.reader, time, 0.3);
        const auto offset = static_cast<std::size_t>(std::llround(Seconds(time) * kRate));
        ASSERT_GE(part.size(), static_cast<std::size_t>(0.3 * kRate));
        for (std::size_t k = 0; k < static_cast<std::size_t>(0.3 * kRate); ++k)
            ASSERT_NEAR(part[k], whole[offset + k], codec.bound)
                << "at " << time.count() << " us, sample " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, SoundOf,
    testing::Values(Codec{"Aac", "aac", "a.mp4", 0.02}, Codec{"Mp3", "libmp3lame", "a.mp4", 0.02},
                    Codec{"Opus", "libopus", "a.mp4", 0.05}, Codec{"Ac3", "ac3", "a.mp4", 0.02},
                    Codec{"Alac", "alac", "a.mov", 0.0001}, Codec{"Pcm", "pcm_s16le", "a.mov", 0.0001},
                    Codec{"FlacInMatroska", "flac", "a.mkv", 0.0001},
                    Codec{"AacInTransportStream", "aac", "a.ts", 0.02}),
    [](const testing::TestParamInfo<Codec>& parameter) { return parameter.param.name; });

TEST(SoundReader, IsSilentUntilSoundThatBeginsLater) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(4) + std::vector<std::string>{"-itsoffset", "1.5"} + SoundInput(kSweep, 2) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "aac", folder / "late.mp4"});
    const Opened clip = Open(folder / "late.mp4");
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100);
    EXPECT_LT(Peak(samples, 0, 1.45), 0.01F);
    EXPECT_NEAR(SweepTime(samples, 2.5), 1.0, 0.003);
    const auto later = ReadFrom(*clip.reader, 1s, 100);
    EXPECT_LT(Peak(later, 0, 0.45), 0.01F);
    EXPECT_NEAR(SweepTime(later, 1.5), 1.0, 0.003);
}

TEST(SoundReader, SkipsSoundFromBeforeTheFirstPicture) {
    TemporaryFolder folder;
    RunFfmpeg(SoundInput(kSweep, 4) + std::vector<std::string>{"-itsoffset", "0.8"} + PictureInput(3) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "flac", folder / "early.mkv"});
    const Opened clip = Open(folder / "early.mkv");
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100);
    EXPECT_NEAR(SweepTime(samples, 1.0), 1.8, 0.003);
    // What comes before frame 0 can be asked for.
    EXPECT_NEAR(SweepTime(ReadFrom(*clip.reader, -500ms, 1), 0), 0.3, 0.003);
}

TEST(SoundReader, FillsAGapWithSilence) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(4) + SoundInput(kSweep, 4) +
              std::vector<std::string>{"-af", "aselect='not(between(t,1,2))'", "-c:v", "mpeg4", "-c:a",
                                       "pcm_s16le", folder / "gap.mkv"});
    const Opened clip = Open(folder / "gap.mkv");
    ASSERT_TRUE(clip.reader);
    for (const double from : {0.0, 0.7, 1.5}) {
        const auto samples = ReadFrom(*clip.reader, MediaTime(std::llround(from * 1e6)), 100);
        EXPECT_EQ(Peak(samples, std::max(0.0, 1.05 - from), 1.95 - from), 0.0F);
        EXPECT_NEAR(SweepTime(samples, 2.5 - from), 2.5, 0.003);
        EXPECT_TRUE(from > 0.8 || std::abs(SweepTime(samples, 0.8 - from) - 0.8) < 0.003);
    }
}

TEST(SoundReader, MakesSilenceOfDamageAndKeepsTheTime) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(6) + SoundInput(kSweep, 6) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "aac", folder / "whole.mp4"});
    std::ifstream in(folder / "whole.mp4", std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    constexpr unsigned kSeed = 5;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937 random(kSeed);
    const std::size_t data = bytes.find("mdat") + 4;
    const std::size_t index = bytes.find("moov");
    ASSERT_GT(index, data);
    // The third quarter of the data, so that the start is left for opening.
    for (std::size_t i = data + (index - data) / 2; i < data + (index - data) * 3 / 4; ++i) {
        if (random() % 4 == 0) bytes[i] = static_cast<char>(random());
    }
    std::ofstream(folder / "damaged.mp4", std::ios::binary) << bytes;
    const Opened clip = Open(folder / "damaged.mp4");
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100);
    EXPECT_NEAR(static_cast<double>(samples.size()) / kRate, 6.0, 0.1);
    EXPECT_NEAR(SweepTime(samples, 1), 1.0, 0.003);
    EXPECT_NEAR(SweepTime(samples, 5.5), 5.5, 0.003);
}

TEST(SoundReader, EndsWhereTheFileIsCut) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(6) + SoundInput(kSweep, 6) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "aac", "-movflags", "+faststart",
                                       folder / "whole.mp4"});
    std::filesystem::resize_file(folder / "whole.mp4",
                                 std::filesystem::file_size(folder / "whole.mp4") * 2 / 3);
    const Opened clip = Open(folder / "whole.mp4");
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100);
    EXPECT_GT(samples.size(), static_cast<std::size_t>(2 * kRate));
    EXPECT_LT(samples.size(), static_cast<std::size_t>(6 * kRate));
    EXPECT_NEAR(SweepTime(samples, 1.5), 1.5, 0.003);
}

// A recorder may give a file's name to its next one, or a reviewer remove what still plays.
TEST(SoundReader, IsThatOfTheFileThatWasOpenedWhateverBecomesOfItsName) {
    TemporaryFolder folder;
    for (const char* name : {"film.mp4", "other.mp4"}) {
        const bool other = std::string(name) == "other.mp4";
        RunFfmpeg(PictureInput(3) + SoundInput(other ? "0" : kSweep, 3) +
                  std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "aac", folder / name});
    }
    const auto film = MediaFile::Open(folder / "film.mp4");
    ASSERT_TRUE(film);
    std::filesystem::rename(folder / "other.mp4", folder / "film.mp4");
    const auto replaced = SoundReader::Make(*film.Value(), kRate, 1);
    ASSERT_TRUE(replaced);
    EXPECT_NEAR(SweepTime(ReadFrom(*replaced.Value(), 0s, 3), 1.5), 1.5, 0.003);
    std::filesystem::remove(folder / "film.mp4");
    const auto removed = SoundReader::Make(*film.Value(), kRate, 1);
    ASSERT_TRUE(removed);
    EXPECT_NEAR(SweepTime(ReadFrom(*removed.Value(), 0s, 3), 1.5), 1.5, 0.003);
}

TEST(SoundReader, KeepsPitchAndLengthOfOtherRates) {
    TemporaryFolder folder;
    for (const int rate : {8000, 22050, 44100, 96000}) {
        SCOPED_TRACE(rate);
        RunFfmpeg(PictureInput(4) + SoundInput(kSweep, 4, rate) +
                  std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "pcm_s16le", folder / "rate.mov"});
        const Opened clip = Open(folder / "rate.mov");
        ASSERT_TRUE(clip.reader);
        const auto samples = ReadFrom(*clip.reader, 0s, 100);
        EXPECT_NEAR(static_cast<double>(samples.size()) / kRate, 4.0, 0.002);
        EXPECT_NEAR(SweepTime(samples, 3.5), 3.5, 0.002);
        EXPECT_NEAR(SweepTime(ReadFrom(*clip.reader, 2s, 1), 0.5), 2.5, 0.002);
    }
}

TEST(SoundReader, PlaysMonoAtFullLevelOnBothSides) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(2) + SoundInput("0.5*sin(2*PI*440*t)", 2) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "pcm_s16le", folder / "mono.mov"});
    const Opened clip = Open(folder / "mono.mov", 2);
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100, 2);
    float peak = 0;
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
        ASSERT_EQ(samples[i], samples[i + 1]);
        peak = std::max(peak, std::abs(samples[i]));
    }
    EXPECT_NEAR(peak, 0.5, 0.01);
}

TEST(SoundReader, KeepsLeftAndRightApart) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(2) + SoundInput("0.5*sin(2*PI*440*t)|0.25*sin(2*PI*1000*t)", 2) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "pcm_s16le", folder / "stereo.mov"});
    const Opened clip = Open(folder / "stereo.mov", 2);
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100, 2);
    std::vector<float> left;
    std::vector<float> right;
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
        left.push_back(samples[i]);
        right.push_back(samples[i + 1]);
    }
    EXPECT_NEAR(Frequency(left, 0.5, 1), 440, 1);
    EXPECT_NEAR(Frequency(right, 0.5, 1), 1000, 1);
    EXPECT_NEAR(Peak(left, 0, 2), 0.5, 0.01);
    EXPECT_NEAR(Peak(right, 0, 2), 0.25, 0.01);
}

TEST(SoundReader, MixesSixLoudChannelsWithoutCuttingThem) {
    TemporaryFolder folder;
    const std::string one = "0.95*sin(2*PI*440*t)";
    RunFfmpeg(
        PictureInput(1) +
        SoundInput(one + "|" + one + "|" + one + "|" + one + "|" + one + "|" + one + ":channel_layout=5.1",
                   1) +
        std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "pcm_s16le", folder / "six.mov"});
    const Opened clip = Open(folder / "six.mov", 2);
    ASSERT_TRUE(clip.reader);
    const auto samples = ReadFrom(*clip.reader, 0s, 100, 2);
    const float peak = std::abs(*std::max_element(samples.begin(), samples.end()));
    EXPECT_LT(peak, 0.96F);
    EXPECT_GT(peak, 0.5F);
}

TEST(SoundReader, EndsWithTheSoundAndStaysAtTheEnd) {
    TemporaryFolder folder;
    RunFfmpeg(PictureInput(5) + SoundInput(kSweep, 2) +
              std::vector<std::string>{"-c:v", "mpeg4", "-c:a", "pcm_s16le", folder / "short.mov"});
    const Opened clip = Open(folder / "short.mov");
    ASSERT_TRUE(clip.reader);
    EXPECT_EQ(ReadFrom(*clip.reader, 0s, 100).size(), static_cast<std::size_t>(2 * kRate));
    EXPECT_FALSE(clip.reader->Next().Value());
    EXPECT_TRUE(ReadFrom(*clip.reader, 4s, 1).empty());
    // And goes back from there.
    EXPECT_NEAR(SweepTime(ReadFrom(*clip.reader, 500ms, 1), 0.5), 1.0, 0.003);
}

TEST(SoundReader, RefusesAFileWithoutSoundAndFormsItCannotGive) {
    TemporaryFolder folder;
    support::ClipOptions options;
    options.frames = 10;
    support::MakeClip(folder / "silent.mp4", options);
    const auto silent = MediaFile::Open(folder / "silent.mp4");
    ASSERT_TRUE(silent);
    EXPECT_FALSE(SoundReader::Make(*silent.Value(), kRate, 2));
    options.sound = true;
    support::MakeClip(folder / "sound.mp4", options);
    const auto sound = MediaFile::Open(folder / "sound.mp4");
    ASSERT_TRUE(sound);
    EXPECT_FALSE(SoundReader::Make(*sound.Value(), 0, 2));
    EXPECT_FALSE(SoundReader::Make(*sound.Value(), kRate, 3));
}

} // namespace
