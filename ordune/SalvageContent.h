// The content of an MP4 recording without its movie box, as it is left by a camera or a recorder that lost
// power: as far as its H.264 can be found in the data.
//
// The parameter sets that decoding needs come from the data itself where they are in it, else from the
// nearest recording beside the file with whose sets a key picture of it is decoded without an error. The file
// is only ever read; so are those beside it.
#pragma once

#include "ordune/FileContent.h"
#include "ordune/SalvageKey.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace ordune {

class SalvageContent final : public FileContent {
  public:
    // Null where the file is no MP4 file, or its movie box tells of samples, or where no picture can be made
    // of its data. That comes within two seconds, as long as the files that it reads answer.
    static Result<std::shared_ptr<FileContent>> Make(const std::shared_ptr<const FileSource>& file,
                                                     std::chrono::milliseconds patience);

    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) const override;

  private:
    struct Stretch {
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    SalvageContent() = default;
    static std::optional<Stretch> FindData(const FileSource& file);
    static std::shared_ptr<SalvageContent> Try(const std::shared_ptr<const FileSource>& file,
                                               const Stretch& data, const SalvageKey& key,
                                               std::chrono::milliseconds patience, const CancelToken& latest);
    bool Describe(const SalvageKey& key, const SequenceParameters& sequence);
    bool DecodesCleanly(const std::shared_ptr<const FileSource>& file, const CancelToken& latest) const;

    std::size_t m_length_bytes = 4;
};

} // namespace ordune
