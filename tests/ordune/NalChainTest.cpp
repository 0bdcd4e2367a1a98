// H.264 found in data by what it looks like: NAL units made by hand, behind length fields, with sound or
// worse between them.
//
// This program stands between the library and the system's reads: one of them fails when a test says so.
#include "ordune/NalChain.h"
#include "ordune/FrameTable.h"
#include "ordune/SalvageIndexer.h"
#include "tests/ordune/StreamBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

std::atomic<int> g_reads_left{-1}; // that work, before one fails; -1: all of them

} // namespace

extern "C" {
#pragma GCC visibility push(default)

ssize_t pread(int descriptor, void* buffer, std::size_t count, off_t offset) {
    if (g_reads_left >= 0 && g_reads_left-- == 0) {
        errno = EIO;
        return -1;
    }
    return ::syscall(SYS_pread64, descriptor, buffer, count, offset);
}

#pragma GCC visibility pop
} // extern "C"

namespace ordune::test {

namespace {

constexpr std::size_t kKilo = 1024;

// The NAL unit of a stream of one, in `size` bytes: slice data goes on with bytes that mean nothing.
std::string Unit(const StreamBuilder& builder, std::size_t size = 0) {
    const std::vector<std::uint8_t>& stream = builder.Stream();
    std::string nal(stream.begin() + 4, stream.end());
    if (nal.size() < size) nal.resize(size, '\x5a');
    std::string unit;
    for (const int shift : {24, 16, 8, 0})
        unit.push_back(static_cast<char>(nal.size() >> shift));
    return unit + nal;
}

std::string Sequence(unsigned columns = 4) {
    return Unit(StreamBuilder().Sequence({.macroblock_columns = columns}));
}
std::string PictureSet(unsigned id = 0) {
    return Unit(StreamBuilder().Picture(id));
}
std::string Key(std::size_t size) {
    return Unit(StreamBuilder().Slice({.type = 2, .reference_idc = 3, .idr = true}), size);
}
std::string Open(unsigned frame_number, std::size_t size) {
    return Unit(StreamBuilder().Slice({.type = 2, .reference_idc = 3, .frame_number = frame_number}), size);
}
std::string Next(unsigned frame_number, std::size_t size, unsigned first_macroblock = 0) {
    return Unit(StreamBuilder().Slice({.first_macroblock = first_macroblock, .frame_number = frame_number}),
                size);
}
std::string Recovery() {
    return Unit(StreamBuilder().RecoveryPoint(0));
}
std::string Delimiter() {
    return std::string("\0\0\0\2\x09\x10", 6);
}

// The same bytes each time; no NAL unit begins in them.
std::string Sound(std::size_t bytes) {
    std::mt19937 random(5);
    std::string sound;
    while (sound.size() < bytes)
        sound.push_back(static_cast<char>(random() | 1U));
    return sound;
}

class Chain : public testing::Test {
  protected:
    ~Chain() override { g_reads_left = -1; }

