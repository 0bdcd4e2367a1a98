// What a file may cost, whatever it claims: how much of it is read at opening, how far its times reach.

#include "ordune/ContentCache.h"
#include "ordune/FormatInput.h"
#include "ordune/FrameTable.h"
#include "ordune/MediaFile.h"
#include "ordune/Mp4Claims.h"
#include "ordune/NalScanner.h"
#include "ordune/UnitInspector.h"
#include "tests/ordune/MediaFolder.h"
#include "tests/ordune/StreamBuilder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
}

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <span>
#include <unistd.h>

namespace ordune::test {

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> NalUnitsOf(const Bytes& stream) {
    std::vector<Bytes> units;
    std::size_t begin = FindStartCode(stream.data(), 0, stream.size());
    while (begin + 3 < stream.size()) {
        const std::size_t next = FindStartCode(stream.data(), begin + 3, stream.size());
        std::size_t end = next;
        while (end > begin + 3 && stream[end - 1] == 0)
            --end;
        units.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(begin + 3),
                           stream.begin() + static_cast<std::ptrdiff_t>(end));
        begin = next;
    }
    return units;
}

// A track larger than what is looked through: many units, all of which claim to be the largest there are.
class LargeTrack {
  public:
    explicit LargeTrack(bool frames_only, bool keys) : m_keys(keys) {
        StreamBuilder sets;
        sets.Sequence({.order_type = 2, .frames_only = frames_only}).Picture();
        const std::vector<Bytes> nals = NalUnitsOf(sets.Stream());
        Bytes configuration{1, 66, 0, 30, 0xff, 0xe1};
        for (std::size_t i = 0; i < 2; ++i) {
            if (i == 1) configuration.push_back(1);
            configuration.push_back(static_cast<std::uint8_t>(nals[i].size() >> 8));
            configuration.push_back(static_cast<std::uint8_t>(nals[i].size()));
            configuration.insert(configuration.end(), nals[i].begin(), nals[i].end());
        }
        m_parameters = ffmpeg::MakeParameters();
        m_parameters->codec_id = AV_CODEC_ID_H264;
        m_parameters->extradata =
            static_cast<std::uint8_t*>(av_mallocz(configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::copy(configuration.begin(), configuration.end(), m_parameters->extradata);
        m_parameters->extradata_size = static_cast<int>(configuration.size());
        m_sets = sets;
    }

    void Add(const SliceSpec& slice) {
        StreamBuilder stream = m_sets;
        const std::size_t before = stream.Stream().size();
        stream.Slice(slice);
        const Bytes added(stream.Stream().begin() + static_cast<std::ptrdiff_t>(before),
                          stream.Stream().end());
        const Bytes nal = NalUnitsOf(added).front();
        ContainerUnit unit;
        unit.offset_bytes = static_cast<std::int64_t>(m_bytes.size());
        unit.size_bytes = kUnitBytes;
        unit.time = static_cast<std::int64_t>(units.size());
        unit.key = m_keys || units.empty();
        units.push_back(unit);
        const std::size_t size = kUnitBytes - 4;
        for (const int shift : {24, 16, 8, 0})
            m_bytes.push_back(static_cast<std::uint8_t>(size >> shift));
        m_bytes.insert(m_bytes.end(), nal.begin(), nal.end());
        m_bytes.resize(m_bytes.size() + 64);
    }

    // Nothing of the unit is left.
    void Blank(std::size_t unit) {
        const auto begin = m_bytes.begin() + units[unit].offset_bytes;
        std::fill(begin, begin + kUnitBytes, std::uint8_t{0});
    }

    void Inspect() {
        const std::string path = std::string(TALVIO_TEST_WORK_DIR) + "/large-" +
                                 testing::UnitTest::GetInstance()->current_test_info()->name();
        m_bytes.resize(m_bytes.size() + kUnitBytes);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(m_bytes.data()),
                   static_cast<std::streamsize>(m_bytes.size()));
        // Larger than what is looked through; the rest takes no room.
        fs::resize_file(path, 33 << 20);
        const auto file = FileSource::Open(path);
        ASSERT_TRUE(file);
        UnitInspector inspector(file.Value(), *m_parameters);
        const std::span<ContainerUnit> all(units);
        // In steps, as an indexer brings them.
        inspector.Correct(all.first(UnitInspector::kFirst));
        for (std::size_t at = UnitInspector::kFirst; at < all.size(); at += 100)
            inspector.Correct(all.subspan(at, std::min<std::size_t>(100, all.size() - at)));
        ::unlink(path.c_str());
    }

    ContainerUnits units;

  private:
    static constexpr std::uint32_t kUnitBytes = 64 * 1024;

    const bool m_keys;
    StreamBuilder m_sets;
    Bytes m_bytes;
    ffmpeg::ParametersPtr m_parameters;
};

constexpr unsigned kUnits = 3000;

SliceSpec FrameNumbered(unsigned i) {
    return {
        .type = i == 0 ? 2U : 0U, .reference_idc = i == 0 ? 1U : 0U, .idr = i == 0, .frame_number = i % 16};
}

SliceSpec FieldNumbered(unsigned i) {
    SliceSpec slice = FrameNumbered(i / 2);
    slice.idr = i == 0;
    slice.reference_idc = i < 2 ? 1 : 0;
    slice.field = true;
    slice.bottom = i % 2 == 1;
    return slice;
}

} // namespace

