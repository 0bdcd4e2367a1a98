#include "ordune/UnitInspector.h"

#include "ordune/BitReader.h"
#include "ordune/NalScanner.h"
#include "ordune/ParameterSets.h"
#include "ordune/SliceHeader.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <chrono>
#include <optional>
#include <span>
#include <vector>

namespace ordune {

namespace {

constexpr std::int64_t kLookThroughBytes = 32LL << 20;
// Looking through a million units takes a second; that many in so few bytes are no recording.
constexpr std::size_t kLookThroughUnits = 1'000'000;
// So many are looked at before a large file is believed.
constexpr std::size_t kTrustAfter = 512;
constexpr std::size_t kUnitsBetweenLooksAtTheClock = 64;
constexpr std::size_t kHeadBytes = 1024;
constexpr std::size_t kMostLeading = 64;

// What the first bytes of a unit tell.
struct UnitFacts {
    bool whole = true;      // its NAL units fill it
    bool picture = false;   // it has a slice
    bool key = false;       // decoding can begin here
    bool closed = false;    // and nothing shown after it needs what is before
    bool skipped = false;   // a leading picture of HEVC that needs what is before its key
    bool referenced = true; // others refer to it
    bool parsed = false;    // `slice` is the header of its first slice (H.264)
    SliceHeader slice;
    bool second_field = false; // it has both fields of a frame
};

class Inspector {
  public:
    Inspector(const FileSource& file, const AVCodecParameters& parameters);
    // Whether the units are made of NAL units behind length fields, so that anything can be told at all.
    bool Knows() const { return m_length_bytes > 0; }
    bool FieldsAllowed() const { return m_fields_allowed; }
    UnitFacts Look(const ContainerUnit& unit, bool whole);
    // Whether the unit's slice is of a stream as nearly all are.
    bool IsUsual(const UnitFacts& facts) const;

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
    std::vector<std::uint8_t> m_bytes;
};

Inspector::Inspector(const FileSource& file, const AVCodecParameters& parameters)
    : m_file(file), m_hevc(parameters.codec_id == AV_CODEC_ID_HEVC) {
    if (!m_hevc && parameters.codec_id != AV_CODEC_ID_H264) return;
    if (!parameters.extradata || parameters.extradata_size < 7 || parameters.extradata[0] != 1) return;
    TakeConfiguration({parameters.extradata, static_cast<std::size_t>(parameters.extradata_size)});
}

// ISO/IEC 14496-15, 5.3.3.1 and 8.3.3.1.
void Inspector::TakeConfiguration(std::span<const std::uint8_t> configuration) {
    if (m_hevc) {
        if (configuration.size() > 21) m_length_bytes = (configuration[21] & 3U) + 1;
        return;
    }
    m_length_bytes = (configuration[4] & 3U) + 1;
    std::size_t at = 5;
    for (const unsigned mask : {31U, 255U}) {
        if (at >= configuration.size()) return;
        unsigned count = configuration[at++] & mask;
        for (; count > 0 && at + 2 <= configuration.size(); --count) {
            const std::size_t size = (std::size_t{configuration[at]} << 8) | configuration[at + 1];
            at += 2;
            if (size == 0 || size > configuration.size() - at) return;
            const std::span<const std::uint8_t> set = configuration.subspan(at, size);
            (void)m_sets.Take(set);
            const std::optional<SequenceParameters> sequence =
                mask == 31 ? ParseSequenceParameters(set.subspan(1)) : std::nullopt;
            if (sequence && !sequence->frames_only) m_fields_allowed = true;
            at += size;
        }
    }
}

UnitFacts Inspector::Look(const ContainerUnit& unit, bool whole) {
    UnitFacts facts;
    const std::size_t size = whole ? unit.size_bytes : std::min<std::size_t>(unit.size_bytes, kHeadBytes);
    m_bytes.resize(size);
    const std::int64_t got = m_file.ReadAt(unit.offset_bytes, m_bytes.data(), size);
    m_bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    m_recovery = false;
    std::size_t at = 0;
    // The decoder's own rule: up to three bytes left over are overlooked.
    while (unit.size_bytes - at >= 4) {
        if (unit.size_bytes - at <= m_length_bytes) {
            facts.whole = false;
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

bool Inspector::IsUsual(const UnitFacts& facts) const {
    if (!facts.whole || !facts.parsed) return false;
    const PictureParameters* picture = m_sets.Picture(facts.slice.picture_set);
    const SequenceParameters* sequence = picture ? m_sets.Sequence(picture->sequence_id) : nullptr;
    return sequence && sequence->IsUsual();
}

// Some recorders wrap several NAL units with start codes into one behind a length field. The decoder goes by
// the start codes then.
void Inspector::LookAtAll(std::span<const std::uint8_t> nal, UnitFacts& facts) {
    while (!nal.empty()) {
        const bool slice = m_hevc ? ((nal[0] >> 1) & 63U) < 32 : (nal[0] & 31U) == 1 || (nal[0] & 31U) == 5;
        const std::size_t next = slice ? nal.size() : FindStartCode(nal.data(), 0, nal.size());
        m_hevc ? LookAtHevc(nal.first(next), facts) : LookAt264(nal.first(next), facts);
        nal = nal.subspan(std::min(nal.size(), next + 3));
    }
}

void Inspector::LookAt264(std::span<const std::uint8_t> nal, UnitFacts& facts) {
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
void Inspector::LookAtHevc(std::span<const std::uint8_t> nal, UnitFacts& facts) {
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

// Rules 1 to 3 on one unit after the other.
class Corrector {
  public:
    Corrector(Inspector& inspector, ContainerUnits& units, bool whole)
        : m_inspector(inspector), m_units(units), m_whole(whole) {}

    // All units before `end` that were not corrected yet, until `deadline`.
    void Go(std::size_t end, std::optional<std::chrono::steady_clock::time_point> deadline = std::nullopt);
    // Whether one was the second field of the unit before it.
    bool SawSecondField() const { return m_saw_second_field; }
    // Whether one that the container calls a key is none.
    bool SawFalseKey() const { return m_saw_false_key; }

  private:
    void Correct(ContainerUnit& unit);

    Inspector& m_inspector;
    ContainerUnits& m_units;
    const bool m_whole;
    std::size_t m_next = 0;
    UnitFacts m_before;
    bool m_open = false; // the unit before may be the first field of a frame
    bool m_saw_second_field = false;
    bool m_saw_false_key = false;
};

void Corrector::Go(std::size_t end, std::optional<std::chrono::steady_clock::time_point> deadline) {
    for (; m_next < end; ++m_next) {
        if (deadline && m_next % kUnitsBetweenLooksAtTheClock == 0 &&
            std::chrono::steady_clock::now() >= *deadline)
            return;
        Correct(m_units[m_next]);
    }
}

void Corrector::Correct(ContainerUnit& unit) {
    const UnitFacts facts = m_inspector.Look(unit, m_whole);
    if (m_whole && (!facts.whole || !facts.picture)) unit.shown = false;
    if (facts.picture) {
        unit.referenced = facts.referenced;
        unit.closed = facts.closed;
        m_saw_false_key = m_saw_false_key || (unit.key && !facts.key);
        unit.key = unit.key && facts.key;
    }
    m_open = m_open && IsSecondField(m_before, facts);
    if (m_open) {
        m_saw_second_field = true;
        unit.shown = false;
        unit.key = false;
    }
    m_open = !m_open;
    m_before = facts;
}

// Rules 2 and 3 in a file too large to be looked through.
void CorrectLarge(Inspector& inspector, ContainerUnits& units, std::chrono::milliseconds patience) {
    const bool all_keys =
        std::all_of(units.begin(), units.end(), [](const ContainerUnit& unit) { return unit.key; });
    if (!inspector.FieldsAllowed() && !all_keys) return;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    Corrector corrector(inspector, units, false);
    corrector.Go(std::min(units.size(), kTrustAfter));
    if (corrector.SawSecondField() || (all_keys && corrector.SawFalseKey()))
        corrector.Go(units.size(), deadline);
}

// Rule 4. True when the first key is an IDR picture in a usual profile.
bool HideBeforeFirstKey(Inspector& inspector, ContainerUnits& units, bool hevc) {
    std::size_t key = 0;
    while (key < units.size() && !units[key].key)
        ++key;
    if (key == units.size()) return false; // what the decoder makes of it is not known here
    for (std::size_t i = 0; i < key; ++i)
        units[i].shown = false;
    const UnitFacts facts = inspector.Look(units[key], false);
    if (facts.closed) return units[key].shown && inspector.IsUsual(facts);
    const std::size_t end = std::min(units.size(), key + 1 + kMostLeading);
    for (std::size_t i = key + 1; i < end; ++i) {
        if (units[i].time >= units[key].time) continue;
        if (!hevc || inspector.Look(units[i], false).skipped) units[i].shown = false;
    }
    return false;
}

} // namespace

bool InspectUnits(const FileSource& file, const AVCodecParameters& parameters, ContainerUnits& units,
                  std::chrono::milliseconds patience) {
    Inspector inspector(file, parameters);
    if (!inspector.Knows() || units.empty()) return false;
    std::int64_t bytes = 0;
    for (const ContainerUnit& unit : units)
        bytes += unit.size_bytes;
    if (bytes <= kLookThroughBytes && units.size() <= kLookThroughUnits)
        Corrector(inspector, units, true).Go(units.size());
    else
        CorrectLarge(inspector, units, patience);
    return HideBeforeFirstKey(inspector, units, parameters.codec_id == AV_CODEC_ID_HEVC);
}

} // namespace ordune
