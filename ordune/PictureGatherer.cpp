#include "ordune/PictureGatherer.h"

#include "ordune/BitReader.h"
#include "ordune/NalScanner.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ordune {

namespace {

constexpr unsigned kSlice = 1;
constexpr unsigned kIdrSlice = 5;
constexpr unsigned kEnhancement = 6;
constexpr unsigned kSequenceSet = 7;
constexpr unsigned kPictureSet = 8;
constexpr unsigned kDelimiter = 9;
constexpr unsigned kRecoveryPoint = 6;

} // namespace

PictureGatherer::Picture::Picture() = default;

PictureGatherer::PictureGatherer(FrameTable& table, ParameterHistory* history, ParameterSets sets)
    : m_table(table), m_history(history), m_output(table, OutputOrder::By::Count), m_sets(std::move(sets)) {}

void PictureGatherer::Finish(std::int64_t end_offset) {
    Flush();
    m_output.Finish(end_offset);
}

void PictureGatherer::Take(std::span<const std::uint8_t> nal, std::int64_t offset, std::int64_t end) {
    const unsigned type = nal[0] & 31;
    switch (type) {
    case kSlice:
    case kIdrSlice:
        HandleSlice(nal, offset);
        m_end = end;
        return;
    case kEnhancement:
    case kSequenceSet:
    case kPictureSet:
        break;
    default:
        // 14 to 18 stand before a picture as well; the others belong to the one they follow.
        if (type == kDelimiter || (type >= 14 && type <= 18)) TakeStart(offset);
        return;
    }
    TakeStart(offset);
    std::span<const std::uint8_t> set = nal.first(FindStartCode(nal.data(), 0, nal.size()));
    if (type == kEnhancement) {
        HandleEnhancement(set.subspan(1));
        return;
    }
    while (!set.empty() && set.back() == 0)
        set = set.first(set.size() - 1);
    if (m_sets.Take(set)) m_sets_changed = true;
}

// Remembers where the unit to come begins.
std::int64_t PictureGatherer::TakeStart(std::int64_t offset) {
    if (m_next_start < 0) m_next_start = offset;
    return m_next_start;
}

// D.1.1: messages of a type and a size each.
void PictureGatherer::HandleEnhancement(std::span<const std::uint8_t> payload) {
    BitReader bits(payload);
    while (bits.BitsLeft() >= 24) {
        const auto number = [&] {
            std::uint32_t sum = 0;
            for (;;) {
                const std::uint32_t byte = bits.Bits(8);
                sum += byte;
                if (byte != 255 || bits.Overrun()) return sum;
            }
        };
        const std::uint32_t type = number();
        const std::uint32_t size = number();
        if (bits.Overrun() || std::size_t{size} * 8 > bits.BitsLeft()) return;
        if (type == kRecoveryPoint) {
            const std::uint32_t frames = bits.Unsigned();
            if (!bits.Overrun()) m_recovery = frames;
            return;
        }
        bits.Skip(size * 8);
    }
}

void PictureGatherer::HandleSlice(std::span<const std::uint8_t> nal, std::int64_t offset) {
    const std::optional<SliceHeader> slice = ParseSliceHeader(nal, m_sets);
    if (!slice) {
        HandleLostSlice(offset);
        return;
    }
    if (slice->redundant_count > 0) return;
    const SequenceParameters& sequence = *m_sets.Sequence(m_sets.Picture(slice->picture_set)->sequence_id);
    if (m_picture && !m_picture->lost && !BeginsPicture(m_picture->slice, *slice)) {
        m_picture->slice = *slice;
        m_next_start = -1;
        return;
    }
    if (CompletesFrame(*slice)) {
        const PictureOrder::Count count = m_order.Next(*slice, sequence);
        RecordSets();
        m_picture->unit.order = std::min(m_picture->unit.order, count.value);
        m_picture->unit.shown = true;
        m_picture->paired = true;
        m_picture->slice = *slice;
        m_missing_fields = 0;
        m_next_start = -1;
        m_recovery.reset();
        return;
    }
    Begin(*slice, sequence, offset);
}

