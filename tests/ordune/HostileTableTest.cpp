// Numbers in headers and tables that no honest file has, built by hand, and reading that fails half-way. What
// overflows there shows under the sanitizers.

#include "ordune/ContainerIndexer.h"
#include "ordune/ContentCache.h"
#include "ordune/Mp4Movie.h"
#include "ordune/ParameterSets.h"
#include "ordune/PictureOrder.h"
#include "ordune/PictureUse.h"
#include "ordune/RawIndexer.h"
#include "ordune/SampleTable.h"
#include "tests/ordune/BoxBuilder.h"
#include "tests/ordune/StreamBuilder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace ordune::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

// Track 1 of a movie with this edit list and these boxes of samples; a thousand ticks a second.
std::shared_ptr<const Mp4Movie> Movie(const std::string& edits, const std::string& tables) {
    const std::string header = Box("mdhd", Numbers(0, 0, 0, 1000, 0, 0));
    const std::string track = Box("tkhd", Numbers(0, 0, 0, 1, 0, 0)) + Box("edts", Box("elst", edits)) +
                              Box("mdia", header + Box("minf", Box("stbl", tables)));
    const std::string bytes =
        Box("moov", Box("mvhd", Numbers(0, 0, 0, 1000, 0, 0)) + Box("trak", track)) + Box("mdat", "");
    const std::string path = std::string(TALVIO_TEST_WORK_DIR) + "/hostile-" + std::to_string(::getpid());
    std::ofstream(path, std::ios::binary) << bytes;
    const auto file = FileSource::Open(path);
    EXPECT_TRUE(file);
    std::filesystem::remove(path);
    return Mp4Movie::Read(*file.Value());
}

std::string Edit(std::uint64_t duration, std::uint64_t begin) {
    return Number(duration, 8) + Number(begin, 8) + Number(0x10000);
}

// Has every further read of the file fail.
void BreakReading(const std::string& path) {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry, ignored) != path) continue;
        ::dup2(nowhere, std::atoi(entry.path().filename().c_str()));
    }
    ::close(nowhere);
}

PictureUse UseOf(AVCodecID codec, const Bytes& extradata) {
    const ffmpeg::ParametersPtr parameters = ffmpeg::MakeParameters();
    parameters->codec_id = codec;
    EXPECT_TRUE(extradata.empty() || ffmpeg::SetExtradata(*parameters, extradata));
    return PictureUse(*parameters);
}

} // namespace

TEST(HostileTables, EditsBeyondBeliefAreNotGoneBy) {
    for (const std::uint64_t begin : {std::uint64_t{INT64_MAX}, std::uint64_t{INT64_MAX} / 2}) {
        const auto movie = Movie(Number(1, 1) + Number(0, 3) + Number(1) + Edit(500, begin), "");
        ASSERT_TRUE(movie);
        EXPECT_FALSE(movie->PlacementOf(*movie->Track(1)).plain) << begin;
    }
    const std::string two = Number(1, 1) + Number(0, 3) + Number(2);
    const auto movie = Movie(two + Edit(500, UINT64_MAX) + Edit(500, 7000), "");
    ASSERT_TRUE(movie);
    const Mp4Movie::Placement placement = movie->PlacementOf(*movie->Track(1));
    EXPECT_TRUE(placement.plain);
    EXPECT_EQ(placement.delay, 500);
    EXPECT_EQ(placement.begin, 7000);
}

TEST(HostileTables, SamplesFarBeyondEveryFileStayThere) {
    for (const std::uint64_t offset :
         {std::uint64_t{INT64_MAX} - 10, UINT64_MAX - 10, std::uint64_t{1} << 62}) {
        const std::string tables = Box("stsd", Numbers(0, 1)) + Box("stts", Numbers(0, 1, 4, 40)) +
                                   Box("stsz", Numbers(0, 0x7fffffff, 4)) +
                                   Box("stsc", Numbers(0, 1, 1, 4, 1)) +
                                   Box("co64", Numbers(0, 1) + Number(offset, 8));
        const auto table = SampleTable::Read(Movie(Numbers(0, 0), tables), 1);
        ASSERT_TRUE(table);
        SampleTable::Cursor cursor(*table);
        for (int i = 0; i < 4; ++i) {
            const auto sample = cursor.Next();
            ASSERT_TRUE(sample);
            EXPECT_GE(sample->offset_bytes, std::int64_t{1} << 62) << "sample " << i << " at " << offset;
        }
    }
}