TEST(LargeFiles, AreNotReadWholeForFieldsThatTheirStartDoesNotHave) {
    LargeTrack track(false, false);
    for (unsigned i = 0; i < kUnits; ++i)
        track.Add(FrameNumbered(i));
    track.Inspect();
    // What was looked at is known to be referred to by nothing.
    EXPECT_FALSE(track.units[500].referenced);
    EXPECT_TRUE(track.units[600].referenced);
    EXPECT_TRUE(track.units[kUnits - 1].referenced);
}

TEST(LargeFiles, HaveTheirFieldsPairedToTheEnd) {
    LargeTrack track(false, false);
    for (unsigned i = 0; i < kUnits; ++i)
        track.Add(FieldNumbered(i));
    track.Inspect();
    for (unsigned i = 0; i < kUnits; ++i)
        ASSERT_EQ(track.units[i].shown, i % 2 == 0) << "unit " << i;
}

// One that is damaged is a field all the same; were it a frame, the fields after it would pair up wrongly.
TEST(LargeFiles, HaveTheirFieldsPairedAlsoWhereOneIsDamaged) {
    for (const std::vector<unsigned>& damaged :
         {std::vector<unsigned>{601}, {600}, {600, 601}, {601, 602}, {599, 600, 601, 602}}) {
        SCOPED_TRACE(damaged.front());
        LargeTrack track(false, false);
        for (unsigned i = 0; i < kUnits; ++i)
            track.Add(FieldNumbered(i));
        for (const unsigned i : damaged)
            track.Blank(i);
        track.Inspect();
        for (unsigned i = 0; i < kUnits; ++i)
            ASSERT_EQ(track.units[i].shown, i % 2 == 0) << "unit " << i;
    }
}

TEST(LargeFiles, AreLookedThroughForFalseKeys) {
    LargeTrack track(true, true);
    for (unsigned i = 0; i < kUnits; ++i)
        track.Add(FrameNumbered(i));
    track.Inspect();
    EXPECT_TRUE(track.units[0].key);
    EXPECT_FALSE(track.units[511].key);
    EXPECT_FALSE(track.units[kUnits - 1].key);
}

