#include "ordune/ContainerContent.h"

#include "ordune/ContainerIndexer.h"
#include "ordune/ContainerUnitReader.h"
#include "ordune/FormatSource.h"
#include "ordune/Mp4Source.h"
#include "ordune/PictureProbe.h"
#include "ordune/SampleTable.h"
#include "ordune/VideoDescription.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace ordune {

namespace {

// How long a first picture is looked for: a refusal has to come within two seconds.
constexpr std::chrono::milliseconds kLongestSearch{1000};

// A tick for each picture, where they have no times of their own.
TimeScale RateOf(const AVStream* stream) {
    for (const AVRational rate : {stream->avg_frame_rate, stream->r_frame_rate}) {
        if (rate.num > 0 && rate.den > 0) return {rate.den, rate.num};
    }
    return {};
}

// Whether the headers leave open what a decoder has to know before the first unit.
bool LacksParameters(const AVCodecParameters& parameters) {
    if (parameters.width <= 0 || parameters.height <= 0) return true;
    const bool needs_extradata =
        parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_HEVC;
    return needs_extradata && parameters.extradata_size == 0;
}

Error NoDecoder(const AVCodecParameters& parameters, const std::string& path) {
    const std::string name = parameters.codec_id == AV_CODEC_ID_NONE
                                 ? std::string("the codec of its video is not known")
                                 : std::string("there is no decoder for its video (") +
                                       avcodec_get_name(parameters.codec_id) + ")";
    return {ErrorKind::UnknownCodec, name + "; convert the recording to H.264 to watch it", path};
}

// Whether a packet of this codec in an MP4 file is the bytes of the file from its offset on, nothing added
// and nothing taken out.
bool PacketsAreFileBytes(const AVCodecParameters& parameters) {
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_AV1:
    case AV_CODEC_ID_VP8:
    case AV_CODEC_ID_VP9:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_MJPEG:
        return true;
    default:
        return false;
    }
}

// Whether all of the track's samples are of one kind.
bool HasOneDescription(const FileSource& file, const AVStream* video) {
    const std::shared_ptr<const Mp4Movie> movie = Mp4Movie::Read(file);
    if (!movie) return false;
    const std::optional<SampleTable> table = SampleTable::Read(movie, static_cast<std::uint32_t>(video->id));
    return table && table->DescriptionCount() == 1;
}

} // namespace

Result<std::shared_ptr<FileContent>>
ContainerContent::MakeFromTables(const std::shared_ptr<const FileSource>& file,
                                 std::chrono::milliseconds patience) {
    const std::shared_ptr<FileContent> none;
    const std::shared_ptr<const Mp4Movie> movie = Mp4Movie::Read(*file);
    if (!movie) return none;
    const Result<std::unique_ptr<FormatInput>> input = FormatInput::OpenHeaders(file, movie->Skeleton());
    AVStream* video = input && input.Value()->IsMp4() ? FindVideoStream(input.Value()->Context()) : nullptr;
    if (!video || LacksParameters(*video->codecpar) || !PacketsAreFileBytes(*video->codecpar)) return none;
    std::unique_ptr<UnitSource> source = MakeMp4Source(file, movie, static_cast<std::uint32_t>(video->id));
    if (!source) return none;
    std::shared_ptr<ContainerContent> content(new ContainerContent);
    content->m_direct = true;
    if (Result<void> good = content->Describe(input.Value()->Context(), video, file->Path()); !good)
        return good.Failure();
    if (Result<void> good = content->Index(file, std::move(source), patience, {}); !good)
        return good.Failure();
    return std::shared_ptr<FileContent>(std::move(content));
}

