#include "ordune/FormatInput.h"

#include "ordune/Mp4Claims.h"
#include "ordune/WorkClock.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

namespace ordune {

namespace {

constexpr int kIoBytes = 64 * 1024;
constexpr std::int64_t kProbeBytes = 4 << 20;
constexpr std::int64_t kProbeTime = 3 * AV_TIME_BASE;
constexpr int kMostStreams = 64; // a real recording has a handful; a hostile file can claim millions

constexpr std::int64_t kUnbounded = std::numeric_limits<std::int64_t>::max();
// The tables of a day's recording, 3 million pictures and pieces of sound, take 450 ms.
constexpr std::chrono::milliseconds kLongestOpening{1000};
// Headers without an index: a millisecond. Several recordings' may be looked at to open one.
constexpr std::chrono::milliseconds kLongestHeaders{100};
// An index of a day's pictures and sound, or fonts and covers, take some ten MB. MP4's boxes come on top,
// each with what is read along with it.
constexpr std::int64_t kMostHeaderBytes = 128 << 20;
// Packets of some kProbeBytes are looked at, and what lies between them.
constexpr std::int64_t kMostInfoBytes = 32 << 20;
// The largest packets are read in a tenth of it, as are minutes of other streams between two pictures.
constexpr std::chrono::milliseconds kLongestPacket{500};
constexpr std::chrono::nanoseconds kAnyTime = std::chrono::nanoseconds::max();

std::atomic<FormatInput::WorkClock> work_clock{WorkTime};

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

std::int64_t FormatInput::Size() const {
    return m_headers.empty() ? m_file->Size() : static_cast<std::int64_t>(m_headers.size());
}

void FormatInput::SetWorkClock(WorkClock clock) {
    work_clock = clock ? clock : WorkTime;
}

void FormatInput::BeginWork(std::int64_t bytes, std::chrono::nanoseconds time) {
    m_bytes_left = bytes;
    m_time_allowed = time;
    m_work_began.reset();
}

bool FormatInput::GivenUp() {
    if (m_cancel.Cancelled() || m_bytes_left <= 0) return true;
    if (m_time_allowed == kAnyTime) return false;
    const std::chrono::nanoseconds now = work_clock.load()();
    if (!m_work_began) m_work_began = now;
    return now - *m_work_began > m_time_allowed;
}

int FormatInput::Interrupted(void* self) {
    return static_cast<FormatInput*>(self)->GivenUp() ? 1 : 0;
}

int FormatInput::Read(void* self, std::uint8_t* buffer, int count) {
    auto* input = static_cast<FormatInput*>(self);
    if (input->GivenUp()) return AVERROR_EXIT;
    const std::int64_t left = input->Size() - input->m_position;
    if (left <= 0) return AVERROR_EOF;
    const std::int64_t want = count < left ? count : left;
    if (!input->m_headers.empty()) {
        std::memcpy(buffer, input->m_headers.data() + input->m_position, static_cast<std::size_t>(want));
        input->m_position += want;
        return static_cast<int>(want);
    }
    const std::int64_t got = input->m_file->ReadAt(input->m_position, buffer, static_cast<std::size_t>(want));
    if (got < 0) return AVERROR(EIO);
    if (got == 0) return AVERROR_EOF;
    input->m_position += got;
    if (input->m_bytes_left != kUnbounded) input->m_bytes_left -= got;
    return static_cast<int>(got);
}

std::int64_t FormatInput::Seek(void* self, std::int64_t offset, int whence) {
    auto* input = static_cast<FormatInput*>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return input->Size();
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += input->m_position;
        break;
    case SEEK_END:
        offset += input->Size();
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) return AVERROR(EINVAL);
    input->m_position = offset;
    return offset;
}

Result<std::unique_ptr<FormatInput>> FormatInput::Open(std::shared_ptr<const FileSource> file, Haste haste,
                                                       CancelToken cancel) {
    std::unique_ptr<FormatInput> input(new FormatInput(std::move(file), std::move(cancel)));
    const FileSource& source = *input->m_file;
    const std::chrono::nanoseconds time = haste == Haste::Opening ? kLongestOpening : kAnyTime;
    input->BeginWork(kUnbounded, time);
    const Mp4Claims claims = Mp4Claims::Of(source, [&] { return input->GivenUp(); });
    if (claims.TooMuchFor(source.Size())) {
        return Error{ErrorKind::Damaged,
                     "the file claims to hold more pictures or sound than it has room for", source.Path()};
    }
    input->m_bytes_left = kMostHeaderBytes + claims.movie_bytes + claims.boxes * kIoBytes;
    if (Result<void> opened = input->OpenContext(); !opened) return opened.Failure();
    return Result<std::unique_ptr<FormatInput>>(std::move(input));
}

Result<std::unique_ptr<FormatInput>> FormatInput::OpenHeaders(std::shared_ptr<const FileSource> file,
                                                              std::vector<std::uint8_t> headers) {
    // Without any, the whole file would be read, whatever it claims to hold.
    if (headers.empty()) return Error{ErrorKind::Damaged, "the headers of the file are broken", file->Path()};
    std::unique_ptr<FormatInput> input(new FormatInput(std::move(file), {}));
    input->m_headers = std::move(headers);
    input->BeginWork(kUnbounded, kLongestHeaders);
    if (Result<void> opened = input->OpenContext(); !opened) return opened.Failure();
    return Result<std::unique_ptr<FormatInput>>(std::move(input));
}

Result<void> FormatInput::OpenContext() {
    ffmpeg::SetUp();
    const std::string& path = m_file->Path();
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBytes));
    if (!buffer) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot open the file", path);
    m_io.reset(avio_alloc_context(buffer, kIoBytes, 0, this, Read, nullptr, Seek));
    if (!m_io) {
        av_free(buffer);
        return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot open the file", path);
    }
    AVFormatContext* context = avformat_alloc_context();
    if (!context) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot open the file", path);
    context->pb = m_io.get();
    context->interrupt_callback = {Interrupted, this};
    context->max_streams = kMostStreams;
    AVDictionary* options = nullptr;
    // A playlist or an MP4 with references could name other files and hosts: none may be opened.
    av_dict_set(&options, "protocol_whitelist", "", 0);
    av_dict_set(&options, "enable_drefs", "0", 0);
    const int code = avformat_open_input(&context, "", nullptr, &options);
    av_dict_free(&options);
    if (code == AVERROR_EXIT && !m_cancel.Cancelled()) {
        return Error{ErrorKind::Damaged, "the headers of the file have no end; it is damaged beyond playing",
                     path};
    }
    if (code < 0) return OpenFailure(code, *m_file);
    m_context.reset(context);
    return {};
}

