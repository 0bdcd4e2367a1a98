#include "ordune/SalvageContent.h"

#include "ordune/ContainerUnitReader.h"
#include "ordune/Mp4Movie.h"
#include "ordune/Neighbours.h"
#include "ordune/RawIndexer.h"
#include "ordune/SalvageIndexer.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace ordune {

namespace {

using mp4::Name;

constexpr int kMostTopBoxes = 64;
constexpr std::size_t kMostNeighbours = 8;
// What is read of them, all together; an hour's recording has a movie box of some 2 MB.
constexpr std::int64_t kMostRecordingBytes = 64 << 20;
// Of the thread's own time.
constexpr std::chrono::milliseconds kLongestTry{120};
// Of the clock's, whatever the file and those beside it do: a refusal has to come within two seconds.
constexpr std::chrono::milliseconds kLongestSearch{1500};
constexpr UnitNumber kUnitsToFirstKey = 512;
// The largest picture that a recorder makes is a fraction of this.
constexpr std::int64_t kLargestUnit = 32 << 20;

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

Result<std::shared_ptr<FileContent>> SalvageContent::Make(const std::shared_ptr<const FileSource>& file,
                                                          std::chrono::milliseconds patience) {
    const std::shared_ptr<FileContent> none;
    const std::optional<Stretch> data = FindData(*file);
    if (!data || data->end <= data->begin) return none;
    const CancelToken latest = CancelToken::After(kLongestSearch);
    const std::shared_ptr<const Mp4Movie> movie = Mp4Movie::Read(*file);
    if (movie && movie->TellsOfSamples()) return none;
    const auto try_key = [&](const std::optional<SalvageKey>& key) {
        return key ? Try(file, *data, *key, patience, latest) : nullptr;
    };
    std::shared_ptr<SalvageContent> content = try_key(KeyInData(*file, data->begin, data->end, latest));
    std::int64_t most_bytes = kMostRecordingBytes;
    // A movie box without samples may still have the sets.
    if (!content && movie) content = try_key(KeyOfRecording(file, most_bytes, latest));
    if (!content) {
        for (const std::string& path : NeighboursOf(file->Path(), kMostNeighbours)) {
            if (latest.Cancelled()) break;
            const Result<std::shared_ptr<const FileSource>> neighbour = FileSource::Open(path);
            if (neighbour) content = try_key(KeyOfRecording(neighbour.Value(), most_bytes, latest));
            if (content) break;
        }
    }
    if (!content) return none;
    content->m_run->GoOn();
    return std::shared_ptr<FileContent>(std::move(content));
}

std::shared_ptr<SalvageContent> SalvageContent::Try(const std::shared_ptr<const FileSource>& file,
                                                    const Stretch& data, const SalvageKey& key,
                                                    std::chrono::milliseconds patience,
                                                    const CancelToken& latest) {
    std::shared_ptr<SalvageContent> content(new SalvageContent);
    content->m_length_bytes = key.configuration.length_bytes;
    content->m_table = std::make_shared<FrameTable>(true);
    const CancelToken cancel = CancelToken::Make();
    auto indexer =
        std::make_shared<SalvageIndexer>(file, data.begin, data.end, key.configuration.length_bytes,
                                         SetsOf(key.configuration), content->m_table, cancel);
    content->m_run = std::make_unique<IndexRun>(
        content->m_table, [indexer] { return indexer->Advance(); }, cancel);
    bool described = false;
    const auto describe = [&] {
        if (!described && indexer->FirstSequence())
            described = content->Describe(key, *indexer->FirstSequence());
    };
    if (!content->m_run->Begin(patience, kLongestTry, describe, latest) || !described) return nullptr;
    content->m_parameters->video_delay = indexer->Depth();
    return content->DecodesCleanly(file, latest) ? content : nullptr;
}

bool SalvageContent::Describe(const SalvageKey& key, const SequenceParameters& sequence) {
    m_video.codec = "h264";
    m_video.width = sequence.width;
    m_video.height = sequence.height;
    m_video.sample_aspect_numerator = sequence.aspect_numerator;
    m_video.sample_aspect_denominator = sequence.aspect_denominator;
    if (sequence.aspect_numerator == sequence.aspect_denominator) {
        m_video.sample_aspect_numerator = key.aspect_numerator;
        m_video.sample_aspect_denominator = key.aspect_denominator;
    }
    m_video.rotation = key.rotation;
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
bool SalvageContent::DecodesCleanly(const std::shared_ptr<const FileSource>& file,
                                    const CancelToken& latest) const {
    Result<std::unique_ptr<UnitReader>> reader = MakeUnitReader(file, latest);
    Result<ffmpeg::CodecContextPtr> decoder = ffmpeg::OpenDecoder(m_parameters.get(), 1, file->Path());
    const ffmpeg::FramePtr frame = ffmpeg::MakeFrame();
    if (!reader || !decoder || !frame) return false;
    AVCodecContext* context = decoder.Value().get();
    context->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_BUFFER;
    for (UnitNumber n = 0; n < kUnitsToFirstKey && !latest.Cancelled(); ++n) {
        if (n >= m_table->KnownUnits() || m_table->ExtentOf(n).size_bytes > kLargestUnit) return false;
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
