// Which units of a damaged container keep their frame number, and which never had one.
#include "ordune/UnitInspector.h"
#include "tests/ordune/ClipReading.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace testing_ordune {
namespace {

using support::ClipContainer;

constexpr FrameNumber kFrames = 40;
constexpr FrameNumber kGroup = 10;

struct Place {
    std::size_t begin = 0;
    std::size_t size = 0;
    FrameNumber frame = 0;
};

// The units of a file in the order of decoding.
std::vector<Place> PlacesOf(const MediaFile& file) {
    std::vector<Place> places;
    auto units = file.MakeUnitReader();
    if (!units) return places;
    for (;;) {
        const auto unit = units.Value()->Next();
        if (!unit || !unit.Value()) return places;
        places.push_back({static_cast<std::size_t>(unit.Value()->packet->pos),
                          static_cast<std::size_t>(unit.Value()->packet->size),
                          file.Index().FrameOf(unit.Value()->number)});
    }
}

class DamagedUnit : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        support::MakeClip(m_folder.File("whole.mp4"), {.width = 160,
                                                       .height = 96,
                                                       .frames = kFrames,
                                                       .codec = GetParam(),
                                                       .keyInterval = kGroup,
                                                       .bFrames = 2});
        const auto whole = MediaFile::Open(m_folder.File("whole.mp4"));
        ASSERT_TRUE(whole);
        m_places = PlacesOf(*whole.Value());
        ASSERT_EQ(m_places.size(), kFrames);
        m_bytes = ClipFolder::Read(m_folder.File("whole.mp4"));
    }

    bool Hevc() const { return GetParam() == "libx265"; }
    // Where the unit's slice stands, length field first.
    std::size_t SliceOf(const Place& place) const {
        std::size_t at = place.begin;
        while (!IsSlice(at + 4))
            at += 4 + LengthAt(at);
        return at;
    }
    std::size_t LengthAt(std::size_t at) const {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = (length << 8) | static_cast<std::uint8_t>(m_bytes[at + i]);
        return length;
    }
    void SetLength(std::size_t at, std::size_t length) {
        for (std::size_t i = 0; i < 4; ++i)
            m_bytes[at + i] = static_cast<char>(length >> (24 - 8 * i));
    }
    // Makes the NAL unit behind the length field one of another type.
    void SetType(std::size_t at, unsigned type) {
        char& head = m_bytes[at + 4];
        const auto byte = static_cast<unsigned char>(head);
        head = static_cast<char>(Hevc() ? (byte & 0x81U) | (type << 1) : (byte & 0xe0U) | type);
    }

    // Makes the NAL unit behind the length field one message of a user's, as long as it was.
    void MakeMessage(std::size_t at) {
        SetType(at, Hevc() ? 39 : 6);
        const std::size_t begin = at + 4 + (Hevc() ? 2 : 1);
        const std::size_t left = LengthAt(at) - (begin - at - 4);
        std::string message("\x05");
        std::size_t size = left - 3;
        while (size + message.size() + size / 255 + 2 > left)
            --size;
        message.append(size / 255, '\xff').push_back(static_cast<char>(size % 255));
        message.append(size, 'u').push_back('\x80');
        ASSERT_EQ(message.size(), left);
        m_bytes.replace(begin, left, message);
    }

    // The file as it is now has all its frames, each under its own number but for those of the group that the
    // damage is in.
    void ExpectNumbersKept(FrameNumber damaged) {
        const auto file = MediaFile::Open(m_folder.Write("damaged.mp4", m_bytes));
        ASSERT_TRUE(file) << file.Failure().text;
        ASSERT_EQ(file.Value()->Index().Total(), kFrames);
        ReaderUnderTest reader(file.Value());
        for (FrameNumber frame = 0; frame < kFrames; ++frame) {
            if (frame / kGroup == damaged / kGroup) continue;
            const PicturePtr picture = reader.Get(frame);
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }
    // Does it to the first unit, another key unit, one between and the last.
    void ExpectNumbersKeptAfter(const std::function<void(const Place&)>& harm) {
        const std::string whole = m_bytes;
        for (const std::size_t unit :
             {std::size_t{0}, std::size_t{kGroup}, std::size_t{23}, std::size_t{kFrames - 1}}) {
            SCOPED_TRACE(unit);
            harm(m_places[unit]);
            ExpectNumbersKept(m_places[unit].frame);
            m_bytes = whole;
        }
    }
    FrameNumber TotalNow() {
        const auto file = MediaFile::Open(m_folder.Write("changed.mp4", m_bytes));
        return file ? file.Value()->Index().Total() : 0;
    }

    std::vector<Place> m_places;
    std::string m_bytes;

  private:
    bool IsSlice(std::size_t at) const {
        const auto head = static_cast<unsigned char>(m_bytes[at]);
        return Hevc() ? ((head >> 1) & 63U) < 32 : (head & 31U) == 1 || (head & 31U) == 5;
    }

    ClipFolder m_folder{"numbers-" + GetParam()};
};

} // namespace

TEST_P(DamagedUnit, ThatIsBlankKeepsItsNumber) {
    ExpectNumbersKeptAfter(
        [&](const Place& place) { m_bytes.replace(place.begin, place.size, place.size, '\0'); });
}

TEST_P(DamagedUnit, WhoseLengthFieldPointsOutOfItKeepsItsNumber) {
    ExpectNumbersKeptAfter([&](const Place& place) { SetLength(SliceOf(place), place.size + 1000); });
}