TEST(HostileTables, ScalingListsTakeAnyStep) {
    // High profile; its first list's first step is the largest there is.
    Bytes set{100, 0, 30};
    std::vector<bool> bits;
    const auto put = [&](std::uint64_t value, int count) {
        while (count-- > 0)
            bits.push_back(((value >> count) & 1) != 0);
    };
    const auto golomb = [&](std::uint64_t value) {
        int length = 0;
        while (((value + 1) >> (length + 1)) != 0)
            ++length;
        put(0, length);
        put(value + 1, length + 1);
    };
    golomb(0); // id
    golomb(1); // 4:2:0
    golomb(0);
    golomb(0);
    put(0b011, 3);      // lists, the first of them
    golomb(0xfffffffd); // 2^31 - 1
    put(0, 1);
    while (bits.size() % 8 != 0)
        bits.push_back(true);
    for (std::size_t i = 0; i < bits.size(); i += 8) {
        unsigned byte = 0;
        for (std::size_t j = 0; j < 8; ++j)
            byte = byte << 1 | (bits[i + j] ? 1U : 0U);
        set.push_back(static_cast<std::uint8_t>(byte));
    }
    EXPECT_FALSE(ParseSequenceParameters(set)) << "it ends there";
}

TEST(HostileTables, PictureOrderOfEndlessCyclesIsCutOff) {
    SequenceParameters sequence;
    sequence.order_type = 1;
    sequence.frame_number_bits = 16;
    sequence.offsets_in_cycle.assign(1, INT32_MAX);
    PictureOrder order;
    SliceHeader slice;
    slice.idr = true;
    slice.reference_idc = 1;
    (void)order.Next(slice, sequence);
    slice.idr = false;
    // Each second picture carries the frame number over.
    for (int i = 0; i < 300'000; ++i) {
        slice.frame_number = i % 2 == 0 ? 65535 : 0;
        const std::int64_t value = order.Next(slice, sequence).value;
        ASSERT_LE(std::abs(value), (std::int64_t{1} << 62) + (std::int64_t{1} << 33)) << "picture " << i;
    }
}

TEST(BrokenReading, MakesARawIndexShort) {
    StreamBuilder stream;
    stream.Sequence({.order_type = 2}).Picture();
    constexpr unsigned kPictures = 40'000; // far more than is read ahead
    for (unsigned i = 0; i < kPictures; ++i)
        stream.Slice({.type = i % 100 == 0 ? 2U : 0U, .idr = i % 100 == 0, .frame_number = i % 100 % 16});
    const std::string path = stream.Save("broken.264");
    for (const bool breaks : {true, false}) {
        const auto file = FileSource::Open(path);
        ASSERT_TRUE(file);
        FrameTable table(false);
        ParameterHistory history;
        RawIndexer indexer(file.Value(), table, history, 4096);
        for (int block = 0; block < 5; ++block)
            ASSERT_TRUE(indexer.Advance());
        if (breaks) BreakReading(path);
        while (indexer.Advance()) {
        }
        EXPECT_TRUE(table.Complete());
        EXPECT_GT(table.Total(), 0U);
        EXPECT_EQ(table.Total() < kPictures, breaks);
        EXPECT_EQ(table.IsShort(), breaks);
    }
    std::filesystem::remove(path);
}

// Ten units a step, and the file's bytes are looked at for each step.
class SteppingSource final : public UnitSource {
  public:
    explicit SteppingSource(std::shared_ptr<const FileSource> file) : m_file(std::move(file)) {}
    bool Read(ContainerUnits& units) override {
        char byte = 0;
        if (m_file->ReadAt(0, &byte, 1) < 1) return false;
        for (int i = 0; i < 10; ++i) {
            ContainerUnit& unit = units.emplace_back();
            unit.offset_bytes = 0;
            unit.size_bytes = 1;
            unit.time = m_time++;
            unit.key = true;
        }
        return m_time < 100;
    }
    double Share() const override { return static_cast<double>(m_time) / 100; }

  private:
    const std::shared_ptr<const FileSource> m_file;
    std::int64_t m_time = 0;
};

TEST(BrokenReading, MakesAContainersIndexShort) {
    const std::string path = std::string(TALVIO_TEST_WORK_DIR) + "/broken-" + std::to_string(::getpid());
    std::ofstream(path) << "some bytes";
    for (const bool breaks : {true, false}) {
        const auto file = FileSource::Open(path);
        ASSERT_TRUE(file);
        const auto table = std::make_shared<FrameTable>(true);
        const ffmpeg::ParametersPtr parameters = ffmpeg::MakeParameters();
        ContainerIndexer indexer(file.Value(), std::make_unique<SteppingSource>(file.Value()), *parameters,
                                 false, table);
        for (int step = 0; step < 4; ++step)
            ASSERT_TRUE(indexer.Advance());
        if (breaks) BreakReading(path);
        while (indexer.Advance()) {
        }
        EXPECT_TRUE(table->Complete());
        EXPECT_EQ(table->Total(), breaks ? 40U : 100U);
        EXPECT_EQ(table->IsShort(), breaks);
    }
    std::filesystem::remove(path);
}

