// Owning wrappers of FFmpeg's objects and the translation of its error codes.
//
// Each kind of object is made and freed here and nowhere else in this library. The wrappers are plain
// std::unique_ptr: null means that there is none, or that memory ran out when it was to be made.
#pragma once

#include "ordune/Error.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

struct AVBSFContext;
struct AVCodecContext;
struct AVCodecParameters;
struct AVCodecParserContext;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;

namespace ordune::ffmpeg {

struct PacketFree {
    void operator()(AVPacket* packet) const;
};
struct FrameFree {
    void operator()(AVFrame* frame) const;
};
struct CodecContextFree {
    void operator()(AVCodecContext* context) const;
};
// Closes an input; a context with an AVIOContext of its caller's leaves that alone.
struct FormatContextFree {
    void operator()(AVFormatContext* context) const;
};
struct ParametersFree {
    void operator()(AVCodecParameters* parameters) const;
};
// Frees the context and its buffer; what it reads from stays open.
struct IoContextFree {
    void operator()(AVIOContext* context) const;
};
struct BitstreamFilterFree {
    void operator()(AVBSFContext* filter) const;
};
struct ParserFree {
    void operator()(AVCodecParserContext* parser) const;
};

using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;
using FramePtr = std::unique_ptr<AVFrame, FrameFree>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextFree>;
using FormatContextPtr = std::unique_ptr<AVFormatContext, FormatContextFree>;
using ParametersPtr = std::unique_ptr<AVCodecParameters, ParametersFree>;
using IoContextPtr = std::unique_ptr<AVIOContext, IoContextFree>;
using ParserPtr = std::unique_ptr<AVCodecParserContext, ParserFree>;
using BitstreamFilterPtr = std::unique_ptr<AVBSFContext, BitstreamFilterFree>;

PacketPtr MakePacket();
FramePtr MakeFrame();
ParametersPtr MakeParameters();
// A copy of all parameters, extradata included; null when out of memory.
ParametersPtr CloneParameters(const AVCodecParameters* from);
// Gives the parameters these bytes as extradata, in place of any they had; false when out of memory.
bool SetExtradata(AVCodecParameters& parameters, std::span<const std::uint8_t> bytes);

// A decoder for these parameters, opened, with `threads` threads (frame and slice threading as the codec
// can). Packet time stamps come back on frames unchanged. ErrorKind::UnknownCodec where libavcodec lacks it.
Result<CodecContextPtr> OpenDecoder(const AVCodecParameters* parameters, int threads,
                                    const std::string& file);

// FFmpeg's words for one of its error codes.
std::string ErrorText(int code);
// FFmpeg's error code as an error of this library: `doing` begins the text ("cannot open the file").
Error MakeError(int code, const std::string& doing, const std::string& file);

// The largest piece of memory that FFmpeg gives out at a time. Boxes of a few bytes ask for gigabytes; the
// index of a film of five days with sound and the largest picture of any codec need less than this.
inline constexpr std::size_t kLargestAllocation = std::size_t{512} << 20;

// Prepares FFmpeg, once for the process, before anything is opened or decoded: no word in its log, since this
// library tells what is wrong by values, and no allocation above kLargestAllocation. Any thread.
void SetUp();

// Told when a decoder gives up part of a picture as damaged, as far as its log says so, which H.264's does:
// on the thread that decodes, with the context that this thread has of the decoder. One listener for the
// process. Any thread.
using ErrorListener = void (*)(AVCodecContext* context);
void SetErrorListener(ErrorListener listener);

} // namespace ordune::ffmpeg
