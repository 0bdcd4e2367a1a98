#include "ordune/RawContent.h"

#include "ordune/NalScanner.h"
#include "ordune/PictureProbe.h"
#include "ordune/RawUnitReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <cstring>
#include <new>
#include <pthread.h>
#include <system_error>
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

RawContent::RawContent(const std::shared_ptr<const FileSource>& file, std::size_t block)
    : m_indexer(file, *(m_table = std::make_shared<FrameTable>(false)), *m_history, block) {}

RawContent::~RawContent() {
    m_stop.store(true, std::memory_order_relaxed);
    if (m_thread.joinable()) m_thread.join();
}

Result<std::shared_ptr<FileContent>> RawContent::Make(const std::shared_ptr<const FileSource>& file,
                                                      std::chrono::milliseconds patience, std::size_t block) {
    std::shared_ptr<RawContent> content(new RawContent(file, block));
    const auto begin = std::chrono::steady_clock::now();
    bool more = true;
    bool described = false;
    while (more) {
        more = content->m_indexer.Advance();
        if (!described) described = content->Describe();
        const auto spent = std::chrono::steady_clock::now() - begin;
        // There has to be something to show; a stream whose first picture is that far away is refused.
        if (content->m_table->Known() > 0 ? spent >= patience : spent >= kLongestProbe) break;
    }
    if (!described || content->m_table->Known() == 0) return NoPicture(*file);
    content->m_parameters->video_delay = content->m_indexer.Depth();
    content->m_announced = !more;
    // A known frame is one whose headers are whole and that can be decoded rightly; libavcodec conceals what
    // is broken in its slices. Only unusual streams are tried.
    if (!content->m_indexer.FirstSequence()->IsUsual()) {
        Result<std::unique_ptr<UnitReader>> reader = content->MakeUnitReader(file, {});
        if (!reader) return reader.Failure();
        Result<void> seen = ProbeForPicture(*content->m_parameters, *reader.Value(), file->Path());
        if (!seen) return seen.Failure();
    }
    if (more) {
        try {
            content->m_thread = std::thread([raw = content.get()] {
                pthread_setname_np(pthread_self(), "index");
                raw->Run();
            });
        } catch (const std::system_error&) {
            // Without a thread the rest is done here: late, but right.
            content->Run();
        }
    }
    return std::shared_ptr<FileContent>(std::move(content));
}

bool RawContent::Describe() {
    const std::optional<SequenceParameters>& sequence = m_indexer.FirstSequence();
    if (!sequence) return false;
    m_video.codec = "h264";
    m_video.width = sequence->width;
    m_video.height = sequence->height;
    m_video.sample_aspect_numerator = sequence->aspect_numerator;
    const RawIndexer::Timing timing = RawIndexer::TimingOf(*sequence);
    m_table->SetTimeScale({timing.denominator, timing.numerator});
    m_video.sample_aspect_denominator = sequence->aspect_denominator;
    m_parameters = ffmpeg::MakeParameters();
    if (!m_parameters) throw std::bad_alloc();
    m_parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    m_parameters->codec_id = AV_CODEC_ID_H264;
    m_parameters->width = sequence->width;
    m_parameters->height = sequence->height;
    const std::vector<std::uint8_t>& sets = m_indexer.FirstSets();
    m_parameters->extradata =
        static_cast<std::uint8_t*>(av_mallocz(sets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!m_parameters->extradata) throw std::bad_alloc();
    std::memcpy(m_parameters->extradata, sets.data(), sets.size());
    m_parameters->extradata_size = static_cast<int>(sets.size());
    return true;
}

void RawContent::Run() {
    bool more = true;
    try {
        while (more && !m_stop.load(std::memory_order_relaxed))
            more = m_indexer.Advance();
    } catch (...) {
        // Out of memory, as a rule. What is known is short, but not wrong, and whoever waits for the rest has
        // to hear that none will come.
        m_short.store(true, std::memory_order_release);
        m_table->Finish(m_table->Known());
        more = false;
    }
    if (!more) Announce();
}

void RawContent::Announce() {
    std::unique_lock lock(m_mutex);
    m_announced = true;
    while (!m_waiting.empty()) {
        const auto first = m_waiting.begin();
        const std::function<void()> call = std::move(first->second);
        m_calling = first->first;
        m_waiting.erase(first);
        lock.unlock();
        try {
            call();
        } catch (...) {
            // The caller's own affair; the others are told all the same, and nobody waits for this one.
        }
        lock.lock();
        m_calling = 0;
        m_called.notify_all();
    }
}

std::uint64_t RawContent::WhenComplete(std::function<void()> done) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_announced) {
            m_waiting.emplace(++m_last_number, std::move(done));
            return m_last_number;
        }
    }
    if (done) done();
    return 0;
}

void RawContent::Withdraw(std::uint64_t number) {
    if (number == 0) return;
    std::unique_lock lock(m_mutex);
    m_waiting.erase(number);
    m_called.wait(lock, [&] { return m_calling != number; });
}

Result<std::unique_ptr<UnitReader>> RawContent::MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                               CancelToken cancel) const {
    return RawUnitReader::Make(std::move(file), m_table, m_history, std::move(cancel));
}

} // namespace ordune