TEST(Times, StayWithinTenYearsWhateverTheTicksSay) {
    for (const std::int64_t tick : {std::int64_t{1} << 40, std::int64_t{1} << 60, INT64_MAX}) {
        FrameTable table(true);
        table.SetTimeScale({1 << 30, 1});
        (void)table.AddUnit(0, 1, {});
        (void)table.AddUnit(1, 1, {});
        table.AddGroup(0, 0);
        (void)table.AddFrame(0, 0);
        (void)table.AddFrame(1, tick);
        table.Publish(2, 2, 1, 2);
        table.Finish(tick);
        EXPECT_EQ(table.TimeOf(1), kLongestTime);
        EXPECT_EQ(table.Duration(), kLongestTime);
        EXPECT_EQ(table.TimeOf(kNoFrame - 1), kLongestTime);
        EXPECT_EQ(table.FrameAt(kLongestTime), 1U);
        EXPECT_GT(table.RateNumerator(), 0);
        EXPECT_GT(table.RateDenominator(), 0);
    }
}

TEST(Times, OfFramesThatShareTheFilmsFirstMomentFindTheLastOfThem) {
    FrameTable table(true);
    for (UnitNumber unit = 0; unit < 3; ++unit)
        (void)table.AddUnit(unit, 1, {});
    table.AddGroup(0, 0);
    for (const std::int64_t tick : {0, 0, 1})
        (void)table.AddFrame(table.Frames(), tick);
    table.Finish(2);
    table.Publish(3, 3, 1, 3);
    EXPECT_EQ(table.FrameAt(MediaTime(0)), 1U);
    EXPECT_EQ(table.FrameAt(MediaTime(-1)), 0U);
}

TEST(Times, BeyondBeliefLeaveTheirUnitsOut) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    std::ifstream file(RecordingPath("mp4/sample_fragmented_seekable_multiple_sidx.mp4"), std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    // The last fragment's decode time, 64 bits of it.
    const std::size_t at = content.rfind("tfdt");
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(content[at + 4], 1) << "not a time of 64 bits";
    const std::string path = std::string(TALVIO_TEST_WORK_DIR) + "/far.mp4";
    for (const char first : {'\x20', '\x7f', '\x80', '\xff'}) {
        for (std::size_t i = 0; i < 8; ++i)
            content[at + 8 + i] = i == 0 ? first : '\xff';
        std::ofstream(path, std::ios::binary) << content;
        const auto opened = MediaFile::Open(path);
        ASSERT_TRUE(opened) << opened.Failure().text;
        const FrameIndex& index = opened.Value()->Index();
        EXPECT_GE(index.Total(), 300U);
        EXPECT_LE(index.Duration(), MediaTime(60'000'000)) << static_cast<int>(first);
    }
    ::unlink(path.c_str());
}

// Writes the recording with these bytes as the begin of its first box of that name, and opens it.
Result<std::shared_ptr<MediaFile>> OpenWithClaim(const char* name, const char* box,
                                                 const Bytes& content_of_box) {
    std::ifstream file(RecordingPath(name), std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    const std::size_t at = content.find(box);
    EXPECT_NE(at, std::string::npos);
    std::copy(content_of_box.begin(), content_of_box.end(),
              content.begin() + static_cast<std::ptrdiff_t>(at + 4));
    const std::string path = std::string(TALVIO_TEST_WORK_DIR) + "/claims.mp4";
    std::ofstream(path, std::ios::binary) << content;
    auto opened = MediaFile::Open(path);
    ::unlink(path.c_str());
    return opened;
}

TEST(Claims, BeyondTheFilesSizeAreRefusedBeforeRoomIsMadeForThem) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    // 150 million samples of a byte each.
    const auto opened =
        OpenWithClaim("mp4/sample.mp4", "stsz", {0, 0, 0, 0, 0, 0, 0, 1, 8, 0xf0, 0xd1, 0x80});
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.Failure().kind, ErrorKind::Damaged) << opened.Failure().text;
}

