#include "ordune/ContainerIndexer.h"

#include "ordune/ContainerUnits.h"
#include "ordune/SampleTable.h"
#include "ordune/UnitInspector.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

namespace ordune {

namespace {

// A day at 60 pictures a second is five million; more is a file that lies.
constexpr std::size_t kMostUnits = 64'000'000;
// Times beyond this are damage; within it, differences and sums of two do not overflow.
constexpr std::int64_t kFarthestTicks = std::int64_t{1} << 60;
// How often an edit list may go back in the track before the tables are no longer followed, and how many
// samples may be passed over for it: a second's worth.
constexpr int kMostRestarts = 64;
constexpr std::uint64_t kMostPassedOver = 50'000'000;

struct Gathered {
    ContainerUnits units;
    bool direct = false;
    // What libavformat adds to the times of the units, in ticks.
    std::int64_t shift = 0;
};

bool Within(const FileSource& file, std::int64_t offset, std::int64_t size) {
    return offset >= 0 && size > 0 && size <= file.Size() && offset <= file.Size() - size;
}

bool Believable(std::int64_t ticks) {
    return ticks >= -kFarthestTicks && ticks <= kFarthestTicks;
}

// What libavformat says of the first packet's time beyond what the tables say; it is read for this alone.
std::int64_t ShiftOfFirst(const FormatInput& input, const AVStream* video, const ContainerUnit& first) {
    input.ReadOnly(video->index);
    const ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet || av_read_frame(input.Context(), packet.get()) < 0) return 0;
    if (packet->pos != first.offset_bytes || !Believable(packet->pts)) return 0;
    return packet->pts - first.time;
}

// Step 1. Nothing when the tables and the entries do not fit together.
std::optional<Gathered> GatherFromTables(const FormatInput& input, AVStream* video) {
    const std::optional<SampleTable> table =
        SampleTable::Read(input.File(), static_cast<std::uint32_t>(video->id));
    const int count = avformat_index_get_entries_count(video);
    if (!table || count <= 0 || table->DescriptionCount() != 1) return std::nullopt;
    Gathered gathered;
    gathered.direct = true;
    gathered.units.reserve(static_cast<std::size_t>(count));
    SampleTable::Cursor cursor(*table);
    int restarts = 0;
    std::uint64_t passed_over = 0;
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry* entry = avformat_index_get_entry(video, i);
        if (!entry) return std::nullopt;
        std::optional<SampleTable::Sample> sample = cursor.Next();
        // Entries follow the samples; an edit list leaves some out, or begins again further back.
        while (!sample || sample->offset_bytes != entry->pos ||
               sample->size_bytes != static_cast<std::uint32_t>(entry->size)) {
            if (++passed_over > kMostPassedOver) return std::nullopt;
            if (!sample) {
                if (++restarts > kMostRestarts) return std::nullopt;
                cursor = SampleTable::Cursor(*table);
            }
            sample = cursor.Next();
            if (!sample && restarts == kMostRestarts) return std::nullopt;
        }
        if (!Believable(entry->timestamp)) continue;
        ContainerUnit unit;
        unit.offset_bytes = entry->pos;
        unit.size_bytes = sample->size_bytes;
        unit.time = entry->timestamp + sample->composition_offset;
        unit.duration = sample->duration;
        unit.key = (entry->flags & AVINDEX_KEYFRAME) != 0;
        unit.shown = (entry->flags & AVINDEX_DISCARD_FRAME) == 0;
        gathered.units.push_back(unit);
    }
    if (!gathered.units.empty()) gathered.shift = ShiftOfFirst(input, video, gathered.units.front());
    return gathered;
}

// Whether a packet of this stream is the bytes of the file from its offset on, nothing added and nothing
// taken out.
bool PacketsAreFileBytes(const FormatInput& input, const AVStream* video) {
    if (!input.IsMp4()) return false;
    switch (video->codecpar->codec_id) {
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

// Step 2.
Result<Gathered> GatherFromPackets(const FormatInput& input, const AVStream* video) {
    const std::string& path = input.File().Path();
    const ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet) return Error{ErrorKind::OutOfMemory, "not enough memory to index the file", path};
    input.ReadOnly(video->index);
    Gathered gathered;
    gathered.direct = PacketsAreFileBytes(input, video);
    int parameter_changes = 0;
    std::int64_t last_time = 0;
    while (av_read_frame(input.Context(), packet.get()) >= 0) {
        if (packet->stream_index == video->index && packet->size > 0 && gathered.units.size() < kMostUnits) {
            ContainerUnit unit;
            unit.offset_bytes = packet->pos;
            unit.size_bytes = static_cast<std::uint32_t>(packet->size);
            unit.time = packet->pts != AV_NOPTS_VALUE   ? packet->pts
                        : packet->dts != AV_NOPTS_VALUE ? packet->dts
                                                        : last_time + 1;
            unit.duration =
                static_cast<std::uint32_t>(std::clamp<std::int64_t>(packet->duration, 0, UINT32_MAX));
            unit.key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
            unit.shown = (packet->flags & AV_PKT_FLAG_DISCARD) == 0;
            if (Believable(unit.time)) last_time = unit.time;
            if (av_packet_get_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, nullptr))
                ++parameter_changes;
            const bool cut = gathered.direct && ((packet->flags & AV_PKT_FLAG_CORRUPT) != 0 ||
                                                 !Within(input.File(), unit.offset_bytes, unit.size_bytes));
            if (!cut && Believable(unit.time)) gathered.units.push_back(unit);
        }
        av_packet_unref(packet.get());
    }
    if (parameter_changes > 0) gathered.direct = false;
    return gathered;
}

