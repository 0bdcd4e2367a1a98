// Plays sound slower or faster at its own pitch. Pure: samples in, samples out. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"

#include <memory>
#include <span>
#include <vector>

namespace ordune {

class TimeStretch {
  public:
    // `tempo` from 0.5 to 4: 2 halves the length.
    static Result<std::unique_ptr<TimeStretch>> Make(int sample_rate, int channels, double tempo);
    virtual ~TimeStretch() = default;

    // Puts interleaved samples in and appends what is ready to `out`.
    virtual Result<void> Push(std::span<const float> samples, std::vector<float>& out) = 0;
    // The rest, at the end of the sound.
    virtual Result<void> Drain(std::vector<float>& out) = 0;
};

} // namespace ordune
