// Every start code is found once, with what stands behind it, however the file falls into blocks.
#include "ordune/BlockScanner.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using ordune::BlockScanner;
using ordune::FileSource;
using ordune::ScannedBlock;

std::shared_ptr<const FileSource> MakeFile(const support::TemporaryFolder& folder,
                                           const std::vector<std::uint8_t>& bytes) {
    const std::string path = folder / "stream";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return FileSource::Open(path).Value();
}

// Zeros and ones in such numbers that codes come about everywhere, also across the borders of blocks.
std::vector<std::uint8_t> MakeBytes(std::size_t size) {
    std::mt19937 random(7);
    std::vector<std::uint8_t> bytes(size);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(std::min<unsigned>(random() % 8, 2) % 3);
    return bytes;
}

std::vector<std::int64_t> CodesOf(const std::vector<std::uint8_t>& bytes) {
    std::vector<std::int64_t> codes;
    for (std::size_t at = 0; at + 3 <= bytes.size(); ++at) {
        if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1)
            codes.push_back(static_cast<std::int64_t>(at));
    }
    return codes;
}

class BlockScannerTest : public testing::TestWithParam<bool> {
  protected:
    // All codes of the file; what stands behind each is compared on the way.
    static std::vector<std::int64_t> Scan(const std::shared_ptr<const FileSource>& file, std::size_t size,
                                          const std::vector<std::uint8_t>& bytes) {
        BlockScanner scanner(file, size);
        std::vector<std::int64_t> codes;
        std::int64_t begin = 0;
        for (bool last = false; !last;) {
            const ScannedBlock& block = scanner.Next(GetParam());
            EXPECT_EQ(block.offset, begin);
            for (const std::size_t code : block.codes) {
                const auto at = static_cast<std::size_t>(block.offset) + code;
                codes.push_back(static_cast<std::int64_t>(at));
                const std::size_t behind = std::min(BlockScanner::kLookAhead, bytes.size() - at);
                if (code + behind > block.filled) {
                    ADD_FAILURE() << "too little stands behind " << at;
                } else {
                    EXPECT_TRUE(std::equal(block.bytes.begin() + static_cast<std::ptrdiff_t>(code),
                                           block.bytes.begin() + static_cast<std::ptrdiff_t>(code + behind),
                                           bytes.begin() + static_cast<std::ptrdiff_t>(at)))
                        << at;
                }
            }
            begin = block.end;
            last = block.last;
        }
        EXPECT_EQ(begin, static_cast<std::int64_t>(bytes.size()));
        return codes;
    }
};

TEST_P(BlockScannerTest, FindsEveryCodeOnceHoweverLargeItsBlocksAre) {
    const support::TemporaryFolder folder;
    const std::vector<std::uint8_t> bytes = MakeBytes(60'001);
    const auto file = MakeFile(folder, bytes);
    const std::vector<std::int64_t> codes = CodesOf(bytes);
    ASSERT_GT(codes.size(), 100U);
    for (const std::size_t size : {64U, 100U, 4096U, 20'000U, 60'000U, 60'001U, 1U << 20})
        EXPECT_EQ(Scan(file, size, bytes), codes) << size;
}

TEST_P(BlockScannerTest, AFileWithoutAByteIsOneEmptyBlock) {
    const support::TemporaryFolder folder;
    const auto file = MakeFile(folder, {});
    BlockScanner scanner(file, 64);
    const ScannedBlock& block = scanner.Next(GetParam());
    EXPECT_TRUE(block.last);
    EXPECT_EQ(block.filled, 0U);
    EXPECT_TRUE(block.codes.empty());
}

TEST_P(BlockScannerTest, AFileThatHasBecomeShorterEndsThere) {
    const support::TemporaryFolder folder;
    const std::vector<std::uint8_t> bytes = MakeBytes(60'000);
    const auto file = MakeFile(folder, bytes);
    std::filesystem::resize_file(folder / "stream", 30'000);
    BlockScanner scanner(file, 4096);
    std::int64_t end = 0;
    std::size_t blocks = 0;
    for (bool last = false; !last && blocks < 100; ++blocks) {
        const ScannedBlock& block = scanner.Next(GetParam());
        end = block.end;
        last = block.last;
    }
    EXPECT_EQ(end, 30'000);
}

TEST_P(BlockScannerTest, CanBeLeftAtAnyTime) {
    const support::TemporaryFolder folder;
    const auto file = MakeFile(folder, MakeBytes(60'000));
    for (int blocks = 0; blocks < 20; ++blocks) {
        BlockScanner scanner(file, 1024);
        for (int taken = 0; taken < blocks; ++taken)
            EXPECT_FALSE(scanner.Next(GetParam()).last);
    }
}

INSTANTIATE_TEST_SUITE_P(WithAThreadAndWithout, BlockScannerTest, testing::Bool(),
                         [](const auto& chosen) { return chosen.param ? "Ahead" : "Here"; });

} // namespace
