// Other recordings of the same recorder: files beside a file that end like it, or like an MP4 file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ordune {

// The paths of at most `most` regular files in the folder of `path` with the same suffix (small or capital
// letters), or with one of MP4 files where its own is none, the nearest first: by how much of the beginning
// of their names they share, then by when they were last written to. Empty where the folder cannot be read,
// or does not answer within FileSource::kPatience.
std::vector<std::string> NeighboursOf(const std::string& path, std::size_t most);

} // namespace ordune
