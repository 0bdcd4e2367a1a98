#include "tests/ordune/LinearPass.h"

#include "ordune/Ffmpeg.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace ordune::test {

std::uint32_t CountPictures(const std::string& path) {
    ffmpeg::SetUp();
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, ("file:" + path).c_str(), nullptr, nullptr) < 0) return 0;
    const ffmpeg::FormatContextPtr context(raw);
    if (avformat_find_stream_info(raw, nullptr) < 0) return 0;
    const int index = av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0) return 0;
    Result<ffmpeg::CodecContextPtr> decoder = ffmpeg::OpenDecoder(raw->streams[index]->codecpar, 1, path);
    if (!decoder) return 0;
    const ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    const ffmpeg::FramePtr frame = ffmpeg::MakeFrame();
    std::uint32_t count = 0;
    const auto drain = [&] {
        while (avcodec_receive_frame(decoder.Value().get(), frame.get()) >= 0)
            ++count;
    };
    while (av_read_frame(raw, packet.get()) >= 0) {
        if (packet->stream_index == index) {
            (void)avcodec_send_packet(decoder.Value().get(), packet.get());
            drain();
        }
        av_packet_unref(packet.get());
    }
    (void)avcodec_send_packet(decoder.Value().get(), nullptr);
    drain();
    return count;
}

std::vector<UnitNumber> UnitsInOrderOfOutput(const MediaFile& file) {
    std::vector<UnitNumber> units;
    Result<ffmpeg::CodecContextPtr> decoder = ffmpeg::OpenDecoder(file.VideoParameters(), 1, file.Path());
    Result<std::unique_ptr<UnitReader>> reader = file.MakeUnitReader();
    const ffmpeg::FramePtr frame = ffmpeg::MakeFrame();
    if (!decoder || !reader) return units;
    const auto drain = [&] {
        while (avcodec_receive_frame(decoder.Value().get(), frame.get()) >= 0) {
            const auto unit = static_cast<UnitNumber>(frame->pts);
            if (file.Index().FrameOf(unit) != kNoFrame) units.push_back(unit);
        }
    };
    for (;;) {
        Result<std::optional<CodedUnit>> unit = reader.Value()->Next();
        if (!unit || !unit.Value()) break;
        (void)avcodec_send_packet(decoder.Value().get(), unit.Value()->packet);
        drain();
    }
    (void)avcodec_send_packet(decoder.Value().get(), nullptr);
    drain();
    return units;
}

} // namespace ordune::test
