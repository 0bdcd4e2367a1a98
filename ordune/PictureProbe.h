// Makes sure that a file holds at least one picture that can be decoded.
#pragma once

#include "ordune/Error.h"
#include "ordune/MediaFile.h"

struct AVCodecParameters;

namespace ordune {

// As decoded, in pixels.
struct PictureSize {
    int width = 0;
    int height = 0;
};

// Decodes units from the first on until a picture comes out, for at most a second; its size goes to `size`.
// NoVideo where none does. Uses up the reader.
Result<void> ProbeForPicture(const AVCodecParameters& parameters, UnitReader& reader, const std::string& path,
                             PictureSize* size = nullptr);

} // namespace ordune
