// The content of a file in a container. The index of a large one that has to be read through for it is
// completed in the background.
#pragma once

#include "ordune/FileContent.h"
#include "ordune/FormatInput.h"
#include "ordune/UnitSource.h"

#include <chrono>
#include <memory>
#include <string>

namespace ordune {

class ContainerContent final : public FileContent {
  public:
    // The content of an MP4 file by its own tables: libavformat is shown a file of the same tracks without a
    // sample, which takes it no time, and the data is not read. Null where that does not do; Make has to
    // then.
    static Result<std::shared_ptr<FileContent>> MakeFromTables(const std::shared_ptr<const FileSource>& file,
                                                               std::chrono::milliseconds patience);
    // Finds the streams, makes the index (for as long as `patience`, then in the background) and makes sure
    // that there is something to see.
    static Result<std::shared_ptr<FileContent>> Make(const std::shared_ptr<const FileSource>& file,
                                                     std::unique_ptr<FormatInput> input,
                                                     std::chrono::milliseconds patience);

    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) const override;

  private:
    ContainerContent() = default;
    Result<void> Describe(AVFormatContext* context, AVStream* video, const std::string& path);
    Result<void> Index(const std::shared_ptr<const FileSource>& file, std::unique_ptr<UnitSource> source,
                       std::chrono::milliseconds patience, const CancelToken& cancel);
    Result<void> MakeSureOfAPicture(const std::shared_ptr<const FileSource>& file);

    int m_stream_index = 0;
    bool m_direct = false;
};

} // namespace ordune
