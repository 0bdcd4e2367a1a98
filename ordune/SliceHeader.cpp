#include "ordune/SliceHeader.h"

#include "ordune/BitReader.h"

#include <algorithm>

namespace ordune {

namespace {

constexpr unsigned kMostOperations = 66; // of each list in a slice header; more is nonsense

bool SkipListModification(BitReader& bits, unsigned lists) {
    for (unsigned list = 0; list < lists; ++list) {
        if (!bits.Flag()) continue;
        unsigned count = 0;
        while (bits.Unsigned() != 3) {
            (void)bits.Unsigned();
            if (bits.Overrun() || ++count > kMostOperations) return false;
        }
    }
    return true;
}

void SkipWeights(BitReader& bits, unsigned lists, const unsigned (&references)[2], bool chroma) {
    (void)bits.Unsigned();
    if (chroma) (void)bits.Unsigned();
    for (unsigned list = 0; list < lists; ++list) {
        for (unsigned i = 0; i < references[list] && !bits.Overrun(); ++i) {
            if (bits.Flag()) {
                (void)bits.Signed();
                (void)bits.Signed();
            }
            if (chroma && bits.Flag()) {
                for (int value = 0; value < 4; ++value)
                    (void)bits.Signed();
            }
        }
    }
}

bool FindReset(BitReader& bits) {
    if (!bits.Flag()) return false;
    bool reset = false;
    for (unsigned count = 0; count < kMostOperations; ++count) {
        const unsigned operation = bits.Unsigned();
        if (operation == 0 || bits.Overrun()) break;
        if (operation == 5) reset = true;
        if (operation == 1 || operation == 2 || operation == 4 || operation == 6) (void)bits.Unsigned();
        if (operation == 3) {
            (void)bits.Unsigned();
            (void)bits.Unsigned();
        }
    }
    return reset && !bits.Overrun();
}

void ParseOrder(BitReader& bits, const SequenceParameters& sequence, const PictureParameters& picture,
                SliceHeader& slice) {
    if (sequence.order_type == 0) {
        slice.order_lsb = bits.Bits(sequence.order_lsb_bits);
        if (picture.bottom_order_present && !slice.field) slice.delta_bottom = bits.Signed();
    }
    if (sequence.order_type == 1 && !sequence.order_delta_always_zero) {
        slice.delta_order[0] = bits.Signed();
        if (picture.bottom_order_present && !slice.field) slice.delta_order[1] = bits.Signed();
    }
}

// From the redundant count on to the marking of reference pictures, which is at the end of what matters.
void ParseReset(BitReader& bits, const SequenceParameters& sequence, const PictureParameters& picture,
                SliceHeader& slice) {
    if (slice.kind == SliceHeader::Kind::B) bits.Skip(1);
    unsigned references[2] = {picture.references_default[0], picture.references_default[1]};
    const unsigned lists = slice.kind == SliceHeader::Kind::I   ? 0
                           : slice.kind == SliceHeader::Kind::P ? 1
                                                                : 2;
    if (lists > 0 && bits.Flag()) {
        for (unsigned list = 0; list < lists; ++list)
            references[list] = std::min(bits.Unsigned() + 1, 33U);
    }
    if (!SkipListModification(bits, lists)) return;
    const bool weighted = (picture.weighted_prediction && slice.kind == SliceHeader::Kind::P) ||
                          (picture.weighted_bipredictive == 1 && slice.kind == SliceHeader::Kind::B);
    if (weighted) SkipWeights(bits, lists, references, sequence.ChromaArrayType() != 0);
    slice.resets = FindReset(bits);
}

} // namespace

std::optional<SliceHeader> ParseSliceHeader(std::span<const std::uint8_t> nal, const ParameterSets& sets) {
    if (nal.size() < 2) return std::nullopt;
    SliceHeader slice;
    slice.reference_idc = (nal[0] >> 5) & 3;
    slice.idr = (nal[0] & 31) == 5;
    BitReader bits(nal.subspan(1));
    slice.first_macroblock = bits.Unsigned();
    const unsigned type = bits.Unsigned();
    slice.picture_set = bits.Unsigned();
    if (bits.Overrun() || type > 9) return std::nullopt;
    // Table 7-6: P, B, I, SP, SI, and the same again.
    constexpr SliceHeader::Kind kKinds[] = {SliceHeader::Kind::P, SliceHeader::Kind::B, SliceHeader::Kind::I,
                                            SliceHeader::Kind::P, SliceHeader::Kind::I};
    slice.kind = kKinds[type % 5];
    const PictureParameters* picture = sets.Picture(slice.picture_set);
    const SequenceParameters* sequence = picture ? sets.Sequence(picture->sequence_id) : nullptr;
    if (!sequence) return std::nullopt;
    if (sequence->separate_planes) bits.Skip(2);
    slice.frame_number = bits.Bits(sequence->frame_number_bits);
    if (!sequence->frames_only) {
        slice.field = bits.Flag();
        if (slice.field) slice.bottom = bits.Flag();
    }
    if (slice.idr) slice.idr_id = bits.Unsigned();
    ParseOrder(bits, *sequence, *picture, slice);
    if (picture->redundant_count_present) slice.redundant_count = bits.Unsigned();
    if (bits.Overrun()) return std::nullopt;
    if (slice.reference_idc != 0 && !slice.idr) ParseReset(bits, *sequence, *picture, slice);
    return slice;
}

bool BeginsPicture(const SliceHeader& first, const SliceHeader& second) {
    // Cameras are known that give every IDR picture the same number, so that only its first slice tells it
    // apart. The slices of one picture may use several picture parameter sets.
    return second.first_macroblock == 0 || first.frame_number != second.frame_number ||
           first.field != second.field || first.bottom != second.bottom ||
           (first.reference_idc == 0) != (second.reference_idc == 0) || first.idr != second.idr ||
           (first.idr && first.idr_id != second.idr_id) || first.order_lsb != second.order_lsb ||
           first.delta_bottom != second.delta_bottom || first.delta_order[0] != second.delta_order[0] ||
           first.delta_order[1] != second.delta_order[1];
}

} // namespace ordune
