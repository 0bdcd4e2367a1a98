// Other recordings of the same recorder: files beside a file that end like it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ordune {

// The paths of at most `most` regular files in the folder of `path` with the same suffix (small or capital
// letters), the nearest first: by how much of the beginning of their names they share, then by when they were
// last written to. Empty where the folder cannot be read.
std::vector<std::string> NeighboursOf(const std::string& path, std::size_t most);

} // namespace ordune
