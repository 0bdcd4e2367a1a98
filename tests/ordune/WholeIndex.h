// Waits for an index that opening leaves to the background, as it does on a slow machine even with a short
// file.
#pragma once

#include "ordune/MediaFile.h"

#include <chrono>
#include <thread>

namespace testing_ordune {

// Waits for the whole index; false when it does not come within 60 s.
inline bool AwaitIndex(const ordune::MediaFile& file) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!file.Index().Complete()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// How many frames the file has, once its index is whole; 0 when that does not come.
inline ordune::FrameNumber FramesOf(const ordune::MediaFile& file) {
    return AwaitIndex(file) ? file.Index().Total() : 0;
}

} // namespace testing_ordune