    std::shared_ptr<const FileSource> Save(const std::string& bytes) const {
        std::ofstream(m_folder / "data", std::ios::binary) << bytes;
        auto file = FileSource::Open(m_folder / "data");
        EXPECT_TRUE(file);
        return file.Value();
    }
    static ParameterSets Sets() {
        ParameterSets sets;
        for (const std::string& set : {Sequence(), PictureSet()}) {
            EXPECT_TRUE(sets.Take({reinterpret_cast<const std::uint8_t*>(set.data()) + 4, set.size() - 4}));
        }
        return sets;
    }
    // Where NAL units are found.
    using Places = std::vector<std::pair<std::int64_t, std::int64_t>>;
    static Places Find(NalChain& chain, ParameterSets sets) {
        Places found;
        while (!chain.Done()) {
            const std::int64_t before = chain.Work();
            const std::optional<NalChain::Nal> nal = chain.Next(sets);
            EXPECT_LT(chain.Work() - before, 1 << 20) << "a step is short";
            if (!nal) continue;
            EXPECT_EQ(nal->follows, !found.empty() && nal->offset == found.back().second);
            found.emplace_back(nal->offset, nal->end);
            const unsigned type = nal->head[0] & 31U;
            if (type == 7 || type == 8) (void)sets.Take(nal->head);
        }
        return found;
    }
    // Whether all of these are found, and nothing else, with sound between one entry and the next.
    void ExpectFound(const std::vector<std::vector<std::string>>& stretches, ParameterSets sets = Sets()) {
        std::string bytes;
        Places places;
        for (const std::vector<std::string>& stretch : stretches) {
            for (const std::string& unit : stretch) {
                places.emplace_back(bytes.size(), bytes.size() + unit.size());
                bytes += unit;
            }
            bytes += Sound(700);
        }
        const auto file = Save(bytes);
        NalChain chain(file, 0, file->Size(), 4);
        EXPECT_EQ(Find(chain, std::move(sets)), places);
        EXPECT_FALSE(chain.GaveUp());
    }

