#include "ordune/SalvageContent.h"

#include "ordune/ContainerUnitReader.h"
#include "ordune/FormatInput.h"
#include "ordune/Mp4Movie.h"
#include "ordune/Neighbours.h"
#include "ordune/RawIndexer.h"
#include "ordune/SalvageIndexer.h"
#include "ordune/SampleTable.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/rational.h>
}

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace ordune {

namespace {

using mp4::Name;

constexpr int kMostTopBoxes = 64;
// Sets that are in the data stand at its first picture.
constexpr std::int64_t kSetsWithin = 16 << 20;
constexpr std::size_t kLongestSet = 1024;
constexpr std::size_t kMostNeighbours = 8;
// All tries together stay below the two seconds in which a file is to be refused.
constexpr std::chrono::milliseconds kLongestTry{120};
constexpr int kUnitsToFirstKey = 512;

bool BeginsMp4(std::uint32_t name) {
    switch (name) {
    case Name("ftyp"):
    case Name("mdat"):
    case Name("free"):
    case Name("skip"):
    case Name("wide"):
    case Name("pnot"):
        return true;
    default:
        return false;
    }
}

ParameterSets SetsOf(const AvcConfiguration& configuration) {
    ParameterSets sets;
    for (const std::vector<std::uint8_t>& set : configuration.sets)
        (void)sets.Take(set);
    return sets;
}

// The set of this type behind a length field of four bytes at `at`; empty where there is none.
std::span<const std::uint8_t> SetAt(std::span<const std::uint8_t> bytes, std::size_t at, unsigned type) {
    if (at + 5 > bytes.size() || (bytes[at + 4] & 0x9fU) != type) return {};
    const std::size_t length = mp4::Read32(bytes.data() + at);
    if (length < 3 || length > kLongestSet || length > bytes.size() - at - 4) return {};
    const std::span<const std::uint8_t> set = bytes.subspan(at + 4, length);
    const bool good = type == 7 ? ParseSequenceParameters(set.subspan(1)).has_value()
                                : ParsePictureParameters(set.subspan(1)).has_value();
    return good ? set : std::span<const std::uint8_t>();
}

} // namespace

std::optional<SalvageContent::Stretch> SalvageContent::FindData(const FileSource& file) {
    std::int64_t at = 0;
    for (int n = 0; n < kMostTopBoxes && file.Size() - at >= 8; ++n) {
        std::array<std::uint8_t, 16> bytes{};
        const std::int64_t got = file.ReadAt(at, bytes.data(), bytes.size());
        if (got < 8) return std::nullopt;
        const std::uint32_t name = mp4::Read32(bytes.data() + 4);
        if (at == 0 && !BeginsMp4(name)) return std::nullopt;
        const std::optional<mp4::BoxHead> head =
            mp4::ReadHead({bytes.data(), static_cast<std::size_t>(got)}, file.Size() - at);
        // Its size may never have been written.
        if (name == Name("mdat")) return Stretch{at + (head ? head->header_bytes : 8), file.Size()};
        if (!head || head->cut) break;
        at += head->size_bytes;
    }
    if (at == 0) return std::nullopt;
    return Stretch{at, file.Size()};
}

std::optional<SalvageContent::Key> SalvageContent::KeyInData(const std::shared_ptr<const FileSource>& file,
                                                             const Stretch& data) {
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(std::min<std::int64_t>(kSetsWithin, data.end - data.begin)));
    const std::int64_t got = file->ReadAt(data.begin, bytes.data(), bytes.size());
    bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    for (std::size_t at = 0; at + 8 < bytes.size(); ++at) {
        if (bytes[at] != 0 || bytes[at + 1] != 0 || (bytes[at + 4] & 0x9fU) != 7) continue;
        Key key;
        for (const unsigned type : {7U, 8U}) {
            std::size_t next =
                key.configuration.sets.empty() ? at : at + 4 + key.configuration.sets.back().size();
            for (auto set = SetAt(bytes, next, type); !set.empty(); set = SetAt(bytes, next, type)) {
                key.configuration.sets.emplace_back(set.begin(), set.end());
                next += 4 + set.size();
                if (type == 7) break;
            }
        }
        if (key.configuration.sets.size() > 1) return key;
    }
    return std::nullopt;
}

std::optional<SalvageContent::Key> SalvageContent::KeyOfNeighbour(const std::string& path) {
    const Result<std::shared_ptr<const FileSource>> file = FileSource::Open(path);
    const std::shared_ptr<const Mp4Movie> movie = file ? Mp4Movie::Read(*file.Value()) : nullptr;
    if (!movie) return std::nullopt;
    const Result<std::unique_ptr<FormatInput>> input =
        FormatInput::OpenHeaders(file.Value(), movie->Skeleton());
    const AVStream* video = input ? FindVideoStream(input.Value()->Context()) : nullptr;
    if (!video || video->codecpar->codec_id != AV_CODEC_ID_H264 || !video->codecpar->extradata)
        return std::nullopt;
    const std::optional<AvcConfiguration> configuration = AvcConfiguration::Parse(
        {video->codecpar->extradata, static_cast<std::size_t>(video->codecpar->extradata_size)});
    if (!configuration || configuration->sets.empty()) return std::nullopt;
    Key key{*configuration, std::nullopt};
    const std::optional<SampleTable> table = SampleTable::Read(movie, static_cast<std::uint32_t>(video->id));
    const std::optional<SampleTable::Span> span = table ? table->TimeSpan() : std::nullopt;
    TimeScale rate;
    if (span && span->end > 0 && video->time_base.num > 0 &&
        av_reduce(&rate.tick_numerator, &rate.tick_denominator, span->end * video->time_base.num,
                  std::int64_t{table->SampleCount()} * video->time_base.den, INT_MAX) >= 0 &&
        rate.tick_numerator > 0 && rate.tick_denominator > 0)
        key.rate = rate;
    return key;
}

