#include "tests/ordune/StreamBuilder.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace ordune::test {

namespace {

class Bits {
  public:
    void Put(std::uint32_t value, unsigned count) {
        while (count-- > 0)
            m_bits.push_back(((value >> count) & 1) != 0);
    }
    void Unsigned(std::uint32_t value) {
        unsigned length = 0;
        while (((value + 1) >> (length + 1)) != 0)
            ++length;
        Put(0, length);
        Put(value + 1, length + 1);
    }
    void Signed(std::int32_t value) {
        Unsigned(static_cast<std::uint32_t>(value > 0 ? 2 * value - 1 : -2 * value));
    }
    const std::vector<bool>& All() const { return m_bits; }

  private:
    std::vector<bool> m_bits;
};

} // namespace

void StreamBuilder::Nal(unsigned reference_idc, unsigned type, const std::vector<bool>& bits) {
    std::vector<std::uint8_t> payload;
    std::vector<bool> all = bits;
    all.push_back(true);
    while (all.size() % 8 != 0)
        all.push_back(false);
    for (std::size_t i = 0; i < all.size(); i += 8) {
        unsigned byte = 0;
        for (std::size_t j = 0; j < 8; ++j)
            byte = byte << 1 | (all[i + j] ? 1U : 0U);
        payload.push_back(static_cast<std::uint8_t>(byte));
    }
    m_stream.insert(m_stream.end(), {0, 0, 0, 1, static_cast<std::uint8_t>(reference_idc << 5 | type)});
    unsigned zeros = 0;
    for (const std::uint8_t byte : payload) {
        if (zeros >= 2 && byte <= 3) {
            m_stream.push_back(3);
            zeros = 0;
        }
        m_stream.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

StreamBuilder& StreamBuilder::Sequence(const SequenceSpec& spec) {
    m_sequence = spec;
    Bits bits;
    bits.Put(77, 8);
    bits.Put(0, 8);
    bits.Put(30, 8);
    bits.Unsigned(spec.id);
    bits.Unsigned(0); // 4 bits of frame number
    bits.Unsigned(spec.order_type);
    if (spec.order_type == 0) bits.Unsigned(4); // 8 bits
    if (spec.order_type == 1) {
        bits.Put(1, 1);
        bits.Signed(spec.offset_for_non_reference);
        bits.Signed(0);
        bits.Unsigned(static_cast<std::uint32_t>(spec.offsets_in_cycle.size()));
        for (const int offset : spec.offsets_in_cycle)
            bits.Signed(offset);
    }
    bits.Unsigned(4);
    bits.Put(0, 1);
    bits.Unsigned(spec.macroblock_columns - 1);
    bits.Unsigned(3);
    bits.Put(spec.frames_only ? 1 : 0, 1);
    if (!spec.frames_only) bits.Put(0, 1);
    bits.Put(1, 1);
    bits.Put(0, 1);
    bits.Put(spec.time_scale != 0 ? 1 : 0, 1);
    if (spec.time_scale != 0) {
        bits.Put(0, 4); // aspect, overscan, signal, chroma place
        bits.Put(1, 1);
        bits.Put(spec.units_in_tick, 32);
        bits.Put(spec.time_scale, 32);
        bits.Put(1, 1);
        bits.Put(0, 4); // models, structure, restriction
    }
    Nal(3, 7, bits.All());
    return *this;
}

StreamBuilder& StreamBuilder::Picture(unsigned id, unsigned sequence_id) {
    Bits bits;
    bits.Unsigned(id);
    bits.Unsigned(sequence_id);
    bits.Put(0, 2);
    bits.Unsigned(0);
    bits.Unsigned(0);
    bits.Unsigned(0);
    bits.Put(0, 3);
    for (int i = 0; i < 3; ++i)
        bits.Signed(0);
    bits.Put(0, 3);
    Nal(3, 8, bits.All());
    return *this;
}

StreamBuilder& StreamBuilder::RecoveryPoint(unsigned frames) {
    Bits bits;
    Bits message;
    message.Unsigned(frames);
    message.Put(0b0100, 4);
    while (message.All().size() % 8 != 0)
        message.Put(0, 1);
    bits.Put(6, 8);
    bits.Put(static_cast<std::uint32_t>(message.All().size() / 8), 8);
    for (const bool bit : message.All())
        bits.Put(bit ? 1 : 0, 1);
    Nal(0, 6, bits.All());
    return *this;
}

StreamBuilder& StreamBuilder::Slice(const SliceSpec& spec) {
    Bits bits;
    bits.Unsigned(spec.first_macroblock);
    bits.Unsigned(spec.type);
    bits.Unsigned(0);
    bits.Put(spec.frame_number, 4);
    if (!m_sequence.frames_only) {
        bits.Put(spec.field ? 1 : 0, 1);
        if (spec.field) bits.Put(spec.bottom ? 1 : 0, 1);
    }
    if (spec.idr) bits.Unsigned(spec.idr_id);
    if (m_sequence.order_type == 0) bits.Put(spec.order_lsb, 8);
    if (spec.type == 1) bits.Put(1, 1);
    if (spec.type != 2) bits.Put(0, 1);                      // number of references as in the picture set
    if (spec.type != 2) bits.Put(0, spec.type == 1 ? 2 : 1); // lists as they are
    if (spec.reference_idc != 0) {
        if (spec.idr) {
            bits.Put(0, 2);
        } else {
            bits.Put(spec.resets ? 1 : 0, 1);
            if (spec.resets) {
                bits.Unsigned(5);
                bits.Unsigned(0);
            }
        }
    }
    bits.Put(0x5a5a5a5a, 32);
    Nal(spec.reference_idc, spec.idr ? 5 : 1, bits.All());
    return *this;
}

StreamBuilder& StreamBuilder::Bytes(const std::vector<std::uint8_t>& bytes) {
    m_stream.insert(m_stream.end(), bytes.begin(), bytes.end());
    return *this;
}

std::string StreamBuilder::Save(const std::string& name) const {
    const std::filesystem::path folder =
        std::filesystem::path(TALVIO_TEST_WORK_DIR) / ("streams-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    const std::string path = folder / name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(m_stream.data()), static_cast<std::streamsize>(m_stream.size()));
    return path;
}

} // namespace ordune::test