// A file's content that is found at once.
class FoundContent final : public FileContent {
  public:
    explicit FoundContent(bool is_short = false) {
        m_table = std::make_shared<FrameTable>(true);
        if (is_short) m_table->MarkShort();
        m_table->Finish(0);
        m_run = std::make_unique<IndexRun>(m_table, [] { return false; });
    }
    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource>,
                                                       CancelToken) const override {
        return Error{ErrorKind::NoVideo, "there is none", ""};
    }
};

FileIdentity Identity(std::uint64_t inode) {
    return {.device = 1, .inode = inode, .size_bytes = 1};
}

TEST(ContentCache, KnowsEveryOpenFileHoweverMany) {
    ContentCache cache(2, 1 << 20);
    std::vector<std::shared_ptr<FileContent>> open;
    for (std::uint64_t file = 0; file < 5; ++file) {
        open.push_back(std::make_shared<FoundContent>());
        cache.Keep(Identity(file), open.back());
    }
    for (std::uint64_t file = 0; file < 5; ++file)
        EXPECT_EQ(cache.Find(Identity(file)), open[file]) << file;
    // Closed, the two used last are remembered.
    open.clear();
    for (std::uint64_t file = 0; file < 5; ++file)
        EXPECT_EQ(cache.Find(Identity(file)) != nullptr, file >= 3) << file;
}

TEST(ContentCache, ForgetsAShortIndexWithItsLastFile) {
    ContentCache cache(2, 1 << 20);
    auto content = std::make_shared<FoundContent>(true);
    cache.Keep(Identity(1), content);
    EXPECT_EQ(cache.Find(Identity(1)), content);
    content.reset();
    EXPECT_EQ(cache.Find(Identity(1)), nullptr);
}

TEST(PictureUse, OfH264IsItsReferenceNumber) {
    PictureUse lengths = UseOf(AV_CODEC_ID_H264, {1, 66, 0, 30, 0xfd, 0xe0, 0});
    EXPECT_TRUE(lengths.Referenced(Bytes{0, 1, 0x06, 0, 2, 0x41, 0x9a}));
    EXPECT_FALSE(lengths.Referenced(Bytes{0, 1, 0x06, 0, 2, 0x01, 0x9a}));
    PictureUse codes = UseOf(AV_CODEC_ID_H264, {});
    EXPECT_TRUE(codes.Referenced(Bytes{0, 0, 1, 0x09, 0xf0, 0, 0, 1, 0x65, 0x88}));
    EXPECT_FALSE(codes.Referenced(Bytes{0, 0, 0, 1, 0x09, 0xf0, 0, 0, 1, 0x01, 0x9a}));
    EXPECT_TRUE(codes.Referenced(Bytes{0, 0, 1, 0x09, 0xf0})) << "nothing tells";
    EXPECT_TRUE(codes.Referenced(Bytes{}));
}

TEST(PictureUse, OfHevcIsItsTypeInTheHighestLayer) {
    // Two temporal layers; a picture of type TRAIL_N in the lower, in the higher, and TRAIL_R in the higher.
    const Bytes set{0, 0, 1, 0x42, 0x01, 0x02, 0x01};
    PictureUse use = UseOf(AV_CODEC_ID_HEVC, set);
    EXPECT_TRUE(use.Referenced(Bytes{0, 0, 1, 0x00, 0x01, 0xd0}));
    EXPECT_FALSE(use.Referenced(Bytes{0, 0, 1, 0x00, 0x02, 0xd0}));
    EXPECT_TRUE(use.Referenced(Bytes{0, 0, 1, 0x02, 0x02, 0xd0}));
    EXPECT_TRUE(use.Referenced(Bytes{0, 0, 1, 0x26, 0x02, 0xd0})) << "a key picture";
    PictureUse unknown = UseOf(AV_CODEC_ID_HEVC, {});
    EXPECT_TRUE(unknown.Referenced(Bytes{0, 0, 1, 0x00, 0x01, 0xd0})) << "how many layers is not known";
}

TEST(PictureUse, OfMpegIsItsKind) {
    PictureUse four = UseOf(AV_CODEC_ID_MPEG4, {});
    const Bytes p{0, 0, 1, 0xb6, 0x50, 0x00};
    const Bytes b{0, 0, 1, 0xb6, 0x90, 0x00};
    Bytes packed = p;
    packed.insert(packed.end(), b.begin(), b.end());
    EXPECT_TRUE(four.Referenced(p));
    EXPECT_FALSE(four.Referenced(b));
    EXPECT_TRUE(four.Referenced(packed));
    PictureUse two = UseOf(AV_CODEC_ID_MPEG2VIDEO, {});
    EXPECT_TRUE(two.Referenced(Bytes{0, 0, 1, 0, 0x00, 0x50}));
    EXPECT_FALSE(two.Referenced(Bytes{0, 0, 1, 0, 0x00, 0x58}));
}

} // namespace ordune::test
