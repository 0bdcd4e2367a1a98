// Reads the units of a raw stream by their places in the file. After a seek, the parameter sets in force come
// ahead of the unit's own bytes.
#pragma once

#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/MediaFile.h"
#include "ordune/ParameterHistory.h"

#include <memory>

namespace ordune {

class RawUnitReader final : public UnitReader {
  public:
    static Result<std::unique_ptr<UnitReader>> Make(std::shared_ptr<const FileSource> file,
                                                    std::shared_ptr<const FrameTable> table,
                                                    std::shared_ptr<const ParameterHistory> history,
                                                    CancelToken cancel);

    Result<void> SeekTo(UnitNumber first_of_group) override;
    Result<std::optional<CodedUnit>> Next() override;

  private:
    RawUnitReader(std::shared_ptr<const FileSource> file, std::shared_ptr<const FrameTable> table,
                  std::shared_ptr<const ParameterHistory> history, ffmpeg::PacketPtr packet,
                  CancelToken cancel);

    const std::shared_ptr<const FileSource> m_file;
    const std::shared_ptr<const FrameTable> m_table;
    const std::shared_ptr<const ParameterHistory> m_history;
    const ffmpeg::PacketPtr m_packet;
    const CancelToken m_cancel;
    UnitNumber m_next = 0;
    bool m_after_seek = false;
};

} // namespace ordune
