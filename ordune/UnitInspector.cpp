#include "ordune/UnitInspector.h"

#include "ordune/AvcConfiguration.h"
#include "ordune/BitReader.h"
#include "ordune/NalScanner.h"
#include "ordune/ParameterSets.h"
#include "ordune/PicturelessNal.h"
#include "ordune/SliceHeader.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <optional>
#include <vector>

namespace ordune {

namespace {

constexpr std::int64_t kLookThroughBytes = 32LL << 20;
constexpr std::size_t kHeadBytes = 1024;
constexpr std::size_t kMostLeading = 64;

// What the first bytes of a unit tell.
struct UnitFacts {
    bool known = true;      // it could be read
    bool whole = true;      // its NAL units fill it
    bool empty_end = false; // the last of them, which ends the unit, is empty
    bool picture = false;   // it has a slice
    bool key = false;       // decoding can begin here
    bool closed = false;    // and nothing shown after it needs what is before
    bool skipped = false;   // a leading picture of HEVC that needs what is before its key
    bool referenced = true; // others refer to it
    bool parsed = false;    // `slice` is the header of its first slice (H.264)
    SliceHeader slice;
    bool second_field = false; // it has both fields of a frame
};

class UnitReading {
  public:
    UnitReading(const FileSource& file, const AVCodecParameters& parameters);
    // Whether the units are made of NAL units behind length fields, so that anything can be told at all.
    bool Knows() const { return m_length_bytes > 0; }
    bool FieldsAllowed() const { return m_fields_allowed; }
    bool Hevc() const { return m_hevc; }
    UnitFacts Look(const ContainerUnit& unit, bool whole);
    // Whether the unit's slice is of a stream as nearly all are.
    bool IsUsual(const UnitFacts& facts) const;
    // Whether the unit looked at last, which has no slice, is certain to have lost none.
    bool IsPictureless() const;

  private:
    void TakeConfiguration(std::span<const std::uint8_t> configuration);
    void LookAtAll(std::span<const std::uint8_t> nal, UnitFacts& facts);
    void LookAt264(std::span<const std::uint8_t> nal, UnitFacts& facts);
    static void LookAtHevc(std::span<const std::uint8_t> nal, UnitFacts& facts);

