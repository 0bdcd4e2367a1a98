// The fragments of an MP4 file, box by box.

#include "ordune/Mp4Fragments.h"
#include "tests/ordune/BoxBuilder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace ordune::test {

namespace {

// Track 1 has samples of 5 bytes and 10 ticks by default, track 2 of 7 bytes; none is a key.
const std::string kMovie = Box("moov", Box("mvex", Box("trex", Numbers(0, 1, 1, 10, 5, 0x10000)) +
                                                       Box("trex", Numbers(0, 2, 1, 10, 7, 0x10000))));

class Fragments : public testing::Test {
  protected:
    ContainerUnits Read(const std::string& behind_movie) {
        const std::string path =
            std::string(TALVIO_TEST_WORK_DIR) + "/fragments-" + std::to_string(::getpid());
        const std::string bytes = kMovie + behind_movie;
        std::ofstream(path, std::ios::binary) << bytes;
        const auto file = FileSource::Open(path);
        EXPECT_TRUE(file);
        const auto movie = Mp4Movie::Read(*file.Value());
        EXPECT_TRUE(movie);
        Mp4Fragments fragments(file.Value(), *movie, 1, 100, 0);
        ContainerUnits units;
        while (fragments.Read(units)) {
        }
        std::filesystem::remove(path);
        return units;
    }
    static std::int64_t Behind(const std::string& bytes) {
        return static_cast<std::int64_t>(kMovie.size() + bytes.size());
    }
};

constexpr std::uint32_t kFromFragment = 0x20000;

std::string Data(std::size_t bytes) {
    return Box("mdat", std::string(bytes, 'x'));
}

} // namespace

TEST_F(Fragments, TakeWhatTheySayThenWhatTheTrackSaysThenTheMovie) {
    const std::string run = Box("trun", Numbers(0x301, 2, 200, 3, 6, 4, 8));
    const std::string defaults = Box("trun", Numbers(0x1, 2, 300));
    const std::string own = Box("tfhd", Numbers(kFromFragment | 0x28, 1, 20, 0));
    const std::string plain = Box("tfhd", Numbers(kFromFragment, 1));
    const ContainerUnits units = Read(Box("moof", Box("traf", own + run)) + Data(300) +
                                      Box("moof", Box("traf", plain + defaults)) + Data(400));
    ASSERT_EQ(units.size(), 4U);
    EXPECT_EQ(units[0].duration, 3U);
    EXPECT_EQ(units[0].size_bytes, 6U);
    EXPECT_EQ(units[1].offset_bytes, units[0].offset_bytes + 6);
    EXPECT_TRUE(units[1].key);
    EXPECT_EQ(units[2].duration, 10U);
    EXPECT_EQ(units[2].size_bytes, 5U);
    EXPECT_FALSE(units[2].key);
    // Time goes on from fragment to fragment, and began where the movie ended.
    EXPECT_EQ(units[0].time, 100);
    EXPECT_EQ(units[1].time, 103);
    EXPECT_EQ(units[2].time, 107);
    EXPECT_EQ(units[3].time, 117);
}

TEST_F(Fragments, HaveAFirstSampleOfItsOwnKind) {
    const std::string run = Box("trun", Numbers(0x5, 3, 200, 0x2000000));
    const ContainerUnits units =
        Read(Box("moof", Box("traf", Box("tfhd", Numbers(kFromFragment, 1)) + run)) + Data(300));
    ASSERT_EQ(units.size(), 3U);
    EXPECT_TRUE(units[0].key);
    EXPECT_FALSE(units[1].key);
}

TEST_F(Fragments, HaveRunsBehindEachOther) {
    const std::string runs = Box("trun", Numbers(0x1, 2, 200)) + Box("trun", Numbers(0, 1));
    const ContainerUnits units =
        Read(Box("moof", Box("traf", Box("tfhd", Numbers(kFromFragment, 1)) + runs)) + Data(300));
    ASSERT_EQ(units.size(), 3U);
    EXPECT_EQ(units[0].offset_bytes, Behind("") + 200);
    EXPECT_EQ(units[2].offset_bytes, units[1].offset_bytes + 5);
}

TEST_F(Fragments, HaveRunsThatBeginWhereTheTrackSaysAndNotWhereTheFragmentDoes) {
    const std::string runs = Box("trun", Numbers(0, 2)) + Box("trun", Numbers(0, 1));
    const std::string based = Box("tfhd", Numbers(kFromFragment | 0x1, 1) + Number(kMovie.size() + 250, 8));
    const ContainerUnits units = Read(Box("moof", Box("traf", based + runs)) + Data(300));
    ASSERT_EQ(units.size(), 3U);
    EXPECT_EQ(units[0].offset_bytes, Behind("") + 250);
    EXPECT_EQ(units[2].offset_bytes, units[0].offset_bytes + 10);
}

