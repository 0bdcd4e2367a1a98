#include "ordune/StreamOrder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <utility>

namespace ordune {

namespace {

// More pictures than can stand between two that others refer to.
constexpr std::int64_t kBetween = 1 << 16;

} // namespace

std::unique_ptr<StreamOrder> StreamOrder::Make(const AVCodecParameters& parameters) {
    bool counts = false;
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
        counts = true;
        break;
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
        break;
    default:
        return nullptr;
    }
    ffmpeg::ParserPtr parser(av_parser_init(parameters.codec_id));
    ffmpeg::CodecContextPtr context(avcodec_alloc_context3(nullptr));
    if (!parser || !context || avcodec_parameters_to_context(context.get(), &parameters) < 0) return nullptr;
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    return std::unique_ptr<StreamOrder>(new StreamOrder(std::move(context), std::move(parser), counts,
                                                        parameters.codec_id == AV_CODEC_ID_HEVC));
}

void StreamOrder::Take(const AVPacket& packet, ContainerUnit& unit) {
    std::uint8_t* data = nullptr;
    int size = 0;
    (void)av_parser_parse2(m_parser.get(), m_context.get(), &data, &size, packet.data, packet.size,
                           AV_NOPTS_VALUE, AV_NOPTS_VALUE, packet.pos);
    m_counts ? PlaceByCount(unit) : PlaceByKind(unit);
    m_begun = true;
}

void StreamOrder::PlaceByCount(ContainerUnit& unit) {
    const std::int64_t count = m_parser->output_picture_number;
    const bool key = m_parser->key_frame == 1;
    // Pictures are shown behind every key before theirs, but for one that begins the count anew.
    unit.new_period = !m_begun || (key && count <= m_greatest);
    m_greatest = unit.new_period ? count : std::max(m_greatest, count);
    unit.time = count;
    if (!m_hevc) return;
    // At the very beginning, pictures ahead of a key refer to what is not there: the decoder leaves them out.
    if (key) {
        m_leading = !m_begun;
        m_first_key = count;
    } else if (m_leading && count < m_first_key) {
        unit.shown = false;
    }
}

void StreamOrder::PlaceByKind(ContainerUnit& unit) {
    if (m_parser->pict_type == AV_PICTURE_TYPE_B && m_anchors > 0) {
        unit.time = (m_anchors - 1) * kBetween + std::min(++m_between, kBetween - 1);
        return;
    }
    unit.time = ++m_anchors * kBetween;
    m_between = 0;
}

} // namespace ordune
