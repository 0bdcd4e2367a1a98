// Every frame of the real recordings is the picture that its table of checksums says.
#include "tests/ordune/ReaderUnderTest.h"
#include "tests/ordune/ScriptedMedia.h"
#include "tests/ordune/WholeIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <sstream>

namespace testing_ordune {
namespace {

const std::filesystem::path kMedia = TALVIO_MEDIA_DIR;
// Checksums cost more than decoding: of a long file every picture is decoded, and one in so many compared.
constexpr std::size_t kCompareAll = 300;
constexpr FrameNumber kCompareEvery = 25;
// Of a longer file so many frames are read backward, and so many shuffled.
constexpr std::size_t kMostBackward = 150;
constexpr std::size_t kMostShuffled = 25;

std::vector<std::string> Recordings() {
    std::vector<std::string> names;
    std::ifstream manifest(kMedia / "MANIFEST.tsv");
    std::string line;
    std::getline(manifest, line);
    while (std::getline(manifest, line))
        names.push_back(line.substr(0, line.find('\t')));
    if (names.empty()) names.emplace_back("-");
    return names;
}

std::vector<std::string> SumsOf(const std::string& name) {
    std::vector<std::string> sums;
    std::ifstream file(kMedia / "frames" / (std::filesystem::path(name).filename().string() + ".md5"));
    std::string line;
    while (std::getline(file, line))
        sums.push_back(line.substr(0, 32));
    return sums;
}

class Recording : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        if (GetParam() == "-") GTEST_SKIP() << "no recordings in " << kMedia;
        sums = SumsOf(GetParam());
        ASSERT_FALSE(sums.empty());
        auto opened = MediaFile::Open((kMedia / GetParam()).string());
        ASSERT_TRUE(opened) << opened.Failure().text;
        file = opened.Value();
        ASSERT_EQ(FramesOf(*file), sums.size());
    }

    std::vector<FrameNumber> AllFrames() const {
        std::vector<FrameNumber> frames(sums.size());
        std::iota(frames.begin(), frames.end(), 0);
        return frames;
    }

    void Check(const std::vector<FrameNumber>& order, Direction direction, std::size_t cache_bytes) {
        FrameReaderOptions options;
        options.cache_bytes = cache_bytes;
        ReaderUnderTest reader(file, options);
        for (const FrameNumber frame : order) {
            const PicturePtr picture = reader.Get(frame, direction);
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(picture->Number(), frame);
            if (order.size() > kCompareAll && frame % kCompareEvery != 0) continue;
            ASSERT_EQ(SumOf(picture->Frame()), sums[frame]) << "frame " << frame;
        }
        EXPECT_LE(static_cast<double>(reader->CacheBytes()), static_cast<double>(cache_bytes) * 1.05);
    }

    std::vector<std::string> sums;
    std::shared_ptr<MediaFile> file;
};

TEST_P(Recording, HasTheFramesOfItsTableReadForward) {
    Check(AllFrames(), Direction::Forward, 64 << 20);
}

TEST_P(Recording, HasTheFramesOfItsTableReadBackward) {
    std::vector<FrameNumber> frames = AllFrames();
    std::reverse(frames.begin(), frames.end());
    frames.resize(std::min(frames.size(), kMostBackward));
    Check(frames, Direction::Backward, 64 << 20);
}

TEST_P(Recording, HasTheFramesOfItsTableReadShuffled) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<FrameNumber> frames = AllFrames();
    std::shuffle(frames.begin(), frames.end(), random);
    frames.resize(std::min(frames.size(), kMostShuffled));
    Check(frames, random() % 2 == 0 ? Direction::Forward : Direction::Backward, 32 << 20);
}

INSTANTIATE_TEST_SUITE_P(Manifest, Recording, testing::ValuesIn(Recordings()),
                         [](const testing::TestParamInfo<std::string>& recording) {
                             std::string name = std::filesystem::path(recording.param).filename().string();
                             for (char& c : name) {
                                 if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
                             }
                             return name;
                         });

} // namespace
} // namespace testing_ordune
