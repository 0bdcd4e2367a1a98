#include "ordune/ParameterSets.h"

#include "ordune/BitReader.h"

#include <algorithm>

namespace ordune {

namespace {

constexpr unsigned kMostMacroblocks = 1088; // 17,408 pixels a side, above every level

struct Aspect {
    int numerator;
    int denominator;
};
// Table E-1.
constexpr Aspect kAspects[] = {{1, 1},   {1, 1},    {12, 11}, {10, 11}, {16, 11}, {40, 33},
                               {24, 11}, {20, 11},  {32, 11}, {80, 33}, {18, 11}, {15, 11},
                               {64, 33}, {160, 99}, {4, 3},   {3, 2},   {2, 1}};
constexpr unsigned kExtendedAspect = 255;

bool HasChromaFormat(unsigned profile) {
    switch (profile) {
    case 100:
    case 110:
    case 122:
    case 244:
    case 44:
    case 83:
    case 86:
    case 118:
    case 128:
    case 138:
    case 139:
    case 134:
    case 135:
        return true;
    default:
        return false;
    }
}

void SkipScalingList(BitReader& bits, unsigned size) {
    std::int32_t last = 8;
    std::int32_t next = 8;
    for (unsigned i = 0; i < size; ++i) {
        if (next != 0) next = static_cast<std::int32_t>((last + std::int64_t{bits.Signed()}) & 255);
        if (next != 0) last = next;
    }
}

void SkipBufferModel(BitReader& bits) {
    const unsigned count = bits.Unsigned() + 1;
    bits.Skip(8);
    for (unsigned i = 0; i < count && i < 32; ++i) {
        (void)bits.Unsigned();
        (void)bits.Unsigned();
        bits.Skip(1);
    }
    bits.Skip(20);
}

// Annex E. What is cut off inside it leaves the rest of the set as it is.
void ParseUsability(BitReader& bits, SequenceParameters& set) {
    if (bits.Flag()) {
        const unsigned kind = bits.Bits(8);
        if (kind == kExtendedAspect) {
            const int numerator = static_cast<int>(bits.Bits(16));
            const int denominator = static_cast<int>(bits.Bits(16));
            if (numerator > 0 && denominator > 0) {
                set.aspect_numerator = numerator;
                set.aspect_denominator = denominator;
            }
        } else if (kind < std::size(kAspects)) {
            set.aspect_numerator = kAspects[kind].numerator;
            set.aspect_denominator = kAspects[kind].denominator;
        }
    }
    if (bits.Flag()) bits.Skip(1); // overscan
    if (bits.Flag()) {
        bits.Skip(4);
        if (bits.Flag()) bits.Skip(24);
    }
    if (bits.Flag()) {
        (void)bits.Unsigned();
        (void)bits.Unsigned();
    }
    if (bits.Flag()) {
        const std::uint32_t units = bits.Bits(32);
        const std::uint32_t scale = bits.Bits(32);
        bits.Skip(1);
        if (!bits.Overrun()) {
            set.units_in_tick = units;
            set.time_scale = scale;
        }
    }
    const bool nal_model = bits.Flag();
    if (nal_model) SkipBufferModel(bits);
    const bool vcl_model = bits.Flag();
    if (vcl_model) SkipBufferModel(bits);
    if (nal_model || vcl_model) bits.Skip(1);
    bits.Skip(1);
    if (bits.Flag()) {
        bits.Skip(1);
        for (int i = 0; i < 4; ++i)
            (void)bits.Unsigned();
        const unsigned reorder = bits.Unsigned();
        if (!bits.Overrun() && reorder <= 16) set.reorder_frames = reorder;
    }
}

bool ParseOrder(BitReader& bits, SequenceParameters& set) {
    set.order_type = bits.Unsigned();
    if (set.order_type == 0) {
        set.order_lsb_bits = bits.Unsigned() + 4;
        return set.order_lsb_bits <= 16;
    }
    if (set.order_type != 1) return set.order_type == 2;
    set.order_delta_always_zero = bits.Flag();
    set.offset_for_non_reference = bits.Signed();
    set.offset_for_top_to_bottom = bits.Signed();
    const unsigned count = bits.Unsigned();
    if (count > 255) return false;
    for (unsigned i = 0; i < count; ++i)
        set.offsets_in_cycle.push_back(bits.Signed());
    return true;
}

bool ParseSize(BitReader& bits, SequenceParameters& set) {
    const unsigned columns = bits.Unsigned() + 1;
    const unsigned rows = bits.Unsigned() + 1;
    set.frames_only = bits.Flag();
    if (!set.frames_only) bits.Skip(1);
    bits.Skip(1); // direct_8x8_inference
    if (columns > kMostMacroblocks || rows > kMostMacroblocks) return false;
    set.width = static_cast<int>(columns * 16);
    set.height = static_cast<int>(rows * 16 * (set.frames_only ? 1 : 2));
    if (bits.Flag()) {
        const unsigned across = set.ChromaArrayType() == 1 || set.ChromaArrayType() == 2 ? 2 : 1;
        const unsigned down = (set.ChromaArrayType() == 1 ? 2 : 1) * (set.frames_only ? 1 : 2);
        std::uint64_t edges[4];
        for (std::uint64_t& edge : edges)
            edge = bits.Unsigned();
        const std::uint64_t cut_across = (edges[0] + edges[1]) * across;
        const std::uint64_t cut_down = (edges[2] + edges[3]) * down;
        if (cut_across < static_cast<std::uint64_t>(set.width) &&
            cut_down < static_cast<std::uint64_t>(set.height)) {
            set.width -= static_cast<int>(cut_across);
            set.height -= static_cast<int>(cut_down);
        }
    }
    return true;
}

} // namespace

std::optional<SequenceParameters> ParseSequenceParameters(std::span<const std::uint8_t> payload) {
    BitReader bits(payload);
    SequenceParameters set;
    set.profile = bits.Bits(8);
    bits.Skip(8);
    set.level = bits.Bits(8);
    set.id = bits.Unsigned();
    if (set.id >= ParameterSets::kSequences) return std::nullopt;
    if (HasChromaFormat(set.profile)) {
        set.chroma_format = bits.Unsigned();
        if (set.chroma_format > 3) return std::nullopt;
        if (set.chroma_format == 3) set.separate_planes = bits.Flag();
        (void)bits.Unsigned();
        (void)bits.Unsigned();
        bits.Skip(1);
        if (bits.Flag()) {
            const unsigned lists = set.chroma_format == 3 ? 12 : 8;
            for (unsigned i = 0; i < lists; ++i) {
                if (bits.Flag()) SkipScalingList(bits, i < 6 ? 16 : 64);
            }
        }
    }
    set.frame_number_bits = bits.Unsigned() + 4;
    if (set.frame_number_bits > 16 || !ParseOrder(bits, set)) return std::nullopt;
    set.reference_frames = bits.Unsigned();
    bits.Skip(1); // gaps_in_frame_num_value_allowed
    if (!ParseSize(bits, set)) return std::nullopt;
    const bool usability = bits.Flag();
    if (bits.Overrun()) return std::nullopt;
    if (usability) ParseUsability(bits, set);
    return set;
}

std::optional<PictureParameters> ParsePictureParameters(std::span<const std::uint8_t> payload) {
    BitReader bits(payload);
    PictureParameters set;
    set.id = bits.Unsigned();
    set.sequence_id = bits.Unsigned();
    if (set.id >= ParameterSets::kPictures || set.sequence_id >= ParameterSets::kSequences)
        return std::nullopt;
    bits.Skip(1); // entropy coding
    set.bottom_order_present = bits.Flag();
    // Slice groups (baseline's flexible order) are not decoded by libavcodec; nothing after them is needed
    // then.
    if (bits.Unsigned() != 0) return bits.Overrun() ? std::nullopt : std::optional(set);
    for (unsigned& count : set.references_default)
        count = std::min(bits.Unsigned() + 1, 32U);
    set.weighted_prediction = bits.Flag();
    set.weighted_bipredictive = bits.Bits(2);
    (void)bits.Signed();
    (void)bits.Signed();
    (void)bits.Signed();
    bits.Skip(2);
    set.redundant_count_present = bits.Flag();
    if (bits.Overrun()) return std::nullopt;
    return set;
}

bool ParameterSets::Take(std::span<const std::uint8_t> nal) {
    if (nal.size() < 2) return false;
    const auto same = [&](const Bytes& bytes) {
        return std::equal(bytes->begin(), bytes->end(), nal.begin(), nal.end());
    };
    const unsigned type = nal[0] & 31;
    if (type == 7) {
        std::optional<SequenceParameters> set = ParseSequenceParameters(nal.subspan(1));
        if (!set) return false;
        std::unique_ptr<SequenceSlot>& slot = m_sequences[set->id];
        if (slot && same(slot->bytes)) return false;
        slot = std::make_unique<SequenceSlot>(SequenceSlot{
            std::move(*set), std::make_shared<const std::vector<std::uint8_t>>(nal.begin(), nal.end())});
        return true;
    }
    if (type != 8) return false;
    const std::optional<PictureParameters> set = ParsePictureParameters(nal.subspan(1));
    if (!set) return false;
    std::unique_ptr<PictureSlot>& slot = m_pictures[set->id];
    if (slot && same(slot->bytes)) return false;
    slot = std::make_unique<PictureSlot>(
        PictureSlot{*set, std::make_shared<const std::vector<std::uint8_t>>(nal.begin(), nal.end())});
    return true;
}

const PictureParameters* ParameterSets::Picture(unsigned id) const {
    return id < kPictures && m_pictures[id] ? &m_pictures[id]->parameters : nullptr;
}

const SequenceParameters* ParameterSets::Sequence(unsigned id) const {
    return id < kSequences && m_sequences[id] ? &m_sequences[id]->parameters : nullptr;
}

std::vector<ParameterSets::Bytes> ParameterSets::InForce() const {
    std::vector<Bytes> sets;
    for (const auto& slot : m_sequences) {
        if (slot) sets.push_back(slot->bytes);
    }
    for (const auto& slot : m_pictures) {
        if (slot) sets.push_back(slot->bytes);
    }
    return sets;
}

} // namespace ordune
