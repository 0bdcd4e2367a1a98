#include "ordune/ContainerUnitReader.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

#include <algorithm>
#include <cerrno>
#include <utility>

namespace ordune {

namespace {

// The largest coded picture that is believed: 8K video at its highest levels stays below a quarter of it.
constexpr std::int64_t kLargestUnit = 256LL << 20;

Error NotAGroup(const FileSource& file) {
    return {ErrorKind::OutOfRange, "the position is not the beginning of a group of pictures", file.Path()};
}

CodedUnit Label(AVPacket* packet, UnitNumber number, const FrameTable& table, PictureUse& use) {
    CodedUnit unit;
    unit.packet = packet;
    unit.number = number;
    unit.key = table.BeginsGroup(number);
    unit.referenced = use.Referenced({packet->data, static_cast<std::size_t>(packet->size)});
    packet->pts = number;
    packet->dts = AV_NOPTS_VALUE;
    packet->duration = 0;
    packet->flags = unit.key ? packet->flags | AV_PKT_FLAG_KEY : packet->flags & ~AV_PKT_FLAG_KEY;
    // A unit that is decoded but not shown is told by the index. Left to libavcodec, its picture would vanish
    // there, and on some decoders the next one with it.
    packet->flags &= ~AV_PKT_FLAG_DISCARD;
    return unit;
}

} // namespace

Result<std::unique_ptr<UnitReader>> DirectUnitReader::Make(std::shared_ptr<const FileSource> file,
                                                           std::shared_ptr<const FrameTable> table,
                                                           const AVCodecParameters& parameters,
                                                           CancelToken cancel) {
    ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot read the file", file->Path());
    return std::unique_ptr<UnitReader>(new DirectUnitReader(std::move(file), std::move(table), parameters,
                                                            std::move(packet), std::move(cancel)));
}

DirectUnitReader::DirectUnitReader(std::shared_ptr<const FileSource> file,
                                   std::shared_ptr<const FrameTable> table,
                                   const AVCodecParameters& parameters, ffmpeg::PacketPtr packet,
                                   CancelToken cancel)
    : m_file(std::move(file)), m_table(std::move(table)), m_use(parameters), m_packet(std::move(packet)),
      m_cancel(std::move(cancel)) {}

Result<void> DirectUnitReader::SeekTo(UnitNumber first_of_group) {
    if (!m_table->BeginsGroup(first_of_group)) return NotAGroup(*m_file);
    m_next = first_of_group;
    return {};
}

Result<std::optional<CodedUnit>> DirectUnitReader::Next() {
    av_packet_unref(m_packet.get());
    if (m_next >= m_table->KnownUnits()) return std::optional<CodedUnit>();
    const FrameTable::Extent extent = m_table->ExtentOf(m_next);
    if (extent.size_bytes > kLargestUnit) {
        return Error{ErrorKind::Damaged, "a picture claims to be larger than any picture is", m_file->Path()};
    }
    const int code = av_new_packet(m_packet.get(), static_cast<int>(extent.size_bytes));
    if (code < 0) return ffmpeg::MakeError(code, "cannot read the file", m_file->Path());
    const Result<void> read = m_file->ReadWhole(extent.offset_bytes, m_packet->data,
                                                static_cast<std::size_t>(extent.size_bytes), m_cancel);
    if (!read) return read.Failure();
    m_packet->pos = extent.offset_bytes;
    m_packet->stream_index = 0;
    return std::optional(Label(m_packet.get(), m_next++, *m_table, m_use));
}

Result<std::unique_ptr<UnitReader>> FormatUnitReader::Make(std::shared_ptr<const FileSource> file,
                                                           std::shared_ptr<const FrameTable> table,
                                                           int stream_index, CancelToken cancel) {
    ffmpeg::PacketPtr packet = ffmpeg::MakePacket();
    if (!packet) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot read the file", file->Path());
    std::unique_ptr<FormatUnitReader> reader(new FormatUnitReader(
        std::move(file), std::move(table), stream_index, std::move(packet), std::move(cancel)));
    if (Result<void> ready = reader->Rewind(); !ready) return ready.Failure();
    return std::unique_ptr<UnitReader>(std::move(reader));
}

FormatUnitReader::FormatUnitReader(std::shared_ptr<const FileSource> file,
                                   std::shared_ptr<const FrameTable> table, int stream_index,
                                   ffmpeg::PacketPtr packet, CancelToken cancel)
    : m_file(std::move(file)), m_table(std::move(table)), m_stream_index(stream_index),
      m_packet(std::move(packet)), m_cancel(std::move(cancel)) {}

Result<void> FormatUnitReader::Rewind() {
    Result<std::unique_ptr<FormatInput>> opened =
        FormatInput::Open(m_file, FormatInput::Haste::None, m_cancel);
    if (!opened) return opened.Failure();
    std::unique_ptr<FormatInput> input = std::move(opened.Value());
    // The same reading ahead as when the index was made, so that packets are cut the same way.
    if (!input->IsMp4()) input->FindStreamInfo();
    if (m_stream_index >= static_cast<int>(input->Context()->nb_streams)) {
        return Error{ErrorKind::Io, "the file has changed while it was open", m_file->Path()};
    }
    input->ReadOnly(m_stream_index);
    // Only now: a file that was cut meanwhile is asked for further positions all the same.
    m_input = std::move(input);
    m_next = 0;
    const AVCodecParameters* first = m_input->Context()->streams[m_stream_index]->codecpar;
    m_use.emplace(*first);
    m_parameters.assign(first->extradata, first->extradata + first->extradata_size);
    return {};
}

Result<bool> FormatUnitReader::ReadPacket() {
    for (;;) {
        av_packet_unref(m_packet.get());
        const int code = m_input->ReadPacket(m_packet.get());
        // Some containers' readers report every failure as the end.
        if (m_cancel.Cancelled())
            return ffmpeg::MakeError(AVERROR_EXIT, "the file cannot be read any more", m_file->Path());
        if (code == AVERROR(EIO) || code == AVERROR(ENOMEM))
            return ffmpeg::MakeError(code, "the file cannot be read any more", m_file->Path());
        if (code < 0) return false;
        if (m_packet->stream_index != m_stream_index) continue;
        NoteParameters();
        if (m_packet->size > 0) return true;
    }
}

void FormatUnitReader::NoteParameters() {
    std::size_t size = 0;
    const std::uint8_t* data = av_packet_get_side_data(m_packet.get(), AV_PKT_DATA_NEW_EXTRADATA, &size);
    if (!data) return;
    m_parameters.assign(data, data + size);
    m_parameters_change = true;
}

Result<void> FormatUnitReader::AddParameters() {
    if (!std::exchange(m_after_seek, false) || !m_parameters_change || m_parameters.empty()) return {};
    std::uint8_t* data =
        av_packet_new_side_data(m_packet.get(), AV_PKT_DATA_NEW_EXTRADATA, m_parameters.size());
    if (!data) return ffmpeg::MakeError(AVERROR(ENOMEM), "cannot read the file", m_file->Path());
    std::copy(m_parameters.begin(), m_parameters.end(), data);
    return {};
}

bool FormatUnitReader::Matches(UnitNumber unit) const {
    const FrameTable::Extent extent = m_table->ExtentOf(unit);
    return extent.offset_bytes >= 0 && m_packet->pos == extent.offset_bytes &&
           m_packet->size == extent.size_bytes;
}

Result<bool> FormatUnitReader::Jump(UnitNumber first_of_group) {
    const FrameTable::Extent extent = m_table->ExtentOf(first_of_group);
    if (extent.offset_bytes < 0 || first_of_group == 0) return false;
    const AVStream* stream = m_input->Context()->streams[m_stream_index];
    const FrameNumber frame = m_table->FrameOf(first_of_group);
    std::int64_t time = av_rescale_q(m_table->TimeOf(frame == kNoFrame ? 0 : frame).count(),
                                     AVRational{1, 1'000'000}, stream->time_base);
    if (stream->start_time != AV_NOPTS_VALUE) time = av_sat_add64(time, stream->start_time);
    if (!m_input->SeekTo(m_stream_index, time)) return false;
    for (;;) {
        Result<bool> more = ReadPacket();
        if (!more || !more.Value()) return more;
        if (Matches(first_of_group)) return true;
        if (m_packet->pos > extent.offset_bytes) return false;
    }
}

// 1. A byte or time seek to somewhere at or before the unit, then on to the packet that lies where the unit
// does.
// 2. Where that does not find it, from the start, counting.
Result<void> FormatUnitReader::SeekTo(UnitNumber first_of_group) {
    if (!m_table->BeginsGroup(first_of_group)) return NotAGroup(*m_file);
    m_after_seek = true;
    m_have_packet = false;
    m_next = kNoUnit; // until it is reached
    const Result<bool> there = Jump(first_of_group);
    if (!there) return there.Failure();
    if (there.Value()) {
        m_next = first_of_group;
        m_have_packet = true;
        return {};
    }
    if (Result<void> ready = Rewind(); !ready) return ready.Failure();
    for (; m_next < first_of_group; ++m_next) {
        const Result<bool> more = ReadPacket();
        if (!more) return more.Failure();
        if (!more.Value()) break;
    }
    return {};
}

Result<std::optional<CodedUnit>> FormatUnitReader::Next() {
    if (m_next >= m_table->KnownUnits()) return std::optional<CodedUnit>();
    if (!m_have_packet) {
        const Result<bool> more = ReadPacket();
        if (!more) return more.Failure();
        if (!more.Value()) return std::optional<CodedUnit>();
    }
    m_have_packet = false;
    if (Result<void> added = AddParameters(); !added) return added.Failure();
    return std::optional(Label(m_packet.get(), m_next++, *m_table, *m_use));
}

} // namespace ordune