    const FileSource& m_file;
    const bool m_hevc;
    std::size_t m_length_bytes = 0;
    bool m_fields_allowed = false;
    bool m_recovery = false;
    ParameterSets m_sets;
    std::vector<std::uint8_t> m_configuration;
    std::vector<std::uint8_t> m_bytes;
    std::vector<std::span<const std::uint8_t>> m_others; // NAL units in m_bytes that are no slices
};

UnitReading::UnitReading(const FileSource& file, const AVCodecParameters& parameters)
    : m_file(file), m_hevc(parameters.codec_id == AV_CODEC_ID_HEVC) {
    if (!m_hevc && parameters.codec_id != AV_CODEC_ID_H264) return;
    if (!parameters.extradata || parameters.extradata_size < 7 || parameters.extradata[0] != 1) return;
    m_configuration.assign(parameters.extradata, parameters.extradata + parameters.extradata_size);
    TakeConfiguration(m_configuration);
}

// ISO/IEC 14496-15, 5.3.3.1 and 8.3.3.1.
void UnitReading::TakeConfiguration(std::span<const std::uint8_t> configuration) {
    if (m_hevc) {
        if (configuration.size() > 21) m_length_bytes = (configuration[21] & 3U) + 1;
        return;
    }
    const std::optional<AvcConfiguration> avc = AvcConfiguration::Parse(configuration);
    if (!avc) return;
    m_length_bytes = avc->length_bytes;
    for (const std::vector<std::uint8_t>& set : avc->sets) {
        (void)m_sets.Take(set);
        if ((set[0] & 31U) != 7) continue;
        const std::optional<SequenceParameters> sequence = ParseSequenceParameters(std::span(set).subspan(1));
        if (sequence && !sequence->frames_only) m_fields_allowed = true;
    }
}

UnitFacts UnitReading::Look(const ContainerUnit& unit, bool whole) {
    UnitFacts facts;
    const std::size_t size = whole ? unit.size_bytes : std::min<std::size_t>(unit.size_bytes, kHeadBytes);
    m_bytes.resize(size);
    const std::int64_t got = m_file.ReadAt(unit.offset_bytes, m_bytes.data(), size);
    m_bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    facts.known = m_bytes.size() == size;
    m_recovery = false;
    m_others.clear();
    std::size_t at = 0;
    // The decoder's own rule: up to three bytes left over are overlooked.
    while (unit.size_bytes - at >= 4) {
        if (unit.size_bytes - at <= m_length_bytes) {
            facts.whole = false;
            facts.empty_end =
                facts.known && std::all_of(m_bytes.begin() + static_cast<std::ptrdiff_t>(at), m_bytes.end(),
                                           [](std::uint8_t byte) { return byte == 0; });
            break;
        }
        if (at + m_length_bytes >= m_bytes.size()) break;
        std::size_t length = 0;
        for (std::size_t i = 0; i < m_length_bytes; ++i)
            length = (length << 8) | m_bytes[at + i];
        at += m_length_bytes;
        if (length == 0 || length > unit.size_bytes - at) {
            facts.whole = false;
            break;
        }
        const std::span<const std::uint8_t> nal(m_bytes.data() + at, std::min(length, m_bytes.size() - at));
        LookAtAll(nal, facts);
        at += length;
    }
    return facts;
}

bool UnitReading::IsUsual(const UnitFacts& facts) const {
    if (!facts.whole || !facts.parsed) return false;
    const PictureParameters* picture = m_sets.Picture(facts.slice.picture_set);
    const SequenceParameters* sequence = picture ? m_sets.Sequence(picture->sequence_id) : nullptr;
    return sequence && sequence->IsUsual();
}

bool UnitReading::IsPictureless() const {
    return std::all_of(m_others.begin(), m_others.end(), [this](std::span<const std::uint8_t> nal) {
        return m_hevc ? IsPicturelessHevc(nal, m_configuration) : IsPictureless264(nal, m_configuration);
    });
}

// Some recorders wrap several NAL units with start codes into one behind a length field. The decoder goes by
// the start codes then.
void UnitReading::LookAtAll(std::span<const std::uint8_t> nal, UnitFacts& facts) {
    while (!nal.empty()) {
        const bool slice = m_hevc ? ((nal[0] >> 1) & 63U) < 32 : (nal[0] & 31U) == 1 || (nal[0] & 31U) == 5;
        const std::size_t next = slice ? nal.size() : FindStartCode(nal.data(), 0, nal.size());
        m_hevc ? LookAtHevc(nal.first(next), facts) : LookAt264(nal.first(next), facts);
        if (!slice && next > 0) m_others.push_back(nal.first(next));
        nal = nal.subspan(std::min(nal.size(), next + 3));
    }
}

void UnitReading::LookAt264(std::span<const std::uint8_t> nal, UnitFacts& facts) {
    if (nal.empty()) return;
    const unsigned type = nal[0] & 31U;
    if (type == 7 || type == 8) (void)m_sets.Take(nal);
    if (type == 6 && nal.size() > 3) {
        // The recovery point is a message of its own or comes after others; only its presence counts here.
        std::size_t at = 1;
        while (at + 2 <= nal.size() && nal[at] != 6 && nal[at] != 255 && nal[at + 1] != 255)
            at += 2 + std::size_t{nal[at + 1]};
        if (at + 2 < nal.size() && nal[at] == 6) {
            BitReader bits(nal.subspan(at + 2));
            m_recovery = bits.Unsigned() == 0 && !bits.Overrun();
        }
    }
    if (type != 1 && type != 5) return;
    const std::optional<SliceHeader> slice = ParseSliceHeader(nal, m_sets);
    if (!facts.picture) {
        facts.picture = true;
        facts.referenced = (nal[0] & 0x60U) != 0;
        facts.closed = type == 5;
        facts.key = type == 5 || (m_recovery && slice && slice->kind == SliceHeader::Kind::I);
        facts.parsed = slice.has_value();
        if (slice) facts.slice = *slice;
    } else if (slice && facts.parsed && slice->field && facts.slice.field &&
               slice->bottom != facts.slice.bottom) {
        facts.second_field = true;
    }
}

// ITU-T H.265, table 7-1.
void UnitReading::LookAtHevc(std::span<const std::uint8_t> nal, UnitFacts& facts) {
    if (nal.empty()) return;
    const unsigned type = (nal[0] >> 1) & 63U;
    if (type > 31 || facts.picture) return;
    facts.picture = true;
    facts.key = type >= 16 && type <= 23;
    facts.closed = type >= 18 && type <= 20;
    facts.skipped = type == 8 || type == 9;
    // Not referred to within its own temporal layer is all that the type says; a higher layer may refer to
    // it.
}

bool IsSecondField(const UnitFacts& first, const UnitFacts& second) {
    if (!first.parsed || !second.parsed || first.second_field || second.second_field) return false;
    return first.slice.field && second.slice.field && first.slice.bottom != second.slice.bottom &&
           !second.slice.idr && first.slice.frame_number == second.slice.frame_number &&
           (first.slice.reference_idc == 0) == (second.slice.reference_idc == 0);
}

} // namespace

class UnitInspector::Impl {
  public:
    Impl(std::shared_ptr<const FileSource> file, const AVCodecParameters& parameters)
        : m_file(std::move(file)), m_reading(*m_file, parameters),
          m_whole(m_file->Size() <= kLookThroughBytes) {}

    void Correct(std::span<ContainerUnit> units);
    bool FirstKeyIsSure() const { return m_sure; }

  private:
    void CorrectOne(ContainerUnit& unit);
    bool MakesNoPicture(const UnitFacts& facts) const;
    bool IsDamagedPair(const UnitFacts& facts) const;
    void HideBeforeFirstKey(std::span<ContainerUnit> units);
    void HideLeading(std::span<ContainerUnit> units);

    const std::shared_ptr<const FileSource> m_file;
    UnitReading m_reading;
    const bool m_whole;

