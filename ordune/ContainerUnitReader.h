// Reads the units of a file in a container: straight from the file by offset and size where packets are the
// file's bytes, else through libavformat.
#pragma once

#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"
#include "ordune/FormatInput.h"
#include "ordune/FrameTable.h"
#include "ordune/MediaFile.h"
#include "ordune/PictureUse.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ordune {

// Units by offset and size.
class DirectUnitReader final : public UnitReader {
  public:
    static Result<std::unique_ptr<UnitReader>> Make(std::shared_ptr<const FileSource> file,
                                                    std::shared_ptr<const FrameTable> table,
                                                    const AVCodecParameters& parameters, CancelToken cancel);

    Result<void> SeekTo(UnitNumber first_of_group) override;
    Result<std::optional<CodedUnit>> Next() override;

  private:
    DirectUnitReader(std::shared_ptr<const FileSource> file, std::shared_ptr<const FrameTable> table,
                     const AVCodecParameters& parameters, ffmpeg::PacketPtr packet, CancelToken cancel);

    const std::shared_ptr<const FileSource> m_file;
    const std::shared_ptr<const FrameTable> m_table;
    PictureUse m_use;
    const ffmpeg::PacketPtr m_packet;
    const CancelToken m_cancel;
    UnitNumber m_next = 0;
};

// Units through libavformat. After a seek a unit is known by its place in the file; where the container gives
// none, the file is read from its start and counted.
class FormatUnitReader final : public UnitReader {
  public:
    static Result<std::unique_ptr<UnitReader>> Make(std::shared_ptr<const FileSource> file,
                                                    std::shared_ptr<const FrameTable> table, int stream_index,
                                                    CancelToken cancel);

    Result<void> SeekTo(UnitNumber first_of_group) override;
    Result<std::optional<CodedUnit>> Next() override;

  private:
    FormatUnitReader(std::shared_ptr<const FileSource> file, std::shared_ptr<const FrameTable> table,
                     int stream_index, ffmpeg::PacketPtr packet, CancelToken cancel);
    Result<void> Rewind();
    // Reads the next packet of the stream; false at the end of the file, or where what follows is damaged.
    Result<bool> ReadPacket();
    void NoteParameters();
    Result<void> AddParameters();
    // Goes to the unit by libavformat's own means; false where they do not lead there.
    Result<bool> Jump(UnitNumber first_of_group);
    bool Matches(UnitNumber unit) const;

    const std::shared_ptr<const FileSource> m_file;
    const std::shared_ptr<const FrameTable> m_table;
    const int m_stream_index;
    const ffmpeg::PacketPtr m_packet;
    const CancelToken m_cancel;
    std::unique_ptr<FormatInput> m_input;
    std::optional<PictureUse> m_use; // made with m_input
    UnitNumber m_next = 0;
    bool m_have_packet = false; // m_packet is unit m_next, read on the way here
    // Files whose decoder parameters change on the way: what is in force at the packet read last. The first
    // unit after a seek brings it along, since libavformat tells of a change only once, perhaps with a packet
    // that was passed by.
    std::vector<std::uint8_t> m_parameters;
    bool m_parameters_change = false; // seen so far
    bool m_after_seek = true;
};

} // namespace ordune
