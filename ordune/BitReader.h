// Bits of an H.264 NAL unit, most significant first, with emulation prevention bytes (the 03 of 00 00 03)
// taken out on the way (ITU-T H.264, 7.3.1 and 9.1). Reading past the end gives zeros and is remembered.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ordune {

class BitReader {
  public:
    // `payload` is what follows the start code and the NAL unit's header byte.
    explicit BitReader(std::span<const std::uint8_t> payload)
        : m_next(payload.data()), m_end(payload.data() + payload.size()) {}

    // Whether something was read that is not there.
    bool Overrun() const { return m_overrun; }
    // Bits not read yet, those of emulation prevention included.
    std::size_t BitsLeft() const { return static_cast<std::size_t>(m_end - m_next) * 8 + m_count; }

    // At most 32.
    std::uint32_t Bits(unsigned count) {
        if (count == 0) return 0;
        if (m_count < count) Refill();
        if (m_count < count) {
            m_overrun = true;
            m_count = 0;
            return 0;
        }
        m_count -= count;
        return static_cast<std::uint32_t>((m_cache >> m_count) & ((std::uint64_t{1} << count) - 1));
    }
    bool Flag() { return Bits(1) != 0; }
    void Skip(unsigned count) {
        for (; count > 32; count -= 32)
            (void)Bits(32);
        (void)Bits(count);
    }

    // Exp-Golomb, unsigned and signed.
    std::uint32_t Unsigned() {
        unsigned zeros = 0;
        while (!Flag()) {
            if (m_overrun || ++zeros > 31) {
                m_overrun = true;
                return 0;
            }
        }
        return ((std::uint32_t{1} << zeros) - 1) + Bits(zeros);
    }
    std::int32_t Signed() {
        const std::uint32_t code = Unsigned();
        const auto half = static_cast<std::int32_t>((code >> 1) + (code & 1));
        return (code & 1) != 0 ? half : -half;
    }

  private:
    void Refill() {
        while (m_count <= 56 && m_next < m_end) {
            const std::uint8_t byte = *m_next++;
            if (m_zeros >= 2 && byte == 3) {
                m_zeros = 0;
                continue;
            }
            m_zeros = byte == 0 ? m_zeros + 1 : 0;
            m_cache = (m_cache << 8) | byte;
            m_count += 8;
        }
    }

    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
    std::uint64_t m_cache = 0; // its lowest m_count bits are to be read
    unsigned m_count = 0;
    unsigned m_zeros = 0;
    bool m_overrun = false;
};

} // namespace ordune