    bool m_begun = false;
    bool m_looking = false;  // rules 1 to 3 go on
    bool m_all_keys = false; // the container calls every unit a key
    UnitFacts m_before;
    bool m_open = false; // the unit before may be the first field of a frame
    bool m_saw_second_field = false;
    bool m_in_fields = false;        // the last unit whose header could be read was a field
    bool m_second_is_bottom = false; // of the two fields of a frame, the bottom one comes second
    bool m_saw_false_key = false;

    bool m_sure = false;
    std::size_t m_leading = 0; // how many units may still precede the first key in time
    std::int64_t m_key_time = 0;
};

void UnitInspector::Impl::Correct(std::span<ContainerUnit> units) {
    if (!m_reading.Knows() || units.empty()) return;
    if (!m_begun) {
        m_begun = true;
        const std::span<ContainerUnit> first = units.first(std::min(units.size(), kFirst));
        m_all_keys =
            std::all_of(units.begin(), units.end(), [](const ContainerUnit& unit) { return unit.key; });
        m_looking = m_whole || m_reading.FieldsAllowed() || m_all_keys;
        for (ContainerUnit& unit : first) {
            if (m_looking) CorrectOne(unit);
        }
        m_looking = m_whole || m_saw_second_field || (m_all_keys && m_saw_false_key);
        for (ContainerUnit& unit : units.subspan(first.size())) {
            if (m_looking) CorrectOne(unit);
        }
        HideBeforeFirstKey(units);
        return;
    }
    for (ContainerUnit& unit : units) {
        if (m_looking) CorrectOne(unit);
    }
    HideLeading(units);
}

// Rules 1 to 3.
void UnitInspector::Impl::CorrectOne(ContainerUnit& unit) {
    const UnitFacts facts = m_reading.Look(unit, m_whole);
    if (m_whole && MakesNoPicture(facts)) {
        unit.shown = false;
        return;
    }
    if (facts.picture && facts.whole) {
        unit.referenced = facts.referenced;
        unit.closed = facts.closed;
    }
    // A table of key units is worth more than what a unit, damaged perhaps, says of itself.
    if (facts.picture && m_all_keys) {
        m_saw_false_key = m_saw_false_key || (unit.key && !facts.key);
        unit.key = unit.key && facts.key;
    }
    m_open = m_open && (IsSecondField(m_before, facts) || IsDamagedPair(facts));
    if (m_open) {
        m_saw_second_field = true;
        if (facts.parsed) m_second_is_bottom = facts.slice.bottom;
        unit.shown = false;
        unit.key = false;
    }
    m_open = !m_open;
    if (facts.parsed) m_in_fields = facts.slice.field;
    m_before = facts;
}

// Damage takes a picture, but not its place in the file: what follows keeps its number.
bool UnitInspector::Impl::MakesNoPicture(const UnitFacts& facts) const {
    if (!facts.known) return false;
    return facts.whole ? !facts.picture && m_reading.IsPictureless() : facts.picture && facts.empty_end;
}

// Whether this unit and the one before, one or both of which are damaged, are the fields of one frame, as far
// as what is around them tells.
bool UnitInspector::Impl::IsDamagedPair(const UnitFacts& facts) const {
    if (!m_saw_second_field || (facts.parsed && m_before.parsed)) return false;
    if (!facts.parsed && !m_before.parsed) return m_in_fields;
    const UnitFacts& whole = facts.parsed ? facts : m_before;
    return whole.slice.field && !whole.second_field &&
           (whole.slice.bottom == m_second_is_bottom) == facts.parsed;
}

// Rule 4.
void UnitInspector::Impl::HideBeforeFirstKey(std::span<ContainerUnit> units) {
    const auto key =
        std::find_if(units.begin(), units.end(), [](const ContainerUnit& unit) { return unit.key; });
    if (key == units.end()) return; // what the decoder makes of it is not known here
    for (auto unit = units.begin(); unit != key; ++unit)
        unit->shown = false;
    const UnitFacts facts = m_reading.Look(*key, false);
    m_sure = facts.closed && key->shown && m_reading.IsUsual(facts);
    if (facts.closed) return;
    m_leading = kMostLeading;
    m_key_time = key->time;
    HideLeading(units.subspan(static_cast<std::size_t>(key - units.begin()) + 1));
}

void UnitInspector::Impl::HideLeading(std::span<ContainerUnit> units) {
    const std::span<ContainerUnit> near = units.first(std::min(units.size(), m_leading));
    m_leading -= near.size();
    for (ContainerUnit& unit : near) {
        if (unit.time >= m_key_time) continue;
        if (!m_reading.Hevc() || m_reading.Look(unit, false).skipped) unit.shown = false;
    }
}

UnitInspector::UnitInspector(std::shared_ptr<const FileSource> file, const AVCodecParameters& parameters)
    : m_impl(std::make_unique<Impl>(std::move(file), parameters)) {}

UnitInspector::~UnitInspector() = default;

void UnitInspector::Correct(std::span<ContainerUnit> units) {
    m_impl->Correct(units);
}

bool UnitInspector::FirstKeyIsSure() const {
    return m_impl->FirstKeyIsSure();
}

} // namespace ordune