    support::TemporaryFolder m_folder;
};

} // namespace

TEST_F(Chain, HasAFirstPictureAsLargeAsItLikes) {
    ExpectFound({{Key(900 * kKilo)}, {Next(1, 30 * kKilo)}, {Next(2, 200)}});
    ExpectFound({{Key(15'000 * kKilo), Next(1, 300)}, {Next(2, 200)}});
}

TEST_F(Chain, HasALargePictureBehindASmallOne) {
    ExpectFound({{Key(2 * kKilo), Next(1, 900 * kKilo)}, {Next(2, 200)}});
    ExpectFound({{Key(2 * kKilo), Delimiter(), Next(1, 900 * kKilo)}, {Next(2, 200)}});
    // The sky, and what is below it.
    ExpectFound(
        {{Key(2 * kKilo),
          Unit(StreamBuilder().Slice({.type = 2, .reference_idc = 3, .idr = true, .first_macroblock = 8}),
               900 * kKilo)},
         {Next(1, 200)}});
}

TEST_F(Chain, HasWhatAnnouncesAPictureThatStandsAlone) {
    ExpectFound(
        {{Sequence(), PictureSet(), Recovery(), Open(5, 900)}, {Next(6, 200)}, {Recovery(), Open(9, 900)}});
    ExpectFound({{Delimiter(), Recovery(), Open(5, 700 * kKilo)}, {Delimiter(), Next(12, 200)}});
}

TEST_F(Chain, HasTheSetsByWhichWhatFollowsIsRead) {
    ExpectFound({{Sequence(), PictureSet(), Recovery(), Open(1, 800)}, {Next(2, 200)}}, ParameterSets());
    // A sequence of its own behind the first one's pictures, and a picture set with another number.
    ExpectFound(
        {{Key(900)}, {PictureSet(3), Recovery(), Open(1, 800)}, {Sequence(6), PictureSet(), Key(700)}});
}

TEST_F(Chain, IsNotLedAstrayBySoundThatLooksLikeAPicture) {
    // Pictures lie inside each of these, with nothing about them but sound and now and then a delimiter.
    for (const std::string& mock :
         {Key(1024 * kKilo), Next(1, 200 * kKilo), Next(3, 70 * kKilo), Next(2, 3000 * kKilo)}) {
        for (const unsigned delimited : {4U, 1000U}) {
            std::string bytes = Key(3 * kKilo);
            Places places{{0, bytes.size()}};
            bytes += mock.substr(0, 40) + Sound(600);
            for (unsigned n = 1; n < 120; ++n) {
                const std::string announced = n % delimited == 0 ? Delimiter() : std::string();
                for (const std::string& unit : {announced, Next(n % 16, 30 * kKilo)}) {
                    if (!unit.empty()) places.emplace_back(bytes.size(), bytes.size() + unit.size());
                    bytes += unit;
                }
                bytes += Sound(600);
            }
            const auto file = Save(bytes);
            NalChain chain(file, 0, file->Size(), 4);
            EXPECT_EQ(Find(chain, Sets()), places) << mock.size() << " " << delimited;
        }
    }
}

TEST_F(Chain, PassesOverSpaceThatWasNeverWrittenTo) {
    const auto file = Save(Key(900) + std::string(24'000 * kKilo, '\0') + Delimiter() + Key(800));
    NalChain chain(file, 0, file->Size(), 4);
    EXPECT_EQ(Find(chain, Sets()).size(), 3U);
    EXPECT_LT(chain.Work(), file->Size() * 2);
}

TEST_F(Chain, EndsWhereAFileIsMadeToTakeForEver) {
    // Every one of these could be a picture that reaches into the tail, and has another one inside.
    const std::string mock = Key(1000).substr(4, 36);
    std::string bytes;
    while (bytes.size() < 4096 * kKilo) {
        const std::size_t length = 8000 * kKilo - bytes.size();
        bytes += std::string{'\0', static_cast<char>(length >> 16), static_cast<char>(length >> 8), '\1'};
        bytes += mock;
    }
    bytes += Delimiter() + Key(800) + std::string(6000 * kKilo, '\x5a');
    const auto file = Save(bytes);
    const auto table = std::make_shared<FrameTable>(true);
    SalvageIndexer indexer(file, 0, file->Size(), 4, Sets(), table, {});
    while (indexer.Advance()) {
    }
    EXPECT_TRUE(table->IsShort());

    NalChain chain(file, 0, file->Size(), 4);
    (void)Find(chain, Sets());
    EXPECT_TRUE(chain.GaveUp());
    EXPECT_LE(chain.Work(), file->Size() * 4 + (65 << 20));
}

TEST_F(Chain, IsShortWhereTheFileCannotBeReadAndNeverWrong) {
    std::string bytes;
    for (unsigned n = 0; n < 4; ++n) {
        bytes += Key(100 * kKilo) + Sound(3000) + Next(1, 70 * kKilo) + Sound(5000);
        bytes += Recovery() + Open(2, 300 * kKilo) + Sound(1000) + Next(3, 900) + Next(4, 800);
    }
    const auto file = Save(bytes);
    NalChain undisturbed(file, 0, file->Size(), 4);
    const Places all = Find(undisturbed, Sets());
    ASSERT_EQ(all.size(), 24U);
    bool disturbed = true;
    for (int reads = 0; disturbed; ++reads) {
        NalChain chain(file, 0, file->Size(), 4);
        g_reads_left = reads;
        const Places found = Find(chain, Sets());
        disturbed = g_reads_left < 0;
        g_reads_left = -1;
        ASSERT_TRUE(std::includes(all.begin(), all.end(), found.begin(), found.end())) << reads;
        EXPECT_TRUE(disturbed || found == all);
    }
}

TEST_F(Chain, IsLookedForInShortStepsAndNotAnyMoreOnceCancelled) {
    const auto file = Save(Key(900) + Sound(20'000 * kKilo) + Delimiter() + Key(800));
    const CancelToken cancel = CancelToken::Make();
    const auto table = std::make_shared<FrameTable>(true);
    SalvageIndexer indexer(file, 0, file->Size(), 4, Sets(), table, cancel);
    int steps = 1;
    while (indexer.Advance())
        ++steps;
    EXPECT_GE(steps, 15);
    EXPECT_EQ(table->Total(), 2U);
    EXPECT_FALSE(table->IsShort());

    const auto other = std::make_shared<FrameTable>(true);
    SalvageIndexer cancelled(file, 0, file->Size(), 4, Sets(), other, cancel);
    cancel.Cancel();
    for (int n = 0; n < 1000; ++n)
        EXPECT_TRUE(cancelled.Advance());
    EXPECT_EQ(other->Units(), 0U);
}

} // namespace ordune::test
