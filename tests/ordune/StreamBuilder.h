// Builds tiny raw H.264 streams bit by bit: headers are real, slice data is a few bytes of padding. For tests
// of what can be told without decoding.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ordune::test {

struct SequenceSpec {
    unsigned id = 0;
    unsigned order_type = 0;
    unsigned macroblock_columns = 4;
    bool frames_only = true;
    std::vector<int> offsets_in_cycle;
    int offset_for_non_reference = 0;
    unsigned units_in_tick = 0;
    unsigned time_scale = 0;
};

struct SliceSpec {
    unsigned type = 0; // 0 P, 1 B, 2 I
    unsigned reference_idc = 1;
    bool idr = false;
    unsigned first_macroblock = 0;
    unsigned frame_number = 0; // of 4 bits
    unsigned idr_id = 0;
    unsigned order_lsb = 0; // of 8 bits, order type 0
    bool field = false;
    bool bottom = false;
    bool resets = false;
};

class StreamBuilder {
  public:
    StreamBuilder& Sequence(const SequenceSpec& spec);
    StreamBuilder& Picture(unsigned id = 0, unsigned sequence_id = 0);
    StreamBuilder& RecoveryPoint(unsigned frames);
    StreamBuilder& Slice(const SliceSpec& spec);
    StreamBuilder& Bytes(const std::vector<std::uint8_t>& bytes);
    const std::vector<std::uint8_t>& Stream() const { return m_stream; }
    // Writes the stream to a file of this name in the tests' folder and returns its path.
    std::string Save(const std::string& name) const;

  private:
    void Nal(unsigned reference_idc, unsigned type, const std::vector<bool>& bits);

    std::vector<std::uint8_t> m_stream;
    SequenceSpec m_sequence;
};

} // namespace ordune::test
