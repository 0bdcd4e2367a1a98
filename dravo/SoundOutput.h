// One port's way to the sound device.
//
// The device lives on a thread of its own, since servers may hang: every call here returns at once and a
// device that is missing, dies or hangs only means silence. Used by the port's play thread; the device's
// callback reads samples from a ring without lock or allocation.
#pragma once

#include "ordune/Frame.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace dravo {

// Where the sound is: the media time that is heard at a moment of the steady clock.
struct SoundPosition {
    ordune::MediaTime heard{0};
    std::chrono::steady_clock::time_point at;
};

class SoundOutput {
  public:
    static constexpr int kSampleRate = 48000;
    static constexpr int kChannels = 2;

    static std::unique_ptr<SoundOutput> Make();
    virtual ~SoundOutput() = default;

    // Begins to sound with what is written from now on; `tempo` is how much media time a second of samples
    // covers. Anything left from before is dropped.
    virtual void Start(double tempo) = 0;
    // Falls silent at once and drops what is written and not yet heard.
    virtual void Stop() = 0;
    // Loudness from 0 to 65535, from the next device period on.
    virtual void SetVolume(std::uint16_t volume) = 0;

    // How many sample pairs can be written now; 0 when not started. Grows as the device pulls, and at the
    // steady clock's pace when there is no device, so that a writer need not care.
    virtual std::size_t Writable() const = 0;
    // Writes interleaved samples, of which the first is heard at media time `time`.
    virtual void Write(std::span<const float> samples, ordune::MediaTime time) = 0;

    // Where the sound is, while the device's position really advances; nothing otherwise (the caller's own
    // clock then counts). Trusts no position beyond the samples handed over.
    virtual std::optional<SoundPosition> Position(std::chrono::steady_clock::time_point now) const = 0;
};

} // namespace dravo
