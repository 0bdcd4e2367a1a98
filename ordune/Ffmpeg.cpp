#include "ordune/Ffmpeg.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <mutex>

namespace ordune::ffmpeg {

void PacketFree::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}
void FrameFree::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}
void CodecContextFree::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}
void FormatContextFree::operator()(AVFormatContext* context) const {
    avformat_close_input(&context);
}
void ParametersFree::operator()(AVCodecParameters* parameters) const {
    avcodec_parameters_free(&parameters);
}
void IoContextFree::operator()(AVIOContext* context) const {
    if (context) av_freep(&context->buffer);
    avio_context_free(&context);
}
void BitstreamFilterFree::operator()(AVBSFContext* filter) const {
    av_bsf_free(&filter);
}
void ParserFree::operator()(AVCodecParserContext* parser) const {
    av_parser_close(parser);
}

PacketPtr MakePacket() {
    return PacketPtr(av_packet_alloc());
}
FramePtr MakeFrame() {
    return FramePtr(av_frame_alloc());
}
ParametersPtr MakeParameters() {
    return ParametersPtr(avcodec_parameters_alloc());
}

ParametersPtr CloneParameters(const AVCodecParameters* from) {
    ParametersPtr copy = MakeParameters();
    if (copy && avcodec_parameters_copy(copy.get(), from) < 0) copy.reset();
    return copy;
}

bool SetExtradata(AVCodecParameters& parameters, std::span<const std::uint8_t> bytes) {
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.extradata =
        static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters.extradata) return false;
    std::copy(bytes.begin(), bytes.end(), parameters.extradata);
    parameters.extradata_size = static_cast<int>(bytes.size());
    return true;
}

Result<CodecContextPtr> OpenDecoder(const AVCodecParameters* parameters, int threads,
                                    const std::string& file) {
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) {
        return Error{ErrorKind::UnknownCodec,
                     std::string("no decoder for ") + avcodec_get_name(parameters->codec_id) +
                         " is installed; convert the file to H.264 to watch it",
                     file};
    }
    CodecContextPtr context(avcodec_alloc_context3(codec));
    if (!context) return MakeError(AVERROR(ENOMEM), "cannot make a decoder", file);
    int code = avcodec_parameters_to_context(context.get(), parameters);
    if (code < 0) return MakeError(code, "cannot make a decoder", file);
    context->thread_count = threads;
    code = avcodec_open2(context.get(), codec, nullptr);
    if (code < 0) return MakeError(code, "cannot open the decoder", file);
    return Result<CodecContextPtr>(std::move(context));
}

std::string ErrorText(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    if (av_strerror(code, text.data(), text.size()) < 0) return "unknown error";
    return text.data();
}

static ErrorKind KindOf(int code) {
    switch (code) {
    case AVERROR(ENOENT):
        return ErrorKind::NotFound;
    case AVERROR(EACCES):
    case AVERROR(EPERM):
        return ErrorKind::NotPermitted;
    case AVERROR(ENOMEM):
        return ErrorKind::OutOfMemory;
    case AVERROR_EXIT:
        return ErrorKind::Cancelled;
    case AVERROR_DECODER_NOT_FOUND:
    case AVERROR(ENOSYS):
    case AVERROR_PATCHWELCOME:
        return ErrorKind::UnknownCodec;
    case AVERROR_INVALIDDATA:
    case AVERROR_EOF:
        return ErrorKind::Damaged;
    default:
        return ErrorKind::Io;
    }
}

Error MakeError(int code, const std::string& doing, const std::string& file) {
    return Error{KindOf(code), doing + ": " + ErrorText(code), file};
}

static std::atomic<ErrorListener> error_listener{nullptr};

// Called for every sample of an MP4 file, at whatever level: to leave at once costs least.
static void OnLog(void* object, int level, const char*, va_list) {
    if (level > AV_LOG_ERROR || !object || *static_cast<const AVClass**>(object) != avcodec_get_class())
        return;
    if (const ErrorListener listener = error_listener.load()) listener(static_cast<AVCodecContext*>(object));
}

void SetErrorListener(ErrorListener listener) {
    error_listener = listener;
}

void SetUp() {
    static std::once_flag once;
    std::call_once(once, [] {
        av_max_alloc(kLargestAllocation);
        av_log_set_level(AV_LOG_QUIET);
        av_log_set_callback(OnLog);
    });
}

} // namespace ordune::ffmpeg
