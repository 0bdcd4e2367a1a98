#include "ordune/FormatSource.h"

#include "ordune/SampleTable.h"
#include "ordune/StreamOrder.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace ordune {

namespace {

// A step ends after so many packets or bytes, whichever comes first.
constexpr int kPacketsInAStep = 64;
constexpr std::int64_t kBytesInAStep = 4 << 20;
// How often an edit list may go back in the track before the tables are no longer followed, and how many
// samples may be passed over for it: a second's worth.
constexpr int kMostRestarts = 64;
constexpr std::uint64_t kMostPassedOver = 50'000'000;

class PacketSource final : public UnitSource {
  public:
    PacketSource(std::unique_ptr<FormatInput> input, int stream_index, bool direct,
                 std::unique_ptr<StreamOrder> order, ffmpeg::PacketPtr packet)
        : m_input(std::move(input)), m_stream_index(stream_index), m_direct(direct),
          m_order(std::move(order)), m_packet(std::move(packet)) {}

    OutputOrder::By Order() const override {
        return m_order ? OutputOrder::By::Count : OutputOrder::By::Time;
    }

    bool Read(ContainerUnits& units) override {
        std::int64_t bytes = 0;
        for (int n = 0; n < kPacketsInAStep && bytes < kBytesInAStep; ++n) {
            if (m_input->ReadPacket(m_packet.get()) < 0) return false;
            bytes += m_packet->size;
            if (m_packet->stream_index == m_stream_index && m_packet->size > 0) Take(units);
            av_packet_unref(m_packet.get());
        }
        return true;
    }

    double Share() const override {
        return static_cast<double>(m_input->Position()) /
               static_cast<double>(std::max<std::int64_t>(m_input->File().Size(), 1));
    }

  private:
    void Take(ContainerUnits& units) {
        if (m_direct && (m_packet->flags & AV_PKT_FLAG_CORRUPT) != 0) return;
        ContainerUnit unit;
        unit.offset_bytes = m_packet->pos;
        unit.size_bytes = static_cast<std::uint32_t>(m_packet->size);
        unit.time = m_packet->pts != AV_NOPTS_VALUE   ? m_packet->pts
                    : m_packet->dts != AV_NOPTS_VALUE ? m_packet->dts
                                                      : m_last_time + 1;
        if (!Believable(unit.time)) {
            if (m_direct) return;
            unit.time = m_last_time + 1; // readers count packets: none may be missing
        }
        m_last_time = unit.time;
        unit.duration =
            static_cast<std::uint32_t>(std::clamp<std::int64_t>(m_packet->duration, 0, UINT32_MAX));
        unit.key = (m_packet->flags & AV_PKT_FLAG_KEY) != 0;
        unit.shown = (m_packet->flags & AV_PKT_FLAG_DISCARD) == 0;
        if (m_order) m_order->Take(*m_packet, unit);
        units.push_back(unit);
    }

    const std::unique_ptr<FormatInput> m_input;
    const int m_stream_index;
    const bool m_direct;
    const std::unique_ptr<StreamOrder> m_order; // null where the container has times
    const ffmpeg::PacketPtr m_packet;
    std::int64_t m_last_time = 0;
};

// Units that were gathered in one go.
class GatheredSource final : public UnitSource {
  public:
    explicit GatheredSource(ContainerUnits units) : m_units(std::move(units)) {}
    bool Read(ContainerUnits& units) override {
        units.insert(units.end(), m_units.begin(), m_units.end());
        return false;
    }
    double Share() const override { return 1; }

  private:
    const ContainerUnits m_units;
};

// What libavformat says of the first packet's time beyond what the tables say; it is read for this alone.
std::int64_t ShiftOfFirst(FormatInput& input, const AVStream* video, const ContainerUnit& first) {
    input.ReadOnly(video->index);
    const ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet || input.ReadPacket(packet.get()) < 0) return 0;
    if (packet->pos != first.offset_bytes || !Believable(packet->pts)) return 0;
    return packet->pts - first.time;
}

} // namespace

Result<std::unique_ptr<UnitSource>> MakePacketSource(std::unique_ptr<FormatInput> input,
                                                     const AVStream* video, bool direct) {
    ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet)
        return Error{ErrorKind::OutOfMemory, "not enough memory to index the file", input->File().Path()};
    input->ReadOnly(video->index);
    std::unique_ptr<StreamOrder> order = input->HasTimes() ? nullptr : StreamOrder::Make(*video->codecpar);
    return std::unique_ptr<UnitSource>(
        new PacketSource(std::move(input), video->index, direct, std::move(order), std::move(packet)));
}

std::unique_ptr<UnitSource> MakeEntrySource(FormatInput& input, AVStream* video) {
    std::shared_ptr<const Mp4Movie> movie = Mp4Movie::Read(input.File());
    if (!movie || movie->Fragmented()) return nullptr;
    const std::optional<SampleTable> table =
        SampleTable::Read(std::move(movie), static_cast<std::uint32_t>(video->id));
    const int count = avformat_index_get_entries_count(video);
    if (!table || count <= 0 || table->DescriptionCount() != 1) return nullptr;
    ContainerUnits units;
    units.reserve(static_cast<std::size_t>(count));
    SampleTable::Cursor cursor(*table);
    int restarts = 0;
    std::uint64_t passed_over = 0;
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry* entry = avformat_index_get_entry(video, i);
        if (!entry) return nullptr;
        std::optional<SampleTable::Sample> sample = cursor.Next();
        // Entries follow the samples; an edit list leaves some out, or begins again further back.
        while (!sample || sample->offset_bytes != entry->pos ||
               sample->size_bytes != static_cast<std::uint32_t>(entry->size)) {
            if (++passed_over > kMostPassedOver) return nullptr;
            if (!sample) {
                if (++restarts > kMostRestarts) return nullptr;
                cursor = SampleTable::Cursor(*table);
            }
            sample = cursor.Next();
            if (!sample && restarts == kMostRestarts) return nullptr;
        }
        if (!Believable(entry->timestamp)) continue;
        ContainerUnit& unit = units.emplace_back();
        unit.offset_bytes = entry->pos;
        unit.size_bytes = sample->size_bytes;
        unit.time = entry->timestamp + sample->composition_offset;
        unit.duration = sample->duration;
        unit.key = (entry->flags & AVINDEX_KEYFRAME) != 0;
        unit.shown = (entry->flags & AVINDEX_DISCARD_FRAME) == 0;
    }
    if (units.empty()) return nullptr;
    const std::int64_t shift = ShiftOfFirst(input, video, units.front());
    for (ContainerUnit& unit : units)
        unit.time += shift;
    return std::make_unique<GatheredSource>(std::move(units));
}

} // namespace ordune