FormatInput::~FormatInput() = default;

const char* FormatInput::FormatName() const {
    return m_context->iformat->name;
}

bool FormatInput::IsMp4() const {
    return std::strncmp(FormatName(), "mov,", 4) == 0;
}

bool FormatInput::HasTimes() const {
    for (const char* without : {"avi", "h264", "hevc", "m4v", "mpegvideo"}) {
        if (std::strcmp(FormatName(), without) == 0) return false;
    }
    return true;
}

void FormatInput::ReadOnly(int stream_index) const {
    for (unsigned i = 0; i < m_context->nb_streams; ++i) {
        m_context->streams[i]->discard =
            static_cast<int>(i) == stream_index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

void FormatInput::FindStreamInfo() {
    BeginWork(kMostInfoBytes, kAnyTime);
    m_context->probesize = kProbeBytes;
    m_context->max_analyze_duration = kProbeTime;
    // What it did not find out shows in the parameters, which the caller looks at.
    (void)avformat_find_stream_info(m_context.get(), nullptr);
}

int FormatInput::ReadPacket(AVPacket* packet) {
    BeginWork(kUnbounded, kLongestPacket);
    return av_read_frame(m_context.get(), packet);
}

bool FormatInput::SeekTo(int stream_index, std::int64_t time) {
    BeginWork(kUnbounded, kLongestPacket);
    return avformat_seek_file(m_context.get(), stream_index, std::numeric_limits<std::int64_t>::min(), time,
                              time, 0) >= 0;
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