TEST_F(Fragments, LeaveOtherTracksOutButForTheirPlace) {
    // Without a base, a track's data lies behind that of the track before it.
    const std::string other = Box("traf", Box("tfhd", Numbers(0, 2)) + Box("trun", Numbers(0x1, 3, 200)));
    const std::string ours = Box("traf", Box("tfhd", Numbers(0, 1)) + Box("trun", Numbers(0, 2)));
    const ContainerUnits units = Read(Box("moof", other + ours) + Data(300));
    ASSERT_EQ(units.size(), 2U);
    EXPECT_EQ(units[0].offset_bytes, Behind("") + 200 + 3 * 7);
}

TEST_F(Fragments, SayWhenTheyBeginInEitherWidth) {
    const std::string head = Box("tfhd", Numbers(kFromFragment, 1));
    const std::string run = Box("trun", Numbers(0x1, 1, 200));
    const std::string narrow = Box("tfdt", Numbers(0, 5000));
    const std::string wide = Box("tfdt", Numbers(0x1000000) + Number(std::uint64_t{1} << 40, 8));
    const ContainerUnits units = Read(Box("moof", Box("traf", head + narrow + run)) + Data(300) +
                                      Box("moof", Box("traf", head + wide + run)) + Data(300));
    ASSERT_EQ(units.size(), 2U);
    EXPECT_EQ(units[0].time, 5000);
    EXPECT_EQ(units[1].time, std::int64_t{1} << 40);
}

TEST_F(Fragments, ShowSamplesEarlierWhereTheySaySo) {
    const std::string run = Box("trun", Numbers(0x1000801, 2, 200, 20, -10));
    const ContainerUnits units =
        Read(Box("moof", Box("traf", Box("tfhd", Numbers(kFromFragment, 1)) + run)) + Data(300));
    ASSERT_EQ(units.size(), 2U);
    EXPECT_EQ(units[0].time, 120);
    EXPECT_EQ(units[1].time, 100);
}

TEST_F(Fragments, AreFoundBehindDataOfEitherSize) {
    const std::string wide_data = Number(1) + "mdat" + Number(316, 8) + std::string(300, 'x');
    const std::string fragment =
        Box("moof", Box("traf", Box("tfhd", Numbers(kFromFragment, 1)) + Box("trun", Numbers(0x1, 1, 100))));
    EXPECT_EQ(Read(wide_data + fragment + Data(200)).size(), 1U);
    EXPECT_EQ(Read(fragment + wide_data + fragment + Data(200)).size(), 2U);
}

TEST_F(Fragments, EndAtTheCut) {
    const std::string fragment =
        Box("moof", Box("traf", Box("tfhd", Numbers(kFromFragment, 1)) + Box("trun", Numbers(0x1, 20, 100))));
    const std::string whole = fragment + Data(200) + fragment + Data(200);
    EXPECT_EQ(Read(whole).size(), 40U);
    std::size_t before = 0;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const ContainerUnits units = Read(whole.substr(0, size));
        ASSERT_GE(units.size(), before);
        before = units.size();
        for (const ContainerUnit& unit : units) {
            ASSERT_LE(unit.offset_bytes + unit.size_bytes, static_cast<std::int64_t>(kMovie.size() + size));
        }
    }
}

TEST_F(Fragments, AreNotBelievedBeyondTheFilesBytes) {
    for (const std::uint32_t count : {1'000U, 0x7fffffffU, 0xffffffffU}) {
        const std::string run = Box("trun", Numbers(0x1, count, 100));
        const ContainerUnits units =
            Read(Box("moof", Box("traf", Box("tfhd", Numbers(kFromFragment, 1)) + run)) + Data(300));
        EXPECT_LE(units.size(), 60U);
        EXPECT_GE(units.size(), 40U);
    }
    // Samples without a byte take no room in the file either.
    const std::string empty = Box("tfhd", Numbers(kFromFragment | 0x10, 1, 0));
    const ContainerUnits units =
        Read(Box("moof", Box("traf", empty + Box("trun", Numbers(0x1, 0xffffffffU, 100)))) + Data(300));
    EXPECT_LE(units.size(), std::size_t{1} << 20);
}

} // namespace ordune::test
