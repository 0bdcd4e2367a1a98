// The content of a file in a container. Its index is complete from the start.
#pragma once

#include "ordune/FileContent.h"
#include "ordune/FormatInput.h"

#include <memory>

namespace ordune {

class ContainerContent final : public FileContent {
  public:
    // Finds the streams, makes the index and makes sure that there is something to see.
    static Result<std::shared_ptr<FileContent>> Make(const std::shared_ptr<const FileSource>& file,
                                                     const FormatInput& input);

    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) const override;
    std::uint64_t WhenComplete(std::function<void()> done) override;
    void Withdraw(std::uint64_t number) override;

  private:
    ContainerContent() = default;
    Result<void> MakeSureOfAPicture(const std::shared_ptr<const FileSource>& file) const;

    int m_stream_index = 0;
    bool m_direct = false;
};

} // namespace ordune
