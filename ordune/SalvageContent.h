// The content of an MP4 recording without its movie box, as it is left by a camera or a recorder that lost
// power: as far as its H.264 can be found in the data.
//
// The parameter sets that decoding needs come from the data itself where they are in it, else from the
// nearest recording beside the file with whose sets a key picture of it is decoded without an error. The file
// is only ever read; so are those beside it.
#pragma once

#include "ordune/AvcConfiguration.h"
#include "ordune/FileContent.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace ordune {

class SalvageContent final : public FileContent {
  public:
    // Null where the file is no MP4 file, or has its movie box, or where no picture can be made of its data.
    static Result<std::shared_ptr<FileContent>> Make(const std::shared_ptr<const FileSource>& file,
                                                     std::chrono::milliseconds patience);

    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) const override;

  private:
    // How the data is to be read.
    struct Key {
        AvcConfiguration configuration;
        std::optional<TimeScale> rate; // where the sets do not tell
    };
    struct Stretch {
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    SalvageContent() = default;
    static std::optional<Stretch> FindData(const FileSource& file);
    static std::optional<Key> KeyInData(const std::shared_ptr<const FileSource>& file, const Stretch& data);
    static std::optional<Key> KeyOfNeighbour(const std::string& path);
    static std::shared_ptr<SalvageContent> Try(const std::shared_ptr<const FileSource>& file,
                                               const Stretch& data, const Key& key,
                                               std::chrono::milliseconds patience);
    bool Describe(const Key& key, const SequenceParameters& sequence);
    bool DecodesCleanly(const std::shared_ptr<const FileSource>& file) const;

    std::size_t m_length_bytes = 4;
};

} // namespace ordune