// The shown units in the order of presentation, and the depth of reordering.
//
// An insertion sort: a unit is moved ahead of as many as were decoded before it and are shown after it, which
// is what the depth means, and in a real file is a handful. A file that claims otherwise is sorted the
// general way.
std::vector<UnitNumber> SortPresented(const ContainerUnits& units, int& depth) {
    constexpr std::size_t kDeepest = 64;
    std::vector<UnitNumber> order;
    order.reserve(units.size());
    bool hostile = false;
    std::size_t deepest = 0;
    for (UnitNumber unit = 0; unit < units.size(); ++unit) {
        if (!units[unit].shown) continue;
        std::size_t at = order.size();
        order.push_back(unit);
        while (!hostile && at > 0 && units[order[at - 1]].time > units[unit].time) {
            order[at] = order[at - 1];
            --at;
            if (order.size() - 1 - at > kDeepest) hostile = true;
        }
        order[at] = unit;
        deepest = std::max(deepest, order.size() - 1 - at);
    }
    if (hostile) {
        std::sort(order.begin(), order.end(), [&](UnitNumber a, UnitNumber b) {
            return units[a].time != units[b].time ? units[a].time < units[b].time : a < b;
        });
    }
    depth = static_cast<int>(std::min<std::size_t>(deepest, 16));
    return order;
}

// Step 4's groups. The frame numbers of the units must be in the table already.
std::uint32_t AddGroups(FrameTable& table, const ContainerUnits& units,
                        const std::vector<FrameNumber>& frame_of) {
    const std::size_t count = units.size();
    std::vector<FrameNumber> lowest_from(count + 1, kNoFrame);
    for (std::size_t i = count; i-- > 0;)
        lowest_from[i] = std::min(lowest_from[i + 1], frame_of[i]);
    std::uint32_t groups = 0;
    FrameNumber shown_before = 0;
    FrameNumber highest_before = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool clean = shown_before == 0 || highest_before < lowest_from[i];
        if (i == 0 || (units[i].key && clean)) {
            table.AddGroup(static_cast<UnitNumber>(i), shown_before);
            ++groups;
        }
        if (frame_of[i] != kNoFrame) {
            ++shown_before;
            highest_before = std::max(highest_before, frame_of[i]);
        }
    }
    return groups;
}

// Steps 3 and 4.
Result<ContainerIndex> BuildTable(const FormatInput& input, const AVStream* video, Gathered gathered) {
    const std::string& path = input.File().Path();
    ContainerIndex index;
    if (gathered.direct) {
        std::erase_if(gathered.units, [&](const ContainerUnit& unit) {
            return !Within(input.File(), unit.offset_bytes, unit.size_bytes);
        });
        index.sure = InspectUnits(input.File(), *video->codecpar, gathered.units);
    }
    index.direct = gathered.direct;
    const std::vector<UnitNumber> order = SortPresented(gathered.units, index.reorder_depth);
    if (order.empty()) {
        return Error{ErrorKind::NoVideo,
                     "the file holds no picture; the recording was cut off before its first", path};
    }
    index.table = std::make_shared<FrameTable>(true);
    FrameTable& table = *index.table;
    table.SetTimeScale({video->time_base.num, video->time_base.den});
    for (const ContainerUnit& unit : gathered.units) {
        table.AddUnit(unit.offset_bytes, unit.size_bytes,
                      {.referenced = unit.referenced, .closed = unit.closed});
    }
    std::vector<FrameNumber> frame_of(gathered.units.size(), kNoFrame);
    const std::int64_t first = gathered.units[order.front()].time;
    for (const UnitNumber unit : order)
        frame_of[unit] = table.AddFrame(unit, gathered.units[unit].time - first);
    const std::uint32_t groups = AddGroups(table, gathered.units, frame_of);
    const ContainerUnit& last = gathered.units[order.back()];
    std::int64_t duration = last.duration;
    if (duration <= 0 && order.size() > 1)
        duration = (last.time - first) / static_cast<std::int64_t>(order.size() - 1);
    const auto frames = static_cast<FrameNumber>(order.size());
    table.Finish(last.time - first + std::max<std::int64_t>(duration, 0));
    table.Publish(static_cast<UnitNumber>(gathered.units.size()), frames, groups, frames);
    index.origin = std::clamp(
        MediaTime(av_rescale_q(first + gathered.shift, video->time_base, AVRational{1, 1'000'000})),
        -kLongestTime, kLongestTime);
    return index;
}

} // namespace

Result<ContainerIndex> IndexContainer(const FormatInput& input, AVStream* video) {
    try {
        if (input.IsMp4() && PacketsAreFileBytes(input, video)) {
            if (std::optional<Gathered> gathered = GatherFromTables(input, video)) {
                return BuildTable(input, video, std::move(*gathered));
            }
        }
        Result<Gathered> gathered = GatherFromPackets(input, video);
        if (!gathered) return gathered.Failure();
        return BuildTable(input, video, std::move(gathered.Value()));
    } catch (const std::bad_alloc&) {
        return Error{ErrorKind::OutOfMemory, "not enough memory to index the file", input.File().Path()};
    }
}

} // namespace ordune
