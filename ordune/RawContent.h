// The content of a raw H.264 file. The index of a large one is completed in the background.
#pragma once

#include "ordune/FileContent.h"
#include "ordune/ParameterHistory.h"
#include "ordune/RawIndexer.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace ordune {

class RawContent final : public FileContent {
  public:
    // Whether the file looks like a raw H.264 stream: by its content, near its start.
    static bool Recognise(const FileSource& file);

    // Indexes for as long as `patience`, then leaves the rest to the thread. NoVideo where there is no
    // picture.
    static Result<std::shared_ptr<FileContent>> Make(const std::shared_ptr<const FileSource>& file,
                                                     std::chrono::milliseconds patience,
                                                     std::size_t block = RawIndexer::kBlock);

    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) const override;

  private:
    RawContent() = default;
    void Describe(const RawIndexer& indexer);

    // Immutable after Make.
    std::shared_ptr<ParameterHistory> m_history = std::make_shared<ParameterHistory>();
};

} // namespace ordune