TEST_P(DamagedUnit, WhoseBeginningIsThatOfAnotherKeepsItsNumber) {
    const std::string other = m_bytes.substr(m_places[5].begin, m_places[5].size);
    ExpectNumbersKeptAfter([&](const Place& place) {
        const std::size_t size = std::min(place.size, other.size()) / 2;
        m_bytes.replace(place.begin, size, other, 0, size);
    });
}

// Whatever else its type then says: the bytes say otherwise.
TEST_P(DamagedUnit, WithAnyOneBitOfItsTypeWrongKeepsItsNumber) {
    for (int bit = 0; bit < 8; ++bit) {
        SCOPED_TRACE(bit);
        ExpectNumbersKeptAfter([&](const Place& place) {
            char& head = m_bytes[SliceOf(place) + 4];
            head = static_cast<char>(head ^ (1 << bit));
        });
    }
}

TEST_P(DamagedUnit, WhoseTypeIsOfAnotherKindKeepsItsNumber) {
    const std::vector<unsigned> types =
        Hevc() ? std::vector<unsigned>{32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 63}
               : std::vector<unsigned>{6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 17, 20, 24};
    for (const unsigned type : types) {
        SCOPED_TRACE(type);
        ExpectNumbersKeptAfter([&](const Place& place) { SetType(SliceOf(place), type); });
    }
}

TEST_P(DamagedUnit, IsToldFromOneOfMessagesAlone) {
    MakeMessage(SliceOf(m_places[23]));
    EXPECT_EQ(TotalNow(), kFrames - 1);
}

TEST_P(DamagedUnit, IsToldFromOneOfFillerAlone) {
    const std::size_t at = SliceOf(m_places[23]);
    SetType(at, Hevc() ? 38 : 12);
    const std::size_t header = at + 4 + (Hevc() ? 2 : 1);
    const std::size_t end = at + 4 + LengthAt(at);
    m_bytes.replace(header, end - header, end - header, '\xff');
    m_bytes[end - 1] = '\x80';
    EXPECT_EQ(TotalNow(), kFrames - 1);
}

TEST_P(DamagedUnit, IsToldFromOneThatEndsWithAnEmptyUnit) {
    const Place& place = m_places[23];
    const std::size_t slice = SliceOf(place);
    ASSERT_EQ(slice + 4 + LengthAt(slice), place.begin + place.size);
    SetLength(slice, LengthAt(slice) - 4);
    m_bytes.replace(place.begin + place.size - 4, 4, 4, '\0');
    EXPECT_EQ(TotalNow(), kFrames - 1);
}

INSTANTIATE_TEST_SUITE_P(Codecs, DamagedUnit, testing::Values("libx264", "libx265"),
                         [](const auto& codec) { return codec.param; });

// A disk that fails for a moment takes no frame away.
TEST(UnreadableUnit, StaysAFrame) {
    const ClipFolder folder("unreadable");
    support::MakeClip(folder.File("film.mp4"), {.frames = 10, .keyInterval = 5});
    const auto film = MediaFile::Open(folder.File("film.mp4"));
    ASSERT_TRUE(film);
    const auto source = FileSource::Open(folder.File("film.mp4"));
    ASSERT_TRUE(source);
    UnitInspector inspector(source.Value(), *film.Value()->VideoParameters());
    std::vector<ContainerUnit> units;
    for (const Place& place : PlacesOf(*film.Value())) {
        ContainerUnit& unit = units.emplace_back();
        unit.offset_bytes = static_cast<std::int64_t>(place.begin);
        unit.size_bytes = static_cast<std::uint32_t>(place.size);
        unit.time = static_cast<std::int64_t>(place.frame);
        unit.key = place.frame % 5 == 0;
        unit.shown = true;
    }
    // Reading behind the end gives as little as a disk that fails.
    units[7].offset_bytes = source.Value()->Size() + 1000;
    inspector.Correct(units);
    for (const ContainerUnit& unit : units)
        EXPECT_TRUE(unit.shown) << unit.time;
}

// A fragmented recording that was cut off, at whatever byte.
TEST(CutFragments, GiveEveryPictureThatIsWholeUnderItsNumber) {
    const ClipFolder folder("fragments");
    support::MakeClip(folder.File("whole.mp4"), {.width = 160,
                                                 .height = 96,
                                                 .frames = kFrames,
                                                 .keyInterval = kGroup,
                                                 .container = ClipContainer::FragmentedMp4});
    const auto whole = MediaFile::Open(folder.File("whole.mp4"));
    ASSERT_TRUE(whole);
    const std::vector<Place> places = PlacesOf(*whole.Value());
    ASSERT_EQ(places.size(), kFrames);
    const std::string bytes = ClipFolder::Read(folder.File("whole.mp4"));
    for (std::size_t cut = places[0].begin + places[0].size; cut < bytes.size(); cut += 97) {
        SCOPED_TRACE(cut);
        FrameNumber there = 0;
        while (there < kFrames && places[there].begin + places[there].size <= cut)
            ++there;
        const auto file = MediaFile::Open(folder.Write("cut.mp4", bytes.substr(0, cut)));
        ASSERT_TRUE(file) << file.Failure().text;
        ASSERT_EQ(file.Value()->Index().Total(), there);
        ReaderUnderTest reader(file.Value());
        for (FrameNumber frame = there - std::min<FrameNumber>(there, 12); frame < there; ++frame) {
            const PicturePtr picture = reader.Get(frame);
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }
}

} // namespace testing_ordune
