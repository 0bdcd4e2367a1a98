// What a frame index promises of any file, asked of every frame.
#pragma once

#include "ordune/FrameIndex.h"

namespace fuzz {

// Ends the process at the first promise that is broken. Looks at the first 20,000 known frames.
void CheckIndex(const ordune::FrameIndex& index);

// Ends the process where the two differ: one file has one index, in whatever pieces it was read.
void CheckSame(const ordune::FrameIndex& one, const ordune::FrameIndex& other);

} // namespace fuzz
