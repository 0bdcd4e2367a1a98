// Sound samples of a file from a time on. Opens the file for itself, so that picture and sound never wait for
// each other. Used by one thread at a time.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Error.h"
#include "ordune/MediaFile.h"

#include <memory>
#include <optional>
#include <vector>

namespace ordune {

// A run of samples: interleaved, 32-bit float, -1 to 1.
struct SoundBlock {
    MediaTime time{0}; // of the first sample, on the same axis as the pictures
    std::vector<float> samples;
};

class SoundReader {
  public:
    // Samples come at `sample_rate` Hz in `channels` (1 or 2), whatever the file has. Once `cancel` is,
    // reading ends soon, with a failure or as at the end of the sound.
    static Result<std::unique_ptr<SoundReader>> Make(const MediaFile& file, int sample_rate, int channels,
                                                     const CancelToken& cancel = {});
    virtual ~SoundReader() = default;

    // The next block begins with the sample at `time` (silence where the file has a gap or has not begun
    // yet).
    virtual Result<void> SeekTo(MediaTime time) = 0;
    // The next samples, at most about 100 ms of them; nothing at the end of the sound. Damage becomes
    // silence.
    virtual Result<std::optional<SoundBlock>> Next() = 0;
};

} // namespace ordune
