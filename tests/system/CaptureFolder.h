// Folders of captured pictures: what lies in one, and one on a disk of its own.
#pragma once

#include "tests/support/BarCode.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <sys/mount.h>
#include <vector>

namespace system_tests {

// A file system of its own, so small that four pictures fill it.
class SmallDisk {
  public:
    SmallDisk() : m_isMounted(mount("tmpfs", m_folder.Path().c_str(), "tmpfs", 0, "size=3m") == 0) {}
    ~SmallDisk() { Remove(); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    // False where this user may mount nothing.
    bool IsMounted() const { return m_isMounted; }
    const std::filesystem::path& Path() const { return m_folder.Path(); }
    // Takes the disk out, whoever uses it.
    void Remove() {
        if (m_isMounted) umount2(m_folder.Path().c_str(), MNT_DETACH);
        m_isMounted = false;
    }

  private:
    support::TemporaryFolder m_folder;
    bool m_isMounted;
};

inline std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        files.push_back(entry.path());
    return files;
}

// The numbers of the pictures, of 640 x 360 pixels, in the files, in the order of capture: the counter
// follows the 14 digits of the time.
inline std::vector<int> NumbersIn(const std::vector<std::filesystem::path>& files) {
    constexpr std::uintmax_t kPictureBytes = 640U * 360U * 3U + 54U;
    constexpr std::size_t kCounterFrom = 8 + 14;
    std::map<int, int> numbers;
    for (const std::filesystem::path& file : files) {
        const int counter = std::stoi(file.stem().string().substr(kCounterFrom));
        numbers[counter] = support::ReadBarCodeFromStillFile(file.string());
        EXPECT_EQ(std::filesystem::file_size(file), kPictureBytes) << file;
    }
    EXPECT_EQ(numbers.size(), files.size());
    std::vector<int> inOrder;
    for (const auto& [counter, number] : numbers)
        inOrder.push_back(number);
    return inOrder;
}

} // namespace system_tests
