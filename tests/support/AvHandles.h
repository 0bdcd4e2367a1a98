// Owners of libav objects for the tests' own use: what makes and checks clips must not lean on what it
// checks.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace support {

struct AvDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(AVFormatContext* context) const {
        if (context->iformat != nullptr) {
            avformat_close_input(&context);
            return;
        }
        if (context->pb != nullptr) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};

using FrameHandle = std::unique_ptr<AVFrame, AvDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, AvDeleter>;
using CodecHandle = std::unique_ptr<AVCodecContext, AvDeleter>;
using SwsHandle = std::unique_ptr<SwsContext, AvDeleter>;
using FormatHandle = std::unique_ptr<AVFormatContext, AvDeleter>;

// Throws std::runtime_error with libav's own text when `code` is an error; gives it back otherwise.
inline int CheckAv(int code, const std::string& what) {
    if (code >= 0) return code;
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    throw std::runtime_error(what + ": " + text);
}

} // namespace support