// Bytes that no decoder can make a picture of are a unit of their own, so that they do not spoil their
// neighbour.
void PictureGatherer::HandleLostSlice(std::int64_t offset) {
    if (!m_picture || !m_picture->lost) {
        const std::int64_t start = TakeStart(offset);
        Flush();
        RecordSets();
        m_picture.emplace();
        m_picture->lost = true;
        m_picture->unit.offset_bytes = start;
        m_picture->unit.shown = false;
    }
    m_next_start = -1;
    m_recovery.reset();
}

bool PictureGatherer::CompletesFrame(const SliceHeader& slice) const {
    if (!m_picture || m_picture->lost || m_picture->paired) return false;
    const SliceHeader& first = m_picture->slice;
    return first.field && slice.field && first.bottom != slice.bottom && !slice.idr &&
           first.frame_number == slice.frame_number &&
           (first.reference_idc == 0) == (slice.reference_idc == 0);
}

void PictureGatherer::Begin(const SliceHeader& slice, const SequenceParameters& sequence,
                            std::int64_t offset) {
    const std::int64_t start = TakeStart(offset);
    if (m_picture && !m_picture->lost && m_picture->slice.field && !m_picture->paired) ++m_missing_fields;
    Flush();
    RecordSets();
    if (!m_first_sequence) {
        m_first_sequence = sequence;
        for (const ParameterSets::Bytes& set : m_sets.InForce()) {
            m_first_sets.insert(m_first_sets.end(), {0, 0, 0, 1});
            m_first_sets.insert(m_first_sets.end(), set->begin(), set->end());
        }
    }
    m_picture.emplace();
    m_picture->slice = slice;
    const PictureOrder::Count count = m_order.Next(slice, sequence);
    OutputOrder::Unit& unit = m_picture->unit;
    unit.offset_bytes = start;
    unit.order = count.value;
    unit.new_period = count.new_period;
    unit.referenced = slice.reference_idc != 0;
    // A lone field is shown only when fields have been missing for a while: the decoder's way.
    unit.shown = !slice.field || m_missing_fields > 1;
    if (!slice.field) m_missing_fields = 0;
    Recover(slice, sequence);
    m_next_start = -1;
    m_recovery.reset();
}

// libavcodec shows a picture when an IDR picture was decoded before it, or when a recovery point has been
// reached.
void PictureGatherer::Recover(const SliceHeader& slice, const SequenceParameters& sequence) {
    OutputOrder::Unit& unit = m_picture->unit;
    const std::int64_t range = std::int64_t{1} << sequence.frame_number_bits;
    const auto number = static_cast<std::int64_t>(slice.frame_number);
    if (m_recovery) {
        const auto frames = static_cast<std::int64_t>(*m_recovery);
        if (number != frames || slice.kind != SliceHeader::Kind::I) m_valid_recovery = true;
        const std::int64_t ahead = ((m_recovery_frame - number) % range + range) % range;
        if (m_recovery_frame < 0 || ahead > frames) {
            m_recovery_frame = m_valid_recovery ? (number + frames) % range : number;
        }
        unit.key = frames == 0 && slice.kind == SliceHeader::Kind::I;
    }
    if (slice.idr) {
        m_seen_idr = true;
        unit.key = true;
        unit.closed = true;
    }
    if (slice.idr || (m_recovery_frame == number && slice.reference_idc != 0)) {
        m_recovery_frame = -1;
        unit.recovered = true;
    }
    unit.recovered = unit.recovered || m_seen_idr;
}

void PictureGatherer::Break() {
    Flush();
    m_next_start = -1;
    m_recovery.reset();
}

void PictureGatherer::Flush() {
    if (m_picture) {
        OutputOrder::Unit& unit = m_picture->unit;
        unit.size_bytes = static_cast<std::uint32_t>(std::clamp<std::int64_t>(
            m_end - unit.offset_bytes, 0, std::numeric_limits<std::uint32_t>::max()));
        m_output.Add(unit);
    }
    m_picture.reset();
}

// Called in the unit that is about to be added: what changed up to here is in its own bytes, and in force
// before the one after it.
void PictureGatherer::RecordSets() {
    if (!m_sets_changed) return;
    if (m_history) m_history->Record(m_table.Units() + 1, m_sets.InForce());
    m_sets_changed = false;
}

} // namespace ordune
