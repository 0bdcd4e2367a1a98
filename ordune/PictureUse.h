// Whether other pictures refer to a coded picture, as far as its own headers tell without decoding: H.264 by
// its reference number, HEVC by the unit's type, MPEG-1, 2 and 4 by its kind.
//
// Used by one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct AVCodecParameters;

namespace ordune {

class PictureUse {
  public:
    explicit PictureUse(const AVCodecParameters& parameters);

    // Of a unit as the container has it; true where it cannot be told. Units come in the order of decoding
    // from a key picture on: parameter sets among them count from there.
    bool Referenced(std::span<const std::uint8_t> unit);

  private:
    enum class Kind { Unknown, Avc, Hevc, Mpeg12, Mpeg4 };

    void TakeConfiguration(std::span<const std::uint8_t> configuration);
    // Goes through the unit's NAL units up to the one that tells.
    bool ReferencedByNal(std::span<const std::uint8_t> unit);
    // What the NAL unit tells: 1 referred to, 0 not, -1 nothing.
    int Tells(std::span<const std::uint8_t> nal);

    Kind m_kind = Kind::Unknown;
    std::size_t m_length_bytes = 0; // of the fields ahead of NAL units; 0 for start codes
    int m_highest_layer = -1;       // temporal layer of HEVC; -1: not known
};

} // namespace ordune
