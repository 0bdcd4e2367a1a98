// A still scene that an encoder makes flash: flat pictures whose brightness jumps at key pictures.
#pragma once

#include "tests/support/AvHandles.h"
#include "tests/support/BarCode.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace dravo_tests {

// Picture n of the raw H.264 stream has luma `levels[n / group]` below its bar code; each group begins with a
// key picture. Throws std::runtime_error when it cannot be made.
inline void MakeFlashingClip(const std::string& path, int width, int height, int group,
                             const std::vector<int>& levels) {
    const support::CodecHandle encoder(avcodec_alloc_context3(avcodec_find_encoder_by_name("libx264")));
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, 25};
    encoder->framerate = {25, 1};
    encoder->gop_size = group;
    encoder->keyint_min = group;
    encoder->max_b_frames = 0;
    encoder->thread_count = 1;
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "preset", "ultrafast", 0);
    av_dict_set(&settings, "x264-params", "scenecut=0:qp=10:log-level=none", 0);
    const int code = avcodec_open2(encoder.get(), nullptr, &settings);
    av_dict_free(&settings);
    support::CheckAv(code, "opening the encoder");

    const support::FrameHandle frame(av_frame_alloc());
    frame->width = width;
    frame->height = height;
    frame->format = AV_PIX_FMT_YUV420P;
    support::CheckAv(av_frame_get_buffer(frame.get(), 0), "allocating a picture");
    const support::PacketHandle packet(av_packet_alloc());
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file) throw std::runtime_error("cannot write " + path);
    const auto drain = [&] {
        while (avcodec_receive_packet(encoder.get(), packet.get()) == 0) {
            std::fwrite(packet->data, 1, static_cast<std::size_t>(packet->size), file.get());
            av_packet_unref(packet.get());
        }
    };
    const int frames = group * static_cast<int>(levels.size());
    for (int number = 0; number < frames; ++number) {
        support::CheckAv(av_frame_make_writable(frame.get()), "making a picture writable");
        const int level = levels[static_cast<std::size_t>(number / group)];
        std::memset(frame->data[0], level, static_cast<std::size_t>(frame->linesize[0] * height));
        for (const int plane : {1, 2})
            std::memset(frame->data[plane], 128,
                        static_cast<std::size_t>(frame->linesize[plane] * height / 2));
        support::DrawBarCode(frame->data[0], frame->linesize[0], width, height, number);
        frame->pts = number;
        support::CheckAv(avcodec_send_frame(encoder.get(), frame.get()), "encoding a picture");
        drain();
    }
    support::CheckAv(avcodec_send_frame(encoder.get(), nullptr), "ending the pictures");
    drain();
}

} // namespace dravo_tests
