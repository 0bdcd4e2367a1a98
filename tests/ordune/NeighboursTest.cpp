// Which files beside a recording are likely to be of the same recorder.

#include "ordune/Neighbours.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace ordune::test {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class Neighbours : public testing::Test {
  protected:
    void Make(const std::string& name, int hours_ago = 0) const {
        std::ofstream(m_folder / name) << "x";
        fs::last_write_time(m_folder / name, m_now - std::chrono::hours(hours_ago));
    }
    Names Of(const std::string& name, std::size_t most = 8) const {
        Names names;
        for (const std::string& path : NeighboursOf(m_folder / name, most)) {
            EXPECT_EQ(fs::path(path).parent_path(), m_folder.Path());
            names.push_back(fs::path(path).filename().string());
        }
        return names;
    }

    const support::TemporaryFolder m_folder;
    const fs::file_time_type m_now = fs::file_time_type::clock::now();
};

} // namespace

TEST_F(Neighbours, ComeByTheirNamesAndThenByTheirTimes) {
    Make("cam1_0005.mp4", 5);
    Make("cam1_0006.mp4", 90);
    Make("cam2_0005.mp4", 5);
    Make("cam1_0104.MP4", 1);
    Make("cam1_0103.mp4", 4);
    EXPECT_EQ(Of("cam1_0005.mp4"),
              (Names{"cam1_0006.mp4", "cam1_0103.mp4", "cam1_0104.MP4", "cam2_0005.mp4"}));
    EXPECT_EQ(Of("cam1_0005.mp4", 2), (Names{"cam1_0006.mp4", "cam1_0103.mp4"}));
}

TEST_F(Neighbours, AreFilesThatCanBeSeenAndEndAlike) {
    for (const char* name : {"a.mp4", "b.mov", "c.txt", "d", ".e.mp4", "f.mp4.bak"})
        Make(name);
    fs::create_directory(m_folder / "g.mp4");
    fs::create_symlink("nowhere", m_folder / "h.mp4");
    Make("i.mp4");
    EXPECT_EQ(Of("a.mp4"), Names{"i.mp4"});
}

TEST_F(Neighbours, OfAFileThatWasNeverFinishedAreThoseThatWere) {
    for (const char* name : {"rec1.mp4.tmp", "rec2.mp4", "rec3.MOV", "rec4.tmp", "rec5.txt"})
        Make(name);
    EXPECT_EQ(Of("rec1.mp4.tmp"), (Names{"rec2.mp4", "rec3.MOV", "rec4.tmp"}));
}

TEST_F(Neighbours, AreNoneWhereNothingCanBeSeen) {
    EXPECT_EQ(NeighboursOf(m_folder / "gone" + "/a.mp4", 8), Names());
    EXPECT_EQ(NeighboursOf(m_folder / "a.mp4", 8), Names());
    EXPECT_EQ(NeighboursOf("", 8), Names());
}

} // namespace ordune::test
