// The order of presentation of packets in containers that have no times for it (AVI, raw streams), from the
// coded pictures' own headers as libavcodec's parsers read them.
//
// Used by one thread.
#pragma once

#include "ordune/ContainerUnits.h"
#include "ordune/Ffmpeg.h"

#include <cstdint>
#include <memory>

struct AVCodecParameters;
struct AVPacket;

namespace ordune {

class StreamOrder {
  public:
    // Null for codecs that show pictures in the order of decoding, or of which nothing is known.
    static std::unique_ptr<StreamOrder> Make(const AVCodecParameters& parameters);

    // Gives the unit of the next packet, in the order of decoding, its place: `time` is one to be sorted by
    // within its period.
    void Take(const AVPacket& packet, ContainerUnit& unit);

  private:
    StreamOrder(ffmpeg::CodecContextPtr context, ffmpeg::ParserPtr parser, bool counts, bool hevc)
        : m_context(std::move(context)), m_parser(std::move(parser)), m_counts(counts), m_hevc(hevc) {}
    void PlaceByCount(ContainerUnit& unit);
    void PlaceByKind(ContainerUnit& unit);

    const ffmpeg::CodecContextPtr m_context;
    const ffmpeg::ParserPtr m_parser;
    const bool m_counts; // pictures carry a picture order count; else B pictures precede the one before
    const bool m_hevc;

    std::int64_t m_greatest = 0; // count of the period
    std::int64_t m_first_key = 0;
    bool m_leading = false; // of the first group
    bool m_begun = false;
    std::int64_t m_anchors = 0;
    std::int64_t m_between = 0;
};

} // namespace ordune
