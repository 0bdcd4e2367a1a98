#include "ordune/FormatInput.h"

#include "ordune/Mp4Claims.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ordune {

namespace {

constexpr int kIoBytes = 64 * 1024;
constexpr std::int64_t kProbeBytes = 4 << 20;
constexpr std::int64_t kProbeTime = 3 * AV_TIME_BASE;
constexpr int kMostStreams = 64; // a real recording has a handful; a hostile file can claim millions

Error OpenFailure(int code, const FileSource& file) {
    if (code == AVERROR(ENOMEM) || code == AVERROR_EXIT)
        return ffmpeg::MakeError(code, "cannot open the file", file.Path());
    if (file.Size() == 0)
        return {ErrorKind::NotMedia, "the file is empty; record or copy it again", file.Path()};
    if (code == AVERROR(EIO)) return ffmpeg::MakeError(code, "the file cannot be read", file.Path());
    return {ErrorKind::NotMedia,
            "this is not a recording that can be played (" + ffmpeg::ErrorText(code) +
                "); if it was copied, check that the copy is whole",
            file.Path()};
}

} // namespace

int FormatInput::Interrupted(void* self) {
    return static_cast<FormatInput*>(self)->m_cancel.Cancelled() ? 1 : 0;
}

int FormatInput::Read(void* self, std::uint8_t* buffer, int count) {
    auto* input = static_cast<FormatInput*>(self);
    if (input->m_cancel.Cancelled()) return AVERROR_EXIT;
    const std::int64_t left = input->m_file->Size() - input->m_position;
    if (left <= 0) return AVERROR_EOF;
    const std::int64_t want = count < left ? count : left;
    const std::int64_t got = input->m_file->ReadAt(input->m_position, buffer, static_cast<std::size_t>(want));
    if (got < 0) return AVERROR(EIO);
    if (got == 0) return AVERROR_EOF;
    input->m_position += got;
    return static_cast<int>(got);
}

std::int64_t FormatInput::Seek(void* self, std::int64_t offset, int whence) {
    auto* input = static_cast<FormatInput*>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return input->m_file->Size();
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += input->m_position;
        break;
    case SEEK_END:
        offset += input->m_file->Size();
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) return AVERROR(EINVAL);
    input->m_position = offset;
    return offset;
}

Result<std::unique_ptr<FormatInput>> FormatInput::Open(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) {
    ffmpeg::QuietLog();
    std::unique_ptr<FormatInput> input(new FormatInput(std::move(file), std::move(cancel)));
    const FileSource& source = *input->m_file;
    if (IsTooMuch(CountClaimedSamples(source), source.Size())) {
        return Error{ErrorKind::Damaged,
                     "the file claims to hold more pictures or sound than it has room for", source.Path()};
    }
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBytes));
    if (!buffer) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot open the file", source.Path());
    input->m_io.reset(avio_alloc_context(buffer, kIoBytes, 0, input.get(), Read, nullptr, Seek));
    if (!input->m_io) {
        av_free(buffer);
        return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot open the file", source.Path());
    }
    AVFormatContext* context = avformat_alloc_context();
    if (!context) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot open the file", source.Path());
    context->pb = input->m_io.get();
    context->interrupt_callback = {Interrupted, input.get()};
    context->max_streams = kMostStreams;
    AVDictionary* options = nullptr;
    // A playlist or an MP4 with references could name other files and hosts: none may be opened.
    av_dict_set(&options, "protocol_whitelist", "", 0);
    av_dict_set(&options, "enable_drefs", "0", 0);
    const int code = avformat_open_input(&context, "", nullptr, &options);
    av_dict_free(&options);
    if (code < 0) return OpenFailure(code, source);
    input->m_context.reset(context);
    return Result<std::unique_ptr<FormatInput>>(std::move(input));
}

FormatInput::~FormatInput() = default;

const char* FormatInput::FormatName() const {
    return m_context->iformat->name;
}

bool FormatInput::IsMp4() const {
    return std::strncmp(FormatName(), "mov,", 4) == 0;
}

void FormatInput::ReadOnly(int stream_index) const {
    for (unsigned i = 0; i < m_context->nb_streams; ++i) {
        m_context->streams[i]->discard =
            static_cast<int>(i) == stream_index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

void FormatInput::FindStreamInfo() const {
    m_context->probesize = kProbeBytes;
    m_context->max_analyze_duration = kProbeTime;
    // What it did not find out shows in the parameters, which the caller looks at.
    (void)avformat_find_stream_info(m_context.get(), nullptr);
}

AVStream* FindVideoStream(AVFormatContext* context) {
    AVStream* found = nullptr;
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        AVStream* stream = context->streams[i];
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) continue;
        if (stream->disposition & (AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS)) continue;
        const bool better = !found || ((stream->disposition & AV_DISPOSITION_DEFAULT) &&
                                       !(found->disposition & AV_DISPOSITION_DEFAULT));
        if (better) found = stream;
    }
    return found;
}

AVStream* FindSoundStream(AVFormatContext* context, const AVStream* video) {
    const int index =
        av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, video ? video->index : -1, nullptr, 0);
    return index >= 0 ? context->streams[index] : nullptr;
}

} // namespace ordune
