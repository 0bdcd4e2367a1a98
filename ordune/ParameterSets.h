// Sequence and picture parameter sets of H.264 (ITU-T H.264, 7.3.2.1 and 7.3.2.2), as far as the order of
// pictures, their size and their timing need them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ordune {

struct SequenceParameters {
    unsigned id = 0;
    unsigned profile = 0;
    unsigned level = 0;
    bool separate_planes = false;
    unsigned chroma_format = 1;
    unsigned frame_number_bits = 4;
    unsigned order_type = 0;
    unsigned order_lsb_bits = 4;          // type 0
    bool order_delta_always_zero = false; // type 1
    std::int32_t offset_for_non_reference = 0;
    std::int32_t offset_for_top_to_bottom = 0;
    std::vector<std::int32_t> offsets_in_cycle;
    unsigned reference_frames = 0;
    bool frames_only = true;
    int width = 0; // as shown, cropped
    int height = 0;
    int aspect_numerator = 1;
    int aspect_denominator = 1;
    std::uint32_t units_in_tick = 0; // 0: no timing
    std::uint32_t time_scale = 0;
    std::optional<unsigned> reorder_frames;

    // Eight bits, 4:2:0, in a profile that every decoder has.
    bool IsUsual() const { return (profile == 66 || profile == 77 || profile == 100) && chroma_format == 1; }
    // Which of the colour planes a prediction weight table has: 0 for none but luma.
    unsigned ChromaArrayType() const { return separate_planes ? 0 : chroma_format; }
};

struct PictureParameters {
    unsigned id = 0;
    unsigned sequence_id = 0;
    bool bottom_order_present = false;
    unsigned references_default[2] = {1, 1};
    bool weighted_prediction = false;
    unsigned weighted_bipredictive = 0;
    bool redundant_count_present = false;
};

// `payload` follows the NAL unit's header byte. Nothing for what is cut off or makes no sense.
std::optional<SequenceParameters> ParseSequenceParameters(std::span<const std::uint8_t> payload);
std::optional<PictureParameters> ParsePictureParameters(std::span<const std::uint8_t> payload);

// The sets in force at a place of the stream, by their numbers.
class ParameterSets {
  public:
    static constexpr unsigned kSequences = 32;
    static constexpr unsigned kPictures = 256;
    // A set's own bytes, header byte included, without start code.
    using Bytes = std::shared_ptr<const std::vector<std::uint8_t>>;

    // Takes a whole NAL unit of type 7 or 8. True when that changed something.
    bool Take(std::span<const std::uint8_t> nal);

    // Null where there is none of this number.
    const PictureParameters* Picture(unsigned id) const;
    const SequenceParameters* Sequence(unsigned id) const;
    // All sets in force, sequences first.
    std::vector<Bytes> InForce() const;

  private:
    struct SequenceSlot {
        SequenceParameters parameters;
        Bytes bytes;
    };
    struct PictureSlot {
        PictureParameters parameters;
        Bytes bytes;
    };

    std::array<std::unique_ptr<SequenceSlot>, kSequences> m_sequences;
    std::array<std::unique_ptr<PictureSlot>, kPictures> m_pictures;
};

} // namespace ordune