TEST(Claims, OfAnySingleThingAreGivenNoMoreThanTheLargestHonestOneNeeds) {
    ffmpeg::SetUp();
    EXPECT_EQ(av_malloc(ffmpeg::kLargestAllocation + 1), nullptr);
    const std::unique_ptr<void, decltype(&av_free)> large(av_malloc(ffmpeg::kLargestAllocation / 2), av_free);
    EXPECT_NE(large, nullptr);
}

// What stands for the headers of a film is all that is read for them: not the film, with whatever it claims.
TEST(Claims, OfAFileAreNotReadWhereItsHeadersAreBroken) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    const auto source = FileSource::Open(RecordingPath("mp4/sample.mp4"));
    ASSERT_TRUE(source);
    EXPECT_TRUE(FormatInput::Open(source.Value(), FormatInput::Haste::Opening));
    const auto input = FormatInput::OpenHeaders(source.Value(), {});
    ASSERT_FALSE(input);
    EXPECT_EQ(input.Failure().kind, ErrorKind::Damaged);
}

TEST(Claims, OfAFragmentAreBelievedAsFarAsTheFileHasBytes) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    // 150 million samples, all of the size that is the default.
    const auto opened = OpenWithClaim("mp4/sample_fragmented.mp4", "trun", {0, 0, 0, 0, 8, 0xf0, 0xd1, 0x80});
    if (!opened) return;
    EXPECT_LT(opened.Value()->Index().Total(), 1000U);
}

TEST(Claims, OfHoursOfPlainSoundAreBelieved) {
    const auto put = [](std::string& bytes, std::uint32_t value) {
        for (const int shift : {24, 16, 8, 0})
            bytes.push_back(static_cast<char>(value >> shift));
    };
    const auto box = [&](const char* name, const std::string& inside) {
        std::string bytes;
        put(bytes, static_cast<std::uint32_t>(inside.size() + 8));
        return bytes + name + inside;
    };
    const auto numbers = [&](std::initializer_list<std::uint32_t> values, std::size_t more = 0) {
        std::string bytes;
        for (const std::uint32_t value : values)
            put(bytes, value);
        return bytes + std::string(more, '\0');
    };
    const std::string sound = box("hdlr", numbers({0, 0}) + "soun" + std::string(12, '\0'));
    // Eight hours at 48000 a second, a chunk a second.
    const std::string tables = box("stts", numbers({0, 1, 1'382'400'000, 1})) +
                               box("stsz", numbers({0, 1, 1'382'400'000})) +
                               box("stsc", numbers({0, 1, 1, 48'000, 1})) +
                               box("stco", numbers({0, 28'800}, std::size_t{4} * 28'800));
    const std::string path = std::string(TALVIO_TEST_WORK_DIR) + "/plain-sound.mov";
    for (const bool plain : {true, false}) {
        const std::string media = (plain ? sound : "") + box("minf", box("stbl", tables));
        std::ofstream(path, std::ios::binary) << box("moov", box("trak", box("mdia", media)));
        const auto file = FileSource::Open(path);
        ASSERT_TRUE(file);
        const Mp4Claims claims = Mp4Claims::Of(*file.Value(), [] { return false; });
        EXPECT_EQ(claims.samples, plain ? 28'800U * 47U : 1'382'400'000U);
        EXPECT_EQ(claims.TooMuchFor(5'529'600'000), !plain);
    }
    ::unlink(path.c_str());
}

TEST(ContentCacheDeathTest, StillServesWhatIsClosedAtTheEndOfTheProcess) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            // Made before the cache, hence destroyed after everything that the cache's first use made.
            static struct LastHolder {
                std::string path;
                const FrameIndex* index = nullptr;
                ~LastHolder() {
                    const auto again = MediaFile::Open(path);
                    ::_exit(again && &again.Value()->Index() == index ? 0 : 1);
                }
            } holder;
            holder.path = RecordingPath("mp4/sample.mp4");
            const auto first = MediaFile::Open(holder.path);
            if (first) holder.index = &first.Value()->Index();
            std::exit(2);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace ordune::test