Result<std::shared_ptr<FileContent>> SalvageContent::Make(const std::shared_ptr<const FileSource>& file,
                                                          std::chrono::milliseconds patience) {
    const std::shared_ptr<FileContent> none;
    const std::optional<Stretch> data = FindData(*file);
    if (!data || data->end <= data->begin || Mp4Movie::Read(*file)) return none;
    std::shared_ptr<SalvageContent> content;
    if (const std::optional<Key> key = KeyInData(file, *data)) content = Try(file, *data, *key, patience);
    if (!content) {
        for (const std::string& path : NeighboursOf(file->Path(), kMostNeighbours)) {
            const std::optional<Key> key = KeyOfNeighbour(path);
            if (key) content = Try(file, *data, *key, patience);
            if (content) break;
        }
    }
    if (!content) return none;
    content->m_run->GoOn();
    return std::shared_ptr<FileContent>(std::move(content));
}

std::shared_ptr<SalvageContent> SalvageContent::Try(const std::shared_ptr<const FileSource>& file,
                                                    const Stretch& data, const Key& key,
                                                    std::chrono::milliseconds patience) {
    std::shared_ptr<SalvageContent> content(new SalvageContent);
    content->m_length_bytes = key.configuration.length_bytes;
    content->m_table = std::make_shared<FrameTable>(true);
    auto indexer =
        std::make_shared<SalvageIndexer>(file, data.begin, data.end, key.configuration.length_bytes,
                                         SetsOf(key.configuration), content->m_table);
    content->m_run = std::make_unique<IndexRun>(content->m_table, [indexer] { return indexer->Advance(); });
    bool described = false;
    const bool found = content->m_run->Begin(patience, kLongestTry, [&] {
        if (!described && indexer->FirstSequence())
            described = content->Describe(key, *indexer->FirstSequence());
    });
    if (!found || !described) return nullptr;
    content->m_parameters->video_delay = indexer->Depth();
    return content->DecodesCleanly(file) ? content : nullptr;
}

bool SalvageContent::Describe(const Key& key, const SequenceParameters& sequence) {
    m_video.codec = "h264";
    m_video.width = sequence.width;
    m_video.height = sequence.height;
    m_video.sample_aspect_numerator = sequence.aspect_numerator;
    m_video.sample_aspect_denominator = sequence.aspect_denominator;
    const RawIndexer::Timing timing = RawIndexer::TimingOf(sequence);
    const bool told = sequence.units_in_tick != 0 && sequence.time_scale != 0;
    m_table->SetTimeScale(!told && key.rate ? *key.rate : TimeScale{timing.denominator, timing.numerator});
    m_parameters = ffmpeg::MakeParameters();
    if (!m_parameters) return false;
    m_parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    m_parameters->codec_id = AV_CODEC_ID_H264;
    m_parameters->width = sequence.width;
    m_parameters->height = sequence.height;
    std::vector<std::uint8_t> record = AvcConfiguration::Make(SetsOf(key.configuration).InForce());
    if (record.empty()) return false;
    record[4] = static_cast<std::uint8_t>(0xfcU | (m_length_bytes - 1));
    return ffmpeg::SetExtradata(*m_parameters, record);
}

// Sets that do not belong to the data rarely fail to show in its first key picture.
bool SalvageContent::DecodesCleanly(const std::shared_ptr<const FileSource>& file) const {
    Result<std::unique_ptr<UnitReader>> reader = MakeUnitReader(file, {});
    Result<ffmpeg::CodecContextPtr> decoder = ffmpeg::OpenDecoder(m_parameters.get(), 1, file->Path());
    const ffmpeg::FramePtr frame = ffmpeg::MakeFrame();
    if (!reader || !decoder || !frame) return false;
    AVCodecContext* context = decoder.Value().get();
    context->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_BUFFER;
    for (int n = 0; n < kUnitsToFirstKey; ++n) {
        Result<std::optional<CodedUnit>> unit = reader.Value()->Next();
        if (!unit || !unit.Value()) return false;
        if (m_table->FrameOf(unit.Value()->number) == kNoFrame) continue;
        if (avcodec_send_packet(context, unit.Value()->packet) < 0) return false;
        (void)avcodec_send_packet(context, nullptr);
        return avcodec_receive_frame(context, frame.get()) >= 0 && frame->decode_error_flags == 0 &&
               (frame->flags & AV_FRAME_FLAG_CORRUPT) == 0;
    }
    return false;
}

Result<std::unique_ptr<UnitReader>> SalvageContent::MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                                   CancelToken cancel) const {
    return DirectUnitReader::Make(std::move(file), m_table, *m_parameters, std::move(cancel));
}

} // namespace ordune