Result<std::shared_ptr<FileContent>> ContainerContent::Make(const std::shared_ptr<const FileSource>& file,
                                                            std::unique_ptr<FormatInput> input,
                                                            std::chrono::milliseconds patience) {
    AVFormatContext* context = input->Context();
    AVStream* video = FindVideoStream(context);
    if (!video || !input->IsMp4() || LacksParameters(*video->codecpar)) {
        if (!video || avcodec_find_decoder(video->codecpar->codec_id)) input->FindStreamInfo();
        video = FindVideoStream(context);
    }
    if (!video) {
        return Error{ErrorKind::NoVideo, "there is no video in this file; open it in a sound player",
                     file->Path()};
    }
    std::shared_ptr<ContainerContent> content(new ContainerContent);
    if (Result<void> good = content->Describe(context, video, file->Path()); !good) return good.Failure();
    content->m_direct =
        input->IsMp4() && PacketsAreFileBytes(*video->codecpar) && HasOneDescription(*file, video);
    const TimeScale rate = RateOf(video);
    const CancelToken cancel = input->Cancel();
    std::unique_ptr<UnitSource> source = content->m_direct ? MakeEntrySource(*input, video) : nullptr;
    if (!source) {
        Result<std::unique_ptr<UnitSource>> packets =
            MakePacketSource(std::move(input), video, content->m_direct);
        if (!packets) return packets.Failure();
        source = std::move(packets.Value());
        if (source->Order() == OutputOrder::By::Count) content->m_table->SetTimeScale(rate);
    }
    if (Result<void> good = content->Index(file, std::move(source), patience, cancel); !good)
        return good.Failure();
    return std::shared_ptr<FileContent>(std::move(content));
}

Result<void> ContainerContent::Describe(AVFormatContext* context, AVStream* video, const std::string& path) {
    if (!avcodec_find_decoder(video->codecpar->codec_id)) return NoDecoder(*video->codecpar, path);
    m_stream_index = video->index;
    m_video = DescribeVideo(context, video);
    if (const AVStream* sound = FindSoundStream(context, video)) {
#if LIBAVCODEC_VERSION_MAJOR >= 60 || (LIBAVCODEC_VERSION_MAJOR == 59 && LIBAVCODEC_VERSION_MINOR >= 24)
        const int channels = sound->codecpar->ch_layout.nb_channels;
#else
        const int channels = sound->codecpar->channels;
#endif
        m_sound = SoundInfo{sound->index, sound->codecpar->sample_rate, channels};
    }
    m_parameters = ffmpeg::CloneParameters(video->codecpar);
    if (!m_parameters) return Error{ErrorKind::OutOfMemory, "not enough memory to open the file", path};
    m_table = std::make_shared<FrameTable>(true);
    m_table->SetTimeScale({video->time_base.num, video->time_base.den});
    return {};
}

Result<void> ContainerContent::Index(const std::shared_ptr<const FileSource>& file,
                                     std::unique_ptr<UnitSource> source, std::chrono::milliseconds patience,
                                     const CancelToken& cancel) {
    auto indexer =
        std::make_shared<ContainerIndexer>(file, std::move(source), *m_parameters, m_direct, m_table);
    m_run = std::make_unique<IndexRun>(
        m_table, [indexer] { return indexer->Advance(); }, cancel);
    if (!m_run->Begin(patience, kLongestSearch)) {
        return Error{ErrorKind::NoVideo,
                     "the file holds no picture; the recording was cut off before its first", file->Path()};
    }
    const TimeScale& scale = m_table->Scale();
    m_origin = std::clamp(
        MediaTime(av_rescale_q(indexer->Origin(), AVRational{scale.tick_numerator, scale.tick_denominator},
                               AVRational{1, 1'000'000})),
        -kLongestTime, kLongestTime);
    m_parameters->video_delay = std::max(m_parameters->video_delay, indexer->Depth());
    if (!indexer->Sure()) {
        if (Result<void> seen = MakeSureOfAPicture(file); !seen) return seen;
    }
    m_run->GoOn();
    return {};
}

Result<void> ContainerContent::MakeSureOfAPicture(const std::shared_ptr<const FileSource>& file) {
    Result<std::unique_ptr<UnitReader>> reader = MakeUnitReader(file, {});
    if (!reader) return reader.Failure();
    PictureSize size;
    Result<void> seen = ProbeForPicture(*m_parameters, *reader.Value(), file->Path(), &size);
    if (!seen) return seen;
    // A file whose pictures change their size may name that of the last ones.
    m_video.width = size.width;
    m_video.height = size.height;
    return {};
}

Result<std::unique_ptr<UnitReader>> ContainerContent::MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                                     CancelToken cancel) const {
    if (m_direct) return DirectUnitReader::Make(std::move(file), m_table, *m_parameters, std::move(cancel));
    return FormatUnitReader::Make(std::move(file), m_table, m_stream_index, std::move(cancel));
}

} // namespace ordune
