#include "ordune/RawContent.h"

#include "ordune/NalScanner.h"
#include "ordune/PictureProbe.h"
#include "ordune/RawUnitReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace ordune {

namespace {

constexpr std::size_t kProbeBytes = 1 << 20;
constexpr std::chrono::milliseconds kLongestProbe{1000};

Error NoPicture(const FileSource& file) {
    return {ErrorKind::NoVideo, "not one picture of this file can be decoded; it is damaged beyond playing",
            file.Path()};
}

} // namespace

bool RawContent::Recognise(const FileSource& file) {
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(std::min<std::int64_t>(file.Size(), kProbeBytes)));
    const std::int64_t got = file.ReadAt(0, bytes.data(), bytes.size());
    if (got <= 0) return false;
    bytes.resize(static_cast<std::size_t>(got));
    // A sequence, a picture set and a slice that refers to them do not come about by chance.
    ParameterSets sets;
    std::size_t begin = FindStartCode(bytes.data(), 0, bytes.size());
    while (begin + 3 < bytes.size()) {
        const std::size_t next = FindStartCode(bytes.data(), begin + 3, bytes.size());
        const std::span<const std::uint8_t> nal(bytes.data() + begin + 3, next - begin - 3);
        const unsigned type = nal.empty() ? 0U : nal[0] & 0x9fU; // the top bit is always 0
        if (type == 7 || type == 8) (void)sets.Take(nal);
        if ((type == 1 || type == 5) && ParseSliceHeader(nal, sets)) return true;
        begin = next;
    }
    return false;
}

Result<std::shared_ptr<FileContent>> RawContent::Make(const std::shared_ptr<const FileSource>& file,
                                                      std::chrono::milliseconds patience, std::size_t block) {
    std::shared_ptr<RawContent> content(new RawContent);
    content->m_table = std::make_shared<FrameTable>(false);
    auto indexer = std::make_shared<RawIndexer>(file, *content->m_table, *content->m_history, block);
    // The thread may outlive the content's own members, not what its steps hold.
    content->m_run = std::make_unique<IndexRun>(
        content->m_table,
        [indexer, table = content->m_table, history = content->m_history] { return indexer->Advance(); });
    const bool found = content->m_run->Begin(patience, kLongestProbe, [&] { content->Describe(*indexer); });
    if (!found || !content->m_parameters) return NoPicture(*file);
    content->m_parameters->video_delay = indexer->Depth();
    // A known frame is one whose headers are whole and that can be decoded rightly; libavcodec conceals what
    // is broken in its slices. Only unusual streams are tried.
    if (!indexer->FirstSequence()->IsUsual()) {
        Result<std::unique_ptr<UnitReader>> reader = content->MakeUnitReader(file, {});
        if (!reader) return reader.Failure();
        Result<void> seen = ProbeForPicture(*content->m_parameters, *reader.Value(), file->Path());
        if (!seen) return seen.Failure();
    }
    content->m_run->GoOn();
    return std::shared_ptr<FileContent>(std::move(content));
}

void RawContent::Describe(const RawIndexer& indexer) {
    const std::optional<SequenceParameters>& sequence = indexer.FirstSequence();
    if (!sequence || m_parameters) return;
    m_video.codec = "h264";
    m_video.width = sequence->width;
    m_video.height = sequence->height;
    m_video.sample_aspect_numerator = sequence->aspect_numerator;
    m_video.sample_aspect_denominator = sequence->aspect_denominator;
    const RawIndexer::Timing timing = RawIndexer::TimingOf(*sequence);
    m_table->SetTimeScale({timing.denominator, timing.numerator});
    m_parameters = ffmpeg::MakeParameters();
    if (!m_parameters) throw std::bad_alloc();
    m_parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    m_parameters->codec_id = AV_CODEC_ID_H264;
    m_parameters->width = sequence->width;
    m_parameters->height = sequence->height;
    if (!ffmpeg::SetExtradata(*m_parameters, indexer.FirstSets())) throw std::bad_alloc();
}

Result<std::unique_ptr<UnitReader>> RawContent::MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                               CancelToken cancel) const {
    return RawUnitReader::Make(std::move(file), m_table, m_history, std::move(cancel));
}

} // namespace ordune
