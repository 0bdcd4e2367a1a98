#include "ordune/RawUnitReader.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavutil/error.h>
}

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace ordune {

namespace {

// A stretch of a file without a picture in it belongs to the unit before; it is not read whole.
constexpr std::int64_t kLargestUnit = 64LL << 20;

} // namespace

Result<std::unique_ptr<UnitReader>> RawUnitReader::Make(std::shared_ptr<const FileSource> file,
                                                        std::shared_ptr<const FrameTable> table,
                                                        std::shared_ptr<const ParameterHistory> history,
                                                        CancelToken cancel) {
    ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot read the file", file->Path());
    return std::unique_ptr<UnitReader>(new RawUnitReader(
        std::move(file), std::move(table), std::move(history), std::move(packet), std::move(cancel)));
}

RawUnitReader::RawUnitReader(std::shared_ptr<const FileSource> file, std::shared_ptr<const FrameTable> table,
                             std::shared_ptr<const ParameterHistory> history, ffmpeg::PacketPtr packet,
                             CancelToken cancel)
    : m_file(std::move(file)), m_table(std::move(table)), m_history(std::move(history)),
      m_packet(std::move(packet)), m_cancel(std::move(cancel)) {}

Result<void> RawUnitReader::SeekTo(UnitNumber first_of_group) {
    if (!m_table->BeginsGroup(first_of_group)) {
        return Error{ErrorKind::OutOfRange, "the position is not the beginning of a group of pictures",
                     m_file->Path()};
    }
    m_next = first_of_group;
    m_after_seek = true;
    return {};
}

Result<std::optional<CodedUnit>> RawUnitReader::Next() {
    av_packet_unref(m_packet.get());
    if (m_next >= m_table->KnownUnits()) return std::optional<CodedUnit>();
    const FrameTable::Extent extent = m_table->ExtentOf(m_next);
    const std::int64_t size = std::min(extent.size_bytes, kLargestUnit);
    std::vector<std::uint8_t> sets;
    if (m_after_seek) sets = m_history->Before(m_next);
    const int code =
        av_new_packet(m_packet.get(), static_cast<int>(size + static_cast<std::int64_t>(sets.size())));
    if (code < 0) return ffmpeg::MakeError(code, "cannot read the file", m_file->Path());
    if (!sets.empty()) std::memcpy(m_packet->data, sets.data(), sets.size());
    const Result<void> read = m_file->ReadWhole(extent.offset_bytes, m_packet->data + sets.size(),
                                                static_cast<std::size_t>(size), m_cancel);
    if (!read) return read.Failure();
    m_after_seek = false;
    CodedUnit unit;
    unit.packet = m_packet.get();
    unit.number = m_next++;
    unit.key = m_table->BeginsGroup(unit.number);
    unit.referenced = m_table->Referenced(unit.number);
    m_packet->pts = unit.number;
    m_packet->pos = extent.offset_bytes;
    if (unit.key) m_packet->flags |= AV_PKT_FLAG_KEY;
    return std::optional(unit);
}

} // namespace ordune
