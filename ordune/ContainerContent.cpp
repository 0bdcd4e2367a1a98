#include "ordune/ContainerContent.h"

#include "ordune/ContainerIndexer.h"
#include "ordune/ContainerUnitReader.h"
#include "ordune/PictureProbe.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <cmath>
#include <cstring>

namespace ordune {

namespace {

// Degrees clockwise by which the container asks to turn the picture, a multiple of 90.
int RotationOf(const AVStream* stream) {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
#if LIBAVFORMAT_VERSION_MAJOR >= 61
    const AVPacketSideData* side = av_packet_side_data_get(
        stream->codecpar->coded_side_data, stream->codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    if (side) {
        data = side->data;
        size = side->size;
    }
#else
    data = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
#endif
    std::int32_t matrix[9];
    if (!data || size < sizeof matrix) return 0;
    std::memcpy(matrix, data, sizeof matrix);
    const double counterclockwise = av_display_rotation_get(matrix);
    if (!std::isfinite(counterclockwise)) return 0;
    const int quarters = static_cast<int>(std::lround(-counterclockwise / 90.0));
    return ((quarters % 4) + 4) % 4 * 90;
}

VideoInfo DescribeVideo(AVFormatContext* context, AVStream* stream) {
    VideoInfo info;
    info.codec = avcodec_get_name(stream->codecpar->codec_id);
    info.width = stream->codecpar->width;
    info.height = stream->codecpar->height;
    const AVRational aspect = av_guess_sample_aspect_ratio(context, stream, nullptr);
    if (aspect.num > 0 && aspect.den > 0) {
        info.sample_aspect_numerator = aspect.num;
        info.sample_aspect_denominator = aspect.den;
    }
    info.rotation = RotationOf(stream);
    return info;
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

} // namespace

Result<std::shared_ptr<FileContent>> ContainerContent::Make(const std::shared_ptr<const FileSource>& file,
                                                            const FormatInput& input) {
    AVFormatContext* context = input.Context();
    AVStream* video = FindVideoStream(context);
    if (!video || !input.IsMp4() || LacksParameters(*video->codecpar)) {
        if (!video || avcodec_find_decoder(video->codecpar->codec_id)) input.FindStreamInfo();
        video = FindVideoStream(context);
    }
    if (!video) {
        return Error{ErrorKind::NoVideo, "there is no video in this file; open it in a sound player",
                     file->Path()};
    }
    if (!avcodec_find_decoder(video->codecpar->codec_id)) return NoDecoder(*video->codecpar, file->Path());

    std::shared_ptr<ContainerContent> content(new ContainerContent);
    content->m_stream_index = video->index;
    content->m_video = DescribeVideo(context, video);
    if (const AVStream* sound = FindSoundStream(context, video)) {
#if LIBAVCODEC_VERSION_MAJOR >= 60 || (LIBAVCODEC_VERSION_MAJOR == 59 && LIBAVCODEC_VERSION_MINOR >= 24)
        const int channels = sound->codecpar->ch_layout.nb_channels;
#else
        const int channels = sound->codecpar->channels;
#endif
        content->m_sound = SoundInfo{sound->index, sound->codecpar->sample_rate, channels};
    }
    content->m_parameters = ffmpeg::CloneParameters(video->codecpar);
    if (!content->m_parameters)
        return Error{ErrorKind::OutOfMemory, "not enough memory to open the file", file->Path()};

    Result<ContainerIndex> index = IndexContainer(input, video);
    if (!index) return index.Failure();
    content->m_table = std::move(index.Value().table);
    content->m_direct = index.Value().direct;
    content->m_origin = index.Value().origin;
    content->m_parameters->video_delay =
        std::max(content->m_parameters->video_delay, index.Value().reorder_depth);
    if (!index.Value().sure) {
        if (Result<void> seen = content->MakeSureOfAPicture(file); !seen) return seen.Failure();
    }
    return std::shared_ptr<FileContent>(std::move(content));
}

Result<void> ContainerContent::MakeSureOfAPicture(const std::shared_ptr<const FileSource>& file) const {
    Result<std::unique_ptr<UnitReader>> reader = MakeUnitReader(file, {});
    if (!reader) return reader.Failure();
    return ProbeForPicture(*m_parameters, *reader.Value(), file->Path());
}

Result<std::unique_ptr<UnitReader>> ContainerContent::MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                                     CancelToken cancel) const {
    const AVCodecParameters& parameters = *m_parameters;
    const bool lengths = parameters.codec_id == AV_CODEC_ID_H264 && parameters.extradata_size > 6 &&
                         parameters.extradata[0] == 1;
    const std::size_t length_bytes = lengths ? (parameters.extradata[4] & 3U) + 1 : 0;
    if (m_direct) return DirectUnitReader::Make(std::move(file), m_table, length_bytes, std::move(cancel));
    return FormatUnitReader::Make(std::move(file), m_table, m_stream_index, std::move(cancel));
}

std::uint64_t ContainerContent::WhenComplete(std::function<void()> done) {
    if (done) done();
    return 0;
}

void ContainerContent::Withdraw(std::uint64_t) {}

} // namespace ordune
