#include "ordune/PictureProbe.h"

#include "ordune/Ffmpeg.h"
#include "ordune/WorkClock.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <chrono>

namespace ordune {

namespace {

// A refusal has to come within two seconds, whatever the file does. Of the thread's own time, and the decoder
// has no other thread: a file is not refused because the machine is busy.
constexpr std::chrono::milliseconds kPatience{1000};

Error NothingToSee(const std::string& path) {
    return {ErrorKind::NoVideo, "not one picture of this file can be decoded; it is damaged beyond playing",
            path};
}

} // namespace

Result<void> ProbeForPicture(const AVCodecParameters& parameters, UnitReader& reader, const std::string& path,
                             PictureSize* size) {
    Result<ffmpeg::CodecContextPtr> decoder = ffmpeg::OpenDecoder(&parameters, 1, path);
    if (!decoder) return decoder.Failure();
    AVCodecContext* context = decoder.Value().get();
    // The first picture is enough, in whatever order they come.
    context->has_b_frames = 0;
    context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    const ffmpeg::FramePtr frame = ffmpeg::MakeFrame();
    if (!frame) return Error{ErrorKind::OutOfMemory, "not enough memory to open the file", path};
    const auto seen = [&] {
        if (avcodec_receive_frame(context, frame.get()) < 0) return false;
        if (size) *size = {frame->width, frame->height};
        return true;
    };
    const auto deadline = WorkTime() + kPatience;
    bool more = true;
    for (int units = 0; more && WorkTime() < deadline; ++units) {
        Result<std::optional<CodedUnit>> unit = reader.Next();
        if (!unit) return unit.Failure();
        more = unit.Value().has_value();
        (void)avcodec_send_packet(context, more ? unit.Value()->packet : nullptr);
        if (seen()) return {};
        if (units > 0 || !more) continue;
        // The first picture alone, without waiting for those that may be shown ahead of it: in nearly every
        // file this is all that is decoded.
        (void)avcodec_send_packet(context, nullptr);
        if (seen()) return {};
        avcodec_flush_buffers(context);
    }
    return NothingToSee(path);
}

} // namespace ordune
